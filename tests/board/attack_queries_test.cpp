#include "board/board.h"

#include "support/board_checks.h"
#include "support/notation.h"
#include "support/positions.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using namespace Notation;
using BoardChecks::attackersByWalking;

TEST(IsAttacked, InTheStartPositionBlackReachesNoFurtherThanHisSixthRank) {
    const Board board = boardOf(kStartFen);
    for (Square sq = squareAt("a3"); sq <= squareAt("h5"); ++sq)
        EXPECT_FALSE(board.isAttacked(sq, Black)) << sq;
    for (Square sq = squareAt("a6"); sq <= squareAt("h6"); ++sq)
        EXPECT_TRUE(board.isAttacked(sq, Black)) << sq;
    EXPECT_TRUE(board.isAttacked(squareAt("e3"), White));
    EXPECT_FALSE(board.isAttacked(squareAt("e4"), White));
}

TEST(IsAttacked, ByEveryKindOfPiece) {
    const struct {
        const char* fen;
        const char* attacked;
        const char* notAttacked;
    } kCases[] = {
        {"7k/8/8/8/4P3/8/8/K7 w - - 0 1", "d5", "e5"},
        {"7k/8/8/8/4N3/8/8/K7 w - - 0 1", "f6", "f5"},
        {"7k/8/8/8/4B3/8/8/K7 w - - 0 1", "b7", "e7"},
        {"7k/8/8/8/4R3/8/8/K7 w - - 0 1", "e8", "g6"},
        {"7k/8/8/8/4Q3/8/8/K7 w - - 0 1", "h4", "f6"},
        {"7k/8/8/8/4Q3/8/8/K7 w - - 0 1", "g6", "g5"},
        {"7k/8/8/8/8/8/8/K7 w - - 0 1", "b2", "c3"},
    };
    for (const auto& [fen, attacked, notAttacked] : kCases) {
        EXPECT_TRUE(boardOf(fen).isAttacked(squareAt(attacked), White)) << fen;
        EXPECT_FALSE(boardOf(fen).isAttacked(squareAt(notAttacked), White)) << fen;
        EXPECT_FALSE(boardOf(fen).isAttacked(squareAt(attacked), Black)) << fen;
    }
}

TEST(IsAttacked, OfOwnPiecesMeansProtected) {
    const Board board = boardOf("7k/8/8/8/4R3/8/4N3/K7 w - - 0 1");
    EXPECT_TRUE(board.isAttacked(squareAt("e2"), White));
    EXPECT_FALSE(board.isAttacked(squareAt("e1"), White));
}

TEST(AttackersTo, ShowsTheRearSliderOnlyOnceTheFrontPieceIsLifted) {
    const Board board = boardOf("4r2k/8/8/4p3/8/8/4R3/K3Q3 w - - 0 1");
    const Square target = squareAt("e5");
    EXPECT_EQ(board.attackersTo(target, board.occupied), squaresAt("e2 e8"));
    EXPECT_EQ(board.attackersTo(target, board.occupied ^ squaresAt("e2")) & ~squaresAt("e2"),
              squaresAt("e1 e8"));
}

TEST(AttackersTo, DoesNotLeaveOutPiecesMissingFromTheOccupancy) {
    const Board board = boardOf("7k/8/8/4p3/8/3N4/8/K7 w - - 0 1");
    EXPECT_EQ(board.attackersTo(squareAt("e5"), board.occupied ^ squaresAt("d3")), squaresAt("d3"));
}

TEST(AttackersTo, HoldsPiecesOfEveryKindAndBothColours) {
    const Board board = boardOf("3q4/8/2p1kn2/2K4Q/4P3/1BN5/8/3R4 b - - 0 1");
    EXPECT_EQ(board.attackersTo(squareAt("d5"), board.occupied),
              squaresAt("c6 e6 f6 d8 c5 h5 e4 b3 c3 d1"));
}

TEST(AttackQueries, AgreeWithAWalkOnEverySquareOfEveryPosition) {
    std::mt19937_64 random(5);
    for (const std::string& fen : Positions::readAll()) {
        const Board board = boardOf(fen);
        for (Square sq = 0; sq < 64; ++sq) {
            const Bitboard attackers = attackersByWalking(board, sq, board.occupied);
            ASSERT_EQ(board.attackersTo(sq, board.occupied), attackers) << fen << ' ' << sq;
            for (const Color by : {White, Black})
                ASSERT_EQ(board.isAttacked(sq, by), (attackers & board.colorBB[by]) != 0)
                    << fen << ' ' << sq;
            const Bitboard thinned = board.occupied & random();
            ASSERT_EQ(board.attackersTo(sq, thinned), attackersByWalking(board, sq, thinned))
                << fen << ' ' << sq;
        }
        for (const Color c : {White, Black})
            ASSERT_EQ(board.inCheck(c), board.isAttacked(board.kingSquare(c), ~c)) << fen;
    }
}

} // namespace
