// Taking an edit back: copies of records, which follow them through the route.
#include "tests/support/DatabaseFixture.h"
#include "tests/support/HeapFault.h"

namespace {

class RecordCopy : public DatabaseFixture {
protected:
    // Three meters, the second with two appendices; comments, blank lines and line ends of all kinds.
    static constexpr const char* kFirst = "[#_1]\r\nId=1\nA=A,U,8,1,\"\"\r\n\r\n";
    static constexpr const char* kSecond =
        "[#_2] ; kept\n; note\nId=2\r\nA=A,U,8,2,\"a \"b\"\"  \nA=twice\n\n";
    static constexpr const char* kAppendix = "[#1_2]\nId=2.1\n\t\n";
    static constexpr const char* kLastAppendix = "[#2_2]\r\nId=2.2\n no entry\n";
    static constexpr const char* kThird = "[#_3]\nId=3";

    static std::string Joined(std::initializer_list<const char*> parts) {
        std::string text;
        for (const char* part : parts)
            text += part;
        return text;
    }

    void Edit() {
        EXPECT_TRUE(m_database.SetMeterValue("A", "R", "D", "\"8,C1;2\"", "7", "new"));
        EXPECT_TRUE(m_database.SetMeterItem("New", "entry"));
        EXPECT_TRUE(m_database.DeleteMeterValue("Id"));
    }
};

TEST_F(RecordCopy, NeedsACurrentMeter) {
    EXPECT_FALSE(m_database.BackupRecord());
    EXPECT_FALSE(m_database.RestoreRecord());
    Open("");
    EXPECT_FALSE(m_database.BackupRecord());
    EXPECT_FALSE(m_database.RestoreRecord());
}

TEST_F(RecordCopy, NeedsNoSystemIni) {
    Open("[#_1]\nA=1\n");
    m_database.SetIniFile(L"");
    EXPECT_TRUE(m_database.BackupRecord());
    m_database.m_dataFile->DeleteKey("#_1", "A");
    EXPECT_TRUE(m_database.RestoreRecord());
    EXPECT_EQ(Data("#_1", "A"), "1");
}

TEST_F(RecordCopy, IsTrueWithNothingToRestore) {
    Open("[#_1]\nA=1\n");
    EXPECT_TRUE(m_database.RestoreRecord());
    EXPECT_EQ(Data("#_1", "A"), "1");
    m_database.m_dataFile->DeleteSection("#_1");
    EXPECT_TRUE(m_database.BackupRecord());
    EXPECT_TRUE(m_database.RestoreRecord());
}

TEST_F(RecordCopy, GivesTheRecordBackByteForByte) {
    const std::string file =
        Joined({"[General]\nMeters=3\n", kFirst, kSecond, kAppendix, kLastAppendix, kThird});
    Open(file);
    ASSERT_EQ(m_folder.Read(kDataFile), file);
    for (int meter = 1; meter <= 3; ++meter)
        for (int appendix = 0; appendix <= (meter == 2 ? 2 : 0); ++appendix) {
            m_database.SetActualPosition(meter);
            ASSERT_TRUE(m_database.SetAppendix(appendix));
            EXPECT_TRUE(m_database.BackupRecord());
            Edit();
            ASSERT_TRUE(m_database.UpdateDatabaseForeground());
            EXPECT_NE(m_folder.Read(kDataFile), file);
            EXPECT_TRUE(m_database.RestoreRecord());
            ASSERT_TRUE(m_database.UpdateDatabaseForeground());
            EXPECT_EQ(m_folder.Read(kDataFile), file) << meter << '.' << appendix;
        }
}

TEST_F(RecordCopy, GoesBackToTheLatestCopyAsOftenAsWanted) {
    Open("[#_1]\nA=1\n");
    EXPECT_TRUE(m_database.BackupRecord());
    m_database.SetMeterItem("A", "2");
    EXPECT_TRUE(m_database.BackupRecord());
    for (int round = 0; round < 2; ++round) {
        m_database.SetMeterItem("A", "3");
        EXPECT_TRUE(m_database.RestoreRecord());
        EXPECT_EQ(Data("#_1", "A"), "2");
    }
}

TEST_F(RecordCopy, ConcernsOneRecordOfTheMeter) {
    Open("[#_1]\nA=1\n[#1_1]\nA=2\n");
    EXPECT_TRUE(m_database.BackupRecord());
    m_database.SetMeterItem("A", "changed");
    ASSERT_TRUE(m_database.SetAppendix(1));
    m_database.SetMeterItem("A", "changed");
    EXPECT_TRUE(m_database.RestoreRecord());
    EXPECT_EQ(Data("#1_1", "A"), "changed");
    m_database.SetAppendix(0);
    EXPECT_TRUE(m_database.RestoreRecord());
    EXPECT_EQ(Data("#_1", "A"), "1");
}

TEST_F(RecordCopy, FollowsItsRecordWhenOthersAreDeleted) {
    Open(Joined({"[General]\nMeters=3\n", kFirst, kSecond, kAppendix, kLastAppendix, kThird}));
    for (const int appendix : {0, 1, 2}) {
        m_database.SetActualPosition(2);
        ASSERT_TRUE(m_database.SetAppendix(appendix));
        EXPECT_TRUE(m_database.BackupRecord());
        Edit();
    }
    m_database.SetActualPosition(1);
    ASSERT_TRUE(m_database.DeleteActualMeter());
    for (const int appendix : {0, 1, 2}) {
        m_database.SetActualPosition(1);
        ASSERT_TRUE(m_database.SetAppendix(appendix));
        EXPECT_TRUE(m_database.RestoreRecord());
    }
    ASSERT_TRUE(m_database.UpdateDatabaseForeground());
    std::string second = kSecond;
    second.replace(0, std::string("[#_2] ; kept").size(), "[#_1]");
    EXPECT_EQ(m_folder.Read(kDataFile),
              Joined({"[General]\nMeters=2\n", second.c_str(), "[#1_1]\nId=2.1\n\t\n",
                      "[#2_1]\r\nId=2.2\n no entry\n", "[#_2]\nId=3"}));
}

TEST_F(RecordCopy, NeverLandsInAnotherRecord) {
    Open("[#_1]\nId=1\n[#_2]\nId=2\n[#_3]\nId=3\n", "[Append]\nId=4\n");
    m_database.SetActualPosition(2);
    EXPECT_TRUE(m_database.BackupRecord());
    ASSERT_TRUE(m_database.DeleteActualMeter());
    m_database.SetActualPosition(2);
    EXPECT_TRUE(m_database.RestoreRecord());
    EXPECT_EQ(Data("#_2", "Id"), "3");
    EXPECT_TRUE(m_database.BackupRecord());
    ASSERT_TRUE(m_database.DeleteActualMeter());
    ASSERT_EQ(m_database.AppendNewMeterToDataFile(""), 2);
    EXPECT_TRUE(m_database.RestoreRecord());
    EXPECT_EQ(Data("#_2", "Id"), "4");
}

// A value that cannot be read for want of memory is not taken for one that does not exist.
TEST_F(RecordCopy, IsEditedWithItsOtherSubFieldsKeptWithoutMemory) {
    const std::string entry = "RD,U,\"8 kWh,C0;99\",7,\"a note of the office\"";
    for (int n = 1;; ++n) {
        m_database.CloseDataFile();
        Open("[#_1]\nState=U\n1.8.0=" + entry + "\n\n[#_2]\n");
        EXPECT_TRUE(m_database.BackupRecord());
        Edit();
        EXPECT_TRUE(m_database.RestoreRecord());
        const bool failed = FailAllocation(
            n, [&] { m_database.SetMeterValue("1.8.0", nullptr, nullptr, nullptr, "8", nullptr); });
        const std::string stored = Data("#_1", "1.8.0");
        EXPECT_TRUE(stored == "RD,U,\"8 kWh,C0;99\",8,\"a note of the office\"" ||
                    (failed && stored == entry))
            << n << ' ' << stored;
        if (!failed)
            break;
    }
}

}  // namespace
