#include "base/memory.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

constexpr std::uint64_t kMiB = 1 << 20;
constexpr std::uint64_t kGiB = 1024 * kMiB;

TEST(ClampHashMb, CapsAtThreeQuartersOfPhysicalMemory) {
    EXPECT_EQ(SysMem::clampHashMb(65536, 8 * kGiB), 6144u);
    EXPECT_EQ(SysMem::clampHashMb(6144, 8 * kGiB), 6144u);
    EXPECT_EQ(SysMem::clampHashMb(6145, 8 * kGiB), 6144u);
    EXPECT_EQ(SysMem::clampHashMb(64, 8 * kGiB), 64u);
}

TEST(ClampHashMb, RoundsDownTwice) {
    EXPECT_EQ(SysMem::clampHashMb(100, 7 * kMiB + kMiB - 1), 5u); // 7 MiB, three quarters of them
    EXPECT_EQ(SysMem::clampHashMb(100, 3 * kMiB), 2u);
}

TEST(ClampHashMb, LeavesAtLeastOneMiB) {
    EXPECT_EQ(SysMem::clampHashMb(100, 1), 1u);
    EXPECT_EQ(SysMem::clampHashMb(100, 2 * kMiB - 1), 1u);
    EXPECT_EQ(SysMem::clampHashMb(100, 2 * kMiB), 1u);
}

TEST(ClampHashMb, UnknownMemoryCapsNothing) {
    EXPECT_EQ(SysMem::clampHashMb(65536, 0), 65536u);
}

#if defined(__linux__) || defined(__APPLE__)
TEST(PhysicalBytes, AreKnownHere) {
    EXPECT_GT(SysMem::physicalBytes(), 16 * kMiB);
}
#endif

TEST(AllocateZeroed, GivesZeroedAlignedMemoryOrNull) {
    constexpr std::size_t kBytes = 3 * kMiB;
    void* memory = SysMem::allocateZeroed(kBytes);
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 64, 0u);
    const auto* bytes = static_cast<const unsigned char*>(memory);
    for (std::size_t i = 0; i < kBytes; i += 61)
        ASSERT_EQ(bytes[i], 0) << i;
    SysMem::release(memory, kBytes);
    SysMem::release(nullptr, 0);

    // More than any address space holds.
    EXPECT_EQ(SysMem::allocateZeroed(std::size_t{1} << 62), nullptr);
}

} // namespace
