#include "board/board.h"

#include "support/board_checks.h"
#include "support/notation.h"
#include "support/positions.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace Notation;
using BoardChecks::differences;
using BoardChecks::inconsistencies;

/// A board with a game behind it, to see whether a refused FEN leaves it alone.
Board boardInUse() {
    Board board = boardOf("r3k2r/pppppppp/8/8/8/8/PPPPPPPP/R3K2R w KQkq - 4 7");
    board.makeMove(moveOf("e1g1", FlagCastleKing));
    board.makeMove(moveOf("c7c5", FlagDoublePush));
    return board;
}

/// The FEN that the board writes after reading `fen`.
std::string rewritten(std::string_view fen) {
    return boardOf(fen).fen();
}

// --- the empty board and the start position ---

TEST(Reset, LeavesAnEmptyBoardWithZeroKeysAndSums) {
    Board board = boardInUse();
    board.reset();
    for (const Color c : {White, Black}) {
        for (const Bitboard set : board.pieces[c])
            EXPECT_EQ(set, 0u);
        EXPECT_EQ(board.colorBB[c], 0u);
        EXPECT_EQ(board.nonPawnHash[c], 0);
        EXPECT_EQ(board.nonPawnMaterial[c], 0);
    }
    EXPECT_EQ(board.occupied, 0u);
    for (const Piece piece : board.mailbox)
        EXPECT_EQ(piece, kNoPiece);
    EXPECT_EQ(board.sideToMove, White);
    EXPECT_EQ(board.epSquare, 64u);
    EXPECT_EQ(board.castling, 0);
    EXPECT_EQ(board.halfmoveClock, 0);
    EXPECT_EQ(board.fullmoveNumber, 1);
    EXPECT_EQ(board.key, 0u);
    EXPECT_EQ(board.pawnKey, 0u);
    EXPECT_EQ(board.psq, 0);
    EXPECT_EQ(board.phase, 0);
    EXPECT_EQ(board.historyCount, 0);
}

TEST(SetFen, OfTheStartPositionFillsEveryField) {
    const Board board = boardOf(kStartFen);
    EXPECT_EQ(board.pieces[White][Pawn], rankBB(1));
    EXPECT_EQ(board.pieces[Black][Pawn], rankBB(6));
    EXPECT_EQ(board.pieces[White][Knight], squaresAt("b1 g1"));
    EXPECT_EQ(board.pieces[Black][Bishop], squaresAt("c8 f8"));
    EXPECT_EQ(board.pieces[White][Rook], squaresAt("a1 h1"));
    EXPECT_EQ(board.pieces[White][Queen], squaresAt("d1"));
    EXPECT_EQ(board.pieces[Black][Queen], squaresAt("d8"));
    EXPECT_EQ(board.pieces[White][King], squaresAt("e1"));
    EXPECT_EQ(board.pieces[Black][King], squaresAt("e8"));
    EXPECT_EQ(board.colorBB[White], rankBB(0) | rankBB(1));
    EXPECT_EQ(board.colorBB[Black], rankBB(6) | rankBB(7));
    EXPECT_EQ(board.mailbox[squareAt("d8")], Queen);
    EXPECT_EQ(board.mailbox[squareAt("d5")], kNoPiece);
    EXPECT_EQ(board.sideToMove, White);
    EXPECT_EQ(board.castling, 15);
    EXPECT_EQ(board.epSquare, 64u);
    EXPECT_EQ(board.halfmoveClock, 0);
    EXPECT_EQ(board.fullmoveNumber, 1);
    EXPECT_EQ(board.psq, 0);
    EXPECT_EQ(board.nonPawnMaterial[White], 2 * 380 + 2 * 374 + 2 * 493 + 1283);
    EXPECT_EQ(board.nonPawnMaterial[Black], board.nonPawnMaterial[White]);
    EXPECT_EQ(board.phase, 24);
    EXPECT_EQ(board.historyCount, 0);
    EXPECT_EQ(inconsistencies(board), "");
}

TEST(PutRemoveAndMovePiece, KeepEveryRedundantFieldAndAreEachOthersInverse) {
    Board board = boardOf("4k3/8/8/8/8/8/8/4K3 w - - 0 1");
    const Board before = board;
    for (const Color c : {White, Black})
        for (const Piece piece : {Pawn, Knight, Bishop, Rook, Queen}) {
            board.putPiece(c, piece, squareAt("c3"));
            EXPECT_EQ(board.mailbox[squareAt("c3")], piece);
            EXPECT_EQ(board.pieces[c][piece], squaresAt("c3"));
            EXPECT_EQ(inconsistencies(board), "") << c << ' ' << piece;
            board.movePiece(c, piece, squareAt("c3"), squareAt("g6"));
            EXPECT_EQ(board.mailbox[squareAt("c3")], kNoPiece);
            EXPECT_EQ(board.pieces[c][piece], squaresAt("g6"));
            EXPECT_EQ(inconsistencies(board), "") << c << ' ' << piece;
            board.removePiece(c, piece, squareAt("g6"));
            EXPECT_EQ(differences(board, before), "") << c << ' ' << piece;
        }
}

// --- what is accepted ---

TEST(SetFen, TakesTheSideToMoveInEitherCase) {
    constexpr std::string_view kUpperCaseWhite =
        "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR W KQkq - 0 1";
    EXPECT_EQ(rewritten(kUpperCaseWhite), kStartFen);
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/4K3 B - - 0 1"), "4k3/8/8/8/8/8/8/4K3 b - - 0 1");
}

TEST(SetFen, TakesCastlingLettersInAnyOrder) {
    EXPECT_EQ(rewritten("r3k2r/8/8/8/8/8/8/R3K2R w qkQK - 0 1"),
              "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
    EXPECT_EQ(rewritten("r3k2r/8/8/8/8/8/8/R3K2R w qK - 0 1"),
              "r3k2r/8/8/8/8/8/8/R3K2R w Kq - 0 1");
}

TEST(SetFen, WithoutCountersStartsAtClock0AndMove1) {
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/4K3 w - -"), "4k3/8/8/8/8/8/8/4K3 w - - 0 1");
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/4K3 w - - 7"), "4k3/8/8/8/8/8/8/4K3 w - - 7 1");
}

TEST(SetFen, ClampsTheClockTo100AndTheMoveNumberToAtLeast1) {
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/4K3 w - - 150 9"), "4k3/8/8/8/8/8/8/4K3 w - - 100 9");
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/4K3 w - - 101 9"), "4k3/8/8/8/8/8/8/4K3 w - - 100 9");
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/4K3 w - - 99 9"), "4k3/8/8/8/8/8/8/4K3 w - - 99 9");
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/4K3 w - - 999999999 9"),
              "4k3/8/8/8/8/8/8/4K3 w - - 100 9");
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/4K3 w - - 0 0"), "4k3/8/8/8/8/8/8/4K3 w - - 0 1");
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/4K3 w - - 0 999999999"),
              "4k3/8/8/8/8/8/8/4K3 w - - 0 999999999");
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/4K3 w - - 007 0012"), "4k3/8/8/8/8/8/8/4K3 w - - 7 12");
}

TEST(SetFen, IgnoresFieldsAfterTheSixth) {
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/4K3 w - - 3 4 -x bm e1e2;"),
              "4k3/8/8/8/8/8/8/4K3 w - - 3 4");
}

TEST(SetFen, TakesAnyWhiteSpaceBetweenFields) {
    EXPECT_EQ(rewritten(" \t4k3/8/8/8/8/8/8/4K3\tb \n- \r\n -\v3\f4 \n"),
              "4k3/8/8/8/8/8/8/4K3 b - - 3 4");
}

TEST(SetFen, ForgetsTheHistory) {
    Board board = boardInUse();
    ASSERT_EQ(board.historyCount, 2);
    ASSERT_TRUE(board.setFen(kStartFen));
    EXPECT_EQ(board.historyCount, 0);
    EXPECT_EQ(differences(board, boardOf(kStartFen)), "");
}

// --- what is refused ---

struct Refused {
    const char* why;
    const char* fen;
};

constexpr Refused kRefused[] = {
    {"empty text", ""},
    {"white space only", " \t\n"},
    {"no side", "4k3/8/8/8/8/8/8/4K3"},
    {"no castling field", "4k3/8/8/8/8/8/8/4K3 w"},
    {"no en-passant field", "4k3/8/8/8/8/8/8/4K3 w -"},
    {"no pieces", "8/8/8/8/8/8/8/8 w - - 0 1"},
    {"rank of nine pawns", "4k3/ppppppppp/8/8/8/8/8/4K3 w - - 0 1"},
    {"rank of seven pawns", "4k3/ppppppp/8/8/8/8/8/4K3 w - - 0 1"},
    {"rank of seven squares", "4k3/7/8/8/8/8/8/4K3 w - - 0 1"},
    {"digits that add up to nine", "4k3/45/8/8/8/8/8/4K3 w - - 0 1"},
    {"digit beyond a full rank", "4k3/8/8/8/8/8/8/4K31 w - - 0 1"},
    {"letter beyond a full rank", "4k3/8P/8/8/8/8/8/4K3 w - - 0 1"},
    {"digit 0", "4k3/80/8/8/8/8/8/4K3 w - - 0 1"},
    {"digit 9", "4k3/9/8/8/8/8/8/4K3 w - - 0 1"},
    {"seven ranks", "4k3/8/8/8/8/8/4K3 w - - 0 1"},
    {"nine ranks", "4k3/8/8/8/8/8/8/8/4K3 w - - 0 1"},
    {"slash at the end", "4k3/8/8/8/8/8/8/4K3/ w - - 0 1"},
    {"slash at the start", "/4k3/8/8/8/8/8/8/4K3 w - - 0 1"},
    {"two slashes", "4k3//8/8/8/8/8/4K3 w - - 0 1"},
    {"unknown letter", "4k3/8/8/3x4/8/8/8/4K3 w - - 0 1"},
    {"unknown sign", "4k3/8/8/3-4/8/8/8/4K3 w - - 0 1"},
    {"letter outside of ASCII", "4k3/8/8/3\xc3\xa9"
                                "3/8/8/8/4K3 w - - 0 1"},
    {"two White kings", "4k3/8/8/8/8/8/8/K3K3 w - - 0 1"},
    {"two Black kings", "4k2k/8/8/8/8/8/8/4K3 w - - 0 1"},
    {"no White king", "4k3/8/8/8/8/8/8/8 w - - 0 1"},
    {"no Black king", "8/8/8/8/8/8/8/4K3 w - - 0 1"},
    {"White pawn on h8", "4k2P/8/8/8/8/8/8/4K3 w - - 0 1"},
    {"White pawn on a1", "4k3/8/8/8/8/8/8/P3K3 w - - 0 1"},
    {"Black pawn on a8", "p3k3/8/8/8/8/8/8/4K3 w - - 0 1"},
    {"Black pawn on h1", "4k3/8/8/8/8/8/8/4K2p w - - 0 1"},
    {"unknown side", "4k3/8/8/8/8/8/8/4K3 x - - 0 1"},
    {"side of two letters", "4k3/8/8/8/8/8/8/4K3 ww - - 0 1"},
    {"side written out", "4k3/8/8/8/8/8/8/4K3 white - - 0 1"},
    {"repeated castling letter", "4k3/8/8/8/8/8/8/4K2R w KK - 0 1"},
    {"five castling letters", "r3k2r/8/8/8/8/8/8/R3K2R w KQkqK - 0 1"},
    {"unknown castling letter", "4k3/8/8/8/8/8/8/4K2R w Kx - 0 1"},
    {"dash among castling letters", "4k3/8/8/8/8/8/8/4K2R w K- - 0 1"},
    {"two dashes for castling", "4k3/8/8/8/8/8/8/4K2R w -- - 0 1"},
    {"en-passant square without rank", "4k3/8/8/3pP3/8/8/8/4K3 w - d 0 1"},
    {"en-passant square of three letters", "4k3/8/8/3pP3/8/8/8/4K3 w - d6x 0 1"},
    {"en-passant file i", "4k3/8/8/3pP3/8/8/8/4K3 w - i6 0 1"},
    {"en-passant file D", "4k3/8/8/3pP3/8/8/8/4K3 w - D6 0 1"},
    {"en-passant rank 9", "4k3/8/8/3pP3/8/8/8/4K3 w - d9 0 1"},
    {"en-passant rank 0", "4k3/8/8/3pP3/8/8/8/4K3 w - d0 0 1"},
    {"two dashes for en passant", "4k3/8/8/3pP3/8/8/8/4K3 w - -- 0 1"},
    {"negative clock", "4k3/8/8/8/8/8/8/4K3 w - - -1 1"},
    {"clock with a letter", "4k3/8/8/8/8/8/8/4K3 w - - 1x 1"},
    {"clock with a plus sign", "4k3/8/8/8/8/8/8/4K3 w - - +1 1"},
    {"clock of ten digits", "4k3/8/8/8/8/8/8/4K3 w - - 0000000001 1"},
    {"dash for the clock", "4k3/8/8/8/8/8/8/4K3 w - - - 1"},
    {"negative move number", "4k3/8/8/8/8/8/8/4K3 w - - 0 -1"},
    {"move number with a letter", "4k3/8/8/8/8/8/8/4K3 w - - 0 1x"},
    {"move number of ten digits", "4k3/8/8/8/8/8/8/4K3 w - - 0 1000000000"},
    {"operation instead of the clock", "4k3/8/8/8/8/8/8/4K3 w - - bm e1e2;"},
};

TEST(SetFen, RefusesEveryDefectAndLeavesTheBoardAsItWas) {
    for (const Refused& refused : kRefused) {
        Board board = boardInUse();
        EXPECT_FALSE(board.setFen(refused.fen)) << refused.why;
        EXPECT_EQ(differences(board, boardInUse()), "") << refused.why;
    }
}

TEST(SetFen, RefusesACheckOfTheSideNotToMoveAndEmptiesTheBoard) {
    for (const char* fen : {"4k3/8/8/8/8/8/4R3/4K3 w - - 0 1", "4k3/8/8/8/8/8/4r3/4K3 b - - 0 1",
                            "4k3/3P4/8/8/8/8/8/4K3 w - - 0 1", "4k3/8/8/8/8/8/3p4/4K3 b - - 0 1",
                            "8/8/8/8/8/8/3k4/4K3 w - - 0 1", "8/8/8/8/8/2n5/k7/3K4 b - - 0 1"}) {
        Board board = boardInUse();
        EXPECT_FALSE(board.setFen(fen)) << fen;
        EXPECT_EQ(differences(board, emptyBoard()), "") << fen;
    }
}

TEST(SetFen, TakesACheckOfTheSideToMove) {
    EXPECT_TRUE(boardOf("4k3/8/8/8/8/8/4R3/4K3 b - - 0 1").inCheck(Black));
}

// --- what is repaired: castling rights ---

TEST(SetFen, DropsARightWhoseRookIsNotAtHome) {
    EXPECT_EQ(rewritten("r3k2r/8/8/8/8/8/8/R3K3 w KQkq - 0 1"),
              "r3k2r/8/8/8/8/8/8/R3K3 w Qkq - 0 1");
    EXPECT_EQ(rewritten("r3k2r/8/8/8/8/8/8/4K2R w KQkq - 0 1"),
              "r3k2r/8/8/8/8/8/8/4K2R w Kkq - 0 1");
    EXPECT_EQ(rewritten("r3k3/8/8/8/8/8/8/R3K2R w KQkq - 0 1"),
              "r3k3/8/8/8/8/8/8/R3K2R w KQq - 0 1");
    EXPECT_EQ(rewritten("4k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1"),
              "4k2r/8/8/8/8/8/8/R3K2R w KQk - 0 1");
}

TEST(SetFen, DropsBothRightsOfAKingThatIsNotAtHome) {
    EXPECT_EQ(rewritten("r3k2r/8/8/8/8/8/4K3/R6R w KQkq - 0 1"),
              "r3k2r/8/8/8/8/8/4K3/R6R w kq - 0 1");
    EXPECT_EQ(rewritten("r6r/4k3/8/8/8/8/8/R3K2R w KQkq - 0 1"),
              "r6r/4k3/8/8/8/8/8/R3K2R w KQ - 0 1");
}

TEST(SetFen, DropsARightWhoseRookIsTheOthersOrIsNoRook) {
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/4K2r w K - 0 1"), "4k3/8/8/8/8/8/8/4K2r w - - 0 1");
    EXPECT_EQ(rewritten("R3k3/8/8/8/8/8/8/4K3 b q - 0 1"), "R3k3/8/8/8/8/8/8/4K3 b - - 0 1");
    EXPECT_EQ(rewritten("4k3/8/8/8/8/8/8/N3K2N w KQ - 0 1"), "4k3/8/8/8/8/8/8/N3K2N w - - 0 1");
    EXPECT_EQ(rewritten("b3k2b/8/8/8/8/8/4K3/8 w kq - 0 1"), "b3k2b/8/8/8/8/8/4K3/8 w - - 0 1");
}

TEST(SetFen, DropsARightWhoseKingIsTheOthers) {
    EXPECT_EQ(rewritten("4K3/8/8/8/8/8/8/R3k2R b KQ - 0 1"), "4K3/8/8/8/8/8/8/R3k2R b - - 0 1");
    EXPECT_EQ(rewritten("r3K2r/8/8/8/8/8/8/4k3 w kq - 0 1"), "r3K2r/8/8/8/8/8/8/4k3 w - - 0 1");
}

TEST(SetFen, KeepsTheKeyInStepWithRepairedRights) {
    EXPECT_EQ(differences(boardOf("r3k2r/8/8/8/8/8/8/R3K3 w KQkq - 0 1"),
                          boardOf("r3k2r/8/8/8/8/8/8/R3K3 w Qkq - 0 1")),
              "");
}

// --- what is repaired: the en-passant square ---

TEST(SetFen, KeepsAnEnPassantSquareBehindAPawnThatMayJustHaveMoved) {
    for (const char* fen :
         {"4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", "4k3/8/8/8/4Pp2/8/8/4K3 b - e3 0 1",
          "4k3/8/8/p7/8/8/8/4K3 w - a6 0 1", "4k3/8/8/8/7P/8/8/4K3 b - h3 0 1"})
        EXPECT_EQ(rewritten(fen), fen);
}

TEST(SetFen, KeepsAnEnPassantSquareThatNoPawnCanCaptureOn) {
    EXPECT_EQ(boardOf("4k3/8/8/3p4/8/8/8/4K3 w - d6 0 1").epSquare,
              static_cast<std::uint32_t>(squareAt("d6")));
}

struct Dropped {
    const char* why;
    const char* fen;
};

constexpr Dropped kDroppedEnPassant[] = {
    {"third rank with White to move", "4k3/8/8/8/4P3/8/8/4K3 w - e3 0 1"},
    {"sixth rank with Black to move", "4k3/8/8/4p3/8/8/8/4K3 b - e6 0 1"},
    {"fifth rank", "4k3/8/8/3pP3/8/8/8/4K3 w - d5 0 1"},
    {"first rank", "4k3/8/8/3pP3/8/8/8/4K3 w - d1 0 1"},
    {"eighth rank", "4k3/8/8/3pP3/8/8/8/4K3 w - d8 0 1"},
    {"square occupied", "4k3/8/3n4/3pP3/8/8/8/4K3 w - d6 0 1"},
    {"square occupied, Black", "4k3/8/8/8/3pP3/4N3/8/4K3 b - e3 0 1"},
    {"start square of the pawn occupied", "4k3/3n4/8/3pP3/8/8/8/4K3 w - d6 0 1"},
    {"start square of the pawn occupied, Black", "4k3/8/8/8/3pP3/8/4N3/4K3 b - e3 0 1"},
    {"no pawn in front", "4k3/8/8/4P3/8/8/8/4K3 w - d6 0 1"},
    {"own pawn in front", "4k3/8/8/3PP3/8/8/8/4K3 w - d6 0 1"},
    {"own pawn in front, Black", "4k3/8/8/8/3pp3/8/8/4K3 b - e3 0 1"},
    {"piece in front that is no pawn", "4k3/8/8/3nP3/8/8/8/4K3 w - d6 0 1"},
    {"pawn on the next file", "4k3/8/8/2p1P3/8/8/8/4K3 w - d6 0 1"},
};

TEST(SetFen, DropsAnEnPassantSquareThatContradictsThePlacement) {
    for (const Dropped& dropped : kDroppedEnPassant) {
        const Board board = boardOf(dropped.fen);
        EXPECT_EQ(board.epSquare, 64u) << dropped.why;
        EXPECT_EQ(inconsistencies(board), "") << dropped.why;
    }
}

// --- writing ---

TEST(Fen, WritesAllSixFields) {
    EXPECT_EQ(boardOf(kStartFen).fen(), kStartFen);
    EXPECT_EQ(boardInUse().fen(), "r3k2r/pp1ppppp/8/2p5/8/8/PPPPPPPP/R4RK1 w kq c6 0 8");
}

TEST(Fen, OfEverySharedPositionIsThePositionAsGiven) {
    for (const std::string& fen : Positions::readShared())
        EXPECT_EQ(rewritten(fen), fen);
}

TEST(Fen, ReadAgainGivesTheSameBoard) {
    for (const std::string& fen : Positions::readAll()) {
        const Board board = boardOf(fen);
        EXPECT_EQ(differences(boardOf(board.fen()), board), "") << fen;
        EXPECT_EQ(inconsistencies(board), "") << fen;
    }
}

} // namespace
