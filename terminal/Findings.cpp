#include "terminal/Findings.h"

#include <algorithm>
#include <array>

#include "MeterUtil/Text.h"

namespace {

std::string RangeFinding(int result, const std::string& limits) {
    const std::size_t middle = limits.find(';');
    const std::string lower = limits.substr(0, middle);
    const std::string upper = middle == std::string::npos ? std::string() : limits.substr(middle + 1);
    if (result == 2)
        return "below " + lower;
    return result == 3 ? "above " + upper : "between " + upper + " and " + lower;
}

std::string ReferenceFinding(CMeterDatabase& database, const std::string& reference) {
    const std::optional<Entry> entry = ReadEntry(database, reference);
    return entry ? "should be " + entry->value + " (" + reference + ")"
                 : "cannot be checked without " + reference;
}

bool AlarmHolds(const std::string& token, const std::string& status) {
    if (token.size() < 2 || token.front() != 'B')
        return false;
    constexpr std::array<std::pair<char, const char*>, 6> kConditions = {
        {{'W', "W"}, {'C', "C"}, {'U', "U"}, {'D', "D"}, {'X', "WCU"}, {'Y', "WC"}}};
    return std::any_of(kConditions.begin(), kConditions.end(), [&](const auto& condition) {
        return token[1] == condition.first && MeterText::ContainsAny(status, condition.second);
    });
}

}  // namespace

std::string FindingOf(CMeterDatabase& database, const Entry& entry) {
    const int result = database.CheckValue(entry.value.c_str(), entry.definition.c_str());
    if (result == 0)
        return {};
    for (const std::string& token : DefinitionTokens(entry.definition)) {
        const std::string rest = token.substr(1);
        if (token.front() == 'C')
            return RangeFinding(result, rest);
        if (token.front() == 'X')
            return "should be " + rest;
        if (token.front() == 'V')
            return ReferenceFinding(database, rest);
    }
    return "deviates";
}

std::vector<std::string> AlarmsOf(const Entry& entry) {
    std::vector<std::string> alarms;
    for (const std::string& token : DefinitionTokens(entry.definition))
        if (AlarmHolds(token, entry.status))
            alarms.push_back(token);
    return alarms;
}
