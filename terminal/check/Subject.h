// What a check looks at: the files of an installation, or a data file alone, and the records in them.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"
#include "terminal/check/TextFile.h"

namespace Check {

enum SubField { kAttributes, kStatus, kDefinition, kValue, kText, kSubFields };

// "Func" and a number.
bool IsFunctionKey(std::string_view key);

// A value entry.
struct Value {
    explicit Value(const TextFile::Entry& entry);

    TextFile::Entry entry;
    std::array<std::string_view, kSubFields> raw;   // as they stand
    std::array<std::string_view, kSubFields> bare;  // without the quotes that enclose them
    int subFields = 0;                              // that the entry has
    bool isFunction = false;                        // "Func1" and so on

    // Of the definition, without enclosing quotes. Those from the first empty one on are never reached.
    std::vector<std::string_view> tokens;
    std::size_t reached = 0;

    // How the value is shown; that of a function, whose definition says something else, is empty.
    std::string_view Format() const {
        return tokens.empty() || isFunction ? std::string_view() : tokens.front();
    }
    bool Has(char attribute) const { return bare[kAttributes].find(attribute) != std::string_view::npos; }

    // Its status lets other values be calculated from it.
    bool CountsAsRead() const { return bare[kStatus].find_first_of("DCW") != std::string_view::npos; }
};

enum class RecordKind { Main, Appendix, Store, Template };

// A record of the data file, a store meter, or the template of a record.
class Record {
public:
    Record(const TextFile& file, const TextFile::Section& section, RecordKind kind, int meter, int appendix);

    const TextFile& file;
    const TextFile::Section& section;
    const RecordKind kind;
    const int meter;     // or store meter; 0 for a template
    const int appendix;  // 0: the main record

    const std::vector<TextFile::Entry>& Entries() const { return m_entries; }
    const std::vector<Value>& Values() const { return m_values; }

    // The first entry of a key, ignoring case; null when there is none.
    const TextFile::Entry* Find(std::string_view key) const;

    // The same when it is a value entry.
    const Value* FindValue(std::string_view key) const;

    // The value of an entry, or a plain item.
    std::string_view Text(std::string_view key) const;

    // The number by which people know the meter.
    std::string_view Number() const;

    // Entries whose key an earlier one has, behind the one before.
    std::vector<std::pair<const TextFile::Entry*, const TextFile::Entry*>> Duplicates() const;

private:
    using Place = std::pair<std::uint32_t, std::uint32_t>;  // hash of the key, index of the entry

    std::vector<TextFile::Entry> m_entries;
    std::vector<Place> m_places;  // sorted
    std::vector<Value> m_values;
};

// The header of a record.
struct RecordHeader {
    const TextFile::Section* section;
    RecordKind kind;
    int meter;
    int appendix;
    bool isExact;  // as a look-up spells it; any other is never found
};

struct Language {
    std::string code;
    std::size_t line = 0;  // of the system ini
    std::string fileName;
    std::unique_ptr<TextFile> file;
};

// What the records hold in all, for the checks of what others say about them.
struct Facts {
    std::unordered_set<std::string> names;                    // of entries, folded; those of templates too
    std::unordered_set<std::string> recordTypes;              // values of MeterType, folded
    std::map<std::string, std::vector<std::size_t>> numbers;  // lines of records of a meter's number
    std::map<std::string, std::vector<std::size_t>> storeNumbers;  // lines of store meters
};

class Subject {
public:
    // An installation: the files that the system ini of a directory names.
    static std::unique_ptr<Subject> OfInstallation(const std::string& directory, const std::string& ini);

    // A data file alone.
    static std::unique_ptr<Subject> OfDataFile(const std::string& name);

    std::filesystem::path directory;
    std::unique_ptr<TextFile> system;  // null for a data file alone, as all that it names
    std::unique_ptr<TextFile> data;    // null when the system ini names none
    std::unique_ptr<TextFile> app;
    std::unique_ptr<TextFile> types;
    std::vector<Language> languages;
    std::unique_ptr<CMeterDatabase> database;  // with the system ini alone, for the texts that it knows

    std::vector<RecordHeader> headers;    // of the data file, in their order
    std::vector<RecordHeader> templates;  // of the system ini
    Facts facts;                          // gathered while the records are looked at

    // All files that exist.
    std::vector<const TextFile*> Files() const;

    // A path of the system ini, which starts at `base`.
    static std::filesystem::path PathOf(const std::filesystem::path& base, std::string_view name);

private:
    void FindLanguages();
    void FindHeaders();
    std::unique_ptr<TextFile> Named(const char* key) const;
};

}  // namespace Check
