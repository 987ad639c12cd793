// What searches look at before names: the byte of a line's key, and the hash of a section's name.
#include "MeterUtil/KeyTag.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

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

// Names that differ in a digit, as registers, billing periods and records do, are told from each other: of ten
// with another digit at one place so many have a value of their own, wherever the digit stands.
template <typename Value>
void ExpectEveryLetterCounts(std::size_t mostLetters, std::size_t different, const Value& valueOf) {
    for (std::size_t size = 1; size <= mostLetters; ++size)
        for (std::size_t at = 0; at < size; ++at) {
            std::set<std::uint32_t> values;
            std::string name(size, 'x');
            for (name[at] = '0'; name[at] <= '9'; ++name[at])
                values.insert(valueOf(name));
            EXPECT_GE(values.size(), different) << "letter " << at << " of " << size;
        }
}

TEST(KeyTag, EveryLetterCounts) {
    ExpectEveryLetterCounts(24, 7, KeyTag);
}

// What stands behind the tags, or in front of those that are looked at, does not count.
TEST(FindTag, FindsTheFirstFromAPlaceOn) {
    constexpr std::uint8_t kSought = 7;
    std::mt19937 random(2);
    for (std::uint32_t count = 0; count <= 200; ++count) {
        for (int round = 0; round < 20; ++round) {
            std::vector<std::uint8_t> tags(count + MeterUtil::kTagsAtOnce, kSought);
            std::generate(tags.begin(), tags.begin() + count,
                          [&] { return static_cast<std::uint8_t>(random() % (1U << (round % 9))); });
            for (std::uint32_t from = 0; from <= count; ++from) {
                const auto found = std::find(tags.begin() + from, tags.begin() + count, kSought);
                const auto index = static_cast<std::uint32_t>(found - tags.begin());
                ASSERT_EQ(MeterUtil::FindTag(tags.data(), from, count, kSought),
                          index == count ? MeterUtil::kNoIndex : index)
                    << from << " of " << count;
            }
        }
    }
}

TEST(IsEntryOf, ComparesWholeKeysOfEverySize) {
    for (std::size_t size = 1; size <= 40; ++size) {
        const std::string key(size, 'k');
        const std::string line = key + "=1";
        std::string_view value;
        EXPECT_TRUE(MeterUtil::IsEntryOf(line, key, &value));
        EXPECT_EQ(value, "1");
        EXPECT_FALSE(MeterUtil::IsEntryOf(key + "k=1", key, &value));
        EXPECT_FALSE(MeterUtil::IsEntryOf(key, key, &value));
        for (std::size_t at = 0; at < size; ++at) {
            std::string other = key;
            other[at] = 'K';
            EXPECT_TRUE(MeterUtil::IsEntryOf(other + "=1", key, &value)) << other;
            other[at] = 'm';
            EXPECT_FALSE(MeterUtil::IsEntryOf(other + "=1", key, &value)) << other;
        }
    }
}

TEST(NameHash, EveryLetterCounts) {
    ExpectEveryLetterCounts(20, 10, MeterUtil::FoldedHash);
}

TEST(NameHash, IsMadeOfSizeAndEndOfAShortName) {
    const std::string name = "Meter_12";
    for (std::size_t size = 0; size <= name.size(); ++size) {
        const std::string_view part = std::string_view(name).substr(0, size);
        EXPECT_EQ(MeterUtil::HashOfShort(size, MeterUtil::FoldedEnd(part)), MeterUtil::FoldedHash(part));
    }
}

}  // namespace
