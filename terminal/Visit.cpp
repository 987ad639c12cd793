#include "terminal/Visit.h"

#include <algorithm>
#include <array>
#include <optional>

#include "MeterUtil/Text.h"
#include "terminal/Findings.h"
#include "terminal/Functions.h"
#include "terminal/ReadoutInterface.h"

namespace {

constexpr const char* kHandled = "H";
constexpr const char* kInWork = "M";
constexpr std::size_t kMostCharacters = 255;  // that a value of a record has

// ---- findings

std::string FindingOf(CMeterDatabase& database, const Entry& entry, const std::string& sentUnit) {
    std::string finding = MeterText::ContainsAny(entry.status, "CW") ? FindingOf(database, entry) : "";
    const std::string expectedUnit = UnitOf(entry.definition);
    if (!expectedUnit.empty() && !sentUnit.empty() && !MeterText::EqualIgnoringCase(expectedUnit, sentUnit))
        finding += (finding.empty() ? "" : "; ") + ("the meter sent " + sentUnit);
    return finding;
}

// ---- values before and after

std::vector<VisitValue> ValuesBefore(CMeterDatabase& database, char attribute) {
    const Fields fields(database);
    std::vector<VisitValue> values;
    for (const Entry& entry : EntriesWith(database, attribute)) {
        VisitValue value;
        value.before = entry;
        value.shownBefore = fields.Show(entry);
        values.push_back(std::move(value));
    }
    return values;
}

void NoteAfter(CMeterDatabase& database, const Fields& fields, VisitValue* value) {
    value->after = ReadEntry(database, value->before.name).value_or(value->before);
    value->shown = fields.Show(value->after);
}

void NoteReading(CMeterDatabase& database, const Readout& readout, VisitValue* value) {
    const std::string& name = value->before.name;
    const std::string* sentText = readout.FindText(name);
    value->alarms = AlarmsOf(value->after);
    if (sentText == nullptr || sentText->size() > kMostCharacters) {
        value->finding = sentText == nullptr ? "not sent" : "too long to be stored";
        return;
    }
    const ReadoutValue* sent = readout.Find(name);
    value->origin = Origin::Readout;
    value->finding = FindingOf(database, value->after, sent == nullptr ? std::string() : sent->unit);
}

bool IsOther(const VisitValue& value) {
    return value.before.value != value.after.value || value.before.status != value.after.status;
}

// Reads, calculates, and compares with what was there before.
void ReadAndCalculate(CMeterDatabase& database, const Readout& readout, CMeterInterface* meter,
                      Visit* visit) {
    visit->values = ValuesBefore(database, 'R');
    std::vector<VisitValue> automatic = ValuesBefore(database, 'A');
    visit->hasAlarm = database.StartParser(meter) != 0;
    database.StartAutoFields(meter);
    const Fields fields(database);
    for (VisitValue& value : visit->values) {
        NoteAfter(database, fields, &value);
        NoteReading(database, readout, &value);
    }
    for (VisitValue& value : automatic) {
        NoteAfter(database, fields, &value);
        value.origin = Origin::Calculated;
        if (IsOther(value) && !MeterText::Contains(value.before.attributes, 'R'))
            visit->values.push_back(std::move(value));
    }
}

// A meter is handled once its own record was read; what only an appendix was read for stays in work.
const char* StateAfter(CMeterDatabase& database) {
    return database.GetAppendix() == 0 || IsHandled(database) ? kHandled : kInWork;
}

// What the list of functions says of one that a readout answered.
std::string StateTextOf(const Visit& visit) {
    const long read = CountOrigin(visit, Origin::Readout);
    return std::to_string(read) + " of " + std::to_string(read + CountOrigin(visit, Origin::Missing)) +
           " values" + (visit.hasAlarm ? ", alarm" : "");
}

}  // namespace

long CountOrigin(const Visit& visit, Origin origin) {
    return static_cast<long>(std::count_if(visit.values.begin(), visit.values.end(),
                                           [origin](const VisitValue& v) { return v.origin == origin; }));
}

Visit PerformVisit(CMeterDatabase& database, const VisitRequest& request) {
    const std::vector<RecordText> before = RecordsOfMeter(database);
    ReadoutInterface meter(request.readout, request.type);
    Visit visit;
    ReadAndCalculate(database, request.readout, &meter, &visit);
    if (request.function)
        NoteDone(database, meter, *request.function, StateTextOf(visit));
    database.SetRecordState(StateAfter(database));
    visit.saved = StampAndSave(database, request.user, before);
    return visit;
}
