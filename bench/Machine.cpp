#include "bench/Machine.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace Bench {
namespace {

std::string ProcessorName() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.rfind("model name", 0) == 0)
            return line.substr(line.find(':') + 2);
    return "unknown processor";
}

double MemoryGigabytes() {
    return static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e9;
}

}  // namespace

void PrintMachine() {
    utsname system{};
    uname(&system);
    std::printf("machine    %s, %u cores, %.0f GB; %s %s %s\n", ProcessorName().c_str(),
                std::thread::hardware_concurrency(), MemoryGigabytes(), system.sysname, system.release,
                system.machine);
    std::printf("compiler   %s, %s\n", METERDB_BENCH_COMPILER, METERDB_BENCH_BUILD_TYPE);
#if !defined(NDEBUG) || !defined(__OPTIMIZE__)
    std::printf("WARNING    This is a debug build: its figures say nothing about what is shipped.\n");
#endif
}

std::string MemoryDirectory() {
    constexpr const char* kShared = "/dev/shm";
    return access(kShared, W_OK) == 0 ? kShared : std::filesystem::temp_directory_path().string();
}

Folder::Folder(const std::string& directory) : m_path(directory + "/meterdb-bench-XXXXXX") {
    if (mkdtemp(m_path.data()) == nullptr) {
        std::perror(m_path.c_str());
        std::exit(1);
    }
}

Folder::~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

void Folder::Make(const std::string& folderInIt) const {
    std::filesystem::create_directory(m_path + "/" + folderInIt);
}

}  // namespace Bench
