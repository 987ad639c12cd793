// `meterdb types`: what can be appended to the route.
#include "terminal/AppendTypes.h"
#include "terminal/Commands.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"

void ShowTypes(const Options& options, const TypesRequest& /*request*/, Screen& screen) {
    Installation installation(options);
    Table table;
    table.columns = {{"Type"}, {"Name", false, true}};
    for (const AppendType& type : AppendTypes(installation.Database()))
        table.rows.push_back({Cell(Utf8::Shown(type.name), Tone::Strong), Cell(Utf8::Shown(type.label))});
    if (!table.rows.empty()) {
        screen.Print(table);
        screen.Line();
    }
    screen.Line({Cell(CountOf(static_cast<long>(table.rows.size()), "type", "types"), Tone::Faint)});
}
