#include "search/time.h"

#include <algorithm>

std::atomic<std::int32_t> gMoveOverhead{kDefaultMoveOverhead};
TimeManager gTime;

namespace {

// Moves that a clock without a move count is planned to last for.
constexpr std::int64_t kPlannedMoves = 50;

// The soft limit holds a move's share of the clock and this part of the increment, but never more
// than half of the clock.
constexpr std::int64_t kSoftIncrementPermille = 750;
constexpr std::int64_t kSoftClockDivisor = 2;

// The hard limit is a multiple of the soft limit, but never more than this part of the clock.
constexpr std::int64_t kHardFactor = 4;
constexpr std::int64_t kHardClockPermille = 900;

} // namespace

void TimeManager::start(const SearchLimits& limits, Color side) {
    start_ = std::chrono::steady_clock::now();
    softLimit_ = hardLimit_ = 0;
    managed_ = fixedTime_ = false;

    // All in 64 bits: clocks and increments may be as large as 32 bits hold.
    const std::int64_t overhead = std::max(gMoveOverhead.load(std::memory_order_relaxed), 0);
    if (limits.movetime >= 1) {
        managed_ = fixedTime_ = true;
        softLimit_ = hardLimit_ = std::max<std::int64_t>(limits.movetime - overhead, 1);
        return;
    }
    const std::int64_t time = side == Black ? limits.btime : limits.wtime;
    const std::int64_t increment = side == Black ? limits.binc : limits.winc;
    if (time < 1)
        return;
    managed_ = true;
    const std::int64_t available = std::max<std::int64_t>(time - overhead, 1);
    const std::int64_t moves = limits.movestogo > 0 ? limits.movestogo : kPlannedMoves;
    softLimit_ = std::min(available / kSoftClockDivisor,
                          increment * kSoftIncrementPermille / 1000 + available / moves);
    hardLimit_ = std::min(available * kHardClockPermille / 1000, softLimit_ * kHardFactor);
}

std::int64_t TimeManager::elapsed() const {
    const auto sinceStart = std::chrono::steady_clock::now() - start_;
    return std::chrono::duration_cast<std::chrono::milliseconds>(sinceStart).count();
}

bool TimeManager::startNextIteration(std::int64_t elapsedMs) const {
    if (!managed_)
        return true;
    return fixedTime_ ? elapsedMs < softLimit_ : 2 * elapsedMs < softLimit_;
}

bool TimeManager::hardLimitHit() const {
    return managed_ && elapsed() >= hardLimit_;
}

bool TimeManager::shouldStop(std::uint64_t nodes) const {
    return nodes % kCheckInterval == 0 && hardLimitHit();
}
