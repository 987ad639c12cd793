// What a meter's readout is taken for: its frame and check codes, its data sets, the names and values found
// in it, and the meter interface over it.
#include "terminal/Readout.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "terminal/Identity.h"
#include "terminal/ReadoutInterface.h"

using namespace std::string_literals;

namespace {

Readout Parsed(const std::string& bytes) {
    std::string problem;
    std::optional<Readout> readout = Readout::Parse(bytes, &problem);
    EXPECT_TRUE(readout) << problem;
    EXPECT_EQ(problem, "");
    return readout ? *std::move(readout) : Readout();
}

std::string Problem(const std::string& bytes) {
    std::string problem;
    EXPECT_FALSE(Readout::Parse(bytes, &problem)) << "was taken";
    return problem;
}

// A readout of one data set, or of some lines of them.
Readout Lines(const std::string& lines) {
    return Parsed("/ABC5METER\r\n\x02" + lines + "\r\n!\r\n");
}

std::string Text(const Readout& readout, std::string_view name) {
    const std::string* text = readout.FindText(name);
    return text == nullptr ? "(not sent)" : *text;
}

// The only value of a readout of one data set.
ReadoutValue Only(const std::string& dataSet) {
    const Readout readout = Lines(dataSet);
    EXPECT_EQ(readout.Values().size(), 1u) << dataSet;
    return readout.Values().empty() ? ReadoutValue() : readout.Values().front();
}

const std::string kBlock =
    "/ABC5METER\r\n\x02"
    "F.F(00)\r\n0.0.0(20481632)\r\n1.8.0(000123.4*kWh)\r\n!\r\n\x03";
const std::string kTelegram =
    "/ABC5\\2P1-01\r\n\r\n1-3:0.2.8(50)\r\n0-0:96.1.1(303132)\r\n1-0:1.8.1(000104.250*kWh)\r\n"
    "0-1:24.2.1(260302101500W)(00012.345*m3)\r\n!";

}  // namespace

// ---- frames

TEST(ReadoutFrame, BlockWithItsCheckCharacterIsRead) {
    const Readout readout = Parsed(kBlock + "h");
    EXPECT_EQ(readout.Identification(), "ABC5METER");
    ASSERT_EQ(readout.Values().size(), 3u);
    EXPECT_EQ(Text(readout, "1.8.0"), "000123.4");
    EXPECT_EQ(readout.Find("1.8.0")->unit, "kWh");
}

TEST(ReadoutFrame, WrongCheckCharacterIsRefusedAndNamed) {
    EXPECT_EQ(Problem(kBlock + "g"), "its block check character is wrong: 0x67 received, 0x68 computed");
}

// But for the ETX: without it there is no check.
TEST(ReadoutFrame, AnyChangedByteOfABlockIsRefused) {
    for (std::size_t at = kBlock.find('\x02') + 1; at < kBlock.size() - 1; ++at) {
        std::string damaged = kBlock + "h";
        damaged[at] = static_cast<char>(damaged[at] ^ 0x01);
        std::string problem;
        EXPECT_FALSE(Readout::Parse(damaged, &problem)) << "byte " << at;
        EXPECT_NE(problem, "");
    }
}

TEST(ReadoutFrame, BlockIsCheckedWithoutStxAndWithoutIdentification) {
    std::string withoutStx = kBlock + "h";
    withoutStx.erase(withoutStx.find('\x02'), 1);
    EXPECT_EQ(Text(Parsed(withoutStx), "0.0.0"), "20481632");
    EXPECT_EQ(Text(Parsed(kBlock.substr(kBlock.find('\x02')) + "h"), "0.0.0"), "20481632");
    const std::string bare = withoutStx.substr(withoutStx.find("F.F"));
    EXPECT_EQ(Text(Parsed(bare), "0.0.0"), "20481632");
    EXPECT_NE(Problem(bare.substr(bare.find('\n') + 1)).find("check character"), std::string::npos);
}

TEST(ReadoutFrame, CheckCharacterMayLookLikeAnything) {
    // It is an STX here; what follows is behind the end all the same.
    const std::string block =
        "\x02"
        "1.8.0(00*2)\r\n!\r\n\x03\x02";
    EXPECT_EQ(Text(Parsed(block + "1.8.0(99)\r\n!\r\n"), "1.8.0"), "00");
}

TEST(ReadoutFrame, EtxAndCheckCharacterMayBeMissing) {
    EXPECT_EQ(Parsed(kBlock).Values().size(), 3u);                               // ETX is the last byte
    EXPECT_EQ(Parsed(kBlock.substr(0, kBlock.size() - 1)).Values().size(), 3u);  // no ETX
    EXPECT_EQ(Parsed(kBlock.substr(0, kBlock.size() - 3)).Values().size(), 3u);  // "!" is the last byte
}

TEST(ReadoutFrame, TelegramWithItsCrcIsRead) {
    for (const char* crc : {"7C00", "7c00", "7C00\r\n", "7C00 \r\n"}) {
        const Readout readout = Parsed(kTelegram + crc);
        EXPECT_EQ(readout.Identification(), "ABC5\\2P1-01");
        EXPECT_EQ(Text(readout, "1.8.1"), "000104.250");
    }
}

TEST(ReadoutFrame, BlocksHaveNoCrc) {
    EXPECT_EQ(Text(Parsed("/ABC5METER\r\n\x02"
                          "1.8.0(1)\r\n!7C00\r\n"),
                   "1.8.0"),
              "1");
}

TEST(ReadoutFrame, CrcMayHaveFewerThanFourDigits) {
    const std::string telegram = "/ABC5\\2P1\r\n\r\n1-0:1.8.0(004*kWh)\r\n!";
    EXPECT_EQ(Text(Parsed(telegram + "0650\r\n"), "1.8.0"), "004");
    EXPECT_EQ(Text(Parsed(telegram + "650\r\n"), "1.8.0"), "004");
}

TEST(ReadoutFrame, WrongCrcIsRefusedAndNamed) {
    EXPECT_EQ(Problem(kTelegram + "7C01\r\n"), "its CRC is wrong: 7C01 received, 7C00 computed");
    EXPECT_EQ(Problem(kTelegram + "7C\r\n"), "its CRC is wrong: 007C received, 7C00 computed");
    EXPECT_EQ(Problem(kTelegram + "7CO0\r\n"), "its CRC is wrong: no CRC received, 7C00 computed");
    EXPECT_EQ(Problem(kTelegram + "07C00\r\n"), "its CRC is wrong: no CRC received, 7C00 computed");
}

TEST(ReadoutFrame, AnyChangedByteOfATelegramIsRefused) {
    for (std::size_t at = 0; at < kTelegram.size(); ++at) {
        std::string damaged = kTelegram + "7C00\r\n";
        damaged[at] = static_cast<char>(damaged[at] ^ 0x01);
        std::string problem;
        EXPECT_FALSE(Readout::Parse(damaged, &problem)) << "byte " << at;
    }
}

TEST(ReadoutFrame, TelegramWithoutACrcIsRead) {
    EXPECT_EQ(Parsed(kTelegram).Values().size(), 4u);
    EXPECT_EQ(Parsed(kTelegram + "\r\n").Values().size(), 4u);
}

TEST(ReadoutFrame, TelegramWhoseBeginningIsMissingIsRefused) {
    EXPECT_EQ(Problem(kTelegram.substr(kTelegram.find("1-3:")) + "7C00\r\n"),
              "its beginning is missing: it has a CRC but no identification line");
}

TEST(ReadoutFrame, CutOffIsRefusedWhereverItIsCut) {
    for (const std::string& whole : {kBlock + "h", kTelegram + "7C00\r\n"})
        for (std::size_t length = whole.find('\n') + 1; length <= whole.find('!'); ++length)
            EXPECT_EQ(Problem(whole.substr(0, length)), "it is cut off: the end line \"!\" is missing")
                << length;
}

TEST(ReadoutFrame, WhatIsNoReadoutIsRefused) {
    EXPECT_EQ(Problem(""), "it is empty");
    for (const std::string& bytes : {"hello\r\n"s, "\r\n\r\n"s, "!\r\n"s, "no meter here!\r\n"s,
                                     std::string(5000, '\0'), std::string(5000, '\xFF'), "/?!\r\n"s})
        EXPECT_EQ(Problem(bytes), "it holds no answer of a meter");
    EXPECT_EQ(Problem("/ABC5METER\r\n!\r\n"), "it holds no value");
    EXPECT_EQ(Problem("/ABC5METER\r\n\x02!\r\n"), "it holds no value");
}

TEST(ReadoutFrame, LastCompleteTelegramCounts) {
    const auto telegram = [](const char* value) {
        return "/ABC5METER\r\n\r\n1-0:1.8.1*255("s + value + ")\r\n!\r\n";
    };
    EXPECT_EQ(Text(Parsed(telegram("1") + telegram("2")), "1.8.1"), "2");
    EXPECT_EQ(Text(Parsed(telegram("1") + telegram("2") + "/ABC5METER\r\n\r\n1-0:1.8.1*255("), "1.8.1"), "2");
    EXPECT_EQ(Text(Parsed("/ABC5METER\r\n1-0:1.8.1*255(1)\r\n2.8.1(7)\r\n" + telegram("2")), "2.8.1"),
              "(not sent)");
    EXPECT_EQ(Text(Parsed(telegram("1") + kBlock + "h"), "1.8.0"), "000123.4");
    // An earlier damaged one does not count, the last one does.
    EXPECT_EQ(Text(Parsed(kTelegram + "FFFF\r\n" + telegram("2")), "1.8.1"), "2");
    EXPECT_EQ(Problem(telegram("1") + kTelegram + "FFFF\r\n"),
              "its CRC is wrong: FFFF received, 7C00 computed");
}

TEST(ReadoutFrame, BlockBehindABlockThatWasCutOffIsATelegramOfItsOwn) {
    const Readout readout = Parsed(
        "/ABC5METER\r\n\x02"
        "1.8.0(1)\r\n2.8.0(2)\r\n\x02"
        "1.8.0(3)\r\n!\r\n");
    EXPECT_EQ(readout.Identification(), "");
    EXPECT_EQ(Text(readout, "1.8.0"), "3");
    EXPECT_EQ(Text(readout, "2.8.0"), "(not sent)");
}

TEST(ReadoutFrame, BytesBehindTheEndAreIgnored) {
    for (const std::string& rest : {"    417\r\n"s + std::string(33, '\xFF') + "\r\n", "1.8.0(9)\r\n!\r\n"s,
                                    "\0\0\0"s, "\r\nETX \x03 in the middle\r\n"s}) {
        EXPECT_EQ(Text(Parsed("/ABC5METER\r\n1.8.0(5)\r\n!\r\n" + rest), "1.8.0"), "5");
        EXPECT_EQ(Text(Parsed(kBlock + "h" + rest), "1.8.0"), "000123.4");
    }
}

TEST(ReadoutFrame, RequestsAcknowledgementsAndNoiseBeforeTheAnswerAreIgnored) {
    for (const std::string& noise :
         {"\0\0\0\0"s, "\xFF\xFE"s, "/?!\r\n"s, "/?20481632!\r\n"s, "\r\n\r\n"s, "connected\r\n"s}) {
        const Readout readout = Parsed(noise + kBlock + "h");
        EXPECT_EQ(readout.Identification(), "ABC5METER");
        EXPECT_EQ(readout.Values().size(), 3u);
    }
    std::string acknowledged = kBlock + "h";
    acknowledged.insert(acknowledged.find('\x02'),
                        "\x06"
                        "050\r\n");
    EXPECT_EQ(Parsed(acknowledged).Identification(), "ABC5METER");
}

TEST(ReadoutFrame, LineEndsMayBeOfAnyKind) {
    for (const char* end : {"\r\n", "\n", "\r"}) {
        const std::string line = end;
        const Readout readout =
            Parsed("/ABC5 METER " + line + "1.8.0(1)" + line + "2.8.0(2)" + line + "!" + line);
        EXPECT_EQ(readout.Identification(), "ABC5 METER");
        EXPECT_EQ(Text(readout, "2.8.0"), "2");
    }
}

TEST(ReadoutFrame, EndMarkCountsOutsideOfValuesOnly) {
    const Readout readout = Parsed("/ABC5METER\r\n0.2.0(V1!)\r\n1.8.0(7)!\r\n2.8.0(8)\r\n");
    EXPECT_EQ(Text(readout, "0.2.0"), "V1!");
    EXPECT_EQ(Text(readout, "1.8.0"), "7");
    EXPECT_EQ(Text(readout, "2.8.0"), "(not sent)");
}

// ---- data sets

TEST(ReadoutData, SeveralDataSetsMayStandOnOneLine) {
    const Readout readout = Parsed(
        "\x02"
        "6.8(0109.730*MWh)6.26(02740.18*m3)3:14(7)\r\n!\r\n");
    ASSERT_EQ(readout.Values().size(), 3u);
    EXPECT_EQ(Text(readout, "6.8"), "0109.730");
    EXPECT_EQ(Text(readout, "6.26"), "02740.18");
    EXPECT_EQ(Text(readout, "3:14"), "7");
}

TEST(ReadoutData, AddressesBecomeTheNamesOfRecords) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"1.8.0", "1.8.0"},
        {"1-0:1.8.0", "1.8.0"},
        {"1-0:1.8.0*255", "1.8.0"},
        {"1-0:1.8.0.255", "1.8.0"},
        {"1.8.0.255", "1.8.0"},
        {"12-34:1.8.0*255", "1.8.0"},
        {"0-0:96.1.255*255", "96.1.255"},
        {"0-0:96.1.255", "96.1.255"},
        {"1-0:1.8.0*01", "1.8.0*01"},
        {"1-0:1.8.0&01", "1.8.0*01"},
        {"1.8.0*1", "1.8.0*01"},
        {"1.8.0*99", "1.8.0*99"},
        {"1.8.0*101", "1.8.0*101"},
        {"F.F", "F.F"},
        {"0-0:C.51.2*03", "C.51.2*03"},
        {"0-0:F.F.0*255", "F.F.0"},
        {"6.8*01", "6.8*01"},
        {"3:14", "3:14"},
        {"a-0:1.8.0", "a-0:1.8.0"},
        {"P.01", "P.01"},
    };
    for (const auto& [address, name] : cases) {
        const ReadoutValue value = Only(address + "(42)");
        EXPECT_EQ(value.address, address);
        EXPECT_EQ(value.name, name) << address;
    }
}

TEST(ReadoutData, FirstOfTwoAddressesHasTheSharedName) {
    const Readout readout = Lines(
        "0-1:24.2.1(260302101500W)(00001.000*m3)\r\n0-2:24.2.1(260302101500W)(00002.000*m3)\r\n"
        "0-0:96.1.0(1)\r\n1-0:96.1.0*255(2)");
    EXPECT_EQ(Text(readout, "24.2.1"), "00001.000");
    EXPECT_EQ(Text(readout, "0-1:24.2.1"), "00001.000");
    EXPECT_EQ(Text(readout, "0-2:24.2.1"), "00002.000");
    EXPECT_EQ(Text(readout, "96.1.0"), "1");
    EXPECT_EQ(Text(readout, "1-0:96.1.0"), "2");
    EXPECT_EQ(Text(readout, "1-0:96.1.0*255"), "2");
}

TEST(ReadoutData, NamesAreFoundIgnoringCaseAndOnlyWhole) {
    const Readout readout = Lines("C.1(77)\r\n1.8.0(5)");
    EXPECT_EQ(Text(readout, "c.1"), "77");
    for (const char* missing : {"", "1.8", "1.8.0.", "8.0", "1.8.0*255x", "-time", "1.8.0-time", "time"})
        EXPECT_EQ(Text(readout, missing), "(not sent)") << missing;
}

TEST(ReadoutData, ValueUnitAndTimeComeFromTheirGroups) {
    struct Case {
        const char* dataSet;
        const char* value;
        const char* unit;
        const char* time;
    };
    const std::vector<Case> cases = {
        {"1.8.0(000123.4*kWh)", "000123.4", "kWh", ""},
        {"1.8.0(004817632*Wh)", "004817632", "Wh", ""},
        {"31.7.0(+000.6*A)", "+000.6", "A", ""},
        {"0.0.0(204816-3207115)", "204816-3207115", "", ""},
        {"0.2.0(V02.17#0A1B2C3D)", "V02.17#0A1B2C3D", "", ""},
        {"3.8.0(1*kVArh)", "1", "kVArh", ""},
        {"1.6.2*01()", "", "", ""},
        {"96.13.0()", "", "", ""},
        {"1.8.0(*kWh)", "", "kWh", ""},
        // the value before its time
        {"1.6.0(02.714*kW)(2603100930)", "02.714", "kW", "2603100930"},
        {"1.6.0(02.714)(2603100930)", "02.714", "", "2603100930"},
        {"1.6.0*01(02.714*kW)(12603100930)", "02.714", "kW", "12603100930"},
        // the time before its value
        {"24.2.1(260302151507W)(00417.107*m3)", "00417.107", "m3", "260302151507W"},
        {"24.2.1(700101000000W)(00000000)", "00000000", "", "700101000000W"},
        {"24.2.1(992525252525W)(00001.5)", "00001.5", "", "992525252525W"},
        {"1.6.0(260509121507S)(02.417*kW)", "02.417", "kW", "260509121507S"},
        {"1.6.0(2605091215)(02.417*kW)", "02.417", "kW", "2605091215"},
        {"1.6.0(20260509121507)(02.417*kW)", "02.417", "kW", "20260509121507"},
        {"1.6.0(260501000000S)(260417184510S)(03.412*kW)", "03.412", "kW", "260417184510S"},
        {"98.1.0(260701000000S)(000051.204*kWh)(000017.330*kWh)", "000051.204", "kWh", "260701000000S"},
        // a time alone, or with nothing measured behind it, is the value
        {"1.0.0(260302181530W)", "260302181530W", "", ""},
        {"C.51.2(1250716101207)", "1250716101207", "", ""},
        {"C.51.2(250716101207)(1)", "250716101207", "", ""},
        {"C.51.2(250716101207W)(text)", "250716101207W", "", ""},
        // numbers that only look like times
        {"0.0.0(0000012345)(12.5*kW)", "0000012345", "", ""},
        {"1.8.0(2613100930)(12.5*kW)", "2613100930", "", ""},
        {"1.8.0(31603100930)(12.5*kW)", "31603100930", "", ""},
        // lists
        {"99.97.0(3)(0-0:96.7.19)(251109031422W)(0000001264*s)", "3", "", ""},
        {"98.1.0(3)(1-0:1.6.0)(1-0:1.6.0)(260501000000S)(260417184510S)(03.412*kW)", "3", "", ""},
    };
    for (const Case& c : cases) {
        const ReadoutValue value = Only(c.dataSet);
        EXPECT_EQ(value.value, c.value) << c.dataSet;
        EXPECT_EQ(value.unit, c.unit) << c.dataSet;
        EXPECT_EQ(value.time, c.time) << c.dataSet;
    }
}

TEST(ReadoutData, TimeOfAValueIsFoundBesideIt) {
    const Readout readout =
        Lines("1-0:1.6.0*255(02.714*kW)(2603100930)\r\n0-1:24.2.1(260302151507W)(0.107*m3)");
    EXPECT_EQ(Text(readout, "1.6.0-time"), "2603100930");
    EXPECT_EQ(Text(readout, "24.2.1-TIME"), "260302151507W");
}

TEST(ReadoutData, GroupsOfTheNextLineBelongToTheDataSetBefore) {
    const Readout readout = Lines("1.8.0(1)\r\n1.6.0(2605091215)\r\n(02.417*kW)\r\n2.8.0(2)");
    ASSERT_EQ(readout.Values().size(), 3u);
    EXPECT_EQ(Text(readout, "1.6.0"), "02.417");
    EXPECT_EQ(Text(readout, "2.8.0"), "2");
}

TEST(ReadoutData, HourlyValueOfASubMeterIsFoundUnderBothAddresses) {
    for (const char* value : {"00417.250", "00417250"}) {
        const Readout readout =
            Lines("0-1:24.1.0(3)\r\n0-1:24.3.0(260302190000)(00)(60)(1)(0-1:24.2.1)(m3)\r\n("s + value +
                  ")\r\n0-1:24.4.0(1)");
        for (const char* name : {"24.3.0", "24.2.1", "0-1:24.3.0", "0-1:24.2.1"}) {
            EXPECT_EQ(Text(readout, name), value) << name;
            EXPECT_EQ(readout.Find(name)->unit, "m3");
        }
        EXPECT_EQ(Text(readout, "24.2.1-time"), "260302190000");
        EXPECT_EQ(Text(readout, "24.4.0"), "1");
    }
}

TEST(ReadoutData, ListsOfSeveralColumnsAreNoValueOfASubMeter) {
    const Readout readout = Lines("0-1:24.3.0(260302190000)(00)(60)(2)(0-1:24.2.1)(m3)(5.5)");
    EXPECT_EQ(Text(readout, "24.3.0"), "5.5");
    EXPECT_EQ(Text(readout, "24.2.1"), "(not sent)");
}

TEST(ReadoutData, LinesWithoutAValueSayNothing) {
    const Readout readout = Lines("header\r\n1.8.0(1) trailing words\r\n2.8.0\r\n3.8.0(3)");
    EXPECT_EQ(readout.Values().size(), 2u);
    EXPECT_EQ(Text(readout, "3.8.0"), "3");
}

TEST(ReadoutData, DamagedLinesAreRefusedAndShown) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"1.8.0(12", "it is damaged at \"1.8.0(12\": its parentheses do not match"},
        {"1.8.0(12\r\n2.8.0(1)", "it is damaged at \"1.8.0(12\": its parentheses do not match"},
        {"1.8.0 12)", "it is damaged at \"1.8.0 12)\": its parentheses do not match"},
        {"1.8.0(12(34)", "it is damaged at \"1.8.0(12(34)\": its parentheses do not match"},
        {"1.8.0(12))", "it is damaged at \")\": its parentheses do not match"},
        {"(12)", "it is damaged at \"(12)\": it has a value without an address"},
        {"1.8.0(1\x01"
         "2)",
         "it is damaged at \"1.8.0(1?2)\": it holds bytes that are no text"},
        {"1.8.0(1\0"
         "2)"s,
         "it is damaged at \"1.8.0(1?2)\": it holds bytes that are no text"},
        {"1.8\x1B.0(12)", "it is damaged at \"1.8?.0(12)\": it holds bytes that are no text"},
    };
    for (const auto& [lines, problem] : cases)
        EXPECT_EQ(Problem("/ABC5METER\r\n\x02" + lines + "\r\n!\r\n"), problem);
}

TEST(ReadoutData, NoiseBeforeAnAddressIsNoPartOfIt) {
    EXPECT_EQ(Text(Lines("\0\0\xFF 1.8.0(12)"s), "1.8.0"), "12");
}

// ---- limits

TEST(ReadoutLimits, LargerThan64MegabytesIsRefused) {
    EXPECT_EQ(Problem(std::string(Readout::kMostBytes + 1, ' ')), "it is larger than 64 MiB");
}

TEST(ReadoutLimits, TooManyValuesAreRefused) {
    std::string lines;
    for (std::size_t i = 0; i < Readout::kMostValues; ++i)
        lines += "a(1)";
    EXPECT_EQ(Parsed("/ABC5METER\r\n" + lines + "\r\n!\r\n").Values().size(), Readout::kMostValues);
    EXPECT_EQ(Problem("/ABC5METER\r\n" + lines + "a(1)\r\n!\r\n"), "it holds more than 100000 values");
}

TEST(ReadoutLimits, LongListsCostNoMore) {
    std::string groups;
    for (int i = 0; i < 1000000; ++i)
        groups += "(1)";
    EXPECT_EQ(Only("P.01" + groups).value, "1");
}

// ---- the meter interface

class ReadoutInterfaceTest : public testing::Test {
protected:
    // The text of a name as the database would receive it; the buffer must stay whole behind `size`.
    std::string Search(const char* name, int size = 256) {
        std::array<char, 300> buffer;
        buffer.fill('#');
        buffer[0] = '\0';
        std::string nameCopy = name;
        char status[] = "U";
        m_found = m_interface.SearchValue(nameCopy.data(), buffer.data(), size, status);
        for (auto at = static_cast<std::size_t>(size); at < buffer.size(); ++at)
            EXPECT_EQ(buffer[at], '#') << at;
        return buffer.data();
    }

    Readout m_readout =
        Lines("0.0.0(20481632)\r\n31.7.0(+000.6*A)\r\n1.6.2()\r\n1.6.0(02.4*kW)(2603100930)\r\n96.13.0(" +
              std::string(255, 'a') + ")\r\n96.13.1(" + std::string(256, 'a') + ")");
    MeterType m_type{"Electricity", "\x01\x65", {1}, false, false, {{"MeterTypeDialog[0]", "look around"}}};
    ReadoutInterface m_interface{m_readout, m_type};
    bool m_found = false;
};

TEST_F(ReadoutInterfaceTest, GivesValuesAsTheMeterSentThem) {
    EXPECT_TRUE(m_interface.OpenParser(3));
    EXPECT_EQ(Search("31.7.0"), "+000.6");
    EXPECT_TRUE(m_found);
    EXPECT_EQ(Search("1.6.0-time"), "2603100930");
    EXPECT_TRUE(m_found);
    EXPECT_TRUE(m_interface.CloseParser());
}

TEST_F(ReadoutInterfaceTest, EmptyValueIsAValue) {
    EXPECT_EQ(Search("1.6.2"), "");
    EXPECT_TRUE(m_found);
}

TEST_F(ReadoutInterfaceTest, GivesNothingForWhatTheMeterDidNotSend) {
    EXPECT_EQ(Search("1.8.0"), "");
    EXPECT_FALSE(m_found);
}

TEST_F(ReadoutInterfaceTest, NeverGivesAPartOfAValue) {
    EXPECT_EQ(Search("96.13.0"), std::string(255, 'a'));
    EXPECT_TRUE(m_found);
    EXPECT_EQ(Search("96.13.1"), "");
    EXPECT_FALSE(m_found);
    EXPECT_EQ(Search("0.0.0", 8), "");
    EXPECT_FALSE(m_found);
    EXPECT_EQ(Search("0.0.0", 9), "20481632");
    EXPECT_TRUE(m_found);
}

TEST_F(ReadoutInterfaceTest, DescribesTheTypeOfTheMeter) {
    EXPECT_EQ(m_interface.GetActualMeterType(nullptr), ReadoutInterface::kMeterType);
    char name[40];
    char maker[4];
    int number = 0;
    unsigned char functions[256];
    std::memset(functions, 0xEE, sizeof functions);
    ASSERT_TRUE(m_interface.GetMeterType(ReadoutInterface::kMeterType, &number, name, maker, functions));
    EXPECT_EQ(number, ReadoutInterface::kMeterType);
    EXPECT_STREQ(name, "Electricity");
    EXPECT_STREQ(maker, "ABC");
    EXPECT_EQ(functions[0], 1);
    EXPECT_EQ(functions[1], 101);
    EXPECT_EQ(functions[2], 0);
    EXPECT_TRUE(m_interface.GetMeterType(ReadoutInterface::kMeterType, nullptr, nullptr, nullptr, nullptr));
    EXPECT_FALSE(
        m_interface.GetMeterType(ReadoutInterface::kMeterType + 1, nullptr, name, nullptr, functions));
}

TEST_F(ReadoutInterfaceTest, GivesTheTextsOfTheType) {
    char key[] = "MeterTypeDialog[0]";
    char unknown[] = "MeterTypeDialog[1]";
    char text[6] = "???";
    EXPECT_FALSE(m_interface.GetSpecialData(unknown, text, 6, nullptr));
    EXPECT_STREQ(text, "???");
    EXPECT_TRUE(m_interface.GetSpecialData(key, text, 6, nullptr));
    EXPECT_STREQ(text, "look ");
}

// ---- whose readout it is

TEST(ReadoutIdentity, NumbersAreComparedAsMetersWriteThem) {
    struct Case {
        const char* meterNumber;
        const char* lines;
        Identity identity;
    };
    const std::vector<Case> cases = {
        {"20481632", "0.0.0(20481632)", Identity::Same},
        {"20481632", "1-0:0.0.0*255(0020481632)", Identity::Same},
        {"0020481632", "C.1(20481632)", Identity::Same},
        {"20481632", "C.1(ABC0020481632)", Identity::Same},
        {"abc20481632", "C.1.0(ABC20481632)", Identity::Same},
        {"ABC20481632", "0.0.0(0020481632)", Identity::Same},
        {"20481632", "0.0.0(20481633)", Identity::Other},
        {"20481632", "0.0.0(204816320)", Identity::Other},
        {"81632", "0.0.0(20481632)", Identity::Other},  // too short to tell by its end
        {"481632", "0.0.0(20481632)", Identity::Same},
        // letters in hexadecimal codes, as smart meters send them
        {"20481632", "0-0:96.1.1(41424332303438313633323A)\r\n0-1:96.1.0(4142433230343831363332)",
         Identity::Same},
        {"20481633", "0-0:96.1.1(4142433230343831363332)", Identity::Other},
        {"414243444546", "96.1.0(414243444546)", Identity::Same},  // a number that could be letters
        {"20481632", "0.0.0(1)\r\nC.1(20481632)", Identity::Same},
        // nothing to compare
        {"", "0.0.0(20481632)", Identity::Unknown},
        {"000", "0.0.0(20481632)", Identity::Unknown},
        {"20481632", "1.8.0(5)", Identity::Unknown},
        {"20481632", "0.0.0(00000000)\r\n96.1.0()", Identity::Unknown},
    };
    for (const Case& c : cases)
        EXPECT_EQ(CompareIdentity(c.meterNumber, Lines(c.lines)), c.identity)
            << c.meterNumber << " / " << c.lines;
}

TEST(ReadoutIdentity, NumbersAreShownAsLetters) {
    EXPECT_EQ(NumbersOf(Lines("0-0:96.1.1(4142433230343831363332)\r\n0.0.0(77)\r\n1.8.0(5)")),
              (std::vector<std::string>{"ABC20481632", "77"}));
}
