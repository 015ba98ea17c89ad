#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

/// The machine's memory: the few things that the standard library does not offer. How much of it to
/// ask for is decided in base/membudget.h.
namespace SysMem {

/// What is said where the system does not tell.
inline constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

/// Physical memory in bytes; 0 if the system does not tell.
std::uint64_t physicalBytes();

/// Bytes that this process may hold in memory in all before the system has to end a process for
/// the lack of it: what the process holds, and what the machine and the control groups around the
/// process have left. Asks anew at each call; `kUnlimited` where the system does not tell.
std::uint64_t budgetBytes();

/// Takes `bytes` of zeroed memory, aligned to 64 bytes or more, from the system, on huge pages
/// where it offers them. The pages come with their first use. Returns null on failure, and also
/// where the address space is known to have no `headroom` bytes left beside it.
void* allocateZeroed(std::size_t bytes, std::size_t headroom);

/// Makes all of an allocation of `allocateZeroed` zero again. Where the system can it gives the
/// pages back, which takes milliseconds a GiB; they come again with their next use.
void zero(void* memory, std::size_t bytes);

/// Gives back what `allocateZeroed` returned for the same number of bytes; null is allowed.
void release(void* memory, std::size_t bytes);

/// Steps in which an allocation of so many bytes can be prefaulted: its pages come before they are
/// used. 0 where the system cannot do this.
std::size_t prefaultSteps(std::size_t bytes);

/// Prefaults one of these steps, from 0 up, of an allocation: some 0.2 ms, and many times as long
/// where the host of a virtual machine must provide the pages first. Contents do not change, and
/// the memory may be used meanwhile. Returns false if the system refuses.
bool prefault(void* memory, std::size_t step);

} // namespace SysMem
