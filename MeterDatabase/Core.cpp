// The database object: its configuration, its three stores, its display texts, and the opening and closing of
// the data file. Owns the rules by which configured files are found, by which the texts of a language replace
// the built-in ones, and by which the records of an opened data file are brought into order. Records
// themselves are left to the other units.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "MeterDatabase/FilePath.h"
#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"
#include "MeterDatabase/TextSlots.h"
#include "MeterUtil/Text.h"
#include "Platform/Platform.h"

using MeterRecords::AppendixSection;
using MeterRecords::Composed;
using MeterRecords::FormPath;
using MeterRecords::kNumberBytes;
using MeterRecords::MeterSection;
using MeterRecords::ReadNumber;
using MeterRecords::ReadText;

namespace {

enum TextMode { kForget = 1, kSetDefault, kLoad, kRelease };

constexpr const char* kTextSection = "StringTexts";

constexpr std::size_t kFieldListBytes = 8800;
static_assert(kFieldListBytes % sizeof(Type_DataField) == 0, "a list holds whole fields");

constexpr int kLanguageBytes = 40;
constexpr int kMostLanguages = 20;

void ReplaceText(char** slot, std::string_view text) {
    Platform::LocalFree(*slot);
    *slot = static_cast<char*>(Platform::LocalAlloc(0, text.size() + 1));
    if (*slot == nullptr)
        Platform::MessageBoxW(nullptr, L"Systemfehler: KEIN SPEICHER !", L"xxx", 0);
    else
        MeterText::CopyText(*slot, static_cast<int>(text.size()) + 1, text);
}

void LoadText(const CMeterIniFile& store, char** slot, const char* section, const char* key) {
    char text[MeterRecords::kEntryBytes];
    if (!store.ReadString(section, key, text, MeterRecords::kEntryBytes))
        return;
    CMeterIniFile::EliminateQuotes(text);
    ReplaceText(slot, text);
}

struct Language {
    std::string code;
    std::string file;  // of its texts
};

Language ReadLanguage(const CMeterIniFile& systemIni, int number) {
    const std::string key = "Language" + std::to_string(number);
    const std::string entry = ReadText(systemIni, "Languages", key.c_str()).value_or("");
    return {std::string(MeterText::BareToken(entry, 1).substr(0, kLanguageBytes - 1)),
            std::string(MeterText::BareToken(entry, 2))};
}

bool AddDefault(CMeterIniFile& store, const char* section, const char* key, const char* value) {
    char present[kNumberBytes];
    if (store.ReadString(section, key, present, sizeof present))
        return true;
    return store.WriteString(section, key, value) && store.UpdateFile();
}

constexpr std::size_t kTablePairs = 10000;

// Old and new numbers of the meters that were renumbered; of those with the same old number the first counts.
// Kept in the order of the old numbers, so that the appendices of a long route find theirs quickly.
class Renumbering {
public:
    explicit Renumbering(std::size_t most) : m_most(most), m_pairs(NewTable(m_capacity)) {}
    ~Renumbering() { Platform::LocalFree(m_pairs); }
    Renumbering(const Renumbering&) = delete;
    Renumbering& operator=(const Renumbering&) = delete;

    bool HasMemory() const { return m_pairs != nullptr; }

    // False without memory. A pair beyond the most that are kept is passed over.
    bool Add(std::int32_t oldNumber, std::int32_t newNumber) {
        if (m_added == m_most)
            return true;
        if (m_added == m_capacity && !Grow())
            return false;
        ++m_added;
        Pair* const place = Place(oldNumber);
        if (place != End() && place->oldNumber == oldNumber)
            return true;
        std::move_backward(place, End(), End() + 1);
        *place = {oldNumber, newNumber};
        ++m_kept;
        return true;
    }

    std::optional<std::int32_t> NewNumber(std::int32_t oldNumber) const {
        const Pair* const place = Place(oldNumber);
        if (place == End() || place->oldNumber != oldNumber)
            return std::nullopt;
        return place->newNumber;
    }

private:
    struct Pair {
        std::int32_t oldNumber;
        std::int32_t newNumber;
    };

    static Pair* NewTable(std::size_t pairs) {
        return static_cast<Pair*>(Platform::LocalAlloc(0, pairs * sizeof(Pair)));
    }

    bool Grow() {
        Pair* const larger = NewTable(2 * m_capacity);
        if (larger == nullptr)
            return false;
        std::copy(m_pairs, End(), larger);
        Platform::LocalFree(m_pairs);
        m_pairs = larger;
        m_capacity *= 2;
        return true;
    }

    Pair* End() const { return m_pairs + m_kept; }
    Pair* Place(std::int32_t oldNumber) const {
        return std::lower_bound(m_pairs, End(), oldNumber, [](const Pair& pair, std::int32_t number) {
            return pair.oldNumber < number;
        });
    }

    std::size_t m_most;
    std::size_t m_capacity = kTablePairs;
    Pair* m_pairs;
    std::size_t m_added = 0;
    std::size_t m_kept = 0;
};

bool BeginsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

// The headers that get another text. They are gathered first and changed afterwards, all or none: a record
// whose meter was renumbered and whose appendices were not would hand them to the next meter.
class HeaderChanges {
public:
    explicit HeaderChanges(CMeterIniFile* store) : m_store(store) {}

    void Add(int line, std::string after) {
        char before[MeterRecords::kEntryBytes];
        m_store->GetString(line, before, sizeof before);
        m_changes.push_back({line, before, std::move(after)});
    }

    // From the last to the first, so that a header takes a name that an earlier one still has, and no record
    // stands in front of another of its name meanwhile. False, with all as it was, without memory.
    bool Apply() {
        for (std::size_t i = m_changes.size(); i-- > 0;) {
            if (m_store->SetString(m_changes[i].line, m_changes[i].after.c_str()))
                continue;
            for (std::size_t changed = i + 1; changed < m_changes.size(); ++changed)
                m_store->SetString(m_changes[changed].line, m_changes[changed].before.c_str());
            return false;
        }
        return true;
    }

private:
    struct Change {
        int line;
        std::string before;
        std::string after;
    };

    CMeterIniFile* m_store;
    std::vector<Change> m_changes;
};

std::string HeaderOf(const std::string& section) {
    return "[" + section + "]";
}

// The header of an appendix that follows its meter; `name` stands behind "[#". Nothing when its meter keeps
// its number.
std::optional<std::string> RenumberedAppendix(std::string_view name, const Renumbering& renumbering) {
    name = name.substr(0, name.find(']'));
    const std::size_t split = name.find('_');
    if (split == std::string_view::npos)
        return std::nullopt;
    const std::optional<std::int32_t> meter = renumbering.NewNumber(MeterText::ToInt(name.substr(split + 1)));
    if (!meter)
        return std::nullopt;
    return HeaderOf(AppendixSection(MeterText::ToInt(name.substr(0, split)), *meter));
}

// Numbers the meters in the order of their headers. Number of meters, and in `*changed` whether one had
// another number; nothing, with no header changed, without memory.
std::optional<int> RenumberRecords(CMeterIniFile& store, std::size_t most, bool* changed) {
    Renumbering renumbering(most);
    if (!renumbering.HasMemory())
        return std::nullopt;
    HeaderChanges changes(&store);
    int meters = 0;
    char text[20];  // enough for the numbers; the rest of a line does not matter
    for (int line = store.FindBracketLine(0); line >= 0; line = store.FindBracketLine(line + 1)) {
        store.GetString(line, text, sizeof text);
        const std::string_view header = text;
        if (BeginsWith(header, "[#_")) {
            std::string inOrder = HeaderOf(MeterSection(++meters));
            if (BeginsWith(header, inOrder))
                continue;
            // With its number in another form it would lead to no record either.
            const int oldNumber = MeterText::ToInt(header.substr(3));
            if (oldNumber != meters && !renumbering.Add(oldNumber, meters))
                return std::nullopt;
            changes.Add(line, std::move(inOrder));
            *changed = true;
        } else if (BeginsWith(header, "[#")) {
            if (std::optional<std::string> renumbered = RenumberedAppendix(header.substr(2), renumbering))
                changes.Add(line, *std::move(renumbered));
        }
    }
    if (!changes.Apply())
        return std::nullopt;
    return meters;
}

// Brings the client numbers of data file and app file together: that of the data file wins. True when the
// data file took the one of the app file and has to be saved.
bool SettleClient(CMeterIniFile& dataFile, CMeterIniFile& appFile) {
    char mandator[40];
    char client[40];
    appFile.ReadString("State", "MandatorIdx", mandator, sizeof mandator);
    dataFile.ReadString("General", "Client", client, sizeof client);
    const int mandatorNumber = MeterText::ToInt(mandator);
    const int clientNumber = MeterText::ToInt(client);
    if (mandatorNumber > 0 && clientNumber == 0) {
        dataFile.WriteString("General", "Client", mandator);
        return true;
    }
    if (clientNumber > 0 && clientNumber != mandatorNumber) {
        appFile.WriteString("State", "MandatorIdx", client);
        appFile.UpdateFile();
    }
    return false;
}

}  // namespace

// ---- object and configuration

CMeterDatabase::CMeterDatabase(const wchar_t* applicationPath)
    : m_systemIniName(),
      m_systemIniPath(),
      m_dataFilePath(),
      m_appFilePath(),
      m_rawFilePath(),
      m_parameterRootPath(),
      m_parameterFilePath(),
      m_appMirrorPath(),
      m_dataMirrorPath(),
      m_rawMirrorPath(),
      m_functionListFlagA(false),
      m_functionListFlagB(false),
      m_dataFile(nullptr),
      m_systemIni(nullptr),
      m_appFile(nullptr),
      m_spareText(),
      m_currentMeter(0),
      m_currentAppendix(0),
      m_actualUser(),
      m_masterValue(),
      m_languageCode(),
      m_accessLevel(0),
      m_accessFlag(false),
      m_fieldLists() {
    MeterText::CopyPadded(m_applicationPath, MeterText::View(applicationPath));
    MeterText::CopyPadded(m_downloadedIniPath, Composed(L"%s\\DOWNLOADED_INI.TMP", m_applicationPath).text);
    MeterText::CopyPadded(m_downloadedTempPath, Composed(L"%s\\DOWNLOADED_TMP.TMP", m_applicationPath).text);
    HandleAllTexts(nullptr, kForget);
    HandleAllTexts(nullptr, kSetDefault);
    for (FieldList& list : m_fieldLists) {
        list.fields = static_cast<Type_DataField*>(Platform::LocalAlloc(0, kFieldListBytes));
        if (list.fields != nullptr)
            std::memset(list.fields, 0, kFieldListBytes);
    }
}

CMeterDatabase::~CMeterDatabase() {
    for (int i = kFieldLists; i-- > 0;)
        Platform::LocalFree(m_fieldLists[i].fields);
    HandleAllTexts(nullptr, kRelease);
    delete m_systemIni;
    for (CMeterIniFile* store : {m_dataFile, m_appFile}) {
        if (store != nullptr)
            store->UpdateFile();
        delete store;
    }
}

bool CMeterDatabase::SetIniFile(const wchar_t* name) {
    MeterText::CopyPadded(m_systemIniName, MeterText::View(name));
    if (m_systemIniName[0] == L'\0') {
        delete m_systemIni;
        m_systemIni = nullptr;
        return true;
    }
    if (Platform::IsAbsolutePath(m_systemIniName))
        MeterText::CopyPadded(m_systemIniPath, m_systemIniName);
    else
        MeterText::CopyPadded(m_systemIniPath, Composed(L"%s\\%s", m_applicationPath, m_systemIniName).text);
    m_systemIni = new (std::nothrow) CMeterIniFile(m_systemIniPath);
    return true;
}

bool CMeterDatabase::IniFileError() {
    const CMeterIniFile* const stores[] = {m_dataFile, m_systemIni, m_appFile};
    return std::any_of(std::begin(stores), std::end(stores),
                       [](const CMeterIniFile* store) { return store != nullptr && store->m_error; });
}

void CMeterDatabase::SetDataMirror(const wchar_t* path) {
    MeterText::CopyPadded(m_dataMirrorPath, MeterText::View(path));
    if (m_dataFile == nullptr)
        return;
    m_dataFile->SetMirror(m_dataMirrorPath);
    m_dataFile->PowerButtonControl(m_applicationPath);
}

void CMeterDatabase::SetAppMirror(const wchar_t* path) {
    MeterText::CopyPadded(m_appMirrorPath, MeterText::View(path));
    if (m_appFile == nullptr)
        return;
    m_appFile->SetMirror(m_appMirrorPath);
    m_appFile->PowerButtonControl(m_applicationPath);
}

void CMeterDatabase::SetRawMirror(const wchar_t* path) {
    MeterText::CopyPadded(m_rawMirrorPath, MeterText::View(path));
}

void CMeterDatabase::NoSave(bool off) {
    if (!off)
        return;
    for (CMeterIniFile* store : {m_systemIni, m_dataFile, m_appFile})
        if (store != nullptr)
            store->SetMirror(L"");
}

void CMeterDatabase::GetApplicationPath(wchar_t* dst, int size) {
    MeterText::CopyPadded(dst, size, m_applicationPath);
}

CMeterIniFile* CMeterDatabase::GetPtrToIniFile() {
    return m_systemIni;
}

CMeterIniFile* CMeterDatabase::GetPtrToAppFile() {
    return m_appFile;
}

// ---- texts and language

void CMeterDatabase::HandleText(CMeterIniFile* store, int mode, char** slot, const char* section,
                                const char* key, const char* text) {
    switch (mode) {
        case kSetDefault:
            ReplaceText(slot, MeterText::View(text));
            return;
        case kLoad:
            if (store != nullptr)
                LoadText(*store, slot, section, key);
            return;
        case kRelease:
            Platform::LocalFree(*slot);
            [[fallthrough]];
        case kForget:
            *slot = nullptr;
            return;
        default:
            return;
    }
}

void CMeterDatabase::HandleAllTexts(CMeterIniFile* store, int mode) {
    static_assert(kTexts == MeterRecords::kTextSlots, "the object has a place for every text");
    for (int i = 0; i < kTexts; ++i)
        HandleText(store, mode, &m_texts[i], kTextSection, MeterRecords::kDisplayTexts[i].key,
                   MeterRecords::kDisplayTexts[i].text);
}

void CMeterDatabase::DefineTexts() {
    if (ReadNumber(*m_systemIni, "Languages", "Languages", MeterRecords::kNameBytes) < 1) {
        HandleAllTexts(m_systemIni, kLoad);
        return;
    }
    const Composed path(L"%s\\%S", m_applicationPath, LanguageFile().c_str());
    if (CMeterIniFile::FileExists(path.text)) {
        CMeterIniFile texts(path.text);
        HandleAllTexts(texts.m_error ? m_systemIni : &texts, kLoad);
        return;
    }
    HandleAllTexts(m_systemIni, kLoad);
}

// The file with the texts of the current language. A language that is not listed gives way to the first one,
// which becomes the current one.
std::string CMeterDatabase::LanguageFile() {
    const int listed = ReadNumber(*m_systemIni, "Languages", "Languages", MeterRecords::kNameBytes);
    const std::string current = ReadText(*m_appFile, "System", "Language", kLanguageBytes).value_or("");
    for (int i = 1; i <= std::min(listed, kMostLanguages); ++i) {
        const Language language = ReadLanguage(*m_systemIni, i);
        if (MeterText::EqualIgnoringCase(language.code, current) && !language.file.empty())
            return language.file;
    }
    const Language first = ReadLanguage(*m_systemIni, 1);
    if (!first.code.empty() && !first.file.empty()) {
        m_appFile->WriteString("System", "Language", first.code.c_str());
        m_appFile->UpdateFile();
    }
    return first.file;
}

const char* CMeterDatabase::Text(int slot) const {
    return m_texts[slot] == nullptr ? "" : m_texts[slot];
}

void CMeterDatabase::SetLanguageCode(const char* code) {
    MeterText::CopyPadded(m_languageCode, MeterText::View(code));
}

// ---- opening and closing

bool CMeterDatabase::OpenDataFile(bool moduleMode) try {
    if (m_systemIni == nullptr)
        return false;
    CloseDataFile();
    if (!FindFile(m_appFilePath, "AppFile", moduleMode))
        return false;
    m_appFile = new (std::nothrow) CMeterIniFile(m_appFilePath);
    if (m_appFile == nullptr || !FindFile(m_rawFilePath, "RawFile", moduleMode))
        return false;
    FindParameterFiles();
    if (!FindFile(m_dataFilePath, "DataFile", moduleMode))
        return false;
    DefineTexts();
    // Two stores of one file would save over each other.
    if (Platform::SamePath(m_appFilePath, m_dataFilePath))
        return false;
    m_dataFile = new (std::nothrow) CMeterIniFile(m_dataFilePath);
    if (m_dataFile == nullptr || !AddDefault(*m_dataFile, "General", "Meters", "0") ||
        !AddDefault(*m_appFile, "State", "Dirty", "No"))
        return false;
    m_currentMeter = CheckConsistency() >= 1 ? 1 : 0;
    const Composed saveError(L"%S", Text(MeterRecords::kSaveError));
    for (CMeterIniFile* store : {m_systemIni, m_appFile, m_dataFile})
        store->SetSaveErrorText(saveError.text);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

// The name that the system ini gives a file; "" when it gives none.
std::string CMeterDatabase::ConfiguredFile(const char* key, bool moduleMode) const {
    std::string own = ReadText(*m_systemIni, "ModuleMode", key).value_or("");
    if (moduleMode && !own.empty())
        return own;
    return ReadText(*m_systemIni, "System", key).value_or("");
}

bool CMeterDatabase::FindFile(wchar_t (&path)[kPathChars], const char* key, bool moduleMode) const {
    const std::string file = ConfiguredFile(key, moduleMode);
    if (file.empty())
        return false;
    FormPath(path, m_applicationPath, file);
    return true;
}

// The parameter file stands below the parameter root, whatever that is, and not below the application.
void CMeterDatabase::FindParameterFiles() {
    if (!FindFile(m_parameterRootPath, "ParDefRoot", false))
        MeterText::CopyPadded(m_parameterRootPath, L"");
    const std::string file = ConfiguredFile("ParDefFile", false);
    if (file.empty())
        MeterText::CopyPadded(m_parameterFilePath, L"");
    else
        FormPath(m_parameterFilePath, m_parameterRootPath, file);
}

int CMeterDatabase::CheckConsistency() {
    return BringIntoOrder(kTablePairs);
}

// Appendices follow the first `most` meters that are renumbered.
int CMeterDatabase::BringIntoOrder(std::size_t most) {
    bool changed = false;
    const std::optional<int> meters = RenumberRecords(*m_dataFile, most, &changed);
    if (!meters)
        return 0;
    // Read afterwards: a header that got its end may stand between the section and its number.
    if (*meters != ReadNumber(*m_dataFile, "General", "Meters", kNumberBytes)) {
        m_dataFile->WriteString("General", "Meters", std::to_string(*meters).c_str());
        changed = true;
    }
    if (m_appFile != nullptr && SettleClient(*m_dataFile, *m_appFile))
        changed = true;
    return !changed || m_dataFile->UpdateFile() ? *meters : 0;
}

bool CMeterDatabase::CloseDataFile() {
    delete m_dataFile;
    delete m_appFile;
    m_dataFile = nullptr;
    m_appFile = nullptr;
    m_currentMeter = 0;
    m_currentAppendix = 0;
    return true;
}

bool CMeterDatabase::DeleteAllData() {
    if (m_systemIni == nullptr || m_dataFile == nullptr || m_appFile == nullptr)
        return false;
    CloseDataFile();
    Platform::DeleteFileW(m_dataFilePath);
    Platform::DeleteFileW(m_rawFilePath);
    OpenDataFile(false);
    SetGeneralData("Dirty", "No");
    return true;
}
