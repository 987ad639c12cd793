// Which record of the route a person means.
#pragma once

#include <string>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"

struct Place {
    int meter = 0;
    int appendix = 0;  // 0: the main record
};

// "3", or "3/1" for appendix 1.
std::string ToText(Place place);

struct NumberedPlace {
    Place place;
    std::string number;  // of the meter that the record is about
};

// The records of the route, appendices included, that have a meter number. The current record stays.
std::vector<NumberedPlace> NumberedPlaces(CMeterDatabase& database);

// Makes a record current; false when it is none of the route.
bool GoTo(CMeterDatabase& database, Place place);

// Makes the record current that `meter` names: by its place on the route ("3", "3/1"), else by the number of
// its meter. Throws a Refusal when there is no such record or more than one.
Place SelectMeter(CMeterDatabase& database, const std::string& meter);
