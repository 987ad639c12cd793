// `meterdb general`: what the data file says of the whole route.
#include <array>
#include <optional>

#include "MeterUtil/Text.h"
#include "terminal/Commands.h"
#include "terminal/Edit.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"

namespace {

constexpr int kTextBytes = 4096;

std::optional<std::string> Read(CMeterDatabase& database, const std::string& key) {
    std::array<char, kTextBytes> text{};
    if (!database.GetDBGeneralData(key.c_str(), text.data(), kTextBytes))
        return std::nullopt;
    return text.data();
}

void ShowAll(Installation& installation, Screen& screen) {
    const CMeterIniFile data(Utf8::ToWide(installation.FilePath("DataFile").u8string()).c_str());
    std::array<char, kTextBytes> key{};
    std::array<char, kTextBytes> text{};
    Table table{{{"Key"}, {"Value", false, true}}, {}};
    for (int index = 1; data.ReadByIndex("General", index, key.data(), kTextBytes, text.data(), kTextBytes);
         ++index)
        table.rows.push_back({Cell(Utf8::Shown(key.data()), Tone::Strong), Cell(Utf8::Shown(text.data()))});
    screen.Print(table);
}

// What the system counts and keeps itself.
void RefuseOwn(const std::string& key) {
    for (const char* own : {"Meters", "Client"})
        if (MeterText::EqualIgnoringCase(key, own))
            throw Refusal(kRefused, std::string(own) + " is kept by the system. Nothing was changed.");
}

}  // namespace

void ShowOrSetGeneral(const Options& options, const GeneralRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    if (!request.key) {
        ShowAll(installation, screen);
        return;
    }
    const std::string key(MeterText::TrimBlanks(*request.key));  // as the file takes it
    const std::optional<std::string> before = Read(database, key);
    if (!request.value) {
        if (!before)
            throw Refusal(kRefused, "the route has no entry \"" + Utf8::Shown(key) + "\"");
        screen.Line({Cell(Utf8::Shown(*before))});
        return;
    }
    RefuseOwn(key);
    SaveGeneral(database, key, *request.value);
    screen.Line({Cell(Utf8::Shown(key) + "  " + OrDash(before.value_or("")) + " -> "),
                 Cell(OrDash(*request.value), Tone::Good)});
    screen.Line({Cell("Saved in " + installation.FileName("DataFile"), Tone::Faint)});
}
