#pragma once

#include "params/weights.h"

/// A middle-game and an end-game value of one term, in centipawns.
struct ScorePair {
    int mg = 0;
    int eg = 0;

    constexpr bool operator==(const ScorePair&) const = default;
};

/// A pair in one 64-bit number, end game above middle game: sums and multiples of such numbers are
/// sums and multiples of the pairs, at the price of one addition.
using PackedPair = std::int64_t;

constexpr PackedPair packPair(int mg, int eg) {
    return static_cast<PackedPair>(static_cast<std::uint64_t>(static_cast<std::int64_t>(eg))
                                   << 32) +
           mg;
}

constexpr ScorePair unpackPair(PackedPair packed) {
    // A negative middle-game half has borrowed 1 from the end-game half; rounding gives it back.
    constexpr PackedPair kHalf = PackedPair{1} << 31;
    return {static_cast<std::int32_t>(packed), static_cast<std::int32_t>((packed + kHalf) >> 32)};
}

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
    PackedPair entry[kColors][kPieces][kSquares];
};

constexpr PsqTable buildPsq() {
    PsqTable table{};
    for (const Piece piece : {Pawn, Knight, Bishop, Rook, Queen}) // the evaluation places kings
        for (Square sq = 0; sq < kSquares; ++sq) {
            const ScorePair white = EvalParams::materialAndPlacement(piece, sq);
            table.entry[White][piece][sq] = packPair(white.mg, white.eg);
            table.entry[Black][piece][flipRank(sq)] = packPair(-white.mg, -white.eg);
        }
    return table;
}

} // namespace Detail

/// Material and placement together by colour, piece and square, from White's point of view: what
/// the board sums up as pieces move.
inline constexpr Detail::PsqTable kPsqTable = Detail::buildPsq();
inline constexpr const auto& kPsq = kPsqTable.entry;
