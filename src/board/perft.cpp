#include "board/perft.h"

#include "board/kinglines.h"
#include "board/makemove-inl.h"
#include "board/movegen.h"

#include <cassert>

namespace {

template <Color Us>
std::uint64_t perftOf(Board& board, int depth) {
    MoveList list;
    generateMoves(board, list);
    std::uint64_t leaves = 0;
    const LegalityInfo legality(board, board.inCheck(Us));
    for (const Move m : list) {
        if (!legality.isLegal(m))
            continue;
        board.makeMoveOf<Us>(m, [](std::uint64_t) {});
        leaves += depth == 1 ? 1 : perftOf<~Us>(board, depth - 1);
        board.unmakeMoveOf<Us>(m);
    }
    return leaves;
}

} // namespace

std::uint64_t perft(Board& board, int depth) {
    assert(depth >= 0);
    if (depth == 0)
        return 1;
    return board.sideToMove == White ? perftOf<White>(board, depth) : perftOf<Black>(board, depth);
}
