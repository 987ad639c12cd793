// Replacing a file while the system fails: every call in turn, once and from then on, the disk full, writes
// cut short, the file held by another program, no memory. Whatever fails, the path holds the whole old or the
// whole new file, no other file stays behind, and success is told only of the new one.
#include <gtest/gtest.h>

#include <numeric>

#include "Platform/Platform.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/HeapFault.h"
#include "tests/support/Pieces.h"
#include "tests/support/TestFolder.h"

using Call = FakeSystem::Call;
using Times = FakeSystem::Times;
using Names = std::vector<std::string>;

namespace {

const std::string kOld = "the old file\r\n";
const std::string kNew = std::string(300000, 'n') + "\r\nand its end";  // more than one write

bool ReplaceByNew(const std::wstring& path) {
    return ReplaceFile(path, {std::string_view(kNew).substr(0, 10), std::string_view(kNew).substr(10)});
}

// The call that failed first.
Call FirstFailed(const FakeSystem& system) {
    for (const FakeSystem::Entry& entry : system.Journal())
        if (!entry.done)
            return entry.call;
    ADD_FAILURE() << "no call failed";
    return Call::Allocate;
}

// What the folder holds is the old state or the new one, as the result says.
void ExpectWhole(const TestFolder& folder, bool existed, bool replaced, bool newMayBeThere) {
    const bool isNew = folder.Read("a.ini") == kNew;
    const bool isOld = existed ? folder.Read("a.ini") == kOld : !folder.Exists("a.ini");
    EXPECT_TRUE(isNew || isOld) << "neither the old file nor the new one";
    EXPECT_TRUE(isNew || !replaced) << "success told of the old file";
    EXPECT_TRUE(isOld || replaced || newMayBeThere) << "failure told of the new file";
}

void ExpectNoOtherFile(const TestFolder& folder) {
    const Names names = folder.Names();
    EXPECT_TRUE(names.empty() || names == Names{"a.ini"}) << names.size() << " files";
}

}  // namespace

// ---- every call in turn

class EveryCall : public testing::TestWithParam<std::tuple<bool, Times>> {};

TEST_P(EveryCall, LeavesTheOldOrTheNewFileWhole) {
    const auto [existed, times] = GetParam();
    int rounds = 0;
    for (bool failed = true; failed; ++rounds) {
        SCOPED_TRACE(rounds + 1);
        const TestFolder folder;
        if (existed)
            folder.Write("a.ini", kOld);
        FakeSystem system;
        system.FailAnyCall(rounds + 1, times);
        const bool replaced = ReplaceByNew(folder.Wide("a.ini"));
        failed = system.FaultHappened();
        const bool onlyDirectory = failed && FirstFailed(system) == Call::FlushDirectory;
        ExpectWhole(folder, existed, replaced, onlyDirectory);
        EXPECT_EQ(replaced, !failed);
        // Where nothing can be removed any more, the temporary file stays.
        if (times == Times::Once || !failed)
            ExpectNoOtherFile(folder);
        system.Heal();
        EXPECT_TRUE(ReplaceByNew(folder.Wide("a.ini")));
        EXPECT_EQ(folder.Read("a.ini"), kNew);
    }
    EXPECT_EQ(rounds, 9) << "inspect, create, write twice, flush, close, rename, flush the directory, none";
}

INSTANTIATE_TEST_SUITE_P(ReplaceFile, EveryCall,
                         testing::Combine(testing::Bool(), testing::Values(Times::Once, Times::FromThenOn)));

class OneKindOfCall : public testing::TestWithParam<Call> {};

TEST_P(OneKindOfCall, FailingForGoodLeavesNothingBehind) {
    for (const bool existed : {false, true}) {
        const TestFolder folder;
        if (existed)
            folder.Write("a.ini", kOld);
        FakeSystem system;
        system.FailCall(GetParam(), 1, Times::FromThenOn);
        EXPECT_FALSE(ReplaceByNew(folder.Wide("a.ini")));
        EXPECT_FALSE(ReplaceByNew(folder.Wide("a.ini")));
        ExpectWhole(folder, existed, false, GetParam() == Call::FlushDirectory);
        ExpectNoOtherFile(folder);
        system.Heal();
        EXPECT_TRUE(ReplaceByNew(folder.Wide("a.ini")));
        EXPECT_EQ(folder.Names(), Names{"a.ini"});
    }
}

INSTANTIATE_TEST_SUITE_P(ReplaceFile, OneKindOfCall,
                         testing::Values(Call::Inspect, Call::CreateNew, Call::Write, Call::Flush,
                                         Call::Close, Call::Rename, Call::FlushDirectory));

TEST(ReplaceFileFault, ADirectoryThatTakesNoNewFileIsAskedOnce) {
    const TestFolder folder;
    folder.Write("a.ini", kOld);
    FakeSystem system;
    system.FailCall(Call::CreateNew, 1, Times::FromThenOn);
    EXPECT_FALSE(ReplaceByNew(folder.Wide("a.ini")));
    EXPECT_EQ(system.Count(Call::CreateNew), 1);
    EXPECT_EQ(system.Count(Call::Remove), 0) << "nothing was made";
}

TEST(ReplaceFileFault, TheTemporaryFileIsRemovedAtTheSecondTry) {
    const TestFolder folder;
    folder.Write("a.ini", kOld);
    FakeSystem system;
    system.FailCall(Call::Flush, 1);
    system.FailCall(Call::Remove, 1);
    EXPECT_FALSE(ReplaceByNew(folder.Wide("a.ini")));
    EXPECT_EQ(system.Count(Call::Remove), 2);
    EXPECT_EQ(folder.Names(), Names{"a.ini"});
}

TEST(ReplaceFileFault, RemovingIsNotTriedForEver) {
    const TestFolder folder;
    folder.Write("a.ini", kOld);
    FakeSystem system;
    system.FailCall(Call::Write, 1);
    system.FailCall(Call::Remove, 1, Times::FromThenOn);
    EXPECT_FALSE(ReplaceByNew(folder.Wide("a.ini")));
    EXPECT_EQ(system.Count(Call::Remove), 2);
    EXPECT_EQ(folder.Read("a.ini"), kOld);
    EXPECT_EQ(folder.Names().size(), 2u);
    system.Heal();
    EXPECT_TRUE(ReplaceByNew(folder.Wide("a.ini"))) << "the file left behind is in nobody's way";
}

// ---- writing

TEST(ReplaceFileFault, ShortWritesAreCarriedOn) {
    const TestFolder folder;
    FakeSystem system;
    for (const std::size_t limit : {100u, 4095u, 262143u}) {
        system.LimitTransfers(limit);
        EXPECT_TRUE(ReplaceByNew(folder.Wide("a.ini")));
        EXPECT_TRUE(folder.Read("a.ini") == kNew) << limit;
        folder.Write("a.ini", kOld);
    }
}

TEST(ReplaceFileFault, AFullDiskLeavesTheOldFile) {
    for (const std::size_t room : {std::size_t{0}, std::size_t{1}, std::size_t{262144}, kNew.size() - 1}) {
        const TestFolder folder;
        folder.Write("a.ini", kOld);
        FakeSystem system;
        system.FillDiskAfter(room);
        EXPECT_FALSE(ReplaceByNew(folder.Wide("a.ini"))) << room;
        EXPECT_EQ(folder.Read("a.ini"), kOld) << room;
        EXPECT_EQ(folder.Names(), Names{"a.ini"});
        EXPECT_EQ(system.Count(Call::Rename), 0);
    }
    const TestFolder folder;
    FakeSystem system;
    system.FillDiskAfter(kNew.size());
    EXPECT_TRUE(ReplaceByNew(folder.Wide("a.ini")));
    EXPECT_EQ(folder.Read("a.ini"), kNew);
}

// ---- a file that another program holds

TEST(ReplaceFileFault, ABlockedRenameIsTriedAgain) {
    for (int blocks = 1; blocks <= 12; ++blocks) {
        const TestFolder folder;
        folder.Write("a.ini", kOld);
        FakeSystem system;
        system.BlockRenames(blocks);
        EXPECT_TRUE(ReplaceByNew(folder.Wide("a.ini"))) << blocks;
        EXPECT_EQ(folder.Read("a.ini"), kNew);
        EXPECT_EQ(folder.Names(), Names{"a.ini"});
        const std::vector<int> waits = system.Waits();
        EXPECT_EQ(static_cast<int>(waits.size()), blocks);
        for (std::size_t i = 1; i < waits.size(); ++i)
            EXPECT_GT(waits[i], waits[i - 1]);
    }
}

TEST(ReplaceFileFault, ABlockThatDoesNotEndIsAFailureAfterTwoSeconds) {
    const TestFolder folder;
    folder.Write("a.ini", kOld);
    FakeSystem system;
    system.BlockRenames(1000);
    EXPECT_FALSE(ReplaceByNew(folder.Wide("a.ini")));
    EXPECT_EQ(folder.Read("a.ini"), kOld);
    EXPECT_EQ(folder.Names(), Names{"a.ini"});
    const std::vector<int> waits = system.Waits();
    const int total = std::accumulate(waits.begin(), waits.end(), 0);
    EXPECT_GE(total, 1500);
    EXPECT_LE(total, 2500);
}

TEST(ReplaceFileFault, ARefusedRenameIsNotTriedAgain) {
    const TestFolder folder;
    FakeSystem system;
    system.FailCall(Call::Rename, 1, Times::FromThenOn);
    EXPECT_FALSE(ReplaceByNew(folder.Wide("a.ini")));
    EXPECT_EQ(system.Count(Call::Rename), 1);
    EXPECT_TRUE(system.Waits().empty());
}

// ---- memory

class NoMemory : public testing::TestWithParam<HeapFault::Times> {};

TEST_P(NoMemory, LeavesTheOldOrTheNewFileWhole) {
    const TestFolder folder;
    const std::wstring path = folder.Wide("a.ini");
    const std::string_view text = kNew;
    const std::vector<std::string_view> pieces = {text.substr(0, 10), text.substr(10, 20000),
                                                  text.substr(20010)};
    bool failed = true;
    int rounds = 0;
    int replacedAllTheSame = 0;
    for (; failed; ++rounds) {
        SCOPED_TRACE(rounds + 1);
        folder.Write("a.ini", kOld);
        bool replaced;
        {
            const HeapFault fault(rounds + 1, GetParam());
            replaced = ReplaceFile(path, pieces);
            failed = fault.Happened();
        }
        EXPECT_TRUE(replaced || failed);
        replacedAllTheSame += replaced && failed ? 1 : 0;
        EXPECT_EQ(folder.Read("a.ini") == kNew, replaced);
        EXPECT_TRUE(replaced || folder.Read("a.ini") == kOld);
        EXPECT_EQ(folder.Names(), Names{"a.ini"});
    }
    EXPECT_GT(rounds, 3) << "no allocation was reached";
    EXPECT_EQ(replacedAllTheSame, 2) << "neither the small buffer nor the large one is needed";
}

INSTANTIATE_TEST_SUITE_P(ReplaceFile, NoMemory,
                         testing::Values(HeapFault::Times::Once, HeapFault::Times::FromThenOn));
