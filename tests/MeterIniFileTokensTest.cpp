// The tokens of a text and the quotes around one: the tools that the store offers to its callers.
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdio>
#include <string>

#include "MeterUtil/MeterIniFile.h"
#include "tests/support/GuardedBuffer.h"

namespace {

struct TokenCase {
    std::string source;
    int index;
    const char* token;  // null: the source has no such token
};

class MeterIniFileToken : public testing::TestWithParam<TokenCase> {};

TEST_P(MeterIniFileToken, IsExtracted) {
    const TokenCase& row = GetParam();
    for (const int index : {row.index, -row.index}) {
        char dst[64] = "before";
        char* const result = CMeterIniFile::ExtractTokenDelimitedBy(row.source.c_str(), dst, 64, index, ",");
        EXPECT_EQ(result, row.token == nullptr ? nullptr : dst) << row.source << " token " << index;
        EXPECT_STREQ(dst, row.token == nullptr ? "" : row.token) << row.source << " token " << index;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, MeterIniFileToken,
    testing::Values(TokenCase{"", 1, nullptr}, TokenCase{"a", 1, "a"}, TokenCase{"a", 2, nullptr},
                    TokenCase{"a", 0, nullptr}, TokenCase{"a,b,c", 1, "a"}, TokenCase{"a,b,c", 3, "c"},
                    TokenCase{"a,b,c", 4, nullptr}, TokenCase{",", 1, ""}, TokenCase{",", 2, ""},
                    TokenCase{",", 3, nullptr}, TokenCase{"a,", 2, ""}, TokenCase{" a , b ", 2, " b "},
                    TokenCase{"\"a,b\",c", 1, "\"a,b\""}, TokenCase{"\"a,b\",c", 2, "c"},
                    TokenCase{"x\"a,b\",c", 1, "x\"a"}, TokenCase{"x\"a,b\",c", 2, "b\""},
                    TokenCase{"\"a\"b,c\",d", 1, "\"a\"b,c\""}, TokenCase{"\"a\"b,c\",d", 2, "d"},
                    TokenCase{"\"open,b", 1, "\"open"}, TokenCase{"\"open,b", 2, "b"},
                    TokenCase{"\"\",b", 1, "\"\""}, TokenCase{"\"", 1, "\""}, TokenCase{"\",b", 1, "\""},
                    TokenCase{"a,\"b,c\"", 2, "\"b,c\""}, TokenCase{"a,\"b,c\"", 3, nullptr},
                    TokenCase{"A,D,,12,\"\"", 5, "\"\""}, TokenCase{"A,D,,12,\"\"", 3, ""},
                    TokenCase{"\"a\",\"b\"", 2, "\"b\""}));

TEST(MeterIniFileTokens, SeveralDelimitersAndNone) {
    char dst[16];
    EXPECT_STREQ(CMeterIniFile::ExtractTokenDelimitedBy("a;b,c", dst, 16, 2, ",;"), "b");
    EXPECT_STREQ(CMeterIniFile::ExtractTokenDelimitedBy("\"a;b\",c", dst, 16, 2, ",;"), "c");
    EXPECT_STREQ(CMeterIniFile::ExtractTokenDelimitedBy("a,b", dst, 16, 1, ""), "a,b");
    EXPECT_STREQ(CMeterIniFile::ExtractTokenDelimitedBy("a,b", dst, 16, 1, nullptr), "a,b");
    EXPECT_EQ(CMeterIniFile::ExtractTokenDelimitedBy("a,b", dst, 16, INT_MIN, ","), nullptr);
    EXPECT_EQ(CMeterIniFile::ExtractTokenDelimitedBy(nullptr, dst, 16, 1, ","), nullptr);
    EXPECT_STREQ(dst, "");
}

TEST(MeterIniFileTokens, AreCutToTheBuffer) {
    for (const int size : {1, 2, 5, 6, 7}) {
        GuardedBuffer dst(size);
        EXPECT_EQ(CMeterIniFile::ExtractTokenDelimitedBy("x,token", dst.Data(), size, 2, ","), dst.Data());
        EXPECT_EQ(dst.Text(), std::string("token").substr(0, static_cast<std::size_t>(size) - 1));
    }
    char untouched[2] = "x";
    EXPECT_EQ(CMeterIniFile::ExtractTokenDelimitedBy("a", untouched, 0, 1, ","), nullptr);
    EXPECT_EQ(CMeterIniFile::ExtractTokenDelimitedBy("a", nullptr, 9, 1, ","), nullptr);
    EXPECT_STREQ(untouched, "x");
}

TEST(MeterIniFileTokens, MayReplaceTheirSource) {
    char buffer[16] = "one,two,three";
    EXPECT_STREQ(CMeterIniFile::ExtractTokenDelimitedBy(buffer, buffer, 16, 3, ","), "three");
}

TEST(MeterIniFileQuotes, EnclosingOnesAreRemoved) {
    const char* const rows[][2] = {
        {"\"a,b\"", "a,b"},   {"\"\"", ""},        {"\"", "\""},   {"", ""},
        {"a\"b", "a\"b"},     {"\"a", "\"a"},      {"a\"", "a\""}, {"\"\"a\"\"", "\"a\""},
        {" \"a\"", " \"a\""}, {"\"a\"b\"", "a\"b"}};
    for (const auto& row : rows) {
        char text[16];
        snprintf(text, sizeof text, "%s", row[0]);
        CMeterIniFile::EliminateQuotes(text);
        EXPECT_STREQ(text, row[1]) << row[0];
    }
    CMeterIniFile::EliminateQuotes(nullptr);
}

}  // namespace
