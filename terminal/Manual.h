// What the definitions of the command line say, in the forms that shells and readers of manuals want.
#pragma once

#include <CLI/CLI.hpp>
#include <set>
#include <string>

// A manual page (roff).
std::string ManualPage(const CLI::App& app);

// The shells that there is a completion for.
std::set<std::string> Shells();

// What completes commands, options and names of files in a shell.
std::string CompletionScript(const CLI::App& app, const std::string& shell);
