// What only Linux has: owners and modes, pipes among the files, names with a backslash, messages on standard
// error.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "Platform/Platform.h"
#include "Platform/System.h"
#include "tests/support/HeapFault.h"
#include "tests/support/Host.h"
#include "tests/support/Pieces.h"
#include "tests/support/TestFolder.h"

namespace fs = std::filesystem;
using Platform::LoadResult;
using Names = std::vector<std::string>;

// The real system, which the fake one is laid over.
namespace Platform::RealSystem {
int ShowMessage(void* owner, const wchar_t* text, const wchar_t* caption, unsigned type) noexcept;
}  // namespace Platform::RealSystem

// The administrator may do everything; while an object lives, he is somebody else.
class OrdinaryUser {
public:
    OrdinaryUser() : m_user(::geteuid()) { EXPECT_TRUE(m_user != 0 || ::seteuid(65534) == 0); }
    ~OrdinaryUser() { EXPECT_EQ(::seteuid(m_user), 0); }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    uid_t m_user;
};

TEST(LinuxPaths, SlashesSeparateAndDrivesDoNotCount) {
    EXPECT_TRUE(Platform::IsAbsolutePath(L"/data/a.ini"));
    EXPECT_FALSE(Platform::IsAbsolutePath(L"C:\\data\\a.ini"));
    EXPECT_EQ(Platform::System::NamePosition(L"C:a.ini"), 0u);
    EXPECT_TRUE(Platform::System::SameLetters(L"a/b\\c", L"a\\b/c"));
    EXPECT_FALSE(Platform::System::SameLetters(L"a", L"A"));
}

TEST(ReplaceFileOnLinux, KeepsTheOwner) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    const fs::path path = folder.Path() / "a.ini";
    constexpr mode_t kMode = 06755;
    if (::chown(path.c_str(), 4711, 4712) != 0 || ::chmod(path.c_str(), kMode) != 0)
        GTEST_SKIP() << "only the administrator can give a file away";
    EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), {"new"}));
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 4711u);
    EXPECT_EQ(status.st_gid, 4712u);
    EXPECT_EQ(status.st_mode & 07777u, kMode);
}

TEST(ReplaceFileOnLinux, AFileOfSomebodyElseIsReplacedWhereTheDirectoryAllowsIt) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    const fs::path path = folder.Path() / "a.ini";
    if (::chown(path.c_str(), 4711, 4712) != 0)
        GTEST_SKIP() << "only the administrator can give a file away";
    ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
    ASSERT_EQ(::chmod(folder.Path().c_str(), 0777), 0);
    {
        const OrdinaryUser user;
        EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), {"new"}));
    }
    EXPECT_EQ(folder.Read("a.ini"), "new");
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0666u);
}

TEST(ReplaceFileOnLinux, ADirectoryNeedNotBeReadable) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    ASSERT_EQ(::chmod((folder.Path() / "a.ini").c_str(), 0666), 0);
    ASSERT_EQ(::chmod(folder.Path().c_str(), ::geteuid() == 0 ? 0733 : 0300), 0);
    bool replaced = false;
    {
        const OrdinaryUser user;
        EXPECT_NE(::faccessat(AT_FDCWD, folder.Path().c_str(), R_OK, AT_EACCESS), 0);
        replaced = ReplaceFile(folder.Wide("a.ini"), {"new"});
    }
    ASSERT_EQ(::chmod(folder.Path().c_str(), 0755), 0);
    EXPECT_TRUE(replaced);
    EXPECT_EQ(folder.Read("a.ini"), "new");
    EXPECT_EQ(folder.Names(), Names{"a.ini"});
}

// The next file that is opened then gets the number 0.
TEST(ReplaceFileOnLinux, WorksWhereStandardInputIsClosed) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    const int input = ::dup(STDIN_FILENO);
    ::close(STDIN_FILENO);
    Platform::FileBytes bytes;
    const LoadResult loaded = Platform::LoadFile(folder.Wide("a.ini"), &bytes);
    const bool replaced = ReplaceFile(folder.Wide("a.ini"), {"new"});
    const bool appended = Platform::AppendFile(folder.Wide("archive"), "head ", folder.Wide("a.ini"));
    if (input >= 0) {
        ::dup2(input, STDIN_FILENO);
        ::close(input);
    }
    EXPECT_EQ(loaded, LoadResult::Loaded);
    EXPECT_TRUE(replaced);
    EXPECT_TRUE(appended);
    EXPECT_EQ(folder.Read("a.ini"), "new");
    EXPECT_EQ(folder.Read("archive"), "head new");
    EXPECT_EQ(folder.Names(), (Names{"a.ini", "archive"}));
}

TEST(ReplaceFileOnLinux, ALinkToTheShortestNameStaysALink) {
    const TestFolder folder;
    folder.Write("a", "old");
    ASSERT_TRUE(Host::MakeLink("a", folder.Path() / "link"));
    EXPECT_TRUE(ReplaceFile(folder.Wide("link"), {"new"}));
    EXPECT_TRUE(Host::IsLink(folder.Path() / "link"));
    EXPECT_EQ(folder.Read("a"), "new");
}

TEST(ReplaceFileOnLinux, ALinkToWhatNoPathCanNameIsRefused) {
    const TestFolder folder;
    fs::create_directory(folder.Path() / "sub");
    folder.Write("sub/a.ini", "another file");
    ASSERT_TRUE(Host::MakeLink("sub\\a.ini", folder.Path() / "link"));
    EXPECT_FALSE(ReplaceFile(folder.Wide("link"), {"text"}));
    EXPECT_EQ(folder.Read("sub/a.ini"), "another file");
}

TEST(PipeOnLinux, IsNeitherReadNorReplacedNorWaitedFor) {
    const TestFolder folder;
    ASSERT_EQ(::mkfifo((folder.Path() / "pipe").c_str(), 0600), 0);
    Platform::FileBytes bytes;
    EXPECT_EQ(Platform::LoadFile(folder.Wide("pipe"), &bytes), LoadResult::Unreadable);
    EXPECT_EQ(Platform::_wfopen(folder.Wide("pipe").c_str(), L"rb"), nullptr);
    EXPECT_EQ(Platform::System::OpenForReading(folder.Wide("pipe")), Platform::System::kNoFile);
    EXPECT_TRUE(Platform::FileExists(folder.Wide("pipe").c_str()));
    EXPECT_FALSE(ReplaceFile(folder.Wide("pipe"), {"text"}));
    EXPECT_TRUE(fs::is_fifo(folder.Path() / "pipe"));
    EXPECT_EQ(folder.Names(), Names{"pipe"});
}

// An access list as the system lays it out: the owner and one other user read and write, nobody else.
std::string AccessList() {
    struct Entry {
        std::uint16_t tag;
        std::uint16_t permissions;
        std::uint32_t id;
    };
    constexpr std::uint32_t kNobody = 0xFFFFFFFF;
    constexpr std::uint32_t kVersion = 2;
    const Entry entries[] = {
        {1, 6, kNobody}, {2, 6, 1234}, {4, 0, kNobody}, {16, 6, kNobody}, {32, 0, kNobody}};
    std::string list(reinterpret_cast<const char*>(&kVersion), sizeof(kVersion));
    return list.append(reinterpret_cast<const char*>(entries), sizeof(entries));
}

std::string AccessListOf(const fs::path& path) {
    char list[1024];
    const ssize_t size = ::getxattr(path.c_str(), "system.posix_acl_access", list, sizeof(list));
    return {list, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

// Without the list its mask would be what the group may do.
TEST(AccessListOnLinux, IsThatOfTheOldFile) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    const fs::path path = folder.Path() / "a.ini";
    const std::string list = AccessList();
    if (::setxattr(path.c_str(), "system.posix_acl_access", list.data(), list.size(), 0) != 0)
        GTEST_SKIP() << "no access lists here";
    const fs::perms before = fs::status(path).permissions();
    EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), {"new"}));
    EXPECT_EQ(folder.Read("a.ini"), "new");
    EXPECT_EQ(AccessListOf(path), list);
    EXPECT_EQ(fs::status(path).permissions(), before);
}

TEST(AccessListOnLinux, OfTheDirectoryIsForNewFilesAlone) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    const fs::path path = folder.Path() / "a.ini";
    fs::permissions(path, static_cast<fs::perms>(0664));
    const std::string list = AccessList();
    if (::setxattr(folder.Path().c_str(), "system.posix_acl_default", list.data(), list.size(), 0) != 0)
        GTEST_SKIP() << "no access lists here";
    EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), {"new"}));
    EXPECT_TRUE(ReplaceFile(folder.Wide("b.ini"), {"new"}));
    EXPECT_EQ(AccessListOf(path), "");
    EXPECT_EQ(fs::status(path).permissions(), static_cast<fs::perms>(0664));
    EXPECT_NE(AccessListOf(folder.Path() / "b.ini"), "");
}

TEST(DeviceOnLinux, TakesNoArchive) {
    EXPECT_EQ(Platform::System::OpenForAppending(L"/dev/null"), Platform::System::kNoFile);
}

TEST(MissingFileOnLinux, IsNeitherOverwrittenNorCutNorMade) {
    const TestFolder folder;
    EXPECT_FALSE(Platform::System::Overwrite(folder.Wide("a.dat"), 0, "a"));
    EXPECT_FALSE(Platform::System::Cut(folder.Wide("a.dat"), 0));
    EXPECT_FALSE(Platform::System::FlushDirectory(folder.Wide("missing/a.dat")));
    EXPECT_FALSE(Platform::System::FlushDirectory(L""));
    EXPECT_EQ(folder.Names(), Names{});
}

TEST(MessageOnLinux, IsALineOnStandardError) {
    testing::internal::CaptureStderr();
    const HeapFault fault(1, HeapFault::Times::FromThenOn);
    const int button =
        Platform::RealSystem::ShowMessage(nullptr, L"Systemfehler: KEIN SPEICHER !", L"xxx", 0);
    const HeapFault::Pause pause;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "xxx: Systemfehler: KEIN SPEICHER !\n");
    EXPECT_EQ(button, 1);
}
