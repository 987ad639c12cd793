// The text tools: bounded copies, comparing, quotes and tokens, and the two number readers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "MeterUtil/Text.h"
#include "tests/support/CommaLocale.h"
#include "tests/support/GuardedBuffer.h"

using namespace MeterText;

namespace {

std::string Copied(int size, std::string_view text) {
    GuardedBuffer buffer(size);
    CopyText(buffer.Data(), buffer.Size(), text);
    return buffer.Text();
}

}  // namespace

// ---- views and copies

TEST(TextView, OfANullPointerIsEmpty) {
    EXPECT_EQ(View(static_cast<const char*>(nullptr)), "");
    EXPECT_EQ(View(static_cast<const wchar_t*>(nullptr)), L"");
    EXPECT_EQ(View("abc"), "abc");
}

TEST(CopyText, CutsAtTheBufferAndTerminates) {
    EXPECT_EQ(Copied(1, "abcd"), "");
    EXPECT_EQ(Copied(2, "abcd"), "a");
    EXPECT_EQ(Copied(4, "abcd"), "abc");
    EXPECT_EQ(Copied(5, "abcd"), "abcd");
    EXPECT_EQ(Copied(6, "abcd"), "abcd");
    EXPECT_EQ(Copied(1, ""), "");
}

TEST(CopyText, TellsWhetherItCut) {
    char buffer[4];
    EXPECT_TRUE(CopyText(buffer, 4, "abc"));
    EXPECT_FALSE(CopyText(buffer, 4, "abcd"));
    EXPECT_FALSE(CopyText(buffer, 1, "a"));
    EXPECT_TRUE(CopyText(buffer, 1, ""));
}

TEST(CopyText, LeavesAnOutputAloneThatIsNotWanted) {
    GuardedBuffer buffer(4);
    EXPECT_TRUE(CopyText(buffer.Data(), 0, "abc"));
    EXPECT_TRUE(CopyText(buffer.Data(), -1, "abc"));
    EXPECT_TRUE(CopyText(nullptr, 4, "abc"));
    EXPECT_TRUE(buffer.Untouched());
}

TEST(CopyText, TakesTextFromInsideItsOwnBuffer) {
    char buffer[8] = "abcdef";
    CopyText(buffer, 8, std::string_view(buffer + 2));
    EXPECT_STREQ(buffer, "cdef");
    CopyText(buffer + 1, 7, std::string_view(buffer));
    EXPECT_STREQ(buffer, "ccdef");
}

TEST(CopyPadded, FillsWhatIsBehindTheTextWithZeros) {
    for (const int size : {1, 3, 4, 5, 9}) {
        GuardedBuffer narrow(size);
        GuardedBuffer<wchar_t> wide(size);
        CopyPadded(narrow.Data(), size, "abcd");
        CopyPadded(wide.Data(), size, L"abcd");
        const std::size_t length = std::min<std::size_t>(4, static_cast<std::size_t>(size) - 1);
        std::string expected = std::string("abcd", length);
        expected.resize(static_cast<std::size_t>(size));
        EXPECT_EQ(std::string(narrow.Data(), expected.size()), expected);
        EXPECT_EQ(std::wstring(wide.Data(), expected.size()), std::wstring(expected.begin(), expected.end()));
    }
}

TEST(CopyPadded, TakesTheSizeOfAnArray) {
    char buffer[4] = {'#', '#', '#', '#'};
    CopyPadded(buffer, "a");
    EXPECT_EQ(std::string(buffer, 4), std::string("a\0\0\0", 4));
    CopyPadded(buffer, "abcdef");
    EXPECT_STREQ(buffer, "abc");
}

TEST(CopyPadded, LeavesAnOutputAloneThatIsNotWanted) {
    GuardedBuffer buffer(4);
    CopyPadded(buffer.Data(), 0, "abc");
    CopyPadded(buffer.Data(), -1, "abc");
    CopyPadded(static_cast<char*>(nullptr), 4, "abc");
    EXPECT_TRUE(buffer.Untouched());
}

// ---- letters

TEST(TextCase, IsIgnoredForAsciiLettersOnly) {
    EXPECT_TRUE(EqualIgnoringCase("AbZ[", "aBz["));
    EXPECT_TRUE(EqualIgnoringCase("", ""));
    EXPECT_FALSE(EqualIgnoringCase("ab", "abc"));
    EXPECT_FALSE(EqualIgnoringCase("abc", "abd"));
    EXPECT_FALSE(EqualIgnoringCase("@[", "`{")) << "neighbours of the letters are no letters";
    EXPECT_FALSE(EqualIgnoringCase("\xC4", "\xE4"));
}

TEST(TextLetters, ArePresentOrNot) {
    EXPECT_TRUE(Contains("DR", 'R'));
    EXPECT_FALSE(Contains("DR", 'r'));
    EXPECT_FALSE(Contains("", 'R'));
    EXPECT_TRUE(ContainsAny("DR", "WR"));
    EXPECT_FALSE(ContainsAny("DR", "WC"));
    EXPECT_FALSE(ContainsAny("DR", ""));
}

TEST(TextBlanks, AreSpacesAndTabsAtTheEnds) {
    EXPECT_EQ(TrimBlanks(" \t a b\t "), "a b");
    EXPECT_EQ(TrimBlanks(" \t"), "");
    EXPECT_EQ(TrimBlanks(""), "");
    EXPECT_EQ(TrimBlanks("\ra\n"), "\ra\n");
}

// ---- quotes and tokens

TEST(TextQuotes, AreRemovedOnlyWhereTheyEnclose) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {R"("abc")", "abc"},        {R"("")", ""},          {R"(")", R"(")"},       {"", ""},
        {R"("abc)", R"("abc)"},     {R"(abc")", R"(abc")"}, {R"(""a"")", R"("a")"}, {R"( "a")", R"( "a")"},
        {R"("a","b")", R"(a","b)"},
    };
    for (const auto& [text, bare] : rows)
        EXPECT_EQ(WithoutQuotes(text), bare) << text;
}

TEST(TextTokens, AreSplitAtDelimitersOutsideQuotes) {
    struct Row {
        std::string source;
        std::vector<std::string> tokens;
    };
    const std::vector<Row> rows = {
        {"", {}},
        {",", {"", ""}},
        {"a", {"a"}},
        {"a,b,,c,", {"a", "b", "", "c", ""}},
        {R"("a,b",c)", {R"("a,b")", "c"}},
        {R"(x,"a,b")", {"x", R"("a,b")"}},
        {R"("",c)", {R"("")", "c"}},
        {R"("a"b,c",d)", {R"("a"b,c")", "d"}},
        {R"("a,b)", {R"("a)", "b"}},
        {R"(")", {R"(")"}},
        {R"(",b)", {R"(")", "b"}},
        {R"(a"b,c"d)", {R"(a"b)", R"(c"d)"}},
        {R"( "a,b")", {R"( "a)", R"(b")"}},
        {R"("",",x)", {R"("")", R"(")", "x"}},
        {R"(""",x)", {R"(""")", "x"}},
        {R"(a;b,c)", {"a;b", "c"}},
    };
    for (const Row& row : rows) {
        std::vector<std::string> tokens;
        std::string_view token;
        for (std::int64_t i = 1; FindToken(row.source, i, ",", &token); ++i)
            tokens.emplace_back(token);
        EXPECT_EQ(tokens, row.tokens) << row.source;
    }
}

TEST(TextTokens, EndAtAnyOfSeveralDelimiters) {
    std::string_view token;
    EXPECT_TRUE(FindToken(R"("a;b";c,d)", 1, ",;", &token));
    EXPECT_EQ(token, R"("a;b")");
    EXPECT_TRUE(FindToken("a;b,c", 2, ",;", &token));
    EXPECT_EQ(token, "b");
    EXPECT_TRUE(FindToken("a;b,c", 1, "", &token));
    EXPECT_EQ(token, "a;b,c") << "without delimiters the source is one token";
}

TEST(TextTokens, AreNumberedFromOneAndEmptyWhenThereIsNone) {
    struct Row {
        const char* source;
        std::int64_t index;
    };
    for (const Row& row : {Row{"a,b", 0}, Row{"a,b", -1}, Row{"", 1}, Row{"a,b", 3},
                           Row{"a,b", std::numeric_limits<std::int64_t>::max()}}) {
        std::string_view token = "of an earlier place";
        EXPECT_FALSE(FindToken(row.source, row.index, ",", &token)) << row.source << " " << row.index;
        EXPECT_EQ(token, "") << row.source << " " << row.index;
    }
}

TEST(TextTokens, TakenOffTheFrontLeaveWhatIsBehindTheDelimiter) {
    TokenReader tokens(R"("a,b",c,)");
    std::string_view token;
    ASSERT_TRUE(tokens.Next(&token));
    EXPECT_EQ(token, R"("a,b")");
    EXPECT_EQ(tokens.Rest(), "c,");
    ASSERT_TRUE(tokens.Next(&token));
    EXPECT_EQ(token, "c");
    ASSERT_TRUE(tokens.Next(&token)) << "an empty token follows";
    EXPECT_EQ(token, "");
    EXPECT_EQ(tokens.Rest(), "");
    EXPECT_FALSE(tokens.Next(&token));
}

TEST(TextTokens, TheFirstIsEmptyWhereThereIsNone) {
    EXPECT_EQ(FirstToken(R"("a,b",c)"), R"("a,b")");
    EXPECT_EQ(FirstToken("a;b", ";"), "a");
    EXPECT_EQ(FirstToken(",a"), "");
    EXPECT_EQ(FirstToken(""), "");
}

// Searching for the end of each anew would take minutes.
TEST(TextTokens, OpenQuotesAreNotSearchedAgainAndAgain) {
    std::string text;
    for (int i = 0; i < 1000000; ++i)
        text += "\"a,";
    std::string_view token;
    EXPECT_TRUE(FindToken(text, 1000000, ",", &token));
    EXPECT_EQ(token, "\"a");
    EXPECT_TRUE(FindToken(text + "\"b,c\"", 1, ",", &token)) << "a quote that closes late";
    EXPECT_EQ(token.size(), text.size() + 5);
}

TEST(TextTokens, HaveTheirEnclosingQuotesTakenOffOnDemand) {
    const std::string list = R"(a,"b,c",,"",d"e")";
    const char* const tokens[] = {"a", "b,c", "", "", "d\"e\""};
    for (int i = 1; i <= 5; ++i)
        EXPECT_EQ(BareToken(list, i), tokens[i - 1]) << i;
    EXPECT_EQ(BareToken(list, 0), "");
    EXPECT_EQ(BareToken(list, 6), "");
    EXPECT_EQ(BareToken("", 1), "");
    EXPECT_EQ(BareToken(R"(x,y;"z;")", 2, ";"), "z;");
}

// ---- integers

TEST(TextIntegers, AreReadFromTheStartAndClamped) {
    constexpr int kMax = std::numeric_limits<int>::max();
    constexpr int kMin = std::numeric_limits<int>::min();
    const std::vector<std::pair<std::string, int>> rows = {
        {"", 0},
        {"  ", 0},
        {"abc", 0},
        {"-", 0},
        {"+-1", 0},
        {"- 1", 0},
        {"42", 42},
        {" \t\n\v\f\r42", 42},
        {"+42", 42},
        {"-42", -42},
        {"0042", 42},
        {"42abc", 42},
        {"42.9", 42},
        {"12 34", 12},
        {"1,5", 1},
        {"0x10", 0},
        {"2147483646", 2147483646},
        {"2147483647", kMax},
        {"2147483648", kMax},
        {"-2147483647", -2147483647},
        {"-2147483648", kMin},
        {"-2147483649", kMin},
        {"99999999999999999999999999", kMax},
        {"-99999999999999999999999999", kMin},
        {"\xB2", 0},
    };
    for (const auto& [text, number] : rows)
        EXPECT_EQ(ToInt(text), number) << text;
}

TEST(TextIntegers, Of64BitsAreClampedThere) {
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(ToInt64("4294967296"), 4294967296);
    EXPECT_EQ(ToInt64("9223372036854775806"), kMax - 1);
    EXPECT_EQ(ToInt64("9223372036854775807"), kMax);
    EXPECT_EQ(ToInt64("9223372036854775808"), kMax);
    EXPECT_EQ(ToInt64("-9223372036854775807"), kMin + 1);
    EXPECT_EQ(ToInt64("-9223372036854775808"), kMin);
    EXPECT_EQ(ToInt64("-9223372036854775809"), kMin);
    EXPECT_EQ(ToInt64(std::string(300, '9')), kMax);
}

// ---- decimals

TEST(TextIntegers, AreWrittenWithZerosUpToTheirWidth) {
    EXPECT_EQ(MeterText::ZeroPadded(7, 2), "07");
    EXPECT_EQ(MeterText::ZeroPadded(2010, 2), "2010");
    EXPECT_EQ(MeterText::ZeroPadded(0, 4), "0000");
    EXPECT_EQ(MeterText::ZeroPadded(0, 0), "0");
    EXPECT_EQ(MeterText::ZeroPadded(-5, 4), "-005");
    EXPECT_EQ(MeterText::ZeroPadded(-12, 2), "-12");
    EXPECT_EQ(MeterText::ZeroPadded(9999999999, 11), "09999999999");
}

TEST(TextDecimals, AreReadFromTheStart) {
    const std::vector<std::pair<std::string, double>> rows = {
        {"", 0},         {"  ", 0},         {"abc", 0},
        {"-", 0},        {".", 0},          {"+-1", 0},
        {"--1", 0},      {"- 1", 0},        {"42", 42},
        {"+42", 42},     {"-42", -42},      {" \t\n\v\f\r1.5", 1.5},
        {"1.5", 1.5},    {".5", 0.5},       {"-.5", -0.5},
        {"5.", 5},       {"1,5", 1},        {"1.5.5", 1.5},
        {"1.5abc", 1.5}, {"1e3", 1000},     {"1E+3", 1000},
        {"1e-3", 0.001}, {"1e", 1},         {"1e+", 1},
        {"1e 3", 1},     {"0012.50", 12.5}, {"1 000", 1},
        {"e5", 0},       {"0.1", 0.1},      {"12345678901234567890", 12345678901234567890.0},
    };
    for (const auto& [text, number] : rows)
        EXPECT_EQ(ToDouble(text), number) << text;
}

TEST(TextDecimals, AreNeverWordsOrHexadecimal) {
    for (const char* text : {"inf", "INF", "-inf", "infinity", "nan", "NaN", "-nan", "nan(1)", "+inf"})
        EXPECT_EQ(ToDouble(text), 0) << text;
    for (const char* text : {"0x10", "0X1p4", "-0x10", "x10"})
        EXPECT_EQ(ToDouble(text), 0) << text;
    EXPECT_EQ(ToDouble("1p4"), 1);
}

TEST(TextDecimals, BeyondTheRangeAreInfiniteOrZero) {
    const std::vector<std::pair<std::string, double>> rows = {
        {"1.7976931348623157e308", std::numeric_limits<double>::max()},
        {"2e308", HUGE_VAL},
        {"-2e308", -HUGE_VAL},
        {"1e999999999999999999999", HUGE_VAL},
        {"1e-999999999999999999999", 0},
        {"-1e-400", 0},
        {"0e999999999999999999999", 0},
        {"0.0e-999", 0},
        {std::string(400, '9'), HUGE_VAL},
        {"-" + std::string(400, '9'), -HUGE_VAL},
        {"0." + std::string(400, '0') + "1", 0},
        {std::string(400, '0') + "7", 7},
        {"1" + std::string(400, '0') + "e-400", 1},
        {"1" + std::string(400, '0') + "e-50", HUGE_VAL},
        {"1" + std::string(400, '0') + "e-900", 0},
        {"1" + std::string(700, '0') + "1e-100", HUGE_VAL},
        {"0." + std::string(400, '0') + "1e401", 1},
        {"0." + std::string(400, '0') + "1e900", HUGE_VAL},
        {"0." + std::string(400, '0') + "1e50", 0},
        {"1e400xyz", HUGE_VAL},
    };
    for (const auto& [text, number] : rows)
        EXPECT_EQ(ToDouble(text), number) << text;
    EXPECT_GT(ToDouble("4.9406564584124654e-324"), 0) << "the smallest number";
}

TEST(TextNumbers, EndWithTheirText) {
    const std::string_view text = "1234";
    EXPECT_EQ(ToDouble(text.substr(0, 2)), 12);
    EXPECT_EQ(ToInt(text.substr(0, 2)), 12);
}

TEST(TextNumbers, MeanTheSameUnderADecimalComma) {
    const CommaLocale comma;
    EXPECT_EQ(ToDouble("1.5"), 1.5);
    EXPECT_EQ(ToDouble("1,5"), 1);
    EXPECT_EQ(ToDouble("1.234.567"), 1.234);
    EXPECT_EQ(ToInt("1.234"), 1);
}
