#include "board/board.h"

#include "support/board_checks.h"
#include "support/notation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using namespace Notation;

constexpr int kLongGame = 6000;

// A search and the line that is walked after it, each as deep as a search can get.
constexpr int kRoomForASearch = 2 * 128;

Move knightMove(int ply) {
    constexpr Move kCycle[4] = {moveOf("g1f3"), moveOf("g8f6"), moveOf("f3g1"), moveOf("f6g8")};
    return kCycle[ply % 4];
}

/// Keys of all positions of a game, in their order, before each move.
using Keys = std::vector<std::uint64_t>;

/// Expects the newest `count` records to be those of the newest `count` moves.
void expectNewestKeys(const Board& board, const Keys& keys, int count) {
    ASSERT_GE(board.historyCount, count);
    for (int back = 1; back <= count; ++back)
        ASSERT_EQ(board.history[board.historyCount - back].key,
                  keys[keys.size() - static_cast<std::size_t>(back)])
            << back << " plies back after " << keys.size();
}

TEST(MakeRoomInHistory, KeepsWhatARepetitionTestCanReachInALongGame) {
    Board board = boardOf(kStartFen);
    Keys keys;
    for (int ply = 0; ply < kLongGame; ++ply) {
        keys.push_back(board.key);
        board.makeMove(knightMove(ply));
        board.makeRoomInHistory();
        ASSERT_LE(board.historyCount, kMaxHistory - kRoomForASearch) << ply;
        // The clock is one byte and starts over at 256: no test looks further back than 255.
        ASSERT_NO_FATAL_FAILURE(expectNewestKeys(board, keys, std::min(ply + 1, 255)));
    }
    EXPECT_EQ(BoardChecks::inconsistencies(board), "");
}

TEST(MakeRoomInHistory, ForgetsNothingWhileThereIsPlentyOfRoom) {
    Board board = boardOf(kStartFen);
    for (int ply = 0; ply < kMaxHistory / 2; ++ply) {
        board.makeMove(knightMove(ply));
        board.makeRoomInHistory();
        ASSERT_EQ(board.historyCount, ply + 1);
    }
}

TEST(MakeRoomInHistory, ChangesNothingButTheHistory) {
    Board board = boardOf(kStartFen);
    bool forgot = false;
    for (int ply = 0; ply < kMaxHistory; ++ply) {
        board.makeMove(knightMove(ply));
        Board before = board;
        board.makeRoomInHistory();
        forgot = forgot || board.historyCount < before.historyCount;
        before.historyCount = 0;
        Board after = board;
        after.historyCount = 0;
        ASSERT_EQ(BoardChecks::differences(after, before), "") << ply;
    }
    EXPECT_TRUE(forgot);
}

TEST(MakeRoomInHistory, LeavesMovesThatCanBeTakenBack) {
    Board board = boardOf("r3k1nr/p7/8/8/8/8/7P/R3K1NR w KQkq - 0 1");
    std::vector<Board> positions; // the last ones, before each move
    constexpr int kTakenBack = 250;
    for (int ply = 0; ply < kLongGame; ++ply) {
        if (ply >= kLongGame - kTakenBack)
            positions.push_back(board);
        board.makeMove(knightMove(ply));
        board.makeRoomInHistory();
    }
    for (int ply = kLongGame - 1; ply >= kLongGame - kTakenBack; --ply) {
        board.unmakeMove(knightMove(ply));
        ASSERT_EQ(board.fen(), positions.back().fen()) << ply;
        ASSERT_EQ(board.key, positions.back().key) << ply;
        positions.pop_back();
    }
}

TEST(History, GrowsByOneRecordPerMoveAndHoldsTheKeyBeforeIt) {
    Board board = boardOf(kStartFen);
    Keys keys;
    for (int ply = 0; ply < 40; ++ply) {
        keys.push_back(board.key);
        if (ply % 10 == 9) {
            board.makeNullMove();
            keys.push_back(board.key);
            board.makeNullMove();
        } else {
            board.makeMove(knightMove(ply - ply / 10));
        }
        ASSERT_EQ(board.historyCount, static_cast<int>(keys.size()));
    }
    expectNewestKeys(board, keys, board.historyCount);
}

TEST(History, TravelsWithACopyOfTheBoard) {
    Board board = boardOf(kStartFen);
    board.makeMove(moveOf("e2e4", FlagDoublePush));
    board.makeMove(moveOf("d7d5", FlagDoublePush));
    board.makeMove(moveOf("e4d5", FlagCapture));
    Board copy = board;
    board.reset();
    copy.unmakeMove(moveOf("e4d5", FlagCapture));
    copy.unmakeMove(moveOf("d7d5", FlagDoublePush));
    copy.unmakeMove(moveOf("e2e4", FlagDoublePush));
    EXPECT_EQ(BoardChecks::differences(copy, boardOf(kStartFen)), "");
}

} // namespace
