#include "board/makemove-inl.h"
#include "board/movegen.h"

#include "support/board_checks.h"
#include "support/build.h"
#include "support/notation.h"
#include "support/positions.h"
#include "support/random_game.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

/// What the board keeps as moves are made, computed again from scratch at every node of walks.
namespace {

using namespace Notation;
using BoardChecks::differences;
using BoardChecks::inconsistencies;

constexpr std::size_t kGameStride = kOptimised ? 1 : 8;
constexpr int kGamePlies = 60;
constexpr int kTreeDepth = 3;

// Castling, en passant, promotions and captures of rooks at home lie within three plies of these.
constexpr const char* kTreeRoots[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
    "r3k2r/1P4P1/8/2Pp4/8/8/1p4p1/R3K2R w KQkq d6 3 20",
    "r3k2r/1P4P1/8/8/2pP4/8/1p4p1/R3K2R b KQkq d3 98 20",
};

/// Calls `check` with every node of random games from all positions and of some full trees.
template <class Check>
void checkWalks(Check&& check, int treeDepth = kTreeDepth) {
    const auto checkNode = [&](Board& board) {
        if (!testing::Test::HasFatalFailure())
            check(board);
    };
    const std::vector<std::string> fens = Positions::readAll();
    for (std::size_t i = 0; i < fens.size(); i += kGameStride) {
        SCOPED_TRACE("game from " + fens[i]);
        Board board = boardOf(fens[i]);
        RandomGame::play(board, i, kGamePlies, checkNode);
    }
    for (const char* fen : kTreeRoots) {
        SCOPED_TRACE(std::string("tree of ") + fen);
        Board board = boardOf(fen);
        RandomGame::walkTree(board, treeDepth, checkNode);
    }
}

TEST(Incremental, KeysSumsAndSetsAreThoseOfAComputationFromScratchAtEveryNode) {
    checkWalks([](const Board& board) { ASSERT_EQ(inconsistencies(board), "") << board.fen(); });
}

TEST(Incremental, KeysAndSumsAreThoseOfTheWrittenFenAtEveryNode) {
    Board read{};
    checkWalks([&read](const Board& board) {
        const std::string fen = board.fen();
        ASSERT_TRUE(read.setFen(fen)) << fen;
        ASSERT_EQ(read.key, board.key) << fen;
        ASSERT_EQ(read.pawnKey, board.pawnKey) << fen;
        ASSERT_EQ(read.nonPawnHash[White], board.nonPawnHash[White]) << fen;
        ASSERT_EQ(read.nonPawnHash[Black], board.nonPawnHash[Black]) << fen;
        ASSERT_EQ(read.psq, board.psq) << fen;
        ASSERT_EQ(read.fen().substr(0, fen.find(' ')), fen.substr(0, fen.find(' ')));
    });
}

// The moves of the last-but-one level lead to the nodes of the last: one level less covers them.

TEST(Incremental, MakingAndUnmakingAnyPseudoLegalMoveRestoresEveryField) {
    const auto makeAndUnmakeAll = [](Board& board) {
        const Board before = board;
        for (const Move m : movesOf(board)) {
            board.makeMove(m);
            ASSERT_EQ(inconsistencies(board), "") << before.fen() << ' ' << describe(m);
            board.unmakeMove(m);
            ASSERT_EQ(differences(board, before), "") << before.fen() << ' ' << describe(m);
        }
    };
    checkWalks(makeAndUnmakeAll, kTreeDepth - 1);
}

TEST(Incremental, EveryPseudoLegalMoveTellsTheKeyThatTheBoardThenHasOnce) {
    const auto compareKeys = [](Board& board) {
        for (const Move m : movesOf(board)) {
            std::uint64_t told = 0;
            int calls = 0;
            const auto onKey = [&](std::uint64_t key) {
                told = key;
                ++calls;
            };
            if (board.sideToMove == White)
                board.makeMoveOf<White>(m, onKey);
            else
                board.makeMoveOf<Black>(m, onKey);
            const std::uint64_t key = board.key;
            board.unmakeMove(m);
            ASSERT_EQ(told, key) << board.fen() << ' ' << describe(m);
            ASSERT_EQ(calls, 1) << board.fen() << ' ' << describe(m);
        }
    };
    checkWalks(compareKeys, kTreeDepth - 1);
}

TEST(Incremental, TheNullMoveRestoresEveryFieldAtEveryNode) {
    Board read{};
    const auto passAndTakeBack = [&read](Board& board) {
        if (board.inCheck(board.sideToMove))
            return; // passing would leave the king to be taken: nobody does
        const Board before = board;
        board.makeNullMove();
        ASSERT_EQ(inconsistencies(board), "") << before.fen();
        ASSERT_TRUE(read.setFen(board.fen())) << before.fen();
        ASSERT_EQ(board.key, read.key) << before.fen();
        board.unmakeNullMove();
        ASSERT_EQ(differences(board, before), "") << before.fen();
    };
    checkWalks(passAndTakeBack, kTreeDepth - 1);
}

TEST(Incremental, TakingBackAWholeGameRestoresEveryPositionOfIt) {
    for (const std::string& fen : Positions::readShared()) {
        Board board = boardOf(fen);
        std::vector<Board> visited;
        const auto remember = [&visited](const Board& at) { visited.push_back(at); };
        std::vector<Move> played = RandomGame::play(board, 7, 12, remember);
        while (!played.empty()) {
            visited.pop_back();
            board.unmakeMove(played.back());
            played.pop_back();
            ASSERT_EQ(differences(board, visited.back()), "") << fen;
        }
        ASSERT_EQ(differences(board, boardOf(fen)), "") << fen;
    }
}

// The walks above hold only if they meet what they are meant to check.
TEST(Incremental, WalksMeetEveryKindOfMove) {
    bool met[16] = {};
    checkWalks([&met](const Board& board) {
        for (const Move m : movesOf(board))
            met[moveFlag(m)] = true;
    });
    for (const int flag : {0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, 14, 15})
        EXPECT_TRUE(met[flag]) << flag;
    EXPECT_FALSE(met[6]);
    EXPECT_FALSE(met[7]);
}

} // namespace
