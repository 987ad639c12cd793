// The guide, typed along: its files are made and its commands run in an empty folder, in the order of the
// page, and each answers what the page says.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "terminal/Terminal.h"
#include "tests/support/Markdown.h"
#include "tests/support/TestFolder.h"
#include "tests/terminal/Shown.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kPrompt = "$ meterdb ";

// The folder where the commands are typed.
class Folder {
public:
    Folder() { fs::current_path(m_folder.Path()); }
    ~Folder() { fs::current_path(m_before); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    void Write(const std::string& name, const std::string& text) const { m_folder.Write(name, text); }

private:
    fs::path m_before = fs::current_path();
    TestFolder m_folder;
};

// Words as a shell takes them from a line; blanks inside double quotes belong to a word.
std::vector<std::string> Words(const std::string& line) {
    const std::regex word(R"re("([^"]*)"|(\S+))re");
    std::vector<std::string> words;
    for (std::sregex_iterator match(line.begin(), line.end(), word), end; match != end; ++match)
        words.push_back((*match)[1].matched ? (*match)[1] : (*match)[2]);
    return words;
}

// What a person sees of a command, whose two outputs go to one terminal.
std::string AnswerOf(const std::string& command) {
    std::ostringstream shown;
    Screen screen(shown, shown, {});
    RunTerminal(Words(command), screen);
    return WithSlashes(shown.str());
}

// Times are those of the day. That the time of a stamp is another one is not seen within one second.
std::string WithoutTimes(std::string text) {
    const std::pair<const char*, const char*> times[] = {
        {R"(  [-+] LastChanges=A,D,,\d{14},""\n)", ""},
        {R"(  \[#_\d+\]\n\n(  \[#))", "$1"},  // nothing else changed in this record
        {R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d|\b20\d{12}\b)", "(now)"}};
    for (const auto& [time, instead] : times)
        text = std::regex_replace(text, std::regex(time), instead);
    return text;
}

// Runs the commands of a block; what each answers stands behind it, up to the next. The number of commands.
int RunBlock(const std::string& block) {
    int commands = 0;
    std::istringstream lines(block);
    std::string page;
    std::string answers;
    for (std::string line; std::getline(lines, line);) {
        page += line + '\n';
        if (line.rfind(kPrompt, 0) != 0)
            continue;
        answers += line + '\n' + AnswerOf(line.substr(std::string(kPrompt).size()));
        ++commands;
    }
    EXPECT_EQ(WithoutTimes(answers), WithoutTimes(page));
    return commands;
}

}  // namespace

TEST(Guide, EveryCommandAnswersWhatThePageSays) {
    const Folder folder;
    int files = 0;
    int commands = 0;
    for (const Markdown::Fence& fence : Markdown::Fences(Markdown::Page("docs/guide.md"))) {
        const std::size_t name = fence.info.find(' ');
        if (fence.info == "console") {
            commands += RunBlock(fence.text);
        } else {
            ASSERT_NE(name, std::string::npos) << "a block that is neither a file nor commands:\n"
                                               << fence.text;
            folder.Write(fence.info.substr(name + 1), fence.text);
            ++files;
        }
    }
    EXPECT_EQ(files, 6);
    EXPECT_EQ(commands, 14);
}
