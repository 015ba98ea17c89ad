#pragma once

#include "board/board.h"
#include "params/psq.h"

/// Counts of one pawn structure, White's first in each pair.
struct PawnFeatures {
    std::int32_t isolated[2];
    std::int32_t doubled[2]; // pawns beyond the first on their file
    std::int32_t connected[2];
    std::int32_t passed[2][8]; // by relative rank
    std::int32_t candidate[2]; // half-open pawns that may become passers
};

/// Adds the counts of both colours to `features`, which the caller has zeroed.
void computePawnFeatures(const Board& board, PawnFeatures& features);

/// Worth of advanced passed pawns against kings, blockers and attackers, White's point of view.
/// `attackedBy` holds the squares that each side attacks.
void passerTerms(const Board& board, const Bitboard (&attackedBy)[2], int& mg, int& eg);

namespace Eval {

/// Score of the pawn structure, White's point of view, through the calling thread's cache.
ScorePair evalPawns(const Board& board);

/// The same computed afresh; the cache is neither read nor written.
ScorePair evalPawnsRaw(const Board& board);

} // namespace Eval
