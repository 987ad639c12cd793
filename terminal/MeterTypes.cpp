#include "terminal/MeterTypes.h"

#include <array>

#include "MeterUtil/MeterIniFile.h"
#include "MeterUtil/Text.h"
#include "terminal/Refusal.h"
#include "terminal/Utf8.h"

namespace {

constexpr int kTextBytes = 4096;
constexpr int kLargestCode = 255;  // of a function that a meter has
constexpr int kTexts = 8;          // of each kind

std::wstring FilePath(CMeterDatabase& database) {
    std::array<wchar_t, 261> directory{};
    database.GetApplicationPath(directory.data(), static_cast<int>(directory.size()));
    return directory.data() + (L"\\" + Utf8::ToWide(kMeterTypesFile));
}

std::string Read(const CMeterIniFile& file, const std::string& section, const std::string& key) {
    std::array<char, kTextBytes> text{};
    file.ReadString(section.c_str(), key.c_str(), text.data(), kTextBytes);
    return std::string(MeterText::WithoutQuotes(text.data()));
}

bool IsOn(const CMeterIniFile& file, const std::string& section, const std::string& key) {
    return MeterText::EqualIgnoringCase(Read(file, section, key), "Yes");
}

std::vector<int> Codes(const std::string& list) {
    std::vector<int> codes;
    MeterText::TokenReader tokens(list);
    for (std::string_view token; tokens.Next(&token);)
        codes.push_back(MeterText::ToInt(token));
    return codes;
}

std::string FunctionBytes(const std::vector<int>& codes) {
    std::string bytes;
    for (const int code : codes)
        if (code >= 1 && code <= kLargestCode && bytes.size() < kLargestCode)
            bytes.push_back(static_cast<char>(code));
    return bytes;
}

// Those of the language go before those of the type.
void AddTexts(const CMeterIniFile& file, const std::string& section, MeterType* type) {
    for (const std::string kind : {"MeterTypeDialog", "MeterTypeSpecial"}) {
        for (int number = 0; number < kTexts; ++number) {
            const std::string key = kind + "[" + std::to_string(number) + "]";
            if (const std::string text = Read(file, section, key); !text.empty())
                type->texts.emplace_back(key, text);
        }
    }
}

}  // namespace

std::optional<MeterType> FindMeterType(Installation& installation, const std::string& name) {
    const CMeterIniFile file(FilePath(installation.Database()).c_str());
    if (file.m_error)
        throw Refusal(kFileFailed, std::string(kMeterTypesFile) + " of the installation cannot be read");
    if (!file.SectionExists(name.c_str()))
        return std::nullopt;
    MeterType type;
    type.name = name;
    type.functions = FunctionBytes(Codes(Read(file, name, "Functions")));
    type.readouts = Codes(Read(file, name, "Readouts"));
    type.listFlagA = IsOn(file, name, "FunctionListFlagA");
    type.listFlagB = IsOn(file, name, "FunctionListFlagB");
    AddTexts(file, name + "_" + installation.Language(), &type);
    AddTexts(file, name, &type);
    return type;
}
