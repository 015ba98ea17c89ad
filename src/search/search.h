#pragma once

#include "search/score.h"
#include "search/thread.h"
#include "search/tt.h"

#include <string>

namespace Search {

/// One node on the way from the root.
struct SearchStack {
    std::int32_t ply = 0;  // distance from the root
    Move excludedMove = 0; // left out in a singularity test, 0 otherwise
    Move move = 0;         // that led here; 0 at the root and after a null move
};

inline constexpr int kStackSize = kMaxPly + 1;

/// The stack that a search of a root position begins with: only its first record is ever handed on,
/// every node makes its child's record afresh.
struct RootStack {
    SearchStack records[kStackSize];

    RootStack() {
        for (int ply = 0; ply < kStackSize; ++ply)
            records[ply].ply = ply;
    }
};

/// Fills the reduction table. Called once at program start.
void init();

/// Plies by which a late quiet move is reduced, by remaining depth and move number, each up to 63.
extern std::int32_t kLMR[64][64];

/// Whether the search has been told to end; asked at every node.
inline bool stopped() {
    return gStopSearch.load(std::memory_order_relaxed);
}

/// Whether the time of the main thread, whose nodes these are, is up. As long as pages of the table
/// are still to come a node may wait for one of them, a thousand times as long as usual: then the
/// clock is read more often.
inline bool timeIsUp(std::uint64_t nodes) {
    constexpr std::uint64_t kOften = 64;
    static_assert(TimeManager::kCheckInterval % kOften == 0);
    if (nodes % kOften != 0)
        return false;
    return gTT.isPrefaulting() ? gTime.hardLimitHit() : gTime.shouldStop(nodes);
}

/// Score of a position searched to `depth` plies within a window, from the side to move's point of
/// view; it may lie outside of the window. A node whose window is wider than 1 lies on the
/// principal variation. A stopped search returns a number without meaning.
int alphaBeta(Thread& thread, Board& board, int alpha, int beta, int depth, SearchStack* ss,
              bool cutNode);

/// Score of a position after captures and promotions only; at most `beta`.
int quiesce(Thread& thread, Board& board, int alpha, int beta, int ply, int qdepth);

/// Score of a root position, searched first within a narrow window round the score of the iteration
/// before and then within wider ones.
int aspirationSearch(Thread& thread, Board& board, int depth, int previousScore, SearchStack* ss);

/// Searches the thread's root position at one depth, round the score of the iteration before, and
/// keeps the result. Returns false and keeps nothing if it was interrupted; an interrupted first
/// iteration counts, so that there is always a move.
bool completeIteration(Thread& thread, int depth);

/// Searches the thread's root position at growing depths until its limits are reached. On the main
/// thread prints a line for each iteration.
void iterativeDeepening(Thread& thread);

/// Whether helper `id` (1 and more) leaves out this depth: helpers spread over depths.
bool helperSkipsDepth(int id, int depth);

// --- report.cpp ---

/// "cp 34", "mate 2", "mate -1".
std::string formatScore(int score);

/// The line that the table holds for a position, beginning with `firstMove`: moves in coordinate
/// notation with blanks between them, at most 128, ended by a missing or illegal move or by a
/// position that the line has already reached. Walks a copy of the board.
std::string buildPV(Board board, Move firstMove);

/// Prints the line of a completed iteration.
void reportIteration(const Thread& thread, std::int64_t elapsed);

/// Prints the line of the thread whose move is the answer, unless the last line printed begins with
/// that move: clients show the last line as the reason for the move.
void reportResult(const Thread& best, const Thread& main);

/// Prints the line of a root position without moves.
void reportNoMoves(const Board& board);

/// Prints how far an iteration has come, if the last line is long enough ago.
void reportProgress(const Thread& thread);

/// Begins the count of time between two lines.
void resetReports();

} // namespace Search
