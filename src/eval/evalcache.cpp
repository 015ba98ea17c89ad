#include "eval/evalcache.h"

#include "eval/evaluate.h"

namespace Eval {

int EvalCache::evaluate(const Board& board) {
    std::uint64_t& entry = entries_[board.key % kSize];
    int value = static_cast<std::int16_t>(entry);
    if ((entry ^ board.key) > kValueMask) {
        value = evaluateUnfaded(board);
        // Boards with dozens of queens may be worth more than an entry holds.
        if (value == static_cast<std::int16_t>(value))
            entry = (board.key & ~kValueMask) | static_cast<std::uint16_t>(value);
    }
    return fadedForSideToMove(board, value);
}

} // namespace Eval
