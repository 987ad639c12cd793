#include "tests/support/NaiveIni.h"

#include <algorithm>
#include <cctype>

namespace {

const std::string kMark = "\xEF\xBB\xBF";

std::string Trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return "";
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string Lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c + 32);
    return text;
}

}  // namespace

NaiveIni::NaiveIni(std::string_view bytes) {
    m_byteOrderMark = bytes.substr(0, 3) == kMark;
    if (m_byteOrderMark)
        bytes.remove_prefix(3);
    while (!bytes.empty()) {
        const std::size_t lf = bytes.find('\n');
        Line line;
        line.text = std::string(bytes.substr(0, lf));
        if (lf != std::string_view::npos) {
            line.end = "\n";
            if (!line.text.empty() && line.text.back() == '\r') {
                line.text.pop_back();
                line.end = "\r\n";
            }
        }
        bytes.remove_prefix(lf == std::string_view::npos ? bytes.size() : lf + 1);
        std::string name;
        if (IsHeader(line.text, &name))
            line.section = ++m_sections;
        m_lines.push_back(line);
    }
    if (!m_lines.empty() && m_lines.front().end == "\n")
        m_end = "\n";
}

std::string NaiveIni::Bytes() const {
    std::string bytes = m_byteOrderMark ? kMark : "";
    for (const Line& line : m_lines)
        bytes += line.text + line.end;
    return bytes;
}

bool NaiveIni::IsHeader(const std::string& text, std::string* name) {
    const std::string trimmed = Trimmed(text);
    const std::size_t close = trimmed.find(']');
    if (trimmed.empty() || trimmed[0] != '[' || close == std::string::npos)
        return false;
    *name = trimmed.substr(1, close - 1);
    return true;
}

bool NaiveIni::IsEntry(const std::string& text, std::string* key, std::string* value) {
    std::string name;
    const std::size_t equals = text.find('=');
    if (IsHeader(text, &name) || equals == std::string::npos)
        return false;
    *key = Trimmed(text.substr(0, equals));
    *value = text.substr(equals + 1);
    return !key->empty() && (*key)[0] != ';';
}

bool NaiveIni::Same(const std::string& a, const std::string& b) {
    return Lower(a) == Lower(b);
}

bool NaiveIni::FitsOneLine(const std::string& text) {
    return text.find('\r') == std::string::npos && text.find('\n') == std::string::npos;
}

NaiveIni::Index NaiveIni::Find(const std::string& section) const {
    std::string name;
    for (Index i = 0; i < m_lines.size(); ++i)
        if (IsHeader(m_lines[i].text, &name) && Same(name, section))
            return i;
    return m_lines.size();
}

NaiveIni::Index NaiveIni::End(Index header) const {
    std::string name;
    Index end = header + 1;
    while (end < m_lines.size() && !IsHeader(m_lines[end].text, &name))
        ++end;
    return end;
}

NaiveIni::Index NaiveIni::FindKey(const std::string& section, const std::string& key) const {
    const Index header = Find(section);
    if (header == m_lines.size())
        return header;
    std::string found;
    std::string value;
    for (Index i = header + 1; i < End(header); ++i)
        if (IsEntry(m_lines[i].text, &found, &value) && Same(found, Trimmed(key)))
            return i;
    return m_lines.size();
}

bool NaiveIni::ReadString(const std::string& section, const std::string& key, std::string* value) const {
    value->clear();
    const Index line = FindKey(section, key);
    std::string found;
    return line != m_lines.size() && IsEntry(m_lines[line].text, &found, value);
}

bool NaiveIni::ReadByIndex(const std::string& section, int index, std::string* key,
                           std::string* value) const {
    const Index header = Find(section);
    int entries = 0;
    if (header != m_lines.size())
        for (Index i = header + 1; i < End(header); ++i)
            if (IsEntry(m_lines[i].text, key, value) && ++entries == index)
                return true;
    key->clear();
    value->clear();
    return false;
}

bool NaiveIni::ReadLineByIndex(const std::string& section, int index, std::string* text) const {
    text->clear();
    const Index header = Find(section);
    if (header == m_lines.size() || index < 1 || header + static_cast<Index>(index) >= End(header))
        return false;
    *text = m_lines[header + static_cast<Index>(index)].text;
    return true;
}

bool NaiveIni::GetString(int line, std::string* text) const {
    text->clear();
    if (line < 0 || static_cast<Index>(line) >= m_lines.size())
        return false;
    *text = m_lines[static_cast<Index>(line)].text;
    return true;
}

int NaiveIni::FindBracketLine(int line) const {
    for (Index i = line < 0 ? m_lines.size() : static_cast<Index>(line); i < m_lines.size(); ++i)
        if (m_lines[i].text.substr(0, 1) == "[")
            return static_cast<int>(i);
    return -1;
}

bool NaiveIni::SectionExists(const std::string& section) const {
    return Find(section) != m_lines.size();
}

NaiveIni::Line NaiveIni::NewLine(const std::string& text) const {
    return {text, m_end, 0};
}

void NaiveIni::EndLast() {
    if (!m_lines.empty() && m_lines.back().end.empty())
        m_lines.back().end = m_lines.back().text.back() == '\r' ? "\r\n" : m_end;
}

// A header has a name from now on: what another section of that name had kept is dropped.
void NaiveIni::Named(Index header) {
    std::string name;
    std::string other;
    IsHeader(m_lines[header].text, &name);
    m_copiesOfDeleted.erase(std::remove_if(m_copiesOfDeleted.begin(), m_copiesOfDeleted.end(),
                                           [&](const Copy& copy) {
                                               return IsHeader(copy.header.text, &other) && Same(other, name);
                                           }),
                            m_copiesOfDeleted.end());
    if (Find(name) != header)
        return;
    for (Index i = header + 1; i < m_lines.size(); ++i) {
        if (!IsHeader(m_lines[i].text, &other) || !Same(other, name))
            continue;
        m_copies.erase(m_lines[i].section);
        return;
    }
}

// A header goes away: its copy stays under its name, unless another section has it.
void NaiveIni::Unnamed(Index header) {
    const auto copy = m_copies.find(m_lines[header].section);
    if (copy == m_copies.end())
        return;
    std::string name;
    std::string other;
    IsHeader(m_lines[header].text, &name);
    bool isOnlyOne = true;
    for (Index i = 0; i < m_lines.size(); ++i)
        if (i != header && IsHeader(m_lines[i].text, &other) && Same(other, name))
            isOnlyOne = false;
    if (isOnlyOne) {
        copy->second.header = m_lines[header];
        m_copiesOfDeleted.push_back(copy->second);
    }
    m_copies.erase(copy);
}

bool NaiveIni::WriteString(const std::string& section, std::string key, const std::string& value) {
    key = Trimmed(key);
    if (section.empty() || section.find(']') != std::string::npos || !FitsOneLine(section) || key.empty() ||
        key.find('=') != std::string::npos || key[0] == '[' || key[0] == ';' || !FitsOneLine(key) ||
        !FitsOneLine(value))
        return false;
    const Index line = FindKey(section, key);
    if (line != m_lines.size()) {
        m_lines[line].text = m_lines[line].text.substr(0, m_lines[line].text.find('=') + 1) + value;
        return true;
    }
    const Index header = Find(section);
    if (header == m_lines.size()) {
        EndLast();
        Line newHeader = NewLine("[" + section + "]");
        newHeader.section = ++m_sections;
        m_lines.push_back(newHeader);
        m_lines.push_back(NewLine(key + "=" + value));
        Named(m_lines.size() - 2);
        return true;
    }
    Index at = End(header);
    while (at > header + 1 && Trimmed(m_lines[at - 1].text).empty())
        --at;
    if (at == m_lines.size())
        EndLast();
    m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(at), NewLine(key + "=" + value));
    return true;
}

bool NaiveIni::SetString(int number, const std::string& text) {
    if (number < 0 || static_cast<Index>(number) >= m_lines.size() || !FitsOneLine(text) ||
        (number == 0 && text.substr(0, 3) == kMark))
        return false;
    const Index index = static_cast<Index>(number);
    Line& line = m_lines[index];
    std::string name;
    const bool isHeader = IsHeader(text, &name);
    if (line.section != 0 && !isHeader)
        Unnamed(index);
    if (!isHeader)
        line.section = 0;
    else if (line.section == 0)
        line.section = ++m_sections;
    line.text = text;
    if (text.empty() && line.end.empty())
        line.end = m_end;
    if (isHeader)
        Named(index);
    return true;
}

int NaiveIni::AppendString(const std::string& text) {
    if (!FitsOneLine(text) || (m_lines.empty() && text.substr(0, 3) == kMark))
        return -1;
    EndLast();
    m_lines.push_back(NewLine(text));
    std::string name;
    if (IsHeader(text, &name)) {
        m_lines.back().section = ++m_sections;
        Named(m_lines.size() - 1);
    }
    return static_cast<int>(m_lines.size()) - 1;
}

bool NaiveIni::DeleteSection(const std::string& section) {
    const Index header = Find(section);
    if (header == m_lines.size())
        return false;
    Unnamed(header);
    m_lines.erase(m_lines.begin() + static_cast<std::ptrdiff_t>(header),
                  m_lines.begin() + static_cast<std::ptrdiff_t>(End(header)));
    return true;
}

bool NaiveIni::DeleteKey(const std::string& section, const std::string& key) {
    const Index line = FindKey(section, key);
    if (line == m_lines.size())
        return false;
    m_lines.erase(m_lines.begin() + static_cast<std::ptrdiff_t>(line));
    return true;
}

bool NaiveIni::BackupSection(const std::string& section) {
    const Index header = Find(section);
    if (header == m_lines.size())
        return false;
    Copy copy;
    copy.lines.assign(m_lines.begin() + static_cast<std::ptrdiff_t>(header) + 1,
                      m_lines.begin() + static_cast<std::ptrdiff_t>(End(header)));
    m_copies[m_lines[header].section] = copy;
    return true;
}

bool NaiveIni::RestoreSection(const std::string& section) {
    const Index header = Find(section);
    Copy copy;
    Index at = header;
    if (header != m_lines.size()) {
        const auto found = m_copies.find(m_lines[header].section);
        if (found == m_copies.end())
            return false;
        copy = found->second;
        m_lines.erase(m_lines.begin() + static_cast<std::ptrdiff_t>(header) + 1,
                      m_lines.begin() + static_cast<std::ptrdiff_t>(End(header)));
    } else {
        std::string name;
        const auto found = std::find_if(
            m_copiesOfDeleted.begin(), m_copiesOfDeleted.end(),
            [&](const Copy& kept) { return IsHeader(kept.header.text, &name) && Same(name, section); });
        if (found == m_copiesOfDeleted.end())
            return false;
        copy = *found;
        m_copiesOfDeleted.erase(found);
        EndLast();
        m_lines.push_back(copy.header);
        m_lines.back().section = ++m_sections;
        m_copies[m_sections] = copy;
        at = m_lines.size() - 1;
    }
    m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(at) + 1, copy.lines.begin(),
                   copy.lines.end());
    for (Index i = 0; i + 1 < m_lines.size(); ++i)
        if (m_lines[i].end.empty())
            m_lines[i].end = m_lines[i].text.back() == '\r' ? "\r\n" : m_end;
    return true;
}
