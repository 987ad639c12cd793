// The console of Windows. Programs get their arguments there in a code page that loses letters, so the
// command line is taken apart anew.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

// Needs windows.h before it.
#include <shellapi.h>

#include "Platform/Console.h"

namespace Platform {
namespace {

constexpr DWORD kColours = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING, missing in older headers

std::string Utf8FromWide(const wchar_t* wide) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
    if (size < 1)
        return {};
    std::string text(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), size, nullptr, nullptr);
    text.pop_back();
    return text;
}

}  // namespace

Console OpenConsole() {
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    Console console;
    DWORD mode = 0;
    CONSOLE_SCREEN_BUFFER_INFO info{};
    const HANDLE errors = GetStdHandle(STD_ERROR_HANDLE);
    console.errorsAreTerminal =
        GetConsoleMode(errors, &mode) != 0 && SetConsoleMode(errors, mode | kColours) != 0;
    console.answers =
        GetConsoleMode(errors, &mode) != 0 && GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode) != 0;
    if (GetConsoleMode(output, &mode) == 0)
        return console;
    SetConsoleOutputCP(CP_UTF8);
    console.isTerminal = SetConsoleMode(output, mode | kColours) != 0;
    if (GetConsoleScreenBufferInfo(output, &info) != 0)
        console.columns = info.srWindow.Right - info.srWindow.Left + 1;
    return console;
}

std::vector<std::string> ProgramArguments(int /*argc*/, char** /*argv*/) {
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; words != nullptr && i < count; ++i)
        arguments.push_back(Utf8FromWide(words[i]));
    LocalFree(words);
    return arguments;
}

}  // namespace Platform
