// The meters carried along for exchanges: counting and searching them, reading their values, and moving the
// fields that are meant for it from one of them into the current record. Owns the rules of what a store field
// is and how its functions are numbered in the record.
#include <algorithm>
#include <new>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"
#include "MeterUtil/Text.h"

using namespace MeterRecords;

namespace {

constexpr int kMostSearched = 100000;  // store meters, whatever number the file claims
constexpr std::size_t kMeterNumberChars = 39;
constexpr std::size_t kNameListBytes = 4096;  // of the names that one call deletes, separators included

std::string StoreSection(int store) {
    return "*_" + std::to_string(store);
}

// The number that a store meter is found by; 0 without one.
std::int64_t MeterNumber(const CMeterIniFile& dataFile, int store) {
    for (const char* const key : {"0.0.0-nom", "0.0.0"}) {
        const std::optional<ValueEntry> entry = ReadEntry(dataFile, StoreSection(store), key);
        if (entry && !entry->Bare(kValue).empty())
            return MeterText::ToInt64(entry->Bare(kValue).substr(0, kMeterNumberChars));
    }
    return 0;
}

bool IsStoreField(const char* text) {
    return ValueEntry::IsValue(text) && MeterText::Contains(ValueEntry(text).Bare(kAttributes), 'S');
}

bool IsWorkedOn(const ValueEntry& field) {
    const std::string_view status = field.Bare(kStatus);
    return MeterText::ContainsAny(status, "DCW") && MeterText::ContainsAny(status, "RE");
}

constexpr std::string_view kFunction = "Func";

bool IsFunction(std::string_view name) {
    return name.size() > kFunction.size() &&
           MeterText::EqualIgnoringCase(name.substr(0, kFunction.size()), kFunction);
}

std::int64_t FunctionNumber(std::string_view name) {
    return MeterText::ToInt(name.substr(kFunction.size()));
}

std::int64_t HighestFunction(const CMeterIniFile& store, const std::string& section) {
    std::int64_t highest = 0;
    ForEachEntry(store, section, [&](const char* name, const char*) {
        if (IsFunction(name))
            highest = std::max(highest, FunctionNumber(name));
        return true;
    });
    return highest;
}

struct Field {
    std::string name;
    std::string text;
};

// The store fields of a section, their functions numbered on behind `highestFunction`.
std::vector<Field> StoreFields(const CMeterIniFile& store, const std::string& section,
                               std::int64_t highestFunction) {
    std::vector<Field> fields;
    ForEachEntry(store, section, [&](const char* name, const char* text) {
        if (!IsStoreField(text))
            return true;
        std::string newName = name;
        if (IsFunction(name))
            newName = std::string(kFunction) + std::to_string(FunctionNumber(name) + highestFunction);
        fields.push_back({newName, WithoutLineBreaks(text)});
        return true;
    });
    return fields;
}

// Writes all fields. False, with those that got there taken back, when one is not taken.
bool WriteFields(CMeterIniFile& store, const std::string& section, const std::vector<Field>& fields) {
    std::vector<std::optional<std::string>> before;
    before.reserve(fields.size());
    for (const Field& field : fields)
        before.push_back(ReadText(store, section.c_str(), field.name.c_str(), kEntryBytes));
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (store.WriteString(section.c_str(), fields[i].name.c_str(), fields[i].text.c_str()))
            continue;
        while (i-- > 0)
            PutBack(store, section.c_str(), fields[i].name.c_str(), before[i]);
        return false;
    }
    return true;
}

}  // namespace

bool CMeterDatabase::MeterChangeOrderAvailable() try {
    if (m_systemIni == nullptr)
        return false;
    const int meters = GetNumberOfMeters();
    for (int meter = 1; meter <= meters; ++meter) {
        const std::string section = MeterSection(meter);
        if (!m_dataFile->SectionExists(section.c_str()))
            return false;  // meters are numbered without gaps, whatever their recorded number
        const std::optional<ValueEntry> action = ReadEntry(*m_dataFile, section, "Action");
        if (action && !action->Bare(kValue).empty())
            return true;
    }
    return false;
} catch (const std::bad_alloc&) {
    return false;
}

int CMeterDatabase::GetStoreMeters() {
    return m_dataFile == nullptr ? 0 : ReadNumber(*m_dataFile, "Store", "Meters", kNumberBytes);
}

int CMeterDatabase::SearchStoreMeter(const char* number) try {
    const std::int64_t wanted = MeterText::ToInt64(MeterText::View(number));
    if (wanted < 1)
        return 0;
    const int searched = std::min(GetStoreMeters(), kMostSearched);
    for (int store = 1; store <= searched; ++store)
        if (MeterNumber(*m_dataFile, store) == wanted)
            return store;
    return 0;
} catch (const std::bad_alloc&) {
    return 0;
}

bool CMeterDatabase::GetStoreValue(int store, const char* key, char* attributes, int attributesLen,
                                   char* status, int statusLen, char* definition, int definitionLen,
                                   char* value, int valueLen, char* text, int textLen) try {
    const ValueOutputs outputs{{{attributes, attributesLen},
                                {status, statusLen},
                                {definition, definitionLen},
                                {value, valueLen},
                                {text, textLen}}};
    Clear(outputs);
    if (store < 1 || store > GetStoreMeters())
        return false;
    const std::optional<ValueEntry> entry = ReadEntry(*m_dataFile, StoreSection(store), key);
    if (entry)
        HandOut(*entry, outputs);
    return entry.has_value();
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::HasRecordSection() const {
    return HasRecord() && m_dataFile->SectionExists(RecordSection().c_str());
}

bool CMeterDatabase::CheckStoreFields() try {
    if (!HasRecordSection())
        return false;
    bool worked = false;
    ForEachEntry(*m_dataFile, RecordSection(), [&](const char*, const char* text) {
        worked = IsStoreField(text) && IsWorkedOn(ValueEntry(text));
        return !worked;
    });
    return worked;
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::DeleteStoreFields() try {
    if (!HasRecordSection())
        return false;
    const std::string section = RecordSection();
    std::vector<std::string> names;
    std::size_t listed = 0;
    ForEachEntry(*m_dataFile, section, [&](const std::string& name, const char* text) {
        if (!IsStoreField(text) || listed + name.size() + 10 >= kNameListBytes)
            return true;
        listed += name.size() + (names.empty() ? 0 : 1);
        names.push_back(name);
        return true;
    });
    return std::all_of(names.begin(), names.end(), [&](const std::string& name) {
        return m_dataFile->DeleteKey(section.c_str(), name.c_str());
    });
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::AppendStoreFields(int store) try {
    if (store < 1 || store > GetStoreMeters() || !HasRecordSection() ||
        !m_dataFile->SectionExists(StoreSection(store).c_str()))
        return false;
    const std::string record = RecordSection();
    return WriteFields(*m_dataFile, record,
                       StoreFields(*m_dataFile, StoreSection(store), HighestFunction(*m_dataFile, record)));
} catch (const std::bad_alloc&) {
    return false;
}
