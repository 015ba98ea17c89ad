#include "base/prefault.h"

#include "base/membudget.h"
#include "platform/memory.h"

#include <algorithm>

namespace SysMem {

namespace {

constexpr std::size_t kBytesPerThread = 256 * kMiB; // and more if there are too few threads

} // namespace

// A thread that the system does not give leaves its pages to their first use.
void PagePrefaulter::start(void* memory, std::size_t bytes) {
    stop();
    memory_ = memory;
    steps_ = prefaultSteps(bytes);
    if (steps_ == 0)
        return;
    stride_ =
        std::clamp<std::size_t>(bytes / kBytesPerThread, 1, std::min(usableCores(), kMaxThreads));
    stop_ = false;
    running_ = static_cast<int>(stride_);
    for (std::size_t i = 0; i < stride_; ++i)
        if (!threads_[i].start([this, i] { prefaultFrom(i); }))
            --running_;
}

// On machines with several memory nodes the pages so come to lie on the nodes of all threads, not
// on one. Between two steps a thread can be stopped.
void PagePrefaulter::prefaultFrom(std::size_t first) {
    nameThisThread("page prefaulter");
    for (std::size_t step = first; step < steps_ && !stop_; step += stride_)
        if (!prefault(memory_, step))
            break;
    --running_;
}

void PagePrefaulter::stop() {
    stop_ = true;
    wait();
}

void PagePrefaulter::wait() {
    for (WorkerThread& thread : threads_)
        thread.join();
}

} // namespace SysMem
