#pragma once

#include <span>
#include <string>
#include <string_view>

/// What the options have at the start.
inline constexpr int kDefaultHashMb = 64;
inline constexpr int kDefaultThreads = 1;

/// A number that the user may set over UCI.
struct UciOption {
    std::string_view name;    // as advertised
    std::string_view lowName; // as compared, in lower case
    int defaultValue;
    int min;
    int max;
    void (*apply)(int value); // gets the value within its bounds
};

/// All options, in the order in which they are advertised.
std::span<const UciOption> uciOptions();

/// Sets the option of this name, in any letter case, to a value given as text and cut to its
/// bounds. Unknown names are ignored; a text that is no number is reported and changes nothing.
void setUciOption(std::string name, const std::string& value);

/// Brings the thread pool to the Threads option.
void initThreads();
