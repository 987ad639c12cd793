// The passes over a record that calculate its automatic fields and clear its values.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeParser.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/HeapFault.h"
#include "tests/support/SubFieldTexts.h"

namespace {

class Passes : public DatabaseFixture {
protected:
    void OpenRecord(const std::string& entries, const std::string& state = "U") {
        Open("[General]\nMeters=1\n[#_1]\nState=" + state + "\n" + entries);
    }

    // The entries of the record behind its state.
    std::string Entries() const {
        const std::string lines = DataLines();
        return lines.substr(lines.find('\n', lines.find("State=")) + 1);
    }

    FakeParser m_parser;  // which no pass asks for anything
};

class AutoFields : public Passes {
protected:
    void SetUp() override { m_system.SetTime({2010, 3, 1, 15, 8, 4, 9, 0}); }
    void TearDown() override { EXPECT_TRUE(m_parser.m_calls.empty()); }

    void Run() { m_database.StartAutoFields(&m_parser); }

    // What the automatic field "MeterID" becomes in a record whose meter has the identifier 4711.
    std::string Identified(const std::string& entry, const std::string& state = "U",
                           const std::string& status = "D") {
        m_database.SetIniFile(L"");
        OpenRecord("MeterID=" + entry + "\n0.0.0=R," + status + ",8,4711,\"\"\n", state);
        Run();
        return Data("#_1", "MeterID");
    }

    FakeSystem m_system;
};

class ClearFields : public Passes {
protected:
    std::string Cleared(const std::string& entry, int mode) {
        if (m_database.m_dataFile == nullptr)
            OpenRecord("");
        EXPECT_TRUE(m_database.SetMeterItem("X", entry.c_str()));
        m_database.ClearFields(mode);
        return Data("#_1", "X");
    }
};

}  // namespace

// ---- automatic fields

TEST_F(AutoFields, AreCalculatedAndGetStatusD) {
    OpenRecord(
        "MeterID=AD,U,08,,\"\"\n"
        "0.0.0=R,DR,16,4711,\"\"\n"
        "1.8.0=R,CR,8,12.3,\"\"\n"
        "1.8.0-last=,D,8,99990.0,\"\"\n"
        "1.8.0-DIFF=A,U,\"5,1\",,\"note, \"old\"\"\n"
        "0.1.0-calc=A,U,8,,\"\"\n"
        "0.1.0-last=,D,8,98,\"\"\n"
        "0.1.0-DTlast=,D,8,20091231,\"\"\n");
    Run();
    EXPECT_EQ(Entries(),
              "MeterID=AD,D,08,00004711,\"\"\n"
              "0.0.0=R,DR,16,4711,\"\"\n"
              "1.8.0=R,CR,8,12.3,\"\"\n"
              "1.8.0-last=,D,8,99990.0,\"\"\n"
              "1.8.0-DIFF=A,D,\"5,1\",22.3,\"note, \"old\"\"\n"
              "0.1.0-calc=A,D,8,01,\"\"\n"
              "0.1.0-last=,D,8,98,\"\"\n"
              "0.1.0-DTlast=,D,8,20091231,\"\"\n");
}

TEST_F(AutoFields, AreRewrittenOnlyWhenTheEntryDiffers) {
    const std::pair<const char*, const char*> rows[] = {
        {"A,D,8,4711,\"\"", "A,D,8,4711,\"\""},
        {"A,D,\"8,C0;9\",4711,\"t\"", "A,D,\"8,C0;9\",4711,\"t\""},
        {"\"A\",D,\"8\",4711,\"t\"", "\"A\",D,\"8\",4711,\"t\""},
        {"A,D,8,4711,\"say \"hi\", no\"", "A,D,8,4711,\"say \"hi\", no\""},
        {"A,U,8,4711,\"\"", "A,D,8,4711,\"\""},
        {"A,DR,8,4711,\"\"", "A,D,8,4711,\"\""},
        {"A,D,8,4712,\"\"", "A,D,8,4711,\"\""},
        {"A,D,2,,\"\"", "A,D,2,11,\"\""},
        {"A,D,8,4711,text", "A,D,8,4711,\"text\""},
        {"A,D,8,4711,a, \"b\"", "A,D,8,4711,\"a, \"b\"\""},
        {"A,D,8,4711", "A,D,8,4711,\"\""},
        {"A,", "A,D,,4711,\"\""},
        {"RA?,\"U\",\"08,U---\",\"1,5\",\"t\"", "RA?,D,\"08,U---\",00004711,\"t\""},
        {"a,U,8,,\"\"", "a,U,8,,\"\""},
        {"R,U,8,,\"\"", "R,U,8,,\"\""},
        {"A", "A"},
        {"Anna", "Anna"},
        {",A,8,,\"\"", ",A,8,,\"\""},
        {"R,A,A,A,\"A\"", "R,A,A,A,\"A\""},
    };
    for (const auto& [entry, stored] : rows)
        EXPECT_EQ(Identified(entry), stored) << entry;
}

TEST_F(AutoFields, OfANewRecordAreEmptiedUntilTheMeterIsRead) {
    EXPECT_EQ(Identified("A,U,08,old,\"\"", "E", "U"), "A,D,08,,\"\"");
    EXPECT_EQ(Identified("A,D,08,old,\"\"", "HN", "CR"), "A,D,08,,\"\"");
    EXPECT_EQ(Identified("A,D,08,old,\"\"", "U", "U"), "A,D,08,old,\"\"");
    EXPECT_EQ(Identified("A,D,08,old,\"\"", "E", "D"), "A,D,08,00004711,\"\"");
}

TEST_F(AutoFields, ThatCannotBeCalculatedDoNotEndThePass) {
    OpenRecord("Note=Uhr\nOther=A,U,8,old,\"\"\nMeterID=A,U,8,,\"\"\n0.0.0=R,D,8,11,\"\"\n");
    Run();
    EXPECT_EQ(Data("#_1", "Other"), "A,U,8,old,\"\"");
    EXPECT_EQ(Data("#_1", "MeterID"), "A,D,8,11,\"\"");
}

TEST_F(AutoFields, ThatCannotBeCalculatedStayAsTheyAre) {
    const std::string entries =
        "MeterID=A,U,8,old,text\n1.8.0-DIFF=A,U,8,old,text\n0.1.0-calc=A,U,8,old,text\nOther=A,U,8,old,text\n"
        "1.8.0=R,U,8,5,\"\"\n1.8.0-last=,D,8,3,\"\"\n";
    OpenRecord(entries);
    Run();
    EXPECT_EQ(Entries(), entries);
}

TEST_F(AutoFields, KeepACalculatedTextWithACommaInQuotes) {
    OpenRecord("MeterID=A,U,8,,\"\"\n0.0.0=R,D,8,\"47,11\",\"\"\n");
    Run();
    EXPECT_EQ(Data("#_1", "MeterID"), "A,D,8,\"47,11\",\"\"");
    const std::string before = DataLines();
    Run();
    EXPECT_EQ(DataLines(), before);
}

TEST_F(AutoFields, MayBuildOnEachOtherInTheirOrder) {
    OpenRecord(
        "0.1.0-calc=A,U,8,,\"\"\n0.1.0-last=,D,8,5,\"\"\n0.1.0-DTlast=,D,8,201001,\"\"\n"
        "0.1.0-calc-last=,D,8,3,\"\"\n0.1.0=R,D,8,9,\"\"\n0.1.0-DIFF=A,U,8,,\"\"\n");
    Run();
    EXPECT_EQ(Data("#_1", "0.1.0-calc"), "A,D,8,07,\"\"");
    EXPECT_EQ(Data("#_1", "0.1.0-DIFF"), "A,D,8,4,\"\"");
}

TEST_F(AutoFields, AreThoseOfTheCurrentRecord) {
    Open(
        "[#_1]\nState=U\nMeterID=A,U,8,,\"\"\n0.0.0=R,D,8,11,\"\"\n"
        "[#1_1]\nMeterID=A,U,8,,\"\"\n0.0.0=R,U,8,22,\"\"\n");
    ASSERT_TRUE(m_database.SetAppendix(1));
    ASSERT_TRUE(m_database.SetRecordState("E"));
    Run();
    EXPECT_EQ(Data("#_1", "MeterID"), "A,U,8,,\"\"");
    EXPECT_EQ(Data("#1_1", "MeterID"), "A,D,8,,\"\"") << "the state is that of the main record";
}

TEST_F(AutoFields, NeedAMeterInterfaceTheStoresAndACurrentMeter) {
    OpenRecord("MeterID=A,U,8,,\"\"\n0.0.0=R,D,8,11,\"\"\n");
    const std::string before = DataLines();
    m_database.StartAutoFields(nullptr);
    WithoutPreconditions([&](const char*) { Run(); });
    m_database.m_currentMeter = 2;
    Run();
    m_database.m_currentMeter = -1;
    Run();
    EXPECT_EQ(DataLines(), before);
    m_database.m_currentMeter = 1;
    m_database.m_dataFile->WriteString("General", "Meters", "0");
    Run();
    EXPECT_EQ(Data("#_1", "MeterID"), "A,U,8,,\"\"") << "a meter behind the last one";
    m_database.m_dataFile->WriteString("General", "Meters", "1");
    Run();
    EXPECT_EQ(Data("#_1", "MeterID"), "A,D,8,11,\"\"");
}

TEST_F(AutoFields, StayInMemoryWithoutAStamp) {
    OpenRecord("MeterID=A,U,8,,\"\"\n0.0.0=R,D,8,11,\"\"\n");
    const std::string file = m_folder.Read(kDataFile);
    Run();
    m_database.ClearFields(0);
    EXPECT_EQ(m_folder.Read(kDataFile), file);
    EXPECT_EQ(Data("#_1", "LastChanges"), kMissing);
    EXPECT_EQ(App("State", "Dirty"), "No");
}

TEST_F(AutoFields, OfAnEntryThatIsNotReachedByItsNameAreLeftAlone) {
    const std::string entries = "0.0.0=R,D,8,11,\"\"\nMeterID=A,U,8,,\"\"\nMeterID=A,U,8,second,\"\"\n";
    OpenRecord(entries);
    Run();
    EXPECT_EQ(Entries(), "0.0.0=R,D,8,11,\"\"\nMeterID=A,D,8,11,\"\"\nMeterID=A,U,8,second,\"\"\n");
}

// ---- clearing

TEST_F(ClearFields, FollowTheLettersOfTheirAttributes) {
    const struct {
        const char* entry;
        const char* mode0;
        const char* mode1;
    } rows[] = {
        {"C,D,8,5,\"t\"", "C,D,8,,\"t\"", nullptr},
        {"?,D,8,5,\"t\"", "?,D,8,?,\"t\"", nullptr},
        {"U,D,8,5,\"t\"", "U,U,8,5,\"t\"", nullptr},
        {"C?,D,8,5,\"t\"", "C?,D,8,,\"t\"", nullptr},
        {"?C,D,8,5,\"t\"", "?C,D,8,,\"t\"", nullptr},
        {"CU,D,8,5,\"t\"", "CU,U,8,,\"t\"", nullptr},
        {"?U,D,8,5,\"t\"", "?U,U,8,?,\"t\"", nullptr},
        {"C?U,D,8,5,\"t\"", "C?U,U,8,,\"t\"", nullptr},
        {"D,DR,8,5,\"t\"", nullptr, "D,U,8,,\"t\""},
        {"RDV,DR,8,5,\"t\"", nullptr, "RDV,U,8,,\"t\""},
        {"CD,DR,8,5,\"t\"", "CD,DR,8,,\"t\"", "CD,U,8,,\"t\""},
        {"R,DR,8,5,\"t\"", nullptr, nullptr},
        {"A,D,C,U,\"?\"", nullptr, nullptr},
        {"cud,D,8,5,\"t\"", nullptr, nullptr},
        {",D,8,5,\"t\"", nullptr, nullptr},
        {"CUD?", nullptr, nullptr},
        {"Call first", nullptr, nullptr},
        {"\"CUD\",\"DR\",\"8,C0;9\",\"1,5\",\"a, \"b\"\"", "\"CUD\",U,\"8,C0;9\",,\"a, \"b\"\"",
         "\"CUD\",U,\"8,C0;9\",,\"a, \"b\"\""},
        {"?,\"D,R\",\"8,C0;9\",\"1,5\",\"a\"", "?,\"D,R\",\"8,C0;9\",?,\"a\"", nullptr},
        {"U,D,8,\"1,5\",\"a\"", "U,U,8,\"1,5\",\"a\"", nullptr},
        {"CUD,", "CUD,U,,,\"\"", "CUD,U,,,\"\""},
        {"U,U,8,5,free, text", "U,U,8,5,\"free, text\"", nullptr},
        {"D,U,8,,free", nullptr, "D,U,8,,\"free\""},
        {"C,D,8,5", "C,D,8,,\"\"", nullptr},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Cleared(row.entry, 0), row.mode0 == nullptr ? row.entry : row.mode0) << row.entry;
        EXPECT_EQ(Cleared(row.entry, 1), row.mode1 == nullptr ? row.entry : row.mode1) << row.entry;
        for (const int mode : {2, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
            EXPECT_EQ(Cleared(row.entry, mode), row.entry) << row.entry << ' ' << mode;
    }
}

TEST_F(ClearFields, AreClearedOnceForAll) {
    OpenRecord(
        "A=C,D,8,5,\"\"\nB=D,DR,8,5,\"\"\nNote=CUD?\n; C,U\nC=U,D,\"8,C0;9\",\"1,5\",\"say \"hi\", no\"\n");
    const std::string once =
        "A=C,D,8,,\"\"\nB=D,DR,8,5,\"\"\nNote=CUD?\n; C,U\nC=U,U,\"8,C0;9\",\"1,5\",\"say \"hi\", no\"\n";
    for (int i = 0; i < 3; ++i) {
        m_database.ClearFields(0);
        EXPECT_EQ(Entries(), once);
    }
}

TEST_F(ClearFields, KeepLongSubFieldsInTheirQuotes) {
    const std::string definition = InQuotes(WithComma(255));
    const std::string text = InQuotes(Text(2000));
    EXPECT_EQ(Cleared("C,D," + definition + ",5," + text, 0), "C,D," + definition + ",," + text);
}

TEST_F(ClearFields, AreThoseOfTheCurrentRecord) {
    Open("[#_1]\nX=CD,D,8,1,\"\"\n[#1_1]\nX=CD,D,8,2,\"\"\n[#_2]\nX=CD,D,8,3,\"\"\n");
    ASSERT_TRUE(m_database.SetAppendix(1));
    m_database.ClearFields(1);
    EXPECT_EQ(Data("#_1", "X"), "CD,D,8,1,\"\"");
    EXPECT_EQ(Data("#1_1", "X"), "CD,U,8,,\"\"");
    m_database.SetActualPosition(2);
    m_database.ClearFields(0);
    EXPECT_EQ(Data("#_2", "X"), "CD,D,8,,\"\"");
    EXPECT_EQ(Data("#_1", "X"), "CD,D,8,1,\"\"");
}

TEST_F(ClearFields, NeedADataFileAndACurrentMeter) {
    OpenRecord("X=CD,D,8,1,\"\"\n");
    const std::string before = DataLines();
    for (const int meter : {0, -1, 2}) {
        m_database.m_currentMeter = meter;
        m_database.ClearFields(0);
        m_database.ClearFields(1);
    }
    m_database.m_currentMeter = 1;
    CMeterIniFile* const dataFile = std::exchange(m_database.m_dataFile, nullptr);
    m_database.ClearFields(0);
    m_database.m_dataFile = dataFile;
    EXPECT_EQ(DataLines(), before);
    m_database.m_dataFile->WriteString("General", "Meters", "0");
    m_database.ClearFields(0);
    EXPECT_EQ(Data("#_1", "X"), "CD,D,8,1,\"\"") << "a meter behind the last one";
}

// ---- without memory

TEST_F(AutoFields, AndClearingLeaveWholeEntriesWithoutMemory) {
    const std::string entry =
        "MeterID=AD,U,\"08, a long definition of it\",old and rather long,\"a long text\"";
    const std::string calculated = "MeterID=AD,D,\"08, a long definition of it\",00004711,\"a long text\"";
    const std::string cleared = "MeterID=AD,U,\"08, a long definition of it\",,\"a long text\"";
    OpenRecord("0.0.0=R,D,8,4711,\"\"\n" + entry + "\n");
    const auto run = [&](const auto& pass, const std::string& from, const std::string& to) {
        bool failed = true;
        for (int n = 1; failed; ++n) {
            ASSERT_TRUE(m_database.SetMeterItem("MeterID", from.substr(8).c_str()));
            {
                const HeapFault fault(n);
                pass();
                failed = fault.Happened();
            }
            const std::string stored = "MeterID=" + Data("#_1", "MeterID");
            EXPECT_TRUE(stored == to || (failed && stored == from)) << n << ' ' << stored;
        }
    };
    run([&] { Run(); }, entry, calculated);
    run([&] { m_database.ClearFields(1); }, calculated, cleared);
}
