// What only Windows has: drives, names that ignore case, attributes and access lists, paths beyond 260
// characters, devices and pipes with names of their own, and files that another program holds.
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "MeterUtil/MeterIniFile.h"
#include "Platform/Platform.h"
#include "Platform/System.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/Pieces.h"
#include "tests/support/TestFolder.h"

// After the project's headers: windows.h makes macros of names that they use.
#include <windows.h>

// Needs windows.h before it.
#include <sddl.h>
#undef ReplaceFile

namespace fs = std::filesystem;
using Platform::LoadResult;
using Platform::SamePath;
using Names = std::vector<std::string>;

// The real system, which the fake one is laid over.
namespace Platform::RealSystem {
bool LinkTarget(const std::wstring& link, std::string_view told, std::wstring* target);
}  // namespace Platform::RealSystem

namespace {

std::string Load(const std::wstring& path) {
    Platform::FileBytes bytes;
    EXPECT_EQ(Platform::LoadFile(path, &bytes), LoadResult::Loaded);
    return {bytes.data.get(), bytes.size};
}

LoadResult ResultOfLoading(const std::wstring& path) {
    Platform::FileBytes bytes;
    return Platform::LoadFile(path, &bytes);
}

// A file that another program has open and that it lets others only read.
class HeldFile {
public:
    explicit HeldFile(const std::wstring& path)
        : m_file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                               nullptr)) {
        EXPECT_NE(m_file, INVALID_HANDLE_VALUE);
    }
    ~HeldFile() { ::CloseHandle(m_file); }
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;

private:
    HANDLE m_file;
};

// The rights on a file, in the system's own notation.
std::wstring AccessListOf(const std::wstring& path) {
    DWORD size = 0;
    ::GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    std::vector<unsigned char> descriptor(size);
    if (!::GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, descriptor.data(), size, &size))
        return L"none";
    wchar_t* text = nullptr;
    ::ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor.data(), SDDL_REVISION_1,
                                                           DACL_SECURITY_INFORMATION, &text, nullptr);
    const std::wstring list = text == nullptr ? L"none" : text;
    ::LocalFree(text);
    return list;
}

bool SetAccessList(const std::wstring& path, const wchar_t* list) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const bool set =
        ::ConvertStringSecurityDescriptorToSecurityDescriptorW(list, SDDL_REVISION_1, &descriptor, nullptr) &&
        ::SetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, descriptor);
    ::LocalFree(descriptor);
    return set;
}

}  // namespace

// ---- paths

TEST(WindowsPaths, DrivesMakeAPathAbsoluteAndSlashesDoNot) {
    EXPECT_TRUE(Platform::IsAbsolutePath(L"C:\\data\\a.ini"));
    EXPECT_TRUE(Platform::IsAbsolutePath(L"z:a.ini"));
    EXPECT_FALSE(Platform::IsAbsolutePath(L"1:\\a.ini"));
    EXPECT_FALSE(Platform::IsAbsolutePath(L"/data/a.ini"));
    EXPECT_EQ(Platform::System::NamePosition(L"C:a.ini"), 2u);
}

TEST(WindowsPaths, NamesIgnoreCase) {
    const TestFolder folder;
    folder.Write("a.ini", "");
    EXPECT_TRUE(SamePath(folder.Wide("a.ini"), folder.Wide("A.INI")));
    EXPECT_TRUE(SamePath(folder.Wide("none.ini"), folder.Wide() + L"/NONE.ini"));
    EXPECT_TRUE(SamePath(folder.Wide() + L"\\z\x00E4hler", folder.Wide() + L"\\Z\x00C4HLER"));
    EXPECT_FALSE(SamePath(folder.Wide("none.ini"), folder.Wide("nine.ini")));
}

TEST(WindowsPaths, AFileInTheCurrentDirectoryOfADriveIsReplaced) {
    const TestFolder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.Path());
    const std::wstring path = folder.Path().root_name().wstring() + L"a.ini";
    EXPECT_TRUE(ReplaceFile(path, {"old"}) && ReplaceFile(path, {"new"}));
    fs::current_path(before);
    EXPECT_EQ(folder.Read("a.ini"), "new");
    EXPECT_EQ(folder.Names(), Names{"a.ini"});
}

TEST(WindowsPaths, NamesOfAllLanguagesWork) {
    const TestFolder folder;
    const std::wstring path =
        folder.Wide() + L"\\\x0421\x0447\x0451\x0442\x0447\x0438\x043A \xD83D\xDCDF.ini";
    {
        CMeterIniFile store(path.c_str());
        store.SetMirror((path + L".mirror").c_str());
        EXPECT_TRUE(store.WriteString("General", "Meters", "1") && store.UpdateFile());
    }
    EXPECT_EQ(Load(path), "[General]\r\nMeters=1\r\n");
    EXPECT_EQ(Load(path + L".mirror"), "[General]\r\nMeters=1\r\n");
    EXPECT_TRUE(Platform::DeleteFileW(path.c_str()));
}

TEST(WindowsPaths, PathsBeyond260CharactersWork) {
    const TestFolder folder;
    const std::wstring deep =
        folder.Wide() + L"\\" + std::wstring(120, L'd') + L"\\" + std::wstring(120, L'e');
    const std::wstring marked = L"\\\\?\\" + folder.Path().wstring();
    ASSERT_TRUE(::CreateDirectoryW((marked + deep.substr(folder.Wide().size(), 121)).c_str(), nullptr));
    ASSERT_TRUE(::CreateDirectoryW((marked + deep.substr(folder.Wide().size())).c_str(), nullptr));
    const std::wstring path = deep + L"\\route.ini";
    ASSERT_GT(path.size(), 260u);
    {
        CMeterIniFile store(path.c_str());
        EXPECT_TRUE(store.WriteString("General", "Meters", "1") && store.UpdateFile());
        EXPECT_TRUE(store.WriteString("General", "Meters", "2") && store.UpdateFileBackground());
    }
    EXPECT_EQ(Load(path), "[General]\r\nMeters=2\r\n");
    EXPECT_EQ(Load(deep + L"/route.ini"), Load(path));
    EXPECT_TRUE(SamePath(path, deep + L"\\..\\" + std::wstring(120, L'e') + L"\\ROUTE.INI"));
    EXPECT_TRUE(Platform::FileExists(path.c_str()));
    EXPECT_TRUE(Platform::DeleteFileW(path.c_str()));
    EXPECT_EQ(ResultOfLoading(path), LoadResult::Missing);
    ::RemoveDirectoryW((marked + deep.substr(folder.Wide().size())).c_str());
}

TEST(WindowsPaths, MarkedPathsAreTakenAsTheyAre) {
    const TestFolder folder;
    const std::wstring path = L"\\\\?\\" + folder.Path().wstring() + L"\\a.ini";
    EXPECT_TRUE(ReplaceFile(path, {"old"}) && ReplaceFile(path, {"new"}));
    EXPECT_EQ(folder.Read("a.ini"), "new");
    EXPECT_TRUE(SamePath(path, folder.Wide("a.ini")));
}

// ---- attributes and rights

TEST(WindowsAttributes, AReadOnlyFileIsNotReplaced) {
    const TestFolder folder;
    folder.Write("a.ini", "[General]\r\nMeters=1\r\n");
    const std::wstring path = folder.Wide("a.ini");
    ASSERT_TRUE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    {
        CMeterIniFile store(path.c_str());
        EXPECT_FALSE(store.m_error);
        EXPECT_TRUE(store.WriteString("General", "Meters", "2"));
        EXPECT_FALSE(store.UpdateFile());
        EXPECT_TRUE(store.m_error);
    }
    EXPECT_FALSE(Platform::AppendFile(path, "head", path + L".source"));
    EXPECT_EQ(folder.Read("a.ini"), "[General]\r\nMeters=1\r\n");
    EXPECT_EQ(folder.Names(), Names{"a.ini"});
    EXPECT_NE(::GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(WindowsAttributes, AreKept) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    const std::wstring path = folder.Wide("a.ini");
    for (const DWORD attributes : {FILE_ATTRIBUTE_HIDDEN, FILE_ATTRIBUTE_SYSTEM, FILE_ATTRIBUTE_ARCHIVE}) {
        ASSERT_TRUE(::SetFileAttributesW(path.c_str(), attributes));
        const DWORD before = ::GetFileAttributesW(path.c_str());
        EXPECT_TRUE(ReplaceFile(path, {"new"}));
        EXPECT_EQ(::GetFileAttributesW(path.c_str()) | FILE_ATTRIBUTE_ARCHIVE,
                  before | FILE_ATTRIBUTE_ARCHIVE);
    }
    EXPECT_EQ(folder.Read("a.ini"), "new");
}

TEST(WindowsAttributes, RightsAreKept) {
    const TestFolder folder;
    folder.Write("any.ini", "");
    folder.Write("a.ini", "old");
    const std::wstring path = folder.Wide("a.ini");
    ASSERT_TRUE(SetAccessList(path, L"D:P(A;;FA;;;BA)"));
    const std::wstring before = AccessListOf(path);
    ASSERT_NE(before, AccessListOf(folder.Wide("any.ini"))) << "the rights are not those of any file";
    EXPECT_TRUE(ReplaceFile(path, {"new"}));
    EXPECT_EQ(AccessListOf(path), before);
    EXPECT_EQ(folder.Read("a.ini"), "new");
}

// ---- files that another program holds

TEST(HeldFiles, AreReplacedAsSoonAsTheyAreFree) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    auto held = std::make_unique<HeldFile>(folder.Wide("a.ini"));
    std::thread other([&held] {
        ::Sleep(60);
        held.reset();
    });
    EXPECT_TRUE(ReplaceFile(folder.Wide("a.ini"), {"new"}));
    other.join();
    EXPECT_EQ(folder.Read("a.ini"), "new");
    EXPECT_EQ(folder.Names(), Names{"a.ini"});
}

TEST(HeldFiles, AreGivenUpAfterABoundedTime) {
    const TestFolder folder;
    folder.Write("a.ini", "old");
    const HeldFile held(folder.Wide("a.ini"));
    const FakeSystem system;
    EXPECT_FALSE(ReplaceFile(folder.Wide("a.ini"), {"new"}));
    EXPECT_GE(system.Waits().size(), 5u);
    int sum = 0;
    for (const int wait : system.Waits())
        sum += wait;
    EXPECT_LE(sum, 3000);
    EXPECT_EQ(folder.Read("a.ini"), "old");
    EXPECT_EQ(folder.Names(), Names{"a.ini"});
}

TEST(HeldFiles, AreRead) {
    const TestFolder folder;
    folder.Write("a.ini", "text");
    const HeldFile held(folder.Wide("a.ini"));
    EXPECT_EQ(Load(folder.Wide("a.ini")), "text");
}

// ---- devices and pipes

TEST(WindowsDevices, AreNeitherReadNorReplaced) {
    const TestFolder folder;
    for (const std::wstring& path : {std::wstring(L"NUL"), std::wstring(L"\\\\.\\NUL"), folder.Wide("NUL")}) {
        EXPECT_EQ(ResultOfLoading(path), LoadResult::Unreadable);
        EXPECT_FALSE(ReplaceFile(path, {"text"}));
        EXPECT_EQ(Platform::_wfopen(path.c_str(), L"wb"), nullptr);
    }
    EXPECT_EQ(folder.Names(), Names{});
}

TEST(WindowsPipes, AreNeitherReadNorReplacedNorWaitedFor) {
    const std::wstring path = L"\\\\.\\pipe\\meterdb-test-" + std::to_wstring(::GetCurrentProcessId());
    const HANDLE pipe = ::CreateNamedPipeW(path.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE | PIPE_WAIT, 1,
                                           4096, 4096, 0, nullptr);
    ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
    EXPECT_EQ(ResultOfLoading(path), LoadResult::Unreadable);
    EXPECT_FALSE(ReplaceFile(path, {"text"}));
    ::CloseHandle(pipe);
}

// ---- links

namespace {

// A symbolic link as the system tells of it.
std::string Told(DWORD tag, DWORD flags, const std::wstring& target, const std::wstring& shown = L"shown") {
    const auto bytes = [](const std::wstring& text) {
        return static_cast<WORD>(text.size() * sizeof(wchar_t));
    };
    const struct {
        DWORD tag;
        WORD size, reserved, offset, length, shownOffset, shownLength;
        DWORD flags;
    } head = {tag, 0, 0, bytes(shown), bytes(target), 0, bytes(shown), flags};
    const std::wstring text = shown + target;
    return std::string(reinterpret_cast<const char*>(&head), sizeof(head)) +
           std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

}  // namespace

TEST(WindowsLinks, LeadToTheirTargets) {
    const struct {
        DWORD flags;
        const wchar_t* told;
        const wchar_t* target;
    } rows[] = {
        {1, L"b.ini", L"C:\\data\\b.ini"},
        {1, L"..\\b.ini", L"C:\\data\\..\\b.ini"},
        {0, L"\\??\\D:\\other\\b.ini", L"D:\\other\\b.ini"},
        {0, L"\\??\\UNC\\server\\share\\b.ini", L"\\\\?\\UNC\\server\\share\\b.ini"},
        {0, L"\\??\\Volume{1}\\b.ini", L"\\\\?\\Volume{1}\\b.ini"},
    };
    for (const auto& row : rows) {
        std::wstring target;
        EXPECT_TRUE(Platform::RealSystem::LinkTarget(
            L"C:\\data\\a.ini", Told(IO_REPARSE_TAG_SYMLINK, row.flags, row.told), &target));
        EXPECT_EQ(target, row.target);
    }
}

TEST(WindowsLinks, WhatIsNoLinkIsNotFollowed) {
    const std::string link = Told(IO_REPARSE_TAG_SYMLINK, 1, L"b.ini");
    std::wstring target;
    EXPECT_FALSE(
        Platform::RealSystem::LinkTarget(L"a.ini", Told(IO_REPARSE_TAG_MOUNT_POINT, 0, L"b"), &target));
    for (std::size_t size = 0; size < link.size(); ++size)
        EXPECT_FALSE(Platform::RealSystem::LinkTarget(L"a.ini", link.substr(0, size), &target)) << size;
    EXPECT_TRUE(Platform::RealSystem::LinkTarget(L"a.ini", link, &target));
}
