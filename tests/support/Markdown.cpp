#include "tests/support/Markdown.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "MeterUtil/Text.h"

namespace Markdown {
namespace {

constexpr std::string_view kFence = "```";

std::vector<std::string> Lines(std::string_view page) {
    std::istringstream text{std::string(page)};
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

// The cells of a line; none when it is no row of a table.
std::vector<std::string> Cells(std::string_view line) {
    std::vector<std::string> cells;
    if (line.size() < 2 || line.front() != '|' || line.back() != '|')
        return cells;
    for (line.remove_prefix(1); !line.empty(); line.remove_prefix(line.find('|') + 1))
        cells.emplace_back(MeterText::TrimBlanks(line.substr(0, line.find('|'))));
    return cells;
}

bool IsRule(const std::vector<std::string>& cells) {
    return cells.front().find_first_not_of("-:") == std::string::npos && !cells.front().empty();
}

}  // namespace

std::string Page(const std::string& name) {
    std::ifstream file(std::filesystem::path(PROJECT_DIR) / name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::vector<std::string>> Table(std::string_view page, const std::vector<std::string>& titles) {
    std::vector<std::vector<std::string>> rows;
    bool inside = false;
    for (const std::string& line : Lines(page)) {
        const std::vector<std::string> cells = Cells(line);
        inside = !cells.empty() && (inside || cells == titles);
        if (inside && cells != titles && !IsRule(cells))
            rows.push_back(cells);
    }
    EXPECT_FALSE(rows.empty()) << "no table " << testing::PrintToString(titles);
    for (const std::vector<std::string>& row : rows)
        EXPECT_EQ(row.size(), titles.size()) << testing::PrintToString(row);
    return rows;
}

std::vector<std::string> Codes(std::string_view text) {
    std::vector<std::string> codes;
    for (std::size_t begin = text.find('`'); begin != std::string_view::npos; begin = text.find('`')) {
        text.remove_prefix(begin + 1);
        codes.emplace_back(text.substr(0, text.find('`')));
        text.remove_prefix(std::min(codes.back().size() + 1, text.size()));
    }
    return codes;
}

std::vector<Fence> Fences(std::string_view page) {
    std::vector<Fence> fences;
    bool inside = false;
    for (const std::string& line : Lines(page)) {
        if (line.compare(0, kFence.size(), kFence) != 0) {
            if (inside)
                fences.back().text += line + '\n';
            continue;
        }
        inside = !inside;
        if (inside)
            fences.push_back({line.substr(kFence.size()), ""});
    }
    return fences;
}

std::vector<std::string> Blocks(std::string_view page, std::string_view language) {
    std::vector<std::string> blocks;
    for (const Fence& fence : Fences(page))
        if (fence.info == language)
            blocks.push_back(fence.text);
    return blocks;
}

}  // namespace Markdown
