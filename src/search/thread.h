#pragma once

#include "base/cacheline.h"
#include "board/board.h"
#include "eval/evalcache.h"
#include "platform/thread.h"
#include "search/time.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// Entries of each correction table, by side to move.
inline constexpr int kCorrectionSize = 16384;

/// A search thread: its copy of the position, what it learns and what it found. A worker sleeps
/// until a search is asked for. Tools search on their own thread through an object of this kind and
/// leave the worker asleep.
///
/// Objects begin on cache lines of their own, so no thread's counters disturb another's.
struct alignas(kLineDistance) Thread {
    /// Starts the worker and returns once it sleeps. Throws std::system_error with the message
    /// "thread constructor failed" if the system gives no thread.
    explicit Thread(int id);
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Forgets everything learned and found: each search begins from nothing.
    void clearForSearch();

    /// Wakes the worker to search `board` under `limits`.
    void startSearching();

    /// Returns when the worker sleeps.
    void waitForSearchFinished();

    /// Counters have one writer, the searching thread itself; others may read them at any time.
    void countNode() { increment(nodes); }
    void countQuiescenceNode() { increment(qnodes); }
    void reachPly(int ply) {
        if (ply > seldepth.load(std::memory_order_relaxed))
            seldepth.store(ply, std::memory_order_relaxed);
    }

    const std::int32_t id; // index in the pool, 0 = main thread
    Board board;           // the root position
    SearchLimits limits;

    std::int32_t quietHistory[2][64][64];                  // by side, from, to
    std::int16_t pawnCorrection[2][kCorrectionSize];       // by side to move, pawn key
    std::int16_t nonPawnCorrection[2][2][kCorrectionSize]; // by side to move, colour, pieces
    Eval::EvalCache evalCache;                             // outlives the searches

    std::atomic<std::uint64_t> nodes{0};
    std::atomic<std::uint64_t> qnodes{0};
    std::atomic<std::int32_t> seldepth{0}; // greatest ply reached in quiescence
    std::int32_t completedDepth = 0;
    std::int32_t depth = 0; // iteration in progress
    Move rootBestMove = 0;  // of the iteration in progress
    std::int32_t rootBestScore = 0;
    Move bestMove = 0; // of the last completed iteration
    std::int32_t score = 0;

  private:
    void idleLoop();
    void mainLoop();

    static void increment(std::atomic<std::uint64_t>& counter) {
        counter.store(counter.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }

    // What others write, at the beginning and end of a search.
    alignas(kLineDistance) std::mutex mutex_;
    std::condition_variable wake_;
    bool searching_ = true;
    bool exit_ = false;
    WorkerThread worker_; // last: it starts when everything else stands
};

/// Bytes of memory that a thread uses, at the most about: itself and its part of its stack.
inline constexpr std::size_t kThreadFootprint = sizeof(Thread) + WorkerThread::kStackUsed;

/// All search threads. Thread 0 keeps the clock, starts and stops the others and answers.
class ThreadPool {
  public:
    ~ThreadPool() { clear(); }

    /// Waits for a running search and makes the pool `count` threads large, at least one; all are
    /// as if new. Throws like the constructor of `Thread`, and std::bad_alloc; the pool then has
    /// the threads that it had before.
    void set(std::size_t count);

    /// Starts a search and returns at once. The answer is printed when it ends.
    void startThinking(const Board& board, const SearchLimits& limits);

    void startHelpers();
    void waitForHelpersFinished();
    void waitForSearchFinished();

    /// The thread with the deepest completed search, on equal depth the one with the higher score,
    /// on equal scores the first. Helpers without a move do not count.
    const Thread& bestThread() const;

    std::uint64_t totalNodes() const;
    int totalSeldepth() const;

    std::size_t size() const { return threads_.size(); }
    Thread& operator[](std::size_t i) { return *threads_[i]; }

  private:
    void clear();

    std::vector<std::unique_ptr<Thread>> threads_;
};

extern ThreadPool gThreads;

/// Tells every thread to leave its search. Set by the main thread at a limit and by the UCI loop;
/// cleared when a search starts.
extern CacheAligned<std::atomic<bool>> gStopSearch;
