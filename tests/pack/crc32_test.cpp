#include "pack/crc32.h"

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace {

std::uint32_t bitByBit(std::span<const std::uint8_t> bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int i = 0; i < 8; ++i)
            crc = crc % 2 ? crc / 2 ^ 0xEDB88320 : crc / 2;
    }
    return ~crc;
}

TEST(PackCrc32, OfThePublishedExample) {
    constexpr std::string_view kDigits = "123456789";
    const std::vector<std::uint8_t> bytes(kDigits.begin(), kDigits.end());
    EXPECT_EQ(Pack::crc32(0, bytes), 0xCBF43926);
}

TEST(PackCrc32, OfAllLengthsInOneAndInTwoParts) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t size = 0; size < 100; ++size) {
        EXPECT_EQ(Pack::crc32(0, bytes), bitByBit(bytes)) << size;
        const auto all = std::span(bytes);
        EXPECT_EQ(Pack::crc32(Pack::crc32(0, all.first(size / 3)), all.subspan(size / 3)),
                  bitByBit(bytes));
        bytes.push_back(static_cast<std::uint8_t>(size * 151 + 7));
    }
}

} // namespace
