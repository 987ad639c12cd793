// The disk of a fuzzed library: it lives in memory, in place of the system's own files. Whatever path a
// hostile file names, no file of the machine can be read, written or deleted; and a run takes no longer than
// its work.
#pragma once

#include <string>
#include <string_view>

namespace MemoryDisk {

// The directory that holds the files below, as the libraries take it.
constexpr const wchar_t* kDirectory = L"/terminal";
std::wstring Path(std::string_view name);

void Format();  // no files
void Write(std::string_view name, std::string_view bytes);
std::string Read(std::string_view name);  // "" for a missing file
bool Exists(std::string_view name);

}  // namespace MemoryDisk
