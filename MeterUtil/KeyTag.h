// One byte for the key of a line, so that a search in a section looks at the text of one line only.
//
// A section is tagged when it is first asked for a key: all its lines at once, which is most of what the
// first look-up takes. So the tag is made of the first sixteen bytes of a line, at once where the processor
// can, and without a decision that depends on the key; a line that is not so plain is taken apart.
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

// What the tag of a short key is made of: sixteen bytes, zeros behind the key.
struct KeyHead {
    static constexpr std::size_t kBytes = 2 * kWordBytes;
    std::uint64_t first;
    std::uint64_t second;
};

// Letters count in lower case; zeros count as blanks, which no key ends with.
inline std::uint8_t TagOf(KeyHead head) {
    constexpr std::uint64_t kLowerCase = EachByte(0x20);
    const std::uint64_t hash = (head.first | kLowerCase) * kHashFactor ^ (head.second | kLowerCase);
    return std::max<std::uint8_t>(static_cast<std::uint8_t>((hash * kHashFactor) >> 56U), kNoEntryTag + 1);
}

// The tag of a key that has no blanks around it.
inline std::uint8_t KeyTag(std::string_view key) {
    if (key.size() <= kWordBytes)
        return TagOf({LastBytes(key), 0});
    if (key.size() > KeyHead::kBytes) {
        const std::uint64_t hash = FoldedHash(key);
        return TagOf({hash, hash});
    }
    const std::size_t half = 4 * (KeyHead::kBytes - key.size());
    return TagOf({LastBytes(key.substr(0, kWordBytes)), LastBytes(key) >> half >> half});
}

// The tag of a line that is taken apart.
inline std::uint8_t PartsTag(std::string_view line) {
    std::string_view key;
    std::string_view value;
    return SplitEntry(line, &key, &value) ? KeyTag(key) : kNoEntryTag;
}

#if defined(__GNUC__) && defined(__SSE2__)
// Takes the key from the first sixteen bytes of a line. False when that is not so plain.
inline bool TakePlainKey(const char* line, KeyHead* key) {
    // Read from n bytes before its middle, it keeps the first n bytes of a line and clears the others.
    static constexpr std::uint8_t kKept[2 * KeyHead::kBytes] = {
        0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    __m128i bytes;
    std::memcpy(&bytes, line, sizeof bytes);
    const auto marks = [](__m128i found) { return static_cast<std::uint32_t>(_mm_movemask_epi8(found)); };
    const std::uint32_t equals = marks(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('=')));
    const std::uint32_t blanks = marks(_mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(' ')), bytes));
    const std::uint32_t inKey = (equals & (~equals + 1)) - 1;
    if (equals == 0 || inKey == 0 || (blanks & inKey) != 0)
        return false;
    __m128i kept;
    std::memcpy(&kept, kKept + KeyHead::kBytes - __builtin_ctz(equals), sizeof kept);
    kept = _mm_and_si128(kept, bytes);
    std::memcpy(key, &kept, sizeof *key);
    return true;
}
#else
// Whether the first byte of a word in memory is its lowest, which the compiler knows.
inline bool LowByteFirst() {
    const std::uint64_t word = 1;
    char first = 0;
    std::memcpy(&first, &word, 1);
    return first == 1;
}

// The high bit of each byte that is below `limit`, which is at most 0x80. Bytes behind such a byte may be
// told of wrongly.
constexpr std::uint64_t BytesBelow(std::uint64_t word, std::uint8_t limit) {
    return (word - EachByte(limit)) & ~word & EachByte(0x80);
}

// All bits of the bytes in front of the first marked one; of all bytes when none is.
constexpr std::uint64_t BytesBefore(std::uint64_t marks) {
    return ((marks & (~marks + 1)) >> 7U) - 1;
}

// The same, eight bytes at a time.
inline bool TakePlainKey(const char* line, KeyHead* key) {
    if (!LowByteFirst())
        return false;
    std::memcpy(key, line, sizeof *key);
    const std::uint64_t equals = BytesBelow(key->first ^ EachByte('='), 1);
    const std::uint64_t laterEquals = BytesBelow(key->second ^ EachByte('='), 1);
    const std::uint64_t inFirst = BytesBefore(equals);
    const std::uint64_t inSecond = equals != 0 ? 0 : BytesBefore(laterEquals);
    const std::uint64_t blanks =
        BytesBelow(key->first | ~inFirst, ' ' + 1) | BytesBelow(key->second | ~inSecond, ' ' + 1);
    *key = {key->first & inFirst, key->second & inSecond};
    return (equals | laterEquals) != 0 && inFirst != 0 && blanks == 0;
}
#endif

// The tag of a line's key; kNoEntryTag for a line that is no entry. The line may have its line end.
inline std::uint8_t LineTag(std::string_view line) {
    KeyHead key{};
    if (line.size() < KeyHead::kBytes || line.front() == ';' || !TakePlainKey(line.data(), &key))
        return PartsTag(line);
    return TagOf(key);
}

}  // namespace MeterUtil
