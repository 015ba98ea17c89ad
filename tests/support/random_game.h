#pragma once

#include "board/movegen.h"

#include <cstdint>
#include <random>
#include <vector>

/// Walks through positions that follow each other by legal moves. The same arguments give the same
/// walk on every machine: the numbers of `std::mt19937_64` are fixed by the language, and none of
/// its distributions is used.
namespace RandomGame {

/// Plays up to `maxPlies` random legal moves on `board`, until mate or stalemate. `visit` is called
/// with the board before the first and after every move and must leave it as it found it. Returns
/// the moves played.
template <class Visit>
std::vector<Move> play(Board& board, std::uint64_t seed, int maxPlies, Visit&& visit) {
    std::mt19937_64 random(seed);
    std::vector<Move> played;
    for (int ply = 0;; ++ply) {
        visit(board);
        MoveList legal;
        generateLegalMoves(board, legal);
        if (ply == maxPlies || legal.count == 0)
            return played;
        played.push_back(legal.moves[random() % static_cast<std::uint64_t>(legal.count)]);
        board.makeMove(played.back());
    }
}

/// Calls `visit` with every position of the legal move tree down to `depth`, the root included.
template <class Visit>
void walkTree(Board& board, int depth, Visit&& visit) {
    visit(board);
    if (depth == 0)
        return;
    MoveList legal;
    generateLegalMoves(board, legal);
    for (const Move m : legal) {
        board.makeMove(m);
        walkTree(board, depth - 1, visit);
        board.unmakeMove(m);
    }
}

} // namespace RandomGame
