#include "platform/memory.h"

#include <cassert>
#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

namespace SysMem {

namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;

std::size_t wholeHugePages(std::size_t bytes) {
    return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

} // namespace

std::uint64_t physicalBytes() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages > 0 && pageSize > 0)
        return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
    return 0;
}

// Fresh pages of the system are zero already and cost nothing until they are used: a large table is
// there at once. The mapping begins and ends with whole huge pages, so that no part of the table
// lies on small ones. The headroom is taken and given back at once, which shows that it is there.
void* allocateZeroed(std::size_t bytes, std::size_t headroom) {
    const std::size_t size = wholeHugePages(bytes);
    const std::size_t slack = kHugePage + headroom;
    if (size < bytes || slack < headroom || size + slack < size)
        return nullptr;
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
    assert(memory);
    if (madvise(memory, wholeHugePages(bytes), MADV_DONTNEED) != 0)
        std::memset(memory, 0, bytes);
}

void release(void* memory, std::size_t bytes) {
    if (memory)
        munmap(memory, wholeHugePages(bytes));
}

#ifdef MADV_POPULATE_WRITE

std::size_t prefaultSteps(std::size_t bytes) {
    return wholeHugePages(bytes) / kHugePage;
}

bool prefault(void* memory, std::size_t step) {
    assert(memory);
    return madvise(static_cast<std::byte*>(memory) + step * kHugePage, kHugePage,
                   MADV_POPULATE_WRITE) == 0;
}

#else // a C library from before 2021

std::size_t prefaultSteps(std::size_t) {
    return 0;
}

bool prefault(void*, std::size_t) {
    return false;
}

#endif

} // namespace SysMem
