#include "terminal/check/Rule.h"

#include <algorithm>

#include "MeterUtil/Text.h"

namespace Check {

const char* NameOf(Severity severity) {
    switch (severity) {
        case Severity::Note:
            return "note";
        case Severity::Warning:
            return "warning";
        case Severity::Error:
            break;
    }
    return "error";
}

const std::vector<const Rule*>& AllRules() {
    static const std::vector<const Rule*> rules = [] {
        std::vector<const Rule*> all;
        for (const auto* table :
             {&TextRules(), &SystemRules(), &RouteRules(), &RecordRules(), &ValueRules(), &FunctionRules()})
            for (const Rule& rule : *table)
                all.push_back(&rule);
        const auto isBefore = [](const Rule* a, const Rule* b) {
            return std::string_view(a->code) < std::string_view(b->code);
        };
        std::sort(all.begin(), all.end(), isBefore);
        return all;
    }();
    return rules;
}

std::string WithKey(std::string_view line, std::string_view key) {
    const std::string_view old = MeterText::TrimBlanks(line.substr(0, line.find('=')));
    const auto place = static_cast<std::size_t>(old.data() - line.data());
    return std::string(line).replace(place, old.size(), key);
}

std::string WithValue(std::string_view line, std::string_view value) {
    return std::string(line.substr(0, line.find('=') + 1)) + std::string(value);
}

std::string Quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::string LettersBeyond(std::string_view text, std::string_view known) {
    std::string beyond;
    for (const char c : text)
        if (!MeterText::Contains(known, c) && !MeterText::Contains(beyond, c))
            beyond.push_back(c);
    return beyond;
}

bool IsDecimal(std::string_view text) {
    text = MeterText::TrimBlanks(text);
    text.remove_prefix(!text.empty() && MeterText::Contains("+-", text.front()) ? 1 : 0);
    return text.find_first_of("0123456789") != std::string_view::npos &&
           text.find_first_not_of("0123456789.") == std::string_view::npos &&
           std::count(text.begin(), text.end(), '.') <= 1;
}

bool IsInteger(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace Check
