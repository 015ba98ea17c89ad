#pragma once

#include "board/board.h"

/// Number of legal move sequences of the given length, 0 or more: what `perft` returns, an order of
/// magnitude faster, for whoever wants the number. The moves of the last ply are counted without
/// being made, those before it change a bare placement of the pieces. So this checks nothing of how
/// boards make and unmake moves; that is what `perft` is for (board/perft.h). Needs no room in the
/// board's history.
std::uint64_t countLeaves(const Board& board, int depth);
