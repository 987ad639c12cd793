// The system under the tests: the real one, seen through a layer that can stop the clock, make calls fail,
// and keeps a record. The tests are linked with it in place of the system's own unit. While no FakeSystem
// lives, calls go straight through; but no test ever shows a message box or keeps the machine awake, and none
// with a FakeSystem sleeps.
//
//     FakeSystem system;
//     system.FailCall(FakeSystem::Call::Rename, 1);
//     EXPECT_FALSE(store.UpdateFile());
//
// One object at a time; its end puts everything back. Its members may be called while other threads use the
// system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Platform/Platform.h"

class FakeSystem {
public:
    FakeSystem();
    ~FakeSystem();
    FakeSystem(const FakeSystem&) = delete;
    FakeSystem& operator=(const FakeSystem&) = delete;

    // The calls that are counted and can fail.
    enum class Call {
        Allocate,  // LocalAlloc
        Inspect,   // a failure: the system would not say what stands at the path
        OpenForReading,
        CreateNew,
        OpenForAppending,
        Read,
        Write,
        Flush,
        Close,  // a failure: the file is closed all the same
        Rename,
        Remove,
        FlushDirectory,
        OpenStream,
        FlushStream,
        Overwrite,
        Cut,
    };
    enum class Times { Once, FromThenOn };

    // ---- faults; a later one of the same kind replaces an earlier one

    // The n-th call of that kind, or of any kind, counted from now (1 is the next), fails without having done
    // anything.
    void FailCall(Call call, int n, Times times = Times::Once);
    void FailAnyCall(int n, Times times = Times::Once);

    // The next `count` renames are blocked by another program.
    void BlockRenames(int count);

    // Renames wait, each on the thread that asked for it, until they are let go. AwaitHeldRename returns once
    // one waits.
    void HoldRenames();
    void AwaitHeldRename();
    void LetRenamesGo();

    // Does something, once, before the next call of that kind, on the thread of the call: what another
    // program may do between two calls.
    void BeforeNext(Call call, std::function<void()> action);

    // No read or write handles more than `bytes` bytes at once.
    void LimitTransfers(std::size_t bytes);

    // The disk takes `bytes` more bytes: the write that reaches the end is short, those behind it fail.
    // (Streams are not affected.)
    void FillDiskAfter(std::uint64_t bytes);

    // Inspect tells this size of every file, as if the file grew or shrank before it is read.
    void ReportSize(std::uint64_t bytes);

    // Flushes succeed without reaching the medium, which would take most of the time of a test that makes
    // thousands of them. They are counted and recorded, and fail when it is their turn.
    void SkipFlushes();

    // Streams are opened for reading only, whatever the mode says: writing to them fails.
    void RefuseStreamWrites();

    // No more faults; the records stay.
    void Heal();

    // ---- the clock

    void SetTime(const Platform::SystemTime& now);  // stands still there
    void ClearTime();                               // the real time again

    // ---- records since the object was made

    bool FaultHappened()
        const;  // any call failed by FailCall or FailAnyCall since the last of them was arranged
    int Count(Call call) const;
    int CountAll() const;

    struct Entry {
        Call call;
        std::wstring path;        // also for calls on an open file
        std::wstring to;          // Rename
        std::string bytes;        // Write, Overwrite: what was written
        bool done;                // false: the call failed, by itself or by arrangement
        std::uint64_t place = 0;  // Overwrite: of the first byte; Cut: the new size
    };
    // All calls but Allocate and Read, in order, from entry `first` on.
    std::vector<Entry> Journal(std::size_t first = 0) const;
    std::size_t JournalSize() const;  // entries up to now

    struct Message {
        void* owner;
        std::wstring text;
        std::wstring caption;
        unsigned type;
    };
    std::vector<Message> Messages() const;  // each is answered with button 1
    std::vector<int> Waits() const;         // milliseconds
    std::vector<bool> AwakeRequests() const;
};
