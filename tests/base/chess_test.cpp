#include "base/chess.h"

#include "support/squares.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace Notation;

TEST(Squares, RunFromA1AlongTheRanksToH8) {
    EXPECT_EQ(squareAt("a1"), 0);
    EXPECT_EQ(squareAt("b1"), 1);
    EXPECT_EQ(squareAt("h1"), 7);
    EXPECT_EQ(squareAt("a2"), 8);
    EXPECT_EQ(squareAt("h8"), 63);
    EXPECT_EQ(A1, 0);
    EXPECT_EQ(E1, 4);
    EXPECT_EQ(H1, 7);
    EXPECT_EQ(A8, 56);
    EXPECT_EQ(E8, 60);
    EXPECT_EQ(H8, 63);
    EXPECT_EQ(kNoSquare, 64);
}

TEST(Squares, HaveFileAndRankFromZero) {
    for (int file = 0; file < 8; ++file)
        for (int rank = 0; rank < 8; ++rank) {
            const Square sq = makeSquare(file, rank);
            EXPECT_EQ(sq, file + 8 * rank);
            EXPECT_EQ(fileOf(sq), file);
            EXPECT_EQ(rankOf(sq), rank);
        }
}

TEST(Squares, LieOneRankForwardAtPlus8ForWhiteAndMinus8ForBlack) {
    EXPECT_EQ(squareAt("e4") + forward(White), squareAt("e5"));
    EXPECT_EQ(squareAt("e4") + forward(Black), squareAt("e3"));
}

TEST(Squares, HaveARankAsEachSideSeesIt) {
    EXPECT_EQ(relativeRank(White, squareAt("c2")), 1);
    EXPECT_EQ(relativeRank(Black, squareAt("c2")), 6);
    EXPECT_EQ(relativeSquare(White, squareAt("c2")), squareAt("c2"));
    EXPECT_EQ(relativeSquare(Black, squareAt("c2")), squareAt("c7"));
}

TEST(Squares, TurnUpsideDownAndSidewaysIntoTheirMirrorImages) {
    for (Square sq = 0; sq < 64; ++sq) {
        EXPECT_EQ(flipRank(sq), makeSquare(fileOf(sq), 7 - rankOf(sq)));
        EXPECT_EQ(flipFile(sq), makeSquare(7 - fileOf(sq), rankOf(sq)));
    }
}

TEST(Squares, LieOnTheBoardFrom0To63) {
    EXPECT_FALSE(isOnBoard(-1));
    EXPECT_TRUE(isOnBoard(0));
    EXPECT_TRUE(isOnBoard(63));
    EXPECT_FALSE(isOnBoard(kNoSquare));
}

TEST(Squares, OfOneColourAgreeInIsLight) {
    EXPECT_FALSE(isLight(squareAt("a1")));
    EXPECT_FALSE(isLight(squareAt("h8")));
    EXPECT_TRUE(isLight(squareAt("h1")));
    EXPECT_TRUE(isLight(squareAt("e4")));
}

TEST(Squares, AreAKingsStepsApartInTheLargerOfFilesAndRanks) {
    EXPECT_EQ(chebyshev(squareAt("a1"), squareAt("h8")), 7);
    EXPECT_EQ(chebyshev(squareAt("b7"), squareAt("c2")), 5);
    EXPECT_EQ(chebyshev(squareAt("g3"), squareAt("b4")), 5);
    EXPECT_EQ(chebyshev(squareAt("e4"), squareAt("e4")), 0);
}

TEST(Colors, AreWhite0AndBlack1AndEachOthersOpponent) {
    EXPECT_EQ(White, 0);
    EXPECT_EQ(Black, 1);
    EXPECT_EQ(~White, Black);
    EXPECT_EQ(~Black, White);
}

TEST(Pieces, RunFromPawn0ToKing5WithNoneAt6AndLettersInThatOrder) {
    EXPECT_EQ(Pawn, 0);
    EXPECT_EQ(Knight, 1);
    EXPECT_EQ(Bishop, 2);
    EXPECT_EQ(Rook, 3);
    EXPECT_EQ(Queen, 4);
    EXPECT_EQ(King, 5);
    EXPECT_EQ(kNoPiece, 6);
    EXPECT_EQ(kPieceLetters, "pnbrqk");
}

TEST(Pieces, HaveUpperCaseLettersForWhite) {
    EXPECT_EQ(pieceLetter(White, Pawn), 'P');
    EXPECT_EQ(pieceLetter(White, King), 'K');
    EXPECT_EQ(pieceLetter(Black, Knight), 'n');
}

TEST(Bitboards, AreWalkedLowestSquareFirst) {
    Bitboard set = squaresAt("h8 a1 e4 d5");
    std::vector<Square> walked;
    while (set)
        walked.push_back(popLowest(set));
    EXPECT_EQ(walked, (std::vector<Square>{squareAt("a1"), squareAt("e4"), squareAt("d5"),
                                           squareAt("h8")}));
}

TEST(Bitboards, TellHowManySquaresTheyHold) {
    EXPECT_EQ(popcount(0), 0);
    EXPECT_EQ(popcount(squaresAt("a1 h8 e4")), 3);
    EXPECT_EQ(popcount(~Bitboard{0}), 64);
    EXPECT_FALSE(moreThanOne(0));
    EXPECT_FALSE(moreThanOne(squaresAt("h8")));
    EXPECT_TRUE(moreThanOne(squaresAt("a1 h8")));
}

TEST(Bitboards, ShiftWithoutWrappingRoundTheEdge) {
    EXPECT_EQ(shiftEast(squaresAt("a2 h2")), squaresAt("b2"));
    EXPECT_EQ(shiftWest(squaresAt("a2 h2")), squaresAt("g2"));
    EXPECT_EQ(shiftForward(White, squaresAt("a2 h8")), squaresAt("a3"));
    EXPECT_EQ(shiftForward(Black, squaresAt("a1 h8")), squaresAt("h7"));
}

TEST(Bitboards, OfFilesAndRanksHoldTheirEightSquares) {
    EXPECT_EQ(fileBB(0), squaresAt("a1 a2 a3 a4 a5 a6 a7 a8"));
    EXPECT_EQ(fileBB(7), squaresAt("h1 h2 h3 h4 h5 h6 h7 h8"));
    EXPECT_EQ(rankBB(0), squaresAt("a1 b1 c1 d1 e1 f1 g1 h1"));
    EXPECT_EQ(rankBB(6), squaresAt("a7 b7 c7 d7 e7 f7 g7 h7"));
}

TEST(Bitboards, OfPawnAttacksDoNotWrapRoundTheEdge) {
    EXPECT_EQ(pawnAttackSet(White, squaresAt("a2 e4 h5")), squaresAt("b3 d5 f5 g6"));
    EXPECT_EQ(pawnAttackSet(Black, squaresAt("a7 e4 h5")), squaresAt("b6 d3 f3 g4"));
    EXPECT_EQ(pawnAttackSet(White, squaresAt("c8")), 0u);
    EXPECT_EQ(pawnAttackSet(Black, squaresAt("c1")), 0u);
}

} // namespace
