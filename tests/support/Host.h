// What the tests need of the system that they run on, beside what the libraries need of it (tests/linux,
// tests/windows).
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace Host {

// Letters that are unusual in the name of a file, and allowed.
extern const char* const kOddLetters;

// Names of files as the libraries take them, 8 bits a character, and as the file system has them.
std::filesystem::path PathFromNarrow(std::string_view name);
std::string NarrowFromPath(const std::filesystem::path& name);

// Makes a symbolic link; false where there are none, or where this user may make none.
bool MakeLink(const std::filesystem::path& target, const std::filesystem::path& link);
bool IsLink(const std::filesystem::path& path);

// Makes a pipe with a name; false where there are none among the files.
bool MakePipe(const std::filesystem::path& path);

// Memory of the C library, past what makes allocations fail.
void* Malloc(std::size_t size) noexcept;

// A folder on another volume than `path`, where files can be made; "" when there is none.
std::filesystem::path FolderOnAnotherVolume(const std::filesystem::path& path);

}  // namespace Host
