// A type of meters as the terminal knows it: what can be run on one, and what its meter interface says of it.
#pragma once

#include <string>
#include <utility>
#include <vector>

struct MeterType {
    std::string name;
    std::string functions;      // codes of the functions that the type supports, one byte each
    std::vector<int> readouts;  // codes of those that a readout answers
    bool listFlagA = false;
    bool listFlagB = false;

    // Texts of the meter interface, by their keys.
    std::vector<std::pair<std::string, std::string>> texts;
};
