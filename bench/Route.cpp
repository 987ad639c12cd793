#include "bench/Route.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <unordered_map>

namespace Bench {
namespace {

constexpr std::size_t kLookups = 1000000;
constexpr std::size_t kLookupsOfAVisit = 20;
constexpr std::size_t kValues = 1024;

// Values as a parser's run leaves them, longer than those that were sent out.
std::vector<std::string> MakeValues() {
    std::vector<std::string> values;
    for (std::size_t i = 0; i < kValues; ++i)
        values.push_back("RD,DR,\"8.1 kWh,C10000;99999,BX\"," + MakeReading(static_cast<int>(i), "1.8.0") +
                         ",\"energy T1, 1 period back\"");
    return values;
}

std::string AnySection(int meters, bool record, Sequence* sequence) {
    const int meter = static_cast<int>(sequence->Below(static_cast<std::uint32_t>(meters))) + 1;
    return record ? RecordSection(meter) : AppendixSection(meter);
}

template <typename Visitor>
void ForEachLine(std::string_view text, Visitor visit) {
    while (!text.empty()) {
        const std::size_t end = text.find(kLineEnd);
        visit(text.substr(0, end));
        text.remove_prefix(end + kLineEnd.size());
    }
}

const std::string& AnyOf(const std::vector<std::string>& keys, Sequence* sequence) {
    return keys[sequence->Below(static_cast<std::uint32_t>(keys.size()))];
}

}  // namespace

// ---- queries

void Queries::Add(std::string_view section, std::string_view key) {
    Place place{};
    place.section = m_names.size();
    (m_names += section) += '\0';
    place.key = m_names.size();
    (m_names += key) += '\0';
    place.joined = m_names.size();
    ((m_names += section) += ':') += key;
    place.joinedSize = m_names.size() - place.joined;
    m_names += '\0';
    m_places.push_back(place);
}

const std::vector<Query>& Queries::All() {
    if (m_queries.size() == m_places.size())
        return m_queries;
    m_queries.clear();
    for (const Place& place : m_places)
        m_queries.push_back({&m_names[place.section], &m_names[place.key],
                             std::string_view(m_names).substr(place.joined, place.joinedSize)});
    return m_queries;
}

// ---- route

Route::Route(int meters, const std::string& directory)
    : m_meters(meters),
      m_directory(directory),
      m_path(directory + "/route-" + std::to_string(meters) + ".ini"),
      m_text(MakeRoute(meters)),
      m_lines(static_cast<std::size_t>(std::count(m_text.begin(), m_text.end(), '\n'))),
      m_values(MakeValues()) {
    std::ofstream file(m_path, std::ios::binary);
    file << m_text;
}

Route::~Route() {
    std::error_code ignored;
    std::filesystem::remove(m_path, ignored);
}

const std::string& Route::UpdatedText() {
    if (!m_updatedText.empty())
        return m_updatedText;
    std::unordered_map<std::string, std::size_t> updates;  // the last one of each entry
    for (std::size_t i = 0; i < kUpdates; ++i)
        updates[std::string(Random()[i].joined)] = i;
    std::string section;
    ForEachLine(m_text, [&](std::string_view line) {
        if (!line.empty() && line.front() == '[')
            section = line.substr(1, line.size() - 2);
        const std::string_view key = line.substr(0, line.find('='));
        const auto update = updates.find((section + ':').append(key));
        if (update == updates.end())
            m_updatedText += line;
        else
            ((m_updatedText += key) += '=') += NewValue(update->second);
        m_updatedText += kLineEnd;
    });
    return m_updatedText;
}

// Three of four entries of a meter stand in its record.
const std::vector<Query>& Route::Random() {
    if (m_random == nullptr) {
        m_random = std::make_unique<Queries>();
        m_random->Reserve(kLookups);
        Sequence sequence(1);
        for (std::size_t i = 0; i < kLookups; ++i) {
            const bool record = sequence.Below(4) != 0;
            const std::string section = AnySection(m_meters, record, &sequence);
            m_random->Add(section, AnyOf(record ? RecordKeys() : AppendixKeys(), &sequence));
        }
    }
    return m_random->All();
}

const std::vector<Query>& Route::Local() {
    if (m_local == nullptr) {
        m_local = std::make_unique<Queries>();
        m_local->Reserve(kLookups);
        Sequence sequence(2);
        for (std::size_t i = 0; i < kLookups; ++i) {
            const std::size_t visit = i / kLookupsOfAVisit % static_cast<std::size_t>(m_meters);
            m_local->Add(RecordSection(static_cast<int>(visit) + 1), AnyOf(RecordKeys(), &sequence));
        }
    }
    return m_local->All();
}

std::unique_ptr<Queries> Route::Inserts(int round) const {
    auto inserts = std::make_unique<Queries>();
    Sequence sequence(3);
    for (std::size_t i = 0; i < kInserts; ++i)
        inserts->Add(AnySection(m_meters, sequence.Below(4) != 0, &sequence),
                     "New" + std::to_string(round) + "." + std::to_string(i));
    return inserts;
}

const std::vector<std::size_t>& Route::RandomLines() {
    Sequence sequence(4);
    while (m_randomLines.size() < kLookups)
        m_randomLines.push_back(sequence.Below(static_cast<std::uint32_t>(m_lines)));
    return m_randomLines;
}

}  // namespace Bench
