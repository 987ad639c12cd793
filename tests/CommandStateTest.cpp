// One function by its code: its format, its state with a text, and the setting of that state.
#include <gtest/gtest.h>

#include "tests/support/FunctionFixture.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

constexpr const char* kNone = "(false)";

class CommandFormat : public FunctionFixture {
protected:
    // The format of a code; kNone when the call says that there is none.
    std::string FormatOf(int code, int size = 256) {
        GuardedBuffer<char> format(size);
        if (m_database.GetCommandFormat(&m_meter, code, format.Data(), size))
            return format.Text();
        EXPECT_EQ(format.Text(), "");
        return kNone;
    }
};

class CommandState : public FunctionFixture {
protected:
    static constexpr int kFailed = -1;

    // The state of a code, its text in m_text.
    int StateOf(int code, int size = 256) {
        GuardedBuffer<char> text(size);
        int state = 99;
        const bool found = m_database.GetCommandState(&m_meter, code, &state, text.Data(), size);
        m_text = text.Text();
        if (found)
            return state;
        EXPECT_EQ(state, 0);
        EXPECT_EQ(m_text, "");
        return kFailed;
    }

    std::string m_text;
};

class SetCommandState : public CommandState {
protected:
    void SetUp() override {
        m_meter.m_functions = {1};
        OpenMeter("Func1=X,UC,\"9,C1\",1,\"old, \"text\"\"\nFunc2=X,U,7,1,\"second\"\n");
    }
    bool Set(int state, const char* text) { return m_database.SetCommandState(&m_meter, 1, state, text); }
};

}  // namespace

// ---- format

TEST_F(CommandFormat, IsTheDefinitionOfTheFirstFunctionWithThatCode) {
    m_meter.m_functions = {1, 2, 9};
    OpenMeter(Function(1, "x", "1") + Function(2, "\"8,C0;9\"", "2") + Function(3, "y", "2") +
              Function(4, "z", "3") + Function(5, "", "9") + Function(6, "\"a,O1,7\"", "999") +
              Function(7, "\"O1,7\"", "2049"));
    EXPECT_EQ(FormatOf(1), "x");
    EXPECT_EQ(FormatOf(2), "8,C0;9");
    EXPECT_EQ(FormatOf(9), "");
    EXPECT_EQ(FormatOf(2049), "O1,7") << "no composite function";
    EXPECT_EQ(FormatOf(3), kNone) << "not offered";
    EXPECT_EQ(FormatOf(999), kNone) << "not offered";
    EXPECT_EQ(FormatOf(4), kNone) << "not in the record";
}

TEST_F(CommandFormat, OfACompositeFunctionIsWhatWillBeRun) {
    m_meter.m_functions = {1, 3, 101};
    struct Row {
        const char* definition;
        bool flagB;
        const char* format;
    };
    const Row rows[] = {
        {"\"1,3\"", false, "1,3"},
        {"\"1,O2[x],3(y)\"", false, "1,3(y)"},
        {"\"O1[x],o3(y),1\"", false, "1[x],3(y),1"},
        {"\"O2,o4\"", false, ""},
        {"O2", false, ""},
        {"\"O2,1\"", false, "1"},
        {"\"1,O2\"", false, "1"},
        {"\"1[2],O2[1]\"", false, "1[2]"},
        {"\" 1,O 3\"", false, " 1, 3"},
        {"\"257,O258,256\"", false, "257,256"},
        {"\"1,101,O101[x]\"", false, "1,101,101[x]"},
        {"\"1,101,O101[x],3\"", true, "1,3"},
        {"101", true, ""},
        {"\"1,O357\"", true, "1"},
    };
    for (const Row& row : rows) {
        OpenMeter(Function(1, row.definition, "1000") + Function(2, row.definition, "1999"));
        m_database.m_functionListFlagB = row.flagB;
        EXPECT_EQ(FormatOf(1000), row.format) << row.definition;
        EXPECT_EQ(FormatOf(1999), row.format) << row.definition;
    }
}

TEST_F(CommandFormat, LeavesOutAWithdrawnClockThatTheMeterTypeNamesTwice) {
    m_meter.m_functions = {1, 101, 101};
    OpenMeter(Function(1, "\"1,101[x],O357\"", "1000"));
    m_database.m_functionListFlagB = true;
    EXPECT_EQ(FormatOf(1000), "1,357");
}

TEST_F(CommandFormat, DropsWhatTheAccessLevelForbids) {
    m_meter.m_functions = {1, 3};
    OpenMeter(Function(1, "\"O1,O3\"", "1000"), "RespectAccessLevel=Yes\n[AccessLevel1]\nROUTE_*=3\n");
    m_database.SetAccessLevel(1);
    EXPECT_EQ(FormatOf(1000), "3");
}

TEST_F(CommandFormat, HoldsAWholeDefinition) {
    m_meter.m_functions = {1};
    const std::string longest = "1[" + std::string(252, 'x') + "]";
    OpenMeter(Function(1, longest, "1000") + Function(2, longest + "x", "1"));
    EXPECT_EQ(FormatOf(1000), longest);
    EXPECT_EQ(FormatOf(1, 300), longest) << "255 characters of a definition count";
}

TEST_F(CommandFormat, IsCutToItsBuffer) {
    m_meter.m_functions = {1, 3};
    OpenMeter(Function(1, "abcdef", "1") + Function(2, "\"O1,3\"", "1000"));
    for (int size = 1; size <= 8; ++size) {
        const std::size_t room = static_cast<std::size_t>(size) - 1;
        EXPECT_EQ(FormatOf(1, size), std::string("abcdef").substr(0, room));
        EXPECT_EQ(FormatOf(1000, size), std::string("1,3").substr(0, room));
    }
    GuardedBuffer<char> format(8);
    EXPECT_TRUE(m_database.GetCommandFormat(&m_meter, 1, format.Data(), 0));
    EXPECT_TRUE(m_database.GetCommandFormat(&m_meter, 1, nullptr, 8));
    EXPECT_FALSE(m_database.GetCommandFormat(&m_meter, 2, nullptr, 8));
    EXPECT_TRUE(format.Untouched());
}

TEST_F(CommandFormat, IsNotThereWithoutAListOfFunctions) {
    m_meter.m_functions = {1};
    EXPECT_EQ(FormatOf(1), kNone) << "no stores";
    OpenMeter("");
    EXPECT_EQ(FormatOf(1), kNone) << "no functions";
    OpenMeter(Function(1, "x", "1"));
    m_meter.m_isKnown = false;
    EXPECT_EQ(FormatOf(1), kNone) << "unknown meter type";
    GuardedBuffer<char> format(8);
    EXPECT_FALSE(m_database.GetCommandFormat(nullptr, 1, format.Data(), 8));
    EXPECT_EQ(format.Text(), "");
}

// ---- state

TEST_F(CommandState, IsChosenByTheFirstLetterThatCounts) {
    m_meter.m_functions = {1};
    const std::pair<const char*, int> rows[] = {
        {"", 0},    {"U", 0}, {"R", 0},  {"d", 0},     {"D", 3},    {"DR", 3},      {"W", 1},
        {"WR", 1},  {"C", 2}, {"UC", 2}, {"CWD", 3},   {"CW", 1},   {"WD", 3},      {"UCX", 2},
        {"XYZ", 0}, {"w", 0}, {"c", 0},  {"\"W\"", 1}, {"\"\"", 0}, {"\"x,C\"", 2},
    };
    for (const auto& [status, state] : rows) {
        OpenMeter("Func1=,\"\",,9,\"\"\nFunc2=," + std::string(status) + ",,1,\"text\"\n");
        EXPECT_EQ(StateOf(1), state) << status;
        EXPECT_EQ(m_text, "text");
    }
}

TEST_F(CommandState, HasTheTextOfTheFirstFunctionWithThatCode) {
    m_meter.m_functions = {1, 2, 3, 4, 5};
    OpenMeter(
        "Func1=,D,,1,\"waits, "
        "\"still\"\"\nFunc2=,W,,2,plain\nFunc3=,C,,3,\"\"\nFunc4=,U,,4\nFunc5=,D,,2,\"other\"\n"
        "Func6=,W,\"4[I2010],1\",1000,\"composite\"\n");
    EXPECT_EQ(StateOf(1), 3);
    EXPECT_EQ(m_text, "waits, \"still\"");
    EXPECT_EQ(StateOf(2), 1);
    EXPECT_EQ(m_text, "plain");
    EXPECT_EQ(StateOf(3), 2);
    EXPECT_EQ(m_text, "");
    EXPECT_EQ(StateOf(4), 0);
    EXPECT_EQ(m_text, "");
    EXPECT_EQ(StateOf(1000), 1);
    EXPECT_EQ(m_text, "composite");
    EXPECT_EQ(StateOf(5), kFailed) << "not in the record";
}

TEST_F(CommandState, TextIsCutToItsBuffer) {
    m_meter.m_functions = {1};
    OpenMeter("Func1=,D,,1,\"" + std::string(300, 'x') + "\"\n");
    for (int size : {1, 2, 100, 255, 256}) {
        EXPECT_EQ(StateOf(1, size), 3);
        EXPECT_EQ(m_text, std::string(static_cast<std::size_t>(size) - 1, 'x'));
    }
    EXPECT_EQ(StateOf(1, 400), 3);
    EXPECT_EQ(m_text, std::string(255, 'x')) << "255 characters of a text count";
}

TEST_F(CommandState, FillsOnlyWhatIsWanted) {
    m_meter.m_functions = {1};
    OpenMeter("Func1=,D,,1,\"text\"\n");
    GuardedBuffer<char> text(8);
    int state = 99;
    EXPECT_TRUE(m_database.GetCommandState(&m_meter, 1, &state, text.Data(), 0));
    EXPECT_EQ(state, 3);
    EXPECT_TRUE(text.Untouched());
    EXPECT_TRUE(m_database.GetCommandState(&m_meter, 1, nullptr, text.Data(), 8));
    EXPECT_EQ(text.Text(), "text");
    EXPECT_TRUE(m_database.GetCommandState(&m_meter, 1, nullptr, nullptr, 8));
    EXPECT_FALSE(m_database.GetCommandState(&m_meter, 2, nullptr, nullptr, 8));
}

TEST_F(CommandState, IsNotThereWithoutAListOfFunctions) {
    m_meter.m_functions = {1};
    EXPECT_EQ(StateOf(1), kFailed) << "no stores";
    OpenMeter("");
    EXPECT_EQ(StateOf(1), kFailed) << "no functions";
    OpenMeter("Func1=,D,,1,\"text\"\nFunc2=,D,,2,\"text\"\n");
    EXPECT_EQ(StateOf(2), kFailed) << "not offered";
    m_meter.m_isKnown = false;
    EXPECT_EQ(StateOf(1), kFailed) << "unknown meter type";
    int state = 99;
    EXPECT_FALSE(m_database.GetCommandState(nullptr, 1, &state, nullptr, 0));
    EXPECT_EQ(state, 0);
}

// ---- setting the state

TEST_F(SetCommandState, WritesStatusAndTextOfTheFirstFunctionWithThatCode) {
    const std::pair<int, const char*> rows[] = {{3, "DR"}, {2, "WR"}, {1, "WR"},
                                                {0, "WR"}, {4, "WR"}, {-1, "WR"}};
    for (const auto& [state, status] : rows) {
        EXPECT_TRUE(Set(state, "new, \"text\""));
        EXPECT_EQ(Data("#_1", "Func1"), "X," + std::string(status) + ",\"9,C1\",1,\"new, \"text\"\"")
            << state;
        EXPECT_EQ(Data("#_1", "Func2"), "X,U,7,1,\"second\"");
    }
}

TEST_F(SetCommandState, KeepsTheTextWhenNoneIsGiven) {
    EXPECT_TRUE(Set(3, nullptr));
    EXPECT_EQ(Data("#_1", "Func1"), "X,DR,\"9,C1\",1,\"old, \"text\"\"");
    EXPECT_TRUE(Set(1, ""));
    EXPECT_EQ(Data("#_1", "Func1"), "X,WR,\"9,C1\",1,\"\"");
}

TEST_F(SetCommandState, IsReadBack) {
    EXPECT_EQ(StateOf(1), 2);
    EXPECT_TRUE(Set(3, "done at noon"));
    EXPECT_EQ(StateOf(1), 3);
    EXPECT_EQ(m_text, "done at noon");
    EXPECT_TRUE(Set(2, nullptr));
    EXPECT_EQ(StateOf(1), 1);
    EXPECT_EQ(m_text, "done at noon");
}

TEST_F(SetCommandState, OfTheCurrentRecord) {
    OpenMeter(Function(1, "", "1") + "[#1_1]\n" + Function(1, "", "2") + Function(2, "", "1"));
    ASSERT_TRUE(m_database.SetAppendix(1));
    EXPECT_TRUE(Set(3, "x"));
    EXPECT_EQ(Data("#1_1", "Func2"), ",DR,,1,\"x\"");
    EXPECT_EQ(Data("#_1", "Func1"), ",U,,1,\"\"");
}

TEST_F(SetCommandState, OfWhatIsNotOfferedChangesNothing) {
    const std::string lines = DataLines();
    EXPECT_FALSE(m_database.SetCommandState(&m_meter, 2, 3, "x")) << "not in the record";
    EXPECT_FALSE(m_database.SetCommandState(nullptr, 1, 3, "x"));
    m_meter.m_functions = {2};
    EXPECT_FALSE(Set(3, "x")) << "not offered";
    m_meter.m_isKnown = false;
    EXPECT_FALSE(Set(3, "x")) << "unknown meter type";
    EXPECT_EQ(DataLines(), lines);
    m_database.CloseDataFile();
    EXPECT_FALSE(Set(3, "x"));
}

// ---- memory

TEST_F(SetCommandState, IsWholeOrNotThereWithoutMemory) {
    const std::string before = DataLines();
    const std::string text = "a text that is too long to stand in a string object";
    int n = 0;
    for (bool failed = true; failed;) {
        bool set = false;
        failed = FailAllocation(++n, [&] { set = Set(3, text.c_str()); });
        EXPECT_TRUE(set || failed) << n;
        EXPECT_FALSE(set && n == 1) << "the function was not found";
        EXPECT_EQ(DataLines() == before, failed) << n;
    }
    EXPECT_GT(n, 1);
    EXPECT_EQ(StateOf(1), 3);
}

TEST_F(SetCommandState, IsReadWholeOrNotWithoutMemory) {
    int n = 0;
    for (bool failed = true; failed;) {
        int state = 99;
        char text[64] = "?";
        bool read = false;
        failed = FailAllocation(
            ++n, [&] { read = m_database.GetCommandState(&m_meter, 1, &state, text, sizeof text); });
        EXPECT_EQ(read, !failed) << n;
        EXPECT_EQ(state, read ? 2 : 0) << n;
        EXPECT_STREQ(text, read ? "old, \"text\"" : "") << n;
    }
    EXPECT_GT(n, 1);
}

TEST_F(CommandFormat, IsWholeOrNotThereWithoutMemory) {
    m_meter.m_functions = {1};
    OpenMeter(Function(1, "\"1[with a text that is too long to stand in a string object],O2\"", "1000"));
    const std::string whole = FormatOf(1000);
    int n = 0;
    for (bool failed = true; failed;) {
        char format[128] = "?";
        bool read = false;
        failed = FailAllocation(
            ++n, [&] { read = m_database.GetCommandFormat(&m_meter, 1000, format, sizeof format); });
        EXPECT_EQ(read, !failed) << n;
        EXPECT_EQ(format, read ? whole : "") << n;
    }
    EXPECT_GT(n, 1);
}
