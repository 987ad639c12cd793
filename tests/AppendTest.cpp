// New meters: appended from templates, with general values of the route.
#include "tests/support/DatabaseFixture.h"
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

// A line that begins like a header would become a meter of its own when the file is opened next.
TEST_F(AppendMeter, LeavesOutWhatLooksLikeAHeader) {
    Open("", "[Append]\n[#_=a\n[#1_1=b\nKey=c\n [x=d\n\r[y]=e\n");
    ASSERT_EQ(m_database.AppendNewMeterToDataFile(""), 1);
    EXPECT_EQ(DataLines(), "[General]\nMeters=1\n[#_1]\nState=E\nKey=c\n\n");
    EXPECT_EQ(m_database.CheckConsistency(), 1);
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

}  // namespace
