#include "search/search.h"

#include "board/kinglines.h"
#include "search/correction.h"
#include "search/history.h"
#include "search/movepicker.h"
#include "search/playmove.h"
#include "search/quiesce.h"
#include "search/score.h"
#include "search/stop.h"

#include <algorithm>
#include <cassert>
#include <limits>

namespace Search {

std::int32_t kLMR[kReductionSize][kReductionSize];

namespace {

// Depths are in plies. All bounds are inclusive: a step with a MinDepth is taken at depth >= that,
// one with a MaxDepth at depth <= that; the same goes for counts of moves.

// Reverse futility pruning.
constexpr int kFutilityMaxDepth = 6;
constexpr int kFutilityMargin = 80; // centipawns that a ply of depth may bring

// Null move pruning.
constexpr int kNullMoveMinDepth = 3;
constexpr int kNullMoveReduction = 2;
constexpr int kNullMoveDeepMinDepth = 6;
constexpr int kNullMoveDeepReduction = 3;

constexpr int kInternalReductionMinDepth = 4;

// Singular extension.
constexpr int kSingularMinDepth = 8;
constexpr int kSingularEntryMargin = 3; // how much shallower than the node its table entry may be
constexpr int kSingularScoreMargin = 2; // how far below the entry's score all other moves must
                                        // fail, in centipawns for each ply of depth

// Late move pruning.
constexpr int kLateMoveMaxDepth = 4;
constexpr int kLateMoveBase = 3; // moves that are always searched, besides depth squared

// Late move reduction.
constexpr int kReductionMinDepth = 2;   // of the search that is to be reduced
constexpr int kReductionMinMoves = 3;   // searched before at the node
constexpr int kReductionMinMovesPv = 5; // the same at a node of the principal variation
constexpr int kHistoryPerPly = 8000;    // history that is worth a ply less

constexpr int kFiftyMovePlies = 100;

int searchNode(Thread& thread, Board& board, int alpha, int beta, int depth, SearchStack* ss,
               bool cutNode, bool inCheck);

/// What the steps of one call of `searchNode` share.
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

    bool ttHit = false; // the table knows the position, and `tt` is its entry
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

/// Whether the main thread has reached one of its limits, asked at every node; reports progress
/// when it is time to.
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
    return board.halfmoveClock >= kFiftyMovePlies || board.isRepetition();
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
    if (n.pv || n.excluded() || n.depth > kFutilityMaxDepth || isMateScore(n.beta))
        return false;
    const int margin = kFutilityMargin * n.depth;
    if (n.staticEval - margin < n.beta)
        return false;
    return n.staticEval - margin - kFutilityMargin >= n.beta || !n.board.pieceIsThreatened();
}

/// With pawns alone passing may be better than every move (zugzwang): then it proves nothing.
bool canTryNullMove(const Node& n) {
    const Bitboard(&own)[kPieces] = n.board.pieces[n.us()];
    return !n.pv && !n.excluded() && n.depth >= kNullMoveMinDepth && n.board.historyCount >= 1 &&
           n.board.colorBB[n.us()] != (own[Pawn] | own[King]);
}

/// Whether the side to move fails high even if it passes.
bool nullMoveFailsHigh(Node& n) {
    const int reduction =
        n.depth >= kNullMoveDeepMinDepth ? kNullMoveDeepReduction : kNullMoveReduction;
    n.board.makeNullMove();
    const int score =
        n.searchChild(0, false, n.beta - 1, n.beta, n.depth - reduction - 1, !n.cutNode);
    n.board.unmakeNullMove();
    return score >= n.beta;
}

bool canReduceInternally(const Node& n) {
    return n.depth >= kInternalReductionMinDepth && n.tt.move == 0 && !n.inCheck && !n.excluded();
}

/// The table move may be the only good one: its entry is deep enough and no upper bound.
bool canTestSingularity(const Node& n, Move m) {
    return n.depth >= kSingularMinDepth && m == n.tt.move && n.ss->ply > 0 && n.ttHit &&
           !n.excluded() && n.tt.depth >= n.depth - kSingularEntryMargin && n.tt.flag != TTUpper &&
           !isMateScore(n.ttScore);
}

struct SingularResult {
    int extension; // of the table move, in plies
    bool multiCut; // `score` is good enough without it
    int score;
};

/// Searches all moves but the table move at half depth. If all fall clearly short of it, it is
/// singular and is extended; if another one fails high as well, so does the node (multi-cut).
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

/// Plies by which a quiet move that has been made is searched less deep, before the depth left
/// bounds them; may be negative.
int lateMoveReduction(const Node& n, Move m, int newDepth, int movesSearched) {
    assert(newDepth >= kReductionMinDepth && movesSearched >= kReductionMinMoves);
    if (n.pv && movesSearched < kReductionMinMovesPv)
        return 0;
    constexpr int kLast = kReductionSize - 1;
    const int byNumber = kLMR[std::min(newDepth, kLast)][std::min(movesSearched + 1, kLast)];
    const Color mover = ~n.us(); // it is the other side's turn
    return byNumber - (n.pv ? 1 : 0) - historyOf(n.thread, mover, m) / kHistoryPerPly;
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
    bool pastLateMoveLimit() const { return movesSearched_ >= lateMoveCount_; }
    int searchMove(Move m, bool givesCheck, int newDepth, bool reducible);
    int failHigh(Move m);
    int finish();

    Node& n_;
    MovePicker picker_;
    const LegalityInfo legality_;
    const CheckInfo checks_;
    QuietsTried quiets_;
    const int lateMoveCount_ = !n_.pv && !n_.inCheck && n_.depth <= kLateMoveMaxDepth
                                   ? n_.depth * n_.depth + kLateMoveBase
                                   : std::numeric_limits<int>::max(); // no limit
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

        // 13.1 Singular extension: the table move may be the only good one.
        int extension = 0;
        if (canTestSingularity(n_, m)) {
            const SingularResult singular = testSingularity(n_);
            if (stopped())
                return 0;
            if (singular.multiCut)
                return singular.score;
            extension = singular.extension;
        }

        // 13.2 Late move pruning: after many moves only captures, promotions and checks are still
        // worth a look.
        const bool quiet = !isCaptureOrPromotion(m);
        const bool givesCheck = checks_.givesCheck(m);
        if (pastLateMoveLimit() && quiet && !givesCheck)
            continue;

        // 13.3 Make the move, if it is legal.
        if (!legality_.isLegal(m))
            continue;
        playMove(n_.thread, board, m);

        // 13.4 Remember the quiet moves: if a later move causes a cutoff, they lose history.
        if (quiet)
            quiets_.add(m);

        // 13.5 Extend a singular move and every check.
        const int depthChange = extension >= 1 || givesCheck ? 1 : extension < 0 ? -1 : 0;

        // 13.6 Late move reduction, then null window and full window as far as they are needed.
        const bool reducible = !n_.inCheck && quiet && !givesCheck && extension >= 0;
        const int score = searchMove(m, givesCheck, n_.depth - 1 + depthChange, reducible);
        board.unmakeMove(m);

        // 13.7 From here on only the checks among the quiet moves are left.
        if (movesSearched_ + 1 == lateMoveCount_)
            picker_.keepQuietChecksOnly(checks_);

        // 13.8 A stopped search has found nothing.
        if (stopped())
            return 0;

        // 13.9 Best move so far, new lower bound, or cutoff.
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

/// Searches a move that has been made (principal variation search): late quiet moves with reduced
/// depth first, then all moves but the first of a PV node with a null window, and with the full
/// window what that one shows to be better.
int MoveLoop::searchMove(Move m, bool givesCheck, int newDepth, bool reducible) {
    const int alpha = n_.alpha;
    const bool firstOfPv = n_.pv && movesSearched_ == 0;
    int score = 0;
    if (!firstOfPv) {
        if (reducible && movesSearched_ >= kReductionMinMoves && newDepth >= kReductionMinDepth) {
            const int reduction =
                std::min(newDepth - 1, lateMoveReduction(n_, m, newDepth, movesSearched_));
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

/// All moves are searched and none causes a cutoff.
int MoveLoop::finish() {
    if (movesSearched_ == 0)
        return n_.inCheck ? matedIn(n_.ss->ply) : 0;
    if (n_.excluded())
        return bestScore_;

    // Failing low: no answer was found to the move that led here, so that move gains.
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
    assert(-kInfinite <= alpha && alpha < beta && beta <= kInfinite);
    assert(ss->ply >= 0 && depth <= kMaxPly);
    const bool pv = beta - alpha > 1;
    const int ply = ss->ply;

    // 1. Stop: nobody waits for the result.
    if (stopped())
        return 0;

    // 2. Ply limit.
    if (ply >= kMaxPly)
        return thread.evalCache.evaluate(board);

    // 3. Mate distance pruning: no line from here can be better than a mate already found.
    alpha = std::max(alpha, matedIn(ply));
    beta = std::min(beta, -matedIn(ply));
    if (alpha >= beta)
        return alpha;

    // 4. Leaves go to the quiescence search.
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

    // 7. Static evaluation, corrected by what searches have found; in check there is none. It
    // stands before the probe because it fills the time until the prefetched bucket arrives from
    // memory.
    Node n{thread, board, ss, alpha, beta, depth, cutNode, pv, inCheck};
    if (!n.inCheck)
        n.staticEval = thread.evalCache.evaluate(board) + Correction(thread, board).value();

    // 8. Transposition table: the result of an earlier search that was deep enough.
    probeTable(n);
    if (canCutByTable(n))
        return n.ttScore;

    // 9. In check there is no evaluation to prune by.
    if (!n.inCheck) {
        // 10. Reverse futility pruning: far above beta and no piece threatened.
        if (canReverseFutilityPrune(n))
            return n.staticEval;

        // 11. Null move pruning: not even passing brings the score below beta.
        if (canTryNullMove(n) && nullMoveFailsHigh(n))
            return stopped() ? 0 : n.beta;
    }

    // 12. Internal iterative reduction: without a table move the order of moves is poor, and a
    // shallower search finds one for the next visit.
    if (canReduceInternally(n))
        --n.depth;

    // 13. Search the moves.
    return MoveLoop(n).run();
}

} // namespace

int alphaBeta(Thread& thread, Board& board, int alpha, int beta, int depth, SearchStack* ss,
              bool cutNode) {
    return searchNode(thread, board, alpha, beta, depth, ss, cutNode,
                      board.inCheck(board.sideToMove));
}

} // namespace Search
