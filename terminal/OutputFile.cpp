#include "terminal/OutputFile.h"

#include "terminal/Refusal.h"
#include "terminal/Utf8.h"

namespace fs = std::filesystem;

namespace {

constexpr int kMostLinks = 40;  // one behind the other, before they are a circle
constexpr fs::perms kWritable = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;

// What a link stands for, whether it is there or not; any other path as it is.
fs::path Target(fs::path path) {
    std::error_code error;
    for (int links = 0; links < kMostLinks && fs::is_symlink(path, error); ++links)
        path = path.parent_path() / fs::read_symlink(path, error);
    return path;
}

}  // namespace

OutputFile::OutputFile(const std::string& name, Installation& installation) : m_path(fs::u8path(name)) {
    if (installation.Needs(m_path))
        throw Refusal(kRefused, Utf8::Shown(name) + " belongs to the installation. Nothing was changed.");
    std::error_code error;
    if (m_path.has_parent_path())
        fs::create_directories(m_path.parent_path(), error);
    const fs::file_status before = fs::status(m_path, error);
    const bool isThere = fs::exists(before);
    if (fs::is_directory(before) || (isThere && (before.permissions() & kWritable) == fs::perms::none))
        Fail();
    if (isThere && !fs::is_regular_file(before))
        m_stream.open(m_path, std::ios::binary);
    else
        OpenBeside(before);
    if (!m_stream)
        Fail();
}

// Beside the file that is meant, under a name that nobody uses.
void OutputFile::OpenBeside(const fs::file_status& before) {
    std::error_code error;
    m_path = Target(m_path);
    fs::path part = m_path;
    do
        part += ".part";
    while (fs::exists(fs::symlink_status(part, error)));
    m_stream.open(part, std::ios::binary);
    if (!m_stream)
        return;
    m_part = part;
    if (fs::exists(before))
        fs::permissions(m_part, before.permissions(), error);
}

OutputFile::~OutputFile() {
    std::error_code ignored;
    m_stream.close();
    if (!m_part.empty())
        fs::remove(m_part, ignored);
}

void OutputFile::Write(std::string_view bytes) {
    if (!m_stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size())))
        Fail();
}

void OutputFile::Commit() {
    std::error_code error;
    m_stream.close();
    if (m_stream && !m_part.empty())
        fs::rename(m_part, m_path, error);
    if (!m_stream || error)
        Fail();
}

void OutputFile::Fail() const {
    throw Refusal(kFileFailed, Utf8::Shown(m_path.u8string()) + " cannot be written");
}
