#include "eval/evalcache.h"

namespace Eval {

// Bit `kValueBits` of a key is part of both the place and the entry. With an entry where the two
// differ, no key hits: the cache is empty.
EvalCache::EvalCache() {
    for (std::uint64_t place = 0; place < kPlaces; ++place)
        places_[place].fill({~place & (std::uint64_t{1} << kValueBits)});
}

// Boards with five queens more may be worth more than an entry holds.
int EvalCache::evaluateAndKeep(const Board& board, Place& place) {
    const int value = evaluateUnfaded(board, pawnTable_);
    const Entry entry{(board.key & ~kValueMask) | (static_cast<std::uint64_t>(value) & kValueMask)};
    if (entry.value() == value) {
        place[1] = place[0];
        place[0] = entry;
    }
    return value;
}

} // namespace Eval
