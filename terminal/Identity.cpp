#include "terminal/Identity.h"

#include <algorithm>
#include <array>

#include "MeterUtil/Text.h"

namespace {

constexpr std::array<std::string_view, 7> kNumberNames = {"0.0.0",  "0.0.1",  "C.1",   "C.1.0",
                                                          "96.1.0", "96.1.1", "42.0.0"};
constexpr std::size_t kTellingDigits = 6;  // fewer at the end of another number may be chance

std::string_view WithoutLeadingZeros(std::string_view number) {
    number = MeterText::TrimBlanks(number);
    number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
    return number;
}

bool EndsWith(std::string_view text, std::string_view end) {
    return end.size() >= kTellingDigits && text.size() > end.size() &&
           MeterText::EqualIgnoringCase(text.substr(text.size() - end.size()), end);
}

bool IsHexadecimal(std::string_view text) {
    return text.find_first_not_of("0123456789ABCDEFabcdef") == std::string_view::npos;
}

// The letters that a hexadecimal number codes; "" when it codes something else.
std::string Letters(std::string_view code) {
    if (code.size() % 2 != 0 || code.size() < 2 * kTellingDigits || !IsHexadecimal(code))
        return {};
    std::string letters;
    for (; !code.empty(); code.remove_prefix(2)) {
        const char letter = static_cast<char>(std::stoi(std::string(code.substr(0, 2)), nullptr, 16));
        if (letter < ' ' || letter > '~')
            return {};
        letters.push_back(letter);
    }
    return letters;
}

// The numbers as they were sent; those of only zeros say nothing.
std::vector<std::string> SentNumbers(const Readout& readout) {
    std::vector<std::string> numbers;
    for (const ReadoutValue& value : readout.Values()) {
        const bool isNumber =
            std::find(kNumberNames.begin(), kNumberNames.end(), value.name) != kNumberNames.end();
        if (isNumber && !WithoutLeadingZeros(value.value).empty())
            numbers.push_back(value.value);
    }
    return numbers;
}

bool Matches(std::string_view number, std::string_view wanted) {
    number = WithoutLeadingZeros(number);
    return SameNumber(number, wanted) || EndsWith(number, wanted) || EndsWith(wanted, number);
}

}  // namespace

bool SameNumber(std::string_view a, std::string_view b) {
    return MeterText::EqualIgnoringCase(WithoutLeadingZeros(a), WithoutLeadingZeros(b));
}

std::vector<std::string> NumbersOf(const Readout& readout) {
    std::vector<std::string> numbers = SentNumbers(readout);
    for (std::string& number : numbers)
        if (const std::string letters = Letters(number); !letters.empty())
            number = letters;
    return numbers;
}

Identity CompareIdentity(const std::string& meterNumber, const Readout& readout) {
    const std::string_view wanted = WithoutLeadingZeros(meterNumber);
    const std::vector<std::string> numbers = SentNumbers(readout);
    if (wanted.empty() || numbers.empty())
        return Identity::Unknown;
    const bool found = std::any_of(numbers.begin(), numbers.end(), [wanted](const std::string& number) {
        return Matches(number, wanted) || Matches(Letters(number), wanted);
    });
    return found ? Identity::Same : Identity::Other;
}
