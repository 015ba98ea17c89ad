#pragma once

#include "search/score.h"
#include "search/search.h"

namespace Search {

inline constexpr int kStackSize = kMaxPly + 1;

/// The stack that a search of a root position begins with. Only its first record is ever handed on:
/// every node makes its child's record afresh.
struct RootStack {
    SearchStack records[kStackSize];

    RootStack() {
        for (int ply = 0; ply < kStackSize; ++ply)
            records[ply].ply = ply;
    }
};

/// Score of a root position, searched first within an aspiration window, a narrow one round the
/// score of the iteration before, and after failing high or low within wider ones. `depth` is 1 to
/// 128.
int aspirationSearch(Thread& thread, Board& board, int depth, int previousScore, SearchStack* ss);

/// Searches the thread's root position at one depth, round the score of the iteration before, and
/// keeps the result. Returns false and keeps nothing if it was interrupted; an interrupted first
/// iteration counts, so that there is always a move.
bool completeIteration(Thread& thread, int depth);

/// Searches the thread's root position at growing depths until its limits are reached. On the main
/// thread prints a line for each iteration.
void iterativeDeepening(Thread& thread);

/// Whether helper `id` (1 and more) skips this depth: helpers spread over depths.
bool helperSkipsDepth(int id, int depth);

} // namespace Search
