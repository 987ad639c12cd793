// What stands in the pages of the documentation, for the tests that hold the system against it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Markdown {

// A page by its name in the project, such as "docs/files.md". Fails the test when it cannot be read.
std::string Page(const std::string& name);

// The cells of the rows below each table head with these titles, blanks around them removed. Fails the test
// when the page has no such table.
std::vector<std::vector<std::string>> Table(std::string_view page, const std::vector<std::string>& titles);

// The texts between backticks, in their order.
std::vector<std::string> Codes(std::string_view text);

// A fenced block: what stands behind its opening fence, and its lines, each ended by LF.
struct Fence {
    std::string info;
    std::string text;
};
std::vector<Fence> Fences(std::string_view page);

// The texts of the fenced blocks of a language ("": without one).
std::vector<std::string> Blocks(std::string_view page, std::string_view language);

}  // namespace Markdown
