#include "platform/thread.h"

#include <cassert>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include <pthread.h>
#include <sys/resource.h>

static_assert(sizeof(pthread_t) == sizeof(std::uintptr_t));

namespace {

// Globals are initialised on the program's first thread.
[[maybe_unused]] const pthread_t kFirstThread = pthread_self();

using Work = std::function<void()>;

void* run(void* work) {
    const std::unique_ptr<Work> owned(static_cast<Work*>(work));
    (*owned)();
    return nullptr;
}

/// Whether the first thread's stack may grow to `WorkerThread::kStackBytes`.
bool isFirstStackLarge() {
    rlimit limit{};
    return getrlimit(RLIMIT_STACK, &limit) == 0 &&
           (limit.rlim_cur == RLIM_INFINITY || limit.rlim_cur >= WorkerThread::kStackBytes);
}

} // namespace

bool hasThreads() {
    return true;
}

// Nothing here throws: no attributes and no work are left behind.
bool WorkerThread::start(std::function<void()> work) {
    assert(!running_);
    std::unique_ptr<Work> owned(new (std::nothrow) Work(std::move(work)));
    pthread_attr_t attributes;
    if (!owned || pthread_attr_init(&attributes) != 0)
        return false;
    pthread_t thread{};
    running_ = pthread_attr_setstacksize(&attributes, kStackBytes) == 0 &&
               pthread_create(&thread, &attributes, run, owned.get()) == 0;
    pthread_attr_destroy(&attributes);
    if (running_)
        static_cast<void>(owned.release()); // it is the thread's now
    std::memcpy(&handle_, &thread, sizeof handle_);
    return running_;
}

void WorkerThread::join() {
    if (running_) {
        pthread_t thread{};
        std::memcpy(&thread, &handle_, sizeof thread);
        pthread_join(thread, nullptr);
    }
    running_ = false;
}

void callOnLargeStack(const std::function<void()>& work) {
    assert(pthread_equal(pthread_self(), kFirstThread));
    WorkerThread thread;
    if (isFirstStackLarge() || !thread.start([&] { work(); }))
        work();
}
