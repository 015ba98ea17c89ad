#pragma once

#include <span>
#include <string_view>

/// A developer mode: a word on the command line and what it runs.
struct Mode {
    std::string_view word;
    int arguments;                                           // that it needs after its word
    int (*run)(std::span<const std::string_view> arguments); // returns the exit status
};

/// All modes, in the order in which they are tried.
std::span<const Mode> modes();

/// Runs the mode that the arguments after the program's name call for, or the UCI loop if there is
/// none. A mode whose arguments are missing is not called for. Returns the exit status.
int runMode(std::span<const std::string_view> arguments);
