#include "terminal/Visit.h"

#include <algorithm>
#include <array>
#include <optional>

#include "MeterUtil/Text.h"
#include "terminal/ReadoutInterface.h"
#include "terminal/Refusal.h"
#include "terminal/SaveListener.h"

namespace {

constexpr const char* kHandled = "H";
constexpr const char* kInWork = "M";
constexpr const char* kDirty = "Dirty";
constexpr std::size_t kMostCharacters = 255;  // that a value of a record has

// ---- what is wrong with a value ---------------------------------------------------------------------------

std::string RangeFinding(int result, const std::string& limits) {
    const std::size_t middle = limits.find(';');
    const std::string lower = limits.substr(0, middle);
    const std::string upper = middle == std::string::npos ? std::string() : limits.substr(middle + 1);
    if (result == 2)
        return "below " + lower;
    return result == 3 ? "above " + upper : "between " + upper + " and " + lower;
}

std::string ReferenceFinding(CMeterDatabase& database, const std::string& reference) {
    const std::optional<Entry> entry = ReadEntry(database, reference);
    return entry ? "should be " + entry->value + " (" + reference + ")"
                 : "cannot be checked without " + reference;
}

// Why CheckValue gave a result other than 0, in words.
std::string WhyDeviates(CMeterDatabase& database, int result, const std::string& definition) {
    for (const std::string& token : DefinitionTokens(definition)) {
        const std::string rest = token.substr(1);
        if (token.front() == 'C')
            return RangeFinding(result, rest);
        if (token.front() == 'X')
            return "should be " + rest;
        if (token.front() == 'V')
            return ReferenceFinding(database, rest);
    }
    return "deviates";
}

std::string FindingOf(CMeterDatabase& database, const VisitValue& value, const std::string& sentUnit) {
    std::string finding;
    const int result = database.CheckValue(value.after.value.c_str(), value.after.definition.c_str());
    if (result != 0 && MeterText::ContainsAny(value.after.status, "CW"))
        finding = WhyDeviates(database, result, value.after.definition);
    const std::string expectedUnit = UnitOf(value.after.definition);
    if (!expectedUnit.empty() && !sentUnit.empty() && !MeterText::EqualIgnoringCase(expectedUnit, sentUnit))
        finding += (finding.empty() ? "" : "; ") + ("the meter sent " + sentUnit);
    return finding;
}

// ---- alarms -----------------------------------------------------------------------------------------------

bool AlarmHolds(const std::string& token, const std::string& status) {
    if (token.size() < 2 || token.front() != 'B')
        return false;
    constexpr std::array<std::pair<char, const char*>, 6> kConditions = {
        {{'W', "W"}, {'C', "C"}, {'U', "U"}, {'D', "D"}, {'X', "WCU"}, {'Y', "WC"}}};
    return std::any_of(kConditions.begin(), kConditions.end(), [&](const auto& condition) {
        return token[1] == condition.first && MeterText::ContainsAny(status, condition.second);
    });
}

std::vector<std::string> AlarmsOf(const Entry& entry) {
    std::vector<std::string> alarms;
    for (const std::string& token : DefinitionTokens(entry.definition))
        if (AlarmHolds(token, entry.status))
            alarms.push_back(token);
    return alarms;
}

VisitValue Compare(Installation& installation, const Readout& readout, const Entry& before) {
    CMeterDatabase& database = installation.Database();
    VisitValue value;
    value.before = before;
    value.after = ReadEntry(database, before.name).value_or(before);
    value.label = installation.Label(before.name, ReadValue(database, "MeterType"));
    const std::string* sentText = readout.FindText(before.name);
    value.isRead = sentText != nullptr && sentText->size() <= kMostCharacters;
    const ReadoutValue* sent = readout.Find(before.name);
    const std::string sentUnit = sent == nullptr ? std::string() : sent->unit;
    const std::string ownUnit = UnitOf(value.after.definition);
    value.unit = ownUnit.empty() ? sentUnit : ownUnit;
    if (value.isRead)
        value.finding = FindingOf(database, value, sentUnit);
    else
        value.finding = sentText == nullptr ? "not sent" : "too long to be stored";
    value.alarms = AlarmsOf(value.after);
    return value;
}

// ---- changed lines ----------------------------------------------------------------------------------------

struct Lines {
    std::string header;
    std::vector<std::string> lines;
};

// The main record of the current meter and, when an appendix is current, that appendix.
std::vector<Lines> LinesOfVisit(CMeterDatabase& database) {
    const int appendix = database.GetAppendix();
    database.SetAppendix(0);
    std::vector<Lines> records = {{RecordHeader(database), RecordLines(database)}};
    if (appendix == 0)
        return records;
    database.SetAppendix(appendix);
    records.push_back({RecordHeader(database), RecordLines(database)});
    return records;
}

// A visit rewrites lines in their places and adds new ones behind the last.
ChangedLines ChangesOf(const Lines& before, const Lines& after) {
    ChangedLines changed{after.header, {}};
    for (std::size_t i = 0; i < after.lines.size(); ++i) {
        const std::string old = i < before.lines.size() ? before.lines[i] : std::string();
        if (old != after.lines[i])
            changed.changes.push_back({old, after.lines[i]});
    }
    return changed;
}

std::vector<ChangedLines> ChangesOf(const std::vector<Lines>& before, const std::vector<Lines>& after) {
    std::vector<ChangedLines> changes;
    for (std::size_t i = 0; i < after.size(); ++i)
        if (ChangedLines changed = ChangesOf(before[i], after[i]); !changed.changes.empty())
            changes.push_back(std::move(changed));
    return changes;
}

// ---- stamps and saving ------------------------------------------------------------------------------------

// A meter is handled once its own record was read; what only an appendix was read for stays in work.
const char* StateAfter(CMeterDatabase& database) {
    return database.GetAppendix() == 0 || IsHandled(database) ? kHandled : kInWork;
}

// Stamps the meter and saves it. The app file is saved with the stamp; when the data file then cannot be
// saved, it gets its earlier mark back.
void StampAndSave(CMeterDatabase& database, const std::string& user) {
    const SaveListener saves;
    std::array<char, 256> dirty{};
    database.GetGeneralData(kDirty, dirty.data(), static_cast<int>(dirty.size()));
    database.SetActualUser(user.c_str());
    const bool stamped = database.SetRecordState(StateAfter(database)) && database.SetUser();
    if (stamped && database.UpdateDatabaseForeground())
        return;
    const std::string reason = saves.Reason().empty() ? "the record could not be stamped" : saves.Reason();
    if (stamped)
        database.SetGeneralData(kDirty, dirty.data());
    throw Refusal(kFileFailed, reason + ". Nothing was changed.");
}

}  // namespace

std::string MarkOf(const std::string& status) {
    if (MeterText::Contains(status, 'D'))
        return "ok.";
    if (MeterText::Contains(status, 'W'))
        return "?";
    return MeterText::Contains(status, 'C') ? "!" : "";
}

Visit PerformVisit(Installation& installation, const Readout& readout, const std::string& user) {
    CMeterDatabase& database = installation.Database();
    const std::vector<Lines> linesBefore = LinesOfVisit(database);
    const std::vector<Entry> before = ReadableEntries(database);
    ReadoutInterface meter(readout);
    Visit visit;
    visit.hasAlarm = database.StartParser(&meter) != 0;
    for (const Entry& entry : before)
        visit.values.push_back(Compare(installation, readout, entry));
    StampAndSave(database, user);
    visit.changes = ChangesOf(linesBefore, LinesOfVisit(database));
    const auto main = [&database](const char* name) {
        std::array<char, 256> value{};
        database.GetMeterValueMain(name, nullptr, 0, nullptr, 0, nullptr, 0, value.data(), 256, nullptr, 0);
        return std::string(MeterText::WithoutQuotes(value.data()));
    };
    visit.user = main("UserID");
    visit.time = main("LastChanges");
    return visit;
}
