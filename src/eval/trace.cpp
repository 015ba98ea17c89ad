#include "base/output.h"
#include "eval/evaluate.h"
#include "eval/names.h"
#include "eval/walk.h"

#include <cassert>
#include <string>
#include <string_view>

namespace Eval {

namespace {

constexpr std::string_view kHeading = "eval trace (з точки зору білих, mg / eg):\n";
constexpr std::string_view kSeparator = "  ----------------\n";
constexpr std::size_t kLabelColumn = 16;

/// Sink that keeps the terms apart.
class TermSink {
  public:
    template <Term T, Feature F>
    void use(int cell, int count) {
        assert(cell >= 0 && cell < F.cells);
        const ScorePair weights = unpackPair(Detail::kCells<F>[static_cast<std::size_t>(cell)]);
        addConstant<T>(weights.mg * count, weights.eg * count);
    }

    template <Term T>
    void addPacked(PackedPair pair) {
        const ScorePair values = unpackPair(pair);
        addConstant<T>(values.mg, values.eg);
    }

    template <Term T>
    void addConstant(int mg, int eg) {
        terms_[static_cast<int>(T)].mg += mg;
        terms_[static_cast<int>(T)].eg += eg;
    }

    ScorePair term(int index) const { return terms_[index]; }

    ScorePair total() const {
        ScorePair sum;
        for (const ScorePair& term : terms_)
            sum = {sum.mg + term.mg, sum.eg + term.eg};
        return sum;
    }

  private:
    ScorePair terms_[kTermCount] = {};
};

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
    TermSink sink;
    walkIncremental(board, PawnTable::compute(board), sink);
    const Blend result = blend(board, sink.total());
    const bool whiteToMove = board.sideToMove == White;
    const int value = fadedForSideToMove(board, result.value);
    const int whiteValue = whiteToMove ? value : -value;

    Output::write(kHeading);
    for (int term = 0; term < kTermCount; ++term)
        Output::write(traceEval(kTermNames[term].label, sink.term(term)));
    Output::write(kSeparator);
    Output::write(traceEval("total", sink.total()));
    Output::write("  phase           " + std::to_string(result.phase) + " / 24\n");
    Output::write("  eg scale        " + std::to_string(result.scale) + " / 64\n");
    Output::write("  final (white)   " + std::to_string(whiteValue) + "\n");
    Output::write("  final (stm=" + std::string(whiteToMove ? "w" : "b") + ")      " +
                  std::to_string(value) + "\n");
    return value;
}

} // namespace Eval
