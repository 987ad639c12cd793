#include "terminal/Place.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "MeterUtil/Text.h"
#include "terminal/Identity.h"
#include "terminal/Record.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"

namespace {

constexpr int kMostAppendices = 100;

std::optional<Place> PlaceFromText(const std::string& text) {
    const std::size_t slash = text.find('/');
    const std::string meter = text.substr(0, slash);
    const std::string appendix = slash == std::string::npos ? "0" : text.substr(slash + 1);
    if (!IsCount(meter) || !IsCount(appendix))
        return std::nullopt;
    return Place{MeterText::ToInt(meter), std::min(MeterText::ToInt(appendix), kMostAppendices + 1)};
}

// The records, appendices included, of the meter with a number.
std::vector<Place> PlacesOfMeter(CMeterDatabase& database, const std::string& number) {
    std::vector<Place> places;
    for (const NumberedPlace& known : NumberedPlaces(database))
        if (SameNumber(known.number, number))
            places.push_back(known.place);
    return places;
}

}  // namespace

std::string ToText(Place place) {
    return std::to_string(place.meter) + (place.appendix == 0 ? "" : "/" + std::to_string(place.appendix));
}

bool GoTo(CMeterDatabase& database, Place place) {
    if (place.meter < 1 || place.meter > database.GetNumberOfMeters())
        return false;
    database.SetActualPosition(place.meter);
    return database.SetAppendix(place.appendix);
}

std::vector<NumberedPlace> NumberedPlaces(CMeterDatabase& database) {
    const Place current{database.GetActualPosition(), database.GetAppendix()};
    std::vector<NumberedPlace> places;
    for (int meter = 1; meter <= database.GetNumberOfMeters(); ++meter) {
        database.SetActualPosition(meter);
        const int appendices = database.GetAppendixCount();
        for (int appendix = 0; appendix <= appendices; ++appendix) {
            database.SetAppendix(appendix);
            if (const std::string number = MeterNumber(database); !number.empty())
                places.push_back({{meter, appendix}, number});
        }
    }
    GoTo(database, current);
    return places;
}

Place SelectMeter(CMeterDatabase& database, const std::string& meter) {
    if (const std::optional<Place> place = PlaceFromText(meter); place && GoTo(database, *place))
        return *place;
    const std::vector<Place> places = PlacesOfMeter(database, meter);
    if (places.empty())
        throw Refusal(kRefused, "there is no meter \"" + Utf8::Shown(meter) + "\" on this route of " +
                                    CountOf(database.GetNumberOfMeters(), "meter", "meters"));
    if (places.size() > 1)
        throw Refusal(kRefused, "more than one record has the meter number " + Utf8::Shown(meter) + ": say " +
                                    ToText(places[0]) + " or " + ToText(places[1]));
    GoTo(database, places.front());
    return places.front();
}
