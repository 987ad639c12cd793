#include "tests/support/WorkingDay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "MeterUtil/Text.h"
#include "tests/support/HeapFault.h"

namespace {

using Call = FakeSystem::Call;

constexpr const char* kSystemSections =
    "RawPath=spool\n"
    "[List]\nMasterValue=1.8.0\n"
    "[AppendGas]\nNo=new\nMeterType=,D,,Gas,\"\"\nTown=G,D,,,\"\"\n7-0:3.0.0=RV,U,8,,\"\"\n"
    "#1=\n7-0:3.2.0=R,U,8,,\"\"\n";

// One meter in two has an appendix. The records are numbered with gaps.
std::string Route(int meters) {
    std::string route = "; the route\n[General]\nMeters=0\nTown=Northbridge\n";
    for (int meter = 1; meter <= meters; ++meter) {
        const std::string number = std::to_string(meter + meter / 3);
        route += "[#_" + number + "]\nState=U\nNo=M" + std::to_string(meter) +
                 "\n1.8.0=RVS,U,\"8,C0;99\",,\"energy\"\n0.0.0=RS,U,8,,\"\"\nMeterID=A,U,8,,\"\"\n\n";
        if (meter % 2 == 0)
            route += "[#1_" + number + "]\n2.8.0=R,U,8,,\"\"\n\n";
    }
    return route +
           "[Store]\nMeters=1\n[*_1]\n0.0.0=S,D,8,4711,\"\"\n1.8.0=RVS,U,8,,\"\"\nFunc1=S,U,,101,\"\"\n";
}

// Answers every name in the same way, and needs no memory for it.
class VisitParser : public CMeterInterface {
public:
    bool OpenParser(int) override { return true; }
    bool SearchValue(char*, char* value, int valueSize, char*) override {
        MeterText::CopyText(value, valueSize, "117");
        return true;
    }
    bool CloseParser() override { return true; }
    int GetActualMeterType(char*) override { return 0; }
    bool GetMeterType(int, int*, char*, char*, unsigned char*) override { return false; }
    bool GetSpecialData(char*, void*, int, int*) override { return false; }
};

std::wstring CommaList(const std::vector<std::wstring>& names, std::size_t first, std::size_t count) {
    std::wstring list;
    for (std::size_t i = first; i < first + count; ++i)
        list += (i == first ? L"" : L",") + names[i];
    return list;
}

}  // namespace

// Stands around calls that save files, and keeps account of what the files were to hold: what the stores hold
// when it ends. It checks that a success is told only of a file that is there.
class WorkingDay::Saving {
public:
    explicit Saving(WorkingDay* day) : m_day(day), m_asked(day->m_system->JournalSize()) {}

    void Data(std::optional<bool> told) {
        Keep(m_day->m_database->m_dataFile, kDataFile, kDataMirror, told);
        if (told.value_or(false))
            m_day->m_waitsForSave = false;
    }
    void App(std::optional<bool> told) { Keep(m_day->m_database->m_appFile, kAppFile, kAppMirror, told); }

private:
    // Nothing was told: the save need not be complete.
    void Keep(CMeterIniFile* store, const char* file, const char* mirror, std::optional<bool> told) {
        const HeapFault::Pause pause;
        if (store == nullptr) {
            EXPECT_FALSE(told.value_or(false)) << file;
            return;
        }
        if (told == false) {
            EXPECT_TRUE(m_day->m_database->IniFileError()) << file;
        }
        const std::string text = m_day->Text(store);
        Keep(file, text, told);
        if (m_day->m_mirrored)
            Keep(mirror, text, told);
    }

    void Keep(const char* file, const std::string& text, std::optional<bool> told) {
        State state = {text, m_asked, std::nullopt};
        if (told.value_or(false)) {
            state.promised = m_day->m_system->JournalSize();
            EXPECT_EQ(m_day->m_folder->Read(file), text) << file;
        }
        m_day->m_states[file].push_back(std::move(state));
    }

    WorkingDay* m_day;
    std::size_t m_asked;
};

WorkingDay::WorkingDay(TestFolder* folder, FakeSystem* system, int meters)
    : m_folder(folder),
      m_system(system),
      m_application(folder->Wide()),
      m_dataMirror(folder->Wide(kDataMirror)),
      m_appMirror(folder->Wide(kAppMirror)),
      m_rawMirror(folder->Wide(kRawMirror)) {
    std::filesystem::create_directory(folder->Path() / "card");
    std::filesystem::create_directory(folder->Path() / "spool");
    folder->Write(kSystemIni, std::string("[System]\nAppFile=") + kAppFile + "\nRawFile=" + kRawFile +
                                  "\nDataFile=" + kDataFile + "\n" + kSystemSections);
    const std::string app = "[State]\nMandatorIdx=3\n";
    folder->Write(kAppFile, app);
    folder->Write(kDataFile, Route(meters));
    m_states[kDataFile] = {{Route(meters), 0, 0}};
    m_states[kAppFile] = {{app, 0, 0}};
    m_states[kDataMirror] = {{std::nullopt, 0, 0}};
    m_states[kAppMirror] = {{std::nullopt, 0, 0}};
    for (int meter = 1; meter <= meters; ++meter)
        m_meters.insert("M" + std::to_string(meter));
    for (int answer = 1; answer <= 6; ++answer) {
        const std::string name = "m" + std::to_string(answer);
        std::string content = "/" + name + "\r\n";
        // The last one is longer than what is copied at once.
        while (content.size() < (answer == 6 ? 17000U : 100U * static_cast<unsigned>(answer)))
            content += "1.8.0(000" + std::to_string(content.size()) + "*kWh)\r\n";
        folder->Write("spool/" + name, content);
        m_answers.push_back({name, content, "\r\n<<<<<~~~~~(" + name + ")~~~~~>>>>>\r\n" + content});
        m_names.push_back(Platform::WideFromNarrow(name));
    }
    CMeterIniFile::SetSaveErrorHandler(
        [](void* told, const wchar_t*, const wchar_t*) { ++*static_cast<std::atomic<int>*>(told); },
        &m_failuresTold);
}

WorkingDay::~WorkingDay() {
    m_database.reset();
    CMeterIniFile::SetSaveErrorHandler(nullptr, nullptr);
}

// ---- the day

bool WorkingDay::Open() {
    {
        const HeapFault::Pause pause;
        m_database = std::make_unique<TestDatabase>(m_application.c_str());
    }
    return TryToOpen() || TryToOpen();
}

bool WorkingDay::TryToOpen() {
    m_failuresBeforeOpening = m_failuresTold;
    m_mirrored = false;
    m_waitsForSave = false;
    Saving saving(this);
    m_database->SetIniFile(L"");
    m_database->SetIniFile(L"system.ini");
    const bool opened = m_database->OpenDataFile(false) && m_database->GetActualPosition() == 1;
    const bool saved = opened && !m_database->IniFileError();
    saving.Data(saved ? std::optional<bool>(true) : std::nullopt);
    saving.App(saved ? std::optional<bool>(true) : std::nullopt);
    if (!opened)
        return false;
    m_database->SetDataMirror(m_dataMirror.c_str());
    m_database->SetAppMirror(m_appMirror.c_str());
    m_database->SetRawMirror(m_rawMirror.c_str());
    m_database->SetActualUser("0815");
    m_mirrored = saved && !m_database->IniFileError();
    return m_mirrored;
}

void WorkingDay::Visit() {
    VisitParser parser;
    char value[20];
    for (int meter = 1; meter <= m_database->GetNumberOfMeters(); ++meter) {
        if (!MoveTo(meter))
            return;
        m_database->BackupRecord();
        m_database->ClearFields(0);
        m_database->RestoreRecord();
        m_database->StartParser(&parser);
        m_database->StartAutoFields(&parser);
        std::snprintf(value, sizeof value, "%d", 1000 + meter);
        m_database->SetMeterValue("1.8.0", nullptr, "DR", nullptr, value, nullptr);
        if (m_database->SetAppendix(1))
            m_database->SetMeterValue("2.8.0", nullptr, "DR", nullptr, "7,5", "with a, comma");
        if (m_database->SetRecordState("H")) {
            const HeapFault::Pause pause;
            m_visited.insert(Number());
        }
        if (meter % 4 == 1) {
            Saving stamping(this);
            const bool stamped = m_database->SetUser();
            // It fails also when the stamp does not get into the record, the app file is saved all the same.
            stamping.App(stamped ? std::optional<bool>(true) : std::nullopt);
        }
        if (meter % 5 == 2) {
            // The saves follow each other without other calls between: the order of the calls is always the
            // same.
            SaveDataInTheBackground();
            m_database->SetMeterItem("Note", "seen");
            SaveData();
        }
    }
}

void WorkingDay::Exchange() {
    const int store = m_database->SearchStoreMeter("4711");
    if (store < 1 || !MoveTo(3))
        return;
    if (!m_database->DeleteStoreFields() || !m_database->AppendStoreFields(store))
        return;
    m_exchanged = true;
    SaveData();
    Saving registering(this);
    m_database->AppendToParameterFilesInAppFile("tariff", "2", L"tariff.par");
    registering.App(std::nullopt);
}

void WorkingDay::DeleteAndAppend() {
    if (!MoveTo(2))
        return;
    std::string number;
    {
        const HeapFault::Pause pause;
        number = Number();
    }
    {
        Saving deleting(this);
        const bool deleted = m_database->DeleteActualMeter();
        deleting.Data(std::nullopt);
        if (deleted) {
            const HeapFault::Pause pause;
            m_meters.erase(m_meters.find(number));
            m_visited.erase(number);
        }
    }
    if (m_database->AppendNewMeterToDataFile("Gas") >= 1) {
        {
            const HeapFault::Pause pause;
            m_meters.insert("new");
        }
        if (m_database->SetMeterItemMain("No", "N1"))
            Renumber("new", "N1");
    }
    SaveData();
}

void WorkingDay::Gather(std::size_t first, std::size_t count) {
    std::wstring list;
    {
        const HeapFault::Pause pause;
        list = CommaList(m_names, first, count);
    }
    m_database->CopyRawDataFiles(list.c_str());
}

void WorkingDay::GatherDuringASave(std::size_t first, std::size_t count) {
    m_system->HoldRenames();
    SaveDataInTheBackground();
    m_system->AwaitHeldRename();
    Gather(first, count);
    m_database->SetDBGeneralData("Gathered", "Yes");
    SaveDataInTheBackground();
    m_system->LetRenamesGo();
}

void WorkingDay::SaveData() {
    const std::size_t before = m_system->JournalSize();
    const bool wasWaiting = m_waitsForSave;
    Saving saving(this);
    const bool saved = m_database->UpdateDatabaseForeground();
    saving.Data(saved);
    if (!saved || wasWaiting)
        return;
    const HeapFault::Pause pause;
    for (const FakeSystem::Entry& entry : m_system->Journal(before)) {
        const Call call = entry.call;
        if (call == Call::Write || call == Call::Flush || call == Call::Close || call == Call::Rename ||
            call == Call::FlushDirectory) {
            EXPECT_TRUE(entry.done) << "a failed call of kind " << static_cast<int>(call);
        }
    }
}

void WorkingDay::SaveDataInTheBackground() {
    m_waitsForSave = true;
    Saving saving(this);
    m_database->UpdateDatabase();
    saving.Data(std::nullopt);
}

void WorkingDay::Close() {
    if (m_database == nullptr)
        return;
    if (m_failuresTold > m_failuresBeforeOpening && m_database->m_dataFile != nullptr) {
        EXPECT_TRUE(m_database->IniFileError());
    }
    {
        Saving closing(this);
        closing.Data(std::nullopt);
        closing.App(std::nullopt);
    }
    m_database.reset();
}

void WorkingDay::StartOver() {
    m_startedOver = m_system->JournalSize();
    const State none = {std::nullopt, m_startedOver, std::nullopt};
    m_states[kDataFile].push_back(none);
    m_states[kDataFile].push_back({"[General]\r\nMeters=0\r\n", m_startedOver, std::nullopt});
    m_lineEnd = "\r\n";
    m_mirrored = false;
    Saving saving(this);
    EXPECT_TRUE(m_database->DeleteAllData());
    saving.Data(true);
    saving.App(true);
    m_meters.clear();
    m_visited.clear();
}

// ---- support

bool WorkingDay::MoveTo(int meter) {
    m_database->SetActualPosition(meter);
    return m_database->GetActualPosition() == meter;
}

std::string WorkingDay::Number() const {
    char number[20] = "";
    EXPECT_TRUE(m_database->GetMeterItemMain("No", number, sizeof number));
    return number;
}

std::string WorkingDay::Text(CMeterIniFile* store) const {
    std::string text;
    char line[1024];
    for (int i = 0; store->GetString(i, line, sizeof line); ++i)
        text.append(line).append(store == m_database->m_dataFile ? m_lineEnd : "\n");
    return text;
}

void WorkingDay::Renumber(const std::string& from, const char* to) {
    const HeapFault::Pause pause;
    m_meters.erase(m_meters.find(from));
    m_meters.insert(to);
}
