// Plain items of the current record, and the user stamp.
#include <gtest/gtest.h>

#include <utility>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

class Items : public DatabaseFixture {
protected:
    void OpenAppendices() {
        Open("[#_1]\nX=main\n[#1_1]\nX=first\n[#2_1]\nX=second\n[#3_1]\nX=third\n");
        ASSERT_TRUE(m_database.SetAppendix(3));
    }

    // An item of the current record as it arrives in a buffer of `size` bytes.
    std::string Get(const char* key, int size = 300) {
        GuardedBuffer buffer(size);
        const bool found = m_database.GetMeterItem(key, buffer.Data(), buffer.Size());
        EXPECT_TRUE(found || buffer.Text().empty()) << "output of a failed call";
        return found ? buffer.Text() : kMissing;
    }

    std::string GetMain(const char* key) {
        GuardedBuffer buffer(300);
        return m_database.GetMeterItemMain(key, buffer.Data(), buffer.Size()) ? buffer.Text() : kMissing;
    }
};

class UserStamp : public Items {
protected:
    UserStamp() { m_system.SetTime({2010, 3, 5, 5, 8, 4, 9, 7}); }

    FakeSystem m_system;
};

const char* const kStampEntry = "A,D,,20100305080409,\"\"";

}  // namespace

// ---- items

TEST_F(Items, AreStoredAndReturnedUnchanged) {
    Open("[#_1]\nState=U\n");
    const std::string texts[] = {"",         "Uhr",       "a, \"b\", 'c'", "\"quoted\"",   "R,U,8,1,\"t\"",
                                 " blanks ", "key=value", "[x]",           "; no comment", "\xC4\xFF\x01"};
    for (const std::string& text : texts) {
        EXPECT_TRUE(m_database.SetMeterItem("Note", text.c_str()));
        EXPECT_EQ(Get("Note"), text);
        EXPECT_EQ(Data("#_1", "Note"), text);
    }
    EXPECT_TRUE(m_database.SetMeterItem("Note", nullptr));
    EXPECT_EQ(Get("note"), "") << "a null text is empty, and the case of keys is ignored";
}

TEST_F(Items, AreCutToTheBuffer) {
    Open("[#_1]\nX=abcd\nLong=" + std::string(5000, 'x') + "\n");
    EXPECT_EQ(Get("X", 1), "");
    EXPECT_EQ(Get("X", 4), "abc");
    EXPECT_EQ(Get("X", 5), "abcd");
    EXPECT_EQ(Get("X", 6), "abcd");
    EXPECT_EQ(Get("Long", 6000), std::string(5000, 'x')) << "only the buffer bounds an item";
}

TEST_F(Items, LeaveAnOutputAloneThatIsNotWanted) {
    Open("[#_1]\nX=abcd\n");
    GuardedBuffer buffer(8);
    EXPECT_TRUE(m_database.GetMeterItem("X", buffer.Data(), 0));
    EXPECT_TRUE(m_database.GetMeterItem("X", buffer.Data(), -1));
    EXPECT_TRUE(m_database.GetMeterItem("X", nullptr, 8));
    EXPECT_TRUE(buffer.Untouched());
    EXPECT_FALSE(m_database.GetMeterItem("Y", nullptr, 0));
}

TEST_F(Items, ThatDoNotExistLeaveTheOutputEmpty) {
    Open("[#_1]\nX=abcd\n");
    for (const char* key : {"Y", "", " ", "X=abcd"})
        EXPECT_EQ(Get(key), kMissing) << key;
    EXPECT_EQ(Get(nullptr), kMissing);
    EXPECT_EQ(GetMain("Y"), kMissing);
}

TEST_F(Items, OfAnAppendixStandBesideThoseOfTheMainRecord) {
    OpenAppendices();
    EXPECT_EQ(Get("X"), "third");
    EXPECT_EQ(GetMain("X"), "main");
    EXPECT_TRUE(m_database.SetMeterItem("X", "3"));
    EXPECT_TRUE(m_database.SetMeterItemMain("X", "0"));
    EXPECT_EQ(m_database.GetAppendix(), 3);
    EXPECT_EQ(Data("#_1", "X"), "0");
    EXPECT_EQ(Data("#1_1", "X"), "first");
    EXPECT_EQ(Data("#3_1", "X"), "3");
}

TEST_F(Items, ReportAWriteThatIsRefused) {
    Open("[#_1]\nX=abcd\n");
    const std::string before = DataLines();
    for (const char* key : {"", "a=b", "[a]", ";a", "a\nb"})
        EXPECT_FALSE(m_database.SetMeterItem(key, "1")) << key;
    EXPECT_FALSE(m_database.SetMeterItem(nullptr, "1"));
    EXPECT_FALSE(m_database.SetMeterItem("X", "two\nlines"));
    EXPECT_FALSE(m_database.SetMeterItemMain("X", "two\rlines"));
    EXPECT_EQ(DataLines(), before);
}

TEST_F(Items, NeedTheStoresAndACurrentMeter) {
    Open("[#_1]\nX=abcd\n");
    const std::string before = DataLines();
    WithoutPreconditions([&](const char* what) {
        EXPECT_EQ(Get("X"), kMissing) << what;
        EXPECT_EQ(GetMain("X"), kMissing) << what;
        EXPECT_FALSE(m_database.SetMeterItem("X", "1")) << what;
        EXPECT_FALSE(m_database.SetMeterItemMain("X", "1")) << what;
    });
    EXPECT_EQ(DataLines(), before);
}

// ---- user stamp

TEST_F(UserStamp, NamesUserAndTimeOnTheMainRecord) {
    OpenAppendices();
    m_database.SetActualUser("Miller");
    EXPECT_TRUE(m_database.SetUser());
    EXPECT_EQ(Data("#_1", "UserID"), "A,D,,Miller,\"\"");
    EXPECT_EQ(Data("#_1", "LastChanges"), kStampEntry);
    EXPECT_EQ(Data("#3_1", "UserID"), kMissing);
    EXPECT_EQ(Data("#3_1", "LastChanges"), kMissing);
    EXPECT_EQ(m_database.GetAppendix(), 3);
    EXPECT_EQ(App("State", "Dirty"), "Yes");
}

TEST_F(UserStamp, ReplacesAnEarlierOne) {
    Open("[#_1]\nUserID=R,U,\"8,BU\",other,\"text\"\nLastChanges=R,U,8,2009,\"text\"\n");
    EXPECT_TRUE(m_database.SetUser());
    EXPECT_EQ(Data("#_1", "UserID"), "A,D,,,\"\"") << "no user was set";
    EXPECT_EQ(Data("#_1", "LastChanges"), kStampEntry);
}

TEST_F(UserStamp, StoresAUserAsTheValueThatItIs) {
    Open("[#_1]\nState=U\n");
    const std::pair<std::string, std::string> rows[] = {
        {"Miller, Ann", "\"Miller, Ann\""},
        {"\"Ann\" M.", "Ann M."},
        {std::string(255, 'u'), std::string(255, 'u')},
        {std::string(300, 'u'), std::string(255, 'u')},
    };
    for (const auto& [user, value] : rows) {
        m_database.SetActualUser(user.c_str());
        EXPECT_TRUE(m_database.SetUser());
        EXPECT_EQ(Data("#_1", "UserID"), "A,D,," + value + ",\"\"");
    }
}

TEST_F(UserStamp, WritesTheTimeWithFourteenDigits) {
    Open("[#_1]\nState=U\n");
    const std::pair<Platform::SystemTime, std::string> rows[] = {
        {{2010, 3, 5, 5, 8, 4, 9, 0}, "20100305080409"},
        {{1999, 12, 5, 31, 23, 59, 59, 999}, "19991231235959"},
        {{2024, 2, 4, 29, 0, 0, 0, 0}, "20240229000000"},
    };
    for (const auto& [time, stamp] : rows) {
        m_system.SetTime(time);
        EXPECT_TRUE(m_database.SetUser());
        EXPECT_EQ(Data("#_1", "LastChanges"), "A,D,," + stamp + ",\"\"");
    }
}

TEST_F(UserStamp, WithoutACurrentMeterStillMarksTheDatabaseAsChanged) {
    Open("[#_1]\nState=U\n");
    m_database.m_currentMeter = 0;
    EXPECT_FALSE(m_database.SetUser());
    EXPECT_EQ(App("State", "Dirty"), "Yes");
    EXPECT_EQ(Data("#_1", "UserID"), kMissing);
}

TEST_F(UserStamp, WithoutAnAppFileStillStandsOnTheRecord) {
    Open("[#_1]\nState=U\n");
    CMeterIniFile* const appFile = std::exchange(m_database.m_appFile, nullptr);
    EXPECT_FALSE(m_database.SetUser());
    m_database.m_appFile = appFile;
    EXPECT_EQ(Data("#_1", "UserID"), "A,D,,,\"\"");
    EXPECT_EQ(Data("#_1", "LastChanges"), kStampEntry);
}

TEST_F(UserStamp, WithoutAnyStoreIsFalse) {
    EXPECT_FALSE(m_database.SetUser());
}

TEST_F(UserStamp, ReportsThatTheAppFileCouldNotBeSaved) {
    Open("[#_1]\nState=U\n");
    m_system.FailCall(FakeSystem::Call::Rename, 1);
    EXPECT_FALSE(m_database.SetUser());
    EXPECT_EQ(Data("#_1", "LastChanges"), kStampEntry);
    EXPECT_TRUE(m_database.IniFileError());
}
