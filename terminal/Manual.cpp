#include "terminal/Manual.h"

#include <algorithm>
#include <vector>

namespace {

// ---- definitions

std::vector<const CLI::App*> CommandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); });
}

std::vector<const CLI::Option*> OptionsOf(const CLI::App& app, bool positional) {
    return app.get_options([positional](const CLI::Option* option) {
        return option->get_positional() == positional && !option->get_group().empty();
    });
}

std::vector<std::string> GroupsOf(const CLI::App& app) {
    std::vector<std::string> groups;
    for (const CLI::App* command : CommandsOf(app))
        if (std::find(groups.begin(), groups.end(), command->get_group()) == groups.end())
            groups.push_back(command->get_group());
    return groups;
}

// "-h,--help" and the like, the long name last.
std::string NamesOf(const CLI::Option& option) {
    std::string names;
    for (const std::string& name : option.get_snames())
        names += (names.empty() ? "-" : ", -") + name;
    for (const std::string& name : option.get_lnames())
        names += (names.empty() ? "--" : ", --") + name;
    return names;
}

bool TakesValue(const CLI::Option& option) {
    return option.get_items_expected_max() > 0;
}

// ---- the manual page

std::string Roff(const std::string& text) {
    std::string roff;
    for (const char c : text) {
        const bool isFirst = roff.empty() || roff.back() == '\n';
        if (isFirst && (c == '.' || c == '\''))
            roff += "\\&";
        if (c == '\\')
            roff += "\\e";
        else if (c == '-')
            roff += "\\-";
        else
            roff += c;
    }
    return roff;
}

std::string Bold(const std::string& text) {
    return "\\fB" + Roff(text) + "\\fR";
}

std::string Italic(const std::string& text) {
    return "\\fI" + Roff(text) + "\\fR";
}

std::string OptionText(const CLI::Option& option) {
    std::string text = ".TP\n" + Bold(NamesOf(option));
    if (TakesValue(option))
        text += " " + Italic("VALUE");
    text += "\n" + Roff(option.get_description());
    if (!option.get_default_str().empty())
        text += " (" + Roff(option.get_default_str()) + ")";
    return text + "\n";
}

std::string Usage(const std::string& name, const CLI::App& command) {
    std::string usage = Bold(name);
    for (const CLI::Option* option : OptionsOf(command, false))
        if (option->get_name() != "--help")
            usage += " [" + Roff(NamesOf(*option)) + (TakesValue(*option) ? " " + Italic("VALUE") : "") + "]";
    for (const CLI::Option* option : OptionsOf(command, true)) {
        const std::string word = Italic(option->get_name(true));
        usage += option->get_required() ? " " + word : " [" + word + "]";
    }
    return usage;
}

std::string CommandText(const std::string& name, const CLI::App& command) {
    if (!CommandsOf(command).empty()) {
        std::string all;
        for (const CLI::App* part : CommandsOf(command))
            all += CommandText(name + " " + part->get_name(), *part);
        return all;
    }
    std::string text = ".TP\n" + Usage(name, command) + "\n" + Roff(command.get_description()) + ".\n";
    for (const bool positional : {true, false})
        for (const CLI::Option* option : OptionsOf(command, positional))
            if (option->get_name() != "--help")
                text += ".RS\n.TP\n" +
                        (positional ? Italic(option->get_name(true)) : Bold(NamesOf(*option))) + "\n" +
                        Roff(option->get_description()) + "\n.RE\n";
    return text + ".RS\n.PP\n" + Roff(command.get_footer()) + "\n.RE\n";
}

// ---- completion

struct Place {
    std::string path;  // "" or " archive"
    std::vector<std::string> words;
};

void AddWords(const CLI::App& app, std::vector<std::string>* words) {
    for (const CLI::App* command : CommandsOf(app))
        words->push_back(command->get_name());
    for (const CLI::Option* option : OptionsOf(app, false))
        for (const std::string& name : option->get_lnames())
            words->push_back("--" + name);
}

// Options of the program go behind every command.
void AddPlaces(const CLI::App& app, const CLI::App& root, const std::string& path,
               std::vector<Place>* places) {
    Place place{path, {}};
    AddWords(app, &place.words);
    if (&app != &root)
        for (const CLI::Option* option : OptionsOf(root, false))
            for (const std::string& name : option->get_lnames())
                if (name != "version" && name != "help")
                    place.words.push_back("--" + name);
    places->push_back(place);
    for (const CLI::App* command : CommandsOf(app))
        AddPlaces(*command, root, path + " " + command->get_name(), places);
}

std::vector<Place> PlacesOf(const CLI::App& app) {
    std::vector<Place> places;
    AddPlaces(app, app, "", &places);
    return places;
}

std::string Joined(const std::vector<std::string>& words) {
    std::string joined;
    for (const std::string& word : words)
        joined += (joined.empty() ? "" : " ") + word;
    return joined;
}

std::string BashScript(const CLI::App& app) {
    std::string paths;
    std::string cases;
    for (const Place& place : PlacesOf(app)) {
        if (!place.path.empty())
            paths += (paths.empty() ? "'" : "|'") + place.path + "'";
        cases += "        '" + place.path + "') words='" + Joined(place.words) + "' ;;\n";
    }
    return "# Completes commands and options of meterdb.\n"
           "_meterdb() {\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} path= word words=\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        case \"$path $word\" in\n"
           "            " +
           paths +
           ") path=\"$path $word\" ;;\n"
           "        esac\n"
           "    done\n"
           "    case \"$path\" in\n" +
           cases +
           "    esac\n"
           "    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
           "}\n"
           "complete -o default -F _meterdb meterdb\n";
}

std::string FishText(const std::string& text) {
    std::string quoted;
    for (const char c : text)
        quoted += c == '\'' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    return "'" + quoted + "'";
}

// All of these words were typed, and none of the others.
std::string FishCondition(const std::vector<std::string>& typed, const std::string& others) {
    std::string condition;
    for (const std::string& word : typed)
        condition += (condition.empty() ? "" : "; and ") + ("__fish_seen_subcommand_from " + word);
    if (!others.empty())
        condition += (condition.empty() ? "" : "; and ") + ("not __fish_seen_subcommand_from " + others);
    return condition.empty() ? "" : " -n '" + condition + "'";
}

// Where a command is expected no file is offered.
void AddFishLines(const CLI::App& app, const std::vector<std::string>& typed, std::string* script) {
    std::vector<std::string> names;
    for (const CLI::App* command : CommandsOf(app))
        names.push_back(command->get_name());
    const std::string start = "complete -c meterdb";
    for (const CLI::App* command : CommandsOf(app)) {
        script->append(start).append(FishCondition(typed, Joined(names)));
        script->append(" -f -a ").append(command->get_name());
        script->append(" -d ").append(FishText(command->get_description())).append("\n");
        std::vector<std::string> more = typed;
        more.push_back(command->get_name());
        AddFishLines(*command, more, script);
    }
    for (const CLI::Option* option : OptionsOf(app, false))
        for (const std::string& name : option->get_lnames()) {
            script->append(start).append(FishCondition(typed, ""));
            script->append(" -l ").append(name).append(TakesValue(*option) ? " -r" : "");
            script->append(" -d ").append(FishText(option->get_description())).append("\n");
        }
}

}  // namespace

std::string ManualPage(const CLI::App& app) {
    std::string page = ".TH METERDB 1 \"\" \"" + Roff(app.version()) +
                       "\"\n.SH NAME\nmeterdb \\- the meter\\-reading terminal\n.SH SYNOPSIS\n" +
                       Bold("meterdb") + " [options] " + Italic("COMMAND") + " ...\n.SH DESCRIPTION\n" +
                       Roff(app.get_description()) + "\n.SH OPTIONS\n";
    for (const CLI::Option* option : OptionsOf(app, false))
        page += OptionText(*option);
    for (const std::string& group : GroupsOf(app)) {
        std::string title = group;
        std::transform(title.begin(), title.end(), title.begin(),
                       [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
        page += ".SH \"" + Roff(title) + "\"\n";
        for (const CLI::App* command : CommandsOf(app))
            if (command->get_group() == group)
                page += CommandText(command->get_name(), *command);
    }
    page += ".SH ENVIRONMENT\n";
    for (const CLI::Option* option : OptionsOf(app, false))
        if (!option->get_envname().empty())
            page += ".TP\n" + Bold(option->get_envname()) + "\nIn place of " + Bold(NamesOf(*option)) + ".\n";
    return page + ".TP\n" + Bold("NO_COLOR") + "\nNothing is coloured.\n.SH \"EXIT STATUS\"\n" +
           Roff(app.get_footer()) + "\n";
}

std::set<std::string> Shells() {
    return {"bash", "fish", "zsh"};
}

std::string CompletionScript(const CLI::App& app, const std::string& shell) {
    if (shell == "fish") {
        std::string script = "# Completes commands and options of meterdb.\n";
        AddFishLines(app, {}, &script);
        return script;
    }
    return (shell == "zsh" ? "autoload -U +X bashcompinit && bashcompinit\n" : "") + BashScript(app);
}
