// Memory for the lines of a text that were changed since it was loaded.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

namespace MeterUtil {

// One line with its line end. A line that lies in an arena may be written over, and grow a little, until the
// arena is frozen.
struct Line {
    const char* text = nullptr;
    std::uint32_t size = 0;   // bytes, line end included
    std::uint16_t slack = 0;  // so many bytes more there is room for
    std::uint16_t epoch = 0;  // of the arena when the line was made; 0: never to be written over

    std::string_view Raw() const { return {text, size}; }
};

struct LineStartsFree {
    void operator()(void* block) const noexcept { std::free(block); }
};

// Gives out room for lines, all of which is released together.
class LineArena {
public:
    using Block = std::shared_ptr<char[]>;

    // Room for `size` bytes and a little more, so that a value may grow. Throws std::bad_alloc.
    Line Allocate(std::size_t size) {
        const std::size_t room = (size + kGranule) / kGranule * kGranule;
        if (room > m_left)
            AddBlock(room);
        Line line;
        line.text = m_next;
        line.size = static_cast<std::uint32_t>(size);
        line.slack = static_cast<std::uint16_t>(room - size);
        line.epoch = m_epoch;
        m_next += room;
        m_left -= room;
        m_used += room;
        return line;
    }

    // True when the line may be written over with so many bytes.
    bool Takes(const Line& line, std::size_t size) const {
        return line.epoch == m_epoch && size <= std::size_t{line.size} + line.slack;
    }

    // The bytes of a line that may be written over.
    static char* Writable(const Line& line) { return const_cast<char*>(line.text); }

    // Sets the size of a line that takes it.
    static void Resize(Line* line, std::size_t size) {
        const std::size_t slack = std::size_t{line->size} + line->slack - size;
        line->slack = static_cast<std::uint16_t>(std::min<std::size_t>(slack, UINT16_MAX));
        line->size = static_cast<std::uint32_t>(size);
    }

    // From now on no line that was given out is written over: someone else reads the blocks.
    void Freeze() noexcept { ++m_epoch; }
    bool MayFreeze() const { return m_epoch != UINT16_MAX; }  // else no epoch is left

    // Begins with the first epoch again: no line of an earlier one may be left.
    void RestartEpochs() noexcept { m_epoch = 1; }

    const std::vector<Block>& Blocks() const { return m_blocks; }
    std::size_t UsedBytes() const { return m_used; }

private:
    static constexpr std::size_t kGranule = 16;
    static constexpr std::size_t kBlock = std::size_t{64} * 1024;

    void AddBlock(std::size_t needed) {
        const std::size_t size = std::max(needed, kBlock);
        m_blocks.emplace_back();  // the slot first: a failure leaves nothing behind
        m_blocks.back().reset(new char[size]);
        m_next = m_blocks.back().get();
        m_left = size;
    }

    std::vector<Block> m_blocks;
    char* m_next = nullptr;
    std::size_t m_left = 0;
    std::size_t m_used = 0;
    std::uint16_t m_epoch = 1;
};

}  // namespace MeterUtil
