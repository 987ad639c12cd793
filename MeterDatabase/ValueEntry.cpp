// Value entries: taking them apart and composing them. Owns the rule that a rewritten entry comes apart the
// same way again: no second pair of quotes, no sub-field swallowed by a quote that nothing closes.
#include "MeterDatabase/ValueEntry.h"

#include <algorithm>

#include "MeterUtil/Text.h"

namespace MeterRecords {
namespace {

constexpr char kSeparator = ',';
constexpr char kQuote = '"';

// What follows the first four sub-fields at least: four separators and an empty text.
constexpr std::size_t kTailChars = 6;

using Head = std::array<std::string, kText>;

std::string Quoted(std::string_view text) {
    return std::string(1, kQuote).append(text) + kQuote;
}

bool IsQuoted(std::string_view text) {
    return MeterText::WithoutQuotes(text).size() != text.size();
}

bool BeginsWithQuote(std::string_view text) {
    return !text.empty() && text.front() == kQuote;
}

std::string WithoutAnyQuote(std::string_view text) {
    std::string plain(text);
    plain.erase(std::remove(plain.begin(), plain.end(), kQuote), plain.end());
    return plain;
}

// A quote that nothing closes would find the closing quote of a later sub-field and swallow what is between.
std::string Closed(const std::string& raw) {
    return BeginsWithQuote(raw) && !IsQuoted(raw) ? WithoutAnyQuote(raw) : raw;
}

// An entry that fills a whole line before its text: its longest sub-fields then make room.
void MakeRoom(Head* head, std::size_t most) {
    for (;;) {
        std::size_t length = 0;
        for (const std::string& field : *head)
            length += field.size();
        if (length <= most)
            return;
        std::string& longest = *std::max_element(
            head->begin(), head->end(), [](const auto& a, const auto& b) { return a.size() < b.size(); });
        const std::string end = IsQuoted(longest) ? std::string(1, kQuote) : std::string();
        const std::size_t surplus = length - most + end.size();
        if (surplus < longest.size())
            longest.replace(longest.size() - surplus, surplus, end);
        else
            longest.clear();
    }
}

}  // namespace

std::string WithoutLineBreaks(std::string_view text) {
    std::string line;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && text.substr(i, 2) == "\r\n")
            continue;
        line += text[i] == '\r' || text[i] == '\n' ? ' ' : text[i];
    }
    return line;
}

ValueEntry::ValueEntry(std::string_view text) {
    MeterText::TokenReader tokens(text.substr(0, kEntryChars));
    std::string_view token;
    for (std::size_t field = kAttributes; field < kText && tokens.Next(&token); ++field)
        m_raw[field] = token;
    m_raw[kText] = tokens.Rest();
}

ValueEntry::ValueEntry() : m_raw{"A", "U", "8", "", "\"\""} {}

bool ValueEntry::IsValue(std::string_view text) {
    return MeterText::Contains(text, kSeparator);
}

std::string_view ValueEntry::Bare(SubField field) const {
    const std::string_view raw = m_raw[field];
    const std::string_view bare = MeterText::WithoutQuotes(raw);
    if (field != kText)
        return bare.substr(0, kSubFieldChars);
    return BeginsWithQuote(raw) && !IsQuoted(raw) ? raw.substr(1) : bare;
}

void ValueEntry::Set(SubField field, std::string_view bare) {
    std::string text = WithoutLineBreaks(bare);
    const bool hasComma = MeterText::Contains(text, kSeparator);
    if (field != kText && (hasComma || BeginsWithQuote(text)))
        text = WithoutAnyQuote(text);
    text.resize(std::min(text.size(), kSubFieldChars));
    const bool quoted = field == kText || (IsValue(text) && text.size() < kQuotedBelow);
    m_raw[field] = quoted ? Quoted(text) : text;
}

void ValueEntry::Rewrite(SubField field, const char* given) {
    if (field == kText)
        return Set(kText, given == nullptr ? Bare(kText) : MeterText::View(given));
    if (given != nullptr)
        return Set(field, WithoutAnyQuote(given));
    // What holds a comma stood in quotes: bare, it would come apart.
    const std::string kept = WithoutAnyQuote(m_raw[field]);
    if (IsValue(kept))
        m_raw[field] = Quoted(kept);
    else
        Set(field, kept);
}

void ValueEntry::TakeOver(SubField field, std::string_view text) {
    if (IsQuoted(text) && MeterText::FirstToken(text).size() == text.size())
        m_raw[field] = text;
    else
        Set(field, text);
}

std::string ValueEntry::Compose(std::size_t most) const {
    Head head;
    std::transform(m_raw.begin(), m_raw.begin() + kText, head.begin(), Closed);
    MakeRoom(&head, most - kTailChars);
    std::string entry;
    for (const std::string& field : head)
        entry.append(field) += kSeparator;
    entry.append(1, kQuote).append(Bare(kText));
    entry.resize(std::min(entry.size(), most - 1));
    return WithoutLineBreaks(entry) + kQuote;
}

}  // namespace MeterRecords
