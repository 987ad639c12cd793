// The functions of a record as the units of the database pass them on.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/ValueEntry.h"

// One entry of the record that defines a function.
struct CMeterDatabase::Function {
    std::string name;
    int number = 0;  // in its name
    int code = 0;
    MeterRecords::ValueEntry entry;
};

struct CMeterDatabase::FunctionList {
    std::string available;  // what the meter offers, access level, flags and configuration considered
    std::vector<Function> functions;
};

namespace MeterRecords {

enum ListMode { kAllFunctions, kCommands, kOptions };

constexpr int kMostFunctions = 60;  // in a list

constexpr bool IsComposite(int code) {
    return code >= 1000 && code <= 1999;
}

// The tokens of a composite function that will be run, without the marks of the optional ones.
// `clockWithdrawn`: setting the clock (101) is not among them.
std::string RunnableTokens(std::string_view definition, std::string_view available, bool clockWithdrawn);

}  // namespace MeterRecords
