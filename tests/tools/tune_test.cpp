#include "tools/tune.h"

#include "eval/evaluate.h"
#include "eval/sampling.h"
#include "naive_features.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

using Notation::boardOf;
using Tune::Trace;

namespace {

using Values = std::array<int, 1082>;

Values builtInValues() {
    Values values{};
    Tune::initValues(values.data());
    return values;
}

Trace traceOf(const Board& board) {
    Trace trace;
    Tune::extract(board, trace);
    return trace;
}

/// Calls `visit` with every position of the test data.
template <class Visit>
void visitData(Visit&& visit) {
    std::vector<std::string> fens = Positions::readAll();
    for (const std::string& fen : Positions::readOpenings())
        fens.push_back(fen);
    for (const std::string& fen : fens)
        visit(boardOf(fen));
}

/// Calls `visit` with boards that no game reaches: any number of any pieces, or no pawns at all.
template <class Visit>
void visitUnusual(std::uint64_t seed, int count, Visit&& visit) {
    Sampling::visitWild(seed, count, visit);
    for (const char* material : {"Kk", "KQk", "KBNk", "Kkbn", "KNNk", "KBBkb", "KRkr", "KQQQkqq",
                                 "KRNBkrnb", "KNNNNkbbbb", "KQQQQQQQQQk", "KBk", "KRRkbn"})
        Sampling::visitScattered(material, ++seed, count / 10, visit);
    const std::string queens = "QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/";
    visit(boardOf(queens + "QQQK2Qk b - - 0 1"));
    visit(boardOf(Sampling::mirrored(queens + "QQQK2Qk b - - 0 1")));
}

// --- the list of weights ---

struct Weight {
    std::string name;
    int value;
};

/// The list of weights written out: which follow each other under which names with which values.
class WrittenOut {
  public:
    WrittenOut() {
        material("matMg_", {93, 380, 374, 493, 1283});
        material("matEg_", {153, 323, 359, 635, 1015});
        beginAt(10);
        for (int piece = 0; piece < 6; ++piece)
            for (int cell = 0; cell < 64; ++cell)
                add("pstMg_" + letter(piece) + "_", cell, EvalParams::kPSTMG[piece][cell]);
        beginAt(394);
        for (int cell = 0; cell < 64; ++cell)
            add("pawnEg_", cell, EvalParams::kPSTEGPawn[cell]);
        beginAt(458);
        for (int cell = 0; cell < 64; ++cell)
            add("kingEg_", cell, EvalParams::kKingEG[cell]);
        line(522, "mobMg_N_", 8, -24, 6);
        line(531, "mobEg_N_", 8, 0, 0);
        line(540, "mobMg_B_", 13, -20, 4);
        line(554, "mobEg_B_", 13, -35, 7);
        line(568, "mobMg_R_", 14, -30, 5);
        line(583, "mobEg_R_", 14, -24, 4);
        line(598, "mobMg_Q_", 27, 0, 0);
        line(626, "mobEg_Q_", 27, -48, 6);
        beginAt(654);
        for (int piece = 0; piece < 6; ++piece)
            for (int cell = 0; cell < 64; ++cell)
                add("pstEgDelta_" + letter(piece) + "_", cell, 0);
        beginAt(1038);
        list_.push_back({"bishopPair", 56});
        list_.push_back({"rookOpenMg", 51});
        list_.push_back({"rookOpenEg", -3});
        list_.push_back({"rookSemiMg", 20});
        list_.push_back({"rookSemiEg", 24});
        row(1043, "passedMg_", {0, 2, -12, -12, 9, 40, 6, 0});
        row(1051, "passedEg_", {0, 13, 24, 51, 75, 105, 25, 0});
        beginAt(1059);
        list_.push_back({"isolatedMg", -8});
        list_.push_back({"isolatedEg", -10});
        list_.push_back({"doubledMg", -10});
        list_.push_back({"doubledEg", -10});
        list_.push_back({"connectedMg", 7});
        list_.push_back({"connectedEg", 6});
        row(1065, "ksSafety_",
            {0, -1, 4, 23, 41, 65, 142, 131, 258, 439, 723, 428, 480, 580, 690, 800});
        beginAt(1081);
        list_.push_back({"ksOpenFile", 31});
        beginAt(1082);
    }

    const std::vector<Weight>& list() const { return list_; }

    int indexOf(const std::string& name) const {
        for (std::size_t k = 0; k < list_.size(); ++k)
            if (list_[k].name == name)
                return static_cast<int>(k);
        ADD_FAILURE() << "no weight is called " << name;
        return 0;
    }

  private:
    static std::string letter(int piece) { return {"PNBRQK"[piece]}; }

    void beginAt(std::size_t index) const { EXPECT_EQ(list_.size(), index); }

    void add(const std::string& name, int number, int value) {
        list_.push_back({name + std::to_string(number), value});
    }

    void material(const std::string& name, const std::array<int, 5>& values) {
        for (int piece = 0; piece < 5; ++piece)
            list_.push_back({name + letter(piece), values.at(static_cast<std::size_t>(piece))});
    }

    void row(std::size_t first, const std::string& name, const std::vector<int>& values) {
        beginAt(first);
        int number = 0;
        for (const int value : values)
            add(name, number++, value);
    }

    void line(std::size_t first, const std::string& name, int last, int start, int step) {
        beginAt(first);
        for (int count = 0; count <= last; ++count)
            add(name, count, start + step * count);
    }

    std::vector<Weight> list_;
};

const WrittenOut& writtenOut() {
    static const WrittenOut weights;
    return weights;
}

TEST(Tune, HasTheWeightsThatAreWrittenOut) {
    ASSERT_EQ(Tune::NPARAMS, 1082);
    const Values values = builtInValues();
    const std::vector<Weight>& list = writtenOut().list();
    for (int k = 0; k < Tune::NPARAMS; ++k) {
        const Weight& wanted = list.at(static_cast<std::size_t>(k));
        EXPECT_EQ(Tune::paramName(k), wanted.name) << k;
        EXPECT_EQ(values.at(static_cast<std::size_t>(k)), wanted.value) << wanted.name;
    }
    EXPECT_EQ(Tune::paramName(-1), "");
    EXPECT_EQ(Tune::paramName(1082), "");
}

TEST(Tune, AFreshTraceIsPrepared) {
    const Trace trace;
    EXPECT_EQ(trace.result, 0.5);
    EXPECT_EQ(trace.phase, 0);
    EXPECT_EQ(trace.egScale, 64);
    EXPECT_EQ(trace.mgBase, 0);
    EXPECT_EQ(trace.egBase, 0);
    for (int k = 0; k < Tune::NPARAMS; ++k) {
        EXPECT_EQ(trace.mg[k], 0);
        EXPECT_EQ(trace.eg[k], 0);
    }
}

// --- counting ---

void expectNaiveFeatures(const Board& board) {
    if (testing::Test::HasFailure())
        return; // the rest would only repeat it
    const std::string fen = board.fen();
    const Naive::Features wanted = Naive::featuresOf(Naive::parse(fen));
    const Trace trace = traceOf(board);
    EXPECT_EQ(trace.result, 0.5);
    EXPECT_EQ(trace.phase, wanted.phase) << fen;
    EXPECT_EQ(trace.egScale, wanted.scale) << fen;
    EXPECT_EQ(trace.mgBase, wanted.base.mg) << fen;
    EXPECT_EQ(trace.egBase, wanted.base.eg) << fen;
    std::array<Naive::Pair, 1082> uses{};
    for (const auto& [name, pair] : wanted.uses)
        uses.at(static_cast<std::size_t>(writtenOut().indexOf(name))) = pair;
    for (int k = 0; k < Tune::NPARAMS; ++k) {
        const Naive::Pair& pair = uses.at(static_cast<std::size_t>(k));
        EXPECT_EQ(trace.mg[k], pair.mg) << Tune::paramName(k) << ' ' << fen;
        EXPECT_EQ(trace.eg[k], pair.eg) << Tune::paramName(k) << ' ' << fen;
    }
}

TEST(Extract, CountsLikeTheSecondCountInGames) {
    visitData(expectNaiveFeatures);
    Sampling::visitGames(301, scaled(6000), expectNaiveFeatures);
}

TEST(Extract, CountsLikeTheSecondCountOnUnusualBoards) {
    visitUnusual(302, std::max(scaled(600), 60), expectNaiveFeatures);
}

/// "name mg eg" for each weight that is used, in the order of the list.
std::string usesAt(const std::string& fen) {
    const Trace trace = traceOf(boardOf(fen));
    std::string text;
    for (int k = 0; k < Tune::NPARAMS; ++k)
        if (trace.mg[k] || trace.eg[k])
            text += Tune::paramName(k) + ' ' + std::to_string(trace.mg[k]) + ' ' +
                    std::to_string(trace.eg[k]) + '\n';
    return text;
}

TEST(Extract, CountsWeightsOfWorthNothingToo) {
    // A knight without end-game mobility, its placement in both phases and the difference between
    // them; the kings on the centre files take each other's weights away.
    EXPECT_EQ(usesAt("4k3/8/8/8/8/8/N7/4K3 w - - 0 1"), "matMg_N 1 0\n"
                                                        "matEg_N 0 1\n"
                                                        "pstMg_N_48 1 1\n"
                                                        "mobMg_N_3 1 0\n"
                                                        "mobEg_N_3 0 1\n"
                                                        "pstEgDelta_N_48 0 1\n");
    // A queen, who has no middle-game mobility.
    const Trace queen = traceOf(boardOf("4k3/8/8/8/8/8/q7/4K3 b - - 0 1"));
    const int count = 7 + 7 + 6 + 1; // squares that she reaches
    EXPECT_EQ(queen.mg[writtenOut().indexOf("mobMg_Q_" + std::to_string(count))], -1);
    EXPECT_EQ(queen.eg[writtenOut().indexOf("mobEg_Q_" + std::to_string(count))], -1);
    EXPECT_EQ(queen.eg[writtenOut().indexOf("pstEgDelta_Q_48")], 0) << "seen from Black's side";
    EXPECT_EQ(queen.eg[writtenOut().indexOf("pstEgDelta_Q_8")], -1);
}

TEST(Extract, ABishopPairCountsOnceInEachPhase) {
    const int pair = writtenOut().indexOf("bishopPair");
    const auto expectPair = [&](const char* fen, int count) {
        const Trace trace = traceOf(boardOf(fen));
        EXPECT_EQ(trace.mg[pair], count) << fen;
        EXPECT_EQ(trace.eg[pair], count) << fen;
    };
    expectPair("4k3/8/8/8/8/8/4B3/2B1KB2 w - - 0 1", 1);
    expectPair("2b1kb2/8/8/8/8/8/8/4KB2 w - - 0 1", -1);
    expectPair("2b1kb2/8/8/8/8/8/8/2B1KB2 w - - 0 1", 0);
}

TEST(Extract, LeavesWeightsThatNoTermUsesAtZero) {
    const auto check = [](const Board& board) {
        const Trace trace = traceOf(board);
        for (int cell = 0; cell < 64; ++cell)
            for (const int first : {654, 654 + 5 * 64}) // the differences of pawns and kings
                ASSERT_TRUE(trace.mg[first + cell] == 0 && trace.eg[first + cell] == 0)
                    << board.fen();
    };
    Sampling::visitGames(303, 500, check);
}

TEST(Extract, CountsOnlyWhatThePiecesShow) {
    Board board = boardOf("r1bqk2r/pppp1ppp/2n2n2/2b1p3/2B1P3/2N2N2/PPPP1PPP/R1BQK2R w KQkq - 0 1");
    const Trace before = traceOf(board);
    // Neither the sums that the board keeps nor castling rights and clocks are part of it.
    board.psq += packPair(100, -100);
    board.castling = 0;
    board.halfmoveClock = 77;
    board.sideToMove = Black;
    const Trace after = traceOf(board);
    EXPECT_EQ(after.mgBase, before.mgBase);
    EXPECT_EQ(after.egBase, before.egBase);
    EXPECT_TRUE(std::equal(std::begin(after.mg), std::end(after.mg), std::begin(before.mg)));
    EXPECT_TRUE(std::equal(std::begin(after.eg), std::end(after.eg), std::begin(before.eg)));
}

TEST(Extract, TheColourMirrorNegatesEveryCount) {
    const auto check = [](const Board& board) {
        const std::string fen = board.fen();
        const Trace trace = traceOf(board);
        const Trace mirror = traceOf(boardOf(Sampling::mirrored(fen)));
        EXPECT_EQ(mirror.phase, trace.phase) << fen;
        EXPECT_EQ(mirror.mgBase, -trace.mgBase) << fen;
        EXPECT_EQ(mirror.egBase, -trace.egBase) << fen;
        const bool even = Naive::evaluateFen(fen).total.eg == 0; // then White counts as ahead
        EXPECT_TRUE(even || mirror.egScale == trace.egScale) << fen;
        for (int k = 0; k < Tune::NPARAMS; ++k)
            ASSERT_TRUE(mirror.mg[k] == -trace.mg[k] && mirror.eg[k] == -trace.eg[k])
                << Tune::paramName(k) << ' ' << fen;
    };
    visitData(check);
    Sampling::visitGames(304, scaled(1000), check);
    visitUnusual(305, std::max(scaled(100), 20), check);
}

// --- the value from the counts ---

class ReconstructTest : public testing::Test {
  protected:
    /// Expects the value of the evaluation on every side of the fifty-move clock.
    void expectEvaluation(const Board& board) {
        if (HasFailure())
            return;
        *board_ = board;
        const Trace trace = traceOf(board);
        for (const int clock :
             {static_cast<int>(board.halfmoveClock), 0, 99, 100, clocks_++ % 256}) {
            board_->halfmoveClock = static_cast<std::uint8_t>(clock);
            EXPECT_EQ(Tune::reconstruct(*board_, trace, values_.data()), evaluate(*board_))
                << board.fen() << ' ' << clock;
        }
    }

    const Values values_ = builtInValues();

  private:
    std::unique_ptr<Board> board_ = std::make_unique<Board>();
    int clocks_ = 0;
};

TEST_F(ReconstructTest, IsTheEvaluationInGames) {
    const auto check = [this](const Board& board) { expectEvaluation(board); };
    visitData(check);
    Sampling::visitGames(306, scaled(30000), check);
}

TEST_F(ReconstructTest, IsTheEvaluationOnUnusualBoards) {
    visitUnusual(307, std::max(scaled(3000), 100),
                 [this](const Board& board) { expectEvaluation(board); });
}

/// The value from totals, worked out with wide numbers.
int tapered(const Board& board, const Trace& trace, std::int64_t mg, std::int64_t eg) {
    Naive::Evaluation e{};
    e.total = {static_cast<int>(mg), static_cast<int>(eg)};
    e.phase = trace.phase;
    e.scale.value = trace.egScale;
    const int white = Naive::blend(e, board.halfmoveClock);
    return board.sideToMove == White ? white : -white;
}

TEST_F(ReconstructTest, OneWeightChangesTheTotalsByItsCounts) {
    Sampling::Draws draws(308);
    int changed = 0;
    const auto check = [&](Board board) {
        board.halfmoveClock = static_cast<std::uint8_t>(draws.below(256));
        const Trace trace = traceOf(board);
        std::int64_t mg = trace.mgBase;
        std::int64_t eg = trace.egBase;
        for (std::size_t k = 0; k < values_.size(); ++k) {
            mg += trace.mg[k] * values_[k];
            eg += trace.eg[k] * values_[k];
        }
        for (int change = 0; change < 20; ++change) {
            const int k = draws.below(Tune::NPARAMS);
            const int by = draws.below(2001) - 1000;
            Values values = values_;
            values.at(static_cast<std::size_t>(k)) += by;
            const int wanted = tapered(board, trace, mg + by * trace.mg[k], eg + by * trace.eg[k]);
            ASSERT_EQ(Tune::reconstruct(board, trace, values.data()), wanted)
                << board.fen() << ' ' << Tune::paramName(k) << ' ' << by;
            changed += wanted != evaluate(board);
        }
    };
    Sampling::visitGames(309, scaled(2000), check);
    EXPECT_GT(changed, scaled(500));
}

TEST_F(ReconstructTest, DividesInItsOrderTowardsZero) {
    Board board = boardOf("4k3/8/8/8/8/8/8/4K3 w - - 0 1");
    Trace trace;
    const auto value = [&] { return Tune::reconstruct(board, trace, values_.data()); };
    trace.phase = 12;
    trace.egScale = 32;
    trace.mgBase = 11;
    trace.egBase = 21; // scaled 10, so (12 * 11 + 10 * 12) / 24
    EXPECT_EQ(value(), 10);
    trace.mgBase = -11;
    trace.egBase = -21;
    EXPECT_EQ(value(), -10);
    board.halfmoveClock = 25; // -10 * 175 / 200
    EXPECT_EQ(value(), -8);
    board.sideToMove = Black;
    EXPECT_EQ(value(), 8);
    board.halfmoveClock = 200;
    EXPECT_EQ(value(), 0);
    board.halfmoveClock = 220; // beyond the fading the sign changes
    EXPECT_EQ(value(), -1);
}

TEST_F(ReconstructTest, EachPhaseHasItsCounts) {
    const Board board = boardOf("4k3/8/8/8/8/8/8/4K3 w - - 0 1");
    for (const int k : {0, 500, 1081}) {
        Values values{};
        values.at(static_cast<std::size_t>(k)) = 7;
        Trace trace;
        trace.mg[k] = 3;
        trace.eg[k] = -2;
        trace.phase = 24;
        EXPECT_EQ(Tune::reconstruct(board, trace, values.data()), 21);
        trace.phase = 0;
        EXPECT_EQ(Tune::reconstruct(board, trace, values.data()), -14);
    }
}

} // namespace
