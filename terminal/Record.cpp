#include "terminal/Record.h"

#include <array>

#include "MeterUtil/Text.h"
#include "terminal/Utf8.h"

namespace {

constexpr int kEntryBytes = 4096;
constexpr int kNameBytes = 256;
constexpr int kStateBytes = 40;
constexpr std::size_t kStateTextChars = 4096 + 64;  // the longest text of a language file, and the action

using EntryBuffer = std::array<char, kEntryBytes>;

std::string Bare(const EntryBuffer& field) {
    return std::string(MeterText::WithoutQuotes(field.data()));
}

// Only what holds a comma is a value; anything else is a plain item.
bool IsValueEntry(CMeterDatabase& database, const std::string& name) {
    EntryBuffer item;
    return database.GetMeterItem(name.c_str(), item.data(), kEntryBytes) &&
           MeterText::Contains(item.data(), ',');
}

}  // namespace

std::optional<Entry> ReadEntry(CMeterDatabase& database, const std::string& name) {
    std::array<EntryBuffer, 5> fields;
    if (!IsValueEntry(database, name) ||
        !database.GetMeterValue(name.c_str(), fields[0].data(), kEntryBytes, fields[1].data(), kEntryBytes,
                                fields[2].data(), kEntryBytes, fields[3].data(), kEntryBytes,
                                fields[4].data(), kEntryBytes))
        return std::nullopt;
    return Entry{name, Bare(fields[0]), Bare(fields[1]), Bare(fields[2]), Bare(fields[3]), Bare(fields[4])};
}

std::vector<Entry> ReadableEntries(CMeterDatabase& database) {
    std::vector<Entry> entries;
    std::array<char, kNameBytes> name{};
    for (int index = 1; database.GetMeterValueByIndex(index, name.data(), nullptr, 0, nullptr, 0, nullptr, 0,
                                                      nullptr, 0, nullptr, 0);
         ++index) {
        const std::optional<Entry> entry = ReadEntry(database, name.data());
        if (entry && MeterText::Contains(entry->attributes, 'R'))
            entries.push_back(*entry);
    }
    return entries;
}

std::string ReadValue(CMeterDatabase& database, const std::string& name) {
    if (const std::optional<Entry> entry = ReadEntry(database, name))
        return entry->value;
    EntryBuffer item;
    return database.GetMeterItem(name.c_str(), item.data(), kEntryBytes) ? item.data() : "";
}

std::string MeterNumber(CMeterDatabase& database) {
    const std::string nominal = ReadValue(database, "0.0.0-nom");
    return nominal.empty() ? ReadValue(database, "0.0.0") : nominal;
}

std::vector<std::string> RecordLines(CMeterDatabase& database) {
    std::vector<std::string> lines;
    EntryBuffer line;
    for (int number = 1; database.GetRecordData(number, line.data(), kEntryBytes); ++number)
        lines.emplace_back(line.data());
    while (!lines.empty() && MeterText::TrimBlanks(lines.back()).empty())
        lines.pop_back();
    return lines;
}

std::string RecordHeader(CMeterDatabase& database) {
    std::array<char, kNameBytes> header{};
    database.GetRecordData(0, header.data(), kNameBytes);
    return header.data();
}

std::string ActionText(CMeterDatabase& database) {
    EntryBuffer action;
    database.GetMeterActionText(action.data(), kEntryBytes);
    return action.data();
}

std::string StateText(CMeterDatabase& database) {
    std::array<wchar_t, kStateTextChars> wide{};
    database.GetRecordStateText(wide.data());
    const std::string text = Utf8::FromWide(wide.data());
    // The library closes it with the action in parentheses.
    const std::string closing = " (" + ActionText(database) + ")";
    const bool closes = text.size() >= closing.size() &&
                        text.compare(text.size() - closing.size(), closing.size(), closing) == 0;
    return closes ? text.substr(0, text.size() - closing.size()) : text;
}

bool IsHandled(CMeterDatabase& database) {
    std::array<char, kStateBytes> state{};
    return database.GetRecordState(state.data()) && MeterText::Contains(state.data(), 'H') &&
           !MeterText::ContainsAny(state.data(), "NEMUA");
}

std::vector<std::string> DefinitionTokens(const std::string& definition) {
    std::vector<std::string> tokens;
    std::string_view rest = definition;
    for (bool more = !definition.empty(); more;) {
        const std::string_view token = MeterText::WithoutQuotes(MeterText::TakeToken(&rest, ",", &more));
        if (token.empty())
            break;
        tokens.emplace_back(token);
    }
    return tokens;
}

std::string UnitOf(const std::string& definition) {
    const std::string format = definition.substr(0, definition.find(','));
    if (format.empty() || format.front() < '0' || format.front() > '9')
        return {};
    const std::size_t unit = format.find_first_not_of("0123456789.");
    return unit == std::string::npos ? std::string()
                                     : std::string(MeterText::TrimBlanks(format.substr(unit)));
}
