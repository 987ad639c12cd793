// The database object: construction, copies, destruction, the system ini, mirrors.
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

#include "Platform/Platform.h"
#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

using DatabaseObject = DatabaseFixture;
using DatabaseMirrors = DatabaseFixture;
using DatabaseCopies = DatabaseFixture;

// A database that no destructor runs for: a copy shares what it holds with its origin.
class UndestroyedDatabase {
public:
    explicit UndestroyedDatabase(const TestDatabase& origin)
        : m_database(new (m_storage) TestDatabase(origin)) {}
    explicit UndestroyedDatabase(const wchar_t* path) : m_database(new (m_storage) TestDatabase(path)) {}

    TestDatabase& operator*() { return *m_database; }
    TestDatabase* operator->() { return m_database; }

private:
    alignas(TestDatabase) unsigned char m_storage[sizeof(TestDatabase)];
    TestDatabase* m_database;
};

template <typename Field>
bool SameBytes(const Field& first, const Field& second) {
    return std::memcmp(&first, &second, sizeof(Field)) == 0;
}

void ExpectSameFields(const TestDatabase& first, const TestDatabase& second) {
    EXPECT_TRUE(SameBytes(first.m_applicationPath, second.m_applicationPath));
    EXPECT_TRUE(SameBytes(first.m_systemIniName, second.m_systemIniName));
    EXPECT_TRUE(SameBytes(first.m_systemIniPath, second.m_systemIniPath));
    EXPECT_TRUE(SameBytes(first.m_dataFilePath, second.m_dataFilePath));
    EXPECT_TRUE(SameBytes(first.m_appFilePath, second.m_appFilePath));
    EXPECT_TRUE(SameBytes(first.m_rawFilePath, second.m_rawFilePath));
    EXPECT_TRUE(SameBytes(first.m_parameterRootPath, second.m_parameterRootPath));
    EXPECT_TRUE(SameBytes(first.m_parameterFilePath, second.m_parameterFilePath));
    EXPECT_TRUE(SameBytes(first.m_appMirrorPath, second.m_appMirrorPath));
    EXPECT_TRUE(SameBytes(first.m_dataMirrorPath, second.m_dataMirrorPath));
    EXPECT_TRUE(SameBytes(first.m_rawMirrorPath, second.m_rawMirrorPath));
    EXPECT_TRUE(SameBytes(first.m_downloadedIniPath, second.m_downloadedIniPath));
    EXPECT_TRUE(SameBytes(first.m_downloadedTempPath, second.m_downloadedTempPath));
    EXPECT_TRUE(SameBytes(first.m_texts, second.m_texts));
    EXPECT_EQ(first.m_functionListFlagA, second.m_functionListFlagA);
    EXPECT_EQ(first.m_functionListFlagB, second.m_functionListFlagB);
    EXPECT_EQ(first.m_dataFile, second.m_dataFile);
    EXPECT_EQ(first.m_systemIni, second.m_systemIni);
    EXPECT_EQ(first.m_appFile, second.m_appFile);
    EXPECT_TRUE(SameBytes(first.m_spareText, second.m_spareText));
    EXPECT_EQ(first.m_currentMeter, second.m_currentMeter);
    EXPECT_EQ(first.m_currentAppendix, second.m_currentAppendix);
    EXPECT_TRUE(SameBytes(first.m_actualUser, second.m_actualUser));
    EXPECT_TRUE(SameBytes(first.m_masterValue, second.m_masterValue));
    EXPECT_TRUE(SameBytes(first.m_languageCode, second.m_languageCode));
    EXPECT_EQ(first.m_accessLevel, second.m_accessLevel);
    EXPECT_EQ(first.m_accessFlag, second.m_accessFlag);
    for (int i = 0; i < TestDatabase::kFieldLists; ++i) {
        EXPECT_EQ(first.m_fieldLists[i].fields, second.m_fieldLists[i].fields);
        EXPECT_EQ(first.m_fieldLists[i].count, second.m_fieldLists[i].count);
    }
}

// Fills every field that can be set with a value of its own.
void SetAllFields(TestDatabase* database) {
    int number = 0;
    for (wchar_t* path :
         {database->m_dataFilePath, database->m_appFilePath, database->m_rawFilePath,
          database->m_parameterRootPath, database->m_parameterFilePath, database->m_spareText})
        path[0] = static_cast<wchar_t>(L'a' + number++);
    database->SetAppMirror(L"\\appmirror");
    database->SetDataMirror(L"\\datamirror");
    database->SetRawMirror(L"\\rawmirror");
    database->m_functionListFlagA = true;
    database->m_functionListFlagB = true;
    database->m_currentMeter = 3;
    database->m_currentAppendix = 2;
    database->SetActualUser("user");
    database->m_masterValue[0] = 'M';
    database->SetLanguageCode("de");
    database->m_accessLevel = 5;
    database->m_accessFlag = true;
    for (TestDatabase::FieldList& list : database->m_fieldLists)
        list.count = ++number;
}

// ---- construction

TEST_F(DatabaseObject, StartsWithoutStoresAndRecord) {
    EXPECT_EQ(m_database.GetPtrToIniFile(), nullptr);
    EXPECT_EQ(m_database.GetPtrToAppFile(), nullptr);
    EXPECT_EQ(m_database.m_dataFile, nullptr);
    EXPECT_EQ(m_database.m_currentMeter, 0);
    EXPECT_EQ(m_database.m_currentAppendix, 0);
}

TEST_F(DatabaseObject, StartsWithEmptyPaths) {
    const TestDatabase database(L"\\Terminal");
    for (const wchar_t* path : {database.m_systemIniName, database.m_systemIniPath, database.m_dataFilePath,
                                database.m_appFilePath, database.m_rawFilePath, database.m_parameterRootPath,
                                database.m_parameterFilePath, database.m_appMirrorPath,
                                database.m_dataMirrorPath, database.m_rawMirrorPath, database.m_spareText})
        EXPECT_EQ(path[0], L'\0');
}

TEST_F(DatabaseObject, StartsWithoutUserLanguageAndAccess) {
    EXPECT_STREQ(m_database.m_actualUser, "");
    EXPECT_STREQ(m_database.m_masterValue, "");
    EXPECT_STREQ(m_database.m_languageCode, "");
    EXPECT_EQ(m_database.m_accessLevel, 0);
    EXPECT_FALSE(m_database.m_accessFlag);
    EXPECT_FALSE(m_database.m_functionListFlagA);
    EXPECT_FALSE(m_database.m_functionListFlagB);
}

TEST_F(DatabaseObject, NamesTheDownloadedFilesInItsDirectory) {
    const TestDatabase database(L"\\Terminal");
    EXPECT_STREQ(database.m_downloadedIniPath, L"\\Terminal\\DOWNLOADED_INI.TMP");
    EXPECT_STREQ(database.m_downloadedTempPath, L"\\Terminal\\DOWNLOADED_TMP.TMP");
}

TEST_F(DatabaseObject, TakesAMissingApplicationPathAsEmpty) {
    const TestDatabase database(nullptr);
    EXPECT_STREQ(database.m_applicationPath, L"");
    EXPECT_STREQ(database.m_downloadedIniPath, L"\\DOWNLOADED_INI.TMP");
}

TEST_F(DatabaseObject, CutsALongApplicationPath) {
    const std::wstring path = L"\\" + std::wstring(300, L'x');
    const TestDatabase database(path.c_str());
    EXPECT_EQ(database.m_applicationPath, path.substr(0, 259));
    EXPECT_EQ(database.m_downloadedIniPath, path.substr(0, 259) + L"\\");
}

TEST_F(DatabaseObject, HasThreeZeroedFieldLists) {
    const std::string zeros(8800, '\0');
    ASSERT_EQ(TestDatabase::kFieldLists, 3);
    for (const TestDatabase::FieldList& list : m_database.m_fieldLists) {
        EXPECT_EQ(list.count, 0);
        EXPECT_EQ(std::memcmp(list.fields, zeros.data(), zeros.size()), 0);
    }
}

TEST_F(DatabaseObject, KeepsItsFieldsInOrder) {
    const TestDatabase& database = m_database;
    const std::vector<const void*> fields = {database.m_applicationPath,    database.m_systemIniName,
                                             database.m_systemIniPath,      database.m_dataFilePath,
                                             database.m_appFilePath,        database.m_rawFilePath,
                                             database.m_parameterRootPath,  database.m_parameterFilePath,
                                             database.m_appMirrorPath,      database.m_dataMirrorPath,
                                             database.m_rawMirrorPath,      database.m_downloadedIniPath,
                                             database.m_downloadedTempPath, database.m_texts,
                                             &database.m_functionListFlagA, &database.m_functionListFlagB,
                                             &database.m_dataFile,          &database.m_systemIni,
                                             &database.m_appFile,           database.m_spareText,
                                             &database.m_currentMeter,      &database.m_currentAppendix,
                                             database.m_actualUser,         database.m_masterValue,
                                             database.m_languageCode,       &database.m_accessLevel,
                                             &database.m_accessFlag,        database.m_fieldLists};
    for (std::size_t i = 1; i < fields.size(); ++i)
        EXPECT_LT(fields[i - 1], fields[i]) << "field " << i;
}

TEST_F(DatabaseObject, HasFieldsOfTheRequiredSizes) {
    EXPECT_EQ(std::size(m_database.m_applicationPath), 260u);
    EXPECT_EQ(TestDatabase::kPathChars, 261);
    EXPECT_EQ(TestDatabase::kTexts, 35);
    EXPECT_EQ(std::size(m_database.m_spareText), 256u);
    EXPECT_EQ(sizeof m_database.m_actualUser, 256u);
    EXPECT_EQ(sizeof m_database.m_masterValue, 256u);
    EXPECT_EQ(sizeof m_database.m_languageCode, 40u);
    EXPECT_TRUE(std::has_virtual_destructor_v<CMeterDatabase>);
}

// ---- destruction

TEST_F(DatabaseObject, SavesDataFileAndAppFileWhenItEnds) {
    WriteSystemIni();
    {
        TestDatabase database(m_folder.Wide().c_str());
        database.SetIniFile(L"system.ini");
        ASSERT_TRUE(database.OpenDataFile(false));
        database.m_dataFile->WriteString("General", "CompanyID", "Waterworks");
        database.m_appFile->WriteString("State", "Route", "12");
        database.m_systemIni->WriteString("System", "Route", "12");
    }
    EXPECT_NE(m_folder.Read(kDataFile).find("CompanyID=Waterworks"), std::string::npos);
    EXPECT_NE(m_folder.Read(kAppFile).find("Route=12"), std::string::npos);
    EXPECT_EQ(m_folder.Read(kSystemIni).find("Route"), std::string::npos);
}

TEST_F(DatabaseObject, SavesTheDataFileFirstWhenItEnds) {
    WriteSystemIni();
    auto database = std::make_unique<TestDatabase>(m_folder.Wide().c_str());
    database->SetIniFile(L"system.ini");
    ASSERT_TRUE(database->OpenDataFile(false));
    FakeSystem system;
    database.reset();
    std::vector<std::wstring> saved;
    for (const FakeSystem::Entry& entry : system.Journal())
        if (entry.call == FakeSystem::Call::Rename)
            saved.push_back(entry.to);
    EXPECT_EQ(saved, (std::vector<std::wstring>{m_folder.Wide(kDataFile), m_folder.Wide(kAppFile)}));
}

TEST_F(DatabaseObject, EndsQuietlyWhenItCannotSave) {
    const std::string data = "[General]\nMeters=0\n";
    const std::string app = "[State]\nDirty=No\n";
    WriteSystemIni();
    m_folder.Write(kDataFile, data);
    m_folder.Write(kAppFile, app);
    auto database = std::make_unique<TestDatabase>(m_folder.Wide().c_str());
    database->SetIniFile(L"system.ini");
    ASSERT_TRUE(database->OpenDataFile(false));
    database->m_dataFile->WriteString("General", "CompanyID", "Waterworks");
    database->m_appFile->WriteString("State", "Route", "12");
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Rename, 1, FakeSystem::Times::FromThenOn);
    database.reset();
    EXPECT_EQ(system.Count(FakeSystem::Call::Rename), 2);
    EXPECT_EQ(system.Messages().size(), 0u);
    EXPECT_EQ(m_folder.Read(kDataFile), data);
    EXPECT_EQ(m_folder.Read(kAppFile), app);
}

// ---- little memory

TEST_F(DatabaseObject, DoesWithoutMemoryForTextsAndFieldLists) {
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Allocate, 1, FakeSystem::Times::FromThenOn);
    TestDatabase database(L"\\Terminal");
    EXPECT_EQ(system.Count(FakeSystem::Call::Allocate), 38);
    EXPECT_EQ(system.Messages().size(), 35u);
    for (const char* text : database.m_texts)
        EXPECT_EQ(text, nullptr);
    for (const TestDatabase::FieldList& list : database.m_fieldLists)
        EXPECT_EQ(list.fields, nullptr);
    char action[40];
    EXPECT_TRUE(database.GetMeterActionText(action, sizeof action));
    EXPECT_STREQ(action, "");
}

TEST_F(DatabaseObject, DoesWithoutMemoryForOneFieldList) {
    for (int list = 0; list < TestDatabase::kFieldLists; ++list) {
        FakeSystem system;
        system.FailCall(FakeSystem::Call::Allocate, TestDatabase::kTexts + 1 + list);
        const TestDatabase database(L"\\Terminal");
        for (int i = 0; i < TestDatabase::kFieldLists; ++i)
            EXPECT_EQ(database.m_fieldLists[i].fields == nullptr, i == list);
    }
}

TEST_F(DatabaseObject, HasNoSystemIniWithoutMemoryForIt) {
    WriteSystemIni();
    {
        HeapFault fault(1);
        EXPECT_TRUE(m_database.SetIniFile(L"system.ini"));
        EXPECT_TRUE(fault.Happened());
    }
    EXPECT_EQ(m_database.GetPtrToIniFile(), nullptr);
    EXPECT_FALSE(m_database.OpenDataFile(false));
}

// ---- system ini

TEST_F(DatabaseObject, FindsTheSystemIniBesideTheApplication) {
    WriteSystemIni();
    EXPECT_TRUE(m_database.SetIniFile(L"system.ini"));
    EXPECT_STREQ(m_database.m_systemIniName, L"system.ini");
    EXPECT_EQ(m_database.m_systemIniPath, m_folder.Wide("system.ini"));
    char name[20];
    EXPECT_TRUE(m_database.GetPtrToIniFile()->ReadString("System", "DataFile", name, sizeof name));
}

TEST_F(DatabaseObject, TakesAnAbsoluteSystemIniAsItIs) {
    EXPECT_TRUE(m_database.SetIniFile(L"\\no such directory\\system.ini"));
    EXPECT_STREQ(m_database.m_systemIniName, L"\\no such directory\\system.ini");
    EXPECT_STREQ(m_database.m_systemIniPath, L"\\no such directory\\system.ini");
    EXPECT_NE(m_database.GetPtrToIniFile(), nullptr);
}

TEST_F(DatabaseObject, CutsALongSystemIniName) {
    const std::wstring name = L"\\" + std::wstring(300, L'x');
    EXPECT_TRUE(m_database.SetIniFile(name.c_str()));
    EXPECT_EQ(m_database.m_systemIniName, name.substr(0, 260));
    EXPECT_EQ(m_database.m_systemIniPath, name.substr(0, 260));
}

TEST_F(DatabaseObject, CutsALongSystemIniPath) {
    const std::wstring name(300, L'x');
    const std::wstring path = m_folder.Wide() + L"\\" + name;
    EXPECT_TRUE(m_database.SetIniFile(name.c_str()));
    EXPECT_EQ(m_database.m_systemIniPath, path.substr(0, 260));
}

TEST_F(DatabaseObject, DropsTheSystemIniForTheEmptyName) {
    for (const wchar_t* name : {L"", static_cast<const wchar_t*>(nullptr)}) {
        WriteSystemIni();
        m_database.SetIniFile(L"system.ini");
        EXPECT_TRUE(m_database.SetIniFile(name));
        EXPECT_STREQ(m_database.m_systemIniName, L"");
        EXPECT_EQ(m_database.GetPtrToIniFile(), nullptr);
        EXPECT_FALSE(m_database.OpenDataFile(false));
    }
}

TEST_F(DatabaseObject, StaysWithoutASystemIniForTheEmptyName) {
    EXPECT_TRUE(m_database.SetIniFile(L""));
    EXPECT_EQ(m_database.GetPtrToIniFile(), nullptr);
}

TEST_F(DatabaseObject, LeavesAnEarlierSystemIniToItsHolder) {
    WriteSystemIni();
    m_folder.Write("other.ini", "[System]\nDataFile=other.dat\n");
    m_database.SetIniFile(L"system.ini");
    const std::unique_ptr<CMeterIniFile> first(m_database.GetPtrToIniFile());
    EXPECT_TRUE(m_database.SetIniFile(L"other.ini"));
    EXPECT_NE(m_database.GetPtrToIniFile(), first.get());
    char name[20];
    EXPECT_TRUE(first->ReadString("System", "DataFile", name, sizeof name));
    EXPECT_STREQ(name, kDataFile);
    EXPECT_TRUE(m_database.GetPtrToIniFile()->ReadString("System", "DataFile", name, sizeof name));
    EXPECT_STREQ(name, "other.dat");
}

// ---- errors

TEST_F(DatabaseObject, HasNoErrorWithoutStores) {
    EXPECT_FALSE(m_database.IniFileError());
}

TEST_F(DatabaseObject, ReportsTheErrorOfEveryStore) {
    Open("");
    EXPECT_FALSE(m_database.IniFileError());
    for (CMeterIniFile* store : {m_database.m_dataFile, m_database.m_systemIni, m_database.m_appFile}) {
        store->m_error = true;
        EXPECT_TRUE(m_database.IniFileError());
        store->m_error = false;
    }
}

TEST_F(DatabaseObject, ReportsASystemIniThatCannotBeRead) {
    m_database.SetIniFile(L".");
    EXPECT_TRUE(m_database.IniFileError());
}

// ---- application path

TEST_F(DatabaseObject, GivesItsApplicationPathPaddedWithZeros) {
    TestDatabase database(L"\\Flash\\App");
    struct {
        int size;
        std::wstring expected;
    } const cases[] = {
        {5, L"\\Fla"}, {10, L"\\Flash\\Ap"}, {11, L"\\Flash\\App"}, {20, L"\\Flash\\App"}, {1, L""}};
    for (const auto& c : cases) {
        GuardedBuffer<wchar_t> path(c.size);
        database.GetApplicationPath(path.Data(), c.size);
        EXPECT_EQ(path.Text(), c.expected);
        for (int i = static_cast<int>(c.expected.size()); i < c.size; ++i)
            EXPECT_EQ(path.Data()[i], L'\0') << i << " of " << c.size;
    }
}

TEST_F(DatabaseObject, GivesNoApplicationPathWithoutRoom) {
    GuardedBuffer<wchar_t> path(5);
    m_database.GetApplicationPath(path.Data(), 0);
    m_database.GetApplicationPath(path.Data(), -1);
    EXPECT_TRUE(path.Untouched());
    m_database.GetApplicationPath(nullptr, 5);
}

// ---- mirrors

TEST_F(DatabaseMirrors, WritesDataFileAndAppFileToTheirMirrors) {
    Open("");
    m_database.SetDataMirror(m_folder.Wide("data.mirror").c_str());
    m_database.SetAppMirror(m_folder.Wide("app.mirror").c_str());
    EXPECT_EQ(m_database.m_dataMirrorPath, m_folder.Wide("data.mirror"));
    EXPECT_EQ(m_database.m_appMirrorPath, m_folder.Wide("app.mirror"));
    EXPECT_FALSE(m_folder.Exists("data.mirror"));
    EXPECT_TRUE(m_database.m_dataFile->UpdateFile());
    EXPECT_TRUE(m_database.m_appFile->UpdateFile());
    EXPECT_EQ(m_folder.Read("data.mirror"), m_folder.Read(kDataFile));
    EXPECT_EQ(m_folder.Read("app.mirror"), m_folder.Read(kAppFile));
}

TEST_F(DatabaseMirrors, OnlyRecordThePathOfTheRawFile) {
    Open("");
    m_database.SetRawMirror(L"\\card\\raw.dat");
    EXPECT_STREQ(m_database.m_rawMirrorPath, L"\\card\\raw.dat");
}

TEST_F(DatabaseMirrors, AreNotAppliedByOpening) {
    m_database.SetDataMirror(m_folder.Wide("data.mirror").c_str());
    m_database.SetAppMirror(m_folder.Wide("app.mirror").c_str());
    Open("");
    EXPECT_TRUE(m_database.m_dataFile->UpdateFile());
    EXPECT_TRUE(m_database.m_appFile->UpdateFile());
    EXPECT_EQ(m_database.m_dataMirrorPath, m_folder.Wide("data.mirror"));
    EXPECT_FALSE(m_folder.Exists("data.mirror"));
    EXPECT_FALSE(m_folder.Exists("app.mirror"));
}

TEST_F(DatabaseMirrors, AreTurnedOffByTheEmptyPath) {
    Open("");
    m_database.SetDataMirror(m_folder.Wide("data.mirror").c_str());
    m_database.SetDataMirror(L"");
    m_database.SetAppMirror(m_folder.Wide("app.mirror").c_str());
    m_database.SetAppMirror(nullptr);
    EXPECT_TRUE(m_database.m_dataFile->UpdateFile());
    EXPECT_TRUE(m_database.m_appFile->UpdateFile());
    EXPECT_FALSE(m_folder.Exists("data.mirror"));
    EXPECT_FALSE(m_folder.Exists("app.mirror"));
}

TEST_F(DatabaseMirrors, CutLongPaths) {
    const std::wstring path = L"\\" + std::wstring(300, L'x');
    m_database.SetDataMirror(path.c_str());
    m_database.SetAppMirror(path.c_str());
    m_database.SetRawMirror(path.c_str());
    EXPECT_EQ(m_database.m_dataMirrorPath, path.substr(0, 260));
    EXPECT_EQ(m_database.m_appMirrorPath, path.substr(0, 260));
    EXPECT_EQ(m_database.m_rawMirrorPath, path.substr(0, 260));
}

TEST_F(DatabaseMirrors, AreTurnedOffForAllStoresByNoSave) {
    Open("");
    m_database.m_systemIni->SetMirror(m_folder.Wide("ini.mirror").c_str());
    m_database.SetDataMirror(m_folder.Wide("data.mirror").c_str());
    m_database.SetAppMirror(m_folder.Wide("app.mirror").c_str());
    m_database.NoSave(true);
    for (CMeterIniFile* store : {m_database.m_systemIni, m_database.m_dataFile, m_database.m_appFile})
        EXPECT_TRUE(store->UpdateFile());
    EXPECT_EQ(m_folder.Names(), (std::vector<std::string>{kAppFile, kDataFile, kSystemIni}));
    EXPECT_EQ(m_database.m_dataMirrorPath, m_folder.Wide("data.mirror"));
    EXPECT_EQ(m_database.m_appMirrorPath, m_folder.Wide("app.mirror"));
}

TEST_F(DatabaseMirrors, StayWhenNoSaveIsTakenBack) {
    Open("");
    m_database.SetDataMirror(m_folder.Wide("data.mirror").c_str());
    m_database.NoSave(false);
    EXPECT_TRUE(m_database.m_dataFile->UpdateFile());
    EXPECT_TRUE(m_folder.Exists("data.mirror"));
}

TEST_F(DatabaseMirrors, NeedNoStoresForNoSave) {
    m_database.SetDataMirror(L"\\card\\data.ini");
    m_database.NoSave(true);
    EXPECT_STREQ(m_database.m_dataMirrorPath, L"\\card\\data.ini");
}

// ---- copies

TEST_F(DatabaseCopies, ShareStoresTextsAndFieldLists) {
    Open("[#_1]\n");
    SetAllFields(&m_database);
    UndestroyedDatabase copy(m_database);
    ExpectSameFields(*copy, m_database);
    EXPECT_EQ(copy->GetPtrToAppFile(), m_database.GetPtrToAppFile());
}

TEST_F(DatabaseCopies, AreAssignedFieldByField) {
    Open("[#_1]\n");
    SetAllFields(&m_database);
    UndestroyedDatabase copy(L"\\elsewhere");
    copy->HandleAllTexts(nullptr, 4);
    for (TestDatabase::FieldList& list : copy->m_fieldLists)
        Platform::LocalFree(list.fields);
    *copy = m_database;
    ExpectSameFields(*copy, m_database);
}

}  // namespace
