#include "search/thread.h"

#include "base/outputline.h"
#include "search/iterate.h"
#include "search/tt.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <cstring>
#include <iterator>
#include <system_error>
#include <thread>
#include <utility>

CacheAligned<std::atomic<bool>> gStopSearch{false};

Thread::Thread(int threadId) : id(threadId) {
    assert(id >= 0);
    board.reset();
    clearForSearch();
}

void Thread::clearForSearch() {
    std::memset(quietHistory, 0, sizeof quietHistory);
    std::memset(pawnCorrection, 0, sizeof pawnCorrection);
    std::memset(nonPawnCorrection, 0, sizeof nonPawnCorrection);
    nodes = 0;
    qnodes = 0;
    seldepth = 0;
    completedDepth = 0;
    rootBestMove = 0;
    rootBestScore = 0;
    bestMove = 0;
    score = 0;
}

PoolThread::PoolThread(int threadId) : Thread(threadId) {
    if (!hasThreads() && isMain())
        return;
    if (!worker_.start([this] { idleLoop(); }))
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again),
                                "thread constructor failed");
    waitForSearchFinished();
}

PoolThread::~PoolThread() {
    {
        const std::lock_guard lock(mutex_);
        exit_ = true;
        searching_ = true;
        wake_.notify_all();
    }
    worker_.join();
}

void PoolThread::startSearching() {
    if (!hasThreads()) {
        mainSearch();
        owesAnswer_ = awaitsStop();
        if (!owesAnswer_)
            answer();
        return;
    }
    const std::lock_guard lock(mutex_);
    assert(!searching_);
    searching_ = true;
    wake_.notify_all();
}

void PoolThread::waitForSearchFinished() {
    if (!hasThreads()) {
        if (std::exchange(owesAnswer_, false))
            answer();
        return;
    }
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [this] { return !searching_; });
}

void PoolThread::idleLoop() {
    for (;;) {
        {
            std::unique_lock lock(mutex_);
            searching_ = false;
            wake_.notify_all();
            wake_.wait(lock, [this] { return searching_ || exit_; });
            if (exit_)
                return;
        }
        if (isMain())
            mainLoop();
        else
            Search::iterativeDeepening(*this);
    }
}

void PoolThread::mainLoop() {
    mainSearch();
    while (awaitsStop())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    answer();
}

void PoolThread::mainSearch() {
    gTime.start(limits, board.sideToMove);
    gThreads.startHelpers();
    Search::iterativeDeepening(*this);
}

/// A search without limits answers when it is told to, not when it is done.
bool PoolThread::awaitsStop() const {
    return limits.infinite && !gStopSearch;
}

void PoolThread::answer() {
    gStopSearch = true;
    gThreads.waitForHelpersFinished();
    const Thread& best = gThreads.bestThread();
    reporter.reportResult(best, *this);
    OutputLine().add("bestmove ").add(moveToString(best.bestMove)).print();
}

void ThreadPool::clear() {
    while (!threads_.empty())
        threads_.pop_back();
}

// Threads that stay are not made anew: what the system has given once it might refuse now.
void ThreadPool::set(std::size_t count) {
    waitForSearchFinished();
    count = std::max<std::size_t>(count, 1);
    threads_.reserve(count);
    std::vector<std::unique_ptr<PoolThread>> added;
    for (std::size_t i = threads_.size(); i < count; ++i)
        added.push_back(std::make_unique<PoolThread>(static_cast<int>(i)));

    while (threads_.size() > count)
        threads_.pop_back();
    for (const auto& thread : threads_)
        thread->clearForSearch();
    std::move(added.begin(), added.end(), std::back_inserter(threads_));
}

void ThreadPool::startThinking(const Board& board, const SearchLimits& limits) {
    assert(!threads_.empty());
    waitForSearchFinished();
    gStopSearch = false;
    gTT.newGeneration();
    for (const auto& thread : threads_) {
        thread->board = board;
        thread->limits = limits;
        thread->clearForSearch();
    }
    threads_.front()->startSearching();
}

void ThreadPool::startHelpers() {
    for (std::size_t i = 1; i < threads_.size(); ++i)
        threads_[i]->startSearching();
}

void ThreadPool::waitForHelpersFinished() {
    for (std::size_t i = 1; i < threads_.size(); ++i)
        threads_[i]->waitForSearchFinished();
}

void ThreadPool::waitForSearchFinished() {
    if (!threads_.empty())
        threads_.front()->waitForSearchFinished();
}

const Thread& ThreadPool::bestThread() const {
    assert(!threads_.empty());
    const Thread* best = threads_.front().get();
    for (const auto& thread : threads_) {
        const bool better =
            thread->completedDepth > best->completedDepth ||
            (thread->completedDepth == best->completedDepth && thread->score > best->score);
        if (thread.get() != best && thread->bestMove != 0 && better)
            best = thread.get();
    }
    return *best;
}

std::uint64_t ThreadPool::totalNodes() const {
    std::uint64_t total = 0;
    for (const auto& thread : threads_)
        total += thread->nodes.load(std::memory_order_relaxed);
    return total;
}

int ThreadPool::totalSeldepth() const {
    int greatest = 0;
    for (const auto& thread : threads_)
        greatest =
            std::max(greatest, static_cast<int>(thread->seldepth.load(std::memory_order_relaxed)));
    return greatest;
}
