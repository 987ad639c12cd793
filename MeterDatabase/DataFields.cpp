// Data fields of a record: the checks that their definitions ask for.
#include <new>

#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"

using namespace MeterRecords;

namespace {

enum CheckResult { kPasses, kDeviates, kBelow, kAbove };

// The first token of a definition that asks for a check; an empty token ends the search.
std::string_view CheckToken(std::string_view definition) {
    definition = MeterText::WithoutQuotes(definition);
    for (bool more = true; more;) {
        const std::string_view token = MeterText::TakeToken(&definition, ",", &more);
        if (token.empty())
            break;
        if (MeterText::Contains("CXV", token.front()))
            return token.substr(0, ValueEntry::kSubFieldChars);
    }
    return {};
}

// Limits in reverse order describe a forbidden band. A limit that is left out asks for nothing.
CheckResult CheckRange(std::string_view value, std::string_view limits) {
    std::string_view lowerText;
    std::string_view upperText;
    if (!MeterText::FindToken(limits, 1, ";", &lowerText) ||
        !MeterText::FindToken(limits, 2, ";", &upperText))
        return kPasses;
    if (lowerText.empty() || upperText.empty())
        return kPasses;
    const double lower = MeterText::ToDouble(lowerText);
    const double upper = MeterText::ToDouble(upperText);
    const double number = MeterText::ToDouble(value);
    if (lower > upper)
        return number < lower && number > upper ? kDeviates : kPasses;
    if (number < lower)
        return kBelow;
    return number > upper ? kAbove : kPasses;
}

bool IsIntegerLike(std::string_view text) {
    return text.find_first_not_of("0123456789 ") == std::string_view::npos;
}

// Meters pad their numbers: digits are compared as numbers, everything else as it stands.
CheckResult CheckEqual(std::string_view value, std::string_view expected) {
    const bool equal = IsIntegerLike(value) && IsIntegerLike(expected)
                           ? MeterText::ToInt64(value) == MeterText::ToInt64(expected)
                           : value == expected;
    return equal ? kPasses : kDeviates;
}

CheckResult CheckReference(std::string_view value, const std::optional<ValueEntry>& reference) {
    if (!reference)
        return kDeviates;
    const std::string_view expected = reference->Bare(kValue);
    return expected.empty() ? kPasses : CheckEqual(value, expected);
}

}  // namespace

int CMeterDatabase::CheckValue(const char* value, const char* definition) try {
    if (m_dataFile == nullptr)
        return kDeviates;
    const std::string_view token = CheckToken(MeterText::View(definition));
    if (token.empty())
        return kPasses;
    const std::string operand(token.substr(1));
    if (token.front() == 'C')
        return CheckRange(MeterText::View(value), operand);
    if (token.front() == 'X')
        return CheckEqual(MeterText::View(value), operand);
    if (!HasRecord())
        return kDeviates;
    return CheckReference(MeterText::View(value), ReadEntry(*m_dataFile, RecordSection(), operand.c_str()));
} catch (const std::bad_alloc&) {
    return kDeviates;
}
