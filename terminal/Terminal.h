// The program from its command line to its exit code.
#pragma once

#include <string>
#include <vector>

#include "terminal/Screen.h"

// `arguments` in UTF-8, without the name of the program. The exit code; see Refusal.h.
int RunTerminal(const std::vector<std::string>& arguments, Screen& screen);
