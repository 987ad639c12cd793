#include "tests/support/DatabaseFixture.h"

namespace {

std::string Entry(const CMeterIniFile* store, const std::string& section, const std::string& key,
                  const char* missing) {
    char text[8192];
    if (store == nullptr || !store->ReadString(section.c_str(), key.c_str(), text, sizeof text))
        return missing;
    return text;
}

}  // namespace

void DatabaseFixture::WriteSystemIni(std::string_view sections) {
    const std::string system = std::string("[System]\nAppFile=") + kAppFile + "\nRawFile=" + kRawFile +
                               "\nDataFile=" + kDataFile + "\n";
    m_folder.Write(kSystemIni, system + std::string(sections));
}

void DatabaseFixture::Open(std::string_view dataFile, std::string_view systemIniSections,
                           std::string_view appFile) {
    m_database.SetIniFile(L"");
    WriteSystemIni(systemIniSections);
    m_folder.Write(kDataFile, dataFile);
    m_folder.Write(kAppFile, appFile);
    m_database.SetIniFile(L"system.ini");
    ASSERT_TRUE(m_database.OpenDataFile(false));
}

std::string DatabaseFixture::Data(const std::string& section, const std::string& key) const {
    return Entry(m_database.m_dataFile, section, key, kMissing);
}

std::string DatabaseFixture::App(const std::string& section, const std::string& key) const {
    return Entry(m_database.m_appFile, section, key, kMissing);
}

std::string DatabaseFixture::DataLines() const {
    std::string lines;
    char line[8192];
    for (int i = 0; m_database.m_dataFile->GetString(i, line, sizeof line); ++i)
        lines += std::string(line) + '\n';
    return lines;
}
