#include "search/search.h"

#include "board/kinglines.h"
#include "search/correction.h"
#include "search/history.h"
#include "search/movepicker.h"
#include "search/quiesce.h"
#include "search/score.h"
#include "search/stop.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace Search {

std::int32_t kLMR[64][64];

namespace {

// Reverse futility: centipawns that a ply of depth is worth.
constexpr int kFutilityDepth = 7; // only below
constexpr int kFutilityMargin = 80;

constexpr int kNullMoveDepth = 3; // from here on
constexpr int kNullMoveDeep = 5;  // beyond this one ply more is saved

constexpr int kInternalReductionDepth = 3; // beyond

// Singular extension: how deep a node must be, how much older its entry may be, how far below the
// entry's score all other moves must fail.
constexpr int kSingularDepth = 8;
constexpr int kSingularEntryMargin = 3;
constexpr int kSingularScoreMargin = 2; // per ply of depth

constexpr int kLateMoveDepth = 4; // late move pruning up to here
constexpr int kLateMoveBase = 3;  // and from this many moves on, plus depth squared

constexpr int kReductionMoves = 3; // moves searched before any is reduced
constexpr int kReductionMovesPv = 5;
constexpr int kReductionDepth = 2; // depth left from which moves are reduced
constexpr int kHistoryPerPly = 8000;

constexpr int kFiftyMoveClock = 99; // beyond

int searchNode(Thread& thread, Board& board, int alpha, int beta, int depth, SearchStack* ss,
               bool cutNode, bool inCheck);

/// One call of `searchNode`: what its steps share.
struct Node {
    Thread& thread;
    Board& board;
    SearchStack* ss;
    int alpha;
    int beta;
    int depth;
    const bool cutNode;
    const bool pv;
    const bool inCheck;

    bool ttHit = false; // the table knows the position
    TTData tt{};
    int ttScore = 0;
    int staticEval = 0; // corrected; 0 in check

    bool excluded() const { return ss->excludedMove != 0; }
    Color us() const { return board.sideToMove; }

    /// Searches the position after a move that has just been made, null move included.
    int searchChild(Move m, bool givesCheck, int low, int high, int childDepth, bool childCutNode) {
        SearchStack child;
        child.ply = ss->ply + 1;
        child.move = m;
        return -searchNode(thread, board, -high, -low, childDepth, &child, childCutNode,
                           givesCheck);
    }
};

/// Asks the limits, on the main thread at every node, and lets progress be reported.
bool reachesLimit(Thread& thread) {
    const std::uint64_t nodes = thread.nodes.load(std::memory_order_relaxed);
    const SearchLimits& limits = thread.limits;
    const bool nodesSpent = limits.nodes >= 1 && nodes >= static_cast<std::uint64_t>(limits.nodes);
    if (nodesSpent || timeIsUp(nodes))
        return true;
    if (nodes % TimeManager::kCheckInterval == 0 && limits.hasTime())
        thread.reporter.reportProgress(thread);
    return false;
}

bool isDraw(const Board& board) {
    return board.halfmoveClock > kFiftyMoveClock || board.isRepetition();
}

void probeTable(Node& n) {
    n.ttHit = gTT.probe(n.board.key, n.tt);
    if (n.ttHit)
        n.ttScore = TranspositionTable::scoreFromTT(n.tt.score, n.ss->ply);
}

bool canCutByTable(const Node& n) {
    if (!n.ttHit || n.pv || n.excluded() || n.tt.depth < n.depth)
        return false;
    return n.tt.settles(n.ttScore, n.alpha, n.beta);
}

/// The evaluation is so far above beta that the remaining depth will hardly bring it down.
bool canReverseFutilityPrune(const Node& n) {
    if (n.pv || n.excluded() || n.depth >= kFutilityDepth || isMateScore(n.beta))
        return false;
    const int margin = kFutilityMargin * n.depth;
    if (n.staticEval - margin < n.beta)
        return false;
    return n.staticEval - margin - kFutilityMargin >= n.beta || !n.board.pieceIsThreatened();
}

/// With pawns alone passing may be the best move; then the test proves nothing.
bool canTryNullMove(const Node& n) {
    const Bitboard(&own)[6] = n.board.pieces[n.us()];
    return !n.pv && !n.excluded() && n.depth >= kNullMoveDepth && n.board.historyCount >= 1 &&
           n.board.colorBB[n.us()] != (own[Pawn] | own[King]);
}

/// Whether the side to move fails high even if it passes.
bool nullMoveFailsHigh(Node& n) {
    const int reduction = n.depth > kNullMoveDeep ? 3 : 2;
    n.board.makeNullMove();
    const int score =
        n.searchChild(0, false, n.beta - 1, n.beta, n.depth - reduction - 1, !n.cutNode);
    n.board.unmakeNullMove();
    return score >= n.beta;
}

bool canReduceInternally(const Node& n) {
    return n.depth > kInternalReductionDepth && n.tt.move == 0 && !n.inCheck && !n.excluded();
}

/// The table move may be the only good one: the entry is deep enough and no upper bound.
bool canTestSingularity(const Node& n, Move m) {
    return n.depth >= kSingularDepth && m == n.tt.move && n.ss->ply > 0 && n.ttHit &&
           !n.excluded() && n.tt.depth >= n.depth - kSingularEntryMargin && n.tt.flag != TTUpper &&
           !isMateScore(n.ttScore);
}

struct SingularResult {
    int extension; // of the table move, in plies
    bool multiCut; // `score` is good enough without it
    int score;
};

/// Searches all moves but the table move at half depth. If all fall clearly short of it, it is
/// extended; if another one beats beta as well, the node is done.
SingularResult testSingularity(Node& n) {
    const int bound = n.ttScore - kSingularScoreMargin * n.depth;
    n.ss->excludedMove = n.tt.move;
    const int score = searchNode(n.thread, n.board, bound - 1, bound, (n.depth - 1) / 2, n.ss,
                                 n.cutNode, n.inCheck);
    n.ss->excludedMove = 0;
    if (score < bound)
        return {1, false, score};
    const bool multiCut = !n.pv && score >= n.beta && !isMateScore(score);
    return {n.cutNode ? -1 : 0, multiCut, score};
}

/// Plies by which a late quiet move is searched less deep, before it is held within the depth left.
int lateMoveReduction(const Node& n, Move m, int newDepth, int movesSearched) {
    if (n.pv && movesSearched < kReductionMovesPv)
        return 0;
    // The move is made: it is the other side's turn.
    const int history = historyOf(n.thread, ~n.us(), m);
    return kLMR[std::min(newDepth, 63)][std::min(movesSearched + 1, 63)] - (n.pv ? 1 : 0) -
           history / kHistoryPerPly;
}

/// The moves of one node as they are searched.
class MoveLoop {
  public:
    explicit MoveLoop(Node& node)
        : n_(node),
          picker_(node.thread, node.board, node.tt.move),
          legality_(node.board, node.inCheck),
          checks_(node.board) {}

    int run();

  private:
    bool pastLateMoveLimit() const { return mayPrune_ && movesSearched_ >= lateMoveCount_; }
    int searchMove(Move m, bool givesCheck, int newDepth, bool reducible);
    int failHigh(Move m);
    int finish();

    Node& n_;
    MovePicker picker_;
    const LegalityInfo legality_;
    const CheckInfo checks_;
    QuietsTried quiets_;
    const bool mayPrune_ = !n_.pv && !n_.inCheck && n_.depth <= kLateMoveDepth;
    const int lateMoveCount_ = n_.depth * n_.depth + kLateMoveBase;
    int movesSearched_ = 0;
    int bestScore_ = -kInfinite;
    Move bestMove_ = 0;
    TTFlag flag_ = TTUpper;
};

int MoveLoop::run() {
    Board& board = n_.board;
    while (const Move m = picker_.next()) {
        if (m == n_.ss->excludedMove)
            continue;

        // 13.1 Singular extension: is the table move the only good one?
        int extension = 0;
        if (canTestSingularity(n_, m)) {
            const SingularResult singular = testSingularity(n_);
            if (stopped())
                return 0;
            if (singular.multiCut)
                return singular.score;
            extension = singular.extension;
        }

        // 13.2 Late move pruning: after many moves only checks are still worth a look.
        const bool quiet = !isCaptureOrPromotion(m);
        const bool givesCheck = checks_.givesCheck(m);
        if (pastLateMoveLimit() && quiet && !givesCheck)
            continue;

        // 13.3 Make the move, if it is legal.
        if (!legality_.isLegal(m))
            continue;
        board.makeMove(m);
        gTT.prefetch(board.key);
        n_.thread.evalCache.prefetch(board.key);

        // 13.4 Remember quiet moves: the ones that a cutoff refutes lose history.
        if (quiet)
            quiets_.add(m);

        // 13.5 to 13.8 Search it, extended or reduced.
        const int depthChange = extension >= 1 || givesCheck ? 1 : extension < 0 ? -1 : 0;
        const bool reducible = !n_.inCheck && quiet && !givesCheck && extension >= 0;
        const int score = searchMove(m, givesCheck, n_.depth - 1 + depthChange, reducible);
        board.unmakeMove(m);

        // 13.9 From here on the tail holds checks only.
        if (mayPrune_ && movesSearched_ + 1 == lateMoveCount_)
            picker_.keepQuietChecksOnly();

        // 13.10 A stopped search found nothing.
        if (stopped())
            return 0;

        // 13.11 Is it the best move so far, is it good enough?
        if (score > bestScore_) {
            bestScore_ = score;
            bestMove_ = m;
            if (n_.ss->ply == 0) {
                n_.thread.rootBestMove = m;
                n_.thread.rootBestScore = score;
            }
            if (score >= n_.beta)
                return failHigh(m);
            if (score > n_.alpha) {
                flag_ = TTExact;
                n_.alpha = score;
            }
        }
        ++movesSearched_;
    }
    return finish();
}

/// Searches a move that has been made: late quiet moves first with reduced depth, all but the first
/// of a principal variation with a null window, and what turns out to be better in full.
int MoveLoop::searchMove(Move m, bool givesCheck, int newDepth, bool reducible) {
    const int alpha = n_.alpha;
    const bool firstOfPv = n_.pv && movesSearched_ == 0;
    int score = 0;
    if (!firstOfPv) {
        if (reducible && movesSearched_ >= kReductionMoves && newDepth >= kReductionDepth) {
            const int wanted = lateMoveReduction(n_, m, newDepth, movesSearched_);
            const int reduction = std::min(newDepth - 1, wanted);
            if (reduction > 0) {
                score = n_.searchChild(m, givesCheck, alpha, alpha + 1, newDepth - reduction, true);
                if (score <= alpha)
                    return score;
            }
        }
        score = n_.searchChild(m, givesCheck, alpha, alpha + 1, newDepth, !n_.cutNode);
    }
    if (n_.pv && (firstOfPv || (score > alpha && score < n_.beta)))
        score = n_.searchChild(m, givesCheck, alpha, n_.beta, newDepth, false);
    return score;
}

/// Move `m` causes a beta cutoff: the other side will not let this position come about.
int MoveLoop::failHigh(Move m) {
    rewardCutoff(n_.thread, n_.us(), m, quiets_, n_.depth);
    if (n_.excluded())
        return bestScore_;
    if (!n_.inCheck && !isCaptureOrPromotion(m) && bestScore_ < kMateBound &&
        bestScore_ > n_.staticEval)
        Correction(n_.thread, n_.board).learn(bestScore_ - n_.staticEval, n_.depth);
    gTT.store(n_.board.key, m, bestScore_, n_.depth, TTLower, n_.ss->ply);
    return bestScore_;
}

/// All moves are searched and none refutes the position.
int MoveLoop::finish() {
    if (movesSearched_ == 0)
        return n_.inCheck ? matedIn(n_.ss->ply) : 0;
    if (n_.excluded())
        return bestScore_;

    // No answer was found to the move that led here.
    const Move previousMove = n_.ss->move;
    if (flag_ == TTUpper && previousMove != 0 && !isCaptureOrPromotion(previousMove))
        addHistory(n_.thread, ~n_.us(), previousMove, historyBonus(n_.depth));

    if (!n_.inCheck && !isCaptureOrPromotion(bestMove_) && !isMateScore(bestScore_) &&
        (flag_ == TTExact || bestScore_ < n_.staticEval))
        Correction(n_.thread, n_.board).learn(bestScore_ - n_.staticEval, n_.depth);
    gTT.store(n_.board.key, bestMove_, bestScore_, n_.depth, flag_, n_.ss->ply);
    return bestScore_;
}

int searchNode(Thread& thread, Board& board, int alpha, int beta, int depth, SearchStack* ss,
               bool cutNode, bool inCheck) {
    assert(inCheck == board.inCheck(board.sideToMove));
    const bool pv = beta - alpha > 1;
    const int ply = ss->ply;

    // 1. Stop: whoever asked for it does not want the result.
    if (stopped())
        return 0;

    // 2. Ply limit.
    if (ply >= kMaxPly)
        return thread.evalCache.evaluate(board);

    // 3. Mate distance: no line from here can be better than a mate already found.
    alpha = std::max(alpha, matedIn(ply));
    beta = std::min(beta, -matedIn(ply));
    if (alpha >= beta)
        return alpha;

    // 4. Leaves go to quiescence.
    if (depth < 1)
        return quiesce(thread, board, alpha, beta, ply, 0);

    // 5. Count the node and look at the limits.
    thread.countNode();
    if (thread.isMain() && reachesLimit(thread)) {
        gStopSearch = true;
        return 0;
    }

    // 6. Draws by the fifty-move rule and by repetition.
    if (ply > 0 && isDraw(board))
        return 0;

    // 7. Static evaluation, corrected by experience; in check there is none. It fills the time in
    // which the table's entry arrives from memory.
    Node n{thread, board, ss, alpha, beta, depth, cutNode, pv, inCheck};
    if (!n.inCheck)
        n.staticEval = thread.evalCache.evaluate(board) + Correction(thread, board).value();

    // 8. Transposition table: was this position searched deep enough before?
    probeTable(n);
    if (canCutByTable(n))
        return n.ttScore;

    // 9. In check nothing is pruned on account of the evaluation.
    if (!n.inCheck) {
        // 10. Reverse futility pruning: far above beta, with nothing under attack.
        if (canReverseFutilityPrune(n))
            return n.staticEval;

        // 11. Null move: still above beta after passing?
        if (canTryNullMove(n) && nullMoveFailsHigh(n))
            return stopped() ? 0 : n.beta;
    }

    // 12. Internal reduction: without a table move a shallower search will find one first.
    if (canReduceInternally(n))
        --n.depth;

    // 13. Search the moves.
    return MoveLoop(n).run();
}

} // namespace

void init() {
    for (int depth = 1; depth < 64; ++depth)
        for (int move = 1; move < 64; ++move)
            kLMR[depth][move] =
                static_cast<std::int32_t>(std::log(depth) * std::log(move) / 2.25 + 0.75);
}

int alphaBeta(Thread& thread, Board& board, int alpha, int beta, int depth, SearchStack* ss,
              bool cutNode) {
    return searchNode(thread, board, alpha, beta, depth, ss, cutNode,
                      board.inCheck(board.sideToMove));
}

} // namespace Search
