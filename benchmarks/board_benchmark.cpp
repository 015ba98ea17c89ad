#include "positions.h"

#include "board/movegen.h"
#include "board/perft.h"
#include "search/see.h"

#include <benchmark/benchmark.h>

namespace {

/// Every leaf made and tested; the rate is in leaves per second of processor time.
void perftFrom(benchmark::State& state, std::string_view fen, int depth) {
    const auto board = std::make_unique<Board>();
    board->setFen(fen);
    std::uint64_t leaves = 0;
    for (auto _ : state)
        leaves += perft(*board, depth);
    state.SetItemsProcessed(static_cast<std::int64_t>(leaves));
}

void perftStart(benchmark::State& state) {
    perftFrom(state, kStartFen, 6);
}
void perftMiddleGame(benchmark::State& state) {
    perftFrom(state, kBenchPositions[1], 5);
}

BENCHMARK(perftStart)->Unit(benchmark::kMillisecond);
BENCHMARK(perftMiddleGame)->Unit(benchmark::kMillisecond);

/// Time per call over all benchmark positions; the rate is in moves per second.
template <void (*Generate)(const Board&, MoveList&)>
void generate(benchmark::State& state) {
    std::int64_t moves = 0;
    for (auto _ : state)
        for (const auto& board : benchBoards()) {
            MoveList list;
            Generate(*board, list);
            benchmark::DoNotOptimize(list.moves);
            moves += list.count;
        }
    state.SetItemsProcessed(moves);
}

BENCHMARK(generate<generateMoves>)->Name("generateMoves");
BENCHMARK(generate<generateCaptures>)->Name("generateCaptures");
BENCHMARK(generate<generateQuiets>)->Name("generateQuiets");

void makeAndUnmake(benchmark::State& state) {
    std::int64_t moves = 0;
    for (auto _ : state)
        for (const auto& board : benchBoards()) {
            MoveList list;
            generateMoves(*board, list);
            for (const Move m : list) {
                board->makeMove(m);
                benchmark::DoNotOptimize(board->key);
                board->unmakeMove(m);
            }
            moves += list.count;
        }
    state.SetItemsProcessed(moves);
}
BENCHMARK(makeAndUnmake);

void exchange(benchmark::State& state) {
    std::int64_t moves = 0;
    for (auto _ : state)
        for (const auto& board : benchBoards()) {
            MoveList list;
            generateCaptures(*board, list);
            for (const Move m : list)
                benchmark::DoNotOptimize(seeGE(*board, m, 0));
            moves += list.count;
        }
    state.SetItemsProcessed(moves);
}
BENCHMARK(exchange)->Name("seeGE");

} // namespace
