#include "support/eval_checks.h"

#include "naive_endgame.h"
#include "naive_eval.h"
#include "sampling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using Notation::boardOf;

namespace {

/// One half of what `evalStateCheck` reports.
struct State {
    int mg = -1;
    int eg = -1;
    int whiteMaterial = -1;
    int blackMaterial = -1;
    int phase = -1;

    bool operator==(const State&) const = default;
};

struct StateCheck {
    State stored;
    State fresh;
};

StateCheck checkState(const Board& board) {
    StateCheck check;
    State& s = check.stored;
    State& f = check.fresh;
    evalStateCheck(board, s.mg, s.eg, s.whiteMaterial, s.blackMaterial, s.phase, f.mg, f.eg,
                   f.whiteMaterial, f.blackMaterial, f.phase);
    return check;
}

State countedState(const std::string& fen) {
    const Naive::Position position = Naive::parse(fen);
    const Naive::Pair material = Naive::material(position);
    return {material.mg, material.eg, Naive::nonPawnMaterial(position, Naive::kWhite),
            Naive::nonPawnMaterial(position, Naive::kBlack), Naive::phaseOf(position)};
}

struct PawnCheck {
    int cachedMg = -1;
    int cachedEg = -1;
    int freshMg = -2;
    int freshEg = -2;
};

PawnCheck checkPawns(const Board& board) {
    PawnCheck check;
    evalPawnsCheck(board, check.cachedMg, check.cachedEg, check.freshMg, check.freshEg);
    return check;
}

/// Promotions can raise the phase above that of a full board; the stored one is clamped.
State clamped(State state) {
    state.phase = std::min(state.phase, 24);
    return state;
}

void expectKeptIsFresh(const Board& board) {
    const StateCheck state = checkState(board);
    ASSERT_TRUE(state.stored == clamped(state.fresh)) << board.fen();
    const PawnCheck pawns = checkPawns(board);
    ASSERT_EQ(pawns.cachedMg, pawns.freshMg) << board.fen();
    ASSERT_EQ(pawns.cachedEg, pawns.freshEg) << board.fen();
}

} // namespace

TEST(StateCheck, AgreesWithItselfAndWithACountOfThePiecesAtEveryNodeOfRandomGames) {
    Sampling::visitGames(3, scaled(20000), [](const Board& board) {
        if (testing::Test::HasFatalFailure())
            return;
        ASSERT_NO_FATAL_FAILURE(expectKeptIsFresh(board));
        ASSERT_TRUE(clamped(checkState(board).fresh) == countedState(board.fen())) << board.fen();
    });
}

TEST(StateCheck, AgreesAfterEveryMoveMadeAndTakenBack) {
    for (const std::string& fen : Positions::readShared()) {
        Board board = boardOf(fen);
        const State before = checkState(board).stored;
        RandomGame::walkTree(board, 1, [](const Board& reached) {
            if (!testing::Test::HasFatalFailure())
                expectKeptIsFresh(reached);
        });
        ASSERT_FALSE(HasFatalFailure());
        ASSERT_TRUE(checkState(board).stored == before) << fen;
    }
}

TEST(StateCheck, ReportsTheStoredNumbersInTheirOrder) {
    Board board = boardOf("4k3/8/8/8/8/8/8/R3K3 w - - 0 1");
    board.psq = packPair(11, 12);
    board.nonPawnMaterial[White] = 13;
    board.nonPawnMaterial[Black] = 14;
    board.phase = 15;
    const StateCheck check = checkState(board);
    EXPECT_TRUE((check.stored == State{11, 12, 13, 14, 15}));
    const int place = EvalParams::kPSTMG[3][56]; // a1
    EXPECT_TRUE((check.fresh == State{493 + place, 635 + place, 493, 0, 2}));
}

TEST(StateCheck, ClampsTheStoredPhaseOnly) {
    const Board board = boardOf("4k3/qqqqqqqq/8/8/8/8/8/R3K3 w - - 0 1");
    const StateCheck check = checkState(board);
    EXPECT_EQ(check.stored.phase, 24);
    EXPECT_EQ(check.fresh.phase, 34);
}

TEST(StateCheck, TellsStoredNumbersThatAreWrong) {
    const Board good = boardOf(std::string(kStartFen));
    EXPECT_TRUE(checkState(good).stored == checkState(good).fresh);
    constexpr int kFullArmy = 2 * 380 + 2 * 374 + 2 * 493 + 1283;
    EXPECT_TRUE((checkState(good).fresh == State{0, 0, kFullArmy, kFullArmy, 24}));
    Board wrong = good;
    wrong.psq += packPair(0, 1);
    EXPECT_FALSE(checkState(wrong).stored == checkState(wrong).fresh);
}

TEST(PawnsCheck, ReportsTheCachedPairBesideAFreshOne) {
    // Two structures under one key: the cache holds the first, the fresh pair is of the second.
    Board one = boardOf("7k/8/8/8/8/8/4P3/7K w - - 0 1");
    Board two = boardOf("7k/8/8/8/3PP3/8/8/7K w - - 0 1");
    one.pawnKey = two.pawnKey = 0x5555'6666'7777'8888ULL;
    checkPawns(one);
    const PawnCheck check = checkPawns(two);
    EXPECT_EQ(check.cachedMg, -6);
    EXPECT_EQ(check.cachedEg, 3);
    EXPECT_EQ(check.freshMg, -10);
    EXPECT_EQ(check.freshEg, 114);
}
