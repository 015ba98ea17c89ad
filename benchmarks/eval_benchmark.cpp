#include "positions.h"

#include "eval/evalcache.h"
#include "eval/evaluate.h"

#include <benchmark/benchmark.h>

#include <iterator>
#include <memory>
#include <utility>

namespace {

/// Nothing is remembered of the position, but its pawn structure is.
void evaluateWarm(benchmark::State& state) {
    const auto pawns = std::make_unique<Eval::PawnTable>();
    for (auto _ : state)
        for (const auto& board : benchBoards())
            benchmark::DoNotOptimize(Eval::evaluateUnfaded(*board, *pawns));
    reportEach(state, state.iterations() * std::ssize(benchBoards()));
}
BENCHMARK(evaluateWarm);

/// The pawn structure is new too: each call has a pawn key that no call had before.
void evaluateCold(benchmark::State& state) {
    const auto pawns = std::make_unique<Eval::PawnTable>();
    std::uint64_t pawnKey = 1;
    for (auto _ : state)
        for (const auto& board : benchBoards()) {
            const std::uint64_t kept = std::exchange(board->pawnKey, ++pawnKey);
            benchmark::DoNotOptimize(Eval::evaluateUnfaded(*board, *pawns));
            board->pawnKey = kept;
        }
    reportEach(state, state.iterations() * std::ssize(benchBoards()));
}
BENCHMARK(evaluateCold);

/// The position itself is remembered.
void evaluateRemembered(benchmark::State& state) {
    const auto cache = std::make_unique<Eval::EvalCache>();
    for (auto _ : state)
        for (const auto& board : benchBoards())
            benchmark::DoNotOptimize(cache->evaluate(*board));
    reportEach(state, state.iterations() * std::ssize(benchBoards()));
}
BENCHMARK(evaluateRemembered);

} // namespace
