#include "eval/endgame.h"
#include "eval/evaluate.h"
#include "eval/pawns.h"
#include "params/weights.h"

#include "support/notation.h"

#include <gtest/gtest.h>

/// As for the board: these tests exist in builds with assertions alone.
#ifndef NDEBUG

namespace {

using namespace Notation;

class EvalAssertions : public testing::Test {
  protected:
    EvalAssertions() { GTEST_FLAG_SET(death_test_style, "fast"); }
};

TEST_F(EvalAssertions, RefuseAPhaseOrScaleOutOfItsRange) {
    EXPECT_DEATH(Eval::taper({10, 20}, 25, 64), "Assertion");
    EXPECT_DEATH(Eval::taper({10, 20}, 12, 65), "Assertion");
    EXPECT_DEATH(Eval::taper({10, 20}, -1, 64), "Assertion");
}

TEST_F(EvalAssertions, RefuseAPawnWhereNoneCanStand) {
    EXPECT_DEATH(Endgame::kpkWin(White, E1, squareAt("e8"), A8, White), "Assertion");
    EXPECT_DEATH(Endgame::krpkrScale(White, E1, A1, squareAt("e8"), A8, H8, White), "Assertion");
}

TEST_F(EvalAssertions, RefusePassersThatAreNoPawns) {
    const Board board = boardOf("7k/8/8/4P3/8/8/8/K7 w - - 0 1");
    const Bitboard attackedBy[kColors] = {};
    int mg = 0;
    int eg = 0;
    EXPECT_DEATH(passerTerms(board, squaresAt("d5"), attackedBy, mg, eg), "Assertion");
}

TEST_F(EvalAssertions, RefuseSquaresOffTheBoardInThePlacementTables) {
    EXPECT_DEATH(EvalParams::placementCell(White, kNoSquare), "Assertion");
}

} // namespace

#endif
