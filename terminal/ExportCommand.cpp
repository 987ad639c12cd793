// `meterdb export`: the route for other programs, record by record, whatever its size.
#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>

#include "terminal/Commands.h"
#include "terminal/Json.h"
#include "terminal/OutputFile.h"
#include "terminal/Progress.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/RouteRecords.h"
#include "terminal/Utf8.h"

namespace {

using Write = std::function<void(const std::string& text)>;

// ---- CSV: a row for each value

constexpr const char* kCsvHeader =
    "record,meter,type,state,action,name,label,value,unit,shown,mark,attributes,status,definition,text\r\n";

// A field with a comma, a quote or a line break stands in quotes, which are doubled inside (RFC 4180).
void AddField(const std::string& text, std::string* row) {
    if (!row->empty())
        row->push_back(',');
    const std::string shown = Utf8::Shown(text);
    if (shown.find_first_of(",\"") == std::string::npos) {
        *row += shown;
        return;
    }
    row->push_back('"');
    for (const char c : shown)
        row->append(c == '"' ? 2 : 1, c);
    row->push_back('"');
}

std::string CsvRow(const RouteRecord& record, const RouteValue& value) {
    std::string row;
    for (const std::string& text :
         {ToText(record.place), record.number, record.type, record.state, record.action, value.entry.name,
          value.shown.label, value.entry.value, UnitOf(value.entry.definition), value.shown.value,
          value.shown.mark, value.entry.attributes, value.entry.status, value.entry.definition,
          value.entry.text})
        AddField(text, &row);
    return row + "\r\n";
}

std::string CsvRows(const RouteRecord& record) {
    std::string rows;
    for (const RouteValue& value : record.values)
        rows += CsvRow(record, value);
    return rows;
}

// ---- JSON Lines: an object for each record

void AddText(const char* name, const std::string& text, Json* object) {
    if (!text.empty())
        (*object)[name] = JsonText(text);
}

Json ValueObject(const RouteValue& value) {
    Json object = {{"name", JsonText(value.entry.name)}};
    AddText("label", value.shown.label, &object);
    AddText("value", value.entry.value, &object);
    AddText("unit", UnitOf(value.entry.definition), &object);
    AddText("shown", value.shown.value, &object);
    AddText("mark", value.shown.mark, &object);
    AddText("attributes", value.entry.attributes, &object);
    AddText("status", value.entry.status, &object);
    AddText("definition", value.entry.definition, &object);
    AddText("text", value.entry.text, &object);
    return object;
}

std::string JsonLineOf(const RouteRecord& record) {
    Json object = {{"record", ToText(record.place)}};
    AddText("meter", record.number, &object);
    AddText("type", record.type, &object);
    AddText("stateLetters", record.stateLetters, &object);
    AddText("state", record.state, &object);
    AddText("action", record.action, &object);
    Json& values = object["values"] = Json::array();
    for (const RouteValue& value : record.values)
        values.push_back(ValueObject(value));
    return JsonLine(object) + "\n";
}

// ---- the route

int ExportRoute(CMeterDatabase& database, const ExportRequest& request, const Write& write,
                const std::function<void(double share)>& progress) {
    int records = 0;
    if (!request.jsonLines)
        write(kCsvHeader);
    ForEachRecord(
        database,
        [&](const RouteRecord& record) {
            write(request.jsonLines ? JsonLineOf(record) : CsvRows(record));
            ++records;
        },
        progress);
    return records;
}

}  // namespace

void ExportRecords(const Options& options, const ExportRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    Progress progress(screen, "Exporting");
    const auto report = [&progress](double share) { progress.Report(share); };
    const auto none = [](double /*share*/) {};
    if (request.output.empty()) {
        const Write write = [&screen](const std::string& text) { screen.Raw(text, false); };
        if (screen.IsWatched())
            ExportRoute(database, request, write, none);
        else
            ExportRoute(database, request, write, report);
        return;
    }
    OutputFile file(request.output, installation);
    const int records = ExportRoute(
        database, request, [&file](const std::string& text) { file.Write(text); }, report);
    file.Commit();
    screen.Line({Cell("Wrote " + CountOf(records, "record", "records") + " to "),
                 Cell(Utf8::Shown(request.output), Tone::Strong)});
}
