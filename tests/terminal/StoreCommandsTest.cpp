// The commands of the store: which meters are carried along, and the exchange of a meter for one of them.
#include <string>

#include "tests/terminal/MeterdbFixture.h"

namespace fs = std::filesystem;
using testing::HasSubstr;
namespace fs = std::filesystem;
using testing::Not;

namespace {

// Meter 1 is to be changed, meter 2 to be mounted, meter 3 to be read.
constexpr const char* kExchangeRoute =
    "[General]\nMeters=4\n"
    "[#_1]\nState=U\nMeterType=,D,,Electricity,\"\"\nAction=,D,,Change,\"\"\n0.0.0-nom=,D,16,1001,\"\"\n"
    "1.8.0=R,DR,8.1 kWh,000100.0,\"\"\n"
    "[#1_1]\n#1=,D,,New meter,\"\"\n1.8.0=R,U,8.1 kWh,,\"\"\nFunc1=,U,,1,\"\"\nfunc2=,U,,8,\"\"\n"
    "[#2_1]\n0.0.0=,D,16,0042,\"\"\n"
    "[#_2]\nState=E\nAction=,D,,mount,\"\"\n1.8.0=R,U,8.1 kWh,,\"\"\n"
    "[#_3]\nState=U\nMeterType=,D,,Gas,\"\"\n"
    "[#_4]\nState=U\nMeterType=,D,,Electricity,\"\"\nAction=,D,,Changeable,\"\"\n"
    "[Store]\nMeters=5\n"
    "[*_1]\nMeterType=,D,,electricity,\"\"\n0.0.0-nom=S,D,16,2001,\"\"\n1.8.0=RS,U,\"8.1 kWh,C0;50\",,\"\"\n"
    "Note=,D,,stays,\"\"\nFunc1=S,U,,101,\"\"\n"
    "[*_2]\n0.0.0-nom=S,D,16,,\"\"\n0.0.0=S,D,16,002002,\"\"\n1.6.0=RS,U,6.3 kW,,\"\"\n"
    "[*_3]\nMeterType=,D,,Gas,\"\"\n0.0.0=S,D,16,42,\"\"\n"
    "[*_4]\n0.0.0=,D,16,2004,\"\"\n3.0.0=S,U,8,,\"\"\n"
    "[*_5]\nMeterType=,D,,Gas,\"\"\n";

class MeterdbStore : public Meterdb {
protected:
    void SetUp() override {
        Meterdb::SetUp();
        m_folder.Write("route.ini", kExchangeRoute);
    }
};

}  // namespace

// ---- list and find

TEST_F(MeterdbStore, ListTellsWhichMetersAreFree) {
    EXPECT_EQ(Run({"store", "list"}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(m_out,
              "  #  Meter   Type         Where\n"
              "  -  ------  -----------  ----------\n"
              "  1  2001    electricity  free\n"
              "  2  002002               free\n"
              "  3  42      Gas          record 1/2\n"
              "  4  2004                 free\n"
              "  5  -       Gas          free\n"
              "\n"
              "5 store meters, 4 free\n");
    EXPECT_EQ(m_folder.Read("route.ini"), kExchangeRoute);
}

TEST_F(MeterdbStore, ListShowsTheMetersThatThereAre) {
    m_folder.Write("route.ini", kRoute);
    EXPECT_EQ(Run({"store", "list"}), kDone);
    EXPECT_EQ(m_out, "0 store meters\n");
    m_folder.Write("route.ini",
                   "[General]\nMeters=0\n[Store]\nMeters=2000000000\n[*_7]\n0.0.0=S,D,16,42,\"\"\n");
    EXPECT_EQ(Run({"store", "list"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  7  42     free\n\n1 store meter, 1 free\n"));
}

TEST_F(MeterdbStore, FindComparesNumbers) {
    EXPECT_EQ(Run({"store", "find", "0042"}), kDone);
    EXPECT_EQ(m_out,
              "  #  Meter  Type  Where\n"
              "  -  -----  ----  ----------\n"
              "  3  42     Gas   record 1/2\n");
    EXPECT_EQ(Run({"store", "find", "2002"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("\n  2  002002  free\n"));
    for (const char* number : {"1", "2003", "2001x", "", "-2001"})
        ExpectRefusal(kRefused, {"store", "find", "--", number},
                      std::string("the store has no meter with the number \"") + number + "\"");
}

// ---- mount

TEST_F(MeterdbStore, MountCopiesTheStoreFieldsIntoTheRecordOfTheNewMeter) {
    EXPECT_EQ(Run({"--user", "fitter02", "store", "mount", "1", "2001"}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(m_out,
              "Meter 1/1, 2001\n"
              "  Mounted  store meter 1, 2001, electricity\n"
              "\n"
              "Saved in route.ini, stamped (now) by fitter02\n"
              "\n"
              "  [#_1]\n"
              "  + UserID=A,D,,fitter02,\"\"\n"
              "  + LastChanges=A,D,,(now),\"\"\n"
              "\n"
              "  [#1_1]\n"
              "  - 1.8.0=R,U,8.1 kWh,,\"\"\n"
              "  + 1.8.0=RS,U,\"8.1 kWh,C0;50\",,\"\"\n"
              "  + 0.0.0-nom=S,D,16,2001,\"\"\n"
              "  + Func3=S,U,,101,\"\"\n");
    EXPECT_THAT(m_folder.Read("route.ini"), HasSubstr("1.8.0=R,DR,8.1 kWh,000100.0,\"\"\n"));
    EXPECT_THAT(m_folder.Read("app.ini"), HasSubstr("Dirty=Yes"));
    EXPECT_EQ(Run({"store", "list"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  1  2001    electricity  record 1/1\n"));
}

TEST_F(MeterdbStore, MountTakesTheRecordThatIsNamed) {
    EXPECT_EQ(Run({"store", "mount", "2", "2"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("Meter 2, 002002\n  Mounted  store meter 2, 002002\n"));
    EXPECT_THAT(m_folder.Read("route.ini"),
                HasSubstr("[#_2]\nState=E\nAction=,D,,mount,\"\"\n1.8.0=R,U,8.1 kWh,,\"\"\n"));
    EXPECT_EQ(Run({"store", "mount", "1/1", "1"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("Meter 1/1, 2001\n"));
}

TEST_F(MeterdbStore, MountOfAnotherMeterFreesTheFirst) {
    ASSERT_EQ(Run({"store", "mount", "1", "1"}), kDone);
    EXPECT_EQ(Run({"store", "mount", "1", "2"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  Mounted  store meter 2, 002002\n  Free     2001\n"));
    const std::string route = m_folder.Read("route.ini");
    EXPECT_THAT(route, HasSubstr("[#1_1]\n#1=,D,,New meter,\"\"\nFunc1=,U,,1,\"\"\nfunc2=,U,,8,\"\"\n"
                                 "0.0.0-nom=S,D,16,,\"\"\n0.0.0=S,D,16,002002,\"\"\n1.6.0=RS,U,6.3 kW,,\"\"\n"
                                 "[#2_1]"));
    EXPECT_EQ(Run({"store", "list"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  1  2001    electricity  free\n"));
}

TEST_F(MeterdbStore, MountWantsAnOrder) {
    ExpectRefusal(
        kRefused, {"store", "mount", "3", "2001"},
        "no exchange is ordered for meter 3: what is to be done is \"read out\". Nothing was changed.");
    ExpectRefusal(kRefused, {"store", "mount", "5", "2001"}, "there is no meter \"5\"");
    ExpectRefusal(kRefused, {"store", "mount", "4", "2001"},
                  "meter 4 has no appendix 1, the record of the meter that it is changed for. Nothing was "
                  "changed.");
}

TEST_F(MeterdbStore, MountWantsAFreeMeterThatFits) {
    ExpectRefusal(kRefused, {"store", "mount", "1", "2003"},
                  "there is no store meter \"2003\" among the 5 of the store. Nothing was changed.");
    ExpectRefusal(kRefused, {"store", "mount", "1", "3"},
                  "store meter 3, 42, Gas is not free: it is the meter of record 1/2. Nothing was changed.");
    ExpectRefusal(kRefused, {"store", "mount", "1", "5"},
                  "store meter 5, Gas has no number. Nothing was changed.");
    ASSERT_EQ(Run({"store", "mount", "1", "1"}), kDone);
    ExpectRefusal(kRefused, {"store", "mount", "1", "1"},
                  "store meter 1, 2001, electricity is not free: it is the meter of record 1/1.");
}

TEST_F(MeterdbStore, MountRefusesMetersOfAnotherType) {
    std::string route = kExchangeRoute;
    route.replace(route.find("0.0.0=S,D,16,42"), 15, "0.0.0=S,D,16,43");
    m_folder.Write("route.ini", route);
    ExpectRefusal(
        kRefused, {"store", "mount", "1", "43"},
        "store meter 3, 43, Gas does not fit: the record is of type Electricity. Nothing was changed.");
    EXPECT_EQ(Run({"store", "mount", "2", "43"}), kDone) << "a record without a type takes every meter";
}

TEST_F(MeterdbStore, MountRefusesMetersWhoseNumberWouldNotCome) {
    ExpectRefusal(
        kRefused, {"store", "mount", "1", "2004"},
        "the record would not be about meter 2004: its number is no store field. Nothing was changed.");
}

TEST_F(MeterdbStore, MountNeverReplacesAReading) {
    m_folder.Write("new.txt", "/ABC5EL\r\n0.0.0(2001)\r\n1.8.0(000001.4*kWh)\r\n!\r\n");
    ASSERT_EQ(Run({"store", "mount", "1", "1"}), kDone);
    ASSERT_EQ(Run({"read", "1/1", File("new.txt")}), kDone);
    ExpectRefusal(kRefused, {"store", "mount", "1", "2"},
                  "meter 2001 was mounted and read already. Nothing was changed.");
    m_folder.Write("route.ini", kExchangeRoute);
    ASSERT_EQ(Run({"read", "1/1", File("new.txt"), "--force"}), kDone);
    ExpectRefusal(kRefused, {"store", "mount", "1", "1"},
                  "the record has been read already: 1.8.0 would be lost. Nothing was changed.");
    EXPECT_EQ(Run({"store", "mount", "1", "2"}), kDone) << "this one has no such field";
}

TEST_F(MeterdbStore, FailedSaveOfAnExchangeChangesNothing) {
    ExpectFailedSaves({"store", "mount", "1", "1"});
}

// ---- parameter files

TEST_F(Meterdb, ParametersListsTheRegister) {
    m_folder.Write("app.ini",
                   "[ParameterFiles]\nFiles=4\nFile1=20260210081500,Sawmill,tariff set 1,par\\tariff.par\n"
                   "File2=today,,\"a,b\",/x\x1B.par\nFile4=20260211081500\n");
    EXPECT_EQ(Run({"parameters"}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(m_out,
              "  #  Time                 For      What          File\n"
              "  -  -------------------  -------  ------------  --------------\n"
              "  1  2026-02-10 08:15:00  Sawmill  tariff set 1  par/tariff.par\n"
              "  2  today                         a,b           /x\uFFFD.par\n"
              "  4  2026-02-11 08:15:00\n"
              "\n"
              "3 parameter files\n");
}

TEST_F(Meterdb, ParametersOfAnEmptyRegister) {
    EXPECT_EQ(Run({"parameters"}), kDone);
    EXPECT_EQ(m_out, "0 parameter files\n");
    m_folder.Write("app.ini", "[ParameterFiles]\nFiles=2000000000\nFile10002=20260211081500,,,a.par\n");
    EXPECT_EQ(Run({"parameters"}), kDone);
    EXPECT_EQ(m_out, "0 parameter files\n");
}

TEST_F(Meterdb, ParametersEntersAFileIntoTheRegister) {
    const std::string app = m_folder.Read("app.ini");
    EXPECT_EQ(Run({"parameters", "par/tariff.par", "Sawmill", "tariff set 1"}), kDone) << m_errors;
    EXPECT_EQ(m_out, "Entered par/tariff.par in app.ini\n");
    EXPECT_EQ(Run({"parameters", "PAR/tariff.par", "Sawmill"}), kDone);
    EXPECT_EQ(Run({"parameters", "b.par"}), kDone);
    EXPECT_EQ(Read("app.ini"), app +
                                   "[ParameterFiles]\nFiles=2\nFile1=(now),Sawmill,,PAR/tariff.par\n"
                                   "File2=(now),,,b.par\n");
    EXPECT_EQ(Run({"parameters"}), kDone);
    EXPECT_THAT(m_out, testing::HasSubstr("2 parameter files\n"));
    EXPECT_EQ(Run({"parameters", "b.par", "--json"}), kWrongUse);
}

TEST_F(Meterdb, ParametersRefusesWhatWouldNotBeFoundAgain) {
    for (const char* text : {"a,b", "say \"hi\"", "a\nb"}) {
        ExpectRefusal(kRefused, {"parameters", "b.par", text}, "a comma, a quote or a line break");
        ExpectRefusal(kRefused, {"parameters", "b.par", "x", text}, "cannot be registered");
        ExpectRefusal(kRefused, {"parameters", text}, "cannot be registered");
    }
    ExpectRefusal(kRefused, {"parameters", "", "Sawmill"},
                  "a parameter file without a name cannot be registered");
}

TEST_F(Meterdb, ParametersThatCannotBeSavedSaySo) {
    fs::permissions(m_folder.Path() / "app.ini", fs::perms::owner_read);
    ExpectRefusal(kFileFailed, {"parameters", "b.par"}, "save error: " + File("app.ini"));
    fs::permissions(m_folder.Path() / "app.ini", fs::perms::owner_all);
}
