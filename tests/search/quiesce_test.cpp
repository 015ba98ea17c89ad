#include "helpers.h"

#include "eval/evaluate.h"

using Search::kInfinite;

namespace {

class Quiescence : public SearchTest {
  protected:
    TTData stored(const Board& board) {
        TTData data{};
        EXPECT_TRUE(gTT.probe(board.key, data));
        return data;
    }

    /// Nodes of a search whose lower bound lies that far above the static evaluation.
    std::uint64_t nodesAbove(Board& board, int margin) {
        reset();
        const int alpha = evaluate(board) + margin;
        quiesce(board, alpha, alpha + 1);
        return nodes();
    }
};

TEST_F(Quiescence, OfAQuietPositionIsTheStaticEvaluation) {
    Board board = boardOf(kStartFen);
    EXPECT_EQ(quiesce(board, -kInfinite, kInfinite), evaluate(board));
    EXPECT_EQ(nodes(), 1U);
    EXPECT_EQ(qnodes(), 1U);
    const TTData data = stored(board);
    EXPECT_EQ(data.flag, TTUpper);
    EXPECT_EQ(data.depth, -1);
    EXPECT_EQ(data.move, 0U);
    EXPECT_EQ(data.score, evaluate(board));
}

TEST_F(Quiescence, InCheckWithoutCapturesStandsPatAndSeesNoMate) {
    Board mated = boardOf(kMatedFen);
    const int eval = evaluate(mated);
    EXPECT_EQ(quiesce(mated, -kInfinite, kInfinite), eval);
    reset();
    EXPECT_EQ(quiesce(mated, eval + 40, eval + 60), eval + 40);
    EXPECT_EQ(nodes(), 1U);
    Board stalemated = boardOf(kStalematedFen);
    EXPECT_EQ(quiesce(stalemated, -kInfinite, kInfinite), evaluate(stalemated));
}

TEST_F(Quiescence, StandsPatAtBetaAndStoresTheEvaluation) {
    Board board = boardOf(kTacticalFen);
    const int eval = evaluate(board);
    for (const int beta : {eval, eval - 150}) {
        reset();
        EXPECT_EQ(quiesce(board, beta - 1, beta), beta) << "never more than beta";
        EXPECT_EQ(nodes(), 1U);
        const TTData data = stored(board);
        EXPECT_EQ(data.flag, TTLower);
        EXPECT_EQ(data.score, eval);
        EXPECT_EQ(data.depth, -1);
        EXPECT_EQ(data.move, 0U);
    }
    reset();
    quiesce(board, eval, eval + 1);
    EXPECT_GT(nodes(), 1U) << "below beta captures are searched";
}

TEST_F(Quiescence, StandsPatInCheckToo) {
    Board board = boardOf("4k3/8/8/8/8/8/3q4/QQ2K2R w - - 0 1");
    const int eval = evaluate(board);
    EXPECT_EQ(quiesce(board, eval - 1, eval), eval);
    EXPECT_EQ(nodes(), 1U);
}

TEST_F(Quiescence, UsesTheCorrectedEvaluation) {
    Board board = boardOf(kStartFen);
    std::int16_t& cell = thread->pawnCorrection[White][board.pawnKey & 16383];
    for (const auto& [value, centipawns] :
         {std::pair{640, 20}, {-640, -20}, {31, 0}, {32, 1}, {-31, 0}, {-32, -1}, {-63, -1}}) {
        reset();
        cell = static_cast<std::int16_t>(value);
        EXPECT_EQ(quiesce(board, -kInfinite, kInfinite), evaluate(board) + centipawns) << value;
    }
}

TEST_F(Quiescence, LearnsNothing) {
    Board board = boardOf(kTacticalFen);
    quiesce(board, -kInfinite, kInfinite);
    for (const auto& side : thread->pawnCorrection)
        EXPECT_TRUE(std::all_of(side, side + kCorrectionSize, [](int x) { return x == 0; }));
    for (const auto& from : thread->quietHistory[White])
        EXPECT_TRUE(std::all_of(from, from + 64, [](int x) { return x == 0; }));
}

TEST_F(Quiescence, SearchesNoLosingCaptureOutsideOfCheck) {
    Board losing = boardOf("3rk3/8/8/3p4/8/8/3R4/4K3 w - - 0 1");
    EXPECT_EQ(nodesAbove(losing, 0), 1U);
    Board winning = boardOf("4k3/8/8/3p4/8/8/3R4/4K3 w - - 0 1");
    EXPECT_EQ(nodesAbove(winning, 0), 2U);
    Board even = boardOf("3rk3/8/8/3r4/8/8/3R4/4K3 w - - 0 1");
    EXPECT_GT(nodesAbove(even, 0), 1U);
}

TEST_F(Quiescence, SearchesALosingCaptureInCheck) {
    Board free = boardOf("4k3/8/8/8/6p1/5n2/8/K2Q4 w - - 0 1");
    EXPECT_EQ(nodesAbove(free, 0), 1U);
    Board checked = boardOf("4k3/8/8/8/6p1/5n2/8/3QK3 w - - 0 1");
    EXPECT_GT(nodesAbove(checked, 0), 1U);
    EXPECT_GT(nodesAbove(checked, 3000), 1U) << "however little it can bring";
}

TEST_F(Quiescence, PrunesWhatCannotRaiseTheScoreWithin200Centipawns) {
    struct Case {
        std::string_view fen;
        int value;
    };
    for (const auto& [fen, value] : {Case{"4k3/8/8/p7/8/8/8/R3K3 w - - 0 1", 100},
                                     Case{"4k3/8/8/n7/8/8/8/R3K3 w - - 0 1", 320},
                                     Case{"4k3/8/8/b7/8/8/8/R4K2 w - - 0 1", 330},
                                     Case{"4k3/8/8/r7/8/8/8/R5K1 w - - 0 1", 500},
                                     Case{"4k3/8/8/q7/8/8/8/R5K1 w - - 0 1", 900},
                                     Case{"4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", 100}}) {
        Board board = boardOf(fen);
        EXPECT_EQ(nodesAbove(board, 200 + value), 2U) << fen;
        EXPECT_EQ(nodesAbove(board, 200 + value + 1), 1U) << fen;
    }
}

TEST_F(Quiescence, SearchesPromotionsHoweverLittleTheyCanBring) {
    Board quiet = boardOf("8/P6k/8/8/8/8/8/4K3 w - - 0 1");
    EXPECT_EQ(nodesAbove(quiet, 5000), 5U);
    Board capturing = boardOf("1n6/P6k/8/8/8/8/8/4K3 w - - 0 1");
    EXPECT_EQ(nodesAbove(capturing, 5000), 9U);
    Board hanging = boardOf("1r6/P6k/8/8/8/8/8/4K3 w - - 0 1"); // loses the new piece at once
    EXPECT_GT(nodesAbove(hanging, 5000), 8U);
}

TEST_F(Quiescence, SkipsIllegalCaptures) {
    Board pinned = boardOf("4r2k/8/8/3p4/8/4N3/8/4K3 w - - 0 1");
    EXPECT_EQ(nodesAbove(pinned, 0), 1U);
}

TEST_F(Quiescence, ACaptureThatReachesBetaReturnsItAndIsStored) {
    Board board = boardOf("4k3/8/8/q7/8/8/8/R5K1 w - - 0 1");
    const int beta = evaluate(board) + 300;
    EXPECT_EQ(quiesce(board, beta - 1, beta), beta);
    const TTData data = stored(board);
    EXPECT_EQ(data.flag, TTLower);
    EXPECT_EQ(data.depth, -1);
    EXPECT_EQ(data.move, moveOf(board, "a1a5"));
    EXPECT_GE(data.score, beta);
}

TEST_F(Quiescence, AChildKnownToBeWorseIsStoredWithItsScoreThoughBetaIsReturned) {
    Board board = boardOf("4k3/8/8/q7/8/8/8/R5K1 w - - 0 1");
    const int beta = evaluate(board) + 300;
    storeAfter(board, moveOf(board, "a1a5"), -(beta + 77), -1);
    EXPECT_EQ(quiesce(board, beta - 1, beta), beta);
    EXPECT_EQ(stored(board).score, beta + 77);
}

TEST_F(Quiescence, ARaisedScoreIsStoredAsAnUpperBoundWithItsMove) {
    Board board = boardOf("4k3/8/8/q7/8/8/8/R5K1 w - - 0 1");
    const int score = quiesce(board, -kInfinite, kInfinite);
    EXPECT_GT(score, evaluate(board) + 300);
    const TTData data = stored(board);
    EXPECT_EQ(data.flag, TTUpper);
    EXPECT_EQ(data.score, score);
    EXPECT_EQ(data.move, moveOf(board, "a1a5"));
}

TEST_F(Quiescence, MatesInTheTableAreWrittenAndReadFromThisPly) {
    Board board = boardOf(kStartFen);
    gTT.store(board.key, 0, 29990, -1, TTExact, 3);
    EXPECT_EQ(quiesce(board, 100, 101, 10), 29983);
}

TEST_F(Quiescence, ANullWindowIsAnsweredByAnyEntry) {
    struct Case {
        TTFlag flag;
        int score;
        bool answers;
    };
    Board board = boardOf(kStartFen);
    const int alpha = evaluate(board) + 50;
    for (const int depth : {-1, 0, 9})
        for (const auto& [flag, score, answers] :
             {Case{TTExact, alpha - 99, true}, Case{TTExact, alpha + 99, true},
              Case{TTLower, alpha + 1, true}, Case{TTLower, alpha, false},
              Case{TTUpper, alpha, true}, Case{TTUpper, alpha + 1, false},
              Case{TTUpper, alpha - 5, true}}) {
            reset();
            gTT.store(board.key, 0, score, depth, flag, 0);
            EXPECT_EQ(quiesce(board, alpha, alpha + 1), answers ? score : alpha)
                << depth << ' ' << flag << ' ' << score - alpha;
        }
}

TEST_F(Quiescence, AWiderWindowIsNeverAnsweredByTheTable) {
    Board board = boardOf(kStartFen);
    const int eval = evaluate(board);
    for (const TTFlag flag : {TTExact, TTLower, TTUpper})
        for (const int score : {-12345, 12345}) {
            reset();
            gTT.store(board.key, 0, score, 30, flag, 0);
            EXPECT_EQ(quiesce(board, eval - 1, eval + 1), eval);
        }
}

TEST_F(Quiescence, EntriesOfDeeperSearchesAreNotDisplaced) {
    Board board = boardOf(kStartFen);
    gTT.store(board.key, 0, 5, 0, TTUpper, 0);
    quiesce(board, -kInfinite, kInfinite);
    EXPECT_EQ(stored(board).depth, 0);
    EXPECT_EQ(stored(board).score, 5);
}

TEST_F(Quiescence, TheTableMoveIsSearchedFirst) {
    // Both captures reach beta; the one on a5 takes more and comes first without the table.
    Board board = boardOf("4k3/8/8/b7/8/7n/8/R1K4R w - - 0 1");
    const int beta = evaluate(board) + 200;
    quiesce(board, beta - 1, beta);
    EXPECT_EQ(stored(board).move, moveOf(board, "a1a5"));
    reset();
    const Move knight = moveOf(board, "h1h3");
    gTT.store(board.key, knight, 0, -1, TTUpper, 0);
    quiesce(board, beta - 2, beta); // a window that the entry does not answer
    EXPECT_EQ(stored(board).move, knight);
}

TEST_F(Quiescence, CountsTheGreatestPlyReached) {
    Board board = boardOf("4k3/8/8/q7/8/8/8/R5K1 w - - 0 1");
    quiesce(board, -kInfinite, kInfinite, 7);
    EXPECT_EQ(thread->seldepth, 8);
    quiesce(board, -kInfinite, kInfinite, 3);
    EXPECT_EQ(thread->seldepth, 8);
}

TEST_F(Quiescence, EndsAtPly128WithTheEvaluationAlone) {
    Board board = boardOf(kTacticalFen);
    thread->pawnCorrection[White][board.pawnKey & 16383] = 6400;
    EXPECT_EQ(quiesce(board, -kInfinite, kInfinite, 128), evaluate(board));
    EXPECT_EQ(nodes(), 0U);
    EXPECT_EQ(quiesce(board, -kInfinite, evaluate(board), 127), evaluate(board));
    EXPECT_EQ(nodes(), 1U);
}

TEST_F(Quiescence, LeavesTheBoardAsItWas) {
    for (std::size_t i = 0; i < searchablePositions().size(); i += 5) {
        Board board = boardOf(searchablePositions()[i]);
        const std::uint64_t key = board.key;
        quiesce(board, -kInfinite, kInfinite);
        EXPECT_EQ(board.key, key);
        EXPECT_EQ(board.historyCount, 0);
    }
}

} // namespace
