// The route as it can be handed on: every record with its values as they stand and as the user sees them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"
#include "terminal/Fields.h"
#include "terminal/Place.h"
#include "terminal/Record.h"

struct RouteValue {
    Entry entry;
    ShownValue shown;
    int kind = kUndeclared;  // of the list that declares the field, see Fields

    static constexpr int kUndeclared = -1;
};

struct RouteRecord {
    Place place;
    std::string number;  // of the meter
    std::string type;
    std::string stateLetters;
    std::string state;   // as the user reads it
    std::string action;  // as the user reads it
    std::vector<RouteValue> values;

    // The value of an entry as the user sees it; "" when the record has none.
    const std::string& Shown(const std::string& name) const;
};

// Looks at every record in the order of the route, those of a meter's appendices behind its own. `progress`
// is told the share that is done, from 0 to 1.
void ForEachRecord(CMeterDatabase& database, const std::function<void(const RouteRecord& record)>& look,
                   const std::function<void(double share)>& progress);
