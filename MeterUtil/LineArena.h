// Memory for the lines of a text that were changed since it was loaded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace MeterUtil {

// One line with its line end. A line with a capacity lies in an arena and may be written over up to it.
struct Line {
    const char* text = nullptr;
    std::uint32_t size = 0;      // bytes, line end included
    std::uint32_t capacity = 0;  // bytes; 0: the line must not be written over

    std::string_view Raw() const { return {text, size}; }
};

struct LineStartsFree {
    void operator()(void* block) const noexcept { std::free(block); }
};

// Gives out room for lines, all of which is released together.
class LineArena {
public:
    // Room for `size` bytes; its capacity is a little larger, so that a value may grow. Throws
    // std::bad_alloc.
    Line Allocate(std::size_t size) {
        const std::size_t capacity = (size + kGranule) / kGranule * kGranule;
        if (capacity > m_left)
            AddBlock(capacity);
        Line line;
        line.text = m_next;
        line.size = static_cast<std::uint32_t>(size);
        line.capacity = static_cast<std::uint32_t>(capacity);
        m_next += capacity;
        m_left -= capacity;
        m_used += capacity;
        return line;
    }

    // The bytes of a line that may be written over.
    static char* Writable(const Line& line) { return const_cast<char*>(line.text); }

    std::size_t UsedBytes() const { return m_used; }

private:
    static constexpr std::size_t kGranule = 16;
    static constexpr std::size_t kBlock = std::size_t{64} * 1024;

    void AddBlock(std::size_t needed) {
        const std::size_t size = needed > kBlock ? needed : kBlock;
        m_blocks.emplace_back(nullptr);  // the slot first: a failure leaves nothing behind
        m_blocks.back().reset(new char[size]);
        m_next = m_blocks.back().get();
        m_left = size;
    }

    std::vector<std::unique_ptr<char[]>> m_blocks;
    char* m_next = nullptr;
    std::size_t m_left = 0;
    std::size_t m_used = 0;
};

}  // namespace MeterUtil
