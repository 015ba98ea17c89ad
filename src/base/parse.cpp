#include "base/parse.h"

#include "base/text.h"

#include <cstdint>
#include <limits>

namespace {

// Far beyond the 32-bit range and far below the 64-bit one, so the sum can never wrap.
constexpr std::int64_t kMagnitudeLimit = std::int64_t{1} << 40;

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

} // namespace

bool parseIntStrict(std::string_view text, int& out) {
    text = trimmed(text);
    if (text.empty())
        return false;
    const bool negative = text.front() == '-';
    if (negative || text.front() == '+')
        text.remove_prefix(1);
    if (text.empty())
        return false;

    std::int64_t magnitude = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return false;
        magnitude = magnitude * 10 + (c - '0');
        if (magnitude > kMagnitudeLimit)
            return false;
    }
    const std::int64_t value = negative ? -magnitude : magnitude;
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max())
        return false;
    out = static_cast<int>(value);
    return true;
}
