#pragma once

#include "search/thread.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstdlib>

/// Correction of the static evaluation by what searches of similar positions have found: of
/// positions with the same pawns, and with the same pieces of either colour.
namespace Search {

/// 14-bit hash of one side's pieces without pawns: an index of a correction table.
inline std::uint32_t nonPawnHash(const Board& board, Color c) {
    const Bitboard(&p)[kPieces] = board.pieces[c];
    const std::uint64_t mixed =
        (p[Knight] * 0x9E3779B97F4A7C15ULL) ^ (p[Bishop] * 0xC2B2AE3D27D4EB4FULL) ^
        (p[Rook] * 0x165667B19E3779F9ULL) ^ (p[Queen] * 0xD6E8FEB86659FD93ULL) ^
        (p[King] * 0xFF51AFD7ED558CCDULL);
    constexpr int kIndexBits = std::countr_zero(unsigned{kCorrectionSize});
    static_assert(kCorrectionSize == 1 << kIndexBits);
    return static_cast<std::uint32_t>(mixed >> (64 - kIndexBits));
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
