#include "terminal/Report.h"

#include "terminal/Record.h"
#include "terminal/Utf8.h"

std::string MeterTitle(CMeterDatabase& database, Place place) {
    std::string title = "Meter " + ToText(place);
    for (const std::string& text : {MeterNumber(database), ReadValue(database, "MeterType"),
                                    ReadValue(database, "Customer"), ReadValue(database, "Street")})
        title += text.empty() ? "" : ", " + Utf8::Shown(text);
    return title;
}

void ShowSaved(const SavedEdit& saved, Installation& installation, Screen& screen) {
    const std::string user =
        saved.user.empty() ? "nobody (--user names the reader)" : Utf8::Shown(saved.user);
    const std::string stamp = saved.time.empty() ? "" : ", stamped " + TimeText(saved.time) + " by " + user;
    screen.Line();
    screen.Line({Cell("Saved in " + installation.FileName("DataFile") + stamp)});
    for (const ChangedLines& changed : saved.changes) {
        screen.Line();
        screen.Line({Cell("  " + Utf8::Shown(changed.header), Tone::Strong)});
        for (const ChangedLines::Change& change : changed.changes) {
            if (!change.before.empty())
                screen.Line({Cell("  - " + Utf8::Shown(change.before), Tone::Bad)});
            if (!change.after.empty())
                screen.Line({Cell("  + " + Utf8::Shown(change.after), Tone::Good)});
        }
    }
}

Tone ToneOf(const std::string& mark) {
    if (mark.empty())
        return Tone::Plain;
    if (mark == "ok.")
        return Tone::Good;
    return mark == "?" ? Tone::Warning : Tone::Bad;
}

std::string OrDash(const std::string& text) {
    return text.empty() ? "-" : Utf8::Shown(text);
}

std::string CountOf(long count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string Joined(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts)
        joined += (joined.empty() ? "" : ", ") + text;
    return Utf8::Shown(joined);
}

std::string TimeText(const std::string& stamp) {
    if (stamp.size() != 14)
        return Utf8::Shown(stamp);
    return stamp.substr(0, 4) + "-" + stamp.substr(4, 2) + "-" + stamp.substr(6, 2) + " " +
           stamp.substr(8, 2) + ":" + stamp.substr(10, 2) + ":" + stamp.substr(12, 2);
}
