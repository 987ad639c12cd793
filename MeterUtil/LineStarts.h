// Finds the lines of a text.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "MeterUtil/LineArena.h"
#include "Platform/Platform.h"

#if defined(__GNUC__) && defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace MeterUtil {

// Calls found(place) for each LF.
template <typename Found>
void ForEachLineEnd(const char* begin, const char* end, Found found) {
#if defined(__GNUC__) && defined(__SSE2__)
    // Lines are short: a call for each would take longer than the search itself.
    constexpr std::ptrdiff_t kVector = sizeof(__m128i);
    const __m128i lf = _mm_set1_epi8('\n');
    const auto marks = [&](const char* at) {
        __m128i bytes;
        std::memcpy(&bytes, at, sizeof bytes);
        return static_cast<std::uint64_t>(
            static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, lf))));
    };
    for (; end - begin >= 4 * kVector; begin += 4 * kVector) {
        std::uint64_t left = marks(begin) | marks(begin + kVector) << 16U |
                             marks(begin + 2 * kVector) << 32U | marks(begin + 3 * kVector) << 48U;
        for (; left != 0; left &= left - 1)
            found(begin + __builtin_ctzll(left));
    }
#endif
    while (begin != end) {
        const auto* const place =
            static_cast<const char*>(std::memchr(begin, '\n', static_cast<std::size_t>(end - begin)));
        if (place == nullptr)
            return;
        found(place);
        begin = place + 1;
    }
}

// Where the lines of a text begin, in the order of the file, while it is loaded. Throws std::bad_alloc.
class LineStarts {
public:
    // Makes room for the lines of so many bytes: most files have longer lines, so that it need not grow.
    explicit LineStarts(std::size_t bytes) {
        constexpr std::size_t kShortLine = 32;
        Resize(bytes / kShortLine + 2);
        Platform::ExpectRandomReads(m_block.get(), m_room * sizeof(std::uint32_t));
    }

    std::uint32_t Count() const { return static_cast<std::uint32_t>(m_count); }

    void Add(std::size_t offset) {
        constexpr std::size_t kMost = std::size_t{kFirstInArena} + 1;  // numbers above these mean other lines
        if (m_count == m_room) {
            if (m_room == kMost)
                throw std::bad_alloc();
            Resize(std::min(m_room + m_room / 2 + 1024, kMost));
        }
        m_block[m_count++] = static_cast<std::uint32_t>(offset);
    }

    // Gives the table away, without the room that was not needed.
    std::unique_ptr<std::uint32_t[], Platform::FreeBlock> Take() {
        Resize(m_count);
        return std::move(m_block);
    }

private:
    // realloc moves the pages of a large block instead of copying them.
    void Resize(std::size_t room) {
        void* const block = std::realloc(m_block.get(), room * sizeof(std::uint32_t));
        if (block == nullptr)
            throw std::bad_alloc();
        static_cast<void>(m_block.release());  // realloc has taken it
        m_block.reset(static_cast<std::uint32_t*>(block));
        m_room = room;
    }

    std::unique_ptr<std::uint32_t[], Platform::FreeBlock> m_block;
    std::size_t m_count = 0;
    std::size_t m_room = 0;
};

}  // namespace MeterUtil
