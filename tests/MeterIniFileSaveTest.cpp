// Saving a store: to its file and its mirror, now and in the background, and what a save that fails leaves
// behind.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <thread>

#include "MeterUtil/MeterIniFile.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/HeapFault.h"
#include "tests/support/Host.h"
#include "tests/support/TestFolder.h"

namespace fs = std::filesystem;
using Call = FakeSystem::Call;
using Times = FakeSystem::Times;

namespace {

const std::string kOld = "[a]\r\nk=old\r\n";
const std::string kNew = "[a]\r\nk=new\r\n";

// What the process is told about failed saves, while the object lives.
class SaveErrors {
public:
    SaveErrors() { CMeterIniFile::SetSaveErrorHandler(&SaveErrors::Note, this); }
    ~SaveErrors() { CMeterIniFile::SetSaveErrorHandler(nullptr, nullptr); }
    SaveErrors(const SaveErrors&) = delete;
    SaveErrors& operator=(const SaveErrors&) = delete;

    std::vector<std::wstring> Paths() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_paths;
    }
    std::wstring LastText() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_text;
    }
    std::thread::id LastThread() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_thread;
    }

private:
    static void Note(void* context, const wchar_t* path, const wchar_t* text) {
        auto* const self = static_cast<SaveErrors*>(context);
        const std::lock_guard<std::mutex> lock(self->m_mutex);
        self->m_paths.emplace_back(path);
        self->m_text = text;
        self->m_thread = std::this_thread::get_id();
    }

    mutable std::mutex m_mutex;
    std::vector<std::wstring> m_paths;
    std::wstring m_text;
    std::thread::id m_thread;
};

// For a thread that does not wait to show that it does not. One that waits as it should passes however long
// this is.
constexpr std::chrono::milliseconds kLongEnough(50);

class MeterIniFileSave : public testing::Test {
protected:
    MeterIniFileSave() {
        m_folder.Write("a.ini", kOld);
        m_store = std::make_unique<CMeterIniFile>(m_folder.Wide("a.ini").c_str());
        Change("new");
    }

    void Change(const char* value) { EXPECT_TRUE(m_store->WriteString("a", "k", value)); }
    static std::string With(const std::string& value) { return "[a]\r\nk=" + value + "\r\n"; }

    TestFolder m_folder;
    std::unique_ptr<CMeterIniFile> m_store;
};

// ---- now

TEST_F(MeterIniFileSave, NothingIsWrittenBeforeASave) {
    EXPECT_EQ(m_folder.Read("a.ini"), kOld);
    m_store.reset();
    EXPECT_EQ(m_folder.Read("a.ini"), kOld) << "destroying a store saves nothing";
}

TEST_F(MeterIniFileSave, WritesTheFile) {
    EXPECT_TRUE(m_store->UpdateFile());
    EXPECT_EQ(m_folder.Read("a.ini"), kNew);
    EXPECT_EQ(m_folder.Names(), std::vector<std::string>{"a.ini"});
    EXPECT_FALSE(m_store->m_error);
}

TEST_F(MeterIniFileSave, CreatesAMissingFile) {
    CMeterIniFile store(m_folder.Wide("new.ini").c_str());
    EXPECT_TRUE(store.WriteString("General", "Meters", "0"));
    EXPECT_TRUE(store.UpdateFile());
    EXPECT_EQ(m_folder.Read("new.ini"), "[General]\r\nMeters=0\r\n");
}

TEST_F(MeterIniFileSave, AnEmptyStoreMakesAnEmptyFile) {
    CMeterIniFile store(m_folder.Wide("new.ini").c_str());
    EXPECT_TRUE(store.UpdateFile());
    EXPECT_TRUE(m_folder.Exists("new.ini"));
    EXPECT_EQ(m_folder.Read("new.ini"), "");
}

TEST_F(MeterIniFileSave, FileExistsSaysWhatStandsThere) {
    EXPECT_TRUE(CMeterIniFile::FileExists(m_folder.Wide("a.ini").c_str()));
    EXPECT_FALSE(CMeterIniFile::FileExists(m_folder.Wide("none.ini").c_str()));
    EXPECT_FALSE(CMeterIniFile::FileExists(m_folder.Wide().c_str())) << "a directory is no file";
    EXPECT_FALSE(CMeterIniFile::FileExists(nullptr));
    EXPECT_FALSE(CMeterIniFile::FileExists(L""));
}

TEST_F(MeterIniFileSave, ReadOnlyFileIsNotReplaced) {
    fs::permissions(m_folder.Path() / "a.ini", fs::perms::owner_read);
    EXPECT_FALSE(m_store->UpdateFile());
    EXPECT_TRUE(m_store->m_error);
    EXPECT_EQ(m_folder.Read("a.ini"), kOld);
    EXPECT_EQ(m_folder.Names(), std::vector<std::string>{"a.ini"});
    fs::permissions(m_folder.Path() / "a.ini", fs::perms::owner_all);
    EXPECT_TRUE(m_store->UpdateFile()) << "the error flag keeps no later save from being tried";
    EXPECT_TRUE(m_store->m_error) << "and stays";
    EXPECT_EQ(m_folder.Read("a.ini"), kNew);
}

TEST_F(MeterIniFileSave, AFileThatCouldNotBeLoadedIsNeverSavedOver) {
    FakeSystem system;
    system.FailCall(Call::Read, 1);
    CMeterIniFile store(m_folder.Wide("a.ini").c_str());
    system.Heal();
    EXPECT_TRUE(store.m_error);
    EXPECT_FALSE(store.SectionExists("a"));
    store.SetMirror(m_folder.Wide("mirror.ini").c_str());
    EXPECT_TRUE(store.WriteString("b", "k", "1"));
    EXPECT_FALSE(store.UpdateFile());
    EXPECT_FALSE(store.UpdateFileBackground());
    EXPECT_EQ(m_folder.Read("a.ini"), kOld);
    EXPECT_FALSE(m_folder.Exists("mirror.ini"));
}

TEST_F(MeterIniFileSave, OfAFileThatFailsOnTheWayNothingIsThere) {
    m_folder.Write("long.ini", "[a]\n" + std::string(1000000, '\n'));
    FakeSystem system;
    system.FailCall(Call::Read, 3);
    CMeterIniFile store(m_folder.Wide("long.ini").c_str());
    EXPECT_TRUE(system.Count(Call::Read) == 3 && store.m_error);
    EXPECT_FALSE(store.SectionExists("a"));
    EXPECT_EQ(store.FindBracketLine(0), -1);
    EXPECT_EQ(store.AppendString("x"), 0) << "there is no line yet";
}

TEST_F(MeterIniFileSave, ADirectoryCanBeNeitherLoadedNorSaved) {
    fs::create_directory(m_folder.Path() / "dir");
    CMeterIniFile store(m_folder.Wide("dir").c_str());
    EXPECT_TRUE(store.m_error);
    EXPECT_FALSE(store.UpdateFile());
    EXPECT_TRUE(fs::is_directory(m_folder.Path() / "dir"));
}

TEST_F(MeterIniFileSave, KeepsTheDeviceAwakeMeanwhile) {
    FakeSystem system;
    EXPECT_TRUE(m_store->PowerButtonControl(L"\\terminal"));
    EXPECT_TRUE(m_store->PowerButtonControl(nullptr));
    EXPECT_TRUE(m_store->UpdateFile());
    EXPECT_EQ(system.AwakeRequests(), (std::vector<bool>{true, false}));
    system.FailCall(Call::Rename, 1);
    EXPECT_FALSE(m_store->UpdateFile());
    EXPECT_EQ(system.AwakeRequests(), (std::vector<bool>{true, false, true, false}));
}

// ---- the mirror

TEST_F(MeterIniFileSave, MirrorGetsTheSameBytes) {
    m_store->SetMirror(m_folder.Wide("mirror.ini").c_str());
    EXPECT_FALSE(m_folder.Exists("mirror.ini")) << "setting a mirror writes nothing";
    EXPECT_TRUE(m_store->UpdateFile());
    EXPECT_EQ(m_folder.Read("mirror.ini"), kNew);
    m_store->SetMirror(L"");
    Change("newer");
    EXPECT_TRUE(m_store->UpdateFile());
    EXPECT_EQ(m_folder.Read("mirror.ini"), kNew) << "the empty path turns mirroring off";
    m_store->SetMirror(m_folder.Wide("mirror.ini").c_str());
    m_store->SetMirror(nullptr);
    EXPECT_TRUE(m_store->UpdateFile());
    EXPECT_EQ(m_folder.Read("mirror.ini"), kNew);
}

TEST_F(MeterIniFileSave, MirrorIsWrittenAlsoWhenTheFileFails) {
    m_store->SetMirror(m_folder.Wide("mirror.ini").c_str());
    FakeSystem system;
    system.FailCall(Call::CreateNew, 1);
    EXPECT_FALSE(m_store->UpdateFile());
    EXPECT_EQ(m_folder.Read("a.ini"), kOld);
    EXPECT_EQ(m_folder.Read("mirror.ini"), kNew);
    EXPECT_TRUE(m_store->m_error);
}

TEST_F(MeterIniFileSave, FileIsSavedAlsoWhenTheMirrorFails) {
    m_store->SetMirror(m_folder.Wide("missing/mirror.ini").c_str());
    EXPECT_FALSE(m_store->UpdateFile());
    EXPECT_EQ(m_folder.Read("a.ini"), kNew);
    EXPECT_TRUE(m_store->m_error);
}

TEST_F(MeterIniFileSave, MirrorMayBeOnAnotherVolume) {
    const fs::path volume = Host::FolderOnAnotherVolume(m_folder.Path());
    if (volume.empty())
        GTEST_SKIP() << "this system has one volume";
    const TestFolder other(volume);
    m_store->SetMirror(other.Wide("mirror.ini").c_str());
    EXPECT_TRUE(m_store->UpdateFile());
    EXPECT_EQ(other.Read("mirror.ini"), kNew);
    Change("newer");
    EXPECT_TRUE(m_store->UpdateFileBackground());
    m_store.reset();
    EXPECT_EQ(m_folder.Read("a.ini"), With("newer"));
    EXPECT_EQ(other.Read("mirror.ini"), With("newer"));
    EXPECT_EQ(other.Names(), std::vector<std::string>{"mirror.ini"});
}

TEST_F(MeterIniFileSave, MirrorThatIsAHardLinkOfTheFileIsWrittenToo) {
    fs::create_hard_link(m_folder.Path() / "a.ini", m_folder.Path() / "mirror.ini");
    m_store->SetMirror(m_folder.Wide("mirror.ini").c_str());
    EXPECT_TRUE(m_store->UpdateFile());
    EXPECT_EQ(m_folder.Read("a.ini"), kNew);
    EXPECT_EQ(m_folder.Read("mirror.ini"), kNew);
}

TEST_F(MeterIniFileSave, MirrorEqualToTheFileIsWrittenOnce) {
    FakeSystem system;
    m_store->SetMirror(m_folder.Wide("a.ini").c_str());
    EXPECT_TRUE(m_store->UpdateFile());
    EXPECT_EQ(system.Count(Call::Rename), 1);
}

// ---- every call fails in turn

class MeterIniFileSaveFault : public MeterIniFileSave, public testing::WithParamInterface<Times> {};

TEST_P(MeterIniFileSaveFault, LeavesTheOldOrTheNewFileAndNothingElse) {
    m_store->SetMirror(m_folder.Wide("mirror.ini").c_str());
    ASSERT_TRUE(m_store->UpdateFile());
    int failures = 0;
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 200) << "the save never ran through";
        const std::string before = m_folder.Read("a.ini");
        const std::string value = "value " + std::to_string(n);
        Change(value.c_str());
        FakeSystem system;
        system.FailAnyCall(n, GetParam());
        const bool saved = m_store->UpdateFile();
        const bool happened = system.FaultHappened();
        system.Heal();
        for (const char* name : {"a.ini", "mirror.ini"}) {
            const std::string after = m_folder.Read(name);
            EXPECT_TRUE(after == before || after == With(value)) << name << " holds neither, n = " << n;
            EXPECT_TRUE(!saved || after == With(value))
                << "success reported for the old " << name << ", n = " << n;
        }
        if (GetParam() == Times::Once) {
            EXPECT_EQ(m_folder.Names(), (std::vector<std::string>{"a.ini", "mirror.ini"})) << "n = " << n;
        }
        ASSERT_TRUE(m_store->UpdateFile()) << "the next save, n = " << n;
        EXPECT_EQ(m_folder.Read("a.ini"), With(value));
        EXPECT_EQ(m_folder.Read("mirror.ini"), With(value));
        if (!happened) {
            EXPECT_TRUE(saved);
            break;
        }
        failures += saved ? 0 : 1;
    }
    EXPECT_GE(failures, 10) << "two files of at least five calls each";
    EXPECT_TRUE(m_store->m_error);
}

INSTANTIATE_TEST_SUITE_P(Faults, MeterIniFileSaveFault, testing::Values(Times::Once, Times::FromThenOn));

// Headers, changed lines and unchanged ones each stand where a write begins and ends.
TEST_F(MeterIniFileSave, AnyWriteOfALongTextMayFail) {
    constexpr int kSections = 24;
    const std::string mark = "\xEF\xBB\xBF";
    const auto unchanged = [](int i) {
        return "\nk=" + std::string(30000U + 3000U * static_cast<unsigned>(i), 'k');
    };
    std::string old = mark;
    for (int i = 0; i < kSections; ++i)
        old += "[" + std::to_string(i) + "]" + unchanged(i) + "\nm=1\n";
    m_folder.Write("long.ini", old);
    CMeterIniFile store(m_folder.Wide("long.ini").c_str());
    std::string expected = mark;
    for (int i = 0; i < kSections; ++i) {
        std::string name = std::to_string(i);
        std::string value = "1";
        if (i % 3 == 0) {
            value.assign(70000, 'm');
            ASSERT_TRUE(store.WriteString(name.c_str(), "m", value.c_str()));
        } else if (i % 3 == 1) {
            name += std::string(70000, 'h');
            ASSERT_TRUE(store.SetString(3 * i, ("[" + name + "]").c_str()));
        }
        expected += "[" + name + "]" + unchanged(i) + "\nm=" + value + "\n";
    }
    int failures = 0;
    for (bool saved = false; !saved && failures < 100; failures += saved ? 0 : 1) {
        FakeSystem system;
        system.FailCall(Call::Write, failures + 1);
        saved = store.UpdateFile();
        EXPECT_NE(saved, system.FaultHappened());
        EXPECT_TRUE(m_folder.Read("long.ini") == (saved ? expected : old)) << failures;
        EXPECT_EQ(m_folder.Names(), (std::vector<std::string>{"a.ini", "long.ini"}));
    }
    EXPECT_GE(failures, 8) << "a write takes a part of the text";
}

TEST_F(MeterIniFileSave, WithoutMemoryFailsAndKeepsTheFile) {
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 200);
        Change(std::to_string(n).c_str());
        bool saved = false;
        bool happened = false;
        {
            const HeapFault fault(n);
            saved = m_store->UpdateFile();
            happened = fault.Happened();
        }
        const HeapFault::Pause pause;
        const std::string after = m_folder.Read("a.ini");
        EXPECT_TRUE(after == With(std::to_string(n)) || (!saved && !after.empty())) << n;
        EXPECT_EQ(m_folder.Names(), std::vector<std::string>{"a.ini"}) << n;
        ASSERT_TRUE(m_store->UpdateFile());
        if (!happened)
            break;
    }
}

// ---- the error handler

TEST_F(MeterIniFileSave, FailureIsToldToTheHandlerWithTheText) {
    const SaveErrors errors;
    EXPECT_STREQ(m_store->GetSaveErrorText(), L"");
    m_store->SetSaveErrorText(L"save error");
    EXPECT_STREQ(m_store->GetSaveErrorText(), L"save error");
    FakeSystem system;
    system.FailCall(Call::Write, 1);
    EXPECT_FALSE(m_store->UpdateFile());
    EXPECT_EQ(errors.Paths(), std::vector<std::wstring>{m_folder.Wide("a.ini")});
    EXPECT_EQ(errors.LastText(), L"save error");
    EXPECT_EQ(errors.LastThread(), std::this_thread::get_id());
    EXPECT_TRUE(system.Messages().empty()) << "the store shows nothing itself";
    EXPECT_TRUE(m_store->UpdateFile());
    EXPECT_EQ(errors.Paths().size(), 1U);
    m_store->SetSaveErrorText(nullptr);
    EXPECT_STREQ(m_store->GetSaveErrorText(), L"");
}

TEST_F(MeterIniFileSave, FileAndMirrorAreToldApart) {
    const SaveErrors errors;
    m_store->SetMirror(m_folder.Wide("mirror.ini").c_str());
    FakeSystem system;
    system.FailCall(Call::Rename, 1, Times::FromThenOn);
    EXPECT_FALSE(m_store->UpdateFile());
    EXPECT_EQ(errors.Paths(),
              (std::vector<std::wstring>{m_folder.Wide("a.ini"), m_folder.Wide("mirror.ini")}));
}

// The application asked for a save and trusts that it happened, unless it is told.
TEST_F(MeterIniFileSave, RefusedSavesAreToldToo) {
    const SaveErrors errors;
    fs::create_directory(m_folder.Path() / "folder.ini");
    CMeterIniFile store(m_folder.Wide("folder.ini").c_str());
    store.SetSaveErrorText(L"no file");
    EXPECT_FALSE(store.UpdateFile());
    EXPECT_EQ(errors.LastText(), L"no file");
    EXPECT_FALSE(store.UpdateFileBackground());
    EXPECT_EQ(errors.Paths(), std::vector<std::wstring>(2, m_folder.Wide("folder.ini")));
}

// Who is told of a failed save may ask the store for it.
TEST_F(MeterIniFileSave, TheErrorIsSetBeforeAnybodyIsTold) {
    struct Told {
        CMeterIniFile* store;
        int failures;
    };
    const auto ask = [](void* context, const wchar_t*, const wchar_t*) {
        auto* const told = static_cast<Told*>(context);
        told->failures += told->store->m_error ? 1 : 0;
        told->store->m_error = false;
    };
    Told told{m_store.get(), 0};
    CMeterIniFile::SetSaveErrorHandler(ask, &told);
    m_store->SetMirror(m_folder.Wide("none\\mirror.ini").c_str());
    EXPECT_FALSE(m_store->UpdateFile());
    EXPECT_EQ(told.failures, 1);
    EXPECT_TRUE(m_store->UpdateFileBackground());
    EXPECT_FALSE(m_store->UpdateFile()) << "waits for the other";
    EXPECT_EQ(told.failures, 3);
    m_store.reset();
    CMeterIniFile::SetSaveErrorHandler(nullptr, nullptr);
}

// One that waited for itself would wait for ever.
TEST_F(MeterIniFileSave, WhoIsToldOnTheThreadOfTheStoreSavesNothing) {
    struct Told {
        CMeterIniFile* store;
        std::thread::id thread;
        bool saved;
    };
    const auto saveAgain = [](void* context, const wchar_t*, const wchar_t*) {
        auto* const told = static_cast<Told*>(context);
        told->thread = std::this_thread::get_id();
        told->saved = told->store->UpdateFile() || told->store->UpdateFileBackground();
    };
    Told told{m_store.get(), std::this_thread::get_id(), true};
    CMeterIniFile::SetSaveErrorHandler(saveAgain, &told);
    FakeSystem system;
    system.FailCall(Call::Write, 1);
    EXPECT_TRUE(m_store->UpdateFileBackground());
    EXPECT_TRUE(m_store->UpdateFile()) << "once the other is over";
    CMeterIniFile::SetSaveErrorHandler(nullptr, nullptr);
    EXPECT_NE(told.thread, std::this_thread::get_id());
    EXPECT_FALSE(told.saved);
    EXPECT_EQ(system.Count(Call::Rename), 1);
}

TEST_F(MeterIniFileSave, SavesThatFailForMemoryAreTold) {
    bool failed = true;
    for (int n = 1; failed; ++n) {
        ASSERT_LT(n, 200);
        const SaveErrors errors;
        bool saved = false;
        failed = FailAllocation(n, [&] { saved = m_store->UpdateFile(); });
        EXPECT_EQ(errors.Paths().size(), saved ? 0U : 1U) << "allocation " << n;
    }
    EXPECT_TRUE(m_store->m_error);
}

TEST_F(MeterIniFileSave, MirrorIsWrittenOrMissedAloudWithoutMemory) {
    m_store->SetMirror(m_folder.Wide("mirror.ini").c_str());
    bool failed = true;
    for (int n = 1; failed; ++n) {
        ASSERT_LT(n, 200);
        fs::remove(m_folder.Path() / "mirror.ini");
        const std::string value = std::to_string(n);
        Change(value.c_str());
        const SaveErrors errors;
        bool saved = false;
        failed = FailAllocation(n, [&] { saved = m_store->UpdateFile(); });
        EXPECT_EQ(errors.Paths().empty(), saved) << n;
        if (saved) {
            EXPECT_EQ(m_folder.Read("a.ini"), With(value)) << n;
            EXPECT_EQ(m_folder.Read("mirror.ini"), With(value)) << n;
        }
    }
}

// ---- in the background

TEST_F(MeterIniFileSave, BackgroundReturnsBeforeTheFileIsWritten) {
    FakeSystem system;
    system.HoldRenames();
    EXPECT_TRUE(m_store->UpdateFileBackground());
    system.AwaitHeldRename();
    EXPECT_EQ(m_folder.Read("a.ini"), kOld);
    Change("later");
    system.LetRenamesGo();
    m_store.reset();
    EXPECT_EQ(m_folder.Read("a.ini"), kNew);
}

TEST_F(MeterIniFileSave, OfThoseThatWaitOnlyTheLatestIsWritten) {
    FakeSystem system;
    system.HoldRenames();
    EXPECT_TRUE(m_store->UpdateFileBackground());
    system.AwaitHeldRename();
    for (const char* const value : {"2", "3", "4"}) {
        Change(value);
        EXPECT_TRUE(m_store->UpdateFileBackground());
    }
    system.LetRenamesGo();
    m_store.reset();
    EXPECT_EQ(m_folder.Read("a.ini"), With("4"));
    EXPECT_EQ(system.Count(Call::Rename), 2);
}

// Two saves at once would leave the older text, when the one in the background ends last.
TEST_F(MeterIniFileSave, ForegroundSaveWaitsForTheOneThatIsUnderWay) {
    FakeSystem system;
    system.HoldRenames();
    EXPECT_TRUE(m_store->UpdateFileBackground());
    system.AwaitHeldRename();
    std::thread foreground([this] {
        Change("foreground");
        EXPECT_TRUE(m_store->UpdateFile());
    });
    std::this_thread::sleep_for(kLongEnough);
    EXPECT_EQ(system.Count(Call::CreateNew), 1) << "the second save has not begun";
    system.LetRenamesGo();
    foreground.join();
    EXPECT_EQ(m_folder.Read("a.ini"), With("foreground"));
    EXPECT_EQ(system.Count(Call::Rename), 2);
}

TEST_F(MeterIniFileSave, DestructionWaitsForTheOneThatIsUnderWay) {
    FakeSystem system;
    system.HoldRenames();
    EXPECT_TRUE(m_store->UpdateFileBackground());
    system.AwaitHeldRename();
    std::atomic<bool> destroyed{false};
    std::thread end([&] {
        m_store.reset();
        destroyed = true;
    });
    std::this_thread::sleep_for(kLongEnough);
    EXPECT_FALSE(destroyed);
    system.LetRenamesGo();
    end.join();
    EXPECT_EQ(m_folder.Read("a.ini"), kNew);
}

TEST_F(MeterIniFileSave, BackgroundWritesTheStateOfTheCall) {
    EXPECT_TRUE(m_store->UpdateFileBackground());
    Change("later");
    m_store.reset();
    EXPECT_EQ(m_folder.Read("a.ini"), kNew) << "destruction waits, and later edits are not part of the save";
}

TEST_F(MeterIniFileSave, LatestOfManyBackgroundSavesWins) {
    for (int i = 0; i < 200; ++i) {
        Change(std::to_string(i).c_str());
        EXPECT_TRUE(m_store->UpdateFileBackground());
    }
    m_store.reset();
    EXPECT_EQ(m_folder.Read("a.ini"), With("199"));
}

TEST_F(MeterIniFileSave, ForegroundSaveComesBehindBackgroundSaves) {
    for (int i = 0; i < 50; ++i) {
        Change("background");
        EXPECT_TRUE(m_store->UpdateFileBackground());
        Change("foreground");
        EXPECT_TRUE(m_store->UpdateFile());
        EXPECT_EQ(m_folder.Read("a.ini"), With("foreground"));
    }
    m_store.reset();
    EXPECT_EQ(m_folder.Read("a.ini"), With("foreground"));
}

TEST_F(MeterIniFileSave, BackgroundUsesTheMirrorOfTheCall) {
    m_store->SetMirror(m_folder.Wide("mirror.ini").c_str());
    EXPECT_TRUE(m_store->UpdateFileBackground());
    m_store->SetMirror(L"");
    m_store.reset();
    EXPECT_EQ(m_folder.Read("mirror.ini"), kNew);
}

TEST_F(MeterIniFileSave, FailedBackgroundSaveSetsTheFlagAndTellsTheHandler) {
    const SaveErrors errors;
    m_store->SetSaveErrorText(L"no card");
    FakeSystem system;
    system.FailCall(Call::Flush, 1);
    EXPECT_TRUE(m_store->UpdateFileBackground()) << "the save was arranged";
    while (!m_store->m_error)
        std::this_thread::yield();
    EXPECT_TRUE(m_store->UpdateFile());
    EXPECT_EQ(errors.Paths(), std::vector<std::wstring>{m_folder.Wide("a.ini")});
    EXPECT_EQ(errors.LastText(), L"no card");
    EXPECT_NE(errors.LastThread(), std::this_thread::get_id());
    EXPECT_EQ(m_folder.Read("a.ini"), kNew);
}

TEST_F(MeterIniFileSave, BackgroundWithoutMemorySavesBeforeItReturns) {
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 200);
        Change(std::to_string(n).c_str());
        bool happened = false;
        {
            const HeapFault fault(n);
            EXPECT_TRUE(m_store->UpdateFileBackground());
            happened = fault.Happened();
        }
        if (!happened)
            break;
        EXPECT_EQ(m_folder.Read("a.ini"), With(std::to_string(n)));
    }
}

// A save without its mirror would pass for complete.
TEST_F(MeterIniFileSave, TellsOfAMirrorThatItHasNoMemoryFor) {
    const std::wstring mirror = m_folder.Wide("mirror.ini");
    {
        const HeapFault fault(1);
        m_store->SetMirror(mirror.c_str());
    }
    EXPECT_TRUE(m_store->m_error);
    EXPECT_TRUE(m_store->UpdateFile());
    EXPECT_FALSE(m_folder.Exists("mirror.ini"));
}

TEST_F(MeterIniFileSave, EditsGoOnWhileTheThreadWrites) {
    std::string expected;
    for (int i = 0; i < 500; ++i) {
        const std::string value(static_cast<std::size_t>(i % 97), static_cast<char>('a' + i % 26));
        Change(value.c_str());
        EXPECT_TRUE(m_store->WriteString("b", ("k" + std::to_string(i % 50)).c_str(), value.c_str()));
        if (i % 10 == 3) {
            EXPECT_TRUE(m_store->DeleteSection("b"));
        }
        if (i % 3 == 0) {
            EXPECT_TRUE(m_store->UpdateFileBackground());
        }
        if (i % 50 == 0) {
            EXPECT_TRUE(m_store->UpdateFile());
        }
        char read[128];
        EXPECT_TRUE(m_store->ReadString("a", "k", read, sizeof read));
        EXPECT_EQ(read, value);
    }
    EXPECT_TRUE(m_store->UpdateFile());
    EXPECT_FALSE(m_store->m_error);
    EXPECT_EQ(m_folder.Names(), std::vector<std::string>{"a.ini"});
}

// Edits, both kinds of saves, a mirror that comes and goes, a medium that fails now and then and the end of
// the store, in any order, while the thread writes: every file stays a whole text that was saved.
TEST_F(MeterIniFileSave, MirrorsFailuresAndTheEndMeetSavesThatAreUnderWay) {
    constexpr Call kFailing[] = {Call::CreateNew, Call::Write, Call::Flush, Call::Rename,
                                 Call::FlushDirectory};
    const std::wstring path = m_folder.Wide("a.ini");
    const std::wstring mirror = m_folder.Wide("mirror.ini");
    const SaveErrors errors;
    FakeSystem system;
    system.SkipFlushes();
    std::mt19937 random(7);
    std::set<std::string> texts = {kOld};
    for (int round = 0; round < 40; ++round) {
        m_store = std::make_unique<CMeterIniFile>(path.c_str());
        ASSERT_FALSE(m_store->m_error) << "round " << round;
        for (int step = 0; step < 12; ++step) {
            const std::string value = std::to_string(round) + "." + std::to_string(step);
            texts.insert(With(value));
            Change(value.c_str());
            if (random() % 4 == 0)
                system.FailCall(kFailing[random() % std::size(kFailing)], 1 + static_cast<int>(random() % 3));
            m_store->SetMirror(random() % 3 == 0 ? L"" : mirror.c_str());
            m_store->SetSaveErrorText(random() % 2 == 0 ? L"no card" : L"no room");
            EXPECT_TRUE(m_store->UpdateFileBackground());
            const bool read = m_store->ReadString("a", "k", nullptr, 0);
            EXPECT_TRUE(read);
            if (random() % 5 == 0 && m_store->UpdateFile()) {
                EXPECT_EQ(m_folder.Read("a.ini"), With(value));
            }
        }
        m_store.reset();
        system.Heal();
        EXPECT_EQ(texts.count(m_folder.Read("a.ini")), 1U) << m_folder.Read("a.ini");
        if (m_folder.Exists("mirror.ini")) {
            EXPECT_EQ(texts.count(m_folder.Read("mirror.ini")), 1U) << m_folder.Read("mirror.ini");
        }
        for (const std::string& name : m_folder.Names())
            EXPECT_NE(name.front(), '~') << name;
    }
    EXPECT_FALSE(errors.Paths().empty()) << "no save met a failure";
}

TEST_F(MeterIniFileSave, StoresOnSeveralThreadsDoNotMeet) {
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t, &failures] {
            const std::string name = "t" + std::to_string(t) + ".ini";
            CMeterIniFile store(m_folder.Wide(name).c_str());
            for (int i = 0; i < 30; ++i) {
                store.WriteString("a", "k", std::to_string(i).c_str());
                failures += i % 2 == 0 ? !store.UpdateFile() : !store.UpdateFileBackground();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    for (int t = 0; t < 4; ++t)
        EXPECT_EQ(m_folder.Read("t" + std::to_string(t) + ".ini"), With("29"));
}

}  // namespace
