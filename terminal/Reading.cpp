#include "terminal/Reading.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>

#include "terminal/Identity.h"
#include "terminal/RawArchive.h"
#include "terminal/Record.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"

namespace {

// ---- the readout

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

// ---- the meter

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
    const std::vector<Entry> entries = EntriesWith(database, 'R');
    if (entries.empty())
        throw Refusal(kRefused, "the record expects no value of a meter. Nothing was changed.");
    const bool any = std::any_of(entries.begin(), entries.end(), [&readout](const Entry& entry) {
        return readout.FindText(entry.name) != nullptr;
    });
    if (!any)
        throw Refusal(kRefused,
                      "the readout holds none of the values that the record expects. Nothing was changed.");
}

// ---- the report

std::string StatusChange(const VisitValue& value) {
    const std::string before = OrDash(value.before.status);
    return value.origin == Origin::Missing ? before : before + " -> " + OrDash(value.after.status);
}

std::vector<Cell> ValueRow(const VisitValue& value) {
    const bool changed = value.shownBefore.value != value.shown.value;
    const Tone tone = ToneOf(value.shown.mark);
    return {Cell(Utf8::Shown(value.before.name)),
            Cell(Utf8::Shown(value.shown.label)),
            Cell(OrDash(value.shownBefore.value), Tone::Faint),
            Cell(OrDash(value.shown.value), changed ? Tone::Strong : Tone::Faint),
            Cell(StatusChange(value)),
            Cell(value.shown.mark, tone),
            Cell(Utf8::Shown(value.finding), value.origin == Origin::Missing ? Tone::Faint : tone)};
}

void ShowValues(const Visit& visit, Screen& screen) {
    Table table;
    table.columns = {
        {"Value"}, {"Name", false, true},   {"Before", true, true}, {"After", true, true}, {"Status"},
        {"Mark"},  {"Finding", false, true}};
    for (const VisitValue& value : visit.values)
        table.rows.push_back(ValueRow(value));
    screen.Line();
    screen.Print(table);
}

void ShowSummary(const Visit& visit, Screen& screen) {
    const long read = CountOrigin(visit, Origin::Readout);
    const long asked = read + CountOrigin(visit, Origin::Missing);
    const long calculated = CountOrigin(visit, Origin::Calculated);
    const auto found = std::count_if(visit.values.begin(), visit.values.end(), [](const VisitValue& value) {
        return value.origin == Origin::Readout && !value.finding.empty();
    });
    screen.Line();
    screen.Line({Cell(std::to_string(read) + " of " + CountOf(asked, "value", "values") + " read, " +
                      (calculated == 0 ? "" : std::to_string(calculated) + " calculated, ")),
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
    const std::string label = value.shown.label.empty() ? "" : " " + value.shown.label;
    const std::string reading = value.after.value.empty() ? "" : " = " + value.shown.value;
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

// ---- the archive

// Names of meters may hold anything; a block's name goes into names of files.
std::string BlockName(const std::string& time, Place place, const std::string& number) {
    std::string name = "readout-" + time + "-" + (number.empty() ? ToText(place) : number);
    constexpr std::size_t kMostBytes = 100;
    name.resize(std::min(name.size(), kMostBytes));
    const auto isPlain = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-';
    };
    std::replace_if(name.begin(), name.end(), std::not_fn(isPlain), '_');
    return name + ".txt";
}

void Archive(Installation& installation, const std::string& bytes, const std::string& name, Screen& screen) {
    const RawArchive archive(installation);
    screen.Line();
    try {
        const std::string block = archive.AddBytes(bytes, name);
        screen.Line({Cell("Archived in " + archive.Name() + " as " + block)});
    } catch (const Refusal& failure) {
        throw Refusal(kFileFailed,
                      std::string("the readout is saved in the record, but not archived: ") + failure.what());
    }
}

}  // namespace

LoadedReadout LoadReadout(const std::string& name) {
    std::string bytes = LoadFile(name);
    std::string problem;
    std::optional<Readout> readout = Readout::Parse(bytes, &problem);
    if (!readout)
        throw Refusal(kRefused, "the readout " + Utf8::Shown(name) + " is refused: " + Utf8::Shown(problem) +
                                    ". Nothing was changed.");
    return {std::move(bytes), *std::move(readout)};
}

void TakeReadout(Installation& installation, Place place, const VisitRequest& request,
                 const ReadingSource& source, Screen& screen) {
    CMeterDatabase& database = installation.Database();
    const Readout& readout = request.readout;
    CheckIdentity(database, readout, source.force, screen);
    CheckExpected(database, readout);
    const std::string stateBefore = Utf8::Shown(StateAndAction(database));
    const Visit visit = PerformVisit(database, request);

    screen.Heading(MeterTitle(database, place));
    if (!source.function.empty())
        screen.Line({Cell("  Done     " + Utf8::Shown(source.function), Tone::Good)});
    screen.Line(
        {Cell("  Readout  "), Cell(Utf8::Shown(source.file) + ", " + OrDash(readout.Identification()) + ", " +
                                   CountOf(static_cast<long>(readout.Values().size()), "value", "values"))});
    screen.Line({Cell("  State    " + stateBefore + " -> "),
                 Cell(Utf8::Shown(StateAndAction(database)), Tone::Good)});
    ShowValues(visit, screen);
    ShowSummary(visit, screen);
    ShowAlarms(visit, screen);
    ShowSaved(visit.saved, installation, screen);
    Archive(installation, source.bytes, BlockName(visit.saved.time, place, MeterNumber(database)), screen);
}
