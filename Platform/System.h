// The seam: the calls that reach the operating system, one function each, with one implementation per system
// (SystemPosix.cpp, SystemWindows.cpp). Everything else in the libraries is written above it. A program that
// is linked with another implementation sees other times, failing allocations or failing disks; the libraries
// do not know.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "Platform/Platform.h"

namespace Platform::System {

using File = std::intptr_t;
constexpr File kNoFile = -1;

enum class Kind {
    Missing,      // nothing there (also when a directory of the path is missing)
    RegularFile,  // a file, links followed
    Other,        // a directory, a device, a pipe...
    Unknown,      // the system would not say
};

struct FileState {
    Kind kind = Kind::Unknown;
    std::uint64_t size = 0;  // bytes; of a regular file
    bool writable = false;   // the caller may write it, and it carries write permission at all
};

void* Allocate(std::size_t bytes) noexcept;  // null when there is no memory
void Release(void* block) noexcept;
void ReadLocalTime(SystemTime* now) noexcept;
int ShowMessage(void* owner, const wchar_t* text, const wchar_t* caption, unsigned type) noexcept;
void KeepAwake(bool on) noexcept;
void Wait(int milliseconds) noexcept;

// A name that no other process and no other call uses for its temporary file: `attempt` counts from 0.
std::wstring TemporaryName(int attempt);

// What stands at `path`, links followed.
FileState Inspect(const std::wstring& path) noexcept;

// The path behind all links, whether or not anything is there; empty when the links go in circles.
std::wstring ResolveLinks(const std::wstring& path);

File OpenForReading(const std::wstring& path) noexcept;  // kNoFile on failure

// Creates a file that did not exist; kNoFile when it did or cannot be created. It gets the owner and the
// permissions of the file `like` when there is one (whose owner may differ only where the system forbids to
// give files away), else those of any new file.
File CreateNew(const std::wstring& path, const std::wstring& like) noexcept;

// Bytes read or written, which may be fewer than asked for; 0 at the end of the file; negative on failure.
std::ptrdiff_t Read(File file, char* bytes, std::size_t size) noexcept;
std::ptrdiff_t Write(File file, const char* bytes, std::size_t size) noexcept;
bool Flush(File file) noexcept;  // to the medium
bool Close(File file) noexcept;  // the file is closed also on failure

bool Rename(const std::wstring& from, const std::wstring& to) noexcept;  // replaces `to` in one step
bool RenameWasBlocked() noexcept;  // the last failed Rename of this thread may succeed later (another program
                                   // looks)
bool Remove(const std::wstring& path) noexcept;
bool FlushDirectory(const std::wstring& fileInIt) noexcept;  // true where the system has no such thing

std::FILE* OpenStream(const wchar_t* path, const wchar_t* mode) noexcept;

}  // namespace Platform::System
