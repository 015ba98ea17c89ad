#pragma once

#include "search/search.h"
#include "search/tt.h"
#include "support/start_eval.h"

#include <cstdint>
#include <stdexcept>

/// Fills the tables of the search and of what lies below it, and gives it a transposition table.
inline void startSearch(std::uint64_t tableMb) {
    startEval();
    Search::init();
    if (!gTT.resize(tableMb))
        throw std::runtime_error("no memory for the transposition table");
}
