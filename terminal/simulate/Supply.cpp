#include "terminal/simulate/Supply.h"

#include <algorithm>
#include <numeric>

#include "MeterUtil/Text.h"

namespace Simulate {
namespace {

constexpr int kMonthsOfAYear = 12;
constexpr int kLastMonth = 1;  // February: the latest that is complete when the route is read

// Share of a year's use in each month, in thousandths.
using Season = std::array<int, kMonthsOfAYear>;
constexpr Season kLight = {98, 90, 88, 82, 77, 73, 72, 74, 78, 84, 90, 94};
constexpr Season kHeating = {172, 150, 128, 84, 38, 16, 12, 12, 34, 78, 124, 152};
constexpr Season kEven = {82, 78, 82, 82, 86, 88, 88, 86, 84, 82, 80, 82};

// What is used in a year, in the unit of the register, and how its register looks.
struct Commodity {
    const char* name;
    const char* unit;
    int digits;
    int decimals;
    std::int64_t leastUse;
    std::int64_t mostUse;
    const Season* season;
};

constexpr Commodity kDay = {"1.8.1", "kWh", 6, 1, 700, 3900, &kLight};
constexpr Commodity kNight = {"1.8.2", "kWh", 6, 1, 400, 2600, &kHeating};
constexpr Commodity kAllDay = {"1.8.0", "kWh", 6, 1, 900, 4800, &kLight};
constexpr Commodity kGas = {"3.0.0", "m3", 6, 2, 300, 2900, &kHeating};
constexpr Commodity kWater = {"1.0.0", "m3", 5, 3, 28, 240, &kEven};
constexpr Commodity kHeat = {"6.8", "MWh", 4, 3, 4, 42, &kHeating};

std::int64_t PowerOfTen(int exponent) {
    std::int64_t power = 1;
    for (int i = 0; i < exponent; ++i)
        power *= 10;
    return power;
}

// Most places are small: of three draws the middle one, and of two the smaller.
std::int64_t UseOfAYear(const Commodity& commodity, Random* random) {
    std::array<std::int64_t, 3> draws{};
    for (std::int64_t& draw : draws)
        draw = std::min(random->Between(commodity.leastUse, commodity.mostUse),
                        random->Between(commodity.leastUse, commodity.mostUse));
    std::sort(draws.begin(), draws.end());
    return draws[1] * PowerOfTen(commodity.decimals);
}

// Use of a month, which lies `back` months behind the latest one.
std::int64_t UseOfAMonth(const Commodity& commodity, std::int64_t year, int back, Random* random) {
    const int month = ((kLastMonth - back) % kMonthsOfAYear + kMonthsOfAYear) % kMonthsOfAYear;
    const std::int64_t usual = year * (*commodity.season)[static_cast<std::size_t>(month)] / 1000;
    return std::max<std::int64_t>(1, usual * random->Between(82, 118) / 100);
}

Register MakeRegister(const Commodity& commodity, Random* random) {
    Register made;
    made.name = commodity.name;
    made.unit = commodity.unit;
    made.digits = commodity.digits;
    made.decimals = commodity.decimals;
    const std::int64_t year = UseOfAYear(commodity, random);
    std::array<std::int64_t, kMonths> use{};
    for (int back = 0; back < kMonths; ++back)
        use[static_cast<std::size_t>(back)] = UseOfAMonth(commodity, year, back, random);
    const std::int64_t countedBefore = year * random->Between(5, 70) / 10;
    std::int64_t count = countedBefore % (PowerOfTen(commodity.digits + commodity.decimals) / 2);
    for (int back = kMonths - 1; back >= 0; --back)
        made.history[static_cast<std::size_t>(back)] = count += use[static_cast<std::size_t>(back)];
    made.last = made.history[1] + use[0] / 14;
    made.now = made.history[0] + use[0] * random->Between(2, 9) / 100;
    made.lower = made.last;
    made.upper = made.last + 2 * use[0] + PowerOfTen(commodity.decimals) * 10;
    return made;
}

// Both tariffs together.
Register Sum(const Register& day, const Register& night) {
    Register sum = day;
    sum.name = kAllDay.name;
    sum.now += night.now;
    sum.last += night.last;
    sum.lower += night.lower;
    sum.upper += night.upper;
    std::transform(day.history.begin(), day.history.end(), night.history.begin(), sum.history.begin(),
                   std::plus<>());
    return sum;
}

}  // namespace

std::string Register::Text(std::int64_t number) const {
    const std::int64_t unitSize = PowerOfTen(decimals);
    return MeterText::ZeroPadded(number / unitSize, static_cast<std::size_t>(digits)) + "." +
           MeterText::ZeroPadded(number % unitSize, static_cast<std::size_t>(decimals));
}

std::string Register::Format() const {
    return std::to_string(digits + decimals + 1) + "." + std::to_string(decimals) + " " + unit;
}

const char* TypeOf(Kind kind) {
    switch (kind) {
        case Kind::Gas:
            return "Gas";
        case Kind::Water:
            return "Water";
        case Kind::Heat:
            return "Heat";
        default:
            return "Electricity";
    }
}

std::vector<Register> MakeRegisters(Kind kind, Random* random) {
    switch (kind) {
        case Kind::Gas:
            return {MakeRegister(kGas, random)};
        case Kind::Water:
            return {MakeRegister(kWater, random)};
        case Kind::Heat:
            return {MakeRegister(kHeat, random)};
        case Kind::SingleTariff:
            return {MakeRegister(kAllDay, random)};
        case Kind::TwoTariffs:
            break;
    }
    const Register day = MakeRegister(kDay, random);
    const Register night = MakeRegister(kNight, random);
    return {Sum(day, night), day, night};
}

}  // namespace Simulate
