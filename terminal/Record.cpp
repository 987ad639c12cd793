#include "terminal/Record.h"

#include <algorithm>
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

}  // namespace

std::optional<std::string> ReadItem(CMeterDatabase& database, const std::string& name) {
    EntryBuffer item;
    if (!database.GetMeterItem(name.c_str(), item.data(), kEntryBytes))
        return std::nullopt;
    return item.data();
}

std::optional<Entry> ReadEntry(CMeterDatabase& database, const std::string& name) {
    std::array<EntryBuffer, 5> fields;
    // Only what holds a comma is a value; anything else is a plain item.
    if (!MeterText::Contains(ReadItem(database, name).value_or(""), ',') ||
        !database.GetMeterValue(name.c_str(), fields[0].data(), kEntryBytes, fields[1].data(), kEntryBytes,
                                fields[2].data(), kEntryBytes, fields[3].data(), kEntryBytes,
                                fields[4].data(), kEntryBytes))
        return std::nullopt;
    return Entry{name, Bare(fields[0]), Bare(fields[1]), Bare(fields[2]), Bare(fields[3]), Bare(fields[4])};
}

std::vector<Entry> Entries(CMeterDatabase& database) {
    std::vector<Entry> entries;
    std::array<char, kNameBytes> name{};
    for (int index = 1; database.GetMeterValueByIndex(index, name.data(), nullptr, 0, nullptr, 0, nullptr, 0,
                                                      nullptr, 0, nullptr, 0);
         ++index)
        if (const std::optional<Entry> entry = ReadEntry(database, name.data()))
            entries.push_back(*entry);
    return entries;
}

std::vector<Entry> EntriesWith(CMeterDatabase& database, char attribute) {
    std::vector<Entry> entries = Entries(database);
    entries.erase(std::remove_if(entries.begin(), entries.end(),
                                 [attribute](const Entry& entry) {
                                     return !MeterText::Contains(entry.attributes, attribute);
                                 }),
                  entries.end());
    return entries;
}

std::string ReadValue(CMeterDatabase& database, const std::string& name) {
    if (const std::optional<Entry> entry = ReadEntry(database, name))
        return entry->value;
    return ReadItem(database, name).value_or("");
}

std::string MeterTypeOf(CMeterDatabase& database) {
    std::string type = ReadValue(database, "MeterType");
    const int appendix = database.GetAppendix();
    if (type.empty() && appendix != 0) {
        database.SetAppendix(0);
        type = ReadValue(database, "MeterType");
        database.SetAppendix(appendix);
    }
    return type;
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

std::string StateAndAction(CMeterDatabase& database) {
    std::array<wchar_t, kStateTextChars> wide{};
    database.GetRecordStateText(wide.data());
    const std::string text = Utf8::FromWide(wide.data());
    return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

std::string StateText(CMeterDatabase& database) {
    const std::string text = StateAndAction(database);
    const std::string closing = "(" + ActionText(database) + ")";
    const bool closes = text.size() >= closing.size() &&
                        text.compare(text.size() - closing.size(), closing.size(), closing) == 0;
    return std::string(MeterText::TrimBlanks(closes ? text.substr(0, text.size() - closing.size()) : text));
}

bool IsHandled(CMeterDatabase& database) {
    std::array<char, kStateBytes> state{};
    return database.GetRecordState(state.data()) && MeterText::Contains(state.data(), 'H') &&
           !MeterText::ContainsAny(state.data(), "NEMUA");
}

std::vector<std::string> DefinitionTokens(const std::string& definition) {
    std::vector<std::string> tokens;
    MeterText::TokenReader reader(definition);
    for (std::string_view token; reader.Next(&token);) {
        if (MeterText::WithoutQuotes(token).empty())
            break;
        tokens.emplace_back(MeterText::WithoutQuotes(token));
    }
    return tokens;
}

bool IsCount(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

std::string UnitOf(const std::string& definition) {
    const std::string format = definition.substr(0, definition.find(','));
    if (format.empty() || format.front() < '0' || format.front() > '9')
        return {};
    const std::size_t unit = format.find_first_not_of("0123456789.");
    return unit == std::string::npos ? std::string()
                                     : std::string(MeterText::TrimBlanks(format.substr(unit)));
}
