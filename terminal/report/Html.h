// Texts of files in a page.
#pragma once

#include <string>
#include <string_view>

#include "terminal/Utf8.h"

namespace Report {

// A text as it can stand anywhere in a page, in an attribute or between tags.
inline std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : Utf8::Shown(text)) {
        if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else if (c == '>')
            escaped += "&gt;";
        else if (c == '"')
            escaped += "&quot;";
        else
            escaped += c;
    }
    return escaped;
}

}  // namespace Report
