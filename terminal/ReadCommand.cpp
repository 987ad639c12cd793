// `meterdb read`: a whole visit, from the readout to the saved record, and the report of it.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>

#include "MeterUtil/Text.h"
#include "terminal/Commands.h"
#include "terminal/Identity.h"
#include "terminal/Readout.h"
#include "terminal/Refusal.h"
#include "terminal/Utf8.h"
#include "terminal/Visit.h"

namespace {

constexpr int kMostAppendices = 100;

// ---- the readout ------------------------------------------------------------------------------------------

// One byte more than a readout may have is enough to refuse it.
std::string LoadFile(const std::string& name) {
    std::ifstream file(std::filesystem::u8path(name), std::ios::binary);
    std::string bytes;
    std::string block(std::size_t{1} << 16, '\0');
    while (file && bytes.size() <= Readout::kMostBytes) {
        file.read(block.data(), static_cast<std::streamsize>(block.size()));
        bytes.append(block, 0, static_cast<std::size_t>(file.gcount()));
    }
    const bool complete = file.eof() || bytes.size() > Readout::kMostBytes;
    if (!complete)
        throw Refusal(kFileFailed, "the readout " + Utf8::Shown(name) + " cannot be read");
    return bytes;
}

Readout LoadReadout(const std::string& name) {
    std::string problem;
    std::optional<Readout> readout = Readout::Parse(LoadFile(name), &problem);
    if (!readout)
        throw Refusal(kRefused, "the readout " + Utf8::Shown(name) + " is refused: " + Utf8::Shown(problem) +
                                    ". Nothing was changed.");
    return *std::move(readout);
}

// ---- the meter --------------------------------------------------------------------------------------------

struct Place {
    int meter = 0;
    int appendix = 0;
};

std::string ToText(Place place) {
    return std::to_string(place.meter) + (place.appendix == 0 ? "" : "/" + std::to_string(place.appendix));
}

bool GoTo(CMeterDatabase& database, Place place) {
    if (place.meter < 1 || place.meter > database.GetNumberOfMeters())
        return false;
    database.SetActualPosition(place.meter);
    return database.SetAppendix(place.appendix);
}

bool IsNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// "3" or "3/1".
std::optional<Place> PlaceFromText(const std::string& text) {
    const std::size_t slash = text.find('/');
    const std::string meter = text.substr(0, slash);
    const std::string appendix = slash == std::string::npos ? "0" : text.substr(slash + 1);
    if (!IsNumber(meter) || !IsNumber(appendix))
        return std::nullopt;
    return Place{MeterText::ToInt(meter), std::min(MeterText::ToInt(appendix), kMostAppendices + 1)};
}

// The records, appendices included, of the meter with a number.
std::vector<Place> PlacesOfMeter(CMeterDatabase& database, const std::string& number) {
    std::vector<Place> places;
    for (int meter = 1; meter <= database.GetNumberOfMeters(); ++meter) {
        database.SetActualPosition(meter);
        const int appendices = database.GetAppendixCount();
        for (int appendix = 0; appendix <= appendices; ++appendix) {
            database.SetAppendix(appendix);
            const std::string known = MeterNumber(database);
            if (!known.empty() && SameNumber(known, number))
                places.push_back({meter, appendix});
        }
    }
    return places;
}

// Makes the record current that the user means.
Place SelectMeter(CMeterDatabase& database, const std::string& meter) {
    if (const std::optional<Place> place = PlaceFromText(meter); place && GoTo(database, *place))
        return *place;
    const std::vector<Place> places = PlacesOfMeter(database, meter);
    if (places.empty())
        throw Refusal(kRefused, "there is no meter \"" + Utf8::Shown(meter) + "\" on this route of " +
                                    std::to_string(database.GetNumberOfMeters()) + " meters");
    if (places.size() > 1)
        throw Refusal(kRefused, "more than one record has the meter number " + Utf8::Shown(meter) + ": say " +
                                    ToText(places[0]) + " or " + ToText(places[1]));
    GoTo(database, places.front());
    return places.front();
}

std::string Joined(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts)
        joined += (joined.empty() ? "" : ", ") + text;
    return Utf8::Shown(joined);
}

void CheckIdentity(CMeterDatabase& database, const Readout& readout, bool force, Screen& screen) {
    const std::string number = MeterNumber(database);
    if (CompareIdentity(number, readout) != Identity::Other)
        return;
    const std::string sentence = "the readout is of another meter: it names " + Joined(NumbersOf(readout)) +
                                 ", the record is of meter " + Utf8::Shown(number);
    if (!force)
        throw Refusal(kRefused, sentence + ". Nothing was changed; --force takes it all the same.");
    screen.Warning(sentence + ". It is taken all the same.");
}

// A visit must bring something that the record waits for.
void CheckExpected(CMeterDatabase& database, const Readout& readout) {
    const std::vector<Entry> entries = ReadableEntries(database);
    if (entries.empty())
        throw Refusal(kRefused, "the record expects no value of a meter. Nothing was changed.");
    const bool any = std::any_of(entries.begin(), entries.end(), [&readout](const Entry& entry) {
        return readout.FindText(entry.name) != nullptr;
    });
    if (!any)
        throw Refusal(kRefused,
                      "the readout holds none of the values that the record expects. Nothing was changed.");
}

// ---- the report -------------------------------------------------------------------------------------------

std::string StateAndAction(CMeterDatabase& database) {
    const std::string action = Utf8::Shown(ActionText(database));
    return Utf8::Shown(StateText(database)) + (action.empty() ? "" : " (" + action + ")");
}

Tone ToneOf(const std::string& mark) {
    if (mark == "ok.")
        return Tone::Good;
    return mark == "?" ? Tone::Warning : Tone::Bad;
}

std::string OrDash(const std::string& text) {
    return text.empty() ? "-" : Utf8::Shown(text);
}

std::string StatusChange(const VisitValue& value) {
    const std::string before = OrDash(value.before.status);
    return value.isRead ? before + " -> " + OrDash(value.after.status) : before;
}

std::vector<Cell> ValueRow(const VisitValue& value) {
    const std::string mark = MarkOf(value.after.status);
    const bool changed = value.before.value != value.after.value;
    return {Cell(Utf8::Shown(value.before.name)),
            Cell(Utf8::Shown(value.label)),
            Cell(OrDash(value.before.value), Tone::Faint),
            Cell(OrDash(value.after.value), changed ? Tone::Strong : Tone::Faint),
            Cell(Utf8::Shown(value.unit)),
            Cell(StatusChange(value)),
            Cell(mark, ToneOf(mark)),
            Cell(Utf8::Shown(value.finding), value.isRead ? ToneOf(mark) : Tone::Faint)};
}

void ShowValues(const Visit& visit, Screen& screen) {
    Table table;
    table.columns = {
        {"Value"}, {"Name", false, true},   {"Before", true}, {"After", true}, {"Unit"}, {"Status"},
        {"Mark"},  {"Finding", false, true}};
    for (const VisitValue& value : visit.values)
        table.rows.push_back(ValueRow(value));
    screen.Line();
    screen.Print(table);
}

std::string CountOf(long count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

void ShowSummary(const Visit& visit, Screen& screen) {
    const auto& values = visit.values;
    const auto read =
        std::count_if(values.begin(), values.end(), [](const VisitValue& v) { return v.isRead; });
    const auto found = std::count_if(values.begin(), values.end(),
                                     [](const VisitValue& v) { return v.isRead && !v.finding.empty(); });
    screen.Line();
    screen.Line({Cell(std::to_string(read) + " of " +
                      CountOf(static_cast<long>(values.size()), "value", "values") + " read, "),
                 found == 0 ? Cell("no finding", Tone::Good)
                            : Cell(CountOf(static_cast<long>(found), "finding", "findings"), Tone::Bad)});
}

// What an alarm token waits for.
std::string AlarmCondition(char condition) {
    switch (condition) {
        case 'W':
            return "failed check of the main value";
        case 'C':
            return "failed check";
        case 'U':
            return "no value";
        case 'D':
            return "a value";
        case 'X':
            return "no value or a failed check";
        default:
            return "any failed check";
    }
}

void ShowAlarm(const VisitValue& value, const std::string& token, Screen& screen) {
    const std::string label = value.label.empty() ? "" : " " + value.label;
    const std::string unit = value.unit.empty() ? "" : " " + value.unit;
    const std::string reading = value.after.value.empty() ? "" : " = " + value.after.value + unit;
    const std::string why = value.finding.empty() ? "" : ": " + value.finding;
    screen.Line(
        {Cell("  "), Cell(Utf8::Shown(value.before.name), Tone::Strong), Cell(Utf8::Shown(label + reading)),
         Cell(Utf8::Shown(why), Tone::Bad),
         Cell("  (" + Utf8::Shown(token) + ": alarm on " + AlarmCondition(token[1]) + ")", Tone::Faint)});
}

void ShowAlarms(const Visit& visit, Screen& screen) {
    if (!visit.hasAlarm)
        return;
    screen.Line();
    screen.Line({Cell("ALARM", Tone::Bad)});
    for (const VisitValue& value : visit.values)
        for (const std::string& token : value.alarms)
            ShowAlarm(value, token, screen);
}

// YYYYMMDDhhmmss as a person writes it.
std::string TimeText(const std::string& stamp) {
    if (stamp.size() != 14)
        return Utf8::Shown(stamp);
    return stamp.substr(0, 4) + "-" + stamp.substr(4, 2) + "-" + stamp.substr(6, 2) + " " +
           stamp.substr(8, 2) + ":" + stamp.substr(10, 2) + ":" + stamp.substr(12, 2);
}

void ShowSaved(const Visit& visit, Installation& installation, Screen& screen) {
    screen.Line();
    screen.Line(
        {Cell("Saved in " + installation.FileName("DataFile") + ", stamped " + TimeText(visit.time) + " by " +
              (visit.user.empty() ? "nobody (--user names the reader)" : Utf8::Shown(visit.user)))});
    for (const ChangedLines& changed : visit.changes) {
        screen.Line();
        screen.Line({Cell("  " + Utf8::Shown(changed.header), Tone::Strong)});
        for (const ChangedLines::Change& change : changed.changes) {
            if (!change.before.empty())
                screen.Line({Cell("  - " + Utf8::Shown(change.before), Tone::Bad)});
            screen.Line({Cell("  + " + Utf8::Shown(change.after), Tone::Good)});
        }
    }
}

void ShowMeter(CMeterDatabase& database, Place place, Screen& screen) {
    std::string title = "Meter " + ToText(place);
    for (const std::string& text : {MeterNumber(database), ReadValue(database, "MeterType"),
                                    ReadValue(database, "Customer"), ReadValue(database, "Street")})
        title += text.empty() ? "" : ", " + Utf8::Shown(text);
    screen.Heading(title);
}

}  // namespace

void ReadMeter(const Options& options, const ReadRequest& request, Screen& screen) {
    const Readout readout = LoadReadout(request.readout);
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const Place place = SelectMeter(database, request.meter);
    CheckIdentity(database, readout, request.force, screen);
    CheckExpected(database, readout);
    const std::string stateBefore = StateAndAction(database);
    const Visit visit = PerformVisit(installation, readout, options.user);

    ShowMeter(database, place, screen);
    screen.Line({Cell("  Readout  "),
                 Cell(Utf8::Shown(request.readout) + ", " + OrDash(readout.Identification()) + ", " +
                      CountOf(static_cast<long>(readout.Values().size()), "value", "values"))});
    screen.Line({Cell("  State    " + stateBefore + " -> "), Cell(StateAndAction(database), Tone::Good)});
    ShowValues(visit, screen);
    ShowSummary(visit, screen);
    ShowAlarms(visit, screen);
    ShowSaved(visit, installation, screen);
}
