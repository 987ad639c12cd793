// The value entry: attributes,status,definition,value,"text". The one place that takes an entry apart and
// puts it together again.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace MeterRecords {

enum SubField { kAttributes, kStatus, kDefinition, kValue, kText, kSubFields };

class ValueEntry {
public:
    // An entry as it stands in the file. Sub-fields 1 to 4 are its first four tokens, the fifth is everything
    // behind the fourth separator; missing ones are empty.
    explicit ValueEntry(std::string_view text);

    // A new entry, A,U,8,,"".
    ValueEntry();

    // False for a plain item: a value entry has at least one comma.
    static bool IsValue(std::string_view text);

    // The sub-field as it stands, enclosing quotes included.
    const std::string& Raw(SubField field) const { return m_raw[field]; }

    // The sub-field without its enclosing quotes.
    std::string_view Bare(SubField field) const;

    // Replaces a sub-field. Line breaks become blanks. One of the first four that holds a comma and is
    // shorter than kQuotedBelow is enclosed in quotes; the text always is.
    void Set(SubField field, std::string_view bare);

    // Replaces the value by what a meter delivered: enclosing quotes are no part of it, and quotes that would
    // break the entry apart are dropped.
    void SetReading(std::string_view reading);

    // Drops the quotes of the first four sub-fields and cuts every sub-field to 255 characters, as
    // SetMeterValue writes them. What is kept as it was and stood in quotes keeps them, whatever its length.
    void Normalise();

    // The entry as it is written.
    std::string Compose() const;

    static constexpr std::size_t kQuotedBelow = 253;    // longer sub-fields with a comma are written bare
    static constexpr std::size_t kSubFieldChars = 255;  // most that a sub-field carries

private:
    std::array<std::string, kSubFields> m_raw;
};

}  // namespace MeterRecords
