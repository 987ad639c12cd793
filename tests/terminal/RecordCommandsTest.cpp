// The commands that show and edit one record: show, set, state, item and clear; what a reading
// calculates; and what holds for the whole route.
#include <string>
#include <vector>

#include "tests/terminal/MeterdbFixture.h"

using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* kSystem =
    "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=route.ini\nCheckAutoReadRegs=Yes\n"
    "[List]\nMasterValue=0.0.0\n"
    "[Languages]\nLanguages=2\nLanguage1=en,en.ini\nLanguage2=de,de.ini\n"
    "[Values]\n0.0.0=Number\n1.8.0=Energy\n1.8.0-DIFF=Used\nMeterID=Identifier\n96.7.21=Failures\n"
    "[Values_Heat]\n6.8=Heat\n"
    "[Extra]\nFree1=<~C>\nReason=Not read because\nPosition=Position\nNote=Note\nUserID=Reader\n"
    "[Extra_de]\nReason=Nicht abgelesen\n"
    "[Statistic]\n0.1.0=Period\n1.8.0*01=Energy *1\n"
    "[Survey_Reason]\n_Undefined=not stated\n01=nobody at home\n";

constexpr const char* kRecords =
    "[General]\nMeters=2\n"
    "[#_1]\nState=U\nStop=7\nMeterType=,D,,Electricity,\"\"\nCustomer=,D,,Office,\"\"\n"
    "Free1=,D,,K-117,\"Cellar key,hook\"\n"
    "Reason=CU,U,S;Reason,,\"\"\nPosition=,D,S;<Position>,01,\"\"\nSurvey_Position=,D,,01:cellar,\"\"\n"
    "Note=Reader\n"
    "0.0.0=R,U,\"8,V0.0.0-nom,U---\",,\"\"\n0.0.0-nom=,D,16,20481632,\"\"\n"
    "1.8.0=R,CR,\"8.1 kWh,C100;200\",000250.0,\"\"\n1.8.0-last=,D,8.1 kWh,000100.0,\"\"\n"
    "1.8.0-DIFF=A,U,6.1 kWh,,\"\"\nMeterID=A,U,08,,\"\"\n"
    "96.7.21=R,U,\"5,C0;50,NUnot read,NYtoo many\",,\"\"\n"
    "0.1.0=R,DR,2,33,\"\"\n1.8.0*01=R,DR,8.1 kWh,000180.0,\"\"\n"
    "\n"
    "[#1_1]\n#1=,D,,New meter,\"\"\n0.0.0-nom=,D,16,20481700,\"\"\n1.8.0=R,U,8.1 kWh,,\"\"\n"
    "\n"
    "[#_2]\nState=E\nMeterType=,D,,Heat,\"\"\n6.8=R,W,8.3 MWh,0001.000,\"\"\n1.8.0=R,CR,8.1 kWh,1,\"\"\n"
    "[#1_2]\n6.8=R,D,8.3 MWh,0002.000,\"\"\n";

class MeterdbRecords : public Meterdb {
protected:
    void SetUp() override {
        Meterdb::SetUp();
        m_folder.Write("meterdb.ini", kSystem);
        m_folder.Write("route.ini", kRecords);
    }

    // What the command changed in the data file is that it replaced these texts, in this order.
    void ExpectReplaced(const std::vector<std::pair<std::string, std::string>>& changes) {
        std::string expected = kRecords;
        for (const auto& [from, to] : changes) {
            ASSERT_NE(expected.find(from), std::string::npos) << from;
            expected.replace(expected.find(from), from.size(), to);
        }
        EXPECT_EQ(Read("route.ini"), expected);
    }

    const std::pair<std::string, std::string> m_stampOf1 = {
        "1.8.0*01=R,DR,8.1 kWh,000180.0,\"\"\n",
        "1.8.0*01=R,DR,8.1 kWh,000180.0,\"\"\nUserID=A,D,,reader07,\"\"\nLastChanges=A,D,,(now),\"\"\n"};
};

}  // namespace

// ---- show

TEST_F(MeterdbRecords, ShowGivesTheFieldsOfAllListsAsTheUserSeesThem) {
    EXPECT_EQ(Run({"show", "1"}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(m_out,
              "Meter 1, 20481632, Electricity, Office\n"
              "  State    unhandled (read out)\n"
              "  Also     1/1, New meter, 20481700\n"
              "\n"
              "Values\n"
              "  Field       Name        Value         Mark\n"
              "  ----------  ----------  ------------  ----\n"
              "  0.0.0       Number      ---\n"
              "  1.8.0       Energy      000250.0 kWh  !\n"
              "  1.8.0-DIFF  Used\n"
              "  MeterID     Identifier\n"
              "  96.7.21     Failures    not read\n"
              "\n"
              "Extra\n"
              "  Field     Name              Value       Mark\n"
              "  --------  ----------------  ----------  ----\n"
              "  Free1     Cellar key        K-117       ok.\n"
              "  Reason    Not read because  not stated\n"
              "  Position  Position          cellar      ok.\n"
              "  Note      Note\n"
              "\n"
              "Statistic\n"
              "  Field     Name        Value         Mark\n"
              "  --------  ----------  ------------  ----\n"
              "  0.1.0     Period      33            ok.\n"
              "  1.8.0*01  Energy *33  000180.0 kWh  ok.\n");
}

TEST_F(MeterdbRecords, ShowTakesTheListsOfTheMetersTypeAndLanguage) {
    EXPECT_EQ(Run({"show", "2", "--language", "de"}), kDone);
    EXPECT_EQ(m_out,
              "Meter 2, Heat\n"
              "  State    new appended (ablesen)\n"
              "  Also     2/1\n"
              "\n"
              "Values\n"
              "  Field  Name  Value         Mark\n"
              "  -----  ----  ------------  ----\n"
              "  6.8    Heat  0001.000 MWh  ?\n");
    EXPECT_EQ(Run({"show", "1"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("Nicht abgelesen"));
}

TEST_F(MeterdbRecords, ShowOfAnAppendixUsesTheTypeOfItsMeter) {
    EXPECT_EQ(Run({"show", "2/1"}), kDone);
    EXPECT_EQ(m_out,
              "Meter 2/1\n"
              "  State    new appended (read out)\n"
              "\n"
              "Values\n"
              "  Field  Name  Value         Mark\n"
              "  -----  ----  ------------  ----\n"
              "  6.8    Heat  0002.000 MWh  ok.\n");
}

TEST_F(MeterdbRecords, ShowRawGivesTheLinesAsTheyStand) {
    EXPECT_EQ(Run({"show", "--raw", "20481700"}), kDone);
    EXPECT_EQ(m_out,
              "[#1_1]\n"
              "#1=,D,,New meter,\"\"\n"
              "0.0.0-nom=,D,16,20481700,\"\"\n"
              "1.8.0=R,U,8.1 kWh,,\"\"\n");
}

TEST_F(MeterdbRecords, ShowChangesNothing) {
    const std::vector<std::string> names = m_folder.Names();
    EXPECT_EQ(Run({"show", "1"}), kDone);
    EXPECT_EQ(m_folder.Read("route.ini"), kRecords);
    EXPECT_EQ(m_folder.Names(), names);
    ExpectRefusal(kRefused, {"show", "3"}, "there is no meter \"3\" on this route of 2 meters");
    m_folder.Write("route.ini", "[General]\nMeters=1\n[#_1]\nState=U\n");
    ExpectRefusal(kRefused, {"show", "3"}, "there is no meter \"3\" on this route of 1 meter\n");
}

// ---- route

TEST_F(MeterdbRecords, RouteShowsChosenColumnsAndWhatIsInDoubt) {
    EXPECT_EQ(Run({"route", "--columns", "Free1,1.8.0,6.8,State"}), kDone);
    EXPECT_EQ(
        m_out,
        "  #  Meter     Cellar key  Energy          Heat            State  State         Action    Mark\n"
        "  -  --------  ----------  --------------  --------------  -----  ------------  --------  ----\n"
        "  1  20481632  K-117       000250.0 kWh !                  U      unhandled     read out  !\n"
        "  2                        1               0001.000 MWh ?  E      new appended  read out  ?\n"
        "\n"
        "2 meters: 1 unhandled, 1 new appended\n");
}

TEST_F(MeterdbRecords, RouteRefusesColumnsThatNoRecordHas) {
    ExpectRefusal(kRefused, {"route", "--columns", "Free1,Custmer"},
                  "no record of the route has a value \"Custmer\"");
}

// ---- read

TEST_F(MeterdbRecords, ReadCalculatesTheAutomaticFields) {
    m_folder.Write("readout.txt",
                   "/ABC5EL\r\n\x02"
                   "0.0.0(20481632)\r\n1.8.0(000180.5)\r\n96.7.21(51)\r\n!\r\n");
    EXPECT_EQ(Run({"--user", "reader07", "read", "1", File("readout.txt")}), kDone);
    EXPECT_THAT(m_out,
                HasSubstr("  Value       Name              Before         After  Status    Mark  Finding\n"
                          "  ----------  ----------  ------------  ------------  --------  ----  --------\n"
                          "  0.0.0       Number               ---      20481632  U -> DR   ok.\n"
                          "  1.8.0       Energy      000250.0 kWh  000180.5 kWh  CR -> DR  ok.\n"
                          "  96.7.21     Failures        not read      too many  U -> CR   !     above 50\n"
                          "  0.1.0       Period                33            33  DR        ok.   not sent\n"
                          "  1.8.0*01    Energy *33  000180.0 kWh  000180.0 kWh  DR        ok.   not sent\n"
                          "  1.8.0-DIFF  Used                   -      80.5 kWh  U -> D    ok.\n"
                          "  MeterID     Identifier             -      20481632  U -> D    ok.\n"
                          "\n"
                          "3 of 5 values read, 2 calculated, 1 finding\n"));
    ExpectReplaced({{"State=U", "State=H"},
                    {"U---\",,", "U---\",20481632,"},
                    {"0.0.0=R,U", "0.0.0=R,DR"},
                    {"1.8.0=R,CR,\"8.1 kWh,C100;200\",000250.0", "1.8.0=R,DR,\"8.1 kWh,C100;200\",000180.5"},
                    {"1.8.0-DIFF=A,U,6.1 kWh,,", "1.8.0-DIFF=A,D,6.1 kWh,80.5,"},
                    {"MeterID=A,U,08,,", "MeterID=A,D,08,20481632,"},
                    {"96.7.21=R,U,\"5,C0;50,NUnot read,NYtoo many\",,",
                     "96.7.21=R,CR,\"5,C0;50,NUnot read,NYtoo many\",51,"},
                    m_stampOf1});
}

// ---- set

TEST_F(MeterdbRecords, SetEntersAValueAndCalculatesWhatDependsOnIt) {
    EXPECT_EQ(Run({"--user", "reader07", "set", "1", "1.8.0", "150.5"}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(m_out,
              "Meter 1, 20481632, Electricity, Office\n"
              "  Energy  000250.0 kWh -> 150.5 kWh  ok.\n"
              "\n"
              "Saved in route.ini, stamped (now) by reader07\n"
              "\n"
              "  [#_1]\n"
              "  - 1.8.0=R,CR,\"8.1 kWh,C100;200\",000250.0,\"\"\n"
              "  + 1.8.0=R,DE,\"8.1 kWh,C100;200\",150.5,\"\"\n"
              "  - 1.8.0-DIFF=A,U,6.1 kWh,,\"\"\n"
              "  + 1.8.0-DIFF=A,D,6.1 kWh,50.5,\"\"\n"
              "  + UserID=A,D,,reader07,\"\"\n"
              "  + LastChanges=A,D,,(now),\"\"\n");
    ExpectReplaced({{"1.8.0=R,CR,\"8.1 kWh,C100;200\",000250.0", "1.8.0=R,DE,\"8.1 kWh,C100;200\",150.5"},
                    {"1.8.0-DIFF=A,U,6.1 kWh,,", "1.8.0-DIFF=A,D,6.1 kWh,50.5,"},
                    m_stampOf1});
    EXPECT_THAT(m_folder.Read("app.ini"), HasSubstr("Dirty=Yes"));
}

TEST_F(MeterdbRecords, SetChecksWhatIsEntered) {
    EXPECT_EQ(Run({"set", "1", "1.8.0", "99"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  Energy  000250.0 kWh -> 99 kWh  !  below 100\n"));
    EXPECT_THAT(m_folder.Read("route.ini"), HasSubstr("1.8.0=R,CE,\"8.1 kWh,C100;200\",99,"));
    EXPECT_EQ(Run({"set", "1", "0.0.0", "4711"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  Number  --- -> 4711  ?  should be 20481632 (0.0.0-nom)\n"));
    EXPECT_THAT(m_folder.Read("route.ini"), HasSubstr("0.0.0=R,WE,\"8,V0.0.0-nom,U---\",4711,"));
}

TEST_F(MeterdbRecords, SetOfNothingClearsAField) {
    EXPECT_EQ(Run({"set", "1", "reason", "01"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  Not read because  not stated -> nobody at home  ok.\n"));
    EXPECT_THAT(m_folder.Read("route.ini"), HasSubstr("Reason=CU,DE,S;Reason,01,\"\""));
    EXPECT_EQ(Run({"set", "1", "Reason", ""}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  Not read because  nobody at home -> not stated\n"));
    EXPECT_THAT(m_folder.Read("route.ini"), HasSubstr("Reason=CU,U,S;Reason,,\"\""));
}

TEST_F(MeterdbRecords, SetKeepsTheTextOfAValue) {
    EXPECT_EQ(Run({"set", "1", "Free1", "K-118, left"}), kDone);
    EXPECT_THAT(m_folder.Read("route.ini"), HasSubstr("Free1=,DE,,\"K-118, left\",\"Cellar key,hook\"\n"));
}

TEST_F(MeterdbRecords, SetOfAnAppendixStampsItsMeter) {
    EXPECT_EQ(Run({"--user", "reader07", "set", "1/1", "1.8.0", "-0.5"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("Meter 1/1, 20481700\n  Energy  - -> -0.5 kWh  ok.\n"));
    ExpectReplaced({m_stampOf1, {"1.8.0=R,U,8.1 kWh,,", "1.8.0=R,DE,8.1 kWh,-0.5,"}});
}

TEST_F(MeterdbRecords, SetRefusesWhatIsNoValueOfTheField) {
    struct Case {
        const char* field;
        std::string value;
        const char* sentence;
    };
    const std::vector<Case> cases = {
        {"1.8.0", "150,5", "\"150,5\" is no number of kWh: write digits and a point. Nothing was changed."},
        {"1.8.0", "1.2.3", "is no number of kWh"},
        {"1.8.0", "+", "is no number of kWh"},
        {"1.8.0", "12 kWh", "is no number of kWh"},
        {"Reason", "17", "\"17\" is no code of the list that Reason is chosen from. Nothing was changed."},
        {"Position", "02", "is no code of the list that Position is chosen from"},
        {"6.8", "1", "the record has no field \"6.8\"; meterdb show 1 lists those that it has. Nothing was"},
        {"Customer", "x", "the record has no field \"Customer\""},
        {"Note", "x", "Note is an item, not a value: meterdb item changes it. Nothing was changed."},
        {"Free1", "a \"b\"", "the value cannot be stored as it is"},
        {"Free1", "a\nb", "the value cannot be stored as it is"},
        {"Free1", std::string(256, 'a'), "the value cannot be stored as it is: it is longer than 255 char"},
        {"Free1", "," + std::string(252, 'a'), "the value cannot be stored as it is"},
    };
    for (const Case& c : cases)
        ExpectRefusal(kRefused, {"set", "1", c.field, c.value}, c.sentence);
    EXPECT_EQ(Run({"set", "1", "Free1", std::string(255, 'a')}), kDone);
    ExpectRefusal(kRefused, {"set", "1", "userid", "me"},
                  "UserID is the stamp of a change, which every command");
    ExpectRefusal(kRefused, {"set", "7", "Free1", "x"}, "there is no meter \"7\"");
}

TEST_F(MeterdbRecords, FailedSaveOfAnEnteredValueChangesNothing) {
    ExpectFailedSaves({"set", "1", "1.8.0", "150"});
}

// ---- state

TEST_F(MeterdbRecords, StateShowsLettersAndText) {
    EXPECT_EQ(Run({"state", "1"}), kDone);
    EXPECT_EQ(m_out, "Meter 1, 20481632, Electricity, Office\n  State    U: unhandled (read out)\n");
    EXPECT_EQ(m_folder.Read("route.ini"), kRecords);
}

TEST_F(MeterdbRecords, StateIsGivenToTheMeterAlsoByItsAppendix) {
    EXPECT_EQ(Run({"--user", "reader07", "state", "1/1", "AC"}), kDone);
    EXPECT_EQ(m_out,
              "Meter 1/1, 20481700\n"
              "  State    U: unhandled (read out) -> AC: unhandled (read out)\n"
              "\n"
              "Saved in route.ini, stamped (now) by reader07\n"
              "\n"
              "  [#_1]\n"
              "  - State=U\n"
              "  + State=AC\n"
              "  + UserID=A,D,,reader07,\"\"\n"
              "  + LastChanges=A,D,,(now),\"\"\n");
    ExpectReplaced({{"State=U", "State=AC"}, m_stampOf1});
}

TEST_F(MeterdbRecords, StateRefusesWhatIsNone) {
    for (const std::string& state : {std::string(), std::string("X"), std::string("h"), std::string(40, 'H')})
        ExpectRefusal(kRefused, {"state", "1", state},
                      "is no state: it consists of the letters NEMUAHCRI. Nothing was changed.");
    EXPECT_EQ(Run({"state", "1", std::string(39, 'H')}), kDone);
    ExpectRefusal(kRefused, {"state", "3"}, "there is no meter \"3\"");
}

TEST_F(MeterdbRecords, FailedSaveOfAStateChangesNothing) {
    ExpectFailedSaves({"state", "1", "H"});
}

// ---- item

TEST_F(MeterdbRecords, ItemShowsAnEntryAsItStands) {
    for (const auto& [key, text] : std::vector<std::pair<std::string, std::string>>{
             {"Stop", "7"}, {"stop", "7"}, {"Free1", ",D,,K-117,\"Cellar key,hook\""}}) {
        EXPECT_EQ(Run({"item", "1", key}), kDone);
        EXPECT_EQ(m_out, text + "\n");
    }
    EXPECT_EQ(Run({"item", "1/1", "#1"}), kDone);
    EXPECT_EQ(m_out, ",D,,New meter,\"\"\n");
    EXPECT_EQ(m_folder.Read("route.ini"), kRecords);
}

TEST_F(MeterdbRecords, ItemIsWrittenAsGiven) {
    EXPECT_EQ(Run({"--user", "reader07", "item", "1", "Stop", "8, \"left\""}), kDone);
    EXPECT_EQ(m_out,
              "Meter 1, 20481632, Electricity, Office\n"
              "\n"
              "Saved in route.ini, stamped (now) by reader07\n"
              "\n"
              "  [#_1]\n"
              "  - Stop=7\n"
              "  + Stop=8, \"left\"\n"
              "  + UserID=A,D,,reader07,\"\"\n"
              "  + LastChanges=A,D,,(now),\"\"\n");
    ExpectReplaced({{"Stop=7", "Stop=8, \"left\""}, m_stampOf1});
}

TEST_F(MeterdbRecords, ItemIsAddedToTheRecordThatIsMeant) {
    EXPECT_EQ(Run({"--user", "reader07", "item", "1/1", "Seal", ""}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  [#1_1]\n  + Seal=\n"));
    ExpectReplaced({m_stampOf1, {"1.8.0=R,U,8.1 kWh,,\"\"\n", "1.8.0=R,U,8.1 kWh,,\"\"\nSeal=\n"}});
}

TEST_F(MeterdbRecords, ItemRefusesWhatIsNoEntry) {
    ExpectRefusal(kRefused, {"item", "1", "Seal"}, "the record has no entry \"Seal\"");
    for (const auto& [key, text] : std::vector<std::pair<std::string, std::string>>{
             {"", "x"}, {"a=b", "x"}, {"[a", "x"}, {";a", "x"}, {"a", "x\ny"}, {"a\rb", "x"}})
        ExpectRefusal(kRefused, {"item", "1", key, text},
                      "with this text is no entry of one line. Nothing was changed.");
    ExpectRefusal(kRefused, {"item", "3", "Stop"}, "there is no meter \"3\"");
}

TEST_F(MeterdbRecords, FailedSaveOfAnItemChangesNothing) {
    ExpectFailedSaves({"item", "1", "Stop", "8"});
}

// ---- clear

TEST_F(Meterdb, ClearEmptiesWhatTheAttributesName) {
    const std::string route =
        "[General]\nMeters=1\n[#_1]\nState=U\nReason=CU,DE,8,01,\"\"\nRemark=?U,DE,8,seen,\"\"\n"
        "1.8.0=RD,DR,8,000001,\"\"\n1.8.0-last=,D,8,000000,\"\"\n";
    m_folder.Write("route.ini", route);
    EXPECT_EQ(Run({"clear", "1", "0", "--user", "0815"}), kDone) << m_errors;
    EXPECT_EQ(m_out,
              "Meter 1\n"
              "\n"
              "Saved in route.ini, stamped (now) by 0815\n"
              "\n"
              "  [#_1]\n"
              "  - Reason=CU,DE,8,01,\"\"\n"
              "  + Reason=CU,U,8,,\"\"\n"
              "  - Remark=?U,DE,8,seen,\"\"\n"
              "  + Remark=?U,U,8,?,\"\"\n"
              "  + UserID=A,D,,0815,\"\"\n"
              "  + LastChanges=A,D,,(now),\"\"\n");
    m_folder.Write("route.ini", route);
    EXPECT_EQ(Run({"clear", "1", "1"}), kDone);
    EXPECT_THAT(Read("route.ini"),
                HasSubstr("Reason=CU,DE,8,01,\"\"\nRemark=?U,DE,8,seen,\"\"\n1.8.0=RD,U,8,,\"\"\n"));
    EXPECT_EQ(Run({"clear", "1", "2"}), kWrongUse);
    EXPECT_EQ(Run({"clear", "1"}), kWrongUse);
    ExpectRefusal(kRefused, {"clear", "9", "0"}, "there is no meter \"9\"");
    ExpectFailedSaves({"clear", "1", "0"});
}

// ---- general

TEST_F(Meterdb, GeneralShowsWhatHoldsForTheRoute) {
    EXPECT_EQ(Run({"general"}), kDone);
    EXPECT_EQ(m_out,
              "  Key     Value\n"
              "  ------  -------\n"
              "  Meters  4\n"
              "  DBInfo  Route 7\n");
    EXPECT_EQ(Run({"general", "dbinfo"}), kDone);
    EXPECT_EQ(m_out, "Route 7\n");
    ExpectRefusal(kRefused, {"general", "Nothing"}, "the route has no entry \"Nothing\"");
}

TEST_F(Meterdb, GeneralChangesAnEntryAndNothingElse) {
    std::string route = m_folder.Read("route.ini");
    EXPECT_EQ(Run({"general", "DBInfo", "Route 8, April"}), kDone) << m_errors;
    EXPECT_EQ(m_out, "DBInfo  Route 7 -> Route 8, April\nSaved in route.ini\n");
    EXPECT_EQ(m_folder.Read("route.ini"), route.replace(route.find("Route 7"), 7, "Route 8, April"));
    EXPECT_THAT(m_folder.Read("app.ini"), HasSubstr("Dirty=Yes"));
    EXPECT_EQ(Run({"general", "CompanyID", "4711"}), kDone);
    EXPECT_EQ(m_out, "CompanyID  - -> 4711\nSaved in route.ini\n");
    for (const char* own : {"Meters", "client"})
        ExpectRefusal(kRefused, {"general", own, "2"}, "is kept by the system. Nothing was changed.");
    ExpectRefusal(kRefused, {"general", "DBInfo", "a\nb"}, "is no entry of one line");
    ExpectRefusal(kRefused, {"general", "a=b", "c"}, "is no entry of one line");
    ExpectFailedSaves({"general", "DBInfo", "x"});
}

TEST_F(Meterdb, GeneralTakesAKeyAsTheFileDoes) {
    EXPECT_EQ(Run({"general", " DBInfo "}), kDone);
    EXPECT_EQ(m_out, "Route 7\n");
    ExpectRefusal(kRefused, {"general", " Meters ", "2"}, "Meters is kept by the system");
    ExpectRefusal(kRefused, {"general", "\tclient", "2"}, "Client is kept by the system");
    ExpectRefusal(kRefused, {"general", "", "2"}, "\"\" with this text is no entry of one line");
    ExpectRefusal(kRefused, {"general", ""}, "the route has no entry \"\"");
    EXPECT_EQ(Run({"general", "DBInfo", ""}), kDone);
    EXPECT_EQ(m_out, "DBInfo  Route 7 -> -\nSaved in route.ini\n");
}
