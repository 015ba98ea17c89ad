#pragma once

#include "eval/walk.h"

#include <algorithm>

/// What the board keeps incrementally and the same numbers recomputed from its pieces, for the
/// caller to compare.
inline void evalStateCheck(const Board& board, int& storedMg, int& storedEg,
                           int& storedWhiteMaterial, int& storedBlackMaterial, int& storedPhase,
                           int& mg, int& eg, int& whiteMaterial, int& blackMaterial, int& phase) {
    storedMg = unpackPair(board.psq).mg;
    storedEg = unpackPair(board.psq).eg;
    storedWhiteMaterial = board.nonPawnMaterial[White];
    storedBlackMaterial = board.nonPawnMaterial[Black];
    storedPhase = std::min(board.phase, EvalParams::kFullPhase);

    Eval::SumSink sink;
    Eval::walkMaterial(board, sink);
    mg = sink.total().mg;
    eg = sink.total().eg;

    int material[kColors] = {};
    phase = 0;
    for (const Color c : {White, Black})
        for (const Piece p : {Knight, Bishop, Rook, Queen}) {
            const int count = popcount(board.pieces[c][p]);
            material[c] += EvalParams::kMgValue[p] * count;
            phase += EvalParams::kPhaseWeight[p] * count;
        }
    whiteMaterial = material[White];
    blackMaterial = material[Black];
}

/// The pawn structures that the calling thread has met.
inline thread_local Eval::PawnTable gPawnTable{};

/// Score of the pawn structure, White's point of view, through the cache.
inline ScorePair evalPawns(const Board& board) {
    const Eval::PawnEntry& entry = gPawnTable.entryOf(board);
    return {entry.mg, entry.eg};
}

/// The pawn-structure score through the cache and recomputed, for the caller to compare.
inline void evalPawnsCheck(const Board& board, int& cachedMg, int& cachedEg, int& freshMg,
                           int& freshEg) {
    const ScorePair cached = evalPawns(board);
    const ScorePair fresh = Eval::evalPawnsRaw(board);
    cachedMg = cached.mg;
    cachedEg = cached.eg;
    freshMg = fresh.mg;
    freshEg = fresh.eg;
}
