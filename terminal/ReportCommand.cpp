// `meterdb report`: the route as a page for a browser.
#include <array>
#include <map>

#include "MeterUtil/Text.h"
#include "terminal/Commands.h"
#include "terminal/Findings.h"
#include "terminal/OutputFile.h"
#include "terminal/Progress.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"
#include "terminal/report/Page.h"

namespace {

std::string DescriptionOf(CMeterDatabase& database) {
    std::array<char, 256> info{};
    database.GetDBInfo(info.data(), static_cast<int>(info.size()));
    return info.data();
}

// A sentence for each value whose check found something.
std::map<std::string, std::string> FindingsOf(CMeterDatabase& database, const RouteRecord& record) {
    std::map<std::string, std::string> findings;
    for (const RouteValue& value : record.values)
        if (MeterText::ContainsAny(value.entry.status, "CW"))
            findings.emplace(value.entry.name, FindingOf(database, value.entry));
    return findings;
}

// When the latest change was made.
void NoteLatest(const RouteRecord& record, std::string* latest) {
    for (const RouteValue& value : record.values)
        if (MeterText::EqualIgnoringCase(value.entry.name, "LastChanges") && value.entry.value > *latest)
            *latest = value.entry.value;
}

}  // namespace

void WriteReport(const Options& options, const ReportRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const int meters = database.GetNumberOfMeters();
    Report::Page page(meters);
    std::string latest;
    {
        Progress progress(screen, "Reporting");
        ForEachRecord(
            database,
            [&](const RouteRecord& record) {
                NoteLatest(record, &latest);
                page.Add(record, FindingsOf(database, record));
            },
            [&progress](double share) { progress.Report(share); });
    }
    const std::string description = DescriptionOf(database);
    const std::string title = description.empty() ? "Route" : description;
    OutputFile file(request.output, installation);
    page.Write(
        {title, CountOf(meters, "meter", "meters") + ", client " + std::to_string(database.GetClient()) +
                    (latest.empty() ? "" : ", last changed " + TimeText(latest))},
        [&file](std::string_view html) { file.Write(html); });
    file.Commit();
    screen.Line({Cell("Wrote "), Cell(Utf8::Shown(request.output), Tone::Strong),
                 Cell(": " + CountOf(meters, "meter", "meters"))});
}
