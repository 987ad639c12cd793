// The arithmetic of fixed-point numbers. Owns the rule that the half unit is added and the rest is cut, in
// plain double arithmetic: the office computes the same readings the same way.
#include "MeterDatabase/FixedPoint.h"

#include <algorithm>
#include <cmath>

#include "MeterUtil/Text.h"

namespace MeterRecords {
namespace {

constexpr double kHalfUnits[] = {0.5, 0.05, 0.005, 0.0005, 5e-5, 5e-6, 5e-7, 5e-8, 5e-9, 5e-10};
constexpr double kPowersOfTen[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
constexpr double kLargestInteger = 9999999999.0;

std::string Magnitude(double magnitude, std::size_t width, std::size_t places) {
    const double rounded = magnitude + kHalfUnits[places];
    const bool fits = rounded < kLargestInteger + 1;
    const auto integer = static_cast<std::int64_t>(fits ? rounded : kLargestInteger);
    std::string text = MeterText::ZeroPadded(integer, width);
    if (places == 0)
        return text;
    const double fraction = fits ? rounded - static_cast<double>(integer) : 0;
    const auto decimals = static_cast<std::int64_t>(fraction * kPowersOfTen[places]);
    return text.append(1, '.').append(MeterText::ZeroPadded(decimals, places));
}

}  // namespace

std::string FixedPoint(double value, int digits, int decimals) {
    const auto width = static_cast<std::size_t>(std::clamp(digits, 1, 10));
    const auto places = static_cast<std::size_t>(std::clamp(decimals, 0, 9));
    return (value < 0 ? "-" : "") + Magnitude(std::isnan(value) ? 0 : std::fabs(value), width, places);
}

}  // namespace MeterRecords
