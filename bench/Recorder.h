// What the benchmarks report: the medians of all counters, kept for a table, and everything for a JSON file.
#pragma once

#include <benchmark/benchmark.h>

#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace Bench {

constexpr double kNoFigure = -1;

class Recorder : public benchmark::BenchmarkReporter {
public:
    explicit Recorder(const std::string& jsonPath);
    ~Recorder() override;

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    // kNoFigure when there is none.
    double Median(const std::string& benchmark, const std::string& counter) const;

    bool HasFailed() const { return m_hasFailed; }

private:
    std::ofstream m_jsonFile;
    benchmark::JSONReporter m_json;
    bool m_hasContext = false;
    bool m_hasFailed = false;
    std::map<std::string, double> m_medians;
};

// Prepares the benchmark library: repetitions of different benchmarks are interleaved.
void InitializeBenchmarks(char* program);

// A duration with three digits that count and a unit; "-" without a figure.
std::string DurationText(double nanoseconds);

}  // namespace Bench
