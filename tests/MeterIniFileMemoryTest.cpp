// Without memory an edit fails and changes nothing.
#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "MeterUtil/MeterIniFile.h"
#include "tests/support/HeapFault.h"
#include "tests/support/TestFolder.h"

namespace {

const std::string kBytes = "top\n[a]\r\nk=1\nm=2\n\n[b]\nx=1\n[open\n[c]\ny=1\nlast=line without end";

struct Edit {
    const char* name;
    std::function<bool(CMeterIniFile&)> run;
};

class MeterIniFileMemory : public testing::TestWithParam<Edit> {};

// The edit is tried with the first allocation failing, then the second, and so on, each time on a fresh
// store; whenever it reports failure the text is what it was.
TEST_P(MeterIniFileMemory, FailedEditChangesNothing) {
    const TestFolder folder;
    folder.Write("a.ini", kBytes);
    int failures = 0;
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 100);
        folder.Write("a.ini", kBytes);
        CMeterIniFile store(folder.Wide("a.ini").c_str());
        bool done = false;
        bool happened = false;
        {
            const HeapFault fault(n);
            done = GetParam().run(store);
            happened = fault.Happened();
        }
        ASSERT_TRUE(store.UpdateFile());
        if (!happened) {
            EXPECT_TRUE(done);
            EXPECT_NE(folder.Read("a.ini"), kBytes);
            break;
        }
        failures += done ? 0 : 1;
        if (!done) {
            EXPECT_EQ(folder.Read("a.ini"), kBytes) << "allocation " << n;
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

}  // namespace
