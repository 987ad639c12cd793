// Values and items of the current record, and the user stamp. Values are taken apart and composed by
// ValueEntry; an item is the whole text of its entry, as it stands.
#include <new>

#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"
#include "MeterDatabase/TimeStamp.h"

using namespace MeterRecords;

namespace {

// Makes the main record current for one call.
class OnMainRecord {
public:
    explicit OnMainRecord(std::int32_t* appendix) : m_appendix(appendix), m_saved(*appendix) {
        *m_appendix = 0;
    }
    ~OnMainRecord() { *m_appendix = m_saved; }
    OnMainRecord(const OnMainRecord&) = delete;
    OnMainRecord& operator=(const OnMainRecord&) = delete;

private:
    std::int32_t* m_appendix;
    std::int32_t m_saved;
};

}  // namespace

// ---- values

bool CMeterDatabase::GetMeterValue(const char* name, char* attributes, int attributesSize, char* status,
                                   int statusSize, char* definition, int definitionSize, char* value,
                                   int valueSize, char* text, int textSize) try {
    const ValueOutputs outputs{{{attributes, attributesSize},
                                {status, statusSize},
                                {definition, definitionSize},
                                {value, valueSize},
                                {text, textSize}}};
    Clear(outputs);
    if (!HasRecord())
        return false;
    const std::optional<ValueEntry> entry = ReadEntry(*m_dataFile, RecordSection(), name);
    if (entry)
        HandOut(*entry, outputs);
    return entry.has_value();
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::GetMeterValueMain(const char* name, char* attributes, int attributesSize, char* status,
                                       int statusSize, char* definition, int definitionSize, char* value,
                                       int valueSize, char* text, int textSize) {
    const OnMainRecord main(&m_currentAppendix);
    return GetMeterValue(name, attributes, attributesSize, status, statusSize, definition, definitionSize,
                         value, valueSize, text, textSize);
}

bool CMeterDatabase::GetMeterValueByIndex(int index, char* key, char* attributes, int attributesSize,
                                          char* status, int statusSize, char* definition, int definitionSize,
                                          char* value, int valueSize, char* text, int textSize) try {
    const ValueOutputs outputs{{{attributes, attributesSize},
                                {status, statusSize},
                                {definition, definitionSize},
                                {value, valueSize},
                                {text, textSize}}};
    Clear(outputs);
    if (!HasRecord())
        return false;
    char name[kNameBytes];
    char entry[kEntryBytes];
    if (!m_dataFile->ReadByIndex(RecordSection().c_str(), index, name, kNameBytes, entry, kEntryBytes))
        return false;
    HandOut(ValueEntry(entry), outputs);
    MeterText::CopyText(key, kNameBytes, name);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::SetMeterValue(const char* name, const char* attributes, const char* status,
                                   const char* definition, const char* value, const char* text) try {
    if (!HasRecord())
        return false;
    const std::string section = RecordSection();
    ValueEntry entry = ReadEntry(*m_dataFile, section, name).value_or(ValueEntry());
    const char* const given[kSubFields] = {attributes, status, definition, value, text};
    for (int field = kAttributes; field < kSubFields; ++field)
        entry.Rewrite(static_cast<SubField>(field), given[field]);
    m_dataFile->WriteString(section.c_str(), name, entry.Compose().c_str());
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::SetMeterValueMain(const char* name, const char* attributes, const char* status,
                                       const char* definition, const char* value, const char* text) {
    const OnMainRecord main(&m_currentAppendix);
    return SetMeterValue(name, attributes, status, definition, value, text);
}

bool CMeterDatabase::DeleteMeterValue(const char* name) try {
    if (!HasRecord())
        return false;
    m_dataFile->DeleteKey(RecordSection().c_str(), name);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

// ---- items and user stamp

bool CMeterDatabase::GetMeterItem(const char* key, char* dst, int size) try {
    MeterText::CopyText(dst, size, {});
    return HasRecord() && m_dataFile->ReadString(RecordSection().c_str(), key, dst, size);
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::GetMeterItemMain(const char* key, char* dst, int size) {
    const OnMainRecord main(&m_currentAppendix);
    return GetMeterItem(key, dst, size);
}

bool CMeterDatabase::SetMeterItem(const char* key, const char* text) try {
    return HasRecord() && m_dataFile->WriteString(RecordSection().c_str(), key, text);
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::SetMeterItemMain(const char* key, const char* text) {
    const OnMainRecord main(&m_currentAppendix);
    return SetMeterItem(key, text);
}

bool CMeterDatabase::SetUser() try {
    const bool user = SetMeterValueMain("UserID", "A", "D", "", m_actualUser, "");
    const bool time = SetMeterValueMain("LastChanges", "A", "D", "", TimeStamp().c_str(), "");
    const bool dirty = SetGeneralData("Dirty", "Yes");
    return user && time && dirty;
} catch (const std::bad_alloc&) {
    return false;
}
