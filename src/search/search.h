#pragma once

#include "board/board.h"

struct Thread;

namespace Search {

/// One node on the way from the root.
struct SearchStack {
    std::int32_t ply = 0;  // distance from the root
    Move excludedMove = 0; // left out while its singularity is tested, 0 otherwise
    Move move = 0;         // that led here; 0 at the root and after a null move
};

/// Depths and move numbers that the reduction table tells apart; greater ones count as the last.
inline constexpr int kReductionSize = 64;

/// Plies by which late move reduction shortens the search of a quiet move, by the depth that is
/// left after it and its number at the node, both from 1.
extern std::int32_t kLMR[kReductionSize][kReductionSize];

/// Fills the reduction table and begins the lives of `gTT` and `gThreads`. Called once at program
/// start.
void init();

/// Score of a position searched to `depth` plies within a window, from the side to move's point of
/// view; it may lie outside of the window (fail-soft). A node whose window is wider than 1 lies on
/// the principal variation; one that is expected to fail high is a cut node. A stopped search
/// returns a number without meaning.
int alphaBeta(Thread& thread, Board& board, int alpha, int beta, int depth, SearchStack* ss,
              bool cutNode);

} // namespace Search
