#include "terminal/Terminal.h"

#include <CLI/CLI.hpp>
#include <new>
#include <sstream>

#include "terminal/Commands.h"
#include "terminal/Refusal.h"

namespace {

constexpr const char* kDescription =
    "The meter-reading terminal: shows the meters of a route and takes their readouts into the route's "
    "records.";

constexpr const char* kFooter =
    "Exit codes: 0 done; 1 the data said no (unknown meter, damaged readout); 2 wrong use;\n"
    "3 a file could not be read or saved.";

void AddOptions(CLI::App& app, Options* options) {
    app.add_option("--dir", options->directory, "Directory of the application, which holds the system ini")
        ->envname("METERDB_DIR")
        ->capture_default_str();
    app.add_option("--ini", options->ini, "Name of the system ini")
        ->envname("METERDB_INI")
        ->capture_default_str();
    app.add_option("--user", options->user, "Who reads: stamped on every record that changes")
        ->envname("METERDB_USER");
    app.add_option("--language", options->language, "Language of texts and names, kept for the next time");
}

void AddCommands(CLI::App& app, const Options& options, ReadRequest* request, Screen& screen) {
    CLI::App* route =
        app.add_subcommand("route", "Show the meters of the route: where, in which state, what to do");
    route->callback([&options, &screen] { ShowRoute(options, screen); });

    CLI::App* read = app.add_subcommand(
        "read", "Take the readout of a meter into its record: store, check, stamp and save its values");
    read->add_option("METER", request->meter,
                     "Number of the record (3, or 3/1 for its appendix 1) or of the meter")
        ->required();
    read->add_option("READOUT", request->readout,
                     "File with the answer of the meter (IEC 62056-21 data readout)")
        ->required();
    read->add_flag("--force", request->force, "Also when the readout is of another meter");
    read->callback([&options, request, &screen] { ReadMeter(options, *request, screen); });
}

// Help and version are answers; everything else that CLI11 stops for is wrong use.
int Finish(const CLI::App& app, const CLI::ParseError& stop, Screen& screen) {
    std::ostringstream out;
    std::ostringstream errors;
    const int code = app.exit(stop, out, errors);
    screen.Raw(out.str(), false);
    screen.Raw(errors.str(), true);
    return code == 0 ? kDone : kWrongUse;
}

int Parse(const std::vector<std::string>& arguments, Screen& screen) {
    Options options;
    ReadRequest request;
    CLI::App app(kDescription, "meterdb");
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("meterdb ") + METERDB_VERSION);
    app.fallthrough();
    app.require_subcommand(1);
    AddOptions(app, &options);
    AddCommands(app, options, &request, screen);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& stop) {
        return Finish(app, stop, screen);
    }
    return kDone;
}

}  // namespace

int RunTerminal(const std::vector<std::string>& arguments, Screen& screen) {
    try {
        return Parse(arguments, screen);
    } catch (const Refusal& refusal) {
        screen.Problem(refusal.what());
        return refusal.Code();
    } catch (const std::bad_alloc&) {
        screen.Problem("there is not enough memory");
        return kFileFailed;
    }
}
