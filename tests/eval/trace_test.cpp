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

// A rook and a pawn more in the end game, half a fifth of the fifty-move clock gone.
//   material  rook 493 + 7 / 635 + 7, pawn 93 - 4 / 153 - 32
//   king      38 - (-54) / -71 - 46; mop-up (14 - 6) * 5 + (6 - 6) * 10 = 40
//   mobility  twelve squares: -30 + 60 / -24 + 48
//   safety    White 10 * 1 - 31 * 2; Black two units (4) and 80 / 5 against him
//   rook      open file
//   pawn      isolated, passed on the second rank
//   blend     (2 * 724 + 22 * 710) / 24 = 711; 711 * 180 / 200 = 639
const char* const kRookEnding = "8/8/8/4k3/8/8/6P1/3R2K1 b - - 20 40";
const char* const kRookEndingText = "eval trace (з точки зору білих, mg / eg):\n"
                                    "  material+psqt    589 /  763\n"
                                    "  king             92 / -77\n"
                                    "  bishop pair      0 /  0\n"
                                    "  mobility         30 /  24\n"
                                    "  king safety     -32 /  0\n"
                                    "  rooks (files)    51 / -3\n"
                                    "  pawns           -6 /  3\n"
                                    "  ----------------\n"
                                    "  total            724 /  710\n"
                                    "  phase           2 / 24\n"
                                    "  eg scale        64 / 64\n"
                                    "  final (white)   639\n"
                                    "  final (stm=b)      -639\n";

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
    EXPECT_EQ(found.text, kRookEndingText);
    EXPECT_EQ(found.value, -639);
}

TEST(EvalTrace, PrintsTheStartPosition) {
    EXPECT_EQ(traced(boardOf(std::string(kStartFen))).text, kStartText);
}

TEST(EvalTrace, ShowsTheSideToMoveAndItsSign) {
    const Traced white = traced(boardOf("8/8/8/4k3/8/8/6P1/3R2K1 w - - 20 40"));
    EXPECT_NE(white.text.find("\n  final (white)   639\n  final (stm=w)      639\n"),
              std::string::npos);
    EXPECT_EQ(white.value, 639);
    const Traced mirror = traced(boardOf("3r2k1/6p1/8/8/4K3/8/8/8 b - - 20 40"));
    EXPECT_NE(mirror.text.find("\n  final (white)   -639\n  final (stm=b)      639\n"),
              std::string::npos);
    EXPECT_EQ(mirror.value, 639);
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
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              std::string(kRookEndingText) + kRookEndingText);
}
