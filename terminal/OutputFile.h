// A file that a command writes. It stands under its name when it is whole: until then, and when the command
// fails, whatever was there before is still there.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

class OutputFile {
public:
    // `name` in UTF-8. Missing directories are made. Throws a Refusal, as all of it, when the file cannot be
    // written.
    explicit OutputFile(const std::string& name);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(std::string_view bytes);
    void Commit();

private:
    [[noreturn]] void Fail() const;

    std::filesystem::path m_path;
    std::filesystem::path m_part;  // while it is written
    std::ofstream m_stream;
};
