// The functions that are offered for the current record: its commands and its options.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"
#include "terminal/Installation.h"
#include "terminal/MeterType.h"

// The type of the current meter, by which its functions are listed from then on. Throws a Refusal when the
// terminal does not know it.
MeterType TypeOfMeter(Installation& installation);

struct Function {
    int code = 0;
    std::string text;
    std::string mark;       // "?" waits, "ok." done, "!"
    std::string stateText;  // what was noted when it was run
};

enum class Catalogue { Commands, Options };

std::vector<Function> FunctionsOf(CMeterDatabase& database, CMeterInterface& meter, Catalogue catalogue);

// The function with a code; nothing when it is not offered.
std::optional<Function> FindFunction(CMeterDatabase& database, CMeterInterface& meter, int code);

// Whether a readout answers the function, or one of those that it is made of.
bool BringsReadout(CMeterDatabase& database, CMeterInterface& meter, const MeterType& type, int code);

// Notes that a function was done.
void NoteDone(CMeterDatabase& database, CMeterInterface& meter, int code, const std::string& stateText);
