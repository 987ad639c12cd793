// Opening the data file: where the files are found, the defaults they get, the order that records are brought
// into; closing and wiping it.
#include <filesystem>
#include <utility>

#include "Platform/Platform.h"
#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/HeapFault.h"

namespace {

using DatabaseOpening = DatabaseFixture;
using RecordNumbering = DatabaseFixture;
using ClientNumber = DatabaseFixture;
using DatabaseClosing = DatabaseFixture;
using DatabaseWiping = DatabaseFixture;

constexpr const char* kThreeFiles = "AppFile=app.ini\nRawFile=raw.dat\nDataFile=data.ini\n";

// ---- where the files are

TEST_F(DatabaseOpening, NeedsASystemIni) {
    EXPECT_FALSE(m_database.OpenDataFile(false));
    EXPECT_FALSE(m_database.OpenDataFile(true));
}

TEST_F(DatabaseOpening, NeedsAppRawAndDataFile) {
    struct {
        const char* system;
        bool appFileOpen;
    } const cases[] = {
        {"RawFile=raw.dat\nDataFile=data.ini\n", false},
        {"AppFile=\nRawFile=raw.dat\nDataFile=data.ini\n", false},
        {"AppFile=app.ini\nDataFile=data.ini\n", true},
        {"AppFile=app.ini\nRawFile=\nDataFile=data.ini\n", true},
        {"AppFile=app.ini\nRawFile=raw.dat\n", true},
        {"AppFile=app.ini\nRawFile=raw.dat\nDataFile=\n", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.system);
        m_folder.Write(kSystemIni, std::string("[System]\n") + c.system);
        m_database.SetIniFile(L"system.ini");
        EXPECT_FALSE(m_database.OpenDataFile(false));
        EXPECT_EQ(m_database.GetPtrToAppFile() != nullptr, c.appFileOpen);
        EXPECT_EQ(m_database.m_dataFile, nullptr);
        m_database.SetIniFile(L"");
    }
    EXPECT_EQ(m_database.GetNumberOfMeters(), -1);
}

TEST_F(DatabaseOpening, LooksIntoModuleModeOnlyWhenAsked) {
    const char* const module = "[ModuleMode]\nAppFile=mapp.ini\nRawFile=mraw.dat\nDataFile=mdata.ini\n";
    const char* const emptyModule = "[ModuleMode]\nAppFile=\nRawFile=\nDataFile=\n";
    const std::string system = std::string("[System]\n") + kThreeFiles;
    struct {
        std::string ini;
        bool moduleMode;
        const char* prefix;  // of the names that are used
    } const cases[] = {
        {system + module, false, ""}, {system + module, true, "m"},     {system, true, ""},
        {module, true, "m"},          {system + emptyModule, true, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ini);
        m_folder.Write(kSystemIni, c.ini);
        m_database.SetIniFile(L"system.ini");
        EXPECT_TRUE(m_database.OpenDataFile(c.moduleMode));
        EXPECT_EQ(m_database.m_appFilePath, m_folder.Wide(std::string(c.prefix) + "app.ini"));
        EXPECT_EQ(m_database.m_rawFilePath, m_folder.Wide(std::string(c.prefix) + "raw.dat"));
        EXPECT_EQ(m_database.m_dataFilePath, m_folder.Wide(std::string(c.prefix) + "data.ini"));
        m_database.SetIniFile(L"");
    }
}

TEST_F(DatabaseOpening, FindsNothingInModuleModeWhenNotAsked) {
    m_folder.Write(kSystemIni, std::string("[ModuleMode]\n") + kThreeFiles);
    m_database.SetIniFile(L"system.ini");
    EXPECT_FALSE(m_database.OpenDataFile(false));
}

TEST_F(DatabaseOpening, TakesAbsolutePathsAsTheyAre) {
    const std::filesystem::path path = m_folder.Path();
    const std::string folder = path.root_name().string() + "\\" + path.relative_path().string() + "\\";
    m_folder.Write(kSystemIni, "[System]\nAppFile=" + folder + "a.ini\nRawFile=" + folder +
                                   "r.dat\nDataFile=" + folder +
                                   "d.ini\nParDefRoot=\\Parameters\nParDefFile=\\Other\\p.ini\n");
    m_database.SetIniFile(L"system.ini");
    EXPECT_TRUE(m_database.OpenDataFile(false));
    EXPECT_EQ(m_database.m_appFilePath, Platform::WideFromNarrow(folder + "a.ini"));
    EXPECT_EQ(m_database.m_rawFilePath, Platform::WideFromNarrow(folder + "r.dat"));
    EXPECT_EQ(m_database.m_dataFilePath, Platform::WideFromNarrow(folder + "d.ini"));
    EXPECT_STREQ(m_database.m_parameterRootPath, L"\\Parameters");
    EXPECT_STREQ(m_database.m_parameterFilePath, L"\\Other\\p.ini");
    EXPECT_TRUE(m_folder.Exists("a.ini"));
    EXPECT_TRUE(m_folder.Exists("d.ini"));
}

TEST_F(DatabaseOpening, FindsTheParameterFileBelowItsRoot) {
    const std::wstring folder = m_folder.Wide();
    struct {
        const char* entries;
        std::wstring root;
        std::wstring file;
    } const cases[] = {
        {"ParDefRoot=Par\nParDefFile=p.ini\n", folder + L"\\Par", folder + L"\\Par\\p.ini"},
        {"ParDefRoot=\\Par\nParDefFile=p.ini\n", L"\\Par", L"\\Par\\p.ini"},
        {"ParDefFile=p.ini\n", L"", L"\\p.ini"},
        {"ParDefRoot=\nParDefFile=p.ini\n", L"", L"\\p.ini"},
        {"ParDefRoot=Par\n", folder + L"\\Par", L""},
        {"ParDefRoot=Par\nParDefFile=\n", folder + L"\\Par", L""},
        {"", L"", L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.entries);
        Open("", c.entries);
        EXPECT_EQ(m_database.m_parameterRootPath, c.root);
        EXPECT_EQ(m_database.m_parameterFilePath, c.file);
    }
}

TEST_F(DatabaseOpening, TakesParameterFilesFromSystemInModuleMode) {
    WriteSystemIni("ParDefRoot=Par\n[ModuleMode]\nParDefRoot=Other\nParDefFile=p.ini\n");
    m_database.SetIniFile(L"system.ini");
    ASSERT_TRUE(m_database.OpenDataFile(true));
    EXPECT_EQ(m_database.m_parameterRootPath, m_folder.Wide("Par"));
    EXPECT_STREQ(m_database.m_parameterFilePath, L"");
}

TEST_F(DatabaseOpening, CutsLongPaths) {
    const std::string name(250, 'r');
    m_folder.Write(kSystemIni, "[System]\nAppFile=app.ini\nRawFile=" + name + "\nDataFile=data.ini\n");
    m_database.SetIniFile(L"system.ini");
    ASSERT_TRUE(m_database.OpenDataFile(false));
    EXPECT_EQ(m_database.m_rawFilePath, m_folder.Wide(name).substr(0, 260));
}

TEST_F(DatabaseOpening, ReadsNamesUpTo255Characters) {
    const std::string name = "\\" + std::string(300, 'r');
    m_folder.Write(kSystemIni, "[System]\nAppFile=app.ini\nRawFile=" + name + "\nDataFile=data.ini\n");
    m_database.SetIniFile(L"system.ini");
    ASSERT_TRUE(m_database.OpenDataFile(false));
    EXPECT_EQ(m_database.m_rawFilePath, Platform::WideFromNarrow(name.substr(0, 255)));
}

TEST_F(DatabaseOpening, FindsFilesWithNamesBeyondAscii) {
    m_folder.Write(kSystemIni, "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=Z\xC3\xA4hler.ini\n");
    m_database.SetIniFile(L"system.ini");
    ASSERT_TRUE(m_database.OpenDataFile(false));
    EXPECT_TRUE(m_folder.Exists("Z\xC3\xA4hler.ini"));
}

// ---- what opening does

TEST_F(DatabaseOpening, GivesNewFilesTheirDefaultsAndSavesThem) {
    WriteSystemIni();
    m_database.SetIniFile(L"system.ini");
    EXPECT_TRUE(m_database.OpenDataFile(false));
    EXPECT_EQ(m_folder.Read(kDataFile), "[General]\r\nMeters=0\r\n");
    EXPECT_EQ(m_folder.Read(kAppFile), "[State]\r\nDirty=No\r\n");
    EXPECT_EQ(m_database.m_currentMeter, 0);
    EXPECT_EQ(m_database.CheckConsistency(), 0);
}

TEST_F(DatabaseOpening, KeepsWhatTheFilesHave) {
    const std::string data = "; route 7\n[General]\nMeters=1\n[#_1]\nState=U\n";
    const std::string app = "[State]\nDirty=Yes\n";
    Open(data, "", app);
    EXPECT_EQ(m_folder.Read(kDataFile), data);
    EXPECT_EQ(m_folder.Read(kAppFile), app);
}

TEST_F(DatabaseOpening, TakesAnEmptyDefaultAsPresent) {
    Open("[General]\nMeters=\n", "", "[State]\nDirty=\n");
    EXPECT_EQ(Data("General", "Meters"), "");
    EXPECT_EQ(App("State", "Dirty"), "");
}

TEST_F(DatabaseOpening, CountsRecordsOfAFileWithoutGeneralSection) {
    Open("[#_1]\nState=U\n[#_2]\nState=U\n");
    EXPECT_EQ(m_database.GetNumberOfMeters(), 2);
    EXPECT_EQ(m_folder.Read(kDataFile), "[#_1]\nState=U\n[#_2]\nState=U\n[General]\nMeters=2\n");
}

TEST_F(DatabaseOpening, MakesTheFirstMeterCurrent) {
    Open("[#_1]\n[#1_1]\n[#_2]\n");
    m_database.SetActualPosition(2);
    m_database.m_currentAppendix = 3;
    ASSERT_TRUE(m_database.OpenDataFile(false));
    EXPECT_EQ(m_database.m_currentMeter, 1);
    EXPECT_EQ(m_database.m_currentAppendix, 0);
}

TEST_F(DatabaseOpening, ClosesAnOpenDatabaseWithoutSaving) {
    Open("[General]\nMeters=1\n[#_1]\nState=U\n");
    m_database.m_dataFile->WriteString("#_1", "State", "H");
    m_database.m_appFile->WriteString("State", "Dirty", "Yes");
    ASSERT_TRUE(m_database.OpenDataFile(false));
    EXPECT_EQ(Data("#_1", "State"), "U");
    EXPECT_EQ(App("State", "Dirty"), "No");
}

TEST_F(DatabaseOpening, GivesEveryStoreTheSaveErrorText) {
    Open("", "[StringTexts]\nRawSaveError=Fehler \xC3\xA4\n");
    for (CMeterIniFile* store : {m_database.m_systemIni, m_database.m_appFile, m_database.m_dataFile})
        EXPECT_EQ(store->GetSaveErrorText(), Platform::WideFromNarrow("Fehler \xC3\xA4"));
}

TEST_F(DatabaseOpening, FailsWhenTheDataFileCannotBeRead) {
    m_folder.Write(kSystemIni, "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=.\n");
    m_database.SetIniFile(L"system.ini");
    EXPECT_FALSE(m_database.OpenDataFile(false));
    EXPECT_TRUE(m_database.IniFileError());
    EXPECT_NE(m_database.m_dataFile, nullptr);
    EXPECT_NE(m_database.m_appFile, nullptr);
}

TEST_F(DatabaseOpening, FailsWhenTheAppFileCannotBeRead) {
    m_folder.Write(kSystemIni, "[System]\nAppFile=.\nRawFile=raw.dat\nDataFile=data.ini\n");
    m_database.SetIniFile(L"system.ini");
    EXPECT_FALSE(m_database.OpenDataFile(false));
    EXPECT_TRUE(m_database.IniFileError());
    EXPECT_EQ(m_folder.Read(kDataFile), "[General]\r\nMeters=0\r\n");
}

TEST_F(DatabaseOpening, FailsWhenADefaultCannotBeSaved) {
    WriteSystemIni();
    m_database.SetIniFile(L"system.ini");
    for (const int save : {1, 2}) {
        m_folder.Write(kDataFile, "");
        FakeSystem system;
        system.FailCall(FakeSystem::Call::Rename, save);
        EXPECT_FALSE(m_database.OpenDataFile(false));
        EXPECT_TRUE(system.FaultHappened());
        EXPECT_NE(m_database.m_dataFile, nullptr);
        EXPECT_NE(m_database.m_appFile, nullptr);
        EXPECT_EQ(m_database.m_currentMeter, 0);
        EXPECT_TRUE(m_database.IniFileError());
        EXPECT_EQ(m_folder.Read(kDataFile), save == 1 ? "" : "[General]\r\nMeters=0\r\n");
        EXPECT_FALSE(m_folder.Exists(kAppFile));
    }
    EXPECT_TRUE(m_database.OpenDataFile(false));
}

// Whatever fails while records are brought into order, the next opening finds all of them.
TEST_F(DatabaseOpening, LosesNothingToAnyFailingCall) {
    const std::string data = "[General]\nMeters=9\n[#_3]\nState=U\n[#1_3]\nState=H\n";
    WriteSystemIni("[StringTexts]\nRawUsed=done\n");
    m_database.SetIniFile(L"system.ini");
    bool failed = true;
    for (int call = 1; failed; ++call) {
        m_folder.Write(kDataFile, data);
        std::filesystem::remove(m_folder.Path() / kAppFile);
        {
            FakeSystem system;
            system.FailAnyCall(call);
            m_database.OpenDataFile(false);
            failed = system.FaultHappened();
        }
        ASSERT_TRUE(m_database.OpenDataFile(false)) << call;
        EXPECT_EQ(Data("#_1", "State"), "U") << call;
        EXPECT_EQ(m_database.m_currentMeter, 1) << call;
    }
}

TEST_F(DatabaseOpening, FailsWithoutMemory) {
    WriteSystemIni("[Languages]\nLanguages=1\nLanguage1=a long language code,a long file name.txt\n");
    m_folder.Write(kDataFile, "[#_3]\nState=U\n");
    m_database.SetIniFile(L"system.ini");
    bool failed = true;
    for (int allocation = 1; failed; ++allocation) {
        bool opened = false;
        {
            HeapFault fault(allocation);
            opened = m_database.OpenDataFile(false);
            failed = fault.Happened();
        }
        EXPECT_TRUE(opened || failed) << allocation;
        EXPECT_TRUE(!opened || m_database.m_dataFile != nullptr) << allocation;
        ASSERT_TRUE(m_database.OpenDataFile(false)) << allocation;
        EXPECT_EQ(Data("#_1", "State"), "U") << allocation;
    }
    EXPECT_TRUE(m_folder.Exists(kDataFile));
}

TEST_F(DatabaseOpening, FailsWithoutMemoryForAStore) {
    WriteSystemIni();
    m_database.SetIniFile(L"system.ini");
    HeapFault fault(1, HeapFault::Times::FromThenOn);
    EXPECT_FALSE(m_database.OpenDataFile(false));
    EXPECT_EQ(m_database.m_dataFile, nullptr);
}

// ---- record numbers

TEST_F(RecordNumbering, FollowsTheOrderOfTheHeaders) {
    struct {
        const char* what;
        std::string before;
        std::string after;
        int meters;
    } const cases[] = {
        {"in order", "[#_1]\n[#1_1]\n[#_2]\n", "[#_1]\n[#1_1]\n[#_2]\n", 2},
        {"gap", "[#_1]\n[#_3]\n[#2_3]\n[#_4]\n", "[#_1]\n[#_2]\n[#2_2]\n[#_3]\n", 3},
        {"wrong order", "[#_2]\n[#1_2]\n[#_1]\n[#1_1]\n", "[#_1]\n[#1_1]\n[#_2]\n[#1_2]\n", 2},
        {"same number twice", "[#_1]\n[#1_1]\n[#_1]\n[#2_1]\n", "[#_1]\n[#1_1]\n[#_2]\n[#2_2]\n", 2},
        {"same number three times: the first new one counts", "[#_7]\n[#_7]\n[#_7]\n[#1_7]\n",
         "[#_1]\n[#_2]\n[#_3]\n[#1_1]\n", 3},
        {"appendix before its meter", "[#_1]\n[#1_3]\n[#_3]\n[#2_3]\n", "[#_1]\n[#1_3]\n[#_2]\n[#2_2]\n", 2},
        {"appendix of a meter that keeps its number", "[#_1]\n[#1_1]\n[#_5]\n[#1_1]\n",
         "[#_1]\n[#1_1]\n[#_2]\n[#1_1]\n", 2},
        {"appendix of no meter", "[#_2]\n[#1_9]\n", "[#_1]\n[#1_9]\n", 1},
        {"appendix with a large number", "[#_2]\n[#100_2]\n[#2147483647_2]\n",
         "[#_1]\n[#100_1]\n[#2147483647_1]\n", 1},
        {"number that is none", "[#_x]\n[#1_0]\n", "[#_1]\n[#1_1]\n", 1},
        {"empty number", "[#_]\n", "[#_1]\n", 1},
        {"number with text behind it", "[#_1 old]\n[#_3 old]\n", "[#_1]\n[#_2]\n", 2},
        {"number in another form", "[#_01]\n[#1_1]\n[#_ 2]\n[#_+3]\n", "[#_1]\n[#1_1]\n[#_2]\n[#_3]\n", 3},
        {"header without its end", "[#_3\n[#1_3\n", "[#_1]\n[#1_1]\n", 1},
        {"header without its end that has its number", "[#_1\n[#1_1]\n[#_1]\n[#1_1]\n",
         "[#_1]\n[#1_1]\n[#_2]\n[#1_2]\n", 2},
        {"text behind the header", "[#_3] first\n[#1_3] first\n[#_2] next\n", "[#_1]\n[#1_1]\n[#_2] next\n",
         2},
        {"number that is read up to 16 digits", "[#_00000000000000073]\n[#1_7]\n[#1_73]\n",
         "[#_1]\n[#1_1]\n[#1_73]\n", 1},
        {"negative number", "[#_-1]\n[#1_-1]\n", "[#_1]\n[#1_1]\n", 1},
        {"other sections", "[#_2]\n[#]\n[#x]\n[#]_2\n[#\n[*_2]\n[_2]\n[x#_2]\n",
         "[#_1]\n[#]\n[#x]\n[#]_2\n[#\n[*_2]\n[_2]\n[x#_2]\n", 1},
        {"lines that only hold a header", "[#_2]\nText=[#_5]\n;[#_6]\n [#_7]\n",
         "[#_1]\nText=[#_5]\n;[#_6]\n [#_7]\n", 1},
        {"entries stay with their records", "[#_5]\nState=U\n\n[#1_5]\n#1=a\n[#_6]\nState=H\n",
         "[#_1]\nState=U\n\n[#1_1]\n#1=a\n[#_2]\nState=H\n", 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string general = "[General]\nMeters=";
        const std::string meters = std::to_string(c.meters) + "\n";
        Open(general + meters + c.before);
        const std::string expected = general + meters + c.after;
        EXPECT_EQ(DataLines(), expected);
        EXPECT_EQ(m_folder.Read(kDataFile), expected);
        EXPECT_EQ(m_database.CheckConsistency(), c.meters);
        EXPECT_EQ(m_database.m_currentMeter, 1);
    }
}

TEST_F(RecordNumbering, CorrectsTheRecordedCount) {
    for (const char* recorded : {"0", "1", "7", "-1", "x", "", "00000000000000000002"}) {
        Open(std::string("[General]\nMeters=") + recorded + "\n[#_1]\n[#_2]\n");
        EXPECT_EQ(m_folder.Read(kDataFile), "[General]\nMeters=2\n[#_1]\n[#_2]\n") << recorded;
    }
}

// What stood in [General] behind the broken header belongs to its meter once it is whole.
TEST_F(RecordNumbering, CountsAnewWhenAMeterTakesTheRecordedCountAlong) {
    Open("[General]\n[#_\nMeters=1\n");
    EXPECT_EQ(m_database.GetNumberOfMeters(), 1);
    EXPECT_EQ(m_folder.Read(kDataFile), "[General]\nMeters=1\n[#_1]\nMeters=1\n");
}

TEST_F(RecordNumbering, KeepsARecordedCountThatIsRight) {
    const std::string data = "[General]\nMeters=02\n[#_1]\n[#_2]\n";
    Open(data);
    EXPECT_EQ(m_folder.Read(kDataFile), data);
}

TEST_F(RecordNumbering, FindsRenumberedSectionsByTheirNewNames) {
    Open("[#_3]\nState=U\n[#2_3]\nState=H\n");
    EXPECT_EQ(Data("#_1", "State"), "U");
    EXPECT_EQ(Data("#2_1", "State"), "H");
    EXPECT_EQ(Data("#_3", "State"), kMissing);
    EXPECT_EQ(Data("#2_3", "State"), kMissing);
}

TEST_F(RecordNumbering, LeadsToARecordWhoseHeaderLostItsEnd) {
    Open("[#_1\nState=U\n");
    EXPECT_EQ(Data("#_1", "State"), "U");
    EXPECT_TRUE(m_database.SetMeterItem("State", "H"));
    EXPECT_EQ(m_database.CheckConsistency(), 1) << "no second record was made for it";
    EXPECT_TRUE(m_database.DeleteActualMeter());
    EXPECT_EQ(m_database.GetNumberOfMeters(), 0);
}

TEST_F(RecordNumbering, KeepsTheBytesAroundTheHeaders) {
    Open("\xEF\xBB\xBF[#_3]\r\nState=U \n[#1_3]\r\n\n[General]\r\nMeters=1\n");
    EXPECT_EQ(m_folder.Read(kDataFile), "\xEF\xBB\xBF[#_1]\r\nState=U \n[#1_1]\r\n\n[General]\r\nMeters=1\n");
}

// Meters 1, 2, ... whose headers carry the numbers of `number(meter)`.
template <typename Number>
std::string Headers(int meters, Number number) {
    std::string headers;
    for (int meter = 1; meter <= meters; ++meter)
        headers += "[#_" + std::to_string(number(meter)) + "]\n";
    return headers;
}

TEST_F(RecordNumbering, RemembersTenThousandRenumberedMeters) {
    Open(Headers(10002, [](int meter) { return meter + 1; }) +
         "[#1_2]\n[#1_10001]\n[#1_10002]\n[#1_10003]\n");
    EXPECT_EQ(m_database.GetNumberOfMeters(), 10002);
    for (const char* followed : {"#1_1", "#1_10000"})
        EXPECT_TRUE(m_database.m_dataFile->SectionExists(followed)) << followed;
    for (const char* left : {"#1_10002", "#1_10003"})
        EXPECT_TRUE(m_database.m_dataFile->SectionExists(left)) << left;
}

TEST_F(RecordNumbering, CountsRepeatedNumbersAmongThoseItRemembers) {
    Open(Headers(10000, [](int) { return 20000; }) + "[#_30000]\n[#1_20000]\n[#1_30000]\n");
    EXPECT_TRUE(m_database.m_dataFile->SectionExists("#_10001"));
    EXPECT_TRUE(m_database.m_dataFile->SectionExists("#1_1"));
    EXPECT_TRUE(m_database.m_dataFile->SectionExists("#1_30000"));
}

TEST_F(RecordNumbering, FindsMetersInAnyOrder) {
    const int meters = 500;
    std::string records = Headers(meters, [](int meter) { return 2000 - 3 * meter; });
    for (int meter = 1; meter <= meters; ++meter)
        records += "[#" + std::to_string(meter) + "_" + std::to_string(2000 - 3 * meter) + "]\n";
    Open(records);
    for (int meter = 1; meter <= meters; ++meter) {
        const std::string number = std::to_string(meter);
        EXPECT_TRUE(m_database.m_dataFile->SectionExists(("#" + number + "_" + number).c_str())) << meter;
    }
}

TEST_F(RecordNumbering, SavesNothingWhenAllIsInOrder) {
    Open("[General]\nMeters=1\nClient=7\n[#_1]\n[#1_1]\n", "", "[State]\nDirty=No\nMandatorIdx=7\n");
    FakeSystem system;
    EXPECT_EQ(m_database.CheckConsistency(), 1);
    EXPECT_EQ(system.Count(FakeSystem::Call::CreateNew), 0);
}

TEST_F(RecordNumbering, FindsNoMetersWhenItCannotBeSaved) {
    const std::string data = "[General]\nMeters=2\n[#_1]\n[#_3]\n";
    WriteSystemIni();
    m_folder.Write(kDataFile, data);
    m_folder.Write(kAppFile, "[State]\nDirty=No\n");
    m_database.SetIniFile(L"system.ini");
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Rename, 1, FakeSystem::Times::FromThenOn);
    EXPECT_TRUE(m_database.OpenDataFile(false));
    EXPECT_EQ(m_database.m_currentMeter, 0);
    EXPECT_TRUE(m_database.IniFileError());
    EXPECT_TRUE(m_database.m_dataFile->SectionExists("#_2"));
    EXPECT_EQ(m_folder.Read(kDataFile), data);
}

TEST_F(RecordNumbering, ChangesNothingWithoutMemoryForItsTable) {
    Open("[General]\nMeters=1\n[#_1]\n");
    for (const char* header : {"[#_5]", "[#1_5]"})
        m_database.m_dataFile->AppendString(header);
    const std::string before = DataLines();
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Allocate, 1);
    EXPECT_EQ(m_database.CheckConsistency(), 0);
    EXPECT_TRUE(system.FaultHappened());
    EXPECT_EQ(DataLines(), before);
    EXPECT_EQ(system.Messages().size(), 0u);
    EXPECT_EQ(m_database.CheckConsistency(), 2);
    EXPECT_EQ(DataLines(), "[General]\nMeters=2\n[#_1]\n[#_2]\n[#1_2]\n");
}

// Headers that change take memory in blocks, which may end between any two of them.
TEST_F(RecordNumbering, RenamesAllHeadersOrNoneWithoutMemory) {
    const std::string headers = "[#_2]\nx=1\n[#1_2]\ny=1\n[#_3]\nx=2\n[#1_3]\ny=2\n[#_100000]\n[#1_100000]\n";
    const std::string renamed = "[#_1]\nx=1\n[#1_1]\ny=1\n[#_2]\nx=2\n[#1_2]\ny=2\n[#_3]\n[#1_3]\n";
    int kept = 0;
    for (const int left : {100, 6, 5, 4, 3, 2, 1}) {
        bool happened = true;
        for (int n = 1; happened; ++n) {
            ASSERT_LT(n, 200);
            Open("[General]\nMeters=0\n");
            std::istringstream lines(headers);
            for (std::string line; std::getline(lines, line);)
                m_database.m_dataFile->AppendString(line.c_str());
            m_database.m_dataFile->AppendString(
                std::string(65536U - 16 * (10U + 1 + static_cast<unsigned>(left)), 'x').c_str());
            m_database.UpdateDatabase();  // lines that a save may read are not written over
            {
                const HeapFault fault(n);
                try {
                    m_database.CheckConsistency();
                } catch (const std::bad_alloc&) {
                }
                happened = fault.Happened();
            }
            const std::string after = DataLines();
            kept += after.find(headers) != std::string::npos ? 1 : 0;
            EXPECT_NE(after.find(headers) != std::string::npos, after.find(renamed) != std::string::npos)
                << "allocation " << n << ", room for " << left;
            m_database.CloseDataFile();
        }
    }
    EXPECT_GE(kept, 7);
}

// ---- files of one name

TEST_F(RecordNumbering, AnAppFileThatIsTheDataFileIsRefused) {
    Open("[General]\nMeters=1\n[#_1]\nState=U\n");
    m_database.CloseDataFile();
    m_database.GetPtrToIniFile()->WriteString("System", "AppFile", (std::string(".\\") + kDataFile).c_str());
    const std::string before = m_folder.Read(kDataFile);
    EXPECT_FALSE(m_database.OpenDataFile(false));
    EXPECT_EQ(m_folder.Read(kDataFile), before);
}

// ---- client number

TEST_F(ClientNumber, OfTheDataFileWins) {
    const char* const none = nullptr;
    struct {
        const char* client;
        const char* mandator;
        const char* clientAfter;
        const char* mandatorAfter;
    } const cases[] = {
        {none, "7", "7", "7"},    {"", "7", "7", "7"},     {"0", "7", "7", "7"},
        {"x", "7", "7", "7"},     {"5", "7", "5", "5"},    {"5", none, "5", "5"},
        {"5", "", "5", "5"},      {"5", "0", "5", "5"},    {"5", "x", "5", "5"},
        {"5", "-7", "5", "5"},    {"5", "5", "5", "5"},    {"05", "5", "05", "5"},
        {"5", "05", "5", "05"},   {none, "0", none, "0"},  {none, "-7", none, "-7"},
        {none, none, none, none}, {"-5", "7", "-5", "7"},  {"-5", none, "-5", none},
        {"0", none, "0", none},   {" 5", "7", " 5", " 5"}, {"5000", "7", "5000", "5000"},
    };
    const auto entry = [](const char* key, const char* value) {
        return value == nullptr ? std::string() : std::string(key) + "=" + value + "\n";
    };
    for (const auto& c : cases) {
        const std::string data = "[General]\nMeters=1\n";
        const std::string app = "[State]\nDirty=No\n";
        Open(data + entry("Client", c.client) + "[#_1]\n", "", app + entry("MandatorIdx", c.mandator));
        SCOPED_TRACE("client " + Data("General", "Client") + ", mandator " + App("State", "MandatorIdx"));
        EXPECT_EQ(m_folder.Read(kDataFile), data + entry("Client", c.clientAfter) + "[#_1]\n");
        EXPECT_EQ(m_folder.Read(kAppFile), app + entry("MandatorIdx", c.mandatorAfter));
        EXPECT_EQ(m_database.m_currentMeter, 1);
    }
}

TEST_F(ClientNumber, IsReadUpTo39Characters) {
    Open("[General]\nMeters=0\n", "", "[State]\nMandatorIdx=" + std::string(38, '0') + "57\n");
    EXPECT_EQ(Data("General", "Client"), std::string(38, '0') + "5");
    Open("[General]\nMeters=0\nClient=" + std::string(38, '0') + "57\n", "", "[State]\nDirty=No\n");
    EXPECT_EQ(App("State", "MandatorIdx"), std::string(38, '0') + "5");
}

TEST_F(ClientNumber, IsSavedTogetherWithNewNumbers) {
    Open("[General]\nMeters=9\n[#_3]\n", "", "[State]\nMandatorIdx=7\nDirty=No\n");
    EXPECT_EQ(m_folder.Read(kDataFile), "[General]\nMeters=1\nClient=7\n[#_1]\n");
}

TEST_F(ClientNumber, StaysWithoutAnAppFile) {
    Open("[General]\nMeters=0\n");
    CMeterIniFile* const appFile = std::exchange(m_database.m_appFile, nullptr);
    appFile->WriteString("State", "MandatorIdx", "7");
    EXPECT_EQ(m_database.CheckConsistency(), 0);
    EXPECT_EQ(Data("General", "Client"), kMissing);
    m_database.m_appFile = appFile;
}

TEST_F(ClientNumber, IsNoMeterWhenItCannotBeSaved) {
    Open("[General]\nMeters=1\n[#_1]\n");
    m_database.m_appFile->WriteString("State", "MandatorIdx", "7");
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Rename, 1);
    EXPECT_EQ(m_database.CheckConsistency(), 0);
    EXPECT_EQ(Data("General", "Client"), "7");
    EXPECT_TRUE(m_database.m_dataFile->m_error);
}

TEST_F(ClientNumber, StandsWhenTheAppFileCannotBeSaved) {
    Open("[General]\nMeters=1\n[#_1]\n");
    m_database.m_dataFile->WriteString("General", "Client", "5");
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Rename, 1);
    EXPECT_EQ(m_database.CheckConsistency(), 1);
    EXPECT_EQ(App("State", "MandatorIdx"), "5");
    EXPECT_TRUE(m_database.m_appFile->m_error);
}

// ---- closing

TEST_F(DatabaseClosing, DropsChangesAndPosition) {
    Open("[General]\nMeters=1\n[#_1]\nState=U\n[#1_1]\n");
    ASSERT_TRUE(m_database.SetAppendix(1));
    m_database.m_dataFile->WriteString("#_1", "State", "H");
    m_database.m_appFile->WriteString("State", "Dirty", "Yes");
    EXPECT_TRUE(m_database.CloseDataFile());
    EXPECT_EQ(m_database.m_dataFile, nullptr);
    EXPECT_EQ(m_database.GetPtrToAppFile(), nullptr);
    EXPECT_NE(m_database.GetPtrToIniFile(), nullptr);
    EXPECT_EQ(m_database.m_currentMeter, 0);
    EXPECT_EQ(m_database.m_currentAppendix, 0);
    EXPECT_EQ(m_folder.Read(kDataFile), "[General]\nMeters=1\n[#_1]\nState=U\n[#1_1]\n");
    EXPECT_EQ(m_folder.Read(kAppFile), "[State]\nDirty=No\n");
}

TEST_F(DatabaseClosing, IsTrueWithoutAnOpenDatabase) {
    EXPECT_TRUE(m_database.CloseDataFile());
    EXPECT_TRUE(m_database.CloseDataFile());
}

TEST_F(DatabaseClosing, LetsTheDatabaseBeOpenedAgain) {
    Open("[#_1]\nState=U\n");
    m_database.CloseDataFile();
    EXPECT_TRUE(m_database.OpenDataFile(false));
    EXPECT_EQ(m_database.GetActualPosition(), 1);
}

// ---- wiping

TEST_F(DatabaseWiping, LeavesAnEmptyDataFileAndTheAppFile) {
    m_folder.Write(kRawFile, "raw data");
    Open("[#_1]\nState=U\n", "", "[State]\nDirty=Yes\nRoute=12\n");
    EXPECT_TRUE(m_database.DeleteAllData());
    EXPECT_EQ(m_folder.Read(kDataFile), "[General]\r\nMeters=0\r\n");
    EXPECT_EQ(m_folder.Read(kAppFile), "[State]\nDirty=No\nRoute=12\n");
    EXPECT_FALSE(m_folder.Exists(kRawFile));
    EXPECT_EQ(m_database.GetNumberOfMeters(), 0);
    EXPECT_EQ(m_database.GetActualPosition(), 0);
}

TEST_F(DatabaseWiping, IsTrueWithoutARawFile) {
    Open("[#_1]\n");
    EXPECT_TRUE(m_database.DeleteAllData());
    EXPECT_EQ(m_database.GetNumberOfMeters(), 0);
}

TEST_F(DatabaseWiping, IsTrueWhenTheDataFileCannotBeOpenedAgain) {
    Open("[#_1]\n");
    m_database.m_systemIni->DeleteKey("System", "DataFile");
    EXPECT_TRUE(m_database.DeleteAllData());
    EXPECT_FALSE(m_folder.Exists(kDataFile));
    EXPECT_EQ(m_database.GetNumberOfMeters(), -1);
    EXPECT_EQ(App("State", "Dirty"), "No");
}

TEST_F(DatabaseWiping, OpensTheFilesOfTheSystemSection) {
    WriteSystemIni("[ModuleMode]\nDataFile=module.ini\n");
    m_folder.Write("module.ini", "[#_1]\n");
    m_database.SetIniFile(L"system.ini");
    ASSERT_TRUE(m_database.OpenDataFile(true));
    EXPECT_TRUE(m_database.DeleteAllData());
    EXPECT_FALSE(m_folder.Exists("module.ini"));
    EXPECT_TRUE(m_folder.Exists(kDataFile));
}

TEST_F(DatabaseWiping, NeedsAllStores) {
    const std::string data = "[General]\nMeters=1\n[#_1]\n";
    m_folder.Write(kRawFile, "raw data");
    Open(data);
    for (CMeterIniFile** store : {&m_database.m_systemIni, &m_database.m_dataFile, &m_database.m_appFile}) {
        CMeterIniFile* const kept = std::exchange(*store, nullptr);
        EXPECT_FALSE(m_database.DeleteAllData());
        *store = kept;
    }
    EXPECT_EQ(m_folder.Read(kDataFile), data);
    EXPECT_EQ(m_folder.Read(kRawFile), "raw data");
    EXPECT_EQ(m_database.GetActualPosition(), 1);
}

TEST_F(DatabaseWiping, IsTrueWhenFilesCannotBeDeletedOrSaved) {
    m_folder.Write(kRawFile, "raw data");
    Open("[General]\nMeters=1\n[#_1]\n");
    for (const FakeSystem::Call call : {FakeSystem::Call::Remove, FakeSystem::Call::Rename}) {
        FakeSystem system;
        system.FailCall(call, 1, FakeSystem::Times::FromThenOn);
        EXPECT_TRUE(m_database.DeleteAllData());
        EXPECT_TRUE(system.FaultHappened());
        EXPECT_EQ(m_folder.Exists(kRawFile), call == FakeSystem::Call::Remove);
        EXPECT_EQ(m_folder.Exists(kDataFile), call == FakeSystem::Call::Remove);
    }
}

TEST_F(DatabaseWiping, DeletesTheDataFileBeforeTheRawFile) {
    m_folder.Write(kRawFile, "raw data");
    Open("[#_1]\n");
    FakeSystem system;
    ASSERT_TRUE(m_database.DeleteAllData());
    std::vector<std::wstring> removed;
    for (const FakeSystem::Entry& entry : system.Journal())
        if (entry.call == FakeSystem::Call::Remove)
            removed.push_back(entry.path);
    EXPECT_EQ(removed, (std::vector<std::wstring>{m_folder.Wide(kDataFile), m_folder.Wide(kRawFile)}));
}

}  // namespace
