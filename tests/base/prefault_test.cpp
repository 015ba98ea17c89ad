#include "base/prefault.h"

#include "base/membudget.h"
#include "platform/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace {

using SysMem::kMiB;

TEST(PagePrefaulter, LeavesContentsAsTheyAreWhileTheMemoryIsUsed) {
    constexpr std::size_t kBytes = 40 * kMiB;
    auto* memory = static_cast<unsigned char*>(SysMem::allocateZeroed(kBytes, 0));
    ASSERT_NE(memory, nullptr);
    SysMem::PagePrefaulter prefaulter;
    prefaulter.start(memory, kBytes);
    for (std::size_t i = 0; i < kBytes; i += 4096)
        memory[i] = static_cast<unsigned char>(i / 4096 % 251 + 1);
    prefaulter.wait();
    for (std::size_t i = 0; i < kBytes; i += 4096) {
        ASSERT_EQ(memory[i], i / 4096 % 251 + 1) << i;
        ASSERT_EQ(memory[i + 1], 0) << i;
    }
    SysMem::release(memory, kBytes);
}

TEST(PagePrefaulter, CanBeStoppedAndStartedAtAnyTime) {
    constexpr std::size_t kBytes = 64 * kMiB;
    void* memory = SysMem::allocateZeroed(kBytes, 0);
    ASSERT_NE(memory, nullptr);
    SysMem::PagePrefaulter prefaulter;
    prefaulter.stop();
    prefaulter.wait();
    for (int i = 0; i < 20; ++i) {
        prefaulter.start(memory, kBytes);
        if (i % 3 == 0)
            prefaulter.stop();
    }
    prefaulter.start(nullptr, 0);
    prefaulter.stop();
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

TEST(PagePrefaulter, BringsEveryPage) {
    constexpr std::size_t kBytes = 20 * kMiB;
    void* memory = SysMem::allocateZeroed(kBytes, 0);
    ASSERT_NE(memory, nullptr);
    if (madvise(memory, 4096, MADV_POPULATE_WRITE) != 0)
        GTEST_SKIP() << "this system cannot";
    EXPECT_LT(residentPages(memory, kBytes), kBytes / 4096);
    SysMem::PagePrefaulter prefaulter;
    prefaulter.start(memory, kBytes);
    EXPECT_TRUE(prefaulter.isRunning() || residentPages(memory, kBytes) == kBytes / 4096);
    prefaulter.wait();
    EXPECT_FALSE(prefaulter.isRunning());
    EXPECT_EQ(residentPages(memory, kBytes), kBytes / 4096);

    SysMem::zero(memory, kBytes);
    EXPECT_EQ(residentPages(memory, kBytes), 0U);
    SysMem::release(memory, kBytes);
}
#endif

} // namespace
