// What is said of a command line that makes no sense: what is wrong with it, what was probably meant, and
// where help is.
#pragma once

#include <CLI/CLI.hpp>

#include "terminal/Screen.h"

// `app` as it was left by parsing, which ended with `stop`.
void ShowWrongUse(const CLI::App& app, const CLI::ParseError& stop, Screen& screen);
