// The state of the application, the data of the whole database, user and access level.
#include <utility>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/GuardedBuffer.h"

namespace {

using GeneralData = DatabaseFixture;
using DirtyFlag = DatabaseFixture;
using DatabaseData = DatabaseFixture;
using ActualUser = DatabaseFixture;
using AccessLevel = DatabaseFixture;

constexpr const char* kApp = "[State]\nDirty=No\nRoute=12\n";

// ---- general data

TEST_F(GeneralData, IsReadFromTheState) {
    Open("", "", "[State]\nDirty=No\nRoute=12\nEmpty=\n[Other]\nElse=1\n");
    struct {
        const char* key;
        bool found;
        const char* value;
    } const cases[] = {{"Route", true, "12"}, {"route", true, "12"}, {"Empty", true, ""},
                       {"Else", false, ""},   {"", false, ""},       {nullptr, false, ""}};
    for (const auto& c : cases) {
        GuardedBuffer<> value(20);
        EXPECT_EQ(m_database.GetGeneralData(c.key, value.Data(), value.Size()), c.found);
        EXPECT_EQ(value.Text(), c.value);
    }
}

TEST_F(GeneralData, IsCutToItsBuffer) {
    Open("", "", "[State]\nRoute=12345\n");
    GuardedBuffer<> value(4);
    EXPECT_TRUE(m_database.GetGeneralData("Route", value.Data(), 4));
    EXPECT_EQ(value.Text(), "123");
    GuardedBuffer<> untouched(4);
    EXPECT_TRUE(m_database.GetGeneralData("Route", untouched.Data(), 0));
    EXPECT_TRUE(untouched.Untouched());
    EXPECT_TRUE(m_database.GetGeneralData("Route", nullptr, 4));
    EXPECT_FALSE(m_database.GetGeneralData("Other", nullptr, 4));
}

TEST_F(GeneralData, IsSavedAtOnce) {
    Open("", "", kApp);
    EXPECT_TRUE(m_database.SetGeneralData("Route", "13"));
    EXPECT_EQ(m_folder.Read(kAppFile), "[State]\nDirty=No\nRoute=13\n");
    EXPECT_TRUE(m_database.SetGeneralData("Team", nullptr));
    EXPECT_EQ(m_folder.Read(kAppFile), "[State]\nDirty=No\nRoute=13\nTeam=\n");
}

TEST_F(GeneralData, IsDeletedAtOnce) {
    Open("", "", kApp);
    EXPECT_TRUE(m_database.DeleteGeneralData("Route"));
    EXPECT_EQ(m_folder.Read(kAppFile), "[State]\nDirty=No\n");
}

TEST_F(GeneralData, IsSavedAlsoWhenTheChangeIsRefused) {
    Open("", "", kApp);
    m_database.m_appFile->WriteString("State", "Route", "13");
    EXPECT_FALSE(m_database.DeleteGeneralData("Other"));
    EXPECT_EQ(m_folder.Read(kAppFile), "[State]\nDirty=No\nRoute=13\n");
    m_database.m_appFile->WriteString("State", "Route", "14");
    EXPECT_FALSE(m_database.SetGeneralData("", "x"));
    EXPECT_EQ(m_folder.Read(kAppFile), "[State]\nDirty=No\nRoute=14\n");
    EXPECT_FALSE(m_database.IniFileError());
}

TEST_F(GeneralData, RaisesTheErrorsOfBothFilesWhenItCannotBeSaved) {
    for (const bool deletion : {false, true}) {
        Open("", "", kApp);
        FakeSystem system;
        system.FailCall(FakeSystem::Call::Rename, 1);
        EXPECT_FALSE(deletion ? m_database.DeleteGeneralData("Route")
                              : m_database.SetGeneralData("Route", "13"));
        EXPECT_TRUE(m_database.m_dataFile->m_error);
        EXPECT_TRUE(m_database.m_appFile->m_error);
        EXPECT_FALSE(m_database.m_systemIni->m_error);
        EXPECT_TRUE(m_database.IniFileError());
        EXPECT_EQ(App("State", "Route"), deletion ? kMissing : "13");
        EXPECT_EQ(m_folder.Read(kAppFile), kApp);
    }
}

TEST_F(GeneralData, MayFailToBeSavedWithoutADataFile) {
    Open("", "", kApp);
    CMeterIniFile* const dataFile = std::exchange(m_database.m_dataFile, nullptr);
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Rename, 1, FakeSystem::Times::FromThenOn);
    EXPECT_FALSE(m_database.SetGeneralData("Route", "13"));
    EXPECT_FALSE(m_database.DeleteGeneralData("Route"));
    EXPECT_TRUE(m_database.m_appFile->m_error);
    EXPECT_FALSE(dataFile->m_error);
    m_database.m_dataFile = dataFile;
}

TEST_F(GeneralData, NeedsAnAppFile) {
    GuardedBuffer<> value(20);
    EXPECT_FALSE(m_database.GetGeneralData("Route", value.Data(), value.Size()));
    EXPECT_EQ(value.Text(), "");
    EXPECT_FALSE(m_database.SetGeneralData("Route", "13"));
    EXPECT_FALSE(m_database.DeleteGeneralData("Route"));
    EXPECT_FALSE(m_database.GetDirtyFlag());
}

TEST_F(DirtyFlag, IsSetByYesAlone) {
    Open("", "", "[State]\nDirty=No\n");
    struct {
        const char* value;
        bool dirty;
    } const cases[] = {{"Yes", true},   {"yes", true},   {"YES", true},   {"yEs", true},
                       {"No", false},   {"Y", false},    {"Yess", false}, {"", false},
                       {" Yes", false}, {"Yes ", false}, {"1", false}};
    for (const auto& c : cases) {
        ASSERT_TRUE(m_database.SetGeneralData("Dirty", c.value));
        EXPECT_EQ(m_database.GetDirtyFlag(), c.dirty) << c.value;
    }
    ASSERT_TRUE(m_database.DeleteGeneralData("Dirty"));
    EXPECT_FALSE(m_database.GetDirtyFlag());
}

// ---- data of the database

TEST_F(DatabaseData, IsReadFromTheGeneralSection) {
    Open("[General]\nMeters=0\nDBInfo=Route 7\nCompanyID=W\nEmpty=\n");
    GuardedBuffer<> info(20);
    EXPECT_TRUE(m_database.GetDBInfo(info.Data(), info.Size()));
    EXPECT_EQ(info.Text(), "Route 7");
    struct {
        const char* key;
        bool found;
        const char* value;
    } const cases[] = {{"CompanyID", true, "W"}, {"dbinfo", true, "Route 7"},
                       {"Empty", true, ""},      {"Other", false, ""},
                       {"", false, ""},          {nullptr, false, ""}};
    for (const auto& c : cases) {
        GuardedBuffer<> value(20);
        EXPECT_EQ(m_database.GetDBGeneralData(c.key, value.Data(), value.Size()), c.found);
        EXPECT_EQ(value.Text(), c.value);
    }
}

TEST_F(DatabaseData, HasNoDescriptionWhereNoneIsSet) {
    Open("");
    GuardedBuffer<> info(20);
    EXPECT_FALSE(m_database.GetDBInfo(info.Data(), info.Size()));
    EXPECT_EQ(info.Text(), "");
}

TEST_F(DatabaseData, IsCutToItsBuffer) {
    Open("[General]\nDBInfo=Route 7\n");
    GuardedBuffer<> value(4);
    EXPECT_TRUE(m_database.GetDBInfo(value.Data(), 4));
    EXPECT_EQ(value.Text(), "Rou");
    EXPECT_TRUE(m_database.GetDBGeneralData("DBInfo", value.Data(), 1));
    EXPECT_EQ(value.Text(), "");
}

TEST_F(DatabaseData, NeedsABufferToBeRead) {
    Open("[General]\nDBInfo=Route 7\n");
    GuardedBuffer<> value(4);
    for (const int size : {0, -1}) {
        EXPECT_FALSE(m_database.GetDBInfo(value.Data(), size));
        EXPECT_FALSE(m_database.GetDBGeneralData("DBInfo", value.Data(), size));
    }
    EXPECT_TRUE(value.Untouched());
    EXPECT_FALSE(m_database.GetDBInfo(nullptr, 4));
    EXPECT_FALSE(m_database.GetDBGeneralData("DBInfo", nullptr, 4));
}

TEST_F(DatabaseData, IsWrittenWithoutSaving) {
    const std::string data = "[General]\nMeters=0\n";
    Open(data);
    EXPECT_TRUE(m_database.SetDBGeneralData("Route", "7"));
    EXPECT_TRUE(m_database.SetCompany("Waterworks"));
    EXPECT_EQ(DataLines(), "[General]\nMeters=0\nRoute=7\nCompanyID=Waterworks\n");
    EXPECT_EQ(m_folder.Read(kDataFile), data);
    EXPECT_FALSE(m_database.SetDBGeneralData("", "7"));
    EXPECT_FALSE(m_database.SetDBGeneralData(nullptr, "7"));
    EXPECT_TRUE(m_database.SetCompany(nullptr));
    EXPECT_EQ(Data("General", "CompanyID"), "");
}

TEST_F(DatabaseData, NeedsADataFile) {
    GuardedBuffer<> value(20);
    EXPECT_FALSE(m_database.GetDBInfo(value.Data(), value.Size()));
    EXPECT_EQ(value.Text(), "");
    GuardedBuffer<> other(20);
    EXPECT_FALSE(m_database.GetDBGeneralData("DBInfo", other.Data(), other.Size()));
    EXPECT_EQ(other.Text(), "");
    EXPECT_FALSE(m_database.SetDBGeneralData("Route", "7"));
    EXPECT_FALSE(m_database.SetCompany("W"));
    EXPECT_EQ(m_database.GetClient(), 1);
}

TEST_F(DatabaseData, HasAClientFrom1To1000) {
    Open("");
    EXPECT_EQ(m_database.GetClient(), 1);
    struct {
        const char* value;
        int client;
    } const cases[] = {{"1", 1},
                       {"7", 7},
                       {"999", 999},
                       {"1000", 1000},
                       {"1001", 1000},
                       {"5000", 1000},
                       {"0", 1},
                       {"-4", 1},
                       {"text", 1},
                       {"", 1},
                       {" 12", 12},
                       {"12x", 12},
                       {"99999999999", 1000},
                       {"-99999999999", 1},
                       {"00000000000000000012", 1}};
    for (const auto& c : cases) {
        ASSERT_TRUE(m_database.SetDBGeneralData("Client", c.value));
        EXPECT_EQ(m_database.GetClient(), c.client) << c.value;
    }
}

// ---- user and access

TEST_F(ActualUser, IsCutTo255Characters) {
    struct {
        std::string user;
        std::string kept;
    } const cases[] = {
        {"smith", "smith"},
        {"", ""},
        {std::string(255, 'a'), std::string(255, 'a')},
        {std::string(300, 'b'), std::string(255, 'b')},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(m_database.SetActualUser(c.user.c_str()));
        EXPECT_EQ(m_database.m_actualUser, c.kept);
    }
    EXPECT_TRUE(m_database.SetActualUser(nullptr));
    EXPECT_STREQ(m_database.m_actualUser, "");
}

TEST_F(AccessLevel, IsRespectedWhenTheSystemIniSaysYes) {
    struct {
        const char* entry;
        bool respected;
    } const cases[] = {
        {"RespectAccessLevel=Yes\n", true}, {"RespectAccessLevel=yES\n", true},
        {"RespectAccessLevel=No\n", false}, {"RespectAccessLevel=\n", false},
        {"RespectAccessLevel=Y\n", false},  {"", false},
    };
    for (const auto& c : cases) {
        WriteSystemIni(c.entry);
        m_database.SetIniFile(L"system.ini");
        m_database.SetAccessLevel(3);
        EXPECT_EQ(m_database.m_accessLevel, 3);
        EXPECT_EQ(m_database.m_accessFlag, c.respected) << c.entry;
        m_database.SetIniFile(L"");
    }
}

TEST_F(AccessLevel, IsSettledWhenItIsSet) {
    WriteSystemIni("RespectAccessLevel=Yes\n");
    m_database.SetIniFile(L"system.ini");
    m_database.SetAccessLevel(1);
    m_database.m_systemIni->WriteString("System", "RespectAccessLevel", "No");
    EXPECT_TRUE(m_database.m_accessFlag);
    m_database.SetAccessLevel(-2);
    EXPECT_EQ(m_database.m_accessLevel, -2);
    EXPECT_FALSE(m_database.m_accessFlag);
}

TEST_F(AccessLevel, IsNotRespectedWithoutASystemIni) {
    m_database.m_accessFlag = true;
    m_database.SetAccessLevel(4);
    EXPECT_EQ(m_database.m_accessLevel, 4);
    EXPECT_FALSE(m_database.m_accessFlag);
}

}  // namespace
