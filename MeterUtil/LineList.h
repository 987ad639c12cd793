// The lines of a section that was edited.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

#include "MeterUtil/LineArena.h"

namespace MeterUtil {

// Lines and their tags in one block: a search looks at the tags and then at one line.
class LineList {
public:
    LineList() = default;
    LineList(LineList&& other) noexcept
        : m_block(std::move(other.m_block)),
          m_size(std::exchange(other.m_size, 0)),
          m_room(std::exchange(other.m_room, 0)) {}
    LineList& operator=(LineList&& other) noexcept {
        m_block = std::move(other.m_block);
        m_size = std::exchange(other.m_size, 0);
        m_room = std::exchange(other.m_room, 0);
        return *this;
    }
    ~LineList() = default;

    // True once room was reserved.
    bool Exists() const { return m_block != nullptr; }
    std::uint32_t Size() const { return m_size; }

    Line* Lines() { return reinterpret_cast<Line*>(m_block.get()); }
    const Line* Lines() const { return reinterpret_cast<const Line*>(m_block.get()); }
    std::uint8_t* Tags() { return TagsOf(m_block.get(), m_room); }
    const std::uint8_t* Tags() const { return TagsOf(m_block.get(), m_room); }

    const Line* begin() const { return Lines(); }
    const Line* end() const { return Lines() + m_size; }
    Line& Last() { return Lines()[m_size - 1]; }

    // Makes room for `more` further lines, growing by halves so that repeated calls stay cheap. Throws
    // std::bad_alloc.
    void Reserve(std::uint32_t more) {
        constexpr std::uint32_t kFew = 16;
        if (m_room - m_size >= more && Exists())
            return;
        Resize(m_size + (Exists() ? std::max({more, m_size / 2, kFew}) : more));
    }

    // ---- there is room

    void Insert(std::uint32_t at, const Line& line, std::uint8_t tag) noexcept {
        std::copy_backward(Lines() + at, Lines() + m_size, Lines() + m_size + 1);
        std::copy_backward(Tags() + at, Tags() + m_size, Tags() + m_size + 1);
        Lines()[at] = line;
        Tags()[at] = tag;
        ++m_size;
    }

    // Without a tag.
    void Append(const Line& line) noexcept { Lines()[m_size++] = line; }

    void Erase(std::uint32_t at) noexcept {
        std::copy(Lines() + at + 1, Lines() + m_size, Lines() + at);
        std::copy(Tags() + at + 1, Tags() + m_size, Tags() + at);
        --m_size;
    }

    void Truncate(std::uint32_t size) noexcept { m_size = size; }

private:
    static_assert(std::is_trivially_copyable_v<Line>);

    static std::uint8_t* TagsOf(char* block, std::uint32_t room) {
        return reinterpret_cast<std::uint8_t*>(block + std::size_t{room} * sizeof(Line));
    }

    void Resize(std::uint32_t room) {
        room = std::max<std::uint32_t>(room, 1);
        std::unique_ptr<char[]> block(new char[room * (sizeof(Line) + 1)]);
        std::copy(Lines(), Lines() + m_size, reinterpret_cast<Line*>(block.get()));
        std::copy(Tags(), Tags() + m_size, TagsOf(block.get(), room));
        m_block = std::move(block);
        m_room = room;
    }

    std::unique_ptr<char[]> m_block;
    std::uint32_t m_size = 0;
    std::uint32_t m_room = 0;
};

}  // namespace MeterUtil
