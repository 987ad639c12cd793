// What can be wrong with one value entry: its form, its letters, its definition, and what the definition
// refers to.
#include <algorithm>

#include "MeterUtil/Text.h"
#include "terminal/Record.h"
#include "terminal/check/Rule.h"

namespace Check {
namespace {

constexpr const char* kAttributeLetters = "RVACU?DTGS ";
constexpr const char* kStatusLetters = "UDCWRE ";
constexpr const char* kCheckLetters = "CXV";
constexpr const char* kAlarmLetters = "WCUDXY";
constexpr std::string_view kSurvey = "survey_";
constexpr std::size_t kSubFieldChars = 255;
constexpr std::size_t kQuotedBelow = 253;
constexpr std::size_t kListNameChars = 39;
constexpr const char* kSubFieldNames[] = {"attributes", "status", "definition", "value", "text"};

std::string_view Bare(const ValueView& view, SubField field) {
    return view.value.bare[static_cast<std::size_t>(field)];
}

std::string NameOf(const ValueView& view) {
    return std::string(view.value.entry.key);
}

// ---- form of the entry

bool IsEnclosed(std::string_view raw) {
    return raw.size() >= 2 && raw.front() == '"' && raw.back() == '"';
}

// One that should enclose the sub-field, and does not.
bool HasOpenQuote(std::string_view raw) {
    return MeterText::TrimBlanks(raw).substr(0, 1) == "\"" && !IsEnclosed(raw);
}

SetLine NewValue(const ValueView& view, const std::string& value) {
    return {view.value.entry.line, WithValue(view.record.file.Line(view.value.entry.line), value)};
}

bool HasKnownLetters(const ValueView& view) {
    return LettersBeyond(Bare(view, kAttributes), kAttributeLetters).empty() &&
           LettersBeyond(Bare(view, kStatus), kStatusLetters).empty();
}

// A sub-field that is missing is empty; what looks like a plain text with commas is left to a person.
void FindMissingSubFields(const ValueView& view, Findings& found) {
    const int has = view.value.subFields;
    if (has == kSubFields)
        return;
    std::vector<Repair> repairs;
    if (has > kDefinition && HasKnownLetters(view))
        repairs = {NewValue(view, std::string(view.value.entry.value) +
                                      std::string(static_cast<std::size_t>(kSubFields - has), ',') + "\"\"")};
    found(NameOf(view) + " has " + std::to_string(has) + " of 5 sub-fields", repairs);
}

// An entry in which a sub-field with commas lost its quotes has its text somewhere in the middle of them.
bool IsFallenApart(const ValueView& view) {
    const std::string_view text = view.value.raw[kText];
    return MeterText::Contains(text, ',') && text.front() != '"';
}

std::string_view BeforeText(const ValueView& view) {
    const std::string_view entry = view.value.entry.value;
    return entry.substr(0, entry.size() - view.value.raw[kText].size());
}

void FindBareText(const ValueView& view, Findings& found) {
    const std::string_view text = view.value.raw[kText];
    if (view.value.subFields != kSubFields || (!text.empty() && text.front() == '"') || IsFallenApart(view))
        return;
    std::vector<Repair> repairs;
    if (!MeterText::Contains(text, '"') && HasKnownLetters(view))
        repairs = {NewValue(view, std::string(BeforeText(view)) + Quoted(text))};
    found(NameOf(view) + " ends with " + (text.empty() ? "a comma" : Quoted(text)), repairs);
}

void FindOpenText(const ValueView& view, Findings& found) {
    const std::string_view text = view.value.raw[kText];
    if (text.empty() || text.front() != '"' || IsEnclosed(text))
        return;
    const std::string_view trimmed = MeterText::TrimBlanks(text);
    const std::string closed = IsEnclosed(trimmed) ? std::string(trimmed) : std::string(text) + "\"";
    found(NameOf(view) + " ends with " + std::string(text),
          {NewValue(view, std::string(BeforeText(view)) + closed)});
}

// The tokens that are reached. The definition of a function has none of these.
std::vector<std::string_view> TokensOf(const ValueView& view) {
    if (view.value.isFunction)
        return {};
    return {view.value.tokens.begin(),
            view.value.tokens.begin() + static_cast<std::ptrdiff_t>(view.value.reached)};
}

template <typename Look>
void ForEachToken(const ValueView& view, Look look) {
    std::size_t i = 0;
    for (const std::string_view token : TokensOf(view))
        look(i++, token);
}

// The token by which the value is checked; empty when there is none.
std::string_view CheckToken(const ValueView& view) {
    for (const std::string_view token : TokensOf(view))
        if (MeterText::Contains(kCheckLetters, token.front()))
            return token;
    return {};
}

std::string TokenText(const ValueView& view, std::string_view token) {
    return NameOf(view) + ": " + std::string(token);
}

// ---- limits

struct Limits {
    std::string_view lower;
    std::string_view upper;
};

Limits LimitsOf(std::string_view token) {
    Limits limits;
    token.remove_prefix(1);
    MeterText::FindToken(token, 1, ";", &limits.lower);
    MeterText::FindToken(token, 2, ";", &limits.upper);
    return limits;
}

bool IsRange(std::string_view token) {
    return token.substr(0, 1) == "C";
}

// ---- lists of labels

// The name behind "S;"; empty for any other format.
std::string_view ListOf(const ValueView& view) {
    const std::string_view format = view.value.Format();
    return format.size() > 2 && format.substr(0, 2) == "S;" ? format.substr(2) : std::string_view();
}

// Of "S;<NAME>": the entry of the record that has the labels.
std::string OwnListOf(const ValueView& view) {
    const std::string_view list = ListOf(view);
    return list.substr(0, 1) == "<" ? "Survey_" + std::string(list.substr(1, list.find('>') - 1))
                                    : std::string();
}

const TextFile::Section* SystemListOf(const ValueView& view) {
    const std::string_view list = ListOf(view);
    return view.subject.system == nullptr || list.empty()
               ? nullptr
               : view.subject.system->Find("Survey_" + std::string(list));
}

bool IsInOwnList(std::string_view list, std::string_view code) {
    MeterText::TokenReader labels(list, ";");
    for (std::string_view label; labels.Next(&label);)
        if (MeterText::Contains(label, ':') && MeterText::FirstToken(label, ":") == code)
            return true;
    return false;
}

void FindUnknownCode(const ValueView& view, Findings& found) {
    const std::string_view code = Bare(view, kValue);
    if (code.empty() || code == "?")
        return;
    const std::string own = OwnListOf(view);
    const TextFile::Section* list = SystemListOf(view);
    const Value* labels = own.empty() ? nullptr : view.record.FindValue(own);
    const bool isMissing = (labels != nullptr && !IsInOwnList(labels->bare[kValue], code)) ||
                           (own.empty() && list != nullptr && !view.subject.system->Find(list->name, code));
    if (isMissing)
        found(NameOf(view) + " is " + Quoted(code));
}

// ---- dates and durations

bool IsDatePattern(std::string_view format) {
    return !format.empty() && MeterText::Contains("YMDhms", format.front()) &&
           MeterText::ContainsAny(format, ".-:");
}

bool IsDurationPattern(std::string_view format) {
    const std::string folded = Folded(format);
    return folded == "dhms" || folded == "dhm" || folded == "hms" || folded == "hm";
}

bool IsPart(std::string_view time, std::size_t place, int least, int most) {
    if (time.size() < place + 2)
        return time.size() <= place;
    const int number = MeterText::ToInt(time.substr(place, 2));
    return number >= least && number <= most;
}

// YYYYMMDDhhmmss, or its first part.
bool IsTime(std::string_view time) {
    return IsCount(std::string(time)) && time.size() >= 4 && time.size() <= 14 && time.size() % 2 == 0 &&
           IsPart(time, 4, 1, 12) && IsPart(time, 6, 1, 31) && IsPart(time, 8, 0, 24) &&
           IsPart(time, 10, 0, 59) && IsPart(time, 12, 0, 59);
}

bool IsDuration(std::string_view text) {
    return text.size() == 11 && MeterText::Contains("+-", text.front()) &&
           IsCount(std::string(text.substr(1)));
}

bool IsBits(std::string_view format, std::string_view value) {
    const auto labels = static_cast<std::size_t>(std::count(format.begin(), format.end(), ';'));
    const std::size_t last = value.rfind('1');
    return value.find_first_not_of("01") == std::string_view::npos &&
           (last == std::string_view::npos || last < labels);
}

// ---- calculated values

// "NAME" of "NAME-DIFF"; empty for any other.
std::string_view BaseOfDifference(std::string_view name) {
    const std::size_t hyphen = name.find('-');
    return hyphen != std::string_view::npos && MeterText::EqualIgnoringCase(name.substr(hyphen), "-DIFF")
               ? name.substr(0, hyphen)
               : std::string_view();
}

bool IsCalculated(std::string_view name) {
    for (const char* known : {"MeterID", "0.1.0-calc", "UserID", "LastChanges"})
        if (MeterText::EqualIgnoringCase(name, known))
            return true;
    return !BaseOfDifference(name).empty();
}

// The values that an automatic one is calculated from.
std::vector<std::string> SourcesOf(std::string_view name) {
    const std::string base(BaseOfDifference(name));
    if (!base.empty())
        return {base, base + "-last"};
    if (MeterText::EqualIgnoringCase(name, "MeterID"))
        return {"0.0.0"};
    if (MeterText::EqualIgnoringCase(name, "0.1.0-calc"))
        return {"0.1.0-last", "0.1.0-DTlast"};
    return {};
}

// A value that nobody reads and nobody calculates: it must be there from the start.
bool IsGiven(const Value& value) {
    return !value.Has('R') && !value.Has('A');
}

// The record of a meter that is to be mounted gets the rest from the store.
bool WaitsForStoreFields(const ValueView& view) {
    return view.record.kind == RecordKind::Appendix &&
           std::any_of(view.subject.headers.begin(), view.subject.headers.end(),
                       [](const RecordHeader& header) { return header.kind == RecordKind::Store; });
}

bool IsOfNewMeter(const ValueView& view) {
    return view.record.kind == RecordKind::Template ||
           MeterText::ContainsAny(view.record.Text("State"), "NE");
}

}  // namespace

const std::vector<Rule>& ValueRules() {
    static const std::vector<Rule> rules = {
        // ---- form
        {"V01", Severity::Warning,
         "Attributes are the letters R V A C U ? D T G S: a text with a comma is taken for a value.",
         [](const ValueView& view, Findings& found) {
             const std::string letters = LettersBeyond(Bare(view, kAttributes), kAttributeLetters);
             if (!letters.empty())
                 found(NameOf(view) + " has the attributes " + Quoted(Bare(view, kAttributes)));
         }},
        {"V02", Severity::Warning, "A status consists of the letters U D C W R E; others mean nothing.",
         [](const ValueView& view, Findings& found) {
             const std::string letters = LettersBeyond(Bare(view, kStatus), kStatusLetters);
             if (!letters.empty() && LettersBeyond(Bare(view, kAttributes), kAttributeLetters).empty())
                 found(NameOf(view) + " has the status " + Quoted(Bare(view, kStatus)));
         }},
        {"V03", Severity::Warning,
         "A value entry has five sub-fields: attributes, status, definition, value and text.",
         FindMissingSubFields},
        {"V04", Severity::Warning, "The text that closes an entry stands in quotes, also when it is empty.",
         FindBareText},
        {"V05", Severity::Error,
         "A sub-field with a comma needs quotes: without them the rest of the entry shifts.",
         [](const ValueView& view, Findings& found) {
             if (IsFallenApart(view))
                 found(NameOf(view) + " has " + Quoted(Bare(view, kValue)) +
                       " for its value, and for its text " + std::string(view.value.raw[kText]));
         }},
        {"V06", Severity::Error,
         "A quote that is not closed encloses nothing: a comma behind it splits the sub-field.",
         [](const ValueView& view, Findings& found) {
             for (std::size_t field = kAttributes; field < kText; ++field)
                 if (HasOpenQuote(view.value.raw[field]))
                     found(NameOf(view) + " has the " + kSubFieldNames[field] + " " +
                           std::string(view.value.raw[field]));
         }},
        {"V07", Severity::Warning,
         "Quotes inside of attributes, status, definition and value are lost when the entry is written.",
         [](const ValueView& view, Findings& found) {
             // The labels of a list mean the same without theirs.
             if (Folded(view.value.entry.key.substr(0, kSurvey.size())) == kSurvey)
                 return;
             for (std::size_t field = kAttributes; field < kText; ++field)
                 if (!HasOpenQuote(view.value.raw[field]) && MeterText::Contains(view.value.bare[field], '"'))
                     found(NameOf(view) + " has the " + kSubFieldNames[field] + " " +
                           std::string(view.value.raw[field]));
         }},
        {"V08", Severity::Error,
         "A text whose quote is not closed loses its first quote, and gets another when it is written.",
         FindOpenText},
        {"V09", Severity::Error, "Sub-fields are read up to 255 bytes: the rest is cut off.",
         [](const ValueView& view, Findings& found) {
             for (std::size_t field = kAttributes; field < kSubFields; ++field)
                 if (view.value.bare[field].size() > kSubFieldChars)
                     found(NameOf(view) + ": " + std::to_string(view.value.bare[field].size()) +
                           " bytes of " + kSubFieldNames[field]);
         }},
        {"V10", Severity::Error,
         "From 253 bytes on a sub-field is written without quotes: with a comma in it the entry falls apart.",
         [](const ValueView& view, Findings& found) {
             for (std::size_t field = kAttributes; field < kText; ++field)
                 if (view.value.bare[field].size() >= kQuotedBelow &&
                     MeterText::Contains(view.value.bare[field], ','))
                     found(NameOf(view) + ": " + std::to_string(view.value.bare[field].size()) +
                           " bytes of " + kSubFieldNames[field]);
         }},
        {"V11", Severity::Warning, "Blanks beside a comma belong to the sub-field.",
         [](const ValueView& view, Findings& found) {
             for (std::size_t field = kAttributes; field < kText; ++field)
                 if (MeterText::TrimBlanks(view.value.raw[field]) != view.value.raw[field])
                     found(NameOf(view) + " has the " + kSubFieldNames[field] + " " +
                           Quoted(view.value.raw[field]));
         }},

        // ---- definition
        {"V12", Severity::Error,
         "The search for checks and alarms ends at an empty token: those behind it are never reached.",
         [](const ValueView& view, Findings& found) {
             for (std::size_t i = view.value.reached; !view.value.isFunction && i < view.value.tokens.size();
                  ++i)
                 if (!view.value.tokens[i].empty())
                     found(TokenText(view, view.value.tokens[i]) + " stands behind an empty token");
         }},
        {"V13", Severity::Warning,
         "The first token that begins with C, X or V is the check: a second one is never reached.",
         [](const ValueView& view, Findings& found) {
             const std::string_view check = CheckToken(view);
             ForEachToken(view, [&](std::size_t, std::string_view token) {
                 if (token.data() != check.data() && MeterText::Contains(kCheckLetters, token.front()))
                     found(TokenText(view, token) + " stands behind " + std::string(check));
             });
         }},
        {"V14", Severity::Warning, "A range needs both limits: with one of them every value passes.",
         [](const ValueView& view, Findings& found) {
             const std::string_view check = CheckToken(view);
             if (IsRange(check) && (LimitsOf(check).lower.empty() || LimitsOf(check).upper.empty()))
                 found(TokenText(view, check));
         }},
        {"V15", Severity::Error,
         "Limits are decimal numbers with a point: the rest of another text is not read.",
         [](const ValueView& view, Findings& found) {
             const std::string_view check = CheckToken(view);
             if (!IsRange(check))
                 return;
             for (const std::string_view limit : {LimitsOf(check).lower, LimitsOf(check).upper})
                 if (!limit.empty() && !IsDecimal(limit))
                     found(TokenText(view, check));
         }},
        {"V16", Severity::Error, "A check against a value that the record does not have always fails.",
         [](const ValueView& view, Findings& found) {
             const std::string_view check = CheckToken(view);
             if (check.substr(0, 1) == "V" && view.record.Find(check.substr(1)) == nullptr &&
                 !WaitsForStoreFields(view))
                 found(TokenText(view, check));
         }},
        {"V17", Severity::Error, "An alarm is B and one of the letters W C U D X Y: any other never holds.",
         [](const ValueView& view, Findings& found) {
             ForEachToken(view, [&](std::size_t i, std::string_view token) {
                 if (i > 0 && token.front() == 'B' &&
                     (token.size() != 2 || !MeterText::Contains(kAlarmLetters, token[1])))
                     found(TokenText(view, token));
             });
         }},
        {"V18", Severity::Warning, "A token that begins with none of C X V B U N means nothing.",
         [](const ValueView& view, Findings& found) {
             ForEachToken(view, [&](std::size_t i, std::string_view token) {
                 const bool isShown =
                     token.front() == 'N' && (token.size() < 2 || !MeterText::Contains("UXDWCY", token[1]));
                 if (i > 0 && (isShown || !MeterText::Contains("CXVBUN", token.front())))
                     found(TokenText(view, token));
             });
         }},
        {"V19", Severity::Warning,
         "Alarms are raised for values that are read (R): on any other they never hold.",
         [](const ValueView& view, Findings& found) {
             ForEachToken(view, [&](std::size_t i, std::string_view token) {
                 if (i > 0 && token.front() == 'B' && !view.value.Has('R'))
                     found(TokenText(view, token));
             });
         }},
        {"V20", Severity::Error, "A selection list that is missing shows three dashes for every code.",
         [](const ValueView& view, Findings& found) {
             const std::string_view list = ListOf(view);
             if (!list.empty() && OwnListOf(view).empty() && view.subject.system != nullptr &&
                 SystemListOf(view) == nullptr)
                 found(NameOf(view) + ": there is no [Survey_" + std::string(list) + "]");
         }},
        {"V21", Severity::Error,
         "A selection list that the record itself should have is missing: nothing is shown.",
         [](const ValueView& view, Findings& found) {
             const std::string own = OwnListOf(view);
             if (!own.empty() && view.record.FindValue(own) == nullptr)
                 found(NameOf(view) + ": the record has no value " + own);
         }},
        {"V22", Severity::Error, "Names of selection lists are read up to 39 bytes.",
         [](const ValueView& view, Findings& found) {
             if (ListOf(view).size() > kListNameChars)
                 found(NameOf(view) + ": " + std::string(ListOf(view)));
         }},

        // ---- value
        {"V23", Severity::Error, "Values have a decimal point: behind a comma nothing is read.",
         [](const ValueView& view, Findings& found) {
             std::string value(Bare(view, kValue));
             const std::size_t comma = value.find(',');
             if (UnitOf(std::string(view.value.Format())).empty() || comma == std::string::npos)
                 return;
             value[comma] = '.';
             if (IsDecimal(value))
                 found(NameOf(view) + " is " + Quoted(Bare(view, kValue)));
         }},
        {"V24", Severity::Warning,
         "A value with a unit is a number: any other text counts as 0 or as its first digits.",
         [](const ValueView& view, Findings& found) {
             const std::string_view value = Bare(view, kValue);
             if (!UnitOf(std::string(view.value.Format())).empty() && !value.empty() && value != "?" &&
                 !MeterText::Contains(value, ',') && !IsDecimal(value))
                 found(NameOf(view) + " is " + Quoted(value));
         }},
        {"V25", Severity::Warning,
         "A code that its list does not name is shown as three dashes or as nothing.", FindUnknownCode},
        {"V26", Severity::Warning, "Bits are the digits 0 and 1, one for each label.",
         [](const ValueView& view, Findings& found) {
             const std::string_view format = view.value.Format();
             if (format.substr(0, 2) == "B;" && !IsBits(format, Bare(view, kValue)))
                 found(NameOf(view) + " is " + Quoted(Bare(view, kValue)));
         }},
        {"V27", Severity::Warning, "A date is YYYYMMDDhhmmss or the first part of it.",
         [](const ValueView& view, Findings& found) {
             const std::string_view value = Bare(view, kValue);
             if (IsDatePattern(view.value.Format()) && !value.empty() && !IsTime(value))
                 found(NameOf(view) + " is " + Quoted(value));
         }},
        {"V28", Severity::Warning,
         "A duration is a sign, four digits of days and two each of hours, minutes and seconds.",
         [](const ValueView& view, Findings& found) {
             const std::string_view value = Bare(view, kValue);
             if (IsDurationPattern(view.value.Format()) && !value.empty() && !IsDuration(value))
                 found(NameOf(view) + " is " + Quoted(value));
         }},

        // ---- names with a meaning
        {"V30", Severity::Warning,
         "Calculated are MeterID, NAME-DIFF and 0.1.0-calc: the attribute A does nothing on any other.",
         [](const ValueView& view, Findings& found) {
             if (view.value.Has('A') && HasKnownLetters(view) && !IsCalculated(view.value.entry.key))
                 found(NameOf(view));
         }},
        {"V31", Severity::Error,
         "A value is never calculated when the record lacks what it is calculated from.",
         [](const ValueView& view, Findings& found) {
             for (const std::string& source : SourcesOf(view.value.entry.key))
                 if (view.value.Has('A') && view.record.FindValue(source) == nullptr &&
                     !WaitsForStoreFields(view))
                     found(NameOf(view) + " needs " + source);
         }},
        {"V32", Severity::Warning, "A value is not calculated from one whose status has no D, C or W.",
         [](const ValueView& view, Findings& found) {
             for (const std::string& source : SourcesOf(view.value.entry.key)) {
                 const Value* value = view.record.FindValue(source);
                 if (view.value.Has('A') && value != nullptr && IsGiven(*value) && !value->CountsAsRead())
                     found(NameOf(view) + " needs " + source + ", which has the status " +
                           Quoted(value->bare[kStatus]));
             }
         }},
        {"V33", Severity::Error,
         "The definition of a difference or of MeterID begins with the digits of its result.",
         [](const ValueView& view, Findings& found) {
             const bool isDifference = !BaseOfDifference(view.value.entry.key).empty();
             const bool isIdentifier = MeterText::EqualIgnoringCase(view.value.entry.key, "MeterID");
             const std::string_view format = view.value.Format();
             if (view.value.Has('A') && (isDifference || isIdentifier) &&
                 (format.empty() ||
                  !MeterText::Contains(isDifference ? "0123456789" : "0123456789AXax", format.front())))
                 found(NameOf(view) + " is defined as " + Quoted(Bare(view, kDefinition)));
         }},
        {"V34", Severity::Error,
         "A value with the attribute T shows another one, which the record does not have.",
         [](const ValueView& view, Findings& found) {
             const std::string_view target = MeterText::BareToken(Bare(view, kValue), 1);
             if (view.value.Has('T') && HasKnownLetters(view) && Bare(view, kDefinition).empty() &&
                 (target.empty() || view.record.Find(target) == nullptr))
                 found(NameOf(view) + " shows " + Quoted(target));
         }},
        {"V35", Severity::Warning, "The attribute T does nothing on a value that has a definition.",
         [](const ValueView& view, Findings& found) {
             if (view.value.Has('T') && HasKnownLetters(view) && !Bare(view, kDefinition).empty())
                 found(NameOf(view) + " is defined as " + Quoted(Bare(view, kDefinition)));
         }},
        {"V36", Severity::Note, "Of the attributes C and ? only C counts: the value is emptied.",
         [](const ValueView& view, Findings& found) {
             if (view.value.Has('C') && view.value.Has('?') && HasKnownLetters(view))
                 found(NameOf(view) + " has the attributes " + Quoted(Bare(view, kAttributes)));
         }},
        {"V37", Severity::Warning, "The master value without a check lets the readout of a wrong meter pass.",
         [](const ValueView& view, Findings& found) {
             if (view.subject.system == nullptr || IsOfNewMeter(view) || !view.value.Has('R'))
                 return;
             const std::string_view master = view.subject.system->Value("List", "MasterValue");
             if (MeterText::EqualIgnoringCase(view.value.entry.key, master) && CheckToken(view).empty())
                 found(NameOf(view) + " is defined as " + Quoted(Bare(view, kDefinition)));
         }},
        {"V38", Severity::Warning,
         "The labels of a record's own list are written code:label, with semicolons between.",
         [](const ValueView& view, Findings& found) {
             if (Folded(view.value.entry.key.substr(0, kSurvey.size())) != kSurvey)
                 return;
             MeterText::TokenReader labels(Bare(view, kValue), ";");
             for (std::string_view label; labels.Next(&label);)
                 if (!MeterText::Contains(label, ':'))
                     found(NameOf(view) + ": " + Quoted(label));
         }},
    };
    return rules;
}

}  // namespace Check
