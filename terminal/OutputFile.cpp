#include "terminal/OutputFile.h"

#include "terminal/Refusal.h"
#include "terminal/Utf8.h"

namespace fs = std::filesystem;

OutputFile::OutputFile(const std::string& name) : m_path(fs::u8path(name)), m_part(m_path) {
    m_part += ".part";
    std::error_code error;
    if (m_path.has_parent_path())
        fs::create_directories(m_path.parent_path(), error);
    if (fs::is_directory(m_path, error))
        Fail();
    m_stream.open(m_part, std::ios::binary | std::ios::trunc);
    if (!m_stream)
        Fail();
}

OutputFile::~OutputFile() {
    std::error_code ignored;
    m_stream.close();
    fs::remove(m_part, ignored);
}

void OutputFile::Write(std::string_view bytes) {
    if (!m_stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size())))
        Fail();
}

void OutputFile::Commit() {
    std::error_code error;
    m_stream.close();
    if (m_stream)
        fs::rename(m_part, m_path, error);
    if (!m_stream || error)
        Fail();
}

void OutputFile::Fail() const {
    throw Refusal(kFileFailed, Utf8::Shown(m_path.u8string()) + " cannot be written");
}
