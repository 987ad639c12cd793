// A visit to a meter: what its readout changed in the record, and what it means. Nothing of it is shown here.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "terminal/Edit.h"
#include "terminal/Fields.h"
#include "terminal/MeterType.h"
#include "terminal/Readout.h"
#include "terminal/Record.h"

enum class Origin {
    Readout,     // the meter sent it
    Missing,     // the meter was asked for it in vain
    Calculated,  // from other values
};

// One value that the meter was asked for, or that was calculated anew.
struct VisitValue {
    Entry before;
    Entry after;
    ShownValue shownBefore;
    ShownValue shown;
    Origin origin = Origin::Missing;
    std::string finding;  // what is wrong with the value, in words; "" when nothing is

    // The alarm tokens of the value's definition that hold.
    std::vector<std::string> alarms;
};

struct Visit {
    std::vector<VisitValue> values;
    bool hasAlarm = false;  // as the database sees it
    SavedEdit saved;
};

// What is brought from the meter.
struct VisitRequest {
    const Readout& readout;
    const MeterType& type;
    std::string user;
    std::optional<int> function;  // that the readout answers, to be noted as done
};

// Reads the readout into the current record, calculates its automatic fields, stamps the meter, makes it
// handled and saves the data file. Throws a Refusal when a file could not be saved; the files then hold what
// they held before.
Visit PerformVisit(CMeterDatabase& database, const VisitRequest& request);

long CountOrigin(const Visit& visit, Origin origin);
