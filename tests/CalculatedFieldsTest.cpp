// Fields that are calculated from other values of the record.
#include <gtest/gtest.h>

#include <ostream>
#include <tuple>
#include <utility>

#include "MeterUtil/Text.h"
#include "tests/support/CommaLocale.h"
#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"
#include "tests/support/SubFieldTexts.h"

namespace {

constexpr int kFieldBytes = 256;

struct Outcome {
    bool ok;
    std::string result;
    std::string state;

    bool operator==(const Outcome& other) const {
        return std::tie(ok, result, state) == std::tie(other.ok, other.result, other.state);
    }
};

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    return stream << (outcome.ok ? "" : "failed ") << outcome.result << " | " << outcome.state;
}

// A calculation that fails leaves everything as it was.
const Outcome kFailed = {false, "result", "state"};

Outcome Succeeded(const std::string& result) {
    return {true, result, "state"};
}

class CalculatedFields : public DatabaseFixture {
protected:
    void SetUp() override {
        m_system.SetTime({2010, 3, 1, 15, 8, 4, 9, 0});
        Open("[#_1]\nState=U\n");
    }

    void Put(const std::string& name, const std::string& entry) {
        ASSERT_TRUE(m_database.SetMeterItem(name.c_str(), entry.c_str()));
    }

    // A value with this status.
    void PutValue(const std::string& name, const std::string& value, const std::string& status = "D") {
        Put(name, "R," + status + ",8," + value + ",\"\"");
    }

    Outcome Calculate(const std::string& name, std::string format = {}, const char* recordState = "U") {
        GuardedBuffer state(6), result(kFieldBytes);
        MeterText::CopyText(state.Data(), state.Size(), "state");
        MeterText::CopyText(result.Data(), result.Size(), "result");
        const std::string before = DataLines();
        const bool ok = m_database.CalculateField(recordState, name.c_str(), nullptr, state.Data(),
                                                  format.data(), result.Data(), nullptr);
        EXPECT_EQ(DataLines(), before) << "nothing is written";
        return {ok, result.Text(), state.Text()};
    }

    std::string Difference(const std::string& current, const std::string& previous,
                           const std::string& format) {
        PutValue("1.8.0", current);
        PutValue("1.8.0-last", previous);
        const Outcome outcome = Calculate("1.8.0-DIFF", format);
        EXPECT_TRUE(outcome.ok);
        return outcome.result;
    }

    Outcome Counter(const std::string& last, const std::string& date) {
        PutValue("0.1.0-last", last);
        PutValue("0.1.0-DTlast", date);
        return Calculate("0.1.0-calc");
    }

    FakeSystem m_system;
};

}  // namespace

// ---- meter identifier

TEST_F(CalculatedFields, BringTheMeterIdentifierToItsLength) {
    const struct {
        const char* format;
        std::string identifier;
        std::string result;
    } rows[] = {
        {"08", "1234", "00001234"},
        {"4", "A1234567", "4567"},
        {"08", "123456789", "123456789"},
        {"08", "12345678", "12345678"},
        {"8", "1234", "1234"},
        {"1", "1234", "4"},
        {"8", "12345678", "12345678"},
        {"8", "123456789", "23456789"},
        {"", "123456789", "123456789"},
        {"0", "123456789", "123456789"},
        {"00", "1", "1"},
        {"008", "1", "00000001"},
        {"10", "1", "1"},
        {"10", "12345678901", "2345678901"},
        {"A8", "123456789", "23456789"},
        {"X08", "1234", "00001234"},
        {"0a8x", "1234", "00001234"},
        {"1X0", "12345678901", "2345678901"},
        {"A0X4", "12", "0012"},
        {"8 kWh", "123456789", "23456789"},
        {"08,C0;9", "1234", "00001234"},
        {"8.1", "123456789", "23456789"},
        {"B8", "123456789", "123456789"},
        {" 8", "123456789", "123456789"},
        {"-8", "123456789", "123456789"},
        {"20", Text(21, '7'), Text(20, '7')},
        {"21", Text(30, '7'), Text(20, '7')},
        {"021", "1", "00000000000000000001"},
        {"99999999999999999999", Text(30, '7'), Text(20, '7')},
        {"0"
         "99999999999999999999",
         "1", "00000000000000000001"},
        {"8", Text(255, '7'), "77777777"},
        {"", Text(255, '7'), Text(255, '7')},
        {"08", Text(255, '7'), Text(255, '7')},
        {"08", "", "00000000"},
        {"8", "", ""},
        {"8", "\"1,2\"", "1,2"},
    };
    for (const auto& row : rows) {
        PutValue("0.0.0", row.identifier);
        EXPECT_EQ(Calculate("MeterID", row.format), Succeeded(row.result))
            << row.format << " / " << row.identifier;
    }
    EXPECT_EQ(Calculate("METERid", "8"), Succeeded("1,2")) << "the case of names is ignored";
}

TEST_F(CalculatedFields, TakeTheIdentifierOnlyWhenItWasRead) {
    for (const char* status : {"D", "DR", "CD", "\"D\""}) {
        PutValue("0.0.0", "4711", status);
        EXPECT_EQ(Calculate("MeterID", "8"), Succeeded("4711")) << status;
    }
    for (const char* status : {"U", "", "W", "CR", "d"}) {
        PutValue("0.0.0", "4711", status);
        for (const char* recordState : {"U", "", "H", "n", "e"})
            EXPECT_EQ(Calculate("MeterID", "8", recordState), kFailed) << status << " / " << recordState;
        EXPECT_EQ(Calculate("MeterID", "8", nullptr), kFailed);
        for (const char* recordState : {"N", "E", "HN", "EU"})
            EXPECT_EQ(Calculate("MeterID", "8", recordState), (Outcome{true, "", "U"}))
                << status << " / " << recordState;
    }
    Put("0.0.0", "4711");
    EXPECT_EQ(Calculate("MeterID", "8", "E"), (Outcome{true, "", "U"})) << "a plain item has no status";
    ASSERT_TRUE(m_database.DeleteMeterValue("0.0.0"));
    EXPECT_EQ(Calculate("MeterID", "8", "E"), kFailed) << "no such value";
}

// ---- difference

TEST_F(CalculatedFields, GiveTheDifferenceToTheLastReading) {
    const struct {
        const char* current;
        const char* previous;
        const char* format;
        const char* result;
    } rows[] = {
        {"12.3", "99990.0", "5,1", "22.3"},
        {"9312.4", "9067.6", "6.1", "244.8"},
        {"009312.4", "009067.6", "6.1 kWh", "244.8"},
        {"100", "100", "5,1", "0.0"},
        {"100.5", "100", "4.1", "0.5"},
        {"7", "3", "", "4"},
        {"7", "3", "8", "4"},
        {"7.6", "3", "8", "5"},
        {"7", "3", "8,2", "4.00"},
        {"7", "3", "8.2", "4.00"},
        {"7", "3", "8,25", "4.00000"},
        {"7", "3", "8,2,1", "4.0"},
        {"7", "3", "8,2.", "4.00"},
        {"7", "3", "8,C0;9", "4"},
        {"7", "3", ",3", "4.000"},
        {"7", "3", "12a3", "4"},
        {"1", "5", "1", "6"},
        {"1", "5", "0", "6"},
        {"1", "5", "", "6"},
        {"1", "95", "2", "6"},
        {"0", "9999999999", "10", "1"},
        {"0", "9999999999", "12", "1"},
        {"0", "9999999999", "99999999999", "1"},
        {"0", "99999", "4", "-89999"},
        {"0", "25", "1", "-15"},
        {"0", "9.98", "1,2", "0.02"},
        {"x", "y", "4", "0"},
        {"", "", "4,1", "0.0"},
        {"5", "x", "4", "5"},
        {"1e400", "1e400", "4", "0"},
        {"1e400", "1", "4", "9999999999"},
        {"1", "1e400", "4", "-9999999999"},
        {"5", "nan", "4", "5"},
        {"\"7,9\"", "\"3,9\"", "4", "4"},
        {"-5", "-8", "4", "3"},
        {"1234567890123", "0", "4", "9999999999"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Difference(row.current, row.previous, row.format), row.result)
            << row.current << " - " << row.previous << " as " << row.format;
}

TEST_F(CalculatedFields, RollOverAtEveryWidth) {
    std::string rollover = "1";
    for (int width = 1; width <= 10; ++width) {
        rollover += '0';
        const std::string largest(static_cast<std::size_t>(width), '9');
        EXPECT_EQ(Difference("4", largest, std::to_string(width)), "5") << width;
        EXPECT_EQ(Difference("0", largest, std::to_string(width) + ",3"), "1.000") << width;
        EXPECT_EQ(Difference(largest, "0", std::to_string(width)), largest) << "no roll over";
    }
}

TEST_F(CalculatedFields, AreDifferencesByTheTextBehindTheFirstHyphen) {
    PutValue("1.8.0", "7");
    PutValue("1.8.0-last", "3");
    for (const char* name : {"1.8.0-DIFF", "1.8.0-diff", "1.8.0-Diff"})
        EXPECT_EQ(Calculate(name, "4"), Succeeded("4")) << name;
    PutValue("A-B", "7");
    PutValue("A-B-last", "3");
    PutValue("-last", "3");
    for (const char* name : {"1.8.0-DIFFER", "1.8.0-DIF", "1.8.0DIFF", "1.8.0- DIFF", "1.8.0-DIFF ",
                             "A-B-DIFF", "-DIFF", "1.8.0--DIFF", "-", "DIFF", "1.8.0"})
        EXPECT_EQ(Calculate(name, "4"), kFailed) << name;
}

TEST_F(CalculatedFields, NeedBothReadingsForADifference) {
    const std::pair<const char*, bool> rows[] = {{"D", true},  {"DR", true},     {"W", true}, {"C", true},
                                                 {"CR", true}, {"U", false},     {"", false}, {"d", false},
                                                 {"R", false}, {"\"C,R\"", true}};
    for (const auto& [status, present] : rows) {
        PutValue("1.8.0", "7", status);
        PutValue("1.8.0-last", "3");
        EXPECT_EQ(Calculate("1.8.0-DIFF", "4"), present ? Succeeded("4") : kFailed) << status;
        PutValue("1.8.0", "7");
        PutValue("1.8.0-last", "3", status);
        EXPECT_EQ(Calculate("1.8.0-DIFF", "4"), present ? Succeeded("4") : kFailed) << status;
    }
    PutValue("1.8.0-last", "3");
    ASSERT_TRUE(m_database.DeleteMeterValue("1.8.0"));
    EXPECT_EQ(Calculate("1.8.0-DIFF", "4"), kFailed);
    PutValue("1.8.0", "7");
    ASSERT_TRUE(m_database.DeleteMeterValue("1.8.0-last"));
    EXPECT_EQ(Calculate("1.8.0-DIFF", "4"), kFailed);
}

// ---- month counter

TEST_F(CalculatedFields, CountMonthsFromTheLastCounter) {
    const struct {
        const char* last;
        const char* date;
        const char* result;
    } rows[] = {
        {"98", "200912", "01"},
        {"98", "20091231235959", "01"},
        {"5", "201003", "05"},
        {"5", "201002", "06"},
        {"5", "200903", "17"},
        {"5", "201004", "04"},
        {"5", "201010", "-2"},
        {"0", "201104", "-13"},
        {"0", "202003", "-20"},
        {"99", "201003", "99"},
        {"100", "201003", "00"},
        {"1234", "201003", "34"},
        {"x", "201003", "00"},
        {"", "201001", "02"},
        {"5x", "201003", "05"},
        {"7", "abcdef", "30"},
        {"7", "      ", "30"},
        {"0", "201000", "03"},
        {"99999999999", "201003", "47"},
        {"99999999999", "200903", "59"},
        {"-99999999999", "201003", "-48"},
        {"-99999999999", "203003", "-88"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Counter(row.last, row.date), Succeeded(row.result)) << row.last << " / " << row.date;
    EXPECT_EQ(Calculate("0.1.0-CALC"), Succeeded("-88")) << "the case of names is ignored";
}

TEST_F(CalculatedFields, NeedADateOfSixCharacters) {
    for (const char* date : {"", "2", "20100"})
        EXPECT_EQ(Counter("5", date), kFailed) << date;
}

TEST_F(CalculatedFields, NeedBothValuesForTheMonthCounter) {
    for (const char* name : {"0.1.0-last", "0.1.0-DTlast"}) {
        for (const char* status : {"D", "W", "C"}) {
            Counter("5", "201003");
            PutValue(name, "201003", status);
            EXPECT_TRUE(Calculate("0.1.0-calc").ok) << name << ' ' << status;
        }
        for (const char* status : {"U", "", "R"}) {
            PutValue(name, "201003", status);
            EXPECT_EQ(Calculate("0.1.0-calc"), kFailed) << name << ' ' << status;
        }
        ASSERT_TRUE(m_database.DeleteMeterValue(name));
        EXPECT_EQ(Calculate("0.1.0-calc"), kFailed) << name;
        Counter("5", "201003");
    }
}

// ---- every field

TEST_F(CalculatedFields, AreKnownByTheirNames) {
    PutValue("0.0.0", "4711");
    Counter("5", "201003");
    for (const char* name :
         {"", "MeterI", "MeterIDs", " MeterID", "0.1.0", "0.1.0-calc2", "0.1.0-last", "1.8.0"})
        EXPECT_EQ(Calculate(name, "8"), kFailed) << name;
    char result[] = "kept";
    EXPECT_FALSE(m_database.CalculateField("U", nullptr, nullptr, nullptr, nullptr, result, nullptr));
    EXPECT_STREQ(result, "kept");
}

TEST_F(CalculatedFields, ComeFromTheCurrentRecord) {
    m_database.SetIniFile(L"");
    Open("[#_1]\n0.0.0=R,D,8,11,\"\"\n[#1_1]\n0.0.0=R,D,8,22,\"\"\n");
    EXPECT_EQ(Calculate("MeterID"), Succeeded("11"));
    ASSERT_TRUE(m_database.SetAppendix(1));
    EXPECT_EQ(Calculate("MeterID"), Succeeded("22"));
}

TEST_F(CalculatedFields, NeedTheStoresAndACurrentMeter) {
    PutValue("0.0.0", "4711");
    WithoutPreconditions([&](const char* what) {
        char format[] = "8";
        char result[kFieldBytes] = "kept";
        EXPECT_FALSE(m_database.CalculateField("E", "MeterID", nullptr, nullptr, format, result, nullptr))
            << what;
        EXPECT_STREQ(result, "kept");
    });
}

TEST_F(CalculatedFields, NeedNoOutputs) {
    PutValue("0.0.0", "4711", "U");
    EXPECT_TRUE(m_database.CalculateField("E", "MeterID", nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(CalculatedFields, AreTheSameInEveryLanguage) {
    const CommaLocale comma;
    EXPECT_EQ(Difference("12.3", "99990.0", "5,1"), "22.3");
    EXPECT_EQ(Difference("1234567.5", "0", "8,1"), "1234567.5");
    EXPECT_EQ(Counter("98", "200912"), Succeeded("01"));
}

TEST_F(CalculatedFields, FailCleanlyWithoutMemory) {
    Counter("98", "200912");
    PutValue("1.8.0 of a meter with a long name", "2");
    PutValue("1.8.0 of a meter with a long name-last", "1");
    PutValue("0.0.0", Text(60, '7'));
    const std::pair<const char*, std::string> rows[] = {
        {"0.1.0-calc", "01"},
        {"1.8.0 of a meter with a long name-DIFF", "1.000000000"},
        {"MeterID", Text(60, '7')}};
    for (const auto& [name, expected] : rows) {
        bool failed = true;
        for (int n = 1; failed; ++n) {
            char format[] = "010,9";
            GuardedBuffer result(kFieldBytes);
            bool ok = false;
            {
                const HeapFault fault(n);
                ok = m_database.CalculateField("U", name, nullptr, nullptr, format, result.Data(), nullptr);
                failed = fault.Happened();
            }
            EXPECT_TRUE(ok ? result.Text() == expected : result.Untouched()) << name << ' ' << n;
            EXPECT_TRUE(ok || failed);
        }
    }
}
