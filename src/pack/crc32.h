#pragma once

#include <cstdint>
#include <span>

namespace Pack {

/// The CRC-32 of zip files and of zlib, over bytes that come in several parts: begins with 0, goes
/// on with what the last call returned.
std::uint32_t crc32(std::uint32_t crc, std::span<const std::uint8_t> bytes);

} // namespace Pack
