#include "search/playmove.h"

#include "board/makemove-inl.h"
#include "search/tt.h"

namespace Search {

void playMove(const Thread& thread, Board& board, Move m) {
    const auto prefetch = [&](std::uint64_t key) __attribute__((always_inline)) {
        gTT.prefetch(key);
        thread.evalCache.prefetch(key);
    };
    board.makeMove(m, prefetch);
}

} // namespace Search
