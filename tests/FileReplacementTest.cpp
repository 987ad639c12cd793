// Replacing a file in one step on a healthy system, and telling whether two paths mean the same file.
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "Platform/Platform.h"
#include "Platform/System.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/HeapFault.h"
#include "tests/support/Host.h"
#include "tests/support/Pieces.h"
#include "tests/support/TestFolder.h"

namespace fs = std::filesystem;
using Host::MakeLink;
using Platform::SamePath;
using Names = std::vector<std::string>;

namespace {

fs::perms PermissionsOf(const TestFolder& folder, const std::string& name) {
    return fs::status(folder.Path() / name).permissions();
}

}  // namespace

// ---- content

TEST(ReplaceFile, CreatesAMissingFile) {
    const TestFolder folder;
    EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), {"[General]\r\n"}));
    EXPECT_EQ(folder.Read("a.ini"), "[General]\r\n");
    EXPECT_EQ(folder.Names(), Names{"a.ini"});
}

TEST(ReplaceFile, PutsTheNewContentInThePlaceOfTheOld) {
    const TestFolder folder;
    for (const std::string& content : {std::string("first"), std::string("a second, longer one"),
                                       std::string("3"), std::string(), std::string("\0\r\n\xFF", 4)}) {
        EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), {content}));
        EXPECT_EQ(folder.Read("a.ini"), content);
    }
    EXPECT_EQ(folder.Names(), Names{"a.ini"});
}

TEST(ReplaceFile, NoPiecesMakeAnEmptyFile) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), {}));
    EXPECT_TRUE(folder.Exists("a.ini"));
    EXPECT_EQ(folder.Read("a.ini"), "");
}

class JoinedPieces : public testing::TestWithParam<std::vector<std::size_t>> {};

TEST_P(JoinedPieces, AreTheTextInItsOrder) {
    const TestFolder folder;
    std::vector<std::string> texts;
    for (const std::size_t size : GetParam())
        texts.emplace_back(size, static_cast<char>('a' + texts.size()));
    std::string whole;
    std::vector<std::string_view> pieces;
    for (const std::string& text : texts) {
        whole += text;
        pieces.push_back(text);
    }
    EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), pieces));
    EXPECT_TRUE(folder.Read("a.ini") == whole);
}

// Small pieces are gathered in 16 kB first, then in 256.
constexpr std::size_t kSmall = 16 * 1024;
constexpr std::size_t kLarge = 256 * 1024;
INSTANTIATE_TEST_SUITE_P(ReplaceFile, JoinedPieces,
                         testing::Values(std::vector<std::size_t>{0, 1, kLarge - 1, kLarge, 1, kLarge + 1,
                                                                  3 * kLarge, 0, 7, kLarge - 8, 1, 1,
                                                                  2 * kLarge},
                                         std::vector<std::size_t>{10, kSmall - 10, 1, kLarge - kSmall - 1, 1},
                                         std::vector<std::size_t>{10, kSmall - 9, 1},
                                         std::vector<std::size_t>{kSmall, 1},
                                         std::vector<std::size_t>{10, kLarge, 20, kLarge - 20, 1},
                                         std::vector<std::size_t>{10, 2 * kLarge, kSmall + 1, kLarge}));

TEST(ReplaceFile, GathersSmallPiecesIntoFewWrites) {
    const TestFolder folder;
    const std::string line = "Register_1.8.0=RV,DR,\"10.3,B\",123456.789,\"\"\r\n";
    const std::vector<std::string_view> pieces(20000, line);
    const FakeSystem system;
    EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), pieces));
    const std::size_t fullBuffers = line.size() * pieces.size() / (256 * 1024);
    EXPECT_LE(static_cast<std::size_t>(system.Count(FakeSystem::Call::Write)), fullBuffers + 1);
}

TEST(ReplaceFile, WritesALargePieceWithoutCopyingIt) {
    const TestFolder folder;
    const std::wstring path = folder.Wide("a.ini");
    const std::string large(2 * 1024 * 1024, 'l');
    const auto allocations = [&path](const std::vector<std::string_view>& pieces) {
        for (int n = 1;; ++n) {
            const HeapFault fault(n);
            if (ReplaceFile(path, pieces))
                return n - 1;
        }
    };
    ASSERT_TRUE(ReplaceFile(path, {"old"}));
    EXPECT_EQ(allocations({large}), allocations({}));
    const FakeSystem system;
    EXPECT_TRUE(ReplaceFile(path, {"head", large, "tail"}));
    EXPECT_EQ(system.Count(FakeSystem::Call::Write), 3);
    EXPECT_TRUE(folder.Read("a.ini") == "head" + large + "tail");
}

TEST(ReplaceFile, TakesEachStepOnceAndInOrder) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    const FakeSystem system;
    EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), {"new"}));
    using Call = FakeSystem::Call;
    std::vector<Call> calls;
    for (const FakeSystem::Entry& entry : system.Journal())
        calls.push_back(entry.call);
    EXPECT_EQ(calls, (std::vector<Call>{Call::Inspect, Call::CreateNew, Call::Write, Call::Flush, Call::Close,
                                        Call::Rename, Call::FlushDirectory}));
    const FakeSystem::Entry rename = system.Journal()[5];
    EXPECT_EQ(rename.path, system.Journal()[1].path);
    EXPECT_EQ(rename.to, folder.Wide("a.ini"));
    EXPECT_EQ(system.Waits(), std::vector<int>{});
}

TEST(ReplaceFile, WorksInTheCurrentDirectory) {
    const TestFolder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.Path());
    EXPECT_TRUE(ReplaceFile(L"a.ini", {"text"}));
    fs::current_path(before);
    EXPECT_EQ(folder.Read("a.ini"), "text");
}

// ---- names

TEST(ReplaceFile, LeavesRoomForTheLongestNames) {
    const TestFolder folder;
    const std::string name(255, 'n');
    for (const char* content : {"first", "second"}) {
        EXPECT_TRUE(ReplaceFile(folder.Wide(name), {content}));
        Platform::FileBytes bytes;
        ASSERT_EQ(Platform::LoadFile(folder.Wide(name), &bytes), Platform::LoadResult::Loaded);
        EXPECT_EQ(std::string(bytes.data.get(), bytes.size), content);
    }
    EXPECT_EQ(folder.Names(), Names{name});
    EXPECT_TRUE(Platform::DeleteFileW(folder.Wide(name).c_str()));
}

TEST(ReplaceFile, TakesEveryNameThatTheSystemTakes) {
    const TestFolder folder;
    Names names = {"with blanks .ini", "Z\xC3\xA4hler.ini"};
    if (Platform::WideFromNarrow("\xC3\xA4").size() == 1)
        names.push_back("Z\xE4hler \xFF.ini");
    for (const std::string& name : names) {
        EXPECT_TRUE(ReplaceFile(folder.Wide(name), {"old"}));
        EXPECT_TRUE(ReplaceFile(folder.Wide(name), {name}));
        EXPECT_EQ(folder.Read(name), name);
    }
    EXPECT_EQ(folder.Names().size(), names.size());
}

TEST(ReplaceFile, PassesOverTemporaryFilesThatWereLeftBehind) {
    const TestFolder folder;
    const std::uint64_t last = Platform::System::UniqueNumber();
    Names left;
    for (std::uint64_t number = last + 1; number <= last + 3; ++number) {
        char name[32];
        std::snprintf(name, sizeof(name), "~%016llx.tmp", static_cast<unsigned long long>(number));
        folder.Write(name, "left behind");
        left.push_back(name);
    }
    EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), {"text"}));
    EXPECT_EQ(folder.Read("a.ini"), "text");
    for (const std::string& name : left)
        EXPECT_EQ(folder.Read(name), "left behind") << name;
    EXPECT_EQ(folder.Names().size(), left.size() + 1);
    EXPECT_GT(Platform::System::UniqueNumber(), last + 4) << "the names were not those that were tried";
}

// ---- permissions

class KeptPermissions : public testing::TestWithParam<unsigned> {};

TEST_P(KeptPermissions, AreThoseOfTheOldFile) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    fs::permissions(folder.Path() / "a.ini", static_cast<fs::perms>(GetParam()));
    const fs::perms before = PermissionsOf(folder, "a.ini");
    EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), {"new"}));
    EXPECT_EQ(PermissionsOf(folder, "a.ini"), before);
    fs::permissions(folder.Path() / "a.ini", fs::perms::owner_read, fs::perm_options::add);
    EXPECT_EQ(folder.Read("a.ini"), "new");
}

INSTANTIATE_TEST_SUITE_P(ReplaceFile, KeptPermissions,
                         testing::Values(0600u, 0644u, 0640u, 0664u, 0666u, 0755u, 0777u, 0200u, 0602u,
                                         01644u));

TEST(ReplaceFile, ANewFileGetsThePermissionsOfAnyNewFile) {
    const TestFolder folder;
    folder.Write("any", "");
    EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), {"text"}));
    EXPECT_EQ(PermissionsOf(folder, "a.ini"), PermissionsOf(folder, "any"));
}

TEST(ReplaceFile, RefusesAFileThatNobodyMayWrite) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    const fs::path path = folder.Path() / "a.ini";
    for (const unsigned mode : {0444u, 0400u, 0000u, 0555u}) {
        fs::permissions(path, static_cast<fs::perms>(mode));
        const fs::perms before = PermissionsOf(folder, "a.ini");
        EXPECT_FALSE(ReplaceFile(folder.Wide("a.ini"), {"new"})) << std::oct << mode;
        EXPECT_EQ(PermissionsOf(folder, "a.ini"), before);
    }
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(folder.Read("a.ini"), "old");
    EXPECT_EQ(folder.Names(), Names{"a.ini"});
}

// ---- links

TEST(ReplaceFileLink, StaysALink) {
    const TestFolder folder;
    fs::create_directories(folder.Path() / "here");
    fs::create_directories(folder.Path() / "there");
    folder.Write("there/target.ini", "old");
    const fs::path beside = folder.Path() / "there" / "beside.ini";
    const fs::path relative = folder.Path() / "here" / "relative.ini";
    const fs::path absolute = folder.Path() / "here" / "absolute.ini";
    const fs::path chain = folder.Path() / "chain.ini";
    if (!MakeLink("target.ini", beside))
        GTEST_SKIP() << "no links here";
    ASSERT_TRUE(MakeLink("../there/target.ini", relative) &&
                MakeLink(folder.Path() / "there" / "target.ini", absolute) &&
                MakeLink("here/relative.ini", chain));
    for (const char* link : {"there/beside.ini", "here/relative.ini", "here/absolute.ini", "chain.ini"}) {
        EXPECT_TRUE(ReplaceFile(folder.Wide(link), {"by ", link})) << link;
        EXPECT_TRUE(Host::IsLink(folder.Path() / link)) << link;
        EXPECT_EQ(folder.Read("there/target.ini"), std::string("by ") + link);
        EXPECT_FALSE(Host::IsLink(folder.Path() / "there" / "target.ini"));
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path() / "there"), fs::directory_iterator()), 2);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path() / "here"), fs::directory_iterator()), 2);
}

TEST(ReplaceFileLink, ALinkOfADirectoryOnTheWayIsFollowed) {
    const TestFolder folder;
    fs::create_directory(folder.Path() / "real");
    if (!MakeLink("real", folder.Path() / "shown"))
        GTEST_SKIP() << "no links here";
    EXPECT_TRUE(ReplaceFile(folder.Wide("shown\\a.ini"), {"text"}));
    EXPECT_EQ(folder.Read("real/a.ini"), "text");
    EXPECT_TRUE(Host::IsLink(folder.Path() / "shown"));
}

TEST(ReplaceFileLink, AMissingTargetIsCreated) {
    const TestFolder folder;
    if (!MakeLink("target.ini", folder.Path() / "link.ini"))
        GTEST_SKIP() << "no links here";
    EXPECT_TRUE(ReplaceFile(folder.Wide("link.ini"), {"text"}));
    EXPECT_EQ(folder.Read("target.ini"), "text");
    EXPECT_TRUE(Host::IsLink(folder.Path() / "link.ini"));
    EXPECT_EQ(folder.Names(), (Names{"link.ini", "target.ini"}));
}

TEST(ReplaceFileLink, ACircleIsRefused) {
    const TestFolder folder;
    if (!MakeLink("b", folder.Path() / "a"))
        GTEST_SKIP() << "no links here";
    ASSERT_TRUE(MakeLink("a", folder.Path() / "b") && MakeLink("self", folder.Path() / "self"));
    EXPECT_FALSE(ReplaceFile(folder.Wide("a"), {"text"}));
    EXPECT_FALSE(ReplaceFile(folder.Wide("self"), {"text"}));
    EXPECT_EQ(folder.Names(), (Names{"a", "b", "self"}));
}

TEST(ReplaceFileLink, TheTargetsRulesHold) {
    const TestFolder folder;
    fs::create_directory(folder.Path() / "sub");
    folder.Write("locked.ini", "old");
    fs::permissions(folder.Path() / "locked.ini", fs::perms::owner_read);
    if (!MakeLink("sub", folder.Path() / "toDirectory"))
        GTEST_SKIP() << "no links here";
    ASSERT_TRUE(MakeLink("locked.ini", folder.Path() / "toLocked") &&
                MakeLink("none/a.ini", folder.Path() / "toNowhere"));
    EXPECT_FALSE(ReplaceFile(folder.Wide("toDirectory"), {"text"}));
    EXPECT_FALSE(ReplaceFile(folder.Wide("toLocked"), {"text"}));
    EXPECT_FALSE(ReplaceFile(folder.Wide("toNowhere"), {"text"}));
    EXPECT_EQ(folder.Read("locked.ini"), "old");
    EXPECT_EQ(folder.Names(), (Names{"locked.ini", "sub", "toDirectory", "toLocked", "toNowhere"}));
}

// ---- what is refused

TEST(ReplaceFile, RefusesWhatIsNoFile) {
    const TestFolder folder;
    fs::create_directory(folder.Path() / "sub");
    folder.Write("a.ini", "old");
    EXPECT_FALSE(ReplaceFile(folder.Wide("sub"), {"text"}));
    EXPECT_FALSE(ReplaceFile(folder.Wide("sub") + L"\\", {"text"}));
    EXPECT_FALSE(ReplaceFile(folder.Wide("none\\a.ini"), {"text"}));
    EXPECT_FALSE(ReplaceFile(folder.Wide("a.ini\\b.ini"), {"text"}));
    EXPECT_FALSE(ReplaceFile(folder.Wide("new.ini") + L"\\", {"text"}));
    EXPECT_FALSE(ReplaceFile(folder.Wide(std::string(400, 'n')), {"text"}));
    EXPECT_FALSE(ReplaceFile(L"", {"text"}));
    EXPECT_EQ(folder.Names(), (Names{"a.ini", "sub"}));
    EXPECT_TRUE(fs::is_empty(folder.Path() / "sub"));
    EXPECT_EQ(folder.Read("a.ini"), "old");
}

// ---- several at once

TEST(ReplaceFile, AReaderSeesOneWholeContentAtEveryMoment) {
    const TestFolder folder;
    const std::wstring path = folder.Wide("a.ini");
    const auto content = [](int writer) { return std::string(50000, static_cast<char>('a' + writer)); };
    ASSERT_TRUE(ReplaceFile(path, {content(0)}));
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 3; ++writer)
        writers.emplace_back([&, writer] {
            const std::string text = content(writer);
            for (int round = 0; round < 15; ++round)
                EXPECT_TRUE(ReplaceFile(path, {text}));
        });
    for (int round = 0; round < 100; ++round) {
        Platform::FileBytes bytes;
        ASSERT_EQ(Platform::LoadFile(path, &bytes), Platform::LoadResult::Loaded);
        ASSERT_EQ(bytes.size, 50000u);
        EXPECT_EQ(std::string(bytes.data.get(), bytes.size), content(bytes.data[0] - 'a'));
    }
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_EQ(folder.Names(), Names{"a.ini"});
}

// ---- the same file

TEST(SamePath, FilesAreTheSameUnderEveryName) {
    const TestFolder folder;
    fs::create_directory(folder.Path() / "sub");
    folder.Write("a.ini", "same");
    folder.Write("b.ini", "same");
    const std::wstring a = folder.Wide("a.ini");
    EXPECT_TRUE(SamePath(a, a));
    EXPECT_TRUE(SamePath(a, folder.Wide() + L"/a.ini"));
    EXPECT_TRUE(SamePath(a, folder.Wide() + L"\\\\a.ini"));
    EXPECT_TRUE(SamePath(a, folder.Wide("sub\\..\\a.ini")));
    EXPECT_FALSE(SamePath(a, folder.Wide("b.ini")));
    EXPECT_FALSE(SamePath(a, folder.Wide("none.ini")));
    EXPECT_FALSE(SamePath(folder.Wide("none.ini"), a));
    EXPECT_FALSE(SamePath(a, L""));
}

TEST(SamePath, WhatDoesNotExistIsComparedByItsPlace) {
    const TestFolder folder;
    fs::create_directory(folder.Path() / "sub");
    const std::wstring none = folder.Wide("none.ini");
    EXPECT_TRUE(SamePath(none, none));
    EXPECT_TRUE(SamePath(none, folder.Wide() + L"/none.ini"));
    EXPECT_TRUE(SamePath(none, folder.Wide("sub\\..\\none.ini")));
    EXPECT_FALSE(SamePath(none, folder.Wide("other.ini")));
    EXPECT_FALSE(SamePath(none, folder.Wide("sub\\none.ini")));
    EXPECT_TRUE(SamePath(folder.Wide("no\\none.ini"), folder.Wide("no\\none.ini")));
    EXPECT_TRUE(SamePath(folder.Wide("no\\none.ini"), folder.Wide("no/none.ini")));
    EXPECT_FALSE(SamePath(folder.Wide("no\\none.ini"), folder.Wide("nowhere\\none.ini")));
    EXPECT_TRUE(SamePath(L"no file of this name", L".\\no file of this name"));
    EXPECT_TRUE(SamePath(L"", L""));
    EXPECT_FALSE(SamePath(L"", none));
}

TEST(SamePath, LinksAreFollowed) {
    const TestFolder folder;
    fs::create_directory(folder.Path() / "sub");
    folder.Write("a.ini", "");
    if (!MakeLink("a.ini", folder.Path() / "link"))
        GTEST_SKIP() << "no links here";
    ASSERT_TRUE(MakeLink("sub/none.ini", folder.Path() / "dangling") &&
                MakeLink("sub", folder.Path() / "shown") && MakeLink("self", folder.Path() / "self"));
    EXPECT_TRUE(SamePath(folder.Wide("a.ini"), folder.Wide("link")));
    EXPECT_TRUE(SamePath(folder.Wide("dangling"), folder.Wide("sub\\none.ini")));
    EXPECT_TRUE(SamePath(folder.Wide("shown\\none.ini"), folder.Wide("sub\\none.ini")));
    EXPECT_FALSE(SamePath(folder.Wide("dangling"), folder.Wide("none.ini")));
    EXPECT_FALSE(SamePath(folder.Wide("dangling"), folder.Wide("a.ini")));
    EXPECT_TRUE(SamePath(folder.Wide("self"), folder.Wide("self")));
    EXPECT_FALSE(SamePath(folder.Wide("self"), folder.Wide("none.ini")));
}

TEST(SamePath, HardLinksAreOneFile) {
    const TestFolder folder;
    folder.Write("a.ini", "");
    std::error_code error;
    fs::create_hard_link(folder.Path() / "a.ini", folder.Path() / "b.ini", error);
    if (error)
        GTEST_SKIP() << "no hard links here";
    EXPECT_TRUE(SamePath(folder.Wide("a.ini"), folder.Wide("b.ini")));
}
