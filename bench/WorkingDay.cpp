// The database that this file works with is compiled over a store with a clock on it.
#include "bench/TimedStore.h"

#include "MeterDatabase/MeterDatabase.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>
#include <vector>

#include "MeterUtil/Text.h"
#include "Platform/Platform.h"
#include "bench/RouteGenerator.h"
#include "bench/WorkingDay.h"

namespace Bench {
namespace {

namespace fs = std::filesystem;

constexpr int kTextBytes = 256;
constexpr int kMetersOfAStoreMeter = 20;  // one meter is carried along for so many of the route
constexpr int kAppends = 200;
constexpr int kDeletes = 3;
constexpr int kChecks = 5;

// A meter that answers for every register with the same reading.
class Meter : public CMeterInterface {
public:
    bool OpenParser(int) override { return true; }
    bool SearchValue(char* name, char* value, int valueSize, char*) override {
        MeterText::CopyText(value, valueSize, name[0] == 'F' ? "00000000" : "045120.7");
        return true;
    }
    bool CloseParser() override { return true; }
    int GetActualMeterType(char*) override { return 1; }
    bool GetMeterType(int, int*, char* name, char*, unsigned char* functions) override {
        MeterText::CopyText(name, 40, "Electricity");
        const unsigned char offered[] = {1, 2, 100, 101, 0};
        std::copy(std::begin(offered), std::end(offered), functions);
        return true;
    }
    bool GetSpecialData(char*, void*, int, int*) override { return false; }
};

// The database with the pass over all records open.
class Database : public CMeterDatabase {
public:
    using CMeterDatabase::CheckConsistency;
    using CMeterDatabase::CMeterDatabase;
};

std::string StoreMeters(int count) {
    std::string text = "[Store]\r\nMeters=" + std::to_string(count) + "\r\n\r\n";
    for (int i = 1; i <= count; ++i) {
        text += "[*_" + std::to_string(i) + "]\r\nMeterType=S,D,,Electricity,\"type\"\r\n";
        text += "MeterNo=S,D,16,3" + std::to_string(1000000 + i) + ",\"number on the name plate\"\r\n";
        text += "0.0.0=RDS,U,\"16,V0.0.0-nom,BW,U---\",,\"number as the meter gives it\"\r\n";
        text += "0.0.0-nom=S,D,16,3" + std::to_string(1000000 + i) + ",\"number of the meter\"\r\n";
        text += "1.8.0=RDS,U,\"8.1 kWh,U---\",,\"energy, all tariffs\"\r\n\r\n";
    }
    return text;
}

// A template that makes records like those of the route.
std::string Template() {
    std::string text = "\r\n[AppendComplete]\r\n";
    const std::vector<std::string> record = MakeRecord(1);
    for (std::size_t i = 1; i < record.size(); ++i)  // without its header
        text += record[i] + "\r\n";
    return text;
}

void Write(const std::string& path, std::string_view text) {
    std::ofstream(path, std::ios::binary) << text;
}

std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text(static_cast<std::size_t>(fs::file_size(path)), '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    return text;
}

std::size_t Count(std::string_view text, std::string_view word) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1))
        ++count;
    return count;
}

// Takes the time of steps; what a step spends on files is another step.
class Steps {
public:
    template <typename Operation>
    void Time(const std::string& step, const std::string& files, Operation operation) {
        const double filesBefore = TimesOfStores().files;
        const Stopwatch<> watch;
        const bool done = operation();
        const double seconds = watch.Seconds();
        const double spentOnFiles = TimesOfStores().files - filesBefore;
        m_seconds[step] += seconds - spentOnFiles;
        m_seconds[files] += spentOnFiles;
        Check(done, step);
    }

    void Divide(const std::string& step, double by) { m_seconds[step] /= by; }

    void Check(bool isWell, const std::string& what) {
        if (!isWell)
            std::fprintf(stderr, "%s: not done as it should\n", what.c_str());
        m_isWell = m_isWell && isWell;
    }

    StepSeconds Seconds() const { return m_isWell ? m_seconds : StepSeconds(); }

private:
    StepSeconds m_seconds;
    bool m_isWell = true;
};

std::unique_ptr<Database> NewDatabase(const std::string& directory) {
    auto database = std::make_unique<Database>(Platform::WideFromNarrow(directory).c_str());
    database->SetIniFile(L"meterdb.ini");
    database->SetLanguageCode("en");
    database->SetActualUser("reader07");
    database->SetAccessLevel(3);
    return database;
}

// ---- the parts of a visit

bool Select(Database& database, int meter) {
    database.SetActualPosition(meter);
    wchar_t state[kTextBytes];
    database.GetRecordStateText(state);
    char action[kTextBytes];
    return database.GetMeterActionText(action, kTextBytes) && database.GetActualPosition() == meter &&
           database.GetAppendixCount() == 1;
}

// The meter, and the converter that its appendix stands for.
bool RunParser(Database& database, Meter& meter) {
    const int alarm = database.StartParser(&meter);
    const bool hasAppendix = database.SetAppendix(1);
    database.StartParser(&meter);
    return hasAppendix && database.SetAppendix(0) && alarm == 1;
}

bool CalculateFields(Database& database, Meter& meter) {
    database.StartAutoFields(&meter);
    const bool hasAppendix = database.SetAppendix(1);
    database.StartAutoFields(&meter);
    return hasAppendix && database.SetAppendix(0);
}

bool ShowFields(Database& database, Meter& meter) {
    int shown = 0;
    char label[kTextBytes];
    char value[kTextBytes];
    char mark[kTextBytes];
    for (const int kind : {0, 1, 2}) {
        const int fields = database.GetDataFields(&meter, kind, nullptr);
        for (int i = 0; i < fields; ++i)
            shown += database.GetDataField(&meter, kind, nullptr, i, label, kTextBytes, value, kTextBytes,
                                           mark, kTextBytes)
                         ? 1
                         : 0;
    }
    return shown > 30;
}

bool RunCommands(Database& database, Meter& meter) {
    char text[kTextBytes];
    char mark[kTextBytes];
    char flags[kTextBytes];
    const int commands = database.GetCommands(&meter);
    int code = 0;
    for (int i = 0; i < commands; ++i)
        database.GetCommand(&meter, i, text, kTextBytes, mark, kTextBytes, &code, flags, kTextBytes);
    const int options = database.GetOptions(&meter);
    for (int i = 0; i < options; ++i)
        database.GetOption(&meter, i, text, kTextBytes, mark, kTextBytes, &code, flags, kTextBytes);
    int state = 0;
    return commands == 3 && options == 1 && database.SetCommandState(&meter, 1, 3, "41 of 41 values") &&
           database.GetCommandState(&meter, 1, &state, text, kTextBytes) && state == 3;
}

void Visit(Database& database, Meter& meter, int number, const std::wstring& rawFile, Steps* steps) {
    steps->Time("select", "select-files", [&] { return Select(database, number); });
    steps->Time("parser", "parser-files", [&] { return RunParser(database, meter); });
    steps->Time("automatic", "automatic-files", [&] { return CalculateFields(database, meter); });
    steps->Time("fields", "fields-files", [&] { return ShowFields(database, meter); });
    steps->Time("commands", "commands-files", [&] { return RunCommands(database, meter); });
    steps->Time("stamp", "app", [&] { return database.SetUser() && database.SetRecordState("H"); });
    steps->Time("archive", "archive-files", [&] {
        database.CopyRawDataFiles(rawFile.c_str());
        return true;
    });
    steps->Time("background-rest", "background", [&] { return database.UpdateDatabase(); });
}

constexpr const char* kStepsOfVisit[] = {"select",   "parser", "automatic", "fields",
                                         "commands", "stamp",  "archive"};

// ---- the store's part

double ClockOfEmptyCall() {
    constexpr int kCalls = 100000;
    StoreTimes& times = TimesOfStores();
    const double before = times.calls;
    for (int i = 0; i < kCalls; ++i)
        const CallTimer timer;
    times.callCount -= kCalls;
    const double seconds = times.calls - before;
    times.calls = before;
    return seconds / kCalls;
}

}  // namespace

WorkingDay::WorkingDay(int meters, const std::string& directory)
    : m_meters(meters),
      m_directory(directory + "/day-" + std::to_string(meters)),
      m_route(MakeRoute(meters) + StoreMeters(meters / kMetersOfAStoreMeter)) {}

void WorkingDay::Install() const {
    fs::remove_all(m_directory);
    fs::copy(METERDB_BENCH_SAMPLES, m_directory, fs::copy_options::recursive);
    const std::string systemIni = m_directory + "/meterdb.ini";
    Write(systemIni, Read(systemIni) + Template());
    Write(m_directory + "/data/route.ini", m_route);
}

StepSeconds WorkingDay::Work() const {
    Install();
    Steps steps;
    Meter meter;
    const std::string readout(2000, '7');
    std::unique_ptr<Database> database = NewDatabase(m_directory);
    steps.Time("open", "load", [&] { return database->OpenDataFile(false); });
    for (int i = 0; i < kVisits; ++i) {
        const std::string rawFile = "visit-" + std::to_string(i) + ".txt";
        Write(m_directory + "/spool/" + rawFile, readout);
        // 97 and the sizes of routes have no common divisor: no meter comes twice.
        const int number = static_cast<int>(97LL * i % m_meters) + 1;
        Visit(*database, meter, number, Platform::WideFromNarrow(rawFile), &steps);
    }
    steps.Time("close", "close-files", [&] {
        database.reset();
        return true;
    });
    const std::string route = Read(m_directory + "/data/route.ini");
    steps.Check(Count(route, "\r\nState=H\r\n") == kVisits && Count(route, "RD,DR,") > kVisits * 30 &&
                    fs::file_size(m_directory + "/data/raw.dat") > kVisits * readout.size(),
                "day");
    for (const char* const step : kStepsOfVisit)
        steps.Divide(step, kVisits);
    for (const char* const step : {"app", "background"})
        steps.Divide(step, kVisits);
    StepSeconds seconds = steps.Seconds();
    if (seconds.empty())
        return seconds;
    for (const char* const step : kStepsOfVisit)
        seconds["visit"] += seconds[step];
    seconds["close"] += seconds["close-files"];
    return seconds;
}

StepSeconds WorkingDay::WorkInStore() const {
    StoreTimes& times = TimesOfStores();
    times = StoreTimes();
    times.countsCalls = true;
    const StepSeconds day = Work();
    const double spent = times.calls - static_cast<double>(times.callCount) * ClockOfEmptyCall();
    times.countsCalls = false;
    if (day.empty())
        return day;
    return {{"store", spent / kVisits}};
}

StepSeconds WorkingDay::Operate() const {
    Install();
    Steps steps;
    const int storeMeters = m_meters / kMetersOfAStoreMeter;
    const std::string last = "3" + std::to_string(1000000 + storeMeters);
    std::unique_ptr<Database> database = NewDatabase(m_directory);
    steps.Check(database->OpenDataFile(false), "open");
    steps.Time("search", "", [&] { return database->SearchStoreMeter(last.c_str()) == storeMeters; });
    steps.Time("change-order", "", [&] { return !database->MeterChangeOrderAvailable(); });
    steps.Time("consistency", "", [&] {
        int found = 0;
        for (int i = 0; i < kChecks; ++i)
            found += database->CheckConsistency();
        return found == kChecks * m_meters;
    });
    steps.Time("append", "", [&] {
        int appended = 0;
        for (int i = 0; i < kAppends; ++i)
            appended += database->AppendNewMeterToDataFile("Complete") == 0 ? 0 : 1;
        return appended == kAppends;
    });
    steps.Time("delete", "delete-save", [&] {
        int deleted = 0;
        for (int i = 0; i < kDeletes; ++i) {
            database->SetActualPosition(1);
            deleted += database->DeleteActualMeter() ? 1 : 0;
        }
        return deleted == kDeletes;
    });
    steps.Check(database->GetNumberOfMeters() == m_meters + kAppends - kDeletes, "number of meters");
    const double headers = 2.0 * m_meters + storeMeters;
    steps.Divide("search", storeMeters);
    steps.Divide("change-order", m_meters);
    steps.Divide("consistency", kChecks * headers);
    steps.Divide("append", kAppends);
    steps.Divide("delete", kDeletes * headers);
    steps.Divide("delete-save", kDeletes);
    return steps.Seconds();
}

}  // namespace Bench
