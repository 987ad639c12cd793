#include "terminal/WrongUse.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

#include "MeterUtil/Text.h"
#include "terminal/Utf8.h"

namespace {

constexpr std::size_t kMostSlips = 2;  // letters too many, too few or others in a word that is meant

// The command that was reached.
const CLI::App& Reached(const CLI::App& app) {
    const std::vector<CLI::App*> parsed = app.get_subcommands();
    return parsed.empty() ? app : Reached(*parsed.front());
}

std::string WordsOf(const CLI::App& command) {
    const CLI::App* parent = command.get_parent();
    return parent == nullptr ? command.get_name() : WordsOf(*parent) + " " + command.get_name();
}

std::vector<std::string> NamesOfCommands(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* part : command.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(part->get_name());
    return names;
}

// Options of the program may stand behind every command.
std::vector<std::string> NamesOfOptions(const CLI::App* command) {
    std::vector<std::string> names;
    for (; command != nullptr; command = command->get_parent())
        for (const CLI::Option* option : command->get_options())
            for (const std::string& name : option->get_lnames())
                names.push_back("--" + name);
    return names;
}

// The fewest letters to put in, take out or exchange to make the one word of the other; case does not count.
std::size_t SlipsBetween(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t before = row[0]++;  // of the row above, one column to the left
        for (std::size_t j = 0; j < b.size(); ++j) {
            const bool isSame = MeterText::ToLower(a[i]) == MeterText::ToLower(b[j]);
            const std::size_t exchanged = before + (isSame ? 0 : 1);
            before = row[j + 1];
            row[j + 1] = std::min({exchanged, before + 1, row[j] + 1});
        }
    }
    return row.back();
}

// "; did you mean route?", or nothing when no name is close.
std::string Suggestion(const std::string& word, const std::vector<std::string>& names) {
    std::string closest;
    std::size_t fewest = std::min(kMostSlips, word.size() / 2) + 1;
    for (const std::string& name : names) {
        if (const std::size_t slips = SlipsBetween(word, name); slips < fewest) {
            fewest = slips;
            closest = name;
        }
    }
    return closest.empty() ? "" : "; did you mean " + closest + "?";
}

std::string SentenceOf(const CLI::App& command, const CLI::ParseError& stop,
                       const std::vector<std::string>& unknown) {
    if (unknown.empty())
        return stop.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError) ? "\"\" was not expected"
                                                                                     : stop.what();
    const std::string& word = unknown.front();
    if (word.front() == '-')
        return "there is no option " + Utf8::Shown(word) + Suggestion(word, NamesOfOptions(&command));
    if (const std::vector<std::string> names = NamesOfCommands(command); !names.empty())
        return "there is no command \"" + Utf8::Shown(word) + "\"" + Suggestion(word, names);
    return "\"" + Utf8::Shown(word) + "\" was not expected";
}

}  // namespace

void ShowWrongUse(const CLI::App& app, const CLI::ParseError& stop, Screen& screen) {
    const CLI::App& command = Reached(app);
    std::vector<std::string> unknown = app.remaining(true);
    unknown.erase(std::remove(unknown.begin(), unknown.end(), std::string()), unknown.end());
    if (unknown.empty() && !NamesOfCommands(command).empty() && stop.get_name() == "RequiredError") {
        screen.Raw(app.help(), true);
        return;
    }
    screen.Problem(SentenceOf(command, stop, unknown));
    screen.Raw(WordsOf(command) + " --help tells more.\n", true);
}
