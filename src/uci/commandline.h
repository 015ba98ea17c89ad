#pragma once

#include <span>
#include <string_view>

/// Runs the mode that the arguments after the program's name call for, or the UCI loop if there is
/// none. A mode whose arguments are missing is not called for. Before the loop, standard error
/// tells what a person may want to know: help or the version if asked for, a word that is no mode,
/// what a mode lacks, and at a terminal what to type. Returns the exit status.
int runCommandLine(std::span<const std::string_view> arguments);
