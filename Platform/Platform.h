// The operating system as the libraries see it. Calls that Windows has carry their Windows names and meaning;
// the others are the few things that a store needs besides: loading a file whole, replacing a file in one
// step, and text that crosses between 8 bits and wide characters.
//
// Paths are wide and may use '\' on every system; on Linux '/' separates as well. A path that begins with a
// separator is absolute (on desktop Windows also one that begins with a drive letter and a colon). Nothing
// here throws but std::bad_alloc, and only where a std type is returned.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace Platform {

// ---- memory

// A block of `bytes` bytes from the local heap, contents undefined; null when there is none. `flags` is 0.
void* LocalAlloc(unsigned flags, std::size_t bytes) noexcept;

// Frees a block of LocalAlloc; null is allowed. Always null.
void* LocalFree(void* block) noexcept;

// ---- time and messages

struct SystemTime {
    std::uint16_t wYear;          // 1601 and later
    std::uint16_t wMonth;         // 1 to 12
    std::uint16_t wDayOfWeek;     // 0 = Sunday
    std::uint16_t wDay;           // 1 to 31
    std::uint16_t wHour;          // 0 to 23
    std::uint16_t wMinute;        // 0 to 59
    std::uint16_t wSecond;        // 0 to 59
    std::uint16_t wMilliseconds;  // 0 to 999
};

// The time on the wall, in the time zone of the device.
void GetLocalTime(SystemTime* now) noexcept;

// Shows a message and waits for its button: a window on Windows, a line on standard error elsewhere.
//   owner          window handle or null
//   text, caption  not null
//   type           0: a single OK button
// Number of the button; 0 when the message could not be shown.
int MessageBoxW(void* owner, const wchar_t* text, const wchar_t* caption, unsigned type) noexcept;

// Asks the system to stay awake (true) until it is told that it may sleep again (false). Does nothing where
// the system cannot be asked.
void KeepAwake(bool on) noexcept;

// Says of a block that was just allocated and not yet written that it will be read here and there. The memory
// of a large one is then mapped in larger pages, where the system has them and is asked for that, so that
// fewer reads wait for the address. What is not written then takes at most one of these pages.
void ExpectRandomReads(void* block, std::size_t bytes) noexcept;

// ---- text

constexpr std::size_t kFormattedChars = 1024;  // most that wsprintfW writes, terminator not included

// Formats into `dst`, which holds kFormattedChars + 1 characters; longer text is cut there. Understands %s
// (wide), %S (narrow), %c, %i, %d, %u and %%, with a width and a leading zero. A null text counts as empty.
// Number of characters written, terminator not included.
int wsprintfW(wchar_t* dst, const wchar_t* format, ...) noexcept;

// Narrow text to wide and back: the ANSI code page on Windows, UTF-8 elsewhere, whatever the locale.
// Elsewhere a byte that is not valid UTF-8 becomes U+DC00 + byte, and that character becomes the byte again,
// so every name of every file survives the round trip.
std::wstring WideFromNarrow(std::string_view text);
std::string NarrowFromWide(std::wstring_view text);

// ---- paths and files

// True when `path` does not need a base directory.
bool IsAbsolutePath(std::wstring_view path) noexcept;

// True when the two paths name the same file, links followed; files that do not exist are compared by path.
bool SamePath(const std::wstring& first, const std::wstring& second);

// True when something that is not a directory exists at `path`.
bool FileExists(const wchar_t* path) noexcept;

// Deletes a file. False when there was none or it could not be deleted.
bool DeleteFileW(const wchar_t* path) noexcept;

// Opens a standard I/O stream; null on failure, also for what exists and is no regular file. The caller
// closes it with fclose.
std::FILE* _wfopen(const wchar_t* path, const wchar_t* mode) noexcept;

// Brings what was written to a stream to the medium. False when a write to the stream failed at any time.
bool FlushStream(std::FILE* stream) noexcept;

// Moves a stream back by `bytes` bytes, whatever the size of its file. False when the file has not so many
// bytes before.
bool StepBack(std::FILE* stream, std::uint64_t bytes) noexcept;

// Adds `head` and then all bytes of the file `source` to the end of the file at `path`, which is created when
// it is missing. True when they are on the medium. False leaves the file with the bytes that it had; a file
// that was created stays empty. The first byte of the head is written last, over a zero: when the program or
// the device stops on the way, no head is found in the file, however much of the rest got there. Refused: a
// path that is no regular file, a file without any write permission, the source itself. False also when
// another program changes one of the two files meanwhile: what it added stays, and of what was added here no
// head is found.
bool AppendFile(const std::wstring& path, std::string_view head, const std::wstring& source) noexcept;

// A block of memory from malloc that frees itself.
struct FreeBlock {
    void operator()(void* block) const noexcept { std::free(block); }
};
struct FileBytes {
    std::unique_ptr<char[], FreeBlock> data;
    std::size_t size = 0;  // bytes
};

enum class LoadResult {
    Loaded,      // the bytes are there
    Missing,     // there is no such file
    Unreadable,  // it exists but cannot be read, or is no regular file, or is too large
};

// Reads a whole regular file into memory, bytes as they are. `bytes` is empty unless the result is Loaded. Of
// a file of more than `mostBytes` bytes nothing is read, so that its size costs neither time nor memory.
//
// `read` is told of all bytes that are there whenever some more were read, and of how many are expected; the
// next time they may lie elsewhere. It must not throw; when it returns false the file is Unreadable.
using BytesRead = std::function<bool(std::string_view bytes, std::size_t expectedBytes)>;
LoadResult LoadFile(const std::wstring& path, FileBytes* bytes, std::uint64_t mostBytes = PTRDIFF_MAX - 1,
                    const BytesRead& read = nullptr) noexcept;

// Takes a text in pieces. Small ones are gathered, as a call for each would take longer than to copy it.
class TextSink {
public:
    TextSink() = default;
    TextSink(const TextSink&) = delete;
    TextSink& operator=(const TextSink&) = delete;

    // Takes the next piece. False when the text cannot be taken: no more of it is wanted then.
    bool Take(std::string_view piece) {
        if (piece.size() > m_room)
            return TakeMore(piece);
        m_next = std::copy(piece.begin(), piece.end(), m_next);
        m_room -= piece.size();
        return true;
    }

protected:
    ~TextSink() = default;

    // Takes a piece for which there is no room.
    virtual bool TakeMore(std::string_view piece) = 0;

    // Has the next pieces gathered there, as long as there is room for them.
    void GatherAt(char* place, std::size_t room) {
        m_next = place;
        m_room = room;
    }
    std::size_t Room() const { return m_room; }

private:
    char* m_next = nullptr;
    std::size_t m_room = 0;
};

// A text in pieces, which may lie anywhere in memory.
class TextPieces {
public:
    // Hands out each piece, in the order of the text, until one is not taken; false then.
    virtual bool HandTo(TextSink& sink) const = 0;

protected:
    ~TextPieces() = default;
};

// Puts a new content in the place of a file, or creates it. At every moment the path holds either the whole
// old file or the whole new one: the content is written to a new file in the same directory, flushed to the
// medium, given the old file's permissions and renamed over it; then the directory is flushed, where the
// system has that. A link stays a link: its target is replaced, or created. True when the new content is on
// the medium. False changes nothing and leaves no file behind (only when the directory cannot be flushed the
// new file is already in place). Refused: a path that is no regular file, a file without any write permission
// or with the read-only attribute, a file that the caller may not write, a directory that takes no new file.
bool ReplaceFile(const std::wstring& path, const TextPieces& content) noexcept;

}  // namespace Platform
