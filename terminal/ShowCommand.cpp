// `meterdb show`: the data fields of a record, or the record as it stands.
#include "terminal/Commands.h"
#include "terminal/Fields.h"
#include "terminal/Place.h"
#include "terminal/Record.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"

namespace {

// What else belongs to the meter, by the value that the first line of an appendix has.
void ShowAppendices(CMeterDatabase& database, Place place, Screen& screen) {
    const int appendices = database.GetAppendixCount();
    for (int appendix = 1; place.appendix == 0 && appendix <= appendices; ++appendix) {
        database.SetAppendix(appendix);
        std::string text;
        for (const std::string& part :
             {ReadValue(database, "#" + std::to_string(appendix)), MeterNumber(database)})
            text += part.empty() ? "" : ", " + Utf8::Shown(part);
        screen.Line({Cell("  Also     " + ToText({place.meter, appendix}) + text)});
    }
    database.SetAppendix(place.appendix);
}

void ShowFields(const Fields& fields, int kind, const char* title, Screen& screen) {
    Table table;
    table.list = title;
    table.columns = {{"Field"}, {"Name", false, true}, {"Value", false, true}, {"Mark"}};
    for (const Fields::Field& field : fields.All()) {
        if (field.kind != kind)
            continue;
        const ShownValue shown = fields.Show(field);
        table.rows.push_back({Cell(Utf8::Shown(field.name), Tone::Faint), Cell(Utf8::Shown(shown.label)),
                              Cell(Utf8::Shown(shown.value), Tone::Strong),
                              Cell(shown.mark, ToneOf(shown.mark))});
    }
    if (table.rows.empty())
        return;
    screen.Line();
    screen.Heading(title);
    screen.Print(table);
}

void ShowLines(CMeterDatabase& database, Screen& screen) {
    screen.Heading(Utf8::Shown(RecordHeader(database)));
    for (const std::string& line : RecordLines(database))
        screen.Line({Cell(Utf8::Shown(line))});
}

}  // namespace

void ShowRecord(const Options& options, const ShowRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const Place place = SelectMeter(database, request.meter);
    if (request.raw) {
        ShowLines(database, screen);
        return;
    }
    screen.Heading(MeterTitle(database, place));
    screen.Line({Cell("  State    " + Utf8::Shown(StateAndAction(database)))});
    ShowAppendices(database, place, screen);
    const Fields fields(database);
    ShowFields(fields, Fields::kValues, "Values", screen);
    ShowFields(fields, Fields::kExtra, "Extra", screen);
    ShowFields(fields, Fields::kStatistic, "Statistic", screen);
}
