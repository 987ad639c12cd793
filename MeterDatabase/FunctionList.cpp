// The list of functions that the current meter offers. Owns the order in which the meter's type, the access
// level, the list flags and the configuration decide on a function, and the rules of composite functions.
// What the user sees of a function is left to Commands.cpp.
#include "MeterDatabase/FunctionList.h"

#include <algorithm>
#include <new>
#include <optional>

#include "MeterDatabase/StoreAccess.h"
#include "MeterInterface/MeterInterface.h"

using namespace MeterRecords;

namespace {

constexpr int kMeterTypeBytes = 40;
constexpr int kFunctionSetBytes = 256;
constexpr int kFallBackBytes = 255;
constexpr int kAccessListBytes = 512;
constexpr std::size_t kMostAllowed = 254;
constexpr std::size_t kAllowedChars = 9;
constexpr int kOptionsBytes = 511;
constexpr std::size_t kMostOptions = 60;
constexpr int kLastFunction = 59;

enum FunctionCode {
    kValueProfileFunction = 6,
    kActualValuesFunction = 7,
    kSetTimeFunction = 101,
    kManualResetFunction = 125,
    kTableValuesFunction = 200,
};

constexpr const char* kFunctions = "Functions";

// ---- sets of functions

// A set of functions holds their codes, one byte each.
char CodeByte(int code) {
    return static_cast<char>(static_cast<unsigned char>(code));
}

// Codes are judged by their low byte; those in which it is 0 need nothing of the meter.
bool Offers(std::string_view available, int code) {
    const char byte = CodeByte(code);
    return byte == '\0' || MeterText::Contains(available, byte);
}

void RemoveFirst(std::string* available, int code) {
    const std::size_t place = available->find(CodeByte(code));
    if (place != std::string::npos)
        available->erase(place, 1);
}

void KeepOnly(std::string* available, std::string_view allowed) {
    const auto refused = [allowed](char byte) { return !MeterText::Contains(allowed, byte); };
    available->erase(std::remove_if(available->begin(), available->end(), refused), available->end());
}

struct MeterType {
    std::string name;
    std::string functions;
};

std::optional<MeterType> AskMeterType(CMeterInterface* iface) {
    if (iface == nullptr)
        return std::nullopt;
    char name[kMeterTypeBytes] = "";
    unsigned char functions[kFunctionSetBytes] = "";
    if (!iface->GetMeterType(iface->GetActualMeterType(nullptr), nullptr, name, nullptr, functions))
        return std::nullopt;
    name[kMeterTypeBytes - 1] = '\0';
    functions[kFunctionSetBytes - 1] = 0;
    return MeterType{name, reinterpret_cast<const char*>(functions)};
}

// ---- lists of the system ini

// The tokens of a list up to the first empty one, at most `most`, each cut to `chars` characters.
std::vector<std::string_view> Tokens(std::string_view list, std::size_t most, std::size_t chars) {
    std::vector<std::string_view> tokens;
    MeterText::TokenReader reader(list);
    for (std::string_view token; tokens.size() < most && reader.Next(&token) && !token.empty();)
        tokens.push_back(token.substr(0, chars));
    return tokens;
}

std::string AllowedFunctions(std::string_view list) {
    std::string allowed;
    for (const std::string_view token : Tokens(list, kMostAllowed, kAllowedChars)) {
        const int code = MeterText::ToInt(token);
        if (code >= 1 && code <= 255)
            allowed += CodeByte(code);
    }
    return allowed;
}

// A token that is no number names no function, also not function 0.
bool IsNumber(std::string_view token) {
    MeterText::TakeSign(&token);
    return !token.empty() && token.front() >= '0' && token.front() <= '9';
}

std::vector<int> OptionCodes(std::string_view list) {
    std::vector<int> codes;
    for (const std::string_view token : Tokens(list, kMostOptions, kNameBytes - 1))
        if (IsNumber(token))
            codes.push_back(MeterText::ToInt(token));
    return codes;
}

bool IsListed(int code, int mode, const std::vector<int>& options) {
    const bool isOption = std::find(options.begin(), options.end(), code) != options.end();
    return mode == kAllFunctions || mode == (isOption ? kOptions : kCommands);
}

// The situation of a record, by which access lists are named.
const char* RouteWord(CMeterDatabase* database) {
    char text[kNameBytes] = "";
    database->GetRecordState(text);
    if (MeterText::ContainsAny(text, "EN"))
        return "NOROUTE";
    database->GetMeterAction(text);
    return text[0] == '\0' ? "ROUTE" : "CHANGE";
}

// ---- composite functions

// Takes the mark of an optional function off a token. True when there was one.
bool TakeOptionalMark(std::string_view* token) {
    const bool optional = !token->empty() && MeterText::ToLower(token->front()) == 'o';
    token->remove_prefix(optional ? 1 : 0);
    return optional;
}

// True when the function that a token names can be run or left out. Setting the clock may be left out while
// it is withdrawn.
bool IsSatisfied(std::string_view token, std::string_view available, bool clockWithdrawn) {
    const bool optional = TakeOptionalMark(&token);
    const int code = MeterText::ToInt(token);  // which ends where a decoration begins
    if (code == 0)
        return false;
    return optional || Offers(available, code) || (code == kSetTimeFunction && clockWithdrawn);
}

}  // namespace

std::string MeterRecords::RunnableTokens(std::string_view definition, std::string_view available,
                                         bool clockWithdrawn) {
    std::string runnable;
    MeterText::TokenReader tokens(definition);
    for (std::string_view token; tokens.Next(&token);) {
        TakeOptionalMark(&token);
        const int code = MeterText::ToInt(token);
        if (!Offers(available, code) || (code == kSetTimeFunction && clockWithdrawn))
            continue;
        runnable.append(runnable.empty() ? "" : ",").append(token);
    }
    return runnable;
}

// ---- the list of functions

bool CMeterDatabase::BuildFuncCodeList(CMeterInterface* iface, int* codes, int* numbers, int* count,
                                       int capacity, int mode, unsigned char* available,
                                       int availableSize) try {
    if (count != nullptr)
        *count = 0;
    FunctionList list;
    if (!ListFunctions(iface, mode, count == nullptr ? 0 : capacity, &list))
        return false;
    for (const Function& function : list.functions) {
        if (codes != nullptr)
            codes[*count] = function.code;
        if (numbers != nullptr)
            numbers[*count] = function.number;
        ++*count;
    }
    if (availableSize >= 2)
        MeterText::CopyText(reinterpret_cast<char*>(available), availableSize, list.available);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

// False when the meter's type is not known.
bool CMeterDatabase::ListFunctions(CMeterInterface* iface, int mode, int capacity, FunctionList* list) {
    const std::optional<MeterType> type = AskMeterType(iface);
    if (!type)
        return false;
    list->available = AvailableFunctions(type->functions, type->name);
    if (!HasRecord())
        return true;
    const std::vector<int> options =
        OptionCodes(ReadBareText(m_systemIni, FunctionsSection(), "Options", kOptionsBytes));
    Function function;
    for (int number = 1; number <= kLastFunction && static_cast<int>(list->functions.size()) < capacity;
         ++number) {
        if (!ReadFunction(number, &function))
            break;
        if (IsListed(function.code, mode, options) && IsOffered(function, list->available))
            list->functions.push_back(function);
    }
    return true;
}

bool CMeterDatabase::ReadFunction(int number, Function* function) const {
    function->number = number;
    function->name = "Func" + std::to_string(number);
    const std::optional<ValueEntry> entry = ReadEntry(*m_dataFile, RecordSection(), function->name.c_str());
    if (!entry)
        return false;
    function->entry = *entry;
    function->code = MeterText::ToInt(entry->Bare(kValue));
    return true;
}

bool CMeterDatabase::IsOffered(const Function& function, const std::string& available) {
    if (!IsComposite(function.code))
        return Offers(available, function.code);
    const std::string definition(function.entry.Bare(kDefinition));
    return CheckFunctionList(definition.c_str(), reinterpret_cast<const unsigned char*>(available.c_str()));
}

// What of a meter type's functions may be run now, and what stands in for one that may not.
std::string CMeterDatabase::AvailableFunctions(std::string available, const std::string& meterType) {
    const std::string accessList = m_accessFlag ? AccessList(meterType) : std::string();
    if (!accessList.empty())
        KeepOnly(&available, AllowedFunctions(accessList));
    if (!m_functionListFlagA)
        for (const int code : {kTableValuesFunction, kValueProfileFunction, kActualValuesFunction})
            RemoveFirst(&available, code);
    if (m_functionListFlagB)
        RemoveFirst(&available, kSetTimeFunction);
    const std::string fallBack =
        ReadBareText(m_systemIni, kFunctions, "FallBackToManualReset", kFallBackBytes);
    if (MeterText::EqualIgnoringCase(fallBack, "Yes") && !Offers(available, kSetTimeFunction))
        available += CodeByte(kManualResetFunction);
    return available;
}

// What the access level may run on a meter of this type as the record stands; "" when nothing is said about
// it.
std::string CMeterDatabase::AccessList(const std::string& meterType) {
    const std::string section = "AccessLevel" + std::to_string(m_accessLevel);
    const std::string word = RouteWord(this);
    const std::string own = ReadBareText(m_systemIni, section, word + "_" + meterType, kAccessListBytes);
    return own.empty() ? ReadBareText(m_systemIni, section, word + "_*", kAccessListBytes) : own;
}

std::string CMeterDatabase::FunctionsSection() const {
    const std::string own = std::string(kFunctions) + "_" + m_languageCode;
    const bool isOwn =
        m_languageCode[0] != '\0' && m_systemIni != nullptr && m_systemIni->SectionExists(own.c_str());
    return isOwn ? own : kFunctions;
}

bool CMeterDatabase::CheckFunctionList(const char* definition, const unsigned char* available) {
    const std::string_view functions = MeterText::WithoutQuotes(MeterText::View(definition));
    if (m_dataFile == nullptr || functions.empty())
        return false;
    const std::string_view offered = MeterText::View(reinterpret_cast<const char*>(available));
    MeterText::TokenReader tokens(functions);
    for (std::string_view token; tokens.Next(&token);)
        if (!IsSatisfied(token.substr(0, kNameBytes - 1), offered, m_functionListFlagB))
            return false;
    return true;
}
