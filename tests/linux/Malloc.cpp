// The linker sends what the program itself calls as malloc to __wrap_malloc, and __real_malloc to malloc.
#include "tests/support/HeapFault.h"
#include "tests/support/Host.h"

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);

void* __wrap_malloc(std::size_t size) {
    return HeapFault::TakesNext() ? nullptr : __real_malloc(size);
}
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return HeapFault::TakesNext() ? nullptr : __real_calloc(count, size);
}
void* __wrap_realloc(void* block, std::size_t size) {
    return HeapFault::TakesNext() ? nullptr : __real_realloc(block, size);
}
}

void* Host::Malloc(std::size_t size) noexcept {
    return __real_malloc(size);
}
