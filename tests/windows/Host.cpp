#include "tests/support/Host.h"

#include <windows.h>

#include "Platform/Platform.h"

namespace Host {

const char* const kOddLetters = " ';&%$";

std::filesystem::path PathFromNarrow(std::string_view name) {
    return Platform::WideFromNarrow(name);
}

std::string NarrowFromPath(const std::filesystem::path& name) {
    return Platform::NarrowFromWide(name.native());
}

bool IsLink(const std::filesystem::path& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool MakeLink(const std::filesystem::path& target, const std::filesystem::path& link) {
    constexpr DWORD kWithoutPrivilege = 2;  // for developers; missing in older headers
    const DWORD kind =
        std::filesystem::is_directory(link.parent_path() / target) ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0;
    return ::CreateSymbolicLinkW(link.c_str(), target.c_str(), kind | kWithoutPrivilege) != 0 && IsLink(link);
}

bool MakePipe(const std::filesystem::path& /*path*/) {
    return false;
}

std::filesystem::path FolderOnAnotherVolume(const std::filesystem::path& path) {
    for (wchar_t drive = L'C'; drive <= L'Z'; ++drive) {
        const std::wstring root = {drive, L':', L'\\'};
        if (path.root_path() != root && ::GetDriveTypeW(root.c_str()) == DRIVE_FIXED)
            return root;
    }
    return {};
}

}  // namespace Host
