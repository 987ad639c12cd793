// The decimal number reader of Text.h.
#include "MeterUtil/Text.h"

#include <cmath>

namespace MeterText {
namespace {

constexpr std::string_view kDigits = "0123456789";

// True when a number beyond the range of double is too large, false when it is too small: the sign of the
// decimal exponent of its first digit that counts decides.
bool IsTooLarge(std::string_view number) {
    const std::size_t exponentMark = number.find_first_of("eE");
    // As an int: the sum with a place in the text fits, however many digits the exponent has.
    const int exponent = exponentMark == std::string_view::npos ? 0 : ToInt(number.substr(exponentMark + 1));
    const std::string_view mantissa = number.substr(0, exponentMark);
    const auto firstDigit = static_cast<std::int64_t>(mantissa.find_first_of("123456789"));
    const std::size_t pointFound = mantissa.find('.');
    const auto point =
        static_cast<std::int64_t>(pointFound == std::string_view::npos ? mantissa.size() : pointFound);
    return point - firstDigit + exponent > 0;
}

}  // namespace

double ToDouble(std::string_view text) {
    const bool negative = TakeSign(&text);
    // What begins with neither a digit nor a point is a word (inf, nan), a second sign, or nothing.
    if (text.empty() || !(Contains(kDigits, text.front()) || text.front() == '.'))
        return 0;
    double value = 0;
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range)
        value = IsTooLarge(text.substr(0, static_cast<std::size_t>(result.ptr - text.data()))) ? HUGE_VAL : 0;
    else if (result.ec != std::errc())
        value = 0;
    return negative ? -value : value;
}

}  // namespace MeterText
