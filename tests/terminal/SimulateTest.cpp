// Made-up installations: the same for the same seed, in order, believable, and readable with their readouts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "terminal/Refusal.h"
#include "terminal/Terminal.h"
#include "tests/support/TestFolder.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

namespace {

class Simulated : public testing::Test {
protected:
    int Run(const std::vector<std::string>& arguments) {
        std::ostringstream out;
        std::ostringstream errors;
        Screen screen(out, errors, {});
        const int code = RunTerminal(arguments, screen);
        m_out = out.str();
        m_errors = errors.str();
        return code;
    }

    std::string Folder(const std::string& name) const { return (m_folder.Path() / name).string(); }

    int Make(const std::string& name, const std::vector<std::string>& more) {
        std::vector<std::string> arguments = {"simulate", Folder(name)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Run(arguments);
    }

    // The records of an installation.
    std::vector<json> Records(const std::string& name) {
        EXPECT_EQ(Run({"--dir", Folder(name), "export", "--jsonl"}), kDone);
        std::vector<json> records;
        std::istringstream lines(m_out);
        for (std::string line; std::getline(lines, line);)
            records.push_back(json::parse(line));
        return records;
    }

    TestFolder m_folder;
    std::string m_out;
    std::string m_errors;
};

}  // namespace

TEST_F(Simulated, SameSeedMakesTheSameRoute) {
    ASSERT_EQ(Make("a", {"--meters", "40", "--seed", "5"}), kDone);
    ASSERT_EQ(Make("b", {"--meters", "40", "--seed", "5"}), kDone);
    ASSERT_EQ(Make("c", {"--meters", "40", "--seed", "6"}), kDone);
    EXPECT_EQ(m_folder.Read("a/data/route.ini"), m_folder.Read("b/data/route.ini"));
    EXPECT_NE(m_folder.Read("a/data/route.ini"), m_folder.Read("c/data/route.ini"));
}

// The bytes of a seed are kept: measurements and lessons refer to them.
TEST_F(Simulated, SeedMakesTheSameMetersOnEverySystem) {
    ASSERT_EQ(Make("a", {"--meters", "2", "--seed", "5"}), kDone);
    const std::vector<json> records = Records("a");
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0]["meter"], "17368787");
    EXPECT_EQ(records[1]["meter"], "14737574");
}

TEST_F(Simulated, NothingButUnusedFieldsIsFoundInIt) {
    ASSERT_EQ(Make("a", {"--meters", "300"}), kDone);
    EXPECT_EQ(Run({"--dir", Folder("a"), "check", "--json"}), kDone);
    for (const json& finding : json::parse(m_out))
        EXPECT_EQ(finding["code"], "I15") << finding;
}

TEST_F(Simulated, OpeningChangesNoByte) {
    ASSERT_EQ(Make("a", {"--meters", "30"}), kDone);
    const std::string route = m_folder.Read("a/data/route.ini");
    const std::string app = m_folder.Read("a/data/app.ini");
    EXPECT_EQ(Run({"--dir", Folder("a"), "route"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("30 meters: "));
    EXPECT_EQ(m_folder.Read("a/data/route.ini"), route);
    EXPECT_EQ(m_folder.Read("a/data/app.ini"), app);
}

TEST_F(Simulated, RegistersCountUpwards) {
    ASSERT_EQ(Make("a", {"--meters", "60", "--done", "100"}), kDone);
    int compared = 0;
    for (const json& record : Records("a")) {
        std::map<std::string, double> values;
        for (const json& value : record["values"])
            if (value.contains("value"))
                values[value["name"]] = std::atof(value["value"].get<std::string>().c_str());
        for (const std::string name : {"1.8.0", "1.8.1", "1.8.2", "3.0.0", "1.0.0", "6.8"}) {
            double later = values[name];
            for (int month = 1; month <= 15 && values.count(name + "*01") != 0; ++month, ++compared) {
                const double earlier = values[name + (month < 10 ? "*0" : "*") + std::to_string(month)];
                EXPECT_GE(later, earlier) << record["meter"] << " " << name << " " << month;
                EXPECT_GT(earlier, 0);
                later = earlier;
            }
        }
    }
    EXPECT_GT(compared, 500);
}

TEST_F(Simulated, ReadoutsBelongToMetersThatAreToBeRead) {
    ASSERT_EQ(Make("a", {"--meters", "30", "--done", "0", "--readouts", "30"}), kDone);
    int good = 0;
    for (const fs::directory_entry& readout : fs::directory_iterator(m_folder.Path() / "a" / "readouts")) {
        const int code =
            Run({"--dir", Folder("a"), "read", readout.path().stem().string(), readout.path().string()});
        const bool isOther = m_errors.find("of another meter") != std::string::npos;
        EXPECT_TRUE(code == kDone || isOther) << m_errors;
        good += code == kDone ? 1 : 0;
    }
    EXPECT_GT(good, 20);
}

TEST_F(Simulated, ShareOfReadMetersIsAsWished) {
    ASSERT_EQ(Make("a", {"--meters", "400", "--done", "25", "--readouts", "3"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("400 meters, 3 readouts"));
    const std::vector<json> records = Records("a");
    const auto done = std::count_if(records.begin(), records.end(),
                                    [](const json& record) { return record["stateLetters"] == "H"; });
    EXPECT_NEAR(static_cast<double>(done), 100, 30);
}

TEST_F(Simulated, NothingIsOverwritten) {
    m_folder.Write("note.txt", "keep");
    EXPECT_EQ(Run({"simulate", m_folder.Path().string()}), kRefused);
    EXPECT_THAT(m_errors, HasSubstr("is there already and not empty"));
    EXPECT_EQ(m_folder.Names(), std::vector<std::string>{"note.txt"});
}

TEST_F(Simulated, PlaceThatCannotBeWrittenIsNamed) {
    m_folder.Write("file", "");
    EXPECT_EQ(Run({"simulate", Folder("file/town")}), kFileFailed);
    EXPECT_THAT(m_errors, HasSubstr("cannot be written"));
}

TEST_F(Simulated, NumbersOutOfRangeAreWrongUse) {
    EXPECT_EQ(Make("a", {"--meters", "0"}), kWrongUse);
    EXPECT_EQ(Make("a", {"--done", "101"}), kWrongUse);
    EXPECT_FALSE(m_folder.Exists("a"));
}
