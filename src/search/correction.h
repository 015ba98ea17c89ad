#pragma once

#include "search/thread.h"

#include <algorithm>
#include <cstdlib>

/// Correction of the static evaluation by what searches of similar positions found: positions with
/// the same pawns, and with the same pieces of either colour.
namespace Search {

/// 14-bit hash of one side's pieces without pawns.
inline std::uint32_t nonPawnHash(const Board& board, Color c) {
    const Bitboard(&p)[6] = board.pieces[c];
    const std::uint64_t mixed =
        (p[Knight] * 0x9E3779B97F4A7C15ULL) ^ (p[Bishop] * 0xC2B2AE3D27D4EB4FULL) ^
        (p[Rook] * 0x165667B19E3779F9ULL) ^ (p[Queen] * 0xD6E8FEB86659FD93ULL) ^
        (p[King] * 0xFF51AFD7ED558CCDULL);
    return static_cast<std::uint32_t>(mixed >> 50);
}

/// The three entries that apply to one position.
class Correction {
  public:
    Correction(Thread& thread, const Board& board)
        : pawns_(&thread.pawnCorrection[board.sideToMove][board.pawnKey & (kCorrectionSize - 1)]),
          white_(&thread.nonPawnCorrection[board.sideToMove][White][nonPawnHash(board, White)]),
          black_(&thread.nonPawnCorrection[board.sideToMove][Black][nonPawnHash(board, Black)]) {}

    /// Centipawns to add to the static evaluation.
    int value() const { return (2 * *pawns_ + *white_ + *black_) / kGrain; }

    /// Moves the entries towards an error of the corrected evaluation seen at the given depth.
    void learn(int error, int depth) {
        const int change = std::clamp(error * depth / 8, -kMaxChange, kMaxChange);
        for (std::int16_t* entry : {pawns_, white_, black_})
            *entry =
                static_cast<std::int16_t>(*entry + change - *entry * std::abs(change) / kLimit);
    }

  private:
    static constexpr int kGrain = 64;
    static constexpr int kMaxChange = 256;
    static constexpr int kLimit = 1024;

    std::int16_t* pawns_;
    std::int16_t* white_;
    std::int16_t* black_;
};

} // namespace Search
