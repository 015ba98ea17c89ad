#pragma once

#include "board/board.h"
#include "eval/pawns.h"
#include "params/psq.h"

/// Static value of a position in centipawns from the side to move's point of view. While the trace
/// is on, it also prints the breakdown.
int evaluate(const Board& board);

/// Switches the printed breakdown on or off, for the whole process; not while a search runs.
void setEvalTrace(bool on);

namespace Eval {

/// How a pair of totals becomes a value.
struct Blend {
    int phase; // 0 to `kFullPhase`, all pieces of the start position
    int scale; // of the end-game half, out of `kFullScale`
    int value; // centipawns, White's point of view, before it fades
};

/// One value from the totals of both phases: the end-game half scaled, the two blended by game
/// phase. Every division truncates.
int taper(ScorePair total, int phase, int scale);

/// What is left of a value as the fifty-move rule approaches.
int fade(int value, int halfmoveClock);

/// A value from White's point of view, faded and turned to the side to move: what `evaluate`
/// returns.
inline int fadedForSideToMove(const Board& board, int value) {
    const int faded = board.halfmoveClock == 0 ? value : fade(value, board.halfmoveClock);
    return board.sideToMove == White ? faded : -faded;
}

/// Totals tapered with the phase and the end-game scale of a position.
Blend blend(const Board& board, ScorePair total);

/// Value of a position from White's point of view before it fades. It depends only on what the
/// position key covers. A search brings the pawn structures that it has met, others need none.
int evaluateUnfaded(const Board& board, PawnTable& pawnTable);
int evaluateUnfaded(const Board& board);

/// Prints the breakdown behind `evaluate` and returns what `evaluate` returns.
int evaluateAndPrint(const Board& board);

} // namespace Eval
