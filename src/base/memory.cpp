#include "base/memory.h"

#include <algorithm>
#include <cstring>
#include <new>

#if defined(__linux__)
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

// Fresh pages of the system are zero already and cost nothing until they are used: a large table is
// there at once.
void* allocateZeroed(std::size_t bytes) {
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return nullptr;
    madvise(memory, bytes, MADV_HUGEPAGE); // advice: without huge pages all is as before
    return memory;
}

void release(void* memory, std::size_t bytes) {
    if (memory)
        munmap(memory, bytes);
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

void release(void* memory, std::size_t) {
    ::operator delete(memory, kAlignment);
}

#endif

} // namespace SysMem
