// meterdb, the command-line terminal: the sample application of the meter database.
#include <cstdlib>
#include <iostream>

#include "Platform/Console.h"
#include "terminal/Refusal.h"
#include "terminal/Terminal.h"

int main(int argc, char** argv) {
    const Platform::Console console = Platform::OpenConsole();
    const char* noColour = std::getenv("NO_COLOR");
    const bool colours = console.isTerminal && (noColour == nullptr || *noColour == '\0');
    std::istream* answers = console.answers ? &std::cin : nullptr;
    Screen screen(std::cout, std::cerr,
                  {colours, console.columns, console.errorsAreTerminal, answers, console.isTerminal});
    const int code = RunTerminal(Platform::ProgramArguments(argc, argv), screen);
    if (std::cout.flush())
        return code;
    // What nobody could read was not shown.
    screen.Problem("standard output cannot be written");
    return kFileFailed;
}
