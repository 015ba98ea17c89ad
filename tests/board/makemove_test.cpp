#include "board/makemove-inl.h"

#include "support/board_checks.h"
#include "support/notation.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using namespace Notation;
using BoardChecks::differences;
using BoardChecks::inconsistencies;

/// A move and the position that it leads to.
struct Step {
    const char* what;
    const char* before;
    Move move;
    const char* after;
    Piece captured = kNoPiece;
};

const Step kSteps[] = {
    {"a quiet piece move counts the clock up", "4k3/8/8/8/8/8/8/4K1N1 w - - 3 5", moveOf("g1f3"),
     "4k3/8/8/8/8/5N2/8/4K3 b - - 4 5"},
    {"a move by Black counts the move number up", "4k1n1/8/8/8/8/8/8/4K3 b - - 3 5", moveOf("g8f6"),
     "4k3/8/5n2/8/8/8/8/4K3 w - - 4 6"},
    {"a pawn push resets the clock", "4k3/8/8/8/8/8/4P3/4K3 w - - 9 5", moveOf("e2e3"),
     "4k3/8/8/8/8/4P3/8/4K3 b - - 0 5"},
    {"a double push sets the square behind it", "4k3/8/8/8/5p2/8/4P3/4K3 w - - 9 5",
     moveOf("e2e4", FlagDoublePush), "4k3/8/8/8/4Pp2/8/8/4K3 b - e3 0 5"},
    {"a double push sets it even if no pawn can capture", "4k3/4p3/8/8/8/8/8/4K3 b - - 9 5",
     moveOf("e7e5", FlagDoublePush), "4k3/8/8/4p3/8/8/8/4K3 w - e6 0 6"},
    {"any other move clears the en-passant square", "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 5",
     moveOf("e1e2"), "4k3/8/8/3pP3/8/8/4K3/8 b - - 1 5"},
    {"a capture by a piece resets the clock", "4k3/8/8/3n4/8/4N3/8/4K3 w - - 9 5",
     moveOf("e3d5", FlagCapture), "4k3/8/8/3N4/8/8/8/4K3 b - - 0 5", Knight},
    {"a capture by a pawn resets the clock", "4k3/8/8/8/3p4/4B3/8/4K3 b - - 9 5",
     moveOf("d4e3", FlagCapture), "4k3/8/8/8/8/4p3/8/4K3 w - - 0 6", Bishop},
    {"an en-passant capture by White counts the clock on", "4k3/8/8/3pP3/8/8/8/4K3 w - d6 7 5",
     moveOf("e5d6", FlagEnPassant), "4k3/8/3P4/8/8/8/8/4K3 b - - 8 5", Pawn},
    {"an en-passant capture by Black counts the clock on", "4k3/8/8/8/6pP/8/8/4K3 b - h3 0 5",
     moveOf("g4h3", FlagEnPassant), "4k3/8/8/8/8/7p/8/4K3 w - - 1 6", Pawn},
    {"White castles on the king's side", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 6 5",
     moveOf("e1g1", FlagCastleKing), "r3k2r/8/8/8/8/8/8/R4RK1 b kq - 7 5"},
    {"White castles on the queen's side", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 6 5",
     moveOf("e1c1", FlagCastleQueen), "r3k2r/8/8/8/8/8/8/2KR3R b kq - 7 5"},
    {"Black castles on the king's side", "r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 6 5",
     moveOf("e8g8", FlagCastleKing), "r4rk1/8/8/8/8/8/8/R3K2R w KQ - 7 6"},
    {"Black castles on the queen's side", "r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 6 5",
     moveOf("e8c8", FlagCastleQueen), "2kr3r/8/8/8/8/8/8/R3K2R w KQ - 7 6"},
    {"a king move clears both rights", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 6 5", moveOf("e1e2"),
     "r3k2r/8/8/8/8/8/4K3/R6R b kq - 7 5"},
    {"the Black king's move clears both rights", "r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 6 5",
     moveOf("e8d8"), "r2k3r/8/8/8/8/8/8/R3K2R w KQ - 7 6"},
    {"a move of the h1 rook clears K", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 6 5", moveOf("h1g1"),
     "r3k2r/8/8/8/8/8/8/R3K1R1 b Qkq - 7 5"},
    {"a move of the a1 rook clears Q", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 6 5", moveOf("a1b1"),
     "r3k2r/8/8/8/8/8/8/1R2K2R b Kkq - 7 5"},
    {"a move of the h8 rook clears k", "r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 6 5", moveOf("h8h7"),
     "r3k3/7r/8/8/8/8/8/R3K2R w KQq - 7 6"},
    {"a move of the a8 rook clears q", "r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 6 5", moveOf("a8a7"),
     "4k2r/r7/8/8/8/8/8/R3K2R w KQk - 7 6"},
    {"a capture on h8 clears k of a rook that never moved",
     "r3k2r/8/8/8/3B4/8/8/R3K2R w KQkq - 6 5", moveOf("d4h8", FlagCapture),
     "r3k2B/8/8/8/8/8/8/R3K2R b KQq - 0 5", Rook},
    {"a capture on a1 clears Q of a rook that never moved",
     "r3k2r/8/8/8/3b4/8/8/R3K2R b KQkq - 6 5", moveOf("d4a1", FlagCapture),
     "r3k2r/8/8/8/8/8/8/b3K2R w Kkq - 0 6", Rook},
    {"a rook that takes a rook clears a right of each side", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 6 5",
     moveOf("h1h8", FlagCapture), "r3k2R/8/8/8/8/8/8/R3K3 b Qq - 0 5", Rook},
    {"a promotion by capture clears the captured rook's right",
     "r3k2r/1P6/8/8/8/8/8/4K3 w kq - 6 5", moveOf("b7a8", FlagCapturePromotion + 3),
     "Q3k2r/8/8/8/8/8/8/4K3 b k - 0 5", Rook},
    {"a promotion to a queen", "8/4P1k1/8/8/8/8/8/4K3 w - - 6 5", moveOf("e7e8", 11),
     "4Q3/6k1/8/8/8/8/8/4K3 b - - 0 5"},
    {"a promotion to a rook", "8/4P1k1/8/8/8/8/8/4K3 w - - 6 5", moveOf("e7e8", 10),
     "4R3/6k1/8/8/8/8/8/4K3 b - - 0 5"},
    {"a promotion to a bishop by Black", "8/6k1/8/8/8/8/2p5/4K3 b - - 6 5", moveOf("c2c1", 9),
     "8/6k1/8/8/8/8/8/2b1K3 w - - 0 6"},
    {"a promotion to a knight by Black", "8/6k1/8/8/8/8/2p5/4K3 b - - 6 5", moveOf("c2c1", 8),
     "8/6k1/8/8/8/8/8/2n1K3 w - - 0 6"},
    {"a promotion to a knight by capture", "3q4/4P1k1/8/8/8/8/8/4K3 w - - 6 5", moveOf("e7d8", 12),
     "3N4/6k1/8/8/8/8/8/4K3 b - - 0 5", Queen},
    {"a promotion to a bishop by capture", "3n4/4P1k1/8/8/8/8/8/4K3 w - - 6 5", moveOf("e7d8", 13),
     "3B4/6k1/8/8/8/8/8/4K3 b - - 0 5", Knight},
    {"a promotion to a rook by capture of Black", "8/6k1/8/8/8/8/2p5/1B2K3 b - - 6 5",
     moveOf("c2b1", 14), "8/6k1/8/8/8/8/8/1r2K3 w - - 0 6", Bishop},
    {"a move that leaves the own king in check is made like any other",
     "4r2k/8/8/8/8/8/4N3/4K3 w - - 0 1", moveOf("e2c3"), "4r2k/8/8/8/8/2N5/8/4K3 b - - 1 1"},
};

TEST(MakeMove, LeadsToTheExpectedPosition) {
    for (const Step& step : kSteps) {
        Board board = boardOf(step.before);
        board.makeMove(step.move);
        EXPECT_EQ(board.fen(), step.after) << step.what;
        EXPECT_EQ(inconsistencies(board), "") << step.what;
    }
}

TEST(MakeMove, PushesOneRecordOfWhatTheMoveDestroys) {
    for (const Step& step : kSteps) {
        const Board before = boardOf(step.before);
        Board board = before;
        board.makeMove(step.move);
        ASSERT_EQ(board.historyCount, 1) << step.what;
        const UndoInfo& record = board.history[0];
        EXPECT_EQ(record.key, before.key) << step.what;
        EXPECT_EQ(record.epSquare, before.epSquare) << step.what;
        EXPECT_EQ(record.castling, before.castling) << step.what;
        EXPECT_EQ(record.halfmoveClock, before.halfmoveClock) << step.what;
        EXPECT_EQ(record.captured, step.captured) << step.what;
        EXPECT_EQ(record.pawnKey, before.pawnKey) << step.what;
        EXPECT_EQ(record.nonPawnHash[White], before.nonPawnHash[White]) << step.what;
        EXPECT_EQ(record.nonPawnHash[Black], before.nonPawnHash[Black]) << step.what;
        EXPECT_EQ(record.psq, before.psq) << step.what;
        EXPECT_EQ(record.nonPawnMaterial[White], before.nonPawnMaterial[White]) << step.what;
        EXPECT_EQ(record.nonPawnMaterial[Black], before.nonPawnMaterial[Black]) << step.what;
        EXPECT_EQ(record.phase, before.phase) << step.what;
    }
}

TEST(UnmakeMove, RestoresEveryField) {
    for (const Step& step : kSteps) {
        Board board = boardOf(step.before);
        board.makeMove(step.move);
        board.unmakeMove(step.move);
        EXPECT_EQ(differences(board, boardOf(step.before)), "") << step.what;
    }
}

TEST(MakeMove, OfAKnownSideDoesTheSameAndTellsTheNewKeyOnce) {
    for (const Step& step : kSteps) {
        Board board = boardOf(step.before);
        std::vector<std::uint64_t> told;
        const auto onKey = [&told](std::uint64_t key) { told.push_back(key); };
        if (board.sideToMove == White)
            board.makeMoveOf<White>(step.move, onKey);
        else
            board.makeMoveOf<Black>(step.move, onKey);
        EXPECT_EQ(board.fen(), step.after) << step.what;
        EXPECT_EQ(inconsistencies(board), "") << step.what;
        EXPECT_EQ(told, std::vector<std::uint64_t>{board.key}) << step.what;
        if (board.sideToMove == Black)
            board.unmakeMoveOf<White>(step.move);
        else
            board.unmakeMoveOf<Black>(step.move);
        EXPECT_EQ(differences(board, boardOf(step.before)), "") << step.what;
    }
}

TEST(MakeMove, GivesADoublePushThatNobodyCanAnswerAnotherKeyThanTheSamePlacement) {
    Board pushed = boardOf("4k3/8/8/8/8/8/4P3/4K3 w - - 0 1");
    pushed.makeMove(moveOf("e2e4", FlagDoublePush));
    const Board placed = boardOf("4k3/8/8/8/4P3/8/8/4K3 b - - 0 1");
    EXPECT_EQ(pushed.key ^ placed.key, Zobrist::enPassant[4]);
    EXPECT_EQ(pushed.key, boardOf(pushed.fen()).key);
}

TEST(MakeMove, BringsBackTheKeyOfARepeatedPosition) {
    Board board = boardOf("4k1n1/8/8/8/8/8/8/4K1N1 w - - 0 1");
    const std::uint64_t key = board.key;
    for (const char* text : {"g1f3", "g8f6", "f3g1", "f6g8"})
        board.makeMove(moveOf(text));
    EXPECT_EQ(board.key, key);
    EXPECT_EQ(board.history[0].key, key);
    EXPECT_EQ(board.halfmoveClock, 4);
    EXPECT_EQ(board.fullmoveNumber, 3);
}

// --- the null move ---

TEST(NullMove, PassesTheTurnAndClearsTheEnPassantSquare) {
    Board board = boardOf("4k3/8/8/3pP3/8/8/8/4K2R w K d6 3 7");
    board.makeNullMove();
    EXPECT_EQ(board.fen(), "4k3/8/8/3pP3/8/8/8/4K2R b K - 4 7");
    EXPECT_EQ(inconsistencies(board), "");
    EXPECT_EQ(board.historyCount, 1);
    EXPECT_EQ(board.history[0].captured, kNoPiece);
}

TEST(NullMove, ByBlackCountsTheMoveNumberUp) {
    Board board = boardOf("4k3/8/8/8/8/8/8/4K2R b K - 3 7");
    board.makeNullMove();
    EXPECT_EQ(board.fen(), "4k3/8/8/8/8/8/8/4K2R w K - 4 8");
    EXPECT_EQ(inconsistencies(board), "");
}

TEST(NullMove, ChangesTheKeyBySideAndEnPassantOnly) {
    Board board = boardOf("4k3/8/8/3pP3/8/8/8/4K2R w K d6 3 7");
    const std::uint64_t key = board.key;
    board.makeNullMove();
    EXPECT_EQ(board.key, key ^ Zobrist::sideToMove ^ Zobrist::enPassant[3]);
    EXPECT_EQ(board.history[0].key, key);
}

TEST(NullMove, TakenBackRestoresEveryField) {
    for (const char* fen :
         {"4k3/8/8/3pP3/8/8/8/4K2R w K d6 3 7", "4k3/8/8/8/3pP3/8/8/4K3 b - e3 0 7",
          "r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 99 60"}) {
        Board board = boardOf(fen);
        board.makeNullMove();
        board.unmakeNullMove();
        EXPECT_EQ(differences(board, boardOf(fen)), "") << fen;
    }
}

TEST(NullMove, NestsWithOtherMoves) {
    Board board = boardOf(kStartFen);
    board.makeMove(moveOf("e2e4", FlagDoublePush));
    board.makeNullMove();
    board.makeMove(moveOf("e4e5"));
    EXPECT_EQ(board.fen(), "rnbqkbnr/pppppppp/8/4P3/8/8/PPPP1PPP/RNBQKBNR b KQkq - 0 2");
    EXPECT_EQ(board.historyCount, 3);
    board.unmakeMove(moveOf("e4e5"));
    board.unmakeNullMove();
    board.unmakeMove(moveOf("e2e4", FlagDoublePush));
    EXPECT_EQ(differences(board, boardOf(kStartFen)), "");
}

} // namespace
