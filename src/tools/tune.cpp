#include "tools/tune.h"

#include "eval/evaluate.h"
#include "eval/walk.h"

#include <algorithm>

namespace Tune {

namespace {

/// Sink that counts the uses of each weight. The sum goes with it: it picks the end-game scale.
class CountSink {
  public:
    explicit CountSink(Trace& trace) : trace_(trace) {}

    template <Eval::Term T, Eval::Feature F>
    void use(int cell, int count) {
        if constexpr (F.mg != Eval::kNoWeight)
            trace_.mg[F.mg + cell] += count;
        if constexpr (F.eg != Eval::kNoWeight)
            trace_.eg[F.eg + cell] += count;
        sum_.use<T, F>(cell, count);
    }

    template <Eval::Term T>
    void addConstant(int mg, int eg) {
        trace_.mgBase += mg;
        trace_.egBase += eg;
        sum_.addConstant<T>(mg, eg);
    }

    ScorePair total() const { return sum_.total(); }

  private:
    Trace& trace_;
    Eval::SumSink sum_;
};

} // namespace

void initValues(int* values) {
    WeightLayout::fillValues(values);
}

std::string paramName(int index) {
    return WeightLayout::name(index);
}

void extract(const Board& board, Trace& trace) {
    CountSink sink(trace);
    Eval::walkFromScratch(board, sink);
    trace.phase = std::min(board.phase, EvalParams::kFullPhase);
    trace.egScale = egScaleFactor(board, sink.total().eg);
}

int reconstruct(const Board& board, const Trace& trace, const int* values) {
    ScorePair total{trace.mgBase, trace.egBase};
    for (int k = 0; k < NPARAMS; ++k) {
        total.mg += trace.mg[k] * values[k];
        total.eg += trace.eg[k] * values[k];
    }
    return Eval::fadedForSideToMove(board, Eval::taper(total, trace.phase, trace.egScale));
}

} // namespace Tune
