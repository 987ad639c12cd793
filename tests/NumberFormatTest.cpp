// Numbers with a fixed number of decimals.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

#include "tests/support/CommaLocale.h"
#include "tests/support/DatabaseFixture.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

constexpr int kLongestResult = 22;  // bytes
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

class NumberFormat : public testing::Test {
protected:
    std::string Formatted(double value, int digits, int decimals) {
        GuardedBuffer dst(kLongestResult);
        m_database.FormatDoubleToString(dst.Data(), value, digits, decimals);
        return dst.Text();
    }

    CMeterDatabase m_database{L"\\"};
};

// What the result has to be, computed in the same order of double operations, below 2 to the power of 32.
std::string Expected(double value, int digits, int decimals) {
    static const std::array<double, 10> kHalves = {
        0.5, 0.05, 0.005, 0.0005, 0.00005, 0.000005, 0.0000005, 0.00000005, 0.000000005, 0.0000000005};
    const int width = std::min(std::max(digits, 1), 10);
    const int places = std::min(std::max(decimals, 0), 9);
    double scale = 1;
    for (int i = 0; i < places; ++i)
        scale *= 10;
    const double rounded = (value < 0 ? -value : value) + kHalves[static_cast<std::size_t>(places)];
    const auto integer = static_cast<unsigned>(rounded);
    char text[64];
    int length = std::snprintf(text, sizeof text, "%s%0*u", value < 0 ? "-" : "", width, integer);
    if (places > 0) {
        const auto fraction = static_cast<int>((rounded - integer) * scale);
        length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), ".%0*i",
                                places, fraction);
    }
    return std::string(text, static_cast<std::size_t>(length));
}

struct Row {
    double value;
    int digits;
    int decimals;
    const char* text;
};

}  // namespace

TEST_F(NumberFormat, RoundsHalfAwayFromZeroAndPadsWithZeros) {
    const Row rows[] = {
        {3.14159, 1, 2, "3.14"},
        {3.14159, 4, 2, "0003.14"},
        {2.5, 1, 0, "3"},
        {-2.5, 1, 0, "-3"},
        {0.5, 1, 0, "1"},
        {0.49, 1, 0, "0"},
        {0.999, 1, 2, "1.00"},
        {9.99, 1, 1, "10.0"},
        {0, 1, 0, "0"},
        {0, 3, 3, "000.000"},
        {-0.0, 1, 1, "0.0"},
        {7, 3, 0, "007"},
        {1234, 2, 0, "1234"},
        {0.05, 1, 1, "0.1"},
        {0.000000001, 1, 9, "0.000000001"},
        {12345.678, 8, 1, "00012345.7"},
        {1e-300, 1, 9, "0.000000000"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Formatted(row.value, row.digits, row.decimals), row.text) << row.value;
}

TEST_F(NumberFormat, CutsTheFractionAfterTheHalfUnitWasAdded) {
    EXPECT_EQ(Formatted(1.005, 1, 2), "1.00");
    EXPECT_EQ(Formatted(1.015, 1, 2), Expected(1.015, 1, 2));
}

TEST_F(NumberFormat, KeepsTheSignOfWhatBecomesZero) {
    EXPECT_EQ(Formatted(-0.001, 1, 2), "-0.00");
    EXPECT_EQ(Formatted(-0.4, 1, 0), "-0");
    EXPECT_EQ(Formatted(-1e-300, 3, 0), "-000");
}

TEST_F(NumberFormat, WritesEveryNumberOfDecimals) {
    const char* const texts[] = {"1",       "1.2",      "1.23",      "1.235",      "1.2346",
                                 "1.23457", "1.234568", "1.2345679", "1.23456789", "1.234567891"};
    for (int decimals = 0; decimals <= 9; ++decimals)
        EXPECT_EQ(Formatted(1.2345678912, 1, decimals), texts[decimals]);
}

TEST_F(NumberFormat, BringsWidthAndDecimalsIntoTheirRanges) {
    const Row rows[] = {
        {1.5, 0, 1, "1.5"},
        {1.5, -7, 1, "1.5"},
        {1.5, 10, 1, "0000000001.5"},
        {1.5, 11, 1, "0000000001.5"},
        {1.5, 15, 1, "0000000001.5"},
        {1.5, std::numeric_limits<int>::max(), 1, "0000000001.5"},
        {1.5, std::numeric_limits<int>::min(), 1, "1.5"},
        {1.5, 1, 9, "1.500000000"},
        {1.5, 1, 10, "1.500000000"},
        {1.5, 1, 12, "1.500000000"},
        {1.5, 1, -1, "2"},
        {1.5, 1, std::numeric_limits<int>::max(), "1.500000000"},
        {1.5, 1, std::numeric_limits<int>::min(), "2"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Formatted(row.value, row.digits, row.decimals), row.text)
            << row.digits << ' ' << row.decimals;
}

TEST_F(NumberFormat, WritesIntegersOfTenDigitsInFull) {
    const Row rows[] = {
        {4294967294.9, 1, 1, "4294967294.9"},     {4294967295.0, 1, 0, "4294967295"},
        {4294967295.5, 1, 0, "4294967296"},       {4294967296.0, 1, 2, "4294967296.00"},
        {-4294967296.25, 1, 2, "-4294967296.25"}, {9999999999.0, 1, 0, "9999999999"},
        {9999999999.25, 10, 2, "9999999999.25"},  {-9999999999.0, 10, 9, "-9999999999.000000000"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Formatted(row.value, row.digits, row.decimals), row.text);
}

TEST_F(NumberFormat, WritesTheLargestIntegerForAllThatIsLarger) {
    for (const double value :
         {1e10, 1.5e10, 1e19, 1.8e19, 1e300, std::numeric_limits<double>::max(), kInfinity}) {
        EXPECT_EQ(Formatted(value, 1, 0), "9999999999") << value;
        EXPECT_EQ(Formatted(-value, 10, 9), "-9999999999.000000000") << value;
    }
    EXPECT_EQ(Formatted(9999999999.5, 1, 0), "9999999999") << "rounded up to eleven digits";
    EXPECT_EQ(Formatted(9999999999.996, 1, 2), "9999999999.00");
}

TEST_F(NumberFormat, WritesZeroForWhatIsNoNumber) {
    EXPECT_EQ(Formatted(kNotANumber, 1, 0), "0");
    EXPECT_EQ(Formatted(-kNotANumber, 4, 2), "0000.00");
}

TEST_F(NumberFormat, NeedsNoBuffer) {
    m_database.FormatDoubleToString(nullptr, 1.5, 1, 1);
}

TEST_F(NumberFormat, IsEmptyWithoutMemory) {
    for (int n = 1;; ++n) {
        GuardedBuffer dst(kLongestResult);
        bool failed = false;
        {
            const HeapFault fault(n);
            m_database.FormatDoubleToString(dst.Data(), -4294967295.5, 10, 9);
            failed = fault.Happened();
        }
        EXPECT_EQ(dst.Text(), failed ? "" : "-4294967295.500000000");
        if (!failed)
            break;
    }
}

// Values of every size, close to halves as well, in all widths and numbers of decimals.
TEST_F(NumberFormat, IsPlainDoubleArithmetic) {
    std::mt19937_64 random(20260301);
    const auto value = [&random] {
        const double magnitude = std::pow(10.0, static_cast<double>(random() % 21) - 10.0);
        const double any = std::ldexp(static_cast<double>(random() >> 11), -53) * magnitude;
        const double scale = std::pow(10.0, static_cast<double>(random() % 10));
        const double tie = (std::floor(any * scale) + 0.5) / scale;
        const double close = std::nextafter(tie, random() % 2 == 0 ? 0.0 : 1e10);
        const double drawn[] = {any, tie, close, std::floor(any)};
        return (random() % 2 == 0 ? -1 : 1) * drawn[random() % std::size(drawn)];
    };
    for (int i = 0; i < 300000; ++i) {
        const double number = std::fmod(value(), 4294967294.0);
        const int digits = static_cast<int>(random() % 14) - 1;
        const int decimals = static_cast<int>(random() % 13) - 1;
        ASSERT_EQ(Formatted(number, digits, decimals), Expected(number, digits, decimals))
            << std::hexfloat << number << ' ' << digits << ' ' << decimals;
    }
}

TEST_F(NumberFormat, HasAPointInEveryLanguage) {
    const CommaLocale comma;
    EXPECT_EQ(Formatted(-1234567.891, 1, 2), "-1234567.89");
    EXPECT_EQ(Formatted(1234.5, 8, 1), "00001234.5");
    if (!CommaLocale::IsInCLibrary())
        GTEST_SKIP() << "checked under streams with a comma only: the C library has no such locale";
    char control[16];
    std::snprintf(control, sizeof control, "%.1f", 1.5);
    EXPECT_STREQ(control, "1,5") << "the locale is in force";
}
