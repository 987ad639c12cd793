// The commands that list and run the functions of a meter: commands, options and run.
#include <filesystem>
#include <string>
#include <vector>

#include "tests/terminal/MeterdbFixture.h"

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* kSystem =
    "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=route.ini\nRespectAccessLevel=Yes\n"
    "[Languages]\nLanguages=2\nLanguage1=en,en.ini\nLanguage2=de,de.ini\n"
    "[Functions]\nOptions=101,1001\n9=read tariffs\n1000=read since *[DD.MM.YYYY]\n"
    "[Functions_de]\nOptions=101\n9=Tarife lesen\n"
    "[AccessLevel1]\nROUTE_Gas=1,9\nROUTE_*=1\nCHANGE_*=9\nNOROUTE_*=101\n";

constexpr const char* kTypes =
    "[Gas]\nFunctions=1,2,6,9,101,211,221,0,256,x\nReadouts=1,4\n"
    "MeterTypeDialog[0]=look around\nMeterTypeSpecial[0]=\"ring, twice\"\n"
    "[Gas_de]\nMeterTypeDialog[0]=umsehen\n"
    "[Online]\nFunctions=6,101\nFunctionListFlagA=yes\nFunctionListFlagB=Yes\n";

constexpr const char* kFunctions =
    "[General]\nMeters=4\n"
    "[#_1]\nState=U\nMeterType=,D,,Gas,\"\"\nCustomer=,D,,Bakery,\"\"\n3.0.0=R,U,8.2 m3,,\"\"\n"
    "97.97.0=R,U,\"8,BU\",,\"\"\n"
    "Func1=,U,,1,\"\"\nFunc2=,WR,,101,\"waits for a "
    "clock\"\nFunc3=,DR,,9,\"T1\"\nFunc4=,C,,6,\"\"\nFunc5=,U,,3,\"\"\n"
    "Func6=,U,\"4[I20260201],1,O3\",1000,\"\"\nFunc7=,U,101,1001,\"\"\nFunc8=,U,,211,\"\"\nFunc9=,U,,221,"
    "\"\"\n"
    "[#1_1]\nFunc1=,U,,9,\"\"\n"
    "[#_2]\nState=U\nMeterType=,D,,Online,\"\"\nFunc1=,U,,6,\"\"\nFunc2=,U,,101,\"\"\n"
    "[#_3]\nState=U\nMeterType=,D,,Gas,\"\"\nAction=,D,,Change,\"\"\nFunc1=,U,,1,\"\"\nFunc2=,U,,9,\"\"\n"
    "[#_4]\nState=I\nMeterType=,D,,Info,\"\"\n";

class MeterdbFunctions : public Meterdb {
protected:
    void SetUp() override {
        Meterdb::SetUp();
        m_folder.Write("meterdb.ini", kSystem);
        m_folder.Write("metertypes.ini", kTypes);
        m_folder.Write("route.ini", kFunctions);
        m_folder.Write("volume.txt",
                       "/ABC4GE4\r\n\x02"
                       "3.0.0(0012.40*m3)\r\n!\r\n");
    }
};

}  // namespace

// ---- commands and options

TEST_F(MeterdbFunctions, CommandsShowsWhatTheMeterOffers) {
    EXPECT_EQ(Run({"commands", "1"}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(m_out,
              "Meter 1, Gas, Bakery\n"
              "  State    unhandled (read out)\n"
              "\n"
              "  Code  Command             Mark  State\n"
              "  ----  ------------------  ----  -----\n"
              "     1  read standard list\n"
              "     9  read tariffs        ok.   T1\n"
              "   211  look around\n"
              "   221  ring, twice\n"
              "\n"
              "4 commands\n");
}

TEST_F(MeterdbFunctions, OptionsShowsTheSettings) {
    EXPECT_EQ(Run({"options", "1"}), kDone);
    EXPECT_EQ(m_out,
              "Meter 1, Gas, Bakery\n"
              "  State    unhandled (read out)\n"
              "\n"
              "  Code  Option            Mark  State\n"
              "  ----  ----------------  ----  -----------------\n"
              "   101  set  date / time  ?     waits for a clock\n"
              "  1001  ?\n"
              "\n"
              "2 options\n");
}

TEST_F(MeterdbFunctions, CompositeFunctionsShowWhatTheyAreRunWith) {
    m_folder.Write("metertypes.ini", "[Gas]\nFunctions=1,4\n");
    EXPECT_EQ(Run({"commands", "1"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  1000  read since 01.02.2026\n"));
}

TEST_F(MeterdbFunctions, AccessLevelLimitsWhatIsOffered) {
    EXPECT_EQ(Run({"--level", "1", "commands", "1"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("     1  read standard list\n     9  read tariffs        ok.   T1\n"
                                 "\n2 commands at access level 1\n"));
    EXPECT_EQ(Run({"commands", "3", "--level", "1"}), kDone);
    EXPECT_THAT(m_out,
                HasSubstr("  ----  ------------\n     9  read tariffs\n\n1 command at access level 1\n"));
    EXPECT_EQ(Run({"options", "3", "--level", "1"}), kDone);
    EXPECT_EQ(m_out, "Meter 3, Gas\n  State    unhandled (change to )\n\n0 options at access level 1\n");
    EXPECT_EQ(Run({"commands", "3", "--level", "2"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("2 commands at access level 2\n"));
}

TEST_F(MeterdbFunctions, LanguageChoosesTextsAndLists) {
    EXPECT_EQ(Run({"--language", "de", "commands", "1"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("     9  Tarife lesen        ok.   T1\n"
                                 "  1001  ?\n"
                                 "   211  umsehen\n"
                                 "   221  ring, twice\n"));
}

TEST_F(MeterdbFunctions, ListFlagsOfTheTypeCount) {
    EXPECT_EQ(Run({"commands", "2"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("     6  read value profile\n\n1 command\n"));
    EXPECT_EQ(Run({"options", "2"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("\n0 options\n"));
}

TEST_F(MeterdbFunctions, AppendixHasFunctionsOfItsOwn) {
    EXPECT_EQ(Run({"commands", "1/1"}), kDone);
    EXPECT_EQ(m_out,
              "Meter 1/1\n"
              "  State    unhandled (read out)\n"
              "\n"
              "  Code  Command\n"
              "  ----  ------------\n"
              "     9  read tariffs\n"
              "\n"
              "1 command\n");
}

TEST_F(MeterdbFunctions, UnknownTypesAreRefused) {
    const char* sentence = "the meter type \"Info\" is not known: metertypes.ini has no section for it";
    for (const char* command : {"commands", "options"})
        ExpectRefusal(kRefused, {command, "4"}, sentence);
    ExpectRefusal(kRefused, {"run", "4", "1"}, sentence);
    ExpectRefusal(kRefused, {"commands", "5"}, "there is no meter \"5\"");
    fs::remove(m_folder.Path() / "metertypes.ini");
    ExpectRefusal(kRefused, {"commands", "1"}, "the meter type \"Gas\" is not known");
    fs::create_directory(m_folder.Path() / "metertypes.ini");
    ExpectRefusal(kFileFailed, {"commands", "1"}, "metertypes.ini of the installation cannot be read");
}

// ---- run

TEST_F(MeterdbFunctions, RunNotesThatAFunctionIsDone) {
    EXPECT_EQ(Run({"--user", "reader07", "run", "1", "101"}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(m_out,
              "Meter 1, Gas, Bakery\n"
              "  Done     set  date / time\n"
              "\n"
              "Saved in route.ini, stamped (now) by reader07\n"
              "\n"
              "  [#_1]\n"
              "  - Func2=,WR,,101,\"waits for a clock\"\n"
              "  + Func2=,DR,,101,\"\"\n"
              "  + UserID=A,D,,reader07,\"\"\n"
              "  + LastChanges=A,D,,(now),\"\"\n");
    EXPECT_THAT(Read("route.ini"), HasSubstr("Func2=,DR,,101,\"\"\n"));
    EXPECT_THAT(Read("route.ini"), HasSubstr("[#_1]\nState=U\n"));
}

TEST_F(MeterdbFunctions, RunOfAReadingFunctionIsAVisit) {
    EXPECT_EQ(Run({"--user", "reader07", "run", "1", "1", File("volume.txt")}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(m_out,
              "Meter 1, Gas, Bakery\n"
              "  Done     read standard list\n"
              "  Readout  " +
                  File("volume.txt") +
                  ", ABC4GE4, 1 value\n"
                  "  State    unhandled (read out) -> handled (read out)\n"
                  "\n"
                  "  Value    Before       After  Status   Mark  Finding\n"
                  "  -------  ------  ----------  -------  ----  --------\n"
                  "  3.0.0         -  0012.40 m3  U -> DR  ok.\n"
                  "  97.97.0       -           -  U              not sent\n"
                  "\n"
                  "1 of 2 values read, no finding\n"
                  "\n"
                  "ALARM\n"
                  "  97.97.0: not sent  (BU: alarm on no value)\n"
                  "\n"
                  "Saved in route.ini, stamped (now) by reader07\n"
                  "\n"
                  "  [#_1]\n"
                  "  - State=U\n"
                  "  + State=H\n"
                  "  - 3.0.0=R,U,8.2 m3,,\"\"\n"
                  "  + 3.0.0=R,DR,8.2 m3,0012.40,\"\"\n"
                  "  - Func1=,U,,1,\"\"\n"
                  "  + Func1=,DR,,1,\"1 of 2 values, alarm\"\n"
                  "  + UserID=A,D,,reader07,\"\"\n"
                  "  + LastChanges=A,D,,(now),\"\"\n"
                  "\n"
                  "Archived in raw.dat as readout-(now)-1.txt\n");
}

TEST_F(MeterdbFunctions, RunOfACompositeFunctionReadsWhenAPartDoes) {
    m_folder.Write("metertypes.ini", "[Gas]\nFunctions=1,4\nReadouts=1\n");
    ExpectRefusal(kRefused, {"run", "1", "1000"},
                  "function 1000 (read since 01.02.2026) reads the meter: give the file with its answer. "
                  "Nothing was changed.");
    EXPECT_EQ(Run({"run", "1", "1000", File("volume.txt")}), kDone);
    EXPECT_THAT(m_folder.Read("route.ini"),
                HasSubstr("Func6=,DR,\"4[I20260201],1,O3\",1000,\"1 of 2 values, alarm\"\n"));
}

TEST_F(MeterdbFunctions, RefuseALevelThatIsNone) {
    ExpectRefusal(kWrongUse, {"commands", "1", "--level", "-1"}, "Value -1 not in range 0 to 2147483647");
    ExpectRefusal(kWrongUse, {"commands", "1", "--level", "all"}, "--level");
}

TEST_F(MeterdbFunctions, RunRefusesWhatIsNotOffered) {
    for (const char* code : {"3", "6", "120", "0", "-1", "1000"})
        ExpectRefusal(
            kRefused, {"run", "1", "--", code},
            "function " + std::string(code) +
                " is not offered for this meter; meterdb commands 1 and meterdb options 1 list those "
                "that are. Nothing was changed.");
    ExpectRefusal(kRefused, {"run", "1", "101", "--level", "1"},
                  "function 101 is not offered for this meter at access level 1; meterdb commands 1");
    ExpectRefusal(kRefused, {"run", "9", "1"}, "there is no meter \"9\"");
}

TEST_F(MeterdbFunctions, RunWantsAReadoutWhereThereIsOne) {
    ExpectRefusal(kRefused, {"run", "1", "1"}, "function 1 (read standard list) reads the meter");
    ExpectRefusal(kRefused, {"run", "1", "9", File("volume.txt")},
                  "function 9 (read tariffs) is not answered by a readout. Nothing was changed.");
    ExpectRefusal(kFileFailed, {"run", "1", "1", File("nowhere.txt")}, "nowhere.txt cannot be read");
    ExpectRefusal(kRefused, {"run", "3", "1", File("volume.txt")}, "the record expects no value of a meter");
}

TEST_F(MeterdbFunctions, RunRefusesTheReadoutOfAnotherMeter) {
    std::string numbered = kFunctions;
    numbered.insert(numbered.find("3.0.0="), "0.0.0-nom=,D,,30052217,\"\"\n");
    m_folder.Write("route.ini", numbered);
    m_folder.Write("other.txt", "/ABC4GE4\r\n0.0.0(30052218)\r\n3.0.0(1)\r\n!\r\n");
    ExpectRefusal(kRefused, {"run", "1", "1", File("other.txt")}, "the readout is of another meter");
    EXPECT_EQ(Run({"run", "1", "1", File("other.txt"), "--force"}), kDone);
}

TEST_F(MeterdbFunctions, FailedSaveOfAFunctionChangesNothing) {
    ExpectFailedSaves({"run", "1", "101"});
    ExpectFailedSaves({"run", "1", "1", File("volume.txt")});
}
