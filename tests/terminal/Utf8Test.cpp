// Text between files, library and screen.
#include "terminal/Utf8.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace std::string_literals;

TEST(Utf8, ShownTextCannotReachTheScreenAround) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"plain", "plain"},
        {"Z\u00E4hler \u6C34 \U0001F4A7", "Z\u00E4hler \u6C34 \U0001F4A7"},
        {"\x1B[2J", "\uFFFD[2J"},
        {"a\0b"s, "a\uFFFDb"},
        {"a\tb\r\n", "a\uFFFDb\uFFFD\uFFFD"},
        {"\x7F", "\uFFFD"},
        {"\u009B31m", "\uFFFD31m"},
        {"\u202Etxt", "\uFFFDtxt"},
        {"\u200B\u2066\uFEFF", "\uFFFD\uFFFD\uFFFD"},
        // no UTF-8: the code page
        {"Z\xE4hler", "Z\u00E4hler"},
        {"\xE4", "\u00E4"},
        {"\xC3", "\u00C3"},
        {"\xC0\xAF", "\u00C0\u00AF"},
        {"\x9B"
         "31m",
         "\u203A31m"},
        {"\xED\xA0\x80", "\u00ED\u00A0\u20AC"},
        {"\xF5\xBF\xBF\xBF", "\u00F5\u00BF\u00BF\u00BF"},
        {"\xF4\xBF\xBF\xBF", "\u00F4\u00BF\u00BF\u00BF"},
    };
    for (const auto& [bytes, shown] : cases)
        EXPECT_EQ(Utf8::Shown(bytes), shown);
}

TEST(Utf8, EveryByteComesBackFromWideText) {
    for (const std::string& bytes :
         {"route.ini"s, "Stra\u00DFe/\u6C34/\U0001F4A7"s, "Z\xE4hler\xC3"s, "\xED\xA0\x80"s, ""s})
        EXPECT_EQ(Utf8::FromWide(Utf8::ToWide(bytes)), bytes);
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        all.push_back(static_cast<char>(byte));
    EXPECT_EQ(Utf8::FromWide(Utf8::ToWide(all)), all);
}

TEST(Utf8, WideTextIsWhatTheLibraryTakes) {
    EXPECT_EQ(Utf8::ToWide("a\u00E4\u6C34"), L"a\u00E4\u6C34");
    const std::wstring lost = Utf8::ToWide("\xE4");
    ASSERT_EQ(lost.size(), 1u);
    EXPECT_EQ(static_cast<unsigned>(lost[0]), 0xDCE4u);
}

TEST(Utf8, WidthCountsColumns) {
    EXPECT_EQ(Utf8::Width(""), 0);
    EXPECT_EQ(Utf8::Width("abc"), 3);
    EXPECT_EQ(Utf8::Width("Z\u00E4hler"), 6);
    EXPECT_EQ(Utf8::Width("Za\u0308hler"), 6);
    EXPECT_EQ(Utf8::Width("\u6C34\u8868"), 4);
    EXPECT_EQ(Utf8::Width("\U0001F4A7"), 2);
}

TEST(Utf8, CutKeepsWholeCharactersAndSaysThatItCut) {
    EXPECT_EQ(Utf8::Cut("Z\u00E4hler", 6), "Z\u00E4hler");
    EXPECT_EQ(Utf8::Cut("Z\u00E4hlers", 6), "Z\u00E4hl..");
    EXPECT_EQ(Utf8::Cut("\u6C34\u8868\u6C34", 5), "\u6C34..");
    EXPECT_EQ(Utf8::Cut("abc", 2), "..");
}

TEST(Utf8, ShownPathsHaveOneKindOfSeparator) {
    const std::string separator(1, static_cast<char>(Utf8::ShownPath("\\").front()));
    EXPECT_EQ(Utf8::ShownPath("data\\route.ini"), "data" + separator + "route.ini");
    EXPECT_EQ(Utf8::ShownPath("a\x1B"), "a\uFFFD");
}
