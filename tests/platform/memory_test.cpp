#include "platform/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#ifdef __linux__
#include <sys/mman.h>
#endif

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

TEST(AllocateZeroed, ManySizesAreZeroedToTheirEnd) {
    for (const std::size_t bytes :
         {std::size_t{1}, std::size_t{64}, std::size_t{4096}, std::size_t{2 * kMiB - 1},
          std::size_t{2 * kMiB}, std::size_t{2 * kMiB + 1}, std::size_t{5 * kMiB}}) {
        auto* memory = static_cast<unsigned char*>(SysMem::allocateZeroed(bytes));
        ASSERT_NE(memory, nullptr) << bytes;
        EXPECT_EQ(memory[0] | memory[bytes / 2] | memory[bytes - 1], 0) << bytes;
        memory[0] = memory[bytes - 1] = 1;
        SysMem::release(memory, bytes);
    }
}

TEST(Zero, ClearsEveryByteAndLeavesTheMemoryUsable) {
    for (const std::size_t bytes : {std::size_t{64}, std::size_t{3 * kMiB + 64}}) {
        auto* memory = static_cast<unsigned char*>(SysMem::allocateZeroed(bytes));
        ASSERT_NE(memory, nullptr);
        for (int round = 0; round < 2; ++round) {
            std::memset(memory, 0xA5, bytes);
            SysMem::zero(memory, bytes);
            EXPECT_EQ(std::count(memory, memory + bytes, 0), static_cast<std::ptrdiff_t>(bytes));
        }
        SysMem::release(memory, bytes);
    }
}

TEST(PagePrefaulter, LeavesContentsAsTheyAreWhileTheMemoryIsUsed) {
    constexpr std::size_t kBytes = 40 * kMiB;
    auto* memory = static_cast<unsigned char*>(SysMem::allocateZeroed(kBytes));
    ASSERT_NE(memory, nullptr);
    SysMem::PagePrefaulter fetcher;
    fetcher.start(memory, kBytes);
    for (std::size_t i = 0; i < kBytes; i += 4096)
        memory[i] = static_cast<unsigned char>(i / 4096 % 251 + 1);
    fetcher.wait();
    for (std::size_t i = 0; i < kBytes; i += 4096) {
        ASSERT_EQ(memory[i], i / 4096 % 251 + 1) << i;
        ASSERT_EQ(memory[i + 1], 0) << i;
    }
    SysMem::release(memory, kBytes);
}

TEST(PagePrefaulter, CanBeStoppedAndStartedAtAnyTime) {
    constexpr std::size_t kBytes = 64 * kMiB;
    void* memory = SysMem::allocateZeroed(kBytes);
    ASSERT_NE(memory, nullptr);
    SysMem::PagePrefaulter fetcher;
    fetcher.stop();
    fetcher.wait();
    for (int i = 0; i < 20; ++i) {
        fetcher.start(memory, kBytes);
        if (i % 3 == 0)
            fetcher.stop();
    }
    fetcher.start(nullptr, 0);
    fetcher.stop();
    SysMem::release(memory, kBytes);
}

#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
/// How many of the memory's pages are there.
std::size_t residentPages(void* memory, std::size_t bytes) {
    std::vector<unsigned char> resident(bytes / 4096);
    if (mincore(memory, bytes, resident.data()) != 0)
        return 0;
    return static_cast<std::size_t>(
        std::count_if(resident.begin(), resident.end(), [](auto page) { return page & 1; }));
}

TEST(PagePrefaulter, FetchesEveryPage) {
    constexpr std::size_t kBytes = 20 * kMiB;
    void* memory = SysMem::allocateZeroed(kBytes);
    ASSERT_NE(memory, nullptr);
    if (madvise(memory, 4096, MADV_POPULATE_WRITE) != 0)
        GTEST_SKIP() << "this system cannot";
    EXPECT_LT(residentPages(memory, kBytes), kBytes / 4096);
    SysMem::PagePrefaulter fetcher;
    fetcher.start(memory, kBytes);
    EXPECT_TRUE(fetcher.isRunning() || residentPages(memory, kBytes) == kBytes / 4096);
    fetcher.wait();
    EXPECT_FALSE(fetcher.isRunning());
    EXPECT_EQ(residentPages(memory, kBytes), kBytes / 4096);

    SysMem::zero(memory, kBytes);
    EXPECT_EQ(residentPages(memory, kBytes), 0U);
    SysMem::release(memory, kBytes);
}
#endif

} // namespace
