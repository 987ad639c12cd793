#include "terminal/check/Subject.h"

#include <algorithm>
#include <charconv>

#include "MeterUtil/IniLine.h"
#include "terminal/MeterTypes.h"
#include "terminal/Refusal.h"
#include "terminal/Utf8.h"

namespace Check {
namespace {

constexpr int kMostLanguages = 20;

// The tokens of a definition, empty ones included.
std::vector<std::string_view> TokensOf(std::string_view definition) {
    std::vector<std::string_view> tokens;
    MeterText::TokenReader reader(definition);
    for (std::string_view token; reader.Next(&token);)
        tokens.push_back(MeterText::WithoutQuotes(token));
    return tokens;
}

// "#_3", "#1_3" or "*_3"; the number that renumbering or a look-up would read in it.
std::optional<RecordHeader> ParseHeader(const TextFile::Section& section) {
    const std::string_view name = section.name;
    const std::size_t split = name.find('_');
    if (split == std::string_view::npos || (name.front() != '#' && name.front() != '*'))
        return std::nullopt;
    const bool isStore = name.front() == '*';
    const int appendix = split == 1 ? 0 : MeterText::ToInt(name.substr(1, split - 1));
    const int meter = MeterText::ToInt(name.substr(split + 1));
    const std::string exact =
        name.front() + (split == 1 ? std::string() : std::to_string(appendix)) + "_" + std::to_string(meter);
    const bool isExact = exact == name && meter >= 1 && (split == 1 || (appendix >= 1 && !isStore));
    const RecordKind kind = isStore      ? RecordKind::Store
                            : split == 1 ? RecordKind::Main
                                         : RecordKind::Appendix;
    return RecordHeader{&section, kind, meter, appendix, isExact};
}

// "AppendTYPE", and "Append" when it does not hold the list of types.
bool IsTemplate(const TextFile& system, const TextFile::Section& section) {
    constexpr std::string_view kAppend = "append";
    const std::string_view type = section.name.substr(std::min(kAppend.size(), section.name.size()));
    const bool begins = Folded(section.name.substr(0, kAppend.size())) == kAppend;
    return begins && type.substr(0, 1) != "_" && (!type.empty() || !system.Find(section.name, "Types"));
}

}  // namespace

// ---- values and records

bool IsFunctionKey(std::string_view key) {
    constexpr std::string_view kFunc = "Func";
    return key.size() > kFunc.size() && MeterText::EqualIgnoringCase(key.substr(0, kFunc.size()), kFunc) &&
           key.find_first_not_of("0123456789", kFunc.size()) == std::string_view::npos;
}

Value::Value(const TextFile::Entry& entry_) : entry(entry_), isFunction(IsFunctionKey(entry_.key)) {
    MeterText::TokenReader reader(entry.value);
    std::string_view token;
    while (subFields < kText && reader.Next(&token))
        raw[static_cast<std::size_t>(subFields++)] = token;
    if (subFields == kText && token.data() + token.size() != entry.value.data() + entry.value.size()) {
        raw[kText] = reader.Rest();
        ++subFields;
    }
    std::transform(raw.begin(), raw.end(), bare.begin(), MeterText::WithoutQuotes);
    tokens = TokensOf(bare[kDefinition]);
    reached = static_cast<std::size_t>(std::find(tokens.begin(), tokens.end(), std::string_view()) -
                                       tokens.begin());
}

Record::Record(const TextFile& file_, const TextFile::Section& section_, RecordKind kind_, int meter_,
               int appendix_)
    : file(file_),
      section(section_),
      kind(kind_),
      meter(meter_),
      appendix(appendix_),
      m_entries(file_.Entries(section_)) {
    for (std::uint32_t i = 0; i < m_entries.size(); ++i) {
        m_places.emplace_back(MeterUtil::FoldedHash(m_entries[i].key), i);
        if (MeterText::Contains(m_entries[i].value, ','))
            m_values.emplace_back(m_entries[i]);
    }
    std::sort(m_places.begin(), m_places.end());
}

const TextFile::Entry* Record::Find(std::string_view key) const {
    const std::uint32_t hash = MeterUtil::FoldedHash(key);
    for (auto place = std::lower_bound(m_places.begin(), m_places.end(), Place(hash, 0));
         place != m_places.end() && place->first == hash; ++place)
        if (MeterText::EqualIgnoringCase(m_entries[place->second].key, key))
            return &m_entries[place->second];
    return nullptr;
}

const Value* Record::FindValue(std::string_view key) const {
    const TextFile::Entry* entry = Find(key);
    if (entry == nullptr)
        return nullptr;
    const auto place =
        std::lower_bound(m_values.begin(), m_values.end(), entry->line,
                         [](const Value& value, std::size_t line) { return value.entry.line < line; });
    return place != m_values.end() && place->entry.line == entry->line ? &*place : nullptr;
}

std::string_view Record::Text(std::string_view key) const {
    if (const Value* value = FindValue(key))
        return value->bare[kValue];
    const TextFile::Entry* entry = Find(key);
    return entry == nullptr ? std::string_view() : entry->value;
}

std::string_view Record::Number() const {
    const std::string_view nominal = Text("0.0.0-nom");
    return nominal.empty() ? Text("0.0.0") : nominal;
}

std::vector<std::pair<const TextFile::Entry*, const TextFile::Entry*>> Record::Duplicates() const {
    std::vector<std::pair<const TextFile::Entry*, const TextFile::Entry*>> duplicates;
    for (std::size_t i = 1; i < m_places.size(); ++i) {
        const TextFile::Entry& later = m_entries[m_places[i].second];
        for (std::size_t j = i; j-- > 0 && m_places[j].first == m_places[i].first;) {
            const TextFile::Entry& before = m_entries[m_places[j].second];
            if (!MeterText::EqualIgnoringCase(before.key, later.key))
                continue;
            duplicates.emplace_back(&before, &later);
            break;
        }
    }
    return duplicates;
}

// ---- files

std::unique_ptr<Subject> Subject::OfInstallation(const std::string& directory, const std::string& ini) {
    auto subject = std::make_unique<Subject>();
    subject->directory = std::filesystem::u8path(directory);
    subject->system = std::make_unique<TextFile>(PathOf(subject->directory, ini), Utf8::ShownPath(ini));
    const std::string name = Utf8::Shown(ini) + " of directory " + Utf8::Shown(directory);
    if (subject->system->GetState() == TextFile::State::Unreadable)
        throw Refusal(kFileFailed, name + " cannot be read");
    if (subject->system->Find("System") == nullptr)
        throw Refusal(kFileFailed, name + " is missing or is no system ini: it has no section [System]");
    subject->data = subject->Named("DataFile");
    subject->app = subject->Named("AppFile");
    subject->types = std::make_unique<TextFile>(PathOf(subject->directory, kMeterTypesFile), kMeterTypesFile);
    subject->database = std::make_unique<CMeterDatabase>(Utf8::ToWide(directory).c_str());
    subject->database->SetIniFile(Utf8::ToWide(ini).c_str());
    subject->FindLanguages();
    subject->FindHeaders();
    return subject;
}

std::unique_ptr<Subject> Subject::OfDataFile(const std::string& name) {
    auto subject = std::make_unique<Subject>();
    subject->data = std::make_unique<TextFile>(std::filesystem::u8path(name), Utf8::Shown(name));
    if (subject->data->GetState() != TextFile::State::Loaded)
        throw Refusal(kFileFailed,
                      "the data file " + Utf8::Shown(name) +
                          (subject->data->GetState() == TextFile::State::Missing ? " does not exist"
                                                                                 : " cannot be read"));
    subject->FindHeaders();
    return subject;
}

std::vector<const TextFile*> Subject::Files() const {
    std::vector<const TextFile*> files;
    const auto add = [&files](const std::unique_ptr<TextFile>& file) {
        if (file != nullptr && file->GetState() == TextFile::State::Loaded)
            files.push_back(file.get());
    };
    for (const auto* file : {&system, &types, &app, &data})
        add(*file);
    for (const Language& language : languages)
        add(language.file);
    return files;
}

std::filesystem::path Subject::PathOf(const std::filesystem::path& base, std::string_view name) {
    std::string path(name);
    std::replace(path.begin(), path.end(), '\\', '/');
    return base / std::filesystem::u8path(path);
}

std::unique_ptr<TextFile> Subject::Named(const char* key) const {
    const std::string_view name = system->Value("System", key);
    return name.empty() ? nullptr
                        : std::make_unique<TextFile>(PathOf(directory, name), Utf8::ShownPath(name));
}

void Subject::FindLanguages() {
    const int count = std::min(MeterText::ToInt(system->Value("Languages", "Languages")), kMostLanguages);
    for (int number = 1; number <= count; ++number) {
        const auto entry = system->Find("Languages", "Language" + std::to_string(number));
        if (!entry)
            continue;
        Language language;
        language.line = entry->line;
        language.code = MeterText::BareToken(entry->value, 1);
        language.fileName = MeterText::BareToken(entry->value, 2);
        if (!language.fileName.empty())
            language.file = std::make_unique<TextFile>(PathOf(directory, language.fileName),
                                                       Utf8::ShownPath(language.fileName));
        languages.push_back(std::move(language));
    }
}

void Subject::FindHeaders() {
    if (data != nullptr)
        for (const TextFile::Section& section : data->Sections())
            if (const std::optional<RecordHeader> header = ParseHeader(section))
                headers.push_back(*header);
    if (system != nullptr)
        for (const TextFile::Section& section : system->Sections())
            if (IsTemplate(*system, section))
                templates.push_back({&section, RecordKind::Template, 0, 0, true});
}

}  // namespace Check
