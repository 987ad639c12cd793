// `meterdb set`, `state`, `item` and `clear`: what a person changes in a record.
#include <array>

#include "MeterUtil/Text.h"
#include "terminal/Commands.h"
#include "terminal/Edit.h"
#include "terminal/Fields.h"
#include "terminal/Findings.h"
#include "terminal/Place.h"
#include "terminal/ReadoutInterface.h"
#include "terminal/Record.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"

namespace {

constexpr const char* kNothingChanged = ". Nothing was changed.";

// ---- data fields

const Fields::Field& FieldOf(const Fields& fields, const SetRequest& request) {
    if (const Fields::Field* field = fields.Find(request.field))
        return *field;
    throw Refusal(kRefused, "the record has no field \"" + Utf8::Shown(request.field) + "\"; meterdb show " +
                                Utf8::Shown(request.meter) + " lists those that it has" + kNothingChanged);
}

Entry EntryOf(CMeterDatabase& database, const std::string& name) {
    if (const std::optional<Entry> entry = ReadEntry(database, name))
        return *entry;
    throw Refusal(kRefused,
                  Utf8::Shown(name) + " is an item, not a value: meterdb item changes it" + kNothingChanged);
}

void RefuseStamp(const std::string& name) {
    for (const char* stamp : {"UserID", "LastChanges"})
        if (MeterText::EqualIgnoringCase(name, stamp))
            throw Refusal(kRefused, name + " is the stamp of a change, which every command writes itself" +
                                        kNothingChanged);
}

bool IsDecimal(const std::string& text) {
    const std::string digits = text.substr(text.find_first_of("+-") == 0 ? 1 : 0);
    return digits.find_first_of("0123456789") != std::string::npos &&
           digits.find_first_not_of("0123456789.") == std::string::npos &&
           digits.find('.') == digits.rfind('.');
}

// A selection list shows a code that it does not know as nothing or as three dashes.
bool IsUnknownCode(CMeterDatabase& database, const Entry& entry) {
    std::array<char, 256> shown{};
    database.FormatValue(shown.data(), entry.value.c_str(), entry.definition.c_str());
    const bool isList = entry.definition.rfind("S;", 0) == 0;
    return isList && (shown[0] == '\0' || std::string_view(shown.data()) == "- - -");
}

void CheckInput(CMeterDatabase& database, const Entry& entry) {
    if (entry.value.empty())
        return;
    if (!UnitOf(entry.definition).empty() && !IsDecimal(entry.value))
        throw Refusal(kRefused, "\"" + Utf8::Shown(entry.value) + "\" is no number of " +
                                    Utf8::Shown(UnitOf(entry.definition)) + ": write digits and a point" +
                                    kNothingChanged);
    if (IsUnknownCode(database, entry))
        throw Refusal(kRefused, "\"" + Utf8::Shown(entry.value) + "\" is no code of the list that " +
                                    Utf8::Shown(entry.name) + " is chosen from" + kNothingChanged);
}

bool IsMasterValue(CMeterDatabase& database, const std::string& name) {
    std::array<char, 256> master{};
    database.GetPtrToIniFile()->ReadString("List", "MasterValue", master.data(), 256);
    return MeterText::EqualIgnoringCase(master.data(), name);
}

// E tells what was entered by hand from what was read.
std::string StatusOf(CMeterDatabase& database, const Entry& entry, const std::string& finding) {
    if (entry.value.empty())
        return "U";
    if (finding.empty())
        return "DE";
    return IsMasterValue(database, entry.name) ? "WE" : "CE";
}

void Calculate(CMeterDatabase& database) {
    const Readout none;
    const MeterType type;
    ReadoutInterface meter(none, type);
    database.StartAutoFields(&meter);
}

// The library drops what an entry cannot carry; a person should know before, not after.
void CheckStored(CMeterDatabase& database, const Entry& wanted) {
    const std::optional<Entry> stored = ReadEntry(database, wanted.name);
    if (!stored || stored->value != wanted.value)
        throw Refusal(kRefused,
                      "the value cannot be stored as it is: it is longer than 255 characters, or holds "
                      "double quotes or a line break" +
                          std::string(kNothingChanged));
}

void ShowField(const ShownValue& before, const ShownValue& after, const std::string& finding,
               const std::string& name, Screen& screen) {
    const std::string label = after.label.empty() ? name : after.label;
    screen.Line({Cell("  " + Utf8::Shown(label) + "  " + OrDash(before.value) + " -> "),
                 Cell(OrDash(after.value), Tone::Strong), Cell(after.mark.empty() ? "" : "  "),
                 Cell(after.mark, ToneOf(after.mark)),
                 Cell(finding.empty() ? "" : "  " + Utf8::Shown(finding), ToneOf(after.mark))});
}

// ---- the state

constexpr std::size_t kMostLetters = 39;
constexpr const char* kStateLetters = "NEMUAHCRI";

void CheckState(const std::string& state) {
    if (state.empty() || state.find_first_not_of(kStateLetters) != std::string::npos ||
        state.size() > kMostLetters)
        throw Refusal(kRefused, "\"" + Utf8::Shown(state) + "\" is no state: it consists of the letters " +
                                    std::string(kStateLetters) + kNothingChanged);
}

std::string StateLine(CMeterDatabase& database) {
    std::array<char, 40> letters{};
    database.GetRecordState(letters.data());
    return OrDash(letters.data()) + ": " + Utf8::Shown(StateAndAction(database));
}

}  // namespace

void SetField(const Options& options, const SetRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const Place place = SelectMeter(database, request.meter);
    const Fields fields(database);
    const Fields::Field& field = FieldOf(fields, request);
    RefuseStamp(field.name);
    Entry entry = EntryOf(database, field.name);
    entry.value = request.value;
    CheckInput(database, entry);
    const std::string finding = entry.value.empty() ? "" : FindingOf(database, entry);
    const std::vector<RecordText> before = RecordsOfMeter(database);
    const ShownValue shownBefore = fields.Show(field);
    fields.Write(field, entry.value, StatusOf(database, entry, finding));
    CheckStored(database, entry);
    Calculate(database);
    const SavedEdit saved = StampAndSave(database, options.user, before);

    screen.Heading(MeterTitle(database, place));
    ShowField(shownBefore, fields.Show(field), finding, field.name, screen);
    ShowSaved(saved, installation, screen);
}

void ShowOrSetState(const Options& options, const StateRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const Place place = SelectMeter(database, request.meter);
    const std::string stateBefore = StateLine(database);
    if (!request.state) {
        screen.Heading(MeterTitle(database, place));
        screen.Line({Cell("  State    " + stateBefore)});
        return;
    }
    CheckState(*request.state);
    const std::vector<RecordText> before = RecordsOfMeter(database);
    database.SetRecordState(request.state->c_str());
    const SavedEdit saved = StampAndSave(database, options.user, before);

    screen.Heading(MeterTitle(database, place));
    screen.Line({Cell("  State    " + stateBefore + " -> "), Cell(StateLine(database), Tone::Good)});
    ShowSaved(saved, installation, screen);
}

void ShowOrSetItem(const Options& options, const ItemRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const Place place = SelectMeter(database, request.meter);
    if (!request.text) {
        const std::optional<std::string> item = ReadItem(database, request.key);
        if (!item)
            throw Refusal(kRefused, "the record has no entry \"" + Utf8::Shown(request.key) + "\"");
        screen.Line({Cell(Utf8::Shown(*item))});
        return;
    }
    const std::vector<RecordText> before = RecordsOfMeter(database);
    if (!database.SetMeterItem(request.key.c_str(), request.text->c_str()))
        throw Refusal(kRefused, "\"" + Utf8::Shown(request.key) +
                                    "\" with this text is no entry of one line" +
                                    std::string(kNothingChanged));
    const SavedEdit saved = StampAndSave(database, options.user, before);

    screen.Heading(MeterTitle(database, place));
    ShowSaved(saved, installation, screen);
}

void ClearRecord(const Options& options, const ClearRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const Place place = SelectMeter(database, request.meter);
    const std::vector<RecordText> before = RecordsOfMeter(database);
    database.ClearFields(request.mode);
    const SavedEdit saved = StampAndSave(database, options.user, before);

    screen.Heading(MeterTitle(database, place));
    ShowSaved(saved, installation, screen);
}
