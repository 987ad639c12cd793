// A database over a small installation in a folder of its own: system ini, data file and app file, one
// directory.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

#include "MeterDatabase/MeterDatabase.h"
#include "tests/support/TestFolder.h"

// The database with its inside open to tests.
class TestDatabase : public CMeterDatabase {
public:
    using CMeterDatabase::CMeterDatabase;

    using CMeterDatabase::CalculateField;
    using CMeterDatabase::CheckConsistency;
    using CMeterDatabase::CheckFunctionList;
    using CMeterDatabase::DefineTexts;
    using CMeterDatabase::GetFunction;
    using CMeterDatabase::GetFunctions;
    using CMeterDatabase::GetPtrToDataFields;
    using CMeterDatabase::HandleAllTexts;
    using CMeterDatabase::HandleText;
    using CMeterDatabase::IsElementOf;
    using CMeterDatabase::SearchInBufWithLen;

    using CMeterDatabase::FieldList;
    using CMeterDatabase::kFieldLists;
    using CMeterDatabase::kPathChars;
    using CMeterDatabase::kTexts;

    using CMeterDatabase::m_accessFlag;
    using CMeterDatabase::m_accessLevel;
    using CMeterDatabase::m_actualUser;
    using CMeterDatabase::m_appFile;
    using CMeterDatabase::m_appFilePath;
    using CMeterDatabase::m_applicationPath;
    using CMeterDatabase::m_appMirrorPath;
    using CMeterDatabase::m_currentAppendix;
    using CMeterDatabase::m_currentMeter;
    using CMeterDatabase::m_dataFile;
    using CMeterDatabase::m_dataFilePath;
    using CMeterDatabase::m_dataMirrorPath;
    using CMeterDatabase::m_downloadedIniPath;
    using CMeterDatabase::m_downloadedTempPath;
    using CMeterDatabase::m_fieldLists;
    using CMeterDatabase::m_languageCode;
    using CMeterDatabase::m_masterValue;
    using CMeterDatabase::m_parameterFilePath;
    using CMeterDatabase::m_parameterRootPath;
    using CMeterDatabase::m_rawFilePath;
    using CMeterDatabase::m_rawMirrorPath;
    using CMeterDatabase::m_spareText;
    using CMeterDatabase::m_systemIni;
    using CMeterDatabase::m_systemIniName;
    using CMeterDatabase::m_systemIniPath;
    using CMeterDatabase::m_texts;
};

class DatabaseFixture : public testing::Test {
protected:
    static constexpr const char* kSystemIni = "system.ini";
    static constexpr const char* kDataFile = "data.ini";
    static constexpr const char* kAppFile = "app.ini";
    static constexpr const char* kRawFile = "raw.dat";

    // What an entry that does not exist reads as here.
    static constexpr const char* kMissing = "(missing)";

    // Writes the system ini: section "System" with the three file names, then `sections`. Lines of `sections`
    // that stand before its first header belong to "System".
    void WriteSystemIni(std::string_view sections = {});

    // Writes the files, attaches the system ini in place of an earlier one and opens the data file, which
    // must succeed.
    void Open(std::string_view dataFile, std::string_view systemIniSections = {},
              std::string_view appFile = "[State]\nDirty=No\n");

    // An entry of the data file or of the app file as the open store holds it.
    std::string Data(const std::string& section, const std::string& key) const;
    std::string App(const std::string& section, const std::string& key) const;

    // All lines of the data file as the open store holds it, each ended by LF.
    std::string DataLines() const;

    // Takes away what the operations on a current record need, one thing after the other, and calls
    // check(what) each time. Meter 1 is current afterwards.
    template <typename Check>
    void WithoutPreconditions(Check check) {
        m_database.m_currentMeter = 0;
        check("no current meter");
        m_database.m_currentMeter = 1;
        CMeterIniFile* const systemIni = std::exchange(m_database.m_systemIni, nullptr);
        check("no system ini");
        m_database.m_systemIni = systemIni;
        CMeterIniFile* const dataFile = std::exchange(m_database.m_dataFile, nullptr);
        check("no data file");
        m_database.m_dataFile = dataFile;
    }

    TestFolder m_folder;
    TestDatabase m_database{m_folder.Wide().c_str()};
};
