#pragma once

#include "params/weights.h"

/// A middle-game and an end-game value of one term, in centipawns.
struct ScorePair {
    int mg = 0;
    int eg = 0;

    constexpr bool operator==(const ScorePair&) const = default;
};

namespace EvalParams {

/// Worth of a White piece (pawn 0 to queen 4) standing on `square`: material and placement.
constexpr ScorePair materialAndPlacement(int piece, int square) {
    const int cell = square ^ 56;
    const int mg = kMgValue[piece] + kPSTMG[piece][cell];
    const int egPlacement =
        piece == 0 ? kPSTEGPawn[cell] : kPSTMG[piece][cell] + kPstEgDelta[piece][cell];
    return {mg, kEgValue[piece] + egPlacement};
}

} // namespace EvalParams

namespace Detail {

struct PsqTable {
    ScorePair entry[2][6][64];
};

constexpr PsqTable buildPsq() {
    PsqTable table{};
    for (int piece = 0; piece < 5; ++piece) // kings stay 0: the evaluation places them itself
        for (int square = 0; square < 64; ++square) {
            const ScorePair white = EvalParams::materialAndPlacement(piece, square);
            table.entry[0][piece][square] = white;
            table.entry[1][piece][square ^ 56] = {-white.mg, -white.eg};
        }
    return table;
}

} // namespace Detail

/// Material and placement together by colour, piece and square, from White's point of view: the
/// sums that the board keeps as pieces move. The two phases of an entry lie side by side because
/// every update needs both.
inline constexpr Detail::PsqTable kPsqTable = Detail::buildPsq();
inline constexpr const auto& kPsq = kPsqTable.entry;
