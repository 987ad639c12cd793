#include "tests/support/HeapFault.h"

#include <cstdlib>
#include <new>

#include "tests/support/Host.h"

namespace {

struct Plan {
    int left = 0;  // allocations up to the failing one; 0: none fails
    bool forever = false;
    bool happened = false;
    int pauses = 0;
};

thread_local Plan plan;

void* Allocate(std::size_t size) noexcept {
    return HeapFault::TakesNext() ? nullptr : Host::Malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(std::size_t size) {
    if (void* block = Allocate(size))
        return block;
    throw std::bad_alloc();
}

}  // namespace

HeapFault::HeapFault(int n, Times times) {
    plan.happened = false;
    plan.forever = times == Times::FromThenOn;
    plan.left = n;
}

HeapFault::~HeapFault() {
    plan.left = 0;
}

bool HeapFault::Happened() const {
    return plan.happened;
}

bool HeapFault::TakesNext() noexcept {
    if (plan.left == 0 || plan.pauses != 0)
        return false;
    if (plan.left > 1) {
        --plan.left;
        return false;
    }
    plan.happened = true;
    plan.left = plan.forever ? 1 : 0;
    return true;
}

HeapFault::Pause::Pause() {
    ++plan.pauses;
}

HeapFault::Pause::~Pause() {
    --plan.pauses;
}

// All forms are replaced together, so that no block is taken from one heap and given back to another.
void* operator new(std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}

// The sanitizers end a program for which malloc finds no memory, unless they are told that it copes.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
extern "C" const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}
