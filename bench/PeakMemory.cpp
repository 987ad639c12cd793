#include "bench/PeakMemory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string_view>

#include "bench/RouteGenerator.h"

namespace Bench {
namespace {

constexpr const char* kArgument = "--load-for-peak-memory";

using LoadRoute = std::function<void(const std::string&)>;

std::map<std::string, LoadRoute>& Loads() {
    static std::map<std::string, LoadRoute> loads;
    return loads;
}

// A figure of the system about this process, in bytes.
std::size_t ReadFigure(const char* path, const char* name) {
    std::ifstream figures(path);
    for (std::string word; figures >> word;) {
        std::size_t kibibytes = 0;
        if (word == name && figures >> kibibytes)
            return kibibytes * 1024;
    }
    return 0;
}

// Counted page by page. The system's own count of the peak may be some hundred kilobytes behind.
std::size_t PresentBytes() {
    return ReadFigure("/proc/self/smaps_rollup", "Rss:");
}

std::size_t presentBytes = 0;

// Beside the route that is measured; the benchmark's folder goes with all that is in it.
std::string WriteSmallRoute(const std::string& besidePath) {
    const std::string path = besidePath + ".small";
    std::ofstream(path, std::ios::binary) << MakeRoute(1);
    return path;
}

std::string Quoted(const std::string& argument) {
    return "'" + argument + "'";
}

// What a new process tells of its load; 0 when it failed.
std::size_t PeakOfProcess(const std::string& contestant, const std::string& path) {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string command =
        Quoted(self) + " " + kArgument + " " + Quoted(contestant) + " " + Quoted(path);
    std::FILE* const output = popen(command.c_str(), "r");
    if (output == nullptr)
        return 0;
    char text[32] = "";
    const bool told = std::fgets(text, sizeof text, output) != nullptr;
    const bool ended = pclose(output) == 0;
    return told && ended ? std::strtoull(text, nullptr, 10) : 0;
}

}  // namespace

void AddPeakMemory(const char* contestant, std::function<void(const std::string& path)> load, int repetitions,
                   int mostMeters) {
    Loads()[contestant] = std::move(load);
    const auto measurement = [contestant](Route& route) {
        const std::size_t bytes = PeakOfProcess(contestant, route.Path());
        return Measured{0, bytes == 0 ? 0U : 1U, bytes};
    };
    Add("memory", contestant, repetitions, measurement, mostMeters);
}

void ReadMemory() {
    presentBytes = PresentBytes();
}

bool LoadedForPeakMemory(int argc, char** argv) {
    if (argc != 4 || std::string_view(argv[1]) != kArgument)
        return false;
    const LoadRoute& load = Loads().at(argv[2]);
    // The program's own pages that a first load touches are no part of a store.
    load(WriteSmallRoute(argv[3]));
    const std::size_t before = PresentBytes();
    load(argv[3]);
    // (What a parent is told of its child is no use here: it counts what the parent had when it forked.)
    const std::size_t peak = std::max(presentBytes, ReadFigure("/proc/self/status", "VmHWM:"));
    std::printf("%zu\n", peak - before);
    return true;
}

}  // namespace Bench
