// What can be wrong with any text of sections and entries, whatever it holds.
#include <algorithm>

#include "MeterUtil/IniLine.h"
#include "terminal/Utf8.h"
#include "terminal/check/Rule.h"

namespace Check {
namespace {

constexpr std::size_t kKeyChars = 255;
constexpr std::size_t kEntryChars = 4095;

enum class Encoding { Ascii, Utf8, EightBit };

Encoding EncodingOf(std::string_view text) {
    if (std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        return Encoding::Ascii;
    return Utf8::IsValid(text) ? Encoding::Utf8 : Encoding::EightBit;
}

bool IsEntry(std::string_view text, std::string_view* key, std::string_view* value) {
    std::string_view name;
    return !MeterUtil::IsHeader(text, &name) && MeterUtil::SplitEntry(text, key, value);
}

bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t' && c != '\r' && c != '\0') || byte == 0x7F;
}

void FindMixedEncodings(const TextFile& file, Findings& found) {
    std::vector<std::size_t> eightBit;
    bool hasUtf8 = false;
    for (std::size_t line = 1; line <= file.Lines(); ++line) {
        const Encoding encoding = EncodingOf(file.Line(line));
        hasUtf8 = hasUtf8 || encoding == Encoding::Utf8;
        if (encoding == Encoding::EightBit)
            eightBit.push_back(line);
    }
    if (hasUtf8)
        for (const std::size_t line : eightBit)
            found.At(line, "a character that is no UTF-8, in a file that has UTF-8 elsewhere");
}

void FindDuplicateSections(const TextFile& file, Findings& found) {
    for (const TextFile::Section& section : file.Sections())
        if (const TextFile::Section* first = file.Find(section.name); first != &section)
            found.At(section.header, "[" + std::string(section.name) + "] stands in line " +
                                         std::to_string(first->header) + " already");
}

// A template's entry "#1" opens an appendix, in which keys may occur again.
bool IsAppendixBetween(const Record& entries, std::size_t first, std::size_t later) {
    return std::any_of(entries.Entries().begin(), entries.Entries().end(), [=](const TextFile::Entry& entry) {
        return entry.line > first && entry.line <= later && entry.key.front() == '#';
    });
}

// A line that is there once more, with nothing else of its key in the section, says nothing new.
std::vector<Repair> WithoutRepetition(const Record& entries, const TextFile::Entry& before,
                                      const TextFile::Entry& later) {
    const bool isSame = before.value == later.value && entries.Find(later.key)->value == later.value;
    if (!isSame)
        return {};
    return {DeleteFirst{std::string(entries.section.name), std::string(later.key)}};
}

void FindDuplicateKeys(const TextFile& file, Findings& found) {
    for (const TextFile::Section& section : file.Sections()) {
        if (file.Find(section.name) != &section)
            continue;
        const Record entries(file, section, RecordKind::Template, 0, 0);
        for (const auto& [before, later] : entries.Duplicates())
            if (!IsAppendixBetween(entries, before->line, later->line))
                found.At(later->line,
                         Quoted(later->key) + " stands in line " + std::to_string(before->line) + " already" +
                             (before->value == later->value ? ", the same" : ", with another text"),
                         WithoutRepetition(entries, *before, *later));
    }
}

}  // namespace

// NOLINTNEXTLINE(readability-function-size): a table, as long as it has rules.
const std::vector<Rule>& TextRules() {
    static const std::vector<Rule> rules = {
        {"T01", Severity::Error, "Of several sections with one name only the first is ever read.",
         FindDuplicateSections},
        {"T02", Severity::Error,
         "Of several entries with one key only the first is read, and only the first is changed.",
         FindDuplicateKeys},
        {"T03", Severity::Error,
         "A header without its closing bracket opens no section: its entries fall into the one before.",
         [](const LineView& line, Findings& found) {
             std::string_view name;
             const std::string_view text = MeterText::TrimBlanks(line.text);
             if (text.substr(0, 1) == "[" && !MeterUtil::IsHeader(text, &name))
                 found(Quoted(text) + " has no ]");
         }},
        {"T04", Severity::Warning,
         "A line that is neither header, entry nor comment is kept and means nothing.",
         [](const LineView& line, Findings& found) {
             std::string_view name;
             std::string_view key;
             std::string_view value;
             const std::string_view text = MeterText::TrimBlanks(line.text);
             if (!text.empty() && text.front() != ';' && text.front() != '[' && !IsEntry(text, &key, &value))
                 found(Quoted(text) + " is no entry: it has no name and =");
         }},
        {"T05", Severity::Warning, "Entries before the first header belong to no section and are never read.",
         [](const TextFile& file, Findings& found) {
             const std::size_t end =
                 file.Sections().empty() ? file.Lines() + 1 : file.Sections().front().header;
             std::string_view key;
             std::string_view value;
             for (std::size_t line = 1; line < end; ++line)
                 if (IsEntry(file.Line(line), &key, &value))
                     found.At(line, Quoted(key) + " stands before the first section");
         }},
        {"T06", Severity::Note, "What follows the ] of a header is ignored.",
         [](const LineView& line, Findings& found) {
             std::string_view name;
             if (!MeterUtil::IsHeader(line.text, &name))
                 return;
             const std::string_view rest = MeterText::TrimBlanks(line.text.substr(line.text.find(']') + 1));
             if (!rest.empty() && rest.front() != ';')
                 found(Quoted(rest) + " stands behind the header");
         }},
        {"T07", Severity::Error, "A text ends at a zero byte: what follows is never read.",
         [](const LineView& line, Findings& found) {
             if (MeterText::Contains(line.text, '\0'))
                 found("a zero byte at place " + std::to_string(line.text.find('\0') + 1));
         }},
        {"T08", Severity::Error,
         "A carriage return alone ends no line: it is part of the text, and becomes a blank when the entry "
         "is "
         "written.",
         [](const LineView& line, Findings& found) {
             if (MeterText::Contains(line.text, '\r'))
                 found("a carriage return without a line feed at place " +
                       std::to_string(line.text.find('\r') + 1));
         }},
        {"T09", Severity::Warning, "Control characters cannot be shown, and screens may act on them.",
         [](const LineView& line, Findings& found) {
             const auto control = std::find_if(line.text.begin(), line.text.end(), IsControl);
             if (control != line.text.end())
                 found("character " + std::to_string(static_cast<unsigned char>(*control)) + " at place " +
                       std::to_string(control - line.text.begin() + 1));
         }},
        {"T10", Severity::Warning,
         "Text is never converted: a file in two encodings shows wrong letters in either.",
         FindMixedEncodings},
        {"T11", Severity::Error, "Keys are read up to 255 bytes: a longer one is never found.",
         [](const LineView& line, Findings& found) {
             std::string_view key;
             std::string_view value;
             if (IsEntry(line.text, &key, &value) && key.size() > kKeyChars)
                 found("a key of " + std::to_string(key.size()) + " bytes");
         }},
        {"T12", Severity::Error, "Entries are read up to 4095 bytes: the rest is cut off.",
         [](const LineView& line, Findings& found) {
             std::string_view key;
             std::string_view value;
             if (IsEntry(line.text, &key, &value) && value.size() > kEntryChars)
                 found("an entry of " + std::to_string(value.size()) + " bytes");
         }},
    };
    return rules;
}

}  // namespace Check
