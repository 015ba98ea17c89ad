#include "platform/memory.h"

#include <algorithm>
#include <cstring>
#include <new>

#if defined(__linux__)
#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>
#elif defined(__APPLE__)
#include <sys/sysctl.h>
#endif

namespace SysMem {

namespace {

constexpr std::uint64_t kMiB = 1 << 20;

} // namespace

std::uint64_t physicalBytes() {
#if defined(__linux__)
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages > 0 && pageSize > 0)
        return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
#elif defined(__APPLE__)
    std::uint64_t bytes = 0;
    std::size_t size = sizeof bytes;
    if (sysctlbyname("hw.memsize", &bytes, &size, nullptr, 0) == 0)
        return bytes;
#endif
    return 0;
}

std::uint64_t clampHashMb(std::uint64_t requestedMb, std::uint64_t physicalBytes) {
    if (physicalBytes == 0)
        return requestedMb;
    const std::uint64_t cap = physicalBytes < 2 * kMiB ? 1 : physicalBytes / kMiB * 3 / 4;
    return std::min(requestedMb, cap);
}

#if defined(__linux__)

namespace {

constexpr std::size_t kHugePage = 2 * kMiB;

// A fetcher can stop after each of these steps: some 0.2 ms, and many times as long where the host
// of a virtual machine must provide the page first.
constexpr std::size_t kPrefaultStep = kHugePage;
constexpr std::size_t kPrefaultedByOneThread = 256 * kMiB; // and more if there are too few threads

// What the table leaves of the address space where that is limited: room for threads and for
// everything small. Taken and given back at once, which shows that it is there.
constexpr std::size_t kHeadroom = 32 * kMiB;

std::size_t usableCores() {
    cpu_set_t cores;
    return sched_getaffinity(0, sizeof cores, &cores) == 0 ? std::size_t(CPU_COUNT(&cores)) : 1;
}

std::size_t wholeHugePages(std::size_t bytes) {
    return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

} // namespace

// Fresh pages of the system are zero already and cost nothing until they are used: a large table is
// there at once. The mapping begins and ends with whole huge pages, so that no part of the table
// lies on small ones.
void* allocateZeroed(std::size_t bytes) {
    const std::size_t size = wholeHugePages(bytes);
    if (size < bytes || size + kHugePage + kHeadroom < size)
        return nullptr;
    const std::size_t slack = kHugePage + kHeadroom;
    void* mapped =
        mmap(nullptr, size + slack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
        return nullptr;
    auto* const begin = static_cast<std::byte*>(mapped);
    const std::size_t before = -reinterpret_cast<std::uintptr_t>(begin) % kHugePage;
    std::byte* const memory = begin + before;
    if (before != 0)
        munmap(begin, before);
    munmap(memory + size, slack - before);
    madvise(memory, size, MADV_HUGEPAGE); // advice: without huge pages all is as before
    return memory;
}

void zero(void* memory, std::size_t bytes) {
    if (madvise(memory, wholeHugePages(bytes), MADV_DONTNEED) != 0)
        std::memset(memory, 0, bytes);
}

void release(void* memory, std::size_t bytes) {
    if (memory)
        munmap(memory, wholeHugePages(bytes));
}

// Every thread takes each n-th step. On machines with several memory nodes the pages so come to lie
// on the nodes of all threads, not on one.
void PagePrefaulter::start([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t bytes) {
    stop();
#ifdef MADV_POPULATE_WRITE
    const std::size_t size = wholeHugePages(bytes);
    const std::size_t count = std::clamp<std::size_t>(
        size / kPrefaultedByOneThread, 1, std::min<std::size_t>(usableCores(), kMaxThreads));
    stop_ = false;
    const auto fetch = [=, this](std::size_t first) {
        pthread_setname_np(pthread_self(), "page fetcher");
        auto* const begin = static_cast<std::byte*>(memory);
        for (std::size_t at = first * kPrefaultStep; at < size && !stop_;
             at += count * kPrefaultStep)
            if (madvise(begin + at, std::min(kPrefaultStep, size - at), MADV_POPULATE_WRITE) != 0)
                break;
        --running_;
    };
    // A thread that the system does not give leaves its pages to their first use.
    running_ = static_cast<int>(count);
    for (std::size_t i = 0; i < count; ++i)
        if (!threads_[i].start([=] { fetch(i); }))
            --running_;
#endif
}

#else

namespace {

constexpr std::align_val_t kAlignment{64};

} // namespace

void* allocateZeroed(std::size_t bytes) {
    void* memory = ::operator new(bytes, kAlignment, std::nothrow);
    if (memory)
        std::memset(memory, 0, bytes);
    return memory;
}

void zero(void* memory, std::size_t bytes) {
    std::memset(memory, 0, bytes);
}

void release(void* memory, std::size_t) {
    ::operator delete(memory, kAlignment);
}

void PagePrefaulter::start(void*, std::size_t) {}

#endif

void PagePrefaulter::stop() {
    stop_ = true;
    wait();
}

void PagePrefaulter::wait() {
    for (WorkerThread& thread : threads_)
        thread.join();
}

} // namespace SysMem
