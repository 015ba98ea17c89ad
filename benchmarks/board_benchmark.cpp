#include "positions.h"

#include "board/movegen.h"
#include "board/perft.h"
#include "search/see.h"

#include <benchmark/benchmark.h>

#include <iterator>

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

/// Lists of all benchmark positions; each is one list.
template <void (*Generate)(const Board&, MoveList&)>
void generate(benchmark::State& state) {
    for (auto _ : state)
        for (const auto& board : benchBoards()) {
            MoveList list;
            Generate(*board, list);
            benchmark::DoNotOptimize(list.moves);
        }
    reportEach(state, state.iterations() * std::ssize(benchBoards()));
}

BENCHMARK(generate<generateMoves>)->Name("generateMoves");
BENCHMARK(generate<generateCaptures>)->Name("generateCaptures");
BENCHMARK(generate<generateQuiets>)->Name("generateQuiets");

/// Each is a move made and taken back.
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
    reportEach(state, moves);
}
BENCHMARK(makeAndUnmake);

/// Each is one capture.
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
    reportEach(state, moves);
}
BENCHMARK(exchange)->Name("seeGE");

} // namespace
