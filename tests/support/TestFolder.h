// A folder of its own for one test: made empty, removed when the test passed, kept and named when it failed.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

class TestFolder {
public:
    // A new folder in `parent`; without one where this system has its temporary files.
    explicit TestFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path());
    ~TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

    // The wide path of the folder or of a file in it, as the libraries take it.
    std::wstring Wide() const;
    std::wstring Wide(std::string_view name) const;

    // Bytes of a file of the folder, as they are.
    void Write(std::string_view name, std::string_view bytes) const;
    std::string Read(std::string_view name) const;  // "" for a missing file
    bool Exists(std::string_view name) const;

    // Names of all files in the folder, sorted.
    std::vector<std::string> Names() const;

private:
    std::filesystem::path m_path;
};
