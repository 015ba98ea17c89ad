#include "eval/endgame.h"
#include "naive_endgame.h"
#include "sampling.h"

#include <gtest/gtest.h>

#include <string>

using Notation::boardOf;

namespace {

int proximity(const std::string& fen, int white, int black) {
    return kingProximityEg(boardOf(fen), white, black);
}

int proximity(const std::string& fen) {
    const Board board = boardOf(fen);
    return kingProximityEg(board, board.nonPawnMaterial[White], board.nonPawnMaterial[Black]);
}

constexpr int kBishopAndKnight = 754;

} // namespace

TEST(MopUp, CountsClosenessOfTheKingsAndNearnessToTheEdge) {
    // Kings: 14 - Manhattan distance, times 5; losing king: 6 - distance from the edges, times 10.
    EXPECT_EQ(proximity("k7/8/1K6/8/8/8/8/7R w - - 0 1"), (14 - 3) * 5 + 6 * 10);
    EXPECT_EQ(proximity("7k/8/8/8/8/8/8/KR6 w - - 0 1"), 0 * 5 + 6 * 10);
    EXPECT_EQ(proximity("8/8/8/3k4/8/3K4/8/7R w - - 0 1"), (14 - 2) * 5 + 0 * 10);
    EXPECT_EQ(proximity("8/8/8/4k3/8/2K5/8/7R w - - 0 1"), (14 - 4) * 5 + 0 * 10);
    EXPECT_EQ(proximity("8/8/2k5/8/2K5/8/8/7R w - - 0 1"), (14 - 2) * 5 + (6 - 4) * 10);
    EXPECT_EQ(proximity("8/8/8/7k/8/5K2/8/R7 w - - 0 1"), (14 - 4) * 5 + (6 - 3) * 10);
    EXPECT_EQ(proximity("3k4/8/3K4/8/8/8/8/7R w - - 0 1"), (14 - 2) * 5 + (6 - 3) * 10);
}

TEST(MopUp, IsNegativeWhenBlackLeads) {
    EXPECT_EQ(proximity("K7/8/1k6/8/8/8/8/7r b - - 0 1"), -(14 - 3) * 5 - 6 * 10);
    // White's king is the one near the edge, the black one is not.
    EXPECT_EQ(proximity("8/8/8/7K/8/4k3/8/r7 b - - 0 1"), -(14 - 5) * 5 - (6 - 3) * 10);
}

TEST(MopUp, BeginsWithALeadOfMoreThanAHundred) {
    const std::string fen = "k7/8/1K6/8/8/8/8/7R w - - 0 1";
    constexpr int kForWhite = (14 - 3) * 5 + 6 * 10;
    constexpr int kForBlack = -(14 - 3) * 5 - (6 - 3) * 10; // the king on b6
    EXPECT_EQ(proximity(fen, 100, 0), 0);
    EXPECT_EQ(proximity(fen, 101, 0), kForWhite);
    EXPECT_EQ(proximity(fen, 0, 100), 0);
    EXPECT_EQ(proximity(fen, 0, 101), kForBlack);
    EXPECT_EQ(proximity(fen, 1000, 900), 0);
    EXPECT_EQ(proximity(fen, 1000, 899), kForWhite);
    EXPECT_EQ(proximity(fen, 900, 1000), 0);
    EXPECT_EQ(proximity(fen, 899, 1000), kForBlack);
    EXPECT_EQ(proximity(fen, 0, 0), 0);
}

TEST(MopUp, CountsPiecesAndNoPawns) {
    EXPECT_EQ(proximity("k7/pppppppp/1K6/8/8/8/8/8 w - - 0 1"), 0);
    EXPECT_EQ(proximity("k7/8/1K6/8/8/7n/8/6B1 w - - 0 1"), 0) << "bishop against knight";
    EXPECT_EQ(proximity("k7/8/1K6/8/8/7n/8/7R w - - 0 1"), 115) << "rook against knight";
}

namespace {

/// The corner's share: what is left without the mop-up.
int cornerShare(const std::string& fen) {
    const Naive::Position position = Naive::parse(fen);
    return proximity(fen) - Naive::mopUp(position);
}

} // namespace

TEST(BishopAndKnight, TheCornersOfTheBishopsColourAreWorthTwoHundredAndTen) {
    // A bishop on d3 is light, one on e3 dark.
    EXPECT_EQ(cornerShare("k7/8/2K5/5N2/8/3B4/8/8 w - - 0 1"), 210);
    EXPECT_EQ(cornerShare("8/8/8/5N2/8/3B2K1/8/7k w - - 0 1"), 210);
    EXPECT_EQ(cornerShare("7k/8/4K3/5N2/8/3B4/8/8 w - - 0 1"), 0);
    EXPECT_EQ(cornerShare("8/8/2K5/5N2/8/3B4/8/k7 w - - 0 1"), 0);
    EXPECT_EQ(cornerShare("k7/8/2K5/5N2/8/4B3/8/8 w - - 0 1"), 0);
    EXPECT_EQ(cornerShare("8/8/8/5N2/8/4B1K1/8/7k w - - 0 1"), 0);
    EXPECT_EQ(cornerShare("7k/8/4K3/5N2/8/4B3/8/8 w - - 0 1"), 210);
    EXPECT_EQ(cornerShare("8/8/2K5/5N2/8/4B3/8/k7 w - - 0 1"), 210);
}

TEST(BishopAndKnight, EveryStepTowardsTheNearerCornerIsWorthThirty) {
    EXPECT_EQ(cornerShare("1k6/8/2K5/5N2/8/3B4/8/8 w - - 0 1"), 180);
    EXPECT_EQ(cornerShare("8/8/8/3k4/8/8/3B4/KN6 w - - 0 1"), 30 * (7 - 4)) << "dark: d5 to h8";
    EXPECT_EQ(cornerShare("8/8/8/3k4/8/3B4/8/KN6 w - - 0 1"), 30 * (7 - 3)) << "light: d5 to a8";
    EXPECT_EQ(cornerShare("8/8/8/8/5k2/8/3B4/KN6 b - - 0 1"), 30 * (7 - 4)) << "dark: f4 to h8";
    EXPECT_EQ(cornerShare("8/8/8/8/5k2/3B4/8/KN6 w - - 0 1"), 30 * (7 - 3)) << "light: f4 to h1";
}

TEST(BishopAndKnight, IsNegativeWhenBlackIsTheStrongSide) {
    EXPECT_EQ(cornerShare("K7/8/2k5/5n2/8/3b4/8/8 b - - 0 1"), -210);
    EXPECT_EQ(cornerShare("8/8/8/5n2/8/3b2k1/8/7K b - - 0 1"), -210);
    EXPECT_EQ(cornerShare("7K/8/4k3/5n2/8/3b4/8/8 b - - 0 1"), 0);
    EXPECT_EQ(cornerShare("8/8/2k5/5n2/8/4b3/8/K7 b - - 0 1"), -210);
    EXPECT_EQ(cornerShare("7K/8/4k3/5n2/8/4b3/8/8 b - - 0 1"), -210);
    EXPECT_EQ(cornerShare("K7/8/2k5/5n2/8/4b3/8/8 b - - 0 1"), 0);
}

TEST(BishopAndKnight, WorksTogetherWithTheMopUp) {
    // Kings four apart, the king in the corner: (14 - 4) * 5 + 6 * 10 + 210.
    EXPECT_EQ(proximity("k7/8/2K5/5N2/8/3B4/8/8 w - - 0 1"), 50 + 60 + 210);
    EXPECT_EQ(proximity("7k/8/4K3/5N2/8/3B4/8/8 w - - 0 1"), 45 + 60);
}

TEST(BishopAndKnight, NeedsExactlyTheseTwoPiecesAgainstTheBareKing) {
    for (const char* fen :
         {"k7/8/2K5/5N2/8/3B4/P7/8 w - - 0 1", "k7/8/2K5/5N2/8/3B4/p7/8 w - - 0 1",
          "k7/8/2K5/5N2/8/3B3n/8/8 w - - 0 1", "k7/8/2K5/5N2/8/3B3N/8/8 w - - 0 1",
          "k7/8/2K5/5B2/8/3B4/8/8 w - - 0 1", "k7/8/2K5/5N2/8/3N4/8/8 w - - 0 1",
          "k7/8/2K5/5R2/8/3B4/8/8 w - - 0 1", "k7/8/2K5/5N2/8/3B3R/8/8 w - - 0 1"})
        EXPECT_EQ(cornerShare(fen), 0) << fen;
}

TEST(BishopAndKnight, GoesByTheMaterialThatItIsGiven) {
    const std::string fen = "k7/8/2K5/5N2/8/3B4/8/8 w - - 0 1";
    EXPECT_EQ(proximity(fen, kBishopAndKnight, 0), 320);
    EXPECT_EQ(proximity(fen, kBishopAndKnight + 1, 0), 110);
    EXPECT_EQ(proximity(fen, kBishopAndKnight, 1), 110);
}

TEST(KingProximity, AgreesWithTheRulesOnRandomEndings) {
    std::uint64_t seed = 60;
    for (const char* material : {"KBNk", "Kkbn", "KBNPk", "KBNkp", "KRk", "Kkq", "KRkb", "KNkr",
                                 "KRkr", "KQRkqb", "KBkn", "KPk"})
        Sampling::visitScattered(
            material, ++seed, std::max(scaled(2000), 50), [](const Board& board) {
                const std::string fen = board.fen();
                const Naive::Position position = Naive::parse(fen);
                EXPECT_EQ(proximity(fen), Naive::mopUp(position) + Naive::bishopAndKnight(position))
                    << fen;
            });
}
