#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

/// A thread with a stack that is large enough for the deepest search, whatever the system gives a
/// thread by default: that follows from limits which differ between machines and sessions.
class WorkerThread {
  public:
    /// What the deepest search uses of its stack, at the most: 128 plies, each entered twice (once
    /// to ask whether a move is the only good one), with frames of 5 KiB.
    static constexpr std::size_t kStackUsed = std::size_t{2} << 20;

    /// Under sanitizers a search uses a few times as much. Addresses of 32 bits have no room for
    /// that in each of many threads, nor sanitizers.
    static constexpr std::size_t kStackBytes = sizeof(void*) < 8 ? kStackUsed : 4 * kStackUsed;

    WorkerThread() = default;
    ~WorkerThread() { join(); }
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    /// Starts `work` on the thread; what ran on it before must have been joined. Returns false if
    /// the system gives no thread.
    bool start(std::function<void()> work);

    /// Returns when the work is done, at once if there is none.
    void join();

  private:
    std::uintptr_t handle_ = 0; // the system's
    bool running_ = false;
};

/// Whether the system has threads at all. Where it has none, `WorkerThread::start` always fails.
bool hasThreads();

/// Calls `work` with at least `WorkerThread::kStackBytes` of stack: on the caller's own stack if
/// the limit for the program's first thread, which must be the caller, is as large, or else on
/// another thread.
void callOnLargeStack(const std::function<void()>& work);

/// Processors that this process may use, at least 1.
std::size_t usableCores();

/// Names the calling thread for those who watch the process; 15 characters at most.
void nameThisThread(const char* name);
