// The current record: navigation, raw lines and saving.
#include <filesystem>
#include <utility>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

using RecordNavigation = DatabaseFixture;
using RecordData = DatabaseFixture;
using RecordSaving = DatabaseFixture;

// ---- navigation

TEST_F(RecordNavigation, HasNoMetersWithoutADataFile) {
    EXPECT_EQ(m_database.GetNumberOfMeters(), -1);
    EXPECT_EQ(m_database.GetActualPosition(), -1);
    m_database.SetActualPosition(1);
    EXPECT_EQ(m_database.m_currentMeter, 0);
    EXPECT_EQ(m_database.GetAppendixCount(), 0);
    EXPECT_EQ(m_database.GetAppendix(), 0);
    EXPECT_FALSE(m_database.SetAppendix(0));
}

TEST_F(RecordNavigation, ReadsTheNumberOfMetersAfresh) {
    Open("[#_1]\n[#_2]\n");
    struct {
        const char* recorded;
        int meters;
    } const cases[] = {{"7", 7}, {"0", 0}, {"", 0}, {"x", 0}, {"-3", -3}, {"00000000000000000012", 1}};
    for (const auto& c : cases) {
        m_database.m_dataFile->WriteString("General", "Meters", c.recorded);
        EXPECT_EQ(m_database.GetNumberOfMeters(), c.meters) << c.recorded;
    }
    m_database.m_dataFile->DeleteKey("General", "Meters");
    EXPECT_EQ(m_database.GetNumberOfMeters(), 0);
}

TEST_F(RecordNavigation, MovesToAMeter) {
    Open("[#_1]\n[#_2]\n[#_3]\n");
    for (const int meter : {3, 1, 2}) {
        m_database.SetActualPosition(meter);
        EXPECT_EQ(m_database.GetActualPosition(), meter);
    }
}

TEST_F(RecordNavigation, IgnoresMetersThatDoNotExist) {
    Open("[#_1]\n[#_2]\n[#1_2]\n");
    m_database.SetActualPosition(2);
    ASSERT_TRUE(m_database.SetAppendix(1));
    for (const int meter : {0, -1, 3, 2147483647}) {
        m_database.SetActualPosition(meter);
        EXPECT_EQ(m_database.GetActualPosition(), 2) << meter;
        EXPECT_EQ(m_database.GetAppendix(), 1) << meter;
    }
}

TEST_F(RecordNavigation, ReturnsToTheMainRecordWhenItMoves) {
    Open("[#_1]\n[#1_1]\n[#_2]\n");
    for (const int meter : {2, 1}) {
        m_database.SetActualPosition(1);
        ASSERT_TRUE(m_database.SetAppendix(1));
        m_database.SetActualPosition(meter);
        EXPECT_EQ(m_database.m_currentAppendix, 0);
    }
}

TEST_F(RecordNavigation, HasNoPositionBehindTheLastMeter) {
    Open("[#_1]\n[#_2]\n");
    m_database.SetActualPosition(2);
    m_database.m_dataFile->WriteString("General", "Meters", "1");
    EXPECT_EQ(m_database.GetActualPosition(), 0);
    EXPECT_EQ(m_database.m_currentMeter, 2);
    m_database.m_dataFile->WriteString("General", "Meters", "2");
    EXPECT_EQ(m_database.GetActualPosition(), 2);
}

TEST_F(RecordNavigation, CountsAppendicesUpToTheFirstGap) {
    Open("[#_1]\n[#1_1]\n[#2_1]\n[#_2]\n[#_3]\n[#2_3]\n[#_4]\n[#3_4]\n[#1_4]\n");
    const int counts[] = {2, 0, 0, 1};
    for (int meter = 1; meter <= 4; ++meter) {
        m_database.SetActualPosition(meter);
        EXPECT_EQ(m_database.GetAppendixCount(), counts[meter - 1]) << meter;
    }
}

TEST_F(RecordNavigation, CountsAtMostAHundredAppendices) {
    std::string records = "[#_1]\n";
    for (int appendix = 1; appendix <= 101; ++appendix)
        records += "[#" + std::to_string(appendix) + "_1]\n";
    Open(records);
    EXPECT_EQ(m_database.GetAppendixCount(), 100);
    EXPECT_TRUE(m_database.SetAppendix(101));
    EXPECT_EQ(m_database.GetAppendix(), 101);
}

TEST_F(RecordNavigation, SelectsAnAppendixThatExists) {
    Open("[#_1]\n[#1_1]\n[#3_1]\n[#_2]\n[#2_2]\n");
    EXPECT_EQ(m_database.GetAppendix(), 0);
    for (const int appendix : {1, 3}) {
        EXPECT_TRUE(m_database.SetAppendix(appendix));
        EXPECT_EQ(m_database.GetAppendix(), appendix);
    }
    for (const int missing : {2, 4, 2147483647}) {
        EXPECT_FALSE(m_database.SetAppendix(missing));
        EXPECT_EQ(m_database.GetAppendix(), 3);
    }
}

TEST_F(RecordNavigation, SelectsTheMainRecordBelowOne) {
    Open("[#_1]\n[#1_1]\n");
    for (const int appendix : {0, -3}) {
        ASSERT_TRUE(m_database.SetAppendix(1));
        EXPECT_TRUE(m_database.SetAppendix(appendix));
        EXPECT_EQ(m_database.GetAppendix(), 0);
        EXPECT_EQ(m_database.m_currentAppendix, 0);
    }
}

TEST_F(RecordNavigation, NeedsStoresAndACurrentMeterForAppendices) {
    Open("[#_1]\n[#1_1]\n");
    ASSERT_TRUE(m_database.SetAppendix(1));
    const auto expectNone = [this] {
        EXPECT_EQ(m_database.GetAppendixCount(), 0);
        EXPECT_EQ(m_database.GetAppendix(), 0);
        EXPECT_FALSE(m_database.SetAppendix(1));
        EXPECT_FALSE(m_database.SetAppendix(0));
        EXPECT_EQ(m_database.m_currentAppendix, 1);
    };
    for (CMeterIniFile** store : {&m_database.m_systemIni, &m_database.m_dataFile}) {
        CMeterIniFile* const kept = std::exchange(*store, nullptr);
        expectNone();
        *store = kept;
    }
    m_database.m_currentMeter = 0;
    expectNone();
}

TEST_F(RecordNavigation, NeedsNoSystemIniForMeters) {
    Open("[#_1]\n[#_2]\n");
    m_database.SetIniFile(L"");
    EXPECT_EQ(m_database.GetNumberOfMeters(), 2);
    m_database.SetActualPosition(2);
    EXPECT_EQ(m_database.GetActualPosition(), 2);
}

// ---- raw lines

TEST_F(RecordData, GivesHeaderAndLinesOfTheCurrentRecord) {
    Open("[#_1]\nState=U\n; a note\n\nText= with = blanks \n[#1_1]\nState=H\n[#_2]\n");
    struct {
        int appendix;
        std::vector<std::string> lines;
    } const cases[] = {
        {0, {"[#_1]", "State=U", "; a note", "", "Text= with = blanks "}},
        {1, {"[#1_1]", "State=H"}},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(m_database.SetAppendix(c.appendix));
        GuardedBuffer<> line(40);
        for (std::size_t i = 0; i < c.lines.size(); ++i) {
            EXPECT_TRUE(m_database.GetRecordData(static_cast<int>(i), line.Data(), line.Size()));
            EXPECT_EQ(line.Text(), c.lines[i]);
        }
        EXPECT_FALSE(m_database.GetRecordData(static_cast<int>(c.lines.size()), line.Data(), line.Size()));
        EXPECT_EQ(line.Text(), "");
    }
}

TEST_F(RecordData, GivesTheHeaderBelowLineOne) {
    Open("[#_1]\n[#_2]\n[#_3]\n[#_4]\n[#_5]\n[#_6]\n[#_7]\n[#1_7]\n[#2_7]\n");
    m_database.SetActualPosition(7);
    ASSERT_TRUE(m_database.SetAppendix(2));
    for (const int line : {0, -1, -2147483647}) {
        GuardedBuffer<> header(40);
        EXPECT_TRUE(m_database.GetRecordData(line, header.Data(), header.Size()));
        EXPECT_EQ(header.Text(), "[#2_7]");
    }
}

TEST_F(RecordData, IsCutToTheBuffer) {
    Open("[#_1]\nState=UH\n");
    struct {
        int line;
        int size;
        const char* expected;
    } const cases[] = {{0, 1, ""}, {0, 4, "[#_"}, {0, 5, "[#_1"}, {0, 6, "[#_1]"}, {1, 1, ""}, {1, 4, "Sta"}};
    for (const auto& c : cases) {
        GuardedBuffer<> line(c.size);
        EXPECT_TRUE(m_database.GetRecordData(c.line, line.Data(), c.size));
        EXPECT_EQ(line.Text(), c.expected);
    }
}

TEST_F(RecordData, IsNotWantedWithoutRoom) {
    Open("[#_1]\nState=U\n");
    GuardedBuffer<> line(5);
    EXPECT_TRUE(m_database.GetRecordData(0, line.Data(), 0));
    EXPECT_TRUE(m_database.GetRecordData(1, line.Data(), -1));
    EXPECT_TRUE(line.Untouched());
    EXPECT_TRUE(m_database.GetRecordData(0, nullptr, 5));
    EXPECT_TRUE(m_database.GetRecordData(1, nullptr, 5));
    EXPECT_FALSE(m_database.GetRecordData(2, nullptr, 5));
}

TEST_F(RecordData, NeedsStoresAndACurrentMeter) {
    Open("[#_1]\nState=U\n");
    const auto expectNone = [this] {
        for (const int line : {0, 1}) {
            GuardedBuffer<> text(20);
            EXPECT_FALSE(m_database.GetRecordData(line, text.Data(), text.Size()));
            EXPECT_EQ(text.Text(), "");
        }
    };
    for (CMeterIniFile** store : {&m_database.m_systemIni, &m_database.m_dataFile}) {
        CMeterIniFile* const kept = std::exchange(*store, nullptr);
        expectNone();
        *store = kept;
    }
    m_database.m_currentMeter = 0;
    expectNone();
}

// ---- saving

constexpr const char* kOneMeter = "[General]\nMeters=1\n[#_1]\nState=U\n";
constexpr const char* kHandledMeter = "[General]\nMeters=1\n[#_1]\nState=H\n";

TEST_F(RecordSaving, PutsTheDataFileAloneOnTheMedium) {
    Open(kOneMeter, "", "[State]\nDirty=No\n");
    m_database.SetRecordState("H");
    m_database.m_appFile->WriteString("State", "Dirty", "Yes");
    EXPECT_TRUE(m_database.UpdateDatabaseForeground());
    EXPECT_EQ(m_folder.Read(kDataFile), kHandledMeter);
    EXPECT_EQ(m_folder.Read(kAppFile), "[State]\nDirty=No\n");
}

TEST_F(RecordSaving, TakesWhatIsThereWhenItIsArranged) {
    Open(kOneMeter);
    m_database.SetRecordState("H");
    EXPECT_TRUE(m_database.UpdateDatabase());
    m_database.SetRecordState("N");
    m_database.CloseDataFile();
    EXPECT_EQ(m_folder.Read(kDataFile), kHandledMeter);
}

TEST_F(RecordSaving, IsArrangedAlsoWhenItFailsLater) {
    Open(kOneMeter);
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Rename, 1, FakeSystem::Times::FromThenOn);
    EXPECT_TRUE(m_database.UpdateDatabase());
    m_database.CloseDataFile();
    EXPECT_TRUE(system.FaultHappened());
}

TEST_F(RecordSaving, RaisesTheErrorsOfBothFilesWhenItFails) {
    Open(kOneMeter);
    m_database.SetRecordState("H");
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Rename, 1);
    EXPECT_FALSE(m_database.UpdateDatabaseForeground());
    EXPECT_TRUE(m_database.m_dataFile->m_error);
    EXPECT_TRUE(m_database.m_appFile->m_error);
    EXPECT_EQ(m_folder.Read(kDataFile), kOneMeter);
    EXPECT_TRUE(m_database.UpdateDatabaseForeground());
    EXPECT_EQ(m_folder.Read(kDataFile), kHandledMeter);
    EXPECT_TRUE(m_database.IniFileError());
}

TEST_F(RecordSaving, FailsForAFileThatMayNotBeWritten) {
    Open(kOneMeter);
    m_database.SetRecordState("H");
    const std::filesystem::path file = m_folder.Path() / kDataFile;
    const auto write = std::filesystem::perms::owner_write | std::filesystem::perms::group_write |
                       std::filesystem::perms::others_write;
    std::filesystem::permissions(file, write, std::filesystem::perm_options::remove);
    EXPECT_FALSE(m_database.UpdateDatabaseForeground());
    EXPECT_TRUE(m_database.IniFileError());
    std::filesystem::permissions(file, write, std::filesystem::perm_options::add);
    EXPECT_EQ(m_folder.Read(kDataFile), kOneMeter);
}

TEST_F(RecordSaving, NeedsADataFile) {
    EXPECT_FALSE(m_database.UpdateDatabase());
    EXPECT_FALSE(m_database.UpdateDatabaseForeground());
}

// ---- little memory

constexpr int kLarge = 2147483647;  // makes the longest names of sections

TEST_F(RecordNavigation, LeavesThePositionWithoutMemory) {
    Open("[#_1]\n");
    m_database.m_dataFile->AppendString("[#2147483647_2147483647]");
    m_database.m_currentMeter = kLarge;
    EXPECT_GT(FailEachAllocation([this] {
                  m_database.m_currentAppendix = 0;
                  const bool moved = m_database.SetAppendix(kLarge);
                  EXPECT_EQ(m_database.m_currentAppendix, moved ? kLarge : 0);
              }),
              0);
    EXPECT_EQ(m_database.m_currentAppendix, kLarge);
}

TEST_F(RecordData, IsEmptyWithoutMemory) {
    Open("[#_1]\n");
    m_database.m_currentMeter = kLarge;
    m_database.m_currentAppendix = kLarge;
    char line[40];
    EXPECT_GT(FailEachAllocation([this, &line] {
                  const bool given = m_database.GetRecordData(0, line, sizeof line);
                  EXPECT_STREQ(line, given ? "[#2147483647_2147483647]" : "");
              }),
              0);
    EXPECT_STREQ(line, "[#2147483647_2147483647]");
}

}  // namespace
