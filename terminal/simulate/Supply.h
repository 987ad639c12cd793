// What a meter counts: how much is used at a place in the course of the year, and so how its registers stood
// at the end of every month.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "terminal/simulate/Random.h"

namespace Simulate {

constexpr int kMonths = 15;  // that meters keep

// A register and how it stood. Numbers are in its last decimal place.
struct Register {
    std::string name;  // "1.8.1"
    int digits = 6;    // before the point
    int decimals = 1;
    std::string unit;

    std::int64_t now = 0;                         // at the visit
    std::int64_t last = 0;                        // at the visit before
    std::array<std::int64_t, kMonths> history{};  // at the ends of the months, the latest first
    std::int64_t lower = 0;                       // what a plausible reading lies between
    std::int64_t upper = 0;

    // A number as the register shows it.
    std::string Text(std::int64_t number) const;

    // How its values are shown: digits and unit.
    std::string Format() const;
};

enum class Kind { TwoTariffs, SingleTariff, Gas, Water, Heat };

// The name of the type of meters.
const char* TypeOf(Kind kind);

// The registers of a meter of some age at a place of some size.
std::vector<Register> MakeRegisters(Kind kind, Random* random);

}  // namespace Simulate
