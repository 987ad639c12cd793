// Adding a file to the end of another one.
#include <gtest/gtest.h>

#include <filesystem>

#include "Platform/Platform.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/TestFolder.h"

namespace {

namespace fs = std::filesystem;

class FileAppending : public testing::Test {
protected:
    bool Append(const char* path, const char* source) {
        return Platform::AppendFile(m_folder.Wide(path), "head ", m_folder.Wide(source));
    }

    TestFolder m_folder;
};

TEST_F(FileAppending, AddsHeadAndFile) {
    m_folder.Write("source", "bytes");
    EXPECT_TRUE(Append("new", "source"));
    EXPECT_EQ(m_folder.Read("new"), "head bytes");
    EXPECT_TRUE(Append("new", "source"));
    EXPECT_EQ(m_folder.Read("new"), "head byteshead bytes");
    m_folder.Write("source", "");
    EXPECT_TRUE(Append("new", "source"));
    EXPECT_EQ(m_folder.Read("new"), "head byteshead byteshead ");
    EXPECT_EQ(m_folder.Read("source"), "");
}

TEST_F(FileAppending, AddsNothingOfWhatIsNoFile) {
    m_folder.Write("old", "old");
    fs::create_directories(m_folder.Path() / "sub");
    for (const char* source : {"missing", "sub", "sub/missing"}) {
        EXPECT_FALSE(Append("old", source)) << source;
        EXPECT_FALSE(Append("new", source)) << source;
    }
    EXPECT_EQ(m_folder.Read("old"), "old");
    EXPECT_EQ(m_folder.Read("new"), "");
}

TEST_F(FileAppending, AddsNothingToWhatIsNoFile) {
    m_folder.Write("source", "bytes");
    fs::create_directories(m_folder.Path() / "sub");
    for (const char* path : {"sub", "missing/new"})
        EXPECT_FALSE(Append(path, "source")) << path;
    EXPECT_FALSE(Platform::AppendFile(L"", "head", m_folder.Wide("source")));
}

TEST_F(FileAppending, AddsNothingToAReadOnlyFile) {
    m_folder.Write("source", "bytes");
    m_folder.Write("old", "old");
    fs::permissions(m_folder.Path() / "old", fs::perms::owner_read);
    EXPECT_FALSE(Append("old", "source"));
    EXPECT_EQ(m_folder.Read("old"), "old");
    fs::permissions(m_folder.Path() / "old", fs::perms::owner_all);
}

TEST_F(FileAppending, NeverAddsAFileToItself) {
    m_folder.Write("old", "old");
    fs::create_hard_link(m_folder.Path() / "old", m_folder.Path() / "other name");
    for (const char* source : {"old", "./old", "other name"})
        EXPECT_FALSE(Append("old", source)) << source;
    EXPECT_EQ(m_folder.Read("old"), "old");
}

TEST_F(FileAppending, BeginsTheHeadWhenTheRestIsOnTheMedium) {
    m_folder.Write("source", std::string(50000, 's'));
    for (const char* path : {"old", "new"}) {
        m_folder.Write("old", "old");
        FakeSystem system;
        ASSERT_TRUE(Append(path, "source"));
        using Call = FakeSystem::Call;
        std::string written;
        bool flushed = false;
        bool begun = false;
        for (const FakeSystem::Entry& entry : system.Journal()) {
            if (entry.call == Call::Write) {
                written += entry.bytes;
                flushed = false;
            }
            flushed = flushed || entry.call == Call::Flush;
            if (entry.call != Call::Overwrite)
                continue;
            begun = true;
            EXPECT_TRUE(flushed) << path;
            EXPECT_EQ(entry.bytes, "h");
        }
        EXPECT_TRUE(begun);
        EXPECT_EQ(written, std::string(1, '\0') + "ead " + std::string(50000, 's'));
    }
}

TEST_F(FileAppending, FollowsALink) {
    m_folder.Write("source", "bytes");
    fs::create_directories(m_folder.Path() / "sub");
    std::error_code refused;
    fs::create_symlink("sub/new", m_folder.Path() / "link", refused);
    if (refused)
        GTEST_SKIP() << "no links here";
    FakeSystem system;
    ASSERT_TRUE(Append("link", "source"));
    EXPECT_TRUE(fs::is_symlink(m_folder.Path() / "link"));
    EXPECT_EQ(m_folder.Read("sub/new"), "head bytes");
    for (const FakeSystem::Entry& entry : system.Journal())
        if (entry.call == FakeSystem::Call::FlushDirectory) {
            EXPECT_TRUE(Platform::SamePath(entry.path, m_folder.Wide("sub/new"))) << "where the new name is";
        }
    EXPECT_EQ(system.Count(FakeSystem::Call::FlushDirectory), 1);
    ASSERT_TRUE(Append("link", "source"));
    EXPECT_EQ(m_folder.Read("sub/new"), "head byteshead bytes");
}

TEST_F(FileAppending, AddsAFileWithoutAHead) {
    m_folder.Write("source", "bytes");
    EXPECT_TRUE(Platform::AppendFile(m_folder.Wide("new"), "", m_folder.Wide("source")));
    EXPECT_EQ(m_folder.Read("new"), "bytes");
}

// ---- other programs

TEST_F(FileAppending, HidesWhatItAddsWhileAnotherProgramAddsToTheFile) {
    m_folder.Write("source", "bytes");
    for (const auto call : {FakeSystem::Call::OpenForAppending, FakeSystem::Call::Flush}) {
        m_folder.Write("old", "old ");
        FakeSystem system;
        system.BeforeNext(call, [this] { m_folder.Write("old", m_folder.Read("old") + "other's "); });
        EXPECT_FALSE(Append("old", "source")) << "nobody knows where its head stands";
        const std::string both = m_folder.Read("old");
        EXPECT_EQ(both.find("head"), std::string::npos);
        EXPECT_NE(both.find("other's "), std::string::npos);
        EXPECT_EQ(both.substr(0, 4), "old ");
        EXPECT_TRUE(Append("old", "source"));
        EXPECT_EQ(m_folder.Read("old"), both + "head bytes");
    }
}

TEST_F(FileAppending, TakesNothingBackThatAnotherProgramAdded) {
    m_folder.Write("source", "bytes");
    m_folder.Write("old", "old ");
    FakeSystem system;
    system.BeforeNext(FakeSystem::Call::Flush,
                      [this] { m_folder.Write("old", m_folder.Read("old") + "other's"); });
    system.FailCall(FakeSystem::Call::Flush, 1);
    EXPECT_FALSE(Append("old", "source"));
    EXPECT_EQ(m_folder.Read("old"), std::string("old \0ead bytesother's", 21));
}

TEST_F(FileAppending, AddsNothingOfAFileThatIsStillBeingWritten) {
    m_folder.Write("source", "bytes");
    m_folder.Write("old", "old");
    FakeSystem system;
    system.BeforeNext(FakeSystem::Call::Flush, [this] { m_folder.Write("source", "bytes and more"); });
    EXPECT_FALSE(Append("old", "source"));
    EXPECT_EQ(m_folder.Read("old"), "old");
    EXPECT_TRUE(Append("old", "source"));
    EXPECT_EQ(m_folder.Read("old"), "oldhead bytes and more");
}

TEST_F(FileAppending, FailsWhenTheFileIsGoneBeforeItIsWhole) {
    m_folder.Write("source", "bytes");
    for (const auto call : {FakeSystem::Call::OpenForAppending, FakeSystem::Call::FlushDirectory,
                            FakeSystem::Call::Overwrite}) {
        m_folder.Write("old", "old");
        FakeSystem system;
        system.BeforeNext(call, [this] { fs::remove(m_folder.Path() / "old"); });
        EXPECT_FALSE(Append("old", "source"));
        EXPECT_EQ(m_folder.Read("old").find("head"), std::string::npos);
        EXPECT_EQ(m_folder.Read("source"), "bytes");
    }
}

TEST_F(FileAppending, LeavesTheFileAsItWasWhenAnythingFails) {
    m_folder.Write("source", std::string(50000, 's'));
    for (const char* path : {"old", "new"})
        for (int n = 1;; ++n) {
            m_folder.Write("old", "old");
            fs::remove(m_folder.Path() / "new");
            FakeSystem system;
            system.FailAnyCall(n);
            const bool appended = Append(path, "source");
            const std::string before = path == std::string("old") ? "old" : "";
            EXPECT_EQ(m_folder.Read(path), appended ? before + "head " + std::string(50000, 's') : before)
                << n;
            if (!system.FaultHappened()) {
                EXPECT_TRUE(appended);
                break;
            }
        }
}

}  // namespace
