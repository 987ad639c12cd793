// What a long page says over and over. In the details of its meters one character stands for each such
// phrase, which the page puts back when somebody opens them; so it is small and opens fast.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

namespace Report {

class Phrases {
public:
    // Without `shortens` every phrase stands for itself.
    explicit Phrases(bool shortens) : m_shortens(shortens) {}

    // What stands in the details for a piece of the page.
    std::string operator()(const std::string& html);

    // All phrases as a JSON list, in the order of their characters from U+E000 on.
    std::string List() const;

private:
    bool m_shortens;
    std::unordered_map<std::string, std::string> m_characters;
    std::vector<std::string> m_phrases;
};

}  // namespace Report
