// A route over many changes - meters that come and go, edits, copies - beside a model of it.
#include <optional>
#include <random>

#include "tests/support/DatabaseFixture.h"

namespace {

// A route as a list: what every record is to hold, and what the copy of it holds that was kept.
class RouteModel : public DatabaseFixture, public testing::WithParamInterface<unsigned> {
protected:
    struct Record {
        std::string lines;
        std::optional<std::string> copy;
    };

    using Meter = std::vector<Record>;  // its main record, then its appendices

    std::string Lines() {
        std::string lines;
        char line[200];
        for (int i = 1; m_database.GetRecordData(i, line, sizeof line); ++i)
            lines += std::string(line) + '\n';
        return lines;
    }

    int Random(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

    void Append() {
        const int appendices = Random(4);
        ASSERT_EQ(m_database.AppendNewMeterToDataFile(std::to_string(appendices).c_str()),
                  static_cast<int>(m_route.size()) + 1);
        ASSERT_EQ(m_database.GetAppendixCount(), appendices);
        Meter meter;
        for (int appendix = 0; appendix <= appendices; ++appendix) {
            ASSERT_TRUE(m_database.SetAppendix(appendix));
            ASSERT_TRUE(m_database.SetMeterItem("Id", std::to_string(++m_made).c_str()));
            meter.push_back({Lines(), std::nullopt});
        }
        m_route.push_back(meter);
    }

    void Delete() {
        const int meter = Random(static_cast<int>(m_route.size()));
        m_database.SetActualPosition(meter + 1);
        m_database.SetAppendix(Random(4));
        ASSERT_TRUE(m_database.DeleteActualMeter());
        m_route.erase(m_route.begin() + meter);
    }

    // Makes any record current.
    Record& Select() {
        const int position = Random(static_cast<int>(m_route.size()));
        Meter& meter = m_route[static_cast<std::size_t>(position)];
        const int appendix = Random(static_cast<int>(meter.size()));
        m_database.SetActualPosition(position + 1);
        EXPECT_TRUE(m_database.SetAppendix(appendix));
        return meter[static_cast<std::size_t>(appendix)];
    }

    void Backup() {
        Record& record = Select();
        ASSERT_TRUE(m_database.BackupRecord());
        record.copy = record.lines;
    }

    void Edit() {
        Record& record = Select();
        ASSERT_TRUE(m_database.SetMeterItem("Note", std::to_string(Random(1000)).c_str()));
        ASSERT_TRUE(m_database.DeleteMeterValue(Random(2) == 0 ? "A" : "#1"));
        ASSERT_TRUE(m_database.SetMeterValue("V", nullptr, "D", nullptr, "1,5", nullptr));
        record.lines = Lines();
    }

    void Restore() {
        Record& record = Select();
        ASSERT_TRUE(m_database.RestoreRecord());
        record.lines = record.copy.value_or(record.lines);
    }

    void ExpectRoute() {
        ASSERT_EQ(m_database.GetNumberOfMeters(), static_cast<int>(m_route.size()));
        for (std::size_t i = 0; i < m_route.size(); ++i) {
            m_database.SetActualPosition(static_cast<int>(i) + 1);
            ASSERT_EQ(m_database.GetAppendixCount() + 1, static_cast<int>(m_route[i].size()));
            for (std::size_t appendix = 0; appendix < m_route[i].size(); ++appendix) {
                ASSERT_TRUE(m_database.SetAppendix(static_cast<int>(appendix)));
                ASSERT_EQ(Lines(), m_route[i][appendix].lines) << "meter " << i + 1 << '/' << appendix;
            }
        }
    }

    // Copies live as long as the file is open.
    void Reopen() {
        ASSERT_TRUE(m_database.UpdateDatabaseForeground());
        ASSERT_TRUE(m_database.OpenDataFile(false));
        for (Meter& meter : m_route)
            for (Record& record : meter)
                record.copy.reset();
    }

    void DoSomething() {
        const int what = Random(12);
        if (m_route.size() < 2 || what < 3)
            return Append();
        if (what < 5)
            return Delete();
        if (what < 7)
            return Backup();
        return what < 9 ? Edit() : Restore();
    }

    std::mt19937 m_random{GetParam()};
    std::vector<Meter> m_route;
    int m_made = 0;
};

TEST_P(RouteModel, KeepsEveryRecordWithItsOwnAppendicesAndItsOwnCopy) {
    Open("", "[Append0]\nNote=1\n[Append1]\n#1=a\n[Append2]\nA=1\n#1=a\n#2=b\n[Append3]\n#1=a\n#2=b\n#3=c\n");
    for (int step = 0; step < 100; ++step) {
        DoSomething();
        if (Random(30) == 0)
            Reopen();
        ExpectRoute();
        if (HasFatalFailure())
            FAIL() << "seed " << GetParam() << ", step " << step;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RouteModel, testing::Range(1U, 9U));

}  // namespace
