// What a target is fed with, as a text that can be read: operations, a line each, its words apart by tabs; an
// empty line; and files as they stand, with a line "====" between two of them. "\n", "\t" and "\\" in a word
// mean a line feed, a tab and a backslash.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "MeterUtil/Text.h"

class Script {
public:
    Script(const std::uint8_t* data, std::size_t size) {
        const std::string_view text(reinterpret_cast<const char*>(data), size);
        const std::size_t end = text.substr(0, 1) == "\n" ? 0 : text.find("\n\n");
        m_operations = text.substr(0, end);
        if (end != std::string_view::npos)
            m_files = text.substr(end + (end == 0 ? 1 : 2));
    }

    // Goes to the next operation; false at the end.
    bool Next() {
        if (m_operations.empty())
            return false;
        m_line = Taken(&m_operations, "\n");
        return true;
    }

    // The next word of the operation; "" when there is none. Without zeros, as callers give texts.
    std::string Word() {
        std::string word;
        const std::string_view raw = Taken(&m_line, "\t");
        for (std::size_t i = 0; i < raw.size(); ++i) {
            const bool escaped = raw[i] == '\\' && i + 1 < raw.size();
            const char c = escaped ? raw[++i] : raw[i];
            if (c == '\0')
                break;
            word += !escaped ? c : c == 'n' ? '\n' : c == 't' ? '\t' : c;
        }
        return word;
    }

    int Number() { return MeterText::ToInt(Word()); }

    // What is left of the operation.
    std::string_view Line() const { return m_line; }

    // The next file; "" when there is none.
    std::string_view File() { return Taken(&m_files, "\n====\n"); }

private:
    static std::string_view Taken(std::string_view* text, std::string_view delimiter) {
        const std::size_t end = text->find(delimiter);
        const std::string_view taken = text->substr(0, end);
        text->remove_prefix(end == std::string_view::npos ? text->size() : end + delimiter.size());
        return taken;
    }

    std::string_view m_operations;
    std::string_view m_line;
    std::string_view m_files;
};

// Stops the fuzzer, which keeps the input.
inline void Require(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

// An output buffer whose end is guarded by the sanitizer.
class Output {
public:
    explicit Output(int size) : m_size(size), m_bytes(new char[static_cast<std::size_t>(size)]) {
        std::memset(m_bytes.get(), 'x', static_cast<std::size_t>(size));
    }
    char* Data() { return m_bytes.get(); }
    int Size() const { return m_size; }
    std::string Text() const {
        Require(std::string_view(m_bytes.get(), static_cast<std::size_t>(m_size)).find('\0') !=
                    std::string_view::npos,
                "an output is terminated");
        return m_bytes.get();
    }

private:
    int m_size;
    std::unique_ptr<char[]> m_bytes;
};
