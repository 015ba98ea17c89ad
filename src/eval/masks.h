#pragma once

#include "base/chess.h"

namespace Eval {

/// Fills `gBetweenBB` and the masks below. Called once at program start, after `Attacks::init`.
void init();

/// King zone by the king's colour and square: the square, its neighbours and the king shield.
extern Bitboard gKingZone[kColors][kSquares];

/// King shield: the squares one and two ranks ahead on the king's and the neighbouring files.
extern Bitboard gKingShield[kColors][kSquares];

/// A file and its neighbours, one bit for each file.
extern std::uint8_t gFileGroup[kFiles];

} // namespace Eval
