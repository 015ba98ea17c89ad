#include "platform/memory.h"

#include <cstring>
#include <new>

// Memory as the standard library has it, for systems that offer nothing better.
namespace SysMem {

namespace {

constexpr std::align_val_t kAlignment{64};

} // namespace

std::uint64_t budgetBytes() {
    return kUnlimited;
}

void* allocateZeroed(std::size_t bytes, std::size_t) {
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

std::size_t prefaultSteps(std::size_t) {
    return 0;
}

bool prefault(void*, std::size_t) {
    return false;
}

} // namespace SysMem
