// Texts of function codes: display texts in the user's language, texts of the meter interface, and texts of
// the configuration.
#include <gtest/gtest.h>

#include "tests/support/FunctionFixture.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

class CommandText : public FunctionFixture {
protected:
    // The text of a code; "(false) " before it when the call says that there is none.
    std::string TextOf(int code, int size = 256) {
        GuardedBuffer<char> text(size);
        const bool found = m_database.GetCommandText(&m_meter, code, text.Data(), size);
        return (found ? "" : "(false) ") + text.Text();
    }

    void OpenWithConfiguration(const std::string& sections) { OpenMeter("", sections); }
};

using SpecialCommandText = CommandText;
using ConfiguredCommandText = CommandText;

struct BuiltIn {
    int code;
    const char* key;
    const char* english;
    const char* german;
};

constexpr BuiltIn kBuiltIn[] = {
    {1, "RawMeterReadingStandart", "read standard list", "Standardliste lesen"},
    {2, "RawList2", "read list 2", "Liste 2 lesen"},
    {3, "RawList3", "read list 3", "Liste 3 lesen"},
    {4, "RawLoadProfile", "read load profile", "Lastgang lesen"},
    {5, "RawLogfile", "read logbook", "Logbuch lesen"},
    {6, "RawValueProfile", "read value profile", "Werteprofil lesen"},
    {7, "RawActualValues", "read actual values", "Aktuelle Werte lesen"},
    {8, "RawDetermineMetertype", "determine metertype", "Zählertyp bestimmen"},
    {21, "RawMeterReadingStdRF", "read standard with radio", "Standardliste über Funk lesen"},
    {100, "RawGetDateTime", "read date / time", "Datum und Uhrzeit lesen"},
    {101, "RawSetDateTime", "set  date / time", "Datum und Uhrzeit stellen"},
    {120, "RawDoClearError", "clear error", "Fehler löschen"},
    {125, "RawDoMaxReset", "maximum demand reset", "Maximum rückstellen"},
    {200, "RawDoGetActualValues", "table/graphic actual values", "Aktuelle Werte zeigen"},
    {201, "RawDoGetParams", "read configuration", "Parameter lesen"},
    {202, "RawDoSetParams", "write configuration", "Parameter schreiben"},
    {203, "RawDoShowStateStd", "show actual state", "Zustand zeigen"},
};

}  // namespace

// ---- display texts

TEST_F(CommandText, OfBuiltInCodesIsEnglishWithoutALanguage) {
    for (const BuiltIn& known : kBuiltIn)
        EXPECT_EQ(TextOf(known.code), known.english) << known.code;
}

TEST_F(CommandText, OfBuiltInCodesFollowsTheLanguageOfTheUser) {
    std::string german = "[StringTexts]\n";
    for (const BuiltIn& known : kBuiltIn)
        german += std::string(known.key) + "=\"" + known.german + "\"\n";
    m_folder.Write("de.ini", german);
    m_folder.Write("en.ini", "[StringTexts]\n");
    const std::string languages = "[Languages]\nLanguages=2\nLanguage1=en,en.ini\nLanguage2=de,de.ini\n";
    Open("", languages, "[System]\nLanguage=de\n");
    for (const BuiltIn& known : kBuiltIn)
        EXPECT_EQ(TextOf(known.code), known.german) << known.code;
}

TEST_F(CommandText, OfBuiltInCodesIsNotLookedUpInTheFunctions) {
    std::string functions = "[Functions]\n";
    for (int code = 0; code <= 255; ++code)
        functions += std::to_string(code) + "=configured\n";
    OpenWithConfiguration(functions);
    for (const BuiltIn& known : kBuiltIn)
        EXPECT_EQ(TextOf(known.code), known.english) << known.code;
    for (const int code : {0, 9, 20, 22, 99, 102, 119, 121, 124, 126, 199, 204, 210, 219, 220, 229})
        EXPECT_EQ(TextOf(code), "configured") << code;
}

TEST_F(CommandText, MayBeEmptyInALanguage) {
    OpenWithConfiguration("[StringTexts]\nRawList2=\n[Functions]\n2=other\n");
    EXPECT_EQ(TextOf(2), "");
}

TEST_F(CommandText, IsCutToItsBuffer) {
    OpenWithConfiguration("[Functions]\n9=\"tariff\"\n");
    m_meter.m_texts["MeterTypeDialog[0]"] = "dialog";
    for (int size = 1; size <= 10; ++size) {
        const std::size_t room = static_cast<std::size_t>(size) - 1;
        EXPECT_EQ(TextOf(2, size), std::string("read list 2").substr(0, room));
        EXPECT_EQ(TextOf(9, size), std::string("tariff").substr(0, room));
        EXPECT_EQ(TextOf(211, size), std::string("dialog").substr(0, room));
        EXPECT_EQ(TextOf(212, size), std::string("???").substr(0, room));
        EXPECT_EQ(TextOf(77, size), size == 1 ? "(false) " : "(false) ?");
    }
}

TEST_F(CommandText, ThatIsNotWantedIsNotWritten) {
    OpenWithConfiguration("[Functions]\n9=tariff\n");
    const std::pair<int, bool> rows[] = {{2, true}, {9, true}, {77, false}, {211, true}, {228, true}};
    for (const auto& [code, found] : rows) {
        GuardedBuffer<char> text(8);
        EXPECT_EQ(m_database.GetCommandText(&m_meter, code, text.Data(), 0), found) << code;
        EXPECT_EQ(m_database.GetCommandText(&m_meter, code, text.Data(), -1), found) << code;
        EXPECT_EQ(m_database.GetCommandText(&m_meter, code, nullptr, 8), found) << code;
        EXPECT_TRUE(text.Untouched()) << code;
    }
    EXPECT_EQ(m_meter.m_calls, std::vector<std::string>()) << "no buffer to hand over";
}

// ---- texts of the meter interface

TEST_F(SpecialCommandText, IsAskedOfTheMeterInterface) {
    for (int index = 0; index < 8; ++index) {
        const std::string number = std::to_string(index);
        m_meter.m_texts["MeterTypeDialog[" + number + "]"] = "dialog " + number;
        m_meter.m_texts["MeterTypeSpecial[" + number + "]"] = "special " + number;
        m_meter.m_calls.clear();
        EXPECT_EQ(TextOf(211 + index, 100), "dialog " + number);
        EXPECT_EQ(TextOf(221 + index, 50), "special " + number);
        EXPECT_EQ(m_meter.m_calls, (std::vector<std::string>{"MeterTypeDialog[" + number + "]:???:100",
                                                             "MeterTypeSpecial[" + number + "]:???:50"}));
    }
}

TEST_F(SpecialCommandText, IsThreeQuestionMarksWhenTheInterfaceHasNone) {
    for (const bool answers : {true, false}) {
        m_meter.m_answersSpecialData = answers;
        for (int index = 0; index < 8; ++index) {
            EXPECT_EQ(TextOf(211 + index), "???");
            EXPECT_EQ(TextOf(221 + index), "???");
        }
    }
    GuardedBuffer<char> text(8);
    EXPECT_TRUE(m_database.GetCommandText(nullptr, 211, text.Data(), 8));
    EXPECT_EQ(text.Text(), "???");
}

TEST_F(SpecialCommandText, IsAsTheInterfaceLeavesItWhateverItSays) {
    m_meter.m_answersSpecialData = false;
    m_meter.m_texts = {{"MeterTypeDialog[0]", "text"}, {"MeterTypeDialog[1]", ""}};
    EXPECT_EQ(TextOf(211), "text");
    EXPECT_EQ(TextOf(212), "");
}

TEST_F(SpecialCommandText, EndsInTheBufferAlsoWhenTheInterfaceDidNotEndIt) {
    m_meter.m_terminates = false;
    m_meter.m_texts["MeterTypeDialog[0]"] = "abcdefgh";
    EXPECT_EQ(TextOf(211, 8), "abcdefg");
    EXPECT_EQ(TextOf(211, 4), "abc");
    EXPECT_EQ(TextOf(211, 1), "");
    EXPECT_EQ(m_meter.m_calls.back(), "MeterTypeDialog[0]::1");
}

TEST_F(SpecialCommandText, IsAskedForItsCodesOnly) {
    for (const int code : {210, 219, 220, 229, -211, 467})
        EXPECT_EQ(TextOf(code), "(false) ?") << code;
    EXPECT_EQ(m_meter.m_calls, std::vector<std::string>());
}

// ---- texts of the configuration

TEST_F(ConfiguredCommandText, IsThatOfTheCode) {
    OpenWithConfiguration(
        "[Functions]\n9=read tariff table\n1000=\"since *[DD.MM], at *\"\n-5=minus\n0=zero\n10=  a b  \n"
        "11=\"a\" b\n12=\"\"\"\n");
    EXPECT_EQ(TextOf(9), "read tariff table");
    EXPECT_EQ(TextOf(1000), "since *[DD.MM], at *");
    EXPECT_EQ(TextOf(-5), "minus");
    EXPECT_EQ(TextOf(0), "zero");
    EXPECT_EQ(TextOf(10), "  a b  ");
    EXPECT_EQ(TextOf(11), "\"a\" b");
    EXPECT_EQ(TextOf(12), "\"");
}

TEST_F(ConfiguredCommandText, IsAQuestionMarkWhenThereIsNone) {
    EXPECT_EQ(TextOf(9), "(false) ?") << "no system ini";
    m_database.SetLanguageCode("de");
    EXPECT_EQ(TextOf(9), "(false) ?") << "nor one for the language";
    OpenWithConfiguration("");
    EXPECT_EQ(TextOf(9), "(false) ?") << "no section";
    OpenWithConfiguration("[Functions]\n10=\n11=\"\"\n09=text\n");
    EXPECT_EQ(TextOf(9), "(false) ?") << "no key";
    EXPECT_EQ(TextOf(10), "(false) ?");
    EXPECT_EQ(TextOf(11), "(false) ?");
}

TEST_F(ConfiguredCommandText, IsThatOfTheLanguageWhenItHasASection) {
    OpenWithConfiguration("[Functions]\n9=table\n10=log\n[Functions_de]\n9=Tabelle\n[Functions_]\n9=wrong\n");
    EXPECT_EQ(TextOf(9), "table");
    m_database.SetLanguageCode("de");
    EXPECT_EQ(TextOf(9), "Tabelle");
    EXPECT_EQ(TextOf(10), "(false) ?") << "the language's section alone is read";
    m_database.SetLanguageCode("fr");
    EXPECT_EQ(TextOf(9), "table");
}

TEST_F(ConfiguredCommandText, IsCutWithoutItsQuotes) {
    OpenWithConfiguration("[Functions]\n9=\"" + std::string(4000, 'x') + "\"\n10=" + std::string(4000, 'y') +
                          "\n");
    EXPECT_EQ(TextOf(9, 4096), std::string(4000, 'x'));
    EXPECT_EQ(TextOf(9, 3000), std::string(2999, 'x'));
    EXPECT_EQ(TextOf(10, 4096), std::string(4000, 'y'));
    EXPECT_EQ(TextOf(10, 3000), std::string(2999, 'y'));
}

// ---- memory

TEST_F(ConfiguredCommandText, IsWholeOrNotThereWithoutMemory) {
    const std::string known = "a text that is too long to stand in a string object";
    OpenWithConfiguration("[Functions]\n1234567=" + known + "\n");
    int n = 0;
    for (bool failed = true; failed;) {
        GuardedBuffer<char> text(256);
        bool found = false;
        failed = FailAllocation(
            ++n, [&] { found = m_database.GetCommandText(&m_meter, 1234567, text.Data(), text.Size()); });
        EXPECT_EQ(found, !failed) << n;
        EXPECT_EQ(text.Text(), found ? known : "") << n;
    }
    EXPECT_GT(n, 1);
}
