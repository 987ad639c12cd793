// Words of a list, patterns in a buffer, placeholders in a text.
#include <gtest/gtest.h>

#include <limits>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

class TextSearch : public DatabaseFixture {
protected:
    bool IsElement(const char* element, const char* list) { return m_database.IsElementOf(element, list); }

    // Where a pattern is found; -1 for nowhere.
    std::ptrdiff_t Place(std::string buffer, std::string_view pattern) {
        const char* const found = m_database.SearchInBufWithLen(
            buffer.data(), static_cast<int>(buffer.size()), pattern.data(), static_cast<int>(pattern.size()));
        return found == nullptr ? -1 : found - buffer.data();
    }
};

class Substitution : public DatabaseFixture {
protected:
    void OpenRecord(const std::string& entries) { Open("[#_1]\nState=U\n" + entries); }

    std::string Substituted(const std::string& text, int size = 512) {
        GuardedBuffer out(size);
        m_database.Substitute(out.Data(), text.c_str(), out.Size());
        return out.Text();
    }
};

}  // namespace

// ---- words of a list

TEST_F(TextSearch, FindsWholeWordsOfAList) {
    const struct {
        const char* element;
        const char* list;
        bool found;
    } rows[] = {
        {"AA", "AAA,AA", true}, {"B", "A,BC", false},     {"B", "A,B", true},       {"B", "B", true},
        {"B", "B,A", true},     {"B", "A,B,C", true},     {"B", "A, B", false},     {"B", "A,B ", false},
        {" B", "A, B", true},   {"B", "AB,BB,CB", false}, {"B", "AB,BB,B", true},   {"b", "A,B", false},
        {"AA", "AAAA", false},  {"A,B", "C,A,B,D", true}, {"A,A", "BA,A,A", false}, {"ABC", "AB", false},
        {"A", "", false},       {",", "A,,B", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(IsElement(row.element, row.list), row.found) << row.element << " in " << row.list;
}

TEST_F(TextSearch, FindsNoEmptyWord) {
    for (const char* list : {"", ",", "A,,B", "A"}) {
        EXPECT_FALSE(IsElement("", list)) << list;
        EXPECT_FALSE(IsElement(nullptr, list)) << list;
    }
    EXPECT_FALSE(IsElement("A", nullptr));
    EXPECT_FALSE(IsElement(nullptr, nullptr));
}

// ---- patterns in a buffer

TEST_F(TextSearch, FindsThePatternThatDoesNotEndWithTheBuffer) {
    using namespace std::string_literals;
    const struct {
        std::string buffer;
        std::string pattern;
        std::ptrdiff_t place;
    } rows[] = {
        {"xxABC", "ABC", -1},
        {"xABCx", "ABC", 1},
        {"ABCx", "ABC", 0},
        {"ABC", "ABC", -1},
        {"AB", "ABC", -1},
        {"", "A", -1},
        {"A", "A", -1},
        {"xABxABCx", "ABC", 4},
        {"ABCABC", "ABC", 0},
        {"xAABx", "AB", 2},
        {"a\0b\0c-"s, "b\0c"s, 2},
        {"a\0b\0\0-"s, "\0\0"s, 3},
        {"\xFF\xFE\xFD-", "\xFE\xFD", 1},
        {"x", "", 0},
        {"", "", -1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Place(row.buffer, row.pattern), row.place) << row.buffer << " / " << row.pattern;
}

TEST_F(TextSearch, StaysInsideTheLengthThatIsGiven) {
    std::string buffer = "abcABCdef";
    EXPECT_EQ(m_database.SearchInBufWithLen(buffer.data(), 6, "ABC", 3), nullptr);
    EXPECT_EQ(m_database.SearchInBufWithLen(buffer.data(), 7, "ABC", 3), buffer.data() + 3);
    EXPECT_EQ(m_database.SearchInBufWithLen(buffer.data(), 7, "ABCxyz", 3), buffer.data() + 3);
}

TEST_F(TextSearch, FindsNothingWithoutABufferOrALength) {
    constexpr int kLeast = std::numeric_limits<int>::min();
    char buffer[] = "ABCD";
    EXPECT_EQ(m_database.SearchInBufWithLen(nullptr, 4, "A", 1), nullptr);
    EXPECT_EQ(m_database.SearchInBufWithLen(buffer, 4, nullptr, 1), nullptr);
    for (const int length : {0, -1, kLeast})
        EXPECT_EQ(m_database.SearchInBufWithLen(buffer, length, "A", 1), nullptr) << length;
    for (const int length : {-1, kLeast})
        EXPECT_EQ(m_database.SearchInBufWithLen(buffer, 4, "A", length), nullptr) << length;
    EXPECT_EQ(m_database.SearchInBufWithLen(buffer, kLeast, "A", kLeast), nullptr);
}

// ---- placeholders

TEST_F(Substitution, PutsInValuesAndExpectedTexts) {
    OpenRecord(
        "Number=A,D,8,123,\"\"\n"
        "Quoted=A,D,\"8,B1,XkWh\",\"1,5\",\"\"\n"
        "Small=A,D,\"8,,xm3,Xl\",,\"\"\n"
        "Bare=A,D,X,say \"hi\",\"\"\n"
        "Item=Uhr\n"
        "First=A,D,XkWh,,\n");
    const std::pair<const char*, const char*> rows[] = {
        {"Meter <#Number>\\nok", "Meter 123\r\nok"},
        {"<#Number>", "123"},
        {"<#number><#Number>", "123123"},
        {"<#Quoted>", "1,5"},
        {"<*Quoted>", "kWh"},
        {"<#Quoted> <*Quoted>", "1,5 kWh"},
        {"<*Small>", "m3"},
        {"<*First>", "kWh"},
        {"[<*Bare>]", "[]"},
        {"[<*Number>]", "[]"},
        {"<#Bare>", "say \"hi\""},
        {"[<#Item>]", "[]"},
        {"[<#Missing>|<*Missing>]", "[|]"},
        {"[<# >]", "[]"},
        {"[<#a=b>]", "[]"},
    };
    for (const auto& [text, result] : rows)
        EXPECT_EQ(Substituted(text), result) << text;
}

TEST_F(Substitution, CopiesWhatIsNoPlaceholder) {
    OpenRecord("X=A,D,8,5,\"\"\n");
    for (const char* text : {"", "plain", "<", "<#", "<#X", "<*X", "<a>", "<X>", "< #X>", "<>", "<#>", "<*>",
                             "a<#>b", ">", ">X<"})
        EXPECT_EQ(Substituted(text), text);
    EXPECT_EQ(Substituted("<#><#X>"), "<#>5");
    EXPECT_EQ(Substituted("<<#X>>"), "<5>");
    EXPECT_EQ(Substituted("<#X><#X"), "5<#X");
    EXPECT_EQ(Substituted("<#a<#X>"), "") << "a name ends at the first bracket";
}

TEST_F(Substitution, TakesNamesOf1To251Characters) {
    const std::string longest(251, 'n');
    OpenRecord("X=A,D,8,5,\"\"\n" + longest + "=A,D,Xu,6,\"\"\n" + longest + "n=A,D,Xu,7,\"\"\n");
    EXPECT_EQ(Substituted("<#" + longest + ">"), "6");
    EXPECT_EQ(Substituted("<*" + longest + ">"), "u");
    const std::string tooLong = "<#" + longest + "n>";
    EXPECT_EQ(Substituted(tooLong + "<#X>"), tooLong + "5");
    const std::string around = "<#" + longest + "<#X>";
    EXPECT_EQ(Substituted(around + "<#X>"), around + "5") << "what is inside belongs to the long one";
}

TEST_F(Substitution, BreaksLinesAlsoInWhatWasPutIn) {
    OpenRecord("X=A,D,8,a\\nb\\,\"\"\n");
    const std::pair<const char*, const char*> rows[] = {
        {"\\n", "\r\n"},         {"\\N", "\r\n"}, {"a\\nb\\Nc", "a\r\nb\r\nc"}, {"\\n\\n\\N", "\r\n\r\n\r\n"},
        {"\\\\n", "\\\r\n"},     {"\\", "\\"},    {"\\t\\", "\\t\\"},           {"n\\", "n\\"},
        {"<#X>n", "a\r\nb\r\n"},
    };
    for (const auto& [text, result] : rows)
        EXPECT_EQ(Substituted(text), result) << text;
}

TEST_F(Substitution, IsCutAtTheBuffer) {
    OpenRecord("X=A,D,8,12345678,\"\"\n");
    EXPECT_EQ(Substituted("0123456789", 5), "0123");
    EXPECT_EQ(Substituted("0123456789", 10), "012345678");
    EXPECT_EQ(Substituted("0123456789", 11), "0123456789");
    EXPECT_EQ(Substituted("0123456789", 1), "");
    for (int size = 1; size <= 16; ++size)
        EXPECT_EQ(Substituted("ab<#X>cd", size),
                  std::string("ab12345678cd").substr(0, static_cast<std::size_t>(size - 1)));
    EXPECT_EQ(Substituted("abc\\n", 5), "abc\\") << "half a line break is none";
    EXPECT_EQ(Substituted("ab\\n", 5), "ab\r\n");
    GuardedBuffer out(8);
    for (const int size : {0, -1, std::numeric_limits<int>::min()})
        m_database.Substitute(out.Data(), "abc", size);
    EXPECT_TRUE(out.Untouched());
    m_database.Substitute(nullptr, "abc", 8);
    m_database.Substitute(out.Data(), nullptr, 8);
    EXPECT_EQ(out.Text(), "");
}

TEST_F(Substitution, MayWriteOverItsText) {
    OpenRecord("X=A,D,8,12345678,\"\"\n");
    char text[32] = "<#X>-<#X>\\n";
    m_database.Substitute(text, text, sizeof text);
    EXPECT_STREQ(text, "12345678-12345678\r\n");
}

TEST_F(Substitution, DropsPlaceholdersWithoutARecord) {
    EXPECT_EQ(Substituted("a<#X>b<*X>c"), "abc") << "no data file";
    Open("[#_1]\nX=A,D,8,main,\"\"\n[#1_1]\nX=A,D,8,appendix,\"\"\n");
    ASSERT_TRUE(m_database.SetAppendix(1));
    EXPECT_EQ(Substituted("<#X>"), "appendix");
    m_database.SetAppendix(0);
    EXPECT_EQ(Substituted("<#X>"), "main");
    WithoutPreconditions([this](const char* what) { EXPECT_EQ(Substituted("a<#X>b"), "ab") << what; });
}

TEST_F(Substitution, EndsSoonWhateverTheText) {
    OpenRecord("X=A,D,8,5,\"\"\n");
    std::string open;
    for (int i = 0; i < 500000; ++i)
        open += "<#";
    EXPECT_EQ(Substituted(open, 2000000), open);
    EXPECT_EQ(Substituted("<#X>" + open, 2000000), "5" + open);
}

TEST_F(Substitution, IsEmptyWithoutMemory) {
    OpenRecord("Some long name of a value=A,D,8,a value that is long enough for the heap,\"\"\n");
    for (int n = 1;; ++n) {
        GuardedBuffer out(200);
        bool failed = false;
        {
            const HeapFault fault(n);
            m_database.Substitute(out.Data(), "<#Some long name of a value>", out.Size());
            failed = fault.Happened();
        }
        EXPECT_EQ(out.Text(), failed ? "" : "a value that is long enough for the heap");
        if (!failed)
            break;
    }
}
