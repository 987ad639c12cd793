// What the store promises about texts in memory: lines, headers, entries, names, edits, tokens and copies of
// sections.
#include "MeterUtil/MeterIniFile.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <memory>
#include <type_traits>

#include "tests/support/FakeSystem.h"
#include "tests/support/NaiveIni.h"
#include "tests/support/TestFolder.h"

namespace {

static_assert(sizeof(CMeterIniFile::m_error) == 1, "the error flag is one byte");
static_assert(!std::is_polymorphic_v<CMeterIniFile>, "the store has no virtual function");
static_assert(!std::is_copy_constructible_v<CMeterIniFile> && !std::is_copy_assignable_v<CMeterIniFile>,
              "the store cannot be copied");

constexpr int kSize = 256;

// A store over a file of its own, and short ways to ask it.
class Store {
public:
    explicit Store(const std::string& bytes) {
        m_folder.Write("a.ini", bytes);
        m_store = std::make_unique<CMeterIniFile>(m_folder.Wide("a.ini").c_str());
    }
    Store() : m_store(std::make_unique<CMeterIniFile>(m_folder.Wide("a.ini").c_str())) {}

    CMeterIniFile* operator->() const { return m_store.get(); }

    std::string Value(const char* section, const char* key) const {
        char dst[kSize];
        return m_store->ReadString(section, key, dst, kSize) ? dst : "(none)";
    }
    std::string Line(int line) const {
        char dst[kSize];
        return m_store->GetString(line, dst, kSize) ? dst : "(none)";
    }
    std::string LineOf(const char* section, int index) const {
        char dst[kSize];
        return m_store->ReadLineByIndex(section, index, dst, kSize) ? dst : "(none)";
    }
    std::string Entry(const char* section, int index) const {
        char key[kSize];
        char value[kSize];
        if (!m_store->ReadByIndex(section, index, key, kSize, value, kSize))
            return "(none)";
        return std::string(key) + "|" + value;
    }
    std::string Saved() const {
        EXPECT_TRUE(m_store->UpdateFile());
        return m_folder.Read("a.ini");
    }

private:
    TestFolder m_folder;
    std::unique_ptr<CMeterIniFile> m_store;
};

// A buffer with guards around the bytes that may be written.
struct GuardedBuffer {
    std::string bytes;
    explicit GuardedBuffer(int size) : bytes(static_cast<std::size_t>(size) + 8, '#') {}
    char* Data() { return &bytes[4]; }
    ::testing::AssertionResult GuardsStand() const {
        const bool stand = bytes.substr(0, 4) == "####" && bytes.substr(bytes.size() - 4) == "####";
        return stand ? testing::AssertionSuccess()
                     : testing::AssertionFailure() << "written outside the buffer";
    }
};

// ---- the object

TEST(MeterIniFile, ErrorFlagIsTheFirstByte) {
    const Store store;
    EXPECT_EQ(static_cast<const void*>(&store->m_error), static_cast<const void*>(&*store.operator->()));
}

TEST(MeterIniFile, MissingFileGivesAnEmptyStoreWithoutError) {
    const Store store;
    EXPECT_FALSE(store->m_error);
    EXPECT_EQ(store.Line(0), "(none)");
    EXPECT_FALSE(store->SectionExists("General"));
    EXPECT_EQ(store->FindBracketLine(0), -1);
}

TEST(MeterIniFile, AFileOfFourGigabytesIsRefusedUnread) {
    const TestFolder folder;
    folder.Write("a.ini", "[a]\n");
    FakeSystem system;
    system.ReportSize(std::uint64_t{1} << 32U);
    const CMeterIniFile store(folder.Wide("a.ini").c_str());
    EXPECT_TRUE(store.m_error);
    EXPECT_FALSE(store.SectionExists("a"));
    EXPECT_EQ(system.Count(FakeSystem::Call::Read), 0);
}

TEST(MeterIniFile, NullPathIsAnEmptyStoreThatCannotBeSaved) {
    CMeterIniFile store(nullptr);
    EXPECT_TRUE(store.WriteString("a", "k", "1"));
    EXPECT_FALSE(store.UpdateFile());
    EXPECT_TRUE(store.m_error);
}

// ---- reading

TEST(MeterIniFileRead, ValueIsEverythingBehindTheFirstEqualsSign) {
    const Store store(
        "[a]\r\nplain=1\r\nblanks =  2 \r\n\tkey\t=3=4\r\nempty=\r\n=no key\r\n;note=5\r\n ; "
        "k=6\r\n[x=7\r\n");
    EXPECT_EQ(store.Value("a", "plain"), "1");
    EXPECT_EQ(store.Value("a", "blanks"), "  2 ");
    EXPECT_EQ(store.Value("a", "key"), "3=4");
    EXPECT_EQ(store.Value("a", "empty"), "");
    EXPECT_EQ(store.Value("a", ""), "(none)");
    EXPECT_EQ(store.Value("a", ";note"), "(none)");
    EXPECT_EQ(store.Value("a", "note"), "(none)");
    EXPECT_EQ(store.Value("a", "[x"), "7") << "without a ] the line is an entry";
    EXPECT_EQ(store.Value("a", "key=3"), "(none)");
    EXPECT_EQ(store.Value("a", " plain\t"), "1") << "blanks around a key that is passed do not count";
}

TEST(MeterIniFileRead, NamesIgnoreTheCaseOfAsciiLettersOnly) {
    const Store store("[Gener\xC4l]\nKey\xC4=1\n[@]\nx=at\n[`]\nx=tick\n");
    EXPECT_EQ(store.Value("gENER\xC4L", "kEY\xC4"), "1");
    EXPECT_EQ(store.Value("Gener\xE4l", "Key\xC4"), "(none)");
    EXPECT_EQ(store.Value("Gener\xC4l", "Key\xE4"), "(none)");
    EXPECT_EQ(store.Value("@", "x"), "at");
    EXPECT_EQ(store.Value("`", "x"), "tick");
}

TEST(MeterIniFileRead, OfSeveralTheFirstCounts) {
    const Store store("[a]\nk=1\nK=2\n[A]\nk=3\nonly=4\n");
    EXPECT_EQ(store.Value("a", "k"), "1");
    EXPECT_EQ(store.Value("A", "only"), "(none)");
}

TEST(MeterIniFileRead, HeaderNameStandsBeforeTheFirstBracket) {
    const Store store("k=outside\n[a] comment ]\nk=1\n \t[b]c]\nk=2\n[ c ]\nk=3\n[open\nk=4\n");
    EXPECT_EQ(store.Value("a", "k"), "1");
    EXPECT_EQ(store.Value("b", "k"), "2");
    EXPECT_EQ(store.Value(" c ", "k"), "3");
    EXPECT_EQ(store.Value("c", "k"), "(none)");
    EXPECT_FALSE(store->SectionExists("open"));
    EXPECT_EQ(store.Value("", "k"), "(none)") << "lines before the first header belong to no section";
}

TEST(MeterIniFileRead, ByteOrderMarkIsNotPartOfTheFirstLine) {
    const Store store("\xEF\xBB\xBF[a]\r\nk=1\r\n");
    EXPECT_EQ(store.Value("a", "k"), "1");
    EXPECT_EQ(store.Line(0), "[a]");
    EXPECT_EQ(store->FindBracketLine(0), 0);
    EXPECT_TRUE(store->SetString(0, "[b]"));
    EXPECT_EQ(store.Saved(), "\xEF\xBB\xBF[b]\r\nk=1\r\n");
}

TEST(MeterIniFileRead, LoneCarriageReturnIsText) {
    const Store store("[a]\rk=1\n[a]\nk=2\rm=3\r\n");
    EXPECT_EQ(store.Line(0), "[a]\rk=1");
    EXPECT_EQ(store.LineOf("a", 1), "(none)");
    const Store values("[a]\nk=2\rm=3\r\n");
    EXPECT_EQ(values.Value("a", "k"), "2\rm=3");
}

TEST(MeterIniFileRead, EntriesAreCountedWithoutOtherLines) {
    const Store store("[a]\nx=1\n\n;c=0\ny = 2\ntext\nz=3\n[b]\n");
    EXPECT_EQ(store.Entry("a", 1), "x|1");
    EXPECT_EQ(store.Entry("a", 2), "y| 2");
    EXPECT_EQ(store.Entry("a", 3), "z|3");
    EXPECT_EQ(store.Entry("a", 4), "(none)");
    EXPECT_EQ(store.Entry("a", 2), "y| 2") << "walking back after the end";
    EXPECT_EQ(store.Entry("a", 0), "(none)");
    EXPECT_EQ(store.Entry("a", -1), "(none)");
    EXPECT_EQ(store.Entry("b", 1), "(none)");
    EXPECT_EQ(store.Entry("c", 1), "(none)");
}

TEST(MeterIniFileRead, EntriesStayCountedWhileTheSectionIsEdited) {
    const Store store("[a]\n;first\nx=1\ny=2\nz=3\n");
    EXPECT_EQ(store.Entry("a", 2), "y|2");
    EXPECT_TRUE(store->WriteString("a", "y", "a longer value than before"));
    EXPECT_EQ(store.Entry("a", 3), "z|3");
    EXPECT_TRUE(store->DeleteKey("a", "x"));
    EXPECT_EQ(store.Entry("a", 2), "z|3");
    EXPECT_TRUE(store->WriteString("a", "n", "4"));
    EXPECT_EQ(store.Entry("a", 3), "n|4");
    EXPECT_TRUE(store->SetString(1, "first=0"));
    EXPECT_EQ(store.Entry("a", 1), "first|0");
    EXPECT_EQ(store.Entry("a", 4), "n|4");
}

TEST(MeterIniFileRead, LinesOfASectionAreWhole) {
    const Store store("[a]\n x = 1 \n\n;c\n[b]\n");
    EXPECT_EQ(store.LineOf("a", 1), " x = 1 ");
    EXPECT_EQ(store.LineOf("a", 2), "");
    EXPECT_EQ(store.LineOf("a", 3), ";c");
    EXPECT_EQ(store.LineOf("a", 4), "(none)");
    EXPECT_EQ(store.LineOf("a", 0), "(none)");
    EXPECT_EQ(store.LineOf("b", 1), "(none)");
}

TEST(MeterIniFileRead, LinesOfTheFileAreCountedFromZero) {
    const Store store("top\r\n[a]\nx=1\n\nlast");
    EXPECT_EQ(store.Line(0), "top");
    EXPECT_EQ(store.Line(1), "[a]");
    EXPECT_EQ(store.Line(3), "");
    EXPECT_EQ(store.Line(4), "last");
    EXPECT_EQ(store.Line(5), "(none)");
    EXPECT_EQ(store.Line(-1), "(none)");
    EXPECT_EQ(Store("").Line(0), "(none)");
    EXPECT_EQ(Store("\n").Line(0), "");
    EXPECT_EQ(Store("\n").Line(1), "(none)") << "no empty line behind a closing line end";
}

TEST(MeterIniFileRead, BracketLinesAreFoundWhetherTheyAreHeadersOrNot) {
    const Store store("[open\nx\n[a]\n[k=1\n [b]\n[c]\n");
    std::vector<int> lines;
    for (int line = store->FindBracketLine(0); line >= 0; line = store->FindBracketLine(line + 1))
        lines.push_back(line);
    EXPECT_EQ(lines, (std::vector<int>{0, 2, 3, 5}));
    EXPECT_EQ(store->FindBracketLine(-1), -1);
    EXPECT_EQ(store->FindBracketLine(6), -1);
}

TEST(MeterIniFileRead, OutputsAreCutTerminatedAndGuarded) {
    const Store store("[sec]\nkey=value\n");
    for (const int size : {1, 2, 5, 6, 7}) {
        const auto room = static_cast<std::size_t>(size) - 1;
        GuardedBuffer value(size);
        EXPECT_TRUE(store->ReadString("sec", "key", value.Data(), size));
        EXPECT_EQ(value.Data(), std::string("value").substr(0, room));
        EXPECT_TRUE(value.GuardsStand());
        GuardedBuffer key(size);
        EXPECT_TRUE(store->ReadByIndex("sec", 1, key.Data(), size, nullptr, 0));
        EXPECT_EQ(key.Data(), std::string("key").substr(0, room));
        EXPECT_TRUE(key.GuardsStand());
        GuardedBuffer line(size);
        EXPECT_TRUE(store->ReadLineByIndex("sec", 1, line.Data(), size));
        EXPECT_EQ(line.Data(), std::string("key=value").substr(0, room));
        EXPECT_TRUE(line.GuardsStand());
        GuardedBuffer raw(size);
        EXPECT_TRUE(store->GetString(0, raw.Data(), size));
        EXPECT_EQ(raw.Data(), std::string("[sec]").substr(0, room));
        EXPECT_TRUE(raw.GuardsStand());
    }
}

TEST(MeterIniFileRead, FailureEmptiesTheOutputs) {
    const Store store("[a]\nk=1\n");
    char first[4] = "abc";
    char second[4] = "abc";
    EXPECT_FALSE(store->ReadString("a", "no", first, 4));
    EXPECT_STREQ(first, "");
    EXPECT_FALSE(store->ReadString("no", "k", second, 4));
    EXPECT_STREQ(second, "");
    first[0] = second[0] = 'x';
    EXPECT_FALSE(store->ReadByIndex("a", 2, first, 4, second, 4));
    EXPECT_STREQ(first, "");
    EXPECT_STREQ(second, "");
    first[0] = second[0] = 'x';
    EXPECT_FALSE(store->ReadLineByIndex("a", 2, first, 4));
    EXPECT_STREQ(first, "");
    EXPECT_FALSE(store->GetString(2, second, 4));
    EXPECT_STREQ(second, "");
}

TEST(MeterIniFileRead, UnwantedOutputsAreNotWritten) {
    const Store store("[a]\nk=1\n");
    char untouched[2] = "x";
    EXPECT_TRUE(store->ReadString("a", "k", untouched, 0));
    EXPECT_TRUE(store->ReadString("a", "k", nullptr, 9));
    EXPECT_TRUE(store->ReadByIndex("a", 1, untouched, 0, untouched, -1));
    EXPECT_TRUE(store->GetString(0, untouched, 0));
    EXPECT_FALSE(store->ReadLineByIndex("a", 9, untouched, 0));
    EXPECT_STREQ(untouched, "x");
}

TEST(MeterIniFileRead, NullNamesAreRefused) {
    const Store store("[a]\nk=1\n");
    char dst[4] = "x";
    EXPECT_FALSE(store->ReadString(nullptr, "k", dst, 4));
    EXPECT_FALSE(store->ReadString("a", nullptr, dst, 4));
    EXPECT_FALSE(store->ReadByIndex(nullptr, 1, dst, 4, dst, 4));
    EXPECT_FALSE(store->ReadLineByIndex(nullptr, 1, dst, 4));
    EXPECT_FALSE(store->SectionExists(nullptr));
    EXPECT_FALSE(store->WriteString(nullptr, "k", "1"));
    EXPECT_FALSE(store->WriteString("a", nullptr, "1"));
    EXPECT_FALSE(store->DeleteSection(nullptr));
    EXPECT_FALSE(store->DeleteKey(nullptr, "k"));
    EXPECT_FALSE(store->DeleteKey("a", nullptr));
    EXPECT_FALSE(store->BackupSection(nullptr));
    EXPECT_FALSE(store->RestoreSection(nullptr));
}

TEST(MeterIniFileRead, NullValuesAreEmpty) {
    const Store store("[a]\nk=1\nx\n");
    EXPECT_TRUE(store->WriteString("a", "k", nullptr));
    EXPECT_TRUE(store->SetString(2, nullptr));
    EXPECT_EQ(store->AppendString(nullptr), 3);
    EXPECT_EQ(store.Saved(), "[a]\nk=\n\n\n");
}

TEST(MeterIniFileRead, LookUpsCreateNothing) {
    const Store store("[a]\nk=1\n");
    store.Value("b", "k");
    store.Value("a", "x");
    store.Entry("b", 1);
    EXPECT_FALSE(store->DeleteKey("a", "x"));
    EXPECT_FALSE(store->DeleteSection("b"));
    EXPECT_EQ(store.Saved(), "[a]\nk=1\n");
}

// ---- writing

struct WriteCase {
    const char* name;
    std::string before;
    const char* section;
    const char* key;
    const char* value;
    std::string after;
};

class MeterIniFileWrite : public testing::TestWithParam<WriteCase> {};

TEST_P(MeterIniFileWrite, GivesTheseBytes) {
    const WriteCase& row = GetParam();
    const Store store(row.before);
    EXPECT_TRUE(store->WriteString(row.section, row.key, row.value));
    EXPECT_EQ(store.Value(row.section, row.key), row.value);
    EXPECT_EQ(store.Saved(), row.after);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, MeterIniFileWrite,
    testing::Values(
        WriteCase{"NewFile", "", "General", "Meters", "0", "[General]\r\nMeters=0\r\n"},
        WriteCase{"InPlace", "[a]\nk=1\nm=2\n", "a", "k", "new", "[a]\nk=new\nm=2\n"},
        WriteCase{"KeepsTheTextUpToEquals", "[a]\n K \t=1\n", "A", "k", "2", "[a]\n K \t=2\n"},
        WriteCase{"KeepsTheLineEnd", "[a]\r\nk=1\nm=2\r\n", "a", "k", "3", "[a]\r\nk=3\nm=2\r\n"},
        WriteCase{"LastLineWithoutEndStaysSo", "[a]\nk=1", "a", "k", "22", "[a]\nk=22"},
        WriteCase{"FirstOfTwoKeys", "[a]\nk=1\nK=2\n", "a", "K", "3", "[a]\nk=3\nK=2\n"},
        WriteCase{"FirstOfTwoSections", "[a]\nk=1\n[A]\nk=2\n", "A", "n", "3", "[a]\nk=1\nn=3\n[A]\nk=2\n"},
        WriteCase{"NewKeyBeforeClosingBlanks", "[a]\nk=1\n\n \t\n[b]\n", "a", "n", "2",
                  "[a]\nk=1\nn=2\n\n \t\n[b]\n"},
        WriteCase{"NewKeyInAnEmptySection", "[a]\n\n[b]\n", "a", "n", "2", "[a]\nn=2\n\n[b]\n"},
        WriteCase{"NewKeyBehindComments", "[a]\n;c\n", "a", "n", "2", "[a]\n;c\nn=2\n"},
        WriteCase{"NewKeyBehindLastLineWithoutEnd", "[a]\nk=1", "a", "n", "2", "[a]\nk=1\nn=2\n"},
        WriteCase{"NewKeyBehindHeaderWithoutEnd", "[a]", "a", "n", "2", "[a]\r\nn=2\r\n"},
        WriteCase{"NewSectionBehindLastLineWithoutEnd", "[a]\nk=1", "b", "n", "2", "[a]\nk=1\n[b]\nn=2\n"},
        WriteCase{"NewSectionWithoutBlankLine", "[a]\r\nk=1\r\n", "b", "n", "2",
                  "[a]\r\nk=1\r\n[b]\r\nn=2\r\n"},
        WriteCase{"LineEndOfTheFirstLine", "x\n[a]\r\n", "a", "n", "2", "x\n[a]\r\nn=2\n"},
        WriteCase{"TextEndingInCrKeepsIt", "[a]\nk=1\r", "a", "n", "2", "[a]\nk=1\r\r\nn=2\n"},
        WriteCase{"ByteOrderMarkAlone", "\xEF\xBB\xBF", "a", "n", "2", "\xEF\xBB\xBF[a]\r\nn=2\r\n"},
        WriteCase{"ValueMayBeAnything", "", "a", "k", "[x]=;\xFF ", "[a]\r\nk=[x]=;\xFF \r\n"},
        WriteCase{"BlanksAroundTheKey", "", "a", " \tk ", "1", "[a]\r\nk=1\r\n"},
        WriteCase{"SectionMayHoldOpeningBracket", "", "a[b", "k", "1", "[a[b]\r\nk=1\r\n"}),
    [](const testing::TestParamInfo<WriteCase>& row) { return row.param.name; });

TEST(MeterIniFileWriteRefused, WhatWouldChangeTheStructure) {
    const std::string before = "[a]\nk=1\n[]\nk=2\n";
    const Store store(before);
    for (const char* section : {"", "a]", "a\nb", "a\rb"})
        EXPECT_FALSE(store->WriteString(section, "k", "1")) << section;
    for (const char* key : {"", " ", "\t", "a=b", "=", "[k", ";k", " ;k", "a\nb", "a\rb"})
        for (const char* section : {"a", "a new one"})
            EXPECT_FALSE(store->WriteString(section, key, "1")) << key;
    for (const char* value : {"1\n", "\r", "1\r\n2"})
        for (const char* key : {"k", "a new one"})
            EXPECT_FALSE(store->WriteString("a", key, value)) << value;
    for (const char* line : {"a\nb", "\r"}) {
        EXPECT_FALSE(store->SetString(1, line));
        EXPECT_EQ(store->AppendString(line), -1);
    }
    EXPECT_FALSE(store->SetString(4, "past the last line"));
    EXPECT_FALSE(store->SetString(-1, "before the first"));
    EXPECT_EQ(store.Saved(), before);
}

// A loaded file may have names that must not be written: they are refused also where they are found.
TEST(MeterIniFileWriteRefused, NamesThatTheFileHasButNoWriteMakes) {
    const std::string before = "[a\rb]\nk=1\n[c]\nk\rl=1\n[d=1\n;e=1\nf=1\n";
    const Store store(before);
    EXPECT_FALSE(store->WriteString("a\rb", "k", "2"));
    for (const char* section : {"c", "a\rb"})
        for (const char* key : {"k\rl", "[d", ";e"})
            EXPECT_FALSE(store->WriteString(section, key, "2")) << key;
    EXPECT_EQ(store.Saved(), before);
    EXPECT_EQ(store.Value("c", "k\rl"), "1") << "they can be read all the same";
    EXPECT_TRUE(store->WriteString("c", "f", "2"));
}

// A key ends at the first '=': whatever one byte of a line tells, what stands behind it is value.
TEST(MeterIniFileWriteRefused, AKeyThatGoesOnInTheValue) {
    std::string before = "[a]\n";
    for (int i = 0; i < 3000; ++i)
        before += "k=" + std::to_string(i) + "=1\n";
    const Store store(before);
    char dst[8];
    for (int i = 0; i < 3000; ++i) {
        const std::string key = "k=" + std::to_string(i);
        ASSERT_FALSE(store->WriteString("a", key.c_str(), "2")) << key;
        ASSERT_FALSE(store->ReadString("a", key.c_str(), dst, sizeof dst)) << key;
        ASSERT_FALSE(store->DeleteKey("a", key.c_str())) << key;
    }
    EXPECT_EQ(store.Saved(), before);
}

TEST(MeterIniFileWriteRefused, AByteOrderMarkAsFirstText) {
    const Store store;
    EXPECT_EQ(store->AppendString("\xEF\xBB\xBFx"), -1);
    EXPECT_EQ(store->AppendString("x"), 0);
    EXPECT_FALSE(store->SetString(0, "\xEF\xBB\xBFx"));
    EXPECT_EQ(store->AppendString("\xEF\xBB\xBFx"), 1);
}

TEST(MeterIniFileAppend, BuildsARecordLineByLine) {
    const Store store("[General]\r\nMeters=1\r\n");
    EXPECT_EQ(store->AppendString("[#_1]"), 2);
    EXPECT_EQ(store->AppendString("State=E"), 3);
    EXPECT_EQ(store->AppendString(""), 4);
    EXPECT_EQ(store.Line(4), "");
    EXPECT_EQ(store.Value("#_1", "State"), "E");
    EXPECT_EQ(store.Saved(), "[General]\r\nMeters=1\r\n[#_1]\r\nState=E\r\n\r\n");
}

TEST(MeterIniFileAppend, GivesALastLineItsEnd) {
    const Store store("x\ny");
    EXPECT_EQ(store->AppendString("z"), 2);
    EXPECT_EQ(store.Saved(), "x\ny\nz\n");
    const Store cr("x\ny\r");
    EXPECT_EQ(cr->AppendString(""), 2);
    EXPECT_EQ(cr.Saved(), "x\ny\r\r\n\n");
}

TEST(MeterIniFileSetString, RenamesHeadersInPlace) {
    const Store store("[#_3]\r\nx=1\r\n[#_4]\r\nx=2\r\n");
    EXPECT_TRUE(store->SetString(0, "[#_1]"));
    EXPECT_TRUE(store->SetString(2, "[#_20000]"));
    EXPECT_TRUE(store->SectionExists("#_1"));
    EXPECT_FALSE(store->SectionExists("#_3"));
    EXPECT_EQ(store.Value("#_20000", "x"), "2");
    EXPECT_EQ(store.Saved(), "[#_1]\r\nx=1\r\n[#_20000]\r\nx=2\r\n");
}

TEST(MeterIniFileSetString, MayMakeAndUnmakeHeaders) {
    const Store store("[a]\nx=1\ny=2\nz=3\n");
    EXPECT_TRUE(store->SetString(2, "[b]"));
    EXPECT_EQ(store.Value("b", "z"), "3");
    EXPECT_EQ(store.Value("a", "z"), "(none)");
    EXPECT_TRUE(store->SetString(2, "y=5"));
    EXPECT_FALSE(store->SectionExists("b"));
    EXPECT_EQ(store.Value("a", "z"), "3");
    EXPECT_EQ(store.Value("a", "y"), "5");
    EXPECT_TRUE(store->SetString(0, "now outside"));
    EXPECT_FALSE(store->SectionExists("a"));
    EXPECT_EQ(store.Saved(), "now outside\nx=1\ny=5\nz=3\n");
}

TEST(MeterIniFileSetString, AnEmptyLastLineGetsAnEnd) {
    const Store store("[a]\nlast");
    EXPECT_TRUE(store->SetString(1, ""));
    EXPECT_EQ(store.Saved(), "[a]\n\n");
}

TEST(MeterIniFileSetString, ShowsADuplicateAgainWhenTheFirstIsRenamed) {
    const Store store("[a]\nx=1\n[b]\n[A]\nx=2\n[a]\nx=3\n");
    EXPECT_TRUE(store->SetString(0, "[c]"));
    EXPECT_EQ(store.Value("a", "x"), "2");
    EXPECT_TRUE(store->SetString(2, "[a]"));
    EXPECT_EQ(store.Value("a", "x"), "(none)") << "an earlier section takes the name";
    EXPECT_TRUE(store->DeleteSection("a"));
    EXPECT_EQ(store.Value("a", "x"), "2");
    EXPECT_TRUE(store->DeleteSection("a"));
    EXPECT_EQ(store.Value("a", "x"), "3");
    EXPECT_TRUE(store->DeleteSection("a"));
    EXPECT_FALSE(store->SectionExists("a"));
    EXPECT_EQ(store.Saved(), "[c]\nx=1\n");
}

TEST(MeterIniFileDelete, SectionsGoWithAllTheirLines) {
    const Store store("top\n[a]\nx=1\n;c\n\n[b]\nx=2\n");
    EXPECT_TRUE(store->DeleteSection("A"));
    EXPECT_FALSE(store->DeleteSection("a"));
    EXPECT_EQ(store.Line(1), "[b]");
    EXPECT_EQ(store.Saved(), "top\n[b]\nx=2\n");
}

TEST(MeterIniFileDelete, KeysGoWithTheirLine) {
    const Store store("[a]\nx=1\n y =2\ny=3\n");
    EXPECT_TRUE(store->DeleteKey("A", " Y "));
    EXPECT_EQ(store.Value("a", "y"), "3");
    EXPECT_FALSE(store->DeleteKey("a", "none"));
    EXPECT_FALSE(store->DeleteKey("b", "x"));
    EXPECT_EQ(store.Saved(), "[a]\nx=1\ny=3\n");
}

TEST(MeterIniFile, ManyChangesOfOneValueShowInNothing) {
    const Store store("[a]\nk=1\n");
    std::string value;
    for (int i = 0; i < 40000; ++i) {
        value.assign(static_cast<std::size_t>(i % 200) + 1, static_cast<char>('a' + i % 26));
        ASSERT_TRUE(store->WriteString("a", i % 2 == 0 ? "k" : "m", value.c_str()));
        if (i % 3 == 0) {
            ASSERT_TRUE(store->DeleteKey("a", "k") || i % 2 != 0);
        }
    }
    EXPECT_EQ(store.Value("a", "m"), value);
    EXPECT_TRUE(store->BackupSection("a"));
    EXPECT_TRUE(store->DeleteSection("a"));
    EXPECT_TRUE(store->RestoreSection("a"));
    EXPECT_EQ(store.Value("a", "m"), value);
}

// The moves of a large text to a new block, which free what changes left behind, show in nothing.
TEST(MeterIniFile, TextMovesToANewBlockUnseen) {
    const std::string bytes = "\xEF\xBB\xBFtop\r\n[a]\r\nx=1\n\n[A]\nx=2\r\n[b]\nz=9\n[open\nlast";
    const TestFolder folder;
    folder.Write("a.ini", bytes);
    CMeterIniFile store(folder.Wide("a.ini").c_str());
    NaiveIni naive(bytes);
    const std::string big(50000, 'b');
    ASSERT_TRUE(store.BackupSection("b") && naive.BackupSection("b"));
    for (int i = 0; i < 120; ++i) {
        const std::string key = "k" + std::to_string(i % 3);
        ASSERT_TRUE(store.WriteString("b", key.c_str(), big.c_str()));
        ASSERT_TRUE(naive.WriteString("b", key, big));
        ASSERT_TRUE(store.DeleteKey("b", key.c_str()));
        ASSERT_TRUE(naive.DeleteKey("b", key));
        ASSERT_TRUE(store.WriteString("a", "n", key.c_str()));
        ASSERT_TRUE(naive.WriteString("a", "n", key));
        ASSERT_EQ(store.FindBracketLine(i % 12), naive.FindBracketLine(i % 12));
    }
    ASSERT_TRUE(store.RestoreSection("b") && naive.RestoreSection("b"));
    ASSERT_TRUE(store.UpdateFile());
    EXPECT_EQ(folder.Read("a.ini"), naive.Bytes());
}

// ---- copies of sections

TEST(MeterIniFileBackup, GivesBackTheLinesAsTheyWere) {
    const std::string bytes = "[a]\nx=1\r\n;c\n\n[b]\n";
    const Store store(bytes);
    EXPECT_FALSE(store->RestoreSection("a")) << "no copy yet";
    EXPECT_TRUE(store->BackupSection("A"));
    EXPECT_TRUE(store->WriteString("a", "x", "changed"));
    EXPECT_TRUE(store->WriteString("a", "y", "new"));
    EXPECT_TRUE(store->RestoreSection("a"));
    EXPECT_EQ(store.Saved(), bytes);
    EXPECT_TRUE(store->DeleteKey("a", "x"));
    EXPECT_TRUE(store->RestoreSection("a")) << "more than once";
    EXPECT_EQ(store.Saved(), bytes);
}

TEST(MeterIniFileBackup, KeepsTheLatestCopy) {
    const Store store("[a]\nx=1\n");
    EXPECT_TRUE(store->BackupSection("a"));
    EXPECT_TRUE(store->WriteString("a", "x", "2"));
    EXPECT_TRUE(store->BackupSection("a"));
    EXPECT_TRUE(store->WriteString("a", "x", "3"));
    EXPECT_TRUE(store->RestoreSection("a"));
    EXPECT_EQ(store.Value("a", "x"), "2");
}

TEST(MeterIniFileBackup, FollowsARenamedHeader) {
    const Store store("[#_3]\nx=1\n");
    EXPECT_TRUE(store->BackupSection("#_3"));
    EXPECT_TRUE(store->WriteString("#_3", "x", "2"));
    EXPECT_TRUE(store->SetString(0, "[#_2]"));
    EXPECT_FALSE(store->RestoreSection("#_3"));
    EXPECT_TRUE(store->RestoreSection("#_2"));
    EXPECT_EQ(store.Saved(), "[#_2]\nx=1\n");
}

TEST(MeterIniFileBackup, BringsADeletedSectionBackAtTheEnd) {
    const Store store("[a] note\nx=1\n[b]\nx=2");
    EXPECT_TRUE(store->BackupSection("a"));
    EXPECT_TRUE(store->DeleteSection("a"));
    EXPECT_FALSE(store->BackupSection("a")) << "there is no such section, and its older copy stays";
    EXPECT_TRUE(store->RestoreSection("A"));
    EXPECT_EQ(store.Saved(), "[b]\nx=2\n[a] note\nx=1\n");
    EXPECT_TRUE(store->WriteString("a", "x", "3"));
    EXPECT_TRUE(store->RestoreSection("a")) << "it owns its copy again";
    EXPECT_EQ(store.Value("a", "x"), "1");
}

TEST(MeterIniFileBackup, NeverLandsInAnotherSection) {
    const std::string bytes = "[a]\nx=1\n[b]\nx=2\n";
    {
        const Store store(bytes);
        EXPECT_TRUE(store->BackupSection("a"));
        EXPECT_TRUE(store->DeleteSection("a"));
        EXPECT_EQ(store->AppendString("[A]"), 2);
        EXPECT_FALSE(store->RestoreSection("a")) << "a new header took the name";
    }
    {
        const Store store(bytes);
        EXPECT_TRUE(store->BackupSection("a"));
        EXPECT_TRUE(store->DeleteSection("a"));
        EXPECT_TRUE(store->SetString(0, "[a]"));
        EXPECT_FALSE(store->RestoreSection("a")) << "a renamed header took the name";
        EXPECT_EQ(store.Value("a", "x"), "2");
    }
    {
        const Store store(bytes);
        EXPECT_TRUE(store->BackupSection("b"));
        EXPECT_TRUE(store->SetString(0, "[b]"));
        EXPECT_FALSE(store->RestoreSection("b")) << "an earlier header took the name";
        EXPECT_EQ(store.Value("b", "x"), "1");
    }
    {
        const Store store("[a]\nx=1\n[a]\nx=2\n");
        EXPECT_TRUE(store->BackupSection("a"));
        EXPECT_TRUE(store->DeleteSection("a"));
        EXPECT_FALSE(store->RestoreSection("a")) << "the second section of the name stands there";
        EXPECT_EQ(store.Value("a", "x"), "2");
    }
}

TEST(MeterIniFileBackup, RestoredLinesKeepTheFileWhole) {
    const Store store("[a]\nx=1\n[b]\ny=2");
    EXPECT_TRUE(store->BackupSection("b"));
    EXPECT_EQ(store->AppendString("[c]"), 4);
    EXPECT_TRUE(store->RestoreSection("b"));
    EXPECT_EQ(store.Saved(), "[a]\nx=1\n[b]\ny=2\n[c]\n");
}

// ---- tokens and quotes

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
        EXPECT_EQ(dst.Data(), std::string("token").substr(0, static_cast<std::size_t>(size) - 1));
        EXPECT_TRUE(dst.GuardsStand());
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

// ---- large files

TEST(MeterIniFile, ManySectionsOfOneName) {
    std::string bytes;
    for (int i = 0; i < 100000; ++i)
        bytes += "[a]\n";
    const Store store(bytes);
    EXPECT_TRUE(store->WriteString("a", "k", "1"));
    for (int i = 0; i < 100; ++i)
        EXPECT_TRUE(store->DeleteSection("a"));
    EXPECT_TRUE(store.Saved() == bytes.substr(400));
}

}  // namespace
