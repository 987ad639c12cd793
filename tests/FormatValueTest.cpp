// Values as the format token of their definition shows them.
#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string_view>
#include <utility>

#include "tests/support/CommaLocale.h"
#include "tests/support/DatabaseFixture.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"
#include "tests/support/SubFieldTexts.h"

namespace {

constexpr int kOutBytes = 256;

struct Row {
    const char* definition;
    const char* value;
    const char* shown;
};

class FormatValue : public DatabaseFixture {
protected:
    void SetUp() override { Open("[#_1]\nState=U\n", m_surveys); }

    // What is shown, in a buffer that was emptied before.
    std::string Shown(const std::string& definition, const std::string& value) {
        GuardedBuffer out(kOutBytes);
        out.Data()[0] = '\0';
        m_database.FormatValue(out.Data(), value.c_str(), definition.c_str());
        return out.Text();
    }

    template <std::size_t Count>
    void Expect(const Row (&rows)[Count]) {
        for (const Row& row : rows)
            EXPECT_EQ(Shown(row.definition, row.value), row.shown)
                << "definition " << row.definition << ", value " << row.value;
    }

    // Shows a value of the record's own list.
    std::string ShownFromList(const std::string& list, const std::string& value) {
        EXPECT_TRUE(m_database.SetMeterItem("Survey_List", ("A,D,," + list + ",\"\"").c_str()));
        return Shown("S;<List>", value);
    }

    std::string m_surveys;
};

class SelectionLists : public FormatValue {
protected:
    void SetUp() override {
        m_surveys =
            "[Survey_Reason]\n"
            "_Undefined=\"not stated, yet\"\n"
            "01=Meter broken\n"
            "02=\"no access, dog\",hint\n"
            "a=lower case\n"
            "empty=\n"
            "second=,x\n"
            "long=" +
            Text(300) + "\nquoted=\"" + Text(300) + "\",hint\n[Survey_Plain]\n1=one\n[Survey_" +
            Text(39, 'n') + "]\n1=cut\n[Survey_Long]\n_Undefined=\"" + Text(300) + "\"\n";
        FormatValue::SetUp();
    }
};

}  // namespace

// ---- numbers

TEST_F(FormatValue, PutsTheUnitBehindANumber) {
    const Row rows[] = {
        {"3 kWh", "12.5", "12.5 kWh"},
        {"8", "17", "17"},
        {"2 kWh", "", ""},
        {"8.1 kWh", "013799.1", "013799.1 kWh"},
        {"8.1   kWh", "1", "1 kWh"},
        {"8.1 \t kWh", "1", "1 kWh"},
        {"8kWh", "1", "1 kWh"},
        {"8.1.2.3kWh", "1", "1 kWh"},
        {"0m3", "1", "1 m3"},
        {"9 m3/h at 20 C ", "1", "1 m3/h at 20 C "},
        {"16", "10044721", "10044721"},
        {"8 ", "5", "5"},
        {"8. .", "5", "5 ."},
        {"8.", "5", "5"},
        {"3 kWh", "-", "- kWh"},
        {"3 kWh", " ", "  kWh"},
        {"3 kWh", "text", "text kWh"},
        {"3 kWh,C0;100,U---", "12.5", "12.5 kWh"},
        {"\"3 kWh,C0;100,U---\"", "12.5", "12.5 kWh"},
        {"\"3 kWh\"", "12.5", "12.5 kWh"},
        {"3 kWh", "1,5", "1,5 kWh"},
    };
    Expect(rows);
}

TEST_F(FormatValue, ShowsAValueAsItStandsWithoutAFormat) {
    const Row rows[] = {
        {"", "17", "17"},
        {"", "", ""},
        {",3 kWh", "17", "17"},
        {" 3 kWh", "17", "17"},
        {".3 kWh", "17", "17"},
        {"kWh", "17", "17"},
        {"C0;100", "17", "17"},
        {"S;", "17", "17"},
        {"B;", "10", "10"},
        {"S", "17", "17"},
        {"s;Reason", "17", "17"},
        {"b;low", "1", "1"},
        {"S,Reason", "17", "17"},
        {"\"\"", "17", "17"},
        {"\"3 kWh\",C0;1", "17", "17"},
        {"", "a \"b\", c", "a \"b\", c"},
    };
    Expect(rows);
}

// ---- durations

TEST_F(FormatValue, ShowsDurationsInFourForms) {
    const Row rows[] = {
        {"dhms", "+0001021530", "+ 1, 02:15:30"},
        {"dhms", "+0000021530", "+ 02:15:30"},
        {"dhms", "-1234235959", "- 1234, 23:59:59"},
        {"dhm", "+0001021530", "+ 1, 02:15"},
        {"dhm", "+0000021530", "+ 02:15"},
        {"hms", "+0001021530", "+ 26:15:30"},
        {"hms", "+0000021530", "+ 02:15:30"},
        {"hms", "+0004035959", "+ 99:59:59"},
        {"hms", "+0004040000", "+ 100:00:00"},
        {"hm", "+0001021530", "+ 26:15"},
        {"hm", "+0000001530", "+ 00:15"},
        {"hm", "+0004035959", "+ 99:59"},
        {"hm", "+0004040000", "+ 100:00"},
        {"hm", "-0005000000", "- 120:00"},
        {"hm", "+9999990000", "+ 240075:00"},
        {"HMS", "+0001021530", "+ 26:15:30"},
        {"DhMs", "+0001021530", "+ 1, 02:15:30"},
        {"DHM", "+0000021530", "+ 02:15"},
        {"Hm", "+0001021530", "+ 26:15"},
        {"dhms,C0;1", "+0000021530", "+ 02:15:30"},
        {"dhms", " 0000021530", "  02:15:30"},
        {"dhms", "?abcdefghij", "? ef:gh:ij"},
        {"dhms", "+ 12 021530", "+ 12, 02:15:30"},
        {"dhm", "+-001000000", "+ -1, 00:00"},
        {"hm", "+-001230000", "+ -1:00"},
        {"hm", "+-001000000", "+ -24:00"},
    };
    Expect(rows);
}

TEST_F(FormatValue, ShowsWhatIsNoDurationAsItStands) {
    const Row rows[] = {
        {"dhms", "+000102153", "+000102153"},     {"hms", "+000102153", "+000102153"},
        {"dhms", "+00010215300", "+00010215300"}, {"hm", "", ""},
        {"dh", "+0001021530", "+0001021530"},     {"dhmss", "+0001021530", "+0001021530"},
        {"hhmm", "+0001021530", "+0001021530"},   {"h", "+0001021530", "+0001021530"},
        {" hm", "+0001021530", "+0001021530"},
    };
    Expect(rows);
}

// ---- dates

TEST_F(FormatValue, LaysOutDatesByTheirPattern) {
    const Row rows[] = {
        {"DD.MM.YYYY hh:mm", "20100315142530", "15.03.2010 14:25"},
        {"YYYY-MM-DD hh:mm:ss", "20100315142530", "2010-03-15 14:25:30"},
        {"YY-MM-DD", "2010", "10-MM-DD"},
        {"YYYY-MM", "202602", "2026-02"},
        {"MM.yyyy", "20100315", "03.2010"},
        {"MM.Yy", "20100315", "03.10"},
        {"DD.dD.Dd.dd", "20100315", "15.15.15.15"},
        {"hh:HH:hH", "20100315142530", "14:14:14"},
        {"hh:MM", "20100315142530", "14:03"},
        {"hh:mm", "20100315142530", "14:25"},
        {"hh:nn:NN:nN", "20100315142530", "14:25:25:25"},
        {"ss:SS:Ss", "20100315142530", "30:30:30"},
        {"mm-MM-mM-Mm", "20100315142530", "25-03-mM-Mm"},
        {"YYY.YYYYY.YYYYYY", "2010", "10Y.2010Y.201010"},
        {"Y.M.D.h.m.s", "20100315142530", "Y.M.D.h.m.s"},
        {"DDMMYYYY:x", "20100315142530", "15032010:x"},
        {"MM.DD.nnn", "20100315142530", "03.15.25n"},
        {"YYYY-", "2010031514253099", "2010-"},
        {"YYYY.MM", "abcdef", "abcd.ef"},
        {"hh:mm", "+0001021530", "53:mm"},
        {"DD.MM.YYYY", "", ""},
        {"-DD.MM.YYYY", "20100315", "20100315"},
        {"dd.MM.YYYY", "20100315", "20100315"},
        {"yyyy-MM", "20100315", "20100315"},
        {"nn:ss", "20100315142530", "20100315142530"},
        {"YYYYMMDD", "20100315", "20100315"},
        {"DD/MM/YYYY", "20100315", "20100315"},
        {"Y.,M", "2010", "Y."},
    };
    Expect(rows);
}

TEST_F(FormatValue, LeavesLettersStandingThatTheValueIsTooShortFor) {
    const struct {
        const char* pattern;
        const char* letters;  // as they are left
        const char* shown;    // as they are filled in
        std::size_t needs;
    } rows[] = {
        {"YYYY.", "YYYY.", "2010.", 4}, {"YY.", "YY.", "10.", 4},  {"MM.", "MM.", "03.", 6},
        {"DD.", "DD.", "15.", 8},       {"hh:", "hh:", "14:", 10}, {"mm:", "mm:", "25:", 12},
        {"s:nn", "s:nn", "s:25", 12},   {"ss:", "ss:", "30:", 14},
    };
    const std::string value = "20100315142530";
    for (const auto& row : rows)
        for (std::size_t length = 1; length <= value.size(); ++length)
            EXPECT_EQ(Shown(row.pattern, value.substr(0, length)),
                      length < row.needs ? row.letters : row.shown)
                << row.pattern << ' ' << length;
}

// ---- selections

TEST_F(SelectionLists, GiveTheLabelOfACodeFromTheSystemIni) {
    const Row rows[] = {
        {"S;Reason", "01", "Meter broken"},
        {"S;Reason", "02", "no access, dog"},
        {"S;Reason", "99", "- - -"},
        {"S;Reason", "1", "- - -"},
        {"S;Reason", "", "not stated, yet"},
        {"S;Reason", "A", "lower case"},
        {"S;Reason", "empty", ""},
        {"S;Reason", "second", ""},
        {"S;Reason", "a=b", "- - -"},
        {"S;Reason", " ", "- - -"},
        {"S;reason", "01", "Meter broken"},
        {"S;Reason,C0;1", "01", "Meter broken"},
        {"S;Plain", "1", "one"},
        {"S;Plain", "", "? ? ?"},
        {"S;Plain", "2", "- - -"},
        {"S;Missing", "1", "- - -"},
        {"S;Missing", "", "? ? ?"},
        {"S; Plain", "1", "- - -"},
    };
    Expect(rows);
    EXPECT_EQ(Shown("S;Reason", "long"), Text(255));
    EXPECT_EQ(Shown("S;Reason", "quoted"), Text(255)) << "quotes go before a label is cut";
    EXPECT_EQ(Shown("S;Long", ""), Text(255));
}

TEST_F(SelectionLists, HaveNamesOf39Characters) {
    EXPECT_EQ(Shown("S;" + Text(39, 'n'), "1"), "cut");
    EXPECT_EQ(Shown("S;" + Text(40, 'n'), "1"), "cut");
    EXPECT_EQ(Shown("S;" + Text(38, 'n'), "1"), "- - -");
}

TEST_F(FormatValue, TakesTheLabelOfACodeFromTheRecord) {
    const struct {
        const char* list;
        const char* value;
        const char* shown;
    } rows[] = {
        {"01:cellar;02:hall", "01", "cellar"},
        {"01:cellar;02:hall", "02", "hall"},
        {"01:cellar;02:\"box, outside\"", "02", "box, outside"},
        {"01:cellar;02:\"box: outside\"", "02", "box: outside"},
        {"01:cellar;02:open 8:00", "02", "open 8:00"},
        {"01:cellar;02:hall", "03", ""},
        {"01:cellar;02:hall", "1", ""},
        {"01:cellar;02:hall", "", ""},
        {":cellar;02:hall", "", ""},
        {"_1:cellar;02:hall", "_1", ""},
        {"01:;01:second", "01", "second"},
        {"01:\"\";01:second", "01", "second"},
        {"01;01:second", "01", "second"},
        {"01:first;01:second", "01", "first"},
        {"a:lower;A:upper", "A", "upper"},
        {";;01:behind;", "01", "behind"},
        {"01 :cellar", "01", ""},
        {"", "01", ""},
        {"01:cellar", "01:cellar", ""},
        {"x:y;\"a:b\":quoted code", "\"a:b\"", "quoted code"},
    };
    for (const auto& row : rows) {
        const std::string list = row.list;
        const bool quoted = list.find(',') != std::string::npos;
        EXPECT_EQ(ShownFromList(quoted ? '"' + list + '"' : list, row.value), row.shown)
            << row.list << " / " << row.value;
    }
}

TEST_F(FormatValue, FindsAListOfTheRecordByTheNameInBrackets) {
    const std::string longest = Text(37, 'n');
    ASSERT_TRUE(m_database.SetMeterValue("Survey_List", "A", "D", "", "1:one", ""));
    ASSERT_TRUE(m_database.SetMeterValue(("Survey_" + longest).c_str(), "A", "D", "", "1:long", ""));
    ASSERT_TRUE(m_database.SetMeterValue(("Survey_" + longest + "n").c_str(), "A", "D", "", "1:cut", ""));
    ASSERT_TRUE(m_database.SetMeterValue("Survey_", "A", "D", "", "1:nameless", ""));
    ASSERT_TRUE(m_database.SetMeterItem("Survey_Item", "1:item"));
    const std::pair<std::string, const char*> rows[] = {
        {"S;<List>", "one"},
        {"S;<list>", "one"},
        {"S;<List>rest>", "one"},
        {"S;<List>,C0;1", "one"},
        {"\"S;<List>,C0;1\"", "one"},
        {"S;<List", "one"},
        {"S;<" + longest + ">", "long"},
        {"S;<" + longest + "nn>", "cut"},
        {"S;<>", "nameless"},
        {"S;<", "nameless"},
        {"S;<Missing>", ""},
        {"S;<Item>", ""},
        {"S;List", "- - -"},
    };
    for (const auto& [definition, shown] : rows)
        EXPECT_EQ(Shown(definition, "1"), shown) << definition;
}

TEST_F(FormatValue, LeavesTheOutputAloneWhenAListOfTheRecordHasNoSuchCode) {
    ASSERT_TRUE(m_database.SetMeterValue("Survey_List", "A", "D", "", "1:one", ""));
    const std::pair<const char*, const char*> rows[] = {
        {"S;<List>", "2"}, {"S;<List>", ""}, {"S;<List>", nullptr}, {"S;<Missing>", "1"}};
    for (const auto& [definition, value] : rows) {
        GuardedBuffer out(kOutBytes);
        m_database.FormatValue(out.Data(), value, definition);
        EXPECT_TRUE(out.Untouched()) << definition;
    }
    m_database.m_currentMeter = 0;
    GuardedBuffer out(kOutBytes);
    m_database.FormatValue(out.Data(), "1", "S;<List>");
    EXPECT_TRUE(out.Untouched()) << "no current meter";
}

TEST_F(FormatValue, TakesListsFromTheCurrentRecord) {
    m_database.SetIniFile(L"");
    Open("[#_1]\nSurvey_L=A,D,,1:main,\"\"\n[#1_1]\nSurvey_L=A,D,,1:appendix,\"\"\n[#_2]\nState=U\n");
    EXPECT_EQ(Shown("S;<L>", "1"), "main");
    ASSERT_TRUE(m_database.SetAppendix(1));
    EXPECT_EQ(Shown("S;<L>", "1"), "appendix");
    m_database.SetActualPosition(2);
    EXPECT_EQ(Shown("S;<L>", "1"), "");
}

// ---- bits

TEST_F(FormatValue, ListsTheLabelsOfTheBitsThatAreSet) {
    const Row rows[] = {
        {"B;low battery;tamper;error", "101", "low battery,error"},
        {"B;low battery;tamper;error", "111", "low battery,tamper,error"},
        {"B;low battery;tamper;error", "010", "tamper"},
        {"B;low battery;tamper;error", "000", ""},
        {"B;low battery;tamper;error", "", ""},
        {"B;low battery;tamper;error", "001111", "error"},
        {"B;low battery;tamper;error", "1", "low battery"},
        {"B;low battery;tamper;error", "x1?", "tamper"},
        {"B;low battery;tamper;error", "211", "tamper,error"},
        {"B;;tamper;;", "1111", "tamper"},
        {"B;a;;b", "111", "a,b"},
        {"B;only", "11", "only"},
        {"B; ", "1", " "},
        {"B;low battery;tamper,C0;1", "11", "low battery,tamper"},
        {"B;a;\"b;c\"", "11", "a,\"b;c\""},
    };
    Expect(rows);
}

// The labels of one definition fit together: only one that is nearly all of it does not.
TEST_F(FormatValue, LeavesOutBitsWhoseLabelDoesNotFit) {
    EXPECT_EQ(Shown("B;" + Text(252), "1"), Text(252));
    EXPECT_EQ(Shown("B;" + Text(253), "1"), "");
    EXPECT_EQ(Shown("B;;" + Text(252), "01"), Text(252));
    EXPECT_EQ(Shown("B;" + Text(251) + ";y", "11"), Text(251) + ",y");
    EXPECT_EQ(Shown("B;" + Text(120) + ";" + Text(131, 'y') + "z", "11"),
              Text(120) + "," + Text(131, 'y') + "z");
    EXPECT_EQ(Shown("B;" + Text(251) + ";yz", "11"), Text(251) + ",y") << "a definition that is cut";
}

TEST_F(FormatValue, ListsAsManyBitsAsADefinitionHolds) {
    std::string definition = "B";
    std::string shown;
    for (int i = 0; i < 126; ++i) {
        definition += ";x";
        shown += shown.empty() ? "x" : ",x";
    }
    EXPECT_EQ(Shown(definition, Text(100000, '1')), shown);
}

// ---- the contract of the buffer

TEST_F(FormatValue, ShowsAtMost255Characters) {
    EXPECT_EQ(Shown("8 kWh", Text(251)), Text(251) + " kWh");
    EXPECT_EQ(Shown("8 kWh", Text(252)), Text(252) + " kW");
    EXPECT_EQ(Shown("8 kWh", Text(255)), Text(255));
    EXPECT_EQ(Shown("8 kWh", Text(5000)), Text(255));
    EXPECT_EQ(Shown("", Text(254)), Text(254));
    EXPECT_EQ(Shown("", Text(256)), Text(255));
    EXPECT_EQ(Shown("", Text(100000)), Text(255));
    EXPECT_EQ(Shown("8 " + Text(300, 'u'), "1"), "1 " + Text(253, 'u'));
    EXPECT_EQ(Shown("M." + Text(251) + "YY", "2010"), "M." + Text(251) + "10") << "a pattern of 255";
    EXPECT_EQ(Shown("M." + Text(252) + "YY", "2010"), "M." + Text(252) + "Y") << "and one that is cut";
    EXPECT_EQ(Shown("M." + Text(5000), "2010"), "M." + Text(253));
}

TEST_F(FormatValue, StaysInItsBufferWhateverDefinitionAndValue) {
    ASSERT_TRUE(m_database.SetMeterValue("Survey_L", "A", "D", "", ("1:" + Text(250)).c_str(), ""));
    std::mt19937 random(20260301);
    const auto text = [&random](std::string_view start, std::string_view letters) {
        std::string drawn(start);
        for (std::size_t length = random() % (random() % 4 == 0 ? 600 : 20); length > 0; --length)
            drawn += letters[random() % letters.size()];
        return drawn;
    };
    const char* const starts[] = {"", "8", "dhms", "hm", "Y", "M.", "S;", "S;<", "S;<L>", "B;", "\""};
    for (int i = 0; i < 5000; ++i) {
        const std::string definition = text(starts[random() % std::size(starts)], "YMDhmns.-:;,\"<>L0189 k");
        const std::string value = text("", "01+-2: ");
        EXPECT_LE(Shown(definition, value).size(), 255U) << definition << " / " << value;
    }
}

TEST_F(FormatValue, ToleratesNullAndOneBufferForAll) {
    m_database.FormatValue(nullptr, "1", "8 kWh");
    GuardedBuffer out(kOutBytes);
    m_database.FormatValue(out.Data(), nullptr, "8 kWh");
    EXPECT_EQ(out.Text(), "");
    m_database.FormatValue(out.Data(), "17", nullptr);
    EXPECT_EQ(out.Text(), "17");
    m_database.FormatValue(out.Data(), out.Data(), "8 kWh");
    EXPECT_EQ(out.Text(), "17 kWh");
}

TEST_F(FormatValue, ShowsTheValueAsItStandsWithoutTheStores) {
    for (CMeterIniFile** store : {&m_database.m_dataFile, &m_database.m_systemIni}) {
        CMeterIniFile* const kept = std::exchange(*store, nullptr);
        EXPECT_EQ(Shown("8 kWh", "17"), "17");
        EXPECT_EQ(Shown("8 kWh", Text(300)), Text(255));
        *store = kept;
    }
    EXPECT_EQ(Shown("8 kWh", "17"), "17 kWh");
}

TEST_F(FormatValue, NeedsNoCurrentMeterForMostFormats) {
    m_database.m_currentMeter = 0;
    EXPECT_EQ(Shown("8 kWh", "17"), "17 kWh");
    EXPECT_EQ(Shown("S;Missing", "1"), "- - -");
}

TEST_F(FormatValue, IsTheSameInEveryLanguage) {
    const CommaLocale comma;
    EXPECT_EQ(Shown("8.1 kWh", "1234.5"), "1234.5 kWh");
    EXPECT_EQ(Shown("hm", "+9999990000"), "+ 240075:00");
    EXPECT_EQ(Shown("dhm", "+1234000000"), "+ 1234, 00:00");
}

TEST_F(SelectionLists, AreEmptyWithoutMemory) {
    const std::string value = "02";
    for (int n = 1;; ++n) {
        GuardedBuffer out(kOutBytes);
        bool failed = false;
        {
            const HeapFault fault(n);
            m_database.FormatValue(out.Data(), value.c_str(), "S;Reason");
            failed = fault.Happened();
        }
        if (!failed) {
            EXPECT_EQ(out.Text(), "no access, dog");
            break;
        }
        const std::string shown = out.Text();
        EXPECT_TRUE(shown.empty() || shown == "no access, dog") << shown;
    }
}
