// What a meter kept of earlier billing periods, as a small drawing: a bar for each period.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "terminal/RouteRecords.h"
#include "terminal/report/Phrases.h"

namespace Report {

struct Bar {
    int periodsBack = 0;  // 0: the period that is not over yet
    double use = 0;
};

// The periods of one register, the oldest first. Of a register that counts on, what was counted in each; of
// one that keeps a highest value, that value.
struct History {
    std::string name;   // of the register
    std::string label;  // as the user knows it
    std::string unit;
    int decimals = 0;
    std::vector<Bar> bars;
};

// "1.8.1" and 2 of "1.8.1*02": a register and the number of periods back; a name as it is and 0 of any other.
std::pair<std::string, int> SplitName(const std::string& name);

// The registers of a record with at least three periods.
std::vector<History> HistoriesOf(const RouteRecord& record);

// A drawing (SVG) of a history.
std::string Drawing(const History& history, Phrases& phrases);

}  // namespace Report
