// The sample installation does what its page says: every record and every readout of the table, and the
// exchange.
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"
#include "tests/support/Markdown.h"
#include "tests/terminal/MeterdbFixture.h"

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

namespace {

const fs::path kSamples = fs::path(PROJECT_DIR) / "samples";

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// All files of a directory by their names.
std::map<std::string, std::string> Files(const fs::path& directory) {
    std::map<std::string, std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory))
        if (entry.is_regular_file())
            files[fs::relative(entry.path(), directory).string()] = ReadFile(entry.path());
    return files;
}

std::string Page() {
    return Markdown::Page("samples/README.md");
}

// What matches the only group of a pattern, each time.
std::vector<std::string> Matches(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    std::vector<std::string> matches;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match)
        matches.push_back((*match)[1]);
    return matches;
}

// A row of the table of records.
struct Row {
    std::string place;
    std::string state;
    std::string action;
    std::vector<std::string> readouts;
    std::string shows;
};

// An appendix stands below its meter, without a number.
std::vector<Row> Rows() {
    std::vector<Row> rows;
    std::string meter;
    for (const std::vector<std::string>& cells :
         Markdown::Table(Page(), {"#", "Meter", "State", "Action", "Readouts", "What it shows"})) {
        meter = cells[0].empty() ? meter : cells[0];
        const std::vector<std::string> appendix = Matches(cells[1], R"(appendix (\d))");
        rows.push_back({appendix.empty() ? meter : meter + "/" + appendix.front(), cells[2], cells[3],
                        Markdown::Codes(cells[4]), cells[5]});
    }
    return rows;
}

class MeterdbSamples : public Meterdb {
protected:
    void SetUp() override { Restore(); }

    // Makes the folder the sample installation as it is handed out.
    void Restore() {
        for (const fs::directory_entry& entry : fs::directory_iterator(m_folder.Path()))
            fs::remove_all(entry.path());
        CopySamples(m_folder);
    }

    // Runs a line as the page has it.
    int RunLine(const std::string& line) {
        std::istringstream words(line);
        std::vector<std::string> arguments;
        for (std::string word; words >> word;)
            arguments.push_back(word.rfind("samples/", 0) == 0 ? (kSamples / word.substr(8)).string() : word);
        return Run(arguments);
    }

    void ExpectReadout(const Row& row, const std::string& name) {
        SCOPED_TRACE("meterdb read " + row.place + " " + name);
        Restore();
        for (const std::string& first : Matches(row.shows, "`(store [^`]*)`"))
            ASSERT_EQ(RunLine(first), kDone) << m_errors;
        const std::string file = (kSamples / "readouts" / (name + ".txt")).string();
        const bool isForced = row.shows.find("`--force`") != std::string::npos;
        if (row.shows.find("refused") != std::string::npos) {
            ExpectNothingChanged({"read", row.place, file});
            if (!isForced)
                return;
        }
        ASSERT_EQ(Run({"read", row.place, file, isForced ? "--force" : "--user=x"}), kDone) << m_errors;
        if (row.readouts.size() > 1)
            return;
        for (const std::string& status : Matches(row.shows, "status ([A-Z]+)"))
            EXPECT_THAT(m_out, HasSubstr("U -> " + status));
        for (const std::string& alarm : Matches(row.shows, "alarm (B[A-Z])"))
            EXPECT_THAT(m_out, HasSubstr("(" + alarm + ": "));
        if (row.shows.find("no alarm") != std::string::npos) {
            EXPECT_THAT(m_out, Not(HasSubstr("ALARM")));
        }
    }

    void ExpectNothingChanged(const std::vector<std::string>& arguments) {
        const std::map<std::string, std::string> before = Files(m_folder.Path());
        EXPECT_EQ(Run(arguments), kRefused);
        EXPECT_EQ(Files(m_folder.Path()), before);
    }
};

}  // namespace

TEST_F(MeterdbSamples, OpeningAndSavingChangesNoByte) {
    const std::map<std::string, std::string> before = Files(m_folder.Path());
    {
        CMeterDatabase database(m_folder.Wide().c_str());
        database.SetIniFile(L"meterdb.ini");
        ASSERT_TRUE(database.OpenDataFile(false));
        EXPECT_FALSE(database.IniFileError());
        EXPECT_EQ(Files(m_folder.Path()), before);
        EXPECT_TRUE(database.UpdateDatabaseForeground());
    }
    EXPECT_EQ(Files(m_folder.Path()), before);
}

TEST_F(MeterdbSamples, RecordsAreThoseOfTheTable) {
    std::set<std::string> meters;
    for (const Row& row : Rows()) {
        SCOPED_TRACE("record " + row.place);
        if (row.state.empty())
            continue;
        meters.insert(row.place);
        ASSERT_EQ(Run({"state", row.place}), kDone) << m_errors;
        EXPECT_THAT(m_out, HasSubstr("State    " + row.state.substr(0, 1) + ": " + row.state.substr(2)));
        if (row.state == "I information")
            continue;
        ASSERT_EQ(Run({"item", row.place, "Action"}), kDone) << m_errors;
        EXPECT_THAT(m_out, HasSubstr(",D,," + row.action + ",\"\""));
    }
    ASSERT_EQ(Run({"route"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("\n" + std::to_string(meters.size()) + " meters: "));
}

TEST_F(MeterdbSamples, ReadoutsAreTakenOrRefusedAsTheTableSays) {
    std::set<std::string> readouts;
    for (const Row& row : Rows()) {
        for (const std::string& readout : row.readouts) {
            readouts.insert(readout + ".txt");
            ExpectReadout(row, readout);
        }
    }
    std::set<std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(kSamples / "readouts"))
        files.insert(entry.path().filename().string());
    EXPECT_EQ(readouts, files);
}

TEST_F(MeterdbSamples, ExchangeGoesAsThePageSays) {
    const std::vector<std::string> commands = Markdown::Blocks(Page(), "");
    const std::vector<std::string> records = Markdown::Blocks(Page(), "ini");
    ASSERT_EQ(commands.size(), 1U);
    ASSERT_EQ(records.size(), 1U);
    const std::string record = std::regex_replace(records[0], std::regex("\n"), "\r\n");
    int mounts = 0;
    for (const std::string& line : Matches(commands[0], "(?:^|\n)meterdb ([^\n]*)")) {
        ASSERT_EQ(RunLine(line), kDone) << line << '\n' << m_errors;
        if (line.rfind("store mount", 0) != 0)
            continue;
        ++mounts;
        EXPECT_THAT(m_folder.Read("data/route.ini"), HasSubstr(record + "\r\n"));
    }
    EXPECT_EQ(mounts, 1);
    EXPECT_THAT(m_out, HasSubstr("2 blocks in data/raw.dat"));
    EXPECT_EQ(Run({"store", "list"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("20077145  Electricity  record 2/1\n"));
}
