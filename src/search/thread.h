#pragma once

#include "base/cacheline.h"
#include "board/board.h"
#include "eval/evalcache.h"
#include "platform/thread.h"
#include "search/report.h"
#include "search/time.h"

#include <atomic>
#include <cassert>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

/// Entries of each correction table, by side to move.
inline constexpr int kCorrectionSize = kNonPawnHashes;

/// Index of the main thread: it alone keeps the clock and the node limit, prints and answers.
inline constexpr int kMainThread = 0;

/// Index of an object that a tool searches through: like a helper it heeds no clock, prints
/// nothing.
inline constexpr int kToolThread = 1;

/// What one thread searches with: its copy of the position, what it learns, counts and finds. The
/// search runs on the thread that calls it, whose stack must be as large as a worker's
/// (`WorkerThread::kStackBytes`). An object is large: about 0.9 MiB.
///
/// Objects begin on cache lines of their own, so no thread's counters disturb another's.
struct alignas(kLineDistance) Thread {
    explicit Thread(int id);
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Forgets everything learned and found: each search begins from nothing.
    void clearForSearch();

    /// Whether this thread keeps the clock and the node limit, and reports.
    bool isMain() const { return id == kMainThread; }

    /// Counters have one writer, the searching thread itself; others may read them at any time.
    void countNode() { increment(nodes); }
    void countQuiescenceNode() { increment(qnodes); }
    void reachPly(int ply) {
        if (ply > seldepth.load(std::memory_order_relaxed))
            seldepth.store(ply, std::memory_order_relaxed);
    }

    const std::int32_t id; // index in the pool, or `kToolThread`
    Board board;           // the root position
    SearchLimits limits;

    std::int32_t quietHistory[kColors][kSquares][kSquares]; // by side, from, to
    std::int16_t pawnCorrection[kColors][kCorrectionSize];  // by side to move, pawn key
    std::int16_t nonPawnCorrection[kColors][kColors]
                                  [kCorrectionSize]; // by side to move, colour, pieces
    Eval::EvalCache evalCache;                       // outlives the searches

    std::atomic<std::uint64_t> nodes{0};
    std::atomic<std::uint64_t> qnodes{0};
    std::atomic<std::int32_t> seldepth{0}; // greatest ply reached in quiescence
    std::int32_t completedDepth = 0;
    std::int32_t depth = 0; // iteration in progress
    Move rootBestMove = 0;  // of the iteration in progress
    std::int32_t rootBestScore = 0;
    Move bestMove = 0; // of the last completed iteration
    std::int32_t score = 0;

    Search::Reporter reporter; // used on the main thread

  private:
    static void increment(std::atomic<std::uint64_t>& counter) {
        counter.store(counter.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
};

/// A search thread of the pool: a worker that sleeps until a search is asked for. On a system
/// without threads the main one searches on its caller's, and there are no others.
class PoolThread : public Thread {
  public:
    /// Starts the worker and returns once it sleeps. Throws std::system_error with the message
    /// "thread constructor failed" if the system gives no thread.
    explicit PoolThread(int id);
    ~PoolThread();

    /// Wakes the worker, which must be asleep, to search `board` under `limits`. Without threads
    /// returns when the search is done.
    void startSearching();

    /// Returns when the worker sleeps.
    void waitForSearchFinished();

  private:
    void idleLoop();
    void mainLoop();
    void mainSearch();
    bool awaitsStop() const;
    void answer();

    // What others write, at the beginning and end of a search.
    alignas(kLineDistance) std::mutex mutex_;
    std::condition_variable wake_;
    bool searching_ = true;
    bool exit_ = false;
    bool owesAnswer_ = false; // without threads: to a search that ended before it was told to
    WorkerThread worker_;     // last: it starts when everything else stands
};

/// Bytes of memory that a thread of the pool uses, at the most about: itself and its part of its
/// stack.
inline constexpr std::size_t kThreadFootprint = sizeof(PoolThread) + WorkerThread::kStackUsed;

/// All search threads. Thread 0 keeps the clock, starts and stops the others and answers.
class ThreadPool {
  public:
    ~ThreadPool() { clear(); }

    /// Waits for a running search and makes the pool `count` threads large, at least one; all are
    /// as if new. Throws like the constructor of `PoolThread`, and std::bad_alloc; the pool then
    /// has the threads that it had before.
    void set(std::size_t count);

    /// Starts a search and returns at once. The answer is printed when it ends.
    void startThinking(const Board& board, const SearchLimits& limits);

    void startHelpers();
    void waitForHelpersFinished();
    void waitForSearchFinished();

    /// The thread with the deepest completed search, on equal depth the one with the higher score,
    /// on equal scores the first. Helpers without a move do not count. The pool must not be empty.
    const Thread& bestThread() const;

    std::uint64_t totalNodes() const;
    int totalSeldepth() const;

    std::size_t size() const { return threads_.size(); }
    PoolThread& operator[](std::size_t i) {
        assert(i < threads_.size());
        return *threads_[i];
    }

  private:
    void clear();

    std::vector<std::unique_ptr<PoolThread>> threads_;
};

/// The threads of the program, from `Search::init` to its end.
extern ThreadPool& gThreads;

/// Tells every thread to leave its search. Set by the main thread at a limit and by the UCI loop;
/// cleared when a search starts.
extern CacheAligned<std::atomic<bool>> gStopSearch;
