#include "eval/evaluate.h"

#include "eval/walk.h"

#include <algorithm>
#include <cassert>

namespace {

// Half-move clock at which a score would have faded to nothing.
constexpr int kFadeLength = 200;

bool gEvalTrace = false;

} // namespace

void setEvalTrace(bool on) {
    gEvalTrace = on;
}

int evaluate(const Board& board) {
    if (gEvalTrace) [[unlikely]]
        return Eval::evaluateAndPrint(board);
    return Eval::fadedForSideToMove(board, Eval::evaluateUnfaded(board));
}

namespace Eval {

int taper(ScorePair total, int phase, int scale) {
    using EvalParams::kFullPhase;
    assert(phase >= 0 && phase <= kFullPhase && scale >= 0 && scale <= kFullScale);
    const int eg = scale * total.eg / kFullScale;
    return (phase * total.mg + eg * (kFullPhase - phase)) / kFullPhase;
}

int fade(int value, int halfmoveClock) {
    return value * (kFadeLength - halfmoveClock) / kFadeLength;
}

Blend blend(const Board& board, ScorePair total) {
    const int phase = std::min(board.phase, EvalParams::kFullPhase);
    const int scale = egScaleFactor(board, total.eg);
    return {phase, scale, taper(total, phase, scale)};
}

// Everything inlined, so that the sums of the walk stay in registers. What is rarely needed is
// marked noinline.
[[gnu::flatten]] int evaluateUnfaded(const Board& board, PawnTable& pawnTable) {
    SumSink sink;
    walkIncremental(board, pawnTable.entryOf(board), sink);
    return blend(board, sink.total()).value;
}

int evaluateUnfaded(const Board& board) {
    SumSink sink;
    walkIncremental(board, PawnTable::compute(board), sink);
    return blend(board, sink.total()).value;
}

void computeAttackedBy(const Board& board, Bitboard (&attackedBy)[kColors]) {
    for (const Color c : {White, Black}) {
        const Bitboard(&own)[kPieces] = board.pieces[c];
        Bitboard all = pawnAttackSet(c, own[Pawn]) | Attacks::kingAttacks[board.kingSquare(c)];
        for (Bitboard knights = own[Knight]; knights;)
            all |= Attacks::knightAttacks[popLowest(knights)];
        for (Bitboard sliders = own[Bishop] | own[Queen]; sliders;)
            all |= Attacks::bishopAttacks(popLowest(sliders), board.occupied);
        for (Bitboard sliders = own[Rook] | own[Queen]; sliders;)
            all |= Attacks::rookAttacks(popLowest(sliders), board.occupied);
        attackedBy[c] = all;
    }
}

} // namespace Eval
