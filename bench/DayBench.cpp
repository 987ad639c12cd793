// A working day with the database on routes of several sizes: only loading and saving may grow with the
// route.
//
//     meterdb_day_bench [-o FILE] [METERS ...]
//
//     METERS  sizes of the routes: 500, 2000 and 20000 when none is given
//     -o      JSON file of all repetitions; day.json when it is not given
//
// A day is the opening of a route, 200 visits to meters all over it, and its closing. A visit selects the
// meter and shows its state, runs the parser over its record and its appendix, calculates the automatic
// fields, shows all fields, lists and notes commands, stamps the record, archives a file of raw data and
// saves the route in the background. Operations on whole routes are measured beside it. The installation is
// the sample one with a route of the generator, in a file system in memory, and nothing is flushed.
//
// Times are those of the calling thread; the thread that saves works beside it. Repetitions of all routes are
// interleaved; every figure is a median.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <string>
#include <vector>

#include "bench/Machine.h"
#include "bench/Recorder.h"
#include "bench/WorkingDay.h"

namespace Bench {
namespace {

constexpr int kRepetitions = 5;
constexpr double kMostGrowth = 1.5;  // cold memory makes the first look at a record of a long route dearer

struct Row {
    const char* step;
    const char* title;
    bool mayGrow;
};

constexpr Row kRows[] = {
    {"load", "open: load the files", true},
    {"open", "open: number the records, find the texts", true},
    {"select", "visit: select the meter, show its state", false},
    {"parser", "visit: run the parser", false},
    {"automatic", "visit: calculate fields", false},
    {"fields", "visit: show all fields", false},
    {"commands", "visit: list and note commands", false},
    {"stamp", "visit: stamp the record", false},
    {"archive", "visit: archive raw data", false},
    {"visit", "visit, all of that", false},
    {"store", "  of it in the store", false},
    {"app", "save: the app file, by a visit", false},
    {"background", "save: the route in the background, caller", true},
    {"close", "close: save the route and the app file", true},
    {"append", "append a meter", false},
    {"consistency", "check the numbers, each header", false},
    {"delete", "delete the first meter, each header behind", false},
    {"delete-save", "  its save", true},
    {"change-order", "find an order to change, each meter", false},
    {"search", "search a store meter, each store meter", false},
};

struct Options {
    std::string json = "day.json";
    std::vector<int> routes;
};

// False when a word means nothing.
bool ReadOptions(int argc, char** argv, Options* options) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const int meters = std::atoi(argv[i]);
        if (word == "-o" && i + 1 < argc)
            options->json = argv[++i];
        else if (meters >= kVisits)
            options->routes.push_back(meters);
        else
            return false;
    }
    if (options->routes.empty())
        options->routes = {500, 2000, 20000};
    std::sort(options->routes.begin(), options->routes.end());
    return true;
}

std::string NameOf(int meters) {
    return std::to_string(meters) + "/day";
}

// One repetition as the benchmark library counts it: steps are its counters, in nanoseconds.
void Repeat(benchmark::State& state, const WorkingDay& day) {
    for (auto _ : state) {
        for (const StepSeconds& steps : {day.Work(), day.WorkInStore(), day.Operate()}) {
            if (steps.empty()) {
                state.SkipWithError("failed");
                return;
            }
            for (const auto& step : steps)
                state.counters[step.first] = step.second * 1e9;
        }
    }
}

class Table {
public:
    Table(const Recorder& recorder, const std::vector<int>& routes)
        : m_recorder(recorder), m_routes(routes) {}

    void Print() const {
        std::printf("\n%-44s", "");
        for (const int meters : m_routes)
            std::printf(" %9d", meters);
        std::printf("  meters\n");
        for (const Row& row : kRows)
            PrintRow(row);
        PrintShare();
    }

private:
    double Figure(int meters, const char* step) const { return m_recorder.Median(NameOf(meters), step); }

    void PrintRow(const Row& row) const {
        std::printf("%-44s", row.title);
        for (const int meters : m_routes)
            std::printf(" %9s", DurationText(Figure(meters, row.step)).c_str());
        std::printf("%s\n", m_routes.size() == 1 ? "" : GrowthText(row).c_str());
    }

    // From the smallest route to the largest.
    std::string GrowthText(const Row& row) const {
        const double growth = Figure(m_routes.back(), row.step) / Figure(m_routes.front(), row.step);
        char text[64];
        std::snprintf(text, sizeof text, "  %6.2f x%s", growth,
                      growth <= kMostGrowth ? ""
                      : row.mayGrow         ? "  grows, as it must"
                                            : "  GROWS");
        return text;
    }

    void PrintShare() const {
        std::printf("%-44s", "share of the store in a visit");
        for (const int meters : m_routes)
            std::printf(" %7.0f %%", 100 * Figure(meters, "store") / Figure(meters, "visit"));
        std::printf("\n");
    }

    const Recorder& m_recorder;
    const std::vector<int>& m_routes;
};

int Run(const Options& options, const Folder& memory) {
    Recorder recorder(options.json);
    std::list<WorkingDay> days;
    for (const int meters : options.routes) {
        days.emplace_back(meters, memory.Path());
        benchmark::RegisterBenchmark(NameOf(meters).c_str(), Repeat, std::cref(days.back()))
            ->Iterations(1)
            ->Repetitions(kRepetitions);
    }
    benchmark::RunSpecifiedBenchmarks(&recorder, ".");
    if (recorder.HasFailed())
        return 1;
    Table(recorder, options.routes).Print();
    return 0;
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    Bench::Options options;
    if (!Bench::ReadOptions(argc, argv, &options)) {
        std::fprintf(stderr, "usage: %s [-o FILE] [METERS ...]    METERS: at least %d\n", argv[0],
                     Bench::kVisits);
        return 2;
    }
    const Bench::Folder memory(Bench::MemoryDirectory());
    Bench::InitializeBenchmarks(argv[0]);
    Bench::PrintMachine();
    return Bench::Run(options, memory);
}
