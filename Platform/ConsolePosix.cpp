// The console of systems with terminals of their own.
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "Platform/Console.h"

namespace Platform {

Console OpenConsole() {
    const char* type = std::getenv("TERM");
    const bool isDumb = type == nullptr || std::string_view(type) == "dumb";
    Console console;
    winsize size{};
    console.errorsAreTerminal = !isDumb && isatty(STDERR_FILENO) != 0;
    console.answers = isatty(STDERR_FILENO) != 0 && isatty(STDIN_FILENO) != 0;
    if (isatty(STDOUT_FILENO) == 0)
        return console;
    console.isTerminal = !isDumb;
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0)
        console.columns = size.ws_col;
    return console;
}

std::vector<std::string> ProgramArguments(int argc, char** argv) {
    return argc < 1 ? std::vector<std::string>() : std::vector<std::string>(argv + 1, argv + argc);
}

}  // namespace Platform
