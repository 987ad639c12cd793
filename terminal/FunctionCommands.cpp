// `meterdb commands` and `options`: what can be run on a meter.
#include "terminal/Commands.h"
#include "terminal/Functions.h"
#include "terminal/Place.h"
#include "terminal/ReadoutInterface.h"
#include "terminal/Record.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"

namespace {

struct Words {
    Catalogue catalogue;
    const char* title;
    const char* one;
    const char* many;
};

Table FunctionTable(const std::vector<Function>& functions, const char* title) {
    Table table;
    table.columns = {{"Code", true}, {title, false, true, 0, "text"}, {"Mark"}, {"State", false, true}};
    for (const Function& function : functions)
        table.rows.push_back(
            {Cell(std::to_string(function.code), Tone::Faint), Cell(Utf8::Shown(function.text), Tone::Strong),
             Cell(function.mark, ToneOf(function.mark)), Cell(Utf8::Shown(function.stateText))});
    return table;
}

void ShowCatalogue(const Options& options, const std::string& meterName, const Words& words, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const Place place = SelectMeter(database, meterName);
    const MeterType type = TypeOfMeter(installation);
    const Readout none;
    ReadoutInterface meter(none, type);
    const Table table = FunctionTable(FunctionsOf(database, meter, words.catalogue), words.title);
    screen.Heading(MeterTitle(database, place));
    screen.Line({Cell("  State    " + Utf8::Shown(StateAndAction(database)))});
    screen.Line();
    if (!table.rows.empty()) {
        screen.Print(table);
        screen.Line();
    }
    screen.Line({Cell(CountOf(static_cast<long>(table.rows.size()), words.one, words.many) +
                          (options.level ? " at access level " + std::to_string(*options.level) : ""),
                      Tone::Faint)});
}

}  // namespace

void ShowCommands(const Options& options, const CatalogueRequest& request, Screen& screen) {
    ShowCatalogue(options, request.meter, {Catalogue::Commands, "Command", "command", "commands"}, screen);
}

void ShowOptions(const Options& options, const CatalogueRequest& request, Screen& screen) {
    ShowCatalogue(options, request.meter, {Catalogue::Options, "Option", "option", "options"}, screen);
}
