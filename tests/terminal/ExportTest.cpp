// The route for other programs and for a browser.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "terminal/Fields.h"
#include "terminal/report/History.h"
#include "terminal/report/Html.h"
#include "terminal/report/Page.h"
#include "tests/support/Host.h"
#include "tests/terminal/MeterdbFixture.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

int CountOf(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

RouteValue ValueOf(const std::string& name, const std::string& definition, const std::string& value,
                   const std::string& status = "DR") {
    RouteValue made;
    made.entry = {name, "R", status, definition, value, ""};
    made.shown = {"", value, ""};
    return made;
}

// How much light a colour of the page gives, 0 to 1, by its name and where the scheme begins (WCAG 2).
double LightOf(const std::string& page, std::size_t scheme, const std::string& name) {
    const std::string start = "--" + name + ": #";
    const std::size_t at = page.find(start, scheme);
    if (at == std::string::npos)
        return -1;
    const auto part = [&](std::size_t index) {
        const double value = std::stoi(page.substr(at + start.size() + 2 * index, 2), nullptr, 16) / 255.0;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * part(0) + 0.7152 * part(1) + 0.0722 * part(2);
}

// A page with its phrases in the place of the characters that stand for them.
std::string SpelledOut(const std::string& page) {
    const std::string start = "const phrases = ";
    const std::size_t list = page.find(start) + start.size();
    const json phrases = json::parse(page.substr(list, page.find(";\n", list) - list));
    std::map<std::string, std::string> spellings;
    for (unsigned i = 0; i < phrases.size(); ++i)
        spellings[Report::PrivateCharacter(i)] = phrases[i];
    std::string spelled;
    for (std::size_t i = 0; i < page.size();) {
        const auto spelling = spellings.find(page.substr(i, 3));
        spelled += spelling == spellings.end() ? page.substr(i, 1) : spelling->second;
        i += spelling == spellings.end() ? 1 : 3;
    }
    return spelled;
}

}  // namespace

// ---- CSV and JSON Lines

TEST_F(Meterdb, ExportWritesARowForEachValue) {
    m_folder.Write("route.ini",
                   "[General]\nMeters=1\n[#_1]\nState=U\nMeterType=,D,,Gas,\"\"\nPlace=,D,,\"Yard, "
                   "left\",\"say \"hi\"\"\n"
                   "3.0.0=R,DR,\"8.2 m3,C10;20\",0012.40,\"\"\n[#1_1]\n0.0.0=R,U,16,4711,\"\"\n");
    EXPECT_EQ(Run({"export"}), kDone);
    EXPECT_EQ(
        m_out,
        "record,meter,type,state,action,name,label,value,unit,shown,mark,attributes,status,definition,"
        "text\r\n"
        "1,,Gas,unhandled,read out,MeterType,,Gas,,Gas,ok.,,D,,\r\n"
        "1,,Gas,unhandled,read out,Place,Meter place,\"Yard, left\",,\"Yard, left\",ok.,,D,,\"say "
        "\"\"hi\"\"\"\r\n"
        "1,,Gas,unhandled,read out,3.0.0,Gas volume,0012.40,m3,0012.40 m3,ok.,R,DR,\"8.2 m3,C10;20\",\r\n"
        "1/1,4711,Gas,unhandled,read out,0.0.0,,4711,,4711,,R,U,16,\r\n");
}

TEST_F(Meterdb, ExportWritesAnObjectForEachRecord) {
    EXPECT_EQ(Run({"export", "--jsonl"}), kDone);
    std::istringstream lines(m_out);
    std::vector<json> records;
    for (std::string line; std::getline(lines, line);)
        records.push_back(json::parse(line));
    ASSERT_EQ(records.size(), 5U);
    EXPECT_EQ(records[0]["record"], "1");
    EXPECT_EQ(records[0]["meter"], "30052217");
    EXPECT_EQ(records[0]["state"], "unhandled");
    EXPECT_EQ(records[0]["stateLetters"], "U");
    const json place = {{"name", "Place"},       {"label", "Meter place"}, {"value", "Yard, left"},
                        {"shown", "Yard, left"}, {"mark", "ok."},          {"status", "D"}};
    EXPECT_EQ(records[0]["values"][2], place);
    EXPECT_EQ(records[2]["record"], "2/1");
}

TEST_F(Meterdb, ExportOfAnEmptyRouteHasNoRows) {
    m_folder.Write("route.ini", "[General]\nMeters=0\n");
    EXPECT_EQ(Run({"export"}), kDone);
    EXPECT_EQ(CountOf(m_out, "\r\n"), 1);
    EXPECT_EQ(Run({"export", "--jsonl"}), kDone);
    EXPECT_EQ(m_out, "");
}

TEST_F(Meterdb, ExportOfTextInTheCodePageIsUtf8) {
    m_folder.Write("route.ini", "[General]\nMeters=1\n[#_1]\nState=U\nCustomer=,D,,K\xFChn \x80,\"\"\n");
    EXPECT_EQ(Run({"export"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("K\u00FChn \u20AC"));
    EXPECT_EQ(Run({"export", "--jsonl"}), kDone);
    EXPECT_EQ(json::parse(m_out)["values"][0]["value"], "K\u00FChn \u20AC");
}

TEST_F(Meterdb, ExportGoesIntoAFile) {
    ASSERT_EQ(Run({"export"}), kDone);
    const std::string shown = m_out;
    EXPECT_EQ(Run({"export", "--output", File("out/route.csv")}), kDone);
    EXPECT_EQ(m_folder.Read("out/route.csv"), shown);
    EXPECT_EQ(m_out, "Wrote 5 records to " + File("out/route.csv") + "\n");
    EXPECT_FALSE(m_folder.Exists("out/route.csv.part"));
}

TEST_F(Meterdb, OutputThatCannotBeWrittenLeavesNothing) {
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"export", "--output"}, std::vector<std::string>{"report"}}) {
        std::vector<std::string> arguments = command;
        arguments.push_back(File("."));
        EXPECT_EQ(Run(arguments), kFileFailed);
        EXPECT_THAT(m_errors, HasSubstr("cannot be written"));
        arguments.back() = File("app.ini/x");
        EXPECT_EQ(Run(arguments), kFileFailed);
    }
    EXPECT_THAT(m_folder.Names(), testing::Each(Not(HasSubstr(".part"))));
}

// ---- where the output goes

namespace {

// The commands that write a file, each without its name.
const std::vector<std::vector<std::string>> kWriters = {{"export", "--output"}, {"report"}};

std::vector<std::string> WithFile(std::vector<std::string> command, const std::string& file) {
    command.push_back(file);
    return command;
}

}  // namespace

TEST_F(Meterdb, OutputNeverTakesThePlaceOfTheInstallation) {
    m_folder.Write("metertypes.ini", "[Gas]\nFunctions=1\n");
    m_folder.Write("raw.dat", "\r\n<<<<<~~~~~(a)~~~~~>>>>>\r\nx");
    for (const std::vector<std::string>& command : kWriters) {
        for (const char* name : {"meterdb.ini", "metertypes.ini", "route.ini", "app.ini", "raw.dat"}) {
            const std::string before = m_folder.Read(name);
            ExpectRefusal(kRefused, WithFile(command, File(name)),
                          File(name) + " belongs to the installation. Nothing was changed.");
            EXPECT_EQ(m_folder.Read(name), before);
        }
    }
}

TEST_F(Meterdb, OutputLeavesALinkALink) {
    if (!Host::MakeLink("page.html", m_folder.Path() / "link"))
        GTEST_SKIP() << "no links here";
    for (const std::vector<std::string>& command : kWriters) {
        for (const char* before : {"", "old"}) {
            fs::remove(m_folder.Path() / "page.html");
            if (*before != '\0')
                m_folder.Write("page.html", before);
            EXPECT_EQ(Run(WithFile(command, File("link"))), kDone) << m_errors;
            EXPECT_TRUE(Host::IsLink(m_folder.Path() / "link"));
            EXPECT_THAT(m_folder.Read("page.html"), HasSubstr("30052217"));
        }
    }
}

TEST_F(Meterdb, OutputGoesIntoAPipe) {
    const fs::path path = m_folder.Path() / "pipe";
    if (!Host::MakePipe(path))
        GTEST_SKIP() << "no pipes here";
    const auto close = [](std::FILE* file) { std::fclose(file); };
    const std::unique_ptr<std::FILE, decltype(close)> pipe(std::fopen(path.string().c_str(), "r+b"), close);
    EXPECT_EQ(Run({"report", File("pipe")}), kDone) << m_errors;
    ASSERT_TRUE(fs::is_fifo(path));
    std::string start(15, ' ');
    ASSERT_EQ(std::fread(start.data(), 1, start.size(), pipe.get()), start.size());
    EXPECT_EQ(start, "<!DOCTYPE html>");
}

TEST_F(Meterdb, OutputKeepsThePermissionsOfItsFile) {
    const fs::path path = m_folder.Path() / "page.html";
    for (const std::vector<std::string>& command : kWriters) {
        m_folder.Write("page.html", "old");
        fs::permissions(path, fs::perms::owner_read);
        EXPECT_EQ(Run(WithFile(command, File("page.html"))), kFileFailed);
        EXPECT_EQ(m_folder.Read("page.html"), "old");
        const fs::perms own = fs::perms::owner_read | fs::perms::owner_write;
        fs::permissions(path, own);
        const fs::perms before = fs::status(path).permissions();
        EXPECT_EQ(Run(WithFile(command, File("page.html"))), kDone);
        EXPECT_EQ(fs::status(path).permissions(), before);
    }
}

TEST_F(Meterdb, OutputTouchesNoOtherFile) {
    m_folder.Write("page.html.part", "of somebody else");
    EXPECT_EQ(Run({"report", File("page.html")}), kDone);
    EXPECT_EQ(m_folder.Read("page.html.part"), "of somebody else");
    EXPECT_FALSE(m_folder.Exists("page.html.part.part"));
}

// ---- the report

namespace {

class MeterdbReport : public Meterdb {
protected:
    // The report of the route, as it was written.
    std::string ReportPage() {
        EXPECT_EQ(Run({"report", File("route.html")}), kDone) << m_errors;
        return m_folder.Read("route.html");
    }
};

}  // namespace

TEST_F(MeterdbReport, NeedsNothingBesideItself) {
    EXPECT_EQ(Run({"report", File("route.html")}), kDone);
    EXPECT_EQ(m_out, "Wrote " + File("route.html") + ": 4 meters\n");
    const std::string page = m_folder.Read("route.html");
    EXPECT_THAT(page, HasSubstr("<h1>Route 7</h1><p>4 meters, client 1</p>"));
    for (const char* outside : {"http:", "https:", "src=", "url(", "@import", "<link", "fetch("})
        EXPECT_THAT(page, Not(HasSubstr(outside)));
    for (const char* needed :
         {"prefers-color-scheme: dark", "@media print", "max-width: 46rem", "name=viewport"})
        EXPECT_THAT(page, HasSubstr(needed));
}

TEST_F(MeterdbReport, CountsStatesAndActions) {
    const std::string page = ReportPage();
    EXPECT_THAT(page, HasSubstr("<b>4</b><span>meters on the route</span>"));
    EXPECT_THAT(page, HasSubstr("<b>1</b><span>done, 25 %</span>"));
    EXPECT_THAT(page, HasSubstr("<b>2</b><span>still to do</span>"));
    EXPECT_THAT(page, HasSubstr("<i class=todo></i>unhandled <b>2</b>"));
    EXPECT_THAT(page, HasSubstr("<i class=info></i>info record <b>1</b>"));
    EXPECT_THAT(page, HasSubstr("<span>read out</span><i style=\"width:100%\"></i><b>2</b>"));
    EXPECT_THAT(page, HasSubstr("None of the values that were read deviates."));
    EXPECT_EQ(CountOf(page, "<details "), 4);
    EXPECT_THAT(page, HasSubstr("<h3>Appendix 1</h3>"));
}

TEST_F(MeterdbReport, ListsAlarmsAndDeviatingValues) {
    ASSERT_EQ(Run({"read", "1", File("alarm.txt")}), kDone);
    const std::string page = ReportPage();
    EXPECT_THAT(
        page,
        HasSubstr("<td>Gas volume<td class=value>0021.40 m3<td>above 20 <span class=alarm>alarm</span>"));
    EXPECT_THAT(page, HasSubstr("<td>97.97.0<td class=value>0100<td>should be 0000"));
    EXPECT_THAT(page, HasSubstr("<td>9.9.9<td class=value><td>no value <span class=alarm>alarm</span>"));
    EXPECT_THAT(page, HasSubstr("<b>1</b><span>with an alarm</span>"));
    EXPECT_THAT(page, HasSubstr("class=\"done hasalarm deviates\""));
    EXPECT_EQ(CountOf(page, "<span class=flag>alarm</span></summary>"), 1);
}

TEST_F(MeterdbReport, ListsSoManyDeviatingValues) {
    for (const auto& [deviating, more] : {std::pair(200, 0), std::pair(202, 1)}) {
        std::string route = "[General]\nMeters=1\n[#_1]\nState=H\n";
        for (int i = 0; i < deviating; ++i)
            route += "X" + std::to_string(i) + "=R,CR,\"8,C1;2\",9,\"\"\n";
        m_folder.Write("route.ini", route);
        const std::string page = ReportPage();
        EXPECT_EQ(CountOf(page, "<td class=value>"), 200);
        EXPECT_EQ(CountOf(page, ">and 2 more; the list of meters shows them all.<"), more);
    }
}

TEST_F(MeterdbReport, PutsFirstWhatThereIsMostOf) {
    m_folder.Write(
        "route.ini",
        "[General]\nMeters=6\n[#_1]\nState=H\n[#_2]\nState=U\nAction=,D,,Change,\"\"\n[#_3]\nState=U\n"
        "[#_4]\nState=U\n[#_5]\nState=M\n[#_6]\nState=N\n");
    const std::string page = ReportPage();
    EXPECT_THAT(page, HasSubstr("<ul class=legend><li><i class=todo></i>unhandled <b>3</b>"));
    EXPECT_THAT(page,
                HasSubstr("<ul class=actions><li><span>read out</span><i style=\"width:100%\"></i><b>4</b>"));
    EXPECT_THAT(page, HasSubstr("<i style=\"width:25%\"></i><b>1</b></li></ul>"));
    EXPECT_THAT(page, HasSubstr("<b>5</b><span>still to do</span>"));
}

TEST_F(MeterdbReport, TellsWhereMetersAreAndWhenTheRouteChanged) {
    m_folder.Write("meterdb.ini",
                   "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=route.ini\n"
                   "[Extra]\nCustomer=Customer\nStreet=Street\nTown=Town\n");
    m_folder.Write("route.ini",
                   "[General]\nMeters=3\n[#_1]\nState=H\nLastChanges=A,D,,20260301101500,\"\"\n"
                   "[#_2]\nState=H\nCustomer=,D,,Mill,\"\"\nStreet=,D,,Lane 4,\"\"\nTown=,D,,Weir,\"\"\n"
                   "LastChanges=A,D,,20260302101500,\"\"\n[#_3]\nState=H\nTown=,D,,Weir,\"\"\n"
                   "LastChanges=A,D,,20260228101500,\"\"\n");
    const std::string page = ReportPage();
    EXPECT_THAT(page, HasSubstr("<p>3 meters, client 1, last changed 2026-03-02 10:15:00</p>"));
    EXPECT_THAT(page, HasSubstr("<span class=where>Mill, Lane 4, Weir</span>"));
    EXPECT_THAT(page, HasSubstr("<span class=where>Weir</span>"));
}

TEST_F(MeterdbReport, SaysWhatIsNotThereYet) {
    m_folder.Write("route.ini", "[General]\nMeters=1\n[#_1]\nState=U\n1.8.0=R,U,8,,\"\"\n");
    EXPECT_THAT(ReportPage(), HasSubstr("Nothing was read yet."));
    m_folder.Write("route.ini", "[General]\nMeters=1\n[#_1]\nState=C\n");
    EXPECT_THAT(ReportPage(), HasSubstr("Nothing is left to do."));
    m_folder.Write("route.ini", "[General]\nMeters=0\n");
    EXPECT_THAT(ReportPage(), HasSubstr("The route has no meters."));
}

TEST_F(MeterdbReport, ShowsTextsOfFilesAsTexts) {
    m_folder.Write("route.ini",
                   "[General]\nMeters=1\nDBInfo=<script>alert(1)</script>\n[#_1]\nState=U\n"
                   "Customer=,D,,<img onerror=x>\"&--><b>,\"-->\"\n");
    const std::string page = ReportPage();
    EXPECT_THAT(page, HasSubstr("<h1>&lt;script&gt;alert(1)&lt;/script&gt;</h1>"));
    EXPECT_THAT(page, HasSubstr("&lt;img onerror=x&gt;"));
    EXPECT_THAT(page, Not(HasSubstr("<img")));
    EXPECT_THAT(page, Not(HasSubstr("-->")));
}

TEST_F(MeterdbReport, HasHeadingsOfOneLevelAfterTheOther) {
    m_folder.Write("route.ini",
                   "[General]\nMeters=1\n[#_1]\nState=U\n1.8.0=R,D,8,1,\"\"\nCustomer=,D,,Mill,\"\"\n"
                   "[#1_1]\n1.8.0=R,D,8,1,\"\"\n");
    const std::string page = ReportPage();
    std::string levels;
    for (std::size_t at = page.find("<h"); at != std::string::npos; at = page.find("<h", at + 1))
        if (page[at + 2] >= '1' && page[at + 2] <= '6')
            levels += page[at + 2];
    EXPECT_EQ(levels, "122223334");
}

TEST_F(MeterdbReport, SaysWithoutColoursWhichFilterIsOn) {
    const std::string page = ReportPage();
    EXPECT_EQ(CountOf(page, " aria-pressed=true>all<"), 1);
    EXPECT_EQ(CountOf(page, " aria-pressed=false>"), 4);
    EXPECT_THAT(page, HasSubstr("<span id=shown role=status>"));
}

TEST_F(MeterdbReport, WritesInColoursThatCanBeRead) {
    const std::string page = ReportPage();
    const std::size_t dark = page.find("prefers-color-scheme: dark");
    ASSERT_NE(dark, std::string::npos);
    for (const std::size_t scheme : {std::size_t{0}, dark}) {
        const auto light = [&](const std::string& name) { return LightOf(page, scheme, name); };
        for (const auto& [ink, papers] : std::vector<std::pair<std::string, std::vector<std::string>>>{
                 {"ink", {"page", "card", "soft", "bad-soft", "doubt-soft"}},
                 {"quiet", {"page", "card", "soft", "bad-soft", "doubt-soft"}},
                 {"good-text", {"card"}},
                 {"doubt-text", {"doubt-soft"}},
                 {"bad", {"card", "bad-soft", "doubt-soft"}},
                 {"accent", {"card"}}})
            for (const std::string& paper : papers) {
                const auto [less, more] = std::minmax({light(ink), light(paper)});
                EXPECT_GE((more + 0.05) / (less + 0.05), 4.5) << ink << " on " << paper;
            }
    }
}

TEST_F(MeterdbReport, OfALongRouteKeepsDetailsForLater) {
    std::ostringstream out;
    Screen screen(out, out, {});
    for (const auto& [folder, meters, later] :
         {std::tuple("town", "301", 301), std::tuple("village", "300", 0)}) {
        ASSERT_EQ(RunTerminal({"simulate", File(folder), "--meters", meters}, screen), kDone);
        ASSERT_EQ(RunTerminal({"--dir", File(folder), "report", File("page.html")}, screen), kDone);
        const std::string page = m_folder.Read("page.html");
        EXPECT_EQ(CountOf(page, "<div class=inside><!--"), later);
        EXPECT_EQ(CountOf(page, "<!--"), later);
        EXPECT_EQ(CountOf(page, "const phrases = [];"), later == 0 ? 1 : 0);
        EXPECT_GT(CountOf(SpelledOut(page), "<figure>"), 150);
    }
}

TEST_F(MeterdbReport, ShortensNoTextOfARoute) {
    Report::Phrases phrases(true);
    Report::Phrases none(false);
    RouteRecord record;
    record.values = {ValueOf("1.8.0", "8.1 kWh", "1"), ValueOf("Note", "", "a \uE000, \uF8FF")};
    for (RouteValue& value : record.values)
        value.kind = Fields::kValues;
    const std::string details = Report::DetailsOf(record, {}, none);
    EXPECT_THAT(details, HasSubstr("<td>a &#57344;, &#63743;"));
    const std::string shortened = Report::DetailsOf(record, {}, phrases);
    EXPECT_LT(shortened.size(), details.size() / 3);
    EXPECT_EQ(SpelledOut("const phrases = " + phrases.List() + ";\n" + shortened),
              "const phrases = " + phrases.List() + ";\n" + details);
}

// ---- histories

TEST(ReportHistory, RegisterThatCountsOnShowsWhatWasCounted) {
    RouteRecord record;
    record.values = {ValueOf("1.8.0", "8.1 kWh", "000130.5"), ValueOf("1.8.0*01", "8.1 kWh", "000120.0"),
                     ValueOf("1.8.0*02", "8.1 kWh", "000100.0"), ValueOf("1.8.0*03", "8.1 kWh", "000095.0")};
    const std::vector<Report::History> histories = Report::HistoriesOf(record);
    ASSERT_EQ(histories.size(), 1U);
    EXPECT_EQ(histories[0].unit, "kWh");
    EXPECT_EQ(histories[0].decimals, 1);
    ASSERT_EQ(histories[0].bars.size(), 3U);
    EXPECT_EQ(histories[0].bars[0].periodsBack, 2);
    EXPECT_NEAR(histories[0].bars[0].use, 5, 1e-9);
    EXPECT_NEAR(histories[0].bars[1].use, 20, 1e-9);
    EXPECT_EQ(histories[0].bars[2].periodsBack, 0);
    EXPECT_NEAR(histories[0].bars[2].use, 10.5, 1e-9);
    Report::Phrases phrases(false);
    const std::string drawing = Report::Drawing(histories[0], phrases);
    EXPECT_EQ(CountOf(drawing, "<rect "), 3);
    EXPECT_THAT(drawing, HasSubstr("<title>last period: 20.0 kWh</title>"));
    EXPECT_THAT(drawing, HasSubstr(" class=now y="));
    EXPECT_THAT(drawing, HasSubstr("<title>this period so far: 10.5 kWh</title>"));
}

TEST(ReportHistory, DemandIsTheHighestOfEachPeriod) {
    RouteRecord record;
    record.values = {ValueOf("1.6.0*01", "6.3 kW", "03.030"), ValueOf("1.6.0*02", "6.3 kW", "03.076"),
                     ValueOf("1.6.0*03", "6.3 kW", "02.639")};
    const std::vector<Report::History> histories = Report::HistoriesOf(record);
    ASSERT_EQ(histories.size(), 1U);
    EXPECT_NEAR(histories[0].bars[0].use, 2.639, 1e-9);
    EXPECT_NEAR(histories[0].bars[2].use, 3.030, 1e-9);
}

TEST(ReportHistory, WhatIsNoReadingHasNoBar) {
    RouteRecord record;
    record.values = {ValueOf("6.8*01", "", "9"),      ValueOf("6.8*02", "", "7"), ValueOf("6.8*03", "", "8"),
                     ValueOf("6.8*04", "", "6"),      ValueOf("6.8*05", "", "5"), ValueOf("6.8*06", "", "4"),
                     ValueOf("6.8*07", "", "3", "U"), ValueOf("6.8*08", "", "x"), ValueOf("6.8*x", "", "1")};
    const std::vector<Report::History> histories = Report::HistoriesOf(record);
    ASSERT_EQ(histories.size(), 1U);
    std::vector<int> periods;
    for (const Report::Bar& bar : histories[0].bars)
        periods.push_back(bar.periodsBack);
    EXPECT_EQ(periods, (std::vector<int>{5, 4, 3, 1}));
}

TEST(ReportHistory, NumbersThatCannotBeDrawnHaveNoBar) {
    for (const std::string& number :
         {std::string(255, '9'), "0." + std::string(16, '1'), std::string("01.04.25"), std::string("-5"),
          std::string("."), std::string("1e3")}) {
        RouteRecord record;
        record.values = {ValueOf("6.8*01", "8 kWh", number), ValueOf("6.8*02", "8 kWh", number),
                         ValueOf("6.8*03", "8 kWh", number), ValueOf("6.8*04", "8 kWh", number)};
        EXPECT_TRUE(Report::HistoriesOf(record).empty()) << number;
    }
}

TEST(ReportHistory, LongestNumbersAreDrawnAsTheyAre) {
    RouteRecord record;
    record.values = {ValueOf("1.6.0", "15 kW", "0.12345678901234"),
                     ValueOf("1.6.0*01", "15 kW", "999999999999999"), ValueOf("1.6.0*02", "15 kW", "1.5"),
                     ValueOf("1.6.0*03", "15 kW", "000000000000000003")};
    const std::vector<Report::History> histories = Report::HistoriesOf(record);
    ASSERT_EQ(histories.size(), 1U);
    Report::Phrases phrases(false);
    const std::string drawing = Report::Drawing(histories[0], phrases);
    EXPECT_THAT(drawing, HasSubstr("<title>3 periods back: 3.00000000000000 kW<"));
    EXPECT_THAT(drawing, HasSubstr("<title>2 periods back: 1.50000000000000 kW<"));
    EXPECT_THAT(drawing, HasSubstr("<span>most 999999999999999.00000000000000 kW<"));
    EXPECT_THAT(drawing, HasSubstr("<title>this period so far: 0.12345678901234 kW<"));
}

TEST(ReportHistory, EveryReadingShowsItsDecimals) {
    RouteRecord record;
    record.values = {ValueOf("1.6.0", "8 kW", "3"),
                     ValueOf("1.6.0*01", "8 kW", "0.25" + std::string(90, ' ')),
                     ValueOf("1.6.0*02", "8 kW", "0.5")};
    const std::vector<Report::History> histories = Report::HistoriesOf(record);
    ASSERT_EQ(histories.size(), 1U);
    EXPECT_EQ(histories[0].decimals, 2);
}

TEST(ReportHistory, TimesOfResetsAreNoReadings) {
    RouteRecord record;
    record.values = {ValueOf("0.1.2", "10", "2505010000"), ValueOf("0.1.2*01", "10", "2504010000"),
                     ValueOf("0.1.2*02", "10", "2503010000"), ValueOf("0.1.2*03", "10", "2502010000")};
    EXPECT_TRUE(Report::HistoriesOf(record).empty());
}

TEST(ReportHistory, ReadingsThatAreDrawnHaveNoLines) {
    RouteRecord record;
    record.values = {ValueOf("6.8", "8 MWh", "9"),        ValueOf("6.8*01", "8 MWh", "8"),
                     ValueOf("6.8*02", "8 MWh", "7"),     ValueOf("6.8*03", "8 MWh", "6"),
                     ValueOf("6.8*04", "8 MWh", "", "U"), ValueOf("6.9*01", "8 MWh", "8")};
    for (RouteValue& value : record.values)
        value.kind = Fields::kValues;
    Report::Phrases none(false);
    const std::string details = Report::DetailsOf(record, {}, none);
    EXPECT_EQ(CountOf(details, "<figure>"), 1);
    EXPECT_EQ(CountOf(details, "<tr>"), 2);
    EXPECT_THAT(details, HasSubstr("<span class=name>6.8</span>"));
    EXPECT_THAT(details, HasSubstr("<span class=name>6.9*01</span>"));
}

TEST(ReportHistory, FewPeriodsAreNotDrawn) {
    RouteRecord record;
    record.values = {ValueOf("6.8*01", "", "9"), ValueOf("6.8*02", "", "7"), ValueOf("6.8*03", "", "6")};
    EXPECT_TRUE(Report::HistoriesOf(record).empty());
}
