// How values are shown, and numbers written. Owns the format token, the first of a definition: a number with
// its unit, a duration, a date laid out by a pattern, the label of a code, the labels of bits. Values
// themselves are not touched.
#include <algorithm>
#include <iterator>
#include <new>

#include "MeterDatabase/FixedPoint.h"
#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"

using namespace MeterRecords;

namespace {

constexpr std::size_t kListNameChars = 39;

// ---- numbers

std::string NumberWithUnit(std::string_view value, std::string_view token) {
    const std::size_t blank = std::min(token.find_first_not_of("0123456789."), token.size());
    const std::size_t unit = token.find_first_not_of(" \t", blank);
    if (unit == std::string_view::npos || value.empty())
        return std::string(value);
    return std::string(value).append(1, ' ').append(token.substr(unit));
}

// ---- durations

// A sign, four digits of days, two each of hours, minutes and seconds.
constexpr std::size_t kDurationChars = 11;

bool IsDuration(std::string_view token, std::string_view value) {
    static constexpr const char* kTokens[] = {"dhms", "dhm", "hms", "hm"};
    return value.size() == kDurationChars &&
           std::any_of(std::begin(kTokens), std::end(kTokens),
                       [token](const char* known) { return MeterText::EqualIgnoringCase(token, known); });
}

// Without days of their own the hours count them.
std::string Duration(std::string_view value, std::string_view token) {
    const int days = MeterText::ToInt(value.substr(1, 4));
    const std::string_view hours = value.substr(5, 2);
    std::string text = {value[0], ' '};
    if (MeterText::ToLower(token.front()) != 'd')
        text += MeterText::ZeroPadded(MeterText::ToInt(hours) + 24 * days, 2);
    else if (days != 0)
        text.append(std::to_string(days)).append(", ").append(hours);
    else
        text += hours;
    text.append(1, ':').append(value.substr(7, 2));
    if (MeterText::ToLower(token.back()) == 's')
        text.append(1, ':').append(value.substr(9));
    return text;
}

// ---- dates and times

struct DatePart {
    std::string_view letters;
    bool anyCase;
    std::size_t place;  // in YYYYMMDDhhmmss
};

// In the order in which they are tried. Month and minute are told apart by their case alone.
constexpr DatePart kDateParts[] = {
    {"YYYY", true, 0}, {"YY", true, 2},   {"MM", false, 4}, {"DD", true, 6},
    {"hh", true, 8},   {"mm", false, 10}, {"nn", true, 10}, {"ss", true, 12},
};

bool IsDatePattern(std::string_view token) {
    return !token.empty() && MeterText::Contains("YMDhms", token.front()) &&
           MeterText::ContainsAny(token, ".-:");
}

// The part that a pattern begins with and that the value is long enough for.
const DatePart* FindDatePart(std::string_view pattern, std::size_t valueChars) {
    for (const DatePart& part : kDateParts) {
        const std::string_view letters = pattern.substr(0, part.letters.size());
        const bool matches =
            part.anyCase ? MeterText::EqualIgnoringCase(letters, part.letters) : letters == part.letters;
        if (matches && valueChars >= part.place + part.letters.size())
            return &part;
    }
    return nullptr;
}

std::string FilledPattern(std::string_view value, std::string_view pattern) {
    std::string text;
    for (std::size_t at = 0; at < pattern.size() && !value.empty();) {
        const DatePart* const part = FindDatePart(pattern.substr(at), value.size());
        const std::size_t length = part == nullptr ? 1 : part->letters.size();
        text.append(part == nullptr ? pattern.substr(at, 1) : value.substr(part->place, length));
        at += length;
    }
    return text;
}

// ---- labels

// The label of a code in a list of the record, CODE:LABEL;CODE:LABEL...
std::optional<std::string> ListedLabel(std::string_view list, std::string_view value) {
    MeterText::TokenReader entries(list, ";");
    for (std::string_view entry; entries.Next(&entry);) {
        MeterText::TokenReader parts(entry, ":");
        std::string_view code;
        parts.Next(&code);
        const std::string_view label = MeterText::WithoutQuotes(parts.Rest());
        if (!code.empty() && code.front() != '_' && !label.empty() && code == value)
            return std::string(label);
    }
    return std::nullopt;
}

// The label of a code in a section of the system ini.
std::string SurveyLabel(const CMeterIniFile& systemIni, const std::string& section, std::string_view value) {
    if (value.empty()) {
        const std::optional<std::string> undefined =
            ReadText(systemIni, section.c_str(), "_Undefined", kEntryBytes);
        return undefined ? std::string(MeterText::WithoutQuotes(*undefined)) : "? ? ?";
    }
    const std::optional<std::string> label =
        ReadText(systemIni, section.c_str(), std::string(value).c_str(), kEntryBytes);
    return label ? std::string(MeterText::BareToken(*label, 1)) : "- - -";
}

// The labels of the positions that hold a 1. One that no longer fits is left out.
std::string SetBits(std::string_view bits, std::string_view labels) {
    constexpr std::size_t kMostChars = 253;
    std::string text;
    MeterText::TokenReader tokens(labels, ";");
    std::string_view label;
    for (std::size_t i = 0; i < bits.size() && tokens.Next(&label); ++i) {
        if (bits[i] != '1' || label.empty() || text.size() + label.size() >= kMostChars)
            continue;
        text.append(text.empty() ? "" : ",").append(label);
    }
    return text;
}

}  // namespace

void CMeterDatabase::FormatValue(char* out, const char* value, const char* definition) try {
    const std::string_view text = MeterText::View(value);
    if (m_dataFile == nullptr || m_systemIni == nullptr) {
        MeterText::CopyText(out, kNameBytes, text);
        return;
    }
    if (const std::optional<std::string> shown =
            Formatted(text, MeterText::WithoutQuotes(MeterText::View(definition))))
        MeterText::CopyText(out, kNameBytes, *shown);
} catch (const std::bad_alloc&) {
    MeterText::CopyText(out, kNameBytes, {});
}

// A value as its bare definition shows it; nothing when a list of the record does not know it.
std::optional<std::string> CMeterDatabase::Formatted(std::string_view value,
                                                     std::string_view definition) const {
    const std::string_view token = MeterText::FirstToken(definition).substr(0, ValueEntry::kSubFieldChars);
    if (!token.empty() && token.front() >= '0' && token.front() <= '9')
        return NumberWithUnit(value, token);
    if (IsDuration(token, value))
        return Duration(value, token);
    if (IsDatePattern(token))
        return FilledPattern(value, token);
    const std::string_view kind = token.size() > 2 ? token.substr(0, 2) : std::string_view();
    if (kind == "S;")
        return Selected(value, token.substr(2));
    if (kind == "B;")
        return SetBits(value, token.substr(2));
    return std::string(value);
}

// The label of a code from a list of the system ini, or from one of the record, which stands in angle
// brackets.
std::optional<std::string> CMeterDatabase::Selected(std::string_view value, std::string_view list) const {
    list = list.substr(0, kListNameChars);
    if (list.front() != '<')
        return SurveyLabel(*m_systemIni, "Survey_" + std::string(list), value);
    const std::string_view name = list.substr(1, list.find('>') - 1);
    if (!HasRecord())
        return std::nullopt;
    const std::optional<ValueEntry> entry =
        ReadEntry(*m_dataFile, RecordSection(), ("Survey_" + std::string(name)).c_str());
    return entry ? ListedLabel(entry->Bare(kValue), value) : std::nullopt;
}

void CMeterDatabase::FormatDoubleToString(char* dst, double value, int digits, int decimals) try {
    MeterText::CopyText(dst, kFixedPointBytes, FixedPoint(value, digits, decimals));
} catch (const std::bad_alloc&) {
    MeterText::CopyText(dst, kFixedPointBytes, {});
}
