#include "board/movegen.h"

#include "support/board_checks.h"
#include "support/notation.h"
#include "support/positions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace Notation;

using Moves = std::vector<Move>;

std::string generated(const char* fen, Generator generate) {
    return describe(movesOf(boardOf(fen), generate));
}

Moves inOrder(const MoveList& list) {
    return {list.begin(), list.end()};
}

Moves sorted(const MoveList& list) {
    Moves moves = inOrder(list);
    std::sort(moves.begin(), moves.end());
    return moves;
}

// --- literal lists ---

// Every step of the order at once, for each side.
constexpr const char* kWhiteOfAllKinds = "r3k3/1P6/8/2pP4/8/1p6/P6P/R3K2R w KQ c6 0 1";
constexpr const char* kBlackOfAllKinds = "r3k2r/p6p/1P6/8/2Pp4/8/1p6/R3K3 b kq c3 0 1";

TEST(GenerateMoves, ListsTheStartPositionInOrder) {
    EXPECT_EQ(describe(movesOf(boardOf(kStartFen))),
              "a2a3/0 b2b3/0 c2c3/0 d2d3/0 e2e3/0 f2f3/0 g2g3/0 h2h3/0 "
              "a2a4/1 b2b4/1 c2c4/1 d2d4/1 e2e4/1 f2f4/1 g2g4/1 h2h4/1 "
              "b1a3/0 b1c3/0 g1f3/0 g1h3/0");
}

TEST(GenerateMoves, ListsPushesCapturesPromotionsEnPassantPiecesAndCastlingInOrder) {
    EXPECT_EQ(generated(kWhiteOfAllKinds, generateMoves),
              "a2a3/0 h2h3/0 d5d6/0 a2a4/1 h2h4/1 a2b3/4 "
              "b7b8q/11 b7b8r/10 b7b8b/9 b7b8n/8 b7a8q/15 b7a8r/14 b7a8b/13 b7a8n/12 d5c6/5 "
              "a1b1/0 a1c1/0 a1d1/0 h1f1/0 h1g1/0 e1d1/0 e1f1/0 e1d2/0 e1e2/0 e1f2/0 "
              "e1g1/2 e1c1/3");
}

TEST(GenerateMoves, WalksSquaresFromTheLowestForBlackToo) {
    EXPECT_EQ(generated(kBlackOfAllKinds, generateMoves),
              "d4d3/0 a7a6/0 h7h6/0 a7a5/1 h7h5/1 a7b6/4 "
              "b2b1q/11 b2b1r/10 b2b1b/9 b2b1n/8 b2a1q/15 b2a1r/14 b2a1b/13 b2a1n/12 d4c3/5 "
              "a8b8/0 a8c8/0 a8d8/0 h8f8/0 h8g8/0 e8d7/0 e8e7/0 e8f7/0 e8d8/0 e8f8/0 "
              "e8g8/2 e8c8/3");
}

TEST(GenerateMoves, MixesCapturesAndQuietMovesOfAPieceByTarget) {
    EXPECT_EQ(generated("4k3/8/4p3/8/3N4/1p6/8/4K3 w - - 0 1", generateMoves),
              "d4c2/0 d4e2/0 d4b3/4 d4f3/0 d4b5/0 d4f5/0 d4c6/0 d4e6/4 "
              "e1d1/0 e1f1/0 e1d2/0 e1e2/0 e1f2/0");
}

TEST(GenerateMoves, ListsPawnCapturesByOriginAndThenByTarget) {
    EXPECT_EQ(generated("4k3/8/8/8/p1p1p3/1P1P4/8/4K3 w - - 0 1", generateMoves),
              "b3b4/0 d3d4/0 b3a4/4 b3c4/4 d3c4/4 d3e4/4 "
              "e1d1/0 e1f1/0 e1d2/0 e1e2/0 e1f2/0");
}

TEST(GenerateMoves, ListsEnPassantCapturesByOrigin) {
    EXPECT_EQ(generated("4k3/8/8/2PpP3/8/8/8/K7 w - d6 0 1", generateMoves),
              "c5c6/0 e5e6/0 c5d6/5 e5d6/5 a1b1/0 a1a2/0 a1b2/0");
}

TEST(GenerateCaptures, ListsAllPromotionsBesideTheCaptures) {
    EXPECT_EQ(generated(kWhiteOfAllKinds, generateCaptures),
              "a2b3/4 b7b8q/11 b7b8r/10 b7b8b/9 b7b8n/8 b7a8q/15 b7a8r/14 b7a8b/13 b7a8n/12 "
              "d5c6/5");
    EXPECT_EQ(generated(kBlackOfAllKinds, generateCaptures),
              "a7b6/4 b2b1q/11 b2b1r/10 b2b1b/9 b2b1n/8 b2a1q/15 b2a1r/14 b2a1b/13 b2a1n/12 "
              "d4c3/5");
}

TEST(GenerateCaptures, ListsPromotionsQueenRookBishopKnightPushesFirst) {
    EXPECT_EQ(generated("r6k/1P6/8/8/8/8/8/K7 w - - 0 1", generateCaptures),
              "b7b8q/11 b7b8r/10 b7b8b/9 b7b8n/8 b7a8q/15 b7a8r/14 b7a8b/13 b7a8n/12");
}

TEST(GenerateCaptures, ListsCapturesByPieceTypeThenOriginThenTarget) {
    EXPECT_EQ(generated("4k3/4r3/2p1n3/1p6/1n1N4/2Q5/1K2R3/8 w - - 0 1", generateCaptures),
              "d4b5/4 d4c6/4 d4e6/4 e2e6/4 c3b4/4 c3c6/4");
}

TEST(GenerateCaptures, ListsKnightsBishopsRooksQueensAndTheKingInThatOrder) {
    EXPECT_EQ(generated("7k/8/K7/1p6/B2N4/8/4Q3/1R6 w - - 0 1", generateCaptures),
              "d4b5/4 a4b5/4 b1b5/4 e2b5/4 a6b5/4");
}

TEST(GenerateQuiets, ListsPushesThenPiecesThenCastling) {
    EXPECT_EQ(generated(kWhiteOfAllKinds, generateQuiets),
              "a2a3/0 h2h3/0 d5d6/0 a2a4/1 h2h4/1 a1b1/0 a1c1/0 a1d1/0 h1f1/0 h1g1/0 "
              "e1d1/0 e1f1/0 e1d2/0 e1e2/0 e1f2/0 e1g1/2 e1c1/3");
    EXPECT_EQ(generated(kBlackOfAllKinds, generateQuiets),
              "d4d3/0 a7a6/0 h7h6/0 a7a5/1 h7h5/1 a8b8/0 a8c8/0 a8d8/0 h8f8/0 h8g8/0 "
              "e8d7/0 e8e7/0 e8f7/0 e8d8/0 e8f8/0 e8g8/2 e8c8/3");
}

TEST(GenerateLegalMoves, KeepsTheOrderOfTheMovesThatAreLegal) {
    // The knight is pinned, the king must stay off the e file, and the rook may be taken.
    EXPECT_EQ(generated("4r2k/8/8/8/8/8/P3N3/4K3 w - - 0 1", generateLegalMoves),
              "a2a3/0 a2a4/1 e1d1/0 e1f1/0 e1d2/0 e1f2/0");
}

TEST(Generators, AppendToWhatTheListHolds) {
    const Board board = boardOf(kWhiteOfAllKinds);
    for (const Generator generate :
         {generateMoves, generateCaptures, generateQuiets, generateLegalMoves}) {
        MoveList list;
        list.add(12345);
        generate(board, list);
        ASSERT_GT(list.count, 1);
        EXPECT_EQ(list.moves[0], 12345u);
        EXPECT_EQ(Moves(list.begin() + 1, list.end()), inOrder(movesOf(board, generate)));
    }
}

// --- pawns ---

TEST(GenerateMoves, DoublePushNeedsBothSquaresEmpty) {
    EXPECT_EQ(generated("7k/8/8/8/8/p7/P7/7K w - - 0 1", generateMoves), "h1g1/0 h1g2/0 h1h2/0");
    EXPECT_EQ(generated("7k/8/8/8/p7/8/P7/7K w - - 0 1", generateMoves),
              "a2a3/0 h1g1/0 h1g2/0 h1h2/0");
}

TEST(GenerateMoves, PawnsThatHaveMovedDoNotPushTwice) {
    EXPECT_EQ(generated("7k/8/8/8/8/P7/8/7K w - - 0 1", generateMoves),
              "a3a4/0 h1g1/0 h1g2/0 h1h2/0");
}

TEST(GenerateMoves, BlockedPromotionsOnlyCapture) {
    EXPECT_EQ(generated("rn5k/1P6/8/8/8/8/8/7K w - - 0 1", generateCaptures),
              "b7a8q/15 b7a8r/14 b7a8b/13 b7a8n/12");
}

// --- castling ---

bool offers(const char* fen, Move m) {
    const Moves moves = inOrder(movesOf(boardOf(fen)));
    return std::find(moves.begin(), moves.end(), m) != moves.end();
}

TEST(GenerateMoves, CastlingNeedsTheRight) {
    EXPECT_TRUE(offers("4k3/8/8/8/8/8/8/R3K2R w KQ - 0 1", kCastlesShort));
    EXPECT_TRUE(offers("4k3/8/8/8/8/8/8/R3K2R w KQ - 0 1", kCastlesLong));
    EXPECT_FALSE(offers("4k3/8/8/8/8/8/8/R3K2R w Q - 0 1", kCastlesShort));
    EXPECT_FALSE(offers("4k3/8/8/8/8/8/8/R3K2R w K - 0 1", kCastlesLong));
}

TEST(GenerateMoves, CastlingNeedsTheWayEmpty) {
    for (const char* fen :
         {"4k3/8/8/8/8/8/8/R3KB1R w KQ - 0 1", "4k3/8/8/8/8/8/8/R3K1NR w KQ - 0 1",
          "4k3/8/8/8/8/8/8/R3K1nR w KQ - 0 1"}) {
        EXPECT_FALSE(offers(fen, kCastlesShort)) << fen;
        EXPECT_TRUE(offers(fen, kCastlesLong)) << fen;
    }
    for (const char* fen :
         {"4k3/8/8/8/8/8/8/RN2K2R w KQ - 0 1", "4k3/8/8/8/8/8/8/R1B1K2R w KQ - 0 1",
          "4k3/8/8/8/8/8/8/R2QK2R w KQ - 0 1"}) {
        EXPECT_FALSE(offers(fen, kCastlesLong)) << fen;
        EXPECT_TRUE(offers(fen, kCastlesShort)) << fen;
    }
}

TEST(GenerateMoves, NeitherCastlingWhileInCheck) {
    constexpr const char* kInCheck = "4k3/8/8/8/4r3/8/8/R3K2R w KQ - 0 1";
    EXPECT_FALSE(offers(kInCheck, kCastlesShort));
    EXPECT_FALSE(offers(kInCheck, kCastlesLong));
}

// --- the ends of games ---

TEST(GenerateLegalMoves, OfMateAndStalemateIsEmpty) {
    for (const char* fen :
         {"R5k1/5ppp/8/8/8/8/8/6K1 b - - 0 1", "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"}) {
        EXPECT_EQ(movesOf(boardOf(fen), generateLegalMoves).count, 0) << fen;
        EXPECT_EQ(firstLegalMove(boardOf(fen)), 0u) << fen;
    }
}

TEST(FirstLegalMove, IsTheFirstOfTheLegalMoves) {
    for (const std::string& fen : Positions::readAll()) {
        const Board board = boardOf(fen);
        const MoveList legal = movesOf(board, generateLegalMoves);
        ASSERT_EQ(firstLegalMove(board), legal.count ? legal.moves[0] : 0) << fen;
    }
}

// --- properties of all positions ---

/// Place of a move in the documented order: step, then what orders the moves within the step.
using Place = std::tuple<int, int, int, int>;

Place placeInAllMoves(const Board& board, Move m) {
    const int from = fromSquare(m);
    const int to = toSquare(m);
    const int flag = static_cast<int>(moveFlag(m));
    const Piece piece = board.mailbox[from];
    if (flag == FlagCastleKing || flag == FlagCastleQueen)
        return {20, flag, 0, 0};
    if (piece != Pawn)
        return {10 + piece, from, to, 0};
    if (flag == FlagQuiet || flag == FlagDoublePush)
        return {flag, to, 0, 0};
    if (flag == FlagCapture)
        return {2, from, to, 0};
    if (flag == FlagEnPassant)
        return {4, from, 0, 0};
    const int afterPushes = isCapture(m) ? to : -1;
    return {3, from, afterPushes, -promotedPiece(m)};
}

/// Expects strictly rising places, which also rules out a move listed twice.
void expectOrder(const Board& board, const MoveList& list) {
    for (int i = 1; i < list.count; ++i)
        ASSERT_LT(placeInAllMoves(board, list.moves[i - 1]), placeInAllMoves(board, list.moves[i]))
            << board.fen() << ' ' << describe(list);
}

TEST(Generators, KeepTheirOrderInEveryPosition) {
    for (const std::string& fen : Positions::readAll()) {
        const Board board = boardOf(fen);
        for (const Generator generate :
             {generateMoves, generateCaptures, generateQuiets, generateLegalMoves})
            ASSERT_NO_FATAL_FAILURE(expectOrder(board, movesOf(board, generate)));
    }
}

TEST(Generators, CapturesAndQuietsTogetherAreAllMoves) {
    for (const std::string& fen : Positions::readAll()) {
        const Board board = boardOf(fen);
        MoveList parts;
        generateCaptures(board, parts);
        generateQuiets(board, parts);
        ASSERT_EQ(sorted(parts), sorted(movesOf(board))) << fen;
    }
}

TEST(Generators, CapturesAreCapturesOrPromotionsAndQuietsAreNeither) {
    for (const std::string& fen : Positions::readAll()) {
        const Board board = boardOf(fen);
        for (const Move m : movesOf(board, generateCaptures))
            ASSERT_TRUE(isCaptureOrPromotion(m)) << fen << ' ' << describe(m);
        for (const Move m : movesOf(board, generateQuiets))
            ASSERT_FALSE(isCaptureOrPromotion(m)) << fen << ' ' << describe(m);
    }
}

TEST(Generators, LeaveTheUpperHalfOfAMoveZero) {
    for (const std::string& fen : Positions::readAll())
        for (const Move m : movesOf(boardOf(fen)))
            ASSERT_EQ(m >> 16, 0u) << fen;
}

TEST(GenerateLegalMoves, AreTheMovesAfterWhichTheOwnKingIsNotAttacked) {
    for (const std::string& fen : Positions::readAll()) {
        const Board board = boardOf(fen);
        const Color us = board.sideToMove;
        Moves expected;
        for (const Move m : movesOf(board)) {
            Board after = board;
            after.makeMove(m);
            const Square king = after.kingSquare(us);
            if (!(BoardChecks::attackersByWalking(after, king, after.occupied) &
                  after.colorBB[~us]))
                expected.push_back(m);
        }
        ASSERT_EQ(inOrder(movesOf(board, generateLegalMoves)), expected) << fen;
    }
}

TEST(GenerateLegalMoves, LeavesTheBoardAsItWas) {
    for (const std::string& fen : Positions::readAll()) {
        const Board board = boardOf(fen);
        movesOf(board, generateLegalMoves);
        ASSERT_EQ(BoardChecks::differences(board, boardOf(fen)), "") << fen;
    }
}

// --- the capacity of a list ---

/// Pseudo-legal moves of a side without pawns and castling rights, counted by walking.
int countByWalking(const Board& board) {
    const Bitboard own = board.colorBB[board.sideToMove];
    int count = 0;
    for (Bitboard targets = ~own; targets;) {
        const Square to = popLowest(targets);
        count += popcount(BoardChecks::attackersByWalking(board, to, board.occupied) & own);
    }
    return count;
}

TEST(MoveLists, HoldEveryMoveOfABoardCrowdedWithQueens) {
    const Board board = boardOf("knQQQQQQ/nnQ4Q/QQ5Q/Q6Q/Q6Q/Q6Q/Q6Q/QQQQQQQK w - - 0 1");
    const MoveList list = movesOf(board);
    EXPECT_EQ(list.count, countByWalking(board));
    EXPECT_GT(list.count, 256);
    EXPECT_LE(list.count, MoveList::kCapacity);
}

TEST(MoveLists, HoldEveryMoveOfEveryPosition) {
    for (const std::string& fen : Positions::readAll())
        EXPECT_LE(movesOf(boardOf(fen)).count, MoveList::kCapacity) << fen;
}

} // namespace
