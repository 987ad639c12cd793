// A route on the disk, and what is asked of it: names that are made before anything is timed.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench/RouteGenerator.h"

namespace Bench {

// An entry by its names. `joined` is "section:key", for whoever has one name for both.
struct Query {
    const char* section;
    const char* key;
    std::string_view joined;
};

// Queries with the memory of their names, which lie in the order in which they are asked.
class Queries {
public:
    void Reserve(std::size_t count) { m_places.reserve(count); }
    void Add(std::string_view section, std::string_view key);

    // All that were added; the names must not grow any more.
    const std::vector<Query>& All();

private:
    struct Place {
        std::size_t section;
        std::size_t key;
        std::size_t joined;
        std::size_t joinedSize;
    };

    std::string m_names;
    std::vector<Place> m_places;
    std::vector<Query> m_queries;
};

class Route {
public:
    // Writes the route of `meters` meters into a directory. It is removed again by the destructor.
    Route(int meters, const std::string& directory);
    ~Route();
    Route(const Route&) = delete;
    Route& operator=(const Route&) = delete;

    int Meters() const { return m_meters; }
    const std::string& Path() const { return m_path; }
    const std::string& Directory() const { return m_directory; }
    const std::string& Text() const { return m_text; }
    std::size_t Bytes() const { return m_text.size(); }
    std::size_t Lines() const { return m_lines; }

    // 1,000,000 entries from all over the file; 1,000,000 in visits of 20 entries of a record, then of the
    // next.
    const std::vector<Query>& Random();
    const std::vector<Query>& Local();

    // Entries that are given another value, and values for them.
    static constexpr std::size_t kUpdates = 300000;
    const std::string& NewValue(std::size_t number) const { return m_values[number % m_values.size()]; }

    // The text after all updates.
    const std::string& UpdatedText();

    // New keys for sections from all over the file, others in each round.
    static constexpr std::size_t kInserts = 20000;
    std::unique_ptr<Queries> Inserts(int round) const;

    // Numbers of lines from all over the file.
    const std::vector<std::size_t>& RandomLines();

private:
    int m_meters;
    std::string m_directory;
    std::string m_path;
    std::string m_text;
    std::string m_updatedText;
    std::size_t m_lines;
    std::vector<std::string> m_values;
    std::unique_ptr<Queries> m_random;
    std::unique_ptr<Queries> m_local;
    std::vector<std::size_t> m_randomLines;
};

}  // namespace Bench
