// What can be wrong with the configuration: the system ini, the files that it names, the languages, the state
// of the application and the types of meters.
#include <algorithm>
#include <cstdlib>

#include "MeterDatabase/TextSlots.h"
#include "MeterUtil/Text.h"
#include "terminal/MeterTypes.h"
#include "terminal/Utf8.h"
#include "terminal/check/Rule.h"

namespace Check {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kPathChars = 255;
constexpr std::size_t kNameChars = 39;
constexpr int kMostLanguages = 20;
constexpr std::size_t kMostDeclarations = 255;
constexpr int kLastHistory = 18;
constexpr int kMostTypes = 100;
constexpr int kLargestCode = 255;
constexpr const char* kPathKeys[] = {"AppFile", "DataFile", "RawFile", "RawPath", "ParDefRoot", "ParDefFile"};
constexpr const char* kFieldLists[] = {"Values", "Extra", "Statistic"};

std::vector<TextFile::Entry> EntriesOf(const TextFile& file, std::string_view section) {
    const TextFile::Section* found = file.Find(section);
    return found == nullptr ? std::vector<TextFile::Entry>() : file.Entries(*found);
}

std::vector<std::string_view> Tokens(std::string_view list) {
    std::vector<std::string_view> tokens;
    MeterText::TokenReader reader(list);
    for (std::string_view token; reader.Next(&token);)
        tokens.push_back(token);
    return tokens;
}

// ---- paths

void ForEachPath(const TextFile& system, void (*look)(const TextFile::Entry& path, Findings& found),
                 Findings& found) {
    for (const char* section : {"System", "ModuleMode"})
        for (const char* key : kPathKeys)
            if (const auto entry = system.Find(section, key))
                look(*entry, found);
}

bool IsThere(const fs::path& path) {
    std::error_code error;
    return fs::exists(path, error);
}

fs::path ParameterRoot(const TextFile& system, const Subject& subject) {
    return Subject::PathOf(subject.directory, system.Value("System", "ParDefRoot"));
}

void FindMissingPath(const TextFile& system, const char* key, const fs::path& path, Findings& found) {
    const auto entry = system.Find("System", key);
    if (entry && !entry->value.empty() && !IsThere(path))
        found.At(entry->line, std::string(key) + "=" + Utf8::ShownPath(entry->value) + " is not there");
}

// ---- field lists

struct FieldList {
    const TextFile::Section* section;
    std::string list;     // "Values"
    std::string variant;  // "Gas", may be empty
    std::string language;
};

bool IsLanguage(const Subject& subject, std::string_view code) {
    return std::any_of(subject.languages.begin(), subject.languages.end(), [code](const Language& language) {
        return MeterText::EqualIgnoringCase(language.code, code);
    });
}

std::optional<FieldList> ParseFieldList(const Subject& subject, const TextFile::Section& section) {
    for (const std::string list : kFieldLists) {
        const std::string_view name = section.name;
        const std::string_view rest = name.substr(std::min(list.size(), name.size()));
        if (!MeterText::EqualIgnoringCase(name.substr(0, list.size()), list) ||
            (!rest.empty() && rest.front() != '_'))
            continue;
        FieldList parsed{&section, list, std::string(rest.substr(rest.empty() ? 0 : 1)), ""};
        const std::size_t split = parsed.variant.rfind('_') + 1;
        if (IsLanguage(subject, parsed.variant.substr(split))) {
            parsed.language = parsed.variant.substr(split);
            parsed.variant.erase(split == 0 ? 0 : split - 1);
        }
        return parsed;
    }
    return std::nullopt;
}

std::vector<FieldList> FieldLists(const TextFile& system, const Subject& subject) {
    std::vector<FieldList> lists;
    for (const TextFile::Section& section : system.Sections())
        if (std::optional<FieldList> list = ParseFieldList(subject, section))
            lists.push_back(*std::move(list));
    return lists;
}

std::string NameOf(const FieldList& list, const std::string& language) {
    return list.list + (list.variant.empty() ? "" : "_" + list.variant) +
           (language.empty() ? "" : "_" + language);
}

template <typename Look>
void ForEachField(const TextFile& system, const Subject& subject, Look look) {
    for (const FieldList& list : FieldLists(system, subject))
        for (const TextFile::Entry& field : system.Entries(*list.section))
            look(field);
}

// The number behind the last star of a label; -1 when none stands there.
int HistoryOf(std::string_view label) {
    const std::size_t star = label.rfind('*');
    if (star == std::string_view::npos)
        return -1;
    const std::string_view number = label.substr(star + 1);
    return IsInteger(number) ? MeterText::ToInt(number) : -1;
}

// ---- functions and access levels

std::vector<const TextFile::Section*> SectionsBeginning(const TextFile& file, std::string_view start) {
    std::vector<const TextFile::Section*> sections;
    for (const TextFile::Section& section : file.Sections())
        if (MeterText::EqualIgnoringCase(section.name.substr(0, start.size()), start))
            sections.push_back(&section);
    return sections;
}

template <typename Look>
void ForEachAccessList(const TextFile& system, Look look) {
    for (const TextFile::Section* section : SectionsBeginning(system, "AccessLevel"))
        for (const TextFile::Entry& list : system.Entries(*section))
            look(list);
}

// "Functions_de" and the like, of which each stands for the whole of "Functions".
std::vector<const TextFile::Section*> TranslatedFunctions(const TextFile& system) {
    return SectionsBeginning(system, "Functions_");
}

// ---- types to append

std::vector<const TextFile::Section*> TypeLists(const TextFile& system) {
    std::vector<const TextFile::Section*> lists = SectionsBeginning(system, "Append_");
    const TextFile::Section* plain = system.Find("Append");
    if (plain != nullptr && system.Find("Append", "Types"))
        lists.push_back(plain);
    return lists;
}

// A count and the numbered entries that it counts: "Types" and "Type1", "Type2"...
struct NumberedList {
    std::string section;
    std::string count;
    std::string entry;
    int most;
};

void FindGaps(const TextFile& file, const NumberedList& list, Findings& found) {
    const auto count = file.Find(list.section, list.count);
    for (int number = 1; count && number <= std::min(MeterText::ToInt(count->value), list.most); ++number)
        if (!file.Find(list.section, list.entry + std::to_string(number)))
            found.At(count->line, list.count + "=" + std::string(count->value) + ", but " + list.entry +
                                      std::to_string(number) + " is missing");
}

void FindBeyondCount(const TextFile& file, const NumberedList& list, Findings& found) {
    const int counted = std::min(MeterText::ToInt(file.Value(list.section, list.count)), list.most);
    for (const TextFile::Entry& entry : EntriesOf(file, list.section)) {
        const std::string_view number = entry.key.substr(std::min(list.entry.size(), entry.key.size()));
        if (MeterText::EqualIgnoringCase(entry.key.substr(0, list.entry.size()), list.entry) &&
            IsInteger(number) && MeterText::ToInt(number) > counted)
            found.At(entry.line, std::string(entry.key) + " stands behind the " + std::to_string(counted) +
                                     " that " + list.count + " counts");
    }
}

std::vector<NumberedList> NumberedLists(const TextFile& system) {
    std::vector<NumberedList> lists = {{"Languages", "Languages", "Language", kMostLanguages}};
    for (const TextFile::Section* section : TypeLists(system))
        lists.push_back({std::string(section->name), "Types", "Type", kMostTypes});
    return lists;
}

void FindMissingTemplates(const TextFile& system, Findings& found) {
    const TextFile::Section* plain = system.Find("Append");
    const bool hasCommon = plain != nullptr && !system.Find("Append", "Types");
    for (const TextFile::Section* section : TypeLists(system)) {
        for (const TextFile::Entry& entry : system.Entries(*section)) {
            const std::string type(MeterText::BareToken(entry.value, 1));
            const bool isType = MeterText::EqualIgnoringCase(entry.key.substr(0, 4), "Type") &&
                                IsInteger(entry.key.substr(4));
            if (isType && !hasCommon && system.Find("Append" + type) == nullptr)
                found.At(entry.line,
                         "[Append" + type + "] is missing, and there is no [Append] for all types");
        }
    }
}

// ---- languages

template <typename Look>
void ForEachLanguageFile(const Subject& subject, Look look) {
    for (const Language& language : subject.languages)
        if (language.file != nullptr && language.file->GetState() == TextFile::State::Loaded)
            look(*language.file);
}

bool IsTextKey(std::string_view key) {
    return std::any_of(std::begin(MeterRecords::kDisplayTexts), std::end(MeterRecords::kDisplayTexts),
                       [key](const auto& text) { return MeterText::EqualIgnoringCase(text.key, key); });
}

// ---- types of meters

template <typename Look>
void ForEachCode(const TextFile& types, Look look) {
    for (const TextFile::Section& section : types.Sections())
        for (const char* key : {"Functions", "Readouts"})
            if (const auto entry = types.Find(section.name, key))
                for (const std::string_view code : Tokens(MeterText::WithoutQuotes(entry->value)))
                    look(section, *entry, code);
}

bool IsFunctionCode(std::string_view code) {
    return IsInteger(MeterText::TrimBlanks(code)) && MeterText::ToInt(code) >= 1 &&
           MeterText::ToInt(code) <= kLargestCode;
}

}  // namespace

// NOLINTNEXTLINE(readability-function-size): a table, as long as it has rules.
const std::vector<Rule>& SystemRules() {
    static const std::vector<Rule> rules = {
        // ---- paths
        {"I01", Severity::Error, "Without AppFile, DataFile and RawFile the database cannot be opened.",
         [](const TextFile& system, const Subject&, Findings& found) {
             for (const char* key : {"AppFile", "DataFile", "RawFile"})
                 if (system.Value("System", key).empty())
                     found.At(system.Find("System")->header, std::string(key) + " is not set in [System]");
         }},
        {"I02", Severity::Error, "Two of the files are one: saving the one would destroy the other.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             const fs::path data = Subject::PathOf(subject.directory, system.Value("System", "DataFile"));
             for (const char* key : {"AppFile", "RawFile"}) {
                 const auto other = system.Find("System", key);
                 if (other && !other->value.empty() &&
                     Subject::PathOf(subject.directory, other->value).lexically_normal() ==
                         data.lexically_normal())
                     found.At(other->line, std::string(key) + " is the file of DataFile");
             }
         }},
        {"I03", Severity::Error, "The route is not there: the terminal would begin with an empty one.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             FindMissingPath(system, "DataFile",
                             Subject::PathOf(subject.directory, system.Value("System", "DataFile")), found);
         }},
        {"I04", Severity::Warning,
         "A directory or file that is named is not there: what needs it does nothing.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             for (const char* key : {"RawPath", "ParDefRoot"})
                 FindMissingPath(system, key, Subject::PathOf(subject.directory, system.Value("System", key)),
                                 found);
             FindMissingPath(
                 system, "ParDefFile",
                 Subject::PathOf(ParameterRoot(system, subject), system.Value("System", "ParDefFile")),
                 found);
         }},
        {"I05", Severity::Error, "Paths are read up to 255 bytes: a longer one leads elsewhere.",
         [](const TextFile& system, const Subject&, Findings& found) {
             ForEachPath(
                 system,
                 [](const TextFile::Entry& path, Findings& out) {
                     if (path.value.size() > kPathChars)
                         out.At(path.line, std::string(path.key) + " has " +
                                               std::to_string(path.value.size()) + " bytes");
                 },
                 found);
         }},
        {"I06", Severity::Warning,
         "Names of files are taken in the device's own code page: beyond ASCII they are found on one device "
         "and "
         "not on another.",
         [](const TextFile& system, const Subject&, Findings& found) {
             ForEachPath(
                 system,
                 [](const TextFile::Entry& path, Findings& out) {
                     if (std::any_of(path.value.begin(), path.value.end(),
                                     [](char c) { return static_cast<unsigned char>(c) >= 0x80; }))
                         out.At(path.line, std::string(path.key) + "=" + std::string(path.value));
                 },
                 found);
         }},
        {"I07", Severity::Error, "Blanks at the ends of a path and quotes around it are part of the name.",
         [](const TextFile& system, const Subject&, Findings& found) {
             ForEachPath(
                 system,
                 [](const TextFile::Entry& path, Findings& out) {
                     if (MeterText::TrimBlanks(path.value) != path.value ||
                         MeterText::Contains(path.value, '"'))
                         out.At(path.line, std::string(path.key) + "=" + std::string(path.value));
                 },
                 found);
         }},
        {"I08", Severity::Warning, "A switch is on when it says Yes: any other text is No.",
         [](const TextFile& system, const Subject&, Findings& found) {
             for (const auto& [section, key] :
                  {std::pair("System", "CheckAutoReadRegs"), std::pair("System", "RespectAccessLevel"),
                   std::pair("Functions", "FallBackToManualReset")}) {
                 const auto entry = system.Find(section, key);
                 if (entry && !entry->value.empty() && !MeterText::EqualIgnoringCase(entry->value, "Yes") &&
                     !MeterText::EqualIgnoringCase(entry->value, "No"))
                     found.At(entry->line, std::string(key) + "=" + std::string(entry->value));
             }
         }},

        // ---- languages
        {"I09", Severity::Error, "An entry that is counted but missing leaves a hole in the list.",
         [](const TextFile& system, const Subject&, Findings& found) {
             for (const NumberedList& list : NumberedLists(system))
                 FindGaps(system, list, found);
         }},
        {"I10", Severity::Warning, "What stands behind the count of a list is never looked at.",
         [](const TextFile& system, const Subject&, Findings& found) {
             for (const NumberedList& list : NumberedLists(system))
                 FindBeyondCount(system, list, found);
         }},
        {"I11", Severity::Error, "Of two languages with one code only the first can be chosen.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             for (auto language = subject.languages.begin(); language != subject.languages.end(); ++language)
                 if (std::any_of(subject.languages.begin(), language, [&](const Language& earlier) {
                         return MeterText::EqualIgnoringCase(earlier.code, language->code);
                     }))
                     found.At(language->line, "the code " + Quoted(language->code) + " stands there twice");
         }},
        {"I12", Severity::Error,
         "A language is a code of up to 39 bytes and a file: otherwise it cannot be chosen.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             for (const Language& language : subject.languages)
                 if (language.code.empty() || language.code.size() > kNameChars || language.fileName.empty())
                     found.At(language.line,
                              Quoted(language.code) + " with file " + Quoted(language.fileName));
         }},
        {"I13", Severity::Error, "Without its file a language shows the default texts, which are English.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             for (const Language& language : subject.languages)
                 if (language.file != nullptr && language.file->GetState() != TextFile::State::Loaded)
                     found.At(language.line,
                              language.file->Name() + (language.file->GetState() == TextFile::State::Missing
                                                           ? " is not there"
                                                           : " cannot be read"));
         }},

        // ---- what the user sees of a record
        {"I14", Severity::Warning,
         "The master value identifies the meter: without it no reading of a wrong meter is noticed.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             const auto master = system.Find("List", "MasterValue");
             if (master && !master->value.empty() && !subject.headers.empty() &&
                 subject.facts.names.count(Folded(master->value)) == 0)
                 found.At(master->line, "no record has a value " + Quoted(master->value));
         }},
        {"I15", Severity::Note, "A field that no record and no template has is never shown.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             if (subject.headers.empty())
                 return;
             ForEachField(system, subject, [&](const TextFile::Entry& field) {
                 if (subject.facts.names.count(Folded(field.key)) == 0)
                     found.At(field.line, "no record has a value " + Quoted(field.key));
             });
         }},
        {"I16", Severity::Error, "Names of fields are read up to 39 bytes: a longer one is never found.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             ForEachField(system, subject, [&found](const TextFile::Entry& field) {
                 if (field.key.size() > kNameChars)
                     found.At(field.line,
                              Quoted(field.key) + " has " + std::to_string(field.key.size()) + " bytes");
             });
         }},
        {"I17", Severity::Warning, "Declarations of fields are read up to 255 bytes: the rest is cut off.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             ForEachField(system, subject, [&found](const TextFile::Entry& field) {
                 if (field.value.size() > kPathChars)
                     found.At(field.line, Quoted(field.key) + " is declared with " +
                                              std::to_string(field.value.size()) + " bytes");
             });
         }},
        {"I18", Severity::Error,
         "The first 255 declarations of a list are looked at: what follows is never shown.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             for (const FieldList& list : FieldLists(system, subject)) {
                 const std::vector<TextFile::Entry> fields = system.Entries(*list.section);
                 if (fields.size() > kMostDeclarations)
                     found.At(fields[kMostDeclarations].line, std::to_string(fields.size()) + " fields");
             }
         }},
        {"I19", Severity::Warning, "A field without a label is shown as a bare value.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             ForEachField(system, subject, [&found](const TextFile::Entry& field) {
                 if (MeterText::BareToken(field.value, 1).empty())
                     found.At(field.line, Quoted(field.key) + " has no label");
             });
         }},
        {"I20", Severity::Warning,
         "A label counts billing periods back from 1 to 18: any other number stays as it is.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             ForEachField(system, subject, [&found](const TextFile::Entry& field) {
                 const std::string_view label = MeterText::BareToken(field.value, 1);
                 const int periods = HistoryOf(label);
                 if (periods == 0 || periods > kLastHistory)
                     found.At(field.line, Quoted(label));
             });
         }},
        {"I21", Severity::Error,
         "Names of field lists must stay below 40 bytes: a longer one is never found.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             for (const FieldList& list : FieldLists(system, subject))
                 if (list.section->name.size() > kNameChars)
                     found.At(list.section->header, "[" + std::string(list.section->name) + "] has " +
                                                        std::to_string(list.section->name.size()) + " bytes");
         }},
        {"I22", Severity::Warning,
         "A list of a meter type without one for a language is shown in the other language.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             for (const FieldList& list : FieldLists(system, subject))
                 for (const Language& language : subject.languages)
                     if (!list.variant.empty() && list.language.empty() &&
                         system.Find(list.list + "_" + language.code) != nullptr &&
                         system.Find(NameOf(list, language.code)) == nullptr)
                         found.At(list.section->header, "[" + NameOf(list, language.code) + "] is missing");
         }},
        {"I23", Severity::Warning,
         "A list of a language is used whole: fields that it lacks are not shown in it.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             for (const FieldList& list : FieldLists(system, subject)) {
                 const TextFile::Section* plain = system.Find(NameOf(list, ""));
                 if (list.language.empty() || plain == nullptr)
                     continue;
                 const Record own(system, *list.section, RecordKind::Template, 0, 0);
                 for (const TextFile::Entry& field : system.Entries(*plain))
                     if (own.Find(field.key) == nullptr)
                         found.At(list.section->header, Quoted(field.key) + " of [" +
                                                            std::string(plain->name) + "] is not in [" +
                                                            std::string(list.section->name) + "]");
             }
         }},
        {"I24", Severity::Error,
         "Names of selection lists are read up to 39 bytes: a longer one is never found.",
         [](const TextFile& system, const Subject&, Findings& found) {
             constexpr std::string_view kSurvey = "Survey_";
             for (const TextFile::Section* section : SectionsBeginning(system, kSurvey))
                 if (section->name.size() > kSurvey.size() + kNameChars)
                     found.At(section->header, "[" + std::string(section->name) + "]");
         }},
        {"I25", Severity::Warning, "A code without a label is shown as nothing.",
         [](const TextFile& system, const Subject&, Findings& found) {
             for (const TextFile::Section* section : SectionsBeginning(system, "Survey_"))
                 for (const TextFile::Entry& code : system.Entries(*section))
                     if (MeterText::BareToken(code.value, 1).empty())
                         found.At(code.line, "code " + Quoted(code.key) + " has no label");
         }},

        // ---- functions
        {"I26", Severity::Error, "An empty code ends the list of options: those behind it become commands.",
         [](const TextFile& system, const Subject&, Findings& found) {
             for (const TextFile::Section& section : system.Sections()) {
                 const auto options = MeterText::EqualIgnoringCase(section.name.substr(0, 9), "Functions")
                                          ? system.Find(section.name, "Options")
                                          : std::nullopt;
                 if (!options || options->value.empty())
                     continue;
                 for (const std::string_view code : Tokens(MeterText::WithoutQuotes(options->value)))
                     if (!IsInteger(MeterText::TrimBlanks(code)))
                         found.At(options->line, Quoted(code) + " is no code");
             }
         }},
        {"I27", Severity::Error,
         "The list of options holds 60 codes in 510 bytes: those behind become commands.",
         [](const TextFile& system, const Subject&, Findings& found) {
             constexpr std::size_t kMostOptions = 60;
             constexpr std::size_t kOptionsChars = 510;
             for (const TextFile::Section* section : SectionsBeginning(system, "Functions"))
                 if (const auto options = system.Find(section->name, "Options"))
                     if (options->value.size() > kOptionsChars ||
                         Tokens(options->value).size() > kMostOptions)
                         found.At(options->line, std::to_string(Tokens(options->value).size()) +
                                                     " codes in " + std::to_string(options->value.size()) +
                                                     " bytes");
         }},
        {"I28", Severity::Warning,
         "The functions of a language are used whole: options and texts that they lack are not there in it.",
         [](const TextFile& system, const Subject&, Findings& found) {
             for (const TextFile::Section* section : TranslatedFunctions(system))
                 for (const TextFile::Entry& text : EntriesOf(system, "Functions"))
                     if (!MeterText::EqualIgnoringCase(text.key, "FallBackToManualReset") &&
                         !system.Find(section->name, text.key))
                         found.At(section->header, Quoted(text.key) + " of [Functions] is not in [" +
                                                       std::string(section->name) + "]");
         }},
        {"I29", Severity::Error,
         "Access lists are found as NOROUTE_, CHANGE_ or ROUTE_ and a type of meters or *.",
         [](const TextFile& system, const Subject&, Findings& found) {
             ForEachAccessList(system, [&found](const TextFile::Entry& list) {
                 const std::size_t split = list.key.find('_');
                 const std::string word = Folded(list.key.substr(0, split));
                 if (split == std::string_view::npos || split + 1 == list.key.size() ||
                     (word != "noroute" && word != "change" && word != "route"))
                     found.At(list.line, Quoted(list.key));
             });
         }},
        {"I30", Severity::Error,
         "Codes that are not from 1 to 255 are ignored in access lists, and an empty one ends the list.",
         [](const TextFile& system, const Subject&, Findings& found) {
             ForEachAccessList(system, [&found](const TextFile::Entry& list) {
                 for (const std::string_view code : Tokens(MeterText::WithoutQuotes(list.value)))
                     if (!IsFunctionCode(code))
                         found.At(list.line, Quoted(code) + " is no code of a function");
             });
         }},
        {"I31", Severity::Error, "An access list holds 254 codes in 511 bytes: those behind are not allowed.",
         [](const TextFile& system, const Subject&, Findings& found) {
             ForEachAccessList(system, [&found](const TextFile::Entry& list) {
                 constexpr std::size_t kListChars = 511;
                 constexpr std::size_t kMostCodes = 254;
                 if (list.value.size() > kListChars || Tokens(list.value).size() > kMostCodes)
                     found.At(list.line, std::to_string(list.value.size()) + " bytes");
             });
         }},
        {"I32", Severity::Warning, "Without a list for its level every function is allowed to a user.",
         [](const TextFile& system, const Subject&, Findings& found) {
             const auto respect = system.Find("System", "RespectAccessLevel");
             if (respect && MeterText::EqualIgnoringCase(respect->value, "Yes") &&
                 SectionsBeginning(system, "AccessLevel").empty())
                 found.At(respect->line, "there is no section [AccessLevel1] or any other");
         }},

        // ---- types to append
        {"I33", Severity::Error, "A type without a template is offered, and cannot be appended.",
         [](const TextFile& system, const Subject&, Findings& found) {
             FindMissingTemplates(system, found);
         }},
        {"I34", Severity::Error, "A record that is appended would receive the list of types as its values.",
         [](const TextFile& system, const Subject&, Findings& found) {
             const auto types = system.Find("Append", "Types");
             if (types && (system.Find("Append", "MeterType") || system.Find("Append", "0.0.0")))
                 found.At(types->line, "[Append] is both the list of types and a template");
         }},
        {"I35", Severity::Error,
         "An appended record begins with its state: one of the template would be a second.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             for (const RecordHeader& header : subject.templates)
                 if (const auto state = system.Find(header.section->name, "State"))
                     found.At(state->line, "State=" + std::string(state->value));
         }},
        {"I36", Severity::Warning, "Without MeterType nobody knows what kind of meter was appended.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             for (const RecordHeader& header : subject.templates)
                 if (!system.Find(header.section->name, "MeterType"))
                     found.At(header.section->header,
                              "[" + std::string(header.section->name) + "] has no MeterType");
         }},
        {"I37", Severity::Error, "Entries of a template are read up to 255 bytes: the rest is cut off.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             for (const RecordHeader& header : subject.templates)
                 for (const TextFile::Entry& entry : system.Entries(*header.section))
                     if (entry.value.size() > kPathChars)
                         found.At(entry.line, Quoted(entry.key) + " has " +
                                                  std::to_string(entry.value.size()) + " bytes");
         }},
        {"I38", Severity::Warning,
         "A general value is taken from [General] of the data file: without it the field stays as it is.",
         [](const TextFile& system, const Subject& subject, Findings& found) {
             for (const RecordHeader& header : subject.templates)
                 for (const TextFile::Entry& entry : system.Entries(*header.section))
                     if (subject.data != nullptr && MeterText::Contains(entry.value, ',') &&
                         MeterText::Contains(entry.value.substr(0, entry.value.find(',')), 'G') &&
                         !subject.data->Find("General", entry.key))
                         found.At(entry.line, "[General] of the data file has no " + Quoted(entry.key));
         }},

        // ---- language files
        {"L01", Severity::Error, "Texts are looked for in [StringTexts] alone.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             ForEachLanguageFile(subject, [&found](const TextFile& file) {
                 if (file.Find("StringTexts") == nullptr)
                     found.At(file, 0, "there is no section [StringTexts]");
             });
         }},
        {"L02", Severity::Warning, "A text that the system does not know is never shown.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             ForEachLanguageFile(subject, [&found](const TextFile& file) {
                 for (const TextFile::Entry& text : EntriesOf(file, "StringTexts"))
                     if (!IsTextKey(text.key))
                         found.At(file, text.line, Quoted(text.key));
             });
         }},
        {"L03", Severity::Warning, "A text that is missing is shown in English.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             ForEachLanguageFile(subject, [&found](const TextFile& file) {
                 for (const auto& text : MeterRecords::kDisplayTexts)
                     if (file.Find("StringTexts") != nullptr && !file.Find("StringTexts", text.key))
                         found.At(file, file.Find("StringTexts")->header,
                                  std::string(text.key) + " is missing");
             });
         }},
        {"L04", Severity::Warning, "A quote that is not closed is shown with the text.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             ForEachLanguageFile(subject, [&found](const TextFile& file) {
                 for (const TextFile::Entry& text : EntriesOf(file, "StringTexts")) {
                     const std::string_view bare = MeterText::WithoutQuotes(text.value);
                     if (bare.size() == text.value.size() && MeterText::Contains(bare, '"'))
                         found.At(file, text.line, Quoted(text.value));
                 }
             });
         }},

        // ---- app file
        {"A01", Severity::Warning,
         "A language that the system ini does not list becomes the first of its list.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             if (subject.app == nullptr)
                 return;
             const auto language = subject.app->Find("System", "Language");
             if (language && !subject.languages.empty() && !IsLanguage(subject, language->value))
                 found.At(*subject.app, language->line, "Language=" + std::string(language->value),
                          {ByOpening{}});
         }},
        {"A02", Severity::Note,
         "The client of the app file and that of the route are brought together on opening.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             if (subject.app == nullptr || subject.data == nullptr)
                 return;
             const auto client = subject.data->Find("General", "Client");
             const auto mandator = subject.app->Find("State", "MandatorIdx");
             if (client && mandator && MeterText::ToInt(client->value) != MeterText::ToInt(mandator->value))
                 found.At(*subject.app, mandator->line,
                          "MandatorIdx=" + std::string(mandator->value) +
                              ", but Client=" + std::string(client->value) + " in the data file",
                          {ByOpening{}});
         }},
        {"A03", Severity::Warning,
         "A comma too many or too few shifts the path, and the file is not found again.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             if (subject.app == nullptr)
                 return;
             for (const TextFile::Entry& entry : EntriesOf(*subject.app, "ParameterFiles"))
                 if (!MeterText::EqualIgnoringCase(entry.key, "Files") && Tokens(entry.value).size() != 4)
                     found.At(*subject.app, entry.line, Quoted(entry.value));
         }},
        {"A04", Severity::Warning, "The register of parameter files is searched as far as it counts.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             constexpr int kMostFiles = 10001;
             if (subject.app == nullptr)
                 return;
             const NumberedList files{"ParameterFiles", "Files", "File", kMostFiles};
             found.LookIn(*subject.app);
             FindGaps(*subject.app, files, found);
             FindBeyondCount(*subject.app, files, found);
         }},

        // ---- types of meters
        {"P01", Severity::Warning, "Without metertypes.ini no function of a meter is listed or run.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             if (subject.types->GetState() != TextFile::State::Loaded)
                 found(std::string(kMeterTypesFile) + " is not there");
         }},
        {"P02", Severity::Warning, "Functions of a meter have codes from 1 to 255: others are ignored.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             ForEachCode(
                 *subject.types, [&](const auto&, const TextFile::Entry& entry, std::string_view code) {
                     if (!IsFunctionCode(code))
                         found.At(*subject.types, entry.line, Quoted(code) + " is no code of a function");
                 });
         }},
        {"P03", Severity::Warning, "A readout of a function that the type does not have is never taken.",
         [](const TextFile&, const Subject& subject, Findings& found) {
             for (const TextFile::Section& section : subject.types->Sections()) {
                 const auto readouts = subject.types->Find(section.name, "Readouts");
                 const std::vector<std::string_view> functions =
                     Tokens(subject.types->Value(section.name, "Functions"));
                 for (const std::string_view code : Tokens(readouts ? readouts->value : std::string_view()))
                     if (std::find(functions.begin(), functions.end(), code) == functions.end())
                         found.At(*subject.types, readouts->line,
                                  "function " + std::string(code) + " is not among Functions");
             }
         }},
    };
    return rules;
}

}  // namespace Check
