#pragma once

#include "board/board.h"

/// Number of legal move sequences of the given length, 0 or more. Every leaf is made and unmade:
/// nothing is counted in bulk and nothing is cached, so that the count checks all of move making,
/// which is what this function is for. `countLeaves` gives the same number faster
/// (board/leafcount.h). The board must have room for `depth` more moves in its history.
std::uint64_t perft(Board& board, int depth);
