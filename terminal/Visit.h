// A visit to a meter: what its readout changed in the record, and what it means. Nothing of it is shown here.
#pragma once

#include <string>
#include <vector>

#include "terminal/Installation.h"
#include "terminal/Readout.h"
#include "terminal/Record.h"

// One value that the meter was asked for.
struct VisitValue {
    std::string label;
    Entry before;
    Entry after;
    std::string unit;
    bool isRead = false;  // from the readout
    std::string finding;  // what is wrong with the value, in words; "" when nothing is

    // The alarm tokens of the value's definition that hold.
    std::vector<std::string> alarms;
};

// The lines of one record that changed.
struct ChangedLines {
    struct Change {
        std::string before;  // "" for a line that is new
        std::string after;
    };
    std::string header;
    std::vector<Change> changes;
};

struct Visit {
    std::vector<VisitValue> values;
    bool hasAlarm = false;  // as the database sees it
    std::vector<ChangedLines> changes;
    std::string user;
    std::string time;  // of the stamp, YYYYMMDDhhmmss
};

// Reads the readout into the current record, stamps the meter, makes it handled and saves the data file.
// Throws a Refusal when a file could not be saved; the files then hold what they held before.
Visit PerformVisit(Installation& installation, const Readout& readout, const std::string& user);

// The mark that the user sees for a status: "ok.", "?", "!" or nothing.
std::string MarkOf(const std::string& status);
