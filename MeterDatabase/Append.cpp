// Records that come and go: new ones made from a template of the system ini, deleted ones, and the copy of a
// record that an edit may be taken back to. Owns the lines that a new record consists of, and the rule by
// which general values of the route get into it.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"
#include "MeterUtil/Text.h"

using namespace MeterRecords;

namespace {

constexpr const char* kGeneral = "General";
constexpr const char* kMeters = "Meters";
constexpr std::size_t kTemplateChars = kNameBytes - 1;  // most of an entry that a template gives
constexpr std::size_t kMarkChars = 8;                   // of its attributes that can mark a general value

// The template for a type of meter; "" when there is none.
std::string TemplateSection(const CMeterIniFile& systemIni, const char* meterType) {
    std::string own = std::string("Append").append(MeterText::View(meterType));
    if (systemIni.SectionExists(own.c_str()))
        return own;
    return systemIni.SectionExists("Append") ? "Append" : "";
}

// The text of a template's entry as a new record gets it. One that is marked takes the value that the route
// has under its name, if there is one.
std::string EntryText(const char* name, const char* text, const CMeterIniFile& dataFile) {
    if (!ValueEntry::IsValue(text))
        return text;
    ValueEntry entry(text);
    const std::string mark(entry.Bare(kAttributes).substr(0, kMarkChars));
    if (!MeterText::Contains(mark, 'G'))
        return text;
    entry.Set(kAttributes, mark);
    // More of a value than can stand in quotes has no place in an entry of this length anyway.
    const int most = static_cast<int>(ValueEntry::kQuotedBelow);
    if (const std::optional<std::string> general = ReadText(dataFile, kGeneral, name, most))
        entry.TakeOver(kValue, *general);
    return entry.Compose(kTemplateChars);
}

// A new record: everything that can fail for want of memory is prepared in it before the data file changes.
class NewRecord {
public:
    NewRecord(int meter, CMeterIniFile* dataFile) : m_meter(meter), m_dataFile(dataFile) {
        OpenSection(MeterSection(meter));
        m_lines.push_back("State=E");
    }

    void AddEntries(const CMeterIniFile& systemIni, const std::string& section) {
        char key[kNameBytes];
        char text[kNameBytes];
        for (int index = 1; systemIni.ReadByIndex(section.c_str(), index, key, kNameBytes, text, kNameBytes);
             ++index) {
            std::string line = WithoutLineBreaks(std::string(key) + '=' + EntryText(key, text, *m_dataFile));
            if (MeterText::TrimBlanks(line).front() == '[')
                continue;  // it would be taken for a header
            if (key[0] == '#')
                OpenAppendix(MeterText::ToInt(key + 1));
            m_lines.push_back(std::move(line));
        }
        m_lines.emplace_back();
    }

    // False, with the lines that got there taken out again, when one is not taken.
    bool Append() {
        for (const std::string& line : m_lines) {
            if (m_dataFile->AppendString(line.c_str()) >= 0)
                continue;
            for (const std::string& section : m_sections)
                m_dataFile->DeleteSection(section.c_str());
            return false;
        }
        return true;
    }

    int LastAppendix() const { return m_lastAppendix; }

private:
    void OpenAppendix(int appendix) {
        m_lines.emplace_back();
        OpenSection(AppendixSection(appendix, m_meter));
        m_lastAppendix = appendix;
    }

    void OpenSection(const std::string& section) {
        m_lines.push_back("[" + section + "]");
        if (!m_dataFile->SectionExists(section.c_str()))
            m_sections.push_back(section);
    }

    int m_meter;
    CMeterIniFile* m_dataFile;
    std::vector<std::string> m_lines;
    std::vector<std::string>
        m_sections;  // that the lines open, without those of a name that was there before
    int m_lastAppendix = 0;
};

}  // namespace

int CMeterDatabase::AppendNewMeterToDataFile(const char* meterType) try {
    if (m_systemIni == nullptr || m_dataFile == nullptr)
        return 0;
    const std::string section = TemplateSection(*m_systemIni, meterType);
    const std::optional<std::string> recorded = ReadText(*m_dataFile, kGeneral, kMeters, kNumberBytes);
    const int meters = MeterText::ToInt(recorded.value_or(""));
    if (section.empty() || meters < 0 || meters == std::numeric_limits<int>::max())
        return 0;
    NewRecord record(meters + 1, m_dataFile);
    record.AddEntries(*m_systemIni, section);
    if (!m_dataFile->WriteString(kGeneral, kMeters, std::to_string(meters + 1).c_str()))
        return 0;
    if (!record.Append()) {
        if (recorded)
            m_dataFile->WriteString(kGeneral, kMeters, recorded->c_str());
        else
            m_dataFile->DeleteKey(kGeneral, kMeters);
        return 0;
    }
    m_currentMeter = meters + 1;
    m_currentAppendix = record.LastAppendix();
    return m_currentMeter;
} catch (const std::bad_alloc&) {
    return 0;
}

int CMeterDatabase::GetMeterTypeFromAppendSection(const char* meterType, char* dst, int size) try {
    MeterText::CopyText(dst, size, {});
    if (dst == nullptr || size < 2 || m_systemIni == nullptr || m_dataFile == nullptr)
        return 0;
    const std::string section = TemplateSection(*m_systemIni, meterType);
    if (section.empty())
        return 0;
    const ValueEntry type(ReadText(*m_systemIni, section.c_str(), "MeterType").value_or(""));
    MeterText::CopyText(dst, size, type.Bare(kValue));
    return 1;
} catch (const std::bad_alloc&) {
    return 0;
}

bool CMeterDatabase::DeleteActualMeter() try {
    if (!HasRecord())
        return false;
    // From the last appendix to the main record: what stays for want of memory still has its meter, and no
    // other meter takes it over.
    m_currentAppendix = 0;
    for (int appendix = GetAppendixCount(); appendix >= 1; --appendix)
        if (!m_dataFile->DeleteSection(AppendixSection(appendix, m_currentMeter).c_str()))
            return false;
    if (!m_dataFile->DeleteSection(MainSection().c_str()) && m_dataFile->SectionExists(MainSection().c_str()))
        return false;
    m_currentMeter = 0;
    BringIntoOrder(SIZE_MAX);  // however many meters move down, each takes its appendices along
    return true;
} catch (const std::bad_alloc&) {
    return m_currentMeter < 1;  // the record is gone, only the numbers behind it wait for the next opening
}

bool CMeterDatabase::BackupRecord() try {
    if (m_dataFile == nullptr || m_currentMeter < 1)
        return false;
    m_dataFile->BackupSection(RecordSection().c_str());
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::RestoreRecord() try {
    if (m_dataFile == nullptr || m_currentMeter < 1)
        return false;
    m_dataFile->RestoreSection(RecordSection().c_str());
    return true;
} catch (const std::bad_alloc&) {
    return false;
}
