// The current record: which meter and which appendix of it the operations work on, its raw lines, its state
// and what is to be done with its meter. Owns the names of record sections, and the order in which the
// letters of a state count.
#include <algorithm>
#include <iterator>
#include <new>

#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"
#include "MeterDatabase/TextSlots.h"
#include "MeterUtil/Text.h"
#include "Platform/Platform.h"

using MeterRecords::AppendixSection;
using MeterRecords::kNumberBytes;
using MeterRecords::ReadEntry;
using MeterRecords::ReadNumber;

namespace {

constexpr int kStateBytes = 40;
constexpr int kActionBytes = 255;
constexpr int kActionTextBytes = 40;
constexpr int kMostAppendices = 100;
constexpr std::size_t kInsertedChars = 16;  // most of a value that an action text takes in

struct StateLetter {
    char letter;
    MeterRecords::TextSlot text;
};

// The first letter found decides: a record that was handled but is new still counts as new.
constexpr StateLetter kStateLetters[] = {
    {'N', MeterRecords::kStateNew},       {'E', MeterRecords::kStateNew},
    {'M', MeterRecords::kStateInUse},     {'U', MeterRecords::kStateUnhandled},
    {'A', MeterRecords::kStateUnhandled}, {'H', MeterRecords::kStateHandled},
    {'C', MeterRecords::kStateCardLeft},  {'R', MeterRecords::kStateReadOnly},
};

struct ActionWord {
    const char* word;
    MeterRecords::TextSlot text;
};

constexpr ActionWord kActionWords[] = {
    {"Change", MeterRecords::kActionChange},
    {"Changeable", MeterRecords::kActionChangeable},
    {"Mount", MeterRecords::kActionMount},
    {"Unmount", MeterRecords::kActionUnmount},
    {"Unmountable", MeterRecords::kActionUnmountable},
    {"Collect", MeterRecords::kActionCollect},
    {"SwitchOn", MeterRecords::kActionSwitchOn},
    {"SwitchOff", MeterRecords::kActionSwitchOff},
    {"", MeterRecords::kActionReadOut},
};

// The letter that decides a state, whose text is shown; null when no letter has a text.
const StateLetter* FindState(std::string_view state) {
    const StateLetter* const known = std::find_if(
        std::begin(kStateLetters), std::end(kStateLetters),
        [state](const StateLetter& letter) { return MeterText::Contains(state, letter.letter); });
    return known == std::end(kStateLetters) ? nullptr : known;
}

std::string BareValue(const CMeterIniFile& store, const std::string& section, const char* name) {
    const std::optional<MeterRecords::ValueEntry> entry = ReadEntry(store, section, name);
    return entry ? std::string(entry->Bare(MeterRecords::kValue)) : std::string();
}

}  // namespace

// ---- sections

bool CMeterDatabase::HasRecord() const {
    return m_systemIni != nullptr && m_dataFile != nullptr && m_currentMeter >= 1;
}

std::string CMeterDatabase::MainSection() const {
    return MeterRecords::MeterSection(m_currentMeter);
}

std::string CMeterDatabase::RecordSection() const {
    return m_currentAppendix < 1 ? MainSection() : AppendixSection(m_currentAppendix, m_currentMeter);
}

// ---- navigation

int CMeterDatabase::GetNumberOfMeters() {
    return m_dataFile == nullptr ? -1 : ReadNumber(*m_dataFile, "General", "Meters", kNumberBytes);
}

int CMeterDatabase::GetActualPosition() {
    if (m_dataFile == nullptr)
        return -1;
    return m_currentMeter >= 1 && m_currentMeter <= GetNumberOfMeters() ? m_currentMeter : 0;
}

void CMeterDatabase::SetActualPosition(int meter) {
    if (meter < 1 || meter > GetNumberOfMeters())
        return;
    m_currentMeter = meter;
    m_currentAppendix = 0;
}

int CMeterDatabase::GetAppendixCount() {
    if (!HasRecord())
        return 0;
    int count = 0;
    while (count < kMostAppendices &&
           m_dataFile->SectionExists(AppendixSection(count + 1, m_currentMeter).c_str()))
        ++count;
    return count;
}

bool CMeterDatabase::SetAppendix(int appendix) try {
    if (!HasRecord())
        return false;
    if (appendix >= 1 && !m_dataFile->SectionExists(AppendixSection(appendix, m_currentMeter).c_str()))
        return false;
    m_currentAppendix = appendix < 1 ? 0 : appendix;
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

int CMeterDatabase::GetAppendix() {
    return HasRecord() && m_currentAppendix >= 1 ? m_currentAppendix : 0;
}

bool CMeterDatabase::GetRecordData(int line, char* dst, int size) try {
    MeterText::CopyText(dst, size, {});
    if (!HasRecord())
        return false;
    const std::string section = RecordSection();
    if (line >= 1)
        return m_dataFile->ReadLineByIndex(section.c_str(), line, dst, size);
    MeterText::CopyText(dst, size, "[" + section + "]");
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

// ---- saving

bool CMeterDatabase::UpdateDatabase() {
    if (m_dataFile == nullptr)
        return false;
    m_dataFile->UpdateFileBackground();
    return true;
}

bool CMeterDatabase::UpdateDatabaseForeground() {
    return m_dataFile != nullptr && SaveNow(*m_dataFile);
}

// A failed save concerns data file and app file alike: they were changed together.
bool CMeterDatabase::SaveNow(CMeterIniFile& store) {
    if (store.UpdateFile())
        return true;
    for (CMeterIniFile* flagged : {m_dataFile, m_appFile})
        if (flagged != nullptr)
            flagged->m_error = true;
    return false;
}

// ---- state

bool CMeterDatabase::GetRecordState(char* dst) {
    MeterText::CopyText(dst, kStateBytes, {});
    return HasRecord() && m_dataFile->ReadString(MainSection().c_str(), "State", dst, kStateBytes);
}

bool CMeterDatabase::SetRecordState(const char* state) {
    return HasRecord() && m_dataFile->WriteString(MainSection().c_str(), "State", state);
}

void CMeterDatabase::GetRecordStateText(wchar_t* dst) {
    if (dst == nullptr)
        return;
    char state[kStateBytes];
    GetRecordState(state);
    const StateLetter* const known = FindState(state);
    if (known == nullptr && MeterText::Contains(state, 'I')) {
        Platform::wsprintfW(dst, L"%S", Text(MeterRecords::kStateInfoRecord));
        return;
    }
    char action[kActionTextBytes];
    GetMeterActionText(action, kActionTextBytes);
    Platform::wsprintfW(dst, action[0] == '\0' ? L"%S" : L"%S (%S)",
                        known == nullptr ? "" : Text(known->text), action);
}

void CMeterDatabase::GetPlantStateText(const char* state, wchar_t* dst) {
    if (dst == nullptr)
        return;
    const std::string_view plant = MeterText::View(state);
    const StateLetter* const known = FindState(plant);
    const char* const text = known == nullptr ? "" : Text(known->text);
    Platform::wsprintfW(dst, L"%S", plant == "<DEFER>" ? Text(MeterRecords::kStateDeferred) : text);
}

// ---- action

bool CMeterDatabase::GetMeterAction(char* dst) try {
    MeterText::CopyText(dst, kActionBytes, {});
    if (HasRecord())
        MeterText::CopyText(dst, kActionBytes, BareValue(*m_dataFile, MainSection(), "Action"));
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::GetMeterActionText(char* dst, int size) try {
    MeterText::CopyText(dst, size, {});
    MeterText::CopyPadded(dst, size, ActionText());
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

std::string CMeterDatabase::ActionText() const {
    const std::string action = HasRecord() ? BareValue(*m_dataFile, MainSection(), "Action") : std::string();
    for (const ActionWord& known : kActionWords)
        if (MeterText::EqualIgnoringCase(action, known.word))
            return known.text == MeterRecords::kActionChange ? ChangeText() : Text(known.text);
    return {};
}

// The text of a change may name a value of the meter that replaces the current one, in angle brackets. A
// value that would make the text too long is left out, and the placeholder with it.
std::string CMeterDatabase::ChangeText() const {
    std::string text(MeterText::View(Text(MeterRecords::kActionChange)).substr(0, kActionTextBytes - 1));
    const std::size_t open = text.find('<');
    const std::size_t close = text.find('>', open);
    if (close == std::string::npos || close == open + 1)
        return text;
    const std::string name = text.substr(open + 1, close - open - 1);
    const std::string value =
        BareValue(*m_dataFile, AppendixSection(1, m_currentMeter), name.c_str()).substr(0, kInsertedChars);
    text.erase(open, close - open + 1);
    if (text.size() + value.size() < kActionTextBytes - 1)
        text.insert(open, value);
    return text;
}
