// Makes allocations of the calling thread fail, so that tests reach what a full memory does to strings and
// containers. While an object of this class lives, the n-th allocation of its thread fails: operator new
// throws std::bad_alloc (the nothrow forms give null), and malloc, calloc and realloc give null, these not on
// Windows. Other threads are not touched, nor is what the system's own libraries take for themselves.
#pragma once

class HeapFault {
public:
    enum class Times { Once, FromThenOn };

    explicit HeapFault(int n, Times times = Times::Once);  // n counts from 1
    ~HeapFault();
    HeapFault(const HeapFault&) = delete;
    HeapFault& operator=(const HeapFault&) = delete;

    // True when an allocation has failed: a loop over n ends with the first round in which none did.
    bool Happened() const;

    // For what stands in the place of the allocations: counts one of the calling thread, true when it fails.
    static bool TakesNext() noexcept;

    // While an object of this class lives, the allocations of its thread neither count nor fail. For support
    // code that runs between the calls under test.
    class Pause {
    public:
        Pause();
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
    };
};

// Runs `call` with its n-th allocation failing. True when it came to that one.
template <typename Call>
bool FailAllocation(int n, Call call) {
    const HeapFault fault(n);
    call();
    return fault.Happened();
}

// Makes the call again and again, each time with another allocation failing, until it needs no more of them.
// Number of rounds in which one failed.
template <typename Call>
int FailEachAllocation(Call call) {
    int n = 1;
    while (FailAllocation(n, call))
        ++n;
    return n - 1;
}
