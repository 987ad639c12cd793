#include "terminal/report/Phrases.h"

#include "terminal/Json.h"
#include "terminal/report/Html.h"

namespace Report {

std::string Phrases::operator()(const std::string& html) {
    if (!m_shortens)
        return html;
    const auto known = m_characters.find(html);
    if (known != m_characters.end())
        return known->second;
    if (m_phrases.size() == kPrivateCharacters)
        return html;
    std::string character = PrivateCharacter(static_cast<unsigned>(m_phrases.size()));
    m_characters.emplace(html, character);
    m_phrases.push_back(html);
    return character;
}

std::string Phrases::List() const {
    return JsonLine(Json(m_phrases));
}

}  // namespace Report
