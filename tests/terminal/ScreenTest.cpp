// Lines and tables as they are written.
#include "terminal/Screen.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>

#include "terminal/Progress.h"

namespace {

std::string Written(const Table& table, Screen::Style style) {
    std::ostringstream out;
    std::ostringstream errors;
    Screen(out, errors, style).Print(table);
    EXPECT_EQ(errors.str(), "");
    return out.str();
}

Table Meters() {
    return {{{"#", true},
             {"Type", false, false, 2},
             {"Customer", false, true, 1},
             {"Street", false, true},
             {"State"}},
            {{"1", "Gas", "Bakery at the mill", "Mill Lane 9, yard", "to do"},
             {"12", "Electricity", "B\u00E4ckerei", "", Cell("done", Tone::Good)}}};
}

}  // namespace

TEST(Screen, ColumnsStandUnderEachOther) {
    EXPECT_EQ(Written(Meters(), {}),
              "   #  Type         Customer            Street             State\n"
              "  --  -----------  ------------------  -----------------  -----\n"
              "   1  Gas          Bakery at the mill  Mill Lane 9, yard  to do\n"
              "  12  Electricity  B\u00E4ckerei                               done\n");
}

TEST(Screen, EmptyColumnsAreLeftOut) {
    Table table = Meters();
    for (auto& row : table.rows)
        row[2] = row[3] = "";
    EXPECT_EQ(Written(table, {}),
              "   #  Type         State\n"
              "  --  -----------  -----\n"
              "   1  Gas          to do\n"
              "  12  Electricity  done\n");
}

TEST(Screen, NarrowTerminalsCutTheWidestColumnsFirst) {
    EXPECT_EQ(Written(Meters(), {false, 60}),
              "   #  Type         Customer          Street            State\n"
              "  --  -----------  ----------------  ----------------  -----\n"
              "   1  Gas          Bakery at the ..  Mill Lane 9, y..  to do\n"
              "  12  Electricity  B\u00E4ckerei                            done\n");
}

TEST(Screen, NarrowerTerminalsLeaveDispensableColumnsOut) {
    EXPECT_EQ(Written(Meters(), {false, 50}),
              "   #  Customer            Street             State\n"
              "  --  ------------------  -----------------  -----\n"
              "   1  Bakery at the mill  Mill Lane 9, yard  to do\n"
              "  12  B\u00E4ckerei                               done\n");
    EXPECT_EQ(Written(Meters(), {false, 36}),
              "   #  Street             State\n"
              "  --  -----------------  -----\n"
              "   1  Mill Lane 9, yard  to do\n"
              "  12                     done\n");
}

TEST(Screen, LastColumnsGoWhenCuttingIsNotEnough) {
    Table table = Meters();
    table.columns[0].dispensable = -1;
    EXPECT_EQ(Written(table, {false, 21}),
              "   #  Street    State\n"
              "  --  --------  -----\n"
              "   1  Mill L..  to do\n"
              "  12            done\n");
    EXPECT_EQ(Written(table, {false, 20}),
              "  Street       State\n"
              "  -----------  -----\n"
              "  Mill Lane..  to do\n"
              "               done\n");
}

TEST(Screen, WidthNeverFallsBelowWhatCanBeRead) {
    EXPECT_EQ(Written(Meters(), {false, 1}),
              "   #  Street    State\n"
              "  --  --------  -----\n"
              "   1  Mill L..  to do\n"
              "  12            done\n");
}

TEST(Screen, ColoursTonesAndOnlyThem) {
    const Table table{{{"State"}, {"Note"}}, {{Cell("done", Tone::Good), "x"}}};
    EXPECT_EQ(Written(table, {true, 0}),
              "  \x1B[1mState\x1B[0m  \x1B[1mNote\x1B[0m\n"
              "  \x1B[2m-----\x1B[0m  \x1B[2m----\x1B[0m\n"
              "  \x1B[32mdone\x1B[0m   x\n");
}

TEST(Screen, ProblemsGoToStandardErrorUnderTheNameOfTheProgram) {
    std::ostringstream out;
    std::ostringstream errors;
    Screen screen(out, errors, {});
    screen.Problem("no meter");
    screen.Warning("other meter");
    EXPECT_EQ(errors.str(), "meterdb: no meter\nmeterdb: other meter\n");
    EXPECT_EQ(out.str(), "");
}

// ---- questions

TEST(Screen, AgreesWhenAPersonSaysYes) {
    for (const auto& [answer, agrees] : {std::pair("y\n", true),
                                         {"YES\n", true},
                                         {"yes", true},
                                         {"n\n", false},
                                         {"\n", false},
                                         {"", false},
                                         {"yesterday\n", false}}) {
        std::istringstream answers(answer);
        std::ostringstream out;
        std::ostringstream errors;
        EXPECT_EQ(Screen(out, errors, {false, 0, false, &answers}).Agrees("Delete it?"), agrees) << answer;
        // Nobody pressed return behind the end of the input.
        EXPECT_EQ(errors.str(), std::string("Delete it? [y/N] ") + (*answer == '\0' ? "\n" : ""));
        EXPECT_EQ(out.str(), "");
    }
}

TEST(Screen, AsksNobodyWhereThereIsNobody) {
    std::ostringstream out;
    EXPECT_TRUE(Screen(out, out, {}).Agrees("Delete it?"));
    EXPECT_EQ(out.str(), "");
}

// ---- progress

namespace {

std::string ShownOf(bool hasPerson, std::chrono::milliseconds patience, int columns = 0) {
    std::ostringstream out;
    std::ostringstream errors;
    Screen screen(out, errors, {false, columns, hasPerson});
    {
        Progress progress(screen, "Checking", patience);
        progress.Report(0.5);
        progress.Report(0.6);  // too soon behind the first
    }
    EXPECT_EQ(out.str(), "");
    return errors.str();
}

}  // namespace

TEST(Progress, LongWorkShowsABarThatGoesWithIt) {
    EXPECT_EQ(ShownOf(true, std::chrono::milliseconds(0)),
              "\r\x1B[KChecking [###############...............] 50 %\r\x1B[K");
}

TEST(Progress, NarrowTerminalsShowItWithoutABar) {
    const std::string withBar = "\r\x1B[KChecking [###############...............] 50 %\r\x1B[K";
    EXPECT_EQ(ShownOf(true, std::chrono::milliseconds(0), 47), withBar);
    EXPECT_EQ(ShownOf(true, std::chrono::milliseconds(0), 46), "\r\x1B[KChecking 50 %\r\x1B[K");
}

TEST(Progress, ShortWorkShowsNothing) {
    EXPECT_EQ(ShownOf(true, std::chrono::hours(1)), "");
}

TEST(Progress, NobodyIsShownNothing) {
    EXPECT_EQ(ShownOf(false, std::chrono::milliseconds(0)), "");
}
