// The commands of the raw data archive, and the copy of a readout that a visit leaves in it.
#include <filesystem>
#include <sstream>
#include <string>

#include "tests/support/Host.h"
#include "tests/terminal/MeterdbFixture.h"

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr const char* kSystem =
    "[System]\nAppFile=app.ini\nRawFile=data\\raw.dat\nDataFile=route.ini\nRawPath=spool\n";

std::string Block(const std::string& name, const std::string& bytes) {
    return "\r\n<<<<<~~~~~(" + name + ")~~~~~>>>>>\r\n" + bytes;
}

class MeterdbArchive : public Meterdb {
protected:
    void SetUp() override {
        Meterdb::SetUp();
        m_folder.Write("meterdb.ini", kSystem);
        fs::create_directory(m_folder.Path() / "spool");
        fs::create_directory(m_folder.Path() / "data");
        m_folder.Write("spool/profile.txt", m_profile);
        m_folder.Write("spool/log.txt", "1\n");
    }

    const std::string m_profile = std::string("P.01(\0)\r\n", 9);
};

}  // namespace

// ---- add

TEST_F(MeterdbArchive, AddMovesFilesOfTheSpoolDirectory) {
    EXPECT_EQ(Run({"archive", "add", "profile.txt", "log.txt", "profile.txt"}), kDone);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(m_out,
              "Moved profile.txt, 9 bytes, from spool into data/raw.dat\n"
              "Moved log.txt, 2 bytes, from spool into data/raw.dat\n");
    EXPECT_EQ(m_folder.Read("data/raw.dat"), Block("profile.txt", m_profile) + Block("log.txt", "1\n"));
    EXPECT_FALSE(m_folder.Exists("spool/profile.txt"));
    EXPECT_FALSE(m_folder.Exists("spool/log.txt"));
}

TEST_F(MeterdbArchive, AddTakesNamesOfAnyLetters) {
    const std::string name = std::string("Z\u00E4hler 7") + Host::kOddLetters + ".txt";
    m_folder.Write("spool/" + name, "x");
    EXPECT_EQ(Run({"archive", "add", name}), kDone);
    EXPECT_EQ(m_folder.Read("data/raw.dat"), Block(name, "x"));
}

TEST_F(MeterdbArchive, AddRefusesBeforeItMovesAnything) {
    ExpectRefusal(kRefused, {"archive", "add", "profile.txt", "nothing.txt"},
                  "there is no file nothing.txt in spool. Nothing was changed.");
    ExpectRefusal(kRefused, {"archive", "add", "profile.txt", "."}, "there is no file . in spool");
    for (const std::string& name : {std::string("../gas.txt"), File("gas.txt"), std::string("a,b"),
                                    std::string("a\nb"), std::string(230, 'n'), std::string()})
        ExpectRefusal(
            kRefused, {"archive", "add", "profile.txt", name},
            "is no name of a file in spool: it has up to 229 characters, no directory and no comma. "
            "Nothing was changed.");
    EXPECT_TRUE(m_folder.Exists("spool/profile.txt"));
    EXPECT_FALSE(m_folder.Exists("data/raw.dat"));
}

TEST_F(MeterdbArchive, AddNeverMovesFilesOfTheInstallation) {
    m_folder.Write("meterdb.ini", "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=route.ini\n");
    m_folder.Write("metertypes.ini", "");
    m_folder.Write("raw.dat", "");
    for (const char* name : {"meterdb.ini", "metertypes.ini", "route.ini", "app.ini", "raw.dat"})
        ExpectRefusal(kRefused, {"archive", "add", name},
                      std::string(name) + " belongs to the installation. Nothing was changed.");
    EXPECT_EQ(Run({"archive", "add", "gas.txt"}), kDone);
    EXPECT_EQ(m_out, "Moved gas.txt, 94 bytes, from the directory of the application into raw.dat\n");
}

TEST_F(MeterdbArchive, AddLeavesWhatItCannotMove) {
    m_folder.Write("data/raw.dat", "");
    fs::permissions(m_folder.Path() / "data/raw.dat", fs::perms::owner_read);
    EXPECT_EQ(Run({"archive", "add", "profile.txt"}), kFileFailed);
    EXPECT_EQ(m_errors,
              "meterdb: profile.txt could not be moved into the archive data/raw.dat: it stays in spool\n");
    EXPECT_EQ(m_folder.Read("spool/profile.txt"), m_profile);
}

// ---- list

TEST_F(MeterdbArchive, ListShowsTheBlocks) {
    ASSERT_EQ(Run({"archive", "add", "profile.txt", "log.txt"}), kDone);
    EXPECT_EQ(Run({"archive", "list"}), kDone);
    EXPECT_EQ(m_out,
              "  #  Block        Bytes\n"
              "  -  -----------  -----\n"
              "  1  profile.txt      9\n"
              "  2  log.txt          2\n"
              "\n"
              "2 blocks in data/raw.dat, 11 bytes\n");
}

TEST_F(MeterdbArchive, ListOfNothing) {
    EXPECT_EQ(Run({"archive", "list"}), kDone);
    EXPECT_EQ(m_out, "0 blocks in data/raw.dat\n");
    m_folder.Write("data/raw.dat", "no block");
    EXPECT_EQ(Run({"archive", "list"}), kDone);
    EXPECT_EQ(m_out, "0 blocks in data/raw.dat\n");
}

TEST_F(MeterdbArchive, ListOfAnUnreadableArchive) {
    fs::create_directory(m_folder.Path() / "data/raw.dat");
    ExpectRefusal(kFileFailed, {"archive", "list"}, "the archive data/raw.dat cannot be read");
}

// ---- extract

TEST_F(MeterdbArchive, ExtractGivesBackTheBytes) {
    ASSERT_EQ(Run({"archive", "add", "profile.txt", "log.txt"}), kDone);
    EXPECT_EQ(Run({"archive", "extract", "profile.txt", "--output", File("copy.txt")}), kDone);
    EXPECT_EQ(m_out, "Extracted to " + File("copy.txt") + "\n");
    EXPECT_EQ(m_folder.Read("copy.txt"), m_profile);
    EXPECT_EQ(Run({"archive", "extract", "log.txt", "--output", File("log.txt")}), kDone);
    EXPECT_EQ(m_folder.Read("log.txt"), "1\n");
}

TEST_F(MeterdbArchive, ExtractFindsBlocksByNumber) {
    m_folder.Write("data/raw.dat", Block("a", "1") + Block("a", "22") + Block("2", "333") + Block("4", ""));
    const auto extracted = [this](const std::string& block) {
        fs::remove(m_folder.Path() / "copy.txt");
        EXPECT_EQ(Run({"archive", "extract", block, "--output", File("copy.txt")}), kDone) << m_errors;
        return m_folder.Read("copy.txt");
    };
    EXPECT_EQ(extracted("a"), "1");
    EXPECT_EQ(extracted("1"), "1");
    EXPECT_EQ(extracted("2"), "333") << "a name goes before a number";
    EXPECT_EQ(extracted("3"), "333");
    EXPECT_EQ(extracted("4"), "");
}

TEST_F(MeterdbArchive, ExtractRefusesUnknownBlocks) {
    ExpectRefusal(kRefused, {"archive", "extract", "a"}, "the archive data/raw.dat has no block \"a\"");
    m_folder.Write("data/raw.dat", Block("a", "1"));
    for (const char* block : {"A", "0", "2", "99999999999999999999", "-1", ""})
        ExpectRefusal(kRefused, {"archive", "extract", "--output", File("copy.txt"), "--", block},
                      std::string("the archive data/raw.dat has no block \"") + block +
                          "\"; meterdb archive list shows those that it has");
    EXPECT_FALSE(m_folder.Exists("copy.txt"));
}

TEST_F(MeterdbArchive, ExtractOverwritesNothingAndWritesWhereItIsTold) {
    m_folder.Write("data/raw.dat", Block("../gas.txt", "1"));
    ExpectRefusal(
        kRefused, {"archive", "extract", "1", "--output", File("gas.txt")},
        "there is a file " + File("gas.txt") + " already: --output names another one. Nothing was changed.");
    EXPECT_EQ(m_folder.Read("gas.txt"), kGas);
    ExpectRefusal(kRefused, {"archive", "extract", "1"},
                  "a file cannot be called ../gas.txt: --output gives it a name");
    ExpectRefusal(kFileFailed, {"archive", "extract", "1", "--output", File("none/copy.txt")},
                  "the file " + File("none/copy.txt") + " cannot be written");
}

// ---- delete

TEST_F(MeterdbArchive, DeleteRemovesTheArchive) {
    ASSERT_EQ(Run({"archive", "add", "profile.txt"}), kDone);
    EXPECT_EQ(Run({"archive", "delete"}), kDone);
    EXPECT_EQ(m_out, "Deleted data/raw.dat with 1 block\n");
    EXPECT_FALSE(m_folder.Exists("data/raw.dat"));
    ExpectRefusal(kRefused, {"archive", "delete"}, "there is no archive data/raw.dat. Nothing was changed.");
}

// ---- visits

TEST_F(MeterdbArchive, VisitKeepsACopyOfTheReadout) {
    ASSERT_EQ(Run({"read", "1", File("gas.txt")}), kDone);
    EXPECT_THAT(m_out, HasSubstr("\n\nArchived in data/raw.dat as readout-(now)-30052217.txt\n"));
    EXPECT_EQ(Read("data/raw.dat"), Block("readout-(now)-30052217.txt", kGas));
    EXPECT_EQ(m_folder.Read("gas.txt"), kGas);
    EXPECT_FALSE(fs::exists(m_folder.Path() / "spool/gas.txt"));
    EXPECT_EQ(Run({"read", "2", File("electricity.txt")}), kDone);
    EXPECT_EQ(Run({"archive", "list"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("\n2 blocks in data/raw.dat"));
}

TEST_F(MeterdbArchive, CopiesAreNamedByPlainLetters) {
    m_folder.Write("route.ini",
                   "[General]\nMeters=2\n[#_1]\nState=U\n1.8.0=R,U,8.1 kWh,,\"\"\n"
                   "[#1_1]\n1.8.0=R,U,8.1 kWh,,\"\"\n"
                   "[#_2]\nState=U\n0.0.0-nom=,D,,../" +
                       std::string(200, '1') + ",\"\"\n1.8.0=R,U,8.1 kWh,,\"\"\n");
    ASSERT_EQ(Run({"read", "1/1", File("electricity.txt")}), kDone);
    EXPECT_THAT(m_out, HasSubstr(" as readout-(now)-1_1.txt\n"));
    ASSERT_EQ(Run({"read", "2", File("electricity.txt"), "--force"}), kDone);
    EXPECT_THAT(m_out, HasSubstr(" as readout-(now)-___111"));
}

TEST_F(MeterdbArchive, RefusedVisitsLeaveNoCopy) {
    m_folder.Write("cut.txt", "/ABC4GE4\r\n3.0.0(1");
    ExpectRefusal(kRefused, {"read", "1", File("cut.txt")}, "is refused");
    ExpectRefusal(kRefused, {"read", "1", File("electricity.txt")}, "of another meter");
    EXPECT_FALSE(m_folder.Exists("data/raw.dat"));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder.Path() / "spool"), {}), 2);
}

TEST_F(MeterdbArchive, VisitIsSavedWhenItsCopyIsNot) {
    fs::remove_all(m_folder.Path() / "spool");
    EXPECT_EQ(Run({"read", "1", File("gas.txt")}), kFileFailed);
    EXPECT_THAT(m_errors,
                StartsWith("meterdb: the readout is saved in the record, but not archived: the file "));
    EXPECT_THAT(m_folder.Read("route.ini"), HasSubstr("C10;20,BC\",0012.40,\"\""));
}

TEST_F(MeterdbArchive, CopyThatCannotBeArchivedWaitsInTheSpoolDirectory) {
    fs::create_directory(m_folder.Path() / "data/raw.dat");
    EXPECT_EQ(Run({"read", "1", File("gas.txt")}), kFileFailed);
    EXPECT_THAT(m_errors, HasSubstr("could not be moved into the archive data/raw.dat: it stays in spool\n"));
    fs::remove(m_folder.Path() / "spool/profile.txt");
    fs::remove(m_folder.Path() / "spool/log.txt");
    const fs::directory_iterator waiting(m_folder.Path() / "spool");
    ASSERT_NE(waiting, fs::directory_iterator());
    EXPECT_EQ(m_folder.Read("spool/" + waiting->path().filename().string()), kGas);
}

TEST_F(MeterdbArchive, DeleteAsksThePersonWhoIsThere) {
    ASSERT_EQ(Run({"archive", "add", "profile.txt"}), kDone);
    std::istringstream no("\n");
    EXPECT_EQ(Run({"archive", "delete"}, {false, 0, false, &no}), kRefused);
    EXPECT_EQ(m_errors, "Delete data/raw.dat with 1 block? [y/N] meterdb: Nothing was changed.\n");
    EXPECT_TRUE(m_folder.Exists("data/raw.dat"));
    std::istringstream unasked("n\n");
    EXPECT_EQ(Run({"archive", "delete", "--yes"}, {false, 0, false, &unasked}), kDone);
    EXPECT_EQ(m_out, "Deleted data/raw.dat with 1 block\n");
    EXPECT_FALSE(m_folder.Exists("data/raw.dat"));
}
