// Wide texts by the numbers of their characters, for those that a source file had better not hold.
#pragma once

#include <initializer_list>
#include <string>

inline std::wstring Wide(std::initializer_list<unsigned> codes) {
    std::wstring text;
    for (const unsigned code : codes)
        text.push_back(static_cast<wchar_t>(code));
    return text;
}
