// The seam on Linux. Owns the form of names there: bytes, taken as UTF-8 whatever the locale, with '/'
// between them.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include "Platform/System.h"

namespace Platform::System {

// ---- text

namespace {

static_assert(sizeof(wchar_t) >= 4, "a wide character holds every character");

constexpr char32_t kByteBase = 0xDC00;  // and a byte that is no UTF-8: the character that stands for it

struct Character {
    char32_t code;
    std::size_t bytes;
};

bool IsCharacter(char32_t code) {
    return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

std::size_t EncodedSize(char32_t code) {
    return code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
}

// The number of bytes of the sequence that begins with this byte; 0 when none does.
std::size_t SequenceSize(unsigned lead) {
    if (lead < 0x80)
        return 1;
    return lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : 0;
}

// The first character of a text that is not empty.
Character Decode(std::string_view text) {
    const auto byte = [text](std::size_t index) -> unsigned {
        return static_cast<unsigned char>(text[index]);
    };
    const Character onlyByte = {kByteBase + byte(0), 1};
    const std::size_t size = SequenceSize(byte(0));
    if (size == 1)
        return {byte(0), 1};
    if (size == 0 || text.size() < size)
        return onlyByte;
    char32_t code = byte(0) & (0x7Fu >> size);
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return onlyByte;
        code = code << 6 | (byte(i) & 0x3F);
    }
    const bool valid = IsCharacter(code) && EncodedSize(code) == size;
    return valid ? Character{code, size} : onlyByte;
}

// Writes the bytes of one character; their number.
std::size_t Encode(char32_t code, char (&bytes)[kBytesPerWide]) {
    const auto put = [&bytes](std::size_t index, char32_t value) {
        bytes[index] = static_cast<char>(static_cast<unsigned char>(value));
    };
    if (code >= kByteBase + 0x80 && code <= kByteBase + 0xFF)
        code -= kByteBase;
    else if (!IsCharacter(code))
        code = U'?';
    else if (code >= 0x80) {
        const std::size_t size = EncodedSize(code);
        for (std::size_t i = size - 1; i > 0; --i, code >>= 6)
            put(i, 0x80 | (code & 0x3F));
        put(0, (0xF00u >> size) | code);
        return size;
    }
    put(0, code);
    return 1;
}

}  // namespace

std::size_t Widen(std::string_view text, wchar_t* dst, std::size_t room) noexcept {
    std::size_t count = 0;
    while (!text.empty() && count < room) {
        const Character character = Decode(text);
        dst[count++] = static_cast<wchar_t>(character.code);
        text.remove_prefix(character.bytes);
    }
    return count;
}

std::size_t Narrow(std::wstring_view text, char* dst, std::size_t room) noexcept {
    std::size_t count = 0;
    for (const wchar_t character : text) {
        char bytes[kBytesPerWide];
        const std::size_t size = Encode(static_cast<char32_t>(character), bytes);
        if (size > room - count)
            break;
        std::copy_n(bytes, size, dst + count);
        count += size;
    }
    return count;
}

// ---- memory, time, messages

void* Allocate(std::size_t bytes) noexcept {
    return std::malloc(bytes);
}

void Release(void* block) noexcept {
    std::free(block);
}

// Whole pages only: what is in front of the first and behind the last one is not the block's alone.
void UseLargePages(void* block, std::size_t bytes) noexcept {
    constexpr std::size_t kPage = std::size_t{2} * 1024 * 1024;
    void* first = block;
    std::size_t left = bytes;
    if (std::align(kPage, kPage, first, left) != nullptr)
        ::madvise(first, left / kPage * kPage, MADV_HUGEPAGE);  // refused: no harm
}

void ReadLocalTime(SystemTime* now) noexcept {
    std::timespec clock{};
    std::tm wall{};
    ::clock_gettime(CLOCK_REALTIME, &clock);
    ::tzset();  // the device may have been carried, or set, to another zone
    ::localtime_r(&clock.tv_sec, &wall);
    now->wYear = static_cast<std::uint16_t>(wall.tm_year + 1900);
    now->wMonth = static_cast<std::uint16_t>(wall.tm_mon + 1);
    now->wDayOfWeek = static_cast<std::uint16_t>(wall.tm_wday);
    now->wDay = static_cast<std::uint16_t>(wall.tm_mday);
    now->wHour = static_cast<std::uint16_t>(wall.tm_hour);
    now->wMinute = static_cast<std::uint16_t>(wall.tm_min);
    now->wSecond =
        static_cast<std::uint16_t>(std::min(wall.tm_sec, 59));  // a leap second is no second of its own
    now->wMilliseconds = static_cast<std::uint16_t>(clock.tv_nsec / 1000000);
}

// Character by character: the message may be that there is no memory left.
int ShowMessage(void* /*owner*/, const wchar_t* text, const wchar_t* caption, unsigned /*type*/) noexcept {
    const std::wstring_view parts[] = {caption, L": ", text, L"\n"};
    bool shown = true;
    for (const std::wstring_view part : parts) {
        for (const wchar_t character : part) {
            char bytes[kBytesPerWide];
            const std::size_t count = Narrow({&character, 1}, bytes, sizeof(bytes));
            shown = std::fwrite(bytes, 1, count, stderr) == count && shown;
        }
    }
    constexpr int kOkButton = 1;
    return shown ? kOkButton : 0;
}

void KeepAwake(bool /*on*/) noexcept {}

void Wait(int milliseconds) noexcept {
    std::timespec left = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

std::uint64_t UniqueNumber() noexcept {
    // Counting from the time, so that a restarted device, which may give the same process number again, does
    // not try the names of files that a power cut left behind.
    static std::atomic<std::uint32_t> next{static_cast<std::uint32_t>(std::time(nullptr))};
    return static_cast<std::uint64_t>(::getpid()) << 32 | next++;
}

// ---- paths

namespace {

// The path as the system takes it: '\' separates as well. It needs no memory, so that a file that was made
// can always be removed again. Empty, which names no file, for a path with a zero in it.
class NativePath {
public:
    explicit NativePath(std::wstring_view path) noexcept {
        char* const end = m_bytes + Narrow(path, m_bytes, sizeof(m_bytes) - 1);
        *end = '\0';
        std::replace(m_bytes, end, '\\', '/');
        if (std::find(m_bytes, end, '\0') != end)
            m_bytes[0] = '\0';
    }

    const char* Text() const { return m_bytes; }
    bool IsEmpty() const { return m_bytes[0] == '\0'; }

    // Makes it the path of the directory in which it stands.
    void DropName() {
        char* const separator = std::strrchr(m_bytes, '/');
        if (separator == nullptr)
            m_bytes[0] = '.';
        (separator == nullptr ? m_bytes : separator)[1] = '\0';
    }

private:
    char m_bytes[PATH_MAX + kBytesPerWide];  // a path that is cut to this is still too long for the system
};

// Repeats a call that a signal interrupted.
template <typename Call>
auto Uninterrupted(Call call) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR)
            return result;
    }
}

bool ReadLink(const std::string& path, std::string* link) {
    char text[PATH_MAX];
    const ssize_t size = ::readlink(path.c_str(), text, sizeof(text));
    if (size <= 0)
        return false;
    link->assign(text, static_cast<std::size_t>(size));
    return true;
}

int Open(const NativePath& path, int flags, mode_t mode = 0) noexcept {
    return Uninterrupted([&] { return ::open(path.Text(), flags | O_CLOEXEC, mode); });
}

}  // namespace

bool IsAbsolute(std::wstring_view path) noexcept {
    return !path.empty() && (path.front() == L'\\' || path.front() == L'/');
}

std::size_t NamePosition(std::wstring_view path) noexcept {
    const std::size_t separator = path.find_last_of(L"\\/");
    return separator == std::wstring_view::npos ? 0 : separator + 1;
}

bool SameLetters(std::wstring_view first, std::wstring_view second) noexcept {
    const auto separates = [](wchar_t c) { return c == L'\\' || c == L'/'; };
    const auto same = [&](wchar_t a, wchar_t b) { return a == b || (separates(a) && separates(b)); };
    return std::equal(first.begin(), first.end(), second.begin(), second.end(), same);
}

FileState Inspect(const std::wstring& path) noexcept {
    FileState state;
    const NativePath native(path);
    if (native.IsEmpty())
        return state;
    struct stat status {};
    if (::stat(native.Text(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR)
            state.kind = Kind::Missing;
        return state;
    }
    state.volume = status.st_dev;
    state.number = status.st_ino;
    state.kind = S_ISREG(status.st_mode)   ? Kind::RegularFile
                 : S_ISDIR(status.st_mode) ? Kind::Directory
                                           : Kind::Other;
    if (state.kind != Kind::RegularFile)
        return state;
    state.size = static_cast<std::uint64_t>(status.st_size);
    // The administrator may write everything; a file that nobody may write is read-only even then.
    const bool carriesPermission = (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
    state.writable = carriesPermission && ::faccessat(AT_FDCWD, native.Text(), W_OK, AT_EACCESS) == 0;
    return state;
}

std::wstring ResolveLinks(const std::wstring& path) {
    constexpr int kMostLinks = 40;
    std::string current = NativePath(path).Text();
    if (current.empty())
        return {};
    for (int links = 0; links <= kMostLinks; ++links) {
        std::string link;
        if (!ReadLink(current, &link))
            return links == 0 ? path : WideFromNarrow(current);
        if (link.find('\\') != std::string::npos)
            return {};  // no path of ours can name that file
        if (link.front() != '/')
            link.insert(0, current, 0, current.rfind('/') + 1);
        current = std::move(link);
    }
    return {};
}

// ---- files

namespace {

int Descriptor(File file) {
    return static_cast<int>(file);
}

bool IsRegular(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

constexpr mode_t kPermissions = S_ISUID | S_ISGID | S_ISVTX | S_IRWXU | S_IRWXG | S_IRWXO;

// The access list of a file counts besides its permissions, whose group bits are then no more than the mask
// of the list. A new file may have got another one from its directory.
bool TakeOverAccessList(int file, const NativePath& like) {
    constexpr const char* kAccessList = "system.posix_acl_access";
    char list[16 * 1024];
    const ssize_t size = ::getxattr(like.Text(), kAccessList, list, sizeof(list));
    if (size >= 0)
        return ::fsetxattr(file, kAccessList, list, static_cast<std::size_t>(size), 0) == 0;
    if (errno == ERANGE)
        return false;
    if (errno == ENODATA)
        static_cast<void>(::fremovexattr(file, kAccessList));  // refused: there was none
    return true;
}

// Only what differs is set: some media know no owners or permissions of their own and refuse every change.
bool TakeOver(int file, const struct stat& like) {
    struct stat status {};
    if (::fstat(file, &status) != 0)
        return false;
    const bool sameOwner = status.st_uid == like.st_uid && status.st_gid == like.st_gid;
    // Those who may not give files away may still keep the group.
    if (!sameOwner && ::fchown(file, like.st_uid, like.st_gid) != 0)
        static_cast<void>(::fchown(file, static_cast<uid_t>(-1), like.st_gid) == 0);
    return (status.st_mode & kPermissions) == (like.st_mode & kPermissions) ||
           ::fchmod(file, like.st_mode & kPermissions) == 0;
}

}  // namespace

File OpenForReading(const std::wstring& path) noexcept {
    const int file = Open(NativePath(path), O_RDONLY | O_NONBLOCK);
    if (file < 0 || IsRegular(file))
        return file < 0 ? kNoFile : file;
    ::close(file);
    return kNoFile;
}

File CreateNew(const std::wstring& path, const std::wstring& like) noexcept {
    const NativePath native(path);
    const NativePath nativeLike(like);
    struct stat status {};
    const bool exists = ::stat(nativeLike.Text(), &status) == 0;
    if (nativeLike.IsEmpty() || (!exists && errno != ENOENT))
        return kNoFile;
    // Nobody else sees the content before the permissions are those of the old file.
    const int file = Open(native, O_WRONLY | O_CREAT | O_EXCL, exists ? 0600 : 0666);
    if (file < 0)
        return kNoFile;
    if (!exists || (TakeOverAccessList(file, nativeLike) && TakeOver(file, status)))
        return file;
    ::close(file);
    ::unlink(native.Text());
    return kNoFile;
}

File OpenForAppending(const std::wstring& path) noexcept {
    const int file = Open(NativePath(path), O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK, 0666);
    if (file < 0 || IsRegular(file))
        return file < 0 ? kNoFile : file;
    ::close(file);
    return kNoFile;
}

std::ptrdiff_t Read(File file, char* bytes, std::size_t size) noexcept {
    return Uninterrupted([=] { return ::read(Descriptor(file), bytes, size); });
}

std::ptrdiff_t Write(File file, const char* bytes, std::size_t size) noexcept {
    return Uninterrupted([=] { return ::write(Descriptor(file), bytes, size); });
}

bool Flush(File file) noexcept {
    return Uninterrupted([=] { return ::fsync(Descriptor(file)); }) == 0;
}

bool Close(File file) noexcept {
    return ::close(Descriptor(file)) == 0 || errno == EINTR;  // interrupted, it is closed all the same
}

RenameResult Rename(const std::wstring& from, const std::wstring& to) noexcept {
    const bool renamed = std::rename(NativePath(from).Text(), NativePath(to).Text()) == 0;
    return renamed ? RenameResult::Done : RenameResult::Failed;
}

bool Remove(const std::wstring& path) noexcept {
    return ::unlink(NativePath(path).Text()) == 0;
}

bool FlushDirectory(const std::wstring& fileInIt) noexcept {
    NativePath directory(fileInIt);
    if (directory.IsEmpty())
        return false;
    directory.DropName();
    const int file = Open(directory, O_RDONLY | O_DIRECTORY);
    if (file < 0) {
        if (errno != EACCES)
            return false;
        ::sync();  // a directory that may be written but not read cannot be flushed alone
        return true;
    }
    const bool flushed = Flush(file) || errno == EINVAL;  // EINVAL: this medium flushes no directories
    ::close(file);
    return flushed;
}

// ---- streams

std::FILE* OpenStream(const std::wstring& path, const wchar_t* mode) noexcept {
    char narrowMode[8] = "";
    const std::size_t count = Narrow(mode, narrowMode, sizeof(narrowMode) - 1);
    narrowMode[count] = '\0';
    return std::fopen(NativePath(path).Text(), narrowMode);
}

bool FlushStream(std::FILE* stream) noexcept {
    return std::fflush(stream) == 0 && std::ferror(stream) == 0 && Flush(::fileno(stream));
}

bool StepBack(std::FILE* stream, std::uint64_t bytes) noexcept {
    return ::fseeko(stream, -static_cast<off_t>(bytes), SEEK_CUR) == 0;
}

bool Overwrite(const std::wstring& path, std::uint64_t place, std::string_view bytes) noexcept {
    const int file = Open(NativePath(path), O_WRONLY | O_NONBLOCK);
    if (file < 0)
        return false;
    const ssize_t count =
        Uninterrupted([&] { return ::pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(place)); });
    const bool flushed = count == static_cast<ssize_t>(bytes.size()) && Flush(file);
    return Close(file) && flushed;
}

bool Cut(const std::wstring& path, std::uint64_t size) noexcept {
    const int file = Open(NativePath(path), O_WRONLY | O_NONBLOCK);
    if (file < 0)
        return false;
    const bool cut = Uninterrupted([=] { return ::ftruncate(file, static_cast<off_t>(size)); }) == 0;
    const bool flushed = cut && Flush(file);
    return Close(file) && flushed;
}

}  // namespace Platform::System
