// The archive of raw meter data on a system that fails: nothing is lost, whatever fails and when.
#include <algorithm>
#include <cstdio>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/HeapFault.h"

namespace {

using Call = FakeSystem::Call;
using Times = FakeSystem::Times;

std::string Block(const std::string& name, const std::string& content) {
    return "\r\n<<<<<~~~~~(" + name + ")~~~~~>>>>>\r\n" + content;
}

class RawDataFault : public DatabaseFixture {
protected:
    RawDataFault() {
        Open("");
        m_database.SetRawMirror(m_folder.Wide("mirror.dat").c_str());
    }

    // An archive with one block and two files to gather, the first longer than what is copied at once.
    void Prepare() {
        m_folder.Write(kRawFile, m_old);
        m_folder.Write("mirror.dat", m_old);
        m_folder.Write("a", m_a);
        m_folder.Write("b", m_b);
    }

    void Gather() { EXPECT_FALSE(m_database.CopyRawDataFiles(L"a,b")); }

    // Whole blocks alone are in the archive, in their order; a file that is gone is in it, the mirror has no
    // block more than the archive, and the old block is found as before.
    void ExpectNothingLost(const std::string& what) {
        SCOPED_TRACE(what);
        const std::string archive = m_folder.Read(kRawFile);
        const std::string mirror = m_folder.Read("mirror.dat");
        EXPECT_TRUE(IsWhole(archive)) << archive.size();
        EXPECT_TRUE(IsWhole(mirror)) << mirror.size();
        for (const char* name : {"a", "b"}) {
            const std::string block = Block(name, name[0] == 'a' ? m_a : m_b);
            const bool archived = archive.find(block) != std::string::npos;
            EXPECT_TRUE(archived || m_folder.Read(name) == (name[0] == 'a' ? m_a : m_b)) << name;
            EXPECT_TRUE(archived || mirror.find(block) == std::string::npos) << name;
        }
        std::FILE* const old = static_cast<std::FILE*>(m_database.OpenRawDataFile("old", nullptr));
        ASSERT_NE(old, nullptr);
        EXPECT_EQ(std::fgetc(old), 'o');
        std::fclose(old);
    }

    // The bytes of the first block of a name in the mirror, as far as `content` goes.
    bool MirrorHolds(const std::string& name, const std::string& content) const {
        const std::string mirror = m_folder.Read("mirror.dat");
        const std::size_t block = mirror.find(Block(name, ""));
        return block != std::string::npos &&
               mirror.compare(block, Block(name, content).size(), Block(name, content)) == 0;
    }

    // True when the first block of a name in the archive begins with `content`.
    bool ArchiveHolds(const std::string& name, const std::string& content) {
        std::FILE* const block = static_cast<std::FILE*>(m_database.OpenRawDataFile(name.c_str(), nullptr));
        if (block == nullptr)
            return false;
        std::string bytes(content.size(), '\0');
        bytes.resize(std::fread(bytes.data(), 1, bytes.size(), block));
        std::fclose(block);
        return bytes == content;
    }

    // What a program finds that starts anew on what a stopped one left: every reading in the archive or in
    // its own file, and after the next gathering in archive and mirror.
    void ExpectNoHalfBlockIsFound(const std::string& what) {
        SCOPED_TRACE(what);
        for (const auto& [name, content] : {std::pair("a", m_a), std::pair("b", m_b)})
            EXPECT_TRUE(ArchiveHolds(name, content) || m_folder.Read(name) == content) << name;
        EXPECT_TRUE(m_database.ExtractRawDataFile("old", m_folder.Wide("target").c_str()));
        EXPECT_EQ(m_folder.Read("target").substr(0, 11), "old content");
        Gather();
        for (const auto& [name, content] : {std::pair("a", m_a), std::pair("b", m_b)}) {
            EXPECT_TRUE(ArchiveHolds(name, content)) << name;
            EXPECT_TRUE(MirrorHolds(name, content)) << name;
            EXPECT_FALSE(m_folder.Exists(name)) << name;
        }
    }

    bool IsWhole(const std::string& archive) const {
        const std::string a = Block("a", m_a);
        const std::string b = Block("b", m_b);
        return archive == m_old || archive == m_old + a || archive == m_old + b || archive == m_old + a + b;
    }

    const std::string m_old = Block("old", "old content");
    const std::string m_a = std::string(40000, 'a');
    const std::string m_b = "b";
};

TEST_F(RawDataFault, LosesNothingWhenAnyCallFailsOnce) {
    for (int n = 1;; ++n) {
        Prepare();
        FakeSystem system;
        system.FailAnyCall(n);
        Gather();
        const bool happened = system.FaultHappened();
        system.Heal();
        ExpectNothingLost("call " + std::to_string(n));
        if (happened)
            continue;
        EXPECT_GT(n, 30);
        EXPECT_EQ(m_folder.Read(kRawFile), m_old + Block("a", m_a) + Block("b", m_b));
        EXPECT_EQ(m_folder.Read("mirror.dat"), m_folder.Read(kRawFile));
        EXPECT_FALSE(m_folder.Exists("a") || m_folder.Exists("b"));
        return;
    }
}

TEST_F(RawDataFault, LosesNothingWhenCallsOfOneKindFail) {
    for (const Call call : {Call::Inspect, Call::OpenForReading, Call::OpenForAppending, Call::Read,
                            Call::Write, Call::Flush, Call::Close, Call::Remove})
        for (int n = 1;; ++n) {
            Prepare();
            FakeSystem system;
            system.FailCall(call, n, Times::FromThenOn);
            Gather();
            const bool happened = system.FaultHappened();
            system.Heal();
            ExpectNothingLost("kind " + std::to_string(static_cast<int>(call)) + ", call " +
                              std::to_string(n));
            if (!happened)
                break;
        }
}

// Nothing that follows the call has an effect: so it is when the program is stopped there.
TEST_F(RawDataFault, FindsNoHalfBlockOfAProgramThatWasStopped) {
    for (int n = 1;; ++n) {
        Prepare();
        FakeSystem system;
        system.FailAnyCall(n, Times::FromThenOn);
        Gather();
        const bool happened = system.FaultHappened();
        system.Heal();
        ExpectNoHalfBlockIsFound("stopped before call " + std::to_string(n));
        if (happened)
            continue;
        EXPECT_GT(n, 30);
        return;
    }
}

// A power cut may leave any part of what was being written.
TEST_F(RawDataFault, FindsNoHalfBlockAfterAPowerCut) {
    std::vector<std::size_t> written = {16384, 39999, 40000};
    for (std::size_t bytes = 0; bytes < Block("a", "").size() + 40; ++bytes)
        written.push_back(bytes);
    for (const std::size_t bytes : written) {
        Prepare();
        FakeSystem system;
        system.FillDiskAfter(bytes);
        for (const Call call : {Call::Cut, Call::Remove})
            system.FailCall(call, 1, Times::FromThenOn);
        EXPECT_FALSE(m_database.CopyRawDataFiles(L"a"));
        system.Heal();
        ExpectNoHalfBlockIsFound(std::to_string(bytes) + " bytes were written");
    }
}

TEST_F(RawDataFault, LosesNothingWhenTheDiskIsFull) {
    const std::size_t needed = 2 * (Block("a", m_a).size() + Block("b", m_b).size());
    std::vector<std::size_t> rooms = {0, 1, 100, 16384, 39999};
    for (std::size_t room = 40000; room < 40070; ++room)
        rooms.push_back(room);
    for (std::size_t room = needed - 70; room < needed; ++room)
        rooms.push_back(room);
    for (const std::size_t room : rooms) {
        Prepare();
        FakeSystem system;
        system.FillDiskAfter(room);
        Gather();
        system.Heal();
        ExpectNothingLost(std::to_string(room) + " bytes of room");
        if (room < Block("a", m_a).size()) {
            EXPECT_EQ(m_folder.Read("a"), m_a) << room;
        }
    }
}

TEST_F(RawDataFault, CopiesWholeFilesInSmallTransfers) {
    Prepare();
    FakeSystem system;
    system.LimitTransfers(7);
    Gather();
    EXPECT_EQ(m_folder.Read(kRawFile), m_old + Block("a", m_a) + Block("b", m_b));
    EXPECT_EQ(m_folder.Read("mirror.dat"), m_folder.Read(kRawFile));
}

TEST_F(RawDataFault, GathersTheRestWhenOneFileFails) {
    Prepare();
    FakeSystem system;
    system.FailCall(Call::Write, 2);  // in the content of the first file
    Gather();
    EXPECT_EQ(m_folder.Read(kRawFile), m_old + Block("b", m_b));
    EXPECT_EQ(m_folder.Read("mirror.dat"), m_old + Block("b", m_b));
    EXPECT_EQ(m_folder.Read("a"), m_a);
    EXPECT_FALSE(m_folder.Exists("b"));
}

TEST_F(RawDataFault, TakesABlockBackWhenTheArchiveCannotBeClosed) {
    Prepare();
    FakeSystem system;
    system.FailCall(Call::Close, 1);
    Gather();
    EXPECT_EQ(m_folder.Read(kRawFile), m_old + Block("b", m_b));
    EXPECT_EQ(m_folder.Read("a"), m_a);
}

TEST_F(RawDataFault, TakesTheMirrorBackAlone) {
    Prepare();
    FakeSystem system;
    system.FailCall(Call::Flush, 2);  // of the first file's block in the mirror
    Gather();
    EXPECT_EQ(m_folder.Read(kRawFile), m_old + Block("a", m_a) + Block("b", m_b));
    EXPECT_EQ(m_folder.Read("mirror.dat"), m_old + Block("b", m_b));
    EXPECT_FALSE(m_folder.Exists("a"));
}

// A new archive is only there when its directory says so.
TEST_F(RawDataFault, LeavesANewArchiveEmptyWhenItsDirectoryCannotBeFlushed) {
    m_folder.Write("a", m_a);
    FakeSystem system;
    system.FailCall(Call::FlushDirectory, 1);
    EXPECT_FALSE(m_database.CopyRawDataFiles(L"a"));
    EXPECT_EQ(m_folder.Read(kRawFile), "");
    EXPECT_EQ(m_folder.Read("a"), m_a);
    EXPECT_FALSE(m_folder.Exists("mirror.dat"));
}

TEST_F(RawDataFault, DeletesAFileOnlyBehindTheFlushOfItsBlock) {
    for (const bool isNew : {false, true}) {
        Prepare();
        if (isNew)
            m_database.DeleteRawDataFile();
        FakeSystem system;
        Gather();
        const std::vector<FakeSystem::Entry> journal = system.Journal();
        const std::wstring archive = m_database.m_rawFilePath;
        const auto lastOf = [&](Call call, const std::wstring& path, auto end) {
            auto last = journal.end();
            for (auto entry = journal.begin(); entry != end; ++entry)
                if (entry->call == call && entry->path == path && entry->done)
                    last = entry;
            return last;
        };
        int removed = 0;
        for (auto entry = journal.begin(); entry != journal.end(); ++entry) {
            if (entry->call != Call::Remove)
                continue;
            const auto write = lastOf(Call::Write, archive, entry);
            const auto flush = lastOf(Call::Flush, archive, entry);
            ASSERT_NE(flush, journal.end());
            EXPECT_LT(write, flush);
            if (isNew) {
                EXPECT_NE(lastOf(Call::FlushDirectory, archive, entry), journal.end());
            }
            ++removed;
        }
        EXPECT_EQ(removed, 2);
    }
}

TEST_F(RawDataFault, LosesNothingWithoutMemory) {
    for (const HeapFault::Times times : {HeapFault::Times::Once, HeapFault::Times::FromThenOn})
        for (int n = 1;; ++n) {
            Prepare();
            bool happened = false;
            {
                HeapFault fault(n, times);
                EXPECT_FALSE(m_database.CopyRawDataFiles(L"a,b"));
                happened = fault.Happened();
            }
            ExpectNothingLost("allocation " + std::to_string(n));
            if (!happened)
                break;
        }
}

// ---- reading

TEST_F(RawDataFault, ReadsOrFailsWithoutMemory) {
    m_folder.Write(kRawFile, m_old);
    const std::wstring target = m_folder.Wide("target");
    for (int n = 1;; ++n) {
        std::FILE* archive = nullptr;
        bool extracted = false;
        bool happened = false;
        {
            HeapFault fault(n, HeapFault::Times::FromThenOn);
            archive = static_cast<std::FILE*>(m_database.OpenRawDataFile("old", nullptr));
            extracted = m_database.ExtractRawDataFile("old", target.c_str());
            happened = fault.Happened();
        }
        if (archive != nullptr) {
            EXPECT_EQ(std::fgetc(archive), 'o');
            std::fclose(archive);
        }
        if (extracted) {
            EXPECT_EQ(m_folder.Read("target"), "old content");
        }
        if (happened)
            continue;
        EXPECT_TRUE(extracted);
        return;
    }
}

TEST_F(RawDataFault, FailsWhenAStreamCannotBeOpened) {
    m_folder.Write(kRawFile, m_old);
    const std::wstring target = m_folder.Wide("target");
    FakeSystem system;
    system.FailCall(Call::OpenStream, 1);
    EXPECT_EQ(m_database.OpenRawDataFile("old", nullptr), nullptr);
    system.FailCall(Call::OpenStream, 1);
    EXPECT_FALSE(m_database.ExtractRawDataFile("old", target.c_str()));
    EXPECT_FALSE(m_folder.Exists("target"));
    system.FailCall(Call::OpenStream, 2);
    EXPECT_FALSE(m_database.ExtractRawDataFile("old", target.c_str()));
    EXPECT_EQ(m_folder.Read("target"), "");
}

TEST_F(RawDataFault, LeavesNoHalfBlockWhenTheTargetCannotBeWritten) {
    m_folder.Write(kRawFile, m_old + Block("a", m_a));
    m_folder.Write("target", "earlier");
    FakeSystem system;
    system.RefuseStreamWrites();
    EXPECT_FALSE(m_database.ExtractRawDataFile("a", m_folder.Wide("target").c_str()));
    EXPECT_FALSE(m_database.ExtractRawDataFile("old", m_folder.Wide("target").c_str()));
}

TEST_F(RawDataFault, LeavesNoBlockThatIsNotOnTheMedium) {
    m_folder.Write(kRawFile, m_old);
    FakeSystem system;
    system.FailCall(Call::FlushStream, 1);
    EXPECT_FALSE(m_database.ExtractRawDataFile("old", m_folder.Wide("target").c_str()));
    EXPECT_TRUE(m_folder.Exists("target"));
    EXPECT_EQ(m_folder.Read("target"), "");
}

TEST_F(RawDataFault, DeletesWhatItCan) {
    Prepare();
    FakeSystem system;
    system.FailCall(Call::Remove, 1);
    EXPECT_TRUE(m_database.DeleteRawDataFile());
    EXPECT_TRUE(m_folder.Exists(kRawFile));
    EXPECT_FALSE(m_folder.Exists("mirror.dat"));
}

}  // namespace
