// Texts of files in a page.
#pragma once

#include <string>
#include <string_view>

#include "terminal/Utf8.h"

namespace Report {

// Characters that mean nothing, U+E000 to U+F8FF, three bytes each in UTF-8: the page has its own use for
// them.
constexpr unsigned kFirstPrivate = 0xE000;
constexpr unsigned kPrivateCharacters = 0xF8FF - kFirstPrivate + 1;

inline std::string PrivateCharacter(unsigned index) {
    const unsigned code = kFirstPrivate + index;
    return {static_cast<char>(0xE0 | code >> 12), static_cast<char>(0x80 | (code >> 6 & 0x3F)),
            static_cast<char>(0x80 | (code & 0x3F))};
}

// A text as it can stand anywhere in a page, in an attribute or between tags. Private characters are spelled
// as their numbers.
inline std::string Escaped(std::string_view text) {
    const std::string shown = Utf8::Shown(text);
    std::string escaped;
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const char c = shown[i];
        const auto bits = [&shown, i](std::size_t byte) {
            return static_cast<unsigned>(shown[i + byte]) & 0x3F;
        };
        const bool isOfThree = (static_cast<unsigned char>(c) & 0xF0) == 0xE0;
        const unsigned code = isOfThree ? (bits(0) & 0xF) << 12 | bits(1) << 6 | bits(2) : 0;
        if (code >= kFirstPrivate && code < kFirstPrivate + kPrivateCharacters) {
            escaped += "&#" + std::to_string(code) + ";";
            i += 2;
        } else if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else if (c == '>')
            escaped += "&gt;";
        else if (c == '"')
            escaped += "&quot;";
        else
            escaped += c;
    }
    return escaped;
}

}  // namespace Report
