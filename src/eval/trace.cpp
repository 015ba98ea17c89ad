#include "base/output.h"
#include "eval/evaluate.h"
#include "eval/explain.h"
#include "eval/names.h"

#include <cassert>
#include <string>
#include <string_view>

namespace Eval {

namespace {

constexpr std::string_view kHeading = "eval trace (з точки зору білих, mg / eg):\n";
constexpr std::string_view kSeparator = "  ----------------\n";
constexpr std::size_t kLabelColumn = 16;

/// A number with room for a sign, so that digits stand in line.
std::string aligned(int value) {
    std::string text = std::to_string(value);
    if (value >= 0)
        text.insert(text.begin(), ' ');
    return text;
}

/// One labelled line of the breakdown.
std::string traceEval(std::string_view label, ScorePair score) {
    std::string line = "  " + std::string(label);
    if (label.size() < kLabelColumn)
        line.append(kLabelColumn - label.size(), ' ');
    return line + aligned(score.mg) + " / " + aligned(score.eg) + "\n";
}

} // namespace

int evaluateAndPrint(const Board& board) {
    const Explanation e = explain(board);
    assert(e.blended == evaluateUnfaded(board));
    Output::write(kHeading);
    for (int term = 0; term < kTermCount; ++term)
        Output::write(traceEval(kTermNames[term].label, e.terms[term].value));
    Output::write(kSeparator);
    Output::write(traceEval("total", e.total));
    Output::write("  phase           " + std::to_string(e.phase) + " / 24\n");
    Output::write("  eg scale        " + std::to_string(e.scale) + " / 64\n");
    Output::write("  final (white)   " + std::to_string(e.white) + "\n");
    Output::write(std::string("  final (stm=") + (board.sideToMove == White ? "w" : "b") +
                  ")      " + std::to_string(e.value) + "\n");
    return e.value;
}

} // namespace Eval
