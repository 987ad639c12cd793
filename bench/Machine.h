// Where a benchmark runs, and on what.
#pragma once

#include <string>

namespace Bench {

// Prints machine, compiler and kind of build; warns when the build says nothing about what is shipped.
void PrintMachine();

// A directory whose files lie in memory, where there is one; else that of temporary files.
std::string MemoryDirectory();

// A new folder in a directory, removed with all that is in it.
class Folder {
public:
    explicit Folder(const std::string& directory);
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::string& Path() const { return m_path; }

    void Make(const std::string& folderInIt) const;

private:
    std::string m_path;
};

}  // namespace Bench
