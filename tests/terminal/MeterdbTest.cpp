// The program from command line to exit code, on an installation in a folder of its own: what it shows, what
// it writes, and what it leaves alone.
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/terminal/MeterdbFixture.h"

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

// ---- route

TEST_F(Meterdb, RouteShowsEveryMeterWithStateAndAction) {
    EXPECT_EQ(Run({"route"}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(m_out,
              "Route 7\n"
              "\n"
              "  #  Meter     Type         Customer  Meter place  State        Action              Mark\n"
              "  -  --------  -----------  --------  -----------  -----------  ------------------  ----\n"
              "  1  30052217  Gas          Bakery    Yard, left   unhandled    read out\n"
              "  2  20481632  Electricity  B\u00E4ckerei               handled      change to 20481700  ok.\n"
              "  3                         Office                 info record  read out\n"
              "  4  20481700                                      unhandled    read out\n"
              "\n"
              "4 meters: 2 unhandled, 1 handled, 1 info record\n");
}

TEST_F(Meterdb, RouteLeavesTheFilesAlone) {
    const auto before = fs::last_write_time(m_folder.Path() / "route.ini");
    const std::vector<std::string> names = m_folder.Names();
    EXPECT_EQ(Run({"route"}), kDone);
    EXPECT_EQ(m_folder.Read("route.ini"), kRoute);
    EXPECT_EQ(fs::last_write_time(m_folder.Path() / "route.ini"), before);
    EXPECT_EQ(m_folder.Names(), names);
}

TEST_F(Meterdb, RouteWithoutMetersSaysSo) {
    m_folder.Write("route.ini", "[General]\nMeters=0\n");
    EXPECT_EQ(Run({"route"}), kDone);
    EXPECT_EQ(m_out, "0 meters\n");
}

TEST_F(Meterdb, HostileTextsOfTheRouteStayInTheirCells) {
    m_folder.Write("route.ini", "[General]\nMeters=1\n[#_1]\nState=U\nCustomer=,D,,\x1B[31mred\xE4,\"\"\n");
    EXPECT_EQ(Run({"route"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("\uFFFD[31mred\u00E4"));
    EXPECT_THAT(m_out, Not(HasSubstr("\x1B")));
}

TEST_F(Meterdb, ChosenLanguageIsKept) {
    EXPECT_EQ(Run({"--language", "DE", "route"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("Kunde"));
    EXPECT_THAT(m_out, HasSubstr("offen        ablesen"));
    EXPECT_THAT(m_folder.Read("app.ini"), HasSubstr("Language=de"));
    EXPECT_EQ(Run({"route"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("offen        ablesen"));
}

TEST_F(Meterdb, UnknownLanguageIsRefused) {
    ExpectRefusal(kRefused, {"--language", "fr", "route"}, "has no language \"fr\"; it has en, de");
}

// ---- read

TEST_F(Meterdb, ReadShowsTheWholeVisit) {
    EXPECT_EQ(Run({"--user", "reader07", "read", "1", File("alarm.txt")}), kDone);
    EXPECT_EQ(m_errors, "");
    const std::string readout = "  Readout  " + File("alarm.txt");
    EXPECT_EQ(m_out, "Meter 1, 30052217, Gas, Bakery\n" + readout +
                         ", ABC4GE4, 4 values\n"
                         "  State    unhandled (read out) -> handled (read out)\n"
                         "\n"
                         "  Value    Name            Before       After  Status   Mark  Finding\n"
                         "  -------  ----------  ----------  ----------  -------  ----  ---------------\n"
                         "  0.0.0                         -    30052217  U -> DR  ok.\n"
                         "  3.0.0    Gas volume  0009.10 m3  0021.40 m3  U -> CR  !     above 20\n"
                         "  97.97.0                       -        0100  U -> CR  !     should be 0000\n"
                         "  1.7.0                         -        4 kW  U -> CR  !     between 3 and 5\n"
                         "  9.9.9                         -           -  U              not sent\n"
                         "\n"
                         "4 of 5 values read, 3 findings\n"
                         "\n"
                         "ALARM\n"
                         "  3.0.0 Gas volume = 0021.40 m3: above 20  (BC: alarm on failed check)\n"
                         "  9.9.9: not sent  (BU: alarm on no value)\n"
                         "\n"
                         "Saved in route.ini, stamped (now) by reader07\n"
                         "\n"
                         "  [#_1]\n"
                         "  - State=U\n"
                         "  + State=H\n"
                         "  - 0.0.0=R,U,\"16,V0.0.0-nom,BW\",,\"\"\n"
                         "  + 0.0.0=R,DR,\"16,V0.0.0-nom,BW\",30052217,\"\"\n"
                         "  - 3.0.0=R,U,\"8.2 m3,C10;20,BC\",0009.10,\"\"\n"
                         "  + 3.0.0=R,CR,\"8.2 m3,C10;20,BC\",0021.40,\"\"\n"
                         "  - 97.97.0=R,U,\"8,X0000\",,\"\"\n"
                         "  + 97.97.0=R,CR,\"8,X0000\",0100,\"\"\n"
                         "  - 1.7.0=R,U,\"6.1 kW,C5;3\",,\"\"\n"
                         "  + 1.7.0=R,CR,\"6.1 kW,C5;3\",4,\"\"\n"
                         "  + UserID=A,D,,reader07,\"\"\n"
                         "  + LastChanges=A,D,,(now),\"\"\n"
                         "\n"
                         "Archived in raw.dat as readout-(now)-30052217.txt\n");
}

TEST_F(Meterdb, ReadChangesWhatItShowsAndNothingElse) {
    ASSERT_EQ(Run({"--user", "reader07", "read", "1", File("gas.txt")}), kDone);
    std::string expected = kRoute;
    const auto replace = [&expected](const std::string& from, const std::string& to) {
        ASSERT_NE(expected.find(from), std::string::npos) << from;
        expected.replace(expected.find(from), from.size(), to);
    };
    replace("State=U", "State=H");
    replace("0.0.0=R,U,\"16,V0.0.0-nom,BW\",,\"\"", "0.0.0=R,DR,\"16,V0.0.0-nom,BW\",30052217,\"\"");
    replace("R,U,\"8.2 m3,C10;20,BC\",0009.10", "R,DR,\"8.2 m3,C10;20,BC\",0012.40");
    replace("97.97.0=R,U,\"8,X0000\",,", "97.97.0=R,DR,\"8,X0000\",0000,");
    replace("1.7.0=R,U,\"6.1 kW,C5;3\",,", "1.7.0=R,DR,\"6.1 kW,C5;3\",7,");
    replace("9.9.9=R,U,\"8,BU\",,\"\"\n",
            "9.9.9=R,U,\"8,BU\",,\"\"\nUserID=A,D,,reader07,\"\"\nLastChanges=A,D,,(now),\"\"\n");
    EXPECT_EQ(Read("route.ini"), expected);
    EXPECT_THAT(m_folder.Read("app.ini"), HasSubstr("Dirty=Yes"));
}

TEST_F(Meterdb, ReadFindsTheMeterByItsNumber) {
    EXPECT_EQ(Run({"read", "0030052217", File("gas.txt")}), kDone);
    EXPECT_THAT(m_out, HasSubstr("Meter 1, 30052217"));
    EXPECT_EQ(Run({"read", "20481632", File("electricity.txt")}), kDone);
    EXPECT_THAT(m_out, HasSubstr("Meter 2, 20481632"));
}

TEST_F(Meterdb, ReadOfAnAppendixLeavesAnUnreadMeterInWork) {
    m_folder.Write("new.txt",
                   "/ABC5EL\r\n\x02"
                   "0.0.0(20481700)\r\n1.8.0(000001.4*kWh)\r\n!\r\n");
    EXPECT_EQ(Run({"read", "2/1", File("new.txt")}), kDone);
    EXPECT_THAT(m_out, HasSubstr("State    handled (change to 20481700) -> handled"));
    EXPECT_THAT(m_out,
                HasSubstr("  [#1_2]\n  - 0.0.0=R,U,16,20481700,\"\"\n  + 0.0.0=R,DR,16,20481700,\"\"\n"));
    EXPECT_THAT(m_out, HasSubstr("  [#_2]\n  + UserID"));
    std::string unread = kRoute;
    unread.replace(unread.find("State=H"), 7, "State=AH");
    m_folder.Write("route.ini", unread);
    EXPECT_EQ(Run({"read", "2/1", File("new.txt")}), kDone);
    EXPECT_THAT(m_out, HasSubstr("unhandled (change to 20481700) -> in modification"));
}

TEST_F(Meterdb, ReadOfTheMasterValueMarksAnotherMeter) {
    m_folder.Write("other.txt",
                   "/ABC4GE4\r\n\x02"
                   "0.0.0(30052218)\r\n!\r\n");
    ExpectRefusal(
        kRefused, {"read", "1", File("other.txt")},
        "the readout is of another meter: it names 30052218, the record is of meter 30052217. Nothing was "
        "changed; --force takes it all the same.");
    EXPECT_EQ(Run({"read", "1", File("other.txt"), "--force"}), kDone);
    EXPECT_THAT(m_errors, HasSubstr("the readout is of another meter"));
    EXPECT_THAT(m_out, HasSubstr("30052218  U -> W  ?     should be 30052217 (0.0.0-nom)"));
    EXPECT_THAT(
        m_out,
        HasSubstr("0.0.0 = 30052218: should be 30052217 (0.0.0-nom)  (BW: alarm on failed check of the "
                  "main value)"));
}

TEST_F(Meterdb, ReadSaysWhenTheMeterCountsInAnotherUnit) {
    m_folder.Write("wh.txt",
                   "/ABC5EL\r\n\x02"
                   "1.8.0(000123456*Wh)\r\n!\r\n");
    EXPECT_EQ(Run({"read", "4", File("wh.txt")}), kDone);
    EXPECT_THAT(m_out, HasSubstr("000123456 kWh  U -> DR  ok.   the meter sent Wh"));
    EXPECT_THAT(m_folder.Read("route.ini"), HasSubstr("1.8.0=R,DR,8.1 kWh,000123456,\"\""));
}

TEST_F(Meterdb, ReadSaysWhyAValueIsNotStoredOrNotChecked) {
    m_folder.Write(
        "route.ini",
        "[General]\nMeters=1\n[#_1]\nState=U\n96.13.0=R,U,8,,\"\"\n96.1.1=R,U,\"16,V96.1.1-nom\",,\"\"\n");
    m_folder.Write("long.txt", "/ABC5EL\r\n96.13.0(" + std::string(256, 'a') + ")\r\n96.1.1(12)\r\n!\r\n");
    EXPECT_EQ(Run({"read", "1", File("long.txt")}), kDone);
    EXPECT_THAT(m_out, HasSubstr("96.13.0       -      -  U              too long to be stored\n"));
    EXPECT_THAT(m_out,
                HasSubstr("96.1.1        -     12  U -> CR  !     cannot be checked without 96.1.1-nom\n"));
    EXPECT_THAT(m_out, HasSubstr("1 of 2 values read, 1 finding\n"));
}

TEST_F(Meterdb, ReadWithoutFindingsShowsNoAlarm) {
    EXPECT_EQ(Run({"read", "2", File("electricity.txt")}), kDone);
    EXPECT_THAT(m_out, HasSubstr("2 of 2 values read, no finding\n"));
    EXPECT_THAT(m_out, HasSubstr("000100.0 kWh  000123.4 kWh  D -> DR  ok."));
    EXPECT_THAT(m_out, Not(HasSubstr("ALARM")));
    EXPECT_THAT(m_out, HasSubstr("by nobody (--user names the reader)"));
}

TEST_F(Meterdb, ReadColoursForPeopleOnly) {
    EXPECT_EQ(Run({"read", "1", File("alarm.txt")}, {true, 80}), kDone);
    EXPECT_THAT(m_out, HasSubstr("\x1B[31mALARM\x1B[0m"));
    EXPECT_EQ(Run({"read", "1", File("alarm.txt")}), kDone);
    EXPECT_THAT(m_out, Not(HasSubstr("\x1B")));
}

// ---- refusals

TEST_F(Meterdb, DamagedReadoutsChangeNothing) {
    m_folder.Write("cut.txt", std::string(kGas).substr(0, 40));
    m_folder.Write("check.txt", std::string(kGas) + "\x03?");
    m_folder.Write("empty.txt", "");
    m_folder.Write("zeros.txt", std::string(100000, '\0'));
    for (const auto& [name, problem] : std::vector<std::pair<std::string, std::string>>{
             {"cut.txt", "is refused: it is cut off: the end line \"!\" is missing. Nothing was changed."},
             {"check.txt", "is refused: its block check character is wrong"},
             {"empty.txt", "is refused: it is empty"},
             {"zeros.txt", "is refused: it holds no answer of a meter"}})
        ExpectRefusal(kRefused, {"read", "1", File(name)}, problem);
}

TEST_F(Meterdb, ReadoutIsRefusedBeforeAnyFileIsTouched) {
    fs::remove(m_folder.Path() / "route.ini");
    m_folder.Write("cut.txt", "/ABC\r\n1.8.0(");
    EXPECT_EQ(Run({"read", "1", File("cut.txt")}), kRefused);
    EXPECT_FALSE(m_folder.Exists("route.ini"));
}

TEST_F(Meterdb, UnknownMetersAreRefused) {
    for (const char* meter :
         {"5", "0", "-1", "2/2", "1/1", "1/", "/1", "30052218", "", "x", "99999999999999999999"})
        ExpectRefusal(kRefused, {"read", "--", meter, File("gas.txt")},
                      "there is no meter \"" + std::string(meter) + "\" on this route of 4 meters");
}

TEST_F(Meterdb, MeterNumberOfTwoRecordsIsRefused) {
    ExpectRefusal(kRefused, {"read", "20481700", File("gas.txt")},
                  "more than one record has the meter number 20481700: say 2/1 or 4");
}

TEST_F(Meterdb, RecordsThatExpectNothingOfTheReadoutAreLeftAlone) {
    ExpectRefusal(kRefused, {"read", "3", File("gas.txt")}, "the record expects no value of a meter");
    m_folder.Write("other.txt", "/ABC5EL\r\n5.8.0(1)\r\n!\r\n");
    ExpectRefusal(kRefused, {"read", "4", File("other.txt")},
                  "the readout holds none of the values that the record expects");
}

TEST_F(Meterdb, UnreadableFilesAreToldApart) {
    ExpectRefusal(kFileFailed, {"read", "1", File("nowhere.txt")}, "nowhere.txt cannot be read");
    ExpectRefusal(kFileFailed, {"read", "1", m_folder.Path().string()}, "cannot be read");
    ExpectRefusal(kFileFailed, {"--ini", "other.ini", "route"}, "other.ini of directory");
    m_folder.Write("bare.ini", "[System]\nAppFile=app.ini\n");
    ExpectRefusal(kFileFailed, {"--ini", "bare.ini", "route"}, "does not name its files");
    fs::remove(m_folder.Path() / "route.ini");
    fs::create_directory(m_folder.Path() / "route.ini");
    EXPECT_EQ(Run({"route"}), kFileFailed);
    EXPECT_THAT(m_errors, HasSubstr("the data file route.ini cannot be read"));
    fs::remove(m_folder.Path() / "app.ini");
    fs::create_directory(m_folder.Path() / "app.ini");
    EXPECT_EQ(Run({"route"}), kFileFailed);
    EXPECT_THAT(m_errors, HasSubstr("the app file app.ini cannot be read"));
}

TEST_F(Meterdb, FailedSaveOfAReadingChangesNothing) {
    ExpectFailedSaves({"read", "1", File("gas.txt")});
}

// ---- the command line

TEST_F(Meterdb, WrongUseIsToldFromRefusals) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"write"},
                                               {"read"},
                                               {"read", "1"},
                                               {"show"},
                                               {"set", "1", "Reason"},
                                               {"state"},
                                               {"item", "1"},
                                               {"commands"},
                                               {"append"},
                                               {"delete"},
                                               {"types", "Gas"},
                                               {"options"},
                                               {"run", "1"},
                                               {"run", "1", "x"},
                                               {"--level", "-1", "route"},
                                               {"--level", "x", "route"},
                                               {"route", "--columns"},
                                               {"route", "1"},
                                               {"route", "--force"},
                                               {"--user"},
                                               {"--colour"}}) {
        EXPECT_EQ(Run(arguments), kWrongUse);
        EXPECT_NE(m_errors, "");
        EXPECT_EQ(m_out, "");
    }
    const std::string longDirectory(300, 'd');
    EXPECT_EQ(Run({"--dir", longDirectory, "route"}), kWrongUse);
}

TEST_F(Meterdb, HelpAndVersionAreAnswers) {
    EXPECT_EQ(Run({"--help"}), kDone);
    for (const char* word : {"--dir", "--ini", "--user", "--level", "--language", "METERDB_DIR",
                             "METERDB_INI", "METERDB_LEVEL", "METERDB_USER", "Exit codes"})
        EXPECT_THAT(m_out, HasSubstr(word));
    EXPECT_EQ(Run({"--version"}), kDone);
    EXPECT_EQ(m_out.rfind("meterdb ", 0), 0u);
}

TEST_F(Meterdb, OptionsMayStandBehindTheCommand) {
    EXPECT_EQ(Run({"read", "1", File("gas.txt"), "--user", "reader07"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("by reader07"));
}

TEST_F(Meterdb, DirectoryMayEndWithASeparator) {
    std::ostringstream out;
    Screen screen(out, out, {});
    EXPECT_EQ(RunTerminal({"--dir", m_folder.Path().string() + "/", "route"}, screen), kDone);
}
