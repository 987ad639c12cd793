// The command line: which commands and options there are, and what help says of them.
#pragma once

#include <CLI/CLI.hpp>

#include "terminal/Installation.h"
#include "terminal/Screen.h"

// Adds all options, which go into `options`, and all commands, which run while the command line is parsed.
// Both must outlive the parsing.
void DescribeCommandLine(CLI::App& app, Options& options, Screen& screen);
