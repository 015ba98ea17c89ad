#pragma once

#include "params/weights.h"

/// A middle-game and an end-game value of one term, in centipawns.
struct ScorePair {
    int mg = 0;
    int eg = 0;

    constexpr bool operator==(const ScorePair&) const = default;
};

namespace EvalParams {

/// Material and placement of a White piece, pawn to queen, on a square.
constexpr ScorePair materialAndPlacement(Piece piece, Square sq) {
    assert(piece < King);
    const int cell = placementCell(White, sq);
    const int mg = kMgValue[piece] + kPSTMG[piece][cell];
    const int egPlacement =
        piece == Pawn ? kPSTEGPawn[cell] : kPSTMG[piece][cell] + kPstEgDelta[piece][cell];
    return {mg, kEgValue[piece] + egPlacement};
}

} // namespace EvalParams

namespace Detail {

struct PsqTable {
    ScorePair entry[kColors][kPieces][kSquares];
};

constexpr PsqTable buildPsq() {
    PsqTable table{};
    for (const Piece piece : {Pawn, Knight, Bishop, Rook, Queen}) // the evaluation places kings
        for (Square sq = 0; sq < kSquares; ++sq) {
            const ScorePair white = EvalParams::materialAndPlacement(piece, sq);
            table.entry[White][piece][sq] = white;
            table.entry[Black][piece][flipRank(sq)] = {-white.mg, -white.eg};
        }
    return table;
}

} // namespace Detail

/// Material and placement together by colour, piece and square, from White's point of view: what
/// the board sums up as pieces move. The two phases of an entry lie side by side because every
/// update needs both.
inline constexpr Detail::PsqTable kPsqTable = Detail::buildPsq();
inline constexpr const auto& kPsq = kPsqTable.entry;
