// The list of functions that a meter offers: what its type, the access level, the list flags and the
// configuration leave of it, how it is split into commands and options, and when a composite function is part
// of it.
#include <gtest/gtest.h>

#include <numeric>

#include "tests/support/FunctionFixture.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

using Codes = std::vector<int>;

constexpr int kAll = 0;
constexpr int kCommands = 1;
constexpr int kOptions = 2;

std::string Repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

// first, first + 1, ... of `count` numbers.
Codes Sequence(int first, std::size_t count) {
    Codes codes(count);
    std::iota(codes.begin(), codes.end(), first);
    return codes;
}

Codes CodesIn(const std::string& bytes) {
    Codes codes;
    for (const char byte : bytes)
        codes.push_back(static_cast<unsigned char>(byte));
    return codes;
}

class FunctionList : public FunctionFixture {
protected:
    // Codes and entry numbers of the functions that are listed.
    Codes List(int mode = kAll, int capacity = 60) {
        GuardedBuffer<int> codes(100), numbers(100);
        int count = -1;
        EXPECT_TRUE(m_database.BuildFuncCodeList(&m_meter, codes.Data(), numbers.Data(), &count, capacity,
                                                 mode, nullptr, 0));
        m_numbers.assign(numbers.Data(), numbers.Data() + count);
        return Codes(codes.Data(), codes.Data() + count);
    }

    // What is left of the functions of the meter type.
    Codes Available(int size = 300) {
        GuardedBuffer<char> available(size);
        int count = 0;
        EXPECT_TRUE(m_database.BuildFuncCodeList(&m_meter, nullptr, nullptr, &count, 60, kAll,
                                                 reinterpret_cast<unsigned char*>(available.Data()), size));
        return CodesIn(available.Text());
    }

    bool Check(const char* definition, const std::string& available) {
        return m_database.CheckFunctionList(definition,
                                            reinterpret_cast<const unsigned char*>(available.c_str()));
    }

    Codes m_numbers;
};

using AccessLists = FunctionList;
using ListFlags = FunctionList;
using ManualReset = FunctionList;
using OptionList = FunctionList;
using CompositeFunctions = FunctionList;

}  // namespace

// ---- what is listed

TEST_F(FunctionList, HoldsWhatTheMeterTypeSupportsInTheOrderOfTheRecord) {
    m_meter.m_functions = {1, 2, 3};
    OpenMeter(Functions({3, 4, 1, 9, 2}));
    EXPECT_EQ(List(), (Codes{3, 1, 2}));
    EXPECT_EQ(m_numbers, (Codes{1, 3, 5}));
}

TEST_F(FunctionList, EndsAtTheFirstMissingEntry) {
    m_meter.m_functions = {1, 2, 3, 4, 5, 7, 8};
    OpenMeter(Functions({1, 2, 3, 4, 5}) + Function(7, "", "7") + Function(8, "", "8"));
    m_database.m_functionListFlagA = true;
    EXPECT_EQ(List(), (Codes{1, 2, 3, 4, 5}));
}

TEST_F(FunctionList, IsEmptyWithoutAFirstEntry) {
    m_meter.m_functions = {1, 2};
    OpenMeter(Function(2, "", "2") + Function(0, "", "1"));
    EXPECT_EQ(List(), Codes());
}

TEST_F(FunctionList, EndsAtEntry59) {
    m_meter.m_functions = {1};
    OpenMeter(Functions(Codes(61, 1)));
    EXPECT_EQ(List(kAll, 100), Codes(59, 1));
    EXPECT_EQ(m_numbers, Sequence(1, 59));
}

TEST_F(FunctionList, EndsAtItsCapacity) {
    m_meter.m_functions = Sequence(1, 5);
    OpenMeter(Functions({1, 2, 9, 3, 4, 5}));
    EXPECT_EQ(List(kAll, 2), (Codes{1, 2}));
    EXPECT_EQ(List(kAll, 3), (Codes{1, 2, 3})) << "what is not offered takes no room";
    EXPECT_EQ(List(kAll, 5), Sequence(1, 5));
    EXPECT_EQ(List(kAll, 1), Codes{1});
    EXPECT_EQ(List(kAll, 0), Codes());
    EXPECT_EQ(List(kAll, -1), Codes());
}

TEST_F(FunctionList, WritesNothingBehindItsCapacity) {
    m_meter.m_functions = Sequence(1, 5);
    OpenMeter(Functions(Sequence(1, 5)));
    GuardedBuffer<int> codes(2), numbers(2);
    int count = -1;
    EXPECT_TRUE(
        m_database.BuildFuncCodeList(&m_meter, codes.Data(), numbers.Data(), &count, 2, kAll, nullptr, 0));
    EXPECT_EQ(count, 2);
}

TEST_F(FunctionList, FillsOnlyTheArraysThatAreWanted) {
    m_meter.m_functions = {1, 2};
    OpenMeter(Functions({9, 1, 2}));
    int count = -1;
    int only[2] = {};
    EXPECT_TRUE(m_database.BuildFuncCodeList(&m_meter, nullptr, nullptr, &count, 60, kAll, nullptr, 0));
    EXPECT_EQ(count, 2);
    EXPECT_TRUE(m_database.BuildFuncCodeList(&m_meter, only, nullptr, &count, 60, kAll, nullptr, 0));
    EXPECT_EQ(Codes(only, only + 2), (Codes{1, 2}));
    EXPECT_TRUE(m_database.BuildFuncCodeList(&m_meter, nullptr, only, &count, 60, kAll, nullptr, 0));
    EXPECT_EQ(Codes(only, only + 2), (Codes{2, 3}));
}

TEST_F(FunctionList, WithoutACountIsNotMadeButTheMeterTypeIsStillToldOf) {
    m_meter.m_functions = {1, 2};
    OpenMeter(Functions({1, 2}));
    GuardedBuffer<int> codes(60), numbers(60);
    GuardedBuffer<char> available(256);
    EXPECT_TRUE(m_database.BuildFuncCodeList(&m_meter, codes.Data(), numbers.Data(), nullptr, 60, kAll,
                                             reinterpret_cast<unsigned char*>(available.Data()), 256));
    EXPECT_TRUE(codes.Untouched());
    EXPECT_TRUE(numbers.Untouched());
    EXPECT_EQ(available.Text(), "\1\2");
}

TEST_F(FunctionList, FailsForAnUnknownMeterType) {
    m_meter.m_isKnown = false;
    m_meter.m_functions = {1};
    OpenMeter(Functions({1}));
    for (CMeterInterface* const iface :
         {static_cast<CMeterInterface*>(&m_meter), static_cast<CMeterInterface*>(nullptr)}) {
        GuardedBuffer<int> codes(60), numbers(60);
        GuardedBuffer<char> available(256);
        int count = -1;
        EXPECT_FALSE(m_database.BuildFuncCodeList(iface, codes.Data(), numbers.Data(), &count, 60, kAll,
                                                  reinterpret_cast<unsigned char*>(available.Data()), 256));
        EXPECT_EQ(count, 0);
        EXPECT_TRUE(codes.Untouched());
        EXPECT_TRUE(numbers.Untouched());
        EXPECT_TRUE(available.Untouched());
        EXPECT_FALSE(m_database.BuildFuncCodeList(iface, nullptr, nullptr, nullptr, 60, kAll, nullptr, 0));
    }
}

TEST_F(FunctionList, IsThatOfTheCurrentRecord) {
    m_meter.m_functions = {1, 2};
    OpenMeter(Functions({1}) + "[#1_1]\n" + Functions({2}));
    EXPECT_EQ(List(), Codes{1});
    ASSERT_TRUE(m_database.SetAppendix(1));
    EXPECT_EQ(List(), Codes{2});
}

TEST_F(FunctionList, IsEmptyWithoutARecordButTheMeterTypeIsStillToldOf) {
    m_meter.m_functions = {1, 2};
    EXPECT_EQ(List(), Codes()) << "no stores";
    EXPECT_EQ(Available(), (Codes{1, 2}));
    OpenMeter(Functions({1}));
    m_database.m_currentMeter = 0;
    EXPECT_EQ(List(), Codes()) << "no current meter";
    EXPECT_EQ(Available(), (Codes{1, 2}));
    m_database.m_currentMeter = 1;
    m_database.CloseDataFile();
    EXPECT_EQ(List(), Codes()) << "no data file";
    EXPECT_EQ(Available(), (Codes{1, 2}));
}

TEST_F(FunctionList, JudgesACodeByItsLowByte) {
    m_meter.m_functions = {1, 200, 255};
    m_database.m_functionListFlagA = true;
    const std::vector<std::pair<const char*, Codes>> rows = {
        {"1", {1}},
        {"01", {1}},
        {" 1", {1}},
        {"1x", {1}},
        {"\"1\"", {1}},
        {"2", {}},
        {"200", {200}},
        {"255", {255}},
        {"257", {257}},
        {"258", {}},
        {"513", {513}},
        {"999", {}},
        {"2000", {}},
        {"2049", {2049}},
        {"-1", {-1}},
        {"-2", {}},
        {"0", {0}},
        {"256", {256}},
        {"-256", {-256}},
        {"512", {512}},
        {"", {0}},
        {"text", {0}},
        {"2147483647", {2147483647}},
        {"99999999999", {2147483647}},
    };
    for (const auto& [code, listed] : rows) {
        OpenMeter(Function(1, "", code));
        EXPECT_EQ(List(), listed) << code;
    }
}

TEST_F(FunctionList, TakesAnEntryWithoutSubFieldsAsFunctionZero) {
    m_meter.m_functions = {1};
    OpenMeter("Func1=1\nFunc2=\n" + Function(3, "", "1"));
    EXPECT_EQ(List(), (Codes{0, 0, 1}));
}

TEST_F(FunctionList, KeepsAFunctionThatIsDefinedTwice) {
    m_meter.m_functions = {1, 2};
    OpenMeter(Functions({1, 2, 1}));
    EXPECT_EQ(List(), (Codes{1, 2, 1}));
}

// ---- what the meter type supports

TEST_F(FunctionList, TakesTheMeterTypesFunctionsUpToTheirZero) {
    OpenMeter("");
    m_meter.m_functions = {1, 9, 0, 3};
    EXPECT_EQ(Available(), (Codes{1, 9}));
    m_meter.m_functions = {};
    EXPECT_EQ(Available(), Codes());
}

TEST_F(FunctionList, TakesAFullSetOfFunctions) {
    OpenMeter(Functions({255, 1, 6}));
    m_database.m_functionListFlagA = true;
    m_meter.m_functions = Sequence(1, 255);
    EXPECT_EQ(Available(), Sequence(1, 255));
    EXPECT_EQ(List(), (Codes{255, 1, 6}));
}

TEST_F(FunctionList, EndsASetOfFunctionsThatTheMeterTypeDidNotEnd) {
    OpenMeter(Functions({1, 9}));
    m_meter.m_terminates = false;
    m_meter.m_functions = Codes(256, 9);
    EXPECT_EQ(Available(), Codes(255, 9));
    EXPECT_EQ(List(), Codes{9});
    m_meter.m_functions = {9};
    EXPECT_EQ(Available(), Codes{9});
}

TEST_F(FunctionList, HandsOutTheAvailableFunctionsAsFarAsTheyFit) {
    OpenMeter("");
    m_meter.m_functions = {11, 12, 13};
    EXPECT_EQ(Available(2), Codes{11});
    EXPECT_EQ(Available(3), (Codes{11, 12}));
    EXPECT_EQ(Available(4), (Codes{11, 12, 13}));
    EXPECT_EQ(Available(256), (Codes{11, 12, 13}));
    for (const int size : {1, 0, -1}) {
        GuardedBuffer<char> available(8);
        int count = 0;
        EXPECT_TRUE(m_database.BuildFuncCodeList(&m_meter, nullptr, nullptr, &count, 60, kAll,
                                                 reinterpret_cast<unsigned char*>(available.Data()), size));
        EXPECT_TRUE(available.Untouched()) << size;
    }
}

// ---- access lists

TEST_F(AccessLists, AreChosenByTheSituationOfTheRecordAndTheMeterType) {
    struct Row {
        const char* state;
        const char* action;
        const char* lists;
        Codes available;
    };
    const std::string change = "Action=A,D,,Change,\"\"\n";
    const std::string none = "Action=A,D,,,\"\"\n";
    const char* const kLists =
        "NOROUTE_T1=1\nNOROUTE_*=2\nCHANGE_T1=3\nCHANGE_*=4\nROUTE_T1=5\nROUTE_*=8\nNOROUTE_T2=9\nROUTE_T2="
        "9\n";
    const Row rows[] = {
        {"E", "", kLists, {1}},
        {"N", "", kLists, {1}},
        {"HE", "", kLists, {1}},
        {"UNA", "", kLists, {1}},
        {"E", change.c_str(), kLists, {1}},
        {"en", "", kLists, {5}},
        {"U", change.c_str(), kLists, {3}},
        {"U", "Action=,,,\"unknown, word\",\n", kLists, {3}},
        {"U", none.c_str(), kLists, {5}},
        {"U", "Action=A,D,,\"\",\"\"\n", kLists, {5}},
        {"U", "Action=Change\n", kLists, {5}},
        {"U", "", kLists, {5}},
        {"", "", kLists, {5}},
        {"E", "", "NOROUTE_*=2\nROUTE_T1=5\n", {2}},
        {"E", "", "NOROUTE_T1=\nNOROUTE_*=2\n", {2}},
        {"E", "", "NOROUTE_T1=\"\"\nNOROUTE_*=2\n", {2}},
        {"U", change.c_str(), "CHANGE_*=4\nROUTE_T1=5\n", {4}},
        {"U", change.c_str(), "CHANGE_T1=\nCHANGE_*=4\n", {4}},
        {"U", "", "ROUTE_*=8\nNOROUTE_T1=1\n", {8}},
        {"U", "", "route_t1=5\n", {5}},
        {"U", "", "ROUTE_T1=\nROUTE_*=8\n", {8}},
        {"E", "", "ROUTE_T1=5\nROUTE_*=8\n", {1, 2, 3, 4, 5, 8, 9}},
        {"U", "", "ROUTE_T1=\nROUTE_*=\n", {1, 2, 3, 4, 5, 8, 9}},
        {"U", change.c_str(), "NOROUTE_*=2\nROUTE_*=8\n", {1, 2, 3, 4, 5, 8, 9}},
    };
    m_meter.m_functions = {1, 2, 3, 4, 5, 8, 9};
    for (const Row& row : rows) {
        OpenMeter(row.action, "RespectAccessLevel=Yes\n[AccessLevel3]\n" + std::string(row.lists), row.state);
        m_database.SetAccessLevel(3);
        EXPECT_EQ(Available(), row.available) << row.state << '/' << row.action << '/' << row.lists;
    }
}

TEST_F(AccessLists, FilterTheFunctionsOfTheMeterTypeInItsOrder) {
    const std::string fill = Repeated("7777,", 101);  // 505 characters that name no function
    const std::vector<std::pair<std::string, Codes>> rows = {
        {"3,5", {5, 3, 3}},
        {"\"3,5\"", {5, 3, 3}},
        {" 5 , 3 ,", {5, 3, 3}},
        {"5", {5}},
        {"11", {}},
        {"x,y", {}},
        {",5", {}},
        {"3,,5", {3, 3}},
        {"0,-5,256,261,5", {5}},
        {"261,-251", {}},
        {"x,5,y", {5}},
        {"\"x,5", {5}},
        {"1,3x,255", {3, 1, 3, 255}},
        {"000000005,0000000003", {5}},
        {Repeated("3,", 253) + "5", {5, 3, 3}},
        {Repeated("3,", 254) + "5", {3, 3}},
        {fill + "11,255", {255}},
        {fill + "111,255", {25}},
        {'"' + fill + "11,255\"", {255}},
    };
    m_meter.m_functions = {5, 3, 1, 3, 255, 25};
    for (const auto& [list, available] : rows) {
        OpenMeter("", "RespectAccessLevel=Yes\n[AccessLevel1]\nROUTE_*=" + list + "\n");
        m_database.SetAccessLevel(1);
        EXPECT_EQ(Available(), available) << list;
    }
}

TEST_F(AccessLists, CountOnlyWhileTheAccessLevelIsRespected) {
    m_meter.m_functions = {1, 2};
    OpenMeter(Functions({1, 2}),
              "[AccessLevel0]\nROUTE_*=1\n[AccessLevel7]\nROUTE_*=2\n[AccessLevel-1]\nROUTE_*=9\n");
    m_database.SetAccessLevel(7);
    EXPECT_EQ(List(), (Codes{1, 2}));
    m_database.m_accessFlag = true;
    EXPECT_EQ(List(), Codes{2});
    m_database.m_accessLevel = 0;
    EXPECT_EQ(List(), Codes{1});
    m_database.m_accessLevel = -1;
    EXPECT_EQ(List(), Codes());
    m_database.m_accessLevel = 5;
    EXPECT_EQ(List(), (Codes{1, 2})) << "a level without a section";
}

TEST_F(AccessLists, AreSkippedWithoutASystemIni) {
    m_meter.m_functions = {1, 2};
    m_database.m_accessFlag = true;
    EXPECT_EQ(Available(), (Codes{1, 2}));
}

TEST_F(AccessLists, ReadTheActionOfTheMainRecord) {
    m_meter.m_functions = {3, 5};
    OpenMeter("Action=A,D,,Change,\"\"\n[#1_1]\nX=1\n",
              "RespectAccessLevel=Yes\n[AccessLevel1]\nCHANGE_*=3\nROUTE_*=5\n");
    m_database.SetAccessLevel(1);
    ASSERT_TRUE(m_database.SetAppendix(1));
    EXPECT_EQ(Available(), Codes{3});
}

TEST_F(AccessLists, AreFoundByTheFirst39CharactersOfTheTypesName) {
    const std::string name(39, 'n');
    m_meter.m_functions = {1, 2};
    OpenMeter("", "RespectAccessLevel=Yes\n[AccessLevel1]\nROUTE_" + name + "=1\nROUTE_=2\n");
    m_database.SetAccessLevel(1);
    for (const bool terminates : {true, false}) {
        m_meter.m_terminates = terminates;
        m_meter.m_name = name + "nnn";
        EXPECT_EQ(Available(), Codes{1});
    }
    m_meter.m_terminates = true;
    m_meter.m_name = "";
    EXPECT_EQ(Available(), Codes{2});
}

// ---- list flags

TEST_F(ListFlags, AOffersFunctions6And7And200) {
    OpenMeter(Functions({6, 7, 200, 9}));
    m_meter.m_functions = {6, 7, 200, 9};
    EXPECT_EQ(List(), Codes{9});
    EXPECT_EQ(Available(), Codes{9});
    m_database.m_functionListFlagA = true;
    EXPECT_EQ(List(), (Codes{6, 7, 200, 9}));
    EXPECT_EQ(Available(), (Codes{6, 7, 200, 9}));
}

TEST_F(ListFlags, BWithdrawsFunction101) {
    OpenMeter(Functions({101, 100}));
    m_meter.m_functions = {100, 101};
    EXPECT_EQ(List(), (Codes{101, 100}));
    m_database.m_functionListFlagB = true;
    EXPECT_EQ(List(), Codes{100});
    EXPECT_EQ(Available(), Codes{100});
}

TEST_F(ListFlags, WithdrawOneOfEachCode) {
    OpenMeter("");
    m_meter.m_functions = {200, 7, 6, 9, 6, 7, 200, 101, 101};
    m_database.m_functionListFlagB = true;
    EXPECT_EQ(Available(), (Codes{9, 6, 7, 200, 101}));
}

// ---- manual reset in place of setting the clock

TEST_F(ManualReset, IsOfferedWhenTheClockCannotBeSet) {
    m_meter.m_functions = {1};
    for (const char* const yes : {"Yes", "yes", "YES", "\"Yes\""}) {
        OpenMeter(Functions({125, 1}), "[Functions]\nFallBackToManualReset=" + std::string(yes) + "\n");
        EXPECT_EQ(List(), (Codes{125, 1})) << yes;
        EXPECT_EQ(Available(), (Codes{1, 125})) << yes;
    }
}

TEST_F(ManualReset, IsOfferedOnlyWhenConfigured) {
    m_meter.m_functions = {1};
    for (const char* const line :
         {"", "FallBackToManualReset=\n", "FallBackToManualReset=No\n", "FallBackToManualReset=Yes!\n",
          "FallBackToManualReset=Y\n", "FallBackToManualReset=\"Yes\n"}) {
        OpenMeter(Functions({125, 1}), "[Functions]\n" + std::string(line));
        EXPECT_EQ(List(), Codes{1}) << line;
    }
}

TEST_F(ManualReset, IsNotOfferedWhenTheClockCanBeSet) {
    OpenMeter(Functions({125, 101}), "[Functions]\nFallBackToManualReset=Yes\n");
    m_meter.m_functions = {101};
    EXPECT_EQ(List(), Codes{101});
}

TEST_F(ManualReset, StandsInForAClockThatWasWithdrawn) {
    OpenMeter(Functions({125, 101}),
              "RespectAccessLevel=Yes\n[Functions]\nFallBackToManualReset=Yes\n[AccessLevel1]\nROUTE_*=1\n");
    m_meter.m_functions = {101};
    m_database.m_functionListFlagB = true;
    EXPECT_EQ(List(), Codes{125}) << "by list flag B";
    m_database.m_functionListFlagB = false;
    m_database.SetAccessLevel(1);
    EXPECT_EQ(List(), Codes{125}) << "by the access level";
}

TEST_F(ManualReset, IsConfiguredInTheSectionWithoutALanguage) {
    m_meter.m_functions = {1};
    OpenMeter(Functions({125}), "[Functions_de]\nFallBackToManualReset=Yes\n[Functions]\nOptions=\n");
    m_database.SetLanguageCode("de");
    EXPECT_EQ(List(), Codes());
    OpenMeter(Functions({125}), "[Functions_de]\nOptions=\n[Functions]\nFallBackToManualReset=Yes\n");
    EXPECT_EQ(List(), Codes{125});
}

TEST_F(ManualReset, IsOfferedAlsoBesideAFullSet) {
    OpenMeter(Functions({125}), "[Functions]\nFallBackToManualReset=Yes\n");
    m_meter.m_functions = Codes(255, 9);
    EXPECT_EQ(List(), Codes{125});
    EXPECT_EQ(Available(256), Codes(255, 9));
}

// ---- commands and options

TEST_F(OptionList, SplitsTheListIntoCommandsAndOptions) {
    m_meter.m_functions = {1, 2, 3, 4};
    OpenMeter(Functions({1, 2, 3, 4, 9}) + Function(6, "1", "1001"), "[Functions]\nOptions=2,4,9,1001\n");
    EXPECT_EQ(List(kAll), (Codes{1, 2, 3, 4, 1001}));
    EXPECT_EQ(List(kCommands), (Codes{1, 3}));
    EXPECT_EQ(m_numbers, (Codes{1, 3}));
    EXPECT_EQ(List(kOptions), (Codes{2, 4, 1001}));
    EXPECT_EQ(m_numbers, (Codes{2, 4, 6}));
    EXPECT_EQ(List(3), Codes());
    EXPECT_EQ(List(-1), Codes());
    EXPECT_EQ(List(kOptions, 2), (Codes{2, 4})) << "the capacity counts what is listed";
}

TEST_F(OptionList, IsReadUpToItsFirstEmptyToken) {
    const std::vector<std::pair<std::string, Codes>> rows = {
        {"1,2", {1, 2}},
        {"\"1,2\"", {1, 2}},
        {" 1 , 2x", {1, 2}},
        {"", {}},
        {"\"\"", {}},
        {",1", {}},
        {"1,,2", {1}},
        {"1,", {1}},
        {"x,1", {1}},
        {"x", {}},
        {"0", {0}},
        {" 00", {0}},
        {"-0", {0}},
        {"-,+", {}},
        {"258", {}},
        {Repeated("9,", 59) + "2", {2}},
        {Repeated("9,", 60) + "2", {}},
        {Repeated("9,", 58) + "2,1", {1, 2}},
        {std::string(508, '0') + ",2", {2, 0}},
        {std::string(509, '0') + ",2", {0}},
        {'"' + std::string(508, '0') + ",2\"", {2, 0}},
        {std::string(255, '0') + "1", {0}},
        {std::string(254, '0') + "1", {1}},
    };
    m_meter.m_functions = {1, 2};
    for (const auto& [list, options] : rows) {
        OpenMeter(Functions({1, 2, 0}), "[Functions]\nOptions=" + list + "\n");
        EXPECT_EQ(List(kOptions), options) << list;
        EXPECT_EQ(List(kCommands).size(), 3 - options.size()) << list;
    }
}

TEST_F(OptionList, IsThatOfTheLanguageWhenItHasASection) {
    m_meter.m_functions = {1, 2};
    OpenMeter(
        Functions({1, 2}),
        "[Functions]\nOptions=1\n[Functions_de]\nOptions=2\n[Functions_fr]\nX=1\n[Functions_]\nOptions=\n");
    EXPECT_EQ(List(kOptions), Codes{1}) << "no language";
    m_database.SetLanguageCode("de");
    EXPECT_EQ(List(kOptions), Codes{2});
    m_database.SetLanguageCode("it");
    EXPECT_EQ(List(kOptions), Codes{1}) << "a language without a section";
    m_database.SetLanguageCode("fr");
    EXPECT_EQ(List(kOptions), Codes()) << "a section without the key";
}

// ---- composite functions

TEST_F(CompositeFunctions, NeedTheirFunctions) {
    struct Row {
        const char* definition;
        const char* available;
        bool canRun;
    };
    const Row rows[] = {
        {"1,O2[x],3(y)", "\1\3", true},
        {"1,O2[x],3(y)", "\1\2\3", true},
        {"1,O2[x],3(y)", "\1\2", false},
        {"1,O2[x],3(y)", "", false},
        {"\"1,O2[x],3(y)\"", "\1\3", true},
        {"\"1,O2[x],3(y)\"", "\1\2", false},
        {"1", "\1", true},
        {"1", "\2", false},
        {"o2", "", true},
        {"O2", "", true},
        {"2,o1", "\1", false},
        {"1[2", "\1", true},
        {"1(2", "\1", true},
        {"1[2](3)", "\1", true},
        {"1(2)[3]", "\1", true},
        {"[1]", "\1", false},
        {"(1)", "\1", false},
        {"O[1]", "\1", false},
        {" 1", "\1", true},
        {"1x", "\1", true},
        {"257", "\1", true},
        {"258", "\1", false},
        {"256", "", true},
        {"-1", "\377", true},
        {"", "\1", false},
        {"\"\"", "\1", false},
        {nullptr, "\1", false},
        {"0", "\1", false},
        {"O0", "\1", false},
        {"O", "\1", false},
        {"x", "\1", false},
        {"OO1", "\1", false},
        {"1,,3", "\1\3", false},
        {",1", "\1", false},
        {"1,", "\1", false},
        {"1,x", "\1", false},
        {"101", "\1", false},
        {"101", "e", true},
    };
    OpenMeter("");
    for (const Row& row : rows)
        EXPECT_EQ(Check(row.definition, row.available), row.canRun)
            << (row.definition == nullptr ? "null" : row.definition);
}

TEST_F(CompositeFunctions, DoNotMissAClockThatFlagBWithdraws) {
    OpenMeter("");
    m_database.m_functionListFlagB = true;
    EXPECT_TRUE(Check("101", ""));
    EXPECT_TRUE(Check("1,101[x],2", "\1\2"));
    EXPECT_FALSE(Check("1,101,3", "\1\2"));
    EXPECT_FALSE(Check("357", "")) << "another code with the same low byte";
}

TEST_F(CompositeFunctions, ReadTokensUpTo255Characters) {
    OpenMeter("");
    EXPECT_TRUE(Check((std::string(254, '0') + "1,2").c_str(), "\1\2"));
    EXPECT_FALSE(Check((std::string(255, '0') + "1,2").c_str(), "\1\2"));
}

TEST_F(CompositeFunctions, CannotRunWithoutASet) {
    OpenMeter("");
    EXPECT_FALSE(m_database.CheckFunctionList("1", nullptr));
    EXPECT_TRUE(m_database.CheckFunctionList("O1", nullptr));
}

TEST_F(CompositeFunctions, CannotRunWithoutADataFile) {
    EXPECT_FALSE(Check("1", "\1"));
}

TEST_F(CompositeFunctions, AreListedByTheirDefinitionInTheRecord) {
    m_meter.m_functions = {1, 3};
    const std::vector<std::pair<std::string, Codes>> rows = {
        {Function(1, "\"1,O2[x],3(y)\"", "1000"), {1000}},
        {Function(1, "\"1,2\"", "1000"), {}},
        {Function(1, "\"1,,3\"", "1000"), {}},
        {Function(1, "3", "1999"), {1999}},
        {Function(1, "", "1000"), {}},
        {Function(1, "2", "1025"), {}},
        {Function(1, "2", "999"), {}},
        {Function(1, "1", "999"), {}},
        {Function(1, "1", "2000"), {}},
        {Function(1, "2", "769"), {769}},
        {Function(1, "2", "2049"), {2049}},
    };
    for (const auto& [entry, listed] : rows) {
        OpenMeter(entry);
        EXPECT_EQ(List(), listed) << entry;
    }
}

TEST_F(CompositeFunctions, NeedWhatTheAccessLevelAllowsAndMayDoWithoutAWithdrawnClock) {
    m_meter.m_functions = {1, 3, 101};
    OpenMeter(Function(1, "\"1,3\"", "1000") + Function(2, "\"1,101\"", "1001"),
              "RespectAccessLevel=Yes\n[AccessLevel1]\nROUTE_*=1\n[AccessLevel2]\nROUTE_*=\n");
    m_database.SetAccessLevel(2);
    EXPECT_EQ(List(), (Codes{1000, 1001}));
    m_database.SetAccessLevel(1);
    EXPECT_EQ(List(), Codes());
    m_database.m_functionListFlagB = true;
    EXPECT_EQ(List(), Codes{1001});
}

// ---- memory

TEST_F(FunctionList, IsWholeOrNotThereWithoutMemory) {
    m_meter.m_functions = {1, 3};
    OpenMeter(Functions({1}) +
                  Function(2, "\"1,O2[with a text that is too long to stand in a string itself],3\"", "1000"),
              "RespectAccessLevel=Yes\n[Functions]\nOptions=9\n[AccessLevel1]\nROUTE_*=1,3\n");
    m_database.SetAccessLevel(1);
    int n = 0;
    for (bool failed = true; failed;) {
        int codes[60] = {};
        int count = -1;
        bool built = false;
        failed = FailAllocation(++n, [&] {
            built = m_database.BuildFuncCodeList(&m_meter, codes, nullptr, &count, 60, kAll, nullptr, 0);
        });
        EXPECT_EQ(built, !failed) << n;
        EXPECT_EQ(count, built ? 2 : 0) << n;
    }
    EXPECT_GT(n, 1);
}
