#include "board/kinglines.h"
#include "board/movegen.h"

#include "support/notation.h"

#include <gtest/gtest.h>

/// What the comments of the board ask of its callers is checked in builds with assertions, and only
/// there: these tests exist in no other.
#ifndef NDEBUG

namespace {

using namespace Notation;

class BoardAssertions : public testing::Test {
  protected:
    BoardAssertions() { GTEST_FLAG_SET(death_test_style, "fast"); }

    Board board = boardOf(kStartFen);
};

TEST_F(BoardAssertions, RefuseAPieceOnAnOccupiedSquareOrOffTheBoard) {
    EXPECT_DEATH(board.putPiece(White, Knight, E1), "Assertion");
    EXPECT_DEATH(board.putPiece(White, Knight, kNoSquare), "Assertion");
    EXPECT_DEATH(board.putPiece(White, kNoPiece, squareAt("e4")), "Assertion");
}

TEST_F(BoardAssertions, RefuseToRemoveOrMoveAPieceThatIsNotThere) {
    EXPECT_DEATH(board.removePiece(White, Queen, E1), "Assertion");
    EXPECT_DEATH(board.removePiece(Black, King, E1), "Assertion");
    EXPECT_DEATH(board.movePiece(White, Pawn, squareAt("e3"), squareAt("e4")), "Assertion");
    EXPECT_DEATH(board.movePiece(White, Rook, A1, squareAt("a2")), "Assertion");
}

TEST_F(BoardAssertions, RefuseAMoveFromAnEmptySquare) {
    EXPECT_DEATH(board.makeMove(moveOf("e4e5")), "Assertion");
}

TEST_F(BoardAssertions, RefuseAMoveForWhichTheHistoryHasNoRoom) {
    board.historyCount = kMaxHistory;
    EXPECT_DEATH(board.makeMove(moveOf("g1f3")), "Assertion");
    EXPECT_DEATH(board.makeNullMove(), "Assertion");
}

TEST_F(BoardAssertions, RefuseToTakeBackWhatWasNotPlayed) {
    EXPECT_DEATH(board.unmakeMove(moveOf("g1f3")), "Assertion");
    EXPECT_DEATH(board.unmakeNullMove(), "Assertion");
    board.makeMove(moveOf("g1f3"));
    EXPECT_DEATH(board.unmakeMove(moveOf("b1c3")), "Assertion");
}

TEST_F(BoardAssertions, RefuseToLookForTheKingOfASideThatHasNone) {
    Board empty;
    empty.reset();
    EXPECT_DEATH(empty.kingSquare(White), "Assertion");
}

TEST_F(BoardAssertions, RefuseSquaresAndFlagsThatAMoveCannotHold) {
    EXPECT_DEATH(encodeMove(A1, kNoSquare), "Assertion");
    EXPECT_DEATH(encodeMove(-1, A1), "Assertion");
    EXPECT_DEATH(encodeMove(A1, A8, 16), "Assertion");
    EXPECT_DEATH(bit(kNoSquare), "Assertion");
    EXPECT_DEATH(Attacks::rookAttacks(kNoSquare, 0), "Assertion");
}

TEST_F(BoardAssertions, RefuseMoreMovesThanAListHolds) {
    MoveList list;
    list.count = MoveList::kCapacity;
    EXPECT_DEATH(list.add(moveOf("e2e4")), "Assertion");
}

TEST_F(BoardAssertions, RefuseQuestionsAboutAMoveOfAnotherPosition) {
    const LegalityInfo legality(board, false);
    const CheckInfo checks(board);
    EXPECT_DEATH(legality.isLegal(moveOf("e7e5")), "Assertion");
    EXPECT_DEATH(checks.givesCheck(moveOf("e7e5")), "Assertion");
    EXPECT_DEATH(LegalityInfo(board, true).isLegal(moveOf("e2e4")), "Assertion");
}

} // namespace

#endif
