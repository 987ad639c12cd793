// The example tables of the pages, row by row, against the database.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeParser.h"
#include "tests/support/Markdown.h"

namespace {

constexpr const char* kFiles = "docs/files.md";
constexpr const char* kSampleRoute = "samples/installation/data/route.ini";
constexpr const char* kSampleIni = "samples/installation/meterdb.ini";

std::vector<std::vector<std::string>> Table(const std::vector<std::string>& titles) {
    return Markdown::Table(Markdown::Page(kFiles), titles);
}

// The text of a cell in backticks; "" for "empty" and for a cell without a text.
std::string Code(const std::string& cell) {
    const std::vector<std::string> codes = Markdown::Codes(cell);
    EXPECT_EQ(codes.size(), cell.empty() || cell == "empty" ? 0U : 1U) << cell;
    return codes.empty() ? "" : codes.front();
}

// What "value `12`, text `hot`" names: texts by the words before them.
std::map<std::string, std::string> Given(const std::string& cell) {
    std::map<std::string, std::string> given;
    std::string_view rest = cell;
    for (const std::string& code : Markdown::Codes(cell)) {
        const std::size_t word = rest.find_first_not_of(", ");
        const std::size_t end = rest.find(" `");
        given[std::string(rest.substr(word, end - word))] = code;
        rest.remove_prefix(end + code.size() + 3);
    }
    for (const auto& [name, code] : given)
        EXPECT_TRUE(name == "value" || name == "text" || name == "definition") << name;
    return given;
}

class FilesPage : public DatabaseFixture {
protected:
    // Meter 1 of the samples is current, with their lists of labels.
    void OpenSamples() {
        const std::string system = Markdown::Page(kSampleIni);
        Open(Markdown::Page(kSampleRoute), system.substr(system.find("[List]")));
        m_database.SetActualPosition(1);
    }

    // A record with a value X that is shown as a data field.
    void OpenRecord(const std::string& entry) {
        Open("[General]\nMeters=1\n[#_1]\nState=U\nX=" + entry + "\n", "[Values]\nX=X\n");
    }

    std::string ShownField() {
        char shown[256];
        EXPECT_EQ(m_database.GetDataFields(nullptr, 0, ""), 1);
        EXPECT_TRUE(m_database.GetDataField(nullptr, 0, "", 0, nullptr, 0, shown, sizeof shown, nullptr, 0));
        return shown;
    }
};

}  // namespace

TEST_F(FilesPage, ListsAreTakenApartAsTheTableSays) {
    const CMeterIniFile store(m_folder.Wide("none.ini").c_str());
    for (const std::vector<std::string>& row : Table({"Text", "Tokens"})) {
        std::vector<std::string> tokens;
        for (std::string cell = row[1]; !cell.empty();) {
            const std::size_t end = cell.find(" · ");
            tokens.push_back(Code(cell.substr(0, end)));
            cell = end == std::string::npos ? "" : cell.substr(end + std::string(" · ").size());
        }
        const std::string text = Code(row[0]);
        std::vector<std::string> taken;
        char token[256];
        for (int i = 1; store.ExtractTokenDelimitedBy(text.c_str(), token, sizeof token, i, ",") != nullptr;
             ++i) {
            store.EliminateQuotes(token);
            taken.emplace_back(token);
        }
        EXPECT_EQ(taken, tokens) << text;
    }
}

TEST_F(FilesPage, NewEntriesAreWrittenAsTheTableSays) {
    for (const std::vector<std::string>& row : Table({"Given to a new entry `X`", "The line"})) {
        Open("[General]\nMeters=1\n[#_1]\nState=U\n");
        const std::map<std::string, std::string> given = Given(row[0]);
        const auto part = [&given](const char* name) {
            const auto found = given.find(name);
            return found == given.end() ? nullptr : found->second.c_str();
        };
        ASSERT_TRUE(
            m_database.SetMeterValue("X", nullptr, nullptr, part("definition"), part("value"), part("text")));
        EXPECT_EQ("X=" + Data("#_1", "X"), Code(row[1]));
    }
}

TEST_F(FilesPage, ValuesAreShownAsTheTableSays) {
    OpenSamples();
    for (const std::vector<std::string>& row : Table({"Format", "Value", "Shown"})) {
        char shown[256] = "";
        m_database.FormatValue(shown, Code(row[1]).c_str(), Code(row[0]).c_str());
        EXPECT_EQ(shown, Code(row[2])) << row[0] << ' ' << row[1];
    }
}

TEST_F(FilesPage, FixedTextsAreShownAsTheTableSays) {
    for (const std::vector<std::string>& row : Table({"Status holds", "Tokens", "Example", "Shown"})) {
        OpenRecord("R," + row[0] + ",\"8," + Code(row[2]) + "\",5,\"\"");
        EXPECT_EQ(ShownField(), Code(row[3])) << row[2];
        for (const std::string& prefix : Markdown::Codes(row[1])) {
            OpenRecord("R," + row[0] + ",\"8," + prefix + "none\",5,\"\"");
            EXPECT_EQ(ShownField(), "none") << row[0] << ' ' << prefix;
        }
    }
}

TEST_F(FilesPage, ValuesAreCheckedAsTheTableSays) {
    OpenSamples();
    for (const std::vector<std::string>& row : Table({"Token", "Value", "Result"}))
        EXPECT_EQ(std::to_string(m_database.CheckValue(Code(row[1]).c_str(), ("8," + Code(row[0])).c_str())),
                  row[2])
            << row[0] << ' ' << row[1];
}

TEST_F(FilesPage, AlarmsHoldAsTheTableSays) {
    for (const std::vector<std::string>& row : Table({"Token", "Holds when the status has", "Use"})) {
        for (const char status : {'U', 'D', 'W', 'C', 'R'}) {
            OpenRecord(std::string("R,") + status + ",\"8," + Code(row[0]) + "\",5,\"\"");
            FakeParser parser;  // that knows no value: the status stays
            EXPECT_EQ(m_database.StartParser(&parser) != 0, row[1].find(status) != std::string::npos)
                << row[0] << ' ' << status;
        }
    }
}
