#pragma once

#include "board/board.h"
#include "tools/bench.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

/// Reports the processor time of one of `count` equal pieces of work, in seconds with a prefix: 36n
/// is 36 nanoseconds.
inline void reportEach(benchmark::State& state, std::int64_t count) {
    using benchmark::Counter;
    state.counters["each"] =
        Counter(static_cast<double>(count), Counter::kIsRate | Counter::kInvert);
}

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
