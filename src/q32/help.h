// The command's help as a manual page and as a completion script, made from its own options.
#pragma once

#include <CLI/App.hpp>
#include <string>

// Two blanks before each line.
std::string IndentLines(const std::string& lines);

// Adds --manual, which prints the page q32(1), and --bash-completion. Call it last.
void AddManualOptions(CLI::App& app);
