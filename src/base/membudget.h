#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

/// How much memory the engine asks the machine for, and how much it leaves: all of it is decided
/// here. What a search thread takes of it is `kThreadFootprint`.
namespace SysMem {

inline constexpr std::uint64_t kMiB = 1 << 20;

/// The table size in MiB to use for a request: at most three quarters of the physical memory, at
/// least 1. Unknown memory (0) caps nothing.
std::uint64_t clampHashMb(std::uint64_t requestedMb, std::uint64_t physicalBytes);

/// What the table leaves of the address space where that is limited: room for threads and for
/// everything small.
inline constexpr std::size_t kHeadroom = 32 * kMiB;

/// Whether a table of so many bytes and the headroom have a place in an address space of `largest`
/// bytes. On 32-bit systems most sizes that may be asked for have none.
constexpr bool fitsAddressSpace(std::uint64_t bytes,
                                std::uint64_t largest = std::numeric_limits<std::size_t>::max()) {
    return largest >= kHeadroom && bytes <= largest - kHeadroom;
}

/// Whether the machine has the memory for the table and the threads, all of it in use, and some to
/// spare. Pages come with their first use, and where there are none left the system ends the
/// process: so it must be asked before.
bool fitsInMemory(std::uint64_t tableBytes, std::uint64_t threads, std::uint64_t bytesPerThread);

} // namespace SysMem
