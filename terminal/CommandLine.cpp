#include "terminal/CommandLine.h"

#include <limits>
#include <memory>
#include <string>

#include "terminal/Commands.h"
#include "terminal/Manual.h"

namespace {

constexpr const char* kFooter =
    "Exit codes: 0 done; 1 the data said no (unknown meter, damaged readout); 2 wrong use;\n"
    "3 a file could not be read or saved.";

constexpr const char* kMeter = "Number of the record (3, or 3/1 for its appendix 1) or of the meter";

void AddOptions(CLI::App& app, Options* options) {
    app.add_option("--dir", options->directory, "Directory of the application, which holds the system ini")
        ->envname("METERDB_DIR")
        ->capture_default_str();
    app.add_option("--ini", options->ini, "Name of the system ini")
        ->envname("METERDB_INI")
        ->capture_default_str();
    app.add_option("--user", options->user, "Who reads: stamped on every record that changes")
        ->envname("METERDB_USER");
    app.add_option("--level", options->level,
                   "Access level: only the functions that it allows. Without it all that the meter offers")
        ->envname("METERDB_LEVEL")
        ->check(CLI::Range(0, std::numeric_limits<int>::max(), "NONNEGATIVE"));
    app.add_option("--language", options->language, "Language of texts and names, kept for the next time")
        ->envname("METERDB_LANGUAGE");
}

// The command line of one program.
class Program {
public:
    Program(CLI::App& app, const Options& options, Screen& screen)
        : m_app(app), m_options(options), m_screen(screen) {}

    // The commands that follow are for this task.
    void For(const char* task) { m_task = task; }

    void AddRoute();
    void AddShow();
    void AddSet();
    void AddState();
    void AddItem();
    void AddClear();
    void AddGeneral();
    void AddRouteEdits();
    void AddRead();
    void AddCatalogues();
    void AddRun();
    void AddArchive();
    void AddStore();
    void AddParameters();
    void AddCheck();
    void AddHandingOn();
    void AddSimulate();
    void AddSelf();

private:
    template <typename Request>
    using Run = void (*)(const Options&, const Request&, Screen&);

    // A command and the request that its arguments go into.
    template <typename Request>
    struct Command {
        CLI::App* app;
        Request* request;

        template <typename Value>
        const Command& Needs(const char* name, Value Request::*value, const char* help) const {
            app->add_option(name, request->*value, help)->required();
            return *this;
        }

        template <typename Value>
        const Command& Takes(const char* name, Value Request::*value, const char* help) const {
            app->add_option(name, request->*value, help);
            return *this;
        }

        // A listing, which other programs can read too.
        const Command& Lists(Screen& screen) const {
            app->add_flag_callback(
                "--json", [&screen] { screen.UseJson(); }, "Write a JSON list for other programs");
            return *this;
        }

        const Command& Flag(const char* name, bool Request::*value, const char* help) const {
            app->add_flag(name, request->*value, help);
            return *this;
        }
    };

    template <typename Request>
    Command<Request> Add(CLI::App& parent, const char* name, const char* help, const char* example,
                         Run<Request> run) {
        const auto request = std::make_shared<Request>();
        CLI::App* command = parent.add_subcommand(name, help);
        command->group(&parent == &m_app ? m_task : "Commands");
        command->footer(std::string("Example: meterdb ") + example);
        command->callback(
            [request, run, &options = m_options, &screen = m_screen] { run(options, *request, screen); });
        return {command, request.get()};
    }

    // A command that consists of commands.
    CLI::App& AddGroup(const char* name, const char* help) {
        CLI::App* group = m_app.add_subcommand(name, help);
        group->group(m_task);
        group->require_subcommand(1);
        return *group;
    }

    CLI::App& m_app;
    std::string m_task;
    const Options& m_options;
    Screen& m_screen;
};

void Program::AddRoute() {
    const auto route =
        Add<RouteRequest>(m_app, "route", "Show the meters of the route: where, in which state, what to do",
                          "route --columns Street,1.8.0", ShowRoute);
    route.Lists(m_screen);
    route.app
        ->add_option("--columns", route.request->columns,
                     "Names of the values to show, with commas between, in place of type and place")
        ->delimiter(',');
}

void Program::AddShow() {
    const auto show =
        Add<ShowRequest>(m_app, "show", "Show the data fields of a meter as the installation declares them",
                         "show 3", ShowRecord)
            .Needs("METER", &ShowRequest::meter, kMeter)
            .Flag("--raw", &ShowRequest::raw, "The lines of the record as they stand in the file")
            .Lists(m_screen);
    show.app->get_option("--raw")->excludes("--json");
}

void Program::AddSet() {
    Add<SetRequest>(m_app, "set", "Enter the value of a data field by hand: check, store, stamp and save it",
                    "set 3 Reason 01", SetField)
        .Needs("METER", &SetRequest::meter, kMeter)
        .Needs("FIELD", &SetRequest::field, "Name of the field, as show gives it")
        .Needs("VALUE", &SetRequest::value,
               "The value as it is stored, such as a code; \"\" clears the field");
}

void Program::AddState() {
    Add<StateRequest>(m_app, "state", "Show the state of a meter, or give it another one", "state 3 H",
                      ShowOrSetState)
        .Needs("METER", &StateRequest::meter, kMeter)
        .Takes(
            "NEW", &StateRequest::state,
            "Letters: N or E new, M in work, U or A to do, H done, C card left, R read only, I information");
}

void Program::AddItem() {
    Add<ItemRequest>(m_app, "item", "Show an entry of a record as it stands, or write it", "item 3 Stop 4",
                     ShowOrSetItem)
        .Needs("METER", &ItemRequest::meter, kMeter)
        .Needs("KEY", &ItemRequest::key, "Key of the entry")
        .Takes("VALUE", &ItemRequest::text, "The whole text of the entry");
}

void Program::AddClear() {
    const auto clear =
        Add<ClearRequest>(m_app, "clear",
                          "Clear the values of a record whose attributes say so: stamp and save it",
                          "clear 3 1", ClearRecord)
            .Needs("METER", &ClearRequest::meter, kMeter);
    clear.app
        ->add_option(
            "MODE", clear.request->mode,
            "0: what the attributes C, ? and U clear, such as entries by hand; 1: what D clears, readings")
        ->required()
        ->check(CLI::Range(0, 1));
}

void Program::AddGeneral() {
    const auto general =
        Add<GeneralRequest>(m_app, "general", "Show what holds for the whole route, or change it",
                            "general CompanyID 4711", ShowOrSetGeneral)
            .Takes("KEY", &GeneralRequest::key, "Key of one entry")
            .Takes("VALUE", &GeneralRequest::value, "Its new text")
            .Lists(m_screen);
    general.app->get_option("KEY")->excludes("--json");
}

void Program::AddRouteEdits() {
    Add<TypesRequest>(m_app, "types", "List the types of meters that can be appended", "types --language de",
                      ShowTypes)
        .Lists(m_screen);
    Add<AppendRequest>(m_app, "append", "Add a new meter to the end of the route", "append Gas", AppendMeter)
        .Needs("TYPE", &AppendRequest::type, "Type of the meter, as types gives it");
    Add<DeleteRequest>(m_app, "delete",
                       "Delete a meter with its appendices: those behind it move down by one", "delete 14",
                       DeleteMeter)
        .Needs("METER", &DeleteRequest::meter, "Number of the record or of the meter")
        .Flag("--yes", &DeleteRequest::yes, "Without asking");
    Add<WipeRequest>(m_app, "wipe", "Delete the whole route and its archive, and leave an empty route",
                     "wipe --yes", WipeRoute)
        .Flag("--yes", &WipeRequest::yes, "Without asking");
}

void Program::AddRead() {
    Add<ReadRequest>(m_app, "read",
                     "Take the readout of a meter into its record: store, check, stamp and save its values",
                     "read 3 gas.txt", ReadMeter)
        .Needs("METER", &ReadRequest::meter, kMeter)
        .Needs("READOUT", &ReadRequest::readout,
               "File with the answer of the meter (IEC 62056-21 data readout)")
        .Flag("--force", &ReadRequest::force, "Also when the readout is of another meter");
}

void Program::AddCatalogues() {
    Add<CatalogueRequest>(m_app, "commands", "List the commands that can be run on a meter",
                          "commands 3 --level 1", ShowCommands)
        .Needs("METER", &CatalogueRequest::meter, kMeter)
        .Lists(m_screen);
    Add<CatalogueRequest>(m_app, "options", "List the settings that can be made on a meter",
                          "options 3 --level 2", ShowOptions)
        .Needs("METER", &CatalogueRequest::meter, kMeter)
        .Lists(m_screen);
}

void Program::AddRun() {
    Add<RunRequest>(m_app, "run", "Run a command or an option of a meter, note that it is done, and save it",
                    "run 3 1 gas.txt", RunFunction)
        .Needs("METER", &RunRequest::meter, kMeter)
        .Needs("CODE", &RunRequest::code, "Code of the function, as commands and options give it")
        .Takes("READOUT", &RunRequest::readout,
               "File with the answer of the meter, when the function reads it")
        .Flag("--force", &RunRequest::force, "Also when the readout is of another meter");
}

void Program::AddArchive() {
    CLI::App& archive = AddGroup("archive", "The archive of raw data that meters answered with");
    Add<ArchiveAddRequest>(archive, "add", "Move files from the spool directory into the archive",
                           "archive add profile-10500093.txt", AddToArchive)
        .Needs("FILE", &ArchiveAddRequest::files,
               "Names of files in the directory that the system ini calls RawPath");
    Add<ArchiveListRequest>(archive, "list",
                            "List the blocks of the archive, one for each file that was added",
                            "archive list", ListArchive)
        .Lists(m_screen);
    Add<ArchiveExtractRequest>(archive, "extract", "Write a block of the archive into a file, byte for byte",
                               "archive extract profile-10500093.txt --output profile.txt",
                               ExtractFromArchive)
        .Needs("BLOCK", &ArchiveExtractRequest::block,
               "Name of the block (the first of that name), or its number in the list")
        .Takes("--output", &ArchiveExtractRequest::output,
               "File to write, which must not exist; without it one of the block's name");
    Add<ArchiveDeleteRequest>(archive, "delete", "Delete the archive with all its blocks", "archive delete",
                              DeleteArchive)
        .Flag("--yes", &ArchiveDeleteRequest::yes, "Without asking");
}

void Program::AddStore() {
    CLI::App& store = AddGroup("store", "The meters that are carried along for exchanges");
    Add<StoreListRequest>(store, "list", "List the store meters: which are free, which are mounted where",
                          "store list", ListStore)
        .Lists(m_screen);
    Add<StoreFindRequest>(store, "find", "Find a store meter by its number", "store find 20077145",
                          FindInStore)
        .Needs("NUMBER", &StoreFindRequest::number, "Number of the meter")
        .Lists(m_screen);
    Add<StoreMountRequest>(
        store, "mount",
        "Exchange a meter: check that this is ordered and the store meter free, copy the store "
        "meter's fields into the record of the new meter, stamp and save it",
        "store mount 2 20077145", MountFromStore)
        .Needs("METER", &StoreMountRequest::meter, kMeter)
        .Needs("STORE", &StoreMountRequest::store, "Number of the store meter in the store, or of the meter");
}

void Program::AddParameters() {
    const auto parameters =
        Add<ParametersRequest>(
            m_app, "parameters",
            "List the parameter files that were written to or read for meters, or enter one",
            "parameters parameters/tariff.par Sawmill tariffs", ShowOrRegisterParameters)
            .Takes("FILE", &ParametersRequest::file, "The parameter file that was written or read just now")
            .Takes("FOR", &ParametersRequest::whom, "For whom")
            .Takes("WHAT", &ParametersRequest::what, "What of it")
            .Lists(m_screen);
    parameters.app->get_option("FILE")->excludes("--json");
}

void Program::AddCheck() {
    Add<CheckRequest>(m_app, "check", "Find what would go wrong in the field, and repair it", "check --fix",
                      CheckFiles)
        .Takes("FILE", &CheckRequest::file, "A data file alone, in place of the installation")
        .Flag("--fix", &CheckRequest::fix, "Repair and save what can be repaired without losing anything")
        .Flag("--all", &CheckRequest::all, "Show every finding, not the first of each kind alone")
        .Flag("--rules", &CheckRequest::rules, "Show what is looked for, and why")
        .Lists(m_screen);
}

void Program::AddHandingOn() {
    Add<ExportRequest>(m_app, "export",
                       "Write all values of the route for other programs: CSV, a row for each value",
                       "export --output route.csv", ExportRecords)
        .Takes("--output", &ExportRequest::output, "File to write; without it they are shown")
        .Flag("--jsonl", &ExportRequest::jsonLines, "JSON Lines: an object for each record");
    Add<ReportRequest>(m_app, "report",
                       "Write a page for a browser: progress, what is to do, alarms, every meter",
                       "report route.html", WriteReport)
        .Needs("FILE", &ReportRequest::output, "The page to write");
}

void Program::AddSimulate() {
    const auto simulate =
        Add<SimulateRequest>(m_app, "simulate",
                             "Make an installation of made-up meters, for trying, measuring and training",
                             "simulate town --meters 500", SimulateInstallation)
            .Needs("FOLDER", &SimulateRequest::folder, "Folder to make");
    const auto number = [&simulate](const char* name, auto* value, const char* help, int least, int most) {
        simulate.app->add_option(name, *value, help)->check(CLI::Range(least, most))->capture_default_str();
    };
    number("--meters", &simulate.request->meters, "How many", 1, 9999999);
    number("--done", &simulate.request->done, "Percent of them that were read already", 0, 100);
    number("--readouts", &simulate.request->readouts, "Files with answers of meters that are to be read", 0,
           9999999);
    simulate.app->add_option("--seed", simulate.request->seed, "The same number makes the same installation")
        ->capture_default_str();
}

// What the definitions of the commands say, for shells and readers.
void Program::AddSelf() {
    const auto shell = std::make_shared<std::string>();
    CLI::App* completion = m_app.add_subcommand(
        "completion", "Write what completes commands and options while they are typed in a shell");
    completion->group(m_task);
    completion->footer("Example: meterdb completion bash > /etc/bash_completion.d/meterdb");
    completion->add_option("SHELL", *shell, "The shell")->required()->check(CLI::IsMember(Shells()));
    completion->callback(
        [shell, &app = m_app, &screen = m_screen] { screen.Raw(CompletionScript(app, *shell), false); });
    CLI::App* manual = m_app.add_subcommand("manual", "Write the manual page");
    manual->group(m_task);
    manual->footer("Example: meterdb manual > meterdb.1");
    manual->callback([&app = m_app, &screen = m_screen] { screen.Raw(ManualPage(app), false); });
}

}  // namespace

void DescribeCommandLine(CLI::App& app, Options& options, Screen& screen) {
    app.footer(kFooter);
    app.allow_windows_style_options(false);  // a path may begin with '/' there, too
    app.set_version_flag("--version", std::string("meterdb ") + METERDB_VERSION);
    app.fallthrough();
    app.require_subcommand(1);
    AddOptions(app, &options);
    Program program(app, options, screen);
    program.For("The route");
    program.AddRoute();
    program.AddShow();
    program.AddGeneral();
    program.For("Work at a meter");
    program.AddRead();
    program.AddCatalogues();
    program.AddRun();
    program.AddSet();
    program.AddState();
    program.AddItem();
    program.AddClear();
    program.For("Which meters there are");
    program.AddRouteEdits();
    program.AddStore();
    program.For("Prepare an installation");
    program.AddCheck();
    program.AddSimulate();
    program.For("Hand the route on");
    program.AddHandingOn();
    program.AddArchive();
    program.AddParameters();
    program.For("This program");
    program.AddSelf();
}
