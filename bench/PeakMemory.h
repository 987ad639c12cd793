// Peak memory of loading a route, each contestant in a process of its own: the benchmark starts itself with a
// hidden argument, and the new process loads and tells the most memory that it ever had, less what it had
// after it had loaded a route of one meter.
#pragma once

#include <functional>
#include <string>

#include "bench/Workloads.h"

namespace Bench {

// Adds that measurement of a contestant, who loads a route by this function.
void AddPeakMemory(const char* contestant, std::function<void(const std::string& path)> load,
                   int repetitions = 1, int mostMeters = INT_MAX);

// Reads the memory that the process has now: for such a function, while it holds the store.
void ReadMemory();

template <typename Store>
void KeepLoaded(const Store& store) {
    benchmark::DoNotOptimize(&store);
    ReadMemory();
}

// The other side: true when the arguments ask for it; it has been done then.
bool LoadedForPeakMemory(int argc, char** argv);

}  // namespace Bench
