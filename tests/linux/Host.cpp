#include "tests/support/Host.h"

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

}  // namespace Host
