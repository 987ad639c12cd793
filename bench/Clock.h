// The clocks of the benchmarks, in seconds from some moment on.
#pragma once

#include <time.h>

#include <chrono>

namespace Bench {

// The time that the thread spends, in user code and in the system. It says the same on a busy machine, where
// the time on the wall also counts other programs.
class WorkClock {
public:
    static double Now() {
        timespec now{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
    }
};

// The time on the wall, where waiting counts.
class WallClock {
public:
    static double Now() {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    }
};

template <typename Clock = WorkClock>
class Stopwatch {
public:
    double Seconds() const { return Clock::Now() - m_start; }

private:
    double m_start = Clock::Now();
};

}  // namespace Bench
