#include "board/board.h"

#include "support/board_checks.h"
#include "support/notation.h"
#include "support/positions.h"
#include "support/random_game.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace Notation;

// --- repetitions ---

TEST(IsRepetition, OneEarlierOccurrenceSuffices) {
    Board board = boardOf(kStartFen);
    for (const char* move : {"g1f3", "g8f6", "f3g1"}) {
        board.makeMove(moveOf(move));
        EXPECT_FALSE(board.isRepetition()) << move;
    }
    board.makeMove(moveOf("f6g8"));
    EXPECT_TRUE(board.isRepetition());
}

TEST(IsRepetition, TheOtherSideToMoveIsAnotherPosition) {
    Board board = boardOf("4k3/8/8/8/8/8/8/4K2R w - - 0 1");
    // White loses a move: the pieces stand as at first, and Black is to move.
    for (const char* move : {"h1h2", "e8e7", "h2h3", "e7e8", "h3h1"})
        board.makeMove(moveOf(move));
    EXPECT_FALSE(board.isRepetition());
}

TEST(IsRepetition, LooksNoFurtherBackThanTheClock) {
    Board board = boardOf(kStartFen);
    for (const char* move : {"g1f3", "g8f6", "f3g1", "f6g8"})
        board.makeMove(moveOf(move));
    ASSERT_EQ(board.halfmoveClock, 4);
    board.halfmoveClock = 3;
    EXPECT_FALSE(board.isRepetition());
    board.halfmoveClock = 200; // of a FEN: there may be more moves than the history holds
    EXPECT_TRUE(board.isRepetition());
}

TEST(IsRepetition, AgreesWithTheKeysOfAllPositionsSinceTheLastIrreversibleMove) {
    std::size_t repetitions = 0;
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        Board board = boardOf("4k3/8/8/8/8/8/8/R3K3 w - - 0 1");
        std::vector<std::uint64_t> before;
        RandomGame::play(board, seed, 150, [&](const Board& b) {
            if (b.halfmoveClock == 0)
                before.clear();
            const bool repeated = std::find(before.begin(), before.end(), b.key) != before.end();
            EXPECT_EQ(b.isRepetition(), repeated) << b.fen();
            repetitions += repeated;
            before.push_back(b.key);
        });
    }
    EXPECT_GT(repetitions, 100U);
}

// --- threats ---

/// Pawns below knights and bishops, these below rooks, these below queens.
int rankOfPiece(Piece p) {
    return p == Pawn ? 0 : p == Knight || p == Bishop ? 1 : p == Rook ? 2 : 3;
}

bool isThreatenedByWalking(const Board& board) {
    const Color us = board.sideToMove;
    for (Bitboard own = board.colorBB[us] & ~board.pieces[us][Pawn] & ~board.pieces[us][King];
         own;) {
        const Square sq = popLowest(own);
        for (Bitboard enemies = BoardChecks::attackersByWalking(board, sq, board.occupied) &
                                board.colorBB[~us] & ~board.pieces[~us][King];
             enemies;)
            if (rankOfPiece(board.mailbox[popLowest(enemies)]) < rankOfPiece(board.mailbox[sq]))
                return true;
    }
    return false;
}

TEST(PieceIsThreatened, ByAnyLessValuablePieceAndByNoOther) {
    const struct {
        const char* fen;
        bool threatened;
    } kCases[] = {
        {"7k/8/3p4/4N3/8/8/8/1K6 w - - 0 1", true},    // pawn and knight
        {"7k/8/3p4/4P3/8/8/8/1K6 w - - 0 1", false},   // pawns do not count
        {"7k/8/3n4/8/4B3/8/8/1K6 w - - 0 1", false},   // knight and bishop are equals
        {"7k/8/3n4/8/4R3/8/8/1K6 w - - 0 1", true},    // knight and rook
        {"7k/8/2b5/8/4R3/8/8/1K6 w - - 0 1", true},    // bishop and rook
        {"7k/8/2b5/3P4/4R3/8/8/1K6 w - - 0 1", false}, // not through a pawn
        {"7k/8/8/8/r3R3/8/8/1K6 w - - 0 1", false},    // rook and rook
        {"7k/8/8/8/r3Q3/8/8/1K6 w - - 0 1", true},     // rook and queen
        {"7k/8/8/8/q3Q3/8/8/1K6 w - - 0 1", false},    // queen and queen
        {"8/8/8/3k4/4R3/8/8/1K6 w - - 0 1", false},    // kings do not count
        {"7k/8/8/8/r3Q3/8/8/1K6 b - - 0 1", false},    // the other side to move
    };
    for (const auto& [fen, threatened] : kCases)
        EXPECT_EQ(boardOf(fen).pieceIsThreatened(), threatened) << fen;
}

TEST(PieceIsThreatened, AgreesWithAttacksFoundByWalking) {
    std::size_t threatened = 0;
    std::size_t positions = 0;
    for (const std::string& fen : Positions::readShared()) {
        Board board = boardOf(fen);
        RandomGame::play(board, ++positions, 20, [&](const Board& b) {
            EXPECT_EQ(b.pieceIsThreatened(), isThreatenedByWalking(b)) << b.fen();
            threatened += b.pieceIsThreatened();
        });
    }
    EXPECT_GT(threatened, positions);
}

} // namespace
