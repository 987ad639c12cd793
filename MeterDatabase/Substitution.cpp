// Substitution values: what stands in the place of a placeholder in the text of a function - a number or a
// time out of an argument, or the version of a parameter set. Owns the rules of date patterns, and how the
// version of a set is found in a parameter file: line by line, as the file stands.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>

#include "MeterDatabase/FilePath.h"
#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/ValueEntry.h"
#include "MeterUtil/Text.h"
#include "Platform/Platform.h"

using MeterRecords::kNameBytes;

namespace {

constexpr int kParameterSetCode = 202;
constexpr int kLineBytes = 256;

bool BeginsWithIgnoringCase(std::string_view text, std::string_view start) {
    return MeterText::EqualIgnoringCase(text.substr(0, start.size()), start);
}

// ---- dates and times

struct DateTime {
    int year;
    int month;
    int day;
    int hour;
    int minute;
    int second;
};

// The number in `digits` characters of a text; 0 when it ends before them.
int NumberAt(std::string_view text, std::size_t place, std::size_t digits) {
    return text.size() < place + digits ? 0 : MeterText::ToInt(text.substr(place, digits));
}

// Reads YYYYMMDDhhmmss, as far as it is there.
DateTime ReadDateTime(std::string_view text) {
    return {NumberAt(text, 0, 4), NumberAt(text, 4, 2),  NumberAt(text, 6, 2),
            NumberAt(text, 8, 2), NumberAt(text, 10, 2), NumberAt(text, 12, 2)};
}

// An element of a date pattern. The year is never shortened.
struct Element {
    std::string_view letters;
    int DateTime::*part;
    std::size_t width;
};

// The longer elements stand before the shorter ones that they begin with.
constexpr Element kElements[] = {
    {"YYYY", &DateTime::year, 4}, {"YY", &DateTime::year, 2},   {"MM", &DateTime::month, 2},
    {"M", &DateTime::month, 1},   {"DD", &DateTime::day, 2},    {"D", &DateTime::day, 1},
    {"HH", &DateTime::hour, 2},   {"H", &DateTime::hour, 1},    {"NN", &DateTime::minute, 2},
    {"N", &DateTime::minute, 1},  {"SS", &DateTime::second, 2}, {"S", &DateTime::second, 1},
};

const Element* FindElement(std::string_view pattern) {
    for (const Element& element : kElements)
        if (BeginsWithIgnoringCase(pattern, element.letters))
            return &element;
    return nullptr;
}

std::string FormatDateTime(const DateTime& time, std::string_view pattern) {
    if (pattern.empty())
        pattern = "MM-DD-YYYY";
    std::string text;
    while (!pattern.empty()) {
        const Element* const element = FindElement(pattern);
        if (element == nullptr)
            text += pattern.front();
        else
            text += MeterText::ZeroPadded(time.*(element->part), element->width);
        pattern.remove_prefix(element == nullptr ? 1 : element->letters.size());
    }
    text.resize(std::min<std::size_t>(text.size(), kNameBytes - 1));
    return text;
}

// ---- parameter sets

struct ParameterSet {
    std::string file;
    int number;
};

// Reads FILE{NUMBER}; without braces it is set 0.
ParameterSet ReadParameterSet(std::string_view text) {
    const std::size_t brace = text.find('{');
    if (brace == std::string_view::npos)
        return {std::string(text), 0};
    std::string_view number = text.substr(brace + 1);
    number = number.substr(0, number.find('}'));
    const bool isDefault = MeterText::EqualIgnoringCase(number, "default");
    return {std::string(text.substr(0, brace)), isDefault ? -1 : MeterText::ToInt(number)};
}

std::string VersionText(std::string_view text) {
    const int version = MeterText::ToInt(text.substr(0, text.find_first_of("\r\n")));
    return version < 1 ? std::string() : std::to_string(version);
}

struct CloseStream {
    void operator()(std::FILE* stream) const noexcept { static_cast<void>(std::fclose(stream)); }
};

// The version that the first section of a set's number gives. A line that is longer than the buffer counts as
// several; one that begins with a zero ends the file.
std::string ParameterSetVersion(const wchar_t* path, int number) {
    constexpr std::string_view kVersion = "Version=";
    const std::string header = "[File_" + std::to_string(number) + "]";
    const std::unique_ptr<std::FILE, CloseStream> file(Platform::_wfopen(path, L"rb"));
    char buffer[kLineBytes];
    bool inSection = false;
    while (file != nullptr && std::fgets(buffer, kLineBytes, file.get()) != nullptr && buffer[0] != '\0') {
        const std::string_view line = buffer;
        if (line.front() == '[' && inSection)
            break;
        if (inSection && BeginsWithIgnoringCase(line, kVersion))
            return VersionText(line.substr(kVersion.size()));
        inSection = inSection || BeginsWithIgnoringCase(line, header);
    }
    return {};
}

}  // namespace

void CMeterDatabase::FormatSubstValue(char* out, int code, const char* arg, const char* format) try {
    MeterText::CopyText(out, kNameBytes, SubstValue(code, MeterText::View(arg), MeterText::View(format)));
} catch (const std::bad_alloc&) {
    MeterText::CopyText(out, kNameBytes, {});
}

// A missing argument counts as one that is a number, or a file without a name.
std::string CMeterDatabase::SubstValue(int code, std::string_view argument, std::string_view format) const {
    if (format.substr(0, 1) == "*")
        return "*";
    const auto isOneOf = [argument](std::string_view kinds) {
        return argument.empty() || MeterText::Contains(kinds, argument.front());
    };
    const std::string_view payload = argument.substr(argument.empty() ? 0 : 1);
    const bool takesTime = code >= 4 && code <= 6;
    if (takesTime && isOneOf("MmDd"))
        return std::to_string(MeterText::ToInt(payload));
    if (takesTime && isOneOf("Ii"))
        return FormatDateTime(ReadDateTime(payload), format);
    if (code != kParameterSetCode || !isOneOf("Xx") || !MeterText::EqualIgnoringCase(format, "BODKIN"))
        return {};
    const ParameterSet set = ReadParameterSet(payload);
    wchar_t path[Platform::kFormattedChars + 1];
    MeterRecords::FormPath(path, m_parameterRootPath, set.file);
    return ParameterSetVersion(path, set.number);
}
