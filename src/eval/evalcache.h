#pragma once

#include "board/board.h"
#include "eval/evaluate.h"

#include <array>

namespace Eval {

/// Evaluations by position, for one thread: a search meets most positions more than once, in later
/// iterations and by transposition. What is kept depends on the position key alone, so entries
/// never become stale.
///
/// An entry is one word: the upper bits of the key and a value. Together with its place, the lower
/// bits of the key, it holds the whole key. Two entries share a place, the later one first. The
/// cache takes half of a second-level cache of 512 KiB: it is read at every node. The pawn
/// structures that the evaluations have needed lie beside them.
class EvalCache {
  public:
    EvalCache();

    /// What `::evaluate` returns, from the cache if it holds the position.
    int evaluate(const Board& board) {
        Place& place = places_[board.key % kPlaces];
        const int value = place[0].holds(board.key)   ? place[0].value()
                          : place[1].holds(board.key) ? place[1].value()
                                                      : evaluateAndKeep(board, place);
        return fadedForSideToMove(board, value);
    }

    /// Prefetches the place of a key that will be looked up soon. Always inlined: as a function it
    /// has no effect that g++ knows of, and calls of it would be dropped.
    [[gnu::always_inline]] void prefetch(std::uint64_t key) const {
        __builtin_prefetch(&places_[key % kPlaces]);
    }

  private:
    static constexpr int kValueBits = 13;
    static constexpr std::uint64_t kPlaces = 1 << (kValueBits + 1);
    static constexpr std::uint64_t kValueMask = (std::uint64_t{1} << kValueBits) - 1;

    struct Entry {
        std::uint64_t word;

        bool holds(std::uint64_t key) const { return (word ^ key) <= kValueMask; }
        int value() const {
            constexpr int kOtherBits = 64 - kValueBits;
            return static_cast<int>(static_cast<std::int64_t>(word << kOtherBits) >> kOtherBits);
        }
    };
    using Place = std::array<Entry, 2>;

    int evaluateAndKeep(const Board& board, Place& place);

    alignas(64) std::array<Place, kPlaces> places_;
    PawnTable pawnTable_{};
};

} // namespace Eval
