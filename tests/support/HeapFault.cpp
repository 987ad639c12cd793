#include "tests/support/HeapFault.h"

#include <cstdlib>
#include <new>

// The linker sends what the program itself calls as malloc to __wrap_malloc, and __real_malloc to malloc.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
}

namespace {

struct Plan {
    int left = 0;  // allocations up to the failing one; 0: none fails
    bool forever = false;
    bool happened = false;
    int pauses = 0;
};

thread_local Plan plan;

bool MustFail() {
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

void* Allocate(std::size_t size) noexcept {
    return MustFail() ? nullptr : __real_malloc(size == 0 ? 1 : size);
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

HeapFault::Pause::Pause() {
    ++plan.pauses;
}

HeapFault::Pause::~Pause() {
    --plan.pauses;
}

extern "C" {
void* __wrap_malloc(std::size_t size) {
    return MustFail() ? nullptr : __real_malloc(size);
}
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return MustFail() ? nullptr : __real_calloc(count, size);
}
void* __wrap_realloc(void* block, std::size_t size) {
    return MustFail() ? nullptr : __real_realloc(block, size);
}
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
