#pragma once

#include "board/attacks.h"
#include "board/zobrist.h"

/// Fills the tables of the board, as program entry does.
inline void startBoard() {
    Zobrist::init();
    Attacks::init();
    Attacks::initBetween();
}
