// What holds for every command: help with an example, listings for other programs, the manual and the
// completion that follow from the definitions.
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "terminal/CommandLine.h"
#include "tests/terminal/MeterdbFixture.h"

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

// Every command of the program with the words that reach it.
void AddCommands(const CLI::App& app, const std::vector<std::string>& words,
                 std::vector<std::vector<std::string>>* commands) {
    const std::vector<const CLI::App*> parts = app.get_subcommands([](const CLI::App*) { return true; });
    if (parts.empty())
        commands->push_back(words);
    for (const CLI::App* part : parts) {
        std::vector<std::string> more = words;
        more.push_back(part->get_name());
        AddCommands(*part, more, commands);
    }
}

std::vector<std::vector<std::string>> Commands() {
    std::ostringstream unused;
    Screen screen(unused, unused, {});
    Options options;
    CLI::App app;
    DescribeCommandLine(app, options, screen);
    std::vector<std::vector<std::string>> commands;
    AddCommands(app, {}, &commands);
    return commands;
}

std::string Joined(const std::vector<std::string>& words) {
    std::string joined;
    for (const std::string& word : words)
        joined += (joined.empty() ? "" : " ") + word;
    return joined;
}

}  // namespace

// ---- help

TEST_F(Meterdb, EveryCommandHasHelpWithAnExample) {
    const std::vector<std::vector<std::string>> commands = Commands();
    EXPECT_GT(commands.size(), 20U);
    for (std::vector<std::string> command : commands) {
        const std::string name = Joined(command);
        command.emplace_back("--help");
        EXPECT_EQ(Run(command), kDone) << name;
        EXPECT_THAT(m_out, HasSubstr("Example: meterdb " + name)) << name;
        EXPECT_EQ(m_errors, "");
    }
}

TEST_F(Meterdb, HelpGroupsCommandsByTask) {
    EXPECT_EQ(Run({"--help"}), kDone);
    std::size_t before = 0;
    for (const char* text :
         {"The route:", "  route", "Work at a meter:", "  read", "Which meters there are:", "  append",
          "Prepare an installation:", "  check", "Hand the route on:", "  report",
          "This program:", "  completion", "Exit codes: 0 done"}) {
        const std::size_t place = m_out.find(text, before);
        EXPECT_NE(place, std::string::npos) << text << "\n" << m_out;
        before = place == std::string::npos ? before : place;
    }
}

TEST_F(Meterdb, OptionsOfTheProgramMayStandBehindEveryCommand) {
    for (std::vector<std::string> command : Commands()) {
        for (const char* option : {"--ini", "--user", "--level", "--language"}) {
            std::vector<std::string> arguments = command;
            arguments.insert(arguments.end(), {option, "1", "--help"});
            EXPECT_EQ(Run(arguments), kDone) << Joined(arguments);
        }
    }
}

TEST_F(Meterdb, ExamplesOfHelpAreCommandLines) {
    for (std::vector<std::string> command : Commands()) {
        command.emplace_back("--help");
        Run(command);
        const std::size_t start = m_out.find("Example: meterdb ") + 17;
        std::istringstream example(m_out.substr(start, m_out.find_first_of(">\n", start) - start));
        std::vector<std::string> words;
        for (std::string word; example >> word;)
            words.push_back(word);
        // It may be refused here, for it is of the sample installation; but it is no wrong use.
        if (words.front() != "simulate" && words.front() != "report" && words.front() != "export") {
            EXPECT_NE(Run(words), kWrongUse) << Joined(words) << "\n" << m_errors;
        }
    }
}

// ---- slips

TEST_F(Meterdb, SlipsOfWordsAreUnderstood) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> slips = {
        {{"rout"},
         "meterdb: there is no command \"rout\"; did you mean route?\nmeterdb --help tells more.\n"},
        {{"Route"}, "did you mean route?"},
        {{"shwo", "3"}, "did you mean show?"},
        {{"archive", "lst"}, "no command \"lst\"; did you mean list?\nmeterdb archive --help tells more.\n"},
        {{"--verson"}, "there is no option --verson; did you mean --version?"},
        {{"route", "--jsn"}, "no option --jsn; did you mean --json?\nmeterdb route --help tells more.\n"},
        {{"route", "--langauge", "de"}, "did you mean --language?"},
        {{"frobnicate"}, "there is no command \"frobnicate\"\n"},
        {{"completaaa"}, "there is no command \"completaaa\"\n"},
        {{"-x"}, "there is no option -x\n"},
        {{"read"}, "meterdb: METER is required\nmeterdb read --help tells more.\n"},
        {{"read", "1", "gas.txt", "more"}, "\"more\" was not expected"},
        {{"route", ""}, "meterdb: \"\" was not expected\n"},
        {{"r\x1B"
          "oute"},
         "there is no command \"r\uFFFDoute\"; did you mean route?"}};
    for (const auto& [words, answer] : slips) {
        EXPECT_EQ(Run(words), kWrongUse);
        EXPECT_THAT(m_errors, HasSubstr(answer));
        EXPECT_EQ(m_out, "");
    }
}

TEST_F(Meterdb, WithoutACommandHelpIsShown) {
    EXPECT_EQ(Run({}), kWrongUse);
    EXPECT_THAT(m_errors, HasSubstr("Hand the route on:"));
    EXPECT_EQ(Run({"archive"}), kWrongUse);
    EXPECT_THAT(m_errors, HasSubstr("Write a block of the archive into a file"));
}

TEST_F(Meterdb, WithoutAnInstallationTheWayToOneIsShown) {
    EXPECT_EQ(Run({"--ini", "none.ini", "route"}), kFileFailed);
    EXPECT_THAT(m_errors, HasSubstr("there is no none.ini of directory "));
    EXPECT_THAT(m_errors, HasSubstr("meterdb simulate town makes an installation to try"));
}

// ---- listings for other programs

TEST_F(Meterdb, RouteIsListedAsJson) {
    EXPECT_EQ(Run({"route", "--json"}), kDone);
    EXPECT_EQ(
        m_out,
        "[\n"
        "{\"record\":1,\"meter\":\"30052217\",\"MeterType\":\"Gas\",\"Customer\":\"Bakery\",\"Name\":\"\","
        "\"Street\":\"\","
        "\"Place\":\"Yard, left\",\"state\":\"unhandled\",\"action\":\"read out\",\"mark\":\"\"},\n"
        "{\"record\":2,\"meter\":\"20481632\",\"MeterType\":\"Electricity\",\"Customer\":\"B\u00E4"
        "ckerei\",\"Name\":\"\",\"Street\":\"\",\"Place\":\"\",\"state\":\"handled\",\"action\":\"change to "
        "20481700\",\"mark\":\"ok.\"},\n"
        "{\"record\":3,\"meter\":\"\",\"MeterType\":\"\",\"Customer\":\"Office\",\"Name\":\"\",\"Street\":"
        "\"\","
        "\"Place\":\"\","
        "\"state\":\"info record\",\"action\":\"read out\",\"mark\":\"\"},\n"
        "{\"record\":4,\"meter\":\"20481700\",\"MeterType\":\"\",\"Customer\":\"\",\"Name\":\"\",\"Street\":"
        "\"\","
        "\"Place\":\"\","
        "\"state\":\"unhandled\",\"action\":\"read out\",\"mark\":\"\"}\n"
        "]\n");
}

TEST_F(Meterdb, EveryListingIsAJsonList) {
    m_folder.Write("metertypes.ini", "[Gas]\nFunctions=1\n");
    const std::vector<std::vector<std::string>> listings = {
        {"route"},           {"route", "--columns", "3.0.0"},
        {"show", "1"},       {"types"},
        {"commands", "1"},   {"options", "1"},
        {"archive", "list"}, {"store", "list"},
        {"parameters"},      {"general"},
        {"check"},           {"check", "--rules"}};
    for (std::vector<std::string> listing : listings) {
        listing.emplace_back("--json");
        const int code = Run(listing);
        EXPECT_TRUE(code == kDone || listing.front() == "check") << Joined(listing) << m_errors;
        EXPECT_TRUE(json::parse(m_out).is_array()) << Joined(listing);
        for (const json& object : json::parse(m_out))
            EXPECT_TRUE(object.is_object());
    }
}

TEST_F(Meterdb, FieldsOfAMeterSayWhichListTheyAreOf) {
    EXPECT_EQ(Run({"show", "1", "--json"}), kDone);
    const json fields = json::parse(m_out);
    ASSERT_EQ(fields.size(), 3U);
    EXPECT_EQ(fields[0]["list"], "Values");
    EXPECT_EQ(fields[0]["field"], "3.0.0");
    EXPECT_EQ(fields[0]["value"], "0009.10 m3");
    EXPECT_EQ(fields[2]["list"], "Extra");
    EXPECT_EQ(Run({"show", "1", "--json", "--raw"}), kWrongUse);
}

TEST_F(Meterdb, RefusedListingWritesNoList) {
    ExpectRefusal(kRefused, {"show", "99", "--json"}, "there is no meter");
}

// ---- manual and completion

TEST_F(Meterdb, ManualTellsOfEveryCommandAndOption) {
    EXPECT_EQ(Run({"manual"}), kDone);
    EXPECT_EQ(m_out.rfind(".TH METERDB 1 \"\" \"meterdb ", 0), 0U);
    for (const std::vector<std::string>& command : Commands())
        EXPECT_THAT(m_out, HasSubstr("\\fB" + Joined(command) + "\\fR"));
    for (const char* text : {"\\-\\-columns", "\\fBMETERDB_LANGUAGE\\fR", ".SH \"EXIT STATUS\"",
                             ".SH \"THE ROUTE\"", "\\fBMETERDB_DIR\\fR\nIn place of \\fB\\-\\-dir\\fR.\n"})
        EXPECT_THAT(m_out, HasSubstr(text));
    // What a text begins with must not be taken for a request.
    std::istringstream lines(m_out);
    for (std::string line; std::getline(lines, line);)
        if (!line.empty() && line.front() == '.') {
            EXPECT_THAT((std::vector<std::string>{".TH", ".SH", ".TP", ".PP", ".RS", ".RE"}),
                        testing::Contains(line.substr(0, line.find(' '))));
        }
}

TEST_F(Meterdb, CompletionKnowsEveryCommand) {
    for (const char* shell : {"bash", "zsh", "fish"}) {
        EXPECT_EQ(Run({"completion", shell}), kDone);
        for (const std::vector<std::string>& command : Commands())
            EXPECT_THAT(m_out, HasSubstr(command.back())) << shell;
    }
    EXPECT_EQ(Run({"completion", "csh"}), kWrongUse);
}
