#include "helpers.h"

#include "eval/evaluate.h"

#include <cmath>

using Search::kInfinite;
using Search::kLMR;
using Search::SearchStack;

namespace {

class AlphaBeta : public SearchTest {};

SearchStack atPly(int ply) {
    return {ply, 0, 0};
}

// --- ends of lines ---

TEST_F(AlphaBeta, AStalematedSideScoresZeroAndAMatedOneByItsPly) {
    Board stalemated = boardOf(kStalematedFen);
    Board mated = boardOf(kMatedFen);
    for (const int ply : {0, 1, 5, 100})
        for (const int depth : {1, 2, 5}) {
            EXPECT_EQ(fullWindow(stalemated, depth, atPly(ply)), 0);
            EXPECT_EQ(fullWindow(mated, depth, atPly(ply)), ply - 30000);
        }
    TTData data;
    EXPECT_FALSE(gTT.probe(mated.key, data)) << "neither is stored";
    EXPECT_FALSE(gTT.probe(stalemated.key, data));
}

TEST_F(AlphaBeta, WithItsOnlyMoveExcludedASideScoresAsWithoutMoves) {
    Board quiet = boardOf("k7/8/1K6/8/8/8/8/1R6 b - - 0 1");
    EXPECT_EQ(fullWindow(quiet, 1, {3, moveOf(quiet, "a8b8"), 0}), 0);
    Board checked = boardOf("k7/8/1K6/8/8/8/8/R7 b - - 0 1");
    EXPECT_EQ(fullWindow(checked, 1, {3, moveOf(checked, "a8b8"), 0}), 3 - 30000);
}

TEST_F(AlphaBeta, ANodeWithAnExcludedMoveStoresNothing) {
    Board board = boardOf(kStartFen);
    fullWindow(board, 1, {1, moveOf(board, "e2e4"), 0});
    TTData data;
    EXPECT_FALSE(gTT.probe(board.key, data));
    fullWindow(board, 1, atPly(1));
    EXPECT_TRUE(gTT.probe(board.key, data));
}

TEST_F(AlphaBeta, TheFiftyMoveRuleGoesBeforeMateButNotAtTheRoot) {
    Board board = boardOf("rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 100 60");
    EXPECT_EQ(fullWindow(board, 1, atPly(1)), 0);
    EXPECT_EQ(fullWindow(board, 1, atPly(0)), -30000);
    board.halfmoveClock = 99;
    EXPECT_EQ(fullWindow(board, 1, atPly(1)), -29999);
}

TEST_F(AlphaBeta, OneEarlierOccurrenceIsADrawButNotAtTheRoot) {
    Board board = boardOf("4k3/8/8/8/8/8/3Q4/4K1N1 w - - 0 1");
    play(board, {"g1f3", "e8f8", "f3g1", "f8e8"});
    EXPECT_EQ(fullWindow(board, 1, atPly(4)), 0);
    EXPECT_EQ(nodes(), 1U);
    EXPECT_GT(fullWindow(board, 1, atPly(0)), 300);
}

TEST_F(AlphaBeta, OccurrencesBeforeTheLastCaptureOrPawnMoveDoNotCount) {
    Board board = boardOf("4k3/8/8/8/8/8/3Q4/4K1N1 w - - 0 1");
    play(board, {"g1f3", "e8f8", "f3g1", "f8e8"});
    board.halfmoveClock = 3;
    EXPECT_GT(fullWindow(board, 1, atPly(4)), 300);
    board.halfmoveClock = 4;
    EXPECT_EQ(fullWindow(board, 1, atPly(4)), 0);
    board.halfmoveClock = 90; // further back than the history reaches
    EXPECT_EQ(fullWindow(board, 1, atPly(4)), 0);
}

TEST_F(AlphaBeta, AnOccurrenceFurtherBackCountsToo) {
    Board board = boardOf("4k3/8/8/8/8/8/3Q4/4K1N1 w - - 0 1");
    play(board, {"g1f3", "e8f8", "f3h4", "f8g8", "h4f3", "g8f8", "f3g1", "f8e8"});
    EXPECT_EQ(fullWindow(board, 1, atPly(8)), 0);
}

TEST_F(AlphaBeta, TwoNullMovesRepeatThePosition) {
    Board board = boardOf("4k3/8/8/8/8/8/3Q4/4K1N1 w - - 0 1");
    board.makeNullMove();
    board.makeNullMove();
    EXPECT_EQ(fullWindow(board, 1, atPly(2)), 0);
    EXPECT_EQ(nodes(), 1U);
}

TEST_F(AlphaBeta, AtPly128TheStaticEvaluationIsReturnedWithoutACount) {
    Board board = boardOf(kTacticalFen);
    EXPECT_EQ(fullWindow(board, 5, atPly(128)), evaluate(board));
    EXPECT_EQ(alphaBeta(board, 2000, 2001, 0, atPly(128)), evaluate(board));
    EXPECT_EQ(nodes(), 0U);
    fullWindow(board, 1, atPly(127));
    EXPECT_GT(nodes(), 0U);
}

TEST_F(AlphaBeta, AWindowBeyondTheNearestMateReturnsItsLowerBoundWithoutACount) {
    Board board = boardOf(kStartFen);
    EXPECT_EQ(alphaBeta(board, 29990, 29991, 4, atPly(20)), 29990);
    EXPECT_EQ(alphaBeta(board, 29980, 32000, 4, atPly(20)), 29980);
    EXPECT_EQ(alphaBeta(board, -32000, -29980, 4, atPly(20)), -29980);
    EXPECT_EQ(alphaBeta(board, -32000, -29990, 4, atPly(20)), -29980);
    EXPECT_EQ(nodes(), 0U);
    alphaBeta(board, 29979, 29980, 1, atPly(20));
    EXPECT_GT(nodes(), 0U);
}

TEST_F(AlphaBeta, WithoutDepthItIsQuiescence) {
    for (const std::string_view fen : {kTacticalFen, kMiddleGameFen, kMatedFen})
        for (const int depth : {0, -1, -3}) {
            Board board = boardOf(fen);
            reset();
            const int expected = quiesce(board, -200, 200, 4);
            const std::uint64_t expectedNodes = nodes();
            reset();
            EXPECT_EQ(alphaBeta(board, -200, 200, depth, atPly(4)), expected);
            EXPECT_EQ(nodes(), expectedNodes);
            EXPECT_EQ(qnodes(), expectedNodes);
            EXPECT_GE(thread->seldepth, 4);
        }
}

TEST_F(AlphaBeta, TheBoardIsTheSameAfterASearch) {
    for (const std::string_view fen : {kTacticalFen, kMiddleGameFen, kRookEndgameFen}) {
        Board board = boardOf(fen);
        const std::uint64_t key = board.key;
        fullWindow(board, 4);
        EXPECT_EQ(board.fen(), fen);
        EXPECT_EQ(board.key, key);
        EXPECT_EQ(board.historyCount, 0);
    }
}

TEST_F(AlphaBeta, OnlyTheRootSetsTheBestRootMove) {
    Board board = boardOf(kStartFen);
    fullWindow(board, 2, atPly(1));
    EXPECT_EQ(thread->rootBestMove, 0U);
    const int score = fullWindow(board, 2, atPly(0));
    EXPECT_NE(thread->rootBestMove, 0U);
    EXPECT_EQ(thread->rootBestScore, score);
}

TEST_F(AlphaBeta, FindsMatesAndGivesTheirDistance) {
    Board inOne = boardOf("6k1/5ppp/8/8/8/8/8/R3K3 w - - 0 1");
    EXPECT_EQ(fullWindow(inOne, 2), 29999);
    EXPECT_EQ(thread->rootBestMove, moveOf(inOne, "a1a8"));
    EXPECT_EQ(fullWindow(inOne, 2, atPly(6)), 29993);
}

// --- the table ---

/// Stores what the table then knows about a position `ply` plies from the root.
void storeAt(const Board& board, int score, int depth, TTFlag flag, int ply = 0) {
    gTT.store(board.key, 0, score, depth, flag, ply);
}

TEST_F(AlphaBeta, ADeepEnoughEntryAnswersANullWindow) {
    Board board = boardOf(kStartFen);
    for (const int entryDepth : {3, 4, 60}) {
        reset();
        storeAt(board, 12345, entryDepth, TTExact);
        EXPECT_EQ(nullWindow(board, 300, 3, atPly(1)), 12345);
        EXPECT_EQ(nodes(), 1U);
    }
    reset();
    storeAt(board, 12345, 2, TTExact);
    EXPECT_NE(nullWindow(board, 300, 3, atPly(1)), 12345);
    EXPECT_GT(nodes(), 1U);
}

TEST_F(AlphaBeta, ABoundAnswersOnlyOutsideOfTheWindow) {
    struct Case {
        TTFlag flag;
        int score;
        bool answers;
    };
    Board board = boardOf(kStartFen);
    for (const auto& [flag, score, answers] :
         {Case{TTLower, 300, true}, Case{TTLower, 301, true}, Case{TTLower, 299, false},
          Case{TTUpper, 299, true}, Case{TTUpper, 298, true}, Case{TTUpper, 300, false},
          Case{TTExact, 299, true}, Case{TTExact, 300, true}}) {
        reset();
        storeAt(board, score, 9, flag);
        const int result = nullWindow(board, 300, 2, atPly(1));
        EXPECT_EQ(nodes() == 1, answers) << flag << ' ' << score;
        EXPECT_TRUE(!answers || result == score) << flag << ' ' << score;
    }
}

TEST_F(AlphaBeta, TheTableAnswersNoWiderWindowAndNoNodeWithAnExcludedMove) {
    Board board = boardOf(kStartFen);
    storeAt(board, 12345, 60, TTExact);
    EXPECT_NE(alphaBeta(board, 300, 302, 2, atPly(1)), 12345);
    reset();
    storeAt(board, 12345, 60, TTExact);
    EXPECT_NE(nullWindow(board, 300, 2, {1, moveOf(board, "e2e4"), 0}), 12345);
}

TEST_F(AlphaBeta, MatesInTheTableAreReadFromThisPly) {
    Board board = boardOf(kStartFen);
    storeAt(board, 29990, 9, TTExact, 3); // mate 7 plies from here
    EXPECT_EQ(nullWindow(board, 300, 2, atPly(10)), 29983);
    EXPECT_EQ(nodes(), 1U);
}

TEST_F(AlphaBeta, ResultsAreStoredWithTheirKindOfBound) {
    Board board = boardOf(kStartFen);
    const int score = fullWindow(board, 1, atPly(1));
    TTData data{};
    ASSERT_TRUE(gTT.probe(board.key, data));
    EXPECT_EQ(data.flag, TTExact);
    EXPECT_EQ(data.score, score);
    EXPECT_EQ(data.depth, 1);
    EXPECT_NE(data.move, 0U);

    reset();
    const int low = alphaBeta(board, 500, 600, 1, atPly(1));
    ASSERT_TRUE(gTT.probe(board.key, data));
    EXPECT_EQ(data.flag, TTUpper);
    EXPECT_EQ(data.score, low);
    EXPECT_LE(low, 500);

    reset();
    const int high = alphaBeta(board, -600, -500, 1, atPly(1));
    ASSERT_TRUE(gTT.probe(board.key, data));
    EXPECT_EQ(data.flag, TTLower);
    EXPECT_EQ(data.score, high);
    EXPECT_GE(high, -500);
}

// --- reverse futility ---

TEST_F(AlphaBeta, ReverseFutilityNeeds80CentipawnsAPlyAndReturnsTheEvaluation) {
    Board board = boardOf(kMiddleGameFen);
    play(board, {"h2h3", "g4h5"});
    board.historyCount = 0; // keeps the null move out
    Board quiet = boardOf(board.fen());
    const int eval = evaluate(quiet);
    for (int depth = 1; depth <= 6; ++depth) {
        reset();
        EXPECT_EQ(nullWindow(quiet, eval - 80 * depth, depth, atPly(1)), eval) << depth;
        EXPECT_EQ(nodes(), 1U) << depth;
        reset();
        nullWindow(quiet, eval - 80 * depth + 1, depth, atPly(1));
        EXPECT_GT(nodes(), 1U) << depth;
    }
    reset();
    nullWindow(quiet, eval - 640, 7, atPly(1));
    EXPECT_GT(nodes(), 1U) << "never from depth 7 on";
}

TEST_F(AlphaBeta, ReverseFutilityUsesTheCorrectedEvaluation) {
    Board board = boardOf(kStartFen);
    thread->pawnCorrection[White][board.pawnKey & 16383] = 640;
    const int eval = evaluate(board) + 20;
    EXPECT_EQ(nullWindow(board, eval - 80, 1, atPly(1)), eval);
    EXPECT_EQ(nodes(), 1U);
}

TEST_F(AlphaBeta, ReverseFutilityIsOutOfPlaceInWideWindowsExclusionsChecksAndMates) {
    Board board = boardOf(kStartFen);
    const int eval = evaluate(board);
    alphaBeta(board, eval - 202, eval - 200, 1, atPly(1));
    EXPECT_GT(nodes(), 1U);
    reset();
    nullWindow(board, eval - 200, 1, {1, moveOf(board, "a2a3"), 0});
    EXPECT_GT(nodes(), 1U);
    reset();
    nullWindow(board, -29744, 1, atPly(1));
    EXPECT_GT(nodes(), 1U);
    reset();
    nullWindow(board, -29743, 1, atPly(1));
    EXPECT_EQ(nodes(), 1U);
    reset();
    Board checked = boardOf("4r1k1/8/8/8/8/8/3Q4/QQ2K3 w - - 0 1");
    nullWindow(checked, -500, 1, atPly(1));
    EXPECT_GT(nodes(), 1U);
}

struct Threat {
    std::string_view fen;
    bool counts;
};

class ReverseFutilityThreats : public SearchTest, public testing::WithParamInterface<Threat> {};

TEST_P(ReverseFutilityThreats, CostOneMorePlyOfMarginWhenACheaperPieceAttacks) {
    Board board = boardOf(GetParam().fen);
    const int eval = evaluate(board);
    nullWindow(board, eval - 80, 1, atPly(1));
    EXPECT_EQ(nodes() > 1, GetParam().counts);
    reset();
    nullWindow(board, eval - 159, 1, atPly(1));
    EXPECT_EQ(nodes() > 1, GetParam().counts);
    reset();
    EXPECT_EQ(nullWindow(board, eval - 160, 1, atPly(1)), eval);
    EXPECT_EQ(nodes(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Pieces, ReverseFutilityThreats,
    testing::Values(Threat{"4k3/8/8/3p4/4N3/8/8/4K3 w - - 0 1", true},   // pawn, knight
                    Threat{"4k3/8/8/3p4/4B3/8/8/4K3 w - - 0 1", true},   // pawn, bishop
                    Threat{"5k2/8/8/3p4/4R3/8/8/5K2 w - - 0 1", true},   // pawn, rook
                    Threat{"5k2/8/8/3p4/4Q3/8/8/5K2 w - - 0 1", true},   // pawn, queen
                    Threat{"4k3/8/8/3p4/4P3/8/8/4K3 w - - 0 1", false},  // pawn, pawn
                    Threat{"4k3/8/8/8/3pN3/8/8/4K3 w - - 0 1", false},   // a pawn beside
                    Threat{"4k3/8/8/8/4N3/3p4/8/6K1 w - - 0 1", false},  // a pawn that has passed
                    Threat{"7k/8/3n4/8/4R3/8/8/6K1 w - - 0 1", true},    // knight, rook
                    Threat{"7k/8/3n4/8/4Q3/8/8/6K1 w - - 0 1", true},    // knight, queen
                    Threat{"7k/8/3n4/8/4B3/8/8/6K1 w - - 0 1", false},   // knight, bishop
                    Threat{"7k/1b6/8/8/4R3/8/8/6K1 w - - 0 1", true},    // bishop, rook
                    Threat{"7k/1b6/2P5/8/4R3/8/8/6K1 w - - 0 1", false}, // a bishop shut off
                    Threat{"7k/1b6/8/8/4Q3/8/8/6K1 w - - 0 1", true},    // bishop, queen
                    Threat{"7k/1b6/8/8/4N3/8/8/6K1 w - - 0 1", false},   // bishop, knight
                    Threat{"7k/4r3/8/8/4Q3/8/8/6K1 w - - 0 1", true},    // rook, queen
                    Threat{"7k/4r3/8/8/4R3/8/8/6K1 w - - 0 1", false},   // rook, rook
                    Threat{"7k/4q3/8/8/4Q3/8/8/6K1 w - - 0 1", false},   // queen, queen
                    Threat{"7k/4q3/8/8/4N3/8/8/6K1 w - - 0 1", false},   // queen, knight
                    Threat{"6k1/8/8/4q3/3P4/8/8/6K1 b - - 0 1", true},   // Black's queen, by a pawn
                    Threat{"6k1/8/8/4r3/8/3N4/8/6K1 b - - 0 1", true})); // Black's rook

// --- null move ---

class NullMove : public SearchTest {
  protected:
    /// What passing is worth to the side that passes, looked up instead of searched.
    void storePassing(Board& board, int score, int depth) {
        board.makeNullMove();
        gTT.store(board.key, 0, -score, depth, TTExact, 0);
        board.unmakeNullMove();
    }

    /// Whether passing, worth more than beta at that depth of the table, ends the node.
    bool passes(Board& board, int depth, int entryDepth, SearchStack stack = {2, 0, 0},
                int width = 1) {
        reset();
        const int beta =
            evaluate(board) + 100; // so passing fails high where standing pat would not
        storePassing(board, beta + 50, entryDepth);
        const int score = alphaBeta(board, beta - width, beta, depth, stack);
        const bool passed = nodes() == 2;
        EXPECT_TRUE(!passed || score == beta) << "beta is returned, not the score";
        return passed;
    }

    Board afterMoves(std::string_view fen, std::initializer_list<std::string_view> moves) {
        Board board = boardOf(fen);
        play(board, moves);
        return board;
    }

    Board middleGame = afterMoves(kMiddleGameFen, {"h2h3", "h7h6"});
};

TEST_F(NullMove, IsTriedFromDepth3OnThoughTheEvaluationIsBelowBeta) {
    EXPECT_TRUE(passes(middleGame, 3, 0));
    EXPECT_EQ(qnodes(), 1U) << "nothing is left of depth 3";
    EXPECT_FALSE(passes(middleGame, 2, 9));
    EXPECT_FALSE(passes(middleGame, 1, 9));
}

TEST_F(NullMove, SavesThreePliesAndFourFromDepth6On) {
    for (const auto& [depth, childDepth] : {std::pair{4, 1}, {5, 2}, {6, 2}, {7, 3}, {8, 4}}) {
        EXPECT_TRUE(passes(middleGame, depth, childDepth)) << depth;
        EXPECT_FALSE(passes(middleGame, depth, childDepth - 1)) << depth;
    }
}

TEST_F(NullMove, BelowBetaTheMovesAreSearched) {
    const int beta = evaluate(middleGame) + 100;
    storePassing(middleGame, beta - 1, 9);
    nullWindow(middleGame, beta, 3, {2, 0, 0});
    EXPECT_GT(nodes(), 2U);
}

TEST_F(NullMove, NeedsAMoveBefore) {
    Board board = boardOf(middleGame.fen());
    EXPECT_FALSE(passes(board, 4, 9));
}

TEST_F(NullMove, NeedsAPiece) {
    Board pawns = afterMoves(kPawnEndgameFen, {"a2a3", "a7a6"});
    EXPECT_FALSE(passes(pawns, 4, 9));
    Board theirs = afterMoves("4k2n/8/8/8/8/4P3/8/4K3 w - - 0 1", {"e1e2", "e8e7"});
    EXPECT_FALSE(passes(theirs, 4, 9)) << "the other side's pieces do not count";
    Board ours = afterMoves("4k3/8/8/8/8/4P3/8/4K2N w - - 0 1", {"e1e2", "e8e7"});
    EXPECT_TRUE(passes(ours, 4, 9));
}

TEST_F(NullMove, IsOutOfPlaceInWideWindowsAndExclusions) {
    EXPECT_FALSE(passes(middleGame, 4, 9, {2, 0, 0}, 2));
    EXPECT_FALSE(passes(middleGame, 4, 9, {2, moveOf(middleGame, "a3a4"), 0}));
}

TEST_F(NullMove, IsOutOfPlaceInCheck) {
    Board board = afterMoves("4k3/8/8/8/8/8/1r6/Q3K3 w - - 0 1", {"e1f1", "b2b1"});
    const int beta = -2000;
    board.makeNullMove();
    gTT.store(board.key, 0, 5000, 9, TTExact, 0);
    board.unmakeNullMove();
    nullWindow(board, beta, 4, {2, 0, 0});
    EXPECT_GT(nodes(), 2U);
}

TEST_F(NullMove, MayFollowANullMove) {
    // The second one repeats the position: worth 0 at once.
    Board board = middleGame;
    board.makeNullMove();
    EXPECT_EQ(nullWindow(board, 0, 4, {3, 0, 0}), 0);
    EXPECT_EQ(nodes(), 2U);
    EXPECT_EQ(qnodes(), 0U);
}

// --- depth ---

int storedDepth(const Board& board) {
    TTData data{};
    EXPECT_TRUE(gTT.probe(board.key, data));
    return data.depth;
}

TEST_F(AlphaBeta, WithoutATableMoveDepthsAbove3AreOnePlyLess) {
    Board board = boardOf(kPawnEndgameFen);
    for (const auto& [depth, stored] : {std::pair{3, 3}, {4, 3}, {5, 4}, {6, 5}}) {
        reset();
        fullWindow(board, depth, atPly(1));
        EXPECT_EQ(storedDepth(board), stored);
    }
}

TEST_F(AlphaBeta, WithATableMoveOrInCheckTheDepthStays) {
    Board board = boardOf(kPawnEndgameFen);
    gTT.store(board.key, moveOf(board, "f2e2"), 0, 1, TTUpper, 0);
    fullWindow(board, 4, atPly(1));
    EXPECT_EQ(storedDepth(board), 4);
    reset();
    gTT.store(board.key, 0, 0, 1, TTUpper, 0); // an entry without a move does not help
    fullWindow(board, 4, atPly(1));
    EXPECT_EQ(storedDepth(board), 3);
    reset();
    Board checked = boardOf("4r1k1/8/8/8/8/8/8/4K3 w - - 0 1");
    fullWindow(checked, 4, atPly(1));
    EXPECT_EQ(storedDepth(checked), 4);
}

// --- the reduction table ---

TEST(LateMoveReductions, FollowTheLogarithms) {
    EXPECT_EQ(kLMR[2][2], 0);
    EXPECT_EQ(kLMR[3][4], 1);
    EXPECT_EQ(kLMR[10][10], 3);
    EXPECT_EQ(kLMR[63][63], 8);
    for (int i = 0; i < 64; ++i) {
        EXPECT_EQ(kLMR[0][i], 0);
        EXPECT_EQ(kLMR[i][0], 0);
    }
    for (int d = 1; d < 64; ++d)
        for (int m = 1; m < 64; ++m) {
            const long double value = std::log(static_cast<long double>(d)) *
                                          std::log(static_cast<long double>(m)) / 2.25L +
                                      0.75L;
            EXPECT_EQ(kLMR[d][m], static_cast<int>(value)) << d << ' ' << m;
        }
}

} // namespace
