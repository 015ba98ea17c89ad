#include "platform/thread.h"

#include <memory>
#include <utility>

#include <sys/resource.h>

bool WorkerThread::start(std::function<void()> work) {
    const auto run = [](void* owned) -> void* {
        const std::unique_ptr<std::function<void()>> function(
            static_cast<std::function<void()>*>(owned));
        (*function)();
        return nullptr;
    };
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    auto function = std::make_unique<std::function<void()>>(std::move(work));
    running_ = pthread_attr_setstacksize(&attributes, kStackBytes) == 0 &&
               pthread_create(&thread_, &attributes, run, function.get()) == 0;
    pthread_attr_destroy(&attributes);
    if (running_)
        static_cast<void>(function.release()); // it is the thread's now
    return running_;
}

void WorkerThread::join() {
    if (running_)
        pthread_join(thread_, nullptr);
    running_ = false;
}

void callOnLargeStack(const std::function<void()>& work) {
    rlimit limit{};
    const bool large =
        getrlimit(RLIMIT_STACK, &limit) == 0 &&
        (limit.rlim_cur == RLIM_INFINITY || limit.rlim_cur >= WorkerThread::kStackBytes);
    WorkerThread thread;
    if (large || !thread.start(work))
        work();
}
