#include "platform/memory.h"

#include <cstdlib>
#include <cstring>

#include <emscripten/heap.h>

namespace SysMem {

namespace {

constexpr std::size_t kAlignment = 64;

} // namespace

// The most that the memory of a module may grow to. Whether the browser gives it, it tells then.
std::uint64_t physicalBytes() {
    return emscripten_get_heap_max();
}

std::uint64_t budgetBytes() {
    return kUnlimited;
}

void* allocateZeroed(std::size_t bytes, std::size_t headroom) {
    if (bytes + headroom < bytes)
        return nullptr;
    void* const memory = std::aligned_alloc(kAlignment, bytes);
    if (memory)
        std::memset(memory, 0, bytes);
    return memory;
}

void zero(void* memory, std::size_t bytes) {
    std::memset(memory, 0, bytes);
}

void release(void* memory, std::size_t) {
    std::free(memory);
}

std::size_t prefaultSteps(std::size_t) {
    return 0;
}

bool prefault(void*, std::size_t) {
    return false;
}

} // namespace SysMem
