#include "terminal/Findings.h"

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
