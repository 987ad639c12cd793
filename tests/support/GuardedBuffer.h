// An output buffer of a test: filled so that untouched characters show, with a guard behind its last one.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

template <typename Char = char>
class GuardedBuffer {
public:
    explicit GuardedBuffer(int size)
        : m_size(size), m_chars(static_cast<std::size_t>(size) + kGuard, kFill) {}
    ~GuardedBuffer() { EXPECT_TRUE(GuardIsWhole()) << "written behind a buffer of " << m_size; }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    Char* Data() { return m_chars.data(); }
    int Size() const { return m_size; }

    // The text in the buffer; fails the test when it is not terminated inside it.
    std::basic_string<Char> Text() const {
        const auto end = std::find(m_chars.begin(), m_chars.begin() + m_size, Char());
        EXPECT_NE(end, m_chars.begin() + m_size) << "not terminated";
        return std::basic_string<Char>(m_chars.begin(), end);
    }

    // True when no character of the buffer was written.
    bool Untouched() const {
        return std::all_of(m_chars.begin(), m_chars.end(), [](Char c) { return c == kFill; });
    }

private:
    static constexpr Char kFill = 0x5A;
    static constexpr std::size_t kGuard = 64;

    bool GuardIsWhole() const {
        return std::all_of(m_chars.begin() + m_size, m_chars.end(), [](Char c) { return c == kFill; });
    }

    int m_size;
    std::vector<Char> m_chars;
};
