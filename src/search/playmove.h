#pragma once

#include "search/thread.h"

namespace Search {

/// Plays a pseudo-legal move on the board that the thread searches, and prefetches on the way what
/// the new position's node will read first: its evaluation, and its bucket of the table.
void playMove(const Thread& thread, Board& board, Move m);

} // namespace Search
