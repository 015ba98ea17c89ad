#include "board/attacks.h"

#include "support/board_checks.h"
#include "support/notation.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace {

using namespace Attacks;
using namespace Notation;

constexpr int kRandomOccupancies = 4000;

/// Squares of an otherwise empty board that a piece attacks, found without the tables.
Bitboard targetsByWalking(Color c, Piece piece, Square from, Bitboard occupancy) {
    Bitboard targets = 0;
    for (Square to = 0; to < 64; ++to)
        if (BoardChecks::attacksByWalking(c, piece, from, to, occupancy))
            targets |= bit(to);
    return targets;
}

// --- leapers ---

TEST(LeaperAttacks, AreAsStatedInTheCorners) {
    EXPECT_EQ(knightAttacks[squareAt("a1")], squaresAt("b3 c2"));
    EXPECT_EQ(kingAttacks[squareAt("h8")], squaresAt("g8 g7 h7"));
    EXPECT_EQ(knightAttacks[squareAt("g2")], squaresAt("e1 e3 f4 h4"));
    EXPECT_EQ(kingAttacks[squareAt("a4")], squaresAt("a3 a5 b3 b4 b5"));
}

TEST(LeaperAttacks, AreTheStepsOfThePieceOnEverySquare) {
    for (Square sq = 0; sq < 64; ++sq) {
        EXPECT_EQ(knightAttacks[sq], targetsByWalking(White, Knight, sq, 0)) << sq;
        EXPECT_EQ(kingAttacks[sq], targetsByWalking(White, King, sq, 0)) << sq;
    }
}

TEST(PawnAttacks, DoNotWrapRoundTheEdge) {
    EXPECT_EQ(pawnAttacks[White][squareAt("a2")], squaresAt("b3"));
    EXPECT_EQ(pawnAttacks[Black][squareAt("h7")], squaresAt("g6"));
    EXPECT_EQ(pawnAttacks[White][squareAt("e4")], squaresAt("d5 f5"));
    EXPECT_EQ(pawnAttacks[Black][squareAt("e4")], squaresAt("d3 f3"));
}

TEST(PawnAttacks, AreEmptyOnTheLastRankOfThePawn) {
    for (int file = 0; file < 8; ++file) {
        EXPECT_EQ(pawnAttacks[White][makeSquare(file, 7)], 0u) << file;
        EXPECT_EQ(pawnAttacks[Black][makeSquare(file, 0)], 0u) << file;
    }
}

TEST(PawnAttacks, AreFilledOnThePawnsFirstRankForBackwardLookups) {
    EXPECT_EQ(pawnAttacks[White][squareAt("e1")], squaresAt("d2 f2"));
    EXPECT_EQ(pawnAttacks[Black][squareAt("a8")], squaresAt("b7"));
}

TEST(PawnAttacks, AreTheStepsOfThePawnOnEverySquare) {
    for (Square sq = 0; sq < 64; ++sq)
        for (const Color c : {White, Black})
            EXPECT_EQ(pawnAttacks[c][sq], targetsByWalking(c, Pawn, sq, 0)) << c << ' ' << sq;
}

// --- lines ---

TEST(LineMasks, HaveTheStatedSquares) {
    EXPECT_EQ(popcount(rankMask[squareAt("d4")] | fileMask[squareAt("d4")]), 14);
    EXPECT_EQ(rankMask[squareAt("d4")], squaresAt("a4 b4 c4 e4 f4 g4 h4"));
    EXPECT_EQ(fileMask[squareAt("d4")], squaresAt("d1 d2 d3 d5 d6 d7 d8"));
    EXPECT_EQ(diagMask[squareAt("a1")], squaresAt("b2 c3 d4 e5 f6 g7 h8"));
    EXPECT_EQ(adiagMask[squareAt("a1")], 0u);
    EXPECT_EQ(diagMask[squareAt("c1")], squaresAt("d2 e3 f4 g5 h6"));
    EXPECT_EQ(adiagMask[squareAt("c1")], squaresAt("a3 b2"));
}

TEST(LineMasks, AreTheLinesThroughEverySquareWithoutTheSquare) {
    for (Square a = 0; a < 64; ++a)
        for (Square b = 0; b < 64; ++b) {
            const int files = fileOf(b) - fileOf(a);
            const int ranks = rankOf(b) - rankOf(a);
            EXPECT_EQ((rankMask[a] & bit(b)) != 0, a != b && ranks == 0) << a << ' ' << b;
            EXPECT_EQ((fileMask[a] & bit(b)) != 0, a != b && files == 0) << a << ' ' << b;
            EXPECT_EQ((diagMask[a] & bit(b)) != 0, a != b && files == ranks) << a << ' ' << b;
            EXPECT_EQ((adiagMask[a] & bit(b)) != 0, a != b && files == -ranks) << a << ' ' << b;
        }
}

TEST(Between, IsAsStated) {
    initBetween();
    EXPECT_EQ(gBetweenBB[squareAt("a1")][squareAt("h8")], squaresAt("b2 c3 d4 e5 f6 g7"));
    EXPECT_EQ(gBetweenBB[squareAt("h1")][squareAt("e4")], squaresAt("g2 f3"));
    EXPECT_EQ(gBetweenBB[squareAt("b7")][squareAt("b4")], squaresAt("b5 b6"));
    EXPECT_EQ(gBetweenBB[squareAt("a1")][squareAt("b3")], 0u);
    EXPECT_EQ(gBetweenBB[squareAt("e4")][squareAt("e5")], 0u);
    EXPECT_EQ(gBetweenBB[squareAt("e4")][squareAt("e4")], 0u);
}

/// The squares strictly between two squares, by steps from the one to the other.
Bitboard betweenByWalking(Square a, Square b) {
    Bitboard set = 0;
    const int files = fileOf(b) - fileOf(a);
    const int ranks = rankOf(b) - rankOf(a);
    const int far = chebyshev(a, b);
    if (files != 0 && ranks != 0 && std::abs(files) != std::abs(ranks))
        return 0;
    for (int step = 1; step < far; ++step)
        set |= bit(makeSquare(fileOf(a) + files / far * step, rankOf(a) + ranks / far * step));
    return set;
}

TEST(Between, IsTheLineBetweenEveryPairOfSquares) {
    initBetween();
    for (Square a = 0; a < 64; ++a)
        for (Square b = 0; b < 64; ++b)
            EXPECT_EQ(gBetweenBB[a][b], betweenByWalking(a, b)) << a << ' ' << b;
}

// --- sliders ---

TEST(SlidingAttacksRef, IncludesTheFirstBlockerAndNothingBehindIt) {
    const Bitboard occupancy = squaresAt("d6 d7 f4 b4 d2 f6 b6 e3 c3");
    EXPECT_EQ(slidingAttacksRef(squareAt("d4"), occupancy, true),
              squaresAt("d5 d6 e4 f4 c4 b4 d3 d2"));
    EXPECT_EQ(slidingAttacksRef(squareAt("d4"), occupancy, false), squaresAt("e5 f6 c5 b6 e3 c3"));
}

TEST(SlidingAttacksRef, IgnoresTheSquareItStartsFrom) {
    EXPECT_EQ(slidingAttacksRef(squareAt("a1"), squaresAt("a1"), true),
              rankMask[A1] | fileMask[A1]);
}

TEST(SlidingAttacksRef, AgreesWithAWalkFromEverySquare) {
    std::mt19937_64 random(11);
    for (int round = 0; round < 50; ++round) {
        const Bitboard occupancy = random() & random();
        for (Square sq = 0; sq < 64; ++sq) {
            ASSERT_EQ(slidingAttacksRef(sq, occupancy, true),
                      targetsByWalking(White, Rook, sq, occupancy));
            ASSERT_EQ(slidingAttacksRef(sq, occupancy, false),
                      targetsByWalking(White, Bishop, sq, occupancy));
        }
    }
}

void expectLookupsAgree(Square sq, Bitboard occupancy) {
    const Bitboard rook = slidingAttacksRef(sq, occupancy, true);
    const Bitboard bishop = slidingAttacksRef(sq, occupancy, false);
    ASSERT_EQ(rookAttacks(sq, occupancy), rook) << sq << ' ' << occupancy;
    ASSERT_EQ(bishopAttacks(sq, occupancy), bishop) << sq << ' ' << occupancy;
    ASSERT_EQ(queenAttacks(sq, occupancy), rook | bishop) << sq << ' ' << occupancy;
}

TEST(MagicLookups, EqualTheReferenceOnRandomOccupancies) {
    std::mt19937_64 random(2024);
    for (int round = 0; round < kRandomOccupancies; ++round) {
        // Sparse, even and dense boards in turn; all with pieces on the edges and on the square.
        const Bitboard a = random();
        const Bitboard b = random();
        const Bitboard occupancy = round % 3 == 0 ? a & b : round % 3 == 1 ? a : a | b;
        for (Square sq = 0; sq < 64; ++sq)
            ASSERT_NO_FATAL_FAILURE(expectLookupsAgree(sq, occupancy));
    }
}

TEST(MagicLookups, EqualTheReferenceOnEveryRelevantOccupancy) {
    for (Square sq = 0; sq < 64; ++sq)
        for (const bool rook : {true, false}) {
            const Bitboard mask = (rook ? rookMagic : bishopMagic)[sq].mask;
            Bitboard subset = 0;
            do {
                ASSERT_NO_FATAL_FAILURE(expectLookupsAgree(sq, subset));
                subset = (subset - mask) & mask;
            } while (subset != 0);
        }
}

TEST(MagicEntries, LeaveTheLastSquareOfEachRayOutOfTheMask) {
    EXPECT_EQ(popcount(rookMagic[squareAt("a1")].mask), 12);
    EXPECT_EQ(popcount(rookMagic[squareAt("d4")].mask), 10);
    EXPECT_EQ(popcount(bishopMagic[squareAt("a1")].mask), 6);
    EXPECT_EQ(popcount(bishopMagic[squareAt("d4")].mask), 9);
    EXPECT_EQ(rookMagic[squareAt("a1")].mask, squaresAt("b1 c1 d1 e1 f1 g1 a2 a3 a4 a5 a6 a7"));
    EXPECT_EQ(bishopMagic[squareAt("d4")].mask, squaresAt("e5 f6 g7 c5 b6 e3 f2 c3 b2"));
}

/// Expects the slices of one table to lie one after another in square order; returns their total.
std::ptrdiff_t totalOfSlices(const MagicEntry (&entries)[64]) {
    std::ptrdiff_t total = 0;
    for (Square sq = 0; sq < 64; ++sq) {
        const int bits = popcount(entries[sq].mask);
        EXPECT_EQ(entries[sq].shift, static_cast<std::uint32_t>(64 - bits)) << sq;
        EXPECT_EQ(entries[sq].attacks - entries[0].attacks, total) << sq;
        total += std::ptrdiff_t{1} << bits;
    }
    return total;
}

TEST(MagicEntries, FillTheirTablesWithoutGaps) {
    EXPECT_EQ(totalOfSlices(rookMagic), 102400);
    EXPECT_EQ(totalOfSlices(bishopMagic), 5248);
}

} // namespace
