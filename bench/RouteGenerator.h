// Route files for measuring: as many meters as wanted, each a record of 60 entries with one appendix of 20,
// lines of 50 bytes on average, CR LF. The same number of meters gives the same bytes on every system.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/simulate/Random.h"

namespace Bench {

// Numbers that look random and are the same everywhere.
class Sequence {
public:
    explicit Sequence(std::uint64_t seed) : m_random(seed) {}

    // A number below `limit`.
    std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(m_random.Below(limit)); }

private:
    Simulate::Random m_random;
};

constexpr std::string_view kLineEnd = "\r\n";

// The text of a route of `meters` meters.
std::string MakeRoute(int meters);

// Names of the entries, the same in every record and in every appendix, in the order of the file.
const std::vector<std::string>& RecordKeys();
const std::vector<std::string>& AppendixKeys();

// Names of the sections of a meter, which counts from 1.
std::string RecordSection(int meter);
std::string AppendixSection(int meter);

// The entries of one more record, as lines without line ends; the header first.
std::vector<std::string> MakeRecord(int meter);

// What a meter answers for a register of its record; different for each meter and register.
std::string MakeReading(int meter, const std::string& key);

}  // namespace Bench
