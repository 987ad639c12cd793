// The floors: the least that anybody can do, without keeping any of a store's promises. What they are given
// for free is not timed: their tables and maps are built before.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bench/Contestants.h"
#include "bench/Workloads.h"

namespace Bench {
namespace {

// A file open as long as the object lives.
class Descriptor {
public:
    Descriptor(const std::string& path, int flags) : m_file(open(path.c_str(), flags | O_CLOEXEC, 0644)) {}
    ~Descriptor() { close(m_file); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Number() const { return m_file; }

private:
    int m_file;
};

// The file in one block, and where its lines begin.
class LineTable {
public:
    static constexpr bool kFresh = false;
    static constexpr std::size_t kMost = SIZE_MAX;

    explicit LineTable(const std::string& path) {
        const Descriptor file(path, O_RDONLY);
        struct stat state {};
        if (fstat(file.Number(), &state) != 0)
            return;
        const auto size = static_cast<std::size_t>(state.st_size);
        m_bytes.reset(static_cast<char*>(std::malloc(size)));
        if (m_bytes == nullptr || read(file.Number(), m_bytes.get(), size) != state.st_size)
            return;
        Scan(size);
    }

    std::string_view Line(std::size_t line) const {
        const std::size_t start = m_starts[line];
        return {m_bytes.get() + start, m_starts[line + 1] - start - kLineEnd.size()};
    }

    bool LineAt(std::size_t line, char* dst, std::size_t size) {
        CopyValue(dst, size, Line(line));
        return true;
    }

    std::size_t Lines() const { return m_starts.size() - 1; }

private:
    struct Free {
        void operator()(char* block) const { std::free(block); }
    };

    static constexpr std::size_t kBytesOfLine = 16;  // no line is shorter by far: the table never grows

    void Scan(std::size_t size) {
        m_starts.reserve(size / kBytesOfLine);
        const char* const begin = m_bytes.get();
        const char* const end = begin + size;
        for (const char* line = begin; line != nullptr && line != end;) {
            m_starts.push_back(static_cast<std::uint32_t>(line - begin));
            const auto* lf =
                static_cast<const char*>(std::memchr(line, '\n', static_cast<std::size_t>(end - line)));
            line = lf == nullptr ? end : lf + 1;
        }
        m_starts.push_back(static_cast<std::uint32_t>(size));
    }

    std::unique_ptr<char[], Free> m_bytes;
    std::vector<std::uint32_t> m_starts;
};

// Where the records begin in a table of lines: what the i-th entry of a record needs.
class SectionTable {
public:
    static constexpr bool kFresh = false;
    static constexpr std::size_t kMost = SIZE_MAX;

    explicit SectionTable(const std::string& path) : m_table(path) {
        for (std::size_t i = 0; i < m_table.Lines(); ++i) {
            const std::string_view line = m_table.Line(i);
            if (!line.empty() && line.front() == '[')
                m_sections[line.substr(1, line.size() - 2)] = i;
        }
    }

    bool EntryAt(const char* section, int index, char* key, char* value, std::size_t size) {
        const auto found = m_sections.find(section);
        if (found == m_sections.end())
            return false;
        const std::string_view line = m_table.Line(found->second + static_cast<std::size_t>(index));
        const std::size_t equals = line.find('=');
        CopyValue(key, size, line.substr(0, equals));
        CopyValue(value, size, line.substr(equals + 1));
        return true;
    }

private:
    LineTable m_table;
    std::unordered_map<std::string_view, std::size_t> m_sections;
};

// Every entry of the file in one map, under its joined names; the case of letters counts. Who asks has two
// names, as with everybody else, and joins them.
class HashMap {
public:
    static constexpr bool kFresh = false;
    static constexpr std::size_t kMost = SIZE_MAX;

    explicit HashMap(const std::string& path) : m_table(path) {
        m_entries.reserve(m_table.Lines());
        m_names.reserve(m_table.Lines() * kMostNameBytes);
        std::string_view section;
        for (std::size_t i = 0; i < m_table.Lines(); ++i) {
            const std::string_view line = m_table.Line(i);
            const std::size_t equals = line.find('=');
            if (!line.empty() && line.front() == '[')
                section = line.substr(1, line.size() - 2);
            else if (equals != std::string_view::npos)
                m_entries[KeepJoined(section, line.substr(0, equals))] = {line.data() + equals + 1,
                                                                          line.size() - equals - 1, 0};
        }
    }

    // Makes the values those of the file again, before the first one is set and after every round.
    void TakeBack() {
        if (m_asLoaded.empty())
            for (const auto& entry : m_entries)
                m_asLoaded.push_back(entry.second);
        auto loaded = m_asLoaded.begin();
        for (auto& entry : m_entries)  // in the same order: none was added
            entry.second = *loaded++;
        m_blocks.clear();
        m_left = 0;
    }

    bool Find(const Query& query, char* dst, std::size_t size) {
        const auto found = FindEntry(query);
        if (found == m_entries.end())
            return false;
        CopyValue(dst, size, {found->second.text, found->second.size});
        return true;
    }

    // Copies the value to where it may be written over the next time.
    bool Set(const Query& query, const std::string& value) {
        const auto found = FindEntry(query);
        if (found == m_entries.end())
            return false;
        Value& held = found->second;
        if (held.room < value.size())
            held = {NewRoom(value.size()), value.size(), value.size()};
        std::memcpy(const_cast<char*>(held.text), value.data(), value.size());
        held.size = value.size();
        return true;
    }

private:
    struct Value {
        const char* text;
        std::size_t size;
        std::size_t room;  // 0: the text must not be written over
    };

    using Entries = std::unordered_map<std::string_view, Value>;

    static constexpr std::size_t kMostNameBytes = 32;
    static constexpr std::size_t kBlockBytes = 64 * 1024;

    Entries::iterator FindEntry(const Query& query) {
        char name[kMostNameBytes];
        const std::size_t sectionSize = std::strlen(query.section);
        const std::size_t keySize = std::strlen(query.key);
        std::memcpy(name, query.section, sectionSize);
        name[sectionSize] = ':';
        std::memcpy(name + sectionSize + 1, query.key, keySize);
        return m_entries.find({name, sectionSize + 1 + keySize});
    }

    std::string_view KeepJoined(std::string_view section, std::string_view key) {
        const std::size_t start = m_names.size();
        ((m_names += section) += ':') += key;
        return std::string_view(m_names).substr(start);
    }

    const char* NewRoom(std::size_t size) {
        if (m_left < size) {
            m_blocks.push_back(std::make_unique<char[]>(kBlockBytes));
            m_left = kBlockBytes;
        }
        m_left -= size;
        return m_blocks.back().get() + m_left;
    }

    LineTable m_table;
    std::string m_names;  // never grows beyond what was reserved: the map refers to it
    Entries m_entries;
    std::vector<Value> m_asLoaded;
    std::vector<std::unique_ptr<char[]>> m_blocks;
    std::size_t m_left = 0;
};

// Updates of a map that has the values of the file, as a store that was just loaded has them.
Measured UpdateMap(Route& route) {
    Loaded<HashMap> map(route);
    map->TakeBack();
    return UpdateEntries(*map.operator->(), route);
}

bool WriteAtOnce(const std::string& text, const std::string& path, bool flushed) {
    const Descriptor file(path, O_WRONLY | O_CREAT | O_TRUNC);
    const ssize_t written = write(file.Number(), text.data(), text.size());
    return written == static_cast<ssize_t>(text.size()) && (!flushed || fsync(file.Number()) == 0);
}

template <typename Clock>
Measured WriteWhole(const std::string& text, const std::string& directory, bool flushed) {
    const std::string path = directory + "/written.ini";
    const Stopwatch<Clock> watch;
    const bool written = WriteAtOnce(text, path, flushed);
    return {watch.Seconds(), written ? 1U : 0U, text.size()};
}

}  // namespace

void AddFloors(const std::string& diskDirectory) {
    Add("load", kFloor, 15, Load<LineTable>);
    Add("random", kFloor, 5, RandomLookup<HashMap>);
    Add("random-again", kFloor, 5, RandomLookup<HashMap>);
    Add("local", kFloor, 5, LocalLookup<HashMap>);
    Add("entry", kFloor, 5, EntriesByIndex<SectionTable>);
    Add("line", kFloor, 5, LinesInOrder<LineTable>);
    Add("line-anywhere", kFloor, 5, LinesAnywhere<LineTable>);
    Add("update", kFloor, 5, UpdateMap);
    for (const char* row : {"save", "save-one", "background-one"})
        Add(row, kFloor, 9,
            [](Route& route) { return WriteWhole<WorkClock>(route.Text(), route.Directory(), false); });
    for (const char* row : {"save-many", "background-many"})
        Add(row, kFloor, 5, [](Route& route) {
            return WriteWhole<WorkClock>(route.UpdatedText(), route.Directory(), false);
        });
    Add("save-flushed", kFloor, 3,
        [diskDirectory](Route& route) { return WriteWhole<WallClock>(route.Text(), diskDirectory, true); });
    Add("memory", kFloor, 3, [](Route& route) { return Measured{0, 1, route.Bytes()}; });
}

}  // namespace Bench
