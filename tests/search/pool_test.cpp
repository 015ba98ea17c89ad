#include "helpers.h"
#include "info_line.h"
#include "support/resource_limit.h"

#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <vector>

namespace {

/// Bytes of address space that the process has.
rlim_t addressSpace() {
    std::ifstream file("/proc/self/statm");
    rlim_t pages = 0;
    file >> pages;
    return pages * 4096;
}

using Lines = std::vector<std::string>;

Lines linesOf(const std::string& text) {
    Lines lines;
    std::size_t begin = 0;
    for (std::size_t end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
        lines.push_back(text.substr(begin, end - begin));
    if (begin != text.size())
        lines.push_back(text.substr(begin) + " (without a line feed)");
    return lines;
}

SearchLimits depthLimit(int depth) {
    SearchLimits limits;
    limits.depth = depth;
    return limits;
}

/// Searches by the pool, their output caught.
class Pool : public testing::Test {
  protected:
    void SetUp() override {
        gThreads.set(1);
        gTT.clear();
    }
    void TearDown() override {
        gStopSearch = true;
        gThreads.set(1);
        gStopSearch = false;
    }

    /// Output of a search that ends by itself.
    Lines go(const Board& board, const SearchLimits& limits) {
        testing::internal::CaptureStdout();
        gThreads.startThinking(board, limits);
        return finish();
    }

    static Lines finish() {
        gThreads.waitForSearchFinished();
        return linesOf(testing::internal::GetCapturedStdout());
    }

    static bool isLegalAnswer(const Board& board, const std::string& line) {
        constexpr std::string_view kPrefix = "bestmove ";
        if (!line.starts_with(kPrefix))
            return false;
        const Move m =
            matchMove(board, parseUCIMove(std::string_view(line).substr(kPrefix.size())));
        return m != 0 && board.isLegal(m) && line == std::string(kPrefix) + moveToString(m);
    }

    void expectLegalAnswer(const Board& board, const Lines& lines) {
        ASSERT_FALSE(lines.empty());
        EXPECT_TRUE(isLegalAnswer(board, lines.back())) << lines.back() << " in " << board.fen();
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                                [](const std::string& s) { return s.starts_with("bestmove"); }),
                  1);
    }
};

// --- lines ---

/// A search to a depth prints a line for each depth and the answer.
void expectIterations(const Lines& lines, int depth) {
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(depth) + 1);
    std::int64_t nodesBefore = 0;
    for (int d = 1; d <= depth; ++d) {
        const std::string& text = lines[static_cast<std::size_t>(d - 1)];
        const auto line = readInfoLine(text);
        ASSERT_TRUE(line.has_value()) << text;
        EXPECT_EQ(line->depth, d);
        EXPECT_GT(line->nodes, nodesBefore);
        EXPECT_EQ(line->nps, line->time == 0 ? 0 : line->nodes * 1000 / line->time) << text;
        nodesBefore = line->nodes;
    }
}

/// The answer that begins with a line's moves.
std::string answerOf(const InfoLine& line) {
    return "bestmove " + line.pv.substr(0, line.pv.find(' '));
}

/// Takes out the line of a helper whose move is the answer, if the main thread's is another.
void dropHelpersLine(Lines& lines, int depth) {
    const auto iterations = static_cast<std::size_t>(depth);
    if (lines.size() != iterations + 2)
        return;
    const auto own = readInfoLine(lines[iterations - 1]);
    const auto helpers = readInfoLine(lines[iterations]);
    ASSERT_TRUE(own.has_value() && helpers.has_value());
    EXPECT_GE(helpers->depth, depth);
    EXPECT_GE(helpers->nodes, own->nodes);
    EXPECT_EQ(answerOf(*helpers), lines.back());
    EXPECT_NE(answerOf(*own), lines.back());
    lines.erase(lines.end() - 2);
}

class PoolOfThreads : public Pool, public testing::WithParamInterface<std::size_t> {
  protected:
    void SetUp() override {
        Pool::SetUp();
        gThreads.set(GetParam());
    }
};
INSTANTIATE_TEST_SUITE_P(Threads, PoolOfThreads, testing::Values(1, 2, 4));

TEST_P(PoolOfThreads, ADepthLimitPrintsALineForEachDepthAndTheAnswer) {
    for (const std::string_view fen : {kStartFen, kTacticalFen, kRookEndgameFen}) {
        const Board board = boardOf(fen);
        Lines lines = go(board, depthLimit(6));
        if (GetParam() > 1)
            dropHelpersLine(lines, 6);
        ASSERT_NO_FATAL_FAILURE(expectIterations(lines, 6));
        expectLegalAnswer(board, lines);
    }
}

TEST_P(PoolOfThreads, AnswersWithoutMovesAndDepths) {
    EXPECT_EQ(go(boardOf(kMatedFen), depthLimit(5)),
              (Lines{"info depth 0 score mate 0", "bestmove 0000"}));
    EXPECT_EQ(go(boardOf(kStalematedFen), depthLimit(5)),
              (Lines{"info depth 0 score cp 0", "bestmove 0000"}));
    EXPECT_EQ(go(boardOf(kMatedFen), depthLimit(0)),
              (Lines{"info depth 0 score mate 0", "bestmove 0000"}));
    EXPECT_EQ(go(boardOf(kStartFen), depthLimit(0)), Lines{"bestmove 0000"});
    EXPECT_EQ(go(boardOf(kStartFen), depthLimit(-7)), Lines{"bestmove 0000"});
}

TEST_P(PoolOfThreads, AnswersWithALegalMoveUnderTheSmallestLimits) {
    std::vector<SearchLimits> all(6);
    all[0].nodes = 1;
    all[1].movetime = 1;
    all[2].wtime = all[2].btime = 1;
    all[3].wtime = all[3].btime = 1000;
    all[3].winc = all[3].binc = -1000000;
    all[4].wtime = all[4].btime = 100;
    all[4].movestogo = 2147483647;
    all[5].nodes = 500;
    for (const SearchLimits& limits : all)
        for (const std::string_view fen : {kStartFen, kTacticalFen, kRookEndgameFen}) {
            const Board board = boardOf(fen);
            expectLegalAnswer(board, go(board, limits));
        }
}

TEST_P(PoolOfThreads, AnswersWithALegalMoveWhenStoppedAtOnce) {
    const Board board = boardOf(kMiddleGameFen);
    SearchLimits limits;
    for (int i = 0; i < 40; ++i) {
        limits.infinite = i % 2 == 0;
        testing::internal::CaptureStdout();
        gThreads.startThinking(board, limits);
        gStopSearch = true;
        expectLegalAnswer(board, finish());
    }
}

TEST_P(PoolOfThreads, AnInfiniteSearchWaitsForTheStopEvenIfItHasNothingToDo) {
    for (const std::string_view fen : {kMatedFen, kMiddleGameFen}) {
        SearchLimits limits = depthLimit(1);
        limits.infinite = true;
        testing::internal::CaptureStdout();
        gThreads.startThinking(boardOf(fen), limits);
        auto end = std::async(std::launch::async, [] { gThreads.waitForSearchFinished(); });
        EXPECT_EQ(end.wait_for(std::chrono::milliseconds(40)), std::future_status::timeout);
        gStopSearch = true;
        end.get();
        EXPECT_TRUE(finish().back().starts_with("bestmove "));
    }
}

TEST_P(PoolOfThreads, ASecondSearchWaitsForTheFirst) {
    const Board first = boardOf(kMiddleGameFen);
    const Board second = boardOf(kRookEndgameFen);
    testing::internal::CaptureStdout();
    gThreads.startThinking(first, depthLimit(6));
    gThreads.startThinking(second, depthLimit(4));
    const Lines lines = finish();
    ASSERT_EQ(lines.size(), 7U + 5);
    EXPECT_TRUE(isLegalAnswer(first, lines[6])) << lines[6];
    EXPECT_TRUE(isLegalAnswer(second, lines[11])) << lines[11];
    EXPECT_TRUE(lines[7].starts_with("info depth 1 "));
}

TEST_P(PoolOfThreads, ANewPoolWaitsForTheSearchOfTheOld) {
    const Board board = boardOf(kMiddleGameFen);
    testing::internal::CaptureStdout();
    gThreads.startThinking(board, depthLimit(6));
    gThreads.set(3);
    const Lines lines = linesOf(testing::internal::GetCapturedStdout());
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_TRUE(isLegalAnswer(board, lines.back()));
    EXPECT_EQ(gThreads.size(), 3U);
    EXPECT_EQ(gThreads.totalNodes(), 0U) << "the threads are new";
}

TEST_P(PoolOfThreads, APoolThatCannotGrowStaysAsItIs) {
    if (kInstrumented)
        GTEST_SKIP() << "sanitizers end the process where memory ends";
    std::vector<const Thread*> before;
    for (std::size_t i = 0; i < gThreads.size(); ++i)
        before.push_back(&gThreads[i]);
    {
        const ResourceLimit littleMore(RLIMIT_AS, addressSpace() + (rlim_t{64} << 20));
        EXPECT_ANY_THROW(gThreads.set(250));
    }
    ASSERT_EQ(gThreads.size(), before.size());
    for (std::size_t i = 0; i < gThreads.size(); ++i)
        EXPECT_EQ(&gThreads[i], before[i]);
    EXPECT_EQ(go(boardOf(kMiddleGameFen), depthLimit(4)).size(), 5U);
}

TEST_P(PoolOfThreads, EveryThreadGetsPositionAndLimitsAndStartsFromNothing) {
    for (std::size_t i = 0; i < gThreads.size(); ++i) {
        gThreads[i].nodes = 99;
        gThreads[i].seldepth = 99;
        gThreads[i].bestMove = 1;
        gThreads[i].completedDepth = 50;
    }
    SearchLimits limits = depthLimit(0);
    limits.binc = 77;
    Board board = boardOf(kStartFen);
    play(board, {"e2e4"});
    go(board, limits);
    for (std::size_t i = 0; i < gThreads.size(); ++i) {
        EXPECT_EQ(gThreads[i].board.key, board.key);
        EXPECT_EQ(gThreads[i].board.historyCount, 1);
        EXPECT_EQ(gThreads[i].limits.binc, 77);
        EXPECT_EQ(gThreads[i].bestMove, 0U);
        EXPECT_EQ(gThreads[i].completedDepth, 0);
        EXPECT_EQ(gThreads[i].seldepth, 0);
    }
    EXPECT_EQ(gThreads.totalNodes(), 0U);
}

/// Waits, for a generous while, until a thread has counted nodes of quiescence.
bool begins(const Thread& thread) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (thread.qnodes == 0 && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
    return thread.qnodes != 0;
}

TEST_P(PoolOfThreads, AllThreadsSearch) {
    SearchLimits limits;
    limits.infinite = true;
    testing::internal::CaptureStdout();
    gThreads.startThinking(boardOf(kMiddleGameFen), limits);
    for (std::size_t i = 0; i < gThreads.size(); ++i)
        EXPECT_TRUE(begins(gThreads[i])) << i;
    gStopSearch = true;
    finish();
}

// --- limits and iterations ---

TEST_F(Pool, TheBestMoveBeginsTheLastLine) {
    const Lines lines = go(boardOf(kMiddleGameFen), depthLimit(7));
    ASSERT_EQ(lines.size(), 8U);
    const auto last = readInfoLine(lines[6]);
    ASSERT_TRUE(last.has_value());
    EXPECT_EQ(lines[7], answerOf(*last));
}

TEST_F(Pool, MatesArePrintedAsMates) {
    const Lines mating = go(boardOf("6k1/5ppp/8/8/8/8/8/R3K3 w - - 0 1"), depthLimit(3));
    ASSERT_EQ(mating.size(), 4U);
    EXPECT_NE(mating[2].find(" score mate 1 "), std::string::npos) << mating[2];
    EXPECT_EQ(mating.back(), "bestmove a1a8");
    const Lines mated = go(boardOf("8/8/8/8/8/q5k1/8/7K w - - 0 1"), depthLimit(4));
    ASSERT_EQ(mated.size(), 5U);
    EXPECT_NE(mated[3].find(" score mate -1 "), std::string::npos) << mated[3];
}

/// A line without the fields that the clock decides.
std::string timeless(const std::string& line) {
    const std::size_t begin = std::min(line.find(" nps "), line.size());
    const std::size_t end = std::min(line.find(" pv "), line.size());
    return line.substr(0, begin) + line.substr(end);
}

TEST_F(Pool, TwoSearchesFromAnEmptyTablePrintTheSame) {
    const Board board = boardOf(kMiddleGameFen);
    Lines first = go(board, depthLimit(7));
    gTT.clear();
    Lines second = go(board, depthLimit(7));
    for (Lines* lines : {&first, &second})
        std::transform(lines->begin(), lines->end(), lines->begin(), timeless);
    EXPECT_EQ(first, second);
}

TEST_F(Pool, AnInterruptedIterationIsDiscarded) {
    const Board board = boardOf(kMiddleGameFen);
    const Lines whole = go(board, depthLimit(5));
    ASSERT_EQ(whole.size(), 6U);
    const auto fourth = readInfoLine(whole[3]);
    ASSERT_TRUE(fourth.has_value());
    SearchLimits limits;
    limits.nodes = fourth->nodes + 10; // within depth 5
    gTT.clear();
    const Lines lines = go(board, limits);
    ASSERT_EQ(lines.size(), 5U);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(timeless(lines[i]), timeless(whole[i]));
    EXPECT_EQ(lines[4], answerOf(*fourth));
    EXPECT_EQ(gThreads[0].completedDepth, 4);
    EXPECT_GE(gThreads[0].nodes, static_cast<std::uint64_t>(limits.nodes));
}

TEST_F(Pool, AnInterruptedFirstIterationIsKept) {
    SearchLimits limits;
    limits.nodes = 1;
    const Board board = boardOf(kMiddleGameFen);
    const Lines lines = go(board, limits);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[0].starts_with("info depth 1 ")) << lines[0];
    expectLegalAnswer(board, lines);
    EXPECT_EQ(gThreads[0].completedDepth, 1);
}

TEST_F(Pool, ANodeLimitCountsTheMainThreadAlone) {
    gThreads.set(4);
    SearchLimits limits;
    limits.nodes = 20000;
    go(boardOf(kMiddleGameFen), limits);
    EXPECT_GE(gThreads[0].nodes, 20000U);
    EXPECT_GT(gThreads.totalNodes(), gThreads[0].nodes);
}

TEST_F(Pool, WithoutTimeForASecondIterationTheFirstIsTheLast) {
    SearchLimits limits;
    limits.wtime = 1000;
    limits.winc = -1000000;
    const Lines lines = go(boardOf(kStartFen), limits);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[0].starts_with("info depth 1 "));
}

TEST_F(Pool, TheClockOfTheOtherSideLimitsNothing) {
    SearchLimits limits = depthLimit(5);
    limits.btime = 1;
    EXPECT_EQ(go(boardOf(kMiddleGameFen), limits).size(), 6U);
}

TEST_F(Pool, DepthsBeyond128EndThere) {
    // Locked pawns: the kings walk up and down their first ranks, so the tree stays small.
    const Board board = boardOf("k7/p1p1p1p1/P1P1P1P1/8/8/p1p1p1p1/P1P1P1P1/K7 w - - 0 1");
    for (const int depth : {128, 129, 1000}) {
        const Lines lines = go(board, depthLimit(depth));
        ASSERT_EQ(lines.size(), 129U);
        EXPECT_TRUE(lines[127].starts_with("info depth 128 "));
    }
}

TEST_F(Pool, AnInfiniteSearchIgnoresItsDepth) {
    SearchLimits limits = depthLimit(2);
    limits.infinite = true;
    limits.nodes = 20000; // ends it all the same
    EXPECT_GT(go(boardOf(kMiddleGameFen), limits).size(), 4U);
}

// --- the pool itself ---

TEST_F(Pool, HasOneThreadAtLeast) {
    gThreads.set(0);
    EXPECT_EQ(gThreads.size(), 1U);
    EXPECT_EQ(gThreads[0].id, 0);
    gThreads.set(7);
    EXPECT_EQ(gThreads.size(), 7U);
    for (std::size_t i = 0; i < 7; ++i)
        EXPECT_EQ(gThreads[i].id, static_cast<int>(i));
}

TEST_F(Pool, AnEmptyPoolHasCountedNothing) {
    ThreadPool empty;
    EXPECT_EQ(empty.totalNodes(), 0U);
    EXPECT_EQ(empty.totalSeldepth(), 0);
    EXPECT_EQ(empty.size(), 0U);
    empty.waitForSearchFinished();
}

TEST_F(Pool, SumsNodesAndTakesTheGreatestPly) {
    gThreads.set(3);
    gThreads[0].nodes = 5;
    gThreads[1].nodes = std::uint64_t{1} << 40;
    gThreads[2].nodes = 7;
    gThreads[0].seldepth = 3;
    gThreads[1].seldepth = 9;
    gThreads[2].seldepth = 4;
    EXPECT_EQ(gThreads.totalNodes(), (std::uint64_t{1} << 40) + 12);
    EXPECT_EQ(gThreads.totalSeldepth(), 9);
}

TEST_F(Pool, ASearchAgesTheTable) {
    gTT.resize(0); // one bucket
    for (std::uint64_t key = 1; key <= 4; ++key)
        gTT.store(key, 1, 0, 5, TTExact, 0);
    gTT.store(9, 1, 0, -1, TTExact, 0);
    TTData data;
    EXPECT_FALSE(gTT.probe(9, data)) << "worth less than depth 5";
    go(boardOf(kStartFen), depthLimit(0));
    gTT.store(9, 1, 0, -1, TTExact, 0);
    EXPECT_TRUE(gTT.probe(9, data)) << "worth more than depth 5 of an earlier search";
    gTT.resize(16);
}

TEST_F(Pool, ASearchLowersTheStopFlagAndRaisesItAtItsEnd) {
    gStopSearch = true;
    EXPECT_EQ(go(boardOf(kStartFen), depthLimit(3)).size(), 4U);
    EXPECT_TRUE(gStopSearch);
}

// --- whose answer counts ---

class BestThread : public Pool {
  protected:
    void SetUp() override {
        gThreads.set(4);
        for (std::size_t i = 0; i < 4; ++i)
            set(i, 10, 50);
    }

    void set(std::size_t i, int depth, int score, Move move = 100) {
        gThreads[i].completedDepth = depth;
        gThreads[i].score = score;
        gThreads[i].bestMove = move;
    }
    int best() const { return gThreads.bestThread().id; }
};

TEST_F(BestThread, IsTheMainThreadOnFullTies) {
    EXPECT_EQ(best(), 0);
}

TEST_F(BestThread, IsTheOneThatCompletedMore) {
    set(2, 11, -500);
    EXPECT_EQ(best(), 2);
    set(3, 12, -600);
    EXPECT_EQ(best(), 3);
    set(1, 9, 900);
    EXPECT_EQ(best(), 3);
}

TEST_F(BestThread, OnEqualDepthIsTheOneWithTheHigherScore) {
    set(3, 10, 51);
    EXPECT_EQ(best(), 3);
    set(1, 10, 51);
    EXPECT_EQ(best(), 1) << "the first of equals";
    set(2, 10, 52);
    EXPECT_EQ(best(), 2);
    set(0, 10, 52);
    EXPECT_EQ(best(), 0);
}

TEST_F(BestThread, ComparesWithTheBestSoFar) {
    set(1, 11, 10);
    set(2, 10, 900); // deeper than nobody that counts
    set(3, 11, 9);
    EXPECT_EQ(best(), 1);
}

TEST_F(BestThread, HelpersWithoutAMoveDoNotCount) {
    set(1, 20, 900, 0);
    EXPECT_EQ(best(), 0);
    set(3, 11, 0);
    EXPECT_EQ(best(), 3);
}

TEST_F(BestThread, IsTheMainThreadEvenWithoutAMoveWhenNobodyIsBetter) {
    set(0, 10, 50, 0);
    EXPECT_EQ(best(), 0);
    set(1, 10, 51);
    EXPECT_EQ(best(), 1);
}

// --- threads ---

TEST(Thread, ObjectsShareNoCacheLine) {
    EXPECT_GE(alignof(Thread), 64U);
    EXPECT_EQ(sizeof(Thread) % 64, 0U);
    gThreads.set(4);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&gThreads[i]) % 64, 0U);
    gThreads.set(1);
}

/// Threads that the process has.
std::size_t threadsOfProcess() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

TEST(Thread, IsAnObjectForTheCallersThreadAndOnlyThePoolsHaveAWorker) {
    if (!std::filesystem::exists("/proc/self/task"))
        GTEST_SKIP() << "this system does not tell a process's threads";
    const std::size_t before = threadsOfProcess();
    const auto ofTool = std::make_unique<Thread>(kToolThread);
    EXPECT_EQ(threadsOfProcess(), before);
    EXPECT_FALSE(ofTool->isMain());
    const auto ofPool = std::make_unique<PoolThread>(kMainThread);
    EXPECT_EQ(threadsOfProcess(), before + 1);
    EXPECT_TRUE(ofPool->isMain());
}

TEST(Thread, BeginsWithNothing) {
    const Thread thread(3);
    EXPECT_EQ(thread.id, 3);
    EXPECT_EQ(thread.nodes, 0U);
    EXPECT_EQ(thread.qnodes, 0U);
    EXPECT_EQ(thread.seldepth, 0);
    EXPECT_EQ(thread.completedDepth, 0);
    EXPECT_EQ(thread.bestMove, 0U);
    EXPECT_EQ(thread.limits.depth, 100);
    EXPECT_EQ(thread.limits.movetime, -1);
}

template <class T>
bool allZero(const T& array) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&array);
    return std::all_of(bytes, bytes + sizeof array, [](unsigned char b) { return b == 0; });
}

TEST(Thread, ForgetsEverythingForASearch) {
    Thread thread(1);
    thread.quietHistory[0][0][0] = thread.quietHistory[1][63][63] = 5;
    thread.pawnCorrection[0][0] = thread.pawnCorrection[1][16383] = 5;
    thread.nonPawnCorrection[0][0][0] = thread.nonPawnCorrection[1][1][16383] = 5;
    thread.nodes = 5;
    thread.qnodes = 5;
    thread.seldepth = 5;
    thread.completedDepth = thread.score = thread.rootBestScore = 5;
    thread.bestMove = thread.rootBestMove = 5;
    thread.clearForSearch();
    EXPECT_TRUE(allZero(thread.quietHistory));
    EXPECT_TRUE(allZero(thread.pawnCorrection));
    EXPECT_TRUE(allZero(thread.nonPawnCorrection));
    EXPECT_EQ(thread.nodes + thread.qnodes, 0U);
    EXPECT_EQ(thread.seldepth, 0);
    EXPECT_EQ(thread.completedDepth, 0);
    EXPECT_EQ(thread.rootBestMove, 0U);
    EXPECT_EQ(thread.rootBestScore, 0);
    EXPECT_EQ(thread.bestMove, 0U);
    EXPECT_EQ(thread.score, 0);
}

TEST(Thread, CountsAndKeepsTheGreatestPly) {
    Thread thread(1);
    thread.countNode();
    thread.countNode();
    thread.countQuiescenceNode();
    EXPECT_EQ(thread.nodes, 2U);
    EXPECT_EQ(thread.qnodes, 1U);
    thread.reachPly(4);
    thread.reachPly(2);
    EXPECT_EQ(thread.seldepth, 4);
}

} // namespace
