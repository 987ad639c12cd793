// An output buffer of a test: filled so that untouched characters show, with guards around it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

template <typename Char = char>
class GuardedBuffer {
public:
    explicit GuardedBuffer(int size)
        : m_size(size), m_chars(static_cast<std::size_t>(size) + 2 * kGuard, kFill) {}
    ~GuardedBuffer() { EXPECT_TRUE(GuardsAreWhole()) << "written outside a buffer of " << m_size; }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    Char* Data() { return m_chars.data() + kGuard; }
    int Size() const { return m_size; }

    // The text in the buffer; fails the test when it is not terminated inside it.
    std::basic_string<Char> Text() const {
        const auto end = std::find(Begin(), End(), Char());
        EXPECT_NE(end, End()) << "not terminated";
        return std::basic_string<Char>(Begin(), end);
    }

    // True when no character of the buffer was written.
    bool Untouched() const { return IsFill(m_chars.begin(), m_chars.end()); }

private:
    static constexpr Char kFill = 0x5A;
    static constexpr std::size_t kGuard = 64;

    using Iterator = typename std::vector<Char>::const_iterator;

    Iterator Begin() const { return m_chars.begin() + kGuard; }
    Iterator End() const { return Begin() + m_size; }

    static bool IsFill(Iterator begin, Iterator end) {
        return std::all_of(begin, end, [](Char c) { return c == kFill; });
    }

    bool GuardsAreWhole() const { return IsFill(m_chars.begin(), Begin()) && IsFill(End(), m_chars.end()); }

    int m_size;
    std::vector<Char> m_chars;
};
