#include "uci/divide.h"

#include "base/output.h"
#include "board/leafcount.h"
#include "board/movegen.h"

#include <string>

bool canDivide(const Board& board, int depth) {
    return depth >= 1 && depth <= kMaxHistory - board.historyCount;
}

void printDivide(Board& board, int depth) {
    MoveList list;
    generateMoves(board, list);
    const Color us = board.sideToMove;
    std::uint64_t total = 0;
    for (const Move m : list) {
        board.makeMove(m);
        if (!board.inCheck(us)) {
            const std::uint64_t count = countLeaves(board, depth - 1);
            total += count;
            Output::write(moveToString(m) + ": " + std::to_string(count) + "\n");
        }
        board.unmakeMove(m);
    }
    Output::write("\nNodes searched: " + std::to_string(total) + "\n");
}
