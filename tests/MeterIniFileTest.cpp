// What the store promises about texts in memory: lines, headers, entries and names, and how they are read.
#include "MeterUtil/MeterIniFile.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>

#include "tests/support/FakeSystem.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/Store.h"
#include "tests/support/TestFolder.h"

namespace {

static_assert(sizeof(CMeterIniFile::m_error) == 1, "the error flag is one byte");
static_assert(!std::is_polymorphic_v<CMeterIniFile>, "the store has no virtual function");
static_assert(!std::is_copy_constructible_v<CMeterIniFile> && !std::is_copy_assignable_v<CMeterIniFile>,
              "the store cannot be copied");

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
        EXPECT_EQ(value.Text(), std::string("value").substr(0, room));
        GuardedBuffer key(size);
        EXPECT_TRUE(store->ReadByIndex("sec", 1, key.Data(), size, nullptr, 0));
        EXPECT_EQ(key.Text(), std::string("key").substr(0, room));
        GuardedBuffer line(size);
        EXPECT_TRUE(store->ReadLineByIndex("sec", 1, line.Data(), size));
        EXPECT_EQ(line.Text(), std::string("key=value").substr(0, room));
        GuardedBuffer raw(size);
        EXPECT_TRUE(store->GetString(0, raw.Data(), size));
        EXPECT_EQ(raw.Text(), std::string("[sec]").substr(0, room));
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

}  // namespace
