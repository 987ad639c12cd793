#include "tests/support/FakeSystem.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <limits>
#include <map>
#include <mutex>
#include <optional>

#include "tests/support/HeapFault.h"
#include "tests/support/RealSystem.h"

namespace {

using Call = FakeSystem::Call;
using Times = FakeSystem::Times;
using Platform::System::File;

constexpr std::size_t kCalls = static_cast<std::size_t>(Call::Cut) + 1;
constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

// Counts down to the call that fails.
struct Countdown {
    int left = 0;  // 0: none fails
    Times times = Times::Once;

    bool Hits() {
        if (left == 0)
            return false;
        if (left > 1) {
            --left;
            return false;
        }
        left = times == Times::FromThenOn ? 1 : 0;
        return true;
    }
};

struct Faults {
    std::array<Countdown, kCalls> kinds;
    Countdown any;
    std::array<std::function<void()>, kCalls> before;
    bool happened = false;
    int blockedRenames = 0;
    bool renamesHeld = false;
    int waitingRenames = 0;
    std::size_t transfer = std::numeric_limits<std::size_t>::max();
    std::uint64_t diskRoom = kUnlimited;
    std::optional<std::uint64_t> size;
    bool refuseStreamWrites = false;
};

struct Records {
    std::array<int, kCalls> counts{};
    std::vector<FakeSystem::Entry> journal;
    std::map<File, std::wstring> openFiles;
    std::vector<FakeSystem::Message> messages;
    std::vector<int> waits;
    std::vector<bool> awakeRequests;
};

struct State {
    bool active = false;
    bool flushesSkipped = false;
    Faults faults;
    std::optional<Platform::SystemTime> time;
    Records records;
};

State state;
std::mutex stateMutex;
std::condition_variable renamesChanged;

// Access to the state, by one thread at a time, whose allocations do not count as those of the code under
// test.
class Access {
public:
    State* operator->() { return &state; }

private:
    HeapFault::Pause m_pause;
    std::lock_guard<std::mutex> m_lock{stateMutex};
};

std::size_t IndexOf(Call call) {
    return static_cast<std::size_t>(call);
}

// Does what was arranged to happen before this call.
void HappenBefore(Call call) {
    const HeapFault::Pause pause;
    std::function<void()> action;
    Access()->faults.before[IndexOf(call)].swap(action);
    if (action)
        action();
}

// Counts a call; true when it is its turn to fail.
bool MustFail(Call call) {
    HappenBefore(call);
    Access access;
    if (!access->active)
        return false;
    ++access->records.counts[IndexOf(call)];
    const bool kindHits = access->faults.kinds[IndexOf(call)].Hits();
    const bool anyHits = access->faults.any.Hits();
    if (!kindHits && !anyHits)
        return false;
    access->faults.happened = true;
    errno = EIO;
    return true;
}

void Record(Call call, const std::wstring& path, bool done, const std::wstring& to = {},
            std::string_view bytes = {}, std::uint64_t place = 0) {
    Access access;
    if (access->active)
        access->records.journal.push_back({call, path, to, std::string(bytes), done, place});
}

void RecordOpened(Call call, const std::wstring& path, File file) {
    Record(call, path, file != Platform::System::kNoFile);
    Access access;
    if (access->active && file != Platform::System::kNoFile)
        access->records.openFiles[file] = path;
}

void RecordOnFile(Call call, File file, bool done, std::string_view bytes = {}) {
    Access access;
    if (access->active)
        access->records.journal.push_back(
            {call, access->records.openFiles[file], {}, std::string(bytes), done, 0});
}

std::size_t TransferLimit(std::size_t size) {
    Access access;
    return std::min(size, access->faults.transfer);
}

// The part of a write that the disk still takes.
std::size_t TakeDiskRoom(std::size_t size) {
    Access access;
    if (access->faults.diskRoom == kUnlimited)
        return size;
    const std::size_t taken =
        static_cast<std::size_t>(std::min<std::uint64_t>(size, access->faults.diskRoom));
    access->faults.diskRoom -= taken;
    return taken;
}

void WaitWhileRenamesAreHeld() {
    const HeapFault::Pause pause;
    std::unique_lock<std::mutex> lock(stateMutex);
    ++state.faults.waitingRenames;
    renamesChanged.notify_all();
    renamesChanged.wait(lock, [] { return !state.faults.renamesHeld; });
    --state.faults.waitingRenames;
}

bool FlushesAreSkipped() {
    return Access()->flushesSkipped;
}

bool OverwriteUnflushed(const std::wstring& path, std::uint64_t place, std::string_view bytes) {
    const HeapFault::Pause pause;
    std::FILE* const file = Platform::RealSystem::OpenStream(path, L"r+b");
    if (file == nullptr)
        return false;
    const bool written = std::fseek(file, static_cast<long>(place), SEEK_SET) == 0 &&
                         std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && written;
}

bool TakeBlockedRename() {
    Access access;
    if (access->faults.blockedRenames == 0)
        return false;
    --access->faults.blockedRenames;
    return true;
}

}  // namespace

// ---- what the tests arrange and ask

FakeSystem::FakeSystem() {
    Access access;
    *access.operator->() = State();
    access->active = true;
}

FakeSystem::~FakeSystem() {
    Access access;
    *access.operator->() = State();
}

void FakeSystem::FailCall(Call call, int n, Times times) {
    Access access;
    access->faults.happened = false;
    access->faults.kinds[IndexOf(call)] = {n, times};
}

void FakeSystem::FailAnyCall(int n, Times times) {
    Access access;
    access->faults.happened = false;
    access->faults.any = {n, times};
}

void FakeSystem::BlockRenames(int count) {
    Access()->faults.blockedRenames = count;
}

void FakeSystem::HoldRenames() {
    Access()->faults.renamesHeld = true;
}

void FakeSystem::AwaitHeldRename() {
    std::unique_lock<std::mutex> lock(stateMutex);
    renamesChanged.wait(lock, [] { return state.faults.waitingRenames != 0; });
}

void FakeSystem::LetRenamesGo() {
    Access()->faults.renamesHeld = false;
    renamesChanged.notify_all();
}

void FakeSystem::BeforeNext(Call call, std::function<void()> action) {
    Access()->faults.before[IndexOf(call)] = std::move(action);
}

void FakeSystem::LimitTransfers(std::size_t bytes) {
    Access()->faults.transfer = bytes;
}

void FakeSystem::FillDiskAfter(std::uint64_t bytes) {
    Access()->faults.diskRoom = bytes;
}

void FakeSystem::ReportSize(std::uint64_t bytes) {
    Access()->faults.size = bytes;
}

void FakeSystem::SkipFlushes() {
    Access()->flushesSkipped = true;
}

void FakeSystem::RefuseStreamWrites() {
    Access()->faults.refuseStreamWrites = true;
}

void FakeSystem::Heal() {
    Access()->faults = Faults();
}

void FakeSystem::SetTime(const Platform::SystemTime& now) {
    Access()->time = now;
}

void FakeSystem::ClearTime() {
    Access()->time.reset();
}

bool FakeSystem::FaultHappened() const {
    return Access()->faults.happened;
}

int FakeSystem::Count(Call call) const {
    return Access()->records.counts[IndexOf(call)];
}

int FakeSystem::CountAll() const {
    Access access;
    int sum = 0;
    for (const int count : access->records.counts)
        sum += count;
    return sum;
}

std::vector<FakeSystem::Entry> FakeSystem::Journal(std::size_t first) const {
    Access access;
    return {access->records.journal.begin() + static_cast<std::ptrdiff_t>(first),
            access->records.journal.end()};
}

std::size_t FakeSystem::JournalSize() const {
    return Access()->records.journal.size();
}

std::vector<FakeSystem::Message> FakeSystem::Messages() const {
    return Access()->records.messages;
}

std::vector<int> FakeSystem::Waits() const {
    return Access()->records.waits;
}

std::vector<bool> FakeSystem::AwakeRequests() const {
    return Access()->records.awakeRequests;
}

// ---- the system that the libraries see

namespace Platform::System {

void* Allocate(std::size_t bytes) noexcept {
    return MustFail(Call::Allocate) ? nullptr : RealSystem::Allocate(bytes);
}

void ReadLocalTime(SystemTime* now) noexcept {
    RealSystem::ReadLocalTime(now);
    Access access;
    if (access->time)
        *now = *access->time;
}

int ShowMessage(void* owner, const wchar_t* text, const wchar_t* caption, unsigned type) noexcept {
    Access access;
    if (access->active)
        access->records.messages.push_back({owner, text, caption, type});
    return 1;
}

void KeepAwake(bool on) noexcept {
    Access access;
    if (access->active)
        access->records.awakeRequests.push_back(on);
}

void Wait(int milliseconds) noexcept {
    {
        Access access;
        if (access->active) {
            access->records.waits.push_back(milliseconds);
            return;
        }
    }
    RealSystem::Wait(milliseconds);
}

std::uint64_t UniqueNumber() noexcept {
    return RealSystem::UniqueNumber();
}

FileState Inspect(const std::wstring& path) noexcept {
    const FileState found = MustFail(Call::Inspect) ? FileState() : RealSystem::Inspect(path);
    Record(Call::Inspect, path, found.kind != Kind::Unknown);
    FileState told = found;
    Access access;
    if (access->faults.size)
        told.size = *access->faults.size;
    return told;
}

std::wstring ResolveLinks(const std::wstring& path) {
    return RealSystem::ResolveLinks(path);
}

File OpenForReading(const std::wstring& path) noexcept {
    const File file = MustFail(Call::OpenForReading) ? kNoFile : RealSystem::OpenForReading(path);
    RecordOpened(Call::OpenForReading, path, file);
    return file;
}

File CreateNew(const std::wstring& path, const std::wstring& like) noexcept {
    const File file = MustFail(Call::CreateNew) ? kNoFile : RealSystem::CreateNew(path, like);
    RecordOpened(Call::CreateNew, path, file);
    return file;
}

File OpenForAppending(const std::wstring& path) noexcept {
    const File file = MustFail(Call::OpenForAppending) ? kNoFile : RealSystem::OpenForAppending(path);
    RecordOpened(Call::OpenForAppending, path, file);
    return file;
}

std::ptrdiff_t Read(File file, char* bytes, std::size_t size) noexcept {
    return MustFail(Call::Read) ? -1 : RealSystem::Read(file, bytes, TransferLimit(size));
}

std::ptrdiff_t Write(File file, const char* bytes, std::size_t size) noexcept {
    std::ptrdiff_t count = -1;
    const bool fails = MustFail(Call::Write);
    const std::size_t room = fails ? 0 : TakeDiskRoom(TransferLimit(size));
    if (room != 0)
        count = RealSystem::Write(file, bytes, room);
    else if (!fails)
        errno = ENOSPC;
    const bool done = count > 0;
    RecordOnFile(Call::Write, file, done, {bytes, done ? static_cast<std::size_t>(count) : 0});
    return count;
}

bool Flush(File file) noexcept {
    const bool done = !MustFail(Call::Flush) && (FlushesAreSkipped() || RealSystem::Flush(file));
    RecordOnFile(Call::Flush, file, done);
    return done;
}

bool Close(File file) noexcept {
    const bool fails = MustFail(Call::Close);
    // Recorded first: as soon as the file is closed, another thread may get its number.
    RecordOnFile(Call::Close, file, !fails);
    return RealSystem::Close(file) && !fails;
}

RenameResult Rename(const std::wstring& from, const std::wstring& to) noexcept {
    WaitWhileRenamesAreHeld();
    RenameResult result = RenameResult::Failed;
    if (!MustFail(Call::Rename))
        result = TakeBlockedRename() ? RenameResult::Blocked : RealSystem::Rename(from, to);
    Record(Call::Rename, from, result == RenameResult::Done, to);
    return result;
}

bool Remove(const std::wstring& path) noexcept {
    const bool done = !MustFail(Call::Remove) && RealSystem::Remove(path);
    Record(Call::Remove, path, done);
    return done;
}

bool FlushDirectory(const std::wstring& fileInIt) noexcept {
    const bool done =
        !MustFail(Call::FlushDirectory) && (FlushesAreSkipped() || RealSystem::FlushDirectory(fileInIt));
    Record(Call::FlushDirectory, fileInIt, done);
    return done;
}

std::FILE* OpenStream(const std::wstring& path, const wchar_t* mode) noexcept {
    std::FILE* stream = nullptr;
    if (!MustFail(Call::OpenStream)) {
        stream = RealSystem::OpenStream(path, mode);
        const bool refuses = Access()->faults.refuseStreamWrites;
        if (stream != nullptr && refuses) {
            std::fclose(stream);
            stream = RealSystem::OpenStream(path, L"rb");
        }
    }
    Record(Call::OpenStream, path, stream != nullptr);
    return stream;
}

bool FlushStream(std::FILE* stream) noexcept {
    const bool done = !MustFail(Call::FlushStream) && RealSystem::FlushStream(stream);
    Record(Call::FlushStream, L"", done);
    return done;
}

bool Overwrite(const std::wstring& path, std::uint64_t place, std::string_view bytes) noexcept {
    const bool done =
        !MustFail(Call::Overwrite) && (FlushesAreSkipped() ? OverwriteUnflushed(path, place, bytes)
                                                           : RealSystem::Overwrite(path, place, bytes));
    Record(Call::Overwrite, path, done, {}, bytes, place);
    return done;
}

bool Cut(const std::wstring& path, std::uint64_t size) noexcept {
    const bool done = !MustFail(Call::Cut) && RealSystem::Cut(path, size);
    Record(Call::Cut, path, done, {}, {}, size);
    return done;
}

}  // namespace Platform::System
