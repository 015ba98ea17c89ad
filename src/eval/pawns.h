#pragma once

#include "board/board.h"
#include "params/psq.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// Counts of one pawn structure, White's first in each pair.
struct PawnFeatures {
    std::int32_t isolated[kColors];
    std::int32_t doubled[kColors]; // pawns beyond the first on their file
    std::int32_t connected[kColors];
    std::int32_t passed[kColors][kRanks]; // by relative rank
    std::int32_t candidate[kColors];      // pawns that may become passers
};

/// The pawns that are counted so.
struct PawnSets {
    Bitboard isolated[kColors];
    Bitboard doubled[kColors]; // those ahead of another on their file
    Bitboard connected[kColors];
    Bitboard passed[kColors];
    Bitboard candidate[kColors];
};

/// Adds the counts of both colours to `features`, which the caller has zeroed. Returns the pawns
/// that were counted.
PawnSets computePawnFeatures(const Board& board, PawnFeatures& features);

/// Passed pawns of both colours: no enemy pawn ahead on their own or a neighbouring file.
Bitboard passedPawns(const Board& board);

/// The relative rank from which on a passed pawn is advanced.
inline constexpr int kFirstPasserRank = Rank4;

/// The advanced ones of the board's passed pawns that belong to one side.
constexpr Bitboard advancedPassers(const Board& board, Bitboard passed, Color c) {
    constexpr Bitboard kAdvanced[kColors] = {~Bitboard{0} << kFiles * kFirstPasserRank,
                                             ~Bitboard{0} >> kFiles * kFirstPasserRank};
    return passed & board.colorBB[c] & kAdvanced[c];
}

/// Bonus of advanced passed pawns, by kings, blockers and attackers, from White's point of view.
/// `passed` are the board's passed pawns, `attackedBy` the squares that each side attacks.
void passerTerms(const Board& board, Bitboard passed, const Bitboard (&attackedBy)[kColors],
                 int& mg, int& eg);

namespace Eval {

/// What the pawn cache keeps of a pawn structure.
struct PawnEntry {
    std::uint64_t key;
    std::int16_t mg; // score, White's point of view
    std::int16_t eg;
    Bitboard passed; // of both colours
};

/// Pawn structures that one thread has met. The whole key is compared, so entries of earlier games
/// do no harm, and the key 0 of a board without pawns finds a zeroed entry, which is right for it.
class PawnTable {
  public:
    /// The entry of the board's pawn structure, computed if it is missing. Valid until the next
    /// call.
    const PawnEntry& entryOf(const Board& board) {
        PawnEntry& entry = entries_[board.pawnKey % kSize];
        if (entry.key != board.pawnKey) [[unlikely]]
            entry = compute(board);
        return entry;
    }

    /// What the entry of the board's pawn structure holds, without a table.
    static PawnEntry compute(const Board& board);

  private:
    static constexpr std::size_t kSize = 16384;

    std::array<PawnEntry, kSize> entries_; // zeroed by the owner's `{}`
};

/// Score of the pawn structure, White's point of view.
ScorePair evalPawnsRaw(const Board& board);

} // namespace Eval
