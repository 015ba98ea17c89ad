#pragma once

#include "board/board.h"
#include "eval/features.h"

/// The evaluation of a position as data: every term and every aspect of it, whose it is and on
/// which squares. All amounts are centipawns, positive for White, and add up exactly.
namespace Eval {

/// What one side has of an aspect.
struct SideShare {
    ScorePair value;
    int count = 0; // pieces, pawns or files; squares reached, units or weight of an attack
    Bitboard squares = 0;
};

struct AspectShare {
    ScorePair value;
    Bitboard squares = 0;
    SideShare sides[kColors]; // empty where the amount belongs to both together
};

struct TermShare {
    ScorePair value;
    ScorePair sides[kColors]; // without what belongs to both together
};

struct Explanation {
    int value;   // what `evaluate` returns
    int white;   // the same from White's point of view
    int blended; // before it fades with the fifty-move clock, from White's point of view
    ScorePair total;
    int phase;                // 0 to `kFullPhase`
    int scale;                // of the end-game half, out of `kFullScale`
    Bitboard pinned[kColors]; // pieces that may not leave the line to their king
    TermShare terms[kTermCount];
    AspectShare aspects[kAspectCount];
};

Explanation explain(const Board& board);

} // namespace Eval
