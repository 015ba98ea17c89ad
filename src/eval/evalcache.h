#pragma once

#include "board/board.h"

#include <array>
#include <limits>

namespace Eval {

/// Evaluations by position, for one thread: a search meets most positions more than once, in later
/// iterations and by transposition. What is kept depends on the position key alone, so entries
/// never become stale.
///
/// An entry is one word: the upper 48 bits of the key and a 16-bit value. Together with its place,
/// the lower bits of the key, it holds the whole key.
class EvalCache {
  public:
    EvalCache() {
        // Bit 16 of a key is part of both the place and the entry. With an entry where the two
        // differ, no key hits: the table is empty.
        for (std::uint64_t place = 0; place < kSize; ++place)
            entries_[place] = ~place & (std::uint64_t{1} << kValueBits);
    }

    /// What `::evaluate` returns, from the cache if it holds the position.
    int evaluate(const Board& board);

    /// Prefetches the entry of a key that will be looked up soon.
    void prefetch(std::uint64_t key) const { __builtin_prefetch(&entries_[key % kSize]); }

  private:
    static constexpr int kValueBits = 16;
    static constexpr std::uint64_t kSize = 1 << (kValueBits + 1);
    static constexpr std::uint64_t kValueMask = std::numeric_limits<std::uint16_t>::max();

    std::array<std::uint64_t, kSize> entries_;
};

} // namespace Eval
