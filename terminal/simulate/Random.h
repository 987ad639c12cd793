// Numbers that look like chance and are the same on every system for the same seed.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Simulate {

class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}

    // A number below `limit`, which is above 0.
    std::int64_t Below(std::int64_t limit) {
        m_state += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = m_state;
        mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
        mixed ^= mixed >> 31U;
        return static_cast<std::int64_t>((mixed >> 1U) % static_cast<std::uint64_t>(limit));
    }

    std::int64_t Between(std::int64_t first, std::int64_t last) { return first + Below(last - first + 1); }

    // True in so many of a thousand cases.
    bool Happens(int permille) { return Below(1000) < permille; }

    template <typename Item, std::size_t count>
    const Item& OneOf(const Item (&items)[count]) {
        return items[static_cast<std::size_t>(Below(static_cast<std::int64_t>(count)))];
    }

private:
    std::uint64_t m_state;
};

}  // namespace Simulate
