// The seam: the calls that reach the operating system, one function each, with one implementation per system
// (SystemPosix.cpp, SystemWindows.cpp). Everything else in the libraries is written above it. A program that
// is linked with another implementation sees other times, failing allocations or failing disks; the libraries
// do not know.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "Platform/Platform.h"

namespace Platform::System {

using File = std::intptr_t;
constexpr File kNoFile = -1;

enum class Kind {
    Missing,      // nothing there (also when a directory of the path is missing)
    RegularFile,  // a file, links followed
    Directory,
    Other,    // a device, a pipe...
    Unknown,  // the system would not say, or the path is none: empty, or with a zero in it
};

struct FileState {
    Kind kind = Kind::Unknown;
    std::uint64_t size = 0;  // bytes; of a regular file
    bool writable = false;   // the caller may write it, and it carries write permission at all
    // Volume and number together tell one file from every other; both are 0 where the system has no such
    // numbers.
    std::uint64_t volume = 0;
    std::uint64_t number = 0;
};

enum class RenameResult {
    Done,
    Blocked,  // another program looks at one of the files; the same call may succeed a moment later
    Failed,
};

void* Allocate(std::size_t bytes) noexcept;  // null when there is no memory
void Release(void* block) noexcept;
void UseLargePages(void* block, std::size_t bytes) noexcept;
void ReadLocalTime(SystemTime* now) noexcept;
int ShowMessage(void* owner, const wchar_t* text, const wchar_t* caption, unsigned type) noexcept;
void KeepAwake(bool on) noexcept;
void Wait(int milliseconds) noexcept;

// A number for the name of a temporary file: another at every call, and another than any process that runs
// now gets.
std::uint64_t UniqueNumber() noexcept;

// Text between 8 bits and wide characters, in memory of the caller. A byte makes at most one wide character
// and a wide character at most kBytesPerWide bytes; what does not fit is left out. Number of characters
// written; no terminator.
constexpr std::size_t kBytesPerWide = 4;
std::size_t Widen(std::string_view text, wchar_t* dst, std::size_t room) noexcept;
std::size_t Narrow(std::wstring_view text, char* dst, std::size_t room) noexcept;

// The form of paths: whether one needs no base directory, where its last name begins, and whether two mean
// the same file by their letters alone.
bool IsAbsolute(std::wstring_view path) noexcept;
std::size_t NamePosition(std::wstring_view path) noexcept;
bool SameLetters(std::wstring_view first, std::wstring_view second) noexcept;

// What stands at `path`, links followed.
FileState Inspect(const std::wstring& path) noexcept;

// The path behind all links, whether or not anything is there; empty when the links go in circles.
std::wstring ResolveLinks(const std::wstring& path);

File OpenForReading(const std::wstring& path) noexcept;  // a regular file; kNoFile on failure; never waits

// Creates a file that did not exist; kNoFile when it did or cannot be created. It gets the owner and the
// permissions of the file `like` when there is one (whose owner may differ only where the system forbids to
// give files away), else those of any new file.
File CreateNew(const std::wstring& path, const std::wstring& like) noexcept;

// Opens a regular file so that what is written goes to its end, or creates it; kNoFile on failure.
File OpenForAppending(const std::wstring& path) noexcept;

// Bytes read or written, which may be fewer than asked for; 0 at the end of the file; negative on failure.
std::ptrdiff_t Read(File file, char* bytes, std::size_t size) noexcept;
std::ptrdiff_t Write(File file, const char* bytes, std::size_t size) noexcept;
bool Flush(File file) noexcept;  // to the medium
bool Close(File file) noexcept;  // the file is closed also on failure

RenameResult Rename(const std::wstring& from, const std::wstring& to) noexcept;  // replaces `to` in one step
bool Remove(const std::wstring& path) noexcept;
bool FlushDirectory(const std::wstring& fileInIt) noexcept;  // true where the system has no such thing

std::FILE* OpenStream(const std::wstring& path, const wchar_t* mode) noexcept;
bool FlushStream(std::FILE* stream) noexcept;  // its buffer, and the file to the medium
bool StepBack(std::FILE* stream, std::uint64_t bytes) noexcept;

// Writes bytes over those that a file has from `place` on, and flushes them to the medium.
bool Overwrite(const std::wstring& path, std::uint64_t place, std::string_view bytes) noexcept;

// Cuts a file at `size` bytes and flushes it to the medium.
bool Cut(const std::wstring& path, std::uint64_t size) noexcept;

}  // namespace Platform::System
