// What the store promises about edits: the bytes that they leave, what they refuse, and copies of sections.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "MeterUtil/MeterIniFile.h"
#include "tests/support/NaiveIni.h"
#include "tests/support/Store.h"
#include "tests/support/TestFolder.h"

namespace {

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

// The same of names and lines as most are: what is known of them when they are found must tell it.
TEST(MeterIniFileWriteRefused, LongerNamesThatTheFileHasButNoWriteMakes) {
    const std::string before =
        "[a\rb]\nState=U,0123456789\n[a long name\r, by far]\nState=U,0123456789\n"
        "[]\nState=U,0123456789\n[c]\nSta\rte=0123456789\n[State=0123456789\n;State=0123456789\nState="
        "0123456789\n";
    const Store store(before);
    for (const char* section : {"a\rb", "a long name\r, by far", ""})
        EXPECT_FALSE(store->WriteString(section, "State", "2")) << section;
    for (const char* key : {"Sta\rte", "[State", ";State"})
        EXPECT_FALSE(store->WriteString("c", key, "2")) << key;
    EXPECT_EQ(store.Saved(), before);
    EXPECT_EQ(store.Value("c", "[state"), "0123456789") << "they can be read all the same";
    EXPECT_TRUE(store->WriteString("c", "State", "2"));
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

TEST(MeterIniFileEdit, ManyChangesOfOneValueShowInNothing) {
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

// A line with a new value lies elsewhere; those beside it begin and end where they did.
TEST(MeterIniFileEdit, LinesBesideANewValueStayAsTheyAre) {
    const std::string shapes[] = {
        "[a]\r\nState=first value\r\n1.8.0=second value\r\nC.1=3\r\nLast=fourth value\r\n[b]\r\nState=5\r\n",
        "[a]\nState=first value\n1.8.0=second value\nC.1=3\nLast=fourth value",
        "[a]\r\nState=first value\n1.8.0=second value\r\nC.1=3\n;\r\n\nLast=fourth value\r",
        "State=before any header\r\n[a] ;c\r\nState=1\r\n1.8.0=2\r\nC.1=\r\nLast=\r\n[b]"};
    std::vector<const char*> keys = {"1.8.0", "C.1", "Last", "State"};
    for (const std::string& shape : shapes) {
        do {
            const Store store(shape);
            NaiveIni naive(shape);
            for (const char* const changed : keys) {
                ASSERT_TRUE(store->WriteString("a", changed, changed));
                ASSERT_TRUE(naive.WriteString("a", changed, changed));
                std::string text;
                for (const char* const read : keys) {
                    ASSERT_TRUE(naive.ReadString("a", read, &text));
                    ASSERT_EQ(store.Value("a", read), text) << read << " behind " << changed;
                }
                for (int line = 0; naive.GetString(line, &text); ++line)
                    ASSERT_EQ(store.Line(line), text) << line << " behind " << changed;
                ASSERT_EQ(store.Saved(), naive.Bytes()) << "behind " << changed;
            }
        } while (std::next_permutation(keys.begin(), keys.end(),
                                       [](const char* a, const char* b) { return std::string_view(a) < b; }));
    }
}

// What is known of the line ends of a section must not outlive a line that comes with another one.
TEST(MeterIniFileEdit, LinesThatJoinASectionKeepTheirLineEnds) {
    const Store store("[a]\r\nState=U,0123456789\r\n[b]\nUserID=U,0123456789\n[c]\nx=1\n");
    EXPECT_EQ(store.Value("a", "State"), "U,0123456789");
    EXPECT_TRUE(store->SetString(2, ";b"));
    EXPECT_TRUE(store->WriteString("a", "UserID", "reader07"));
    EXPECT_TRUE(store->WriteString("a", "State", "E"));
    EXPECT_EQ(store.Saved(), "[a]\r\nState=E\r\n;b\nUserID=reader07\n[c]\nx=1\n");
}

// Lines come and go among some with new values.
TEST(MeterIniFileEdit, NewValuesStayWhenOtherLinesComeAndGo) {
    const std::string before =
        "[a]\r\nState=U\r\n1.8.0=,8.1 kWh,,\"energy\"\r\n1.8.1=,\r\nUserID=A\r\n[b]\r\nx=1\r\n";
    const auto changed = [](const Store& store) {
        EXPECT_TRUE(store->WriteString("a", "State", "E"));
        EXPECT_TRUE(store->WriteString("a", "1.8.1", "12345.6"));
    };
    const std::string head = "[a]\r\nState=E\r\n";
    const std::string energy = "1.8.0=,8.1 kWh,,\"energy\"\r\n";
    const std::string tail = "[b]\r\nx=1\r\n";
    {
        const Store store(before);
        changed(store);
        EXPECT_TRUE(store->DeleteKey("a", "1.8.0"));
        EXPECT_EQ(store.Saved(), head + "1.8.1=12345.6\r\nUserID=A\r\n" + tail);
    }
    {
        const Store store(before);
        changed(store);
        EXPECT_TRUE(store->WriteString("a", "new", "1"));
        EXPECT_TRUE(store->WriteString("a", "1.8.1", "a value as long as it needs a new place"));
        EXPECT_EQ(
            store.Saved(),
            head + energy + "1.8.1=a value as long as it needs a new place\r\nUserID=A\r\nnew=1\r\n" + tail);
    }
    {
        const Store store(before);
        changed(store);
        EXPECT_TRUE(store->SetString(3, "[c]"));
        EXPECT_EQ(store.Value("c", "UserID"), "A");
        EXPECT_EQ(store.Value("a", "1.8.0"), ",8.1 kWh,,\"energy\"");
        EXPECT_EQ(store.Saved(), head + energy + "[c]\r\nUserID=A\r\n" + tail);
    }
    {
        const Store store(before);
        changed(store);
        EXPECT_TRUE(store->BackupSection("a"));
        changed(store);
        EXPECT_TRUE(store->DeleteSection("a"));
        EXPECT_TRUE(store->RestoreSection("a"));
        EXPECT_EQ(store.Saved(), tail + head + energy + "1.8.1=12345.6\r\nUserID=A\r\n");
    }
}

// The moves of a large text to a new block, which free what changes left behind, show in nothing.
TEST(MeterIniFileEdit, TextMovesToANewBlockUnseen) {
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

TEST(MeterIniFileEdit, ManySectionsOfOneName) {
    std::string bytes;
    for (int i = 0; i < 100000; ++i)
        bytes += "[a]\n";
    const Store store(bytes);
    EXPECT_TRUE(store->WriteString("a", "k", "1"));
    for (int i = 0; i < 100; ++i)
        EXPECT_TRUE(store->DeleteSection("a"));
    EXPECT_TRUE(store.Saved() == bytes.substr(400));
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

}  // namespace
