#pragma once

#include "board/board.h"
#include "tools/bench.h"

#include <memory>
#include <vector>

/// The positions of the search benchmark, set up: what every micro-benchmark goes through in turn.
inline const std::vector<std::unique_ptr<Board>>& benchBoards() {
    static const std::vector<std::unique_ptr<Board>> boards = [] {
        std::vector<std::unique_ptr<Board>> list;
        for (const std::string_view fen : kBenchPositions) {
            list.push_back(std::make_unique<Board>());
            list.back()->setFen(fen);
        }
        return list;
    }();
    return boards;
}
