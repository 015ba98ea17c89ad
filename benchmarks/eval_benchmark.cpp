#include "positions.h"

#include "eval/evaluate.h"
#include "eval/pawns.h"

#include <benchmark/benchmark.h>

namespace {

/// The pawn structures of all positions stay in the cache.
void evaluateWarm(benchmark::State& state) {
    for (auto _ : state)
        for (const auto& board : benchBoards())
            benchmark::DoNotOptimize(evaluate(*board));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(benchBoards().size()));
}
BENCHMARK(evaluateWarm);

/// What a miss of the pawn cache adds.
void pawnStructure(benchmark::State& state) {
    for (auto _ : state)
        for (const auto& board : benchBoards())
            benchmark::DoNotOptimize(Eval::evalPawnsRaw(*board));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(benchBoards().size()));
}
BENCHMARK(pawnStructure);

} // namespace
