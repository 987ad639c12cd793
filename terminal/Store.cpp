#include "terminal/Store.h"

#include <algorithm>
#include <array>

#include "MeterUtil/Text.h"
#include "terminal/Identity.h"
#include "terminal/Record.h"
#include "terminal/Refusal.h"
#include "terminal/Utf8.h"

namespace {

constexpr int kValueBytes = 256;
constexpr int kMostListed = 100000;  // as many as the library searches, whatever number the file claims

std::string Value(CMeterDatabase& database, int store, const char* key) {
    std::array<char, kValueBytes> value{};
    database.GetStoreValue(store, key, nullptr, 0, nullptr, 0, nullptr, 0, value.data(), kValueBytes, nullptr,
                           0);
    return std::string(MeterText::WithoutQuotes(value.data()));
}

// `places`: those of the route.
StoreMeter Describe(CMeterDatabase& database, int store, const std::vector<NumberedPlace>& places) {
    const std::string nominal = Value(database, store, "0.0.0-nom");
    StoreMeter meter{store, nominal.empty() ? Value(database, store, "0.0.0") : nominal,
                     Value(database, store, "MeterType"), std::nullopt};
    const auto mounted = std::find_if(places.begin(), places.end(), [&meter](const NumberedPlace& place) {
        return !meter.number.empty() && SameNumber(place.number, meter.number);
    });
    if (mounted != places.end())
        meter.mounted = mounted->place;
    return meter;
}

}  // namespace

std::vector<StoreMeter> StoreMeters(CMeterDatabase& database) {
    const std::vector<NumberedPlace> places = NumberedPlaces(database);
    const int count = std::min(database.GetStoreMeters(), kMostListed);
    std::vector<StoreMeter> meters;
    for (int store = 1; store <= count; ++store)
        if (StoreMeter meter = Describe(database, store, places);
            !meter.number.empty() || !meter.type.empty())
            meters.push_back(std::move(meter));
    return meters;
}

std::optional<StoreMeter> FindStoreMeter(CMeterDatabase& database, const std::string& number) {
    const int store = IsCount(number) ? database.SearchStoreMeter(number.c_str()) : 0;
    return store == 0 ? std::nullopt : std::optional(Describe(database, store, NumberedPlaces(database)));
}

StoreMeter SelectStoreMeter(CMeterDatabase& database, const std::string& name) {
    const int store = IsCount(name) ? MeterText::ToInt(name) : 0;
    if (store >= 1 && store <= database.GetStoreMeters())
        return Describe(database, store, NumberedPlaces(database));
    if (std::optional<StoreMeter> meter = FindStoreMeter(database, name))
        return *std::move(meter);
    throw Refusal(kRefused, "there is no store meter \"" + Utf8::Shown(name) + "\" among the " +
                                std::to_string(database.GetStoreMeters()) +
                                " of the store. Nothing was changed.");
}
