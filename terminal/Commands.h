// The commands of the program. Each writes to the screen and throws a Refusal when it cannot do what was
// asked.
#pragma once

#include <string>

#include "terminal/Installation.h"
#include "terminal/Screen.h"

// Shows every meter of the route with its state and what is to be done with it.
void ShowRoute(const Options& options, Screen& screen);

struct ReadRequest {
    std::string meter;    // number of the record ("3", "3/1" for its appendix 1) or of the meter
    std::string readout;  // name of a file
    bool force = false;   // also when the readout is of another meter
};

// Takes a meter's readout into its record.
void ReadMeter(const Options& options, const ReadRequest& request, Screen& screen);
