// Values that nobody reads or enters: those that are calculated from others of the record, and those that are
// cleared before a new reading. Owns the names that stand for a calculation and the letters that ask for
// clearing.
#include <algorithm>
#include <new>

#include "MeterDatabase/FixedPoint.h"
#include "MeterDatabase/History.h"
#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"

using namespace MeterRecords;

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// A number that grows digit by digit, far enough to be above every limit here.
int WithDigit(int number, char digit) {
    return std::min(number * 10 + (digit - '0'), 1000);
}

// ---- meter identifier

struct IdentifierFormat {
    bool zeros = false;  // in front of one that is too short; else a longer one is cut
    std::size_t length = 0;
};

IdentifierFormat ParseIdentifierFormat(std::string_view format) {
    constexpr int kMostCharacters = 20;
    IdentifierFormat parsed;
    int length = 0;
    for (const char c : format.substr(0, format.find_first_not_of("0123456789AXax"))) {
        parsed.zeros = parsed.zeros || (c == '0' && length == 0);
        length = IsDigit(c) ? WithDigit(length, c) : length;
    }
    parsed.length = static_cast<std::size_t>(std::min(length, kMostCharacters));
    return parsed;
}

std::string FormatIdentifier(std::string identifier, const IdentifierFormat& format) {
    const std::size_t chars = identifier.size();
    if (format.zeros && chars < format.length)
        return identifier.insert(0, format.length - chars, '0');
    if (!format.zeros && format.length > 0 && chars > format.length)
        return identifier.substr(chars - format.length);
    return identifier;
}

// A new record whose meter was not read yet has no identifier, and says so.
std::optional<std::string> MeterIdentifier(const CMeterIniFile& dataFile, const std::string& section,
                                           std::string_view recordState, std::string_view format,
                                           char* stateField) {
    const std::optional<ValueEntry> identifier = ReadEntry(dataFile, section, "0.0.0");
    if (!identifier)
        return std::nullopt;
    if (MeterText::Contains(identifier->Bare(kStatus), 'D'))
        return FormatIdentifier(std::string(identifier->Bare(kValue)), ParseIdentifierFormat(format));
    if (!MeterText::ContainsAny(recordState, "NE"))
        return std::nullopt;
    MeterText::CopyText(stateField, kNameBytes, "U");
    return std::string();
}

// ---- difference

struct DifferenceFormat {
    int width = 0;     // digits of the register before the point
    int decimals = 0;  // behind it
};

DifferenceFormat ParseDifferenceFormat(std::string_view format) {
    DifferenceFormat parsed;
    bool behindPoint = false;
    for (const char c : format.substr(0, format.find_first_not_of("0123456789,."))) {
        if (!IsDigit(c))
            behindPoint = true;
        else if (behindPoint)
            parsed.decimals = c - '0';
        else
            parsed.width = WithDigit(parsed.width, c);
    }
    parsed.width = std::clamp(parsed.width, 1, 10);
    return parsed;
}

// What a register counted between two readings. A smaller one is that of a register that rolled over.
double Difference(std::string_view currentText, std::string_view previousText, int width) {
    const double current = MeterText::ToDouble(currentText);
    const double previous = MeterText::ToDouble(previousText);
    if (!(current < previous))
        return current - previous;
    double rollover = 1;
    for (int digit = 0; digit < width; ++digit)
        rollover *= 10;
    return current + rollover - previous;
}

std::string WithoutLeadingZeros(const std::string& number) {
    std::size_t zeros = 0;
    while (number[zeros] == '0' && IsDigit(number[zeros + 1]))
        ++zeros;
    return number.substr(zeros);
}

// "NAME" of a field "NAME-DIFF"; empty for any other.
std::string_view BaseOfDifference(std::string_view name) {
    const std::size_t hyphen = name.find('-');
    if (hyphen == std::string_view::npos || !MeterText::EqualIgnoringCase(name.substr(hyphen + 1), "DIFF"))
        return {};
    return name.substr(0, hyphen);
}

// What a register counted since its last reading; nothing without both readings.
std::optional<std::string> RegisterDifference(const CMeterIniFile& dataFile, const std::string& section,
                                              const std::string& base, std::string_view format) {
    const std::optional<ValueEntry> current = ReadEntry(dataFile, section, base.c_str());
    const std::optional<ValueEntry> previous = ReadEntry(dataFile, section, (base + "-last").c_str());
    if (!IsRead(current) || !IsRead(previous))
        return std::nullopt;
    const DifferenceFormat parsed = ParseDifferenceFormat(format);
    const double difference = Difference(current->Bare(kValue), previous->Bare(kValue), parsed.width);
    return WithoutLeadingZeros(FixedPoint(difference, parsed.width, parsed.decimals));
}

// ---- month counter

// The counter of the last reading and the months since then.
std::optional<std::string> PeriodCounterOfToday(const CMeterIniFile& dataFile, const std::string& section) {
    const std::optional<ValueEntry> counter = ReadEntry(dataFile, section, "0.1.0-last");
    const std::optional<ValueEntry> date = ReadEntry(dataFile, section, "0.1.0-DTlast");
    if (!IsRead(counter) || !IsRead(date))
        return std::nullopt;
    const std::optional<int> months = MonthsSince(date->Bare(kValue));
    if (!months)
        return std::nullopt;
    const std::int64_t today = std::int64_t{MeterText::ToInt(counter->Bare(kValue))} + *months;
    return MeterText::ZeroPadded(today % 100, 2);
}

// ---- clearing

bool IsCleared(int mode, std::string_view attributes) {
    if (mode == 0)
        return MeterText::ContainsAny(attributes, "CU?");
    return mode == 1 && MeterText::Contains(attributes, 'D');
}

void ClearEntry(int mode, ValueEntry* entry) {
    const std::string attributes(entry->Bare(kAttributes));
    if (mode == 1 || MeterText::Contains(attributes, 'C'))
        entry->Set(kValue, "");
    else if (MeterText::Contains(attributes, '?'))
        entry->Set(kValue, "?");
    if (mode == 1 || MeterText::Contains(attributes, 'U'))
        entry->Set(kStatus, "U");
}

}  // namespace

// ---- calculated fields

bool CMeterDatabase::CalculateField(const char* recordState, const char* name, char*, char* stateField,
                                    char* format, char* result, char*) try {
    if (!HasRecord())
        return false;
    const std::string_view field = MeterText::View(name);
    const std::string_view base = BaseOfDifference(field);
    std::optional<std::string> calculated;
    if (MeterText::EqualIgnoringCase(field, "MeterID"))
        calculated = MeterIdentifier(*m_dataFile, RecordSection(), MeterText::View(recordState),
                                     MeterText::View(format), stateField);
    else if (!base.empty())
        calculated =
            RegisterDifference(*m_dataFile, RecordSection(), std::string(base), MeterText::View(format));
    else if (MeterText::EqualIgnoringCase(field, "0.1.0-calc"))
        calculated = PeriodCounterOfToday(*m_dataFile, RecordSection());
    if (calculated)
        MeterText::CopyText(result, kNameBytes, *calculated);
    return calculated.has_value();
} catch (const std::bad_alloc&) {
    return false;
}

// ---- passes over a record

void CMeterDatabase::StartAutoFields(CMeterInterface* iface) try {
    if (iface == nullptr || GetActualPosition() < 1)
        return;
    char recordState[kNameBytes];
    GetRecordState(recordState);
    const std::string section = RecordSection();
    ForEachEntry(*m_dataFile, section, [&](const char* name, const char* text) {
        ValueEntry entry(text);
        if (!ValueEntry::IsValue(text) || !MeterText::Contains(entry.Bare(kAttributes), 'A'))
            return true;
        char status[kNameBytes];  // of no use here: what is calculated counts as read
        char format[kNameBytes];
        char result[kNameBytes];
        MeterText::CopyText(format, kNameBytes, entry.Bare(kDefinition));
        if (!CalculateField(recordState, name, nullptr, status, format, result, nullptr))
            return true;
        entry.Set(kStatus, "D");
        entry.Set(kValue, result);
        const std::string composed = entry.Compose();
        if (composed != text)
            m_dataFile->WriteString(section.c_str(), name, composed.c_str());
        return true;
    });
} catch (const std::bad_alloc&) {
}

void CMeterDatabase::ClearFields(int mode) try {
    if (GetActualPosition() < 1)
        return;
    const std::string section = RecordSection();
    ForEachEntry(*m_dataFile, section, [&](const char* name, const char* text) {
        ValueEntry entry(text);
        if (!ValueEntry::IsValue(text) || !IsCleared(mode, entry.Bare(kAttributes)))
            return true;
        ClearEntry(mode, &entry);
        m_dataFile->WriteString(section.c_str(), name, entry.Compose().c_str());
        return true;
    });
} catch (const std::bad_alloc&) {
}
