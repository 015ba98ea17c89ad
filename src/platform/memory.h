#pragma once

#include "platform/thread.h"

#include <array>
#include <atomic>
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
/// where it offers them. The pages come with their first use. Returns null on failure.
void* allocateZeroed(std::size_t bytes);

/// Makes all of an allocation of `allocateZeroed` zero again. Where the system can it gives the
/// pages back, which takes milliseconds a GiB; they come again with their next use.
void zero(void* memory, std::size_t bytes);

/// Gives back what `allocateZeroed` returned for the same number of bytes; null is allowed.
void release(void* memory, std::size_t bytes);

/// Fetches the pages of an allocation in the background, on threads of its own, so that who uses
/// them later does not wait for the system to zero them. Contents do not change, and the memory may
/// be used meanwhile. Where the system cannot do this, nothing happens.
class PagePrefaulter {
  public:
    PagePrefaulter() = default;
    ~PagePrefaulter() { stop(); }
    PagePrefaulter(const PagePrefaulter&) = delete;
    PagePrefaulter& operator=(const PagePrefaulter&) = delete;

    /// Begins with an allocation; ends what was under way.
    void start(void* memory, std::size_t bytes);

    /// Ends within milliseconds. Must be called before the memory is released.
    void stop();

    /// Returns when all pages are there.
    void wait();

    /// Whether pages are still to come.
    bool isRunning() const { return running_.load(std::memory_order_relaxed) > 0; }

  private:
    static constexpr std::size_t kMaxThreads = 16;

    std::array<WorkerThread, kMaxThreads> threads_;
    std::atomic<bool> stop_{false};
    std::atomic<int> running_{0}; // threads
};

} // namespace SysMem
