// What one line of an INI text is: its line end, whether it is a header or an entry, and how names are
// compared.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "MeterUtil/Text.h"

namespace MeterUtil {

constexpr std::string_view kLf = "\n";
constexpr std::string_view kCrLf = "\r\n";
constexpr std::string_view kNoLineEnd;

// The line end that a line has: none, LF or CR LF. Not a view of the line.
inline std::string_view LineEndOf(std::string_view raw) {
    if (raw.empty() || raw.back() != '\n')
        return kNoLineEnd;
    return raw.size() > 1 && raw[raw.size() - 2] == '\r' ? kCrLf : kLf;
}

inline bool EndsWithCrLf(std::string_view raw) {
    return raw.size() >= kCrLf.size() &&
           std::memcmp(raw.data() + raw.size() - kCrLf.size(), kCrLf.data(), kCrLf.size()) == 0;
}

// Puts a line end behind a text, where there is room for it.
inline void PutLineEnd(char* at, std::string_view lineEnd) {
    if (lineEnd.size() == kCrLf.size())
        std::memcpy(at, kCrLf.data(), kCrLf.size());
    else if (!lineEnd.empty())
        *at = kLf.front();
}

inline std::string_view WithoutLineEnd(std::string_view raw) {
    return raw.substr(0, raw.size() - LineEndOf(raw).size());
}

inline bool IsBlankLine(std::string_view text) {
    return MeterText::TrimBlanks(text).empty();
}

// True when the text is a header; `name` is then what stands between '[' and the first ']'.
inline bool IsHeader(std::string_view text, std::string_view* name) {
    std::size_t open = 0;
    while (open < text.size() && MeterText::IsBlank(text[open]))
        ++open;
    if (open == text.size() || text[open] != '[')
        return false;
    const std::size_t close = text.find(']', open);
    if (close == std::string_view::npos)
        return false;
    *name = text.substr(open + 1, close - open - 1);
    return true;
}

// Splits a line that is no header at its first '='. False when it is no entry.
inline bool SplitEntry(std::string_view text, std::string_view* key, std::string_view* value) {
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos)
        return false;
    *key = MeterText::TrimBlanks(text.substr(0, equals));
    *value = text.substr(equals + 1);
    return !key->empty() && key->front() != ';';
}

// A key of four to twelve bytes, as most have, in words: its first, its middle and its last four bytes, which
// are all of it. Nothing is decided by the size, which differs from key to key so that the processor cannot
// guess it.
struct KeyWords {
    static constexpr std::size_t kWord = sizeof(std::uint32_t);

    // For less than four bytes the difference is a very large number.
    static bool Fit(std::string_view key) { return key.size() - kWord <= 2 * kWord; }

    explicit KeyWords(std::string_view key) {
        std::memcpy(&first, key.data(), kWord);
        std::memcpy(&middle, key.data() + (key.size() - kWord) / 2, kWord);
        std::memcpy(&last, key.data() + key.size() - kWord, kWord);
    }

    bool operator==(const KeyWords& other) const {
        return ((first ^ other.first) | (middle ^ other.middle) | (last ^ other.last)) == 0;
    }

    std::uint32_t first;
    std::uint32_t middle;
    std::uint32_t last;
};

// True when two keys of one size are written alike.
inline bool SameKey(std::string_view a, std::string_view b) {
    return KeyWords::Fit(a) ? KeyWords(a) == KeyWords(b) : a == b;
}

// IsEntryOf for a key that is written otherwise. Kept apart, as other rare ways are: the way that most take
// is short.
[[gnu::noinline]] inline bool IsEntryOfFolded(std::string_view text, std::string_view key,
                                              std::string_view* value) {
    std::size_t at = 0;
    while (at < text.size() && MeterText::IsBlank(text[at]))
        ++at;
    if (!MeterText::EqualIgnoringCase(text.substr(at, key.size()), key))
        return false;
    at += key.size();
    while (at < text.size() && MeterText::IsBlank(text[at]))
        ++at;
    if (at == text.size() || text[at] != '=')
        return false;
    *value = text.substr(at + 1);
    return true;
}

// True when the text is an entry with this key, which has no blanks around it; `value` is then its value.
inline bool IsEntryOf(std::string_view text, std::string_view key, std::string_view* value) {
    // Most are asked for as they are written.
    if (text.size() <= key.size() || text[key.size()] != '=' || !SameKey(text.substr(0, key.size()), key))
        return IsEntryOfFolded(text, key, value);
    *value = text.substr(key.size() + 1);
    return true;
}

// Negative, zero or positive as name a stands before, is or stands behind name b.
inline int CompareNames(std::string_view a, std::string_view b) {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        const int difference = MeterText::ToLower(a[i]) - MeterText::ToLower(b[i]);
        if (difference != 0)
            return difference;
    }
    return (a.size() > b.size() ? 1 : 0) - (a.size() < b.size() ? 1 : 0);
}

// ---- eight bytes at once

constexpr std::size_t kWordBytes = 8;
constexpr std::uint64_t kHashFactor = 0x9E3779B97F4A7C15U;

constexpr std::uint64_t EachByte(std::uint8_t byte) {
    return byte * std::uint64_t{0x0101010101010101U};
}

// The letters of ASCII in lower case.
inline std::uint64_t ToLower8(std::uint64_t word) {
    constexpr std::uint64_t kHighBits = EachByte(0x80);
    const std::uint64_t low = word & ~kHighBits;
    const std::uint64_t fromA = low + EachByte(0x80 - 'A');
    const std::uint64_t behindZ = low + EachByte(0x7F - 'Z');
    return word | ((~word & kHighBits & (fromA ^ behindZ)) >> 2U);
}

// The last eight bytes of a text as a number, or a shorter text with zeros behind it, by loads of a fixed
// size.
inline std::uint64_t LastBytes(std::string_view text) {
    const auto load = [](const char* from, auto number) {
        std::memcpy(&number, from, sizeof number);
        return std::uint64_t{number};
    };
    const std::size_t size = text.size();
    const char* const end = text.data() + size;
    if (size >= kWordBytes)
        return load(end - kWordBytes, std::uint64_t{});
    if (size >= 4)
        return load(text.data(), std::uint32_t{}) | load(end - 4, std::uint32_t{}) << (8 * (size - 4));
    if (size >= 2)
        return load(text.data(), std::uint16_t{}) | load(end - 2, std::uint16_t{}) << (8 * (size - 2));
    return text.empty() ? 0 : static_cast<std::uint8_t>(text.front());
}

// The last eight bytes of a name, or all of a shorter one, as they are compared.
inline std::uint64_t FoldedEnd(std::string_view name) {
    return ToLower8(LastBytes(name));
}

// One step of a hash.
inline std::uint64_t MixedHash(std::uint64_t hash, std::uint64_t bytes) {
    hash = (hash ^ bytes) * kHashFactor;
    return hash ^ hash >> 32U;
}

// Of the last bytes of a name, folded or not. Names of records differ in their last digits alone: the highest
// bytes, which a multiplication spreads over nothing, so they are mixed into the lowest ones first; by no
// whole bytes, as digits that change together would cancel each other. A search waits for each of these steps.
inline std::uint32_t HashOfEnd(std::uint64_t hash, std::uint64_t end) {
    const std::uint64_t mixed = hash ^ (end | EachByte(0x20));
    return static_cast<std::uint32_t>(((mixed ^ mixed >> 27U) * kHashFactor) >> 32U);
}

// A hash that is the same for names that differ in the case of letters alone, of a name of eight bytes at
// most, of which size and end are known.
inline std::uint32_t HashOfShort(std::size_t size, std::uint64_t end) {
    return HashOfEnd(size, end);
}

// The same for any name; `end` is what LastBytes gives of it, folded or not.
[[gnu::noinline]] inline std::uint32_t HashOfLong(std::string_view name, std::uint64_t end) {
    std::uint64_t hash = name.size() * kHashFactor;
    for (std::size_t taken = 0; name.size() - taken > kWordBytes; taken += kWordBytes)
        hash = MixedHash(hash, FoldedEnd(name.substr(taken, kWordBytes)));
    return HashOfEnd(hash, end);
}

inline std::uint32_t HashWithEnd(std::string_view name, std::uint64_t end) {
    return name.size() <= kWordBytes ? HashOfShort(name.size(), end) : HashOfLong(name, end);
}

inline std::uint32_t FoldedHash(std::string_view name) {
    return HashWithEnd(name, FoldedEnd(name));
}

}  // namespace MeterUtil
