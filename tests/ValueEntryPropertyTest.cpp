// Random value entries through random writes, parser runs, automatic fields and clearings.
//
// The property: an entry is written by hand, sub-fields 1 to 4 as tokens (bare or in quotes, up to 255
// characters, with commas and quotes in them), the text in quotes. Whatever sequence of writes and passes
// over the record follows, each sub-field that an operation is not meant to change keeps its bare text - a
// pass leaves even its quotes as they stood, a write takes the quotes out of the bare text of sub-fields 1 to
// 4 - and it stands in the entry bare or in one pair of quotes. Given sub-fields with a comma stay below 253
// characters: longer ones are written bare and come apart on purpose.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "MeterDatabase/ValueEntry.h"
#include "MeterUtil/Text.h"
#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeParser.h"

using namespace MeterRecords;

namespace {

using Fields = std::vector<std::string>;

constexpr int kEntries = 60;
constexpr int kRounds = 60;
constexpr int kAutomatic = 0;  // the entry that is calculated when its attributes hold A
constexpr const char* kLetters = "RUVACD?ab 5;,\"";

std::string WithoutAnyQuote(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '"'), text.end());
    return text;
}

bool HasComma(const std::string& text) {
    return text.find(',') != std::string::npos;
}

class Random {
public:
    explicit Random(unsigned seed) : m_engine(seed) {}

    std::size_t Below(std::size_t limit) { return m_engine() % limit; }
    bool Chance(std::size_t percent) { return Below(100) < percent; }

    std::string Text(std::size_t length, std::string_view letters) {
        std::string text(length, ' ');
        std::generate(text.begin(), text.end(), [&] { return letters[Below(letters.size())]; });
        return text;
    }

    // The length of a sub-field: mostly short, else around the lengths where something changes.
    std::size_t Length() { return Chance(70) ? Below(13) : 245 + Below(11); }

    // A sub-field as someone writes it, one token whatever is in it.
    std::string Token() {
        std::string bare = Text(Length(), kLetters);
        for (std::size_t end = 0; (end = bare.find("\",")) != std::string::npos;)
            bare.erase(end, 1);
        const bool mustBeQuoted = HasComma(bare) || (!bare.empty() && bare.front() == '"');
        return mustBeQuoted || Chance(30) ? '"' + bare + '"' : bare;
    }

    std::string TextField() { return '"' + Text(Length(), "ab 5,\"") + '"'; }

    // What an operation gives for one of sub-fields 1 to 4.
    std::string Given(std::string_view letters) {
        const std::string text = Text(Length(), letters);
        return HasComma(text) && text.size() >= ValueEntry::kQuotedBelow ? text.substr(0, 252) : text;
    }

private:
    std::mt19937 m_engine;
};

class ValueEntryProperty : public DatabaseFixture, public testing::WithParamInterface<unsigned> {
protected:
    static std::string Name(int entry) {
        return entry == kAutomatic ? "MeterID" : "V" + std::to_string(entry);
    }

    void WriteEntries() {
        std::string record = "[#_1]\nState=U\n0.0.0=,D,8,4711,\"\"\n";
        for (int i = 0; i < kEntries; ++i) {
            const Fields raw = {m_random.Chance(50) ? "R" : m_random.Token(), m_random.Token(),
                                m_random.Token(), m_random.Token(), m_random.TextField()};
            record +=
                Name(i) + '=' + raw[0] + ',' + raw[1] + ',' + raw[2] + ',' + raw[3] + ',' + raw[4] + '\n';
            m_raw.push_back(raw);
        }
        Open(record);
    }

    Fields Stored(int entry) {
        char buffer[kSubFields][kEntryBytes];
        EXPECT_TRUE(m_database.GetMeterValue(Name(entry).c_str(), buffer[0], kEntryBytes, buffer[1],
                                             kEntryBytes, buffer[2], kEntryBytes, buffer[3], kEntryBytes,
                                             buffer[4], kEntryBytes));
        return Fields(buffer, buffer + kSubFields);
    }

    static Fields Bare(const Fields& raw) {
        Fields bare;
        for (const std::string& field : raw)
            bare.emplace_back(MeterText::WithoutQuotes(field));
        return bare;
    }

    // One SetMeterValue with some sub-fields given.
    void Write(int entry) {
        Fields expected = Bare(m_raw[static_cast<std::size_t>(entry)]);
        Fields given(kSubFields);
        const char* argument[kSubFields] = {};
        for (std::size_t field = 0; field < kSubFields; ++field) {
            if (m_random.Chance(30)) {
                given[field] = m_random.Given(kLetters);
                argument[field] = given[field].c_str();
                expected[field] = given[field];
            }
            if (field != kText)
                expected[field] = WithoutAnyQuote(expected[field]);
        }
        ASSERT_TRUE(m_database.SetMeterValue(Name(entry).c_str(), argument[0], argument[1], argument[2],
                                             argument[3], argument[4]));
        const Fields stored = Stored(entry);
        EXPECT_EQ(Bare(stored), expected);
        m_raw[static_cast<std::size_t>(entry)] = stored;
    }

    // One parser run with an answer for some entries.
    void Read() {
        FakeParser parser;
        for (int i = 0; i < kEntries; ++i)
            if (m_random.Chance(30))
                parser.m_answer[Name(i)] = m_random.Given("ab 5,");
        m_database.StartParser(&parser);
        for (int i = 0; i < kEntries; ++i) {
            Fields& raw = m_raw[static_cast<std::size_t>(i)];
            const auto answer = parser.m_answer.find(Name(i));
            if (answer != parser.m_answer.end() && MeterText::Contains(raw[kAttributes], 'R')) {
                const std::string status = Stored(i)[kStatus];
                const bool checked = MeterText::Contains(raw[kAttributes], 'V');
                EXPECT_TRUE(status == "DR" || (checked && status == "CR")) << status;
                raw[kStatus] = status;
                const std::string& value = answer->second;
                raw[kValue] = HasComma(value) ? '"' + value + '"' : value;
            }
            EXPECT_EQ(Stored(i), raw);
        }
    }

    // Automatic fields. The letters of a definition ask for no other form of the identifier.
    void Calculate() {
        FakeParser parser;
        m_database.StartAutoFields(&parser);
        Fields& raw = m_raw[kAutomatic];
        if (MeterText::Contains(raw[kAttributes], 'A')) {
            raw[kStatus] = "D";
            raw[kValue] = "4711";
        }
        ExpectStored();
    }

    void Clear(int mode) {
        m_database.ClearFields(mode);
        for (Fields& raw : m_raw) {
            const auto has = [letters = raw[kAttributes]](char c) { return MeterText::Contains(letters, c); };
            const bool empties = has(mode == 0 ? 'C' : 'D');
            if (empties || (mode == 0 && has('?')))
                raw[kValue] = empties ? "" : "?";
            if (has(mode == 0 ? 'U' : 'D'))
                raw[kStatus] = "U";
        }
        ExpectStored();
    }

    void ExpectStored() {
        for (int i = 0; i < kEntries; ++i)
            EXPECT_EQ(Stored(i), m_raw[static_cast<std::size_t>(i)]);
    }

    // What stands in the file is what the store shows.
    void Reopen() {
        ASSERT_TRUE(m_database.UpdateDatabaseForeground());
        ASSERT_TRUE(m_database.OpenDataFile(false));
        ExpectStored();
    }

    void DoSomething() {
        switch (m_random.Below(7)) {
            case 0:
            case 1:
                return Read();
            case 2:
                return Calculate();
            case 3:
                return Clear(static_cast<int>(m_random.Below(2)));
            case 4:
                return Reopen();
            default:
                for (int writes = 0; writes < kEntries; ++writes)
                    Write(static_cast<int>(m_random.Below(kEntries)));
        }
    }

    Random m_random{GetParam()};
    std::vector<Fields> m_raw;  // the sub-fields of each entry as they stand
};

TEST_P(ValueEntryProperty, SubFieldsSurviveAllThatIsNotMeantForThem) {
    WriteEntries();
    ExpectStored();
    for (int round = 0; round < kRounds && !HasFailure(); ++round)
        DoSomething();
    EXPECT_EQ(Data("#_1", "State"), "U");
    EXPECT_EQ(Data("#_1", "0.0.0"), ",D,8,4711,\"\"");
}

// Any text at all, entry or not: composed once it is settled, and its sub-fields come apart the same way
// again.
TEST_P(ValueEntryProperty, AnyTextIsSettledOnceItIsComposed) {
    for (int i = 0; i < 2000; ++i) {
        const std::size_t length = m_random.Chance(80) ? m_random.Below(40) : 4080 + m_random.Below(40);
        const std::string text = m_random.Text(length, m_random.Chance(50) ? "a,\"" : "abcdefghijkl,\"\r");
        const ValueEntry entry(text);
        const std::string composed = entry.Compose();
        const ValueEntry again(composed);
        ASSERT_LE(composed.size(), ValueEntry::kEntryChars) << text;
        ASSERT_EQ(again.Compose(), composed) << text;
        ASSERT_EQ(composed.find_first_of("\r\n"), std::string::npos);
        if (length > 4000)
            continue;
        for (const SubField field : {kAttributes, kStatus, kDefinition, kValue}) {
            std::string expected = entry.Raw(field);
            if (!expected.empty() && expected.front() == '"' &&
                MeterText::WithoutQuotes(expected) == expected)
                expected = WithoutAnyQuote(expected);
            std::replace(expected.begin(), expected.end(), '\r', ' ');
            ASSERT_EQ(again.Raw(field), expected) << text;
        }
        std::string bareText(entry.Bare(kText));
        std::replace(bareText.begin(), bareText.end(), '\r', ' ');
        ASSERT_EQ(again.Bare(kText), bareText) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, ValueEntryProperty, testing::Range(1U, 7U));

}  // namespace
