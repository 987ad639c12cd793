// The value entry: attributes,status,definition,value,"text". The one place that takes an entry apart and
// puts it together again, and that owns the rules of its quotes. Where an entry stands and what its
// sub-fields mean is the business of others.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace MeterRecords {

constexpr int kNameBytes = 256;    // a key, a name, a sub-field; terminator included
constexpr int kEntryBytes = 4096;  // a whole entry, terminator included

enum SubField { kAttributes, kStatus, kDefinition, kValue, kText, kSubFields };

// An entry is one line of the file: CR LF, CR or LF become one blank.
std::string WithoutLineBreaks(std::string_view text);

class ValueEntry {
public:
    static constexpr std::size_t kSubFieldChars = kNameBytes - 1;  // most that a sub-field carries
    static constexpr std::size_t kEntryChars = kEntryBytes - 1;    // most that an entry carries
    static constexpr std::size_t kQuotedBelow = 253;  // longer sub-fields with a comma are written bare

    // An entry as it stands in the file, of which kEntryChars are read. Sub-fields 1 to 4 are its first four
    // tokens, the fifth is everything behind the fourth separator; missing ones are empty.
    explicit ValueEntry(std::string_view text);

    // A new entry, A,U,8,,"".
    ValueEntry();

    // False for a plain item: a value entry has at least one comma.
    static bool IsValue(std::string_view text);

    // The sub-field as it stands, enclosing quotes included.
    const std::string& Raw(SubField field) const { return m_raw[field]; }

    // The sub-field without its enclosing quotes; of the first four at most kSubFieldChars. A text that
    // begins with a quote lost its closing one to a cut: the opening one is then no part of it either.
    std::string_view Bare(SubField field) const;

    // Replaces a sub-field by a bare text, of which kSubFieldChars are taken. A line break becomes a blank.
    // One of the first four that holds a comma and is shorter than kQuotedBelow is enclosed in quotes, and
    // loses quotes of its own that would take the entry apart elsewhere; the text is always enclosed and
    // keeps its own.
    void Set(SubField field, std::string_view bare);

    // The sub-field as SetMeterValue writes it: `given`, or what it is when null. One of the first four loses
    // every quote of its own; a kept one whose comma was quoted stays quoted, whatever its length.
    void Rewrite(SubField field, const char* given);

    // Replaces one of the first four sub-fields by a text as it stands elsewhere: one in quotes that is a
    // single token keeps them, every other is set.
    void TakeOver(SubField field, std::string_view text);

    // The entry as it is written, at most `most` characters (at least 6); a cut leaves five sub-fields and
    // the closing quote. Sub-fields that nobody replaced are written as they stand. Taking it apart gives the
    // same sub-fields, and composing them again the same entry.
    std::string Compose(std::size_t most = kEntryChars) const;

private:
    std::array<std::string, kSubFields> m_raw;
};

}  // namespace MeterRecords
