// A locale with a decimal comma and grouped thousands, as long as an object of this class lives: for the
// streams of the language always, for the C library where a locale of that kind can be had.
#pragma once

#include <locale>

class CommaLocale {
public:
    CommaLocale();
    ~CommaLocale();
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

    // True when the C library writes numbers with a comma.
    static bool IsInCLibrary();

private:
    std::locale m_streams;
};
