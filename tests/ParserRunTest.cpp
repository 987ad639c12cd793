// The run of a meter's parser over the current record: what is asked, what is stored with which status, and
// which alarms hold.
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeParser.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/HeapFault.h"
#include "tests/support/SubFieldTexts.h"

namespace {

using Calls = std::vector<std::string>;

class ParserRun : public DatabaseFixture {
protected:
    // A meter whose main record holds `entries`; lines of `systemIni` before its first header belong to
    // "System".
    void OpenRecord(const std::string& entries, const std::string& systemIni = {}) {
        Open("[General]\nMeters=1\n[#_1]\nState=U\n" + entries, systemIni);
    }

    // Replaces the entry X, runs the parser with an answer for it, and gives what X then is.
    std::string Stored(const std::string& entry, const std::string& answer) {
        EXPECT_TRUE(m_database.SetMeterItem("X", entry.c_str()));
        m_parser.m_answer["X"] = answer;
        m_database.StartParser(&m_parser);
        return Data("#_1", "X");
    }

    int Run() { return m_database.StartParser(&m_parser); }

    FakeParser m_parser;
};

}  // namespace

// ---- the run

TEST_F(ParserRun, AsksForEveryValueThatIsReadFromTheMeter) {
    OpenRecord(
        "1.8.0=R,U,8,,\"\"\n2.8.0=AR,DR,8,1,\"\"\nUserID=A,D,,me,\"\"\n0.0.0=r,U,8,,\"\"\nQuoted=\"VR\",\"W,"
        "C\",8,,\"\"\n");
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(m_parser.m_calls, (Calls{"OpenParser(0)", "1.8.0:U", "2.8.0:DR", "Quoted:W,C", "CloseParser"}));
}

TEST_F(ParserRun, StoresWhatTheAnswerHolds) {
    OpenRecord("A=R,U,8,,\"\"\nB=R,U,\"8,C0;9\",1,\"a \"b\", c\"\nC=R,U,8,7,\"t\"\nD=A,U,8,7,\"t\"\n");
    m_parser.m_answer = {{"A", "12"}, {"B", "3,5"}, {"D", "9"}};
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(
        DataLines(),
        "[General]\nMeters=1\n[#_1]\nState=U\nA=R,DR,8,12,\"\"\nB=R,DR,\"8,C0;9\",\"3,5\",\"a \"b\", c\"\n"
        "C=R,U,8,7,\"t\"\nD=A,U,8,7,\"t\"\n");
}

TEST_F(ParserRun, WorksOnTheCurrentRecordOnly) {
    Open("[#_1]\nX=R,U,8,,\"\"\n[#1_1]\nX=R,U,8,,\"\"\n[#_2]\nX=R,U,8,,\"\"\n");
    m_parser.m_answer["X"] = "5";
    ASSERT_TRUE(m_database.SetAppendix(1));
    Run();
    EXPECT_EQ(Data("#_1", "X"), "R,U,8,,\"\"");
    EXPECT_EQ(Data("#1_1", "X"), "R,DR,8,5,\"\"");
    EXPECT_EQ(Data("#_2", "X"), "R,U,8,,\"\"");
    m_database.SetActualPosition(2);
    Run();
    EXPECT_EQ(Data("#_1", "X"), "R,U,8,,\"\"");
    EXPECT_EQ(Data("#_2", "X"), "R,DR,8,5,\"\"");
}

TEST_F(ParserRun, LeavesPlainItemsAlone) {
    OpenRecord("Note=RBX\nName=\"R\"\n");
    m_parser.m_answer = {{"Note", "1"}, {"Name", "2"}, {"State", "3"}};
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(m_parser.m_calls, (Calls{"OpenParser(0)", "CloseParser"}));
    EXPECT_EQ(Data("#_1", "Note"), "RBX");
}

TEST_F(ParserRun, OpensAndClosesTheParserOfARecordWithoutEntries) {
    Open("[#_1]\n");
    EXPECT_EQ(Run(), 0);
    m_database.m_currentAppendix = 3;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(m_parser.m_calls, (Calls{"OpenParser(0)", "CloseParser", "OpenParser(0)", "CloseParser"}));
}

TEST_F(ParserRun, DoesNotOpenTheParserWithoutACurrentMeter) {
    EXPECT_EQ(Run(), 0) << "no data file";
    OpenRecord("X=R,U,BU,,\"\"\n");
    EXPECT_EQ(m_database.StartParser(nullptr), 0);
    m_database.m_currentMeter = 0;
    EXPECT_EQ(Run(), 0);
    m_database.m_currentMeter = 2;
    EXPECT_EQ(Run(), 0) << "behind the last meter";
    m_database.m_currentMeter = -1;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(m_parser.m_calls, Calls());
    m_database.m_currentMeter = 1;
    EXPECT_EQ(Run(), 1);
    m_database.CloseDataFile();
    EXPECT_EQ(Run(), 0);
}

TEST_F(ParserRun, ChangesMemoryOnly) {
    OpenRecord("X=R,U,8,,\"\"\n");
    const std::string file = m_folder.Read(kDataFile);
    EXPECT_EQ(Stored("R,U,8,,\"\"", "5"), "R,DR,8,5,\"\"");
    EXPECT_EQ(m_folder.Read(kDataFile), file);
    EXPECT_EQ(Data("#_1", "UserID"), kMissing) << "reading is no change by a user";
}

TEST_F(ParserRun, WritesNoEntryWithWhatItSawOfAnother) {
    OpenRecord("X=R,U,8,,\"first\"\nx=RV,U,9,,\"second\"\n" + Text(255, 'k') + "=R,U,8,,\"\"\n" +
               Text(256, 'l') + "=R,U,8,,\"\"\n");
    m_parser.m_answer = {{"X", "1"}, {"x", "2"}, {Text(255, 'k'), "3"}, {Text(255, 'l'), "4"}};
    Run();
    EXPECT_EQ(DataLines(),
              "[General]\nMeters=1\n[#_1]\nState=U\nX=R,DR,8,1,\"first\"\nx=RV,U,9,,\"second\"\n" +
                  Text(255, 'k') + "=R,DR,8,3,\"\"\n" + Text(256, 'l') + "=R,U,8,,\"\"\n");
}

TEST_F(ParserRun, VisitsEveryValueOnceWhileItWrites) {
    std::string entries;
    Calls calls = {"OpenParser(0)"};
    for (int i = 0; i < 200; ++i) {
        const std::string name = "V" + std::to_string(i);
        entries += name + "=R,U,8,,\"\"\n";
        calls.push_back(name + ":U");
        m_parser.m_answer[name] = Text(static_cast<std::size_t>(i));
    }
    calls.push_back("CloseParser");
    OpenRecord(entries);
    Run();
    EXPECT_EQ(m_parser.m_calls, calls);
    EXPECT_EQ(Data("#_1", "V199"), "R,DR,8," + Text(199) + ",\"\"");
}

// ---- months since the last history reading

TEST_F(ParserRun, TellsTheMonthsSinceTheHistoryReading) {
    FakeSystem system;
    system.SetTime({2010, 3, 5, 5, 8, 4, 9, 0});
    const std::vector<std::pair<std::string, int>> rows = {
        {"A,DR,8,200801,\"\"", 26},
        {"A,D,8,20080115120000,\"\"", 26},
        {"A,C,8,200801,\"\"", 26},
        {"A,W,8,200801,\"\"", 26},
        {"A,U,8,200801,\"\"", 0},
        {"A,R,8,200801,\"\"", 0},
        {"A,,8,200801,\"\"", 0},
        {"A,D,8,201003,\"\"", 0},
        {"A,D,8,201002,\"\"", 1},
        {"A,D,8,201004,\"\"", 0},
        {"A,D,8,204001,\"\"", 0},
        {"A,D,8,199905,\"\"", 30},
        {"A,D,8,200112,\"\"", 99},
        {"A,D,8,200111,\"\"", 0},
        {"A,D,8,20080,\"\"", 0},
        {"A,D,8,,\"\"", 0},
        {"A,\"D,R\",8,\"200801\",\"\"", 26},
        {"A,D,8,abcdef,\"\"", 23},
        {"A,D,8,2008xy,\"\"", 27},
        {"A,D,8,\"2008\",\"\"", 0},
        {"200801", 0},
    };
    OpenRecord("");
    for (const auto& [history, months] : rows) {
        ASSERT_TRUE(m_database.SetMeterItem("History1", history.c_str()));
        m_parser.m_calls.clear();
        Run();
        EXPECT_EQ(m_parser.m_calls[0], "OpenParser(" + std::to_string(months) + ")") << history;
    }
}

TEST_F(ParserRun, TakesTheHistoryReadingFromTheCurrentRecord) {
    FakeSystem system;
    system.SetTime({2010, 3, 5, 5, 8, 4, 9, 0});
    Open(
        "[#_1]\nHistory1=A,D,8,200801,\"\"\n[#1_1]\nHistory1=A,D,8,200901,\"\"\n[#2_1]\nX=A,D,8,200901,"
        "\"\"\n");
    Run();
    ASSERT_TRUE(m_database.SetAppendix(1));
    Run();
    ASSERT_TRUE(m_database.SetAppendix(2));
    Run();
    EXPECT_EQ(m_parser.m_calls, (Calls{"OpenParser(26)", "CloseParser", "OpenParser(14)", "CloseParser",
                                       "OpenParser(0)", "CloseParser"}));
}

// ---- status

TEST_F(ParserRun, GivesTheStatusThatTheCheckDeserves) {
    struct Row {
        const char *checkAll, *attributes, *master, *definition, *status;
    };
    const Row rows[] = {
        {"NO", "R", "Y", "X5", "DR"},   {"NO", "R", "Y", "X6", "DR"},    {"NO", "RV", "Y", "X5", "DR"},
        {"NO", "RV", "Y", "X6", "CR"},  {"NO", "Rv", "Y", "X6", "DR"},   {"YES", "R", "Y", "X5", "DR"},
        {"YES", "R", "Y", "X6", "CR"},  {"YES", "R", "Y", "C6;9", "CR"}, {"YES", "R", "Y", "C1;4", "CR"},
        {"YES", "RV", "Y", "X6", "CR"}, {"NO", "R", "X", "X5", "DR"},    {"NO", "R", "X", "X6", "W"},
        {"NO", "R", "x", "X6", "W"},    {"YES", "RV", "X", "X6", "W"},   {"YES", "R", "", "X6", "CR"},
        {"NO", "R", "X ", "X6", "DR"},  {"YES", "R", "Y", "", "DR"},
    };
    OpenRecord("");
    for (const Row& row : rows) {
        CMeterIniFile* const systemIni = m_database.GetPtrToIniFile();
        systemIni->WriteString("System", "CheckAutoReadRegs", row.checkAll);
        systemIni->WriteString("List", "MasterValue", row.master);
        const std::string attributes = row.attributes;
        EXPECT_EQ(Stored(attributes + ",U," + row.definition + ",,\"t\"", "5"),
                  attributes + ',' + row.status + ',' + row.definition + ",5,\"t\"")
            << row.checkAll << ' ' << row.master;
    }
}

TEST_F(ParserRun, ChecksEveryValueOnlyWhenTheSwitchSaysYes) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"YES", "CR"}, {"yes", "CR"},  {"Yes", "CR"}, {"NO", "DR"},
        {"", "DR"},    {"YES ", "DR"}, {"1", "DR"},   {"YES" + Text(30), "DR"},
    };
    OpenRecord("");
    EXPECT_EQ(Stored("R,U,X6,,\"\"", "5"), "R,DR,X6,5,\"\"") << "no switch";
    for (const auto& [value, status] : rows) {
        m_database.GetPtrToIniFile()->WriteString("System", "CheckAutoReadRegs", value.c_str());
        EXPECT_EQ(Stored("R,U,X6,,\"\"", "5"), "R," + status + ",X6,5,\"\"") << value;
    }
}

TEST_F(ParserRun, KeepsTheNameOfTheMasterValue) {
    OpenRecord("", "[List]\nMasterValue=1.8.0\n");
    m_database.m_currentMeter = 0;
    Run();
    EXPECT_STREQ(m_database.m_masterValue, "1.8.0") << "also when there is no record to read";
    m_database.m_currentMeter = 1;
    m_database.GetPtrToIniFile()->WriteString("List", "MasterValue", Text(300).c_str());
    Run();
    EXPECT_EQ(m_database.m_masterValue, Text(254));
    m_database.GetPtrToIniFile()->DeleteKey("List", "MasterValue");
    Run();
    EXPECT_STREQ(m_database.m_masterValue, "");
}

TEST_F(ParserRun, FindsAMasterValueWithALongName) {
    const std::string longest = Text(254, 'k');
    const std::string tooLong = Text(255, 'k');
    OpenRecord(longest + "=R,U,X6,,\"\"\n" + tooLong + "=R,U,X6,,\"\"\n",
               "[List]\nMasterValue=" + tooLong + "\n");
    m_parser.m_answer = {{longest, "5"}, {tooLong, "5"}};
    Run();
    EXPECT_EQ(Data("#_1", longest), "R,W,X6,5,\"\"");
    EXPECT_EQ(Data("#_1", tooLong), "R,DR,X6,5,\"\"");
}

TEST_F(ParserRun, ChecksAgainstWhatWasStoredBefore) {
    OpenRecord("A=R,U,8,1,\"\"\nB=RV,U,VA,,\"\"\nC=RV,U,\"8,VD\",,\"\"\nD=R,U,8,2,\"\"\n");
    m_parser.m_answer = {{"A", "7"}, {"B", "7"}, {"C", "7"}, {"D", "7"}};
    Run();
    EXPECT_EQ(Data("#_1", "B"), "RV,DR,VA,7,\"\"");
    EXPECT_EQ(Data("#_1", "C"), "RV,CR,\"8,VD\",7,\"\"") << "D is read only after C";
}

TEST_F(ParserRun, ChecksTheValueThatItStores) {
    OpenRecord("");
    EXPECT_EQ(Stored("RV,U,X12,,\"\"", "\"12\""), "RV,DR,X12,12,\"\"");
    EXPECT_EQ(Stored("RV,U,X12,,\"\"", "12\r\n"), "RV,DR,X12,12 ,\"\"");
    EXPECT_EQ(Stored("RV,U,\"8,C1;2\",,\"\"", "3"), "RV,CR,\"8,C1;2\",3,\"\"");
    EXPECT_EQ(Stored("RV,U," + InQuotes("8," + Text(253) + ",X6") + ",,\"\"", "5"),
              "RV,DR," + InQuotes("8," + Text(253) + ",X6") + ",5,\"\"")
        << "a definition has 255 characters";
    EXPECT_EQ(Stored("RV,U," + InQuotes("8," + Text(250) + ",X6") + ",,\"\"", "5"),
              "RV,CR," + InQuotes("8," + Text(250) + ",X6") + ",5,\"\"");
}

// ---- what is stored

TEST_F(ParserRun, StoresAReadingSoThatItsEntryStaysReadable) {
    const std::string comma252 = "1," + Text(250);
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", ""},
        {"12.5", "12.5"},
        {"1,5", "\"1,5\""},
        {"\"1,5\"", "\"1,5\""},
        {"\"12\"", "12"},
        {"\"\"", ""},
        {"\"", ""},
        {"\"\"x\"\"", "x"},
        {"\"open", "open"},
        {"5\"", "5\""},
        {"a \"b\"", "a \"b\""},
        {"\"a \"b\" c\"", "a \"b\" c"},
        {"a \"b\", c", "\"a b, c\""},
        {"1\r\n2\n3\r4", "1 2 3 4"},
        {comma252, InQuotes(comma252)},
        {comma252 + "x", comma252 + "x"},
        {Text(255), Text(255)},
        {Text(256), Text(255)},
    };
    OpenRecord("");
    for (const auto& [answer, value] : rows)
        EXPECT_EQ(Stored("R,U,8,old,\"t\"", answer), "R,DR,8," + value + ",\"t\"") << answer;
}

TEST_F(ParserRun, LeavesTheOtherSubFieldsAsTheyStood) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {R"("R",U,"8",1,"a "b", c")", R"("R",DR,"8",5,"a "b", c")"},
        {R"(R,U,"8,B1","1,5","")", R"(R,DR,"8,B1",5,"")"},
        {R"(R,U,"x"y,z",1,"""")", R"(R,DR,"x"y,z",5,"""")"},
        {"R,U," + InQuotes(Text(900) + ",B") + ",1," + InQuotes(Text(900)),
         "R,DR," + InQuotes(Text(900) + ",B") + ",5," + InQuotes(Text(900))},
        {Text(500) + ",U,8,1,\"R\"", Text(500) + ",U,8,1,\"R\""},
        {Text(254) + "RR,U,8,1,free", Text(254) + "RR,DR,8,5,\"free\""},
        {Text(255) + "R,U,8,1,free", Text(255) + "R,U,8,1,free"},
        {"R,U", "R,DR,,5,\"\""},
        {"R,U,8,1", "R,DR,8,5,\"\""},
        {"R,U,8,1,free, text", "R,DR,8,5,\"free, text\""},
        {R"(R,U,8,"1,"t")", R"(R,DR,8,5,"")"},
    };
    OpenRecord("");
    for (const auto& [before, after] : rows) {
        EXPECT_EQ(Stored(before, "5"), after);
        EXPECT_EQ(Stored(after, "5"), after) << "a second run";
    }
}

TEST_F(ParserRun, KeepsAnEntryAtTheLengthThatIsReadBack) {
    const std::string head = "R,DR,8,5,\"";
    OpenRecord("");
    const std::string full = head + Text(4095 - head.size() - 1) + '"';
    EXPECT_EQ(Stored("R,U,8,," + InQuotes(Text(5000)), "5"), full);
    EXPECT_EQ(Stored(full, "5"), full);
}

TEST_F(ParserRun, TakesNothingFromASearchThatFound) {
    OpenRecord("X=R,U,BU,old,\"t\"\n");
    m_parser.m_statusLeft = "W";
    EXPECT_EQ(Run(), 1) << "the stored status counts, not what the parser left";
    EXPECT_EQ(Data("#_1", "X"), "R,U,BU,old,\"t\"");
    m_parser.m_answer["X"] = "5";
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Data("#_1", "X"), "R,DR,BU,5,\"t\"");
}

TEST_F(ParserRun, GivesTheParserStatusLettersOfUpTo255Characters) {
    OpenRecord("X=R," + Text(300, 's') + ",8,,\"\"\n");
    m_parser.m_statusLeft = Text(255, 'z');
    Run();
    EXPECT_EQ(m_parser.m_calls[1], "X:" + Text(255, 's'));
}

namespace {

// Fills the value to its last byte without a terminator, or finds a value without writing it.
class CarelessParser : public FakeParser {
public:
    bool m_writes = true;

    bool SearchValue(char*, char* value, int valueSize, char* status) override {
        EXPECT_EQ(valueSize, 256);
        EXPECT_STREQ(value, "");
        std::fill(status, status + 256, 's');
        if (m_writes)
            std::fill(value, value + valueSize, 'v');
        return true;
    }
};

}  // namespace

TEST_F(ParserRun, TakesAValueWithoutItsTerminator) {
    OpenRecord("X=R,U,8,old,\"\"\n");
    CarelessParser parser;
    m_database.StartParser(&parser);
    EXPECT_EQ(Data("#_1", "X"), "R,DR,8," + Text(255, 'v') + ",\"\"");
    parser.m_writes = false;
    m_database.StartParser(&parser);
    EXPECT_EQ(Data("#_1", "X"), "R,DR,8,,\"\"");
}

// ---- alarms

TEST_F(ParserRun, RaisesTheAlarmsThatTheStatusMeets) {
    struct Row {
        const char* condition;
        std::string letters;  // the status letters that meet it
    };
    const Row rows[] = {{"BW", "W"},  {"BC", "C"}, {"BU", "U"}, {"BD", "D"}, {"BX", "WCU"},
                        {"BY", "WC"}, {"B", ""},   {"bW", ""},  {"Bw", ""},  {"B1", ""},
                        {"BR", ""},   {"BZ", ""},  {"XB", ""},  {" BW", ""}, {"BWx", "W"}};
    OpenRecord("");
    for (const Row& row : rows)
        for (const char status : std::string("WCUDRwcud")) {
            const std::string letters = {'.', status, '-'};
            ASSERT_TRUE(
                m_database.SetMeterItem("X", ("R," + letters + ',' + row.condition + ",,\"\"").c_str()));
            EXPECT_EQ(Run(), row.letters.find(status) == std::string::npos ? 0 : 1)
                << row.condition << status;
        }
}

TEST_F(ParserRun, FindsTheAlarmsOfADefinition) {
    const std::vector<std::pair<std::string, int>> rows = {
        {"R,U,\"8,C0;9,BU\",,\"\"", 1},
        {"R,U,\"8,BW,BC,BU\",,\"\"", 1},
        {"R,U,\"8,,BU\",,\"\"", 0},
        {"R,U,\",BU\",,\"\"", 0},
        {"R,U,\"BU\",,\"\"", 1},
        {"R,U,\"8,\"BU\"\",,\"\"", 1},
        {"R,U,\"8,BU,\",,\"\"", 1},
        {"R,U,,,\"BU\"", 0},
        {"R,U,8,BU,\"\"", 0},
        {"A,U,BU,,\"\"", 0},
        {"R,,BU,,\"\"", 0},
        {"R,\"U,D\",BD,,\"\"", 1},
        {"R,U,BU", 1},
        {"BU", 0},
    };
    OpenRecord("");
    for (const auto& [entry, alarm] : rows) {
        ASSERT_TRUE(m_database.SetMeterItem("X", entry.c_str()));
        EXPECT_EQ(Run(), alarm) << entry;
    }
}

TEST_F(ParserRun, TestsAlarmsAgainstTheNewStatus) {
    OpenRecord("X=RV,U,\"X6,BU\",,\"\"\n");
    EXPECT_EQ(Run(), 1);
    m_parser.m_answer["X"] = "5";
    EXPECT_EQ(Run(), 0) << "stored with CR";
    ASSERT_TRUE(m_database.SetMeterItem("X", "RV,U,\"X6,BC\",,\"\""));
    EXPECT_EQ(Run(), 1);
    ASSERT_TRUE(m_database.SetMeterItem("X", "RV,U,\"X5,BC\",,\"\""));
    EXPECT_EQ(Run(), 0) << "stored with DR";
    ASSERT_TRUE(m_database.SetMeterItem("X", "RV,U,\"X5,BD\",,\"\""));
    EXPECT_EQ(Run(), 1);
}

TEST_F(ParserRun, RaisesTheAlarmOfAnyValue) {
    OpenRecord("A=R,U,BU,,\"\"\nB=R,U,BW,,\"\"\nC=R,U,8,,\"\"\n");
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(m_parser.m_calls.size(), 5U) << "the values behind it are still read";
}

TEST_F(ParserRun, TestsAlarmsAgainstTheEntryAsItIsWritten) {
    OpenRecord("");
    EXPECT_EQ(Stored("R,U,\"BD,5", "9"), "R,DR,BD,9,\"\"") << "a quote that nothing closes is dropped";
    ASSERT_TRUE(m_database.SetMeterItem("X", "R,U,\"BD,5"));
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Run(), 1);
}

// ---- failures

TEST_F(ParserRun, TestsAlarmsAgainstAnEntryThatCouldNotBeWritten) {
    // Its line is an entry of the file, but nothing that begins like a header is written.
    const std::string entries = "[X=R,U,\"8,BU\",1,\"\"\n[Y=R,U,\"8,BD\",1,\"\"\n";
    OpenRecord(entries);
    m_parser.m_answer = {{"[X", "5"}, {"[Y", "5"}};
    EXPECT_EQ(Run(), 1) << "[X still has status U";
    OpenRecord(entries.substr(entries.find("[Y")));
    EXPECT_EQ(Run(), 0) << "[Y has no status D";
    EXPECT_EQ(Data("#_1", "[Y"), "R,U,\"8,BD\",1,\"\"");
}

TEST_F(ParserRun, NeedsNoSystemIniOnceTheRecordIsOpen) {
    OpenRecord("History1=A,D,8,200801,\"\"\nX=R,U,X6,,\"\"\n",
               "CheckAutoReadRegs=YES\n[List]\nMasterValue=X\n");
    CMeterIniFile* const systemIni = std::exchange(m_database.m_systemIni, nullptr);
    m_parser.m_answer["X"] = "5";
    Run();
    m_database.m_systemIni = systemIni;
    EXPECT_EQ(m_parser.m_calls, (Calls{"OpenParser(0)", "X:U", "CloseParser"}));
    EXPECT_EQ(Data("#_1", "X"), "R,DR,X6,5,\"\"");
    EXPECT_STREQ(m_database.m_masterValue, "");
}

namespace {

// Finds 5 for every name, without allocations of its own.
class CountingParser : public FakeParser {
public:
    int m_open = 0;

    bool OpenParser(int) override { return ++m_open == 1; }
    bool SearchValue(char*, char* value, int, char*) override {
        value[0] = '5';
        return true;
    }
    bool CloseParser() override { return --m_open == 0; }
};

}  // namespace

TEST_F(ParserRun, ClosesTheParserAndKeepsTheEntriesWhenMemoryRunsOut) {
    const std::string before = "R,U,\"8,BD," + Text(60) + "\",,\"" + Text(60) + "\"";
    const std::string after = "R,DR,\"8,BD," + Text(60) + "\",5,\"" + Text(60) + "\"";
    OpenRecord("X=\nY=\n", "[List]\nMasterValue=" + Text(60) + "\n");
    bool happened = true;
    for (int n = 1; happened; ++n) {
        ASSERT_TRUE(m_database.SetMeterItem("X", before.c_str()));
        ASSERT_TRUE(m_database.SetMeterItem("Y", before.c_str()));
        CountingParser parser;
        int alarm = 0;
        {
            const HeapFault fault(n);
            alarm = m_database.StartParser(&parser);
            happened = fault.Happened();
        }
        EXPECT_EQ(parser.m_open, 0) << n;
        for (const char* name : {"X", "Y"})
            EXPECT_TRUE(Data("#_1", name) == before || Data("#_1", name) == after) << n;
        if (happened)
            continue;
        EXPECT_GT(n, 1) << "nothing failed";
        EXPECT_EQ(alarm, 1);
        EXPECT_EQ(Data("#_1", "Y"), after);
    }
}
