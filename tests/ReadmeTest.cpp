// The visit that the README shows: its code, compiled as it stands there, makes of its first record what its
// second one shows.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"
#include "MeterUtil/Text.h"
#include "tests/support/FakeParser.h"
#include "tests/support/Markdown.h"
#include "tests/support/TestFolder.h"

namespace {

// The build takes the code out of the page; the name of its directory is the only thing that it replaces.
bool Visit(const std::wstring& directory, FakeParser& meter) {
#include "ReadmeVisit.inc"
    return alarm;
}

std::vector<std::string> Lines(const std::string& block) {
    std::istringstream text(block);
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

}  // namespace

TEST(Readme, VisitDoesWhatThePageShows) {
    const std::vector<std::string> blocks = Markdown::Blocks(Markdown::Page("README.md"), "ini");
    ASSERT_EQ(blocks.size(), 2U);
    const TestFolder folder;
    folder.Write("meterdb.ini",
                 "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=route.ini\nCheckAutoReadRegs=Yes\n");
    folder.Write("app.ini", "[State]\nDirty=No\n");
    folder.Write("route.ini", "[General]\nMeters=1\nClient=1\n" + blocks[0]);
    FakeParser meter;
    for (const std::string& line : Lines(blocks[1]))
        meter.m_answer[line.substr(0, line.find('='))] = MeterText::BareToken(line, 4);

    EXPECT_TRUE(Visit(folder.Wide(), meter));
    // The lines that are others now stand in their places; the stamp is new.
    std::string expected = "[General]\nMeters=1\nClient=1\n" + blocks[0];
    const auto replace = [&expected](const std::string& key, const std::string& line) {
        const std::size_t at = expected.find('\n' + key + '=') + 1;
        ASSERT_NE(at, 0U) << key;
        expected.replace(at, expected.find('\n', at) - at, line);
    };
    for (const std::string& line : Lines(blocks[1]))
        replace(line.substr(0, line.find('=')), line);
    replace("State", "State=H");
    const std::string route = folder.Read("route.ini");
    EXPECT_EQ(route.substr(0, expected.size()), expected);
    EXPECT_EQ(route.substr(expected.size(), 38), "UserID=A,D,,0815,\"\"\nLastChanges=A,D,,2");
}
