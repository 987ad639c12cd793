// Function definitions, texts and configurations of any kind: the list of functions, and what a command
// shows.
#include "MeterDatabase/MeterDatabase.h"
#include "fuzz/MemoryDisk.h"
#include "fuzz/Script.h"
#include "tests/support/FakeMeterType.h"

namespace {

constexpr std::string_view kSystemIni = "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=data.ini\n";
constexpr int kAll = 0;

// The sum of what is listed as commands and as options is all.
void CheckList(CMeterDatabase* database, FakeMeterType* meter, int capacity) {
    int counts[3] = {};
    for (int mode = kAll; mode < 3; ++mode) {
        std::vector<int> codes(static_cast<std::size_t>(capacity));
        std::vector<int> numbers(codes.size());
        const bool known = database->BuildFuncCodeList(meter, codes.data(), numbers.data(), &counts[mode],
                                                       capacity, mode, nullptr, 0);
        Require(known == meter->m_isKnown, "the type is known");
        Require(counts[mode] >= 0 && counts[mode] <= capacity, "a list has no more than its room");
    }
    Require(capacity < 60 || counts[0] == counts[1] + counts[2], "a function is a command or an option");
}

void ShowAll(CMeterDatabase* database, FakeMeterType* meter, int size) {
    Output text(size);
    Output mark(4);
    Output flags(size);
    int code = 0;
    const int commands = database->GetCommands(meter);
    const int options = database->GetOptions(meter);
    for (int i = 0; i <= commands; ++i) {
        const bool found =
            database->GetCommand(meter, i, text.Data(), size, mark.Data(), 4, &code, flags.Data(), size);
        Require(found == (i < commands), "a command is there");
        static_cast<void>(text.Text() + mark.Text() + flags.Text());
        if (found) {
            Output format(size);
            Output state(size);
            int number = 0;
            Require(database->GetCommandFormat(meter, code, format.Data(), size),
                    "a command has a definition");
            Require(database->GetCommandState(meter, code, &number, state.Data(), size),
                    "a command has a state");
            static_cast<void>(format.Text() + state.Text());
        }
    }
    for (int i = 0; i <= options; ++i)
        Require(database->GetOption(meter, i, text.Data(), size, mark.Data(), 4, &code, flags.Data(), size) ==
                    (i < options),
                "an option is there");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Script script(data, size);
    MemoryDisk::Format();
    MemoryDisk::Write("system.ini", std::string(kSystemIni) + std::string(script.File()));
    MemoryDisk::Write("data.ini", "[#_1]\nState=U\n" + std::string(script.File()));
    CMeterDatabase database(MemoryDisk::kDirectory);
    database.SetIniFile(L"system.ini");
    Require(database.OpenDataFile(false), "the route opens");
    database.SetActualPosition(1);
    FakeMeterType meter;
    while (script.Next()) {
        const std::string operation = script.Word();
        const std::string word = script.Word();
        switch (operation.empty() ? ' ' : operation[0]) {
            case 'f':  // the functions of the type
                meter.m_functions.clear();
                for (const char c : word.substr(0, FakeMeterType::kFunctionBytes - 1))
                    meter.m_functions.push_back(static_cast<unsigned char>(c));
                break;
            case 't':  // its name
                meter.m_name = word.substr(0, FakeMeterType::kNameBytes - 1);
                break;
            case 'x':  // a text of it
                meter.m_texts[word] = script.Word();
                break;
            case 'a':
                database.SetAccessLevel(MeterText::ToInt(word));
                break;
            case 'A':
                database.m_functionListFlagA = !database.m_functionListFlagA;
                break;
            case 'B':
                database.m_functionListFlagB = !database.m_functionListFlagB;
                break;
            case 's':
                database.SetCommandState(&meter, MeterText::ToInt(word), script.Number(),
                                         script.Word().c_str());
                break;
            case 'l':
                CheckList(&database, &meter, 60);
                CheckList(&database, &meter, 1 + static_cast<int>(static_cast<unsigned char>(word[0]) % 8));
                break;
            case 'c':
                ShowAll(&database, &meter, word.empty() ? 256 : 1 + static_cast<unsigned char>(word[0]) % 64);
                break;
            default:
                break;
        }
    }
    CheckList(&database, &meter, 60);
    ShowAll(&database, &meter, 256);
    return 0;
}
