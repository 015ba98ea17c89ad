#pragma once

#include "search/thread.h"

#include <cassert>
#include <cstdlib>

/// What a search learns about quiet moves, whatever the position: those that caused cutoffs come
/// first elsewhere, too, and are reduced less.
namespace Search {

/// Histories stay within this, up and down.
inline constexpr int kHistoryLimit = 16384;

/// What a cutoff at this depth is worth to the move that caused it.
constexpr int historyBonus(int depth) {
    return depth * depth;
}

/// How well a side's quiet move has done so far.
inline int historyOf(const Thread& thread, Color side, Move m) {
    return thread.quietHistory[side][fromSquare(m)][toSquare(m)];
}

/// Adds to a move's history, the less the nearer it is to the limit (gravity).
inline void addHistory(Thread& thread, Color side, Move m, int bonus) {
    assert(std::abs(bonus) <= kHistoryLimit);
    std::int32_t& entry = thread.quietHistory[side][fromSquare(m)][toSquare(m)];
    entry += bonus - entry * std::abs(bonus) / kHistoryLimit;
}

/// The quiet moves searched at a node, the first 64 of them.
class QuietsTried {
  public:
    void add(Move m) {
        if (count_ < kCapacity)
            moves_[count_++] = m;
    }

    const Move* begin() const { return moves_; }
    const Move* end() const { return moves_ + count_; }

  private:
    static constexpr int kCapacity = 64;

    Move moves_[kCapacity];
    int count_ = 0;
};

/// Move `m` caused a cutoff: it gains unless it is a capture, and the quiet moves tried before it
/// lose as much.
inline void rewardCutoff(Thread& thread, Color side, Move m, const QuietsTried& tried, int depth) {
    const int bonus = historyBonus(depth);
    if (!isCapture(m))
        addHistory(thread, side, m, bonus);
    for (const Move other : tried)
        if (other != m)
            addHistory(thread, side, other, -bonus);
}

} // namespace Search
