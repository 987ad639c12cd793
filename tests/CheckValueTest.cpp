// Checking a value against the first check token of its definition.
#include <gtest/gtest.h>

#include <utility>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/HeapFault.h"

namespace {

enum { kPasses, kDeviates, kBelow, kAbove };

class CheckValue : public DatabaseFixture {
protected:
    struct Row {
        std::string value;
        std::string definition;
        int result;
    };

    void Expect(const std::vector<Row>& rows) {
        for (const Row& row : rows)
            EXPECT_EQ(m_database.CheckValue(row.value.c_str(), row.definition.c_str()), row.result)
                << row.value << " against " << row.definition;
    }
};

const std::string kLong(300, 'a');

}  // namespace

TEST_F(CheckValue, TakesTheFirstTokenThatAsksForACheck) {
    Open("[#_1]\nState=U\n");
    Expect({
        {"7", "", kPasses},
        {"7", "8", kPasses},
        {"7", "8,B1,U---", kPasses},
        {"7", "8,X5", kDeviates},
        {"7", "X5,C0;10", kDeviates},
        {"5", "X5,C8;10", kPasses},
        {"7", "8,B1,U---,X5", kDeviates},
        {"7", "8,,X5", kPasses},
        {"7", ",X5", kPasses},
        {"7", "8,X5,", kDeviates},
        {"7", "c1;2", kPasses},
        {"7", "x5", kPasses},
        {"7", "vState", kPasses},
        {"7", " X5", kPasses},
        {"7", "8,\"B,X5\",C0;9", kPasses},
        {"7", "8,\"B,X5,C0;5", kDeviates},
    });
}

TEST_F(CheckValue, TakesTheDefinitionWithOrWithoutItsQuotes) {
    Open("[#_1]\nState=U\n");
    Expect({
        {"21", "\"8,C10;20\"", kAbove},
        {"21", "\"C10;20\"", kAbove},
        {"7", "\"\"", kPasses},
        {"7", "\"", kPasses},
        {"7", "\"X5", kPasses},
    });
}

TEST_F(CheckValue, KeepsARangeBetweenItsLimits) {
    Open("[#_1]\nState=U\n");
    Expect({
        {"9.5", "8,C10;20", kBelow},
        {"10", "8,C10;20", kPasses},
        {"9.999", "8,C10;20", kBelow},
        {"20", "8,C10;20", kPasses},
        {"20.01", "8,C10;20", kAbove},
        {"10", "C10;10", kPasses},
        {"9", "C10;10", kBelow},
        {"11", "C10;10", kAbove},
        {"-5", "C-10;-1", kPasses},
        {"-11", "C-10;-1", kBelow},
        {"0", "C-10;-1", kAbove},
        {"0.25", "C.2;.3", kPasses},
        {"1e3", "C1e2;1e4", kPasses},
        {" 15 kWh", "C10;20", kPasses},
        {"15", "C 10 ; 20 ", kPasses},
        {"15,5", "C10;15", kPasses},
        {"15", "C10;20;12", kPasses},
        {"9", "C10;20;12", kBelow},
    });
}

TEST_F(CheckValue, ReadsWhatIsNoNumberAsZero) {
    Open("[#_1]\nState=U\n");
    Expect({
        {"abc", "C0;20", kPasses},
        {"abc", "C1;20", kBelow},
        {"", "C1;20", kBelow},
        {"", "C-2;-1", kAbove},
        {"nan", "C1;20", kBelow},
        {"inf", "C1;20", kBelow},
        {"0x10", "C1;20", kBelow},
        {"5", "Ca;b", kAbove},
        {"-5", "Ca;b", kBelow},
        {"5", "C ; ", kAbove},
        {"1e999", "C0;1e308", kAbove},
    });
}

TEST_F(CheckValue, ForbidsTheBandBetweenLimitsInReverseOrder) {
    Open("[#_1]\nState=U\n");
    Expect({
        {"15", "C20;10", kDeviates},
        {"10", "C20;10", kPasses},
        {"10.01", "C20;10", kDeviates},
        {"20", "C20;10", kPasses},
        {"19.99", "C20;10", kDeviates},
        {"25", "C20;10", kPasses},
        {"5", "C20;10", kPasses},
    });
}

TEST_F(CheckValue, NeedsBothLimitsOfARange) {
    Open("[#_1]\nState=U\n");
    Expect({
        {"99", "C;20", kPasses},
        {"1", "C10;", kPasses},
        {"1", "C10", kPasses},
        {"1", "C", kPasses},
        {"1", "C;", kPasses},
        {"1", "C10;;20", kPasses},
    });
}

TEST_F(CheckValue, ComparesDigitsAsNumbersAndTheRestAsText) {
    Open("[#_1]\nState=U\n");
    Expect({
        {"12", "X0012", kPasses},
        {"12 34", "X12", kPasses},
        {" 12", "X12", kPasses},
        {"12", "X13", kDeviates},
        {"a1", "XA1", kDeviates},
        {"A1", "XA1", kPasses},
        {"A1", "XA01", kDeviates},
        {"", "X", kPasses},
        {"0", "X", kPasses},
        {" ", "X", kPasses},
        {"5", "X", kDeviates},
        {"a", "X", kDeviates},
        {"", "X0", kPasses},
        {"", "Xa", kDeviates},
        {"-5", "X-5", kPasses},
        {"-5", "X-05", kDeviates},
        {"+5", "X5", kDeviates},
        {"1.0", "X1", kDeviates},
        {"12\t", "X12", kDeviates},
        {"9223372036854775807", "X9223372036854775807", kPasses},
        {"9223372036854775806", "X9223372036854775807", kDeviates},
        {"99999999999999999999", "X9223372036854775807", kPasses},
        {"a;b", "Xa;b", kPasses},
        {"XX", "XXX", kPasses},
    });
}

TEST_F(CheckValue, ComparesWithAnotherValueOfTheRecord) {
    Open(
        "[#_1]\nSerial=A,D,8,4711,\"\"\nName=A,D,8,\"Main St, "
        "5\",\"\"\nEmpty=A,D,8,,\"\"\nQuotes=A,D,8,\"\",\"\"\n"
        "Item=4711\nLong=A,D,8," +
        std::string(300, '9') + ",\"\"\nText=A,D,8," + kLong +
        ",\"\"\n"
        "[#1_1]\nSerial=A,D,8,4712,\"\"\n");
    Expect({
        {"04711", "VSerial", kPasses},
        {"4711", "Vserial", kPasses},
        {"4712", "VSerial", kDeviates},
        {"", "VSerial", kDeviates},
        {"Main St, 5", "VName", kPasses},
        {"main st, 5", "VName", kDeviates},
        {"4711", "VMissing", kDeviates},
        {"", "VMissing", kDeviates},
        {"4711", "V", kDeviates},
        {"4711", "VEmpty", kPasses},
        {"4711", "VQuotes", kPasses},
        {"4711", "VItem", kPasses},
        {std::string(255, '9'), "VLong", kPasses},
        {kLong.substr(0, 255), "VText", kPasses},
        {kLong, "VText", kDeviates},
    });
    ASSERT_TRUE(m_database.SetAppendix(1));
    Expect({{"4712", "VSerial", kPasses}, {"4711", "VSerial", kDeviates}, {"1", "VName", kDeviates}});
}

TEST_F(CheckValue, ReadsTokensOfUpTo255Characters) {
    Open("[#_1]\nState=U\n");
    Expect({
        {kLong.substr(0, 254), "X" + kLong, kPasses},
        {kLong.substr(0, 255), "X" + kLong, kDeviates},
        {"7", std::string(400, '8') + ",X5", kDeviates},
    });
}

TEST_F(CheckValue, TakesNullForAnEmptyText) {
    Open("[#_1]\nState=U\n");
    EXPECT_EQ(m_database.CheckValue(nullptr, "X5"), kDeviates);
    EXPECT_EQ(m_database.CheckValue(nullptr, "X"), kPasses);
    EXPECT_EQ(m_database.CheckValue("5", nullptr), kPasses);
}

TEST_F(CheckValue, DeviatesWithoutADataFile) {
    EXPECT_EQ(m_database.CheckValue("5", "X5"), kDeviates);
    EXPECT_EQ(m_database.CheckValue("5", ""), kDeviates);
    Open("[#_1]\nState=U\n");
    EXPECT_EQ(m_database.CheckValue("5", "X5"), kPasses);
    m_database.CloseDataFile();
    EXPECT_EQ(m_database.CheckValue("5", "X5"), kDeviates);
}

TEST_F(CheckValue, NeedsACurrentRecordOnlyForAReference) {
    Open("[#_1]\nSerial=A,D,8,4711,\"\"\n");
    m_database.m_currentMeter = 0;
    Expect({{"5", "X5", kPasses}, {"5", "C6;7", kBelow}, {"4711", "VSerial", kDeviates}});
    m_database.m_currentMeter = 1;
    CMeterIniFile* const systemIni = std::exchange(m_database.m_systemIni, nullptr);
    Expect({{"5", "X5", kPasses}, {"4711", "VSerial", kDeviates}});
    m_database.m_systemIni = systemIni;
}

TEST_F(CheckValue, DeviatesWithoutMemory) {
    Open("[#_1]\nState=U\n");
    const std::string definition = "X7;" + kLong;
    const HeapFault fault(1, HeapFault::Times::FromThenOn);
    EXPECT_EQ(m_database.CheckValue("7", definition.c_str()), kDeviates);
}
