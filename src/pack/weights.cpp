#include "pack/weights.h"

#include "base/parse.h"

namespace Pack {

namespace {

// In centipawns; sums of more could overflow.
constexpr int kLargestWeight = 30000;

/// Cuts `start` off the front of the text.
bool take(std::string_view& text, std::string_view start) {
    if (!text.starts_with(start))
        return false;
    text.remove_prefix(start.size());
    return true;
}

/// Cuts a line with a number in it, and nothing else, off the front of the text.
bool takeValue(std::string_view& text, int& value) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos || !parseIntStrict(text.substr(0, end), value))
        return false;
    text.remove_prefix(end + 1);
    return true;
}

} // namespace

bool parseListing(std::string_view text, std::array<int, Tune::NPARAMS>& weights) {
    if (!take(text, "# Morvane tune params: index name value  (NPARAMS=" +
                        std::to_string(Tune::NPARAMS) + ")\n"))
        return false;
    for (int k = 0; k < Tune::NPARAMS; ++k) {
        int& value = weights[static_cast<std::size_t>(k)];
        if (!take(text, std::to_string(k) + " " + Tune::paramName(k) + " ") ||
            !takeValue(text, value) || value < -kLargestWeight || value > kLargestWeight)
            return false;
    }
    return text.empty();
}

} // namespace Pack
