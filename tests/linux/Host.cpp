#include "tests/support/Host.h"

#include <sys/stat.h>
#include <unistd.h>

#include <system_error>

namespace Host {

const char* const kOddLetters = " '\"<>|*?:;&%$";

std::filesystem::path PathFromNarrow(std::string_view name) {
    return name;
}

std::string NarrowFromPath(const std::filesystem::path& name) {
    return name.string();
}

bool MakeLink(const std::filesystem::path& target, const std::filesystem::path& link) {
    std::error_code error;
    std::filesystem::create_symlink(target, link, error);
    return !error;
}

bool IsLink(const std::filesystem::path& path) {
    return std::filesystem::is_symlink(path);
}

bool MakePipe(const std::filesystem::path& path) {
    return ::mkfifo(path.c_str(), 0600) == 0;
}

std::filesystem::path FolderOnAnotherVolume(const std::filesystem::path& path) {
    struct stat here {};
    struct stat there {};
    if (::stat(path.c_str(), &here) != 0)
        return {};
    for (const char* folder : {"/dev/shm", "/tmp", "/var/tmp", "."})
        if (::stat(folder, &there) == 0 && there.st_dev != here.st_dev && ::access(folder, W_OK) == 0)
            return folder;
    return {};
}

}  // namespace Host
