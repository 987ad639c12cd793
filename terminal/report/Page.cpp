#include "terminal/report/Page.h"

#include <algorithm>

#include "MeterUtil/Text.h"
#include "terminal/Embedded.h"
#include "terminal/Report.h"
#include "terminal/report/Html.h"

namespace Report {
namespace {

std::string_view File(std::string_view name) {
    for (const EmbeddedFile& file : ReportFiles())
        if (file.name == name)
            return file.bytes;
    return {};
}

// The class of a state by its letters, in the order in which they count.
std::string StateClass(const std::string& letters) {
    constexpr struct {
        const char* letters;
        const char* name;
    } kClasses[] = {{"NE", "new"}, {"M", "work"}, {"UA", "todo"}, {"H", "done"},
                    {"C", "left"}, {"R", "only"}, {"I", "info"}};
    for (const auto& known : kClasses)
        if (MeterText::ContainsAny(letters, known.letters))
            return known.name;
    return "none";
}

bool IsDeviating(const RouteValue& value) {
    return MeterText::Contains(value.entry.attributes, 'R') &&
           MeterText::ContainsAny(value.entry.status, "CW");
}

// What tells a person where the meter is.
std::string Whereabouts(const RouteRecord& record) {
    std::string text;
    for (const char* name : {"Customer", "Street", "Town"})
        if (const std::string& part = record.Shown(name); !part.empty())
            text += (text.empty() ? "" : ", ") + part;
    return text;
}

bool IsToDo(const RouteRecord& record) {
    const std::string state = StateClass(record.stateLetters);
    return state == "todo" || state == "new" || state == "work";
}

std::string SummaryLine(const RouteRecord& record) {
    return "<b class=place>" + std::to_string(record.place.meter) + "</b><span class=meter>" +
           Escaped(record.number.empty() ? "-" : record.number) + "</span>" + Span("type", record.type) +
           Span("where", Whereabouts(record)) + Span("action", IsToDo(record) ? record.action : "") +
           "<span class=\"state " + StateClass(record.stateLetters) + "\">" +
           Escaped(record.state.empty() ? "no state" : record.state) + "</span>";
}

std::string Percent(std::size_t part, std::size_t all) {
    return std::to_string(all == 0 ? 0 : part * 100 / all);
}

std::string Quiet(const std::string& words) {
    return "<p class=quiet>" + words + "</p>";
}

std::string Card(const char* name, std::size_t number, const std::string& words) {
    return std::string("<div class=\"card ") + name + "\"><b>" + std::to_string(number) + "</b><span>" +
           words + "</span></div>";
}

}  // namespace

void Page::Add(const RouteRecord& record, const Sentences& findings) {
    if (record.place.appendix == 0) {
        Meter meter;
        meter.place = record.place.meter;
        meter.summary = SummaryLine(record);
        meter.stateClass = StateClass(record.stateLetters);
        meter.state = record.state.empty() ? "no state" : record.state;
        meter.action = record.action;
        meter.isToDo = IsToDo(record);
        m_meters.push_back(std::move(meter));
    }
    if (m_meters.empty())
        return;
    Meter& meter = m_meters.back();
    m_isVisited = m_isVisited || IsVisited(record);
    meter.details += DetailsOf(record, findings, m_phrases);
    for (const RouteValue& value : record.values) {
        const std::vector<std::string> alarms = AlarmsIn(record, value);
        meter.hasAlarm = meter.hasAlarm || !alarms.empty();
        meter.deviates = meter.deviates || IsDeviating(value);
        if (alarms.empty() && !IsDeviating(value))
            continue;
        if (++m_deviating > kMostDeviations)
            continue;
        const std::string finding = SentenceOf(findings, value.entry.name);
        const std::string words = finding.empty() ? (value.entry.value.empty() ? "no value" : "") : finding;
        m_deviations.push_back(
            {record.place.meter,
             "<tr class=" + (alarms.empty() ? MarkClass(value.shown.mark) : std::string("alarm")) +
                 "><td><a href=\"#m" + std::to_string(record.place.meter) + "\">" + ToText(record.place) +
                 "</a>" + Span("meter", record.number) + Span("where", Whereabouts(record)) + "<td>" +
                 Escaped(value.shown.label.empty() ? value.entry.name : value.shown.label) +
                 "<td class=value>" + Escaped(value.shown.value) + "<td>" + Escaped(words) +
                 (alarms.empty() ? "" : " <span class=alarm>alarm</span>")});
    }
}

std::string Page::Top(const Heading& heading) const {
    const auto count = [this](bool Meter::*what) {
        return static_cast<std::size_t>(std::count_if(m_meters.begin(), m_meters.end(),
                                                      [what](const Meter& meter) { return meter.*what; }));
    };
    const auto done = static_cast<std::size_t>(std::count_if(
        m_meters.begin(), m_meters.end(), [](const Meter& meter) { return meter.stateClass == "done"; }));
    return "<header><h1>" + Escaped(heading.title) + "</h1><p>" + Escaped(heading.subtitle) +
           "</p></header><div class=cards>" + Card("all", m_meters.size(), "meters on the route") +
           Card("done", done, "done, " + Percent(done, m_meters.size()) + " %") +
           Card("todo", count(&Meter::isToDo), "still to do") +
           Card("alarm", count(&Meter::hasAlarm), "with an alarm") +
           Card("doubt", count(&Meter::deviates), "with deviating values") + "</div>";
}

std::string Page::Progress() const {
    std::map<std::string, Count> states;
    std::vector<std::string> order;
    for (const Meter& meter : m_meters) {
        Count& count = states[meter.state];
        if (count.meters++ == 0)
            order.push_back(meter.state);
        count.stateClass = meter.stateClass;
    }
    std::stable_sort(order.begin(), order.end(), [&states](const std::string& a, const std::string& b) {
        return states[a].meters > states[b].meters;
    });
    std::string bar;
    std::string legend;
    for (const std::string& state : order) {
        const Count& count = states[state];
        const std::string number = std::to_string(count.meters);
        const std::string itsClass = "<i class=" + count.stateClass;
        bar.append(itsClass).append(" style=\"flex-grow:").append(number).append("\" title=\"");
        bar.append(Escaped(state)).append(": ").append(number).append("\"></i>");
        legend.append("<li>").append(itsClass).append("></i>").append(Escaped(state));
        legend.append(" <b>").append(number).append("</b></li>");
    }
    return "<section><h2>Progress</h2><div class=bar aria-hidden=true>" + bar + "</div><ul class=legend>" +
           legend + "</ul></section>";
}

std::string Page::ToDo() const {
    std::map<std::string, int> actions;
    int most = 0;
    for (const Meter& meter : m_meters)
        if (meter.isToDo)
            most = std::max(most, ++actions[meter.action.empty() ? "-" : meter.action]);
    std::vector<std::pair<std::string, int>> order(actions.begin(), actions.end());
    std::stable_sort(order.begin(), order.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    std::string rows;
    for (const auto& [action, meters] : order)
        rows += "<li><span>" + Escaped(action) +
                "</span><i style=\"width:" + std::to_string(std::max(1, meters * 100 / most)) +
                "%\"></i><b>" + std::to_string(meters) + "</b></li>";
    return "<section><h2>Still to do</h2>" +
           (rows.empty() ? Quiet(m_meters.empty() ? "The route has no meters." : "Nothing is left to do.")
                         : "<ul class=actions>" + rows + "</ul>") +
           "</section>";
}

std::string Page::Deviations() const {
    std::string html = "<section class=wide><h2>Alarms and deviating values</h2>";
    if (m_deviations.empty())
        return html +
               Quiet(m_isVisited ? "None of the values that were read deviates." : "Nothing was read yet.") +
               "</section>";
    html +=
        "<div class=scroll><table "
        "class=deviations><thead><tr><th>Meter<th>Value<th>Read<th>Finding</thead><tbody>";
    for (const Deviation& deviation : m_deviations)
        html += deviation.row;
    html += "</tbody></table></div>";
    if (m_deviating > m_deviations.size())
        html += Quiet("and " + std::to_string(m_deviating - m_deviations.size()) +
                      " more; the list of meters shows them all.");
    return html + "</section>";
}

// Of a long route the details stand in a comment until somebody opens them: a browser passes over it.
std::string Page::Html(const Meter& meter) const {
    const std::string classes = meter.stateClass + (meter.isToDo ? " open" : "") +
                                (meter.hasAlarm ? " hasalarm" : "") + (meter.deviates ? " deviates" : "");
    return "<details id=m" + std::to_string(meter.place) + " class=\"" + classes + "\"><summary>" +
           meter.summary + (meter.hasAlarm ? "<span class=flag>alarm</span>" : "") +
           "</summary><div class=inside>" + (m_isLong ? "<!--" + meter.details + "-->" : meter.details) +
           "</div></details>\n";
}

void Page::Write(const Heading& heading, const std::function<void(std::string_view html)>& write) const {
    write(
        "<!DOCTYPE html>\n<html lang=en>\n<meta charset=utf-8>\n"
        "<meta name=viewport content=\"width=device-width,initial-scale=1\">\n"
        "<meta name=color-scheme content=\"light dark\">\n<title>" +
        Escaped(heading.title) + "</title>\n<style>\n");
    write(File("page.css"));
    write("</style>\n<body><main>\n");
    write(Top(heading));
    write("\n<div class=columns>" + Progress() + ToDo() + "</div>\n");
    write(Deviations());
    write(
        "\n<section class=wide><h2>Meters</h2><div class=tools hidden><input type=search id=search "
        "placeholder=\"Number, name, street ...\" aria-label=\"Search meters\">"
        "<div class=filters role=group aria-label=\"Filter\"><button data-filter=\"\" "
        "aria-pressed=true>all</button>"
        "<button data-filter=open aria-pressed=false>to do</button><button data-filter=done "
        "aria-pressed=false>done</button>"
        "<button data-filter=hasalarm aria-pressed=false>alarms</button><button data-filter=deviates "
        "aria-pressed=false>deviating</button></div>"
        "<span id=shown role=status></span></div>\n<div id=meters>\n");
    for (const Meter& meter : m_meters)
        write(Html(meter));
    write("</div></section>\n</main>\n<script>\nconst phrases = " + m_phrases.List() + ";\n");
    write(File("page.js"));
    write("</script>\n");
}

}  // namespace Report
