// `meterdb store list`, `find` and `mount`: the meters carried along, and the exchange of a meter for one of
// them.
#include <algorithm>
#include <array>

#include "MeterUtil/Text.h"
#include "terminal/Commands.h"
#include "terminal/Edit.h"
#include "terminal/Place.h"
#include "terminal/Record.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/Store.h"
#include "terminal/Utf8.h"

namespace {

constexpr const char* kNothingChanged = ". Nothing was changed.";
constexpr char kStoreField = 'S';

// ---- the list

void PrintMeters(const std::vector<StoreMeter>& meters, Screen& screen) {
    Table table;
    table.columns = {{"#", true, false, 0, "store"}, {"Meter"}, {"Type", false, true}, {"Where"}};
    for (const StoreMeter& meter : meters)
        table.rows.push_back(
            {Cell(std::to_string(meter.store), Tone::Faint), Cell(OrDash(meter.number), Tone::Strong),
             Cell(Utf8::Shown(meter.type)),
             meter.mounted ? Cell("record " + ToText(*meter.mounted)) : Cell("free", Tone::Good)});
    screen.Print(table);
}

// ---- the exchange

bool IsExchange(const std::string& action) {
    const std::array<const char*, 3> kExchanges = {"Change", "Changeable", "Mount"};
    return std::any_of(kExchanges.begin(), kExchanges.end(), [&action](const char* exchange) {
        return MeterText::EqualIgnoringCase(action, exchange);
    });
}

std::string ActionOf(CMeterDatabase& database) {
    std::array<char, 256> action{};
    database.GetMeterAction(action.data());
    return action.data();
}

// Goes to the record that takes the store meter: that of the new meter, appendix 1, where one is changed for
// another.
Place GoToNewMeter(CMeterDatabase& database, Place place) {
    const std::string action = ActionOf(database);
    if (!IsExchange(action))
        throw Refusal(kRefused, "no exchange is ordered for meter " + ToText(place) +
                                    ": what is to be done is \"" + Utf8::Shown(ActionText(database)) + "\"" +
                                    kNothingChanged);
    if (place.appendix != 0 || MeterText::EqualIgnoringCase(action, "Mount"))
        return place;
    place.appendix = 1;
    if (!GoTo(database, place))
        throw Refusal(kRefused, "meter " + std::to_string(place.meter) +
                                    " has no appendix 1, the record of the meter that it is changed for" +
                                    kNothingChanged);
    return place;
}

std::string TitleOf(const StoreMeter& meter) {
    std::string title = "store meter " + std::to_string(meter.store);
    for (const std::string& text : {meter.number, meter.type})
        title += text.empty() ? "" : ", " + Utf8::Shown(text);
    return title;
}

void CheckStoreMeter(CMeterDatabase& database, const StoreMeter& meter) {
    if (meter.number.empty())
        throw Refusal(kRefused, TitleOf(meter) + " has no number" + kNothingChanged);
    if (meter.mounted)
        throw Refusal(kRefused, TitleOf(meter) + " is not free: it is the meter of record " +
                                    ToText(*meter.mounted) + kNothingChanged);
    const std::string type = MeterTypeOf(database);
    if (!type.empty() && !meter.type.empty() && !MeterText::EqualIgnoringCase(type, meter.type))
        throw Refusal(kRefused, TitleOf(meter) + " does not fit: the record is of type " + Utf8::Shown(type) +
                                    kNothingChanged);
}

bool IsStoreField(CMeterDatabase& database, const StoreMeter& meter, const std::string& name) {
    std::array<char, 256> attributes{};
    database.GetStoreValue(meter.store, name.c_str(), attributes.data(), 256, nullptr, 0, nullptr, 0, nullptr,
                           0, nullptr, 0);
    return MeterText::Contains(attributes.data(), kStoreField);
}

// By the meter's answer or by a person.
bool IsWorkedOn(const Entry& entry) {
    return MeterText::ContainsAny(entry.status, "DCW") && MeterText::ContainsAny(entry.status, "RE");
}

// What was read or entered in the record must not be replaced by the empty fields of another meter.
void CheckNothingIsLost(CMeterDatabase& database, const StoreMeter& meter) {
    if (database.CheckStoreFields())
        throw Refusal(kRefused, "meter " + Utf8::Shown(MeterNumber(database)) +
                                    " was mounted and read already" + kNothingChanged);
    for (const Entry& entry : Entries(database))
        if (IsWorkedOn(entry) && IsStoreField(database, meter, entry.name))
            throw Refusal(kRefused, "the record has been read already: " + Utf8::Shown(entry.name) +
                                        " would be lost" + kNothingChanged);
}

// Takes the fields of a store meter that was not used after all out of the record.
void DeleteStoreFields(CMeterDatabase& database) {
    while (!EntriesWith(database, kStoreField).empty())
        if (!database.DeleteStoreFields())
            throw Refusal(kRefused,
                          std::string("the store fields of the record cannot be deleted") + kNothingChanged);
}

void AppendStoreFields(CMeterDatabase& database, const StoreMeter& meter) {
    if (!database.AppendStoreFields(meter.store))
        throw Refusal(kRefused, "the fields of " + TitleOf(meter) + " cannot be copied" + kNothingChanged);
    if (MeterNumber(database) != meter.number)
        throw Refusal(kRefused, "the record would not be about meter " + Utf8::Shown(meter.number) +
                                    ": its number is no store field" + kNothingChanged);
}

}  // namespace

void ListStore(const Options& options, const StoreListRequest& /*request*/, Screen& screen) {
    Installation installation(options);
    const std::vector<StoreMeter> meters = StoreMeters(installation.Database());
    if (!meters.empty()) {
        PrintMeters(meters, screen);
        screen.Line();
    }
    const auto free =
        std::count_if(meters.begin(), meters.end(), [](const StoreMeter& meter) { return !meter.mounted; });
    screen.Line({Cell(CountOf(static_cast<long>(meters.size()), "store meter", "store meters") +
                          (meters.empty() ? "" : ", " + std::to_string(free) + " free"),
                      Tone::Faint)});
}

void FindInStore(const Options& options, const StoreFindRequest& request, Screen& screen) {
    Installation installation(options);
    const std::optional<StoreMeter> meter = FindStoreMeter(installation.Database(), request.number);
    if (!meter)
        throw Refusal(kRefused,
                      "the store has no meter with the number \"" + Utf8::Shown(request.number) + "\"");
    PrintMeters({*meter}, screen);
}

void MountFromStore(const Options& options, const StoreMountRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const Place place = GoToNewMeter(database, SelectMeter(database, request.meter));
    const StoreMeter meter = SelectStoreMeter(database, request.store);
    CheckStoreMeter(database, meter);
    CheckNothingIsLost(database, meter);
    const std::string putBack = EntriesWith(database, kStoreField).empty() ? "" : MeterNumber(database);
    const std::vector<RecordText> before = RecordsOfMeter(database);
    DeleteStoreFields(database);
    AppendStoreFields(database, meter);
    const SavedEdit saved = StampAndSave(database, options.user, before);

    screen.Heading(MeterTitle(database, place));
    screen.Line({Cell("  Mounted  " + TitleOf(meter), Tone::Good)});
    if (!putBack.empty())
        screen.Line({Cell("  Free     " + Utf8::Shown(putBack))});
    ShowSaved(saved, installation, screen);
}
