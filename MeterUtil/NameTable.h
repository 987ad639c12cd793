// Finds sections by the hash of their name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Platform/Prefetch.h"

namespace MeterUtil {

// Numbers by hash, in one block of slots: a search touches neighbouring slots and nothing else until a hash
// is the right one. Names themselves are compared by the caller.
class NameTable {
public:
    static constexpr std::uint32_t kNone = UINT32_MAX;

    // Makes room for so many numbers; throws std::bad_alloc, with the table as it was.
    void Reserve(std::size_t numbers) {
        if (numbers * 4 <= m_slots.size() * 3)
            return;
        std::size_t size = m_slots.empty() ? 16 : m_slots.size();
        while (numbers * 4 > size * 3)
            size *= 2;
        std::vector<Slot> slots(size);
        slots.swap(m_slots);
        for (const Slot& slot : slots)
            if (slot.number != kNone)
                Insert(slot.hash, slot.number);
    }

    void Clear() { m_slots.clear(); }

    // The number with this hash that `isIt` accepts; kNone when there is none.
    template <typename Predicate>
    std::uint32_t Find(std::uint32_t hash, Predicate isIt) const {
        for (std::size_t i = Home(hash); m_slots[i].number != kNone; i = Next(i))
            if (m_slots[i].hash == hash && isIt(m_slots[i].number))
                return m_slots[i].number;
        return kNone;
    }

    // Fetches what a search for this hash looks at first.
    void Prefetch(std::uint32_t hash) const { Platform::Prefetch(m_slots.data() + Home(hash)); }

    // There is room for it.
    void Insert(std::uint32_t hash, std::uint32_t number) noexcept {
        std::size_t i = Home(hash);
        while (m_slots[i].number != kNone)
            i = Next(i);
        m_slots[i] = {hash, number};
    }

    // Puts one number in the place of another of the same hash.
    void Replace(std::uint32_t hash, std::uint32_t number, std::uint32_t by) noexcept {
        m_slots[SlotOf(hash, number)].number = by;
    }

    void Erase(std::uint32_t hash, std::uint32_t number) noexcept {
        std::size_t gap = SlotOf(hash, number);
        // What stands behind moves up, unless that would put it before its home.
        for (std::size_t i = Next(gap); m_slots[i].number != kNone; i = Next(i)) {
            if (Distance(Home(m_slots[i].hash), i) < Distance(gap, i))
                continue;
            m_slots[gap] = m_slots[i];
            gap = i;
        }
        m_slots[gap].number = kNone;
    }

private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t number = kNone;
    };

    std::size_t Home(std::uint32_t hash) const { return hash & (m_slots.size() - 1); }
    std::size_t Next(std::size_t slot) const { return (slot + 1) & (m_slots.size() - 1); }
    std::size_t Distance(std::size_t from, std::size_t to) const {
        return (to - from) & (m_slots.size() - 1);
    }
    std::size_t SlotOf(std::uint32_t hash, std::uint32_t number) const {
        std::size_t i = Home(hash);
        while (m_slots[i].number != number)
            i = Next(i);
        return i;
    }

    std::vector<Slot> m_slots;  // a power of two of them; a quarter at least is empty
};

}  // namespace MeterUtil
