// The store against floors, INI libraries and an embedded database, side by side in one run.
//
//     meterdb_bench [-o FILE] [METERS ...] [ROW ...] [CONTESTANT ...]
//
//     METERS      size of a route: 500, 2000 and 20000 (2, 8 and 83 MB) when none is given
//     ROW         measures these rows of the table alone
//     CONTESTANT  measures these alone: ours, floor, or a library by its name, also with routes for which it
//                 is too slow otherwise
//     -o          JSON file of all repetitions; bench.json when it is not given
//
// What is measured. Routes are files of METERS records of 60 entries, each with an appendix of 20 entries.
//
//     load             the file into a store                     floor: read it, memchr for the line ends
//     random           1,000,000 values from all over the file   floor: join names, find in a map, copy
//     random-again     the same once more
//     local            20 values of a record, then of the next   floor: the same map
//     entry            all entries of record after record        floor: map of sections, table of lines
//     line             all lines of the file, by number          floor: table of lines, copy
//     line-anywhere    1,000,000 lines from all over the file    floor: the same table
//     update           300,000 values all over the file          floor: find in that map, copy the value
//     insert           20,000 new keys in sections all over the file
//     append           1,000 records behind the last one, line by line
//     append-keys      the same, value by value
//     delete           10 records with their appendices, from all over the file
//     renumber         the first record is gone; the headers of all others are rewritten
//     save             the unchanged file                        floor: one write of the text
//     save-one         a value and the file                      floor: the same
//     save-many        the file after 300,000 changed values     floor: the same
//     background-one   what the caller of a background save spends after one changed value
//     background-many  the same after 300,000 changed values     floor: of both, one write of the text
//     save-flushed     save-one with all flushed to a disk       floor: one write and a flush
//     memory           most memory that loading takes            floor: the size of the file
//
// All names, values and copies of files are made before a clock starts. What our store puts off while it
// loads is part of the figures: every repetition begins with a fresh one. The others load once a route.
// Repetitions of a row are interleaved; every figure is a median. Files lie in a file system in memory, and
// saves do not flush, except where the row says so: what a medium takes says nothing about the store. A
// contestant that lacks an operation, or whose way of saving is another thing, is not in that row. Slow ones
// do fewer operations a repetition.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/Contestants.h"
#include "bench/Machine.h"
#include "bench/PeakMemory.h"
#include "bench/Route.h"
#include "bench/Table.h"
#include "bench/Workloads.h"

namespace Bench {
namespace {

struct Entrant {
    std::string row;
    std::string contestant;
    int repetitions;
    Measurement measurement;
    int mostMeters;
};

std::vector<Entrant>& Entrants() {
    static std::vector<Entrant> entrants;
    return entrants;
}

std::vector<std::function<void()>>& Drops() {
    static std::vector<std::function<void()>> drops;
    return drops;
}

void DropKept() {
    for (const std::function<void()>& drop : Drops())
        drop();
    Drops().clear();
}

// One repetition as the benchmark library counts it.
void Repeat(benchmark::State& state, const Entrant& entrant, Route& route) {
    for (auto _ : state) {
        const Measured measured = entrant.measurement(route);
        if (measured.operations == 0) {
            state.SkipWithError("failed");
            return;
        }
        state.SetIterationTime(measured.seconds);
        if (measured.seconds == 0) {
            state.counters[kBytesCounter] = static_cast<double>(measured.bytes);
            continue;
        }
        state.SetItemsProcessed(static_cast<std::int64_t>(measured.operations));
        if (measured.bytes != 0)
            state.SetBytesProcessed(static_cast<std::int64_t>(measured.bytes));
    }
}

struct Options {
    std::string json = "bench.json";
    std::vector<int> routes;
    std::vector<std::string> rows;         // empty: all
    std::vector<std::string> contestants;  // empty: all
};

bool IsWanted(const std::vector<std::string>& wanted, const std::string& name) {
    return wanted.empty() || std::count(wanted.begin(), wanted.end(), name) != 0;
}

bool IsRow(const std::string& word) {
    return std::any_of(Rows().begin(), Rows().end(), [&](const Row& row) { return row.id == word; });
}

bool IsContestant(const std::string& word) {
    return std::any_of(Entrants().begin(), Entrants().end(),
                       [&](const Entrant& entrant) { return entrant.contestant == word; });
}

// False when a word means nothing.
bool ReadOptions(int argc, char** argv, Options* options) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const int meters = std::atoi(argv[i]);
        if (word == "-o" && i + 1 < argc)
            options->json = argv[++i];
        else if (meters > 0)
            options->routes.push_back(meters);
        else if (IsRow(word))
            options->rows.push_back(word);
        else if (IsContestant(word))
            options->contestants.push_back(word);
        else
            return false;
    }
    if (options->routes.empty())
        options->routes = {500, 2000, 20000};
    return true;
}

void MeasureRow(const Row& row, const Options& options, Route& route, Recorder* recorder) {
    benchmark::ClearRegisteredBenchmarks();
    bool hasAny = false;
    for (const Entrant& entrant : Entrants()) {
        const bool isNamed = !options.contestants.empty();
        if (entrant.row != row.id || !IsWanted(options.contestants, entrant.contestant) ||
            (entrant.mostMeters < route.Meters() && !isNamed))
            continue;
        const std::string name = NameOf(route.Meters(), row.id, entrant.contestant);
        benchmark::RegisterBenchmark(name.c_str(), Repeat, entrant, std::ref(route))
            ->UseManualTime()
            ->Iterations(1)
            ->Repetitions(entrant.repetitions);
        hasAny = true;
    }
    if (hasAny)
        benchmark::RunSpecifiedBenchmarks(recorder, ".");
}

void MeasureRoute(int meters, const Options& options, const Folder& memory, Recorder* recorder) {
    Route route(meters, memory.Path());
    for (const Row& row : Rows())
        if (IsWanted(options.rows, row.id))
            MeasureRow(row, options, route, recorder);
    DropKept();
    const int smallest = *std::min_element(options.routes.begin(), options.routes.end());
    PrintTable(*recorder, meters, smallest, route.Bytes());
}

int Run(const Options& options, const Folder& memory) {
    Recorder recorder(options.json);
    for (const int meters : options.routes)
        MeasureRoute(meters, options, memory, &recorder);
    return recorder.HasFailed() ? 1 : 0;
}

void AddAll(const std::string& diskDirectory) {
    AddOurStore(diskDirectory);
    AddFloors(diskDirectory);
    AddSimpleIni();
    AddGKeyFile();
    AddPropertyTree();
    AddIniParser();
    AddSqlite(diskDirectory);
}

}  // namespace

void Add(const char* row, const char* contestant, int repetitions, Measurement measurement, int mostMeters) {
    Entrants().push_back({row, contestant, repetitions, std::move(measurement), mostMeters});
}

void AtEndOfRoute(std::function<void()> drop) {
    Drops().push_back(std::move(drop));
}

}  // namespace Bench

int main(int argc, char** argv) {
    const Bench::Folder memory(Bench::MemoryDirectory());
    const Bench::Folder disk(std::filesystem::temp_directory_path().string());
    Bench::AddAll(disk.Path());
    if (Bench::LoadedForPeakMemory(argc, argv))
        return 0;
    Bench::Options options;
    if (!Bench::ReadOptions(argc, argv, &options)) {
        std::fprintf(stderr, "usage: %s [-o FILE] [METERS ...] [ROW ...] [CONTESTANT ...]\n", argv[0]);
        return 2;
    }
    Bench::InitializeBenchmarks(argv[0]);
    Bench::PrintMachine();
    std::printf("files      %s; flushed to %s\n", memory.Path().c_str(), disk.Path().c_str());
    return Bench::Run(options, memory);
}
