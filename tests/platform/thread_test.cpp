#include "platform/thread.h"

#include "support/resource_limit.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include <pthread.h>
#include <sched.h>

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

#ifndef NDEBUG
TEST(WorkerThread, MustBeJoinedBeforeItIsUsedAgain) {
    const auto startTwice = [] {
        WorkerThread thread;
        static_cast<void>(thread.start([] {}));
        static_cast<void>(thread.start([] {}));
    };
    EXPECT_DEATH(startTwice(), "running_");
}

TEST(CallOnLargeStack, IsForTheFirstThread) {
    const auto callElsewhere = [] {
        WorkerThread thread;
        static_cast<void>(thread.start([] { callOnLargeStack([] {}); }));
        thread.join();
    };
    EXPECT_DEATH(callElsewhere(), "kFirstThread");
}
#endif

TEST(WorkerThread, LetsGoOfItsWorkWhenJoined) {
    const auto shared = std::make_shared<int>(0);
    WorkerThread thread;
    ASSERT_TRUE(thread.start([shared] { ++*shared; }));
    thread.join();
    EXPECT_EQ(*shared, 1);
    EXPECT_EQ(shared.use_count(), 1);
}

TEST(UsableCores, ThereIsOneAtLeast) {
    EXPECT_GE(usableCores(), 1U);
}

#ifdef __linux__
TEST(UsableCores, AreThoseThatTheProcessMayUse) {
    cpu_set_t before;
    ASSERT_EQ(sched_getaffinity(0, sizeof before, &before), 0);
    cpu_set_t one;
    CPU_ZERO(&one);
    for (int core = 0; CPU_COUNT(&one) == 0; ++core)
        if (CPU_ISSET(core, &before))
            CPU_SET(core, &one);
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    EXPECT_EQ(usableCores(), 1U);
    sched_setaffinity(0, sizeof before, &before);
    EXPECT_EQ(usableCores(), static_cast<std::size_t>(CPU_COUNT(&before)));
}

TEST(NameThisThread, OthersSeeTheName) {
    char name[16] = "";
    WorkerThread thread;
    ASSERT_TRUE(thread.start([&] {
        nameThisThread("fifteen letters");
        pthread_getname_np(pthread_self(), name, sizeof name);
    }));
    thread.join();
    EXPECT_STREQ(name, "fifteen letters");
}

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
