#include "print.h"
#include "trace_reader.h"

#include <gtest/gtest.h>

#include <string>

/// The terms of small positions, worked out by hand and read from the printed breakdown.

using TraceReader::termOf;

namespace {

ScorePair mobilityOf(const std::string& fen) {
    return termOf(fen, "mobility");
}
ScorePair kingSafetyOf(const std::string& fen) {
    return termOf(fen, "king safety");
}
ScorePair rookFilesOf(const std::string& fen) {
    return termOf(fen, "rooks (files)");
}
ScorePair bishopPairOf(const std::string& fen) {
    return termOf(fen, "bishop pair");
}

} // namespace

TEST(Mobility, APinnedKnightHasNoSquareButStillAttacksTheKing) {
    // Black's rook has seven squares: -30 + 35 / -24 + 28.
    EXPECT_EQ(mobilityOf("4r1k1/8/4N3/8/8/8/8/4K3 b - - 0 1"), (ScorePair{-24 - 5, 0 - 4}));
    EXPECT_EQ(mobilityOf("4r1k1/8/4N3/8/8/8/8/3K4 b - - 0 1"), (ScorePair{24 - 5, 0 - 4}));
    // Black: three files without pawns, two units (4) and 40 / 5 against him.
    for (const char* fen :
         {"4r1k1/8/4N3/8/8/8/8/4K3 b - - 0 1", "4r1k1/8/4N3/8/8/8/8/3K4 b - - 0 1"})
        EXPECT_EQ(kingSafetyOf(fen), (ScorePair{93 + 4 + 8, 0})) << fen;
}

TEST(Mobility, APinnedSliderKeepsTheSquaresOfItsRayAndThePinner) {
    // White's bishop: g2 e4 d5 c6 b7. Black's: a6 a8 c8 c6 d5 e4 f3.
    EXPECT_EQ(mobilityOf("8/1b6/8/8/8/5B2/k7/7K w - - 0 1"), (ScorePair{0 - 8, 0 - 14}));
    // White's rook on the diagonal can go nowhere; Black's bishop has the same seven squares.
    EXPECT_EQ(mobilityOf("8/1b6/8/8/8/5R2/k7/7K w - - 0 1"), (ScorePair{-30 - 8, -24 - 14}));
}

TEST(Mobility, TwoPiecesBetweenKingAndSliderAreNotPinned) {
    // Two knights between king and bishop, eight squares each.
    // Black's bishop: a6 a8 c8 c6 d5 e4.
    EXPECT_EQ(mobilityOf("8/1b6/8/8/4N3/5N2/k7/7K w - - 0 1"), (ScorePair{48 - 4, 0 - 7}));
}

TEST(Mobility, APieceOfTheOtherColourBetweenIsNotPinned) {
    // Black's knight on f3 stands between White's king and Black's own bishop.
    // Knight: eight squares. Bishop: a6 a8 c8 c6 d5 e4.
    EXPECT_EQ(mobilityOf("8/1b6/8/8/8/5n2/k7/7K w - - 0 1"), (ScorePair{-24 - 4, 0 - 7}));
}

TEST(Mobility, LeavesOutOwnPiecesAndSquaresThatEnemyPawnsAttack) {
    // Of the knight's eight squares e2 is its king's and f5 attacked by the pawn on e6.
    EXPECT_EQ(mobilityOf("7k/8/4p3/8/3N4/8/4K3/8 w - - 0 1"), (ScorePair{-24 + 6 * 6, 0}));
    // A square attacked by a piece counts, an enemy piece counts.
    EXPECT_EQ(mobilityOf("7k/8/2pp4/8/3N4/8/7K/8 w - - 0 1"), (ScorePair{-24 + 6 * 7, 0}));
}

TEST(Mobility, QueensHaveNoMiddleGameTerm) {
    EXPECT_EQ(mobilityOf("8/8/8/8/7k/8/7K/Q7 b - - 0 1"), (ScorePair{0, -48 + 6 * 21}));
}

TEST(RookFiles, OpenAndSemiOpenFilesCountForEachRookAndBlackSubtracts) {
    // a1 open, d1 behind its own pawn, h8 semi-open.
    EXPECT_EQ(rookFilesOf("6kr/8/8/8/8/3P4/7P/R2RK3 w - - 0 1"), (ScorePair{51 - 20, -3 - 24}));
    EXPECT_EQ(rookFilesOf("6k1/8/8/8/8/8/R7/R3K3 w - - 0 1"), (ScorePair{102, -6}));
    EXPECT_EQ(rookFilesOf("6k1/p7/8/8/8/8/P7/R3K3 w - - 0 1"), (ScorePair{0, 0})) << "closed";
    EXPECT_EQ(rookFilesOf("6k1/8/8/8/R7/P7/8/4K3 w - - 0 1"), (ScorePair{0, 0}))
        << "own pawn behind the rook";
    EXPECT_EQ(rookFilesOf("6k1/8/8/8/R7/p7/8/4K3 w - - 0 1"), (ScorePair{20, 24}))
        << "enemy pawn behind the rook";
}

TEST(RookFiles, QueensGetNothing) {
    EXPECT_EQ(rookFilesOf("6k1/8/8/8/8/8/8/Q3K3 b - - 0 1"), (ScorePair{0, 0}));
}

TEST(BishopPair, CountsForTwoOrMoreBishopsOfOneSide) {
    EXPECT_EQ(bishopPairOf("4k3/8/8/8/8/8/8/2B1KB2 w - - 0 1"), (ScorePair{56, 56}));
    EXPECT_EQ(bishopPairOf("4k3/8/8/8/8/8/4B3/2B1KB2 w - - 0 1"), (ScorePair{56, 56}));
    EXPECT_EQ(bishopPairOf("4k3/8/8/8/8/8/4BB2/2B1KB2 w - - 0 1"), (ScorePair{56, 56}));
    EXPECT_EQ(bishopPairOf("4k3/8/8/8/8/8/8/B1B1K3 w - - 0 1"), (ScorePair{56, 56}))
        << "of one colour as well";
    EXPECT_EQ(bishopPairOf("2b1k3/8/8/8/8/8/8/2B1K3 w - - 0 1"), (ScorePair{0, 0}));
    EXPECT_EQ(bishopPairOf("2b1kb2/8/8/8/8/8/8/2B1K3 w - - 0 1"), (ScorePair{-56, -56}));
    EXPECT_EQ(bishopPairOf("2b1kb2/8/8/8/8/8/8/2B1KB2 w - - 0 1"), (ScorePair{0, 0}));
}

TEST(Shelter, CountsFilesWithAPawnInTheShieldAndFilesWithoutAPawn) {
    const auto white = [](const std::string& lower) {
        return kingSafetyOf("4k3/8/8/8/" + lower + " w - - 0 1").mg;
    };
    EXPECT_EQ(white("7P/6P1/5P2/6K1"), 20) << "h4 is too far ahead";
    EXPECT_EQ(white("8/5P2/5PP1/6K1"), 20 - 31) << "two pawns of one file count once";
    EXPECT_EQ(white("8/8/8/6K1"), -93);
    EXPECT_EQ(white("8/8/PP6/K7"), 20) << "two files on the edge";
    EXPECT_EQ(white("8/8/8/K7"), -62);
    EXPECT_EQ(white("8/8/1P6/2K5"), 10 - 62) << "the c file counts";
    EXPECT_EQ(white("8/6K1/5PPP/8"), 0) << "pawns behind the king give no shelter but close files";
}

TEST(Shelter, IsNothingForAKingOnTheCentreFiles) {
    for (const char* lower : {"8/8/2PPP3/3K4", "8/8/3PPP2/4K3", "8/8/4PPP1/5K2", "8/8/8/5K2"})
        EXPECT_EQ(kingSafetyOf(std::string("4k3/8/8/8/") + lower + " w - - 0 1"), (ScorePair{0, 0}))
            << lower;
}

TEST(Shelter, OfBlackIsSubtracted) {
    EXPECT_EQ(kingSafetyOf("6k1/5p2/6p1/7p/8/8/8/4K3 w - - 0 1"), (ScorePair{-20, 0}));
    EXPECT_EQ(kingSafetyOf("6k1/8/8/8/8/8/8/4K3 w - - 0 1"), (ScorePair{93, 0}));
}

TEST(KingDanger, APieceThatOnlyReachesTheZoneCountsHalf) {
    // One unit is worth -1; half weights 20, 25, 40 and 80, a fifth of each.
    EXPECT_EQ(kingSafetyOf("4k3/8/8/1N6/8/8/8/4K3 w - - 0 1"), (ScorePair{-1 + 4, 0}));
    EXPECT_EQ(kingSafetyOf("4k3/8/3P4/8/8/B7/8/4K3 w - - 0 1"), (ScorePair{-1 + 5, 0}));
    EXPECT_EQ(kingSafetyOf("4k3/8/R7/8/8/8/8/4K3 w - - 0 1"), (ScorePair{-1 + 8, 0}));
    EXPECT_EQ(kingSafetyOf("4k3/8/3P4/2P5/1P6/Q7/1P6/4K3 w - - 0 1"), (ScorePair{0, 0}));
    EXPECT_EQ(kingSafetyOf("4k3/8/3P4/2Q5/1P6/8/8/4K3 w - - 0 1").mg, -1 + 16);
}

TEST(KingDanger, APieceThatReachesTheRingCountsInFullHoweverManySquaresItAttacks) {
    EXPECT_EQ(kingSafetyOf("4k3/8/8/2N5/8/8/8/4K3 w - - 0 1"), (ScorePair{4 + 8, 0}));
    EXPECT_EQ(kingSafetyOf("4k3/8/8/8/8/B7/8/4K3 w - - 0 1"), (ScorePair{4 + 10, 0}));
    EXPECT_EQ(kingSafetyOf("4k3/R7/8/8/8/8/8/4K3 w - - 0 1"), (ScorePair{4 + 16, 0}));
    EXPECT_EQ(kingSafetyOf("4k3/Q7/8/8/8/8/8/4K3 w - - 0 1"), (ScorePair{4 + 32, 0}));
    EXPECT_EQ(kingSafetyOf("R3k3/8/8/8/8/8/8/4K3 b - - 0 1"), (ScorePair{4 + 16, 0}))
        << "check along the rank";
}

TEST(KingDanger, UnitsOfAllAttackersAreSummedAndStopAtFifteen) {
    // Seven queens: fourteen units (690), 7 * 160 / 5. Eight: fifteen (800), 8 * 160 / 5.
    EXPECT_EQ(kingSafetyOf("4k3/2QQQQQ1/2Q1Q3/8/8/8/8/4K3 b - - 0 1"), (ScorePair{690 + 224, 0}));
    EXPECT_EQ(kingSafetyOf("4k3/2QQQQQ1/2Q1Q1Q1/8/8/8/8/4K3 b - - 0 1"), (ScorePair{800 + 256, 0}));
    // A knight and a rook on the ring: four units (41).
    EXPECT_EQ(kingSafetyOf("4k3/R7/8/2N5/8/8/8/4K3 w - - 0 1"), (ScorePair{41 + 24, 0}));
}

TEST(KingDanger, PawnsAndKingsDoNotCount) {
    EXPECT_EQ(kingSafetyOf("4k3/8/3PKP2/8/8/8/8/8 w - - 0 1"), (ScorePair{0, 0}));
}
