// One byte for the key of a line, so that a search in a section looks at the text of one line only.
//
// A section is tagged when it is first asked for a key: all its lines at once, which is most of what the
// first look-up takes. So the tag is made of the first sixteen bytes of a line, eight at a time and without a
// decision that depends on the key; a line that is not so plain is taken apart.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "MeterUtil/IniLine.h"

namespace MeterUtil {

constexpr std::uint8_t kNoEntryTag = 0;

// What the tag of a short key is made of: sixteen bytes, zeros behind the key.
struct KeyHead {
    static constexpr std::size_t kBytes = 2 * kWordBytes;
    std::uint64_t first;
    std::uint64_t second;
};

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

// The tag of a line's key; kNoEntryTag for a line that is no entry. The line may have its line end.
inline std::uint8_t LineTag(std::string_view line) {
    if (!LowByteFirst() || line.size() < KeyHead::kBytes || line.front() == ';')
        return PartsTag(line);
    const KeyHead head{LastBytes(line.substr(0, kWordBytes)), LastBytes(line.substr(kWordBytes, kWordBytes))};
    const std::uint64_t equals = BytesBelow(head.first ^ EachByte('='), 1);
    const std::uint64_t laterEquals = BytesBelow(head.second ^ EachByte('='), 1);
    const std::uint64_t key = BytesBefore(equals);
    const std::uint64_t laterKey = equals != 0 ? 0 : BytesBefore(laterEquals);
    const std::uint64_t blanks =
        BytesBelow(head.first | ~key, ' ' + 1) | BytesBelow(head.second | ~laterKey, ' ' + 1);
    if ((equals | laterEquals) == 0 || key == 0 || blanks != 0)
        return PartsTag(line);
    return TagOf({head.first & key, head.second & laterKey});
}

}  // namespace MeterUtil
