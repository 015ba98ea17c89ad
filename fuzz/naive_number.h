#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Numbers read a second time.
namespace NaiveNumber {

/// A number of 32 bits with nothing but white space around it.
inline std::optional<std::int32_t> readStrictly(std::string_view text) {
    constexpr std::string_view kSpaces = " \t\n\v\f\r";
    const std::size_t first = text.find_first_not_of(kSpaces);
    if (first == std::string_view::npos)
        return {};
    const std::string_view word = text.substr(first, text.find_last_not_of(kSpaces) + 1 - first);
    const bool isSigned = word[0] == '-' || word[0] == '+';
    const std::string_view digits = word.substr(isSigned ? 1 : 0);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos)
        return {};
    const std::size_t zeros = std::min(digits.find_first_not_of('0'), digits.size() - 1);
    if (digits.size() - zeros > 10)
        return {};
    const long long value =
        std::stoll(std::string(digits.substr(zeros))) * (word[0] == '-' ? -1 : 1);
    const auto narrow = static_cast<std::int32_t>(value);
    return narrow == value ? std::optional(narrow) : std::nullopt;
}

} // namespace NaiveNumber
