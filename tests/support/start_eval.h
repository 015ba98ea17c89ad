#pragma once

#include "eval/endgame.h"
#include "eval/masks.h"
#include "support/start_board.h"

/// Fills the tables of the evaluation and of what lies below it.
inline void startEval() {
    startBoard();
    Eval::init();
    Endgame::init();
}
