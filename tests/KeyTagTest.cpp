// The byte by which a search in a section passes over lines.
#include "MeterUtil/KeyTag.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>

using MeterUtil::KeyTag;
using MeterUtil::LineTag;

namespace {

// Taken apart by hand, letter by letter.
std::uint8_t ExpectedTag(const std::string& line) {
    std::string key = line.substr(0, line.find('='));
    while (!key.empty() && (key.back() == ' ' || key.back() == '\t'))
        key.pop_back();
    while (!key.empty() && (key.front() == ' ' || key.front() == '\t'))
        key.erase(0, 1);
    const bool isEntry = key.size() < line.size() && line.find('=') != std::string::npos;
    return isEntry && !key.empty() && key[0] != ';' ? KeyTag(key) : MeterUtil::kNoEntryTag;
}

TEST(KeyTag, IsThatOfTheLine) {
    std::mt19937 random(1);
    const std::string letters("a1.\xC4\x80\xFF\0\x1F!=; \t<>~", 16);
    for (int i = 0; i < 200000; ++i) {
        std::string line;
        const std::size_t keySize = random() % 20;
        while (line.size() < keySize)
            line += letters[random() % (i % 2 == 0 ? letters.size() : 5)];
        line += random() % 8 == 0 ? "" : "=";
        line.append(random() % 20, random() % 2 == 0 ? '=' : 'v');
        line += random() % 2 == 0 ? "\r\n" : "";
        ASSERT_EQ(LineTag(line), ExpectedTag(line)) << testing::PrintToString(line);
    }
}

TEST(KeyTag, EndsWithTheKeyWhereverThatEnds) {
    for (std::size_t size = 1; size <= 40; ++size)
        for (const char* blanks : {"", " ", "\t", "  \t"})
            for (const char* value : {"", "1", "a long value that is behind it all"}) {
                const std::string key(size, 'k');
                EXPECT_EQ(LineTag(blanks + key + blanks + "=" + value), KeyTag(key))
                    << size << blanks << value;
            }
}

TEST(KeyTag, LinesWithoutKeyHaveNone) {
    for (const char* line :
         {"", "\r\n", "=", "=1", "=a value of some length", " \t=1", " = a value of some length", ";", ";k=1",
          ";k=a value of some length", " ; k=a value of some length", "k", "no equals sign at all"})
        EXPECT_EQ(LineTag(line), MeterUtil::kNoEntryTag) << line;
    EXPECT_NE(LineTag("k=1"), MeterUtil::kNoEntryTag);
}

// No key has the tag of a line without one.
TEST(KeyTag, IsNeverThatOfNone) {
    for (int i = 0; i < 5000; ++i)
        EXPECT_NE(KeyTag(std::to_string(i)), MeterUtil::kNoEntryTag) << i;
}

TEST(KeyTag, IgnoresTheCaseOfLetters) {
    const std::string upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const std::string lower = "abcdefghijklmnopqrstuvwxyz";
    for (std::size_t at = 0; at < upper.size(); ++at)
        for (std::size_t size = 1; at + size <= upper.size(); ++size)
            EXPECT_EQ(KeyTag(upper.substr(at, size)), KeyTag(lower.substr(at, size)))
                << upper.substr(at, size);
}

// Keys that differ in a digit, as registers and billing periods do, are told from each other.
TEST(KeyTag, EveryLetterCounts) {
    for (std::size_t size = 1; size <= 24; ++size)
        for (std::size_t at = 0; at < size; ++at) {
            std::set<std::uint8_t> tags;
            std::string key(size, 'x');
            for (key[at] = '0'; key[at] <= '9'; ++key[at])
                tags.insert(KeyTag(key));
            EXPECT_GE(tags.size(), 7U) << "letter " << at << " of " << size;
        }
}

}  // namespace
