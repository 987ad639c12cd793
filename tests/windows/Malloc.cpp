// The compiler's own libraries are a part of every program here, and end it when malloc has nothing for what
// a thread keeps: malloc itself does not fail on demand.
#include <cstdlib>

#include "tests/support/Host.h"

void* Host::Malloc(std::size_t size) noexcept {
    return std::malloc(size);
}
