// The platform calls but the replacement of files: text, formatting, paths, loading, streams, time, messages,
// memory.
#include "Platform/Platform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <clocale>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <new>
#include <thread>

#include "Platform/System.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"
#include "tests/support/Host.h"
#include "tests/support/Pieces.h"
#include "tests/support/TestFolder.h"
#include "tests/support/WideText.h"

namespace fs = std::filesystem;
using Platform::LoadResult;

// The real system, which the fake one is laid over.
namespace Platform::RealSystem {
void Wait(int milliseconds) noexcept;
}  // namespace Platform::RealSystem

// ---- text

TEST(Text, StaysInsideTheRoomThatItIsGiven) {
    GuardedBuffer<wchar_t> wide(3);
    EXPECT_EQ(Platform::System::Widen("abcdef", wide.Data(), 3), 3u);
    EXPECT_EQ(std::wstring(wide.Data(), 3), L"abc");
    GuardedBuffer narrow(3);
    EXPECT_EQ(Platform::System::Narrow(L"", narrow.Data(), 3), 0u);
    EXPECT_TRUE(narrow.Untouched());
}

// ---- formatting

namespace {

// The formatted text, checked against its length and the limit of the buffer.
template <typename... Arguments>
std::wstring Format(const wchar_t* format, Arguments... arguments) {
    GuardedBuffer<wchar_t> buffer(static_cast<int>(Platform::kFormattedChars) + 1);
    const int count = Platform::wsprintfW(buffer.Data(), format, arguments...);
    EXPECT_EQ(static_cast<std::size_t>(count), buffer.Text().size());
    return buffer.Text();
}

}  // namespace

TEST(WideFormat, CopiesPlainText) {
    EXPECT_EQ(Format(L""), L"");
    EXPECT_EQ(Format(L"\\data\\route.ini"), L"\\data\\route.ini");
}

TEST(WideFormat, InsertsTexts) {
    EXPECT_EQ(Format(L"%s\\%s", L"\\app", L"a.ini"), L"\\app\\a.ini");
    EXPECT_EQ(Format(L"%s\\%S", L"\\app", "a.ini"), L"\\app\\a.ini");
    EXPECT_EQ(Format(L"[%5s][%5S]", L"ab", "cd"), L"[   ab][   cd]");
    EXPECT_EQ(Format(L"[%2s][%2S]", L"abc", "def"), L"[abc][def]");
    EXPECT_EQ(Format(L"[%s][%S]", L"", ""), L"[][]");
    EXPECT_EQ(Format(L"%c%3c", L'x', L'y'), L"x  y");
}

TEST(WideFormat, NullTextsCountAsEmpty) {
    EXPECT_EQ(Format(L"[%s][%S][%2s]", static_cast<const wchar_t*>(nullptr),
                     static_cast<const char*>(nullptr), static_cast<const wchar_t*>(nullptr)),
              L"[][][  ]");
}

TEST(WideFormat, InsertsNumbers) {
    struct Row {
        const wchar_t* format;
        int number;
        const wchar_t* text;
    };
    const Row rows[] = {
        {L"%i", 0, L"0"},
        {L"%d", 42, L"42"},
        {L"%i", -42, L"-42"},
        {L"%5i", 42, L"   42"},
        {L"%5i", -42, L"  -42"},
        {L"%05i", 42, L"00042"},
        {L"%05d", -42, L"-0042"},
        {L"%02i", 7, L"07"},
        {L"%02i", 123, L"123"},
        {L"%01i", 5, L"5"},
        {L"%i", INT_MAX, L"2147483647"},
        {L"%i", INT_MIN, L"-2147483648"},
        {L"%012i", INT_MIN, L"-02147483648"},
        {L"%u", -1, L"4294967295"},
        {L"%03u", 7, L"007"},
        {L"%12u", 42, L"          42"},
        {L"%0i", -3, L"-3"},
        {L"#%i_", 3, L"#3_"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Format(row.format, row.number), row.text);
}

TEST(WideFormat, KeepsPercentSigns) {
    EXPECT_EQ(Format(L"100 %%"), L"100 %");
    EXPECT_EQ(Format(L"%%i"), L"%i");
    EXPECT_EQ(Format(L"%i%%", 7), L"7%");
    EXPECT_EQ(Format(L"end %"), L"end ");
    EXPECT_EQ(Format(L"end %05"), L"end ");
}

TEST(WideFormat, TakesItsArgumentsInOrder) {
    EXPECT_EQ(Format(L"%i %s %u %S %c", -1, L"b", 3u, "d", L'e'), L"-1 b 3 d e");
}

TEST(WideFormat, CutsAtItsLimit) {
    const std::size_t limit = Platform::kFormattedChars;
    for (const std::size_t length : {limit - 1, limit, limit + 1, 5 * limit}) {
        const std::wstring wide(length, L'w');
        const std::string narrow(length, 'n');
        const std::size_t kept = std::min(length, limit);
        EXPECT_EQ(Format(L"%s", wide.c_str()), wide.substr(0, kept)) << length;
        EXPECT_EQ(Format(L"%S", narrow.c_str()), std::wstring(kept, L'n')) << length;
        EXPECT_EQ(Format(wide.c_str()), wide.substr(0, kept)) << length;
    }
    EXPECT_EQ(Format(L"%s%i", std::wstring(limit - 2, L'w').c_str(), 1234),
              std::wstring(limit - 2, L'w') + L"12");
    EXPECT_EQ(Format(L"%99999999999999999999i", 7), std::wstring(limit, L' '));
}

TEST(WideFormat, NeedsNoMemory) {
    wchar_t text[Platform::kFormattedChars + 1];
    const HeapFault fault(1, HeapFault::Times::FromThenOn);
    Platform::wsprintfW(text, L"%s\\%S", L"a directory whose name is long", "a file whose name is long");
    EXPECT_STREQ(text, L"a directory whose name is long\\a file whose name is long");
}

// ---- paths

TEST(Paths, ASeparatorInFrontMakesAPathAbsolute) {
    EXPECT_TRUE(Platform::IsAbsolutePath(L"\\"));
    EXPECT_TRUE(Platform::IsAbsolutePath(L"\\data\\a.ini"));
    EXPECT_TRUE(Platform::IsAbsolutePath(L"\\\\server\\share\\a.ini"));
    EXPECT_FALSE(Platform::IsAbsolutePath(L""));
    EXPECT_FALSE(Platform::IsAbsolutePath(L"a.ini"));
    EXPECT_FALSE(Platform::IsAbsolutePath(L"data\\a.ini"));
    EXPECT_FALSE(Platform::IsAbsolutePath(L".\\a.ini"));
    EXPECT_FALSE(Platform::IsAbsolutePath(L":"));
}

TEST(Paths, TheLastNameBeginsBehindTheLastSeparator) {
    using Platform::System::NamePosition;
    EXPECT_EQ(NamePosition(L""), 0u);
    EXPECT_EQ(NamePosition(L"a.ini"), 0u);
    EXPECT_EQ(NamePosition(L"\\a.ini"), 1u);
    EXPECT_EQ(NamePosition(L"d\\e/a.ini"), 4u);
    EXPECT_EQ(NamePosition(L"d\\"), 2u);
}

TEST(Paths, FilesExistButDirectoriesDoNotCount) {
    const TestFolder folder;
    folder.Write("a.ini", "");
    fs::create_directory(folder.Path() / "sub");
    EXPECT_TRUE(Platform::FileExists(folder.Wide("a.ini").c_str()));
    EXPECT_FALSE(Platform::FileExists(folder.Wide("b.ini").c_str()));
    EXPECT_FALSE(Platform::FileExists(folder.Wide("sub").c_str()));
    EXPECT_FALSE(Platform::FileExists(folder.Wide("sub\\c.ini").c_str()));
    EXPECT_FALSE(Platform::FileExists(folder.Wide("a.ini\\c.ini").c_str()));
    EXPECT_FALSE(Platform::FileExists(L""));
    EXPECT_FALSE(Platform::FileExists(nullptr));
}

TEST(Paths, BothSeparatorsWork) {
    const TestFolder folder;
    fs::create_directory(folder.Path() / "sub");
    folder.Write("sub/a.ini", "x");
    EXPECT_TRUE(Platform::FileExists((folder.Wide() + L"\\sub\\a.ini").c_str()));
    EXPECT_TRUE(Platform::FileExists((folder.Wide() + L"/sub/a.ini").c_str()));
}

TEST(Load, NothingIsReadOfAFileThatIsTooLarge) {
    const TestFolder folder;
    folder.Write("a.ini", "0123456789");
    Platform::FileBytes bytes;
    EXPECT_EQ(Platform::LoadFile(folder.Wide("a.ini"), &bytes, 10), LoadResult::Loaded);
    EXPECT_EQ(bytes.size, 10U);
    FakeSystem system;
    EXPECT_EQ(Platform::LoadFile(folder.Wide("a.ini"), &bytes, 9), LoadResult::Unreadable);
    EXPECT_EQ(bytes.size, 0U);
    EXPECT_EQ(system.Count(FakeSystem::Call::Read), 0);
    system.ReportSize(5);
    EXPECT_EQ(Platform::LoadFile(folder.Wide("a.ini"), &bytes, 9), LoadResult::Unreadable)
        << "it has grown since";
    EXPECT_EQ(bytes.size, 0U);
}

TEST(Paths, APathWithAZeroInItNamesNoFile) {
    const TestFolder folder;
    folder.Write("a.ini", "x");
    const std::wstring path = folder.Wide("a.ini") + Wide({0}) + L".bak";
    Platform::FileBytes bytes;
    EXPECT_EQ(Platform::LoadFile(path, &bytes), LoadResult::Unreadable);
    EXPECT_FALSE(ReplaceFile(path, {"new"}));
    EXPECT_EQ(folder.Read("a.ini"), "x");
}

TEST(DeleteFile, RemovesFilesAlone) {
    const TestFolder folder;
    folder.Write("a.ini", "x");
    fs::create_directory(folder.Path() / "sub");
    EXPECT_TRUE(Platform::DeleteFileW(folder.Wide("a.ini").c_str()));
    EXPECT_FALSE(folder.Exists("a.ini"));
    EXPECT_FALSE(Platform::DeleteFileW(folder.Wide("a.ini").c_str()));
    EXPECT_FALSE(Platform::DeleteFileW(folder.Wide("sub").c_str()));
    EXPECT_TRUE(folder.Exists("sub"));
    EXPECT_FALSE(Platform::DeleteFileW(L""));
    EXPECT_FALSE(Platform::DeleteFileW(nullptr));
}

TEST(DeleteFile, FailsWhenTheSystemRefuses) {
    const TestFolder folder;
    folder.Write("a.ini", "x");
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Remove, 1);
    EXPECT_FALSE(Platform::DeleteFileW(folder.Wide("a.ini").c_str()));
    EXPECT_TRUE(folder.Exists("a.ini"));
    EXPECT_TRUE(Platform::DeleteFileW(folder.Wide("a.ini").c_str()));
}

// ---- loading

namespace {

// Loads a file; the bytes are empty for every result but Loaded.
LoadResult Load(const std::wstring& path, std::string* bytes) {
    Platform::FileBytes loaded;
    const LoadResult result = Platform::LoadFile(path, &loaded);
    bytes->clear();
    if (result == LoadResult::Loaded)
        bytes->assign(loaded.data.get(), loaded.size);
    else
        EXPECT_TRUE(loaded.data == nullptr && loaded.size == 0);
    return result;
}

std::string ManyBytes(std::size_t size) {
    std::string bytes(size, '\0');
    std::uint32_t state = 12345;
    for (char& byte : bytes)
        byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    return bytes;
}

}  // namespace

TEST(LoadFile, GivesEveryByteAsItIs) {
    const TestFolder folder;
    const std::string all = ManyBytes(4096) + std::string("\0\r\n\n\r\xFF", 6);
    std::string bytes;
    for (const std::string& content :
         {std::string(), std::string(1, '\0'), all, ManyBytes(3 * 1024 * 1024 + 1)}) {
        folder.Write("a.ini", content);
        EXPECT_EQ(Load(folder.Wide("a.ini"), &bytes), LoadResult::Loaded);
        EXPECT_TRUE(bytes == content) << content.size();
    }
}

TEST(LoadFile, ReadsAFileInOneGo) {
    const TestFolder folder;
    folder.Write("a.ini", ManyBytes(1024 * 1024));
    std::string bytes;
    const FakeSystem system;
    EXPECT_EQ(Load(folder.Wide("a.ini"), &bytes), LoadResult::Loaded);
    EXPECT_EQ(system.Count(FakeSystem::Call::Read), 2) << "one for the bytes, one that finds the end";
    EXPECT_EQ(system.Count(FakeSystem::Call::Close), 1);
}

TEST(LoadFile, TellsOfEachPartThatWasRead) {
    const TestFolder folder;
    const std::string content = ManyBytes(1024 * 1024 + 7);
    folder.Write("a.ini", content);
    Platform::FileBytes bytes;
    std::size_t told = 0;
    const auto read = [&](std::string_view all, std::size_t expected) {
        EXPECT_EQ(expected, content.size());
        EXPECT_GT(all.size(), told);
        EXPECT_LE(all.size(), told + 256 * 1024) << "more would not stay in the processor's caches";
        EXPECT_TRUE(all == std::string_view(content).substr(0, all.size()));
        told = all.size();
        return true;
    };
    EXPECT_EQ(Platform::LoadFile(folder.Wide("a.ini"), &bytes, content.size(), read), LoadResult::Loaded);
    EXPECT_EQ(told, content.size());
}

TEST(LoadFile, EndsWhenWhatWasReadIsRefused) {
    const TestFolder folder;
    folder.Write("a.ini", ManyBytes(1024 * 1024));
    Platform::FileBytes bytes;
    for (int most = 1; most <= 4; ++most) {
        int parts = 0;
        const auto read = [&](std::string_view, std::size_t) { return ++parts < most; };
        EXPECT_EQ(Platform::LoadFile(folder.Wide("a.ini"), &bytes, PTRDIFF_MAX - 1, read),
                  LoadResult::Unreadable);
        EXPECT_EQ(parts, most);
        EXPECT_TRUE(bytes.data == nullptr && bytes.size == 0);
    }
}

TEST(LoadFile, MissingIsWhatTheSystemSaysIsMissing) {
    const TestFolder folder;
    folder.Write("a.ini", "x");
    std::string bytes;
    EXPECT_EQ(Load(folder.Wide("none.ini"), &bytes), LoadResult::Missing);
    EXPECT_EQ(Load(folder.Wide("none\\a.ini"), &bytes), LoadResult::Missing);
    EXPECT_EQ(Load(folder.Wide("a.ini\\a.ini"), &bytes), LoadResult::Missing);
}

TEST(LoadFile, WhatIsNoFileIsUnreadable) {
    const TestFolder folder;
    fs::create_directory(folder.Path() / "sub");
    std::string bytes;
    EXPECT_EQ(Load(folder.Wide("sub"), &bytes), LoadResult::Unreadable);
    EXPECT_EQ(Load(folder.Wide(), &bytes), LoadResult::Unreadable);
    EXPECT_EQ(Load(L"", &bytes), LoadResult::Unreadable);
}

TEST(LoadFile, ANameThatIsTooLongIsUnreadable) {
    const TestFolder folder;
    std::string bytes;
    EXPECT_EQ(Load(folder.Wide(std::string(400, 'n')), &bytes), LoadResult::Unreadable);
}

TEST(LoadFile, FollowsLinks) {
    const TestFolder folder;
    folder.Write("a.ini", "x");
    if (!Host::MakeLink("a.ini", folder.Path() / "link"))
        GTEST_SKIP() << "no links here";
    ASSERT_TRUE(Host::MakeLink("none.ini", folder.Path() / "dangling") &&
                Host::MakeLink("circle", folder.Path() / "circle"));
    std::string bytes;
    EXPECT_EQ(Load(folder.Wide("link"), &bytes), LoadResult::Loaded);
    EXPECT_EQ(bytes, "x");
    EXPECT_EQ(Load(folder.Wide("dangling"), &bytes), LoadResult::Missing);
    EXPECT_EQ(Load(folder.Wide("circle"), &bytes), LoadResult::Unreadable);
}

TEST(LoadFile, EveryFailureOnTheWayIsUnreadable) {
    const TestFolder folder;
    folder.Write("a.ini", "text");
    std::string bytes;
    using Call = FakeSystem::Call;
    for (const Call call : {Call::Inspect, Call::OpenForReading, Call::Read}) {
        FakeSystem system;
        system.FailCall(call, 1);
        EXPECT_EQ(Load(folder.Wide("a.ini"), &bytes), LoadResult::Unreadable);
        EXPECT_EQ(system.Count(Call::Close), call == Call::Read ? 1 : 0);
    }
    FakeSystem system;
    system.FailCall(Call::Read, 2);
    EXPECT_EQ(Load(folder.Wide("a.ini"), &bytes), LoadResult::Unreadable) << "half a file is none";
    system.FailCall(Call::Close, 1);
    EXPECT_EQ(Load(folder.Wide("a.ini"), &bytes), LoadResult::Loaded) << "the bytes were there";
    EXPECT_EQ(bytes, "text");
}

TEST(LoadFile, WithoutMemoryForItsPathAFileIsNotTakenForMissing) {
    const TestFolder folder;
    folder.Write("a.ini", "text");
    for (const std::wstring& path : {folder.Wide("a.ini"), folder.Wide(std::string(60, '\\') + "a.ini")}) {
        Platform::FileBytes bytes;
        const HeapFault fault(1, HeapFault::Times::FromThenOn);
        const LoadResult result = Platform::LoadFile(path, &bytes);
        const HeapFault::Pause pause;
        EXPECT_NE(result, LoadResult::Missing);
    }
}

TEST(LoadFile, CopesWithShortReads) {
    const TestFolder folder;
    const std::string content = ManyBytes(10000);
    folder.Write("a.ini", content);
    FakeSystem system;
    std::string bytes;
    for (const std::size_t limit : {1u, 7u, 4096u}) {
        system.LimitTransfers(limit);
        EXPECT_EQ(Load(folder.Wide("a.ini"), &bytes), LoadResult::Loaded);
        EXPECT_TRUE(bytes == content) << limit;
    }
}

TEST(LoadFile, TakesTheFileAsItIsWhenItGrewOrShrank) {
    const TestFolder folder;
    const std::string content = ManyBytes(100000);
    folder.Write("a.ini", content);
    FakeSystem system;
    std::string bytes;
    for (const std::uint64_t size : {0u, 1u, 99999u, 100000u, 100001u, 5000000u}) {
        system.ReportSize(size);
        EXPECT_EQ(Load(folder.Wide("a.ini"), &bytes), LoadResult::Loaded);
        EXPECT_TRUE(bytes == content) << size;
    }
}

TEST(LoadFile, AFileThatGrewIsReadWholeOrNotAtAllWithoutMemory) {
    const TestFolder folder;
    const std::string content = ManyBytes(100000);
    folder.Write("a.ini", content);
    const std::wstring path = folder.Wide("a.ini");
    FakeSystem system;
    system.ReportSize(1);
    bool failed = true;
    for (int n = 1; failed; ++n) {
        Platform::FileBytes bytes;
        LoadResult result = LoadResult::Missing;
        failed = FailAllocation(n, [&] { result = Platform::LoadFile(path, &bytes); });
        EXPECT_EQ(result, failed ? LoadResult::Unreadable : LoadResult::Loaded) << n;
        EXPECT_TRUE(failed || std::string(bytes.data.get(), bytes.size) == content);
    }
}

TEST(LoadFile, AFileThatDoesNotFitIntoMemoryIsUnreadable) {
    const TestFolder folder;
    folder.Write("a.ini", "text");
    FakeSystem system;
    std::string bytes;
    // PTRDIFF_MAX bytes and a terminator are more than any block may have, also where addresses have 32 bits.
    const std::uint64_t sizes[] = {PTRDIFF_MAX, std::uint64_t{1} << 55, INT64_MAX - 1,
                                   INT64_MAX,   UINT64_MAX - 1,         UINT64_MAX};
    for (const std::uint64_t size : sizes) {
        system.ReportSize(size);
        EXPECT_EQ(Load(folder.Wide("a.ini"), &bytes), LoadResult::Unreadable) << size;
    }
}

// ---- streams

namespace {

void Put(std::FILE* stream, std::string_view bytes) {
    EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), stream), bytes.size());
}

}  // namespace

TEST(Stream, OpensByItsMode) {
    const TestFolder folder;
    const std::wstring path = folder.Wide("raw.dat");
    EXPECT_EQ(Platform::_wfopen(path.c_str(), L"rb"), nullptr);
    EXPECT_EQ(Platform::_wfopen(path.c_str(), L"r+b"), nullptr);
    std::FILE* stream = Platform::_wfopen(path.c_str(), L"wb");
    ASSERT_NE(stream, nullptr);
    Put(stream, "a\r\nb\n");
    EXPECT_EQ(std::fclose(stream), 0);
    EXPECT_EQ(folder.Read("raw.dat"), "a\r\nb\n");
    stream = Platform::_wfopen(path.c_str(), L"r+b");
    ASSERT_NE(stream, nullptr);
    Put(stream, "A");
    EXPECT_EQ(std::fclose(stream), 0);
    EXPECT_EQ(folder.Read("raw.dat"), "A\r\nb\n");
}

TEST(Stream, RefusesWhatIsNoFile) {
    const TestFolder folder;
    EXPECT_EQ(Platform::_wfopen(folder.Wide().c_str(), L"rb"), nullptr);
    EXPECT_EQ(Platform::_wfopen(folder.Wide("none\\raw.dat").c_str(), L"wb"), nullptr);
    EXPECT_EQ(Platform::_wfopen(L"", L"wb"), nullptr);
    EXPECT_EQ(Platform::_wfopen(nullptr, L"wb"), nullptr);
}

TEST(Stream, StepsBack) {
    const TestFolder folder;
    folder.Write("raw.dat", "abcdef");
    std::FILE* stream = Platform::_wfopen(folder.Wide("raw.dat").c_str(), L"rb");
    ASSERT_NE(stream, nullptr);
    char bytes[8] = "";
    EXPECT_EQ(std::fread(bytes, 1, sizeof bytes, stream), 6U);
    EXPECT_TRUE(Platform::StepBack(stream, 2));
    EXPECT_EQ(std::fgetc(stream), 'e');
    EXPECT_TRUE(Platform::StepBack(stream, 0));
    EXPECT_EQ(std::fgetc(stream), 'f');
    EXPECT_FALSE(Platform::StepBack(stream, 7));
    EXPECT_TRUE(Platform::StepBack(stream, 6));
    EXPECT_EQ(std::fgetc(stream), 'a');
    std::fclose(stream);
}

TEST(Stream, StepsBackBeyondTwoGigabytes) {
    const TestFolder folder;
    std::error_code refused;
    folder.Write("raw.dat", "");
    fs::resize_file(folder.Path() / "raw.dat", std::uintmax_t{5} << 30, refused);
    if (refused)
        GTEST_SKIP() << "the medium has no files of that size";
    std::FILE* stream = Platform::_wfopen(folder.Wide("raw.dat").c_str(), L"r+b");
    ASSERT_NE(stream, nullptr);
    // A place behind the end, and from there on only steps back.
    ASSERT_EQ(std::fseek(stream, 0, SEEK_END), 0);
    Put(stream, "abcdef");
    EXPECT_TRUE(Platform::StepBack(stream, 3));
    EXPECT_EQ(std::fgetc(stream), 'd');
    EXPECT_TRUE(Platform::StepBack(stream, (std::uint64_t{5} << 30) + 4));
    EXPECT_FALSE(Platform::StepBack(stream, 1));
    std::fclose(stream);
}

TEST(Stream, FlushBringsTheBytesToTheFile) {
    const TestFolder folder;
    std::FILE* stream = Platform::_wfopen(folder.Wide("raw.dat").c_str(), L"wb");
    ASSERT_NE(stream, nullptr);
    Put(stream, "block");
    EXPECT_TRUE(Platform::FlushStream(stream));
    EXPECT_EQ(folder.Read("raw.dat"), "block");
    FakeSystem system;
    system.FailCall(FakeSystem::Call::FlushStream, 1);
    EXPECT_FALSE(Platform::FlushStream(stream));
    std::fclose(stream);
}

TEST(Stream, FlushTellsOfAWriteThatFailed) {
    const TestFolder folder;
    folder.Write("raw.dat", "old");
    FakeSystem system;
    system.RefuseStreamWrites();
    std::FILE* stream = Platform::_wfopen(folder.Wide("raw.dat").c_str(), L"r+b");
    ASSERT_NE(stream, nullptr);
    static_cast<void>(std::fwrite("new", 1, 3, stream));
    EXPECT_FALSE(Platform::FlushStream(stream));
    std::fclose(stream);
    EXPECT_EQ(folder.Read("raw.dat"), "old");
}

// ---- memory, time, messages

TEST(LocalHeap, GivesBlocksUntilThereAreNone) {
    void* block = Platform::LocalAlloc(0, 100);
    ASSERT_NE(block, nullptr);
    std::memset(block, 1, 100);
    EXPECT_EQ(Platform::LocalFree(block), nullptr);
    EXPECT_EQ(Platform::LocalFree(nullptr), nullptr);
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Allocate, 2);
    block = Platform::LocalAlloc(0, 1);
    EXPECT_NE(block, nullptr);
    EXPECT_EQ(Platform::LocalAlloc(0, 1), nullptr);
    Platform::LocalFree(block);
}

TEST(LocalTime, IsTheTimeOnTheWall) {
    Platform::SystemTime now{};
    std::time_t before = 0;
    std::time_t after = 0;
    do {  // within one second
        before = std::time(nullptr);
        Platform::GetLocalTime(&now);
        after = std::time(nullptr);
    } while (before != after);
    const std::tm wall = *std::localtime(&before);
    EXPECT_EQ(now.wYear, wall.tm_year + 1900);
    EXPECT_EQ(now.wMonth, wall.tm_mon + 1);
    EXPECT_EQ(now.wDay, wall.tm_mday);
    EXPECT_EQ(now.wDayOfWeek, wall.tm_wday);
    EXPECT_EQ(now.wHour, wall.tm_hour);
    EXPECT_EQ(now.wMinute, wall.tm_min);
    EXPECT_EQ(now.wSecond, wall.tm_sec);
    EXPECT_LT(now.wMilliseconds, 1000);
}

TEST(Wait, LastsAsLongAsItSays) {
    const auto start = std::chrono::steady_clock::now();
    Platform::RealSystem::Wait(20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(19));
}

// ---- the system of the tests itself

TEST(FakeSystem, RecordsMessagesWaitsAndRequestsToStayAwake) {
    const FakeSystem system;
    int owner = 0;
    EXPECT_EQ(Platform::MessageBoxW(&owner, L"text", L"caption", 0), 1);
    Platform::System::Wait(25);
    Platform::KeepAwake(true);
    Platform::KeepAwake(false);
    ASSERT_EQ(system.Messages().size(), 1u);
    EXPECT_EQ(system.Messages()[0].text, L"text");
    EXPECT_EQ(system.Messages()[0].caption, L"caption");
    EXPECT_EQ(system.Messages()[0].owner, &owner);
    EXPECT_EQ(system.Messages()[0].type, 0u);
    EXPECT_EQ(system.Waits(), std::vector<int>{25});
    EXPECT_EQ(system.AwakeRequests(), (std::vector<bool>{true, false}));
}

TEST(FakeSystem, StopsTheClock) {
    const Platform::SystemTime fixed = {2010, 3, 5, 12, 23, 59, 58, 999};
    Platform::SystemTime now{};
    FakeSystem system;
    system.SetTime(fixed);
    Platform::GetLocalTime(&now);
    EXPECT_EQ(std::memcmp(&now, &fixed, sizeof(now)), 0);
    system.ClearTime();
    Platform::GetLocalTime(&now);
    EXPECT_NE(now.wYear, fixed.wYear);
}

TEST(FakeSystem, IsWholeAgainForTheNextTest) {
    {
        FakeSystem system;
        system.FailAnyCall(1, FakeSystem::Times::FromThenOn);
        system.SetTime({2010, 3, 5, 12, 23, 59, 58, 999});
        EXPECT_EQ(Platform::LocalAlloc(0, 1), nullptr);
        EXPECT_EQ(Platform::LocalAlloc(0, 1), nullptr);
        EXPECT_TRUE(system.FaultHappened());
        EXPECT_EQ(system.CountAll(), 2);
    }
    void* block = Platform::LocalAlloc(0, 1);
    EXPECT_NE(block, nullptr);
    Platform::LocalFree(block);
    const FakeSystem next;
    EXPECT_EQ(next.CountAll(), 0);
    EXPECT_FALSE(next.FaultHappened());
}

namespace {

// Not a new-expression, which a compiler may leave out.
bool CanAllocate() {
    try {
        ::operator delete(::operator new(100));
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace

TEST(HeapFault, FailsTheAllocationThatItIsTold) {
    for (int n = 1; n <= 3; ++n) {
        const HeapFault fault(n);
        EXPECT_FALSE(fault.Happened());
        for (int i = 1; i <= 3; ++i)
            EXPECT_EQ(CanAllocate(), i != n);
        EXPECT_TRUE(fault.Happened());
    }
}

TEST(HeapFault, FailsFromThenOnUntilItEnds) {
    {
        const HeapFault fault(2, HeapFault::Times::FromThenOn);
        EXPECT_TRUE(CanAllocate());
        EXPECT_FALSE(CanAllocate());
        EXPECT_EQ(::operator new(100, std::nothrow), nullptr);
        const HeapFault::Pause pause;
        EXPECT_TRUE(CanAllocate());
    }
    EXPECT_TRUE(CanAllocate());
}

TEST(HeapFault, LeavesOtherThreadsAlone) {
    const HeapFault fault(1, HeapFault::Times::FromThenOn);
    bool other = false;
    {
        const HeapFault::Pause pause;
        std::thread([&other] { other = CanAllocate(); }).join();
    }
    EXPECT_TRUE(other);
    EXPECT_FALSE(CanAllocate());
}
