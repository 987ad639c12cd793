// The store with a clock on it. The working day is measured with a database that is compiled over this class
// in the store's place, so that what is spent in the store is known apart from the rest.
#pragma once

#include "MeterUtil/MeterIniFile.h"

#include <cstddef>

#include "bench/Clock.h"

namespace Bench {

// What the thread of the database spent in its stores, in seconds.
struct StoreTimes {
    double files = 0;  // loading, saving, and arranging saves
    double calls = 0;  // everything else, while calls are counted
    std::size_t callCount = 0;
    bool countsCalls = false;  // a clock on every call costs as much as the call
};

inline StoreTimes& TimesOfStores() {
    static StoreTimes times;
    return times;
}

class FileTimer {
public:
    FileTimer() = default;
    ~FileTimer() { TimesOfStores().files += m_watch.Seconds(); }
    FileTimer(const FileTimer&) = delete;
    FileTimer& operator=(const FileTimer&) = delete;

private:
    Stopwatch<WorkClock> m_watch;
};

class CallTimer {
public:
    CallTimer() {
        if (TimesOfStores().countsCalls)
            m_start = WallClock::Now();
    }
    ~CallTimer() {
        StoreTimes& times = TimesOfStores();
        if (!times.countsCalls)
            return;
        const double seconds = WallClock::Now() - m_start;
        if (seconds > kLongestCall)
            return;
        times.calls += seconds;
        ++times.callCount;
    }
    CallTimer(const CallTimer&) = delete;
    CallTimer& operator=(const CallTimer&) = delete;

private:
    static constexpr double kLongestCall = 1e-4;  // one that seems to take longer was interrupted

    double m_start = 0;
};

// Has the members that the database calls once the files are open.
class TimedIniFile : public CMeterIniFile {
public:
    // The timer lives until the object is built.
    explicit TimedIniFile(const wchar_t* path, const FileTimer& = FileTimer()) : CMeterIniFile(path) {}

    bool ReadString(const char* section, const char* key, char* dst, int size) const {
        const CallTimer timer;
        return CMeterIniFile::ReadString(section, key, dst, size);
    }
    bool ReadByIndex(const char* section, int index, char* key, int keySize, char* value,
                     int valueSize) const {
        const CallTimer timer;
        return CMeterIniFile::ReadByIndex(section, index, key, keySize, value, valueSize);
    }
    bool ReadLineByIndex(const char* section, int index, char* dst, int size) const {
        const CallTimer timer;
        return CMeterIniFile::ReadLineByIndex(section, index, dst, size);
    }
    bool GetString(int line, char* dst, int size) const {
        const CallTimer timer;
        return CMeterIniFile::GetString(line, dst, size);
    }
    int FindBracketLine(int line) const {
        const CallTimer timer;
        return CMeterIniFile::FindBracketLine(line);
    }
    bool SectionExists(const char* section) const {
        const CallTimer timer;
        return CMeterIniFile::SectionExists(section);
    }
    bool WriteString(const char* section, const char* key, const char* value) {
        const CallTimer timer;
        return CMeterIniFile::WriteString(section, key, value);
    }
    bool SetString(int line, const char* text) {
        const CallTimer timer;
        return CMeterIniFile::SetString(line, text);
    }
    int AppendString(const char* text) {
        const CallTimer timer;
        return CMeterIniFile::AppendString(text);
    }
    bool DeleteSection(const char* section) {
        const CallTimer timer;
        return CMeterIniFile::DeleteSection(section);
    }
    bool DeleteKey(const char* section, const char* key) {
        const CallTimer timer;
        return CMeterIniFile::DeleteKey(section, key);
    }
    bool UpdateFile() {
        const FileTimer timer;
        return CMeterIniFile::UpdateFile();
    }
    bool UpdateFileBackground() {
        const FileTimer timer;
        return CMeterIniFile::UpdateFileBackground();
    }
};

}  // namespace Bench

#define CMeterIniFile Bench::TimedIniFile
