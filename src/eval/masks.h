#pragma once

#include "base/chess.h"

namespace Eval {

/// Fills `gBetweenBB` and the masks below. Called once at program start, after `Attacks::init`.
void init();

/// Round a king of the given colour: his square, its neighbours and the squares up to two ranks
/// before him on his and the neighbouring files.
extern Bitboard gKingZone[kColors][kSquares];

/// Before a king: one and two ranks ahead on his and the neighbouring files.
extern Bitboard gKingShield[kColors][kSquares];

/// A file and its neighbours, one bit a file.
extern std::uint8_t gFileGroup[kFiles];

} // namespace Eval
