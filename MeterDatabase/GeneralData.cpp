// What belongs to the whole database rather than to one record: the state of the application in the app file,
// the general data of the data file, the user and the access level. Owns the rule that a change of the
// application's state is on the medium at once.
#include <algorithm>

#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"
#include "MeterUtil/Text.h"

namespace {

constexpr const char* kState = "State";
constexpr const char* kGeneral = "General";

bool IsYes(const CMeterIniFile& store, const char* section, const char* key, int size) {
    char text[MeterRecords::kNameBytes];
    return store.ReadString(section, key, text, size) && MeterText::EqualIgnoringCase(text, "Yes");
}

}  // namespace

// ---- state of the application -----------------------------------------------------------------------------

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

// ---- data of the whole database ---------------------------------------------------------------------------

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
    const int client =
        m_dataFile == nullptr ? 1 : MeterRecords::ReadNumber(*m_dataFile, kGeneral, "Client", 20);
    return std::clamp(client, 1, 1000);
}

// ---- user and access --------------------------------------------------------------------------------------

bool CMeterDatabase::SetActualUser(const char* user) {
    MeterText::CopyPadded(m_actualUser, MeterText::View(user));
    return true;
}

void CMeterDatabase::SetAccessLevel(int level) {
    m_accessLevel = level;
    m_accessFlag = m_systemIni != nullptr && IsYes(*m_systemIni, "System", "RespectAccessLevel", 40);
}
