// The calls that need nothing but one call of the system, and loading a file whole. Replacing a file is
// FileReplacement.cpp, formatting is WideFormat.cpp.
#include "Platform/Platform.h"

#include <cstdint>
#include <cstdlib>
#include <exception>

#include "Platform/System.h"

namespace Platform {

void* LocalAlloc(unsigned /*flags*/, std::size_t bytes) noexcept {
    return System::Allocate(bytes);
}

void* LocalFree(void* block) noexcept {
    System::Release(block);
    return nullptr;
}

void GetLocalTime(SystemTime* now) noexcept {
    System::ReadLocalTime(now);
}

int MessageBoxW(void* owner, const wchar_t* text, const wchar_t* caption, unsigned type) noexcept {
    return System::ShowMessage(owner, text, caption, type);
}

void KeepAwake(bool on) noexcept {
    System::KeepAwake(on);
}

void ExpectRandomReads(void* block, std::size_t bytes) noexcept {
    constexpr std::size_t kLarge = std::size_t{4} * 1024 * 1024;
    if (bytes >= kLarge)
        System::UseLargePages(block, bytes);
}

std::wstring WideFromNarrow(std::string_view text) {
    std::wstring wide(text.size(), L'\0');
    wide.resize(System::Widen(text, wide.data(), wide.size()));
    return wide;
}

std::string NarrowFromWide(std::wstring_view text) {
    std::string narrow(text.size() * System::kBytesPerWide, '\0');
    narrow.resize(System::Narrow(text, narrow.data(), narrow.size()));
    return narrow;
}

bool IsAbsolutePath(std::wstring_view path) noexcept {
    return System::IsAbsolute(path);
}

namespace {

std::wstring Text(const wchar_t* text) {
    return text == nullptr ? std::wstring() : std::wstring(text);
}

}  // namespace

bool DeleteFileW(const wchar_t* path) noexcept {
    try {
        return System::Remove(Text(path));
    } catch (const std::exception&) {
        return false;
    }
}

bool FileExists(const wchar_t* path) noexcept {
    try {
        const System::Kind kind = System::Inspect(Text(path)).kind;
        return kind == System::Kind::RegularFile || kind == System::Kind::Other;
    } catch (const std::exception&) {
        return false;
    }
}

std::FILE* _wfopen(const wchar_t* path, const wchar_t* mode) noexcept {
    try {
        const std::wstring name = Text(path);
        const System::Kind kind = System::Inspect(name).kind;
        const bool isFile = kind == System::Kind::RegularFile || kind == System::Kind::Missing;
        return isFile ? System::OpenStream(name, mode) : nullptr;
    } catch (const std::exception&) {
        return nullptr;
    }
}

bool FlushStream(std::FILE* stream) noexcept {
    return System::FlushStream(stream);
}

bool StepBack(std::FILE* stream, std::uint64_t bytes) noexcept {
    return System::StepBack(stream, bytes);
}

namespace {

using Block = std::unique_ptr<char[], FreeBlock>;

// A block of another size with the same bytes. The old one stays when there is no memory.
bool Resize(Block* block, std::size_t size) noexcept {
    void* resized = std::realloc(block->get(), size);
    if (resized == nullptr)
        return false;
    static_cast<void>(block->release());
    block->reset(static_cast<char*>(resized));
    return true;
}

// Reads up to the end, wherever that is by now: the file may have grown or shrunk since its size was asked
// for.
bool ReadToEnd(System::File file, std::uint64_t expectedSize, std::uint64_t mostBytes, FileBytes* bytes,
               const BytesRead& read) noexcept {
    // So many at once stay in the processor's caches until they were looked at.
    constexpr std::size_t kFew = std::size_t{256} * 1024;
    const std::size_t most = read == nullptr ? SIZE_MAX : kFew;
    // One byte more than expected, so that the read that finds the end needs no larger block.
    std::size_t room = static_cast<std::size_t>(expectedSize) + 1;
    if (!Resize(&bytes->data, room))
        return false;
    ExpectRandomReads(bytes->data.get(), room);
    for (;;) {
        const std::size_t wanted = std::min(room - bytes->size, most);
        const std::ptrdiff_t count = System::Read(file, bytes->data.get() + bytes->size, wanted);
        if (count <= 0)
            return count == 0;
        bytes->size += static_cast<std::size_t>(count);
        if (bytes->size > mostBytes)
            return false;
        if (read != nullptr &&
            !read({bytes->data.get(), bytes->size}, static_cast<std::size_t>(expectedSize)))
            return false;
        if (bytes->size < room)
            continue;
        room += room / 2 + 4096;
        if (!Resize(&bytes->data, room))
            return false;
    }
}

}  // namespace

LoadResult LoadFile(const std::wstring& path, FileBytes* bytes, std::uint64_t mostBytes,
                    const BytesRead& read) noexcept {
    *bytes = FileBytes();
    // Asked before the file is opened: opening a pipe would wait, opening a device may set it in motion.
    const System::FileState state = System::Inspect(path);
    if (state.kind == System::Kind::Missing)
        return LoadResult::Missing;
    if (state.kind != System::Kind::RegularFile || state.size > mostBytes)
        return LoadResult::Unreadable;
    const System::File file = System::OpenForReading(path);
    if (file == System::kNoFile)
        return LoadResult::Unreadable;
    const bool complete = ReadToEnd(file, state.size, mostBytes, bytes, read);
    System::Close(file);  // the bytes are here, whatever becomes of the file
    if (complete)
        return LoadResult::Loaded;
    *bytes = FileBytes();
    return LoadResult::Unreadable;
}

}  // namespace Platform
