#include "search/report.h"

#include "base/outputline.h"
#include "search/score.h"
#include "search/thread.h"
#include "search/tt.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>

namespace Search {

namespace {

constexpr std::int64_t kProgressInterval = 300; // milliseconds between two lines

std::uint64_t nodesPerSecond(std::uint64_t nodes, std::int64_t elapsed) {
    return elapsed < 1 ? 0 : nodes * 1000 / static_cast<std::uint64_t>(elapsed);
}

void addEffort(OutputLine& line, std::uint64_t nodes, std::int64_t elapsed) {
    line.add(" nodes ").add(nodes).add(" nps ").add(nodesPerSecond(nodes, elapsed));
    line.add(" time ").add(elapsed);
}

} // namespace

std::string formatScore(int score) {
    if (!isMateScore(score))
        return "cp " + std::to_string(score);
    const int moves = (kMate + 1 - std::abs(score)) / 2;
    return "mate " + std::to_string(score < 0 ? -moves : moves);
}

std::string buildPV(Board board, Move firstMove) {
    std::string text;
    std::uint64_t reached[kMaxPly];
    Move m = firstMove;
    for (int length = 0; length < kMaxPly; ++length) {
        // A stored move is tested in full: its entry may belong to another position.
        if (!board.isPseudoLegal(m) || !board.isLegal(m))
            break;
        if (length > 0)
            text += ' ';
        text += moveToString(m);
        board.makeMove(m);
        if (std::find(reached, reached + length, board.key) != reached + length)
            break;
        reached[length] = board.key;
        TTData tt;
        if (!gTT.probe(board.key, tt))
            break;
        m = tt.move;
    }
    return text;
}

void Reporter::start() {
    lastInfoMs_ = 0;
    progressWasLast_ = false;
}

void Reporter::reportIteration(const Thread& thread, std::int64_t elapsed) {
    OutputLine line;
    line.add("info depth ").add(thread.completedDepth);
    line.add(" seldepth ").add(gThreads.totalSeldepth());
    line.add(" score ").add(formatScore(thread.score));
    addEffort(line, gThreads.totalNodes(), elapsed);
    if (const std::string pv = buildPV(thread.board, thread.bestMove); !pv.empty())
        line.add(" pv ").add(pv);
    line.print();
    lastInfoMs_ = elapsed;
    progressWasLast_ = false;
}

void Reporter::reportResult(const Thread& best, const Thread& main) {
    if (best.bestMove != main.bestMove || progressWasLast_)
        reportIteration(best, gTime.elapsed());
}

void Reporter::reportNoMoves(const Board& board) {
    const bool mated = board.inCheck(board.sideToMove);
    OutputLine().add("info depth 0 score ").add(mated ? "mate 0" : "cp 0").print();
}

void Reporter::reportProgress(const Thread& thread) {
    const std::int64_t elapsed = gTime.elapsed();
    if (elapsed - lastInfoMs_ < kProgressInterval)
        return;
    lastInfoMs_ = elapsed;
    progressWasLast_ = true;
    OutputLine line;
    line.add("info depth ").add(thread.depth).add(" seldepth ").add(gThreads.totalSeldepth());
    addEffort(line, gThreads.totalNodes(), elapsed);
    line.print();
}

} // namespace Search
