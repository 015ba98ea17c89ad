#pragma once

#include "base/chess.h"

/// Random numbers whose exclusive or makes position and pawn keys. They come from a generator with
/// a fixed seed: a position has the same key in every run.
namespace Zobrist {

extern std::uint64_t pieceSquare[kColors][kPieces][kSquares];
extern std::uint64_t sideToMove;        // in the key when Black is to move
extern std::uint64_t castling[16];      // by the whole set of rights; no rights have a key as well
extern std::uint64_t enPassant[kFiles]; // by file

void init();

} // namespace Zobrist
