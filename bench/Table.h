// The rows of the table with their goals, and the table itself: every figure beside its floor, and beside the
// best library that does the same.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bench/Recorder.h"

namespace Bench {

struct Goal {
    enum class Kind { None, TimesFloor, Nanoseconds, TimesSmallestRoute };
    Kind kind = Kind::None;
    double most = 0;
    double mostOfLargeRoute = 0;  // of more than kLargeRoute meters
};

constexpr int kLargeRoute = 2000;

struct Row {
    const char* id;
    const char* title;
    Goal goal;
};

const std::vector<Row>& Rows();

// The name of a benchmark: route, row and contestant.
std::string NameOf(int meters, const std::string& row, const std::string& contestant);

constexpr const char* kBytesCounter = "bytes";  // where memory is measured, in place of time

// Prints the rows of one route that were measured. `smallestRoute`: of those that are measured; `bytes`: the
// size of the route's file.
void PrintTable(const Recorder& recorder, int meters, int smallestRoute, std::size_t bytes);

}  // namespace Bench
