#include "tests/support/TestFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>

#include "Platform/Platform.h"
#include "tests/support/Host.h"

namespace fs = std::filesystem;

TestFolder::TestFolder(const fs::path& parent) {
    static const unsigned process = std::random_device()();
    static std::atomic<int> counter{0};
    m_path = parent / ("meterdb-test-" + std::to_string(process) + "-" + std::to_string(counter++));
    fs::create_directories(m_path);
}

TestFolder::~TestFolder() {
    if (testing::Test::HasFailure()) {
        std::cerr << "files kept in " << m_path << '\n';
        return;
    }
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::wstring TestFolder::Wide() const {
    return Platform::WideFromNarrow(Host::NarrowFromPath(m_path));
}

std::wstring TestFolder::Wide(std::string_view name) const {
    return Wide() + L"\\" + Platform::WideFromNarrow(name);
}

void TestFolder::Write(std::string_view name, std::string_view bytes) const {
    std::ofstream file(m_path / Host::PathFromNarrow(name), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    ASSERT_TRUE(file) << "cannot write " << name;
}

std::string TestFolder::Read(std::string_view name) const {
    std::ifstream file(m_path / Host::PathFromNarrow(name), std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

bool TestFolder::Exists(std::string_view name) const {
    return fs::exists(m_path / Host::PathFromNarrow(name));
}

std::vector<std::string> TestFolder::Names() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_path))
        names.push_back(Host::NarrowFromPath(entry.path().filename()));
    std::sort(names.begin(), names.end());
    return names;
}
