#pragma once

#include "search/thread.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>

/// Correction of the static evaluation by what searches of similar positions have found: of
/// positions with the same pawns, and with the same pieces of either colour.
namespace Search {

/// The three entries that apply to one position.
class Correction {
  public:
    Correction(Thread& thread, const Board& board)
        : pawns_(&thread.pawnCorrection[board.sideToMove][board.pawnKey & (kCorrectionSize - 1)]),
          white_(&thread.nonPawnCorrection[board.sideToMove][White][board.nonPawnHash[White]]),
          black_(&thread.nonPawnCorrection[board.sideToMove][Black][board.nonPawnHash[Black]]) {}

    /// Centipawns to add to the static evaluation.
    int value() const { return (2 * *pawns_ + *white_ + *black_) / kGrain; }

    /// Moves the entries towards an error of the corrected evaluation, in centipawns, that a search
    /// to the given depth has shown.
    void learn(int error, int depth) {
        assert(depth >= 1);
        const int change = std::clamp(error * depth / kDepthDivisor, -kMaxChange, kMaxChange);
        for (std::int16_t* entry : {pawns_, white_, black_})
            *entry =
                static_cast<std::int16_t>(*entry + change - *entry * std::abs(change) / kLimit);
    }

  private:
    static constexpr int kGrain = 64; // entries count 64ths of a centipawn
    static constexpr int kDepthDivisor = 8;
    static constexpr int kMaxChange = 256;
    static constexpr int kLimit = 1024; // entries stay within it, up and down

    std::int16_t* pawns_;
    std::int16_t* white_;
    std::int16_t* black_;
};

} // namespace Search
