// Saving a text to its file and its mirror, now or on a thread of its own.
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "MeterUtil/IniText.h"
#include "MeterUtil/MeterIniFile.h"

namespace MeterUtil {

// Where a text goes, and what happens when it cannot.
struct SaveTarget {
    std::wstring path;
    std::wstring mirror;  // empty: none
    std::wstring errorText;
    std::atomic<bool>* error = nullptr;  // set before anybody is told; null: none
};

// Writes the file, then the mirror, which is written also when the file failed. False when either failed; for
// each the error was set and the handler of the process called.
bool SaveText(const SaveTarget& target, const Platform::TextPieces& text) noexcept;

void SetSaveErrorHandler(CMeterIniFile::SaveErrorHandler handler, void* context) noexcept;

// Tells the handler of the process of a save that could not even be begun.
void ReportFailedSave(const SaveTarget& target) noexcept;

// Saves snapshots one after the other on a thread that the first one starts. Of those that wait only the
// latest is written.
class BackgroundSaver {
public:
    BackgroundSaver() = default;
    ~BackgroundSaver();  // writes what still waits
    BackgroundSaver(const BackgroundSaver&) = delete;
    BackgroundSaver& operator=(const BackgroundSaver&) = delete;

    // Arranges a save. Throws, with nothing arranged, when there is no thread to be had.
    void Save(SaveTarget target, TextSnapshot text);

    // Returns when nothing is under way and nothing waits.
    void Wait();

    // True for who is told of a failed save by the thread that saves: it cannot wait for itself.
    bool IsItsThread() const { return m_thread.get_id() == std::this_thread::get_id(); }

private:
    struct Job {
        SaveTarget target;
        TextSnapshot text;
    };

    void Run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::unique_ptr<Job> m_waiting;
    bool m_busy = false;
    bool m_ending = false;
    std::thread m_thread;
};

}  // namespace MeterUtil
