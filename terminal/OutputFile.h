// A file that a command writes. It stands under its name when it is whole: until then, and when the command
// fails, whatever was there before is still there.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "terminal/Installation.h"

class OutputFile {
public:
    // `name` in UTF-8. Missing directories are made; a link stays a link, and a device or a pipe gets the
    // bytes as they come. Throws a Refusal, as all of it, when the file cannot be written or when the
    // installation works with it.
    OutputFile(const std::string& name, Installation& installation);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(std::string_view bytes);
    void Commit();

private:
    void OpenBeside(const std::filesystem::file_status& before);
    [[noreturn]] void Fail() const;

    std::filesystem::path m_path;
    std::filesystem::path m_part;  // while it is written; "": written where it stands
    std::ofstream m_stream;
};
