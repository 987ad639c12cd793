#include "bench/Medium.h"

#include <atomic>

#include "Platform/System.h"

// The real system, whole, but for the two calls by which a save reaches the medium: these get other names.
namespace Platform::System {
bool ReallyFlush(File file) noexcept;
bool ReallyFlushDirectory(const std::wstring& fileInIt) noexcept;
}  // namespace Platform::System
#define Flush ReallyFlush
#define FlushDirectory ReallyFlushDirectory
#include "Platform/System.cpp"
#undef Flush
#undef FlushDirectory

namespace {

std::atomic<bool> flushes{false};

}  // namespace

namespace Platform::System {

bool Flush(File file) noexcept {
    return !flushes || ReallyFlush(file);
}

bool FlushDirectory(const std::wstring& fileInIt) noexcept {
    return !flushes || ReallyFlushDirectory(fileInIt);
}

}  // namespace Platform::System

namespace Bench {

Flushing::Flushing() {
    flushes = true;
}

Flushing::~Flushing() {
    flushes = false;
}

}  // namespace Bench
