#pragma once

#include "board/board.h"
#include "params/psq.h"

/// Static value of a position in centipawns from the side to move's point of view. Prints its
/// breakdown as well while the trace is on.
int evaluate(const Board& board);

/// Switches the printed breakdown on or off, for the whole process. Only for use without searches.
void setEvalTrace(bool on);

/// Compares what the board keeps with what its pieces give. Each stored number has its recomputed
/// partner; the caller compares them.
void evalStateCheck(const Board& board, int& storedMg, int& storedEg, int& storedWhiteMaterial,
                    int& storedBlackMaterial, int& storedPhase, int& mg, int& eg,
                    int& whiteMaterial, int& blackMaterial, int& phase);

/// The pawn-structure score through the cache and computed afresh; the caller compares them.
void evalPawnsCheck(const Board& board, int& cachedMg, int& cachedEg, int& freshMg, int& freshEg);

namespace Eval {

/// How a pair of totals becomes a value.
struct Blend {
    int phase; // 0 to 24, 24 = all pieces on the board
    int scale; // of the end-game half, out of 64
    int value; // centipawns, White's point of view, before it fades
};

/// One value from the totals of both phases: the end-game half scaled, the two blended by game
/// phase. Every division truncates.
int taper(ScorePair total, int phase, int scale);

/// What is left of a value as the fifty-move rule draws near.
int fade(int value, int halfmoveClock);

/// An unfaded value of White's, faded and seen by the side to move: what `evaluate` returns.
inline int fadedForSideToMove(const Board& board, int value) {
    const int faded = fade(value, board.halfmoveClock);
    return board.sideToMove == White ? faded : -faded;
}

/// Totals tapered with phase and scale of a position.
Blend blend(const Board& board, ScorePair total);

/// Value of a position from White's point of view before it fades: it depends on nothing but what
/// the position's key tells.
int evaluateUnfaded(const Board& board);

/// The breakdown behind `evaluate`, printed; returns the value like `evaluate`.
int evaluateAndPrint(const Board& board);

} // namespace Eval
