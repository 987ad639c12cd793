// Records that come and go: appending from templates, deleting, and taking an edit back.
#include <optional>
#include <random>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

std::string Repeated(int count, char letter) {
    return std::string(static_cast<std::size_t>(count), letter);
}

class AppendMeter : public DatabaseFixture {
protected:
    // The entry that a new record gets under "Key" for a template's entry and the general values of the
    // route.
    std::string Appended(const std::string& entry, const std::string& general = "") {
        m_database.CloseDataFile();
        Open("[General]\nMeters=0\n" + general, "[Append]\nKey=" + entry + "\n");
        EXPECT_EQ(m_database.AppendNewMeterToDataFile("Gas"), 1);
        return Data("#_1", "Key");
    }
};

// ---- appending

TEST_F(AppendMeter, NeedsItsStores) {
    EXPECT_EQ(m_database.AppendNewMeterToDataFile("Gas"), 0);
    WriteSystemIni("[Append]\nState=U\n");
    m_database.SetIniFile(L"system.ini");
    EXPECT_EQ(m_database.AppendNewMeterToDataFile("Gas"), 0);
    ASSERT_TRUE(m_database.OpenDataFile(false));
    m_database.SetIniFile(L"");
    EXPECT_EQ(m_database.AppendNewMeterToDataFile("Gas"), 0);
    EXPECT_EQ(m_database.GetNumberOfMeters(), 0);
}

TEST_F(AppendMeter, ChangesNothingWithoutATemplate) {
    Open("[General]\nMeters=1\n[#_1]\n", "[AppendHeat]\nA=1\n");
    const std::string before = DataLines();
    EXPECT_EQ(m_database.AppendNewMeterToDataFile("Gas"), 0);
    EXPECT_EQ(m_database.AppendNewMeterToDataFile(nullptr), 0);
    EXPECT_EQ(DataLines(), before);
    EXPECT_EQ(m_database.GetActualPosition(), 1);
}

TEST_F(AppendMeter, TakesTheTemplateOfTheTypeBeforeTheCommonOne) {
    Open("", "[AppendGas]\nFrom=gas\n[Append]\nFrom=common\n");
    const struct {
        const char* type;
        const char* from;
    } cases[] = {{"Gas", "gas"}, {"gAS", "gas"},      {"Heat", "common"},
                 {"", "common"}, {nullptr, "common"}, {"]", "common"}};
    int meter = 0;
    for (const auto& c : cases) {
        EXPECT_EQ(m_database.AppendNewMeterToDataFile(c.type), ++meter);
        EXPECT_EQ(Data("#_" + std::to_string(meter), "From"), c.from) << meter;
    }
}

TEST_F(AppendMeter, WritesTheRecordLineByLine) {
    Open("[General]\nMeters=1\n[#_1]\nState=U\n\n",
         "[AppendGas]\nMeterType=A,U,8,Gas,\"\"\n; left out\n\nStreet=,D,,\"Mill Lane, 4\",\"a \"b\", c\"\n"
         "#1=A,U,8,first,\"\"\nMeterNo=A,U,8,,\"\"\nMeterNo=again\n#2=plain\n");
    EXPECT_EQ(m_database.AppendNewMeterToDataFile("Gas"), 2);
    EXPECT_EQ(DataLines(),
              "[General]\nMeters=2\n[#_1]\nState=U\n\n"
              "[#_2]\nState=E\nMeterType=A,U,8,Gas,\"\"\nStreet=,D,,\"Mill Lane, 4\",\"a \"b\", c\"\n"
              "\n[#1_2]\n#1=A,U,8,first,\"\"\nMeterNo=A,U,8,,\"\"\nMeterNo=again\n"
              "\n[#2_2]\n#2=plain\n\n");
}

TEST_F(AppendMeter, MakesTheShortestRecordOfAnEmptyTemplate) {
    Open("[General]\nMeters=0\n", "[AppendGas]\n");
    EXPECT_EQ(m_database.AppendNewMeterToDataFile("Gas"), 1);
    EXPECT_EQ(DataLines(), "[General]\nMeters=1\n[#_1]\nState=E\n\n");
}

TEST_F(AppendMeter, BeginsALineOfItsOwn) {
    Open("[General]\nMeters=0\nNote=last", "[Append]\n");
    EXPECT_EQ(m_database.AppendNewMeterToDataFile(""), 1);
    EXPECT_EQ(DataLines(), "[General]\nMeters=1\nNote=last\n[#_1]\nState=E\n\n");
}

TEST_F(AppendMeter, BelievesTheRecordedNumberOfMeters) {
    Open("", "[Append]\n");
    const struct {
        const char* recorded;
        int meter;
    } cases[] = {{"0", 1},          {"7", 8}, {"", 1}, {"x", 1}, {"2147483646", 2147483647},
                 {"2147483647", 0}, {"-1", 0}};
    for (const auto& c : cases) {
        ASSERT_TRUE(m_database.SetDBGeneralData("Meters", c.recorded));
        EXPECT_EQ(m_database.AppendNewMeterToDataFile(""), c.meter) << c.recorded;
        EXPECT_EQ(Data("General", "Meters"), c.meter == 0 ? c.recorded : std::to_string(c.meter));
    }
    m_database.m_dataFile->DeleteSection("General");
    EXPECT_EQ(m_database.AppendNewMeterToDataFile(""), 1);
    EXPECT_EQ(Data("General", "Meters"), "1");
}

TEST_F(AppendMeter, MakesTheNewMeterCurrentWithItsLastAppendix) {
    Open("[#_1]\n[#1_1]\n", "[AppendGas]\nA=1\n[AppendHeat]\n#3=1\n#2=1\n");
    ASSERT_TRUE(m_database.SetAppendix(1));
    EXPECT_EQ(m_database.AppendNewMeterToDataFile("Gas"), 2);
    EXPECT_EQ(m_database.GetActualPosition(), 2);
    EXPECT_EQ(m_database.GetAppendix(), 0);
    EXPECT_EQ(m_database.AppendNewMeterToDataFile("Heat"), 3);
    EXPECT_EQ(m_database.GetActualPosition(), 3);
    EXPECT_EQ(m_database.GetAppendix(), 2);
}

TEST_F(AppendMeter, OpensTheAppendixWhoseNumberFollowsTheSign) {
    const struct {
        const char* key;
        const char* section;
    } cases[] = {{"#1", "#1_1"},
                 {"#12 pump", "#12_1"},
                 {"# 7", "#7_1"},
                 {"#", "#0_1"},
                 {"#x", "#0_1"},
                 {"#-3", "#-3_1"},
                 {"#99999999999", "#2147483647_1"}};
    for (const auto& c : cases) {
        m_database.CloseDataFile();
        Open("", std::string("[Append]\n") + c.key + "=text\nNext=2\n");
        ASSERT_EQ(m_database.AppendNewMeterToDataFile(""), 1);
        EXPECT_EQ(Data(c.section, c.key), "text");
        EXPECT_EQ(Data(c.section, "Next"), "2");
        EXPECT_EQ(Data("#_1", "Next"), kMissing);
    }
}

TEST_F(AppendMeter, SavesNothing) {
    Open("[General]\nMeters=0\n", "[Append]\nA=1\n");
    ASSERT_EQ(m_database.AppendNewMeterToDataFile(""), 1);
    EXPECT_EQ(m_folder.Read(kDataFile), "[General]\nMeters=0\n");
    ASSERT_TRUE(m_database.UpdateDatabaseForeground());
    EXPECT_EQ(m_folder.Read(kDataFile), "[General]\nMeters=1\n[#_1]\nState=E\nA=1\n\n");
}

TEST_F(AppendMeter, CutsKeysAndTextsOfTheTemplate) {
    Open("", "[Append]\n" + Repeated(300, 'k') + "=" + Repeated(300, 'v') + "\n");
    ASSERT_EQ(m_database.AppendNewMeterToDataFile(""), 1);
    EXPECT_EQ(Data("#_1", Repeated(255, 'k')), Repeated(255, 'v'));
    EXPECT_EQ(Appended("A,U,8,," + Repeated(300, 'v')), "A,U,8,," + Repeated(248, 'v'));
}

TEST_F(AppendMeter, MakesABlankOfALineBreak) {
    Open("", "[Append]\nA=1\r2\nB\rC=A,U,8,\r,\"\"\n");
    ASSERT_EQ(m_database.AppendNewMeterToDataFile(""), 1);
    EXPECT_EQ(Data("#_1", "A"), "1 2");
    EXPECT_EQ(Data("#_1", "B C"), "A,U,8, ,\"\"");
}

// ---- general values

TEST_F(AppendMeter, TakesMarkedValuesFromTheGeneralData) {
    const struct {
        const char* entry;
        const char* general;
        const char* appended;
    } cases[] = {
        {"G,U,8,own,\"text\"", "Key=7", "G,U,8,7,\"text\""},
        {"RGA,U,8,own,\"text\"", "kEY=7", "RGA,U,8,7,\"text\""},
        {"\"G\",U,8,own,\"\"", "Key=7", "G,U,8,7,\"\""},
        {"g,U,8,own,\"\"", "Key=7", "g,U,8,own,\"\""},
        {"A,G,G,own,\"G\"", "Key=7", "A,G,G,own,\"G\""},
        {"G", "Key=7", "G"},
        {"G own", "Key=7", "G own"},
        {"12345678G,U,8,own,\"\"", "Key=7", "12345678G,U,8,own,\"\""},
        {"1234567G9,U,8,own,\"\"", "Key=7", "1234567G,U,8,7,\"\""},
        // what there is not, or nothing
        {"G,U,8,own,\"text\"", "Other=7", "G,U,8,own,\"text\""},
        {"G,U,8,own,\"text\"", "Key=", "G,U,8,,\"text\""},
        {"G,U,8,\"1,5\",\"\"", "", "G,U,8,\"1,5\",\"\""},
        // entries that are not complete
        {"G,", "Key=7", "G,,,7,\"\""},
        {"G,U,8", "Key=7", "G,U,8,7,\"\""},
        {"G,U,8,own", "", "G,U,8,own,\"\""},
        {"G,U,8,own,bare, text", "Key=7", "G,U,8,7,\"bare, text\""},
        // quotes and commas
        {"G,U,\"8,C1;2\",own,\"a, \"b\"\"", "Key=7", "G,U,\"8,C1;2\",7,\"a, \"b\"\""},
        {"G,U,8,,\"\"", "Key=1,5", "G,U,8,\"1,5\",\"\""},
        {"G,U,8,,\"\"", "Key=\"1,5\"", "G,U,8,\"1,5\",\"\""},
        {"G,U,8,,\"\"", "Key=\"15\"", "G,U,8,\"15\",\"\""},
        {"G,U,8,,\"\"", "Key=1\"5", "G,U,8,1\"5,\"\""},
        {"G,U,8,,\"\"", "Key=\"1", "G,U,8,1,\"\""},
        {"G,U,8,,\"\"", "Key=\"1\",\"5\"", "G,U,8,\"1,5\",\"\""},
        {"G,U,8,,\"\"", "Key=1\r5", "G,U,8,1 5,\"\""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Appended(c.entry, c.general), c.appended) << c.entry << " with " << c.general;
}

TEST_F(AppendMeter, GivesMarkedEntriesOfAppendicesTheirGeneralValues) {
    Open("[General]\nTown=Oakham\n#1=first\n", "[Append]\n#1=G,U,8,,\"\"\nTown=G,U,8,,\"\"\n");
    ASSERT_EQ(m_database.AppendNewMeterToDataFile(""), 1);
    EXPECT_EQ(Data("#1_1", "#1"), "G,U,8,first,\"\"");
    EXPECT_EQ(Data("#1_1", "Town"), "G,U,8,Oakham,\"\"");
}

// However long its parts are: at most 255 characters, five sub-fields, the fifth in quotes.
TEST_F(AppendMeter, CutsARebuiltEntryAndKeepsItWhole) {
    const std::string v300 = Repeated(300, 'v');
    const std::string t200 = Repeated(200, 't');
    const struct {
        std::string entry;
        std::string general;
        std::string appended;
    } cases[] = {
        {"G,U,8,,\"" + t200 + "\"", Repeated(100, 'v'),
         "G,U,8," + Repeated(100, 'v') + ",\"" + Repeated(146, 't') + "\""},
        {"G,U,8,,\"" + t200 + "\"", Repeated(46, 'v'), "G,U,8," + Repeated(46, 'v') + ",\"" + t200 + "\""},
        {"G,U,8,,\"" + t200 + "\"", Repeated(47, 'v'),
         "G,U,8," + Repeated(47, 'v') + ",\"" + Repeated(199, 't') + "\""},
        {"G,U,8,,\"text\"", v300, "G,U,8," + Repeated(246, 'v') + ",\"\""},
        {"G,U,8,,\"text\"", "v," + v300, "G,U,8,\"v," + Repeated(242, 'v') + "\",\"\""},
        {"G,U,8,,\"text\"", "\"v," + v300 + "\"", "G,U,8,\"v," + Repeated(242, 'v') + "\",\"\""},
        {"G,U,8," + v300, "", "G,U,8," + Repeated(246, 'v') + ",\"\""},
        {"G,U," + Repeated(300, 'd'), "1", "G,U," + Repeated(246, 'd') + ",1,\"\""},
        {"G,," + Repeated(250, 'd'), v300, "G,," + Repeated(248, 'd') + ",,\"\""},
        {"G,U,\"" + Repeated(240, 'd') + "\",,\"\"", v300,
         "G,U,\"" + Repeated(240, 'd') + "\"," + Repeated(5, 'v') + ",\"\""},
    };
    for (const auto& c : cases) {
        ASSERT_LE(c.appended.size(), 255U);
        EXPECT_EQ(Appended(c.entry, c.general.empty() ? "" : "Key=" + c.general), c.appended);
    }
}

// ---- without memory

TEST_F(AppendMeter, HappensWholeOrNotAtAll) {
    const auto record = [](int meter) {
        const std::string number = std::to_string(meter) + "]\n";
        return "[#_" + number + "State=E\nA=G,U,8,,\"\"\n\n[#1_" + number + "#1=1\nB=1\n\n[#2_" + number +
               "#2=1\n\n[#2_" + number + "#2=2\n\n";
    };
    for (const bool hasGeneral : {true, false})
        for (int n = 1;; ++n) {
            m_database.CloseDataFile();
            Open(hasGeneral ? "[#_1]\n[#1_1]\nNote=1\n[General]\n" : "[Other]\nNote=1\n",
                 "[Append]\nA=G,U,8,,\"\"\n#1=1\nB=1\n#2=1\n#2=2\n");
            if (hasGeneral)
                m_database.SetDBGeneralData("Meters", "007");
            else
                m_database.m_dataFile->DeleteSection("General");
            const std::string before = DataLines();
            const int position = m_database.m_currentMeter;
            bool failed = false;
            int meter = 0;
            {
                const HeapFault fault(n);
                meter = m_database.AppendNewMeterToDataFile("");
                failed = fault.Happened();
            }
            const std::string after = DataLines();
            if (meter == 0) {
                EXPECT_TRUE(after == before || after == before + "[General]\n") << n << after;
                EXPECT_EQ(m_database.m_currentMeter, position) << n;
            } else {
                const std::string whole = hasGeneral
                                              ? "[#_1]\n[#1_1]\nNote=1\n[General]\nMeters=8\n" + record(8)
                                              : "[Other]\nNote=1\n[General]\nMeters=1\n" + record(1);
                EXPECT_EQ(after, whole) << n;
            }
            if (failed)
                continue;
            EXPECT_GT(n, 10);
            EXPECT_NE(meter, 0);
            break;
        }
}

// What was there under the name of one of its records stays when an appending is taken back.
TEST_F(AppendMeter, TakesBackItsOwnRecordsAlone) {
    for (int n = 1;; ++n) {
        m_database.CloseDataFile();
        Open("[#_1]\n[#1_2]\nNote=left over\n", "[Append]\nA=1\n#1=1\n#2=1\n");
        bool failed = false;
        {
            const HeapFault fault(n);
            m_database.AppendNewMeterToDataFile("");
            failed = fault.Happened();
        }
        EXPECT_EQ(Data("#1_2", "Note"), "left over") << n;
        if (!failed)
            break;
    }
}

// ---- the type of a template

class AppendedMeterType : public DatabaseFixture {
protected:
    std::string MeterType(const char* type, int size = 40, int expected = 1) {
        GuardedBuffer<> name(size);
        EXPECT_EQ(m_database.GetMeterTypeFromAppendSection(type, name.Data(), size), expected) << type;
        return name.Text();
    }
};

TEST_F(AppendedMeterType, StandsInTheTemplate) {
    const struct {
        const char* entry;
        const char* type;
    } cases[] = {
        {"MeterType=A,U,8,Gas,\"text\"", "Gas"},
        {"metertype=,,,\"Gas, small\",", "Gas, small"},
        {"MeterType=A,U,8,\"Gas\"", "Gas"},
        {"MeterType=A,U,8,,\"text\"", ""},
        {"MeterType=A,U,8", ""},
        {"MeterType=Gas", ""},
        {"MeterType=", ""},
        {"Other=A,U,8,Gas,\"\"", ""},
    };
    for (const auto& c : cases) {
        m_database.CloseDataFile();
        Open("", std::string("[AppendX]\n") + c.entry + "\n[Append]\nMeterType=,,,common,\n");
        EXPECT_EQ(MeterType("X"), c.type) << c.entry;
        EXPECT_EQ(MeterType("Y"), "common");
        EXPECT_EQ(MeterType(nullptr), "common");
    }
}

TEST_F(AppendedMeterType, IsCutToTheBufferWithoutItsQuotes) {
    Open("", "[Append]\nMeterType=,,,\"Gas, small\",\n");
    EXPECT_EQ(MeterType("", 2), "G");
    EXPECT_EQ(MeterType("", 10), "Gas, smal");
    EXPECT_EQ(MeterType("", 11), "Gas, small");
    EXPECT_EQ(MeterType("", 1, 0), "");
    EXPECT_EQ(m_database.GetMeterTypeFromAppendSection("", nullptr, 40), 0);
    GuardedBuffer<> none(1);
    EXPECT_EQ(m_database.GetMeterTypeFromAppendSection("", none.Data(), 0), 0);
    EXPECT_TRUE(none.Untouched());
}

TEST_F(AppendedMeterType, IsReadUpToAFixedLength) {
    Open("", "[Append]\nMeterType=,,," + Repeated(300, 'v') + ",\n");
    EXPECT_EQ(MeterType("", 400), Repeated(252, 'v'));
}

TEST_F(AppendedMeterType, IsThereOrNotWithoutMemory) {
    Open("", "[AppendA type with a long name]\nMeterType=,,,a rather long type of meter,\n");
    for (int n = 1;; ++n) {
        GuardedBuffer<> name(40);
        bool failed = false;
        int found = 0;
        {
            const HeapFault fault(n);
            found = m_database.GetMeterTypeFromAppendSection("A type with a long name", name.Data(), 40);
            failed = fault.Happened();
        }
        EXPECT_EQ(name.Text(), found == 1 ? "a rather long type of meter" : "") << n;
        EXPECT_TRUE(found == 1 || (failed && found == 0)) << n;
        if (!failed)
            break;
    }
}

TEST_F(AppendedMeterType, NeedsItsStoresAndATemplate) {
    EXPECT_EQ(MeterType("Gas", 40, 0), "");
    Open("", "[AppendGas]\nMeterType=,,,Gas,\n");
    EXPECT_EQ(MeterType("Gas"), "Gas");
    EXPECT_EQ(MeterType("Heat", 40, 0), "");
    m_database.CloseDataFile();
    EXPECT_EQ(MeterType("Gas", 40, 0), "");
    ASSERT_TRUE(m_database.OpenDataFile(false));
    m_database.SetIniFile(L"");
    EXPECT_EQ(MeterType("Gas", 40, 0), "");
}

// ---- deleting

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

// ---- taking an edit back

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

// ---- many changes

// A route as a list: what every record is to hold, and what the copy of it holds that was kept.
class RouteModel : public DatabaseFixture, public testing::WithParamInterface<unsigned> {
protected:
    struct Record {
        std::string lines;
        std::optional<std::string> copy;
    };

    using Meter = std::vector<Record>;  // its main record, then its appendices

    std::string Lines() {
        std::string lines;
        char line[200];
        for (int i = 1; m_database.GetRecordData(i, line, sizeof line); ++i)
            lines += std::string(line) + '\n';
        return lines;
    }

    int Random(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

    void Append() {
        const int appendices = Random(4);
        ASSERT_EQ(m_database.AppendNewMeterToDataFile(std::to_string(appendices).c_str()),
                  static_cast<int>(m_route.size()) + 1);
        ASSERT_EQ(m_database.GetAppendixCount(), appendices);
        Meter meter;
        for (int appendix = 0; appendix <= appendices; ++appendix) {
            ASSERT_TRUE(m_database.SetAppendix(appendix));
            ASSERT_TRUE(m_database.SetMeterItem("Id", std::to_string(++m_made).c_str()));
            meter.push_back({Lines(), std::nullopt});
        }
        m_route.push_back(meter);
    }

    void Delete() {
        const int meter = Random(static_cast<int>(m_route.size()));
        m_database.SetActualPosition(meter + 1);
        m_database.SetAppendix(Random(4));
        ASSERT_TRUE(m_database.DeleteActualMeter());
        m_route.erase(m_route.begin() + meter);
    }

    // Makes any record current.
    Record& Select() {
        const int position = Random(static_cast<int>(m_route.size()));
        Meter& meter = m_route[static_cast<std::size_t>(position)];
        const int appendix = Random(static_cast<int>(meter.size()));
        m_database.SetActualPosition(position + 1);
        EXPECT_TRUE(m_database.SetAppendix(appendix));
        return meter[static_cast<std::size_t>(appendix)];
    }

    void Backup() {
        Record& record = Select();
        ASSERT_TRUE(m_database.BackupRecord());
        record.copy = record.lines;
    }

    void Edit() {
        Record& record = Select();
        ASSERT_TRUE(m_database.SetMeterItem("Note", std::to_string(Random(1000)).c_str()));
        ASSERT_TRUE(m_database.DeleteMeterValue(Random(2) == 0 ? "A" : "#1"));
        ASSERT_TRUE(m_database.SetMeterValue("V", nullptr, "D", nullptr, "1,5", nullptr));
        record.lines = Lines();
    }

    void Restore() {
        Record& record = Select();
        ASSERT_TRUE(m_database.RestoreRecord());
        record.lines = record.copy.value_or(record.lines);
    }

    void ExpectRoute() {
        ASSERT_EQ(m_database.GetNumberOfMeters(), static_cast<int>(m_route.size()));
        for (std::size_t i = 0; i < m_route.size(); ++i) {
            m_database.SetActualPosition(static_cast<int>(i) + 1);
            ASSERT_EQ(m_database.GetAppendixCount() + 1, static_cast<int>(m_route[i].size()));
            for (std::size_t appendix = 0; appendix < m_route[i].size(); ++appendix) {
                ASSERT_TRUE(m_database.SetAppendix(static_cast<int>(appendix)));
                ASSERT_EQ(Lines(), m_route[i][appendix].lines) << "meter " << i + 1 << '/' << appendix;
            }
        }
    }

    // Copies live as long as the file is open.
    void Reopen() {
        ASSERT_TRUE(m_database.UpdateDatabaseForeground());
        ASSERT_TRUE(m_database.OpenDataFile(false));
        for (Meter& meter : m_route)
            for (Record& record : meter)
                record.copy.reset();
    }

    void DoSomething() {
        const int what = Random(12);
        if (m_route.size() < 2 || what < 3)
            return Append();
        if (what < 5)
            return Delete();
        if (what < 7)
            return Backup();
        return what < 9 ? Edit() : Restore();
    }

    std::mt19937 m_random{GetParam()};
    std::vector<Meter> m_route;
    int m_made = 0;
};

TEST_P(RouteModel, KeepsEveryRecordWithItsOwnAppendicesAndItsOwnCopy) {
    Open("", "[Append0]\nNote=1\n[Append1]\n#1=a\n[Append2]\nA=1\n#1=a\n#2=b\n[Append3]\n#1=a\n#2=b\n#3=c\n");
    for (int step = 0; step < 100; ++step) {
        DoSomething();
        if (Random(30) == 0)
            Reopen();
        ExpectRoute();
        if (HasFatalFailure())
            FAIL() << "seed " << GetParam() << ", step " << step;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RouteModel, testing::Range(1U, 9U));

}  // namespace
