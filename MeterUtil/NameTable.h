// Finds sections by the hash of their name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace MeterUtil {

// Numbers by hash, in one block of slots: a search touches neighbouring slots and nothing else until a hash
// is the right one. Names themselves are compared by the caller. With a number goes the first line of its
// section, so that its lines can be fetched together with what else is known of it.
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
        m_last = size - 1;
        for (const Slot& slot : slots)
            if (slot.number != kNone)
                Insert(slot.hash, slot.number, slot.line);
    }

    void Clear() { m_slots.clear(); }

    // The number with this hash that `isIt`, which is given the line as well, accepts; kNone when there is
    // none.
    template <typename Predicate>
    std::uint32_t Find(std::uint32_t hash, Predicate isIt) const {
        for (std::size_t i = Home(hash); m_slots[i].number != kNone; i = Next(i))
            if (m_slots[i].hash == hash && isIt(m_slots[i].number, m_slots[i].line))
                return m_slots[i].number;
        return kNone;
    }

    // There is room for it.
    void Insert(std::uint32_t hash, std::uint32_t number, std::uint32_t line) noexcept {
        std::size_t i = Home(hash);
        while (m_slots[i].number != kNone)
            i = Next(i);
        m_slots[i] = {hash, number, line};
    }

    // Puts one number in the place of another of the same hash.
    void Replace(std::uint32_t hash, std::uint32_t number, std::uint32_t by, std::uint32_t line) noexcept {
        m_slots[SlotOf(hash, number)] = {hash, by, line};
    }

    // Takes the lines anew from lineOf(number).
    template <typename LineOf>
    void SetLines(LineOf lineOf) noexcept {
        for (Slot& slot : m_slots)
            if (slot.number != kNone)
                slot.line = lineOf(slot.number);
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
        std::uint32_t line = 0;
    };

    std::size_t Home(std::uint32_t hash) const { return hash & m_last; }
    std::size_t Next(std::size_t slot) const { return (slot + 1) & m_last; }
    std::size_t Distance(std::size_t from, std::size_t to) const { return (to - from) & m_last; }
    std::size_t SlotOf(std::uint32_t hash, std::uint32_t number) const {
        std::size_t i = Home(hash);
        while (m_slots[i].number != number)
            i = Next(i);
        return i;
    }

    std::vector<Slot> m_slots;  // a power of two of them; a quarter at least is empty
    std::size_t m_last = 0;     // of them
};

}  // namespace MeterUtil
