// The catalogue of commands and options as the user sees it: how many there are, their texts, marks, codes
// and status letters, and the values that fill the placeholders of a text.
#include <gtest/gtest.h>

#include "tests/support/FunctionFixture.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

class Catalogue : public FunctionFixture {
protected:
    struct Shown {
        bool found;
        std::string text;
        std::string mark;
        int code;
        std::string flags;
        bool operator==(const Shown& other) const {
            return found == other.found && text == other.text && mark == other.mark && code == other.code &&
                   flags == other.flags;
        }
        friend std::ostream& operator<<(std::ostream& out, const Shown& shown) {
            return out << shown.found << '/' << shown.text << '/' << shown.mark << '/' << shown.code << '/'
                       << shown.flags;
        }
    };
    using Get = bool (CMeterDatabase::*)(CMeterInterface*, int, char*, int, char*, int, int*, char*, int);

    Shown Show(Get get, int index, CMeterInterface* iface) {
        GuardedBuffer<char> text(256), mark(8), flags(256);
        int code = 99;
        const bool found =
            (m_database.*get)(iface, index, text.Data(), 256, mark.Data(), 8, &code, flags.Data(), 256);
        return {found, text.Text(), mark.Text(), code, flags.Text()};
    }
    Shown Command(int index) { return Show(&CMeterDatabase::GetCommand, index, &m_meter); }
    Shown Option(int index) { return Show(&CMeterDatabase::GetOption, index, &m_meter); }

    // The text of the first command in a buffer of `size` bytes.
    std::string TextIn(int size) {
        GuardedBuffer<char> text(size);
        EXPECT_TRUE(m_database.GetCommand(&m_meter, 0, text.Data(), size, nullptr, 0, nullptr, nullptr, 0));
        return text.Text();
    }
};

const auto kNothing = [](const auto& shown) {
    return !shown.found && shown.text.empty() && shown.mark.empty() && shown.code == 0 && shown.flags.empty();
};

// A composite function with a text that has placeholders.
class Placeholders : public Catalogue {
protected:
    void OpenComposite(const std::string& definition, const std::string& text) {
        m_meter.m_functions = {1, 4, 5, 202};
        OpenMeter(Function(1, definition, "1000"), "ParDefRoot=.\n[Functions]\n1000=" + text + "\n");
    }
    std::string Filled(const std::string& definition, const std::string& text) {
        OpenComposite(definition, text);
        return TextIn(600);
    }
};

}  // namespace

// ---- the lists

TEST_F(Catalogue, CountsCommandsAndOptions) {
    m_meter.m_functions = {1, 2, 3, 4, 100};
    OpenMeter(Functions({1, 2, 9, 3, 4, 100}), "[Functions]\nOptions=100,3\n");
    EXPECT_EQ(m_database.GetCommands(&m_meter), 3);
    EXPECT_EQ(m_database.GetOptions(&m_meter), 2);
    EXPECT_EQ(m_database.GetFunctions(&m_meter, 0), 5);
    EXPECT_EQ(m_database.GetFunctions(&m_meter, 1), 3);
    EXPECT_EQ(m_database.GetFunctions(&m_meter, 2), 2);
    EXPECT_EQ(m_database.GetFunctions(&m_meter, 3), 0);
}

TEST_F(Catalogue, IsEmptyWithoutAMeterTypeOrARecord) {
    m_meter.m_functions = {1};
    EXPECT_EQ(m_database.GetCommands(&m_meter), 0) << "no stores";
    OpenMeter(Functions({1, 1}), "[Functions]\nOptions=9\n");
    EXPECT_EQ(m_database.GetCommands(&m_meter), 2);
    EXPECT_EQ(m_database.GetCommands(nullptr), 0);
    EXPECT_EQ(m_database.GetOptions(nullptr), 0);
    m_meter.m_isKnown = false;
    EXPECT_EQ(m_database.GetCommands(&m_meter), 0);
    EXPECT_EQ(m_database.GetOptions(&m_meter), 0);
}

TEST_F(Catalogue, HoldsAll59FunctionsOfARecord) {
    m_meter.m_functions = {1};
    OpenMeter(Functions(std::vector<int>(60, 1)));
    EXPECT_EQ(m_database.GetCommands(&m_meter), 59);
    EXPECT_TRUE(Command(58).found);
    EXPECT_TRUE(kNothing(Command(59)));
}

TEST_F(Catalogue, ShowsEachEntryOfItsList) {
    m_meter.m_functions = {1, 9, 100, 211};
    m_meter.m_texts["MeterTypeDialog[0]"] = "relay";
    OpenMeter(
        "Func1=,W,,1,\"\"\nFunc2=,DR,,100,\"\"\nFunc3=,,,211,\"\"\nFunc4=,U,,9,\"\"\nFunc5=,C,,8,\"\"\nFunc6="
        ",C,,9,\"\"\n",
        "[Functions]\nOptions=100,211\n9=tariffs\n");
    EXPECT_EQ(Command(0), (Shown{true, "read standard list", "?", 1, "W"}));
    EXPECT_EQ(Command(1), (Shown{true, "tariffs", "", 9, "U"}));
    EXPECT_EQ(Command(2), (Shown{true, "tariffs", "!", 9, "C"}));
    EXPECT_TRUE(kNothing(Command(3)));
    EXPECT_EQ(Option(0), (Shown{true, "read date / time", "ok.", 100, "DR"}));
    EXPECT_EQ(Option(1), (Shown{true, "relay", "", 211, ""}));
    EXPECT_TRUE(kNothing(Option(2)));
}

TEST_F(Catalogue, HasNothingAtAWrongIndex) {
    m_meter.m_functions = {1};
    OpenMeter(Functions({1, 1}));
    for (const int index : {-1, -2147483647 - 1, 2, 60, 2147483647}) {
        EXPECT_TRUE(kNothing(Command(index))) << index;
        EXPECT_TRUE(kNothing(Option(index))) << index;
    }
    EXPECT_TRUE(kNothing(Option(0)));
    EXPECT_TRUE(kNothing(Show(&CMeterDatabase::GetCommand, 0, nullptr)));
    m_meter.m_isKnown = false;
    EXPECT_TRUE(kNothing(Command(0)));
}

TEST_F(Catalogue, ShowsAllFunctionsByListMode) {
    m_meter.m_functions = {1, 2};
    OpenMeter(Functions({1, 2}), "[Functions]\nOptions=1\n");
    const std::pair<int, int> rows[] = {{0, 1}, {1, 2}, {2, 1}, {3, 0}};
    for (const auto& [kind, code] : rows) {
        int shown = 99;
        EXPECT_EQ(m_database.GetFunction(&m_meter, 0, nullptr, 0, nullptr, 0, &shown, nullptr, 0, kind),
                  code != 0);
        EXPECT_EQ(shown, code) << kind;
    }
}

// ---- marks and status letters

TEST_F(Catalogue, MarksTheFirstLetterThatCounts) {
    m_meter.m_functions = {1};
    const std::pair<const char*, const char*> rows[] = {
        {"", ""},    {"U", ""},    {"W", "?"}, {"C", "!"},       {"D", "ok."},       {"DR", "ok."},
        {"WR", "?"}, {"R", ""},    {"w", ""},  {"DW", "?"},      {"DC", "!"},        {"CW", "?"},
        {"DU", ""},  {"DCWU", ""}, {"u", ""},  {"\"D\"", "ok."}, {"\"R,D\"", "ok."},
    };
    for (const auto& [status, mark] : rows) {
        OpenMeter("Func1=," + std::string(status) + ",,1,\"\"\n");
        const Shown shown = Command(0);
        EXPECT_EQ(shown.mark, mark) << status;
        EXPECT_EQ(shown.flags, std::string(MeterText::WithoutQuotes(status))) << status;
    }
}

TEST_F(Catalogue, CutsMarkAndStatusLetters) {
    m_meter.m_functions = {1};
    OpenMeter("Func1=,DRXYZ,,1,\"\"\n");
    for (int size = 1; size <= 8; ++size) {
        GuardedBuffer<char> mark(size), flags(size);
        EXPECT_TRUE(
            m_database.GetCommand(&m_meter, 0, nullptr, 0, mark.Data(), size, nullptr, flags.Data(), size));
        EXPECT_EQ(mark.Text(), std::string("ok.").substr(0, static_cast<std::size_t>(size) - 1));
        EXPECT_EQ(flags.Text(), std::string("DRXYZ").substr(0, static_cast<std::size_t>(size) - 1));
    }
}

TEST_F(Catalogue, FillsOnlyTheOutputsThatAreWanted) {
    m_meter.m_functions = {1};
    OpenMeter("Func1=,D,,1,\"\"\n");
    GuardedBuffer<char> text(8), mark(8), flags(8);
    for (const int size : {0, -1}) {
        EXPECT_TRUE(m_database.GetCommand(&m_meter, 0, text.Data(), size, mark.Data(), size, nullptr,
                                          flags.Data(), size));
        EXPECT_FALSE(m_database.GetCommand(&m_meter, 1, text.Data(), size, mark.Data(), size, nullptr,
                                           flags.Data(), size));
        EXPECT_FALSE(m_database.GetCommand(nullptr, 0, text.Data(), size, mark.Data(), size, nullptr,
                                           flags.Data(), size));
    }
    EXPECT_TRUE(text.Untouched());
    EXPECT_TRUE(mark.Untouched());
    EXPECT_TRUE(flags.Untouched());
    EXPECT_TRUE(m_database.GetCommand(&m_meter, 0, nullptr, 8, nullptr, 8, nullptr, nullptr, 8));
    EXPECT_FALSE(m_database.GetCommand(&m_meter, 1, nullptr, 8, nullptr, 8, nullptr, nullptr, 8));
}

// ---- texts

TEST_F(Catalogue, CutsTextsToTheirBuffers) {
    m_meter.m_functions = {2};
    OpenMeter(Functions({2}));
    for (int size = 1; size <= 14; ++size)
        EXPECT_EQ(TextIn(size), std::string("read list 2").substr(0, static_cast<std::size_t>(size) - 1));
}

TEST_F(Catalogue, ShowsAQuestionMarkForACommandWithoutAText) {
    m_meter.m_functions = {9};
    OpenMeter(Functions({9}) + "Func1_Info=,D,,info,\"\"\n");
    EXPECT_EQ(Command(0).text, "?") << "only a composite function has a text of its own";
}

TEST_F(Catalogue, TakesTheTextOfACompositeFunctionFromTheRecordWhenThereIsNoOther) {
    m_meter.m_functions = {1};
    const std::string entry = Function(1, "1", "9") + Function(2, "1", "1000") + Function(3, "1", "1999");
    struct Row {
        const char* info;
        const char* functions;
        const char* text;
    };
    const Row rows[] = {
        {"", "", "?"},
        {"Func2_Info=,D,,own text,\"x\"\n", "", "own text"},
        {"Func2_Info=,D,,\"own, text\",\"x\"\n", "", "own, text"},
        {"Func2_Info=,D,,,\"x\"\n", "", ""},
        {"Func2_Info=text\n", "", ""},
        {"Func1_Info=,D,,own text,\"x\"\n", "", "?"},
        {"Func2_Info=,D,,own text,\"x\"\n", "1000=configured\n", "configured"},
        {"Func2_Info=,D,,own text,\"x\"\n", "1000=\n", "own text"},
        {"Func2_Info=,D,,own text,\"x\"\n", "1000=\"\"\n", "own text"},
        {"Func2_Info=,D,,own text,\"x\"\n", "1000=?\n", "?"},
    };
    for (const Row& row : rows) {
        OpenMeter(entry + row.info, "[Functions]\n" + std::string(row.functions));
        EXPECT_EQ(Command(0).text, row.text) << row.info << row.functions;
        EXPECT_EQ(Command(0).code, 1000);
        EXPECT_EQ(Command(1).text, "?");
    }
}

TEST_F(Catalogue, CutsTheTextOfTheRecordToItsBuffer) {
    m_meter.m_functions = {1};
    OpenMeter(Function(1, "1", "1000") + "Func1_Info=,D,,\"own, text\",\"\"\n");
    for (int size = 1; size <= 12; ++size)
        EXPECT_EQ(TextIn(size), std::string("own, text").substr(0, static_cast<std::size_t>(size) - 1));
}

// ---- placeholders

TEST_F(Placeholders, ShowTheFirstTokenOfTheDefinition) {
    struct Row {
        const char* definition;
        const char* text;
        const char* filled;
    };
    const Row rows[] = {
        {"5[M7]", "a*b", "a7b"},
        {"5[M7]", "*", "7"},
        {"5[M7]", "**", "77"},
        {"5[M7]", "no placeholder", "no placeholder"},
        {"\"5[M7],4[M8]\"", "* and *", "7 and 7"},
        {"\"5[M7],4[M8]\"", "*, * and *[x].", "7, 7 and 7."},
        {"\"4[I20260201],1,O100(clock)\"", "since *[DD.MM.YYYY] at *[HH]", "since 01.02.2026 at 00"},
        {"\"4[I20260201]\"", "since *", "since 02-01-2026"},
        {"\"4[I20260201]\"", "since *[]", "since 02-01-2026"},
        {"\"4[I20260201]\"", "*[DD", "01"},
        {"\"4[I20260201]\"", "*[DD *[MM]", "01 *[02"},
        {"\"4[I20260201]\"", "*[DD]]", "01]"},
        {"\"4[I20260201]\"", "* [DD]", "02-01-2026 [DD]"},
        {"\"4[I20260201]\"", "*[", "02-01-2026"},
        {"\"4[I20260201]\"", "*[*]", "*"},
        {"\"4[I20260201]\"", "*[*]*[*]x*[D]", "**x1"},
        {"\"4[I20260201]\"", "*[*DD] *[*", "* *"},
        {"5[M7](x)", "*", "7"},
        {"5[M7", "*", "7"},
        {"5[]", "<*>", "<>"},
        {"5[", "*", "0"},
        {"O5[M7]", "<*>", "<>"},
        {"1", "<*>", "<>"},
        {"1(M7)", "<*[D]>", "<>"},
        {"1[M7]", "<*>", "<>"},
        {"\"1,5[M7]\"", "<*>", "<>"},
        {"\"5,4[M7]\"", "<*>", "<>"},
        {"1", "<*[*]>", "<*>"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Filled(row.definition, row.text), row.filled) << row.definition << ' ' << row.text;
}

TEST_F(Placeholders, HandOverTheArgumentWithItsBracket) {
    m_folder.Write("p.ini", "[File_0]\nVersion=1\n");
    m_folder.Write("p.ini]", "[File_0]\nVersion=2\n[File_3]\nVersion=33\n");
    EXPECT_EQ(Filled("202[Xp.ini]", "v*[BODKIN]"), "v2");
    EXPECT_EQ(Filled("202[Xp.ini]{3}]", "v*[BODKIN]"), "v33");
    EXPECT_EQ(Filled("202[Xp.ini{0}]", "v*[bodkin] v*[BODKIN]"), "v1 v1");
    EXPECT_EQ(Filled("202[Xp.ini{0}]", "v*"), "v");
}

TEST_F(Placeholders, StandInTheTextOfTheRecordToo) {
    m_meter.m_functions = {4};
    OpenMeter(Function(1, "4[M7]", "1000") + "Func1_Info=,D,,\"day *, *[x]\",\"\"\n");
    EXPECT_EQ(TextIn(256), "day 7, 7");
}

TEST_F(Placeholders, AreFilledForCompositeFunctionsOnly) {
    m_meter.m_functions = {4, 230, 231, 208};  // the last two are the low bytes of 999 and 2000
    const std::pair<int, const char*> rows[] = {
        {999, "*"}, {1000, "7"}, {1999, "7"}, {2000, "*"}, {230, "*"}};
    std::string entries;
    std::string texts = "[Functions]\n";
    int number = 0;
    for (const auto& [code, text] : rows) {
        entries += Function(++number, "4[M7]", std::to_string(code));
        texts += std::to_string(code) + "=*\n";
    }
    OpenMeter(entries, texts);
    for (int index = 0; index < number; ++index)
        EXPECT_EQ(Command(index), (Shown{true, rows[index].second, "", rows[index].first, "U"}));
}

TEST_F(Placeholders, TakeFormatsUpTo255Characters) {
    const std::string dashes(253, '-');
    EXPECT_EQ(Filled("4[I20260201]", "<*[" + dashes + "D]>"), "<" + dashes + "1>");
    EXPECT_EQ(Filled("4[I20260201]", "<*[" + dashes + "-D]>"), "<" + dashes + "-1]>")
        << "no bracket among them";
    EXPECT_EQ(Filled("4[I20260201]", "<*[" + dashes + "--D]>"), "<" + dashes + "--D]>");
}

TEST_F(Placeholders, HoldValuesUpTo255Characters) {
    std::string years;
    for (int i = 0; i < 63; ++i)
        years += "2026";
    EXPECT_EQ(Filled("4[I20260201]", "*[" + std::string(252, 'Y') + "]"), years);
    EXPECT_EQ(Filled("4[I20260201]", "*[" + std::string(254, 'Y') + "]"), years + "202");
}

TEST_F(Placeholders, AreFilledAsFarAsThereIsRoom) {
    // The texts in buffers of 1, 2, 3 ... bytes.
    struct Row {
        const char* definition;
        const char* text;
        std::vector<std::string> filled;
    };
    const Row rows[] = {
        {"4[M7]", "ab*cd", {"", "a", "ab", "ab", "abc", "abcd", "ab7cd", "ab7cd"}},
        {"4[M7]", "*", {"", "*", "7", "7"}},
        {"4[M7]", "**", {"", "*", "7", "77", "77"}},
        {"4[M7]", "***", {"", "*", "7", "77", "777", "777"}},
        {"4[M7]", "*a", {"", "*", "a", "7a", "7a"}},
        {"4[M7]", "*[x]", {"", "*", "7", "7", "7", "7"}},
        {"4[M123]", "*", {"", "*", "", "", "123", "123"}},
        {"4[M123]", "*a*", {"", "*", "a", "a", "a", "a123", "123a", "123a", "123a123", "123a123"}},
        {"4[I20260201]", "*[DD]!", {"", "*", "", "1", "01", "01", "01!", "01!"}},
        {"4[I20260201]", "*[*]", {"", "*", "", "*", "*", "*"}},
        {"1", "a*b", {"", "a", "a", "ab", "ab"}},
        {"4[M7]", "abc", {"", "a", "ab", "abc", "abc"}},
    };
    for (const Row& row : rows) {
        OpenComposite(row.definition, row.text);
        for (std::size_t i = 0; i < row.filled.size(); ++i)
            EXPECT_EQ(TextIn(static_cast<int>(i) + 1), row.filled[i]) << row.text << " in " << i + 1;
    }
}

// ---- memory

TEST_F(Placeholders, AreWholeOrNotThereWithoutMemory) {
    OpenComposite("\"4[I20260201],1\"", "a text that does not fit a string object, since *[DD.MM.YYYY]");
    const Shown whole = Command(0);
    int n = 0;
    for (bool failed = true; failed;) {
        char text[256] = "x";
        char mark[8] = "x";
        char flags[8] = "x";
        int code = 99;
        bool found = false;
        failed = FailAllocation(
            ++n, [&] { found = m_database.GetCommand(&m_meter, 0, text, 256, mark, 8, &code, flags, 8); });
        EXPECT_EQ((Shown{found, text, mark, code, flags}), failed ? (Shown{false, "", "", 0, ""}) : whole)
            << n;
    }
    EXPECT_GT(n, 1);
}
