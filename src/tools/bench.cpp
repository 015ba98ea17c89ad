#include "tools/bench.h"

#include "base/output.h"
#include "board/leafcount.h"
#include "search/iterate.h"
#include "search/report.h"
#include "search/thread.h"
#include "search/tt.h"

#include <chrono>
#include <memory>
#include <string>

namespace {

constexpr std::string_view kPerftPositions[] = {
    kStartFen,
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
};
constexpr int kPerftDepth = 5;

using Clock = std::chrono::steady_clock;

struct Effort {
    std::uint64_t nodes = 0;
    std::uint64_t qnodes = 0;
    std::int64_t milliseconds = 0;

    std::uint64_t nodesPerSecond() const {
        return milliseconds < 1 ? 0 : nodes * 1000 / static_cast<std::uint64_t>(milliseconds);
    }
};

Effort searchPosition(Thread& thread, std::string_view fen, int depth) {
    gTT.clear();
    gTT.prefaultPages();
    gTT.waitForPrefault();
    thread.board.setFen(fen);
    thread.clearForSearch();
    const Clock::time_point start = Clock::now();
    for (int d = 1; d <= depth; ++d)
        Search::completeIteration(thread, d);
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    return {thread.nodes, thread.qnodes, elapsed.count()};
}

void printPosition(int number, int depth, const Thread& thread, const Effort& effort) {
    Output::write(
        "pos " + std::to_string(number) + " depth " + std::to_string(depth) + " bestmove " +
        moveToString(thread.bestMove) + " score " + Search::formatScore(thread.score) + " nodes " +
        std::to_string(effort.nodes) + " qnodes " + std::to_string(effort.qnodes) + " time " +
        std::to_string(effort.milliseconds) + " nps " + std::to_string(effort.nodesPerSecond()) +
        " pv " + Search::buildPV(thread.board, thread.bestMove) + "\n");
}

} // namespace

void runBenchSearch(int depth) {
    if (depth < 1)
        depth = kDefaultBenchDepth;
    gStopSearch = false;
    const auto thread = std::make_unique<Thread>(kToolThread);
    Effort total;
    int number = 0;
    for (const std::string_view fen : kBenchPositions) {
        const Effort effort = searchPosition(*thread, fen, depth);
        printPosition(++number, depth, *thread, effort);
        total.nodes += effort.nodes;
        total.qnodes += effort.qnodes;
        total.milliseconds += effort.milliseconds;
    }
    Output::write("bench: " + std::to_string(total.nodes) + " nodes " +
                  std::to_string(total.qnodes) + " qnodes " + std::to_string(total.milliseconds) +
                  " ms " + std::to_string(total.nodesPerSecond()) + " nps\n");
}

void runBenchPerft() {
    const auto board = std::make_unique<Board>();
    std::uint64_t total = 0;
    int number = 0;
    for (const std::string_view fen : kPerftPositions) {
        board->setFen(fen);
        gTT.clear();
        const std::uint64_t count = countLeaves(*board, kPerftDepth);
        total += count;
        Output::write("pos " + std::to_string(++number) + ": " + std::to_string(count) +
                      " nodes\n");
    }
    Output::write("Total: " + std::to_string(total) + " nodes\n");
}
