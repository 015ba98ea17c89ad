#include "base/outputline.h"

#include "base/output.h"

#include <charconv>

namespace {

// Digits of the longest 64-bit number and its sign.
constexpr std::size_t kNumberLength = 21;

template <class Integer>
std::string_view decimal(Integer value, std::array<char, kNumberLength>& digits) {
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    return {digits.data(), static_cast<std::size_t>(end - digits.data())};
}

} // namespace

OutputLine& OutputLine::add(std::string_view text) {
    for (const char c : text)
        if (size_ < kCapacity - 1) // one place stays free for the line feed
            buffer_[size_++] = c;
    return *this;
}

OutputLine& OutputLine::addSigned(std::int64_t value) {
    std::array<char, kNumberLength> digits;
    return add(decimal(value, digits));
}

OutputLine& OutputLine::addUnsigned(std::uint64_t value) {
    std::array<char, kNumberLength> digits;
    return add(decimal(value, digits));
}

void OutputLine::print() {
    buffer_[size_++] = '\n';
    Output::write(text());
}
