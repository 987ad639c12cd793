#include "terminal/Functions.h"

#include <algorithm>
#include <array>

#include "MeterUtil/Text.h"
#include "terminal/MeterTypes.h"
#include "terminal/Record.h"
#include "terminal/Refusal.h"
#include "terminal/Utf8.h"

namespace {

constexpr int kTextBytes = 4096;
constexpr int kMarkBytes = 8;
constexpr int kStateDone = 3;
constexpr int kFirstComposite = 1000;
constexpr int kLastComposite = 1999;

std::string StateTextOf(CMeterDatabase& database, CMeterInterface& meter, int code) {
    std::array<char, kTextBytes> text{};
    database.GetCommandState(&meter, code, nullptr, text.data(), kTextBytes);
    return text.data();
}

}  // namespace

MeterType TypeOfMeter(Installation& installation) {
    CMeterDatabase& database = installation.Database();
    const std::string name = MeterTypeOf(database);
    std::optional<MeterType> type = FindMeterType(installation, name);
    if (!type)
        throw Refusal(kRefused, "the meter type \"" + Utf8::Shown(name) +
                                    "\" is not known: " + kMeterTypesFile + " has no section for it");
    database.m_functionListFlagA = type->listFlagA;
    database.m_functionListFlagB = type->listFlagB;
    return *std::move(type);
}

std::vector<Function> FunctionsOf(CMeterDatabase& database, CMeterInterface& meter, Catalogue catalogue) {
    const bool isCommands = catalogue == Catalogue::Commands;
    const int count = isCommands ? database.GetCommands(&meter) : database.GetOptions(&meter);
    const auto get = isCommands ? &CMeterDatabase::GetCommand : &CMeterDatabase::GetOption;
    std::vector<Function> functions;
    for (int index = 0; index < count; ++index) {
        std::array<char, kTextBytes> text{};
        std::array<char, kMarkBytes> mark{};
        Function function;
        (database.*get)(&meter, index, text.data(), kTextBytes, mark.data(), kMarkBytes, &function.code,
                        nullptr, 0);
        function.text = text.data();
        function.mark = mark.data();
        function.stateText = StateTextOf(database, meter, function.code);
        functions.push_back(function);
    }
    return functions;
}

std::optional<Function> FindFunction(CMeterDatabase& database, CMeterInterface& meter, int code) {
    for (const Catalogue catalogue : {Catalogue::Commands, Catalogue::Options})
        for (const Function& function : FunctionsOf(database, meter, catalogue))
            if (function.code == code)
                return function;
    return std::nullopt;
}

bool BringsReadout(CMeterDatabase& database, CMeterInterface& meter, const MeterType& type, int code) {
    std::array<char, kTextBytes> format{};
    database.GetCommandFormat(&meter, code, format.data(), kTextBytes);
    std::vector<int> parts = {code};
    if (code >= kFirstComposite && code <= kLastComposite)
        for (const std::string& token : DefinitionTokens(format.data()))
            parts.push_back(MeterText::ToInt(token));
    return std::any_of(parts.begin(), parts.end(), [&type](int part) {
        return std::find(type.readouts.begin(), type.readouts.end(), part) != type.readouts.end();
    });
}

void NoteDone(CMeterDatabase& database, CMeterInterface& meter, int code, const std::string& stateText) {
    database.SetCommandState(&meter, code, kStateDone, stateText.c_str());
}
