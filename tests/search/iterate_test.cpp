#include "helpers.h"

using Search::helperSkipsDepth;

namespace {

// --- helpers and their depths ---

TEST(HelperSchedule, FollowsSizesAndPhases) {
    constexpr int kSize[20] = {1, 1, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4};
    constexpr int kPhase[20] = {0, 1, 0, 1, 2, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0, 1, 2, 3};
    for (int id = 1; id <= 200; ++id)
        for (int depth = 1; depth <= 128; ++depth) {
            const int i = (id - 1) % 20;
            EXPECT_EQ(helperSkipsDepth(id, depth), (depth + kPhase[i]) / kSize[i] % 2 == 1)
                << "helper " << id << " depth " << depth;
        }
}

std::vector<int> depthsOf(int id, int maxDepth) {
    std::vector<int> depths;
    for (int depth = 1; depth <= maxDepth; ++depth)
        if (!helperSkipsDepth(id, depth))
            depths.push_back(depth);
    return depths;
}

TEST(HelperSchedule, SpreadsTheFirstHelpersOverDepths) {
    EXPECT_EQ(depthsOf(1, 8), (std::vector{2, 4, 6, 8}));
    EXPECT_EQ(depthsOf(2, 8), (std::vector{1, 3, 5, 7}));
    EXPECT_EQ(depthsOf(3, 12), (std::vector{1, 4, 5, 8, 9, 12}));
    EXPECT_EQ(depthsOf(17, 12), (std::vector{1, 2, 3, 8, 9, 10, 11}));
    EXPECT_EQ(depthsOf(21, 8), depthsOf(1, 8));
}

/// Iterative deepening of a helper on the calling thread.
class HelperIteration : public SearchTest {
  protected:
    void run(int id, int depth, std::string_view fen = kRookEndgameFen) {
        thread = std::make_unique<Thread>(id);
        thread->board.setFen(fen);
        thread->limits.depth = depth;
        testing::internal::CaptureStdout();
        Search::iterativeDeepening(*thread);
        output = testing::internal::GetCapturedStdout();
    }

    std::string output;
};

TEST_F(HelperIteration, SearchesItsDepthsAndPrintsNothing) {
    run(1, 5);
    EXPECT_EQ(thread->completedDepth, 4);
    EXPECT_EQ(thread->depth, 5);
    EXPECT_TRUE(thread->board.isLegal(thread->bestMove));
    EXPECT_EQ(output, "");
    run(2, 5);
    EXPECT_EQ(thread->completedDepth, 5);
    run(3, 7);
    EXPECT_EQ(thread->completedDepth, 5);
}

TEST_F(HelperIteration, WithoutADepthOfItsOwnFindsNothing) {
    run(1, 1);
    EXPECT_EQ(thread->completedDepth, 0);
    EXPECT_EQ(thread->bestMove, 0U);
}

TEST_F(HelperIteration, WithoutMovesOrDepthFindsNothing) {
    for (const std::string_view fen : {kMatedFen, kStalematedFen}) {
        run(2, 5, fen);
        EXPECT_EQ(thread->bestMove, 0U);
        EXPECT_EQ(thread->rootBestMove, 0U);
        EXPECT_EQ(thread->completedDepth, 0);
        EXPECT_EQ(nodes(), 0U);
        EXPECT_EQ(output, "");
    }
    for (const int depth : {0, -1, -2147483647}) {
        run(2, depth);
        EXPECT_EQ(thread->bestMove, 0U);
        EXPECT_EQ(nodes(), 0U);
    }
}

TEST_F(HelperIteration, CompletesNothingWhenStoppedExceptDepth1) {
    gStopSearch = true;
    run(2, 5); // searches depth 1
    EXPECT_EQ(thread->completedDepth, 1);
    EXPECT_TRUE(thread->board.isPseudoLegal(thread->bestMove));
    run(1, 5); // begins with depth 2
    EXPECT_EQ(thread->completedDepth, 0);
    EXPECT_EQ(thread->bestMove, 0U);
}

// --- aspiration windows ---

class Aspiration : public SearchTest {
  protected:
    int aspire(Board& board, int depth, int previous) {
        Search::RootStack stack;
        return Search::aspirationSearch(*thread, board, depth, previous, stack.records);
    }

    /// Nodes and score of a full-window search.
    int plain(Board& board, int depth) { return fullWindow(board, depth); }
};

TEST_F(Aspiration, SmallDepthsAndMatesAreSearchedWithTheFullWindow) {
    for (const auto& [depth, previous] : {std::pair{1, 900}, {4, 900}, {6, 29744}, {6, -29744}}) {
        Board board = boardOf(kRookEndgameFen);
        reset();
        const int expected = plain(board, depth);
        const std::uint64_t expectedNodes = nodes();
        reset();
        EXPECT_EQ(aspire(board, depth, previous), expected);
        EXPECT_EQ(nodes(), expectedNodes);
    }
}

TEST_F(Aspiration, FromDepth5OnTheWindowIs25CentipawnsToBothSides) {
    Board board = boardOf(kRookEndgameFen);
    const int score = plain(board, 5);
    for (const int previous : {score, score - 24, score + 24}) {
        reset();
        const int expected = alphaBeta(board, previous - 25, previous + 25, 5);
        const std::uint64_t expectedNodes = nodes();
        const bool inside = previous - 25 < expected && expected < previous + 25;
        reset();
        EXPECT_EQ(aspire(board, 5, previous), expected);
        EXPECT_EQ(nodes() == expectedNodes, inside);
    }
}

TEST_F(Aspiration, AWindowFailedTwiceBelowClosesIn) {
    Board board = boardOf("4k3/8/8/8/8/8/8/QQ2K3 b - - 0 1");
    const int previous = 500; // far too high
    int expected = alphaBeta(board, 475, 525, 5);
    ASSERT_LE(expected, 475);
    const int low = expected - 25;
    expected = alphaBeta(board, low, 500, 5);
    if (expected <= low) {
        const int lower = expected - 39;
        const int middle = (low + 500) / 2;
        expected = alphaBeta(board, lower, middle, 5);
        if (expected <= lower || expected >= middle)
            expected = plain(board, 5);
    } else {
        ASSERT_LT(expected, 500);
    }
    const std::uint64_t expectedNodes = nodes();
    reset();
    EXPECT_EQ(aspire(board, 5, previous), expected);
    EXPECT_EQ(nodes(), expectedNodes);
}

TEST_F(Aspiration, ReachesTheScoreFromAnywhere) {
    for (const std::string_view fen : {kMiddleGameFen, kRookEndgameFen, kTacticalFen})
        for (const int previous : {-29743, -3000, -300, -60, 60, 300, 3000, 29743}) {
            Board board = boardOf(fen);
            reset();
            const int score = aspire(board, 5, previous);
            EXPECT_LT(std::abs(score), 1000) << fen << ' ' << previous;
            EXPECT_TRUE(board.isLegal(thread->rootBestMove));
        }
}

// --- reproducibility ---

struct Outcome {
    std::vector<std::uint64_t> nodes;
    std::vector<int> scores;
    std::vector<Move> moves;

    bool operator==(const Outcome&) const = default;
};

class Reproducibility : public SearchTest {
  protected:
    Outcome deepen(std::string_view fen, int maxDepth) {
        reset();
        Outcome outcome;
        thread->board.setFen(fen);
        int score = 0;
        for (int depth = 1; depth <= maxDepth; ++depth) {
            Search::RootStack stack;
            score = Search::aspirationSearch(*thread, thread->board, depth, score, stack.records);
            outcome.nodes.push_back(nodes());
            outcome.nodes.push_back(qnodes());
            outcome.scores.push_back(score);
            outcome.moves.push_back(thread->rootBestMove);
        }
        return outcome;
    }
};

TEST_F(Reproducibility, SearchesFromEmptyTablesAreIdentical) {
    const int depth = kOptimised ? 8 : 6;
    for (const std::string_view fen : {kStartFen, kMiddleGameFen, kRookEndgameFen}) {
        const Outcome first = deepen(fen, depth);
        deepen(kTacticalFen, 4); // something else in between
        EXPECT_EQ(deepen(fen, depth), first) << fen;
    }
}

TEST_F(Reproducibility, NeitherThreadNorTableSizeNorAgeMatters) {
    const Outcome first = deepen(kMiddleGameFen, 6);
    thread = std::make_unique<Thread>(5);
    gTT.newGeneration();
    EXPECT_EQ(deepen(kMiddleGameFen, 6), first);
    gTT.resize(64);
    EXPECT_EQ(deepen(kMiddleGameFen, 6), first) << "both tables hold all of it";
    gTT.resize(16);
}

} // namespace
