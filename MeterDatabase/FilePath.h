// Paths of the files that the configuration and the records name: the one place that joins a narrow file name
// to the wide directory that it is relative to.
#pragma once

#include <string>

#include "MeterUtil/Text.h"
#include "Platform/Platform.h"

namespace MeterRecords {

// Text composed by the system's formatter, which wants more room than a path field has.
struct Composed {
    template <typename... Parts>
    explicit Composed(const wchar_t* format, Parts... parts) {
        Platform::wsprintfW(text, format, parts...);
    }
    wchar_t text[Platform::kFormattedChars + 1];
};

// The path of `file`, which is absolute or stands below `base`, cut to fit.
template <std::size_t Size>
void FormPath(wchar_t (&path)[Size], const wchar_t* base, const std::string& file) {
    if (Platform::IsAbsolutePath(Platform::WideFromNarrow(file)))
        MeterText::CopyPadded(path, Composed(L"%S", file.c_str()).text);
    else
        MeterText::CopyPadded(path, Composed(L"%s\\%S", base, file.c_str()).text);
}

}  // namespace MeterRecords
