// A meter visit as an application makes it: opens a route, reads a meter into it, saves, and looks at the
// file.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "MeterDatabase/MeterDatabase.h"
#include "ParserOfOneValue.h"

namespace {

void WriteFile(const char* name, const char* text) {
    std::ofstream(name, std::ios::binary) << text;
}

std::string ReadFile(const char* name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The application's own class: it inherits, and its tests look at protected members.
class Database : public CMeterDatabase {
public:
    using CMeterDatabase::CMeterDatabase;
    bool IsMeter(int number) const { return m_currentMeter == number; }
};

bool Visit() {
    ParserOfOneValue meter;
    Database database(L".");
    if (!database.SetIniFile(L"system.ini") || !database.OpenDataFile(false))
        return false;
    database.SetActualPosition(1);
    database.StartParser(&meter);
    database.SetActualUser("0815");
    return database.IsMeter(1) && database.SetUser() && database.SetRecordState("H") &&
           database.UpdateDatabaseForeground() && !database.IniFileError();
}

// A copy shares what the original owns, which is released with the original.
bool Copy() {
    Database original(L".");
    original.SetIniFile(L"system.ini");
    alignas(Database) unsigned char room[sizeof(Database)];
    Database* copy = new (room) Database(original);
    return copy->GetPtrToIniFile() == original.GetPtrToIniFile();
}

}  // namespace

int main() {
    WriteFile("system.ini", "[System]\nAppFile=app.ini\nDataFile=route.ini\nRawFile=raw.dat\n");
    WriteFile("app.ini", "");
    WriteFile("route.ini", "[General]\nMeters=1\n\n[#_1]\nState=U\n1.8.0=R,U,6.1 kWh,,\"energy\"\n");
    const bool visited = Visit() && Copy();
    const std::string route = ReadFile("route.ini");
    std::fputs(route.c_str(), stdout);
    return visited && route.find("1.8.0=R,DR,6.1 kWh,4210.7,\"energy\"") != std::string::npos ? 0 : 1;
}
