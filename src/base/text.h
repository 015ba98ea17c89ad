#pragma once

#include <string_view>

/// Characters as the protocols of this program mean them, whatever the locale.

/// What separates words.
inline constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

constexpr bool isWhiteSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}

constexpr char toLower(char c) {
    return isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}
