// Files of odd shapes: the store reads back what a file has, keeps every byte of it when it is saved
// unchanged, and has every byte again when a change is taken back.
#include <gtest/gtest.h>

#include <cstring>
#include <ostream>

#include "MeterUtil/MeterIniFile.h"
#include "tests/support/TestFolder.h"

namespace {

struct Value {
    const char* section;
    const char* key;
    std::string value;
};

struct File {
    std::string bytes;
    std::vector<Value> values;  // that the store must find in it
};

struct Shape {
    const char* name;
    File (*make)();  // made when it is needed: some are large
};

void PrintTo(const Shape& shape, std::ostream* stream) {
    *stream << shape.name;
}

// A literal with the zero bytes in it.
template <std::size_t size>
std::string Bytes(const char (&text)[size]) {
    return {text, size - 1};
}

std::string EveryByte() {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

std::string Repeated(int times, const std::string& text) {
    std::string bytes;
    for (int i = 0; i < times; ++i)
        bytes += text;
    return bytes;
}

const std::string kMark = "\xEF\xBB\xBF";
constexpr int kMegabyte = 1000000;

const Shape kShapes[] = {
    // ---- ends
    {"EmptyFile",
     [] {
         return File{"", {}};
     }},
    {"OneLf",
     [] {
         return File{"\n", {}};
     }},
    {"OneCrLf",
     [] {
         return File{"\r\n", {}};
     }},
    {"OneCr",
     [] {
         return File{"\r", {}};
     }},
    {"LfThenCr",
     [] {
         return File{"\n\r", {}};
     }},
    {"OneBlank",
     [] {
         return File{" ", {}};
     }},
    {"TextWithoutLineEnd",
     [] {
         return File{"no line end", {}};
     }},
    {"HeaderWithoutLineEnd",
     [] {
         return File{"[a]", {}};
     }},
    {"EntryWithoutLineEnd",
     [] {
         return File{"[a]\r\nk=1", {{"a", "k", "1"}}};
     }},
    {"EmptyValueWithoutLineEnd",
     [] {
         return File{"[a]\r\nk=", {{"a", "k", ""}}};
     }},
    {"EndsInCr",
     [] {
         return File{"[a]\nk=1\r", {{"a", "k", "1\r"}}};
     }},
    {"EndsInBlankLines",
     [] {
         return File{"[a]\r\nk=1\r\n\r\n \r\n\t\r\n", {{"a", "k", "1"}}};
     }},

    // ---- line ends
    {"LfAlone",
     [] {
         return File{"[a]\nk=1\n[b]\nk=2\n", {{"a", "k", "1"}, {"b", "k", "2"}}};
     }},
    {"CrLfAlone",
     [] {
         return File{"[a]\r\nk=1\r\n[b]\r\nk=2\r\n", {{"a", "k", "1"}, {"b", "k", "2"}}};
     }},
    {"MixedLineEnds",
     [] {
         return File{"[a]\nk=1\r\nm=2\n\r\n[b]\r\nn=3\n", {{"a", "m", "2"}, {"b", "n", "3"}}};
     }},
    {"LoneCrInAValue",
     [] {
         return File{"[a]\nk=1\rm=2\nn=3\n", {{"a", "k", "1\rm=2"}, {"a", "n", "3"}}};
     }},
    {"LoneCrInAKey",
     [] {
         return File{"[a]\r\nk\rk=1\r\n", {{"a", "k\rk", "1"}}};
     }},
    {"LoneCrBehindAHeader",
     [] {
         return File{"[a]\rk=1\n[b]\nk=2\n", {{"b", "k", "2"}}};
     }},
    {"CrCrLf",
     [] {
         return File{"[a]\r\r\nk=1\r\r\n", {{"a", "k", "1\r"}}};
     }},

    // ---- byte order marks and encodings
    {"MarkAlone",
     [] {
         return File{kMark, {}};
     }},
    {"MarkBeforeAnEmptyLine",
     [] {
         return File{kMark + "\n", {}};
     }},
    {"MarkBeforeAHeader",
     [] {
         return File{kMark + "[a]\r\nk=1\r\n", {{"a", "k", "1"}}};
     }},
    {"TwoMarks",
     [] {
         return File{kMark + kMark + "[a]\n[b]\nk=1\n", {{"b", "k", "1"}}};
     }},
    {"MarkInTheMiddle",
     [] {
         return File{"[a]\nk=1\n" + kMark + "m=2\n", {{"a", "\xEF\xBB\xBFm", "2"}}};
     }},
    {"HalfAMark",
     [] {
         return File{"\xEF\xBB", {}};
     }},
    {"Utf16LittleEndian",
     [] {
         return File{Bytes("\xFF\xFE[\0a\0]\0\r\0\n\0k\0=\0001\0\r\0\n\0"), {}};
     }},
    {"Utf16BigEndian",
     [] {
         return File{Bytes("\xFE\xFF\0[\0a\0]\0\r\0\n\0k\0=\0001"), {}};
     }},
    {"BytesAbove127",
     [] {
         return File{
             "[Z\xE4hler]\r\nStra\xDF"
             "e=M\xFChle\r\n",
             {{"z\xE4hler",
               "STRA\xDF"
               "E",
               "M\xFChle"}}};
     }},
    {"EveryByteInAValue",
     [] {
         // Of the 256 the LF alone ends the line.
         const std::string all = EveryByte();
         return File{"[a]\nk=" + all + "\n", {{"a", "k", all.substr(0, '\n')}}};
     }},

    // ---- zero bytes
    {"OneZeroByte",
     [] {
         return File{Bytes("\0"), {}};
     }},
    {"ZeroBytesInValues",
     [] {
         return File{Bytes("[a]\r\nk=1\0"
                           "2\r\nm=\0\r\n"),
                     {{"a", "k",
                       Bytes("1\0"
                             "2")},
                      {"a", "m", Bytes("\0")}}};
     }},
    {"ZeroBytesBetweenLines",
     [] {
         return File{Bytes("[a]\r\n\0\r\nk=1\r\n\0\0"), {{"a", "k", "1"}}};
     }},

    // ---- headers
    {"TextBehindHeaders",
     [] {
         return File{"[a] ; old ]\nk=1\n[b]x=y\nk=2\n", {{"a", "k", "1"}, {"b", "k", "2"}}};
     }},
    {"BlanksAroundHeaders",
     [] {
         return File{" \t[a] \t\r\nk=1\r\n[ b ]\r\nk=2\r\n", {{"a", "k", "1"}, {" b ", "k", "2"}}};
     }},
    {"HeaderWithoutClosingBracket",
     [] {
         return File{"[a]\nk=1\n[b\nm=2\n", {{"a", "k", "1"}, {"a", "m", "2"}}};
     }},
    {"EmptyHeaderAndNestedOne",
     [] {
         return File{"[]\nk=1\n[[b]]\nk=2\n", {{"", "k", "1"}, {"[b", "k", "2"}}};
     }},
    {"HeadersAlone",
     [] {
         return File{"[a]\n[b]\n[c]\n", {}};
     }},
    {"LinesBeforeTheFirstHeader",
     [] {
         return File{"k=0\n;note\n\n[a]\nk=1\n", {{"a", "k", "1"}}};
     }},
    {"DuplicateSections",
     [] {
         return File{"[a]\nk=1\n[b]\n[A]\nk=2\nonly=3\n", {{"a", "k", "1"}, {"A", "k", "1"}}};
     }},

    // ---- entries
    {"DuplicateKeys",
     [] {
         return File{"[a]\nk=1\nK=2\nk=3\n", {{"a", "k", "1"}, {"a", "K", "1"}}};
     }},
    {"BlanksAroundEquals",
     [] {
         return File{"[a]\n k\t = 1 \n\tm=\t2\t\n", {{"a", "k", " 1 "}, {"a", "m", "\t2\t"}}};
     }},
    {"SeveralEquals",
     [] {
         return File{"[a]\nk==1=2\n==3\n=4\n", {{"a", "k", "=1=2"}}};
     }},
    {"CommentsEverywhere",
     [] {
         return File{";1\n[a]\n;k=0\n  ; k=0\nk=1;2\n#k=3\n;", {{"a", "k", "1;2"}, {"a", "#k", "3"}}};
     }},
    {"LinesThatAreNothing",
     [] {
         return File{"[a]\ntext\n \n=\n]\nk=1\nmore text\n", {{"a", "k", "1"}}};
     }},
    {"QuotesAndCommas",
     [] {
         return File{"[#_1]\r\n1.8.0=RD,U,\"8.1 kWh,C0;9\",,\"all \"\" tariffs\r\n",
                     {{"#_1", "1.8.0", "RD,U,\"8.1 kWh,C0;9\",,\"all \"\" tariffs"}}};
     }},

    // ---- sizes
    {"ValueOfAMegabyte",
     [] {
         const std::string value(kMegabyte, 'y');
         return File{"[a]\r\nk=" + value + "\r\nm=2", {{"a", "k", value}, {"a", "m", "2"}}};
     }},
    {"KeyOfAMegabyte",
     [] {
         return File{"[a]\n" + std::string(kMegabyte, 'x') + "=1\nk=2\n", {{"a", "k", "2"}}};
     }},
    {"HeaderOfAMegabyte",
     [] {
         return File{"[" + std::string(kMegabyte, 's') + "]\nk=1\n[a]\nk=2\n", {{"a", "k", "2"}}};
     }},
    {"BlanksOfAMegabyte",
     [] {
         return File{"[a]\nk" + std::string(kMegabyte, ' ') + "=1\n", {{"a", "k", "1"}}};
     }},
    {"MillionEmptyLines",
     [] {
         return File{std::string(kMegabyte, '\n') + "[a]\nk=1\n", {{"a", "k", "1"}}};
     }},
    {"ManySectionsOfOneName",
     [] {
         return File{Repeated(100000, "[a]\nk=1\n"), {{"a", "k", "1"}}};
     }},
    {"ManyEntriesOfOneKey",
     [] {
         return File{"[a]\n" + Repeated(100000, "k=1\n") + "m=2\n", {{"a", "m", "2"}}};
     }},
};

class MeterIniFileShapes : public testing::TestWithParam<Shape> {
protected:
    void SetUp() override { m_folder.Write("a.ini", m_file.bytes); }

    std::wstring Path() const { return m_folder.Wide("a.ini"); }

    // Compared without printing what differs: some files are large.
    testing::AssertionResult SavedAsItWas(CMeterIniFile& store) const {
        if (!store.UpdateFile())
            return testing::AssertionFailure() << "not saved";
        return m_folder.Read("a.ini") == m_file.bytes ? testing::AssertionSuccess()
                                                      : testing::AssertionFailure() << "other bytes";
    }

    bool SavedOtherwise(CMeterIniFile& store) const { return !SavedAsItWas(store); }

    // A new line behind a last one that has no line end gives it one.
    bool EndsWithALineEnd() const { return LineEndForTheLastLine().empty(); }

    std::string LineEndForTheLastLine() const {
        const std::string& bytes = m_file.bytes;
        if (bytes.empty() || bytes == kMark || bytes.back() == '\n')
            return "";
        const std::size_t lf = bytes.find('\n');
        const bool hasLf = lf != std::string::npos && (lf == 0 || bytes[lf - 1] != '\r');
        return hasLf && bytes.back() != '\r' ? "\n" : "\r\n";
    }

    // No call takes the empty name, which a file may have.
    std::vector<Value> WritableValues() const {
        std::vector<Value> values;
        for (const Value& value : m_file.values)
            if (value.section[0] != '\0')
                values.push_back(value);
        return values;
    }

    TestFolder m_folder;
    File m_file = GetParam().make();
};

// What a line or a value can be given by a call: neither zero bytes nor CR.
bool IsOneLine(const std::string& text) {
    return text.find_first_of(Bytes("\0\r\n")) == std::string::npos;
}

std::vector<std::string> LinesOf(std::string bytes) {
    if (bytes.compare(0, kMark.size(), kMark) == 0)
        bytes.erase(0, kMark.size());
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < bytes.size();) {
        const std::size_t lf = bytes.find('\n', start);
        std::string line = bytes.substr(start, lf - start);
        if (lf != std::string::npos && !line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
        start = lf == std::string::npos ? bytes.size() : lf + 1;
    }
    return lines;
}

TEST_P(MeterIniFileShapes, ValuesAndLinesAreReadAsTheFileHasThem) {
    const CMeterIniFile store(Path().c_str());
    std::vector<char> buffer(m_file.bytes.size() + 2, '#');
    const int size = static_cast<int>(buffer.size());
    for (const Value& value : m_file.values) {
        EXPECT_TRUE(store.ReadString(value.section, value.key, buffer.data(), size));
        EXPECT_EQ(std::memcmp(buffer.data(), value.value.c_str(), value.value.size() + 1), 0) << value.key;
    }
    const std::vector<std::string> lines = LinesOf(m_file.bytes);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        ASSERT_TRUE(store.GetString(static_cast<int>(i), buffer.data(), size));
        ASSERT_EQ(std::memcmp(buffer.data(), lines[i].c_str(), lines[i].size() + 1), 0) << "line " << i;
    }
    EXPECT_FALSE(store.GetString(static_cast<int>(lines.size()), buffer.data(), size));
}

TEST_P(MeterIniFileShapes, SavedUnchangedTheyHaveTheSameBytes) {
    CMeterIniFile store(Path().c_str());
    EXPECT_TRUE(SavedAsItWas(store));
    store.ReadString("a", "k", nullptr, 0);
    store.ReadByIndex("a", 2, nullptr, 0, nullptr, 0);
    store.GetString(3, nullptr, 0);
    store.FindBracketLine(1);
    EXPECT_TRUE(SavedAsItWas(store)) << "after reading";
    EXPECT_TRUE(store.UpdateFileBackground());
    EXPECT_TRUE(SavedAsItWas(store)) << "in the background";
}

TEST_P(MeterIniFileShapes, AChangedValueThatIsWrittenBackLeavesNoTrace) {
    CMeterIniFile store(Path().c_str());
    for (const Value& value : WritableValues()) {
        for (const char* const other : {"", "another value, longer than the one that the file has"}) {
            ASSERT_TRUE(store.BackupSection(value.section));
            ASSERT_EQ(store.WriteString(value.section, value.key, other), IsOneLine(value.key));
            const bool isWritable = IsOneLine(value.key) && IsOneLine(value.value);
            EXPECT_TRUE(isWritable ? store.WriteString(value.section, value.key, value.value.c_str())
                                   : store.RestoreSection(value.section));
            EXPECT_TRUE(SavedAsItWas(store)) << value.key;
        }
    }
}

TEST_P(MeterIniFileShapes, ARestoredSectionLeavesNoTrace) {
    CMeterIniFile store(Path().c_str());
    for (const Value& value : WritableValues()) {
        ASSERT_TRUE(store.BackupSection(value.section));
        ASSERT_TRUE(store.WriteString(value.section, "new key", "1"));
        EXPECT_TRUE(SavedOtherwise(store));
        EXPECT_TRUE(store.RestoreSection(value.section));
        if (EndsWithALineEnd()) {
            EXPECT_TRUE(SavedAsItWas(store)) << value.section;
        }
    }
}

TEST_P(MeterIniFileShapes, ALineThatIsPutBackLeavesNoTrace) {
    CMeterIniFile store(Path().c_str());
    const std::vector<std::string> lines = LinesOf(m_file.bytes);
    for (std::size_t i = 0; i < std::min<std::size_t>(lines.size(), 8); ++i) {
        if (!IsOneLine(lines[i]) || (i == 0 && lines[i].compare(0, kMark.size(), kMark) == 0))
            continue;  // the file may have what no call can write
        for (const char* const other : {"x=another line", "[another header]"}) {
            ASSERT_TRUE(store.SetString(static_cast<int>(i), other));
            EXPECT_TRUE(SavedOtherwise(store));
            ASSERT_TRUE(store.SetString(static_cast<int>(i), lines[i].c_str()));
            EXPECT_TRUE(SavedAsItWas(store)) << "line " << i;
        }
    }
}

TEST_P(MeterIniFileShapes, WhatIsAddedAndDeletedLeavesAtMostALineEnd) {
    CMeterIniFile store(Path().c_str());
    ASSERT_TRUE(store.WriteString("new section", "k", "1"));
    EXPECT_TRUE(SavedOtherwise(store));
    m_file.bytes += LineEndForTheLastLine();
    ASSERT_TRUE(store.DeleteSection("new section"));
    EXPECT_TRUE(SavedAsItWas(store));
    for (const Value& value : WritableValues()) {
        ASSERT_TRUE(store.WriteString(value.section, "new key", "1"));
        ASSERT_TRUE(store.DeleteKey(value.section, "new key"));
        EXPECT_TRUE(SavedAsItWas(store)) << value.section;
    }
}

INSTANTIATE_TEST_SUITE_P(Files, MeterIniFileShapes, testing::ValuesIn(kShapes),
                         [](const testing::TestParamInfo<Shape>& shape) { return shape.param.name; });

// ---- keys

// A key is first looked for by one byte that is made of it, which it shares with one key in some 250.
TEST(MeterIniFileKeys, OfLikeHashesAreToldApart) {
    const TestFolder folder;
    std::string bytes = "[a]\n";
    for (int i = 0; i < 1000; ++i)
        bytes += "key " + std::to_string(i) + "=value " + std::to_string(i) + "\n";
    folder.Write("a.ini", bytes);
    CMeterIniFile store(folder.Wide("a.ini").c_str());
    char value[40];
    for (int i = 0; i < 1000; ++i) {
        const std::string number = std::to_string(i);
        EXPECT_TRUE(store.ReadString("a", ("key " + number).c_str(), value, sizeof value));
        EXPECT_EQ(value, "value " + number);
        for (const std::string& other :
             {"key " + number + " of a line that is longer than any", "nor " + number}) {
            EXPECT_FALSE(store.ReadString("a", other.c_str(), value, sizeof value)) << other;
            EXPECT_FALSE(store.DeleteKey("a", other.c_str())) << other;
        }
    }
    for (const char* const beginning : {"k", "ke", "key"}) {
        EXPECT_FALSE(store.ReadString("a", beginning, value, sizeof value)) << beginning;
        EXPECT_FALSE(store.DeleteKey("a", beginning)) << beginning;
    }
    ASSERT_TRUE(store.UpdateFile());
    EXPECT_EQ(folder.Read("a.ini"), bytes);
}

// ---- copies

TEST(MeterIniFileCopies, FillALastSectionThatWasEmptied) {
    for (const std::string end : {"", "\n", "\r\n"}) {
        const TestFolder folder;
        const std::string bytes = "[a]\nk=1\n[b]\nx=1\ny=2" + end;
        folder.Write("a.ini", bytes);
        CMeterIniFile store(folder.Wide("a.ini").c_str());
        ASSERT_TRUE(store.BackupSection("b"));
        ASSERT_TRUE(store.DeleteKey("b", "x"));
        ASSERT_TRUE(store.DeleteKey("b", "y"));
        ASSERT_TRUE(store.RestoreSection("b"));
        ASSERT_TRUE(store.UpdateFile());
        EXPECT_EQ(folder.Read("a.ini"), bytes);
    }
}

}  // namespace
