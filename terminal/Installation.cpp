#include "terminal/Installation.h"

#include <algorithm>
#include <array>

#include "MeterUtil/Text.h"
#include "terminal/MeterTypes.h"
#include "terminal/Refusal.h"
#include "terminal/SaveListener.h"
#include "terminal/Utf8.h"

namespace fs = std::filesystem;

namespace {

constexpr int kTextBytes = 4096;
constexpr int kMostLanguages = 20;
constexpr std::size_t kDirectoryChars = 259;  // that the library takes

std::string Read(const CMeterIniFile* store, const std::string& section, const std::string& key) {
    std::array<char, kTextBytes> text{};
    if (store != nullptr)
        store->ReadString(section.c_str(), key.c_str(), text.data(), kTextBytes);
    return text.data();
}

std::string FirstToken(const std::string& text) {
    return std::string(MeterText::BareToken(text, 1));
}

// The directory as the library takes it, which puts a separator of its own behind it.
std::wstring ApplicationPath(std::string directory) {
    while (!directory.empty() && (directory.back() == '/' || directory.back() == '\\'))
        directory.pop_back();
    std::wstring path = Utf8::ToWide(directory);
    if (path.size() > kDirectoryChars)
        throw Refusal(kWrongUse, "the name of the directory is longer than 259 characters");
    return path;
}

}  // namespace

Installation::Installation(const Options& options)
    : m_directory(fs::u8path(options.directory)),
      m_ini(m_directory / fs::u8path(options.ini)),
      m_database(ApplicationPath(options.directory).c_str()) {
    try {
        OpenStores(options);
        m_language = ChosenLanguage(options);
        m_database.SetLanguageCode(m_language.c_str());
        if (options.level)
            m_database.SetAccessLevel(*options.level);
    } catch (...) {
        m_database.CloseDataFile();
        throw;
    }
}

Installation::~Installation() {
    m_database.CloseDataFile();
}

void Installation::OpenStores(const Options& options) {
    const std::string name = Utf8::Shown(options.ini) + " of directory " + Utf8::Shown(options.directory);
    m_database.SetIniFile(Utf8::ToWide(options.ini).c_str());
    const CMeterIniFile* ini = m_database.GetPtrToIniFile();
    if (ini == nullptr || ini->m_error)
        throw Refusal(kFileFailed, name + " cannot be read");
    if (std::error_code missing; !fs::exists(m_ini, missing))
        throw Refusal(kFileFailed, "there is no " + name +
                                       " (--dir names another; meterdb simulate town makes an installation "
                                       "to try)");
    if (!ini->SectionExists("System"))
        throw Refusal(kFileFailed, name + " is no system ini: it has no section [System]");
    const SaveListener saves;
    const bool opened = m_database.OpenDataFile(false);
    if (!saves.Reason().empty() || m_database.IniFileError()) {
        CheckReadable("AppFile", "the app file ");
        CheckReadable("DataFile", "the data file ");
        throw Refusal(kFileFailed, saves.Reason());
    }
    if (!opened)
        throw Refusal(kFileFailed, name + " does not name its files: AppFile, RawFile and DataFile");
}

// What could not be loaded is not saved either: a save that failed does not tell why.
void Installation::CheckReadable(const char* key, const char* what) {
    const CMeterIniFile file(Utf8::ToWide(FilePath(key).u8string()).c_str());
    if (file.m_error)
        throw Refusal(kFileFailed, what + FileName(key) + " cannot be read");
}

std::string Installation::ChosenLanguage(const Options& options) {
    std::string kept = Read(m_database.GetPtrToAppFile(), "System", "Language");
    const std::vector<std::string> languages = Languages();
    if (options.language.empty() || MeterText::EqualIgnoringCase(options.language, kept))
        return kept;
    const auto isChosen = [&](const std::string& code) {
        return MeterText::EqualIgnoringCase(code, options.language);
    };
    const auto chosen = std::find_if(languages.begin(), languages.end(), isChosen);
    if (chosen != languages.end()) {
        KeepLanguage(*chosen);
        return *chosen;
    }
    std::string known;
    for (const std::string& code : languages)
        known += (known.empty() ? "" : ", ") + Utf8::Shown(code);
    throw Refusal(kRefused, "the installation has no language \"" + Utf8::Shown(options.language) +
                                "\"; it has " + (known.empty() ? "no languages" : known));
}

std::vector<std::string> Installation::Languages() {
    const CMeterIniFile* ini = m_database.GetPtrToIniFile();
    const int count = std::min(MeterText::ToInt(Read(ini, "Languages", "Languages")), kMostLanguages);
    std::vector<std::string> codes;
    for (int number = 1; number <= count; ++number)
        codes.push_back(FirstToken(Read(ini, "Languages", "Language" + std::to_string(number))));
    codes.erase(std::remove(codes.begin(), codes.end(), std::string()), codes.end());
    return codes;
}

// The texts of a language are loaded when the files are opened.
void Installation::KeepLanguage(const std::string& language) {
    const SaveListener saves;
    CMeterIniFile* app = m_database.GetPtrToAppFile();
    if (!app->WriteString("System", "Language", language.c_str()) || !app->UpdateFile() ||
        !m_database.OpenDataFile(false))
        throw Refusal(kFileFailed, saves.Reason());
}

std::string Installation::FileName(const char* key) {
    return Utf8::ShownPath(Read(m_database.GetPtrToIniFile(), "System", key));
}

fs::path Installation::FilePath(const char* key) {
    std::string name = Read(m_database.GetPtrToIniFile(), "System", key);
    std::replace(name.begin(), name.end(), '\\', static_cast<char>(fs::path::preferred_separator));
    return name.empty() ? m_directory : m_directory / fs::path(name);
}

bool Installation::Needs(const fs::path& file) {
    const std::array<fs::path, 5> own = {m_ini, m_directory / kMeterTypesFile, FilePath("DataFile"),
                                         FilePath("AppFile"), FilePath("RawFile")};
    return std::any_of(own.begin(), own.end(), [&file](const fs::path& path) {
        std::error_code missing;
        return fs::equivalent(path, file, missing);
    });
}
