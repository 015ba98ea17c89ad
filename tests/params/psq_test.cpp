#include "params/psq.h"

#include <gtest/gtest.h>

namespace {

using namespace EvalParams;

enum : int { White, Black };
enum : int { Pawn, Knight, Bishop, Rook, Queen, King };

// Squares from a1 = 0 along the ranks.
constexpr int kA1 = 0;
constexpr int kA2 = 8;
constexpr int kA7 = 48;
constexpr int kA8 = 56;

TEST(Psq, HasTheStatedExamples) {
    EXPECT_EQ(kPsq[White][Pawn][kA2], (ScorePair{60, 131}));
    EXPECT_EQ(kPsq[White][Knight][kA1], (ScorePair{312, 255}));
    EXPECT_EQ(kPsq[Black][Pawn][kA7].mg, -60);
    EXPECT_EQ(kPsq[Black][Pawn][kA7].eg, -131);
    EXPECT_EQ(kPsq[Black][Knight][kA8], (ScorePair{-312, -255}));
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
    constexpr ScorePair kKnightOnA1 = materialAndPlacement(Knight, kA1);
    EXPECT_EQ(kPawnOnA2, (ScorePair{60, 131}));
    EXPECT_EQ(kKnightOnA1, (ScorePair{312, 255}));
}

} // namespace
