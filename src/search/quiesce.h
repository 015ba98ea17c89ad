#pragma once

#include "board/board.h"

struct Thread;

namespace Search {

/// Score of a position after captures and promotions only, at most `beta`, from the side to move's
/// point of view. `ply` is the distance from the root, `qdepth` that from the main search's leaf. A
/// stopped search returns a number without meaning.
int quiesce(Thread& thread, Board& board, int alpha, int beta, int ply, int qdepth);

} // namespace Search
