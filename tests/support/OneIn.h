// The longest series of cases, each of which plays a day on the file system, are tried whole; but one case in
// so many where the system is emulated and every call of it takes long: METERDB_TEST_ONE_IN in the
// environment tells.
#pragma once

#include <algorithm>
#include <cstdlib>

inline int OneIn() {
    const char* const number = std::getenv("METERDB_TEST_ONE_IN");
    return number == nullptr ? 1 : std::max(1, std::atoi(number));
}
