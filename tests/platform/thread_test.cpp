#include "platform/thread.h"

#include "support/resource_limit.h"

#include <gtest/gtest.h>

#include <atomic>

#include <pthread.h>

namespace {

TEST(WorkerThread, RunsItsWorkElsewhereAndCanBeUsedAgain) {
    WorkerThread thread;
    thread.join(); // nothing to wait for
    for (int round = 1; round <= 3; ++round) {
        int done = 0;
        pthread_t self{};
        ASSERT_TRUE(thread.start([&] {
            done = round;
            self = pthread_self();
        }));
        thread.join();
        EXPECT_EQ(done, round);
        EXPECT_FALSE(pthread_equal(self, pthread_self()));
    }
}

TEST(WorkerThread, IsWaitedForAtTheEnd) {
    std::atomic<bool> done{false};
    {
        WorkerThread thread;
        ASSERT_TRUE(thread.start([&] { done = true; }));
    }
    EXPECT_TRUE(done);
}

TEST(CallOnLargeStack, StaysOnAStackThatIsLargeEnough) {
    const ResourceLimit limited(RLIMIT_STACK, rlim_t{16} << 20);
    pthread_t self{};
    callOnLargeStack([&] { self = pthread_self(); });
    EXPECT_TRUE(pthread_equal(self, pthread_self()));
}

#ifdef __linux__
/// Bytes of stack of the calling thread.
std::size_t stackSize() {
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    std::size_t size = 0;
    pthread_attr_getstacksize(&attributes, &size);
    pthread_attr_destroy(&attributes);
    return size;
}

TEST(WorkerThread, HasItsStackWhateverTheLimits) {
    for (const rlim_t limit : {rlim_t{256} << 10, rlim_t{8} << 20, rlim_t{64} << 20}) {
        const ResourceLimit limited(RLIMIT_STACK, limit);
        std::size_t size = 0;
        WorkerThread thread;
        ASSERT_TRUE(thread.start([&] { size = stackSize(); }));
        thread.join();
        EXPECT_GE(size, WorkerThread::kStackBytes) << limit;
    }
}

TEST(CallOnLargeStack, LeavesASmallOne) {
    const ResourceLimit limited(RLIMIT_STACK, rlim_t{512} << 10);
    std::size_t size = 0;
    callOnLargeStack([&] { size = stackSize(); });
    EXPECT_GE(size, WorkerThread::kStackBytes);
}
#endif

} // namespace
