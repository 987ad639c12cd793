// Meters that go: the others move down, and keep their own records.
#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/HeapFault.h"

namespace {

using DeleteMeter = DatabaseFixture;

TEST_F(DeleteMeter, NeedsACurrentMeter) {
    EXPECT_FALSE(m_database.DeleteActualMeter());
    Open("");
    EXPECT_FALSE(m_database.DeleteActualMeter());
    m_database.CloseDataFile();
    Open("[#_1]\n");
    m_database.SetIniFile(L"");
    EXPECT_FALSE(m_database.DeleteActualMeter());
    EXPECT_EQ(DataLines(), "[#_1]\n[General]\nMeters=1\n");
}

TEST_F(DeleteMeter, MovesTheFollowingMetersDownAndSaves) {
    Open(
        "[General]\nMeters=3\n\n[#_1]\nId=1\n\n[#1_1]\nId=1.1\n\n[#_2]\nId=2\n\n[#1_2]\nId=2.1\n\n[#2_2]\nId="
        "2.2\n\n"
        "[#_3]\nId=3\n\n[#1_3]\nId=3.1\n\n[Store]\nMeters=0\n");
    m_database.SetActualPosition(2);
    ASSERT_TRUE(m_database.SetAppendix(2));
    EXPECT_TRUE(m_database.DeleteActualMeter());
    EXPECT_EQ(m_folder.Read(kDataFile),
              "[General]\nMeters=2\n\n[#_1]\nId=1\n\n[#1_1]\nId=1.1\n\n[#_2]\nId=3\n\n[#1_2]\nId=3.1\n\n["
              "Store]\nMeters=0\n");
    EXPECT_EQ(m_database.m_currentMeter, 0);
    EXPECT_EQ(m_database.m_currentAppendix, 0);
    EXPECT_EQ(m_database.GetNumberOfMeters(), 2);
    EXPECT_FALSE(m_database.DeleteActualMeter());
}

TEST_F(DeleteMeter, EndsWithTheAppendicesThatCount) {
    std::string records = "[#_1]\n";
    for (int appendix = 1; appendix <= 101; ++appendix)
        records += "[#" + std::to_string(appendix) + "_1]\n";
    Open(records);
    EXPECT_TRUE(m_database.DeleteActualMeter());
    EXPECT_EQ(DataLines(), "[#101_1]\n[General]\nMeters=0\n");
    m_database.CloseDataFile();
    Open("[#_1]\n[#1_1]\n[#3_1]\n");
    EXPECT_TRUE(m_database.DeleteActualMeter());
    EXPECT_EQ(DataLines(), "[#3_1]\n[General]\nMeters=0\n");
}

// Appendices that stayed behind would belong to another customer's meter.
TEST_F(DeleteMeter, TakesTheAppendicesOfAnyNumberOfMetersAlong) {
    std::string records;
    for (int meter = 1; meter <= 20005; ++meter) {
        const std::string number = std::to_string(meter);
        records.append("[#_").append(number).append("]\n[#1_").append(number).append("]\nof=");
        records.append(number).append("\n");
    }
    Open(records);
    m_database.SetActualPosition(1);
    ASSERT_TRUE(m_database.DeleteActualMeter());
    ASSERT_EQ(m_database.GetNumberOfMeters(), 20004);
    for (const int meter : {1, 9999, 10000, 10001, 20000, 20001, 20004}) {
        char of[16];
        ASSERT_TRUE(
            m_database.m_dataFile->ReadString(("#1_" + std::to_string(meter)).c_str(), "of", of, sizeof of))
            << meter;
        EXPECT_EQ(of, std::to_string(meter + 1));
    }
    EXPECT_FALSE(m_database.m_dataFile->SectionExists("#1_20005"));
}

TEST_F(DeleteMeter, LeavesTheNumbersToTheNextOpeningWithoutMemoryForThem) {
    std::string records;
    for (int meter = 1; meter <= 10005; ++meter)
        records += "[#_" + std::to_string(meter) + "]\n";
    Open(records);
    m_database.SetActualPosition(1);
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Allocate, 2);
    ASSERT_TRUE(m_database.DeleteActualMeter());
    EXPECT_TRUE(system.FaultHappened());
    EXPECT_FALSE(m_database.m_dataFile->SectionExists("#_1")) << "no header was renumbered";
    EXPECT_TRUE(m_database.m_dataFile->SectionExists("#_10005"));
    EXPECT_EQ(m_database.CheckConsistency(), 10004);
}

TEST_F(DeleteMeter, NeedsNoMainRecord) {
    Open("[#_1]\n[#_2]\nId=2\n[#1_1]\n");
    m_database.m_dataFile->DeleteSection("#_1");
    EXPECT_TRUE(m_database.DeleteActualMeter());
    EXPECT_EQ(DataLines(), "[#_1]\nId=2\n[General]\nMeters=1\n");
}

TEST_F(DeleteMeter, IsRememberedWhenItCannotBeSaved) {
    Open("[General]\nMeters=2\n[#_1]\n[#_2]\nId=2\n");
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Rename, 1);
    EXPECT_TRUE(m_database.DeleteActualMeter());
    EXPECT_TRUE(m_database.IniFileError());
    EXPECT_EQ(m_database.m_currentMeter, 0);
    EXPECT_EQ(DataLines(), "[General]\nMeters=1\n[#_1]\nId=2\n");
    EXPECT_EQ(m_folder.Read(kDataFile), "[General]\nMeters=2\n[#_1]\n[#_2]\nId=2\n");
}

// A record that could not be deleted stays whole, or goes with what it has; no other record is touched.
TEST_F(DeleteMeter, LeavesTheOtherRecordsAloneWithoutMemory) {
    const std::string third = "[#_3]\nId=3\n[#1_3]\nId=3.1\n[#2_3]\nId=3.2\n";
    for (int n = 1;; ++n) {
        m_database.CloseDataFile();
        Open(
            "[General]\nMeters=3\n[#_1]\nId=1\n[#_2]\nId=2\n[#1_2]\nId=2.1\n[#2_2]\nId=2.2\n[#3_2]\nId=2."
            "3\n" +
            third);
        // With copies of the records there is more that can fail.
        m_database.SetActualPosition(2);
        for (const int appendix : {0, 1, 2, 3}) {
            ASSERT_TRUE(m_database.SetAppendix(appendix));
            ASSERT_TRUE(m_database.BackupRecord());
        }
        bool failed = false;
        bool deleted = false;
        {
            const HeapFault fault(n);
            deleted = m_database.DeleteActualMeter();
            failed = fault.Happened();
        }
        ASSERT_TRUE(m_database.UpdateDatabaseForeground());
        ASSERT_TRUE(m_database.OpenDataFile(false));
        const int meters = m_database.GetNumberOfMeters();
        ASSERT_TRUE(meters == 2 || (failed && meters == 3)) << n;
        EXPECT_EQ(Data("#_1", "Id"), "1");
        EXPECT_EQ(Data("#_2", "Id"), meters == 3 ? "2" : "3") << n << DataLines();
        const std::string last = std::to_string(meters);
        EXPECT_EQ(Data("#_" + last, "Id"), "3");
        EXPECT_EQ(Data("#1_" + last, "Id"), "3.1");
        EXPECT_EQ(Data("#2_" + last, "Id"), "3.2");
        EXPECT_EQ(Data("#3_" + last, "Id"), kMissing) << n << DataLines();
        EXPECT_EQ(deleted, meters == 2) << n;
        if (!failed)
            break;
    }
}

}  // namespace
