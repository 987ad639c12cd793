// The lines of a section that was edited.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "MeterUtil/KeyTag.h"
#include "MeterUtil/LineArena.h"
#include "Platform/Prefetch.h"

namespace MeterUtil {

constexpr std::uint32_t kLinesOfARecord = 64;  // hardly one has more

// Fetches what is known of the lines of a record: tables of lines and of their tags.
inline void PrefetchRecord(const std::uint32_t* lines, const std::uint8_t* tags) {
    for (std::uint32_t i = 0; i < kLinesOfARecord; i += Platform::kCacheLine / sizeof *lines)
        Platform::Prefetch(lines + i);
    Platform::Prefetch(tags);
    Platform::Prefetch(tags + kLinesOfARecord);
}

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

    LineRef* Lines() { return m_block.get(); }
    const LineRef* Lines() const { return m_block.get(); }
    std::uint8_t* Tags() { return TagsOf(m_block.get(), m_room); }
    const std::uint8_t* Tags() const { return TagsOf(m_block.get(), m_room); }

    const LineRef* begin() const { return Lines(); }
    const LineRef* end() const { return Lines() + m_size; }
    LineRef& Last() { return Lines()[m_size - 1]; }

    // Makes room for `more` further lines, growing by halves so that repeated calls stay cheap. Throws
    // std::bad_alloc.
    void Reserve(std::uint32_t more) {
        constexpr std::uint32_t kFew = 16;
        if (m_room - m_size >= more && Exists())
            return;
        Resize(m_size + (Exists() ? std::max({more, m_size / 2, kFew}) : more));
    }

    // ---- there is room

    void Insert(std::uint32_t at, LineRef line, std::uint8_t tag) noexcept {
        std::copy_backward(Lines() + at, Lines() + m_size, Lines() + m_size + 1);
        std::copy_backward(Tags() + at, Tags() + m_size, Tags() + m_size + 1);
        Lines()[at] = line;
        Tags()[at] = tag;
        ++m_size;
    }

    // Without a tag.
    void Append(LineRef line) noexcept { Lines()[m_size++] = line; }

    void Erase(std::uint32_t at) noexcept {
        std::copy(Lines() + at + 1, Lines() + m_size, Lines() + at);
        std::copy(Tags() + at + 1, Tags() + m_size, Tags() + at);
        --m_size;
    }

    void Truncate(std::uint32_t size) noexcept { m_size = size; }

private:
    static std::uint8_t* TagsOf(LineRef* block, std::uint32_t room) {
        return reinterpret_cast<std::uint8_t*>(block + room);
    }

    void Resize(std::uint32_t room) {
        room = std::max<std::uint32_t>((room + kTagsOfARef - 1) / kTagsOfARef, 1) * kTagsOfARef;
        const std::uint32_t tags = (room + kTagsAtOnce - 1) / kTagsAtOnce * kTagsAtOnce;
        std::unique_ptr<LineRef[]> block(new LineRef[room + tags / kTagsOfARef]);
        std::copy(Lines(), Lines() + m_size, block.get());
        std::uint8_t* const behind = std::copy(Tags(), Tags() + m_size, TagsOf(block.get(), room));
        std::fill_n(behind, tags - m_size, kNoEntryTag);
        m_block = std::move(block);
        m_room = room;
    }

    static constexpr std::uint32_t kTagsOfARef = sizeof(LineRef);

    std::unique_ptr<LineRef[]> m_block;  // the lines, then their tags, as many as are looked at at once
    std::uint32_t m_size = 0;
    std::uint32_t m_room = 0;
};

}  // namespace MeterUtil
