#include "params/psq.h"

#include <gtest/gtest.h>

namespace {

using namespace EvalParams;

constexpr Square kA2 = makeSquare(FileA, Rank2);
constexpr Square kA7 = makeSquare(FileA, Rank7);

TEST(Psq, HasTheStatedExamples) {
    EXPECT_EQ(unpackPair(kPsq[White][Pawn][kA2]), (ScorePair{60, 131}));
    EXPECT_EQ(unpackPair(kPsq[White][Knight][A1]), (ScorePair{312, 255}));
    EXPECT_EQ(unpackPair(kPsq[Black][Pawn][kA7]), (ScorePair{-60, -131}));
    EXPECT_EQ(unpackPair(kPsq[Black][Knight][A8]), (ScorePair{-312, -255}));
}

TEST(Psq, OfAWhitePawnIsMaterialAndPlacementOfEachPhase) {
    for (int square = 0; square < 64; ++square) {
        const int cell = square ^ 56;
        const ScorePair pair = unpackPair(kPsq[White][Pawn][square]);
        EXPECT_EQ(pair.mg, kMgValue[Pawn] + kPSTMG[Pawn][cell]) << square;
        EXPECT_EQ(pair.eg, kEgValue[Pawn] + kPSTEGPawn[cell]) << square;
    }
}

TEST(Psq, OfAWhiteKnightToQueenUsesTheMiddleGamePlacementInBothPhases) {
    for (int piece = Knight; piece <= Queen; ++piece)
        for (int square = 0; square < 64; ++square) {
            const int placement = kPSTMG[piece][square ^ 56];
            const ScorePair pair = unpackPair(kPsq[White][piece][square]);
            EXPECT_EQ(pair.mg, kMgValue[piece] + placement) << piece << ' ' << square;
            EXPECT_EQ(pair.eg, kEgValue[piece] + placement) << piece << ' ' << square;
        }
}

TEST(Psq, OfAKingIsZeroInBothPhasesAndColours) {
    for (const int color : {White, Black})
        for (int square = 0; square < 64; ++square)
            EXPECT_EQ(kPsq[color][King][square], 0) << color << ' ' << square;
}

TEST(Psq, OfABlackPieceIsTheNegatedEntryOfTheMirroredSquare) {
    for (int piece = Pawn; piece <= King; ++piece)
        for (int square = 0; square < 64; ++square) {
            EXPECT_EQ(kPsq[Black][piece][square], -kPsq[White][piece][square ^ 56])
                << piece << ' ' << square;
        }
}

TEST(Psq, IsKnownWhenCompiling) {
    constexpr ScorePair kPawnOnA2 = unpackPair(kPsq[White][Pawn][kA2]);
    constexpr ScorePair kKnightOnA1 = materialAndPlacement(Knight, A1);
    EXPECT_EQ(kPawnOnA2, (ScorePair{60, 131}));
    EXPECT_EQ(kKnightOnA1, (ScorePair{312, 255}));
}

// --- pairs in one number ---

constexpr int kHalves[] = {0,     1,      -1,        2,          -2,      131,
                           -131,  32767,  32768,     -32768,     -32769,  65535,
                           65536, -65536, 1'000'000, -1'000'000, 1 << 30, -(1 << 30)};

TEST(PackedPair, GivesBackBothHalves) {
    for (const int mg : kHalves)
        for (const int eg : kHalves)
            EXPECT_EQ(unpackPair(packPair(mg, eg)), (ScorePair{mg, eg}));
}

TEST(PackedPair, OfNothingIsZero) {
    EXPECT_EQ(packPair(0, 0), 0);
}

TEST(PackedPair, SumsAndMultiplesAreThoseOfThePairs) {
    constexpr int kLargest = 30'000; // the sums stay within what a half holds
    for (const int mg : {0, 1, -1, kLargest, -kLargest})
        for (const int eg : {0, 1, -1, kLargest, -kLargest})
            for (const int times : {-64, -3, -1, 0, 1, 2, 64}) {
                const PackedPair sum = packPair(7, -9) + packPair(mg, eg) * times;
                EXPECT_EQ(unpackPair(sum), (ScorePair{7 + mg * times, -9 + eg * times}))
                    << mg << ' ' << eg << ' ' << times;
                EXPECT_EQ(sum, packPair(7 + mg * times, -9 + eg * times));
            }
}

TEST(PackedPair, TermsTakenAwayAgainLeaveNoTrace) {
    PackedPair sum = 0;
    for (const int mg : kHalves)
        sum += packPair(mg, -mg);
    for (const int mg : kHalves)
        sum -= packPair(mg, -mg);
    EXPECT_EQ(sum, 0);
}

} // namespace
