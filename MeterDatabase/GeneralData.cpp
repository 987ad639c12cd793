// What belongs to the whole database rather than to one record: the state of the application in the app file
// with its register of parameter files, the general data of the data file, the types that can be appended,
// the user and the access level. Owns the rule that a change of the app file is on the medium at once.
#include <algorithm>
#include <limits>
#include <new>

#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"
#include "MeterDatabase/TimeStamp.h"
#include "MeterUtil/Text.h"
#include "Platform/Platform.h"

using namespace MeterRecords;

namespace {

constexpr const char* kState = "State";
constexpr const char* kGeneral = "General";

bool IsYes(const CMeterIniFile& store, const char* section, const char* key, int size) {
    char text[kNameBytes];
    return store.ReadString(section, key, text, size) && MeterText::EqualIgnoringCase(text, "Yes");
}

constexpr int kMostTypes = 100;
constexpr const char* kFallbackTemplate = "AppendElectricity";  // of the type that needs no list

// The section with the types that can be appended.
std::string TypesSection(const CMeterIniFile& systemIni, const char* languageCode) {
    const std::string own = std::string("Append_") + languageCode;
    return languageCode[0] != '\0' && systemIni.SectionExists(own.c_str()) ? own : "Append";
}

constexpr const char* kParameterFiles = "ParameterFiles";
constexpr const char* kFiles = "Files";
constexpr int kMostFiles = 10000;                // that are searched
constexpr int kFileEntryBytes = 309;             // of an entry, terminator included
constexpr std::size_t kFilePathChars = 260 - 1;  // of the path in it

std::string FileKey(int number) {
    return "File" + std::to_string(number);
}

// The number that a key of the register stands for; 0 for every other key.
int FileNumber(const char* key) {
    const std::string_view name = key;
    const int number = name.size() > 4 ? MeterText::ToInt(name.substr(4)) : 0;
    return number >= 1 && MeterText::EqualIgnoringCase(name, FileKey(number)) ? number : 0;
}

std::string_view PathOf(std::string_view entry) {
    std::string_view path;
    MeterText::FindToken(entry, 4, ",", &path);
    return path.substr(0, kFilePathChars);
}

// The lowest number up to `count` under which a file is registered; 0 when it is not. One walk in the order
// of the file: looking up number after number would cost a search of the section for each.
int RegisteredNumber(const CMeterIniFile& appFile, int count, std::string_view path) {
    const int none = std::numeric_limits<int>::max();
    int lowest = none;
    char key[kNameBytes];
    char entry[kFileEntryBytes];
    for (int index = 1; appFile.ReadByIndex(kParameterFiles, index, key, kNameBytes, entry, kFileEntryBytes);
         ++index) {
        if (!MeterText::EqualIgnoringCase(PathOf(entry), path))
            continue;
        const int number = FileNumber(key);
        if (number < 1 || number > std::min(count, kMostFiles) || number >= lowest)
            continue;
        // A later entry of the same key does not count.
        if (ReadText(appFile, kParameterFiles, key, kFileEntryBytes) == entry)
            lowest = number;
    }
    return lowest == none ? 0 : lowest;
}

}  // namespace

// ---- state of the application

bool CMeterDatabase::GetGeneralData(const char* key, char* value, int valueLen) {
    MeterText::CopyText(value, valueLen, {});
    return m_appFile != nullptr && m_appFile->ReadString(kState, key, value, valueLen);
}

bool CMeterDatabase::SetGeneralData(const char* key, const char* value) {
    if (m_appFile == nullptr)
        return false;
    const bool written = m_appFile->WriteString(kState, key, value);
    return SaveNow(*m_appFile) && written;
}

bool CMeterDatabase::DeleteGeneralData(const char* key) {
    if (m_appFile == nullptr)
        return false;
    const bool deleted = m_appFile->DeleteKey(kState, key);
    return SaveNow(*m_appFile) && deleted;
}

bool CMeterDatabase::GetDirtyFlag() {
    return m_appFile != nullptr && IsYes(*m_appFile, kState, "Dirty", MeterRecords::kNameBytes);
}

// ---- register of parameter files

void CMeterDatabase::AppendToParameterFilesInAppFile(const char* text1, const char* text2,
                                                     const wchar_t* path) try {
    if (m_appFile == nullptr)
        return;
    const std::string file = WithoutLineBreaks(Platform::NarrowFromWide(MeterText::View(path)));
    std::string entry = TimeStamp();
    for (const std::string_view part : {MeterText::View(text1), MeterText::View(text2)})
        entry.append(",").append(WithoutLineBreaks(part));
    entry.append(",").append(file);

    const std::optional<std::string> countText = ReadText(*m_appFile, kParameterFiles, kFiles);
    const int count = MeterText::ToInt(countText.value_or(std::string()));
    const int registered = RegisteredNumber(*m_appFile, count, file);
    const int number = registered != 0 ? registered : std::clamp(count, 0, kMostFiles) + 1;
    if (registered == 0 && !m_appFile->WriteString(kParameterFiles, kFiles, std::to_string(number).c_str()))
        return;
    if (!m_appFile->WriteString(kParameterFiles, FileKey(number).c_str(), entry.c_str())) {
        if (registered == 0)
            PutBack(*m_appFile, kParameterFiles, kFiles, countText);
        return;
    }
    SaveNow(*m_appFile);
} catch (const std::bad_alloc&) {
    return;
}

// ---- data of the whole database

bool CMeterDatabase::GetDBInfo(char* info, int infoLen) {
    return GetDBGeneralData("DBInfo", info, infoLen);
}

bool CMeterDatabase::GetDBGeneralData(const char* key, char* value, int valueLen) {
    if (value == nullptr || valueLen < 1)
        return false;
    value[0] = '\0';
    return m_dataFile != nullptr && m_dataFile->ReadString(kGeneral, key, value, valueLen);
}

bool CMeterDatabase::SetDBGeneralData(const char* key, const char* value) {
    return m_dataFile != nullptr && m_dataFile->WriteString(kGeneral, key, value);
}

bool CMeterDatabase::SetCompany(const char* company) {
    return SetDBGeneralData("CompanyID", company);
}

int CMeterDatabase::GetClient() {
    const int client = m_dataFile == nullptr ? 1 : ReadNumber(*m_dataFile, kGeneral, "Client", kNumberBytes);
    return std::clamp(client, 1, 1000);
}

// ---- types that can be appended

int CMeterDatabase::GetAppendTypes() try {
    if (m_systemIni == nullptr)
        return 0;
    const std::string section = TypesSection(*m_systemIni, m_languageCode);
    const int types = ReadNumber(*m_systemIni, section.c_str(), "Types", kNameBytes);
    if (types >= 1)
        return std::min(types, kMostTypes);
    return m_systemIni->SectionExists(kFallbackTemplate) ? 1 : 0;
} catch (const std::bad_alloc&) {
    return 0;
}

bool CMeterDatabase::GetAppendType(int number, char* name, int nameLen, char* label, int labelLen) try {
    MeterText::CopyText(name, nameLen, {});
    MeterText::CopyText(label, labelLen, {});
    if (m_systemIni == nullptr)
        return false;
    const std::string section = TypesSection(*m_systemIni, m_languageCode);
    const std::string key = "Type" + std::to_string(number);
    const std::optional<std::string> type = ReadText(*m_systemIni, section.c_str(), key.c_str());
    if (!type && !m_systemIni->SectionExists(kFallbackTemplate))
        return false;
    MeterText::CopyPadded(name, nameLen, type ? MeterText::BareToken(*type, 1) : "Electricity");
    MeterText::CopyPadded(label, labelLen, type ? MeterText::BareToken(*type, 2) : "-----");
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

// ---- user and access

bool CMeterDatabase::SetActualUser(const char* user) {
    MeterText::CopyPadded(m_actualUser, MeterText::View(user));
    return true;
}

void CMeterDatabase::SetAccessLevel(int level) {
    m_accessLevel = level;
    m_accessFlag = m_systemIni != nullptr && IsYes(*m_systemIni, "System", "RespectAccessLevel", 40);
}
