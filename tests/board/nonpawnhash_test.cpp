#include "board/board.h"

#include "support/board_checks.h"
#include "support/notation.h"
#include "support/positions.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

/// What the hash of one side's pieces covers. That moves keep it is among the tests of all that is
/// kept incrementally.
namespace {

using namespace Notation;
using BoardChecks::nonPawnHashAtOnce;

constexpr Piece kNonPawns[] = {Knight, Bishop, Rook, Queen, King};

TEST(NonPawnHash, OfNoPiecesIsZero) {
    const Board board = boardOf(kStartFen);
    EXPECT_NE(board.nonPawnHash[White], 0);
    EXPECT_NE(board.nonPawnHash[Black], 0);
    const Board empty = emptyBoard();
    EXPECT_EQ(empty.nonPawnHash[White], 0);
    EXPECT_EQ(empty.nonPawnHash[Black], 0);
}

TEST(NonPawnHash, LeavesPawnsOut) {
    const Board few = boardOf("r3k3/p7/8/8/8/8/P7/4K2R w - - 0 1");
    const Board many = boardOf("r3k3/pppp4/8/4p3/2P5/8/P4PPP/4K2R b - - 0 1");
    EXPECT_EQ(few.nonPawnHash[White], many.nonPawnHash[White]);
    EXPECT_EQ(few.nonPawnHash[Black], many.nonPawnHash[Black]);
    for (Square sq = 0; sq < kSquares; ++sq)
        EXPECT_EQ(nonPawnHashOf(Pawn, bit(sq)), 0U) << sq;
}

TEST(NonPawnHash, IsOfTheSidesOwnPiecesOnly) {
    const Board before = boardOf("r3k3/8/8/8/8/8/8/4K2R w - - 0 1");
    Board board = before;
    board.putPiece(White, Knight, squareAt("d4"));
    EXPECT_NE(board.nonPawnHash[White], before.nonPawnHash[White]);
    EXPECT_EQ(board.nonPawnHash[Black], before.nonPawnHash[Black]);
    board.movePiece(Black, Rook, A8, squareAt("a3"));
    EXPECT_NE(board.nonPawnHash[Black], before.nonPawnHash[Black]);
    board.movePiece(Black, Rook, squareAt("a3"), A8);
    board.removePiece(White, Knight, squareAt("d4"));
    EXPECT_EQ(board.nonPawnHash[White], before.nonPawnHash[White]);
    EXPECT_EQ(board.nonPawnHash[Black], before.nonPawnHash[Black]);
}

TEST(NonPawnHash, IsTheSameForBothSidesWithTheSameSquares) {
    for (const Piece piece : kNonPawns)
        for (Square sq = 0; sq < kSquares; ++sq) {
            Board board = emptyBoard();
            board.putPiece(White, piece, sq);
            const std::uint16_t hash = board.nonPawnHash[White];
            board.removePiece(White, piece, sq);
            board.putPiece(Black, piece, sq);
            ASSERT_EQ(board.nonPawnHash[Black], hash) << piece << ' ' << sq;
            ASSERT_EQ(board.nonPawnHash[White], 0) << piece << ' ' << sq;
        }
}

TEST(NonPawnHash, IsKeptWhilePiecesAreAddedOneByOneAndTakenAway) {
    const auto expectKept = [](const Board& board) {
        for (const Color c : {White, Black}) {
            ASSERT_EQ(board.nonPawnHash[c], nonPawnHashAtOnce(board, c)) << c;
            ASSERT_LT(board.nonPawnHash[c], kNonPawnHashes) << c;
        }
    };
    const auto colorOf = [](Square sq) { return sq % 5 < 2 ? Black : White; };
    const auto pieceOf = [](Square sq) { return static_cast<Piece>(sq % 6); };
    Board board = emptyBoard();
    for (Square sq = 0; sq < kSquares; ++sq) {
        board.putPiece(colorOf(sq), pieceOf(sq), sq);
        ASSERT_NO_FATAL_FAILURE(expectKept(board)) << sq;
    }
    for (Square sq = 0; sq < kSquares; ++sq) {
        board.removePiece(colorOf(sq), pieceOf(sq), sq);
        ASSERT_NO_FATAL_FAILURE(expectKept(board)) << sq;
    }
    EXPECT_EQ(board.nonPawnHash[White], 0);
    EXPECT_EQ(board.nonPawnHash[Black], 0);
}

TEST(NonPawnHash, OfASetUpPositionIsThatOfItsPieces) {
    Board board = boardOf(kStartFen); // in use, then set up anew
    for (const std::string& fen : Positions::readAll()) {
        ASSERT_TRUE(board.setFen(fen)) << fen;
        for (const Color c : {White, Black})
            EXPECT_EQ(board.nonPawnHash[c], nonPawnHashAtOnce(board, c)) << fen;
    }
}

} // namespace
