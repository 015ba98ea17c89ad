#pragma once

#include "platform/console.h"
#include "search/thread.h"
#include "search/tt.h"

/// What ends a search from within.
namespace Search {

/// Whether the search has been told to end; asked at every node.
inline bool stopped() {
    return gStopSearch.load(std::memory_order_relaxed);
}

/// Whether the time of the main thread, which has searched so many nodes, is up, or somebody asks
/// it to stop whom no other thread hears. Looks at few nodes. As long as pages of the transposition
/// table are still to come, a node may wait for one of them, a thousand times as long as usual:
/// then it reads the clock more often.
inline bool timeIsUp(std::uint64_t nodes) {
    constexpr std::uint64_t kPrefaultCheckInterval = 64;
    static_assert(TimeManager::kCheckInterval % kPrefaultCheckInterval == 0);
    if (nodes % kPrefaultCheckInterval != 0)
        return false;
    if (gTT.isPrefaulting() ? gTime.hardLimitHit() : gTime.shouldStop(nodes))
        return true;
    return nodes % TimeManager::kCheckInterval == 0 && Console::isInterrupted();
}

} // namespace Search
