// Small text tools that the libraries share: one bounded copy, one number reader, one way to take a text
// apart. They work on views; the fixed buffers of the public interfaces are filled by CopyText alone.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

namespace MeterText {

// The text behind a pointer of the public interface: null counts as empty.
inline std::string_view View(const char* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

inline std::wstring_view View(const wchar_t* text) {
    return text == nullptr ? std::wstring_view() : std::wstring_view(text);
}

// Copies `text` into `dst` of `size` bytes, terminator included, cut to fit. A null `dst` or a size below 1
// means that the text is not wanted. `text` may lie inside `dst`. True when nothing was cut.
inline bool CopyText(char* dst, int size, std::string_view text) {
    if (dst == nullptr || size < 1)
        return true;
    const std::size_t room = static_cast<std::size_t>(size) - 1;
    const std::size_t count = text.size() < room ? text.size() : room;
    if (count != 0)
        std::memmove(dst, text.data(), count);
    dst[count] = '\0';
    return count == text.size();
}

// Copies like CopyText and fills what is behind the text with zeros, as the fields of an object and whole
// fixed buffers want it. Also for wide text.
template <typename Char>
void CopyPadded(Char* dst, int size, std::common_type_t<std::basic_string_view<Char>> text) {
    if (dst == nullptr || size < 1)
        return;
    const std::size_t room = static_cast<std::size_t>(size) - 1;
    const std::size_t count = text.size() < room ? text.size() : room;
    std::char_traits<Char>::move(dst, text.data(), count);
    std::char_traits<Char>::assign(dst + count, room + 1 - count, Char());
}

template <typename Char, std::size_t Size>
void CopyPadded(Char (&dst)[Size], std::common_type_t<std::basic_string_view<Char>> text) {
    CopyPadded(dst, static_cast<int>(Size), text);
}

// Letters of ASCII only: names mean the same in every locale.
constexpr char ToLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    if (a == b)
        return true;  // names are mostly asked for as they are written
    for (std::size_t i = 0; i < a.size(); ++i)
        if (ToLower(a[i]) != ToLower(b[i]))
            return false;
    return true;
}

inline bool Contains(std::string_view letters, char letter) {
    return letters.find(letter) != std::string_view::npos;
}

inline bool ContainsAny(std::string_view letters, std::string_view wanted) {
    return letters.find_first_of(wanted) != std::string_view::npos;
}

constexpr bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

inline std::string_view TrimBlanks(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

// The text without the double quotes that enclose it; as it stands when none do.
inline std::string_view WithoutQuotes(std::string_view text) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"')
        return text;
    return text.substr(1, text.size() - 2);
}

// Takes a text apart, token by token. A token ends at a delimiter or at the end; one that begins with a
// double quote runs to the first double quote that is followed by a delimiter or the end, when there is such
// a quote. n delimiters make n + 1 tokens, which may be empty; an empty text has none.
class TokenReader {
public:
    explicit TokenReader(std::string_view text, std::string_view delimiters = ",")
        : m_rest(text), m_delimiters(delimiters), m_more(!text.empty()) {}

    // The next token; false when there is none left.
    bool Next(std::string_view* token) {
        if (!m_more)
            return false;
        std::size_t end = QuotedEnd();
        if (end == std::string_view::npos)
            end = m_rest.find_first_of(m_delimiters);
        *token = m_rest.substr(0, end);
        m_more = end < m_rest.size();
        m_rest = m_more ? m_rest.substr(end + 1) : std::string_view();
        return true;
    }

    // What stands behind the tokens that were taken.
    std::string_view Rest() const { return m_rest; }

private:
    // Where a token in quotes ends that begins here; npos when none does.
    std::size_t QuotedEnd() {
        if (!m_quotesMayClose || m_rest.empty() || m_rest.front() != '"')
            return std::string_view::npos;
        for (std::size_t quote = m_rest.find('"', 1); quote != std::string_view::npos;
             quote = m_rest.find('"', quote + 1))
            if (quote + 1 == m_rest.size() || Contains(m_delimiters, m_rest[quote + 1]))
                return quote + 1;
        m_quotesMayClose = false;  // nor will a later one: a text full of open quotes is not searched again
        return std::string_view::npos;
    }

    std::string_view m_rest;
    std::string_view m_delimiters;
    bool m_more;
    bool m_quotesMayClose = true;
};

// The first token of a text; empty when it has none.
inline std::string_view FirstToken(std::string_view text, std::string_view delimiters = ",") {
    std::string_view token;
    TokenReader(text, delimiters).Next(&token);
    return token;
}

// Token `index` (from 1) of `source`; false, with the token empty, when it has no such token.
inline bool FindToken(std::string_view source, std::int64_t index, std::string_view delimiters,
                      std::string_view* token) {
    TokenReader tokens(source, delimiters);
    while (index > 0 && tokens.Next(token))
        if (--index == 0)
            return true;
    *token = {};
    return false;
}

// Token `index` (from 1) of `source` without the quotes that enclose it; empty when there is none. A part of
// `source`.
inline std::string_view BareToken(std::string_view source, std::int64_t index,
                                  std::string_view delimiters = ",") {
    std::string_view token;
    FindToken(source, index, delimiters, &token);
    return WithoutQuotes(token);
}

// Takes white space and a sign off the start of a number. True for a minus sign.
inline bool TakeSign(std::string_view* text) {
    text->remove_prefix(std::min(text->find_first_not_of(" \t\n\v\f\r"), text->size()));
    const bool negative = !text->empty() && text->front() == '-';
    if (negative || (!text->empty() && text->front() == '+'))
        text->remove_prefix(1);
    return negative;
}

// The integer at the start of `text`, read like atoi: white space, a sign, digits; the rest is ignored, no
// digits give 0. A value that does not fit is clamped to the type.
template <typename Integer>
Integer ToInteger(std::string_view text) {
    const bool negative = TakeSign(&text);
    using Limits = std::numeric_limits<Integer>;
    Integer value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            break;
        const Integer digit = static_cast<Integer>(c - '0');
        // Digits are gathered below zero, where one more value fits.
        if (value < (Limits::min() + digit) / 10)
            return negative ? Limits::min() : Limits::max();
        value = static_cast<Integer>(value * 10 - digit);
    }
    if (negative)
        return value;
    return value == Limits::min() ? Limits::max() : static_cast<Integer>(-value);
}

inline int ToInt(std::string_view text) {
    return ToInteger<int>(text);
}

inline std::int64_t ToInt64(std::string_view text) {
    return ToInteger<std::int64_t>(text);
}

// A number in decimal, with zeros in front up to `width` characters; a minus sign counts and comes first.
inline std::string ZeroPadded(std::int64_t number, std::size_t width) {
    std::string text = std::to_string(number);
    if (text.size() < width)
        text.insert(number < 0 ? 1 : 0, width - text.size(), '0');
    return text;
}

// The decimal number at the start of `text`, read like atof in the C locale whatever locale the process has
// set: white space, a sign, digits with a point, an exponent; the rest is ignored. Text that is no such
// number (infinities, NaN and hexadecimal forms among it) reads as 0; too large a number as infinity, too
// small a one as 0.
double ToDouble(std::string_view text);

}  // namespace MeterText
