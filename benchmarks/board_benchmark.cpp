#include "positions.h"

#include "board/leafcount.h"
#include "board/movegen.h"
#include "board/perft.h"
#include "search/see.h"

#include <benchmark/benchmark.h>

#include <iterator>

namespace {

struct Tree {
    std::string_view fen;
    int depth;
};

constexpr Tree kStartTree = {kStartFen, 6};
constexpr Tree kMiddleGameTree = {kBenchPositions[1], 5};
constexpr Tree kEndGameTree = {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1", 7};
constexpr Tree kPromotionTree = {"n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1", 6};

/// The rate is in leaves per second of processor time.
template <const Tree& From, std::uint64_t (*Count)(Board&, int)>
void countTree(benchmark::State& state) {
    const auto board = std::make_unique<Board>();
    board->setFen(From.fen);
    std::uint64_t leaves = 0;
    for (auto _ : state)
        leaves += Count(*board, From.depth);
    state.SetItemsProcessed(static_cast<std::int64_t>(leaves));
}

std::uint64_t countAtOnce(Board& board, int depth) {
    return countLeaves(board, depth);
}

// Every leaf made and tested.
BENCHMARK(countTree<kStartTree, perft>)->Name("perftStart")->Unit(benchmark::kMillisecond);
BENCHMARK(countTree<kMiddleGameTree, perft>)
    ->Name("perftMiddleGame")
    ->Unit(benchmark::kMillisecond);

// The last ply counted.
BENCHMARK(countTree<kStartTree, countAtOnce>)
    ->Name("countLeavesStart")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(countTree<kMiddleGameTree, countAtOnce>)
    ->Name("countLeavesMiddleGame")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(countTree<kEndGameTree, countAtOnce>)
    ->Name("countLeavesEndGame")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(countTree<kPromotionTree, countAtOnce>)
    ->Name("countLeavesPromotions")
    ->Unit(benchmark::kMillisecond);

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
