#include "terminal/Screen.h"

#include <algorithm>
#include <cctype>
#include <istream>
#include <numeric>
#include <ostream>

#include "MeterUtil/Text.h"
#include "terminal/Json.h"
#include "terminal/Utf8.h"

namespace {

constexpr const char* kProgram = "meterdb: ";
constexpr const char* kGap = "  ";
constexpr int kGapColumns = 2;
constexpr int kReadableColumn = 14;  // a column cut to it still says what it should
constexpr int kSmallestColumn = 8;   // below it a cut text says nothing

const char* Code(Tone tone) {
    switch (tone) {
        case Tone::Faint:
            return "\x1B[2m";
        case Tone::Strong:
            return "\x1B[1m";
        case Tone::Good:
            return "\x1B[32m";
        case Tone::Warning:
            return "\x1B[33m";
        case Tone::Bad:
            return "\x1B[31m";
        case Tone::Plain:
            break;
    }
    return "";
}

// Columns of the widest cell; 0 for a column without any text, which is left out.
int NaturalWidth(const Table& table, std::size_t column) {
    int widest = 0;
    for (const std::vector<Cell>& row : table.rows)
        widest = std::max(widest, Utf8::Width(row[column].text));
    return widest == 0 ? 0 : std::max(widest, Utf8::Width(table.columns[column].title));
}

int LineWidth(const std::vector<int>& widths) {
    const auto used =
        static_cast<int>(std::count_if(widths.begin(), widths.end(), [](int w) { return w > 0; }));
    return std::accumulate(widths.begin(), widths.end(), used * kGapColumns);
}

// What the columns need when those that shrink are cut to a width.
int WidthCutTo(int width, const Table& table, std::vector<int> widths) {
    for (std::size_t i = 0; i < widths.size(); ++i)
        if (table.columns[i].shrinks)
            widths[i] = std::min(widths[i], width);
    return LineWidth(widths);
}

// Leaves out the most dispensable column that is there; false when there is none.
bool LeaveOutColumn(const Table& table, std::vector<int>* widths) {
    std::size_t least = widths->size();
    for (std::size_t i = 0; i < widths->size(); ++i) {
        const int rank = (*widths)[i] == 0 ? 0 : table.columns[i].dispensable;
        if (rank > (least == widths->size() ? 0 : table.columns[least].dispensable))
            least = i;
    }
    if (least == widths->size())
        return false;
    (*widths)[least] = 0;
    return true;
}

// The widest column that may still shrink; null when there is none.
int* WidestToShrink(const Table& table, std::vector<int>* widths) {
    int* widest = nullptr;
    for (std::size_t i = 0; i < widths->size(); ++i) {
        int& width = (*widths)[i];
        if (table.columns[i].shrinks && width > kSmallestColumn && (widest == nullptr || width > *widest))
            widest = &width;
    }
    return widest;
}

// ---- objects

std::string KeyOf(const Column& column) {
    std::string key = column.key.empty() ? column.title : column.key;
    if (column.key.empty())
        std::transform(key.begin(), key.end(), key.begin(), MeterText::ToLower);
    return key;
}

// A number where the column has numbers; nothing for a dash, which stands for that.
Json ValueOf(const Column& column, const std::string& text) {
    constexpr std::size_t kMostDigits = 15;
    const bool isNumber = column.right && !text.empty() && text.size() <= kMostDigits &&
                          text.find_first_not_of("0123456789") == std::string::npos;
    if (isNumber && (text.front() != '0' || text.size() == 1))
        return MeterText::ToInt64(text);
    return text == "-" ? Json(nullptr) : Json(text);
}

}  // namespace

void Screen::Object(const std::string& json) {
    m_out << (m_hasObjects ? ",\n" : "[\n") << json;
    m_hasObjects = true;
}

void Screen::End(bool isDone) {
    if (m_isJson && (m_hasObjects || isDone))
        m_out << (m_hasObjects ? "\n]\n" : "[]\n");
}

void Screen::PrintObjects(const Table& table) {
    for (const std::vector<Cell>& row : table.rows) {
        Json object;
        if (!table.list.empty())
            object["list"] = table.list;
        for (std::size_t i = 0; i < row.size(); ++i)
            object[KeyOf(table.columns[i])] = ValueOf(table.columns[i], row[i].text);
        Object(JsonLine(object));
    }
}

std::string Screen::Toned(const std::string& text, Tone tone) const {
    if (!m_style.colours || tone == Tone::Plain || text.empty())
        return text;
    return Code(tone) + text + "\x1B[0m";
}

void Screen::Line(const std::vector<Cell>& cells) {
    if (m_isJson)
        return;
    for (const Cell& cell : cells)
        m_out << Toned(cell.text, cell.tone);
    m_out << '\n';
}

void Screen::Heading(const std::string& text) {
    Line({Cell(text, Tone::Strong)});
}

void Screen::Problem(const std::string& text) {
    m_errors << Toned(kProgram, Tone::Bad) << text << '\n';
}

void Screen::Warning(const std::string& text) {
    m_errors << Toned(kProgram, Tone::Warning) << text << '\n';
}

bool Screen::Agrees(const std::string& question) {
    if (m_style.answers == nullptr)
        return true;
    m_errors << question << " [y/N] " << std::flush;
    std::string answer;
    if (!std::getline(*m_style.answers, answer))
        m_errors << '\n';
    return MeterText::EqualIgnoringCase(answer, "y") || MeterText::EqualIgnoringCase(answer, "yes");
}

void Screen::Raw(const std::string& text, bool isError) {
    (isError ? m_errors : m_out) << text;
}

std::vector<int> Screen::Widths(const Table& table) const {
    std::vector<int> widths;
    for (std::size_t i = 0; i < table.columns.size(); ++i)
        widths.push_back(NaturalWidth(table, i));
    if (m_style.columns == 0)
        return widths;
    while (WidthCutTo(kReadableColumn, table, widths) > m_style.columns && LeaveOutColumn(table, &widths)) {
    }
    const bool isTooWide = WidthCutTo(kSmallestColumn, table, widths) > m_style.columns;
    for (std::size_t i = 0; i < widths.size(); ++i)
        if (isTooWide && table.columns[i].dispensable < 0)
            widths[i] = 0;
    for (int over = LineWidth(widths) - m_style.columns; over > 0; --over)
        if (int* widest = WidestToShrink(table, &widths))
            --*widest;
    return widths;
}

std::string Screen::Row(const std::vector<Cell>& cells, const Table& table,
                        const std::vector<int>& widths) const {
    std::string line;
    std::string blanks;  // between the last text and the next
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (widths[i] == 0)
            continue;
        const std::string text = Utf8::Cut(cells[i].text, widths[i]);
        const std::string fill(static_cast<std::size_t>(widths[i] - Utf8::Width(text)), ' ');
        blanks += kGap + (table.columns[i].right ? fill : std::string());
        if (!text.empty()) {
            line += blanks + Toned(text, cells[i].tone);
            blanks.clear();
        }
        blanks += table.columns[i].right ? std::string() : fill;
    }
    return line;
}

void Screen::Print(const Table& table) {
    if (m_isJson) {
        PrintObjects(table);
        return;
    }
    const std::vector<int> widths = Widths(table);
    std::vector<Cell> titles;
    std::vector<Cell> rules;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        titles.emplace_back(table.columns[i].title, Tone::Strong);
        rules.emplace_back(std::string(static_cast<std::size_t>(widths[i]), '-'), Tone::Faint);
    }
    m_out << Row(titles, table, widths) << '\n' << Row(rules, table, widths) << '\n';
    for (const std::vector<Cell>& row : table.rows)
        m_out << Row(row, table, widths) << '\n';
}
