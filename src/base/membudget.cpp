#include "base/membudget.h"

#include "platform/memory.h"

#include <algorithm>

namespace SysMem {

namespace {

// What the table and its threads leave of the memory that there is.
constexpr std::uint64_t kReserve = 32 * kMiB;

} // namespace

std::uint64_t clampHashMb(std::uint64_t requestedMb, std::uint64_t physicalBytes) {
    if (physicalBytes == 0)
        return requestedMb;
    const std::uint64_t cap = physicalBytes < 2 * kMiB ? 1 : physicalBytes / kMiB * 3 / 4;
    return std::min(requestedMb, cap);
}

bool fitsInMemory(std::uint64_t tableBytes, std::uint64_t threads, std::uint64_t bytesPerThread) {
    return tableBytes + threads * bytesPerThread + kReserve <= budgetBytes();
}

} // namespace SysMem
