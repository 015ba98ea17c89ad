#pragma once

#include "platform/thread.h"

#include <array>
#include <atomic>
#include <cstddef>

namespace SysMem {

/// Prefaults the pages of an allocation in the background, on threads of its own, so that whoever
/// uses them later does not wait for the system to zero them. Contents do not change, and the
/// memory may be used meanwhile. Where the system cannot do this, nothing happens.
class PagePrefaulter {
  public:
    PagePrefaulter() = default;
    ~PagePrefaulter() { stop(); }
    PagePrefaulter(const PagePrefaulter&) = delete;
    PagePrefaulter& operator=(const PagePrefaulter&) = delete;

    /// Begins with an allocation of `allocateZeroed`; ends what was under way.
    void start(void* memory, std::size_t bytes);

    /// Ends within milliseconds. Must be called before the memory is released.
    void stop();

    /// Returns when all pages are there.
    void wait();

    /// Whether pages are still to come.
    bool isRunning() const { return running_.load(std::memory_order_relaxed) > 0; }

  private:
    static constexpr std::size_t kMaxThreads = 16;

    void prefaultFrom(std::size_t first);

    std::array<WorkerThread, kMaxThreads> threads_;
    std::atomic<bool> stop_{false};
    std::atomic<int> running_{0}; // threads
    void* memory_ = nullptr;
    std::size_t steps_ = 0;
    std::size_t stride_ = 1; // steps from one to the next of the same thread
};

} // namespace SysMem
