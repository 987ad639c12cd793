// Data fields: which values of a record the user sees, under which label and in which form, and the checks
// that their definitions ask for. Owns the field lists and the features of a label. How a value is laid out
// is left to Formatting.cpp.
#include <iterator>
#include <new>
#include <utility>

#include "MeterDatabase/History.h"
#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"

using namespace MeterRecords;

namespace {

// ---- field lists

constexpr const char* kListSections[] = {"Values", "Statistic", "Extra"};  // by the kind of a list

constexpr int kMostDeclarations = 255;
constexpr int kListedFields = 200;
constexpr int kItemBytes = 255;
constexpr int kSectionBytes = 40;
constexpr int kFieldNameBytes = sizeof(Type_DataField::name);

int ListOf(int kind) {
    return kind == 1 || kind == 2 ? kind : 0;
}

// The section that declares a list: the most special one that exists for a variant and a language.
std::string ListSection(const CMeterIniFile* systemIni, const std::string& base, std::string_view variant,
                        std::string_view language) {
    const std::string forVariant = base + '_' + std::string(variant);
    const std::string forLanguage = '_' + std::string(language);
    const std::pair<bool, std::string> candidates[] = {
        {!variant.empty() && !language.empty(), forVariant + forLanguage},
        {!variant.empty(), forVariant},
        {!language.empty(), base + forLanguage},
    };
    for (const auto& [applies, name] : candidates) {
        std::string section = name.substr(0, kSectionBytes - 1);
        if (applies && systemIni != nullptr && systemIni->SectionExists(section.c_str()))
            return section;
    }
    return base;
}

// ---- values as they are shown

constexpr std::size_t kReferenceChars = 39;  // the name of a referenced value, and what is shown of it
constexpr std::size_t kAttributeChars = 39;

// The status letters that choose a fixed text, in the order in which they count, and the prefixes of the
// tokens that hold it.
constexpr struct {
    char status;
    std::string_view prefixes[3];
} kFixedTexts[] = {
    {'U', {"U", "NU", "NX"}},
    {'D', {"ND"}},
    {'W', {"NW", "NX", "NY"}},
    {'C', {"NC", "NX", "NY"}},
};

// The rest of the first token that begins with one of the prefixes, of which empty ones are none.
template <std::size_t Count>
std::string_view TextBehind(std::string_view definition, const std::string_view (&prefixes)[Count]) {
    MeterText::TokenReader tokens(definition);
    for (std::string_view token; tokens.Next(&token);)
        for (const std::string_view prefix : prefixes)
            if (!prefix.empty() && token.substr(0, prefix.size()) == prefix)
                return token.substr(prefix.size());
    return {};
}

std::string_view FixedText(std::string_view definition, std::string_view status) {
    for (const auto& known : kFixedTexts)
        if (MeterText::Contains(status, known.status))
            return TextBehind(definition, known.prefixes);
    return {};
}

const char* MarkOf(std::string_view status) {
    if (MeterText::Contains(status, 'D'))
        return "ok.";
    if (MeterText::Contains(status, 'W'))
        return "?";
    return MeterText::Contains(status, 'C') ? "!" : "";
}

// The value itself, or the value that it names. One that is named names no other.
std::string ValueOrReference(const CMeterIniFile& dataFile, const std::string& section,
                             const ValueEntry& entry) {
    const std::string_view value = entry.Bare(kValue);
    const std::string name(MeterText::BareToken(value, 1).substr(0, kReferenceChars));
    if (!MeterText::Contains(entry.Bare(kAttributes).substr(0, kAttributeChars), 'T') || name.empty())
        return std::string(value);
    const std::optional<ValueEntry> other = ReadEntry(dataFile, section, name.c_str());
    return other ? std::string(other->Bare(kValue).substr(0, kReferenceChars)) : std::string();
}

// ---- labels

constexpr int kMostPeriodsBack = 18;
constexpr std::size_t kLabelBelow = 255;

// The number of billing periods in the history of a record, from the first counter that was read.
std::optional<int> PeriodCounter(const CMeterIniFile& dataFile, const std::string& section) {
    for (const char* name : {"0.1.0", "0.1.0-calc", "0.1.0-nom"}) {
        const std::optional<ValueEntry> counter = ReadEntry(dataFile, section, name);
        if (IsRead(counter))
            return MeterText::ToInt(counter->Bare(kValue));
    }
    return std::nullopt;
}

// "Energy *1" becomes "Energy *12" when the period that ended last was number 12.
void NumberPeriod(std::string* label, const CMeterIniFile& dataFile, const std::string& section) {
    const std::size_t behindStar = label->rfind('*') + 1;
    const std::string_view number = std::string_view(*label).substr(behindStar);
    if (behindStar == 0 || number.size() > 2)
        return;
    const int periodsBack = MeterText::ToInt(number);
    if (periodsBack < 1 || periodsBack > kMostPeriodsBack)
        return;
    const std::optional<int> counter = PeriodCounter(dataFile, section);
    if (!counter)
        return;
    const std::int64_t period =
        (std::int64_t{*counter} - MonthsSinceHistory(dataFile, section) - periodsBack + 201) % 100;
    label->resize(behindStar);
    *label += MeterText::ZeroPadded(period, 2);
}

// Puts a text of the office in the place of its marker; one that would make the label too long is left out.
void InsertOwnText(std::string* label, std::string_view text) {
    constexpr std::string_view kMarker = "<~C>";
    constexpr std::string_view kOtherMarker = "<~c>";
    std::size_t place = label->find(kMarker);
    if (place == std::string::npos)
        place = label->find(kOtherMarker);
    if (place == std::string::npos)
        return;
    label->erase(place, kMarker.size());
    if (text.size() + label->size() + 1 < kLabelBelow)
        label->insert(place, text);
}

// ---- checks

enum CheckResult { kPasses, kDeviates, kBelow, kAbove };

// The first token of a definition that asks for a check; an empty token ends the search.
std::string_view CheckToken(std::string_view definition) {
    MeterText::TokenReader tokens(MeterText::WithoutQuotes(definition));
    for (std::string_view token; tokens.Next(&token);) {
        if (token.empty())
            break;
        if (MeterText::Contains("CXV", token.front()))
            return token.substr(0, ValueEntry::kSubFieldChars);
    }
    return {};
}

// Limits in reverse order describe a forbidden band. A limit that is left out asks for nothing.
CheckResult CheckRange(std::string_view value, std::string_view limits) {
    std::string_view lowerText;
    std::string_view upperText;
    if (!MeterText::FindToken(limits, 1, ";", &lowerText) ||
        !MeterText::FindToken(limits, 2, ";", &upperText))
        return kPasses;
    if (lowerText.empty() || upperText.empty())
        return kPasses;
    const double lower = MeterText::ToDouble(lowerText);
    const double upper = MeterText::ToDouble(upperText);
    const double number = MeterText::ToDouble(value);
    if (lower > upper)
        return number < lower && number > upper ? kDeviates : kPasses;
    if (number < lower)
        return kBelow;
    return number > upper ? kAbove : kPasses;
}

bool IsIntegerLike(std::string_view text) {
    return text.find_first_not_of("0123456789 ") == std::string_view::npos;
}

// Meters pad their numbers: digits are compared as numbers, everything else as it stands.
CheckResult CheckEqual(std::string_view value, std::string_view expected) {
    const bool equal = IsIntegerLike(value) && IsIntegerLike(expected)
                           ? MeterText::ToInt64(value) == MeterText::ToInt64(expected)
                           : value == expected;
    return equal ? kPasses : kDeviates;
}

CheckResult CheckReference(std::string_view value, const std::optional<ValueEntry>& reference) {
    if (!reference)
        return kDeviates;
    const std::string_view expected = reference->Bare(kValue);
    return expected.empty() ? kPasses : CheckEqual(value, expected);
}

}  // namespace

// A field of a list with what the files hold of it.
struct CMeterDatabase::Field {
    std::string declaration;
    ValueEntry entry;
};

// ---- field lists

void CMeterDatabase::GetPtrToDataFields(int kind, const char* variant, char* section, Type_DataField** list,
                                        int** count) try {
    static_assert(std::size(kListSections) == kFieldLists, "every list has its section");
    MeterText::CopyText(section, kSectionBytes, {});
    FieldList& fields = m_fieldLists[ListOf(kind)];
    if (list != nullptr)
        *list = fields.fields;
    if (count != nullptr)
        *count = &fields.count;
    MeterText::CopyText(
        section, kSectionBytes,
        ListSection(m_systemIni, kListSections[ListOf(kind)], MeterText::View(variant), m_languageCode));
} catch (const std::bad_alloc&) {
}

int CMeterDatabase::GetDataFields(CMeterInterface*, int kind, const char* variant) try {
    if (m_systemIni == nullptr || m_dataFile == nullptr)
        return 0;
    char section[kSectionBytes];
    Type_DataField* fields = nullptr;
    int* count = nullptr;
    GetPtrToDataFields(kind, variant, section, &fields, &count);
    *count = 0;
    if (fields == nullptr || !HasRecord())
        return 0;
    const std::string record = RecordSection();
    char name[kFieldNameBytes];
    char declaration[kNameBytes];
    for (int position = 1; position <= kMostDeclarations && *count < kListedFields; ++position) {
        if (!m_systemIni->ReadByIndex(section, position, name, kFieldNameBytes, declaration, kNameBytes))
            break;
        if (ReadText(*m_dataFile, record.c_str(), name, kItemBytes).value_or("").empty())
            continue;
        Type_DataField& field = fields[(*count)++];
        field.position = position;
        MeterText::CopyPadded(field.name, name);
    }
    return *count;
} catch (const std::bad_alloc&) {
    m_fieldLists[ListOf(kind)].count = 0;
    return 0;
}

// The field at an index of a list, and the section that declares it; null without one. The index behind the
// last field is let through, as long as it lies in the list's block.
const Type_DataField* CMeterDatabase::FieldAt(int kind, const char* variant, int index, char* section) {
    if (m_systemIni == nullptr || m_dataFile == nullptr)
        return nullptr;
    Type_DataField* fields = nullptr;
    int* count = nullptr;
    GetPtrToDataFields(kind, variant, section, &fields, &count);
    const bool inside = fields != nullptr && index >= 0 && index <= *count && index < kListedFields;
    return inside ? fields + index : nullptr;
}

std::optional<CMeterDatabase::Field> CMeterDatabase::ReadField(int kind, const char* variant, int index) {
    char section[kSectionBytes];
    const Type_DataField* const field = FieldAt(kind, variant, index, section);
    if (field == nullptr || !HasRecord())
        return std::nullopt;
    char name[kFieldNameBytes];
    char declaration[kNameBytes];
    if (!m_systemIni->ReadByIndex(section, field->position, name, kFieldNameBytes, declaration, kNameBytes))
        return std::nullopt;
    std::optional<ValueEntry> entry = ReadEntry(*m_dataFile, RecordSection(), field->name);
    if (!entry)
        return std::nullopt;
    return Field{declaration, *std::move(entry)};
}

// ---- fields

bool CMeterDatabase::GetDataField(CMeterInterface*, int kind, const char* variant, int index, char* label,
                                  int labelSize, char* value, int valueSize, char* mark, int markSize) try {
    const std::array<Output, 3> outputs{{{label, labelSize}, {value, valueSize}, {mark, markSize}}};
    Clear(outputs);
    const std::optional<Field> field = ReadField(kind, variant, index);
    if (!field)
        return false;
    const std::string shownLabel = LabelOf(*field);
    MeterText::CopyText(value, valueSize, ShownValue(*field));
    MeterText::CopyText(label, labelSize, shownLabel);
    MeterText::CopyText(mark, markSize, MarkOf(field->entry.Bare(kStatus)));
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

std::string CMeterDatabase::LabelOf(const Field& field) const {
    std::string label(MeterText::BareToken(field.declaration, 1));
    NumberPeriod(&label, *m_dataFile, RecordSection());
    const std::string_view text = field.entry.Bare(kText).substr(0, ValueEntry::kSubFieldChars);
    InsertOwnText(&label, MeterText::BareToken(text, 1));
    return label;
}

// A fixed text for the status goes before the value.
std::string CMeterDatabase::ShownValue(const Field& field) const {
    const std::string_view definition = field.entry.Bare(kDefinition);
    if (definition.empty())
        return ValueOrReference(*m_dataFile, RecordSection(), field.entry);
    const std::string_view fixedText = FixedText(definition, field.entry.Bare(kStatus));
    if (!fixedText.empty())
        return std::string(fixedText);
    return Formatted(field.entry.Bare(kValue), definition).value_or("").substr(0, ValueEntry::kSubFieldChars);
}

bool CMeterDatabase::GetDataFieldInfo(int kind, const char* variant, int index, char* info, int infoSize,
                                      char* value, int valueSize, char* attributes, int attributesSize,
                                      char* status, int statusSize, char* definition, int definitionSize,
                                      char* declaration, int declarationSize) try {
    const std::array<Output, 6> outputs{{{info, infoSize},
                                         {value, valueSize},
                                         {attributes, attributesSize},
                                         {status, statusSize},
                                         {definition, definitionSize},
                                         {declaration, declarationSize}}};
    Clear(outputs);
    const std::optional<Field> field = ReadField(kind, variant, index);
    if (!field)
        return false;
    MeterText::CopyText(info, infoSize, MeterText::BareToken(field->declaration, 2));
    MeterText::CopyText(value, valueSize, field->entry.Bare(kValue));
    MeterText::CopyText(attributes, attributesSize, field->entry.Bare(kAttributes));
    MeterText::CopyText(status, statusSize, field->entry.Bare(kStatus));
    MeterText::CopyText(definition, definitionSize, field->entry.Bare(kDefinition));
    MeterText::CopyText(declaration, declarationSize, field->declaration);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::GetDataFieldName(int kind, const char* variant, int index, char* name, int nameSize) {
    MeterText::CopyText(name, nameSize, {});
    char section[kSectionBytes];
    const Type_DataField* const field = FieldAt(kind, variant, index, section);
    if (field == nullptr)
        return false;
    MeterText::CopyText(name, nameSize, field->name);
    return true;
}

bool CMeterDatabase::SetDataFieldValue(int kind, const char* variant, int index, const char* value,
                                       const char* status, const char* text) {
    char section[kSectionBytes];
    const Type_DataField* const field = FieldAt(kind, variant, index, section);
    return field != nullptr && SetMeterValue(field->name, nullptr, status, nullptr, value, text);
}

// ---- checks

int CMeterDatabase::CheckValue(const char* value, const char* definition) try {
    if (m_dataFile == nullptr)
        return kDeviates;
    const std::string_view token = CheckToken(MeterText::View(definition));
    if (token.empty())
        return kPasses;
    const std::string operand(token.substr(1));
    if (token.front() == 'C')
        return CheckRange(MeterText::View(value), operand);
    if (token.front() == 'X')
        return CheckEqual(MeterText::View(value), operand);
    if (!HasRecord())
        return kDeviates;
    return CheckReference(MeterText::View(value), ReadEntry(*m_dataFile, RecordSection(), operand.c_str()));
} catch (const std::bad_alloc&) {
    return kDeviates;
}
