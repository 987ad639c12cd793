#include "terminal/check/TextFile.h"

#include <algorithm>
#include <fstream>
#include <utility>

#include "MeterUtil/IniLine.h"

namespace Check {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

std::string Folded(std::string_view name) {
    std::string folded(name);
    std::transform(folded.begin(), folded.end(), folded.begin(), MeterText::ToLower);
    return folded;
}

TextFile::TextFile(const std::filesystem::path& path, std::string name)
    : m_path(path), m_name(std::move(name)) {
    Load();
    Split();
}

void TextFile::Load() {
    std::error_code error;
    const bool exists = std::filesystem::exists(m_path, error);
    if (!exists && !error)
        return;
    m_state = State::Unreadable;
    if (!std::filesystem::is_regular_file(m_path, error))
        return;
    std::ifstream file(m_path, std::ios::binary);
    m_bytes.resize(static_cast<std::size_t>(std::filesystem::file_size(m_path, error)));
    if (file && file.read(m_bytes.data(), static_cast<std::streamsize>(m_bytes.size())))
        m_state = State::Loaded;
    else
        m_bytes.clear();
}

void TextFile::Split() {
    std::string_view rest = m_bytes;
    if (rest.substr(0, kByteOrderMark.size()) == kByteOrderMark)
        rest.remove_prefix(kByteOrderMark.size());
    while (!rest.empty()) {
        const std::size_t length = std::min(rest.find('\n'), rest.size() - 1) + 1;
        m_lines.push_back(MeterUtil::WithoutLineEnd(rest.substr(0, length)));
        rest.remove_prefix(length);
        std::string_view name;
        if (!MeterUtil::IsHeader(m_lines.back(), &name))
            continue;
        m_firstOfName.emplace(Folded(name), m_sections.size());
        m_sections.push_back({name, m_lines.size(), 0});
    }
    for (std::size_t i = 0; i < m_sections.size(); ++i)
        m_sections[i].end = i + 1 < m_sections.size() ? m_sections[i + 1].header : m_lines.size() + 1;
}

const TextFile::Section* TextFile::Find(std::string_view name) const {
    const auto found = m_firstOfName.find(Folded(name));
    return found == m_firstOfName.end() ? nullptr : &m_sections[found->second];
}

std::vector<TextFile::Entry> TextFile::Entries(const Section& section) const {
    std::vector<Entry> entries;
    for (std::size_t line = section.header + 1; line < section.end; ++line) {
        Entry entry{line, {}, {}};
        if (MeterUtil::SplitEntry(Line(line), &entry.key, &entry.value))
            entries.push_back(entry);
    }
    return entries;
}

std::optional<TextFile::Entry> TextFile::Find(std::string_view section, std::string_view key) const {
    if (const Section* found = Find(section))
        for (const Entry& entry : Entries(*found))
            if (MeterText::EqualIgnoringCase(entry.key, key))
                return entry;
    return std::nullopt;
}

std::string_view TextFile::Value(std::string_view section, std::string_view key) const {
    const std::optional<Entry> entry = Find(section, key);
    return entry ? entry->value : std::string_view();
}

}  // namespace Check
