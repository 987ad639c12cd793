#include "tests/support/CommaLocale.h"

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <string>

#include "tests/support/TestFolder.h"

namespace {

struct Comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

#if __has_include(<langinfo.h>)
// A C library that takes its locales from files finds this one in a folder that the environment names: the
// file of a locale's numbers, as glibc lays it out. Its six items are the decimal point and the separator of
// thousands, the grouping, the first two again as wide characters, and the character set.
void SetOwnLocale() {
    const auto bytes = [](std::initializer_list<std::uint32_t> words) {
        std::string text;
        for (const std::uint32_t word : words)
            text.append(reinterpret_cast<const char*>(&word), sizeof word);
        return text;
    };
    const std::string texts("\x2C\0.\0\3\3\0\0", 8);
    const std::string file =
        bytes({0x20031114, 6, 32, 34, 36, 40, 44, 48}) + texts + bytes({',', '.'}) + std::string("UTF-8", 6);
    const TestFolder folder;
    std::filesystem::create_directory(folder.Path() / "comma");
    folder.Write("comma/LC_NUMERIC", file);
    setenv("LOCPATH", folder.Path().c_str(), 1);
    std::setlocale(LC_NUMERIC, "comma");
    unsetenv("LOCPATH");
}
#else
void SetOwnLocale() {}
#endif

}  // namespace

CommaLocale::CommaLocale() : m_streams(std::locale::global(std::locale(std::locale::classic(), new Comma))) {
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "German"})
        if (std::setlocale(LC_NUMERIC, name) != nullptr && IsInCLibrary())
            return;
    SetOwnLocale();
}

CommaLocale::~CommaLocale() {
    std::locale::global(m_streams);
    std::setlocale(LC_NUMERIC, "C");
}

bool CommaLocale::IsInCLibrary() {
    return std::strcmp(std::localeconv()->decimal_point, ",") == 0;
}
