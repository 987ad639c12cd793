// Tells the processor which memory is needed next, so that several waits become one.
#pragma once

#include <cstddef>

namespace Platform {

constexpr std::size_t kCacheLine = 64;  // bytes that the processor fetches at once

// Never fails; the address need not be valid.
inline void Prefetch(const void* address) noexcept {
#if defined(__GNUC__)
    __builtin_prefetch(address);
    // The compiler sees no effect in that, and leaves out calls of functions that do nothing else.
    asm volatile("");
#else
    static_cast<void>(address);
#endif
}

}  // namespace Platform
