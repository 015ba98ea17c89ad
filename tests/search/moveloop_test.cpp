#include "helpers.h"

#include "eval/evaluate.h"

#include <functional>

using Search::SearchStack;

namespace {

/// A node whose children are all in the table, so that it searches none of them: what it does with
/// their scores shows alone. The position has no moves behind it, which keeps the null move out.
class MoveLoop : public SearchTest {
  protected:
    static constexpr int kDeep = 100;

    void SetUp() override { begin(kStartFen); }

    void begin(std::string_view fen) {
        reset();
        board = boardOf(fen);
        beta = evaluate(board) - 50; // neither node nor child is pruned by its evaluation
        storeChildren(beta - 50, kDeep);
    }

    /// Every legal move scores `score` for the side that makes it.
    void storeChildren(int score, int depth) {
        MoveList legal;
        generateLegalMoves(board, legal);
        for (const Move m : legal)
            storeAfter(board, m, -score, depth);
    }

    void storeChild(std::string_view move, int score, int depth = kDeep) {
        storeAfter(board, moveOf(board, move), -score, depth);
    }

    /// Makes the moves the first quiet ones, in this order.
    void orderFirst(std::initializer_list<std::string_view> moves) {
        std::int32_t history = 70; // too little to change reductions
        for (const std::string_view text : moves)
            cell(text) = history--;
    }

    std::int32_t& cell(std::string_view move) {
        const Move m = moveOf(board, move);
        return thread->quietHistory[board.sideToMove][fromSquare(m)][toSquare(m)];
    }

    int run(int depth, SearchStack stack = {1, 0, 0}, bool cutNode = false) {
        return alphaBeta(board, beta - 1, beta, depth, stack, cutNode);
    }

    /// Children looked up by a search that leaves the table's other content alone.
    std::uint64_t children(int depth) {
        const std::uint64_t before = nodes();
        run(depth);
        return nodes() - before - 1;
    }

    Board board;
    int beta = 0;
};

// --- late move pruning ---

TEST_F(MoveLoop, SearchesDepthSquaredPlus3QuietMovesUpToDepth4) {
    EXPECT_EQ(children(1), 4U);
    begin(kStartFen);
    EXPECT_EQ(children(2), 7U);
    begin(kStartFen);
    EXPECT_EQ(children(3), 12U);
    begin(kStartFen);
    gTT.store(board.key, moveOf(board, "h2h4"), 0, 0, TTUpper, 0); // keeps depth 4
    EXPECT_EQ(children(4), 19U);
    begin(kStartFen);
    gTT.store(board.key, moveOf(board, "h2h4"), 0, 0, TTUpper, 0);
    EXPECT_EQ(children(5), 20U) << "all of them";
}

TEST_F(MoveLoop, PrunesNoLateMoveInAWideWindow) {
    beta = evaluate(board) + 500; // beyond what the first move, searched in full, scores
    alphaBeta(board, beta - 2, beta, 1, {1, 0, 0});
    EXPECT_EQ(nodes(), 1U + 20);
}

TEST_F(MoveLoop, PrunesNoCheckHoweverLate) {
    begin("8/8/8/7k/8/8/PPPP1P2/R3K1R1 w - - 0 1");
    cell("g1g5") = -100; // the last of all, both checks
    cell("g1h1") = -101;
    EXPECT_EQ(children(1), 6U);
}

TEST_F(MoveLoop, PrunesNoCaptureHoweverLate) {
    // The knight loses the exchange on d5, so this capture comes after the quiet moves.
    begin("4k3/8/4p3/3p4/8/2N5/PPPP1PPP/4K3 w - - 0 1");
    EXPECT_EQ(children(1), 5U);
}

TEST_F(MoveLoop, PrunesLateCastlingUnlessItChecks) {
    begin("4k3/8/8/8/8/8/PPPPPPPP/R3K3 w Q - 0 1");
    cell("e1c1") = -5;
    EXPECT_EQ(children(1), 4U);
    begin("3k4/8/8/8/8/8/PPP1PPPP/R3K3 w Q - 0 1"); // the rook lands on an open file
    cell("e1c1") = -5;
    cell("a1d1") = -6; // another check
    EXPECT_EQ(children(1), 6U);
}

// --- extensions and reductions ---

/// The depth that a move is searched with shows in the shallowest entry that answers it.
class MoveDepth : public MoveLoop {
  protected:
    /// The depth with which `move` is searched first, at a node of the given depth.
    int depthOf(std::string_view move, int depth, std::initializer_list<std::string_view> before,
                std::string_view fen, bool cutNode = false) {
        int needed = 0;
        while (!answered(move, needed, depth, before, fen, cutNode))
            ++needed;
        return needed;
    }

  private:
    bool answered(std::string_view move, int entryDepth, int depth,
                  std::initializer_list<std::string_view> before, std::string_view fen,
                  bool cutNode) {
        begin(fen);
        prepare();
        orderFirst(before);
        const std::uint64_t expected = nodes() + 1 + countChildren();
        storeChild(move, beta - 50, entryDepth);
        run(depth, {1, 0, 0}, cutNode);
        return nodes() == expected;
    }

    std::uint64_t countChildren() {
        MoveList legal;
        generateLegalMoves(board, legal);
        return static_cast<std::uint64_t>(legal.count);
    }

  protected:
    std::function<void()> prepare = [] {};
};

TEST_F(MoveDepth, ThreeMovesAreSearchedInFullAndLaterOnesReduced) {
    const auto first = {std::string_view("a2a3"), std::string_view("b2b3"),
                        std::string_view("c2c3"), std::string_view("d2d3"),
                        std::string_view("e2e3"), std::string_view("f2f3")};
    prepare = [this] {
        gTT.store(board.key, moveOf(board, "h2h4"), 0, 0, TTUpper, 0); // keeps the depth
    };
    // h2h4 comes first of all; a2a3 and b2b3 are moves 2 and 3.
    EXPECT_EQ(depthOf("h2h4", 7, first, kStartFen), 6);
    EXPECT_EQ(depthOf("b2b3", 7, first, kStartFen), 6);
    EXPECT_EQ(depthOf("c2c3", 7, first, kStartFen), 6 - Search::kLMR[6][4]);
    EXPECT_EQ(depthOf("f2f3", 7, first, kStartFen), 6 - Search::kLMR[6][7]);
    ASSERT_EQ(Search::kLMR[6][4], 1);
    ASSERT_EQ(Search::kLMR[6][7], 2);
}

TEST_F(MoveDepth, HistoryReducesOnePlyMoreOrLessFor8000) {
    std::int32_t history = 0;
    prepare = [&] {
        for (auto& from : thread->quietHistory[White])
            for (std::int32_t& value : from)
                value = 70000;
        gTT.store(board.key, moveOf(board, "h2h4"), 0, 0, TTUpper, 0);
        cell("g1h3") = history; // of 20 moves the last
    };
    ASSERT_EQ(Search::kLMR[8][20], 3);
    for (const auto& [value, depth] : {std::pair{0, 5},
                                       {7999, 5},
                                       {8000, 6},
                                       {16000, 7},
                                       {24000, 8},
                                       {32000, 8},
                                       {-7999, 5},
                                       {-8000, 4},
                                       {-16000, 3}}) {
        history = value;
        EXPECT_EQ(depthOf("g1h3", 9, {}, kStartFen), depth) << value;
    }
}

TEST_F(MoveDepth, AReductionLeavesAPlyAtLeast) {
    prepare = [this] {
        gTT.store(board.key, moveOf(board, "h2h4"), 0, 0, TTUpper, 0);
        cell("g1h3") = -80000;
    };
    EXPECT_EQ(depthOf("g1h3", 7, {}, kStartFen), 1);
}

TEST_F(MoveDepth, ChecksAreExtendedAndNeverReduced) {
    constexpr std::string_view kFen = "8/8/8/7k/8/8/PPPP1P2/R3K1R1 w - - 0 1";
    prepare = [this] {
        gTT.store(board.key, moveOf(board, "a2a3"), 0, 0, TTUpper, 0);
        cell("g1h1") = -80000;
    };
    EXPECT_EQ(depthOf("g1h1", 7, {}, kFen), 7);
}

TEST_F(MoveDepth, CapturesAndEvasionsAreNotReduced) {
    prepare = [this] { gTT.store(board.key, moveOf(board, "e1e2"), 0, 0, TTUpper, 0); };
    EXPECT_EQ(depthOf("c3d5", 7, {}, "4k3/8/4p3/3p4/8/2N5/PPPP1PPP/4K3 w - - 0 1"), 6);
    prepare = [this] { gTT.store(board.key, moveOf(board, "e1f1"), 0, 0, TTUpper, 0); };
    EXPECT_EQ(depthOf("g1e2", 7, {"b3e3", "b3e6", "e1d1"}, "k3r3/8/8/8/8/1Q6/8/4K1N1 w - - 0 1"),
              6);
}

// --- singular extension ---

/// A node of depth 8 whose table move is tested: the children of the test, at depth 3, and of the
/// node itself, at depth 7, are answered by the same entries.
class Singular : public MoveLoop {
  protected:
    void SetUp() override { prepare(5, TTLower); }

    void prepare(int entryDepth, TTFlag flag, int entryScore = 0) {
        begin(kStartFen);
        score = entryScore != 0 ? entryScore : beta - 100;
        gTT.store(board.key, moveOf(board, "e2e4"), score, entryDepth, flag, 1);
        storeChildren(score - 500, kDeep); // all moves fall short of the table move
        storeChild("e2e4", beta - 100);
    }

    /// The depth with which the table move is searched.
    int depthOfTableMove(int depth, SearchStack stack = {1, 0, 0}, bool cutNode = false) {
        for (int needed = 0;; ++needed) {
            restore();
            storeChild("e2e4", beta - 100, needed);
            const std::uint64_t before = nodes();
            run(depth, stack, cutNode);
            if (nodes() - before <= 1 + 1 + 19 + 20)
                return needed;
        }
    }

    std::function<void()> restore = [this] { prepare(5, TTLower); };
    int score = 0;
};

TEST_F(Singular, ATableMoveThatStandsAloneIsExtended) {
    EXPECT_EQ(depthOfTableMove(8), 8);
    EXPECT_EQ(depthOfTableMove(8, {1, 0, 0}, true), 8) << "at a cut node as well";
}

TEST_F(Singular, NothingIsTestedBelowDepth8) {
    EXPECT_EQ(depthOfTableMove(7), 6);
}

TEST_F(Singular, NothingIsTestedForOldOrUpperOrMateEntries) {
    restore = [this] { prepare(4, TTLower); };
    EXPECT_EQ(depthOfTableMove(8), 7);
    restore = [this] { prepare(5, TTExact); };
    EXPECT_EQ(depthOfTableMove(8), 8);
    restore = [this] { prepare(5, TTUpper); };
    EXPECT_EQ(depthOfTableMove(8), 7);
    restore = [this] { prepare(5, TTLower, -29800); };
    EXPECT_EQ(depthOfTableMove(8), 7);
}

TEST_F(Singular, NothingIsTestedAtTheRoot) {
    EXPECT_EQ(depthOfTableMove(8, {0, 0, 0}), 7);
}

TEST_F(Singular, AnotherGoodMoveTakesTheExtensionAwayAndAtACutNodeAPly) {
    restore = [this] {
        prepare(5, TTLower);
        storeChild("d2d4", score - 16); // the bound itself: 2 centipawns a ply of depth below
    };
    EXPECT_EQ(depthOfTableMove(8), 7);
    EXPECT_EQ(depthOfTableMove(8, {1, 0, 0}, true), 6);
    restore = [this] {
        prepare(5, TTLower);
        storeChild("d2d4", score - 17);
    };
    EXPECT_EQ(depthOfTableMove(8), 8);
}

TEST_F(Singular, AnotherMoveThatBeatsBetaEndsTheNodeWithItsScore) {
    storeChild("d2d4", beta + 7);
    EXPECT_EQ(run(8), beta + 7);
    EXPECT_GT(nodes(), 2U);
    TTData data{};
    ASSERT_TRUE(gTT.probe(board.key, data));
    EXPECT_EQ(data.depth, 5) << "without a new entry";
}

TEST_F(Singular, AMateOfAnotherMoveDoesNotEndTheNodeAtOnce) {
    storeChild("d2d4", 29900);
    run(8);
    TTData data{};
    ASSERT_TRUE(gTT.probe(board.key, data));
    EXPECT_EQ(data.depth, 8);
}

/// A null move at depth 12 leaves a node of depth 8, whose table move is tested: whether that node
/// counts as a cut node shows in the depth of its table move.
class NullMoveAndSingular : public SearchTest {
  protected:
    static constexpr int kBeta = -50; // below 0, or a second null move would end the node by a draw

    std::uint64_t nodesWith(int entryDepth, bool cutNode) {
        reset();
        Board board = boardOf(kMiddleGameFen);
        play(board, {"h2h3", "h7h6"});
        board.makeNullMove();
        const int beta = 1 - kBeta; // of the node after it
        const Move tableMove = moveOf(board, "a6a5");
        const Move other = moveOf(board, "b7b5"); // the table move does not stand alone
        gTT.store(board.key, tableMove, beta - 100, 5, TTLower, 2);
        MoveList legal;
        generateLegalMoves(board, legal);
        for (const Move m : legal)
            storeAfter(board, m, 600 - beta, 100);
        storeAfter(board, other, 116 - beta, 100);
        storeAfter(board, tableMove, 100 - beta, entryDepth);
        thread->quietHistory[Black][fromSquare(other)][toSquare(other)] = 5000;
        board.unmakeNullMove();
        EXPECT_EQ(alphaBeta(board, kBeta - 1, kBeta, 12, {1, 0, 0}, cutNode), kBeta);
        return nodes();
    }

    int depthOfTableMove(bool cutNode) {
        const std::uint64_t fewest = nodesWith(100, cutNode);
        int depth = 0;
        while (nodesWith(depth, cutNode) != fewest)
            ++depth;
        return depth;
    }
};

TEST_F(NullMoveAndSingular, TheNodeAfterANullMoveIsACutNodeIfTheOneBeforeIsNot) {
    EXPECT_EQ(depthOfTableMove(false), 6);
    EXPECT_EQ(depthOfTableMove(true), 7);
}

// --- history ---

TEST_F(MoveLoop, ACutoffRewardsItsQuietMoveAndPunishesTheQuietMovesBefore) {
    cell("a2a3") = 16384;
    cell("b2b3") = 16000;
    cell("c2c3") = 1000;
    cell("h2h3") = 900; // the one that cuts
    cell("d2d3") = 800; // behind it
    storeChild("h2h3", beta + 10);
    EXPECT_EQ(run(6), beta + 10); // one ply less without a table move: bonus 25
    EXPECT_EQ(cell("a2a3"), 16384 - 25 - 25);
    EXPECT_EQ(cell("b2b3"), 16000 - 25 - 24);
    EXPECT_EQ(cell("c2c3"), 1000 - 25 - 1);
    EXPECT_EQ(cell("h2h3"), 900 + 25 - 1);
    EXPECT_EQ(cell("d2d3"), 800);
    EXPECT_EQ(cell("e2e4"), 0);
}

TEST_F(MoveLoop, HistoryGravityTruncatesTowardsZeroOnBothSides) {
    for (auto& from : thread->quietHistory[White])
        for (std::int32_t& value : from)
            value = -16384;
    cell("a2a3") = -16000;
    cell("b2b3") = -600;
    cell("h2h3") = -15000;
    storeChild("h2h3", beta + 10);
    run(6);
    EXPECT_EQ(cell("a2a3"), -16000) << "behind the move that cuts";
    EXPECT_EQ(cell("b2b3"), -600 - 25 + 0);
    EXPECT_EQ(cell("h2h3"), -15000 + 25 + 22);
    begin(kStartFen);
    for (auto& from : thread->quietHistory[White])
        for (std::int32_t& value : from)
            value = -16384;
    cell("a2a3") = -16000;
    cell("h2h3") = -16001;
    storeChild("h2h3", beta + 10);
    run(6);
    EXPECT_EQ(cell("a2a3"), -16000 - 25 + 24);
    EXPECT_EQ(cell("h2h3"), -16001 + 25 + 24);
}

TEST_F(MoveLoop, ACaptureThatCutsIsNotRewardedButPunishesAllTheSame) {
    begin("4k3/8/4p3/3p4/8/2N5/PPPP1PPP/4K3 w - - 0 1"); // the capture loses: it comes last
    const Move m = moveOf(board, "c3d5");
    storeChild("c3d5", beta + 10);
    cell("a2a3") = 1000;
    EXPECT_EQ(run(6), beta + 10);
    EXPECT_EQ(cell("a2a3"), 1000 - 25 - 1);
    EXPECT_EQ(cell("h2h3"), -25);
    EXPECT_EQ(thread->quietHistory[White][fromSquare(m)][toSquare(m)], 0);
}

TEST_F(MoveLoop, AQuietPromotionThatCutsIsRewarded) {
    begin("8/P6k/8/8/8/8/8/4K3 w - - 0 1");
    storeChild("a7a8q", beta + 10);
    run(6);
    EXPECT_EQ(thread->quietHistory[White][48][56], 25);
}

TEST_F(MoveLoop, PromotionsBeforeTheCutAreNotPunished) {
    begin("8/P6k/8/8/8/8/8/4K3 w - - 0 1");
    storeChild("e1d1", beta + 10);
    run(6);
    EXPECT_EQ(thread->quietHistory[White][48][56], 0);
    EXPECT_EQ(cell("e1d1"), 25);
}

TEST_F(MoveLoop, OnlyThe64FirstQuietMovesArePunished) {
    begin("8/8/7k/3Q4/8/1Q6/8/Q3K3 w - - 0 1"); // the last move of all cuts
    MoveList quiets;
    generateQuiets(board, quiets);
    int legal = 0;
    Move last = 0;
    for (const Move m : quiets)
        if (board.isLegal(m)) {
            ++legal;
            last = m;
        }
    ASSERT_GE(legal, 66);
    storeAfter(board, last, -(beta + 10), kDeep);
    run(6);
    int punished = 0;
    for (const Move m : quiets)
        punished += thread->quietHistory[White][fromSquare(m)][toSquare(m)] == -25;
    EXPECT_EQ(punished, 64);
}

TEST_F(MoveLoop, WithoutACutTheMoveThatLedHereGains) {
    constexpr Move kLed = encodeMove(A8, H1); // no move of the search itself
    for (const auto& [before, after] :
         {std::pair{0, 25}, {16384, 16384}, {16000, 16001}, {-16000, -16000 + 25 + 24}}) {
        begin(kStartFen);
        thread->quietHistory[Black][A8][H1] = before;
        run(6, {1, 0, kLed});
        EXPECT_EQ(thread->quietHistory[Black][A8][H1], after);
    }
}

TEST_F(MoveLoop, TheMoveThatLedHereGainsNothingIfItIsNoisyOrTheNodeIsNotBelowAlpha) {
    const auto gain = [&](std::uint32_t flag, Move excluded) {
        thread->quietHistory[Black][A8][H1] = 0;
        run(6, {1, excluded, encodeMove(A8, H1, flag)});
        return thread->quietHistory[Black][A8][H1];
    };
    EXPECT_EQ(gain(FlagDoublePush, 0), 25);
    begin(kStartFen);
    EXPECT_EQ(gain(FlagCapture, 0), 0);
    begin(kStartFen);
    EXPECT_EQ(gain(FlagPromotion, 0), 0);
    begin(kStartFen);
    EXPECT_EQ(gain(FlagQuiet, moveOf(board, "a2a3")), 0) << "with an excluded move";
    begin(kStartFen);
    storeChild("h2h3", beta + 10);
    EXPECT_EQ(gain(FlagQuiet, 0), 0) << "after a cutoff";
}

// --- evaluation correction ---

class CorrectionLearning : public MoveLoop {
  protected:
    struct Cells {
        std::int16_t& pawns;
        std::int16_t& white;
        std::int16_t& black;
    };

    static std::uint64_t hash(const Bitboard (&p)[6]) {
        return (p[Knight] * 0x9E3779B97F4A7C15U ^ p[Bishop] * 0xC2B2AE3D27D4EB4FU ^
                p[Rook] * 0x165667B19E3779F9U ^ p[Queen] * 0xD6E8FEB86659FD93U ^
                p[King] * 0xFF51AFD7ED558CCDU) >>
               50;
    }

    Cells cells() {
        const Color us = board.sideToMove;
        return {thread->pawnCorrection[us][board.pawnKey & 16383],
                thread->nonPawnCorrection[us][White][hash(board.pieces[White])],
                thread->nonPawnCorrection[us][Black][hash(board.pieces[Black])]};
    }

    void setCells(int pawns, int white, int black) {
        cells().pawns = static_cast<std::int16_t>(pawns);
        cells().white = static_cast<std::int16_t>(white);
        cells().black = static_cast<std::int16_t>(black);
    }

    static int moved(int x, int change) { return x + change - x * std::abs(change) / 1024; }

    void expectChange(int pawns, int white, int black, int change) {
        EXPECT_EQ(cells().pawns, moved(pawns, change)) << change;
        EXPECT_EQ(cells().white, moved(white, change)) << change;
        EXPECT_EQ(cells().black, moved(black, change)) << change;
    }

    /// Searches with all moves but one at `others` and that one at `best`, all relative to the
    /// uncorrected evaluation.
    int runWith(int best, int others, int low, int high, int depth = 6) {
        const int eval = evaluate(board);
        storeChildren(eval + others, kDeep);
        storeChild("h2h3", eval + best);
        orderFirst({"h2h3"});
        return alphaBeta(board, eval + low, eval + high, depth, {1, 0, 0});
    }
};

TEST_F(CorrectionLearning, ACutoffMovesAllThreeCellsTowardsTheScore) {
    runWith(610, 400, 499, 500); // depth 5: 610 * 5 / 8 = 381, at most 256
    expectChange(0, 0, 0, 256);
    begin(kStartFen);
    setCells(600, -700, 33);      // adds 8
    runWith(308, 0, 199, 200, 3); // 300 * 3 / 8
    ASSERT_EQ((2 * 600 - 700 + 33) / 64, 8);
    expectChange(600, -700, 33, 112);
}

TEST_F(CorrectionLearning, AFailureMovesThemTowardsTheScoreBelow) {
    setCells(-1000, 500, 1023);
    const int correction = (-2000 + 500 + 1023) / 64;
    ASSERT_EQ(correction, -7);
    runWith(-207, -300, 199, 200, 1); // -200 * 1 / 8
    expectChange(-1000, 500, 1023, -25);
    begin(kStartFen);
    runWith(-2000, -2100, 199, 200, 6); // far below: at most -256
    expectChange(0, 0, 0, -256);
}

TEST_F(CorrectionLearning, ChangesTruncateTowardsZero) {
    runWith(-15, -300, 199, 200, 1);
    expectChange(0, 0, 0, -1);
    begin(kStartFen);
    runWith(-7, -300, 199, 200, 1);
    expectChange(0, 0, 0, 0);
    begin(kStartFen);
    setCells(-64, 64, 63); // together -1: no centipawn
    runWith(-15, -300, 199, 200, 1);
    expectChange(-64, 64, 63, -1);
}

TEST_F(CorrectionLearning, ABoundThatTheEvaluationMeetsTeachesNothing) {
    runWith(150, 100, 199, 200); // at most 150 and more than the evaluation
    expectChange(0, 0, 0, 0);
    begin(kStartFen);
    runWith(0, -100, 199, 200);
    expectChange(0, 0, 0, 0);
    begin(kStartFen);
    setCells(10000, 0, 0);          // adds 312
    runWith(300, 100, 249, 250, 1); // at least 300, less than the evaluation
    expectChange(10000, 0, 0, 0);
}

TEST_F(CorrectionLearning, AnExactScoreTeachesEitherWay) {
    const int eval = evaluate(board);
    const int score = alphaBeta(board, -32000, 32000, 1, {1, 0, 0});
    expectChange(0, 0, 0, (score - eval) / 8);
    begin(kStartFen);
    setCells(20000, -3000, 500);
    const int corrected = eval + (40000 - 3000 + 500) / 64;
    const int lower = alphaBeta(board, -32000, 32000, 1, {1, 0, 0});
    ASSERT_LT(lower, corrected - 100);
    expectChange(20000, -3000, 500, std::max(-256, (lower - corrected) / 8));
}

TEST_F(CorrectionLearning, CapturesPromotionsMatesChecksAndExclusionsTeachNothing) {
    const auto untouched = [&] {
        return cells().pawns == 0 && cells().white == 0 && cells().black == 0;
    };
    runWith(29900, 0, 199, 200);
    EXPECT_TRUE(untouched()) << "a mate";
    begin(kStartFen);
    runWith(-29900, -29950, 199, 200);
    EXPECT_TRUE(untouched()) << "a mate against us";
    begin(kStartFen);
    storeChild("h2h3", beta + 10);
    run(6, {1, moveOf(board, "a2a3"), 0});
    EXPECT_TRUE(untouched()) << "an excluded move";
    begin("4k3/8/4p3/3p4/8/2N5/PPPP1PPP/4K3 w - - 0 1");
    storeChild("c3d5", beta + 10);
    run(6);
    EXPECT_TRUE(untouched()) << "a capture";
    begin("8/P6k/8/8/8/8/8/4K3 w - - 0 1");
    storeChild("a7a8q", beta + 10);
    run(6);
    EXPECT_TRUE(untouched()) << "a promotion";
    begin("k3r3/8/8/8/8/1Q6/8/4K1N1 w - - 0 1");
    storeChild("e1f1", beta + 10);
    run(6);
    EXPECT_TRUE(untouched()) << "a check";
}

} // namespace
