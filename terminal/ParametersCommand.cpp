// `meterdb parameters`: the register of parameter files, which tells when each was last written to or read
// for a meter.
#include <algorithm>
#include <array>

#include "MeterUtil/Text.h"
#include "terminal/Commands.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/SaveListener.h"
#include "terminal/Utf8.h"

namespace {

constexpr const char* kSection = "ParameterFiles";
constexpr int kMostFiles = 10001;  // that the library registers
constexpr int kTextBytes = 4096;

std::string Read(const CMeterIniFile& app, const std::string& key) {
    std::array<char, kTextBytes> text{};
    app.ReadString(kSection, key.c_str(), text.data(), kTextBytes);
    return text.data();
}

// Time, two texts and the path; those that the entry lacks are "".
std::array<std::string, 4> TokensOf(std::string_view entry) {
    std::array<std::string, 4> tokens;
    for (std::size_t i = 0; i < tokens.size(); ++i)
        tokens[i] = MeterText::BareToken(entry, static_cast<int>(i) + 1);
    return tokens;
}

void ShowParameters(const CMeterIniFile& app, Screen& screen) {
    Table table;
    table.columns = {
        {"#", true, false, 0, "number"}, {"Time"}, {"For", false, true}, {"What", false, true}, {"File"}};
    const int files = std::min(MeterText::ToInt(Read(app, "Files")), kMostFiles);
    for (int number = 1; number <= files; ++number) {
        const std::string entry = Read(app, "File" + std::to_string(number));
        if (entry.empty())
            continue;
        const auto [time, text1, text2, path] = TokensOf(entry);
        table.rows.push_back({Cell(std::to_string(number), Tone::Faint), Cell(TimeText(time)),
                              Cell(Utf8::Shown(text1)), Cell(Utf8::Shown(text2)),
                              Cell(Utf8::ShownPath(path), Tone::Strong)});
    }
    if (!table.rows.empty()) {
        screen.Print(table);
        screen.Line();
    }
    screen.Line({Cell(CountOf(static_cast<long>(table.rows.size()), "parameter file", "parameter files"),
                      Tone::Faint)});
}

// A comma would shift the path, which would not be found again.
void CheckText(const std::string& text) {
    if (text.find_first_of(",\"\r\n") != std::string::npos)
        throw Refusal(kRefused,
                      "\"" + Utf8::Shown(text) +
                          "\" cannot be registered: it has a comma, a quote or a line break. Nothing "
                          "was changed.");
}

void Register(CMeterDatabase& database, const ParametersRequest& request) {
    const std::string& file = *request.file;
    if (file.empty())
        throw Refusal(kRefused, "a parameter file without a name cannot be registered. Nothing was changed.");
    for (const std::string& text : {request.whom, request.what, file})
        CheckText(text);
    const SaveListener saves;
    database.AppendToParameterFilesInAppFile(request.whom.c_str(), request.what.c_str(),
                                             Utf8::ToWide(file).c_str());
    if (!saves.Reason().empty())
        throw Refusal(kFileFailed, saves.Reason() + ". Nothing was changed.");
}

}  // namespace

void ShowOrRegisterParameters(const Options& options, const ParametersRequest& request, Screen& screen) {
    Installation installation(options);
    if (!request.file) {
        ShowParameters(*installation.Database().GetPtrToAppFile(), screen);
        return;
    }
    Register(installation.Database(), request);
    screen.Line({Cell("Entered "), Cell(Utf8::Shown(*request.file), Tone::Strong),
                 Cell(" in " + installation.FileName("AppFile"))});
}
