// Numbers as the files hold them: a fixed number of decimals behind a point, whatever the locale.
#pragma once

#include <string>

namespace MeterRecords {

constexpr int kFixedPointBytes = 22;  // a minus sign, ten digits, the point, nine decimals, the terminator

// The text of FormatDoubleToString, of which kFixedPointBytes - 1 characters are the most.
std::string FixedPoint(double value, int digits, int decimals);

}  // namespace MeterRecords
