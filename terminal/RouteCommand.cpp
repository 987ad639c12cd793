// `meterdb route`: the meters of the route, one line each.
#include <algorithm>
#include <array>

#include "terminal/Commands.h"
#include "terminal/Record.h"
#include "terminal/Utf8.h"

namespace {

// What tells a person where to go, by the names of values; those that no record has are left out.
struct WhereTo {
    const char* name;
    int dispensable;
};
constexpr std::array<WhereTo, 4> kWhereTo = {{{"Customer", 1}, {"Name", 1}, {"Street", 0}, {"Place", 0}}};

struct Count {
    std::string state;
    int meters;
};

void CountState(std::vector<Count>* counts, const std::string& state) {
    const auto known = std::find_if(counts->begin(), counts->end(),
                                    [&state](const Count& count) { return count.state == state; });
    if (known == counts->end())
        counts->push_back({state, 1});
    else
        ++known->meters;
}

Table RouteTable(Installation& installation) {
    Table table;
    table.columns = {{"#", true}, {"Meter"}, {"Type", false, false, 2}};
    for (const WhereTo& where : kWhereTo) {
        const std::string label = installation.Label(where.name, "");
        table.columns.push_back(
            {Utf8::Shown(label.empty() ? where.name : label), false, true, where.dispensable});
    }
    table.columns.push_back({"State"});
    table.columns.push_back({"Action", false, true});
    return table;
}

std::vector<Cell> RouteRow(CMeterDatabase& database, int meter, const std::string& state) {
    std::vector<Cell> row = {Cell(std::to_string(meter), Tone::Faint),
                             Cell(Utf8::Shown(MeterNumber(database))),
                             Cell(Utf8::Shown(ReadValue(database, "MeterType")))};
    for (const WhereTo& where : kWhereTo)
        row.emplace_back(Utf8::Shown(ReadValue(database, where.name)));
    row.emplace_back(state, IsHandled(database) ? Tone::Good : Tone::Plain);
    row.emplace_back(Utf8::Shown(ActionText(database)));
    return row;
}

}  // namespace

void ShowRoute(const Options& options, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    Table table = RouteTable(installation);
    std::vector<Count> counts;
    const int meters = database.GetNumberOfMeters();
    for (int meter = 1; meter <= meters; ++meter) {
        database.SetActualPosition(meter);
        const std::string state = Utf8::Shown(StateText(database));
        CountState(&counts, state);
        table.rows.push_back(RouteRow(database, meter, state));
    }
    std::array<char, 256> info{};
    if (database.GetDBInfo(info.data(), static_cast<int>(info.size()))) {
        screen.Heading(Utf8::Shown(info.data()));
        screen.Line();
    }
    if (!table.rows.empty()) {
        screen.Print(table);
        screen.Line();
    }
    std::string summary = std::to_string(meters) + (meters == 1 ? " meter" : " meters");
    for (const Count& count : counts)
        summary += (&count == &counts.front() ? ": " : ", ") + std::to_string(count.meters) + " " +
                   (count.state.empty() ? "without a state" : count.state);
    screen.Line({Cell(summary, Tone::Faint)});
}
