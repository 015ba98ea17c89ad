#include "pack/crc32.h"

#include <array>
#include <cstddef>

namespace Pack {

namespace {

constexpr std::size_t kAtOnce = 8; // bytes that are looked up without waiting for each other

/// What each value of a byte does to the remainder, with so many further bytes behind it.
consteval auto buildTables() {
    constexpr std::uint32_t kPolynomial = 0xEDB88320;
    std::array<std::array<std::uint32_t, 256>, kAtOnce> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t remainder = byte;
        for (int bit = 0; bit < 8; ++bit)
            remainder = remainder >> 1 ^ (remainder & 1 ? kPolynomial : 0);
        tables[0][byte] = remainder;
    }
    for (std::size_t behind = 1; behind < kAtOnce; ++behind)
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t remainder = tables[behind - 1][byte];
            tables[behind][byte] = remainder >> 8 ^ tables[0][remainder & 255];
        }
    return tables;
}

constexpr auto kTables = buildTables();

} // namespace

std::uint32_t crc32(std::uint32_t crc, std::span<const std::uint8_t> bytes) {
    crc = ~crc;
    for (; bytes.size() >= kAtOnce; bytes = bytes.subspan(kAtOnce)) {
        std::uint32_t next = 0;
        for (std::size_t i = 0; i < kAtOnce; ++i) {
            const std::uint32_t mixed = i < 4 ? crc >> 8 * i : 0;
            next ^= kTables[kAtOnce - 1 - i][(bytes[i] ^ mixed) & 255];
        }
        crc = next;
    }
    for (const std::uint8_t byte : bytes)
        crc = crc >> 8 ^ kTables[0][(crc ^ byte) & 255];
    return ~crc;
}

} // namespace Pack
