// The display texts: their defaults, the texts of a language, and how that language is chosen.
#include <cstring>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"

namespace {

using DisplayTexts = DatabaseFixture;
using LanguageChoice = DatabaseFixture;
using LanguageCode = DatabaseFixture;

struct KeyedText {
    const char* key;
    const char* text;
};

constexpr KeyedText kExpected[] = {
    {"RawMeterReadingStandart", "read standard list"},
    {"RawList2", "read list 2"},
    {"RawList3", "read list 3"},
    {"RawMeterReadingStdRF", "read standard with radio"},
    {"RawActualValues", "read actual values"},
    {"RawDetermineMetertype", "determine metertype"},
    {"RawLoadProfile", "read load profile"},
    {"RawLogfile", "read logbook"},
    {"RawValueProfile", "read value profile"},
    {"RawGetDateTime", "read date / time"},
    {"RawSetDateTime", "set  date / time"},
    {"RawDoMaxReset", "maximum demand reset"},
    {"RawDoClearError", "clear error"},
    {"RawDoGetActualValues", "table/graphic actual values"},
    {"RawDoGetParams", "read configuration"},
    {"RawDoSetParams", "write configuration"},
    {"RawDoShowStateStd", "show actual state"},
    {"RawNewDataRecord", "new appended"},
    {"RawInfoRecord", "info record"},
    {"RawInUse", "in modification"},
    {"RawNotUsed", "unhandled"},
    {"RawUsed", "handled"},
    {"RawCardLeft", "card left"},
    {"RawReadOnly", "read only"},
    {"RawDeferPlant", "deferred"},
    {"RawSaveError", "save error"},
    {"ActionMeterChange", "change"},
    {"ActionMeterChangeable", "marked to change"},
    {"ActionMeterUnmount", "unmount"},
    {"ActionMeterUnmountable", "marked to unmount"},
    {"ActionMeterMount", "mount"},
    {"ActionMeterReadout", "read out"},
    {"ActionMeterCollect", "collect"},
    {"ActionMeterSwitchOn", "switch on"},
    {"ActionMeterSwitchOff", "switch off"},
};
static_assert(std::size(kExpected) == TestDatabase::kTexts, "a row per text");

constexpr int kUsed = 21;  // slot of "RawUsed"

// A store in memory with one text under [Texts] Key.
class OneText : public CMeterIniFile {
public:
    explicit OneText(const std::string& text) : CMeterIniFile(L"\\no such directory\\texts.ini") {
        EXPECT_TRUE(WriteString("Texts", "Key", text.c_str()));
    }
};

// ---- the table

TEST_F(DisplayTexts, StartWithTheirDefaults) {
    for (int i = 0; i < TestDatabase::kTexts; ++i)
        EXPECT_STREQ(m_database.m_texts[i], kExpected[i].text) << kExpected[i].key;
}

TEST_F(DisplayTexts, AreEachLoadedByTheirKey) {
    std::string texts = "[StringTexts]\n";
    for (const KeyedText& expected : kExpected)
        texts += std::string(expected.key) + "=text of " + expected.key + "\n";
    Open("", texts);
    for (int i = 0; i < TestDatabase::kTexts; ++i)
        EXPECT_EQ(m_database.m_texts[i], std::string("text of ") + kExpected[i].key);
}

TEST_F(DisplayTexts, KeepWhatNoKeyReplaces) {
    Open("", "[StringTexts]\nRawUsed=done\n");
    for (int i = 0; i < TestDatabase::kTexts; ++i)
        EXPECT_STREQ(m_database.m_texts[i], i == kUsed ? "done" : kExpected[i].text);
}

TEST_F(DisplayTexts, KeepAnEarlierLanguageWhereTheNextHasNoText) {
    Open("", "[StringTexts]\nRawUsed=done\nRawInUse=busy\n");
    m_database.m_systemIni->WriteString("StringTexts", "RawInUse", "occupied");
    m_database.m_systemIni->DeleteKey("StringTexts", "RawUsed");
    ASSERT_TRUE(m_database.OpenDataFile(false));
    EXPECT_STREQ(m_database.m_texts[kUsed], "done");
    EXPECT_STREQ(m_database.m_texts[19], "occupied");
}

TEST_F(DisplayTexts, AreForgottenWithoutBeingFreed) {
    char* const before = m_database.m_texts[kUsed];
    m_database.HandleText(nullptr, 1, &m_database.m_texts[kUsed], "Texts", "Key", "text");
    EXPECT_EQ(m_database.m_texts[kUsed], nullptr);
    EXPECT_STREQ(before, "handled");
    m_database.m_texts[kUsed] = before;
}

TEST_F(DisplayTexts, AreReplacedByADefault) {
    m_database.HandleText(nullptr, 2, &m_database.m_texts[kUsed], "Texts", "Key", "first");
    EXPECT_STREQ(m_database.m_texts[kUsed], "first");
    m_database.HandleText(nullptr, 2, &m_database.m_texts[kUsed], "Texts", "Key", "a longer second text");
    EXPECT_STREQ(m_database.m_texts[kUsed], "a longer second text");
}

TEST_F(DisplayTexts, AreLoadedFromAStore) {
    const std::string longest(4095, 'x');
    struct {
        std::string stored;
        std::string text;
    } const cases[] = {
        {"done", "done"},          {"", ""},     {"\"done\"", "done"}, {"\"\"", ""},
        {"\"done", "\"done"},      {"\"", "\""}, {" done ", " done "}, {"a \"b\" c", "a \"b\" c"},
        {longest + "yz", longest},
    };
    for (const auto& c : cases) {
        OneText store(c.stored);
        m_database.HandleText(&store, 3, &m_database.m_texts[kUsed], "Texts", "Key", "default");
        EXPECT_EQ(m_database.m_texts[kUsed], c.text);
    }
}

TEST_F(DisplayTexts, StayWhenTheStoreHasNone) {
    OneText store("done");
    char* const before = m_database.m_texts[kUsed];
    m_database.HandleText(&store, 3, &m_database.m_texts[kUsed], "Texts", "OtherKey", "default");
    m_database.HandleText(&store, 3, &m_database.m_texts[kUsed], "OtherTexts", "Key", "default");
    m_database.HandleText(nullptr, 3, &m_database.m_texts[kUsed], "Texts", "Key", "default");
    EXPECT_EQ(m_database.m_texts[kUsed], before);
    EXPECT_STREQ(before, "handled");
}

TEST_F(DisplayTexts, AreReleased) {
    m_database.HandleText(nullptr, 4, &m_database.m_texts[kUsed], "Texts", "Key", "text");
    EXPECT_EQ(m_database.m_texts[kUsed], nullptr);
    m_database.HandleText(nullptr, 4, &m_database.m_texts[kUsed], "Texts", "Key", "text");
    EXPECT_EQ(m_database.m_texts[kUsed], nullptr);
}

TEST_F(DisplayTexts, IgnoreUnknownModes) {
    OneText store("done");
    char* const before = m_database.m_texts[kUsed];
    for (const int mode : {-1, 0, 5, 99})
        m_database.HandleText(&store, mode, &m_database.m_texts[kUsed], "Texts", "Key", "text");
    EXPECT_EQ(m_database.m_texts[kUsed], before);
    EXPECT_STREQ(before, "handled");
}

TEST_F(DisplayTexts, AreHandledAllAtOnce) {
    m_database.HandleAllTexts(nullptr, 4);
    for (const char* text : m_database.m_texts)
        EXPECT_EQ(text, nullptr);
    m_database.HandleAllTexts(nullptr, 2);
    for (int i = 0; i < TestDatabase::kTexts; ++i)
        EXPECT_STREQ(m_database.m_texts[i], kExpected[i].text);
}

TEST_F(DisplayTexts, AreMissedAloudWithoutMemory) {
    OneText store("done");
    for (const int mode : {2, 3}) {
        FakeSystem system;
        system.FailCall(FakeSystem::Call::Allocate, 1);
        m_database.HandleText(&store, mode, &m_database.m_texts[kUsed], "Texts", "Key", "default");
        EXPECT_EQ(m_database.m_texts[kUsed], nullptr);
        const std::vector<FakeSystem::Message> messages = system.Messages();
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].owner, nullptr);
        EXPECT_EQ(messages[0].text, L"Systemfehler: KEIN SPEICHER !");
        EXPECT_EQ(messages[0].caption, L"xxx");
        EXPECT_EQ(messages[0].type, 0u);
    }
    m_database.HandleText(&store, 3, &m_database.m_texts[kUsed], "Texts", "Key", "default");
    EXPECT_STREQ(m_database.m_texts[kUsed], "done");
}

TEST_F(DisplayTexts, AreEachMissedWithoutMemory) {
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Allocate, 1, FakeSystem::Times::FromThenOn);
    m_database.HandleAllTexts(nullptr, 2);
    EXPECT_EQ(system.Messages().size(), 35u);
    for (const char* text : m_database.m_texts)
        EXPECT_EQ(text, nullptr);
}

// ---- the choice of a language

// Which texts are shown is told by the text "RawUsed": the system ini has "ini", the file of a language its
// name.
struct LanguageCase {
    std::string what;
    std::string languages;  // entries of section "Languages" in the system ini
    std::string current;    // entries of section "System" in the app file
    std::string shown;
    std::string stored;  // as the current language
};

std::string ManyLanguages(int count) {
    std::string entries = "Languages=" + std::to_string(count) + "\nLanguage1=de,de.txt\n";
    for (int i = 2; i <= count; ++i)
        entries += "Language" + std::to_string(i) + "=x" + std::to_string(i) + ",en.txt\n";
    return entries;
}

std::vector<LanguageCase> LanguageCases() {
    const std::string two = "Languages=2\nLanguage1=de,de.txt\nLanguage2=en,en.txt\n";
    const std::string code39(39, 'c');
    return {
        {"no list", "", "Language=de\n", "ini", "de"},
        {"no count", "Language1=de,de.txt\n", "Language=de\n", "ini", "de"},
        {"count 0", "Languages=0\nLanguage1=de,de.txt\n", "Language=de\n", "ini", "de"},
        {"negative count", "Languages=-2\nLanguage1=de,de.txt\n", "Language=de\n", "ini", "de"},
        {"count that is no number", "Languages=two\nLanguage1=de,de.txt\n", "Language=de\n", "ini", "de"},
        {"first language", two, "Language=de\n", "de", "de"},
        {"second language", two, "Language=en\n", "en", "en"},
        {"code in capitals", two, "Language=EN\n", "en", "EN"},
        {"listed in capitals", "Languages=1\nLanguage1=DE,de.txt\n", "Language=de\n", "de", "de"},
        {"language that is not listed", two, "Language=fr\n", "de", "de"},
        {"no current language", two, "", "de", "de"},
        {"language behind the count", "Languages=1\nLanguage1=de,de.txt\nLanguage2=en,en.txt\n",
         "Language=en\n", "de", "de"},
        {"twentieth of 25 languages", ManyLanguages(25), "Language=x20\n", "en", "x20"},
        {"twenty-first of 25 languages", ManyLanguages(25), "Language=x21\n", "de", "de"},
        {"gap in the list", "Languages=3\nLanguage3=en,en.txt\n", "Language=en\n", "en", "en"},
        {"gap in the list that no language fills", "Languages=3\nLanguage3=en,en.txt\n", "", "ini",
         "(missing)"},
        {"first of two entries", "Languages=2\nLanguage1=en,en.txt\nLanguage2=en,de.txt\n", "Language=en\n",
         "en", "en"},
        {"entry without a file is passed over",
         "Languages=3\nLanguage1=de,de.txt\nLanguage2=en\nLanguage3=en,en.txt\n", "Language=en\n", "en",
         "en"},
        {"entry with an empty file is passed over",
         "Languages=3\nLanguage1=de,de.txt\nLanguage2=en,\nLanguage3=en,en.txt\n", "Language=en\n", "en",
         "en"},
        {"first language without a file", "Languages=1\nLanguage1=de\n", "Language=fr\n", "ini", "fr"},
        {"first language without a code", "Languages=1\nLanguage1=,de.txt\n", "Language=fr\n", "de", "fr"},
        {"file that is missing", "Languages=1\nLanguage1=fr,fr.txt\n", "Language=fr\n", "ini", "fr"},
        {"file that is missing, stored all the same", "Languages=1\nLanguage1=fr,fr.txt\n", "", "ini", "fr"},
        {"file that is a directory", "Languages=1\nLanguage1=fr,directory\n", "Language=fr\n", "ini", "fr"},
        {"code and file in quotes", "Languages=1\nLanguage1=\"en\",\"en.txt\"\n", "Language=en\n", "en",
         "en"},
        {"fallback in quotes", "Languages=1\nLanguage1=\"en\",\"en.txt\"\n", "", "en", "en"},
        {"third token ignored", "Languages=1\nLanguage1=en,en.txt,English\n", "Language=en\n", "en", "en"},
        {"code of 39 characters", "Languages=1\nLanguage1=" + code39 + ",en.txt\n",
         "Language=" + code39 + "\n", "en", code39},
    };
}

TEST_F(LanguageChoice, FollowsListAndCurrentLanguage) {
    std::filesystem::create_directory(m_folder.Path() / "directory");
    m_folder.Write("de.txt", "[StringTexts]\nRawUsed=de\n");
    m_folder.Write("en.txt", "[StringTexts]\nRawUsed=en\n");
    for (const LanguageCase& c : LanguageCases()) {
        SCOPED_TRACE(c.what);
        Open("", "[Languages]\n" + c.languages + "[StringTexts]\nRawUsed=ini\n", "[System]\n" + c.current);
        EXPECT_EQ(m_database.m_texts[kUsed], c.shown);
        EXPECT_EQ(App("System", "Language"), c.stored);
    }
}

TEST_F(LanguageChoice, CutsLongCodes) {
    const std::string code(45, 'c');
    m_folder.Write("en.txt", "[StringTexts]\nRawUsed=en\n");
    Open("", "[Languages]\nLanguages=1\nLanguage1=\"" + code + "\",en.txt\n");
    EXPECT_STREQ(m_database.m_texts[kUsed], "en");
    EXPECT_EQ(App("System", "Language"), code.substr(0, 39));
    ASSERT_TRUE(m_database.OpenDataFile(false));
    EXPECT_STREQ(m_database.m_texts[kUsed], "en");
}

TEST_F(LanguageChoice, IsSavedAtOnceWhenTheFirstLanguageStepsIn) {
    Open("", "[Languages]\nLanguages=1\nLanguage1=de,de.txt\n", "[State]\nDirty=Yes\n");
    EXPECT_EQ(m_folder.Read(kAppFile), "[State]\nDirty=Yes\n[System]\nLanguage=de\n");
}

TEST_F(LanguageChoice, StandsWhenItCannotBeSaved) {
    WriteSystemIni("[Languages]\nLanguages=1\nLanguage1=de,de.txt\n");
    m_folder.Write("de.txt", "[StringTexts]\nRawUsed=de\n");
    m_folder.Write(kDataFile, "[General]\nMeters=0\n");
    m_folder.Write(kAppFile, "[State]\nDirty=No\n");
    m_database.SetIniFile(L"system.ini");
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Rename, 1);
    EXPECT_TRUE(m_database.OpenDataFile(false));
    EXPECT_TRUE(system.FaultHappened());
    EXPECT_STREQ(m_database.m_texts[kUsed], "de");
    EXPECT_EQ(App("System", "Language"), "de");
}

TEST_F(LanguageChoice, TakesTheSystemIniWhenTheTextsCannotBeRead) {
    m_folder.Write("de.txt", "[StringTexts]\nRawUsed=de\n");
    Open("", "[Languages]\nLanguages=1\nLanguage1=de,de.txt\n[StringTexts]\nRawUsed=ini\n");
    ASSERT_STREQ(m_database.m_texts[kUsed], "de");
    FakeSystem system;
    system.FailCall(FakeSystem::Call::OpenForReading, 1);
    m_database.DefineTexts();
    EXPECT_STREQ(m_database.m_texts[kUsed], "ini");
}

TEST_F(LanguageChoice, LeavesTextsThatTheLanguageLacks) {
    m_folder.Write("de.txt", "[StringTexts]\nRawUsed=erledigt\n");
    Open("", "[Languages]\nLanguages=1\nLanguage1=de,de.txt\n[StringTexts]\nRawInUse=ini\n");
    EXPECT_STREQ(m_database.m_texts[kUsed], "erledigt");
    EXPECT_STREQ(m_database.m_texts[19], "in modification");
}

TEST_F(LanguageChoice, ReadsTextsWithoutChangingTheirFile) {
    m_folder.Write("de.txt", "[StringTexts]\nRawUsed=\"erledigt\"\n");
    Open("", "[Languages]\nLanguages=1\nLanguage1=de,de.txt\n");
    EXPECT_STREQ(m_database.m_texts[kUsed], "erledigt");
    EXPECT_EQ(m_folder.Read("de.txt"), "[StringTexts]\nRawUsed=\"erledigt\"\n");
}

// ---- the language code of sections

TEST_F(LanguageCode, IsCutTo39Characters) {
    struct {
        std::string code;
        std::string kept;
    } const cases[] = {
        {"de", "de"},
        {"", ""},
        {std::string(39, 'a'), std::string(39, 'a')},
        {std::string(45, 'b'), std::string(39, 'b')},
    };
    for (const auto& c : cases) {
        m_database.SetLanguageCode(c.code.c_str());
        EXPECT_EQ(std::string(m_database.m_languageCode, 40), c.kept + std::string(40 - c.kept.size(), '\0'));
    }
}

TEST_F(LanguageCode, IsEmptyForNone) {
    m_database.SetLanguageCode("de");
    m_database.SetLanguageCode(nullptr);
    EXPECT_STREQ(m_database.m_languageCode, "");
}

TEST_F(LanguageCode, DoesNotChooseTheTexts) {
    m_folder.Write("de.txt", "[StringTexts]\nRawUsed=de\n");
    m_folder.Write("en.txt", "[StringTexts]\nRawUsed=en\n");
    m_database.SetLanguageCode("en");
    Open("", "[Languages]\nLanguages=2\nLanguage1=de,de.txt\nLanguage2=en,en.txt\n",
         "[System]\nLanguage=de\n");
    EXPECT_STREQ(m_database.m_texts[kUsed], "de");
    EXPECT_STREQ(m_database.m_languageCode, "en");
}

}  // namespace
