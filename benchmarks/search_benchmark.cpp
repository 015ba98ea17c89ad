#include "positions.h"

#include "search/search.h"
#include "search/tt.h"

#include <benchmark/benchmark.h>

namespace {

/// The search benchmark without its output; the rate is in nodes per second of processor time.
void benchSearch(benchmark::State& state) {
    const auto thread = std::make_unique<Thread>(1);
    std::uint64_t nodes = 0;
    for (auto _ : state)
        for (const auto& board : benchBoards()) {
            state.PauseTiming();
            gTT.clear();
            thread->board = *board;
            thread->clearForSearch();
            state.ResumeTiming();
            for (int depth = 1; depth <= kDefaultBenchDepth; ++depth)
                Search::completeIteration(*thread, depth);
            nodes += thread->nodes;
        }
    state.SetItemsProcessed(static_cast<std::int64_t>(nodes));
}
BENCHMARK(benchSearch)->Unit(benchmark::kMillisecond);

/// Keys spread over the whole table, as in a search.
std::uint64_t nextKey(std::uint64_t key) {
    return key * 0x9E3779B97F4A7C15ULL + 1;
}

void tableProbe(benchmark::State& state) {
    std::uint64_t key = 1;
    TTData data;
    for (auto _ : state) {
        key = nextKey(key);
        benchmark::DoNotOptimize(gTT.probe(key, data));
    }
}
BENCHMARK(tableProbe);

void tableStore(benchmark::State& state) {
    std::uint64_t key = 1;
    for (auto _ : state) {
        key = nextKey(key);
        gTT.store(key, 1, 0, static_cast<int>(key >> 60), TTExact, 0);
    }
}
BENCHMARK(tableStore);

} // namespace
