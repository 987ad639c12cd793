#include "terminal/report/History.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <optional>

#include "MeterUtil/Text.h"
#include "terminal/report/Html.h"

namespace Report {
namespace {

constexpr std::size_t kFewestBars = 3;
constexpr int kWidth = 240;
constexpr int kHeight = 64;

// ---- numbers

int DecimalsOf(std::string_view value) {
    value = MeterText::TrimBlanks(value);
    const std::size_t point = value.find('.');
    return point == std::string_view::npos ? 0 : static_cast<int>(value.size() - point - 1);
}

// A decimal number of no more digits than a double holds; digits alone count, so that it reads the same in
// every locale.
std::optional<double> NumberOf(std::string_view value) {
    constexpr std::size_t kMostDigits = 15;
    value = MeterText::TrimBlanks(value);
    if (value.find_first_of("0123456789") == std::string_view::npos ||
        value.find_first_not_of("0123456789.") != std::string_view::npos ||
        value.find('.') != value.rfind('.'))
        return std::nullopt;
    value.remove_prefix(std::min(value.find_first_not_of('0'), value.size()));
    if (value.size() > kMostDigits + (value.find('.') == std::string_view::npos ? 0 : 1))
        return std::nullopt;
    double number = 0;
    double place = 0;
    for (const char c : value) {
        if (c == '.') {
            place = 1;
            continue;
        }
        place *= 10;
        number = place == 0 ? number * 10 + (c - '0') : number + (c - '0') / place;
    }
    return number;
}

std::string TextOf(double number, int decimals) {
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.begin(), text.end(), number, std::chars_format::fixed, decimals).ptr;
    return {text.begin(), end};
}

// ---- series

// Readings by the number of periods back; 0 is that of the visit.
struct Series {
    const RouteValue* current = nullptr;
    std::map<int, double> readings;
    int decimals = 0;  // the most that a reading has
};

// The number of a register begins with what it measures; 0 is the meter itself, such as the times of its
// resets.
bool IsOfTheMeter(const std::string& name) {
    return name.rfind("0.", 0) == 0;
}

bool IsRead(const Entry& entry) {
    return MeterText::ContainsAny(entry.status, "DCW");
}

std::map<std::string, Series> SeriesOf(const RouteRecord& record) {
    std::map<std::string, Series> all;
    for (const RouteValue& value : record.values)
        if (const auto [name, back] = SplitName(value.entry.name); back > 0 && !IsOfTheMeter(name))
            all[name];
    for (const RouteValue& value : record.values) {
        const auto [name, back] = SplitName(value.entry.name);
        const auto series = all.find(name);
        const std::optional<double> reading = NumberOf(value.entry.value);
        if (series == all.end() || !reading || !IsRead(value.entry))
            continue;
        series->second.readings.emplace(back, *reading);
        series->second.decimals = std::max(series->second.decimals, DecimalsOf(value.entry.value));
        if (back == 0 || series->second.current == nullptr)
            series->second.current = &value;
    }
    return all;
}

// Registers of a demand keep the highest value of each period; their measuring kind is 6. All others count
// on.
bool KeepsHighest(const std::string& name) {
    const std::size_t first = name.find('.');
    const std::size_t second = name.find('.', first + 1);
    return second != std::string::npos && name.substr(first + 1, second - first - 1) == "6";
}

std::vector<Bar> BarsOf(const std::string& name, const std::map<int, double>& readings) {
    std::vector<Bar> bars;
    for (auto reading = readings.rbegin(); reading != readings.rend(); ++reading) {
        if (KeepsHighest(name)) {
            bars.push_back({reading->first, reading->second});
            continue;
        }
        // A register that has rolled over, or a period without the one before it, has no bar.
        const auto before = readings.find(reading->first + 1);
        if (before != readings.end() && reading->second >= before->second)
            bars.push_back({reading->first, reading->second - before->second});
    }
    return bars;
}

// ---- drawing

std::string PeriodText(int periodsBack) {
    if (periodsBack == 0)
        return "this period so far";
    return periodsBack == 1 ? "last period" : std::to_string(periodsBack) + " periods back";
}

// One decimal of a pixel.
std::string Pixels(double number) {
    return TextOf(number, 1);
}

}  // namespace

std::pair<std::string, int> SplitName(const std::string& name) {
    const std::size_t star = name.rfind('*');
    if (star == std::string::npos || !IsCount(name.substr(star + 1)))
        return {name, 0};
    return {name.substr(0, star), MeterText::ToInt(name.substr(star + 1))};
}

std::vector<History> HistoriesOf(const RouteRecord& record) {
    std::vector<History> histories;
    for (const auto& [name, series] : SeriesOf(record)) {
        History history;
        history.name = name;
        history.bars = BarsOf(name, series.readings);
        if (history.bars.size() < kFewestBars)
            continue;
        history.label = series.current->shown.label.empty() ? name : series.current->shown.label;
        history.unit = UnitOf(series.current->entry.definition);
        history.decimals = series.decimals;
        histories.push_back(std::move(history));
    }
    return histories;
}

std::string Drawing(const History& history, Phrases& phrases) {
    const double most =
        std::max_element(history.bars.begin(), history.bars.end(), [](const Bar& a, const Bar& b) {
            return a.use < b.use;
        })->use;
    const double step = static_cast<double>(kWidth) / static_cast<double>(history.bars.size());
    const std::string unit = history.unit.empty() ? "" : " " + Escaped(history.unit);
    const std::string label = Escaped(history.label);
    std::string html =
        phrases("<figure><figcaption><b>" + label + "</b> a period<span>most ") +
        TextOf(most, history.decimals) +
        phrases(unit + "</span></figcaption><svg viewBox=\"0 0 " + std::to_string(kWidth) + " " +
                std::to_string(kHeight) + "\" preserveAspectRatio=none role=img aria-label=\"" + label +
                " of " + std::to_string(history.bars.size()) + " billing periods\">");
    double left = 0;
    for (const Bar& bar : history.bars) {
        const double height = most > 0 ? std::max(1.0, bar.use / most * kHeight) : 1.0;
        html += phrases("<rect x=" + Pixels(left + step * 0.12) + " width=" + Pixels(step * 0.76) +
                        (bar.periodsBack == 0 ? " class=now y=" : " y=")) +
                Pixels(kHeight - height) + phrases(" height=") + Pixels(height) +
                phrases("><title>" + PeriodText(bar.periodsBack) + ": ") + TextOf(bar.use, history.decimals) +
                phrases(unit + "</title></rect>");
        left += step;
    }
    return html + phrases("</svg><p><span>" + PeriodText(history.bars.front().periodsBack) + "</span><span>" +
                          PeriodText(history.bars.back().periodsBack) + "</span></p></figure>");
}

}  // namespace Report
