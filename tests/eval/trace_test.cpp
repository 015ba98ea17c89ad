#include "naive_eval.h"
#include "print.h"
#include "sampling.h"
#include "trace_reader.h"

#include <gtest/gtest.h>

#include <string>

using Notation::boardOf;
using TraceReader::term;
using TraceReader::Traced;
using TraceReader::traced;

namespace {

// A rook and a pawn more in the end game, a tenth of what fades with the fifty-move clock gone.
const char* const kRookEnding = "8/8/8/4k3/8/8/6P1/3R2K1 b - - 20 40";

// Its value to White and its breakdown, worked out by hand but for the cells that are fitted to
// games.
struct TracedEnding {
    int rook = EvalParams::kPSTMG[3][59];             // d1
    ScorePair material = {493 + rook + 93 - 4,        // the pawn on g2: -4
                          635 + rook + 153 - 32};     // and -32
    ScorePair king = {38 - EvalParams::kPSTMG[5][36], // g1; e5 from Black's side
                      -71 - EvalParams::kKingEG[36] + (14 - 6) * 5 +
                          (6 - 6) * 10}; // the kings are 6 apart, his in the centre
    ScorePair mobility = {-30 + 12 * 5, -24 + 12 * 4};
    int safety = 10 * 1 - 31 * 2 + 4 + 80 / 5; // White's shelter; two units and the rook's weight
    ScorePair rooks = {51, -3};                // an open file
    ScorePair pawns = {-8 + 2, -10 + 13};      // isolated, passed on the second rank
    ScorePair total = {material.mg + king.mg + mobility.mg + safety + rooks.mg + pawns.mg,
                       material.eg + king.eg + mobility.eg + rooks.eg + pawns.eg};
    int value = (2 * total.mg + 22 * total.eg) / 24 * 180 / 200;

    std::string text() const {
        return "eval trace (з точки зору білих, mg / eg):\n"
               "  material+psqt    " +
               pair(material) + "  king             " + pair(king) +
               "  bishop pair      0 /  0\n"
               "  mobility         30 /  24\n"
               "  king safety     -32 /  0\n"
               "  rooks (files)    51 / -3\n"
               "  pawns           -6 /  3\n"
               "  ----------------\n"
               "  total            " +
               pair(total) +
               "  phase           2 / 24\n"
               "  eg scale        64 / 64\n"
               "  final (white)   " +
               std::to_string(value) +
               "\n"
               "  final (stm=b)      " +
               std::to_string(-value) + "\n";
    }

    static std::string pair(ScorePair score) {
        return std::to_string(score.mg) + " / " + (score.eg < 0 ? "" : " ") +
               std::to_string(score.eg) + "\n";
    }
};
const TracedEnding kEnding;

const char* const kStartText = "eval trace (з точки зору білих, mg / eg):\n"
                               "  material+psqt    0 /  0\n"
                               "  king             0 /  0\n"
                               "  bishop pair      0 /  0\n"
                               "  mobility         0 /  0\n"
                               "  king safety      0 /  0\n"
                               "  rooks (files)    0 /  0\n"
                               "  pawns            0 /  0\n"
                               "  ----------------\n"
                               "  total            0 /  0\n"
                               "  phase           24 / 24\n"
                               "  eg scale        64 / 64\n"
                               "  final (white)   0\n"
                               "  final (stm=w)      0\n";

} // namespace

TEST(EvalTrace, PrintsTheTermsOfAPositionWorkedOutByHand) {
    const Traced found = traced(boardOf(kRookEnding));
    EXPECT_EQ(found.text, kEnding.text());
    EXPECT_EQ(found.value, -kEnding.value);
}

TEST(EvalTrace, PrintsTheStartPosition) {
    EXPECT_EQ(traced(boardOf(std::string(kStartFen))).text, kStartText);
}

TEST(EvalTrace, ShowsTheSideToMoveAndItsSign) {
    const Traced white = traced(boardOf("8/8/8/4k3/8/8/6P1/3R2K1 w - - 20 40"));
    const std::string value = std::to_string(kEnding.value);
    EXPECT_NE(white.text.find("\n  final (white)   " + value + "\n  final (stm=w)      " + value),
              std::string::npos);
    EXPECT_EQ(white.value, kEnding.value);
    const Traced mirror = traced(boardOf("3r2k1/6p1/8/8/4K3/8/8/8 b - - 20 40"));
    EXPECT_NE(mirror.text.find("\n  final (white)   -" + value + "\n  final (stm=b)      " + value),
              std::string::npos);
    EXPECT_EQ(mirror.value, kEnding.value);
}

TEST(EvalTrace, ShowsTheScaleAndTheClampedPhase) {
    EXPECT_NE(
        traced(boardOf("8/4k3/8/4K3/4P3/8/8/8 w - - 0 1")).text.find("eg scale        0 / 64"),
        std::string::npos);
    EXPECT_NE(traced(boardOf("4k3/qqqqqqqq/8/8/8/8/8/R3K3 w - - 0 1"))
                  .text.find("phase           24 / 24"),
              std::string::npos);
}

TEST(EvalTrace, IsWhatTheTermsComputedOneByOneGiveOnTheSharedPositions) {
    for (const std::string& fen : Positions::readShared()) {
        const Board board = boardOf(fen);
        const Naive::Evaluation wanted = Naive::evaluateFen(fen);
        const Traced found = traced(board);
        ASSERT_EQ(found.text, Naive::traceText(wanted, board.sideToMove)) << fen;
        ASSERT_EQ(found.value, wanted.value) << fen;
    }
}

TEST(EvalTrace, TermLinesAddUpToTheTotalLine) {
    for (const std::string& fen : Positions::readShared()) {
        const std::string text = traced(boardOf(fen)).text;
        ScorePair sum;
        for (const char* label : {"material+psqt", "king", "bishop pair", "mobility", "king safety",
                                  "rooks (files)", "pawns"}) {
            const ScorePair pair = term(text, label);
            sum = {sum.mg + pair.mg, sum.eg + pair.eg};
        }
        ASSERT_EQ(term(text, "total"), sum) << fen;
    }
}

TEST(EvalTrace, PrintsNothingAndChangesNoValueWhenItIsOff) {
    for (const std::string& fen : Positions::readShared()) {
        const Board board = boardOf(fen);
        const int valueOn = traced(board).value;
        testing::internal::CaptureStdout();
        const int valueOff = evaluate(board);
        ASSERT_EQ(testing::internal::GetCapturedStdout(), "") << fen;
        ASSERT_EQ(valueOff, valueOn) << fen;
    }
}

TEST(EvalTrace, PrintsOnceForEveryEvaluationUntilItIsSwitchedOff) {
    const Board board = boardOf(kRookEnding);
    testing::internal::CaptureStdout();
    setEvalTrace(true);
    evaluate(board);
    evaluate(board);
    setEvalTrace(false);
    evaluate(board);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kEnding.text() + kEnding.text());
}
