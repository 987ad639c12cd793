// States and actions of the current meter, and their texts.
#include <utility>

#include "Platform/Platform.h"
#include "tests/support/DatabaseFixture.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

using RecordState = DatabaseFixture;
using PlantState = DatabaseFixture;

class MeterAction : public DatabaseFixture {
protected:
    // Opens one meter whose action and first appendix value "MeterNo" stand as given in their entries.
    void OpenWithAction(const std::string& action, const std::string& changeText = "",
                        const std::string& meterNo = "") {
        std::string texts;
        if (!changeText.empty())
            texts = "[StringTexts]\nActionMeterChange=" + changeText + "\n";
        Open("[General]\nMeters=1\n[#_1]\nState=U\nAction=A,U,8," + action +
                 ",\"\"\nMeterNo=A,U,8,main,\"\"\n[#1_1]\nMeterNo=A,U,8," + meterNo + ",\"\"\n",
             texts);
    }

    std::string Action() {
        GuardedBuffer<> action(255);
        EXPECT_TRUE(m_database.GetMeterAction(action.Data()));
        return action.Text();
    }

    std::string ActionText(int size = 255) {
        GuardedBuffer<> text(size);
        EXPECT_TRUE(m_database.GetMeterActionText(text.Data(), size));
        return text.Text();
    }
};

class RecordStateText : public MeterAction {
protected:
    std::wstring StateText() {
        GuardedBuffer<wchar_t> text(Platform::kFormattedChars + 1);
        m_database.GetRecordStateText(text.Data());
        return text.Text();
    }
};

// ---- record state

TEST_F(RecordState, IsThatOfTheMainRecord) {
    Open("[#_1]\nState=U\n[#1_1]\nState=H\n[#_2]\nState=N\n");
    GuardedBuffer<> state(40);
    ASSERT_TRUE(m_database.SetAppendix(1));
    EXPECT_TRUE(m_database.GetRecordState(state.Data()));
    EXPECT_EQ(state.Text(), "U");
    EXPECT_TRUE(m_database.SetRecordState("M"));
    EXPECT_EQ(Data("#_1", "State"), "M");
    EXPECT_EQ(Data("#1_1", "State"), "H");
    EXPECT_EQ(m_database.GetAppendix(), 1);
    m_database.SetActualPosition(2);
    EXPECT_TRUE(m_database.GetRecordState(state.Data()));
    EXPECT_EQ(state.Text(), "N");
}

TEST_F(RecordState, IsReadUpTo39Characters) {
    Open("[#_1]\nState=" + std::string(45, 'U') + "\n");
    GuardedBuffer<> state(40);
    EXPECT_TRUE(m_database.GetRecordState(state.Data()));
    EXPECT_EQ(state.Text(), std::string(39, 'U'));
}

TEST_F(RecordState, IsAddedWhereItIsMissing) {
    Open("[#_1]\nNote=x\n");
    GuardedBuffer<> state(40);
    EXPECT_FALSE(m_database.GetRecordState(state.Data()));
    EXPECT_EQ(state.Text(), "");
    EXPECT_TRUE(m_database.SetRecordState("E"));
    EXPECT_EQ(DataLines(), "[#_1]\nNote=x\nState=E\n[General]\nMeters=1\n");
}

TEST_F(RecordState, MayBeEmpty) {
    Open("[#_1]\nState=U\n");
    GuardedBuffer<> state(40);
    for (const char* empty : {"", static_cast<const char*>(nullptr)}) {
        EXPECT_TRUE(m_database.SetRecordState(empty));
        EXPECT_TRUE(m_database.GetRecordState(state.Data()));
        EXPECT_EQ(state.Text(), "");
    }
}

TEST_F(RecordState, IsNotSavedByItself) {
    const std::string data = "[General]\nMeters=1\n[#_1]\nState=U\n";
    Open(data);
    EXPECT_TRUE(m_database.SetRecordState("H"));
    EXPECT_EQ(m_folder.Read(kDataFile), data);
}

TEST_F(RecordState, RefusesWhatCannotStandInALine) {
    Open("[#_1]\nState=U\n");
    EXPECT_FALSE(m_database.SetRecordState("H\nN"));
    EXPECT_EQ(Data("#_1", "State"), "U");
}

TEST_F(RecordState, NeedsStoresAndACurrentMeter) {
    Open("[#_1]\nState=U\n");
    const auto expectNone = [this] {
        GuardedBuffer<> state(40);
        EXPECT_FALSE(m_database.GetRecordState(state.Data()));
        EXPECT_EQ(state.Text(), "");
        EXPECT_FALSE(m_database.SetRecordState("H"));
    };
    for (CMeterIniFile** store : {&m_database.m_systemIni, &m_database.m_dataFile}) {
        CMeterIniFile* const kept = std::exchange(*store, nullptr);
        expectNone();
        *store = kept;
    }
    m_database.m_currentMeter = 0;
    expectNone();
    EXPECT_EQ(Data("#_1", "State"), "U");
}

// ---- state texts

struct StateCase {
    const char* state;
    const char* record;  // text of the record state
    const char* plant;   // text of the plant state
};

// Each letter alone, and before all those that come after it.
constexpr StateCase kStates[] = {
    {"N", "new appended", "new appended"},
    {"E", "new appended", "new appended"},
    {"M", "in modification", "in modification"},
    {"U", "unhandled", "unhandled"},
    {"A", "unhandled", "unhandled"},
    {"H", "handled", "handled"},
    {"C", "card left", "card left"},
    {"R", "read only", "read only"},
    {"I", "info record", ""},
    {"IRCHAUMEN", "new appended", "new appended"},
    {"IRCHAUME", "new appended", "new appended"},
    {"IRCHAUM", "in modification", "in modification"},
    {"IRCHAU", "unhandled", "unhandled"},
    {"IRCHA", "unhandled", "unhandled"},
    {"IRCH", "handled", "handled"},
    {"IRC", "card left", "card left"},
    {"IR", "read only", "read only"},
    {"HN", "new appended", "new appended"},
    {"AH", "unhandled", "unhandled"},
    {"X", "", ""},
    {"", "", ""},
    {"n", "", ""},
    {"xyUz", "unhandled", "unhandled"},
    {"xI", "info record", ""},
    {"<DEFER>", "new appended", "deferred"},
    {"<defer>", "", ""},
    {"<DEFER> ", "new appended", "new appended"},
};

TEST_F(RecordStateText, IsChosenByTheFirstLetterThatCounts) {
    OpenWithAction("unknown");
    for (const StateCase& c : kStates) {
        ASSERT_TRUE(m_database.SetRecordState(c.state));
        EXPECT_EQ(StateText(), Platform::WideFromNarrow(c.record)) << c.state;
    }
}

TEST_F(RecordStateText, HasTheActionInParentheses) {
    struct {
        const char* state;
        const char* action;
        const wchar_t* text;
    } const cases[] = {
        {"U", "switchoff", L"unhandled (switch off)"},
        {"U", "", L"unhandled (read out)"},
        {"X", "", L" (read out)"},
        {"X", "unknown", L""},
        {"U", "unknown", L"unhandled"},
        {"I", "SwitchOff", L"info record"},
        {"IU", "SwitchOff", L"unhandled (switch off)"},
    };
    for (const auto& c : cases) {
        OpenWithAction(c.action);
        ASSERT_TRUE(m_database.SetRecordState(c.state));
        EXPECT_EQ(StateText(), c.text);
    }
}

TEST_F(RecordStateText, IsInTheLanguageOfTheUser) {
    Open("[#_1]\nState=U\n",
         "[StringTexts]\nRawNotUsed=offen "
         "\xC3\xA4\nActionMeterReadout=ablesen\nRawInfoRecord=Hinweis\nRawUsed=\n");
    EXPECT_EQ(StateText(), Platform::WideFromNarrow("offen \xC3\xA4 (ablesen)"));
    m_database.SetRecordState("I");
    EXPECT_EQ(StateText(), L"Hinweis");
    m_database.SetRecordState("HI");
    EXPECT_EQ(StateText(), L" (ablesen)");
}

TEST_F(RecordStateText, TakesInAtMost39CharactersOfTheAction) {
    const std::string action(60, 'a');
    Open("[#_1]\nState=U\n", "[StringTexts]\nActionMeterReadout=" + action + "\n");
    EXPECT_EQ(StateText(), L"unhandled (" + std::wstring(39, L'a') + L")");
}

TEST_F(RecordStateText, IsCutAtTheLimitOfTheFormatter) {
    const std::string text(2000, 'a');
    Open("[#_1]\nState=U\n", "[StringTexts]\nRawNotUsed=" + text + "\n");
    EXPECT_EQ(StateText(), std::wstring(1024, L'a'));
}

TEST_F(RecordStateText, IsThatOfAnEmptyStateWithoutARecord) {
    EXPECT_EQ(StateText(), L" (read out)");
}

TEST_F(RecordStateText, ToleratesMissingTexts) {
    OpenWithAction("");
    m_database.HandleAllTexts(nullptr, 4);
    EXPECT_EQ(StateText(), L"");
    m_database.SetRecordState("I");
    EXPECT_EQ(StateText(), L"");
    m_database.GetRecordStateText(nullptr);
}

TEST_F(PlantState, IsChosenByTheFirstLetterThatCounts) {
    for (const StateCase& c : kStates) {
        GuardedBuffer<wchar_t> text(Platform::kFormattedChars + 1);
        m_database.GetPlantStateText(c.state, text.Data());
        EXPECT_EQ(text.Text(), Platform::WideFromNarrow(c.plant)) << c.state;
    }
}

TEST_F(PlantState, NeedsNoMoreRoomThanItsText) {
    GuardedBuffer<wchar_t> text(9);
    m_database.GetPlantStateText("<DEFER>", text.Data());
    EXPECT_EQ(text.Text(), L"deferred");
    m_database.GetPlantStateText(nullptr, text.Data());
    EXPECT_EQ(text.Text(), L"");
    m_database.GetPlantStateText("U", nullptr);
}

// ---- actions

TEST_F(MeterAction, IsTheBareValueOfTheMainRecord) {
    const std::string longest(254, 'x');
    struct {
        std::string entry;
        std::string action;
    } const cases[] = {
        {"Action=A,U,8,Change,\"\"", "Change"},
        {"Action=A,U,8,\"Change, soon\",\"\"", "Change, soon"},
        {"Action=A,U,\"8,B\",Mount,\"a,b\"", "Mount"},
        {"Action=A,U,8,\"\",\"\"", ""},
        {"Action=A,U,8,,\"\"", ""},
        {"Action=Change", ""},
        {"Action=", ""},
        {"Other=A,U,8,Change,\"\"", ""},
        {"Action=A,U,8," + longest + "yz,\"\"", longest},
        {"Action=A,U,8,\"" + longest + "\",\"\"", longest},
        {"Action=A,U,8,\"" + longest + ",z\",\"\"", longest},
    };
    for (const auto& c : cases) {
        Open("[General]\nMeters=1\n[#_1]\n" + c.entry + "\n[#1_1]\nAction=A,U,8,Collect,\"\"\n");
        ASSERT_TRUE(m_database.SetAppendix(1));
        EXPECT_EQ(Action(), c.action) << c.entry;
        EXPECT_EQ(m_database.GetAppendix(), 1);
    }
}

TEST_F(MeterAction, IsEmptyWithoutARecord) {
    EXPECT_EQ(Action(), "");
    EXPECT_EQ(ActionText(), "read out");
    OpenWithAction("Mount");
    m_database.m_currentMeter = 0;
    EXPECT_EQ(Action(), "");
    EXPECT_TRUE(m_database.GetMeterAction(nullptr));
}

TEST_F(MeterAction, HasATextForEveryWord) {
    struct {
        const char* action;
        const char* text;
    } const cases[] = {
        {"Change", "change"},
        {"Changeable", "marked to change"},
        {"Mount", "mount"},
        {"Unmount", "unmount"},
        {"Unmountable", "marked to unmount"},
        {"Collect", "collect"},
        {"SwitchOn", "switch on"},
        {"SwitchOff", "switch off"},
        {"", "read out"},
        {"cHANGE", "change"},
        {"CHANGEABLE", "marked to change"},
        {"mount", "mount"},
        {"UNmount", "unmount"},
        {"unmountABLE", "marked to unmount"},
        {"collecT", "collect"},
        {"switchon", "switch on"},
        {"switchoff", "switch off"},
        {"\"Mount\"", "mount"},
        {"Exchange", ""},
        {"Changes", ""},
        {"Chang", ""},
        {" ", ""},
        {" Mount", ""},
    };
    for (const auto& c : cases) {
        OpenWithAction(c.action);
        EXPECT_EQ(ActionText(), c.text) << c.action;
    }
}

TEST_F(MeterAction, HasTheTextOfItsOwnSlot) {
    struct {
        const char* action;
        const char* key;
    } const cases[] = {
        {"Change", "ActionMeterChange"},
        {"Changeable", "ActionMeterChangeable"},
        {"Mount", "ActionMeterMount"},
        {"Unmount", "ActionMeterUnmount"},
        {"Unmountable", "ActionMeterUnmountable"},
        {"Collect", "ActionMeterCollect"},
        {"SwitchOn", "ActionMeterSwitchOn"},
        {"SwitchOff", "ActionMeterSwitchOff"},
        {"", "ActionMeterReadout"},
    };
    std::string texts = "[StringTexts]\n";
    for (const auto& c : cases)
        texts += std::string(c.key) + "=" + c.key + "\n";
    for (const auto& c : cases) {
        Open(std::string("[General]\nMeters=1\n[#_1]\nAction=A,U,8,") + c.action + ",\"\"\n", texts);
        EXPECT_EQ(ActionText(), c.key);
    }
}

TEST_F(MeterAction, TextIsCutAndPaddedToItsBuffer) {
    OpenWithAction("Changeable");
    const std::string text = "marked to change";
    for (const int size : {1, 5, 16, 17, 20}) {
        GuardedBuffer<> buffer(size);
        EXPECT_TRUE(m_database.GetMeterActionText(buffer.Data(), size));
        const std::string expected = text.substr(0, static_cast<std::size_t>(size) - 1);
        EXPECT_EQ(buffer.Text(), expected);
        for (int i = static_cast<int>(expected.size()); i < size; ++i)
            EXPECT_EQ(buffer.Data()[i], '\0') << i << " of " << size;
    }
    GuardedBuffer<> buffer(5);
    EXPECT_TRUE(m_database.GetMeterActionText(buffer.Data(), 0));
    EXPECT_TRUE(buffer.Untouched());
    EXPECT_TRUE(m_database.GetMeterActionText(nullptr, 5));
}

TEST_F(MeterAction, TextOfAChangeTakesInAValueOfTheNewMeter) {
    const std::string digits = "12345678901234567890";
    const std::string long38(38, 't');
    struct {
        std::string text;
        std::string meterNo;
        std::string shown;
    } const cases[] = {
        {"change to <MeterNo>", digits, "change to 1234567890123456"},
        {"change to <MeterNo> now", "77", "change to 77 now"},
        {"<MeterNo>", "77", "77"},
        {"change to <meterno>", "77", "change to 77"},
        {"change to <MeterNo>", "", "change to "},
        {"change to <Other>", "77", "change to "},
        {"change to <MeterNo>", "\"7,7\"", "change to 7,7"},
        {"change to <MeterNo>", "\"1234567890123456,\"", "change to 1234567890123456"},
        {"change to <MeterNo> and <MeterNo>", "77", "change to 77 and <MeterNo>"},
        {"change", "77", "change"},
        {"change to <>", "77", "change to <>"},
        {"change to <><MeterNo>", "77", "change to <><MeterNo>"},
        {"change to <MeterNo", "77", "change to <MeterNo"},
        {"change to MeterNo>", "77", "change to MeterNo>"},
        {"> change <MeterNo>", "77", "> change 77"},
        {"change > to < it", "77", "change > to < it"},
        // The rest of the text and the value together stay below 39 characters.
        {std::string(22, 't') + "<MeterNo>", digits, std::string(22, 't') + "1234567890123456"},
        {std::string(23, 't') + "<MeterNo>", digits, std::string(23, 't')},
        {std::string(23, 't') + "<MeterNo>", "123456789012345", std::string(23, 't') + "123456789012345"},
        // The text is cut to 39 characters first.
        {long38 + "x" + "y", "77", long38 + "x"},
        {std::string(30, 't') + "<MeterNo>", "12345678", std::string(30, 't') + "12345678"},
        {std::string(30, 't') + "<MeterNo>", "123456789", std::string(30, 't')},
        {std::string(31, 't') + "<MeterNo>", "77", std::string(31, 't') + "<MeterNo"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text + " with " + c.meterNo);
        OpenWithAction("Change", c.text, c.meterNo);
        EXPECT_EQ(ActionText(), c.shown);
        EXPECT_EQ(m_database.m_currentAppendix, 0);
    }
}

TEST_F(MeterAction, TextOfAChangeLeavesTheCurrentAppendix) {
    Open("[#_1]\nAction=A,U,8,Change,\"\"\n[#1_1]\nMeterNo=A,U,8,1,\"\"\n[#2_1]\nMeterNo=A,U,8,2,\"\"\n",
         "[StringTexts]\nActionMeterChange=to <MeterNo>\n");
    ASSERT_TRUE(m_database.SetAppendix(2));
    EXPECT_EQ(ActionText(), "to 1");
    EXPECT_EQ(m_database.GetAppendix(), 2);
}

TEST_F(MeterAction, TextOfAChangeNeedsNoAppendix) {
    Open("[#_1]\nAction=A,U,8,Change,\"\"\nMeterNo=A,U,8,77,\"\"\n",
         "[StringTexts]\nActionMeterChange=to <MeterNo>!\n");
    EXPECT_EQ(ActionText(), "to !");
}

// ---- little memory

TEST_F(MeterAction, IsEmptyWithoutMemory) {
    OpenWithAction("Change", "replaced by the new <MeterNo>", "123456789012345");
    char text[255];
    EXPECT_GT(FailEachAllocation([this, &text] {
                  const bool given = m_database.GetMeterActionText(text, sizeof text);
                  EXPECT_STREQ(text, given ? "replaced by the new 123456789012345" : "");
              }),
              0);
    EXPECT_STREQ(text, "replaced by the new 123456789012345");
    m_database.m_dataFile->WriteString("#_1", "Action", "A,U,8,a word beyond the table,\"\"");
    EXPECT_GT(FailEachAllocation([this, &text] {
                  const bool given = m_database.GetMeterAction(text);
                  EXPECT_STREQ(text, given ? "a word beyond the table" : "");
              }),
              0);
}

}  // namespace
