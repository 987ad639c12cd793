// A text of sections and entries as it lies on the medium, every line with its number: what a check looks at.
// The store of the library serves look-ups; here even the bytes that no look-up would show are of interest.
// Which line is a header or an entry, and how names compare, are the store's own rules.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Check {

// The key of an entry or the name of a section as names are compared.
std::string Folded(std::string_view name);

class TextFile {
public:
    // Lines count from 1.
    struct Entry {
        std::size_t line = 0;
        std::string_view key;
        std::string_view value;
    };

    struct Section {
        std::string_view name;
        std::size_t header = 0;
        std::size_t end = 0;  // the line behind its last one
    };

    // What a file is.
    enum class State { Loaded, Missing, Unreadable };

    // Loads the file at `path`. `name`: how it is called in front of people.
    TextFile(const std::filesystem::path& path, std::string name);
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    State GetState() const { return m_state; }
    const std::filesystem::path& Path() const { return m_path; }
    const std::string& Name() const { return m_name; }

    std::size_t Lines() const { return m_lines.size(); }

    // A line without its line end.
    std::string_view Line(std::size_t line) const { return m_lines[line - 1]; }

    const std::vector<Section>& Sections() const { return m_sections; }

    // The first section of a name; null when there is none.
    const Section* Find(std::string_view name) const;

    // The entries of a section in their order, duplicates included.
    std::vector<Entry> Entries(const Section& section) const;

    // The first entry of a key; nothing when the section or the key is missing.
    std::optional<Entry> Find(std::string_view section, std::string_view key) const;

    // Its value; "" when there is none.
    std::string_view Value(std::string_view section, std::string_view key) const;

private:
    void Load();
    void Split();

    std::filesystem::path m_path;
    std::string m_name;
    State m_state = State::Missing;
    std::string m_bytes;
    std::vector<std::string_view> m_lines;
    std::vector<Section> m_sections;
    std::unordered_map<std::string, std::size_t> m_firstOfName;
};

}  // namespace Check
