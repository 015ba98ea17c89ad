#pragma once

#include "board/board.h"

/// Whether perft can count to `depth` from here: at least 1, and room in the board's history.
bool canDivide(const Board& board, int depth);

/// Prints how many move sequences of length `depth` begin with each legal move, in generation
/// order, and their sum.
void printDivide(Board& board, int depth);
