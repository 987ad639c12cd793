#include "terminal/Readout.h"

#include <algorithm>

#include "MeterUtil/Text.h"
#include "terminal/Telegram.h"

namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kTimeSuffix = "-time";
constexpr std::size_t kGroups =
    32;  // kept of one data set: the rest of a long list is no value of a register

bool IsNumberText(std::string_view text) {
    return !text.empty() && text.find_first_not_of(kDigits) == std::string_view::npos;
}

// ---- groups

bool IsBetween(std::string_view digits, int lowest, int highest) {
    const int number = MeterText::ToInt(digits);
    return number >= lowest && number <= highest;
}

// YYMMDDhhmm or YYMMDDhhmmss.
bool IsDate(std::string_view digits) {
    if (digits.size() != 10 && digits.size() != 12)
        return false;
    return IsBetween(digits.substr(2, 2), 1, 12) && IsBetween(digits.substr(4, 2), 1, 31) &&
           IsBetween(digits.substr(6, 2), 0, 24) && IsBetween(digits.substr(8, 2), 0, 59);
}

// A time that says by its last letter whether it is summer or winter time. Meters send impossible dates in
// this form.
bool IsSeasonTime(std::string_view group) {
    if (group.empty() || (group.back() != 'S' && group.back() != 'W'))
        return false;
    group.remove_suffix(1);
    return IsNumberText(group) && (group.size() == 10 || group.size() == 12);
}

// A time of digits alone must be a real one: registers and serial numbers look the same. It may have the
// season (0 to 2) or the century before it.
bool IsPlainTime(std::string_view group) {
    if (!IsNumberText(group))
        return false;
    if (group.size() % 2 == 1)
        return group.front() <= '2' && IsDate(group.substr(1));
    return IsDate(group.size() == 14 ? group.substr(2) : group);
}

bool IsTime(std::string_view group) {
    return IsSeasonTime(group) || IsPlainTime(group);
}

std::string_view Value(std::string_view group) {
    return group.substr(0, group.find('*'));
}

std::string_view Unit(std::string_view group) {
    const std::size_t star = group.find('*');
    return star == std::string_view::npos ? std::string_view() : group.substr(star + 1);
}

// A number with a sign, a decimal point or nothing of the kind.
bool IsDecimal(std::string_view text) {
    if (!text.empty() && (text.front() == '+' || text.front() == '-'))
        text.remove_prefix(1);
    const std::size_t point = text.find_first_of(".,");
    if (point == std::string_view::npos)
        return IsNumberText(text);
    return IsNumberText(text.substr(0, point)) && IsNumberText(text.substr(point + 1));
}

// A number that cannot be a count, a state or a time.
bool IsMeasured(std::string_view group) {
    const std::string_view value = Value(group);
    return IsDecimal(value) && (!Unit(group).empty() || !IsNumberText(value));
}

using Groups = std::vector<std::string_view>;

// The group that carries the value of a data set.
std::size_t ValueGroup(const Groups& groups) {
    if (!IsTime(groups.front()))
        return 0;
    const auto measured = std::find_if(groups.begin() + 1, groups.end(), IsMeasured);
    if (measured != groups.end())
        return static_cast<std::size_t>(measured - groups.begin());
    const bool bareNumber = IsSeasonTime(groups.front()) && groups.size() > 1 && IsDecimal(groups[1]);
    return bareNumber ? 1 : 0;
}

// The time that belongs to the value in group `value`: the last one before it, or the one right behind it.
std::string_view TimeOf(const Groups& groups, std::size_t value) {
    for (std::size_t at = value; at > 0; --at)
        if (IsTime(groups[at - 1]))
            return groups[at - 1];
    const bool follows = value + 1 < groups.size() && IsTime(groups[value + 1]);
    return follows ? groups[value + 1] : std::string_view();
}

// ---- addresses

// Length of "A-B:" at the start of an address; 0 when it has none.
std::size_t ChannelLength(std::string_view address) {
    const std::size_t colon = address.find(':');
    const std::size_t dash = address.find('-');
    if (colon == std::string_view::npos || dash > colon)
        return 0;
    const bool numbers =
        IsNumberText(address.substr(0, dash)) && IsNumberText(address.substr(dash + 1, colon - dash - 1));
    return numbers ? colon + 1 : 0;
}

// The storage F behind '*' or '&' as it stands in a name: nothing for the current value, else two digits and
// more.
std::string StorageName(std::string_view storage) {
    if (storage == "255")
        return {};
    return (storage.size() == 1 && IsNumberText(storage) ? "*0" : "*") + std::string(storage);
}

// C.D.E.255 without its last number.
std::string_view WithoutStorageNumber(std::string_view name) {
    constexpr std::string_view kCurrent = ".255";
    const bool ends = name.size() > kCurrent.size() && name.substr(name.size() - kCurrent.size()) == kCurrent;
    return ends && std::count(name.begin(), name.end(), '.') == 3
               ? name.substr(0, name.size() - kCurrent.size())
               : name;
}

std::string NameOf(std::string_view address) {
    const std::string_view rest = address.substr(ChannelLength(address));
    const std::size_t mark = rest.find_first_of("*&");
    if (mark == std::string_view::npos)
        return std::string(WithoutStorageNumber(rest));
    return std::string(rest.substr(0, mark)) + StorageName(rest.substr(mark + 1));
}

// ---- data lines

ReadoutValue MakeValue(std::string_view address, const Groups& groups, std::size_t group) {
    ReadoutValue value;
    value.address = address;
    value.name = NameOf(address);
    value.value = Value(groups[group]);
    value.unit = Unit(groups[group]);
    value.time = TimeOf(groups, group);
    return value;
}

// The hourly value of another device, in the order of a list of readings: time, state, minutes, number of
// columns (1), address and unit of the column, and the reading.
bool IsListOfOne(const Groups& groups) {
    return groups.size() == 7 && IsTime(groups[0]) && groups[3] == "1" && ChannelLength(groups[4]) != 0;
}

bool IsControl(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
}

bool HasControl(std::string_view text) {
    return std::any_of(text.begin(), text.end(), IsControl);
}

std::string Damage(std::string_view line, std::string_view what) {
    constexpr std::size_t kShown = 40;
    std::string text(line.substr(0, kShown));
    std::replace_if(text.begin(), text.end(), IsControl, '?');
    return "it is damaged at \"" + text + "\": " + std::string(what);
}

// An address without the noise that a line can begin with.
std::string_view CleanAddress(std::string_view address) {
    while (!address.empty() &&
           (IsControl(address.front()) || static_cast<unsigned char>(address.front()) > 0x7F))
        address.remove_prefix(1);
    return MeterText::TrimBlanks(address);
}

// Takes data lines apart, one group after the other.
class DataLines {
public:
    explicit DataLines(std::string_view lines) : m_lines(lines) {}

    // The next "address(group)"; the address is empty for a further group of the same data set. False at the
    // end of the lines, and at damage, which Problem then names.
    bool Next(std::string_view* address, std::string_view* group);

    const std::string& Problem() const { return m_problem; }

private:
    bool NextLine();
    bool Fail(std::string_view what);

    std::string_view m_lines;
    std::string_view m_line;  // what is left of the present one
    std::string m_problem;
};

bool DataLines::NextLine() {
    const std::size_t begin = m_lines.find_first_not_of("\r\n");
    if (begin == std::string_view::npos)
        return false;
    m_lines.remove_prefix(begin);
    m_line = m_lines.substr(0, m_lines.find_first_of("\r\n"));
    m_lines.remove_prefix(m_line.size());
    return true;
}

bool DataLines::Fail(std::string_view what) {
    m_problem = Damage(m_line, what);
    return false;
}

bool DataLines::Next(std::string_view* address, std::string_view* group) {
    // What stands behind the last group of a line belongs to no value.
    while (m_line.find_first_of("()") == std::string_view::npos)
        if (!NextLine())
            return false;
    const std::size_t open = m_line.find_first_of("()");
    const std::size_t close = m_line.find_first_of("()", open + 1);
    if (m_line[open] == ')' || close == std::string_view::npos || m_line[close] == '(')
        return Fail("its parentheses do not match");
    *address = CleanAddress(m_line.substr(0, open));
    *group = m_line.substr(open + 1, close - open - 1);
    if (HasControl(*address) || HasControl(*group))
        return Fail("it holds bytes that are no text");
    m_line.remove_prefix(close + 1);
    return true;
}

std::string SmallLetters(std::string_view text) {
    std::string small(text);
    std::transform(small.begin(), small.end(), small.begin(), MeterText::ToLower);
    return small;
}

}  // namespace

std::optional<Readout> Readout::Parse(std::string_view bytes, std::string* problem) {
    if (bytes.size() > kMostBytes) {
        *problem = "it is larger than 64 MiB";
        return std::nullopt;
    }
    const std::optional<Telegram> telegram = FindTelegram(bytes, problem);
    if (!telegram)
        return std::nullopt;
    Readout readout;
    readout.m_identification = MeterText::TrimBlanks(telegram->identification);
    *problem = readout.AddSets(telegram->data);
    if (problem->empty())
        return readout;
    return std::nullopt;
}

// What is wrong with the data lines; "" when all of them were added.
std::string Readout::AddSets(std::string_view dataLines) {
    DataLines lines(dataLines);
    std::string_view set;  // address of the data set whose groups are gathered
    Groups groups;
    std::string_view address;
    std::string_view group;
    while (lines.Next(&address, &group)) {
        if (!address.empty()) {
            AddSet(set, groups);
            if (m_values.size() >= kMostValues)
                return "it holds more than " + std::to_string(kMostValues) + " values";
            set = address;
            groups.clear();
        }
        if (set.empty())
            return Damage("(" + std::string(group) + ")", "it has a value without an address");
        if (groups.size() < kGroups)
            groups.push_back(group);
    }
    AddSet(set, groups);
    if (lines.Problem().empty() && m_values.empty())
        return "it holds no value";
    return lines.Problem();
}

void Readout::AddSet(std::string_view address, const std::vector<std::string_view>& groups) {
    if (groups.empty())
        return;
    if (!IsListOfOne(groups)) {
        Add(MakeValue(address, groups, ValueGroup(groups)));
        return;
    }
    ReadoutValue value = MakeValue(address, groups, groups.size() - 1);
    value.unit = groups[5];
    Add(value);
    value.address = groups[4];
    value.name = NameOf(value.address);
    Add(value);
}

void Readout::Add(ReadoutValue value) {
    const std::size_t place = m_values.size();
    const std::string channel = value.address.substr(0, ChannelLength(value.address));
    for (const std::string& name : {value.name, channel + value.name, value.address})
        m_places.emplace(SmallLetters(name), place);
    m_values.push_back(std::move(value));
}

const ReadoutValue* Readout::Find(std::string_view name) const {
    const auto place = m_places.find(SmallLetters(name));
    return place == m_places.end() ? nullptr : &m_values[place->second];
}

const std::string* Readout::FindText(std::string_view name) const {
    if (const ReadoutValue* value = Find(name))
        return &value->value;
    const std::size_t stem = name.size() - std::min(name.size(), kTimeSuffix.size());
    if (!MeterText::EqualIgnoringCase(name.substr(stem), kTimeSuffix))
        return nullptr;
    const ReadoutValue* value = Find(name.substr(0, stem));
    return value == nullptr || value->time.empty() ? nullptr : &value->time;
}
