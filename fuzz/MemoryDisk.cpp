#include "fuzz/MemoryDisk.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>

#include "tests/support/RealSystem.h"

namespace {

using Platform::System::File;
using Content = std::shared_ptr<std::string>;

struct OpenFile {
    Content content;
    std::size_t position = 0;
    bool appends = false;
};

struct Disk {
    std::map<std::wstring, Content> files;
    std::map<File, OpenFile> open;
    File last = 0;
    std::uint64_t unique = 0;
};

// Background saves have a thread of their own.
std::mutex diskMutex;
Disk disk;

using Lock = std::lock_guard<std::mutex>;

// The letters of Windows paths and of ours mean the same file.
std::wstring Name(std::wstring path) {
    std::replace(path.begin(), path.end(), L'\\', L'/');
    return path;
}

Content Find(const std::wstring& path) {
    const auto found = disk.files.find(Name(path));
    return found == disk.files.end() ? nullptr : found->second;
}

File Open(Content content, bool appends) {
    disk.open[++disk.last] = {std::move(content), 0, appends};
    return disk.last;
}

// ---- streams over the disk

ssize_t ReadStream(void* cookie, char* bytes, size_t size) {
    return Platform::System::Read(reinterpret_cast<File>(cookie), bytes, size);
}

ssize_t WriteStream(void* cookie, const char* bytes, size_t size) {
    return Platform::System::Write(reinterpret_cast<File>(cookie), bytes, size);
}

int SeekStream(void* cookie, off64_t* offset, int whence) {
    const Lock lock(diskMutex);
    OpenFile& file = disk.open[reinterpret_cast<File>(cookie)];
    off64_t from = 0;
    if (whence == SEEK_CUR)
        from = static_cast<off64_t>(file.position);
    else if (whence == SEEK_END)
        from = static_cast<off64_t>(file.content->size());
    if (from + *offset < 0)
        return -1;
    *offset += from;
    file.position = static_cast<std::size_t>(*offset);
    return 0;
}

int CloseStream(void* cookie) {
    return Platform::System::Close(reinterpret_cast<File>(cookie)) ? 0 : -1;
}

}  // namespace

// ---- the disk as the targets see it

std::wstring MemoryDisk::Path(std::string_view name) {
    return std::wstring(kDirectory) + L'/' + Platform::WideFromNarrow(name);
}

void MemoryDisk::Format() {
    const Lock lock(diskMutex);
    disk.files.clear();
}

void MemoryDisk::Write(std::string_view name, std::string_view bytes) {
    const std::wstring path = Path(name);
    const Lock lock(diskMutex);
    disk.files[path] = std::make_shared<std::string>(bytes);
}

std::string MemoryDisk::Read(std::string_view name) {
    const std::wstring path = Path(name);
    const Lock lock(diskMutex);
    const Content content = Find(path);
    return content ? *content : std::string();
}

bool MemoryDisk::Exists(std::string_view name) {
    const std::wstring path = Path(name);
    const Lock lock(diskMutex);
    return Find(path) != nullptr;
}

// ---- and as the libraries see it

namespace Platform::System {

void* Allocate(std::size_t bytes) noexcept {
    return RealSystem::Allocate(bytes);
}

void ReadLocalTime(SystemTime* now) noexcept {
    *now = {2026, 11, 6, 21, 9, 30, 0, 0};
}

int ShowMessage(void*, const wchar_t*, const wchar_t*, unsigned) noexcept {
    return 1;
}

void KeepAwake(bool) noexcept {}

void Wait(int) noexcept {}

std::uint64_t UniqueNumber() noexcept {
    const Lock lock(diskMutex);
    return ++disk.unique;
}

FileState Inspect(const std::wstring& path) noexcept {
    const Lock lock(diskMutex);
    const Content content = Find(path);
    FileState state;
    if (path.empty() || path.find(L'\0') != std::wstring::npos)
        return state;
    state.writable = true;
    state.kind = content ? Kind::RegularFile : Kind::Missing;
    state.size = content ? content->size() : 0;
    if (content) {
        state.volume = 1;
        state.number = reinterpret_cast<std::uintptr_t>(content.get());
    }
    return state;
}

std::wstring ResolveLinks(const std::wstring& path) {
    return path;
}

File OpenForReading(const std::wstring& path) noexcept {
    const Lock lock(diskMutex);
    const Content content = Find(path);
    return content ? Open(content, false) : kNoFile;
}

File CreateNew(const std::wstring& path, const std::wstring&) noexcept {
    const Lock lock(diskMutex);
    if (Find(path))
        return kNoFile;
    const Content content = std::make_shared<std::string>();
    disk.files[Name(path)] = content;
    return Open(content, false);
}

File OpenForAppending(const std::wstring& path) noexcept {
    const Lock lock(diskMutex);
    Content& content = disk.files[Name(path)];
    if (!content)
        content = std::make_shared<std::string>();
    return Open(content, true);
}

std::ptrdiff_t Read(File number, char* bytes, std::size_t size) noexcept {
    const Lock lock(diskMutex);
    OpenFile& file = disk.open[number];
    const std::size_t left = file.content->size() - std::min(file.position, file.content->size());
    const std::size_t count = std::min(size, left);
    std::memcpy(bytes, file.content->data() + std::min(file.position, file.content->size()), count);
    file.position += count;
    return static_cast<std::ptrdiff_t>(count);
}

std::ptrdiff_t Write(File number, const char* bytes, std::size_t size) noexcept {
    const Lock lock(diskMutex);
    OpenFile& file = disk.open[number];
    if (file.appends)
        file.position = file.content->size();
    if (file.content->size() < file.position + size)
        file.content->resize(file.position + size);
    std::memcpy(file.content->data() + file.position, bytes, size);
    file.position += size;
    return static_cast<std::ptrdiff_t>(size);
}

bool Flush(File) noexcept {
    return true;
}

bool Close(File file) noexcept {
    const Lock lock(diskMutex);
    return disk.open.erase(file) == 1;
}

RenameResult Rename(const std::wstring& from, const std::wstring& to) noexcept {
    const Lock lock(diskMutex);
    const Content content = Find(from);
    if (!content)
        return RenameResult::Failed;
    disk.files.erase(Name(from));
    disk.files[Name(to)] = content;
    return RenameResult::Done;
}

bool Remove(const std::wstring& path) noexcept {
    const Lock lock(diskMutex);
    return disk.files.erase(Name(path)) == 1;
}

bool FlushDirectory(const std::wstring&) noexcept {
    return true;
}

std::FILE* OpenStream(const std::wstring& path, const wchar_t* mode) noexcept {
    const std::string narrow = NarrowFromWide(mode);
    File file = kNoFile;
    {
        const Lock lock(diskMutex);
        Content content = Find(path);
        if (narrow[0] == 'w') {
            content = std::make_shared<std::string>();
            disk.files[Name(path)] = content;
        }
        if (!content)
            return nullptr;
        file = Open(content, narrow[0] == 'a');
    }
    return ::fopencookie(reinterpret_cast<void*>(file), narrow.c_str(),
                         {ReadStream, WriteStream, SeekStream, CloseStream});
}

bool FlushStream(std::FILE* stream) noexcept {
    return std::fflush(stream) == 0 && std::ferror(stream) == 0;
}

bool Overwrite(const std::wstring& path, std::uint64_t place, std::string_view bytes) noexcept {
    const Lock lock(diskMutex);
    const Content content = Find(path);
    if (!content || place + bytes.size() > content->size())
        return false;
    content->replace(static_cast<std::size_t>(place), bytes.size(), bytes);
    return true;
}

bool Cut(const std::wstring& path, std::uint64_t size) noexcept {
    const Lock lock(diskMutex);
    const Content content = Find(path);
    if (!content || size > content->size())
        return false;
    content->resize(static_cast<std::size_t>(size));
    return true;
}

}  // namespace Platform::System
