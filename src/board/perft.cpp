#include "board/perft.h"

#include "board/movegen.h"

std::uint64_t perft(Board& board, int depth) {
    if (depth == 0)
        return 1;
    MoveList list;
    generateMoves(board, list);
    const Color us = board.sideToMove;
    std::uint64_t leaves = 0;
    for (const Move m : list) {
        board.makeMove(m);
        if (!board.inCheck(us))
            leaves += perft(board, depth - 1);
        board.unmakeMove(m);
    }
    return leaves;
}
