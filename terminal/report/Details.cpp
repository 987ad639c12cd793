#include "terminal/report/Details.h"

#include <algorithm>
#include <set>

#include "MeterUtil/Text.h"
#include "terminal/Fields.h"
#include "terminal/Findings.h"
#include "terminal/Report.h"
#include "terminal/report/History.h"
#include "terminal/report/Html.h"

namespace Report {
namespace {

bool IsRead(const RouteValue& value) {
    return MeterText::ContainsAny(value.entry.status, "DCW");
}

// The details of one record while they are put together.
class Details {
public:
    Details(const RouteRecord& record, const Sentences& sentences, Phrases& phrases)
        : m_record(record), m_sentences(sentences), m_phrases(phrases), m_histories(HistoriesOf(record)) {}

    std::string Html() const {
        return Title() + Plots() + m_phrases("<div class=lists>") + Tables() + m_phrases("</div>");
    }

private:
    std::string Title() const;
    std::string Plots() const;
    std::string Tables() const;
    std::string Rows(int kind) const;
    std::string Row(const RouteValue& value) const;
    bool NeedsRow(const RouteValue& value) const;

    const RouteRecord& m_record;
    const Sentences& m_sentences;
    Phrases& m_phrases;
    const std::vector<History> m_histories;
};

std::string Details::Title() const {
    if (m_record.place.appendix == 0)
        return "";
    const std::string number = std::to_string(m_record.place.appendix);
    const std::string& name = m_record.Shown("#" + number);
    return "<h3>Appendix " + number + (name.empty() ? "" : ": " + Escaped(name)) + "</h3>";
}

std::string Details::Plots() const {
    if (m_histories.empty())
        return "";
    std::string html = m_phrases("<div class=plots>");
    for (const History& history : m_histories)
        html += Drawing(history, m_phrases);
    return html + m_phrases("</div>");
}

std::string Details::Tables() const {
    constexpr struct {
        int kind;
        const char* title;
    } kLists[] = {{Fields::kValues, "Values"}, {Fields::kExtra, "Extra"}, {Fields::kStatistic, "Statistic"}};
    const std::string heading = m_record.place.appendix == 0 ? "h3>" : "h4>";  // below that of the appendix
    std::string html;
    for (const auto& list : kLists)
        if (const std::string rows = Rows(list.kind); !rows.empty()) {
            std::string start("<section><");
            start.append(heading).append(list.title).append("</").append(heading).append("<table>");
            html += m_phrases(start) + rows + m_phrases("</table></section>");
        }
    return html;
}

std::string Details::Rows(int kind) const {
    std::string rows;
    for (const RouteValue& value : m_record.values)
        if (value.kind == kind && NeedsRow(value))
            rows += Row(value);
    return rows;
}

// A history that is drawn needs no lines, nor does one that nobody has read yet.
bool Details::NeedsRow(const RouteValue& value) const {
    const auto [name, back] = SplitName(value.entry.name);
    if (back == 0)
        return true;
    return IsRead(value) && std::none_of(m_histories.begin(), m_histories.end(),
                                         [&name = name](const History& drawn) { return drawn.name == name; });
}

std::string Details::Row(const RouteValue& value) const {
    const std::string mark = MarkClass(value.shown.mark);
    const bool stands = mark == "bad" || mark == "doubt";
    std::string html = m_phrases((stands ? "<tr class=" + mark + "><th>" : "<tr><th>") +
                                 Escaped(value.shown.label) + Span("name", value.entry.name) + "<td>");
    html += Escaped(value.shown.value) + Span("text", value.entry.text) +
            Span("why", SentenceOf(m_sentences, value.entry.name));
    for (const std::string& alarm : AlarmsIn(m_record, value))
        html += Span("alarm", "alarm " + alarm);
    return html + m_phrases("<td class=mark>" + Escaped(value.shown.mark));
}

}  // namespace

std::string SentenceOf(const Sentences& sentences, const std::string& name) {
    const auto found = sentences.find(name);
    return found == sentences.end() ? std::string() : found->second;
}

std::string Span(const char* name, const std::string& text) {
    return text.empty() ? "" : std::string("<span class=") + name + ">" + Escaped(text) + "</span>";
}

std::string MarkClass(const std::string& mark) {
    if (mark.empty())
        return "";
    return mark == "ok." ? "good" : mark == "?" ? "doubt" : "bad";
}

bool IsVisited(const RouteRecord& record) {
    return std::any_of(record.values.begin(), record.values.end(), [](const RouteValue& value) {
        return MeterText::Contains(value.entry.attributes, 'R') && IsRead(value);
    });
}

// A record that nothing was read into raises no alarms yet.
std::vector<std::string> AlarmsIn(const RouteRecord& record, const RouteValue& value) {
    const bool isRead = MeterText::Contains(value.entry.attributes, 'R') && IsVisited(record);
    return isRead ? AlarmsOf(value.entry) : std::vector<std::string>();
}

std::string DetailsOf(const RouteRecord& record, const Sentences& sentences, Phrases& phrases) {
    return Details(record, sentences, phrases).Html();
}

}  // namespace Report
