// Without memory an edit fails and changes nothing; look-ups need none.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <optional>

#include "MeterUtil/MeterIniFile.h"
#include "tests/support/HeapFault.h"
#include "tests/support/TestFolder.h"

namespace {

const std::string kBytes = "top\n[a]\r\nk=1\nm=2\n\n[b]\nx=1\n[open\n[c]\ny=1\nlast=line without end";

const std::string kLongHeader = "[" + std::string(80000, 'n') + "]";

struct Edit {
    const char* name;
    std::function<bool(CMeterIniFile&)> run;
    std::function<bool(CMeterIniFile&)> prepare = nullptr;
    std::string bytes = kBytes;
};

// Of a text without any name twice.
void ExpectEachHeaderFound(const CMeterIniFile& store) {
    std::string text(100000, '\0');
    for (int line = store.FindBracketLine(0); line >= 0; line = store.FindBracketLine(line + 1)) {
        ASSERT_TRUE(store.GetString(line, text.data(), static_cast<int>(text.size())));
        const std::string header = text.c_str();
        const std::size_t close = header.find(']');
        EXPECT_EQ(store.SectionExists(header.substr(1, close - 1).c_str()), close != std::string::npos);
    }
}

class MeterIniFileMemory : public testing::TestWithParam<Edit> {};

// The edit is tried with the first allocation failing, then the second, and so on, each time on a fresh
// store; whenever it reports failure the text is what it was.
TEST_P(MeterIniFileMemory, FailedEditChangesNothing) {
    const TestFolder folder;
    int failures = 0;
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 100);
        folder.Write("a.ini", GetParam().bytes);
        CMeterIniFile store(folder.Wide("a.ini").c_str());
        ASSERT_TRUE(GetParam().prepare == nullptr || GetParam().prepare(store));
        ASSERT_TRUE(store.UpdateFile());
        const std::string before = folder.Read("a.ini");
        bool done = false;
        bool happened = false;
        {
            const HeapFault fault(n);
            done = GetParam().run(store);
            happened = fault.Happened();
        }
        ASSERT_TRUE(store.UpdateFile());
        ExpectEachHeaderFound(store);
        if (!happened) {
            EXPECT_TRUE(done);
            EXPECT_NE(folder.Read("a.ini"), before);
            break;
        }
        failures += done ? 0 : 1;
        if (!done) {
            EXPECT_EQ(folder.Read("a.ini"), before) << "allocation " << n;
        }
    }
    EXPECT_GE(failures, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Edits, MeterIniFileMemory,
    testing::Values(
        Edit{"SetValue",
             [](CMeterIniFile& s) { return s.WriteString("a", "k", "a longer value than before"); }},
        Edit{"NewKey", [](CMeterIniFile& s) { return s.WriteString("a", "n", "3"); }},
        Edit{"NewKeyBehindLastLine", [](CMeterIniFile& s) { return s.WriteString("c", "n", "3"); }},
        Edit{"NewSection", [](CMeterIniFile& s) { return s.WriteString("new", "n", "3"); }},
        Edit{"AppendLine", [](CMeterIniFile& s) { return s.AppendString("text") >= 0; }},
        Edit{"AppendHeader", [](CMeterIniFile& s) { return s.AppendString("[d]") >= 0; }},
        Edit{"SetLine", [](CMeterIniFile& s) { return s.SetString(2, "another line, and a longer one"); }},
        Edit{"RenameHeader",
             [](CMeterIniFile& s) { return s.SetString(1, "[a much longer name than before]"); }},
        Edit{"RenameHeaderOnceMore", [](CMeterIniFile& s) { return s.SetString(1, kLongHeader.c_str()); },
             [](CMeterIniFile& s) { return s.SetString(1, "[a new name]"); }},
        Edit{"AppendLineToAListThatIsFull", [](CMeterIniFile& s) { return s.AppendString("text") >= 0; },
             [](CMeterIniFile& s) { return s.WriteString("a", "m", "2") && s.WriteString("a", "n", "3"); },
             "[a]\nk=1\n "},
        Edit{"RestoreSection", [](CMeterIniFile& s) { return s.RestoreSection("b"); },
             [](CMeterIniFile& s) { return s.BackupSection("b") && s.DeleteSection("b"); }},
        Edit{"MakeHeader", [](CMeterIniFile& s) { return s.SetString(3, "[n]"); }},
        Edit{"UnmakeHeader", [](CMeterIniFile& s) { return s.SetString(5, "no header"); }},
        Edit{"DeleteKey", [](CMeterIniFile& s) { return s.DeleteKey("a", "k"); }},
        Edit{"DeleteSection", [](CMeterIniFile& s) { return s.DeleteSection("b"); }}),
    [](const testing::TestParamInfo<Edit>& row) { return row.param.name; });

// An edit that failed for want of memory must not be counted: later the text moves to a block of the counted
// size.
TEST(MeterIniFileMemory, FailedEditDoesNotMislayBytes) {
    const TestFolder folder;
    folder.Write("a.ini", "[a]\nk=" + std::string(200000, 'v') + "\n");
    CMeterIniFile store(folder.Wide("a.ini").c_str());
    const std::string value(100, 's');
    for (int n = 1; n < 8; ++n) {
        const HeapFault fault(n);
        store.WriteString("a", "k", value.c_str());
    }
    const std::string big(60000, 'b');
    for (int i = 0; i < 60; ++i) {
        ASSERT_TRUE(store.WriteString("a", "m", big.c_str()));
        ASSERT_TRUE(store.DeleteKey("a", "m"));
    }
    ASSERT_TRUE(store.WriteString("a", "k", "1"));
    ASSERT_TRUE(store.UpdateFile());
    EXPECT_EQ(folder.Read("a.ini"), "[a]\nk=1\n");
}

TEST(MeterIniFileMemoryCopies, AreKeptOrRefused) {
    const TestFolder folder;
    folder.Write("a.ini", kBytes);
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 200);
        CMeterIniFile store(folder.Wide("a.ini").c_str());
        bool restored = false;
        bool deleted = false;
        bool happened = false;
        {
            const HeapFault fault(n);
            const bool kept = store.BackupSection("a");
            deleted = store.DeleteSection("a");
            restored = store.RestoreSection("a");
            EXPECT_TRUE(kept || !restored);
            happened = fault.Happened();
        }
        char value[16];
        EXPECT_EQ(store.ReadString("a", "k", value, sizeof value), restored || !deleted) << n;
        if (!happened) {
            EXPECT_TRUE(restored);
            break;
        }
    }
}

// What edits leave behind is tidied up now and then, which takes memory for all of the text.
TEST(MeterIniFileMemoryEdits, ManyLongOnesKeepTheLastThatWasDone) {
    const TestFolder folder;
    folder.Write("a.ini", kBytes);
    std::vector<std::string> values;  // each too long for the place of the one before
    for (std::size_t i = 0; i < 24; ++i)
        values.emplace_back(100000 + 1000 * i, static_cast<char>('a' + i));
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 300);
        CMeterIniFile store(folder.Wide("a.ini").c_str());
        const std::string* done = nullptr;
        bool happened = false;
        {
            const HeapFault fault(n);
            for (const std::string& value : values)
                if (store.WriteString("c", "y", value.c_str()))
                    done = &value;
            happened = fault.Happened();
        }
        std::string found(200000, '\0');
        ASSERT_TRUE(store.ReadString("c", "y", found.data(), static_cast<int>(found.size())));
        EXPECT_EQ(found.c_str(), *done) << n;
        EXPECT_TRUE(store.ReadString("c", "last", found.data(), static_cast<int>(found.size())));
        EXPECT_STREQ(found.c_str(), "line without end");
        if (!happened) {
            EXPECT_EQ(done, &values.back());
            break;
        }
    }
}

TEST(MeterIniFileMemoryLoad, AStoreThatGotNoneAnswersNothing) {
    const TestFolder folder;
    folder.Write("a.ini", kBytes);
    const std::wstring path = folder.Wide("a.ini");
    std::optional<CMeterIniFile> store;
    {
        const HeapFault fault(1, HeapFault::Times::FromThenOn);
        store.emplace(path.c_str());
    }
    EXPECT_TRUE(store->m_error);
    char text[8] = "before";
    EXPECT_FALSE(store->GetString(0, text, sizeof text));
    EXPECT_STREQ(text, "");
    EXPECT_FALSE(store->ReadString("a", "k", text, sizeof text));
    EXPECT_EQ(store->FindBracketLine(0), -1);
    EXPECT_FALSE(store->WriteString("a", "k", "2"));
    EXPECT_FALSE(store->SetString(0, "2"));
    EXPECT_EQ(store->AppendString("2"), -1);
    EXPECT_FALSE(store->BackupSection("a"));
    EXPECT_FALSE(store->RestoreSection("a"));
    store->SetMirror(folder.Wide("mirror.ini").c_str());
    store->SetSaveErrorText(L"no memory");
    EXPECT_STREQ(store->GetSaveErrorText(), L"");
    EXPECT_TRUE(store->PowerButtonControl(L"\\terminal"));
    EXPECT_FALSE(store->UpdateFile());
    EXPECT_FALSE(store->UpdateFileBackground());
    store.reset();
    EXPECT_EQ(folder.Read("a.ini"), kBytes);
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.ini"});
}

TEST(MeterIniFileMemoryLoad, FailsCleanly) {
    const TestFolder folder;
    folder.Write("a.ini", kBytes);
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 200);
        const std::wstring path = folder.Wide("a.ini");
        std::optional<CMeterIniFile> store;
        bool happened = false;
        {
            const HeapFault fault(n);
            store.emplace(path.c_str());
            happened = fault.Happened();
        }
        const bool error = store->m_error;
        EXPECT_EQ(store->SectionExists("a"), !error);
        EXPECT_EQ(store->UpdateFile(), !error) << "a store that could not load its file never saves over it";
        EXPECT_EQ(folder.Read("a.ini"), kBytes);
        if (!happened) {
            EXPECT_FALSE(error);
            break;
        }
    }
}

// ---- look-ups

// What look-ups answered, gathered without memory of its own.
class Answers {
public:
    char text[64] = "";

    void Note(bool found) {
        const int added = std::snprintf(m_all + m_size, sizeof m_all - m_size, "%s\n", found ? text : "-");
        m_size = std::min(m_size + static_cast<std::size_t>(added), sizeof m_all - 1);
    }

    std::string All() const { return m_all; }

private:
    char m_all[8192] = "";
    std::size_t m_size = 0;
};

// Every look-up, over all sections, entries and lines, and for some that are not there.
void LookUp(const CMeterIniFile& store, Answers* answers) {
    constexpr int kSize = sizeof answers->text;
    char* const text = answers->text;
    char key[kSize];
    for (const char* const section : {"a", "B", "c", "new", "a name that is longer than a short string"}) {
        answers->Note(store.SectionExists(section));
        for (const char* const name :
             {"k", " M ", "x", "last", "new", "a key that is longer than a short string"})
            answers->Note(store.ReadString(section, name, text, kSize));
        for (int i = 0; i < 6; ++i) {
            answers->Note(store.ReadByIndex(section, i, key, kSize, text, kSize));
            answers->Note(store.ReadLineByIndex(section, i, text, kSize));
        }
    }
    for (int line = -1; line < 18; ++line) {
        answers->Note(store.GetString(line, text, kSize));
        std::snprintf(text, kSize, "%d", store.FindBracketLine(line));
        answers->Note(true);
    }
}

struct Edits {
    const char* name;
    std::function<bool(CMeterIniFile&)> make;
};

class MeterIniFileLookUps : public testing::TestWithParam<Edits> {};

// The first round may make what finding keys in an edited section needs.
TEST_P(MeterIniFileLookUps, AllocateNothing) {
    const TestFolder folder;
    folder.Write("a.ini", "top\n[a]\r\nk=1\n;note\nm=2\n\n[b]\nx=1\n[open\n[c]\ny=1\nlast=without end");
    CMeterIniFile store(folder.Wide("a.ini").c_str());
    ASSERT_TRUE(GetParam().make(store));
    Answers first;
    LookUp(store, &first);
    Answers second;
    bool allocated = false;
    {
        const HeapFault fault(1, HeapFault::Times::FromThenOn);
        LookUp(store, &second);
        allocated = fault.Happened();
    }
    EXPECT_FALSE(allocated);
    EXPECT_EQ(first.All(), second.All());
}

INSTANTIATE_TEST_SUITE_P(
    Edits, MeterIniFileLookUps,
    testing::Values(
        Edits{"OfTheFileAsItIs", [](CMeterIniFile&) { return true; }},
        Edits{"AfterChangedValues",
              [](CMeterIniFile& s) {
                  return s.WriteString("a", "m", "a value that needs more room than the old one") &&
                         s.WriteString("b", "x", "");
              }},
        Edits{"AfterNewAndDeletedKeys",
              [](CMeterIniFile& s) { return s.WriteString("a", "new", "3") && s.DeleteKey("a", "k"); }},
        Edits{"AfterNewAndDeletedSections",
              [](CMeterIniFile& s) { return s.WriteString("new", "k", "1") && s.DeleteSection("b"); }},
        Edits{"AfterChangedLines",
              [](CMeterIniFile& s) {
                  return s.SetString(2, "x=1") && s.SetString(6, "[new]") && s.SetString(9, "no header");
              }},
        Edits{"AfterAppendedLines",
              [](CMeterIniFile& s) { return s.AppendString("x=1") > 0 && s.AppendString("[new]") > 0; }},
        Edits{"AfterARestoredSection",
              [](CMeterIniFile& s) {
                  return s.BackupSection("a") && s.WriteString("a", "k", "") && s.RestoreSection("a");
              }},
        Edits{"AfterASaveInTheBackground",
              [](CMeterIniFile& s) {
                  return s.WriteString("c", "y", "2") && s.UpdateFileBackground() && s.UpdateFile();
              }}),
    [](const testing::TestParamInfo<Edits>& row) { return row.param.name; });

}  // namespace
