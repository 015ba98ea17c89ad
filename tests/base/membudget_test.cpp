#include "base/membudget.h"

#include "platform/memory.h"

#include <gtest/gtest.h>

#include <cstdint>

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
