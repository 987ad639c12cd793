// Adding a file to the end of another one. Owns the rule that a file to which something could not be added
// whole has the bytes that it had before, and that what a stopped program left half added has no head.
#include <exception>
#include <string>

#include "Platform/Platform.h"
#include "Platform/System.h"

namespace Platform {
namespace {

constexpr std::size_t kChunkBytes = std::size_t{16} * 1024;

class OpenFile {
public:
    explicit OpenFile(System::File file) : m_file(file) {}
    ~OpenFile() { Close(); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool IsOpen() const { return m_file != System::kNoFile; }

    bool Close() {
        const bool closed = !IsOpen() || System::Close(m_file);
        m_file = System::kNoFile;
        return closed;
    }

    bool Write(std::string_view bytes) {
        while (!bytes.empty()) {
            const std::ptrdiff_t count = System::Write(m_file, bytes.data(), bytes.size());
            if (count <= 0)
                return false;
            m_written += static_cast<std::uint64_t>(count);
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }

    bool WriteAllOf(const OpenFile& source) {
        char chunk[kChunkBytes];
        for (;;) {
            const std::ptrdiff_t count = System::Read(source.m_file, chunk, kChunkBytes);
            if (count <= 0)
                return count == 0;
            if (!Write({chunk, static_cast<std::size_t>(count)}))
                return false;
        }
    }

    std::uint64_t WrittenBytes() const { return m_written; }

    bool IsAtEnd() const {
        char next = '\0';
        return System::Read(m_file, &next, 1) == 0;
    }

    bool FlushAndClose() {
        const bool flushed = System::Flush(m_file);
        return Close() && flushed;
    }

private:
    System::File m_file;
    std::uint64_t m_written = 0;
};

// The head while what follows it is not on the medium: nobody who looks for the head finds it.
std::string WithoutItsStart(std::string_view head) {
    std::string hidden(head);
    if (!hidden.empty())
        hidden.front() = '\0';
    return hidden;
}

// Takes back what was added behind the first `size` bytes, unless another program has added something, too.
void TakeBack(const std::wstring& path, std::uint64_t size, std::uint64_t added) {
    const System::FileState state = System::Inspect(path);
    if (state.kind != System::Kind::RegularFile || (state.size > size && state.size - size <= added))
        System::Cut(path, size);
}

bool Append(const std::wstring& link, std::string_view head, const std::wstring& source) {
    const std::wstring path = System::ResolveLinks(link);  // empty, and so no path, when they go in circles
    const System::FileState before = System::Inspect(path);
    if (before.kind == System::Kind::RegularFile ? !before.writable : before.kind != System::Kind::Missing)
        return false;
    if (SamePath(path, source))
        return false;  // it would grow for ever
    OpenFile file(System::OpenForAppending(path));
    if (!file.IsOpen())
        return false;
    OpenFile from(System::OpenForReading(source));
    if (!from.IsOpen())
        return false;
    // The directory also when the file was there before: a program that was stopped may have made it, and
    // then its name is not on the medium yet. The head is begun only when nobody else changed the file, whose
    // bytes might stand in its place, or the source, which might not be whole.
    if (file.Write(WithoutItsStart(head)) && file.WriteAllOf(from) && file.FlushAndClose() &&
        System::FlushDirectory(path) && from.IsAtEnd() &&
        System::Inspect(path).size == before.size + file.WrittenBytes() &&
        System::Overwrite(path, before.size, head.substr(0, 1)))
        return true;
    file.Close();
    TakeBack(path, before.size, file.WrittenBytes());
    return false;
}

}  // namespace

bool AppendFile(const std::wstring& path, std::string_view head, const std::wstring& source) noexcept {
    try {
        return Append(path, head, source);
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace Platform
