#include "board/movegen.h"

#include "support/board_checks.h"
#include "support/notation.h"
#include "support/positions.h"

#include <gtest/gtest.h>

#include <bitset>
#include <string>

namespace {

using namespace Notation;
using BoardChecks::attackersByWalking;
using BoardChecks::differences;

bool pseudoLegal(std::string_view fen, Move m) {
    return boardOf(fen).isPseudoLegal(m);
}

bool legal(std::string_view fen, Move m) {
    return boardOf(fen).isLegal(m);
}

bool givesCheck(std::string_view fen, Move m) {
    return boardOf(fen).quietGivesCheck(m);
}

/// Whether the king of `c` is attacked, found without the attack tables.
bool inCheckByWalking(const Board& board, Color c) {
    return (attackersByWalking(board, board.kingSquare(c), board.occupied) & board.colorBB[~c]) !=
           0;
}

// --- castling ---

struct CastlingCase {
    const char* what;
    const char* fen;
    bool kingSide;
    bool queenSide;
};

constexpr CastlingCase kCastlingCases[] = {
    {"nothing in the way", "4k3/8/8/8/8/8/8/R3K2R w KQ - 0 1", true, true},
    {"no rights", "4k3/8/8/8/8/8/8/R3K2R w - - 0 1", false, false},
    {"king-side right only", "4k3/8/8/8/8/8/8/R3K2R w K - 0 1", true, false},
    {"queen-side right only", "4k3/8/8/8/8/8/8/R3K2R w Q - 0 1", false, true},
    {"own bishop on f1", "4k3/8/8/8/8/8/8/R3KB1R w KQ - 0 1", false, true},
    {"own knight on g1", "4k3/8/8/8/8/8/8/R3K1NR w KQ - 0 1", false, true},
    {"own knight on b1", "4k3/8/8/8/8/8/8/RN2K2R w KQ - 0 1", true, false},
    {"own bishop on c1", "4k3/8/8/8/8/8/8/R1B1K2R w KQ - 0 1", true, false},
    {"own queen on d1", "4k3/8/8/8/8/8/8/R2QK2R w KQ - 0 1", true, false},
    {"e1 attacked", "4k3/8/8/8/4r3/8/8/R3K2R w KQ - 0 1", false, false},
    {"f1 attacked", "4k3/8/8/8/5r2/8/8/R3K2R w KQ - 0 1", false, true},
    {"g1 attacked", "4k3/8/8/8/6r1/8/8/R3K2R w KQ - 0 1", false, true},
    {"h1 attacked", "4k3/8/8/8/7r/8/8/R3K2R w KQ - 0 1", true, true},
    {"d1 attacked", "4k3/8/8/8/3r4/8/8/R3K2R w KQ - 0 1", true, false},
    {"c1 attacked", "4k3/8/8/8/2r5/8/8/R3K2R w KQ - 0 1", true, false},
    {"b1 attacked but empty", "4k3/8/8/8/1r6/8/8/R3K2R w KQ - 0 1", true, true},
    {"a1 attacked", "4k3/8/8/8/r7/8/8/R3K2R w KQ - 0 1", true, true},
    {"f1 attacked by a pawn", "4k3/8/8/8/8/8/6p1/R3K2R w KQ - 0 1", false, true},
    {"Black, nothing in the way", "r3k2r/8/8/8/8/8/8/4K3 b kq - 0 1", true, true},
    {"Black, king-side right only", "r3k2r/8/8/8/8/8/8/4K3 b k - 0 1", true, false},
    {"Black, queen-side right only", "r3k2r/8/8/8/8/8/8/4K3 b q - 0 1", false, true},
    {"Black, knight on g8", "r3k1nr/8/8/8/8/8/8/4K3 b kq - 0 1", false, true},
    {"Black, knight on b8", "rn2k2r/8/8/8/8/8/8/4K3 b kq - 0 1", true, false},
    {"Black, e8 attacked", "r3k2r/8/8/8/4R3/8/8/3K4 b kq - 0 1", false, false},
    {"Black, f8 attacked", "r3k2r/8/8/8/5R2/8/8/4K3 b kq - 0 1", false, true},
    {"Black, g8 attacked", "r3k2r/8/8/8/6R1/8/8/4K3 b kq - 0 1", false, true},
    {"Black, d8 attacked", "r3k2r/8/8/8/3R4/8/8/4K3 b kq - 0 1", true, false},
    {"Black, c8 attacked", "r3k2r/8/8/8/2R5/8/8/4K3 b kq - 0 1", true, false},
    {"Black, b8 attacked but empty", "r3k2r/8/8/8/1R6/8/8/4K3 b kq - 0 1", true, true},
};

TEST(CanCastle, AsksForTheRightEmptySquaresAndASafeWayOfTheKing) {
    for (const CastlingCase& test : kCastlingCases) {
        const Board board = boardOf(test.fen);
        EXPECT_EQ(board.canCastleKS(board.sideToMove), test.kingSide) << test.what;
        EXPECT_EQ(board.canCastleQS(board.sideToMove), test.queenSide) << test.what;
    }
}

TEST(CanCastle, CanBeAskedOfEitherSide) {
    const Board board = boardOf("r3k2r/8/8/8/8/8/8/R3K2R w Kq - 0 1");
    EXPECT_TRUE(board.canCastleKS(White));
    EXPECT_FALSE(board.canCastleQS(White));
    EXPECT_FALSE(board.canCastleKS(Black));
    EXPECT_TRUE(board.canCastleQS(Black));
}

TEST(IsPseudoLegal, TestsCastlingInFull) {
    for (const CastlingCase& test : kCastlingCases) {
        const Board board = boardOf(test.fen);
        const bool white = board.sideToMove == White;
        const Move kingSide = moveOf(white ? "e1g1" : "e8g8", FlagCastleKing);
        const Move queenSide = moveOf(white ? "e1c1" : "e8c8", FlagCastleQueen);
        EXPECT_EQ(board.isPseudoLegal(kingSide), test.kingSide) << test.what;
        EXPECT_EQ(board.isPseudoLegal(queenSide), test.queenSide) << test.what;
    }
}

TEST(IsPseudoLegal, RefusesCastlingFlagsOnOtherMoves) {
    constexpr std::string_view kFen = "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1";
    EXPECT_FALSE(pseudoLegal(kFen, moveOf("e1g1", FlagCastleQueen)));
    EXPECT_FALSE(pseudoLegal(kFen, moveOf("e1c1", FlagCastleKing)));
    EXPECT_FALSE(pseudoLegal(kFen, moveOf("e1f1", FlagCastleKing)));
    EXPECT_FALSE(pseudoLegal(kFen, moveOf("h1f1", FlagCastleKing)));
    EXPECT_FALSE(pseudoLegal(kFen, moveOf("a1c1", FlagCastleQueen)));
    EXPECT_FALSE(pseudoLegal(kFen, moveOf("e8g8", FlagCastleKing)));
    EXPECT_FALSE(pseudoLegal(kFen, moveOf("e1g1", FlagQuiet)));
}

// --- pseudo-legality ---

TEST(IsPseudoLegal, AsksForTheExactFlagOfAPawnMove) {
    EXPECT_TRUE(pseudoLegal(kStartFen, moveOf("e2e4", FlagDoublePush)));
    EXPECT_FALSE(pseudoLegal(kStartFen, moveOf("e2e4", FlagQuiet)));
    EXPECT_TRUE(pseudoLegal(kStartFen, moveOf("e2e3", FlagQuiet)));
    EXPECT_FALSE(pseudoLegal(kStartFen, moveOf("e2e3", FlagDoublePush)));
    EXPECT_FALSE(pseudoLegal(kStartFen, moveOf("e2e4", FlagCapture)));
    EXPECT_FALSE(pseudoLegal(kStartFen, moveOf("g1f3", FlagCapture)));
    EXPECT_TRUE(pseudoLegal(kStartFen, moveOf("g1f3", FlagQuiet)));
}

TEST(IsPseudoLegal, RefusesNoMoveAndTheUnusedFlags) {
    EXPECT_FALSE(pseudoLegal(kStartFen, 0));
    EXPECT_FALSE(pseudoLegal(kStartFen, moveOf("e2e3", 6)));
    EXPECT_FALSE(pseudoLegal(kStartFen, moveOf("e2e3", 7)));
    EXPECT_FALSE(pseudoLegal("4k3/8/8/8/3p4/4P3/8/4K3 w - - 0 1", moveOf("e3d4", 6)));
    EXPECT_FALSE(pseudoLegal("4k3/8/8/8/3p4/4P3/8/4K3 w - - 0 1", moveOf("e3d4", 7)));
}

TEST(IsPseudoLegal, RefusesEmptyAndEnemyOriginsAndOwnTargets) {
    EXPECT_FALSE(pseudoLegal(kStartFen, moveOf("e3e4")));
    EXPECT_FALSE(pseudoLegal(kStartFen, moveOf("e7e6")));
    EXPECT_FALSE(pseudoLegal(kStartFen, moveOf("a1a2")));
    EXPECT_FALSE(pseudoLegal(kStartFen, moveOf("a1a2", FlagCapture)));
}

TEST(IsPseudoLegal, AsksForAPromotionExactlyOnTheLastStep) {
    constexpr std::string_view kFen = "3r3k/4P3/8/8/8/8/P7/4K3 w - - 0 1";
    EXPECT_FALSE(pseudoLegal(kFen, moveOf("e7e8", FlagQuiet)));
    EXPECT_FALSE(pseudoLegal(kFen, moveOf("e7d8", FlagCapture)));
    EXPECT_FALSE(pseudoLegal(kFen, moveOf("a2a3", 11)));
    EXPECT_FALSE(pseudoLegal(kFen, moveOf("e1d1", 11)));
    for (std::uint32_t piece = 0; piece < 4; ++piece) {
        EXPECT_TRUE(pseudoLegal(kFen, moveOf("e7e8", 8 + piece)));
        EXPECT_TRUE(pseudoLegal(kFen, moveOf("e7d8", 12 + piece)));
        EXPECT_FALSE(pseudoLegal(kFen, moveOf("e7d8", 8 + piece)));
        EXPECT_FALSE(pseudoLegal(kFen, moveOf("e7f8", 12 + piece)));
    }
}

TEST(IsPseudoLegal, TakesEnPassantOnlyOnTheCurrentSquare) {
    EXPECT_TRUE(pseudoLegal("4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", moveOf("e5d6", FlagEnPassant)));
    EXPECT_FALSE(pseudoLegal("4k3/8/8/3pP3/8/8/8/4K3 w - - 0 1", moveOf("e5d6", FlagEnPassant)));
    EXPECT_FALSE(pseudoLegal("4k3/8/8/3pPp2/8/8/8/4K3 w - d6 0 1", moveOf("e5f6", FlagEnPassant)));
    EXPECT_FALSE(pseudoLegal("4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", moveOf("e5d6", FlagCapture)));
    EXPECT_FALSE(pseudoLegal("4k3/8/8/3p3P/8/8/8/4K3 w - d6 0 1", moveOf("h5d6", FlagEnPassant)));
    EXPECT_FALSE(pseudoLegal("4k3/8/8/3pN3/8/8/8/4K3 w - d6 0 1", moveOf("e5d6", FlagEnPassant)));
}

TEST(IsPseudoLegal, DoesNotAskWhetherTheOwnKingIsLeftInCheck) {
    EXPECT_TRUE(pseudoLegal("4r2k/8/8/8/8/8/4N3/4K3 w - - 0 1", moveOf("e2c3")));
    EXPECT_TRUE(pseudoLegal("3r3k/8/8/8/8/8/8/4K3 w - - 0 1", moveOf("e1d1")));
}

TEST(IsPseudoLegal, AcceptsOfAllCodesExactlyTheGeneratedMoves) {
    for (const std::string& fen : Positions::readAll()) {
        const Board board = boardOf(fen);
        std::bitset<0x10000> generated;
        for (const Move m : movesOf(board))
            generated.set(m);
        for (Move code = 0; code <= 0xFFFF; ++code)
            ASSERT_EQ(board.isPseudoLegal(code), generated[code]) << fen << ' ' << describe(code);
    }
}

// --- legality ---

TEST(IsLegal, RefusesAPinnedPieceThatLeavesItsLine) {
    constexpr std::string_view kFen = "4r2k/8/8/8/8/8/4R3/4K3 w - - 0 1";
    EXPECT_FALSE(legal(kFen, moveOf("e2d2")));
    EXPECT_TRUE(legal(kFen, moveOf("e2e5")));
    EXPECT_TRUE(legal(kFen, moveOf("e2e8", FlagCapture)));
}

TEST(IsLegal, RefusesAKingMoveIntoCheck) {
    constexpr std::string_view kFen = "3r3k/8/8/8/8/8/8/4K3 w - - 0 1";
    EXPECT_FALSE(legal(kFen, moveOf("e1d1")));
    EXPECT_FALSE(legal(kFen, moveOf("e1d2")));
    EXPECT_TRUE(legal(kFen, moveOf("e1f1")));
}

TEST(IsLegal, RefusesAKingThatStaysOnTheLineOfTheCheck) {
    EXPECT_FALSE(legal("4k3/8/8/8/4r3/8/8/4K3 w - - 0 1", moveOf("e1e2")));
    EXPECT_FALSE(legal("4k3/8/8/8/r3K3/8/8/8 w - - 0 1", moveOf("e4f4")));
}

TEST(IsLegal, RefusesToLeaveACheckUnanswered) {
    constexpr std::string_view kFen = "4k3/8/8/8/4r3/8/P4B2/4K3 w - - 0 1";
    EXPECT_FALSE(legal(kFen, moveOf("a2a3")));
    EXPECT_TRUE(legal(kFen, moveOf("f2e3")));
}

TEST(IsLegal, RefusesAnEnPassantCaptureThatOpensTheRank) {
    EXPECT_FALSE(legal("4k3/8/8/K2pP2r/8/8/8/8 w - d6 0 1", moveOf("e5d6", FlagEnPassant)));
    EXPECT_TRUE(legal("4k3/8/8/3pP2r/8/8/8/K7 w - d6 0 1", moveOf("e5d6", FlagEnPassant)));
    EXPECT_FALSE(legal("8/8/8/8/R2Pp2k/8/8/4K3 b - d3 0 1", moveOf("e4d3", FlagEnPassant)));
}

TEST(IsLegal, TakesAnEnPassantCaptureOfTheCheckingPawn) {
    EXPECT_TRUE(legal("4k3/8/8/3pP3/4K3/8/8/8 w - d6 0 1", moveOf("e5d6", FlagEnPassant)));
}

TEST(IsLegal, AgreesWithMakingTheMoveAndLeavesTheBoardAsItWas) {
    for (const std::string& fen : Positions::readAll()) {
        const Board board = boardOf(fen);
        const Board before = board;
        for (const Move m : movesOf(board)) {
            Board after = board;
            after.makeMove(m);
            ASSERT_EQ(board.isLegal(m), !inCheckByWalking(after, before.sideToMove))
                << fen << ' ' << describe(m);
        }
        ASSERT_EQ(differences(board, before), "") << fen;
    }
}

// --- quiet checks ---

TEST(QuietGivesCheck, SeesDirectChecksOfEveryPiece) {
    EXPECT_TRUE(givesCheck("4k3/8/8/8/4N3/8/8/K7 w - - 0 1", moveOf("e4d6")));
    EXPECT_FALSE(givesCheck("4k3/8/8/8/4N3/8/8/K7 w - - 0 1", moveOf("e4c5")));
    EXPECT_TRUE(givesCheck("4k3/8/8/8/8/8/8/K4B2 w - - 0 1", moveOf("f1b5")));
    EXPECT_TRUE(givesCheck("4k3/8/8/8/8/8/8/K4R2 w - - 0 1", moveOf("f1e1")));
    EXPECT_TRUE(givesCheck("4k3/8/8/8/8/8/8/K4Q2 w - - 0 1", moveOf("f1b5")));
    EXPECT_TRUE(givesCheck("4k3/8/3P4/8/8/8/8/K7 w - - 0 1", moveOf("d6d7")));
    EXPECT_TRUE(givesCheck("8/8/8/3k4/8/8/4P3/K7 w - - 0 1", moveOf("e2e4", FlagDoublePush)));
    EXPECT_FALSE(givesCheck("8/8/8/8/3k4/8/4P3/K7 w - - 0 1", moveOf("e2e4", FlagDoublePush)));
}

TEST(QuietGivesCheck, SeesDiscoveredChecksByRookAndBishop) {
    EXPECT_TRUE(givesCheck("4k3/8/8/8/4N3/8/8/K3R3 w - - 0 1", moveOf("e4c3")));
    EXPECT_TRUE(givesCheck("4k3/8/2N5/1B6/8/8/8/K7 w - - 0 1", moveOf("c6a5")));
    EXPECT_TRUE(givesCheck("4k3/8/8/8/4K3/8/8/4R3 w - - 0 1", moveOf("e4d4")));
    EXPECT_TRUE(givesCheck("8/8/8/k3P2R/8/8/8/K7 w - - 0 1", moveOf("e5e6")));
}

TEST(QuietGivesCheck, DoesNotSeeADiscoveryWhenThePieceStaysOnTheLine) {
    EXPECT_FALSE(givesCheck("4k3/8/8/8/8/4P3/8/K3R3 w - - 0 1", moveOf("e3e4")));
}

TEST(QuietGivesCheck, AgreesWithMakingTheMoveForEveryQuietMoveAndDoublePush) {
    int checks = 0;
    for (const std::string& fen : Positions::readAll()) {
        const Board board = boardOf(fen);
        for (const Move m : movesOf(board, generateQuiets)) {
            if (isCastling(m))
                continue;
            Board after = board;
            after.makeMove(m);
            const bool check = inCheckByWalking(after, after.sideToMove);
            ASSERT_EQ(board.quietGivesCheck(m), check) << fen << ' ' << describe(m);
            checks += check;
        }
    }
    EXPECT_GT(checks, 500) << "too few checking moves to mean anything";
}

} // namespace
