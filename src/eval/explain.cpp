#include "eval/explain.h"

#include "eval/evaluate.h"
#include "eval/names.h"
#include "eval/walk.h"

#include <cassert>

namespace Eval {

namespace {

void add(ScorePair& sum, ScorePair value) {
    sum = {sum.mg + value.mg, sum.eg + value.eg};
}

/// Sink that keeps everything apart that the walk tells apart.
class AspectSink {
  public:
    explicit AspectSink(AspectShare (&shares)[kAspectCount]) : shares_(shares) {}

    void squares(Aspect aspect, Color side, Bitboard squares, int count) {
        assert(nameOf(aspect).bySide);
        begin(aspect, squares);
        side_ = &share_->sides[side];
        side_->squares |= squares;
        side_->count += count;
    }

    void squares(Aspect aspect, Bitboard squares) {
        assert(!nameOf(aspect).bySide);
        begin(aspect, squares);
        side_ = nullptr;
    }

    template <Term T, Feature F>
    void use(int cell, int count) {
        assert(cell >= 0 && cell < F.cells);
        const ScorePair weights = unpackPair(Detail::kCells<F>[static_cast<std::size_t>(cell)]);
        addConstant<T>(weights.mg * count, weights.eg * count);
    }

    template <Term T>
    void addConstant(int mg, int eg) {
        assert(share_ && nameOf(aspect_).term == T);
        add(share_->value, {mg, eg});
        if (side_)
            add(side_->value, {mg, eg});
    }

  private:
    void begin(Aspect aspect, Bitboard squares) {
        aspect_ = aspect;
        share_ = &shares_[static_cast<int>(aspect)];
        share_->squares |= squares;
    }

    AspectShare (&shares_)[kAspectCount];
    Aspect aspect_{};
    AspectShare* share_ = nullptr; // of what is counted
    SideShare* side_ = nullptr;    // the side's, none where both have it together
};

void addUp(Explanation& e) {
    for (int aspect = 0; aspect < kAspectCount; ++aspect) {
        const AspectShare& share = e.aspects[aspect];
        TermShare& term = e.terms[static_cast<int>(kAspectNames[aspect].term)];
        add(e.total, share.value);
        add(term.value, share.value);
        for (const Color c : {White, Black})
            add(term.sides[c], share.sides[c].value);
    }
}

} // namespace

Explanation explain(const Board& board) {
    Explanation e{};
    AspectSink sink(e.aspects);
    walkFromScratch(board, sink);
    addUp(e);

    const Blend result = blend(board, e.total);
    e.phase = result.phase;
    e.scale = result.scale;
    e.blended = result.value;
    e.value = fadedForSideToMove(board, result.value);
    e.white = board.sideToMove == White ? e.value : -e.value;

    Bitboard rays[kSquares];
    for (const Color c : {White, Black})
        computeAbsolutePins(board, c, e.pinned[c], rays);
    return e;
}

} // namespace Eval
