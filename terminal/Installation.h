// An installation of the system on this machine, opened for one command: its files, its language and its
// texts.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"

struct Options {
    std::string directory = ".";  // of the application
    std::string ini = "meterdb.ini";
    std::string user;
    std::string language;      // "": the one that the installation keeps
    std::optional<int> level;  // of access; none: every function that the meter offers
};

class Installation {
public:
    // Opens the files. A language that is chosen is kept for the next time. Throws a Refusal when a file is
    // missing, cannot be read, or needs a default and cannot be saved, or when the installation does not have
    // the language.
    explicit Installation(const Options& options);

    // Closes the files as they are on the medium: what a command did not save is dropped.
    ~Installation();
    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;

    CMeterDatabase& Database() { return m_database; }

    // The code of the language in use.
    const std::string& Language() const { return m_language; }

    // The name of a file as the system ini gives it ("DataFile", "AppFile"), as it can be shown.
    std::string FileName(const char* key);

    // A file or directory that the system ini names, such as "RawFile"; the directory of the application
    // where it names none.
    std::filesystem::path FilePath(const char* key);

    // Whether a file that exists is one that the installation works with: its ini files, data file, app file.
    bool Needs(const std::filesystem::path& file);

private:
    void OpenStores(const Options& options);
    void CheckReadable(const char* key, const char* what);
    std::string ChosenLanguage(const Options& options);
    std::vector<std::string> Languages();
    void KeepLanguage(const std::string& language);

    std::filesystem::path m_directory;
    std::filesystem::path m_ini;
    CMeterDatabase m_database;
    std::string m_language;
};
