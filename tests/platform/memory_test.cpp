#include "platform/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>

#ifdef __linux__
#include "support/resource_limit.h"

#include <unistd.h>
#endif

namespace {

constexpr std::uint64_t kMiB = 1 << 20;

TEST(PhysicalBytes, AreKnownHere) {
    EXPECT_GT(SysMem::physicalBytes(), 16 * kMiB);
}

TEST(AllocateZeroed, GivesZeroedAlignedMemoryOrNull) {
    constexpr std::size_t kBytes = 3 * kMiB;
    void* memory = SysMem::allocateZeroed(kBytes, 0);
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 64, 0u);
    const auto* bytes = static_cast<const unsigned char*>(memory);
    for (std::size_t i = 0; i < kBytes; i += 61)
        ASSERT_EQ(bytes[i], 0) << i;
    SysMem::release(memory, kBytes);
    SysMem::release(nullptr, 0);

    // More than any address space holds.
    constexpr std::size_t kLargest = std::numeric_limits<std::size_t>::max();
    EXPECT_EQ(SysMem::allocateZeroed(kLargest / 4, 0), nullptr);
    EXPECT_EQ(SysMem::allocateZeroed(kLargest, 0), nullptr);
}

TEST(AllocateZeroed, ManySizesAreZeroedToTheirEnd) {
    for (const std::size_t bytes :
         {std::size_t{1}, std::size_t{64}, std::size_t{4096}, std::size_t{2 * kMiB - 1},
          std::size_t{2 * kMiB}, std::size_t{2 * kMiB + 1}, std::size_t{5 * kMiB}}) {
        auto* memory = static_cast<unsigned char*>(SysMem::allocateZeroed(bytes, 0));
        ASSERT_NE(memory, nullptr) << bytes;
        EXPECT_EQ(memory[0] | memory[bytes / 2] | memory[bytes - 1], 0) << bytes;
        memory[0] = memory[bytes - 1] = 1;
        SysMem::release(memory, bytes);
    }
}

TEST(Zero, ClearsEveryByteAndLeavesTheMemoryUsable) {
    for (const std::size_t bytes : {std::size_t{64}, std::size_t{3 * kMiB + 64}}) {
        auto* memory = static_cast<unsigned char*>(SysMem::allocateZeroed(bytes, 0));
        ASSERT_NE(memory, nullptr);
        for (int round = 0; round < 2; ++round) {
            std::memset(memory, 0xA5, bytes);
            SysMem::zero(memory, bytes);
            EXPECT_EQ(std::count(memory, memory + bytes, 0), static_cast<std::ptrdiff_t>(bytes));
        }
        SysMem::release(memory, bytes);
    }
}

TEST(Prefault, KeepsContents) {
    constexpr std::size_t kBytes = 5 * kMiB;
    auto* memory = static_cast<unsigned char*>(SysMem::allocateZeroed(kBytes, 0));
    ASSERT_NE(memory, nullptr);
    for (std::size_t i = 0; i < kBytes; i += 9001)
        memory[i] = static_cast<unsigned char>(i % 251);
    for (std::size_t step = 0; step < SysMem::prefaultSteps(kBytes); ++step)
        if (!SysMem::prefault(memory, step))
            break;
    for (std::size_t i = 0; i < kBytes; i += 9001)
        EXPECT_EQ(memory[i], i % 251);
    SysMem::release(memory, kBytes);
    EXPECT_EQ(SysMem::prefaultSteps(0), 0U);
}

#ifdef __linux__
/// Bytes of address space that this process has taken.
std::uint64_t mappedBytes() {
    std::ifstream file("/proc/self/statm");
    std::uint64_t pages = 0;
    file >> pages;
    return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

TEST(AllocateZeroed, LeavesHeadroomInALimitedAddressSpace) {
    constexpr std::size_t kBytes = 512 * kMiB;
    const ResourceLimit limited(RLIMIT_AS, mappedBytes() + 768 * kMiB);
    void* memory = SysMem::allocateZeroed(kBytes, 128 * kMiB);
    EXPECT_NE(memory, nullptr);
    SysMem::release(memory, kBytes);
    EXPECT_EQ(SysMem::allocateZeroed(kBytes, 300 * kMiB), nullptr);
}
#endif

} // namespace
