// The console as command-line programs need it. The libraries do not use it.
#pragma once

#include <string>
#include <vector>

namespace Platform {

struct Console {
    bool isTerminal = false;         // a person looks at standard output, in colour
    int columns = 0;                 // of the terminal; 0: no limit
    bool errorsAreTerminal = false;  // a person looks at standard error
    bool answers = false;            // that person types into standard input
};

// Prepares standard output for UTF-8 and colours and tells what it is.
Console OpenConsole();

// The arguments behind the name of the program, in UTF-8 (elsewhere than on Windows: as they were given).
std::vector<std::string> ProgramArguments(int argc, char** argv);

}  // namespace Platform
