// The meters that are carried along for exchanges.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"
#include "terminal/Place.h"

struct StoreMeter {
    int store = 0;       // its number in the store, from 1
    std::string number;  // of the meter; "" when it has none
    std::string type;
    std::optional<Place> mounted;  // the record of the route that is about this meter
};

// In the order of the store; those without a number and a type are none.
std::vector<StoreMeter> StoreMeters(CMeterDatabase& database);

// The store meter with a meter number; nothing when there is none.
std::optional<StoreMeter> FindStoreMeter(CMeterDatabase& database, const std::string& number);

// The store meter that `name` names: by its number in the store, else by the number of the meter. Throws a
// Refusal when there is none.
StoreMeter SelectStoreMeter(CMeterDatabase& database, const std::string& name);
