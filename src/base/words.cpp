#include "base/words.h"

#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

void Words::skipWhiteSpace() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(kWhiteSpace), rest_.size()));
}

bool Words::next(std::string_view& word) {
    skipWhiteSpace();
    if (rest_.empty())
        return false;
    word = rest_.substr(0, rest_.find_first_of(kWhiteSpace));
    rest_.remove_prefix(word.size());
    return true;
}

template <class Integer>
bool Words::nextNumber(Integer& value) {
    skipWhiteSpace();
    if (rest_.empty())
        return false;
    const bool hasPlus = rest_.front() == '+' && !rest_.starts_with("+-");
    const char* const begin = rest_.data() + (hasPlus ? 1 : 0); // a plus is unknown to from_chars
    const auto [end, error] = std::from_chars(begin, rest_.data() + rest_.size(), value);
    if (error == std::errc{}) {
        rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
        return true;
    }
    using Limits = std::numeric_limits<Integer>;
    value = error == std::errc::invalid_argument ? 0
            : rest_.front() == '-'               ? Limits::min()
                                                 : Limits::max();
    rest_ = {};
    return false;
}

bool Words::next(std::int32_t& value) {
    return nextNumber(value);
}

bool Words::next(std::int64_t& value) {
    return nextNumber(value);
}
