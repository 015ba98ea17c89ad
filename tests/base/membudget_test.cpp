#include "base/membudget.h"

#include "platform/memory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

using SysMem::kMiB;

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

TEST(FitsAddressSpace, AHeadroomIsLeft) {
    EXPECT_TRUE(SysMem::fitsAddressSpace(0, SysMem::kHeadroom));
    EXPECT_FALSE(SysMem::fitsAddressSpace(1, SysMem::kHeadroom));
    EXPECT_FALSE(SysMem::fitsAddressSpace(0, SysMem::kHeadroom - 1));
    EXPECT_FALSE(SysMem::fitsAddressSpace(std::numeric_limits<std::uint64_t>::max()));
}

TEST(FitsAddressSpace, On32BitSystemsLargeTablesHaveNoPlace) {
    constexpr std::uint64_t kLargest = std::numeric_limits<std::uint32_t>::max();
    EXPECT_TRUE(SysMem::fitsAddressSpace(2048 * kMiB, kLargest));
    EXPECT_TRUE(SysMem::fitsAddressSpace(4063 * kMiB, kLargest));
    for (const std::uint64_t mb : {4064U, 4095U, 4096U, 4097U, 8192U, 65536U})
        EXPECT_FALSE(SysMem::fitsAddressSpace(mb * kMiB, kLargest)) << mb;
}

TEST(FitsAddressSpace, EveryTableThatMayBeAskedForHasAPlaceOn64BitSystems) {
    EXPECT_TRUE(SysMem::fitsAddressSpace(65536 * kMiB, std::numeric_limits<std::uint64_t>::max()));
}

TEST(FitsInMemory, TableThreadsAndReserveTogether) {
    const std::uint64_t budget = SysMem::budgetBytes();
    if (budget == SysMem::kUnlimited)
        GTEST_SKIP() << "this system does not tell";
    EXPECT_TRUE(SysMem::fitsInMemory(0, 0, kMiB));
    EXPECT_FALSE(SysMem::fitsInMemory(2 * budget, 0, kMiB));
    EXPECT_FALSE(SysMem::fitsInMemory(0, 2 * budget / kMiB, kMiB));
    EXPECT_FALSE(SysMem::fitsInMemory(budget, budget / kMiB, kMiB));
}

} // namespace
