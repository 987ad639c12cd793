// What can be wrong with the functions of a record: their numbers, their codes, what composite ones are made
// of.
#include <algorithm>
#include <array>
#include <map>

#include "MeterUtil/IniLine.h"
#include "terminal/check/Rule.h"

namespace Check {
namespace {

constexpr int kMostFunctions = 59;
constexpr int kLargestCode = 255;
constexpr int kFirstComposite = 1000;
constexpr int kLastComposite = 1999;
constexpr int kSetClock = 101;
constexpr int kManualReset = 125;
constexpr int kWriteConfiguration = 202;
constexpr std::string_view kFunc = "Func";

// A function of a record.
struct Function {
    const Value* entry;
    int number;  // in its key
    int code;

    bool IsComposite() const { return code >= kFirstComposite && code <= kLastComposite; }
};

std::string KeyOf(int number) {
    return std::string(kFunc) + std::to_string(number);
}

// By their numbers. Of a template's parts, in which numbers begin anew, those of the first.
std::map<int, Function> FunctionsOf(const Record& record) {
    std::map<int, Function> functions;
    for (const Value& value : record.Values()) {
        if (!value.isFunction)
            continue;
        const int number = MeterText::ToInt(value.entry.key.substr(kFunc.size()));
        if (MeterText::EqualIgnoringCase(value.entry.key, KeyOf(number)))
            functions.emplace(number, Function{&value, number, MeterText::ToInt(value.bare[kValue])});
    }
    return functions;
}

template <typename Look>
void ForEachFunction(const RecordView& view, Look look) {
    for (const auto& [number, function] : FunctionsOf(view.record))
        look(function);
}

// A token of a composite function's definition.
struct Part {
    std::string_view text;
    bool isOptional = false;
    int code = 0;
    std::string_view argument;  // in brackets behind the code
};

Part PartOf(std::string_view token) {
    Part part;
    part.text = token;
    part.isOptional = !token.empty() && MeterText::ToLower(token.front()) == 'o';
    token.remove_prefix(part.isOptional ? 1 : 0);
    part.code = MeterText::ToInt(token);
    const std::size_t open = token.find('[');
    if (open != std::string_view::npos)
        part.argument = token.substr(open + 1, token.rfind(']') - open - 1);
    return part;
}

template <typename Look>
void ForEachPart(const RecordView& view, Look look) {
    ForEachFunction(view, [&](const Function& function) {
        if (function.IsComposite())
            for (const std::string_view token : function.entry->tokens)
                look(function, PartOf(token));
    });
}

std::string Named(const Function& function) {
    return KeyOf(function.number) + " (" + std::to_string(function.code) + ")";
}

// ---- gaps

// The function, and the entry that has its text, move to another number.
std::vector<Repair> Renumbered(const Record& record, const Function& function, int number) {
    std::vector<Repair> repairs;
    for (const std::string suffix : {"", "_Info"})
        if (const TextFile::Entry* entry = record.Find(KeyOf(function.number) + suffix))
            repairs.emplace_back(
                SetLine{entry->line, WithKey(record.file.Line(entry->line), KeyOf(number) + suffix)});
    return repairs;
}

void FindGaps(const RecordView& view, Findings& found) {
    int expected = 1;
    for (const auto& [number, function] : FunctionsOf(view.record)) {
        if (number != expected)
            found.At(function.entry->entry.line, Named(function) + ", but there is no " + KeyOf(expected),
                     Renumbered(view.record, function, expected));
        ++expected;
    }
}

// ---- what the type of the meter supports

// Null when the type of the record's meter is not known.
const TextFile::Section* TypeOf(const RecordView& view) {
    const TextFile* types = view.subject.types.get();
    return types == nullptr ? nullptr : types->Find(view.record.Text("MeterType"));
}

bool IsSupported(const RecordView& view, const TextFile::Section& type, int code) {
    if (code < 1 || code > kLargestCode)
        return true;
    if (code == kManualReset &&
        MeterText::EqualIgnoringCase(view.subject.system->Value("Functions", "FallBackToManualReset"), "Yes"))
        return true;
    MeterText::TokenReader codes(MeterText::WithoutQuotes(view.subject.types->Value(type.name, "Functions")));
    for (std::string_view known; codes.Next(&known);)
        if (MeterText::ToInt(known) == code)
            return true;
    return false;
}

void FindUnsupported(const RecordView& view, Findings& found) {
    const TextFile::Section* type = TypeOf(view);
    if (type == nullptr)
        return;
    const auto report = [&](const Function& function, int code) {
        found.At(function.entry->entry.line, Named(function) + ": type " + std::string(type->name) +
                                                 " has no function " + std::to_string(code));
    };
    ForEachFunction(view, [&](const Function& function) {
        if (!IsSupported(view, *type, function.code))
            report(function, function.code);
    });
    ForEachPart(view, [&](const Function& function, const Part& part) {
        if (!part.isOptional && part.code != kSetClock && !IsSupported(view, *type, part.code))
            report(function, part.code);
    });
}

// ---- texts and parameter files

bool HasText(const RecordView& view, const Function& function) {
    std::array<char, 256> text{};
    CMeterDatabase& database = *view.subject.database;
    if (database.GetCommandText(nullptr, function.code, text.data(), static_cast<int>(text.size())))
        return true;
    return function.IsComposite() && view.record.Find(KeyOf(function.number) + "_Info") != nullptr;
}

// "Xtariff.par{2}": the file and the set in it.
struct ParameterSet {
    std::string_view file;
    std::string_view set;
};

std::optional<ParameterSet> ParameterSetOf(const Part& part) {
    const std::string_view argument = part.argument;
    if (part.code != kWriteConfiguration || argument.empty() || MeterText::ToLower(argument.front()) != 'x')
        return std::nullopt;
    const std::size_t open = argument.find('{');
    if (open == std::string_view::npos || argument.back() != '}')
        return ParameterSet{argument.substr(1), {}};
    return ParameterSet{argument.substr(1, open - 1), argument.substr(open + 1, argument.size() - open - 2)};
}

// What is missing of a parameter set; "" when it is there.
std::string MissingOf(const Subject& subject, const ParameterSet& wanted) {
    const std::filesystem::path root =
        Subject::PathOf(subject.directory, subject.system->Value("System", "ParDefRoot"));
    const TextFile file(Subject::PathOf(root, wanted.file), std::string(wanted.file));
    if (file.GetState() != TextFile::State::Loaded)
        return "the file " + std::string(wanted.file) + " is not there";
    const std::string set =
        MeterText::EqualIgnoringCase(wanted.set, "default") ? std::string("-1") : std::string(wanted.set);
    if (file.Find("File_" + set) == nullptr)
        return std::string(wanted.file) + " has no set " + set;
    if (MeterText::ToInt(file.Value("File_" + set, "Version")) < 1)
        return "set " + set + " of " + std::string(wanted.file) + " has no version";
    return {};
}

}  // namespace

// NOLINTNEXTLINE(readability-function-size): a table, as long as it has rules.
const std::vector<Rule>& FunctionRules() {
    static const std::vector<Rule> rules = {
        {"F01", Severity::Error,
         "The first missing number ends the functions of a record: those behind it are never offered.",
         FindGaps},
        {"F02", Severity::Error, "A record has up to 59 functions: those behind are never offered.",
         [](const RecordView& view, Findings& found) {
             ForEachFunction(view, [&found](const Function& function) {
                 if (function.number > kMostFunctions)
                     found.At(function.entry->entry.line, Named(function));
             });
         }},
        {"F03", Severity::Error, "The code of a function is a number above 0.",
         [](const RecordView& view, Findings& found) {
             ForEachFunction(view, [&found](const Function& function) {
                 if (function.code < 1 || !IsInteger(MeterText::TrimBlanks(function.entry->bare[kValue])))
                     found.At(function.entry->entry.line, KeyOf(function.number) + " has the code " +
                                                              Quoted(function.entry->bare[kValue]));
             });
         }},
        {"F04", Severity::Warning, "A code that no text names is shown as a question mark.",
         [](const RecordView& view, Findings& found) {
             if (view.subject.database == nullptr)
                 return;
             ForEachFunction(view, [&](const Function& function) {
                 if (function.code >= 1 && !HasText(view, function))
                     found.At(function.entry->entry.line, Named(function));
             });
         }},
        {"F05", Severity::Error,
         "A composite function needs a function in each token of its definition: otherwise it is never "
         "offered.",
         [](const RecordView& view, Findings& found) {
             ForEachFunction(view, [&found](const Function& function) {
                 if (function.IsComposite() && function.entry->tokens.empty())
                     found.At(function.entry->entry.line, Named(function) + " has an empty definition");
             });
             ForEachPart(view, [&found](const Function& function, const Part& part) {
                 if (part.code == 0)
                     found.At(function.entry->entry.line,
                              Named(function) + " has the token " + Quoted(part.text));
             });
         }},
        {"F06", Severity::Warning, "A function that the type of the meter does not have is never offered.",
         FindUnsupported},
        {"F07", Severity::Note, "Of two functions with one code only the first is run and noted.",
         [](const RecordView& view, Findings& found) {
             std::map<int, int> numbers;
             ForEachFunction(view, [&](const Function& function) {
                 const auto [first, isNew] = numbers.emplace(function.code, function.number);
                 if (!isNew)
                     found.At(function.entry->entry.line,
                              Named(function) + " has the code of " + KeyOf(first->second));
             });
         }},
        {"F08", Severity::Warning,
         "Functions are Func1, Func2 and so on: a number that is spelled otherwise is never found.",
         [](const RecordView& view, Findings& found) {
             for (const TextFile::Entry& entry : view.record.Entries())
                 if (IsFunctionKey(entry.key) &&
                     !MeterText::EqualIgnoringCase(entry.key,
                                                   KeyOf(MeterText::ToInt(entry.key.substr(kFunc.size())))))
                     found.At(entry.line, Quoted(entry.key));
         }},
        {"F09", Severity::Warning,
         "A bracket that is not closed takes the rest of the definition into its token.",
         [](const RecordView& view, Findings& found) {
             ForEachPart(view, [&found](const Function& function, const Part& part) {
                 for (const auto& [open, close] : {std::pair('[', ']'), std::pair('(', ')')})
                     if (MeterText::Contains(part.text, open) != MeterText::Contains(part.text, close))
                         found.At(function.entry->entry.line,
                                  Named(function) + " has the token " + Quoted(part.text));
             });
         }},
        {"F10", Severity::Warning,
         "The number of a parameter set stands in braces: without them it is read as part of the name of the "
         "file.",
         [](const RecordView& view, Findings& found) {
             ForEachPart(view, [&found](const Function& function, const Part& part) {
                 const std::optional<ParameterSet> wanted = ParameterSetOf(part);
                 if (wanted && wanted->set.empty())
                     found.At(function.entry->entry.line,
                              Named(function) + " has the token " + Quoted(part.text));
             });
         }},
        {"F11", Severity::Warning, "The version of a parameter set that is not there is shown as nothing.",
         [](const RecordView& view, Findings& found) {
             if (view.subject.system == nullptr)
                 return;
             ForEachPart(view, [&](const Function& function, const Part& part) {
                 const std::optional<ParameterSet> wanted = ParameterSetOf(part);
                 const std::string missing =
                     wanted && !wanted->set.empty() ? MissingOf(view.subject, *wanted) : std::string();
                 if (!missing.empty())
                     found.At(function.entry->entry.line, Named(function) + ": " + missing);
             });
         }},
        {"S06", Severity::Error,
         "The text of a function must be no store field: it would be copied as a function.",
         [](const RecordView& view, Findings& found) {
             for (const Value& value : view.record.Values())
                 if (MeterText::EqualIgnoringCase(value.entry.key.substr(0, kFunc.size()), kFunc) &&
                     !IsFunctionKey(value.entry.key) && value.Has('S'))
                     found.At(value.entry.line, std::string(value.entry.key));
         }},
    };
    return rules;
}

}  // namespace Check
