#include "params/psq.h"

#include <gtest/gtest.h>

namespace {

using namespace EvalParams;

constexpr Square kA2 = makeSquare(FileA, Rank2);
constexpr Square kA7 = makeSquare(FileA, Rank7);

TEST(Psq, HasTheStatedExamples) {
    EXPECT_EQ(kPsq[White][Pawn][kA2], (ScorePair{60, 131}));
    EXPECT_EQ(kPsq[White][Knight][A1], (ScorePair{312, 255}));
    EXPECT_EQ(kPsq[Black][Pawn][kA7].mg, -60);
    EXPECT_EQ(kPsq[Black][Pawn][kA7].eg, -131);
    EXPECT_EQ(kPsq[Black][Knight][A8], (ScorePair{-312, -255}));
}

TEST(Psq, OfAWhitePawnIsMaterialAndPlacementOfEachPhase) {
    for (int square = 0; square < 64; ++square) {
        const int cell = square ^ 56;
        EXPECT_EQ(kPsq[White][Pawn][square].mg, kMgValue[Pawn] + kPSTMG[Pawn][cell]) << square;
        EXPECT_EQ(kPsq[White][Pawn][square].eg, kEgValue[Pawn] + kPSTEGPawn[cell]) << square;
    }
}

TEST(Psq, OfAWhiteKnightToQueenUsesTheMiddleGamePlacementInBothPhases) {
    for (int piece = Knight; piece <= Queen; ++piece)
        for (int square = 0; square < 64; ++square) {
            const int placement = kPSTMG[piece][square ^ 56];
            EXPECT_EQ(kPsq[White][piece][square].mg, kMgValue[piece] + placement)
                << piece << ' ' << square;
            EXPECT_EQ(kPsq[White][piece][square].eg, kEgValue[piece] + placement)
                << piece << ' ' << square;
        }
}

TEST(Psq, OfAKingIsZeroInBothPhasesAndColours) {
    for (const int color : {White, Black})
        for (int square = 0; square < 64; ++square)
            EXPECT_EQ(kPsq[color][King][square], ScorePair{}) << color << ' ' << square;
}

TEST(Psq, OfABlackPieceIsTheNegatedEntryOfTheMirroredSquare) {
    for (int piece = Pawn; piece <= King; ++piece)
        for (int square = 0; square < 64; ++square) {
            const ScorePair white = kPsq[White][piece][square ^ 56];
            EXPECT_EQ(kPsq[Black][piece][square], (ScorePair{-white.mg, -white.eg}))
                << piece << ' ' << square;
        }
}

TEST(Psq, IsKnownWhenCompiling) {
    constexpr ScorePair kPawnOnA2 = kPsq[White][Pawn][kA2];
    constexpr ScorePair kKnightOnA1 = materialAndPlacement(Knight, A1);
    EXPECT_EQ(kPawnOnA2, (ScorePair{60, 131}));
    EXPECT_EQ(kKnightOnA1, (ScorePair{312, 255}));
}

} // namespace
