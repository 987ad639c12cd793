// Output of the terminal in the form that tests expect on every system.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>

// Puts '/' in the place of other separators of paths. JSON and the manual, which are for programs, stay as
// they are: a backslash is no separator there.
inline std::string WithSlashes(std::string text) {
    const bool isForPrograms = std::string("[{.").find(text[0]) != std::string::npos;
    if (!isForPrograms)
        std::replace(text.begin(), text.end(), static_cast<char>(std::filesystem::path::preferred_separator),
                     '/');
    return text;
}
