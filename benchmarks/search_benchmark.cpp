#include "positions.h"

#include "search/iterate.h"
#include "search/thread.h"
#include "search/tt.h"

#include <benchmark/benchmark.h>

namespace {

/// The search benchmark without its output; the rate is in nodes per second of processor time.
void benchSearch(benchmark::State& state) {
    const auto thread = std::make_unique<Thread>(kToolThread);
    std::uint64_t nodes = 0;
    for (auto _ : state)
        for (const auto& board : benchBoards()) {
            state.PauseTiming();
            gTT.clear();
            gTT.prefaultPages();
            gTT.waitForPrefault();
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

/// The table's entry is not in the processor's caches and nobody has asked for it: what prefetching
/// and other work have to hide.
void tableProbe(benchmark::State& state) {
    std::uint64_t key = 1;
    TTData data;
    for (auto _ : state) {
        key = nextKey(key);
        benchmark::DoNotOptimize(gTT.probe(key, data));
    }
    reportEach(state, state.iterations());
}
BENCHMARK(tableProbe);

void tableStore(benchmark::State& state) {
    std::uint64_t key = 1;
    for (auto _ : state) {
        key = nextKey(key);
        gTT.store(key, 1, 0, static_cast<int>(key >> 60), TTExact, 0);
    }
    reportEach(state, state.iterations());
}
BENCHMARK(tableStore);

constexpr std::uint64_t kGiBInMiB = 1024;

/// A table of one GiB from nothing to its last page. The first run may find memory that the machine
/// itself has yet to provide; the later ones are what counts.
void tableResizeGiB(benchmark::State& state) {
    TranspositionTable table;
    for (auto _ : state) {
        table.resize(kGiBInMiB);
        table.prefaultPages();
        table.waitForPrefault();
    }
}
BENCHMARK(tableResizeGiB)->Unit(benchmark::kMillisecond)->UseRealTime();

/// Clearing one GiB of which every page is there.
void tableClearGiB(benchmark::State& state) {
    TranspositionTable table;
    table.resize(kGiBInMiB);
    for (auto _ : state) {
        state.PauseTiming();
        table.prefaultPages();
        table.waitForPrefault();
        state.ResumeTiming();
        table.clear();
    }
}
BENCHMARK(tableClearGiB)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

} // namespace
