#include "reference_search.h"

#include "helpers.h"

#include <span>

namespace {

/// The search beside its plain reference, both from nothing, with tables of equal size.
class ReferenceTest : public SearchTest {
  protected:
    void SetUp() override { sizeTables(1); }
    void TearDown() override { gTT.resize(16); }

    void sizeTables(std::uint64_t mb) {
        gTT.resize(mb);
        reference->table.resize(mb);
        startAfresh();
    }

    void startAfresh() {
        reset();
        reference->table.clear();
        forget();
    }

    /// Empties what the reference has learned and counted.
    void forget() {
        std::memset(reference->history, 0, sizeof reference->history);
        std::memset(reference->pawnCorrection, 0, sizeof reference->pawnCorrection);
        std::memset(reference->pieceCorrection, 0, sizeof reference->pieceCorrection);
        reference->nodes = reference->qnodes = 0;
        reference->seldepth = 0;
        reference->rootMove = 0;
        reference->rootScore = 0;
    }

    void newGeneration() {
        gTT.newGeneration();
        reference->table.newGeneration();
    }

    /// All cells of an array of arrays.
    template <class T, class Array>
    static std::span<T> flat(Array& array) {
        return {reinterpret_cast<T*>(&array), sizeof array / sizeof(T)};
    }

    /// Fills all that a search learns with numbers within their bounds.
    void learnAtRandom(std::mt19937_64& random) {
        const auto draw = [&](int bound) {
            return static_cast<int>(random() % static_cast<std::uint64_t>(2 * bound + 1)) - bound;
        };
        for (std::int32_t& cell : flat<std::int32_t>(thread->quietHistory))
            cell = draw(16384);
        for (std::int16_t& cell : flat<std::int16_t>(thread->pawnCorrection))
            cell = static_cast<std::int16_t>(draw(1024));
        for (std::int16_t& cell : flat<std::int16_t>(thread->nonPawnCorrection))
            cell = static_cast<std::int16_t>(draw(1024));
        std::memcpy(reference->history, thread->quietHistory, sizeof reference->history);
        std::memcpy(reference->pawnCorrection, thread->pawnCorrection,
                    sizeof reference->pawnCorrection);
        std::memcpy(reference->pieceCorrection, thread->nonPawnCorrection,
                    sizeof reference->pieceCorrection);
    }

    void storeInBoth(std::uint64_t key, Move m, int score, int depth, TTFlag flag, int ply) {
        gTT.store(key, m, score, depth, flag, ply);
        reference->table.store(key, m, score, depth, flag, ply);
    }

    testing::AssertionResult agree() const {
        const auto differ = [](const char* what, auto ours, auto theirs) {
            return testing::AssertionFailure() << what << ' ' << ours << ", expected " << theirs;
        };
        if (nodes() != reference->nodes)
            return differ("nodes", nodes(), reference->nodes);
        if (qnodes() != reference->qnodes)
            return differ("qnodes", qnodes(), reference->qnodes);
        if (thread->seldepth != reference->seldepth)
            return differ("seldepth", thread->seldepth.load(), reference->seldepth);
        if (thread->rootBestMove != reference->rootMove)
            return differ("best move", moveToString(thread->rootBestMove),
                          moveToString(reference->rootMove));
        if (thread->rootBestScore != reference->rootScore)
            return differ("best score", thread->rootBestScore, reference->rootScore);
        return learnedTheSame();
    }

    testing::AssertionResult learnedTheSame() const {
        if (std::memcmp(thread->quietHistory, reference->history, sizeof reference->history) != 0)
            return testing::AssertionFailure() << "history";
        if (std::memcmp(thread->pawnCorrection, reference->pawnCorrection,
                        sizeof reference->pawnCorrection) != 0)
            return testing::AssertionFailure() << "correction by pawns";
        if (std::memcmp(thread->nonPawnCorrection, reference->pieceCorrection,
                        sizeof reference->pieceCorrection) != 0)
            return testing::AssertionFailure() << "correction by pieces";
        return testing::AssertionSuccess();
    }

    /// Deepens both searches side by side until `maxDepth` or `maxNodes` is reached.
    void compareIterations(Board& board, int maxDepth, std::uint64_t maxNodes) {
        const std::string fen = board.fen();
        int score = 0;
        int expected = 0;
        for (int depth = 1; depth <= maxDepth && nodes() < maxNodes; ++depth) {
            Search::RootStack stack;
            score = Search::aspirationSearch(*thread, board, depth, score, stack.records);
            expected = reference->aspirate(board, depth, expected);
            ASSERT_EQ(score, expected) << fen << " depth " << depth;
            ASSERT_TRUE(agree()) << fen << " depth " << depth;
        }
        ASSERT_EQ(board.fen(), fen);
    }

    /// Compares one call with everything about it drawn at random.
    void compareCall(Board& board, int depth, std::mt19937_64& random);

    std::unique_ptr<ReferenceSearch> reference = std::make_unique<ReferenceSearch>();
};

TEST_F(ReferenceTest, AgreesOnTestPositions) {
    const std::size_t step = kOptimised ? 4 : 40;
    for (std::size_t i = 0; i < searchablePositions().size(); i += step) {
        startAfresh();
        Board board = boardOf(searchablePositions()[i]);
        ASSERT_NO_FATAL_FAILURE(compareIterations(board, 6, kOptimised ? 8000 : 2000));
    }
}

TEST_F(ReferenceTest, AgreesWithGamesBehindThePosition) {
    std::mt19937_64 random(11);
    for (int game = 0; game < (kOptimised ? 40 : 4); ++game) {
        startAfresh();
        Board board = boardOf(game % 2 == 0 ? kTacticalFen : kRookEndgameFen);
        for (int ply = 0; ply < 2 * game; ++ply)
            playRandomMove(board, random);
        ASSERT_NO_FATAL_FAILURE(compareIterations(board, 6, 5000));
    }
}

TEST_F(ReferenceTest, AgreesWhenTheFiftyMoveRuleIsNear) {
    for (const std::string_view placement :
         {"8/5k2/8/3R4/8/8/2K5/8 w - - ", "2r3k1/5ppp/8/8/8/8/5PPP/2R3K1 w - - ",
          "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - "})
        for (const std::string_view clock : {"93 80", "96 80", "98 80", "99 80", "100 80"}) {
            startAfresh();
            Board board = boardOf(std::string(placement) + std::string(clock));
            ASSERT_NO_FATAL_FAILURE(compareIterations(board, 7, 10000));
        }
}

TEST_F(ReferenceTest, AgreesAtDepthsWhereTableMovesAreTestedForSingularity) {
    constexpr std::string_view kFens[] = {
        kStartFen,
        kTacticalFen,
        kMiddleGameFen,
        kRookEndgameFen,
        kPawnEndgameFen,
        "8/8/3k4/2p5/2P5/3K4/8/8 w - - 0 1",
        "4rrk1/pp1n1ppp/2p5/3p4/3P4/2P2N2/PP3PPP/R3R1K1 w - - 0 1",
        "6k1/5ppp/8/8/8/8/r4PPP/1R4K1 w - - 0 1",
        "7k/8/5KQ1/8/8/8/8/8 w - - 0 1",
        "8/8/8/8/4k3/8/1q6/K7 w - - 0 1"};
    for (const std::string_view fen : kFens) {
        startAfresh();
        Board board = boardOf(fen);
        ASSERT_NO_FATAL_FAILURE(compareIterations(board, 12, kOptimised ? 60000 : 3000));
    }
}

TEST_F(ReferenceTest, AgreesWithATableTooSmallForEverything) {
    sizeTables(0);
    for (const std::string_view fen : {kTacticalFen, kMiddleGameFen, kRookEndgameFen}) {
        startAfresh();
        Board board = boardOf(fen);
        ASSERT_NO_FATAL_FAILURE(compareIterations(board, 7, 10000));
    }
}

TEST_F(ReferenceTest, AgreesFromOneMoveOfAGameToTheNext) {
    std::mt19937_64 random(3);
    Board board = boardOf(kStartFen);
    const int moves = kOptimised ? 40 : 6;
    for (int move = 0; move < moves; ++move) {
        newGeneration(); // the table goes on, what was learned does not
        thread->clearForSearch();
        forget();
        ASSERT_NO_FATAL_FAILURE(compareIterations(board, 6, 4000));
        if (move % 8 == 7)
            ASSERT_NE(playRandomMove(board, random), 0U);
        else
            board.makeMove(thread->rootBestMove);
        ASSERT_NE(firstLegalMove(board), 0U) << "the game is over too early: change the seed";
    }
}

void ReferenceTest::compareCall(Board& board, int depth, std::mt19937_64& random) {
    const auto draw = [&](int low, int high) {
        return low + static_cast<int>(random() % static_cast<std::uint64_t>(high - low + 1));
    };
    const auto drawMove = [&](int oddsOfNone) {
        MoveList list;
        generateMoves(board, list);
        return list.count == 0 || draw(1, oddsOfNone) == 1 ? Move{0}
                                                           : list.moves[draw(0, list.count - 1)];
    };
    Search::SearchStack stack;
    stack.ply = draw(0, 3) == 0 ? draw(110, 128) : draw(0, 10);
    stack.move = drawMove(2);
    stack.excludedMove = draw(0, 5) == 0 ? drawMove(4) : Move{0};
    if (draw(0, 1) == 0) {
        const int score = draw(0, 7) == 0 ? 29900 - draw(0, 400) : evaluate(board) + draw(-80, 80);
        storeInBoth(board.key, drawMove(8), draw(0, 9) == 0 ? -score : score, depth - draw(0, 4),
                    static_cast<TTFlag>(draw(0, 2)), stack.ply);
    }
    const int width = draw(0, 2) == 0 ? draw(2, 200) : 1;
    const int alpha = draw(0, 15) == 0 ? draw(-30050, 30050) : evaluate(board) + draw(-150, 150);
    const bool cutNode = draw(0, 1) == 0;

    ReferenceSearch::Frame frame = {stack.ply, stack.excludedMove, stack.move};
    const int score = alphaBeta(board, alpha, alpha + width, depth, stack, cutNode);
    const int expected = reference->search(board, alpha, alpha + width, depth, frame, cutNode);
    ASSERT_EQ(score, expected) << board.fen() << " depth " << depth;
    ASSERT_TRUE(agree()) << board.fen() << " depth " << depth;
}

TEST_F(ReferenceTest, AgreesOnSingleCallsWithRandomArguments) {
    std::mt19937_64 random(17);
    const std::size_t step = kOptimised ? 1 : 10;
    for (std::size_t i = 0; i < searchablePositions().size(); i += step) {
        startAfresh();
        learnAtRandom(random);
        Board board = boardOf(searchablePositions()[i]);
        for (int call = 0; call < 6 && nodes() < 2500; ++call) {
            ASSERT_NO_FATAL_FAILURE(compareCall(board, call, random));
            playRandomMove(board, random);
        }
    }
}

TEST_F(ReferenceTest, AgreesOnDeepCallsWithRandomArguments) {
    std::mt19937_64 random(18);
    constexpr std::string_view kFens[] = {kRookEndgameFen, kPawnEndgameFen,
                                          "8/8/3k4/2p5/2P5/3K4/8/8 w - - 0 1",
                                          "6k1/5ppp/8/8/8/8/r4PPP/1R4K1 w - - 0 1"};
    for (int round = 0; round < (kOptimised ? 30 : 2); ++round)
        for (const std::string_view fen : kFens) {
            startAfresh();
            learnAtRandom(random);
            Board board = boardOf(fen);
            for (int call = 0; call < 4 && nodes() < 8000; ++call) {
                ASSERT_NO_FATAL_FAILURE(compareCall(board, 8 + call % 2, random));
                playRandomMove(board, random);
            }
        }
}

TEST_F(ReferenceTest, AgreesInQuiescence) {
    std::mt19937_64 random(19);
    for (const std::string& fen : searchablePositions()) {
        startAfresh();
        learnAtRandom(random);
        Board board = boardOf(fen);
        const int alpha = evaluate(board) - 300 + static_cast<int>(random() % 600);
        for (const int width : {1, 2, 150}) {
            ASSERT_EQ(quiesce(board, alpha, alpha + width, 3),
                      reference->quiet(board, alpha, alpha + width, 3))
                << fen;
            ASSERT_TRUE(agree()) << fen;
        }
    }
}

} // namespace
