#pragma once

#include <span>
#include <string_view>

/// A developer mode: a word on the command line and what it runs.
struct Mode {
    std::string_view word;
    int arguments;            // that it needs after its word
    std::string_view usage;   // what stands after its word, for the help
    std::string_view meaning; // what it is good for, for the help
    int (*run)(std::span<const std::string_view> arguments); // returns the exit status
};

/// All modes, in the order in which they are tried.
std::span<const Mode> modes();
