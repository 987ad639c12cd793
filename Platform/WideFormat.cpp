// Formatting of wide text: one implementation for all systems, so that the length at which text is cut and
// what becomes of a null text do not depend on the device. Only what a narrow text means (%S) is the
// system's.
#include <algorithm>
#include <cstdarg>
#include <iterator>

#include "Platform/Platform.h"
#include "Platform/System.h"

namespace Platform {
namespace {

// The characters written so far; what does not fit is dropped.
class Output {
public:
    explicit Output(wchar_t* dst) : m_dst(dst) {}

    void Put(wchar_t c) {
        if (m_count < kFormattedChars)
            m_dst[m_count++] = c;
    }

    void Put(std::wstring_view text, std::size_t width, wchar_t fill) {
        for (std::size_t length = text.size(); length < width && m_count < kFormattedChars; ++length)
            Put(fill);
        const std::size_t count = std::min(text.size(), kFormattedChars - m_count);
        std::copy_n(text.data(), count, m_dst + m_count);
        m_count += count;
    }

    int Finish() {
        m_dst[m_count] = L'\0';
        return static_cast<int>(m_count);
    }

private:
    wchar_t* m_dst;
    std::size_t m_count = 0;
};

// A field of this width fills the rest of the text, like every wider one.
constexpr std::size_t kMostWidth = 10 * kFormattedChars;

// What stands between the % and the letter.
struct Field {
    std::size_t width = 0;
    wchar_t fill = L' ';
};

const wchar_t* ReadField(const wchar_t* format, Field* field) {
    if (*format == L'0')
        field->fill = L'0';
    for (; *format >= L'0' && *format <= L'9'; ++format)
        field->width = std::min(field->width * 10 + static_cast<std::size_t>(*format - L'0'), kMostWidth);
    return format;
}

void PutNumber(Output* out, const Field& field, bool negative, unsigned magnitude) {
    wchar_t digits[16];
    wchar_t* const end = std::end(digits);
    wchar_t* first = end;
    do
        *--first = static_cast<wchar_t>(L'0' + magnitude % 10);
    while ((magnitude /= 10) != 0);
    const bool signBeforeZeros = negative && field.fill == L'0';
    if (signBeforeZeros)
        out->Put(L'-');
    else if (negative)
        *--first = L'-';
    const std::size_t width = field.width - (signBeforeZeros && field.width != 0 ? 1 : 0);
    out->Put({first, static_cast<std::size_t>(end - first)}, width, field.fill);
}

void PutSigned(Output* out, const Field& field, int value) {
    PutNumber(out, field, value < 0,
              value < 0 ? 0u - static_cast<unsigned>(value) : static_cast<unsigned>(value));
}

// Needs no memory, so that no path ever loses its name for lack of it.
void PutNarrow(Output* out, const Field& field, const char* text) {
    constexpr std::size_t kMostBytes = kFormattedChars * System::kBytesPerWide;
    wchar_t wide[kMostBytes];
    const std::string_view all = text == nullptr ? std::string_view() : std::string_view(text);
    const std::size_t count = System::Widen(all.substr(0, kMostBytes), wide, kMostBytes);
    out->Put({wide, count}, field.width, field.fill);
}

void PutArgument(Output* out, const Field& field, wchar_t letter, std::va_list* arguments) {
    if (letter == L's') {
        const wchar_t* text = va_arg(*arguments, const wchar_t*);
        out->Put(text == nullptr ? L"" : text, field.width, field.fill);
    } else if (letter == L'S') {
        PutNarrow(out, field, va_arg(*arguments, const char*));
    } else if (letter == L'c') {
        const wchar_t character = static_cast<wchar_t>(va_arg(*arguments, int));
        out->Put({&character, 1}, field.width, field.fill);
    } else if (letter == L'i' || letter == L'd') {
        PutSigned(out, field, va_arg(*arguments, int));
    } else if (letter == L'u') {
        PutNumber(out, field, false, va_arg(*arguments, unsigned));
    } else {
        out->Put(letter);  // the second % of two; a letter without a meaning stands for itself
    }
}

}  // namespace

int wsprintfW(wchar_t* dst, const wchar_t* format, ...) noexcept {
    Output out(dst);
    std::va_list arguments;
    va_start(arguments, format);
    while (*format != L'\0') {
        if (*format != L'%') {
            out.Put(*format++);
            continue;
        }
        Field field;
        format = ReadField(format + 1, &field);
        if (*format != L'\0')
            PutArgument(&out, field, *format++, &arguments);
    }
    va_end(arguments);
    return out.Finish();
}

}  // namespace Platform
