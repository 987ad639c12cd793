// Texts of a given length, for the limits of sub-fields and entries.
#pragma once

#include <string>

inline std::string Text(std::size_t length, char c = 'x') {
    return std::string(length, c);
}

// `length` characters with a comma in the middle.
inline std::string WithComma(std::size_t length) {
    std::string text = Text(length);
    text[length / 2] = ',';
    return text;
}

inline std::string InQuotes(const std::string& text) {
    return '"' + text + '"';
}
