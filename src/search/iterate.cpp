#include "search/iterate.h"

#include "board/movegen.h"
#include "search/stop.h"

#include <algorithm>
#include <cassert>

namespace Search {

namespace {

// Depths that helpers skip, by (id - 1) mod 20: those where (depth + phase) / size is odd. So the
// pool spreads over depths instead of searching each one many times.
constexpr int kSkipPeriod = 20;
constexpr int kSkipSize[kSkipPeriod] = {1, 1, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4};
constexpr int kSkipPhase[kSkipPeriod] = {0, 1, 0, 1, 2, 0,  1, 2, 3, 4,
                                         5, 6, 7, 8, 9, 10, 0, 1, 2, 3};

constexpr int kAspirationMinDepth = 5; // smaller depths are searched with the full window
constexpr int kFirstMargin = 25;       // centipawns, of the first window and the first widening
constexpr int kSecondMargin = 39;

struct Window {
    int alpha;
    int beta;

    bool contains(int score) const { return alpha < score && score < beta; }
};

constexpr Window kFullWindow = {-kInfinite, kInfinite};

/// The window after the first one has failed. On a fail low its upper bound drops to the score of
/// the iteration before: what fails low rarely comes back above that.
Window widened(int score, int previous) {
    if (isMateScore(score))
        return kFullWindow;
    constexpr int kBound = kInfinite - kFirstMargin;
    if (score >= previous + kFirstMargin)
        return {previous - kFirstMargin, std::min(score, kBound) + kFirstMargin};
    return {std::max(score, -kBound) - kFirstMargin, previous};
}

/// The window after the second one, `failed`, has failed as well.
Window widenedAgain(int score, Window failed) {
    if (isMateScore(score))
        return kFullWindow;
    constexpr int kBound = kInfinite - kSecondMargin;
    if (score <= failed.alpha)
        return {std::max(score, -kBound) - kSecondMargin, (failed.alpha + failed.beta) / 2};
    return {failed.alpha, std::min(score, kBound) + kSecondMargin};
}

} // namespace

int aspirationSearch(Thread& thread, Board& board, int depth, int previousScore, SearchStack* ss) {
    assert(1 <= depth && depth <= kMaxPly && ss->ply == 0);
    const auto search = [&](Window w) {
        return alphaBeta(thread, board, w.alpha, w.beta, depth, ss, false);
    };
    if (depth < kAspirationMinDepth || isMateScore(previousScore))
        return search(kFullWindow);

    Window window = {previousScore - kFirstMargin, previousScore + kFirstMargin};
    int score = search(window);
    if (stopped() || window.contains(score))
        return score;

    window = widened(score, previousScore);
    score = search(window);
    if (stopped() || window.contains(score))
        return score;

    window = widenedAgain(score, window);
    score = search(window);
    if (stopped() || window.contains(score))
        return score;
    return search(kFullWindow);
}

bool completeIteration(Thread& thread, int depth) {
    RootStack stack;
    const int score = aspirationSearch(thread, thread.board, depth, thread.score, stack.records);
    if (stopped() && depth != 1)
        return false;
    thread.bestMove = thread.rootBestMove;
    thread.score = score;
    thread.completedDepth = depth;
    return true;
}

bool helperSkipsDepth(int id, int depth) {
    assert(id >= 1 && depth >= 1);
    const int i = (id - 1) % kSkipPeriod;
    return ((depth + kSkipPhase[i]) / kSkipSize[i]) % 2 == 1;
}

void iterativeDeepening(Thread& thread) {
    const bool isMain = thread.isMain();
    const SearchLimits& limits = thread.limits;
    const int maxDepth = limits.infinite ? kMaxPly : std::min(limits.depth, kMaxPly);
    if (isMain)
        thread.reporter.start();

    const Move first = firstLegalMove(thread.board);
    if (first == 0) {
        if (isMain)
            Reporter::reportNoMoves(thread.board);
        return;
    }
    if (maxDepth < 1)
        return;
    thread.rootBestMove = first; // until the search has found one

    for (int depth = 1; depth <= maxDepth; ++depth) {
        thread.depth = depth;
        if (!isMain && helperSkipsDepth(thread.id, depth))
            continue;
        if (!completeIteration(thread, depth))
            return;
        if (isMain) {
            const std::int64_t elapsed = gTime.elapsed();
            thread.reporter.reportIteration(thread, elapsed);
            if (!gTime.startNextIteration(elapsed))
                return;
        }
    }
}

} // namespace Search
