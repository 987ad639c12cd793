// The end of every edit: the stamp, the save, and which lines of the records are others now. A save that
// fails leaves the files as they were.
#pragma once

#include <string>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"

// A record as it stands in the data file.
struct RecordText {
    std::string header;  // "" for a record that is not there
    std::vector<std::string> lines;
};

// The current meter's main record and its appendices. The current record stays.
std::vector<RecordText> RecordsOfMeter(CMeterDatabase& database);

// The lines of one record that changed.
struct ChangedLines {
    struct Change {
        std::string before;  // "" for a line that is new
        std::string after;   // "" for a line that is gone
    };
    std::string header;
    std::vector<Change> changes;
};

struct SavedEdit {
    std::string user;
    std::string time;  // of the stamp, YYYYMMDDhhmmss; "" when nothing is left to be stamped
    std::vector<ChangedLines> changes;
};

// Stamps the current meter with the user and the time and saves the data file. `before`: its records as they
// were. Throws a Refusal when a file could not be saved.
SavedEdit StampAndSave(CMeterDatabase& database, const std::string& user,
                       const std::vector<RecordText>& before);

// Writes a value of the whole route and saves the data file. Throws a Refusal when the key or the value
// cannot stand in the file, or when it could not be saved.
void SaveGeneral(CMeterDatabase& database, const std::string& key, const std::string& value);

// Deletes the current meter and saves the data file. Throws a Refusal when a file could not be saved.
SavedEdit DeleteAndSave(CMeterDatabase& database);
