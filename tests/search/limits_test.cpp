#include "helpers.h"

namespace {

/// How the limits end a search from within: on the main thread, at the nodes of depth 1 and more.
class Limits : public testing::Test {
  protected:
    void SetUp() override {
        gTT.clear();
        gStopSearch = false;
        gTime.start({}, White);
    }
    void TearDown() override {
        gTime.start({}, White);
        gStopSearch = false;
    }

    int search(Thread& thread, int depth) {
        thread.board.setFen(kMiddleGameFen);
        Search::RootStack stack;
        return Search::alphaBeta(thread, thread.board, -Search::kInfinite, Search::kInfinite, depth,
                                 stack.records, false);
    }

    std::unique_ptr<Thread> mainThread = std::make_unique<Thread>(kMainThread);
};

TEST_F(Limits, TheNodeThatReachesTheLimitStopsTheSearchWithNothing) {
    mainThread->limits.nodes = 1;
    EXPECT_EQ(search(*mainThread, 3), 0);
    EXPECT_TRUE(gStopSearch);
    EXPECT_EQ(mainThread->nodes, 1U);
    TTData data;
    EXPECT_FALSE(gTT.probe(mainThread->board.key, data)) << "and without a stored result";
}

TEST_F(Limits, ASearchBelowTheNodeLimitIsNotStopped) {
    mainThread->limits.nodes = 1000000;
    search(*mainThread, 2);
    EXPECT_FALSE(gStopSearch);
}

TEST_F(Limits, NoNodeLimitStopsAHelper) {
    Thread helper(1);
    helper.limits.nodes = 1;
    search(helper, 3);
    EXPECT_FALSE(gStopSearch);
    EXPECT_GT(helper.nodes, 100U);
}

TEST_F(Limits, NodeLimitsBelowOneAreNone) {
    for (const std::int64_t nodes :
         {std::int64_t{0}, std::int64_t{-1}, std::int64_t{-5000000000}}) {
        mainThread->limits.nodes = nodes;
        search(*mainThread, 2);
        EXPECT_FALSE(gStopSearch) << nodes;
    }
}

TEST_F(Limits, TheClockIsReadAtEvery2048thNodeOnly) {
    mainThread->limits.wtime = 1; // hard limit 0
    gTime.start(mainThread->limits, White);
    mainThread->nodes = 2048;
    search(*mainThread, 1);
    EXPECT_FALSE(gStopSearch);
    mainThread->nodes = 2047;
    search(*mainThread, 1);
    EXPECT_TRUE(gStopSearch);
}

TEST_F(Limits, TheClockStopsNoHelper) {
    Thread helper(1);
    helper.limits.wtime = 1;
    gTime.start(helper.limits, White);
    helper.nodes = 2047;
    search(helper, 1);
    EXPECT_FALSE(gStopSearch);
}

TEST_F(Limits, AStoppedSearchReturnsNothingCountsNothingAndStoresNothing) {
    Thread helper(1);
    gStopSearch = true;
    EXPECT_EQ(search(helper, 5), 0);
    EXPECT_EQ(search(helper, 0), 0);
    EXPECT_EQ(Search::quiesce(helper, helper.board, -32000, 32000, 0, 0), 0);
    EXPECT_EQ(helper.nodes, 0U);
    TTData data;
    EXPECT_FALSE(gTT.probe(helper.board.key, data));
}

} // namespace
