#include "search/quiesce.h"

#include "board/generate.h"
#include "board/kinglines.h"
#include "search/correction.h"
#include "search/ordering.h"
#include "search/playmove.h"
#include "search/score.h"
#include "search/stop.h"

#include <algorithm>
#include <cassert>

namespace Search {

namespace {

constexpr int kTableMoveScore = 1000000; // above every capture
constexpr int kQuiescenceDepth = -1;     // of table entries
constexpr int kDeltaMargin = 200;        // centipawns that a capture may gain besides its victim

/// With a null window every entry is deep enough to end the search.
bool canCutByTable(const TTData& tt, int score, int alpha, int beta) {
    return beta - alpha == 1 && tt.depth >= kQuiescenceDepth && tt.settles(score, alpha, beta);
}

void storeUnlessStopped(const Board& board, Move move, int score, TTFlag flag, int ply) {
    if (!stopped())
        gTT.store(board.key, move, score, kQuiescenceDepth, flag, ply);
}

/// Captures and promotions, best first.
class CapturePicker {
  public:
    CapturePicker(const Board& board, Move ttMove) {
        const Ordering::CaptureSink captures = MoveGen::generate<MoveGen::Kind::Captures>(
            board, Ordering::CaptureSink{board, moves_, keys_});
        if (ttMove != 0) {
            const int place =
                static_cast<int>(std::find(moves_, moves_ + captures.count, ttMove) - moves_);
            if (place < captures.count)
                keys_[place] = Ordering::makeKey(kTableMoveScore, place);
        }
        keysEnd_ = Ordering::closeGroup(keys_, captures.count);
    }

    bool isEmpty() const { return keysEnd_ == 0; }

    Move next() {
        const Ordering::Key best = Ordering::takeGreatestKey(keys_, 0, keysEnd_);
        return best == Ordering::kNoMoveKey ? 0 : moves_[Ordering::placeOf(best)];
    }

  private:
    Move moves_[Ordering::kKeyCapacity];
    alignas(sizeof(Ordering::Key) * Ordering::kLanes) Ordering::Key keys_[Ordering::kKeyCapacity];
    int keysEnd_;
};

/// Whether a capture can hardly raise the best score: its victim is worth too little (delta
/// pruning), or it loses the exchange.
bool isHopeless(const Board& board, Move m, int staticEval, int best) {
    if (isPromotion(m))
        return false;
    const int gain = SEE::kValue[Ordering::victimOf(board, m)];
    return staticEval + kDeltaMargin + gain < best || !seeGE(board, m, 0);
}

} // namespace

int quiesce(Thread& thread, Board& board, int alpha, int beta, int ply, int qdepth) {
    assert(-kInfinite <= alpha && alpha < beta && beta <= kInfinite);
    assert(ply >= 0 && qdepth >= 0);
    if (stopped())
        return 0;
    if (ply >= kMaxPly)
        return thread.evalCache.evaluate(board);
    thread.countNode();
    thread.countQuiescenceNode();
    // Where dozens of pieces can take each other, one call of the main search may stay in here for
    // minutes: so the clock is read here, too.
    if (thread.isMain() && timeIsUp(thread.nodes)) {
        gStopSearch = true;
        return 0;
    }
    thread.reachPly(ply);

    // Before the probe: it fills the time until the prefetched bucket arrives from memory.
    const int staticEval = thread.evalCache.evaluate(board) + Correction(thread, board).value();

    TTData tt{};
    if (gTT.probe(board.key, tt)) {
        const int score = TranspositionTable::scoreFromTT(tt.score, ply);
        if (canCutByTable(tt, score, alpha, beta))
            return score;
    }

    // Stand pat, in check as well: evasions are left to the main search.
    if (staticEval >= beta) {
        storeUnlessStopped(board, 0, staticEval, TTLower, ply);
        return beta;
    }
    int best = std::max(staticEval, alpha);
    Move bestMove = 0;
    CapturePicker picker(board, tt.move);
    if (picker.isEmpty()) {
        storeUnlessStopped(board, 0, best, TTUpper, ply);
        return best;
    }

    const bool inCheck = board.inCheck(board.sideToMove);
    const LegalityInfo legality(board, inCheck);
    while (const Move m = picker.next()) {
        if (!inCheck && isHopeless(board, m, staticEval, best))
            continue;
        if (!legality.isLegal(m))
            continue;
        playMove(thread, board, m);
        const int score = -quiesce(thread, board, -beta, -best, ply + 1, qdepth + 1);
        board.unmakeMove(m);
        if (score >= beta) {
            storeUnlessStopped(board, m, score, TTLower, ply);
            return beta;
        }
        if (score > best) {
            best = score;
            bestMove = m;
        }
    }
    storeUnlessStopped(board, bestMove, best, TTUpper, ply);
    return best;
}

} // namespace Search
