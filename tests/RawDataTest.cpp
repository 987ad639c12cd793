// The archive of raw meter data: gathering files, finding blocks, extracting and deleting.
#include <cstdio>
#include <filesystem>
#include <memory>

#include "Platform/Platform.h"
#include "tests/support/DatabaseFixture.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/Pieces.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

std::string Marker(const std::string& name) {
    return "\r\n<<<<<~~~~~(" + name + ")~~~~~>>>>>\r\n";
}

std::string Block(const std::string& name, const std::string& content) {
    return Marker(name) + content;
}

// Bytes of every value, which repeat late.
std::string Bytes(std::size_t count) {
    std::string bytes(count, '\0');
    unsigned state = 12345;
    for (char& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

class RawData : public DatabaseFixture {
protected:
    RawData() { Open(""); }

    // What stands in the archive from the block of a name on; "(none)" when it is not found.
    std::string FromBlock(const char* name, char* marker = nullptr) {
        std::FILE* const archive = static_cast<std::FILE*>(m_database.OpenRawDataFile(name, marker));
        if (archive == nullptr)
            return "(none)";
        std::string bytes;
        for (int byte = std::fgetc(archive); byte != EOF; byte = std::fgetc(archive))
            bytes += static_cast<char>(byte);
        EXPECT_EQ(std::fclose(archive), 0);
        return bytes;
    }

    long PositionOf(const char* name) {
        std::FILE* const archive = static_cast<std::FILE*>(m_database.OpenRawDataFile(name, nullptr));
        const long position = archive == nullptr ? -1 : std::ftell(archive);
        if (archive != nullptr)
            std::fclose(archive);
        return position;
    }

    // What is extracted of a block; "(false)" when that fails.
    std::string Extracted(const char* name) {
        const bool extracted = m_database.ExtractRawDataFile(name, m_folder.Wide("target.txt").c_str());
        return extracted ? m_folder.Read("target.txt") : "(false)";
    }

    void Gather(const wchar_t* names) { EXPECT_FALSE(m_database.CopyRawDataFiles(names)); }

    void SetMirror(const char* name) { m_database.SetRawMirror(m_folder.Wide(name).c_str()); }
};

using RawDataGathering = RawData;
using RawDataSearch = RawData;
using RawDataExtraction = RawData;
using RawDataDeletion = RawData;

// ---- gathering

TEST_F(RawDataGathering, MovesFilesIntoBlocks) {
    m_folder.Write("a.txt", "xyz");
    m_folder.Write("b.txt", "12\r\n");
    Gather(L"a.txt,b.txt");
    EXPECT_EQ(m_folder.Read(kRawFile),
              "\r\n<<<<<~~~~~(a.txt)~~~~~>>>>>\r\nxyz\r\n<<<<<~~~~~(b.txt)~~~~~>>>>>\r\n12\r\n");
    EXPECT_EQ(m_folder.Read(kRawFile).size(), 69U);
    EXPECT_FALSE(m_folder.Exists("a.txt"));
    EXPECT_FALSE(m_folder.Exists("b.txt"));
}

TEST_F(RawDataGathering, AddsToWhatIsThere) {
    m_folder.Write(kRawFile, "no marker, no line end");
    m_folder.Write("a.txt", "1");
    Gather(L"a.txt");
    m_folder.Write("a.txt", "2");
    Gather(L"a.txt");
    EXPECT_EQ(m_folder.Read(kRawFile), "no marker, no line end" + Block("a.txt", "1") + Block("a.txt", "2"));
}

TEST_F(RawDataGathering, KeepsTheBytes) {
    for (const std::size_t size : {0U, 1U, 1023U, 1024U, 1025U, 16383U, 16384U, 16385U, 100000U}) {
        m_folder.Write(kRawFile, "");
        m_folder.Write("a.bin", Bytes(size));
        Gather(L"a.bin");
        EXPECT_EQ(m_folder.Read(kRawFile), Block("a.bin", Bytes(size))) << size;
        EXPECT_FALSE(m_folder.Exists("a.bin"));
    }
}

TEST_F(RawDataGathering, GoesOnBehindAMissingFile) {
    m_folder.Write("a.txt", "a");
    m_folder.Write("c.txt", "c");
    Gather(L"a.txt,b.txt,c.txt,d.txt");
    EXPECT_EQ(m_folder.Read(kRawFile), Block("a.txt", "a") + Block("c.txt", "c"));
    EXPECT_FALSE(m_folder.Exists("a.txt"));
    EXPECT_FALSE(m_folder.Exists("c.txt"));
}

TEST_F(RawDataGathering, MakesAnEmptyArchiveWhenNothingIsThere) {
    Gather(L"a.txt");
    EXPECT_TRUE(m_folder.Exists(kRawFile));
    EXPECT_EQ(m_folder.Read(kRawFile), "");
}

TEST_F(RawDataGathering, TakesNamesApartAtTheirCommas) {
    const struct {
        const wchar_t* names;
        std::vector<std::string> gathered;
    } cases[] = {
        {L"", {}},
        {nullptr, {}},
        {L",a", {}},
        {L",", {}},
        {L"a", {"a"}},
        {L"b,a", {"b", "a"}},
        {L"a,,b", {"a", "b"}},
        {L"a,b,", {"a", "b"}},
        {L"a,a", {"a"}},
        {L"a, b", {"a"}},
        // characters count by their low bytes, up to one that is zero
        {L"\x0161", {"a"}},
        {L"a\x0162", {"ab"}},
        {L"a\x012C\x0162", {"a", "b"}},
        {L"a,b\x0100,c", {"a", "b"}},
        {L"a,\x0100,b", {"a"}},
        {L"\x0100,a", {}},
    };
    for (const auto& c : cases) {
        m_folder.Write(kRawFile, "");
        for (const char* name : {"a", "b", "c", "ab"})
            m_folder.Write(name, name);
        Gather(c.names);
        std::string expected;
        for (const std::string& name : c.gathered) {
            expected += Block(name, name);
            EXPECT_FALSE(m_folder.Exists(name));
        }
        EXPECT_EQ(m_folder.Read(kRawFile), expected);
    }
}

TEST_F(RawDataGathering, TakesTwoHundredFiftyFiveCharacters) {
    m_folder.Write("x", "");
    m_folder.Write("y", "");
    m_folder.Write("xx", "");
    const std::wstring list = std::wstring(253, L',').replace(0, 1, L"z");
    Gather((list + L",x,y").c_str());
    EXPECT_EQ(m_folder.Read(kRawFile), Marker("x"));
    EXPECT_TRUE(m_folder.Exists("y"));
    m_folder.Write("x", "");
    Gather((list + L",xx").c_str());
    EXPECT_EQ(m_folder.Read(kRawFile), Marker("x") + Marker("x")) << "a name is cut, too";
    EXPECT_TRUE(m_folder.Exists("xx"));
}

TEST_F(RawDataGathering, FindsTheFilesInTheirDirectory) {
    const std::wstring wide = L"b\u00fccher";
    fs::create_directories(m_folder.Path() / "raw" / "deep");
    fs::create_directories(m_folder.Path() / fs::path(Platform::NarrowFromWide(wide)));
    const std::string absolute = Platform::NarrowFromWide(m_folder.Wide("raw"));
    const struct {
        std::string rawPath;
        std::string directory;
    } cases[] = {{"RawPath=raw\n", "raw/"},
                 {"RawPath=raw\\deep\n", "raw/deep/"},
                 {"RawPath=raw\\\n", "raw/"},
                 {"RawPath=" + absolute + "\n", "raw/"},
                 {"RawPath=" + Platform::NarrowFromWide(wide) + "\n", Platform::NarrowFromWide(wide) + "/"},
                 {"RawPath=\n", ""},
                 {"", ""}};
    for (const auto& c : cases) {
        Open("", c.rawPath);
        m_folder.Write(kRawFile, "");
        m_folder.Write(c.directory + "a.txt", "a");
        Gather(L"a.txt");
        EXPECT_EQ(m_folder.Read(kRawFile), Block("a.txt", "a")) << c.rawPath;
        EXPECT_FALSE(m_folder.Exists(c.directory + "a.txt")) << c.rawPath;
    }
}

TEST_F(RawDataGathering, WorksBelowAWideApplicationPath) {
    const std::wstring directory = L"app \u00e4";
    fs::create_directories(m_folder.Path() / fs::path(Platform::NarrowFromWide(directory)));
    const std::string prefix = Platform::NarrowFromWide(directory) + "/";
    m_folder.Write(prefix + "system.ini", "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=data.ini\n");
    m_folder.Write(prefix + "a.txt", "a");
    TestDatabase database((m_folder.Wide() + L"\\" + directory).c_str());
    database.SetIniFile(L"system.ini");
    ASSERT_TRUE(database.OpenDataFile(false));
    EXPECT_FALSE(database.CopyRawDataFiles(L"a.txt"));
    EXPECT_EQ(m_folder.Read(prefix + "raw.dat"), Block("a.txt", "a"));
}

TEST_F(RawDataGathering, NamesTheBlockAsTheListDoes) {
    fs::create_directories(m_folder.Path() / "sub");
    m_folder.Write("sub/a.txt", "a");
    Gather(L"sub\\a.txt");
    EXPECT_EQ(m_folder.Read(kRawFile), Block("sub\\a.txt", "a"));
}

TEST_F(RawDataGathering, CutsTheMarkerOfALongName) {
    const std::string name(235, 'n');
    ASSERT_TRUE(ReplaceFile(m_folder.Wide(name), {"content"}));
    Gather(Platform::WideFromNarrow(name).c_str());
    const std::string marker = Marker(name).substr(0, 255);
    EXPECT_EQ(m_folder.Read(kRawFile), marker + "content");
    EXPECT_EQ(FromBlock(name.c_str()), "content");
    GuardedBuffer<> told(256);
    EXPECT_EQ(FromBlock(std::string(400, 'n').c_str(), told.Data()), "(none)");
    EXPECT_EQ(told.Text(), Marker(std::string(400, 'n')).substr(0, 255));
}

TEST_F(RawDataGathering, PassesOverDirectoriesAndTheArchiveItself) {
    SetMirror("mirror.dat");
    fs::create_directories(m_folder.Path() / "sub");
    m_folder.Write(kRawFile, "old");
    m_folder.Write("mirror.dat", "old mirror");
    m_folder.Write("a.txt", "a");
    Gather(L"sub,raw.dat,sub\\..\\raw.dat,.\\mirror.dat,a.txt");
    EXPECT_EQ(m_folder.Read(kRawFile), "old" + Block("a.txt", "a"));
    EXPECT_EQ(m_folder.Read("mirror.dat"), "old mirror" + Block("a.txt", "a"));
    EXPECT_TRUE(m_folder.Exists("sub"));
}

TEST_F(RawDataGathering, KeepsTheFileWhenTheArchiveCannotTakeIt) {
    m_folder.Write("a.txt", "a");
    SetMirror("mirror.dat");
    fs::create_directories(m_folder.Path() / kRawFile);
    Gather(L"a.txt");
    EXPECT_EQ(m_folder.Read("a.txt"), "a");
    EXPECT_EQ(m_folder.Read("mirror.dat"), "");
    fs::remove(m_folder.Path() / kRawFile);

    m_folder.Write(kRawFile, "old");
    fs::permissions(m_folder.Path() / kRawFile, fs::perms::owner_read);
    Gather(L"a.txt");
    EXPECT_EQ(m_folder.Read(kRawFile), "old");
    EXPECT_EQ(m_folder.Read("a.txt"), "a");
    fs::permissions(m_folder.Path() / kRawFile, fs::perms::owner_all);
}

// The next save of such a file would take the blocks out again, and their own files are gone.
TEST_F(RawDataGathering, AddsNothingToAFileThatAStoreSaves) {
    m_database.SetDataMirror(m_folder.Wide("data mirror").c_str());
    m_database.SetAppMirror(m_folder.Wide("app mirror").c_str());
    ASSERT_TRUE(m_database.UpdateDatabaseForeground());
    ASSERT_TRUE(m_database.SetGeneralData("Dirty", "No"));
    m_folder.Write("a.txt", "a");
    for (const char* archive : {kDataFile, kAppFile, kSystemIni, "data mirror", "app mirror"}) {
        const std::string before = m_folder.Read(archive);
        const std::wstring path = m_folder.Wide(std::string("./") + archive);
        path.copy(m_database.m_rawFilePath, path.size());
        m_database.m_rawFilePath[path.size()] = L'\0';
        Gather(L"a.txt");
        EXPECT_EQ(m_folder.Read(archive), before) << archive;
        EXPECT_EQ(m_folder.Read("a.txt"), "a") << archive;
    }
}

TEST_F(RawDataGathering, LeavesTheFilesOfTheStoresWhereTheyAre) {
    const std::string data = m_folder.Read(kDataFile);
    m_folder.Write("a.txt", "a");
    Gather(L"data.ini,app.ini,.\\system.ini,a.txt");
    EXPECT_EQ(m_folder.Read(kRawFile), Block("a.txt", "a"));
    EXPECT_EQ(m_folder.Read(kDataFile), data);
    EXPECT_TRUE(m_folder.Exists(kAppFile));
    EXPECT_TRUE(m_folder.Exists(kSystemIni));
}

TEST_F(RawDataGathering, NeedsItsStores) {
    m_folder.Write("a.txt", "a");
    m_database.CloseDataFile();
    Gather(L"a.txt");
    ASSERT_TRUE(m_database.OpenDataFile(false));
    m_database.SetIniFile(L"");
    Gather(L"a.txt");
    EXPECT_TRUE(m_folder.Exists("a.txt"));
    EXPECT_FALSE(m_folder.Exists(kRawFile));
}

// ---- the mirror

TEST_F(RawDataGathering, DoesWithoutAMirrorThatAStoreSaves) {
    const std::string data = m_folder.Read(kDataFile);
    SetMirror(kDataFile);
    m_folder.Write("a.txt", "a");
    Gather(L"a.txt");
    EXPECT_EQ(m_folder.Read(kRawFile), Block("a.txt", "a"));
    EXPECT_EQ(m_folder.Read(kDataFile), data);
}

TEST_F(RawDataGathering, WritesTheMirrorAlike) {
    SetMirror("mirror.dat");
    m_folder.Write("a.txt", Bytes(20000));
    Gather(L"a.txt");
    EXPECT_EQ(m_folder.Read("mirror.dat"), Block("a.txt", Bytes(20000)));
    m_folder.Write(kRawFile, "");
    m_folder.Write("b.txt", "b");
    Gather(L"b.txt");
    EXPECT_EQ(m_folder.Read(kRawFile), Block("b.txt", "b"));
    EXPECT_EQ(m_folder.Read("mirror.dat"), Block("a.txt", Bytes(20000)) + Block("b.txt", "b"));
}

TEST_F(RawDataGathering, WritesAMirrorOfTheShortestName) {
    const fs::path before = fs::current_path();
    fs::current_path(m_folder.Path());
    m_folder.Write("m", "old ");
    m_folder.Write("a.txt", "a");
    m_database.SetRawMirror(L"m");
    Gather(L"m,a.txt");
    fs::current_path(before);
    EXPECT_EQ(m_folder.Read(kRawFile), Block("a.txt", "a"));
    EXPECT_EQ(m_folder.Read("m"), "old " + Block("a.txt", "a"));
}

TEST_F(RawDataGathering, DoesWithoutAMirrorThatFails) {
    SetMirror("mirror.dat");
    fs::create_directories(m_folder.Path() / "mirror.dat");
    m_folder.Write("a.txt", "a");
    Gather(L"a.txt");
    EXPECT_EQ(m_folder.Read(kRawFile), Block("a.txt", "a"));
    EXPECT_FALSE(m_folder.Exists("a.txt"));
}

TEST_F(RawDataGathering, WritesAMirrorThatIsTheArchiveOnce) {
    fs::create_directories(m_folder.Path() / "sub");
    for (const char* mirror : {"raw.dat", "sub/../raw.dat"}) {
        SetMirror(mirror);
        m_folder.Write(kRawFile, "");
        m_folder.Write("a.txt", "a");
        Gather(L"a.txt");
        EXPECT_EQ(m_folder.Read(kRawFile), Block("a.txt", "a")) << mirror;
    }
}

// ---- searching

TEST_F(RawDataSearch, NeedsItsStoresAndAnArchive) {
    GuardedBuffer<> marker(256);
    EXPECT_EQ(FromBlock("a.txt", marker.Data()), "(none)");
    EXPECT_EQ(marker.Text(), "");
    m_folder.Write(kRawFile, Block("a.txt", "a"));
    EXPECT_EQ(FromBlock("a.txt"), "a");
    m_database.CloseDataFile();
    EXPECT_EQ(FromBlock("a.txt"), "(none)");
    ASSERT_TRUE(m_database.OpenDataFile(false));
    m_database.SetIniFile(L"");
    EXPECT_EQ(FromBlock("a.txt"), "(none)");
}

TEST_F(RawDataSearch, TellsTheMarker) {
    m_folder.Write(kRawFile, Block("a.txt", "a"));
    for (const char* name : {"a.txt", "b.txt"}) {
        GuardedBuffer<> marker(256);
        EXPECT_EQ(FromBlock(name, marker.Data()) == "a", name == "a.txt"s);
        EXPECT_EQ(marker.Text(), Marker(name));
    }
}

TEST_F(RawDataSearch, FindsTheFirstBlockOfExactlyThatName) {
    m_folder.Write(kRawFile, Block("aa", "1") + Block("a.txt", "2") + Block("", "3") + Block("a", "4") +
                                 Block("A", "5") + Block("a", "6"));
    EXPECT_EQ(FromBlock("a"), "4" + Block("A", "5") + Block("a", "6"));
    EXPECT_EQ(FromBlock("A"), "5" + Block("a", "6"));
    EXPECT_EQ(FromBlock(""), FromBlock(nullptr));
    EXPECT_EQ(FromBlock("").front(), '3');
    EXPECT_EQ(FromBlock("b"), "(none)");
}

TEST_F(RawDataSearch, GivesTheBytesAsTheyAre) {
    const std::string content = "zero \0 byte\n<<<<<~~~~~(b)~~~~~>>>>>\r\n\r\n<<<<<~~~~~(c)"s + Bytes(5000);
    m_folder.Write(kRawFile, Block("a", content));
    EXPECT_EQ(FromBlock("a"), content);
}

TEST_F(RawDataSearch, DoesNotFindAnEmptyBlockAtTheEnd) {
    m_folder.Write(kRawFile, Block("a", ""));
    EXPECT_EQ(FromBlock("a"), "(none)");
    m_folder.Write(kRawFile, Block("a", "1"));
    EXPECT_EQ(FromBlock("a"), "1");
    m_folder.Write(kRawFile, Block("a", "") + Block("b", ""));
    EXPECT_EQ(FromBlock("a"), Marker("b"));
    EXPECT_EQ(FromBlock("b"), "(none)");
    m_folder.Write(kRawFile, Marker("a").substr(0, Marker("a").size() - 1));
    EXPECT_EQ(FromBlock("a"), "(none)");
}

// Markers at every place around the ends of what is read at once, behind bytes that begin like a marker
// themselves.
TEST_F(RawDataSearch, FindsAMarkerAtEveryOffset) {
    const std::string marker = Marker("a");
    std::string filler;
    while (filler.size() < 3 * 16384)
        filler += "\r\n<<<<<~~~~~(a)~~~~~>>>>>\r\r\n<<<<<\0~"s;
    std::vector<std::size_t> offsets;
    const auto around = [&](std::size_t place) {
        for (std::size_t offset = place < 40 ? 0 : place - 40; offset < place + 40; ++offset)
            offsets.push_back(offset);
    };
    for (std::size_t step = 0; step <= 5 * 1023; step += 1023)
        around(step);
    for (const std::size_t window : {4096U, 8192U, 16384U, 16384U + 16357U, 16384U + 2 * 16357U, 2 * 16384U})
        around(window);
    for (const std::size_t offset : offsets) {
        const std::string before = filler.substr(filler.size() - offset);
        m_folder.Write(kRawFile, before + marker + "x");
        EXPECT_EQ(PositionOf("a"), static_cast<long>(offset + marker.size())) << offset;
        m_folder.Write(kRawFile, before + marker);
        EXPECT_EQ(PositionOf("a"), -1) << offset;
    }
}

TEST_F(RawDataSearch, FindsLongMarkersAtEveryOffset) {
    const std::string name(240, 'n');
    const std::string marker = Marker(name).substr(0, 255);
    for (const std::size_t window : {1023U, 16384U, 16384U + 16384U - 255U})
        for (std::size_t offset = window < 300 ? 0 : window - 300; offset < window + 10; ++offset) {
            m_folder.Write(kRawFile, std::string(offset, '\n') + marker + "x");
            ASSERT_EQ(PositionOf(name.c_str()), static_cast<long>(offset + marker.size())) << offset;
        }
}

TEST_F(RawDataSearch, ReadsALargeArchive) {
    const long size = 64 * 1024 * 1024;
    m_folder.Write(kRawFile, "");
    fs::resize_file(m_folder.Path() / kRawFile, static_cast<std::uintmax_t>(size));
    m_folder.Write("a.txt", "at the end");
    Gather(L"a.txt");
    EXPECT_EQ(PositionOf("a.txt"), size + static_cast<long>(Marker("a.txt").size()));
    EXPECT_EQ(FromBlock("a.txt"), "at the end");
}

// ---- extracting

TEST_F(RawDataExtraction, CopiesTheLinesOfABlock) {
    const std::string mark = "<<<<<~~~~~(";
    const struct {
        std::string content;
        std::string extracted;
    } cases[] = {
        {"xyz", "xyz"},
        {"12\r\n", "12\r\n"},
        {"1\n2\r\n\r\n\n3", "1\n2\r\n\r\n\n3"},
        {"\n", "\n"},
        {"ab\0cd\nef\n"s, "abef\n"},
        {"\0ab\ncd"s, "cd"},
        {"ab\0"s, "ab"},
        {"1\n" + mark + "2", "1\n"},
        {mark, ""},
        {"1 " + mark + "\n2", "1 " + mark + "\n2"},
        {" " + mark + "\n", " " + mark + "\n"},
        {"<<<<<~~~~~\n(", "<<<<<~~~~~\n("},
        {std::string(5000, 'x') + "\n" + std::string(3000, 'y'),
         std::string(5000, 'x') + "\n" + std::string(3000, 'y')},
        // a line is looked at in pieces of 1023 bytes
        {std::string(1023, 'x') + mark, std::string(1023, 'x')},
        {std::string(1022, 'x') + mark, std::string(1022, 'x') + mark},
        {std::string(1024, 'x') + mark, std::string(1024, 'x') + mark},
        {std::string(1000, 'x') + '\0' + std::string(100, 'y') + "\n",
         std::string(1000, 'x') + std::string(78, 'y') + "\n"},
    };
    for (const auto& c : cases) {
        m_folder.Write(kRawFile, Block("other", "1") + Block("a", c.content));
        EXPECT_EQ(Extracted("a"), c.extracted) << c.content;
        m_folder.Write(kRawFile, Block("a", c.content) + Block("b", "2"));
        const bool ends = c.extracted.size() >= c.content.size();  // nothing was cut
        if (ends) {
            EXPECT_EQ(Extracted("a"), c.extracted + "\r\n") << c.content;
        }
    }
}

TEST_F(RawDataExtraction, GivesALineBreakForAnEmptyBlock) {
    m_folder.Write(kRawFile, Block("a", "") + Block("b", ""));
    EXPECT_EQ(Extracted("a"), "\r\n");
    EXPECT_EQ(Extracted("b"), "(false)");
}

TEST_F(RawDataExtraction, LeavesAnEmptyFileForWhatIsNotThere) {
    m_folder.Write("target.txt", "earlier");
    EXPECT_EQ(Extracted("a"), "(false)");  // no archive
    EXPECT_TRUE(m_folder.Exists("target.txt"));
    EXPECT_EQ(m_folder.Read("target.txt"), "");
    m_folder.Write("target.txt", "earlier");
    m_folder.Write(kRawFile, Block("a", "1"));
    EXPECT_EQ(Extracted("b"), "(false)");
    EXPECT_EQ(m_folder.Read("target.txt"), "");
}

TEST_F(RawDataExtraction, ReplacesWhatTheTargetHeld) {
    m_folder.Write("target.txt", "a longer text than the block has");
    m_folder.Write(kRawFile, Block("a", "1"));
    EXPECT_EQ(Extracted("a"), "1");
}

TEST_F(RawDataExtraction, NeedsATarget) {
    m_folder.Write(kRawFile, Block("a", "1"));
    EXPECT_FALSE(m_database.ExtractRawDataFile("a", nullptr));
    EXPECT_FALSE(m_database.ExtractRawDataFile("a", L""));
    EXPECT_FALSE(m_database.ExtractRawDataFile("a", m_folder.Wide().c_str()));
    EXPECT_FALSE(m_database.ExtractRawDataFile("a", m_folder.Wide("no/such/directory").c_str()));
}

TEST_F(RawDataExtraction, NeverOverwritesTheArchive) {
    SetMirror("mirror.dat");
    m_folder.Write("a.txt", "1");
    Gather(L"a.txt");
    for (const char* target : {"raw.dat", "mirror.dat", "./raw.dat"})
        EXPECT_FALSE(m_database.ExtractRawDataFile("a.txt", m_folder.Wide(target).c_str()));
    EXPECT_EQ(m_folder.Read(kRawFile), Block("a.txt", "1"));
    EXPECT_EQ(m_folder.Read("mirror.dat"), Block("a.txt", "1"));
}

TEST_F(RawDataExtraction, NeverOverwritesTheFilesOfTheStores) {
    m_folder.Write(kRawFile, Block("a", "1"));
    for (const char* target : {kDataFile, kAppFile, kSystemIni}) {
        const std::string before = m_folder.Read(target);
        EXPECT_FALSE(m_database.ExtractRawDataFile("a", m_folder.Wide(target).c_str())) << target;
        EXPECT_EQ(m_folder.Read(target), before) << target;
    }
}

TEST_F(RawDataExtraction, NeedsItsStores) {
    m_folder.Write(kRawFile, Block("a", "1"));
    m_database.CloseDataFile();
    EXPECT_EQ(Extracted("a"), "(false)");
    ASSERT_TRUE(m_database.OpenDataFile(false));
    m_database.SetIniFile(L"");
    EXPECT_EQ(Extracted("a"), "(false)");
    EXPECT_FALSE(m_folder.Exists("target.txt"));
}

// ---- deleting

TEST_F(RawDataDeletion, TakesArchiveAndMirror) {
    m_folder.Write(kRawFile, "1");
    m_folder.Write("mirror.dat", "1");
    EXPECT_TRUE(m_database.DeleteRawDataFile());
    EXPECT_FALSE(m_folder.Exists(kRawFile));
    EXPECT_TRUE(m_folder.Exists("mirror.dat"));
    SetMirror("mirror.dat");
    EXPECT_TRUE(m_database.DeleteRawDataFile());
    EXPECT_FALSE(m_folder.Exists("mirror.dat"));
    EXPECT_TRUE(m_database.DeleteRawDataFile());
}

TEST_F(RawDataDeletion, NeedsNoStores) {
    m_folder.Write(kRawFile, "1");
    m_database.CloseDataFile();
    m_database.SetIniFile(L"");
    EXPECT_TRUE(m_database.DeleteRawDataFile());
    EXPECT_FALSE(m_folder.Exists(kRawFile));
    EXPECT_TRUE(CMeterDatabase(L"").DeleteRawDataFile());
}

}  // namespace
