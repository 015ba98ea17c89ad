#pragma once

#include "base/chess.h"

#include <atomic>
#include <chrono>
#include <cstdint>

/// What one go command asks for. Times are in milliseconds.
struct SearchLimits {
    std::int32_t depth = 100;
    std::int32_t movetime = -1; // for this move; below 1: none
    std::int32_t wtime = -1;    // left on the clock; below 1: none
    std::int32_t btime = -1;
    std::int32_t winc = 0; // added after each move
    std::int32_t binc = 0;
    std::int32_t movestogo = 0; // to the next time control; below 1: unknown
    bool infinite = false;      // until stopped
    std::int64_t nodes = 0;     // of the main thread; below 1: no limit

    /// Whether any time was given, for whichever side.
    bool hasTime() const { return movetime >= 1 || wtime >= 1 || btime >= 1; }
};

inline constexpr std::int32_t kDefaultMoveOverhead = 10; // milliseconds

/// Milliseconds kept back from every budget for the way to the client and back. Set by the UCI
/// loop, also while a search runs.
extern std::atomic<std::int32_t> gMoveOverhead;

/// Turns the limits of a search into a soft limit, asked between iterations, and a hard limit,
/// asked within them. Used by the main search thread alone.
class TimeManager {
  public:
    /// Starts the clock of a search for the given side.
    void start(const SearchLimits& limits, Color side);

    /// Milliseconds since `start`.
    std::int64_t elapsed() const;

    /// Whether the time suffices to begin another iteration: with a clock, while less than half of
    /// the soft limit is spent, since the next iteration costs at least as much as all before it.
    bool startNextIteration(std::int64_t elapsedMs) const;

    /// Whether time is up.
    bool hardLimitHit() const;

    /// The same, but reads the clock at every 2048th node only.
    bool shouldStop(std::uint64_t nodes) const;

    std::int64_t softLimit() const { return softLimit_; }
    std::int64_t hardLimit() const { return hardLimit_; }
    bool managed() const { return managed_; }

    /// Nodes between two looks at the clock.
    static constexpr std::uint64_t kCheckInterval = 2048;

  private:
    std::chrono::steady_clock::time_point start_;
    std::int64_t softLimit_ = 0;
    std::int64_t hardLimit_ = 0;
    bool managed_ = false;   // a clock or a fixed time is in force
    bool fixedTime_ = false; // it is a fixed time
};

extern TimeManager gTime;
