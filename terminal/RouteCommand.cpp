// `meterdb route`: the meters of the route, one line each.
#include <algorithm>
#include <array>

#include "MeterUtil/Text.h"
#include "terminal/Commands.h"
#include "terminal/Fields.h"
#include "terminal/Record.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"

namespace {

// A value of every meter. Those that no record has are left out.
struct ValueColumn {
    std::string name;
    bool shrinks = true;
    int dispensable = 0;
    std::string label = {};  // of the first record that has the value as a field
    bool isKnown = false;    // by any record
};

// What tells a person where to go.
std::vector<ValueColumn> DefaultColumns() {
    return {{"MeterType", false, 2, "Type"},
            {"Customer", true, 1},
            {"Name", true, 1},
            {"Street"},
            {"Place", true, -1}};
}

std::vector<ValueColumn> ChosenColumns(const std::vector<std::string>& names) {
    std::vector<ValueColumn> columns;
    columns.reserve(names.size());
    for (const std::string& name : names)
        columns.push_back({name});
    return names.empty() ? DefaultColumns() : columns;
}

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

// A value that its check objects to carries its mark.
Cell ValueCell(CMeterDatabase& database, const Fields& fields, ValueColumn* column) {
    const Fields::Field* field = fields.Find(column->name);
    const ShownValue shown = field != nullptr ? fields.Show(*field) : ShownValue{};
    const std::string value = field != nullptr ? shown.value : ReadValue(database, column->name);
    column->isKnown = column->isKnown || field != nullptr || !value.empty();
    if (column->label.empty())
        column->label = shown.label;
    const bool isGood = shown.mark.empty() || shown.mark == "ok.";
    return isGood ? Cell(Utf8::Shown(value))
                  : Cell(Utf8::Shown(value) + " " + shown.mark, ToneOf(shown.mark));
}

// The mark of the value that is in most doubt among those that the meter was read for.
std::string WorstMark(CMeterDatabase& database) {
    std::string letters;
    for (const Entry& entry : EntriesWith(database, 'R'))
        letters += entry.status;
    if (MeterText::Contains(letters, 'W'))
        return MarkOf("W");
    return MarkOf(MeterText::Contains(letters, 'C') ? "C" : letters);
}

std::vector<Cell> RouteRow(CMeterDatabase& database, std::vector<ValueColumn>* columns) {
    const Fields fields(database);
    const std::string mark = WorstMark(database);
    std::vector<Cell> row = {Cell(std::to_string(database.GetActualPosition()), Tone::Faint),
                             Cell(Utf8::Shown(MeterNumber(database)))};
    for (ValueColumn& column : *columns)
        row.push_back(ValueCell(database, fields, &column));
    row.emplace_back(Utf8::Shown(StateText(database)), IsHandled(database) ? Tone::Good : Tone::Plain);
    row.emplace_back(Utf8::Shown(ActionText(database)));
    row.emplace_back(mark, ToneOf(mark));
    return row;
}

std::vector<Column> TableColumns(const std::vector<ValueColumn>& columns) {
    std::vector<Column> shown = {{"#", true, false, 0, "record"}, {"Meter"}};
    for (const ValueColumn& column : columns)
        shown.push_back({Utf8::Shown(column.label.empty() ? column.name : column.label), false,
                         column.shrinks, column.dispensable, column.name});
    shown.insert(shown.end(), {{"State"}, {"Action", false, true}, {"Mark"}});
    return shown;
}

void RefuseUnknown(const std::vector<ValueColumn>& columns) {
    for (const ValueColumn& column : columns)
        if (!column.isKnown)
            throw Refusal(kRefused,
                          "no record of the route has a value \"" + Utf8::Shown(column.name) + "\"");
}

void ShowSummary(int meters, const std::vector<Count>& counts, Screen& screen) {
    std::string summary = CountOf(meters, "meter", "meters");
    for (const Count& count : counts)
        summary += (&count == &counts.front() ? ": " : ", ") + std::to_string(count.meters) + " " +
                   (count.state.empty() ? "without a state" : count.state);
    screen.Line({Cell(summary, Tone::Faint)});
}

}  // namespace

void ShowRoute(const Options& options, const RouteRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    std::vector<ValueColumn> columns = ChosenColumns(request.columns);
    Table table;
    std::vector<Count> counts;
    const int meters = database.GetNumberOfMeters();
    for (int meter = 1; meter <= meters; ++meter) {
        database.SetActualPosition(meter);
        CountState(&counts, Utf8::Shown(StateText(database)));
        table.rows.push_back(RouteRow(database, &columns));
    }
    if (!request.columns.empty() && meters > 0)
        RefuseUnknown(columns);
    table.columns = TableColumns(columns);
    std::array<char, 256> info{};
    if (database.GetDBInfo(info.data(), static_cast<int>(info.size()))) {
        screen.Heading(Utf8::Shown(info.data()));
        screen.Line();
    }
    if (!table.rows.empty()) {
        screen.Print(table);
        screen.Line();
    }
    ShowSummary(meters, counts, screen);
}
