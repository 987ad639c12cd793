// Value entries and tokens over any text: an entry that was written comes apart as it was put together, and
// tokens and their delimiters make up the text.
#include <algorithm>

#include "MeterDatabase/ValueEntry.h"
#include "MeterUtil/MeterIniFile.h"
#include "fuzz/Script.h"

using MeterRecords::SubField;
using MeterRecords::ValueEntry;

namespace {

void Change(ValueEntry* entry, Script& script) {
    const std::string operation = script.Word();
    std::string text = script.Word();
    if (operation.size() < 2)
        return;
    // A longer one with a comma is written bare, and comes apart elsewhere.
    if (ValueEntry::IsValue(text))
        text.resize(std::min(text.size(), ValueEntry::kQuotedBelow - 1));
    const auto field =
        static_cast<SubField>(static_cast<unsigned char>(operation[1]) % MeterRecords::kSubFields);
    if (operation[0] == 's')
        entry->Set(field, text);
    else if (operation[0] == 'r')
        entry->Rewrite(field, text.c_str());
    else if (operation[0] == 'k')
        entry->Rewrite(field, nullptr);
    else if (operation[0] == 't' && field != MeterRecords::kText)
        entry->TakeOver(field, text);
}

void RequireSame(const ValueEntry& first, const ValueEntry& second) {
    for (int field = 0; field < MeterRecords::kSubFields; ++field)
        Require(first.Raw(static_cast<SubField>(field)) == second.Raw(static_cast<SubField>(field)),
                "an entry comes apart as it was written");
}

// What was written is one line, comes apart in five, and is written the same again.
void CheckWritten(const ValueEntry& entry, std::size_t most) {
    const std::string written = entry.Compose(most);
    Require(written.size() <= most, "an entry fits its line");
    const ValueEntry read(written);
    Require(read.Compose() == written, "an entry is written the same again");
    if (most == ValueEntry::kEntryChars)
        RequireSame(ValueEntry(read.Compose()), read);
}

void CheckTokens(const std::string& text, const std::string& delimiters, int size) {
    Output token(size);
    std::string_view whole;
    for (int index = 1; index < 70; ++index) {
        const char* const found = CMeterIniFile::ExtractTokenDelimitedBy(text.c_str(), token.Data(), size,
                                                                         index, delimiters.c_str());
        const bool exists = MeterText::FindToken(text.c_str(), index, delimiters.c_str(), &whole);
        Require((found != nullptr) == exists, "a token is found");
        Require(token.Text() == whole.substr(0, static_cast<std::size_t>(size) - 1),
                "a token is cut to its buffer");
    }
    std::string quoted = text;
    CMeterIniFile::EliminateQuotes(quoted.data());
    Require(quoted.c_str() == std::string(MeterText::WithoutQuotes(text.c_str())),
            "enclosing quotes are removed");
}

// Tokens and the delimiters between them are the text.
void CheckSum(std::string_view text, std::string_view delimiters) {
    MeterText::TokenReader tokens(text, delimiters);
    std::string_view token;
    std::size_t end = 0;
    while (tokens.Next(&token)) {
        Require(token.data() == text.data() + end, "a token begins behind a delimiter");
        end += token.size();
        Require(end == text.size() || MeterText::Contains(delimiters, text[end]),
                "a token ends at a delimiter");
        end += end == text.size() ? 0 : 1;
    }
    Require(end == text.size(), "tokens reach the end");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Script script(data, size);
    const std::string text(script.File());
    ValueEntry entry(text);
    while (script.Next()) {
        Change(&entry, script);
        CheckWritten(entry, ValueEntry::kEntryChars);
        CheckWritten(entry, 6 + size % 300);
    }
    const std::string plain = text.c_str();
    CheckTokens(plain, size % 2 == 0 ? "," : ";,", 1 + static_cast<int>(size % 40));
    CheckSum(plain, ",");
    CheckSum(plain, "; ");
    return 0;
}
