// The seam on Windows. Where Windows CE has not the calls of desktop Windows, its own way stands under
// UNDER_CE: it has no links, no drives, no current directory and no permissions beside the read-only
// attribute.
#include "Platform/System.h"

// After the project's headers: windows.h makes macros of names that they use.
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#if !defined(UNDER_CE)
#include <io.h>
#include <winioctl.h>
#endif

#include <algorithm>
#include <atomic>
#include <climits>
#include <exception>
#include <vector>

namespace Platform::System {

// ---- memory, time, messages

void* Allocate(std::size_t bytes) noexcept {
    return ::LocalAlloc(LMEM_FIXED, bytes);
}

void Release(void* block) noexcept {
    ::LocalFree(block);
}

void UseLargePages(void* /*block*/, std::size_t /*bytes*/) noexcept {}  // takes a privilege here

void ReadLocalTime(SystemTime* now) noexcept {
    SYSTEMTIME time;
    ::GetLocalTime(&time);
    *now = {time.wYear, time.wMonth,  time.wDayOfWeek, time.wDay,
            time.wHour, time.wMinute, time.wSecond,    time.wMilliseconds};
}

int ShowMessage(void* owner, const wchar_t* text, const wchar_t* caption, unsigned type) noexcept {
    return ::MessageBoxW(static_cast<HWND>(owner), text, caption, type);
}

void KeepAwake(bool on) noexcept {
#if defined(UNDER_CE)
    if (on)
        ::SystemIdleTimerReset();
#else
    ::SetThreadExecutionState(on ? ES_CONTINUOUS | ES_SYSTEM_REQUIRED : ES_CONTINUOUS);
#endif
}

void Wait(int milliseconds) noexcept {
    ::Sleep(static_cast<DWORD>(milliseconds));
}

namespace {

// The number of the process above a count that starts at the time, so that a restarted device, which may give
// the same process number again, does not try the names of files that a power cut left behind. Windows CE
// gives no numbers to processes: all is chance there.
std::uint64_t StartNumber() {
#if defined(UNDER_CE)
    std::uint64_t number = 0;
    ::CeGenRandom(sizeof(number), reinterpret_cast<BYTE*>(&number));
    return number;
#else
    SYSTEMTIME time;
    FILETIME ticks = {};
    ::GetSystemTime(&time);
    ::SystemTimeToFileTime(&time, &ticks);
    return static_cast<std::uint64_t>(::GetCurrentProcessId()) << 32 | ticks.dwLowDateTime;
#endif
}

}  // namespace

std::uint64_t UniqueNumber() noexcept {
    static const std::uint64_t start = StartNumber();
    static std::atomic<std::uint32_t> count{0};
    // The lower half wraps around within itself.
    return (start & ~std::uint64_t{UINT32_MAX}) | static_cast<std::uint32_t>(start + count++);
}

// ---- text

std::size_t Widen(std::string_view text, wchar_t* dst, std::size_t room) noexcept {
    const int count = static_cast<int>(std::min<std::size_t>({text.size(), room, INT_MAX}));
    return static_cast<std::size_t>(
        std::max(0, ::MultiByteToWideChar(CP_ACP, 0, text.data(), count, dst, count)));
}

std::size_t Narrow(std::wstring_view text, char* dst, std::size_t room) noexcept {
    const int bytes = static_cast<int>(std::min<std::size_t>(room, INT_MAX));
    const int count =
        static_cast<int>(std::min<std::size_t>(text.size(), static_cast<std::size_t>(bytes) / kBytesPerWide));
#if defined(UNDER_CE)
    const DWORD flags = 0;
#else
    // A letter that only looks like another one would make the name of another file. (UTF-8 has every letter,
    // and refuses the flag.)
    const DWORD flags = ::GetACP() == CP_UTF8 ? 0 : WC_NO_BEST_FIT_CHARS;
#endif
    return static_cast<std::size_t>(
        std::max(0, ::WideCharToMultiByte(CP_ACP, flags, text.data(), count, dst, bytes, nullptr, nullptr)));
}

// ---- paths

namespace {

bool BeginsWith(std::wstring_view text, std::wstring_view start) {
    return text.substr(0, start.size()) == start;
}

bool HasDrive(std::wstring_view path) {
#if defined(UNDER_CE)
    static_cast<void>(path);
    return false;
#else
    const auto isLetter = [](wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); };
    return path.size() >= 2 && path[1] == L':' && isLetter(path[0]);
#endif
}

#if !defined(UNDER_CE)
// The system takes paths of this many characters and more only whole and with a mark in front.
constexpr std::size_t kLongPath = 248;

std::wstring MarkedPath(const std::wstring& path) {
    std::wstring full(::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    if (full.empty() || BeginsWith(full, L"\\\\?\\") || BeginsWith(full, L"\\\\.\\"))
        return full;
    return BeginsWith(full, L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}
#endif

// The path as the system takes it. Only a long one needs memory. Empty, which names no file, for a path with
// a zero in it and for a long one when there is no memory.
class NativePath {
public:
    explicit NativePath(const std::wstring& path) noexcept {
        if (path.find(L'\0') != std::wstring::npos)
            return;
#if !defined(UNDER_CE)
        if (path.size() >= kLongPath) {
            Mark(path);
            return;
        }
#endif
        m_text = path.c_str();
    }
    NativePath(const NativePath&) = delete;
    NativePath& operator=(const NativePath&) = delete;

    const wchar_t* Text() const {
        return m_text;
    }
    bool IsEmpty() const {
        return m_text[0] == L'\0';
    }

private:
#if !defined(UNDER_CE)
    void Mark(const std::wstring& path) noexcept {
        try {
            m_marked = MarkedPath(path);
            m_text = m_marked.c_str();
        } catch (const std::exception&) {
        }
    }

    std::wstring m_marked;
#endif
    const wchar_t* m_text = L"";
};

wchar_t ToUpper(wchar_t c) {
    // Given a character in place of a text, the call gives back a character.
    const auto character = static_cast<std::uintptr_t>(c);
    return static_cast<wchar_t>(
        reinterpret_cast<std::uintptr_t>(::CharUpperW(reinterpret_cast<wchar_t*>(character))));
}

}  // namespace

bool IsAbsolute(std::wstring_view path) noexcept {
    return BeginsWith(path, L"\\") || HasDrive(path);
}

std::size_t NamePosition(std::wstring_view path) noexcept {
    const std::size_t separator = path.find_last_of(L"\\/");
    if (separator != std::wstring_view::npos)
        return separator + 1;
    return HasDrive(path) ? 2 : 0;
}

bool SameLetters(std::wstring_view first, std::wstring_view second) noexcept {
    const auto form = [](wchar_t c) { return c == L'/' ? L'\\' : ToUpper(c); };
    const auto same = [&](wchar_t a, wchar_t b) { return form(a) == form(b); };
    return std::equal(first.begin(), first.end(), second.begin(), second.end(), same);
}

// ---- what stands at a path

namespace {

// An open file that closes itself.
class Handle {
public:
    Handle(const NativePath& native, DWORD access, DWORD flags)
        : m_handle(::CreateFileW(native.Text(), access, kShareAll, nullptr, OPEN_EXISTING, flags, nullptr)) {}
    ~Handle() {
        if (IsOpen())
            ::CloseHandle(m_handle);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_handle; }

#if defined(UNDER_CE)
    static constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE;
#else
    static constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
#endif

private:
    HANDLE m_handle;
};

Kind KindOfFailure(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? Kind::Missing : Kind::Unknown;
}

// A file that another program holds for a moment is writable all the same.
bool MayWrite(const NativePath& native) {
    const Handle file(native, GENERIC_WRITE, FILE_ATTRIBUTE_NORMAL);
    const DWORD error = file.IsOpen() ? ERROR_SUCCESS : ::GetLastError();
    return error != ERROR_ACCESS_DENIED && error != ERROR_WRITE_PROTECT;
}

void Describe(DWORD attributes, DWORD sizeHigh, DWORD sizeLow, const NativePath& native, FileState* state) {
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        state->kind = Kind::Directory;
        return;
    }
    state->kind = Kind::RegularFile;
    state->size = static_cast<std::uint64_t>(sizeHigh) << 32 | sizeLow;
    state->writable = (attributes & FILE_ATTRIBUTE_READONLY) == 0 && MayWrite(native);
}

}  // namespace

#if defined(UNDER_CE)

FileState Inspect(const std::wstring& path) noexcept {
    FileState state;
    const NativePath native(path);
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (native.IsEmpty())
        return state;
    if (::GetFileAttributesExW(native.Text(), GetFileExInfoStandard, &data))
        Describe(data.dwFileAttributes, data.nFileSizeHigh, data.nFileSizeLow, native, &state);
    else
        state.kind = KindOfFailure(::GetLastError());
    return state;
}

std::wstring ResolveLinks(const std::wstring& path) {
    return path;
}

#else

FileState Inspect(const std::wstring& path) noexcept {
    FileState state;
    const NativePath native(path);
    if (native.IsEmpty())
        return state;
    // Opened for its attributes alone, which no sharing forbids; a directory opens only with that flag.
    const Handle file(native, 0, FILE_FLAG_BACKUP_SEMANTICS);
    BY_HANDLE_FILE_INFORMATION info;
    if (!file.IsOpen()) {
        state.kind = KindOfFailure(::GetLastError());
    } else if (::GetFileType(file.Get()) != FILE_TYPE_DISK) {
        state.kind = Kind::Other;
    } else if (::GetFileInformationByHandle(file.Get(), &info)) {
        state.volume = info.dwVolumeSerialNumber;
        state.number = static_cast<std::uint64_t>(info.nFileIndexHigh) << 32 | info.nFileIndexLow;
        Describe(info.dwFileAttributes, info.nFileSizeHigh, info.nFileSizeLow, native, &state);
    }
    return state;
}

namespace {

// What the system tells of a symbolic link, as it lays it out, up to its text.
struct LinkHead {
    DWORD tag;
    WORD bytes;
    WORD reserved;
    WORD nameOffset;  // in bytes, from the start of the text
    WORD nameBytes;
    WORD shownOffset;
    WORD shownBytes;
    DWORD flags;
};

}  // namespace

// The path that a symbolic link leads to, out of what the system tells of it; false when that is no such
// link.
bool LinkTarget(const std::wstring& link, std::string_view told, std::wstring* target) {
    constexpr DWORD kRelative = 1;
    LinkHead head;
    if (told.size() < sizeof(head))
        return false;
    told.copy(reinterpret_cast<char*>(&head), sizeof(head));
    const std::string_view text = told.substr(sizeof(head));
    if (head.tag != IO_REPARSE_TAG_SYMLINK || std::size_t{head.nameOffset} + head.nameBytes > text.size())
        return false;
    target->resize(head.nameBytes / sizeof(wchar_t));
    text.copy(reinterpret_cast<char*>(target->data()), target->size() * sizeof(wchar_t), head.nameOffset);
    if ((head.flags & kRelative) != 0)
        target->insert(0, link, 0, NamePosition(link));
    else if (BeginsWith(*target, L"\\??\\") && HasDrive(std::wstring_view(*target).substr(4)))
        target->erase(0, 4);
    else if (BeginsWith(*target, L"\\??\\"))
        (*target)[1] = L'\\';
    return true;
}

namespace {

bool ReadLink(const std::wstring& path, std::wstring* target) {
    const Handle file(NativePath(path), 0, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS);
    char told[MAXIMUM_REPARSE_DATA_BUFFER_SIZE];
    DWORD size = 0;
    return file.IsOpen() &&
           ::DeviceIoControl(file.Get(), FSCTL_GET_REPARSE_POINT, nullptr, 0, told, sizeof(told), &size,
                             nullptr) &&
           LinkTarget(path, {told, size}, target);
}

}  // namespace

std::wstring ResolveLinks(const std::wstring& path) {
    constexpr int kMostLinks = 40;
    std::wstring current = path;
    for (int links = 0; links <= kMostLinks; ++links) {
        std::wstring target;
        if (!ReadLink(current, &target))
            return current;
        current = std::move(target);
    }
    return {};
}

#endif

// ---- files

namespace {

constexpr std::size_t kMostBytes = 16 * 1024 * 1024;  // in one transfer: servers refuse very large ones

HANDLE HandleOf(File file) {
    return reinterpret_cast<HANDLE>(file);
}

DWORD TransferSize(std::size_t size) {
    return static_cast<DWORD>(std::min(size, kMostBytes));
}

// The attributes that a new file takes over.
DWORD KeptAttributes(DWORD attributes) {
    const DWORD kept = attributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE |
                                     FILE_ATTRIBUTE_NOT_CONTENT_INDEXED | FILE_ATTRIBUTE_ENCRYPTED);
    return kept == 0 ? FILE_ATTRIBUTE_NORMAL : kept;
}

#if !defined(UNDER_CE)
// The access list of a file; empty when the medium has none or does not show it.
std::vector<unsigned char> AccessListOf(const NativePath& native) {
    DWORD size = 0;
    ::GetFileSecurityW(native.Text(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    std::vector<unsigned char> list(size);
    if (!::GetFileSecurityW(native.Text(), DACL_SECURITY_INFORMATION, list.data(), size, &size))
        list.clear();
    return list;
}
#endif

File CreateLike(const NativePath& native, const NativePath& nativeLike, DWORD attributes) {
    SECURITY_ATTRIBUTES* security = nullptr;
#if defined(UNDER_CE)
    static_cast<void>(nativeLike);
#else
    std::vector<unsigned char> list;
    if (attributes != INVALID_FILE_ATTRIBUTES)
        list = AccessListOf(nativeLike);
    SECURITY_ATTRIBUTES likeOld = {sizeof(likeOld), list.data(), FALSE};
    if (!list.empty())
        security = &likeOld;
#endif
    const DWORD kept =
        attributes == INVALID_FILE_ATTRIBUTES ? FILE_ATTRIBUTE_NORMAL : KeptAttributes(attributes);
    return reinterpret_cast<File>(
        ::CreateFileW(native.Text(), GENERIC_WRITE, 0, security, CREATE_NEW, kept, nullptr));
}

}  // namespace

File OpenForReading(const std::wstring& path) noexcept {
    return reinterpret_cast<File>(::CreateFileW(NativePath(path).Text(), GENERIC_READ, Handle::kShareAll,
                                                nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

File CreateNew(const std::wstring& path, const std::wstring& like) noexcept {
    try {
        const NativePath nativeLike(like);
        const DWORD attributes = ::GetFileAttributesW(nativeLike.Text());
        if (attributes == INVALID_FILE_ATTRIBUTES && ::GetLastError() != ERROR_FILE_NOT_FOUND)
            return kNoFile;
        return CreateLike(NativePath(path), nativeLike, attributes);
    } catch (const std::exception&) {
        return kNoFile;
    }
}

File OpenForAppending(const std::wstring& path) noexcept {
    const HANDLE file = ::CreateFileW(NativePath(path).Text(), GENERIC_WRITE, Handle::kShareAll, nullptr,
                                      OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    LONG high = 0;
    // The low half of a position may look like the mark of failure.
    if (file == INVALID_HANDLE_VALUE ||
        ::SetFilePointer(file, 0, &high, FILE_END) != INVALID_SET_FILE_POINTER ||
        ::GetLastError() == NO_ERROR)
        return reinterpret_cast<File>(file);
    ::CloseHandle(file);
    return kNoFile;
}

std::ptrdiff_t Read(File file, char* bytes, std::size_t size) noexcept {
    DWORD count = 0;
    return ::ReadFile(HandleOf(file), bytes, TransferSize(size), &count, nullptr)
               ? static_cast<std::ptrdiff_t>(count)
               : -1;
}

std::ptrdiff_t Write(File file, const char* bytes, std::size_t size) noexcept {
    DWORD count = 0;
    return ::WriteFile(HandleOf(file), bytes, TransferSize(size), &count, nullptr)
               ? static_cast<std::ptrdiff_t>(count)
               : -1;
}

bool Flush(File file) noexcept {
    return ::FlushFileBuffers(HandleOf(file)) != FALSE;
}

bool Close(File file) noexcept {
    return ::CloseHandle(HandleOf(file)) != FALSE;
}

RenameResult Rename(const std::wstring& from, const std::wstring& to) noexcept {
    const NativePath nativeFrom(from);
    const NativePath nativeTo(to);
    if (nativeFrom.IsEmpty() || nativeTo.IsEmpty())
        return RenameResult::Failed;
#if defined(UNDER_CE)
    const bool replaces = ::GetFileAttributesW(nativeTo.Text()) != INVALID_FILE_ATTRIBUTES;
    const BOOL renamed = replaces ? ::DeleteAndRenameFile(nativeTo.Text(), nativeFrom.Text())
                                  : ::MoveFileW(nativeFrom.Text(), nativeTo.Text());
#else
    const BOOL renamed =
        ::MoveFileExW(nativeFrom.Text(), nativeTo.Text(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
#endif
    if (renamed)
        return RenameResult::Done;
    const DWORD error = ::GetLastError();
    const bool blocked = error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
                         error == ERROR_ACCESS_DENIED || error == ERROR_USER_MAPPED_FILE;
    return blocked ? RenameResult::Blocked : RenameResult::Failed;
}

bool Remove(const std::wstring& path) noexcept {
    return ::DeleteFileW(NativePath(path).Text()) != FALSE;
}

bool FlushDirectory(const std::wstring& /*fileInIt*/) noexcept {
    return true;
}

// ---- streams

std::FILE* OpenStream(const std::wstring& path, const wchar_t* mode) noexcept {
    return ::_wfopen(NativePath(path).Text(), mode);
}

bool FlushStream(std::FILE* stream) noexcept {
#if defined(UNDER_CE)
    const HANDLE file = reinterpret_cast<HANDLE>(::_fileno(stream));
#else
    const HANDLE file = reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(stream)));
#endif
    return std::fflush(stream) == 0 && std::ferror(stream) == 0 && ::FlushFileBuffers(file);
}

bool StepBack(std::FILE* stream, std::uint64_t bytes) noexcept {
#if defined(UNDER_CE)
    return bytes <= static_cast<std::uint64_t>(LONG_MAX) &&
           std::fseek(stream, -static_cast<long>(bytes), SEEK_CUR) == 0;
#else
    return ::_fseeki64(stream, -static_cast<std::int64_t>(bytes), SEEK_CUR) == 0;
#endif
}

namespace {

bool MoveTo(const Handle& file, std::uint64_t place) {
    LONG high = static_cast<LONG>(place >> 32);
    const DWORD low = ::SetFilePointer(file.Get(), static_cast<LONG>(place & 0xFFFFFFFF), &high, FILE_BEGIN);
    // The low half of a position may look like the mark of failure.
    return low != INVALID_SET_FILE_POINTER || ::GetLastError() == NO_ERROR;
}

}  // namespace

bool Overwrite(const std::wstring& path, std::uint64_t place, std::string_view bytes) noexcept {
    const Handle file(NativePath(path), GENERIC_WRITE, FILE_ATTRIBUTE_NORMAL);
    DWORD count = 0;
    return file.IsOpen() && MoveTo(file, place) &&
           ::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) &&
           count == bytes.size() && ::FlushFileBuffers(file.Get());
}

bool Cut(const std::wstring& path, std::uint64_t size) noexcept {
    const Handle file(NativePath(path), GENERIC_WRITE, FILE_ATTRIBUTE_NORMAL);
    return file.IsOpen() && MoveTo(file, size) && ::SetEndOfFile(file.Get()) &&
           ::FlushFileBuffers(file.Get());
}

}  // namespace Platform::System
