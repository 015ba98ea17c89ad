#include "helpers.h"
#include "info_line.h"

#include <thread>

using Search::buildPV;
using Search::formatScore;

namespace {

TEST(FormatScore, WritesCentipawns) {
    EXPECT_EQ(formatScore(0), "cp 0");
    EXPECT_EQ(formatScore(34), "cp 34");
    EXPECT_EQ(formatScore(-12), "cp -12");
    EXPECT_EQ(formatScore(29743), "cp 29743");
    EXPECT_EQ(formatScore(-29743), "cp -29743");
}

TEST(FormatScore, WritesMatesInMoves) {
    EXPECT_EQ(formatScore(29999), "mate 1");
    EXPECT_EQ(formatScore(29998), "mate 1");
    EXPECT_EQ(formatScore(29997), "mate 2");
    EXPECT_EQ(formatScore(29744), "mate 128");
    EXPECT_EQ(formatScore(-29998), "mate -1");
    EXPECT_EQ(formatScore(-29999), "mate -1");
    EXPECT_EQ(formatScore(-29996), "mate -2");
    EXPECT_EQ(formatScore(-29744), "mate -128");
    EXPECT_EQ(formatScore(-30000), "mate 0") << "mated at the root";
}

/// Lines are read from a table filled by hand.
class BuildPV : public testing::Test {
  protected:
    void SetUp() override { gTT.clear(); }

    void store(const Board& at, Move m) { gTT.store(at.key, m, 0, 1, TTExact, 0); }

    /// Stores each move at the position that the moves before it lead to.
    void storeLine(Board board, std::initializer_list<std::string_view> moves) {
        for (const std::string_view text : moves) {
            const Move m = moveOf(board, text);
            store(board, m);
            board.makeMove(m);
        }
    }

    std::string pv(std::string_view firstMove) { return buildPV(start, moveOf(start, firstMove)); }

    Board start = boardOf(kStartFen);
};

TEST_F(BuildPV, EndsWhereTheTableKnowsNoMore) {
    EXPECT_EQ(pv("e2e4"), "e2e4");
    storeLine(start, {"e2e4", "e7e5", "g1f3"});
    EXPECT_EQ(pv("e2e4"), "e2e4 e7e5 g1f3");
    EXPECT_EQ(pv("d2d4"), "d2d4");
}

TEST_F(BuildPV, EndsAtAnEntryWithoutAMove) {
    storeLine(start, {"e2e4", "e7e5"});
    Board board = start;
    play(board, {"e2e4", "e7e5"});
    store(board, 0);
    EXPECT_EQ(pv("e2e4"), "e2e4 e7e5");
}

TEST_F(BuildPV, OfNoMoveOrAnImpossibleOneIsEmpty) {
    EXPECT_EQ(buildPV(start, 0), "");
    EXPECT_EQ(buildPV(start, encodeMove(A1, A8)), "");
    EXPECT_EQ(buildPV(start, encodeMove(makeSquare(4, 1), makeSquare(4, 3))), "")
        << "a double push without its flag";
    EXPECT_EQ(buildPV(start, 0xFFFF), "");
}

TEST_F(BuildPV, EndsBeforeAStoredMoveThatIsImpossible) {
    Board board = start;
    play(board, {"e2e4"});
    store(board, encodeMove(A1, A8));
    EXPECT_EQ(pv("e2e4"), "e2e4");
    store(board, encodeMove(E1, E1 + 8)); // a move of the wrong side
    EXPECT_EQ(pv("e2e4"), "e2e4");
}

TEST_F(BuildPV, EndsBeforeAStoredMoveThatLeavesTheKingInCheck) {
    Board board = boardOf("4r2k/8/8/8/8/8/4N3/4K3 b - - 0 1");
    const Move quiet = moveOf(board, "h8h7");
    board.makeMove(quiet);
    store(board, moveOf(board, "e2c3")); // pinned
    board.unmakeMove(quiet);
    EXPECT_EQ(buildPV(board, quiet), "h8h7");
    board.makeMove(quiet);
    store(board, moveOf(board, "e1d1"));
    board.unmakeMove(quiet);
    EXPECT_EQ(buildPV(board, quiet), "h8h7 e1d1");
}

TEST_F(BuildPV, EndsAtAPositionThatTheLineHasReachedBefore) {
    // The root does not count as reached until the line comes back to it.
    storeLine(start, {"g1f3", "g8f6", "f3g1", "f6g8"});
    EXPECT_EQ(pv("g1f3"), "g1f3 g8f6 f3g1 f6g8 g1f3");
}

TEST_F(BuildPV, WritesPromotionsAndCastling) {
    const Board board = boardOf("4k2r/P7/8/8/8/8/8/4K3 b k - 0 1");
    storeLine(board, {"e8g8", "a7a8n"});
    EXPECT_EQ(buildPV(board, moveOf(board, "e8g8")), "e8g8 a7a8n");
}

/// A game of random moves in which no position comes twice, every move of it stored.
std::vector<Move> storeWanderings(const Board& from, std::size_t length) {
    for (std::uint64_t seed = 1;; ++seed) {
        gTT.clear();
        std::mt19937_64 random(seed);
        Board board = from;
        std::vector<Move> line;
        std::vector<std::uint64_t> keys;
        while (line.size() < length) {
            const std::uint64_t key = board.key;
            const Move m = playRandomMove(board, random);
            if (m == 0 || std::find(keys.begin(), keys.end(), board.key) != keys.end())
                break;
            gTT.store(key, m, 0, 1, TTExact, 0);
            keys.push_back(board.key);
            line.push_back(m);
        }
        if (line.size() == length)
            return line;
    }
}

TEST_F(BuildPV, HoldsAtMost128Moves) {
    const std::vector<Move> line = storeWanderings(start, 140);
    std::string expected;
    for (int i = 0; i < 128; ++i)
        expected += (i == 0 ? "" : " ") + moveToString(line[static_cast<std::size_t>(i)]);
    EXPECT_EQ(buildPV(start, line.front()), expected);
}

TEST_F(BuildPV, LeavesTheGivenBoardAlone) {
    storeLine(start, {"e2e4", "e7e5"});
    pv("e2e4");
    EXPECT_EQ(start.fen(), kStartFen);
}

// --- the line of progress within an iteration ---

/// The main thread's search on the calling thread, without pool.
class Progress : public testing::Test {
  protected:
    void SetUp() override {
        gTT.clear();
        gStopSearch = false;
        thread->board.setFen(kStartFen);
        thread->reporter.start();
        thread->limits.movetime = 1000000;
        gTime.start(thread->limits, White);
    }
    void TearDown() override {
        gTime.start({}, White);
        gStopSearch = false;
    }

    static void waitUntilALineIsDue() {
        while (gTime.elapsed() < 300)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }

    /// What a search of depth 1 prints whose only node of depth 1 has the given number.
    std::string outputAtNode(std::uint64_t number) {
        thread->nodes = number - 1;
        testing::internal::CaptureStdout();
        Search::RootStack stack;
        Search::alphaBeta(*thread, thread->board, -100, 100, 1, stack.records, false);
        return testing::internal::GetCapturedStdout();
    }

    std::unique_ptr<Thread> thread = std::make_unique<Thread>(kMainThread);
};

TEST_F(Progress, IsReportedAtEvery2048thNodeOnceALineIsDue) {
    thread->depth = 17;
    waitUntilALineIsDue();
    EXPECT_EQ(outputAtNode(2047), "");
    EXPECT_EQ(outputAtNode(2049), "");
    const std::string output = outputAtNode(4096);
    ASSERT_TRUE(output.ends_with('\n')) << output;
    const auto line = readInfoLine(output.substr(0, output.size() - 1), false);
    ASSERT_TRUE(line.has_value()) << output;
    EXPECT_EQ(line->depth, 17);
    EXPECT_GE(line->time, 300);
    EXPECT_EQ(line->nps, line->nodes * 1000 / line->time);
}

TEST_F(Progress, IsFollowedByTheResultThoughItWasPrintedBefore) {
    Thread& main = *thread;
    const auto result = [&](const Thread& best) {
        testing::internal::CaptureStdout();
        main.reporter.reportResult(best, main);
        return testing::internal::GetCapturedStdout();
    };
    main.bestMove = moveOf(main.board, "e2e4");
    main.completedDepth = 3;
    testing::internal::CaptureStdout();
    main.reporter.reportIteration(main, 0);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(result(main), "");

    waitUntilALineIsDue();
    ASSERT_NE(outputAtNode(2048), "");
    const std::string again = result(main);
    EXPECT_TRUE(again.starts_with("info depth 3 ")) << again;
    EXPECT_NE(again.find(" pv e2e4"), std::string::npos) << again;
    EXPECT_EQ(result(main), "");
}

TEST_F(Progress, IsNotReportedAgainBefore300MillisecondsHavePassed) {
    waitUntilALineIsDue();
    EXPECT_NE(outputAtNode(2048), "");
    const std::int64_t printed = gTime.elapsed();
    const std::string second = outputAtNode(2048);
    const bool tooEarly = gTime.elapsed() < printed + 250; // else the machine slept in between
    EXPECT_TRUE(second.empty() || !tooEarly) << second;
}

TEST_F(Progress, IsNotReportedInTheFirst300Milliseconds) {
    const std::string output = outputAtNode(2048);
    const bool tooEarly = gTime.elapsed() < 300; // else the machine slept in between
    EXPECT_TRUE(output.empty() || !tooEarly) << output;
}

TEST_F(Progress, IsReportedOnlyWhenSomeTimeWasGiven) {
    thread->limits.movetime = -1;
    waitUntilALineIsDue();
    EXPECT_EQ(outputAtNode(2048), "");
    thread->limits.btime = 1; // the other side's clock will do
    EXPECT_NE(outputAtNode(2048), "");
}

TEST_F(Progress, HelpersReportNothing) {
    Thread helper(1);
    helper.board = thread->board;
    helper.limits = thread->limits;
    helper.nodes = 2047;
    waitUntilALineIsDue();
    testing::internal::CaptureStdout();
    Search::RootStack stack;
    Search::alphaBeta(helper, helper.board, -100, 100, 1, stack.records, false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

} // namespace
