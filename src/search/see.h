#pragma once

#include "board/board.h"

/// Static exchange evaluation: what a move wins or loses once every capture on its target square
/// has been played out, the least valuable attacker first.
namespace SEE {

/// Exchange values by piece, in centipawns.
inline constexpr std::int32_t kValue[kPieces] = {100, 320, 330, 500, 900, 10000};

} // namespace SEE

/// Whether the exchange that a pseudo-legal move begins gains at least `threshold` centipawns for
/// the side to move. A promotion is not played out: it passes any threshold up to 0.
bool seeGE(const Board& board, Move move, int threshold);

/// The exchange's gain in centipawns, between -1800 and 1800.
int see(const Board& board, Move move);
