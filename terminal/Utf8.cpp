#include "terminal/Utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>

namespace Utf8 {
namespace {

constexpr char32_t kUnshowable = 0xFFFD;
constexpr char32_t kByteBase = 0xDC00;  // a byte of its own within wide text
constexpr std::string_view kCutMark = "..";

struct Range {
    char32_t first;
    char32_t last;
};

template <std::size_t N>
bool IsIn(const std::array<Range, N>& ranges, char32_t c) {
    return std::any_of(ranges.begin(), ranges.end(), [c](Range r) { return c >= r.first && c <= r.last; });
}

// Controls, line and paragraph separators, marks that turn the direction of writing, private byte order
// marks.
constexpr std::array<Range, 7> kUnshowables = {{{0x00, 0x1F},
                                                {0x7F, 0x9F},
                                                {0x200B, 0x200F},
                                                {0x2028, 0x202E},
                                                {0x2060, 0x206F},
                                                {0xD800, 0xDFFF},
                                                {0xFEFF, 0xFEFF}}};

// Accents that stand on the character before them.
constexpr std::array<Range, 5> kCombining = {
    {{0x0300, 0x036F}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x20D0, 0x20FF}, {0xFE00, 0xFE2F}}};

// Characters of East Asia and pictures take two columns.
constexpr std::array<Range, 9> kDouble = {{{0x1100, 0x115F},
                                           {0x2E80, 0x303E},
                                           {0x3041, 0xA4CF},
                                           {0xAC00, 0xD7A3},
                                           {0xF900, 0xFAFF},
                                           {0xFE30, 0xFE6F},
                                           {0xFF00, 0xFF60},
                                           {0x1F300, 0x1FAFF},
                                           {0x20000, 0x3FFFD}}};

int CharacterWidth(char32_t c) {
    if (IsIn(kCombining, c))
        return 0;
    return IsIn(kDouble, c) ? 2 : 1;
}

unsigned Byte(char c) {
    return static_cast<unsigned char>(c);
}

// Bytes of the character that begins with `lead`; 0 when none does.
std::size_t SequenceLength(unsigned lead) {
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead < 0xE0)
        return 2;
    if (lead >= 0xE0 && lead < 0xF0)
        return 3;
    return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

// The character at the start of `text` and its length in bytes; length 0 when the bytes are no UTF-8.
std::size_t Decode(std::string_view text, char32_t* character) {
    constexpr std::array<unsigned, 5> kLeadBits = {0, 0x7F, 0x1F, 0x0F, 0x07};
    constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
    const std::size_t length = SequenceLength(Byte(text.front()));
    if (length == 0 || length > text.size())
        return 0;
    char32_t c = Byte(text.front()) & kLeadBits[length];
    for (std::size_t i = 1; i < length; ++i) {
        if ((Byte(text[i]) & 0xC0U) != 0x80U)
            return 0;
        c = (c << 6) | (Byte(text[i]) & 0x3FU);
    }
    const bool valid = c >= kSmallest[length] && c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
    *character = c;
    return valid ? length : 0;
}

// A character of the Windows code page 1252, which is Latin-1 but for these. 0: none.
char32_t FromCodePage(unsigned byte) {
    constexpr std::array<char32_t, 32> kBetween = {
        0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
        0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
        0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};
    const bool isBetween = byte >= 0x80 && byte < 0xA0;
    return isBetween && kBetween[byte - 0x80] != 0 ? kBetween[byte - 0x80] : byte;
}

void AppendWide(std::wstring* text, char32_t c) {
    if (sizeof(wchar_t) > 2 || c < 0x10000) {
        text->push_back(static_cast<wchar_t>(c));
        return;
    }
    text->push_back(static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10)));
    text->push_back(static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
}

// The two halves of a character where wide characters have 16 bits.
bool IsPair(std::wstring_view text) {
    return sizeof(wchar_t) == 2 && text.size() > 1 &&
           (static_cast<std::uint32_t>(text[0]) & 0xFC00U) == 0xD800U &&
           (static_cast<std::uint32_t>(text[1]) & 0xFC00U) == 0xDC00U;
}

}  // namespace

char32_t TakeCharacter(std::string_view* rest) {
    char32_t character = 0;
    const std::size_t length = Decode(*rest, &character);
    if (length == 0)
        character = FromCodePage(Byte(rest->front()));
    rest->remove_prefix(std::max<std::size_t>(length, 1));
    return character;
}

bool IsValid(std::string_view bytes) {
    char32_t character = 0;
    while (!bytes.empty()) {
        const std::size_t length = Decode(bytes, &character);
        if (length == 0)
            return false;
        bytes.remove_prefix(length);
    }
    return true;
}

void Append(std::string* text, char32_t c) {
    const auto tail = [text, c](unsigned shift) {
        text->push_back(static_cast<char>(0x80 | ((c >> shift) & 0x3F)));
    };
    if (c < 0x80) {
        text->push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        text->push_back(static_cast<char>(0xC0 | (c >> 6)));
        tail(0);
    } else if (c < 0x10000) {
        text->push_back(static_cast<char>(0xE0 | (c >> 12)));
        tail(6);
        tail(0);
    } else {
        text->push_back(static_cast<char>(0xF0 | (c >> 18)));
        tail(12);
        tail(6);
        tail(0);
    }
}

std::string Shown(std::string_view bytes) {
    std::string shown;
    while (!bytes.empty()) {
        const char32_t c = TakeCharacter(&bytes);
        Append(&shown, IsIn(kUnshowables, c) ? kUnshowable : c);
    }
    return shown;
}

std::string ShownPath(std::string_view path) {
    std::string shown = Shown(path);
    std::replace(shown.begin(), shown.end(), '\\',
                 static_cast<char>(std::filesystem::path::preferred_separator));
    return shown;
}

std::string FromWide(std::wstring_view text) {
    std::string bytes;
    while (!text.empty()) {
        const auto c = static_cast<char32_t>(text.front());
        if (IsPair(text)) {
            Append(&bytes, 0x10000 + ((c & 0x3FF) << 10) + (static_cast<char32_t>(text[1]) & 0x3FF));
            text.remove_prefix(1);
        } else if (c >= kByteBase + 0x80 && c <= kByteBase + 0xFF) {
            bytes.push_back(static_cast<char>(c - kByteBase));
        } else {
            Append(&bytes, c);
        }
        text.remove_prefix(1);
    }
    return bytes;
}

std::wstring ToWide(std::string_view bytes) {
    std::wstring text;
    while (!bytes.empty()) {
        char32_t character = 0;
        const std::size_t length = Decode(bytes, &character);
        AppendWide(&text, length == 0 ? kByteBase + Byte(bytes.front()) : character);
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return text;
}

int Width(std::string_view shown) {
    int columns = 0;
    while (!shown.empty())
        columns += CharacterWidth(TakeCharacter(&shown));
    return columns;
}

std::string Cut(std::string_view shown, int columns) {
    if (Width(shown) <= columns)
        return std::string(shown);
    const int room = columns - static_cast<int>(kCutMark.size());
    std::string cut;
    for (int used = 0; !shown.empty();) {
        const char32_t c = TakeCharacter(&shown);
        used += CharacterWidth(c);
        if (used > room)
            break;
        Append(&cut, c);
    }
    return cut + std::string(kCutMark);
}

}  // namespace Utf8
