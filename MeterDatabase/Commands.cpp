// The functions of the current meter as the user sees them: the catalogue of commands and options, their
// texts, marks and states. Which functions there are is FunctionList.cpp's business; the values that fill the
// placeholders of a text are made by Substitution.cpp.
#include <algorithm>
#include <iterator>
#include <new>
#include <optional>
#include <utility>

#include "MeterDatabase/FunctionList.h"
#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"
#include "MeterDatabase/TextSlots.h"
#include "MeterInterface/MeterInterface.h"

using namespace MeterRecords;

namespace {

enum CommandState { kNoState, kWaiting, kStateC, kDone };

// ---- texts

struct CommandText {
    int code;
    TextSlot text;
};

constexpr CommandText kCommandTexts[] = {
    {1, kReadStandardList},     {2, kReadList2},           {3, kReadList3},
    {4, kReadLoadProfile},      {5, kReadLogbook},         {6, kReadValueProfile},
    {7, kReadActualValues},     {8, kDetermineMeterType},  {21, kReadStandardWithRadio},
    {100, kReadDateTime},       {101, kSetDateTime},       {120, kClearError},
    {125, kMaximumDemandReset}, {200, kTableActualValues}, {201, kReadConfiguration},
    {202, kWriteConfiguration}, {203, kShowActualState},
};

const CommandText* FindCommandText(int code) {
    const CommandText* const found =
        std::find_if(std::begin(kCommandTexts), std::end(kCommandTexts),
                     [code](const CommandText& known) { return known.code == code; });
    return found == std::end(kCommandTexts) ? nullptr : found;
}

// The name under which the meter interface knows the text of a function that is the meter type's own; "" for
// any other function.
std::string SpecialDataKey(int code) {
    const bool isDialog = code >= 211 && code <= 218;
    if (!isDialog && (code < 221 || code > 228))
        return {};
    return (isDialog ? "MeterTypeDialog[" : "MeterTypeSpecial[") + std::to_string(code % 10 - 1) + "]";
}

void AskSpecialText(CMeterInterface* iface, std::string key, char* text, int textLen) {
    MeterText::CopyText(text, textLen, "???");
    if (iface == nullptr || text == nullptr || textLen < 1)
        return;
    int number = 0;
    iface->GetSpecialData(key.data(), text, textLen, &number);
    text[textLen - 1] = '\0';
}

const char* StateMark(std::string_view status) {
    static constexpr struct {
        char letter;
        const char* mark;
    } kMarks[] = {{'U', ""}, {'W', "?"}, {'C', "!"}, {'D', "ok."}};
    for (const auto& known : kMarks)
        if (MeterText::Contains(status, known.letter))
            return known.mark;
    return "";
}

CommandState StateOf(std::string_view status) {
    if (MeterText::Contains(status, 'D'))
        return kDone;
    if (MeterText::Contains(status, 'W'))
        return kWaiting;
    return MeterText::Contains(status, 'C') ? kStateC : kNoState;
}

// A placeholder in a text: a star, or a star and a format in brackets.
struct Placeholder {
    std::string_view format;
    std::size_t length;
};

// The placeholder at the start of a text that begins with a star.
Placeholder PlaceholderAt(std::string_view text) {
    constexpr std::string_view kOpen = "*[";
    if (text.substr(0, kOpen.size()) != kOpen)
        return {{}, 1};
    const std::string_view behind = text.substr(kOpen.size(), kNameBytes - 1);
    const std::size_t close = behind.find(']');
    if (close == std::string_view::npos)
        return {behind, kOpen.size() + behind.size()};
    return {behind.substr(0, close), kOpen.size() + close + 1};
}

}  // namespace

// ---- the catalogue

int CMeterDatabase::GetCommands(CMeterInterface* iface) {
    return GetFunctions(iface, kCommands);
}

int CMeterDatabase::GetOptions(CMeterInterface* iface) {
    return GetFunctions(iface, kOptions);
}

bool CMeterDatabase::GetCommand(CMeterInterface* iface, int index, char* text, int textLen, char* mark,
                                int markLen, int* code, char* flags, int flagsLen) {
    return GetFunction(iface, index, text, textLen, mark, markLen, code, flags, flagsLen, kCommands);
}

bool CMeterDatabase::GetOption(CMeterInterface* iface, int index, char* text, int textLen, char* mark,
                               int markLen, int* code, char* flags, int flagsLen) {
    return GetFunction(iface, index, text, textLen, mark, markLen, code, flags, flagsLen, kOptions);
}

int CMeterDatabase::GetFunctions(CMeterInterface* iface, int kind) {
    int count = 0;
    return BuildFuncCodeList(iface, nullptr, nullptr, &count, kMostFunctions, kind, nullptr, 0) ? count : 0;
}

bool CMeterDatabase::GetFunction(CMeterInterface* iface, int index, char* text, int textLen, char* mark,
                                 int markLen, int* code, char* flags, int flagsLen, int kind) try {
    MeterText::CopyText(text, textLen, {});
    MeterText::CopyText(mark, markLen, {});
    MeterText::CopyText(flags, flagsLen, {});
    if (code != nullptr)
        *code = 0;
    FunctionList list;
    if (!ListFunctions(iface, kind, kMostFunctions, &list))
        return false;
    if (index < 0 || index >= static_cast<int>(list.functions.size()))
        return false;
    const Function& function = list.functions[static_cast<std::size_t>(index)];
    if (text != nullptr && textLen >= 1)
        ShowFunction(iface, function, text, textLen);
    MeterText::CopyText(mark, markLen, StateMark(function.entry.Bare(kStatus)));
    MeterText::CopyText(flags, flagsLen, function.entry.Bare(kStatus));
    if (code != nullptr)
        *code = function.code;
    return true;
} catch (const std::bad_alloc&) {
    MeterText::CopyText(text, textLen, {});
    return false;
}

// The text of a function as the catalogue shows it: a composite one may have a text of its own in the record,
// and values of its definition in the text.
void CMeterDatabase::ShowFunction(CMeterInterface* iface, const Function& function, char* text, int textLen) {
    const bool isKnown = ShowCommandText(iface, function.code, text, textLen);
    if (!IsComposite(function.code))
        return;
    const std::string ownName = function.name + "_Info";
    const std::optional<ValueEntry> own =
        isKnown ? std::nullopt : ReadEntry(*m_dataFile, RecordSection(), ownName.c_str());
    if (own)
        MeterText::CopyText(text, textLen, own->Bare(kValue));
    if (textLen >= 3)
        MeterText::CopyText(text, textLen, Filled(text, textLen, function.entry.Bare(kDefinition)));
}

// A text with the values that its placeholders show. Every placeholder shows the first token of the
// definition. A value that would not leave room for one more character is left out.
std::string CMeterDatabase::Filled(std::string text, int textLen, std::string_view definition) const {
    const std::string_view token = MeterText::FirstToken(definition);
    const std::size_t bracket = token.find('[');
    const bool hasArgument = bracket != std::string_view::npos;
    const int code = hasArgument ? MeterText::ToInt(token) : 0;
    const std::string_view argument = hasArgument ? token.substr(bracket + 1) : std::string_view();
    for (std::size_t place = text.find('*'); place != std::string::npos; place = text.find('*', place)) {
        const Placeholder placeholder = PlaceholderAt(std::string_view(text).substr(place));
        const std::string value = SubstValue(code, argument, placeholder.format);
        text.erase(place, placeholder.length);
        if (text.size() + value.size() + 1 >= static_cast<std::size_t>(textLen))
            continue;
        text.insert(place, value);
        place += value.size();
    }
    return text;
}

// ---- one function by its code

bool CMeterDatabase::GetCommandText(CMeterInterface* iface, int code, char* text, int textLen) try {
    MeterText::CopyText(text, textLen, {});
    return ShowCommandText(iface, code, text, textLen);
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::ShowCommandText(CMeterInterface* iface, int code, char* text, int textLen) {
    if (const CommandText* const known = FindCommandText(code)) {
        MeterText::CopyText(text, textLen, Text(known->text));
        return true;
    }
    const std::string specialData = SpecialDataKey(code);
    if (!specialData.empty()) {
        AskSpecialText(iface, specialData, text, textLen);
        return true;
    }
    const std::string own = ReadBareText(m_systemIni, FunctionsSection(), std::to_string(code), kEntryBytes);
    MeterText::CopyText(text, textLen, own.empty() ? "?" : own);
    return !own.empty();
}

// The first function of the list that has a code. False when none has.
bool CMeterDatabase::FindFunction(CMeterInterface* iface, int code, Function* function,
                                  std::string* available) {
    FunctionList list;
    if (!ListFunctions(iface, kAllFunctions, kMostFunctions, &list))
        return false;
    const auto found = std::find_if(list.functions.begin(), list.functions.end(),
                                    [code](const Function& listed) { return listed.code == code; });
    if (found == list.functions.end())
        return false;
    *function = std::move(*found);
    *available = std::move(list.available);
    return true;
}

bool CMeterDatabase::GetCommandFormat(CMeterInterface* iface, int code, char* format, int formatLen) try {
    MeterText::CopyText(format, formatLen, {});
    Function function;
    std::string available;
    if (!FindFunction(iface, code, &function, &available))
        return false;
    const std::string_view definition = function.entry.Bare(kDefinition);
    if (IsComposite(code))
        MeterText::CopyText(format, formatLen, RunnableTokens(definition, available, m_functionListFlagB));
    else
        MeterText::CopyText(format, formatLen, definition);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::GetCommandState(CMeterInterface* iface, int code, int* state, char* stateText,
                                     int stateTextLen) try {
    MeterText::CopyText(stateText, stateTextLen, {});
    if (state != nullptr)
        *state = kNoState;
    Function function;
    std::string available;
    if (!FindFunction(iface, code, &function, &available))
        return false;
    if (state != nullptr)
        *state = StateOf(function.entry.Bare(kStatus));
    MeterText::CopyText(stateText, stateTextLen, function.entry.Bare(kText).substr(0, kNameBytes - 1));
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::SetCommandState(CMeterInterface* iface, int code, int state, const char* stateText) try {
    Function function;
    std::string available;
    if (!FindFunction(iface, code, &function, &available))
        return false;
    return SetMeterValue(function.name.c_str(), nullptr, state == kDone ? "DR" : "WR", nullptr, nullptr,
                         stateText);
} catch (const std::bad_alloc&) {
    return false;
}
