#include "bench/Recorder.h"

#include <array>
#include <cstdio>

namespace Bench {
namespace {

// Neither holds a line break.
std::string Name(const std::string& benchmark, const std::string& counter) {
    return benchmark + '\n' + counter;
}

bool IsMedian(const benchmark::BenchmarkReporter::Run& run) {
    if (run.run_type == benchmark::BenchmarkReporter::Run::RT_Aggregate)
        return run.aggregate_name == "median";
    return run.repetitions == 1;
}

}  // namespace

Recorder::Recorder(const std::string& jsonPath) : m_jsonFile(jsonPath) {
    m_json.SetOutputStream(&m_jsonFile);
    m_json.SetErrorStream(&GetErrorStream());
}

Recorder::~Recorder() {
    m_json.Finalize();
}

// Called anew for every row.
bool Recorder::ReportContext(const Context& context) {
    const bool isFirst = !m_hasContext;
    m_hasContext = true;
    return !isFirst || m_json.ReportContext(context);
}

void Recorder::ReportRuns(const std::vector<Run>& runs) {
    m_json.ReportRuns(runs);
    for (const Run& run : runs) {
        if (run.error_occurred)
            std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
        m_hasFailed = m_hasFailed || run.error_occurred;
        if (!IsMedian(run))
            continue;
        for (const auto& counter : run.counters)
            m_medians[Name(run.run_name.function_name, counter.first)] = counter.second.value;
    }
}

double Recorder::Median(const std::string& benchmark, const std::string& counter) const {
    const auto found = m_medians.find(Name(benchmark, counter));
    return found == m_medians.end() ? kNoFigure : found->second;
}

void InitializeBenchmarks(char* program) {
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    std::array<char*, 3> arguments = {program, interleave.data(), nullptr};
    int count = 2;
    benchmark::Initialize(&count, arguments.data());
}

std::string DurationText(double nanoseconds) {
    if (nanoseconds < 0)
        return "-";
    constexpr std::array<const char*, 4> kUnits = {"ns", "us", "ms", "s"};
    std::size_t unit = 0;
    for (; nanoseconds >= 1000 && unit + 1 < kUnits.size(); ++unit)
        nanoseconds /= 1000;
    char text[64];
    std::snprintf(text, sizeof text,
                  nanoseconds < 10    ? "%.2f %s"
                  : nanoseconds < 100 ? "%.1f %s"
                                      : "%.0f %s",
                  nanoseconds, kUnits[unit]);
    return text;
}

}  // namespace Bench
