// A readout on its way from its file into the current record, and the report of what it brought.
#pragma once

#include <string>

#include "terminal/Installation.h"
#include "terminal/Place.h"
#include "terminal/Readout.h"
#include "terminal/Screen.h"
#include "terminal/Visit.h"

struct LoadedReadout {
    std::string bytes;  // of the file
    Readout readout;
};

// Throws a Refusal for a file that cannot be read or is no complete readout.
LoadedReadout LoadReadout(const std::string& name);

// Where a readout comes from.
struct ReadingSource {
    std::string file;
    const std::string& bytes;
    std::string function;  // that it answers, as the user sees it; "" for none
    bool force = false;    // also when it is of another meter
};

// Takes a readout into the current record, shows the visit and puts a copy of the file into the archive of
// raw data. Throws a Refusal, with nothing changed, when it is of another meter or has nothing that the
// record waits for; with the record saved, when only the copy could not be kept.
void TakeReadout(Installation& installation, Place place, const VisitRequest& request,
                 const ReadingSource& source, Screen& screen);
