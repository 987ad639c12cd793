// Reading a meter: what its parser found in the answer goes into the current record, with the status that its
// check gives, and the alarm conditions of the record are tested.
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "MeterDatabase/History.h"
#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"
#include "MeterInterface/MeterInterface.h"

using namespace MeterRecords;

namespace {

constexpr int kMasterValueBytes = 255;
constexpr int kSwitchBytes = 20;

// A text of the system ini; empty without one.
std::string Setting(const CMeterIniFile* systemIni, const char* section, const char* key, int size) {
    if (systemIni == nullptr)
        return {};
    return ReadText(*systemIni, section, key, size).value_or(std::string());
}

// An alarm condition is "B" and a letter that selects the status letters with which it holds.
bool IsAlarm(std::string_view token, std::string_view status) {
    static constexpr struct {
        char condition;
        const char* letters;
    } kAlarms[] = {{'W', "W"}, {'C', "C"}, {'U', "U"}, {'D', "D"}, {'X', "WCU"}, {'Y', "WC"}};
    if (token.size() < 2 || token[0] != 'B')
        return false;
    for (const auto& alarm : kAlarms)
        if (alarm.condition == token[1])
            return MeterText::ContainsAny(status, alarm.letters);
    return false;
}

// True when one of a definition's tokens, up to the first empty one, is an alarm condition that holds.
bool HasAlarm(std::string_view definition, std::string_view status) {
    MeterText::TokenReader tokens(definition);
    for (std::string_view token; tokens.Next(&token);) {
        if (token.empty())
            return false;
        if (IsAlarm(MeterText::WithoutQuotes(token), status))
            return true;
    }
    return false;
}

// One run of a meter's parser, open as long as the object lives.
class ParserRun {
public:
    ParserRun(CMeterInterface* parser, int months) : m_parser(parser) { m_parser->OpenParser(months); }
    ~ParserRun() { m_parser->CloseParser(); }
    ParserRun(const ParserRun&) = delete;
    ParserRun& operator=(const ParserRun&) = delete;

    // What the answer holds under a name. The parser gets copies: whatever it does to them ends here.
    std::optional<std::string> Search(std::string_view name, std::string_view status) const {
        char nameBuffer[kNameBytes] = "";
        char statusBuffer[kNameBytes] = "";
        char value[kNameBytes] = "";
        MeterText::CopyText(nameBuffer, kNameBytes, name);
        MeterText::CopyText(statusBuffer, kNameBytes, status);
        if (!m_parser->SearchValue(nameBuffer, value, kNameBytes, statusBuffer))
            return std::nullopt;
        value[kNameBytes - 1] = '\0';
        return std::string(value);
    }

private:
    CMeterInterface* m_parser;
};

// Which readings are checked, and what a finding is called.
class ReadingStatus {
public:
    ReadingStatus(CMeterDatabase* database, std::string masterValue, bool checkAll)
        : m_database(database), m_masterValue(std::move(masterValue)), m_checkAll(checkAll) {}

    const char* Of(std::string_view name, const ValueEntry& entry) const {
        const bool isMaster = MeterText::EqualIgnoringCase(name, m_masterValue);
        if (!isMaster && !m_checkAll && !MeterText::Contains(entry.Bare(kAttributes), 'V'))
            return "DR";
        const std::string value(entry.Bare(kValue));
        const std::string definition(entry.Bare(kDefinition));
        if (m_database->CheckValue(value.c_str(), definition.c_str()) == 0)
            return "DR";
        return isMaster ? "W" : "CR";
    }

private:
    CMeterDatabase* m_database;
    std::string m_masterValue;
    bool m_checkAll;
};

}  // namespace

int CMeterDatabase::StartParser(CMeterInterface* iface) try {
    if (m_dataFile == nullptr || iface == nullptr)
        return 0;
    MeterText::CopyText(m_masterValue, sizeof m_masterValue,
                        Setting(m_systemIni, "List", "MasterValue", kMasterValueBytes));
    if (GetActualPosition() < 1)
        return 0;
    const bool checkAll = MeterText::EqualIgnoringCase(
        Setting(m_systemIni, "System", "CheckAutoReadRegs", kSwitchBytes), "YES");
    const ReadingStatus readingStatus(this, m_masterValue, checkAll);
    const std::string section = RecordSection();
    const ParserRun run(iface, HasRecord() ? MonthsSinceHistory(*m_dataFile, section) : 0);
    bool alarm = false;
    ForEachEntry(*m_dataFile, section, [&](const char* name, const char* text) {
        ValueEntry entry(text);
        if (!ValueEntry::IsValue(text) || !MeterText::Contains(entry.Bare(kAttributes), 'R'))
            return true;
        if (const std::optional<std::string> reading = run.Search(name, entry.Bare(kStatus))) {
            ValueEntry read = entry;
            read.Set(kValue, MeterText::WithoutQuotes(*reading));
            read.Set(kStatus, readingStatus.Of(name, read));
            const std::string written = read.Compose();
            if (m_dataFile->WriteString(section.c_str(), name, written.c_str()))
                entry = ValueEntry(written);
        }
        alarm = alarm || HasAlarm(entry.Bare(kDefinition), entry.Bare(kStatus));
        return true;
    });
    return alarm ? 1 : 0;
} catch (const std::bad_alloc&) {
    return 0;
}
