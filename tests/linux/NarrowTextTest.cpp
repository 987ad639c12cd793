// Text between 8 bits and wide characters on Linux: UTF-8, whatever the locale, and what is no UTF-8
// survives.
#include <gtest/gtest.h>

#include <clocale>

#include "Platform/Platform.h"
#include "Platform/System.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/WideText.h"

namespace {

std::wstring Format(const wchar_t* format, const char* text) {
    GuardedBuffer<wchar_t> buffer(static_cast<int>(Platform::kFormattedChars) + 1);
    Platform::wsprintfW(buffer.Data(), format, text);
    return buffer.Text();
}

}  // namespace

struct Utf8Row {
    const char* what;
    std::string bytes;
    std::wstring wide;
};

class ValidUtf8 : public testing::TestWithParam<Utf8Row> {};

TEST_P(ValidUtf8, CrossesBothWays) {
    EXPECT_EQ(Platform::WideFromNarrow(GetParam().bytes), GetParam().wide) << GetParam().what;
    EXPECT_EQ(Platform::NarrowFromWide(GetParam().wide), GetParam().bytes) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    Text, ValidUtf8,
    testing::Values(Utf8Row{"empty", "", L""}, Utf8Row{"letters", "Zaehler 7", L"Zaehler 7"},
                    Utf8Row{"a zero", std::string("a\0b", 3), Wide({'a', 0, 'b'})},
                    Utf8Row{"last of one byte", "\x7F", Wide({0x7F})},
                    Utf8Row{"first of two", "\xC2\x80", Wide({0x80})},
                    Utf8Row{"umlaut", "Z\xC3\xA4hler", Wide({'Z', 0xE4, 'h', 'l', 'e', 'r'})},
                    Utf8Row{"last of two", "\xDF\xBF", Wide({0x7FF})},
                    Utf8Row{"first of three", "\xE0\xA0\x80", Wide({0x800})},
                    Utf8Row{"last before the surrogates", "\xED\x9F\xBF", Wide({0xD7FF})},
                    Utf8Row{"first behind them", "\xEE\x80\x80", Wide({0xE000})},
                    Utf8Row{"last of three", "\xEF\xBF\xBF", Wide({0xFFFF})},
                    Utf8Row{"first of four", "\xF0\x90\x80\x80", Wide({0x10000})},
                    Utf8Row{"last of all", "\xF4\x8F\xBF\xBF", Wide({0x10FFFF})}));

class InvalidUtf8 : public testing::TestWithParam<Utf8Row> {};

TEST_P(InvalidUtf8, KeepsItsBytes) {
    EXPECT_EQ(Platform::WideFromNarrow(GetParam().bytes), GetParam().wide) << GetParam().what;
    EXPECT_EQ(Platform::NarrowFromWide(GetParam().wide), GetParam().bytes) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    Text, InvalidUtf8,
    testing::Values(
        Utf8Row{"a byte of another code page", "Z\xE4hler", Wide({'Z', 0xDCE4, 'h', 'l', 'e', 'r'})},
        Utf8Row{"a byte that only continues", "\x80", Wide({0xDC80})},
        Utf8Row{"two of them", "\xBF\xBF", Wide({0xDCBF, 0xDCBF})},
        Utf8Row{"too long for its value, two", "\xC0\x80", Wide({0xDCC0, 0xDC80})},
        Utf8Row{"the same", "\xC1\xBF", Wide({0xDCC1, 0xDCBF})},
        Utf8Row{"too long for its value, three", "\xE0\x9F\xBF", Wide({0xDCE0, 0xDC9F, 0xDCBF})},
        Utf8Row{"too long for its value, four", "\xF0\x8F\xBF\xBF", Wide({0xDCF0, 0xDC8F, 0xDCBF, 0xDCBF})},
        Utf8Row{"first surrogate", "\xED\xA0\x80", Wide({0xDCED, 0xDCA0, 0xDC80})},
        Utf8Row{"last surrogate", "\xED\xBF\xBF", Wide({0xDCED, 0xDCBF, 0xDCBF})},
        Utf8Row{"behind the last character", "\xF4\x90\x80\x80", Wide({0xDCF4, 0xDC90, 0xDC80, 0xDC80})},
        Utf8Row{"no lead", "\xF5\x80\x80\x80", Wide({0xDCF5, 0xDC80, 0xDC80, 0xDC80})},
        Utf8Row{"five bytes", "\xF8\x88\x80\x80\x80", Wide({0xDCF8, 0xDC88, 0xDC80, 0xDC80, 0xDC80})},
        Utf8Row{"a byte that never occurs", "\xFF", Wide({0xDCFF})},
        Utf8Row{"cut at the end, two", "a\xC3", Wide({'a', 0xDCC3})},
        Utf8Row{"cut at the end, three", "\xE2\x82", Wide({0xDCE2, 0xDC82})},
        Utf8Row{"cut at the end, four", "\xF0\x9F\x98", Wide({0xDCF0, 0xDC9F, 0xDC98})},
        Utf8Row{"broken off by a letter", "\xE2\x82z\xE2\x82\xAC", Wide({0xDCE2, 0xDC82, 'z', 0x20AC})}));

TEST(Text, EverySequenceOfTwoBytesSurvivesTheRoundTrip) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string bytes = {static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(Platform::NarrowFromWide(Platform::WideFromNarrow(bytes)), bytes)
                << first << ' ' << second;
        }
    }
}

TEST(Text, EveryCharacterSurvivesTheRoundTrip) {
    std::wstring all;
    for (unsigned code = 0; code <= 0x10FFFF; ++code)
        if (code < 0xD800 || code > 0xDFFF)
            all.push_back(static_cast<wchar_t>(code));
    EXPECT_TRUE(Platform::WideFromNarrow(Platform::NarrowFromWide(all)) == all);
}

TEST(Text, WhatCannotBeEncodedBecomesAQuestionMark) {
    for (const unsigned code :
         {0xD800u, 0xDBFFu, 0xDC00u, 0xDC7Fu, 0xDD00u, 0xDFFFu, 0x110000u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        EXPECT_EQ(Platform::NarrowFromWide(Wide({'a', code, 'b'})), "a?b") << std::hex << code;
}

TEST(Text, DoesNotDependOnTheLocale) {
    for (const char* locale : {"C", "C.UTF-8", ""}) {
        std::setlocale(LC_ALL, locale);
        EXPECT_EQ(Platform::WideFromNarrow("\xC3\xA4\xE4"), Wide({0xE4, 0xDCE4})) << locale;
        EXPECT_EQ(Platform::NarrowFromWide(Wide({0xE4, 0xDCE4})), "\xC3\xA4\xE4") << locale;
    }
    std::setlocale(LC_ALL, "C");
}

TEST(Text, CutsBetweenCharacters) {
    GuardedBuffer narrow(4);
    EXPECT_EQ(Platform::System::Narrow(Wide({0x20AC, 0xE4, 'a'}), narrow.Data(), 4), 3u)
        << "nothing of a text stands behind what does not fit";
    EXPECT_EQ(std::string(narrow.Data(), 3), "\xE2\x82\xAC");
}

// ---- formatting

TEST(WideFormat, WidensNarrowTexts) {
    EXPECT_EQ(Format(L"[%4S]", "\xC3\xA4\xE4"), L"[  " + Wide({0xE4, 0xDCE4}) + L"]");
}

TEST(WideFormat, CutsLongTextsOfManyBytesAtItsLimit) {
    std::string faces;
    while (faces.size() < 4 * Platform::kFormattedChars + 40)
        faces += "\xF0\x9F\x98\x80";
    EXPECT_EQ(Format(L"%S", faces.c_str()),
              std::wstring(Platform::kFormattedChars, static_cast<wchar_t>(0x1F600)));
}
