// The commands that change which meters the route has: types, append, delete and wipe.
#include <filesystem>
#include <sstream>
#include <string>

#include "tests/terminal/MeterdbFixture.h"

using testing::HasSubstr;

namespace {

constexpr const char* kSystem =
    "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=route.ini\n"
    "[Languages]\nLanguages=2\nLanguage1=en,en.ini\nLanguage2=de,de.ini\n"
    "[Append]\nMeterType=,D,,Unknown,\"\"\nTypes=3\nType1=Gas,Gas meter\nType2=Oil,\"Oil, any\"\nType3=Ore\n"
    "[Append_de]\nTypes=1\nType1=Gas,Gasz\xC3\xA4hler\n"
    "[AppendGas]\nMeterType=,D,,Gas,\"\"\nTown=G,D,,Village,\"\"\n0.0.0=R,U,16,,\"\"\n"
    "#1=,D,,Converter,\"\"\nC.1=R,U,16,,\"\"\n";

class MeterdbRouteEdits : public Meterdb {
protected:
    void SetUp() override {
        Meterdb::SetUp();
        m_folder.Write("meterdb.ini", kSystem);
    }
};

}  // namespace

// ---- types

TEST_F(MeterdbRouteEdits, TypesListsWhatCanBeAppended) {
    EXPECT_EQ(Run({"types"}), kDone);
    EXPECT_EQ(m_out,
              "  Type  Name\n"
              "  ----  ---------\n"
              "  Gas   Gas meter\n"
              "  Oil   Oil, any\n"
              "  Ore\n"
              "\n"
              "3 types\n");
    EXPECT_EQ(Run({"types", "--language", "de"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  Gas   Gasz\u00E4hler\n\n1 type\n"));
}

TEST_F(MeterdbRouteEdits, TypesOfAnInstallationWithoutAny) {
    m_folder.Write("meterdb.ini", "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=route.ini\n");
    EXPECT_EQ(Run({"types"}), kDone);
    EXPECT_EQ(m_out, "0 types\n");
    ExpectRefusal(
        kRefused, {"append", "Gas"},
        "no meter of type \"Gas\" can be appended: the installation has no types. Nothing was changed.");
}

// ---- append

TEST_F(MeterdbRouteEdits, AppendAddsAMeterFromItsTemplate) {
    std::string route = kRoute;
    route.insert(route.find("DBInfo"), "Town=Northbridge\n");
    m_folder.Write("route.ini", route);
    EXPECT_EQ(Run({"--user", "reader07", "append", "gas"}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(m_out,
              "Meter 5, Gas\n"
              "  State    new appended (read out)\n"
              "\n"
              "Saved in route.ini, stamped (now) by reader07\n"
              "\n"
              "  [#_5]\n"
              "  + State=E\n"
              "  + MeterType=,D,,Gas,\"\"\n"
              "  + Town=G,D,,Northbridge,\"\"\n"
              "  + 0.0.0=R,U,16,,\"\"\n"
              "  + UserID=A,D,,reader07,\"\"\n"
              "  + LastChanges=A,D,,(now),\"\"\n"
              "\n"
              "  [#1_5]\n"
              "  + #1=,D,,Converter,\"\"\n"
              "  + C.1=R,U,16,,\"\"\n");
    route.replace(route.find("Meters=4"), 8, "Meters=5");
    EXPECT_EQ(Read("route.ini"),
              route +
                  "[#_5]\nState=E\nMeterType=,D,,Gas,\"\"\nTown=G,D,,Northbridge,\"\"\n"
                  "0.0.0=R,U,16,,\"\"\nUserID=A,D,,reader07,\"\"\nLastChanges=A,D,,(now),\"\"\n"
                  "\n[#1_5]\n#1=,D,,Converter,\"\"\nC.1=R,U,16,,\"\"\n\n");
    EXPECT_THAT(m_folder.Read("app.ini"), HasSubstr("Dirty=Yes"));
}

TEST_F(MeterdbRouteEdits, AppendTakesTheCommonTemplateForATypeWithoutOne) {
    EXPECT_EQ(Run({"append", "Oil"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("Meter 5, Unknown\n"));
    EXPECT_EQ(Run({"append", "Oil"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("Meter 6, Unknown\n"));
}

TEST_F(MeterdbRouteEdits, AppendRefusesTypesThatAreNotOffered) {
    ExpectRefusal(
        kRefused, {"append", "Coal"},
        "no meter of type \"Coal\" can be appended: the installation has Gas, Oil, Ore. Nothing was "
        "changed.");
    EXPECT_EQ(Run({"types", "--language", "de"}), kDone);
    ExpectRefusal(kRefused, {"append", "oil"}, "the installation has Gas. Nothing was changed.");
}

TEST_F(MeterdbRouteEdits, AppendRefusesTypesWithoutATemplate) {
    m_folder.Write("meterdb.ini",
                   "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=route.ini\n"
                   "[Languages]\nLanguages=1\nLanguage1=en,en.ini\n[Append_en]\nTypes=1\nType1=Gas,Gas\n");
    ExpectRefusal(kRefused, {"append", "Gas"},
                  "the installation has no template for type \"Gas\". Nothing was changed.");
}

TEST_F(MeterdbRouteEdits, FailedSaveOfANewMeterChangesNothing) {
    ExpectFailedSaves({"append", "Gas"});
}

// ---- delete

TEST_F(MeterdbRouteEdits, DeleteRemovesAMeterWithItsAppendices) {
    EXPECT_EQ(Run({"delete", "20481632"}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(m_out,
              "Meter 2, 20481632, Electricity, B\u00E4ckerei\n"
              "  Deleted; the 2 meters behind it have moved down by one\n"
              "\n"
              "Saved in route.ini\n"
              "\n"
              "  [#_2]\n"
              "  - State=H\n"
              "  - MeterType=,D,,Electricity,\"\"\n"
              "  - Customer=,D,,B\u00E4ckerei,\"\"\n"
              "  - Action=,D,,Change,\"\"\n"
              "  - 0.0.0=R,D,16,20481632,\"\"\n"
              "  - 1.8.0=R,D,8.1 kWh,000100.0,\"\"\n"
              "\n"
              "  [#1_2]\n"
              "  - 0.0.0=R,U,16,20481700,\"\"\n"
              "  - 1.8.0=R,U,8.1 kWh,,\"\"\n");
    std::string expected = kRoute;
    const std::size_t second = expected.find("[#_2]");
    expected.erase(second, expected.find("[#_3]") - second);
    expected.replace(expected.find("[#_3]"), 5, "[#_2]");
    expected.replace(expected.find("[#_4]"), 5, "[#_3]");
    expected.replace(expected.find("Meters=4"), 8, "Meters=3");
    EXPECT_EQ(m_folder.Read("route.ini"), expected);
    EXPECT_THAT(m_folder.Read("app.ini"), HasSubstr("Dirty=Yes"));
}

TEST_F(MeterdbRouteEdits, DeleteSaysHowManyMetersMove) {
    EXPECT_EQ(Run({"delete", "3"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  Deleted; the meter behind it has moved down by one\n"));
    EXPECT_EQ(Run({"delete", "3"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("  Deleted\n\nSaved"));
}

TEST_F(MeterdbRouteEdits, DeleteRefusesWhatIsNoMeter) {
    ExpectRefusal(kRefused, {"delete", "2/1"},
                  "an appendix is deleted with its meter only: say 2. Nothing was changed.");
    ExpectRefusal(kRefused, {"delete", "5"}, "there is no meter \"5\"");
}

TEST_F(MeterdbRouteEdits, FailedSaveOfADeletedMeterChangesNothing) {
    ExpectFailedSaves({"delete", "2"});
}

TEST_F(Meterdb, DeleteAsksThePersonWhoIsThere) {
    std::istringstream no("n\n");
    const std::string route = m_folder.Read("route.ini");
    EXPECT_EQ(Run({"delete", "2"}, {false, 0, false, &no}), kRefused);
    EXPECT_EQ(m_errors,
              "Meter 2, 20481632, Electricity, B\u00E4ckerei\n"
              "Delete this meter with its appendices? [y/N] meterdb: Nothing was changed.\n");
    EXPECT_EQ(m_folder.Read("route.ini"), route);
    std::istringstream yes("y\n");
    EXPECT_EQ(Run({"delete", "2"}, {false, 0, false, &yes}), kDone);
    std::istringstream unasked("n\n");
    EXPECT_EQ(Run({"delete", "2", "--yes"}, {false, 0, false, &unasked}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_THAT(m_folder.Read("route.ini"), testing::HasSubstr("Meters=2"));
}

// ---- wipe

TEST_F(MeterdbRouteEdits, WipeLeavesAnEmptyRouteToAppendTo) {
    m_folder.Write("raw.dat", "\r\n<<<<<~~~~~(a)~~~~~>>>>>\r\nx");
    EXPECT_EQ(Run({"wipe", "--yes"}), kDone);
    EXPECT_EQ(m_out, "Deleted route.ini with 4 meters, and the archive of what they answered\n");
    EXPECT_FALSE(m_folder.Exists("raw.dat"));
    EXPECT_EQ(m_folder.Read("route.ini").find("[#_"), std::string::npos);
    EXPECT_EQ(Run({"append", "Gas"}), kDone);
    EXPECT_NE(m_folder.Read("route.ini").find("[#_1]"), std::string::npos);
}

TEST_F(MeterdbRouteEdits, WipeAsksThePersonWhoIsThere) {
    const std::string route = m_folder.Read("route.ini");
    std::istringstream no("n\n");
    EXPECT_EQ(Run({"wipe"}, {false, 0, false, &no}), kRefused);
    EXPECT_EQ(m_errors,
              "Delete route.ini with 4 meters, and the archive of what they answered? [y/N] "
              "meterdb: Nothing was changed.\n");
    EXPECT_EQ(m_folder.Read("route.ini"), route);
    std::istringstream yes("y\n");
    EXPECT_EQ(Run({"wipe"}, {false, 0, false, &yes}), kDone);
    EXPECT_EQ(m_folder.Read("route.ini").find("[#_"), std::string::npos);
}

TEST_F(MeterdbRouteEdits, WipeWaitsForAWordWhereNobodyCanBeAsked) {
    m_folder.Write("raw.dat", "\r\n<<<<<~~~~~(a)~~~~~>>>>>\r\nx");
    ExpectRefusal(kWrongUse, {"wipe"}, "nobody can be asked here: --yes deletes the route without asking");
    EXPECT_TRUE(m_folder.Exists("raw.dat"));
}

TEST_F(MeterdbRouteEdits, WipeSaysWhatCouldNotBeSaved) {
    m_folder.Write("app.ini", "[State]\nDirty=Yes\n[System]\nLanguage=en\n");
    std::filesystem::permissions(m_folder.Path() / "app.ini", std::filesystem::perms::owner_read);
    EXPECT_EQ(Run({"wipe", "--yes"}), kFileFailed);
    std::filesystem::permissions(m_folder.Path() / "app.ini", std::filesystem::perms::owner_all);
    EXPECT_EQ(m_errors, "meterdb: save error: " + File("app.ini") +
                            ". route.ini with 4 meters, and the archive of what "
                            "they answered, is deleted.\n");
    EXPECT_EQ(m_out, "");
}

TEST_F(MeterdbRouteEdits, WipeSaysWhenAFileStays) {
    std::filesystem::create_directory(m_folder.Path() / "raw.dat");
    EXPECT_EQ(Run({"wipe", "--yes"}), kFileFailed);
    EXPECT_EQ(m_errors, "meterdb: not all files could be deleted\n");
}
