// Text between 8 bits and wide characters on Windows: the ANSI code page of the system.
#include <gtest/gtest.h>
#include <windows.h>

#include "Platform/Platform.h"
#include "Platform/System.h"
#include "tests/support/GuardedBuffer.h"

namespace {

std::string AllBytes() {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes.push_back(static_cast<char>(byte));
    return bytes;
}

// Code page 1252 of western Europe, whose letters the tests know.
class WesternText : public testing::Test {
protected:
    void SetUp() override {
        if (::GetACP() != 1252)
            GTEST_SKIP() << "this system's code page is another one";
    }
};

}  // namespace

TEST(NarrowText, WideCharactersHave16Bits) {
    EXPECT_EQ(sizeof(wchar_t), 2u);
}

TEST(NarrowText, AsciiCrossesBothWays) {
    const std::string ascii = AllBytes().substr(0, 128);
    EXPECT_EQ(Platform::WideFromNarrow(ascii), std::wstring(ascii.begin(), ascii.end()));
    EXPECT_EQ(Platform::NarrowFromWide(std::wstring(ascii.begin(), ascii.end())), ascii);
}

TEST_F(WesternText, EveryByteSurvivesTheRoundTrip) {
    const std::string bytes = AllBytes();
    const std::wstring wide = Platform::WideFromNarrow(bytes);
    EXPECT_EQ(wide.size(), bytes.size());
    EXPECT_EQ(Platform::NarrowFromWide(wide), bytes);
}

TEST_F(WesternText, LettersOfThePageCross) {
    EXPECT_EQ(Platform::WideFromNarrow("Z\xE4hler \x80"), L"Z\x00E4hler \x20AC");
    EXPECT_EQ(Platform::NarrowFromWide(L"Z\x00E4hler \x20AC"), "Z\xE4hler \x80");
}

TEST_F(WesternText, OtherLettersBecomeQuestionMarksAndNeverOnesThatLookAlike) {
    EXPECT_EQ(Platform::NarrowFromWide(L"\x0101"), "?") << "an a with a line above";
    EXPECT_EQ(Platform::NarrowFromWide(L"\xFF21"), "?") << "a wide A";
    EXPECT_EQ(Platform::NarrowFromWide(L"\x0416z"), "?z");
}

TEST_F(WesternText, IsInsertedIntoFormats) {
    GuardedBuffer<wchar_t> buffer(static_cast<int>(Platform::kFormattedChars) + 1);
    Platform::wsprintfW(buffer.Data(), L"[%4S]", "\xE4\x80");
    EXPECT_EQ(buffer.Text(), L"[  \x00E4\x20AC]");
}
