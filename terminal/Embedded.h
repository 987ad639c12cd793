// Files that the program carries, as they were when it was built.
#pragma once

#include <string_view>
#include <vector>

struct EmbeddedFile {
    std::string_view name;  // with '/' between its parts
    std::string_view bytes;
};

// What a made-up installation takes from the sample installation.
const std::vector<EmbeddedFile>& InstallationFiles();

// Style and script of the report.
const std::vector<EmbeddedFile>& ReportFiles();
