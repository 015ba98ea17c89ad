#include "positions.h"

#include "tools/selfplay.h"
#include "tools/tune.h"
#include "tools/tuneexport.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

/// Games with default options, table clearing and all; the rate is in nodes per second of processor
/// time, to be held against that of the search benchmark.
void selfPlay(benchmark::State& state) {
    constexpr std::uint64_t kGames = 5;
    const DataGenConfig config;
    SelfPlay games(config);
    for (auto _ : state)
        for (std::uint64_t seed = 1; seed <= kGames; ++seed)
            if (games.findOpening(seed)) {
                std::vector<Sample> samples;
                games.playGame(samples);
            }
    state.SetItemsProcessed(static_cast<std::int64_t>(games.nodes()));
}
BENCHMARK(selfPlay)->Unit(benchmark::kMillisecond);

void extractFeatures(benchmark::State& state) {
    for (auto _ : state)
        for (const auto& board : benchBoards()) {
            Tune::Trace trace;
            Tune::extract(*board, trace);
            benchmark::DoNotOptimize(trace);
        }
    reportEach(state, state.iterations() * std::ssize(benchBoards()));
}
BENCHMARK(extractFeatures);

/// From a file to a file; the rate is in positions per second of processor time.
void exportFeatures(benchmark::State& state) {
    constexpr int kRounds = 2000;
    const auto folder = std::filesystem::temp_directory_path();
    const std::string in = folder / "morvane_benchmark_data.txt";
    const std::string out = folder / "morvane_benchmark_rows.txt";
    {
        std::ofstream file(in);
        for (int round = 0; round < kRounds; ++round)
            for (const auto& board : benchBoards())
                file << board->fen() << " [0.5] [12]\n";
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(runFeatureExport(in, out));
    state.SetItemsProcessed(state.iterations() * kRounds *
                            static_cast<std::int64_t>(benchBoards().size()));
    std::filesystem::remove(in);
    std::filesystem::remove(out);
}
BENCHMARK(exportFeatures)->Unit(benchmark::kMillisecond);

} // namespace
