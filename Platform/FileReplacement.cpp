// Replacing a file in one step, and telling whether two paths mean the same file. Owns the rule that a path
// holds either the whole old file or the whole new one at every moment, and that a failed replacement leaves
// nothing behind. What the single calls do on a system is that system's unit.
#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "Platform/Platform.h"
#include "Platform/System.h"

namespace Platform {
namespace {

constexpr std::size_t kBufferBytes =
    std::size_t{256} * 1024;  // one write of this size costs no more per byte than a larger one
constexpr std::size_t kSmallBufferBytes = std::size_t{16} * 1024;  // enough for most files of a terminal
constexpr int kNameTries = 100;      // names of temporary files left behind by power cuts are passed over
constexpr int kRenameTries = 13;     // with the waits between them: about two seconds
constexpr int kRenameWaitStep = 25;  // milliseconds by which each wait is longer than the one before

// Short and of one length, so that it fits into every directory that holds a file of any name.
std::wstring TemporaryName() {
    std::wstring name = L"~0123456789abcdef.tmp";
    std::uint64_t number = System::UniqueNumber();
    for (std::size_t i = 16; i > 0; --i, number >>= 4)
        name[i] = L"0123456789abcdef"[number & 0xF];
    return name;
}

// A new file beside the one that it is to replace. It is removed again unless it was put in place.
class NewFile {
public:
    explicit NewFile(const std::wstring& target) : m_target(target) {}
    ~NewFile() {
        if (m_file != System::kNoFile)
            System::Close(m_file);
        // Once more, for a program that looked at the file just then.
        if (m_exists && !System::Remove(m_path))
            System::Remove(m_path);
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    bool Create() {
        const std::wstring directory = m_target.substr(0, System::NamePosition(m_target));
        for (int tries = 0; tries < kNameTries; ++tries) {
            m_path = directory + TemporaryName();
            m_file = System::CreateNew(m_path, m_target);
            m_exists = m_file != System::kNoFile;
            if (m_exists || System::Inspect(m_path).kind == System::Kind::Missing)
                return m_exists;
        }
        return false;
    }

    bool Write(std::string_view bytes) {
        while (!bytes.empty()) {
            const std::ptrdiff_t count = System::Write(m_file, bytes.data(), bytes.size());
            if (count <= 0)
                return false;
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }

    bool FlushAndClose() {
        const bool flushed = System::Flush(m_file);
        const bool closed = System::Close(m_file);
        m_file = System::kNoFile;
        return flushed && closed;
    }

    bool PutInPlace() {
        for (int tries = 1;; ++tries) {
            const System::RenameResult result = System::Rename(m_path, m_target);
            m_exists = result != System::RenameResult::Done;
            if (result != System::RenameResult::Blocked || tries == kRenameTries)
                return !m_exists;
            System::Wait(tries * kRenameWaitStep);
        }
    }

private:
    const std::wstring& m_target;
    std::wstring m_path;
    System::File m_file = System::kNoFile;
    bool m_exists = false;
};

// Gathers small pieces into large writes.
class Gatherer final : public TextSink {
public:
    explicit Gatherer(NewFile* file) : m_file(file) {}

    // Writes what was gathered.
    bool Finish() {
        const bool written = m_file->Write({m_buffer.get(), Gathered()});
        GatherAt(m_buffer.get(), m_size);
        return written;
    }

private:
    std::size_t Gathered() const { return m_size - Room(); }

    bool TakeMore(std::string_view piece) override {
        const std::size_t needed = Gathered() + piece.size();
        if (needed <= kBufferBytes)
            Grow(needed);
        if (piece.size() > Room() && !Finish())
            return false;
        return piece.size() > Room() ? m_file->Write(piece) : Take(piece);
    }

    // Without memory the buffer stays as small as it is: a save is slower then, but none fails for it.
    void Grow(std::size_t needed) {
        const std::size_t gathered = Gathered();
        const std::size_t size = needed <= kSmallBufferBytes ? kSmallBufferBytes : kBufferBytes;
        std::unique_ptr<char[]> buffer(new (std::nothrow) char[size]);
        if (buffer == nullptr)
            return;
        std::copy(m_buffer.get(), m_buffer.get() + gathered, buffer.get());
        m_buffer = std::move(buffer);
        m_size = size;
        GatherAt(m_buffer.get() + gathered, size - gathered);
    }

    NewFile* m_file;
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_size = 0;
};

bool WriteAll(NewFile* file, const TextPieces& content) {
    Gatherer gatherer(file);
    return content.HandTo(gatherer) && gatherer.Finish();
}

bool MayReplace(const std::wstring& target) {
    const System::FileState state = System::Inspect(target);
    if (state.kind == System::Kind::RegularFile)
        return state.writable;
    return state.kind == System::Kind::Missing;
}

bool Replace(const std::wstring& path, const TextPieces& content) {
    const std::wstring target = System::ResolveLinks(path);  // empty, and so no path, when they go in circles
    if (!MayReplace(target))
        return false;
    NewFile file(target);
    return file.Create() && WriteAll(&file, content) && file.FlushAndClose() && file.PutInPlace() &&
           System::FlushDirectory(target);
}

bool SameFile(const System::FileState& first, const System::FileState& second) {
    return first.volume == second.volume && first.number == second.number;
}

bool HasNumber(const System::FileState& state) {
    return state.volume != 0 || state.number != 0;
}

System::FileState InspectDirectory(const std::wstring& path, std::size_t namePosition) {
    return System::Inspect(namePosition == 0 ? std::wstring(L".") : path.substr(0, namePosition));
}

// Compares paths behind which nothing is yet: the same name in the same directory.
bool SamePlace(const std::wstring& first, const std::wstring& second) {
    if (System::SameLetters(first, second))
        return true;
    const std::size_t firstName = System::NamePosition(first);
    const std::size_t secondName = System::NamePosition(second);
    if (!System::SameLetters(std::wstring_view(first).substr(firstName),
                             std::wstring_view(second).substr(secondName)))
        return false;
    const System::FileState firstDirectory = InspectDirectory(first, firstName);
    const System::FileState secondDirectory = InspectDirectory(second, secondName);
    return HasNumber(firstDirectory) && HasNumber(secondDirectory) &&
           SameFile(firstDirectory, secondDirectory);
}

}  // namespace

bool ReplaceFile(const std::wstring& path, const TextPieces& content) noexcept {
    try {
        return Replace(path, content);
    } catch (const std::exception&) {
        return false;
    }
}

bool SamePath(const std::wstring& first, const std::wstring& second) {
    const System::FileState firstFile = System::Inspect(first);
    const System::FileState secondFile = System::Inspect(second);
    if (HasNumber(firstFile) && HasNumber(secondFile))
        return SameFile(firstFile, secondFile);
    const std::wstring firstTarget = System::ResolveLinks(first);
    const std::wstring secondTarget = System::ResolveLinks(second);
    if (firstTarget.empty() || secondTarget.empty())
        return first == second;
    return SamePlace(firstTarget, secondTarget);
}

}  // namespace Platform
