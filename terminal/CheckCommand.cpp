// `meterdb check`: what would go wrong in the field.
#include <algorithm>
#include <map>
#include <set>

#include "terminal/Commands.h"
#include "terminal/Json.h"
#include "terminal/Progress.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"
#include "terminal/check/Checker.h"

namespace {

using Check::Finding;
using Check::Severity;

constexpr int kShownOfARule = 20;
constexpr int kMostRounds = 10;  // of repairs: one may show what another hid

Tone ToneOf(Severity severity) {
    switch (severity) {
        case Severity::Note:
            return Tone::Faint;
        case Severity::Warning:
            return Tone::Warning;
        case Severity::Error:
            break;
    }
    return Tone::Bad;
}

// The header above a line; "" for what stands before the first, or for a file as a whole.
std::string SectionOf(const Finding& finding) {
    const std::vector<Check::TextFile::Section>& sections = finding.file->Sections();
    const auto behind = std::upper_bound(
        sections.begin(), sections.end(), finding.line,
        [](std::size_t line, const Check::TextFile::Section& section) { return line < section.header; });
    return behind == sections.begin() ? std::string() : "[" + std::string(std::prev(behind)->name) + "]";
}

long CountSeverity(const std::vector<Finding>& findings, Severity severity) {
    return static_cast<long>(
        std::count_if(findings.begin(), findings.end(),
                      [severity](const Finding& finding) { return finding.rule->severity == severity; }));
}

// ---- rules

void ShowRules(Screen& screen) {
    if (screen.UsesJson()) {
        for (const Check::Rule* rule : Check::AllRules())
            screen.Object(JsonLine(
                {{"code", rule->code}, {"severity", Check::NameOf(rule->severity)}, {"why", rule->why}}));
        return;
    }
    for (const Check::Rule* rule : Check::AllRules())
        screen.Line(
            {Cell(rule->code, Tone::Strong), Cell("  "),
             Cell(Check::NameOf(rule->severity), ToneOf(rule->severity)),
             Cell(std::string(9 - std::string_view(Check::NameOf(rule->severity)).size(), ' ') + rule->why)});
}

// ---- findings

void ShowJson(const std::vector<Finding>& findings, Screen& screen) {
    for (const Finding& finding : findings)
        screen.Object(JsonLine({{"file", finding.file->Name()},
                                {"line", finding.line},
                                {"section", JsonText(SectionOf(finding))},
                                {"code", finding.rule->code},
                                {"severity", Check::NameOf(finding.rule->severity)},
                                {"found", JsonText(finding.words)},
                                {"why", finding.rule->why},
                                {"repairable", !finding.repairs.empty()}}));
}

void ShowFile(const std::vector<const Finding*>& findings, std::map<std::string, int>* shown, bool all,
              Screen& screen) {
    Table table;
    table.columns = {{"Line", true}, {"Section"}, {"Severity"}, {"Code"}, {"Found"}};
    for (const Finding* finding : findings) {
        if (++(*shown)[finding->rule->code] > kShownOfARule && !all)
            continue;
        const std::string line = finding->line == 0 ? "-" : std::to_string(finding->line);
        table.rows.push_back({Cell(line, Tone::Faint), Cell(Utf8::Shown(SectionOf(*finding))),
                              Cell(Check::NameOf(finding->rule->severity), ToneOf(finding->rule->severity)),
                              Cell(finding->rule->code, Tone::Strong), Cell(Utf8::Shown(finding->words))});
    }
    if (table.rows.empty())
        return;
    screen.Heading(findings.front()->file->Name());
    screen.Print(table);
    screen.Line();
}

void ShowReasons(const std::vector<Finding>& findings, const std::map<std::string, int>& counts, bool all,
                 Screen& screen) {
    screen.Heading("Why it matters");
    for (const Check::Rule* rule : Check::AllRules()) {
        const auto count = counts.find(rule->code);
        if (count == counts.end())
            continue;
        const bool isRepairable = std::any_of(
            findings.begin(), findings.end(),
            [rule](const Finding& finding) { return finding.rule == rule && !finding.repairs.empty(); });
        screen.Line({Cell("  "), Cell(rule->code, Tone::Strong), Cell("  " + std::string(rule->why)),
                     Cell(isRepairable ? " --fix repairs it." : "", Tone::Good)});
        if (count->second > kShownOfARule && !all)
            screen.Line({Cell(
                "       and " + std::to_string(count->second - kShownOfARule) + " more, which --all shows",
                Tone::Faint)});
    }
    screen.Line();
}

std::string Looked(const Check::Subject& subject) {
    const auto meters = std::count_if(
        subject.headers.begin(), subject.headers.end(),
        [](const Check::RecordHeader& header) { return header.kind == Check::RecordKind::Main; });
    return CountOf(static_cast<long>(subject.Files().size()), "file", "files") + ", " +
           CountOf(static_cast<long>(meters), "meter", "meters");
}

void ShowSummary(const Check::Subject& subject, const std::vector<Finding>& findings, int repaired,
                 Screen& screen) {
    if (repaired > 0)
        screen.Line({Cell(CountOf(repaired, "finding", "findings") + " repaired and saved.", Tone::Good)});
    if (findings.empty()) {
        screen.Line({Cell("Nothing found", Tone::Good), Cell(" in " + Looked(subject))});
        return;
    }
    const auto count = [&findings](Severity severity, const char* one, const char* many) {
        const long number = CountSeverity(findings, severity);
        return Cell(CountOf(number, one, many), number == 0 ? Tone::Plain : ToneOf(severity));
    };
    screen.Line({count(Severity::Error, "error", "errors"), Cell(", "),
                 count(Severity::Warning, "warning", "warnings"),
                 Cell(", " + CountOf(CountSeverity(findings, Severity::Note), "note", "notes") + " in " +
                      Looked(subject))});
}

void ShowFindings(const Check::Subject& subject, const std::vector<Finding>& findings, bool all, int repaired,
                  Screen& screen) {
    std::map<std::string, int> counts;
    for (auto first = findings.begin(); first != findings.end();) {
        std::vector<const Finding*> ofFile;
        const auto* file = first->file;
        for (; first != findings.end() && first->file == file; ++first)
            ofFile.push_back(&*first);
        ShowFile(ofFile, &counts, all, screen);
    }
    if (!findings.empty())
        ShowReasons(findings, counts, all, screen);
    ShowSummary(subject, findings, repaired, screen);
}

std::unique_ptr<Check::Subject> Load(const Options& options, const CheckRequest& request) {
    return request.file.empty() ? Check::Subject::OfInstallation(options.directory, options.ini)
                                : Check::Subject::OfDataFile(request.file);
}

}  // namespace

void CheckFiles(const Options& options, const CheckRequest& request, Screen& screen) {
    if (request.rules) {
        ShowRules(screen);
        return;
    }
    std::unique_ptr<Check::Subject> subject;
    std::vector<Finding> findings;
    int repaired = 0;
    for (int round = 0; round < kMostRounds; ++round) {
        Progress progress(screen, "Checking");
        findings.clear();
        subject = Load(options, request);
        findings = Check::Run(*subject, [&progress](double share) { progress.Report(share); });
        const int now = request.fix ? Check::RepairAll(*subject, findings) : 0;
        repaired += now;
        if (now == 0)
            break;
    }
    if (screen.UsesJson())
        ShowJson(findings, screen);
    else
        ShowFindings(*subject, findings, request.all, repaired, screen);
    const bool isClean = std::all_of(findings.begin(), findings.end(), [](const Finding& finding) {
        return finding.rule->severity == Severity::Note;
    });
    if (!isClean)
        throw Refusal(kRefused, "");
}
