// Small searches in text: a word in a list, a pattern in the bytes of a file, placeholders in a text. Owns
// the placeholders with which texts take in values of the current record.
#include <algorithm>
#include <new>

#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"

using namespace MeterRecords;

namespace {

constexpr std::size_t kShortestPlaceholder = 4;  // <#N>
constexpr std::size_t kLongestPlaceholder = 254;

// The placeholder that `text` begins with, both angle brackets included; empty when it begins with none.
std::string_view Placeholder(std::string_view text) {
    if (text.size() < 2 || text[0] != '<' || !MeterText::Contains("#*", text[1]))
        return {};
    return text.substr(0, text.find('>') + 1);
}

// The token of a definition that holds an expected text, without its letter.
std::string_view ExpectedText(std::string_view definition) {
    MeterText::TokenReader tokens(definition);
    for (std::string_view token; tokens.Next(&token);)
        if (!token.empty() && MeterText::Contains("Xx", token.front()))
            return token.substr(1);
    return {};
}

// What stands in the place of "<#NAME>" or "<*NAME>"; nothing for a value that the record lacks.
std::string Inserted(const CMeterIniFile& dataFile, const std::string& section,
                     std::string_view placeholder) {
    const std::string name(placeholder.substr(2, placeholder.size() - 3));
    const std::optional<ValueEntry> entry = ReadEntry(dataFile, section, name.c_str());
    if (!entry)
        return {};
    return std::string(placeholder[1] == '#' ? entry->Bare(kValue) : ExpectedText(entry->Bare(kDefinition)));
}

// Also in what was inserted, a backslash and an n are a line break.
void BreakLines(std::string* text) {
    for (std::size_t i = 0; i + 1 < text->size(); ++i)
        if ((*text)[i] == '\\' && MeterText::ToLower((*text)[i + 1]) == 'n')
            text->replace(i, 2, "\r\n");
}

}  // namespace

bool CMeterDatabase::IsElementOf(const char* element, const char* list) {
    const std::string_view word = MeterText::View(element);
    const std::string_view words = MeterText::View(list);
    if (word.empty())
        return false;
    for (std::size_t at = words.find(word); at != std::string_view::npos;
         at = words.find(word, at + word.size())) {
        const std::size_t end = at + word.size();
        if ((at == 0 || words[at - 1] == ',') && (end == words.size() || words[end] == ','))
            return true;
    }
    return false;
}

char* CMeterDatabase::SearchInBufWithLen(char* buffer, int length, const char* pattern, int patternLength) {
    if (buffer == nullptr || pattern == nullptr || patternLength < 0 || length <= patternLength)
        return nullptr;
    // A pattern that ends with the buffer does not count.
    const std::string_view searched(buffer, static_cast<std::size_t>(length) - 1);
    const std::size_t at = searched.find(pattern, 0, static_cast<std::size_t>(patternLength));
    return at == std::string_view::npos ? nullptr : buffer + at;
}

void CMeterDatabase::Substitute(char* out, const char* text, int outSize) try {
    if (out == nullptr || outSize < 1)
        return;
    const std::size_t room = static_cast<std::size_t>(outSize) - 1;
    const std::string_view pattern = MeterText::View(text);
    const std::size_t lastClose = pattern.rfind('>');
    // What stands behind the last closing bracket holds no placeholder.
    const std::size_t plain = lastClose == std::string_view::npos ? 0 : lastClose + 1;
    std::string result;
    for (std::size_t at = 0; at < plain && result.size() < room;) {
        const std::string_view placeholder = Placeholder(pattern.substr(at, plain - at));
        const std::size_t length = std::max<std::size_t>(placeholder.size(), 1);
        if (length < kShortestPlaceholder || length > kLongestPlaceholder)
            result.append(pattern.substr(at, length));
        else if (HasRecord())
            result.append(Inserted(*m_dataFile, RecordSection(), placeholder));
        at += length;
    }
    result.append(pattern.substr(plain));
    result.resize(std::min(result.size(), room));
    BreakLines(&result);
    MeterText::CopyText(out, outSize, result);
} catch (const std::bad_alloc&) {
    MeterText::CopyText(out, outSize, {});
}
