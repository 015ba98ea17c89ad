#include "board/attacks.h"
#include "eval/masks.h"
#include "support/notation.h"

#include <gtest/gtest.h>

#include <string_view>

using Notation::squareAt;
using Notation::squaresAt;

namespace {

struct MaskCase {
    Color color;
    std::string_view king;
    std::string_view squares;
};

constexpr MaskCase kZones[] = {
    {White, "e4", "d3 e3 f3 d4 e4 f4 d5 e5 f5 d6 e6 f6"},
    {Black, "e4", "d5 e5 f5 d4 e4 f4 d3 e3 f3 d2 e2 f2"},
    {White, "g1", "f1 g1 h1 f2 g2 h2 f3 g3 h3"},
    {Black, "g8", "f8 g8 h8 f7 g7 h7 f6 g6 h6"},
    {Black, "g1", "f1 g1 h1 f2 g2 h2"},
    {White, "a1", "a1 b1 a2 b2 a3 b3"},
    {Black, "a1", "a1 b1 a2 b2"},
    {White, "h1", "g1 h1 g2 h2 g3 h3"},
    {White, "a8", "a8 b8 a7 b7"},
    {Black, "a8", "a8 b8 a7 b7 a6 b6"},
    {White, "h8", "g8 h8 g7 h7"},
    {Black, "h8", "g8 h8 g7 h7 g6 h6"},
    {White, "a4", "a3 b3 a4 b4 a5 b5 a6 b6"},
    {Black, "h5", "g6 h6 g5 h5 g4 h4 g3 h3"},
    {White, "e7", "d6 e6 f6 d7 e7 f7 d8 e8 f8"},
    {White, "e6", "d5 e5 f5 d6 e6 f6 d7 e7 f7 d8 e8 f8"},
    {Black, "d2", "c3 d3 e3 c2 d2 e2 c1 d1 e1"},
};

constexpr MaskCase kShields[] = {
    {White, "e4", "d5 e5 f5 d6 e6 f6"},
    {Black, "d4", "c3 d3 e3 c2 d2 e2"},
    {White, "g1", "f2 g2 h2 f3 g3 h3"},
    {Black, "b8", "a7 b7 c7 a6 b6 c6"},
    {White, "a1", "a2 b2 a3 b3"},
    {White, "h1", "g2 h2 g3 h3"},
    {Black, "a8", "a7 b7 a6 b6"},
    {Black, "h8", "g7 h7 g6 h6"},
    {White, "h7", "g8 h8"},
    {Black, "c2", "b1 c1 d1"},
    {White, "a8", ""},
    {White, "d8", ""},
    {Black, "h1", ""},
    {Black, "e1", ""},
};

} // namespace

TEST(KingZone, IsTheRingAndTwoRanksForwardAndStopsAtTheEdges) {
    for (const MaskCase& c : kZones)
        EXPECT_EQ(Eval::gKingZone[c.color][squareAt(c.king)], squaresAt(c.squares))
            << c.king << ", colour " << c.color;
}

TEST(KingShield, IsTwoRanksForwardOnThreeFilesAndEmptyOnTheLastRank) {
    for (const MaskCase& c : kShields)
        EXPECT_EQ(Eval::gKingShield[c.color][squareAt(c.king)], squaresAt(c.squares))
            << c.king << ", colour " << c.color;
}

TEST(FileGroup, HoldsAFileAndItsNeighbours) {
    constexpr int kGroups[8] = {0b00000011, 0b00000111, 0b00001110, 0b00011100,
                                0b00111000, 0b01110000, 0b11100000, 0b11000000};
    for (int file = 0; file < 8; ++file)
        EXPECT_EQ(Eval::gFileGroup[file], kGroups[file]) << file;
}

TEST(EvalInit, FillsTheSquaresBetween) {
    const auto between = [](std::string_view a, std::string_view b) {
        return gBetweenBB[squareAt(a)][squareAt(b)];
    };
    EXPECT_EQ(between("a1", "h8"), squaresAt("b2 c3 d4 e5 f6 g7"));
    EXPECT_EQ(between("h1", "e4"), squaresAt("g2 f3"));
    EXPECT_EQ(between("a1", "a4"), squaresAt("a2 a3"));
    EXPECT_EQ(between("h5", "e5"), squaresAt("f5 g5"));
    EXPECT_EQ(between("e1", "e2"), 0U);
    EXPECT_EQ(between("e1", "e1"), 0U);
    EXPECT_EQ(between("a1", "b3"), 0U);
}
