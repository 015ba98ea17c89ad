#pragma once

#include <cstddef>
#include <cstdint>

/// The machine's memory: the few things that the standard library does not offer.
namespace SysMem {

/// Physical memory in bytes; 0 if the system does not tell.
std::uint64_t physicalBytes();

/// The table size in MiB to use for a request: at most three quarters of the physical memory, at
/// least 1. Unknown memory (0) caps nothing.
std::uint64_t clampHashMb(std::uint64_t requestedMb, std::uint64_t physicalBytes);

/// Takes `bytes` of zeroed memory, aligned to 64 bytes or more, from the system, on huge pages
/// where it offers them. Returns null on failure.
void* allocateZeroed(std::size_t bytes);

/// Gives back what `allocateZeroed` returned for the same number of bytes; null is allowed.
void release(void* memory, std::size_t bytes);

} // namespace SysMem
