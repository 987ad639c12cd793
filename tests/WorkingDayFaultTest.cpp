// A whole working day on a system that fails: every platform call and every allocation of the day fails in
// its turn, once and from then on. Nothing that was told to be saved is lost, no file is a mixture, no meter
// and no answer of a meter disappears, and the next save puts right what is left.
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <tuple>

#include "tests/support/HeapFault.h"
#include "tests/support/OneIn.h"
#include "tests/support/WorkingDay.h"

namespace {

constexpr Platform::SystemTime kNow = {2026, 11, 6, 21, 9, 30, 0, 0};

std::string Value(const TestDatabase& database, const std::string& section, const char* key) {
    char value[256];
    return database.m_dataFile->ReadString(section.c_str(), key, value, sizeof value) ? value : "(missing)";
}

// A day that goes on whatever fails, in a folder of its own.
class FaultyDay {
public:
    explicit FaultyDay(int meters) : m_day(&m_folder, &m_system, meters) {
        m_system.SetTime(kNow);
        m_system.SkipFlushes();
    }

    FakeSystem* System() { return &m_system; }

    void Run() {
        if (m_day.Open()) {
            m_day.Visit();
            m_day.Gather(0, 2);
            m_day.Exchange();
            m_day.DeleteAndAppend();
            m_day.Gather(2, 1);
            m_day.SaveData();
        }
    }

    // An evening with a change that only a save in the background has, which may still be under way.
    void ChangeOnceMore() {
        ASSERT_TRUE(m_day.Database()->SetMeterItem("Note", "closing"));
        m_day.SaveDataInTheBackground();
    }
    void Close() { m_day.Close(); }

    // What is left by a close that met a fault: whole files, and the latest ones unless somebody was told.
    void ExpectClosed() {
        m_system.Heal();
        ExpectFiles();
        for (const char* file : kFiles)
            if (m_folder.Read(file) != m_day.States(file).back().text) {
                EXPECT_GT(m_day.FailuresTold(), 0) << file << " is old and nobody knows";
            }
    }

    // What stands on the disk when the faults are over, and what the next save makes of it.
    void ExpectNothingLost() {
        m_system.Heal();
        ExpectFiles();
        m_day.Close();
        TestDatabase next(m_folder.Wide().c_str());
        next.SetIniFile(L"system.ini");
        ASSERT_TRUE(next.OpenDataFile(false));
        EXPECT_FALSE(next.IniFileError());
        ExpectMeters(next);
    }

private:
    static constexpr const char* kFiles[] = {WorkingDay::kDataFile, WorkingDay::kAppFile,
                                             WorkingDay::kDataMirror, WorkingDay::kAppMirror};

    void ExpectFiles() {
        for (const char* file : kFiles)
            ExpectSavedState(file);
        ExpectAnswers();
        ExpectNoOtherFiles();
    }

    // Not older than the last one whose success was told.
    void ExpectSavedState(const char* file) {
        const std::optional<std::string> found =
            m_folder.Exists(file) ? std::optional<std::string>(m_folder.Read(file)) : std::nullopt;
        const std::vector<WorkingDay::State>& states = m_day.States(file);
        for (auto state = states.rbegin(); state != states.rend(); ++state) {
            if (state->text == found)
                return;
            if (state->promised)
                break;
        }
        ADD_FAILURE() << file << " is no state that was saved: " << found.value_or("(missing)");
    }

    void ExpectAnswers() const {
        const std::string archive = m_folder.Read(WorkingDay::kRawFile);
        for (const WorkingDay::Answer& answer : m_day.Answers())
            EXPECT_TRUE(m_folder.Read("spool/" + answer.name) == answer.content ||
                        archive.find(answer.block) != std::string::npos)
                << answer.name;
    }

    // Half a file may stay only where it could not be removed.
    void ExpectNoOtherFiles() const {
        const auto failedRemovals = [this] {
            const std::vector<FakeSystem::Entry> journal = m_system.Journal();
            return std::count_if(journal.begin(), journal.end(), [](const FakeSystem::Entry& entry) {
                return entry.call == FakeSystem::Call::Remove && !entry.done;
            });
        };
        for (const std::string& name : m_folder.Names())
            if (name[0] == '~') {
                EXPECT_NE(failedRemovals(), 0) << name;
            }
    }

    // Every meter of the route is there once, with what its visit left.
    void ExpectMeters(const TestDatabase& database) {
        std::multiset<std::string> meters;
        char header[40];
        for (int line = database.m_dataFile->FindBracketLine(0); line >= 0;
             line = database.m_dataFile->FindBracketLine(line + 1)) {
            database.m_dataFile->GetString(line, header, sizeof header);
            const std::string name = header;
            if (name.compare(0, 3, "[#_") != 0)
                continue;
            const std::string section = name.substr(1, name.find(']') - 1);
            const std::string number = Value(database, section, "No");
            meters.insert(number);
            if (m_day.Visited().count(number) != 0) {
                EXPECT_EQ(Value(database, section, "State"), "H") << number;
            }
            if (number == "M3" && m_day.Exchanged()) {
                EXPECT_EQ(Value(database, section, "0.0.0"), "S,D,8,4711,\"\"");
            }
        }
        EXPECT_EQ(meters, m_day.Meters());
        EXPECT_EQ(Value(database, "General", "Meters"), std::to_string(meters.size()));
    }

    TestFolder m_folder;
    FakeSystem m_system;
    WorkingDay m_day;
};

// A fault in every call of a kind makes many days, which are split into parts that run side by side.
constexpr int kParts = 4;
constexpr int kMeters = 50;

// The days of one part: run(n, &day) runs a day whose n-th call fails, and tells whether it came to that
// call.
template <typename Run>
void TryDays(int part, int fewest, Run run) {
    bool failed = true;
    int days = 0;
    const int step = OneIn();
    for (int n = 1 + (part - 1) * step; failed && !testing::Test::HasFailure(); n += kParts * step) {
        SCOPED_TRACE("failure " + std::to_string(n));
        FaultyDay day(kMeters);
        failed = run(n, &day);
        days += failed ? 1 : 0;
        day.ExpectNothingLost();
    }
    std::cout << days << " days with a failure\n";
    EXPECT_GT(days, fewest / kParts / step);
}

class FailingCalls : public testing::TestWithParam<std::tuple<FakeSystem::Times, int>> {};

TEST_P(FailingCalls, LoseNothingOfAWholeDay) {
    TryDays(std::get<1>(GetParam()), 500, [](int n, FaultyDay* day) {
        day->System()->FailAnyCall(n, std::get<0>(GetParam()));
        day->Run();
        return day->System()->FaultHappened();
    });
}

INSTANTIATE_TEST_SUITE_P(WorkingDay, FailingCalls,
                         testing::Combine(testing::Values(FakeSystem::Times::Once,
                                                          FakeSystem::Times::FromThenOn),
                                          testing::Range(1, kParts + 1)));

class FailingAllocations : public testing::TestWithParam<std::tuple<HeapFault::Times, int>> {};

TEST_P(FailingAllocations, LoseNothingOfAWholeDay) {
    TryDays(std::get<1>(GetParam()), 1000, [](int n, FaultyDay* day) {
        const HeapFault fault(n, std::get<0>(GetParam()));
        day->Run();
        return fault.Happened();
    });
}

// The close tells nobody by its result; it has none.
template <typename Fail>
void TryCloses(int fewest, Fail fail) {
    int closes = 0;
    for (bool failed = true; failed && !testing::Test::HasFailure();) {
        SCOPED_TRACE("failure " + std::to_string(closes + 1));
        FaultyDay day(5);
        day.Run();
        failed = fail(closes + 1, &day);
        closes += failed ? 1 : 0;
        day.ExpectClosed();
    }
    std::cout << closes << " closes with a failure\n";
    EXPECT_GT(closes, fewest);
}

TEST(WorkingDayClose, LosesNothingWhenACallFails) {
    for (const FakeSystem::Times times : {FakeSystem::Times::Once, FakeSystem::Times::FromThenOn})
        TryCloses(40, [times](int n, FaultyDay* day) {
            day->System()->FailAnyCall(n, times);
            day->ChangeOnceMore();
            day->Close();
            return day->System()->FaultHappened();
        });
}

TEST(WorkingDayClose, LosesNothingWithoutMemory) {
    for (const HeapFault::Times times : {HeapFault::Times::Once, HeapFault::Times::FromThenOn})
        TryCloses(10, [times](int n, FaultyDay* day) {
            day->ChangeOnceMore();
            const HeapFault fault(n, times);
            day->Close();
            return fault.Happened();
        });
}

INSTANTIATE_TEST_SUITE_P(WorkingDay, FailingAllocations,
                         testing::Combine(testing::Values(HeapFault::Times::Once,
                                                          HeapFault::Times::FromThenOn),
                                          testing::Range(1, kParts + 1)));

}  // namespace
