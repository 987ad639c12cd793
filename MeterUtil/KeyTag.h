// One byte for the key of a line, so that a search in a section looks at the text of one line only.
//
// A section is tagged when it is first asked for a key: all its lines at once, which is most of what the
// first look-up takes. Keys are of any few bytes, so nothing here depends on their size but what is rare: a
// processor that guesses wrong which way to go has lost more time than the tag takes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "MeterUtil/IniLine.h"

#if defined(__GNUC__) && defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace MeterUtil {

constexpr std::uint8_t kNoEntryTag = 0;

constexpr std::uint8_t TagOf(std::uint64_t hash) {
    const std::uint64_t tag = (hash * kHashFactor) >> 56U;
    return static_cast<std::uint8_t>(tag + (tag == kNoEntryTag ? 1 : 0));
}

// The tag of a key that has no blanks around it. Letters count in lower case.
inline std::uint8_t KeyTag(std::string_view key) {
    if (!KeyWords::Fit(key))
        return TagOf(FoldedHash(key));
    constexpr std::uint64_t kLowerCase = EachByte(0x20);
    const KeyWords words(key);
    const std::uint64_t ends = words.first | std::uint64_t{words.last} << 32U;
    return TagOf((ends | kLowerCase) * kHashFactor ^ (words.middle | kLowerCase) ^ key.size());
}

// The tag of a line that is taken apart. Kept apart, as this is rare.
[[gnu::noinline]] inline std::uint8_t PartsTag(std::string_view line) {
    std::string_view key;
    std::string_view value;
    return SplitEntry(line, &key, &value) ? KeyTag(key) : kNoEntryTag;
}

constexpr std::size_t kPlainBytes = 16;

// The size of the key of a line that has it, without any blank, and the '=' in its first sixteen bytes; else 0
// or sixteen, which do not fit KeyWords.
inline std::size_t PlainKeySize(const char* line) {
#if defined(__GNUC__) && defined(__SSE2__)
    constexpr std::uint32_t kBehind = std::uint32_t{1} << kPlainBytes;
    __m128i bytes;
    std::memcpy(&bytes, line, sizeof bytes);
    const auto marks = [](__m128i found) { return static_cast<std::uint32_t>(_mm_movemask_epi8(found)); };
    const std::uint32_t equals = marks(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('='))) | kBehind;
    const std::uint32_t blanks = marks(_mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(' ')), bytes));
    const std::uint32_t inKey = (equals & (~equals + 1)) - 1;
    return (blanks & inKey) != 0 ? 0 : static_cast<std::size_t>(__builtin_ctz(equals));
#else
    std::size_t size = 0;
    for (; size < kPlainBytes && line[size] != '='; ++size)
        if (static_cast<unsigned char>(line[size]) <= ' ')
            return 0;
    return size;
#endif
}

// The tag of a line's key; kNoEntryTag for a line that is no entry. The line may have its line end.
inline std::uint8_t LineTag(std::string_view line) {
    if (line.size() >= kPlainBytes && line.front() != ';') {
        const std::string_view key = line.substr(0, PlainKeySize(line.data()));
        if (KeyWords::Fit(key))
            return KeyTag(key);
    }
    return PartsTag(line);
}

constexpr std::uint32_t kTagsAtOnce = 64;
constexpr std::uint32_t kNoIndex = UINT32_MAX;

// The first of `count` tags, at or behind `from`, that is this one. So many are compared at once that there
// must be memory for `count` tags rounded up to a multiple of kTagsAtOnce.
inline std::uint32_t FindTag(const std::uint8_t* tags, std::uint32_t from, std::uint32_t count,
                             std::uint8_t tag) {
#if defined(__GNUC__) && defined(__SSE2__)
    const __m128i wanted = _mm_set1_epi8(static_cast<char>(tag));
    const auto marks = [&](const std::uint8_t* at) {
        __m128i bytes;
        std::memcpy(&bytes, at, sizeof bytes);
        return std::uint64_t{static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, wanted)))};
    };
    std::uint32_t at = from / kTagsAtOnce * kTagsAtOnce;
    std::uint64_t sought = ~std::uint64_t{0} << from % kTagsAtOnce;
    for (; at < count; at += kTagsAtOnce, sought = ~std::uint64_t{0}) {
        const std::uint8_t* const block = tags + at;
        const std::uint64_t found =
            (marks(block) | marks(block + 16) << 16U | marks(block + 32) << 32U | marks(block + 48) << 48U) &
            sought;
        if (found == 0)
            continue;
        const std::uint32_t index = at + static_cast<std::uint32_t>(__builtin_ctzll(found));
        return index < count ? index : kNoIndex;
    }
    return kNoIndex;
#else
    const void* const found = std::memchr(tags + from, tag, count - from);
    return found == nullptr ? kNoIndex
                            : static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(found) - tags);
#endif
}

}  // namespace MeterUtil
