// The store under test.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "MeterUtil/MeterIniFile.h"
#include "tests/support/TestFolder.h"

// A store over a file of its own, and short ways to ask it.
class Store {
public:
    explicit Store(const std::string& bytes) {
        m_folder.Write("a.ini", bytes);
        m_store = std::make_unique<CMeterIniFile>(m_folder.Wide("a.ini").c_str());
    }
    Store() : m_store(std::make_unique<CMeterIniFile>(m_folder.Wide("a.ini").c_str())) {}

    CMeterIniFile* operator->() const { return m_store.get(); }

    std::string Value(const char* section, const char* key) const {
        char dst[kSize];
        return m_store->ReadString(section, key, dst, kSize) ? dst : "(none)";
    }
    std::string Line(int line) const {
        char dst[kSize];
        return m_store->GetString(line, dst, kSize) ? dst : "(none)";
    }
    std::string LineOf(const char* section, int index) const {
        char dst[kSize];
        return m_store->ReadLineByIndex(section, index, dst, kSize) ? dst : "(none)";
    }
    std::string Entry(const char* section, int index) const {
        char key[kSize];
        char value[kSize];
        if (!m_store->ReadByIndex(section, index, key, kSize, value, kSize))
            return "(none)";
        return std::string(key) + "|" + value;
    }
    std::string Saved() const {
        EXPECT_TRUE(m_store->UpdateFile());
        return m_folder.Read("a.ini");
    }

private:
    static constexpr int kSize = 256;  // of an answer

    TestFolder m_folder;
    std::unique_ptr<CMeterIniFile> m_store;
};
