#include "terminal/Terminal.h"

#include <new>
#include <sstream>

#include "terminal/CommandLine.h"
#include "terminal/Refusal.h"
#include "terminal/WrongUse.h"

namespace {

constexpr const char* kDescription =
    "The meter-reading terminal: shows the meters of a route and takes their readouts into the route's "
    "records.";

// Help and version are answers; everything else that CLI11 stops for is wrong use.
int Finish(const CLI::App& app, const CLI::ParseError& stop, Screen& screen) {
    if (stop.get_exit_code() != 0) {
        ShowWrongUse(app, stop, screen);
        return kWrongUse;
    }
    std::ostringstream out;
    app.exit(stop, out, out);
    screen.Raw(out.str(), false);
    return kDone;
}

int Parse(const std::vector<std::string>& arguments, Screen& screen) {
    Options options;
    CLI::App app(kDescription, "meterdb");
    DescribeCommandLine(app, options, screen);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& stop) {
        return Finish(app, stop, screen);
    }
    screen.End(true);
    return kDone;
}

}  // namespace

int RunTerminal(const std::vector<std::string>& arguments, Screen& screen) {
    try {
        return Parse(arguments, screen);
    } catch (const Refusal& refusal) {
        screen.End(false);
        if (*refusal.what() != '\0')
            screen.Problem(refusal.what());
        return refusal.Code();
    } catch (const std::bad_alloc&) {
        screen.Problem("there is not enough memory");
        return kFileFailed;
    }
}
