#pragma once

#include "base/cacheline.h"
#include "base/prefault.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

/// What a stored score says about the true one.
enum TTFlag : std::uint32_t { TTExact = 0, TTLower = 1, TTUpper = 2 };

/// A stored result. The score is still in table form: `scoreFromTT` makes it one of the search.
struct TTData {
    std::uint32_t move; // 0 if none
    std::int32_t score;
    std::int32_t depth; // -1 from quiescence
    TTFlag flag;

    /// Whether a search with this window may end with the stored score, given as one of the search:
    /// it is exact, or a bound that lies outside of the window.
    bool settles(int scoreFromTable, int alpha, int beta) const {
        return flag == TTExact || (flag == TTLower && scoreFromTable >= beta) ||
               (flag == TTUpper && scoreFromTable <= alpha);
    }
};

/// Search results by position key, shared by all threads without locks. An entry is two words, the
/// data and the key exclusive-or'ed with them: what two threads have half written in one place
/// matches no key (R. Hyatt and T. Mann, "A lock-less transposition table implementation for
/// parallel search", 2002). Resizing and clearing need all searches to have ended.
class alignas(kLineDistance) TranspositionTable {
  public:
    TranspositionTable() = default;
    ~TranspositionTable();
    TranspositionTable(const TranspositionTable&) = delete;
    TranspositionTable& operator=(const TranspositionTable&) = delete;

    /// Makes the table `mb` MiB large (one bucket at least) and empty. Returns false, and leaves
    /// the old table as it was, if the system refuses the memory or its address space is too small.
    bool resize(std::uint64_t mb);

    /// Empties the table, its age included.
    void clear();

    /// Prefaults the pages of a resized or cleared table in the background: searches that find them
    /// there do not wait for the system. `waitForPrefault` returns when they are.
    void prefaultPages();
    void waitForPrefault() { prefaulter_.wait(); }
    void stopPrefault() { prefaulter_.stop(); }
    bool isPrefaulting() const { return prefaulter_.isRunning(); }

    /// Keeps a record of the places written from the next clearing on: clearing after a short
    /// search then costs as much as the search wrote, not as much as the table is large. For tools
    /// that search on one thread and clear often. Resizing ends it.
    void recordWrites(bool on);

    /// Begins a new search: entries of earlier ones lose worth.
    void newGeneration() { ++generation_; }

    /// Finds the result stored for a key; returns false if there is none.
    bool probe(std::uint64_t key, TTData& out) const;

    /// Stores a result found `ply` plies from the root, unless what stands in its place is worth
    /// more.
    void store(std::uint64_t key, std::uint32_t move, int score, int depth, TTFlag flag, int ply);

    /// Asks the processor to fetch the bucket of a key that will be probed soon. Always inlined: as
    /// a function it has no effect that g++ knows of, and calls of it would be dropped.
    [[gnu::always_inline]] void prefetch(std::uint64_t key) const {
        __builtin_prefetch(bucketOf(key));
    }

    /// Mate scores count from the root in the search and from the position in the table.
    static int scoreToTT(int score, int ply);
    static int scoreFromTT(int score, int ply);

    std::uint64_t bucketCount() const { return bucketCount_; }
    std::size_t bytes() const { return static_cast<std::size_t>(bucketCount_) * sizeof(Bucket); }

  private:
    struct Entry {
        std::uint64_t keyXorData;
        std::uint64_t data;
    };
    struct alignas(64) Bucket {
        Entry entries[4];
    };
    static_assert(sizeof(Bucket) == 64);

    /// Null as long as the table has no size.
    Bucket* bucketOf(std::uint64_t key) const {
        if (powerOfTwo_) [[likely]]
            return buckets_ + (key & indexMask_);
        return bucketCount_ == 0 ? nullptr : buckets_ + key % bucketCount_;
    }

    void record(const Bucket* bucket);

    Bucket* buckets_ = nullptr;
    std::uint64_t bucketCount_ = 0;
    std::uint8_t generation_ = 0; // its low 6 bits are stored
    std::uint64_t indexMask_ = 0;
    bool powerOfTwo_ = false;
    bool recording_ = false;
    bool recordIsComplete_ = false;      // all that was written since the last clearing
    std::vector<std::uint64_t> written_; // buckets
    SysMem::PagePrefaulter prefaulter_;
};

/// The table of the program, from `Search::init` to its end.
extern TranspositionTable& gTT;
