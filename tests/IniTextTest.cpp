// What shows of a text neither in its bytes nor in its answers: how it is held in memory, and that no file makes it
// slow.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "MeterUtil/IniText.h"

using MeterUtil::IniText;

namespace {

Platform::FileBytes Bytes(const std::string& text) {
    Platform::FileBytes bytes;
    bytes.data.reset(static_cast<char*>(std::malloc(text.size() + 1)));
    std::memcpy(bytes.data.get(), text.data(), text.size());
    bytes.size = text.size();
    return bytes;
}

std::string Joined(const IniText& text) {
    std::string joined;
    for (const std::string_view piece : text.Pieces())
        joined += piece;
    return joined;
}

TEST(IniTextMemory, AFileAsItWasReadIsOnePiece) {
    IniText text;
    ASSERT_TRUE(text.Load(Bytes("top\n[a]\nk=1\n[b]\n")));
    EXPECT_EQ(text.Pieces().size(), 1U);
    text.SetValue(text.FindSection("a"), "k", "2");
    EXPECT_EQ(text.Pieces().size(), 3U) << "what stands before and behind the change is as it was read";
}

// A day's readings written over and over would fill the memory of a terminal. What changes leave behind is given back
// by moving the text into one block again.
TEST(IniTextMemory, ChangesDoNotPileUp) {
    IniText text;
    ASSERT_TRUE(text.Load(Bytes("[a]\nk=1\nm=2\n")));
    std::string value;
    int moves = 0;
    constexpr int kChanges = 1000;
    constexpr std::size_t kBytes = 20000;
    for (int i = 0; i < kChanges; ++i) {
        value.assign(kBytes + 32 * static_cast<std::size_t>(i), 'v');  // never fits where the last one stood
        text.SetValue(text.FindSection("a"), "k", value);
        moves += text.Pieces().size() == 1 ? 1 : 0;
    }
    // 36 MB of changes: the text moves for every MB of them, and not for each change.
    EXPECT_GE(moves, 10);
    EXPECT_LE(moves, 60);
    EXPECT_EQ(Joined(text), "[a]\nk=" + value + "\nm=2\n");
}

TEST(IniTextMemory, AGrowingTextDoesNotMove) {
    IniText text;
    for (int i = 0; i < 100000; ++i)
        text.AppendLine("a line that a record is made of");
    EXPECT_GT(text.Pieces().size(), 1U);
}

// Headers that are made of lines from the last to the first, as a route in disorder gets them: minutes, if each walked
// over those behind it.
TEST(IniTextSpeed, ManyLinesBecomeHeaders) {
    constexpr std::uint32_t kLines = 60000;
    std::string bytes;
    for (std::uint32_t i = 0; i < kLines; ++i)
        bytes += "[#_0\n";
    IniText text;
    ASSERT_TRUE(text.Load(Bytes(bytes)));
    for (std::uint32_t line = kLines; line-- > 0;)
        text.SetLine(line, "[#_" + std::to_string(line) + "]");
    EXPECT_NE(text.FindSection("#_0"), IniText::kNoSection);
    EXPECT_NE(text.FindSection("#_59999"), IniText::kNoSection);
    for (std::uint32_t line = 0; line < kLines; ++line) {
        std::string_view header;
        ASSERT_TRUE(text.LineAt(line, &header));
        ASSERT_EQ(header, "[#_" + std::to_string(line) + "]");
        ASSERT_EQ(text.FindBracketLine(line), line);
    }
}

}  // namespace
