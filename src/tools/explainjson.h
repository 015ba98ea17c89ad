#pragma once

#include "board/board.h"

#include <string>

/// The evaluation of a position as one line of JSON, without a line break at its end, for programs
/// that show it: an object with `value`, `white`, `blended`, `total`, `phase`, `scale`, `pinned`
/// and `terms`. A term has its `features`, and both have `white` and `black` unless a part of them
/// belongs to both sides together. Amounts are centipawns, positive for White but for `value`,
/// which is the side to move's.
std::string explanationJson(const Board& board);
