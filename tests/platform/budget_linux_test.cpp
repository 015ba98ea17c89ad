#ifdef __linux__

#include "platform/budget_linux.h"

#include "platform/memory.h"

#include "support/temp_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace {

constexpr std::uint64_t kMebibyte = 1 << 20;

/// The files in which a system tells about memory.
class FakeSystem : public testing::Test {
  protected:
    void SetUp() override {
        write("/proc/meminfo", "MemTotal:       8000000 kB\nMemFree:         100000 kB\n"
                               "MemAvailable:   1048576 kB\nBuffers:           1 kB\n");
        write("/proc/self/statm", "9999 0 77 1 0 88 0\n");
    }

    void write(const std::string& path, const std::string& text) const {
        const std::filesystem::path file = folder_.path() + path;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

    std::uint64_t budget() const { return SysMem::budgetBytesUnder(folder_.path()); }

  private:
    TempFiles::Folder folder_;
};

constexpr std::string_view kGroup2 = "/sys/fs/cgroup";
constexpr std::string_view kGroup1 = "/sys/fs/cgroup/memory";

TEST_F(FakeSystem, WhatTheMachineHasLeftAndWhatTheProcessHolds) {
    EXPECT_EQ(budget(), 1024 * kMebibyte);
    write("/proc/self/statm", "9999 3 77 1 0 88 0\n");
    EXPECT_EQ(budget(), 1024 * kMebibyte + 3 * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)));
}

TEST_F(FakeSystem, ASystemThatDoesNotTellLimitsNothing) {
    write("/proc/meminfo", "MemTotal: 8000000 kB\n");
    EXPECT_EQ(budget(), SysMem::kUnlimited);
    write("/proc/self/statm", "9999 3 77 1 0 88 0\n");
    EXPECT_EQ(budget(), SysMem::kUnlimited);
    write("/proc/self/cgroup", "nonsense\n0:\n::\n0::\n0::relative\n");
    EXPECT_EQ(budget(), SysMem::kUnlimited);
}

TEST_F(FakeSystem, AGroupOfVersion2) {
    const std::string group = std::string(kGroup2) + "/a/b/";
    write("/proc/self/cgroup", "0::/a/b\n");
    EXPECT_EQ(budget(), 1024 * kMebibyte) << "no files";
    write(group + "memory.max", "max\n");
    write(group + "memory.high", "max\n");
    EXPECT_EQ(budget(), 1024 * kMebibyte);
    write(group + "memory.max", std::to_string(300 * kMebibyte));
    EXPECT_EQ(budget(), 300 * kMebibyte);
    write(group + "memory.current", std::to_string(120 * kMebibyte));
    EXPECT_EQ(budget(), 180 * kMebibyte);
    write(group + "memory.stat", "anon 5\nfile 999\ninactive_file " +
                                     std::to_string(20 * kMebibyte) + "\nactive_file " +
                                     std::to_string(30 * kMebibyte) + "\n");
    EXPECT_EQ(budget(), 230 * kMebibyte) << "cached files are given back";
    write(group + "memory.high", std::to_string(200 * kMebibyte));
    EXPECT_EQ(budget(), 130 * kMebibyte);
    write(group + "memory.current", std::to_string(999 * kMebibyte));
    EXPECT_EQ(budget(), 0U) << "over its limit already";
}

TEST_F(FakeSystem, TheGroupsAroundTheGroupCount) {
    write("/proc/self/cgroup", "0::/a/b\n");
    write(std::string(kGroup2) + "/a/memory.max", std::to_string(200 * kMebibyte));
    EXPECT_EQ(budget(), 200 * kMebibyte);
    write(std::string(kGroup2) + "/memory.max", std::to_string(100 * kMebibyte));
    EXPECT_EQ(budget(), 100 * kMebibyte);
    write(std::string(kGroup2) + "/a/b/memory.max", std::to_string(50 * kMebibyte));
    EXPECT_EQ(budget(), 50 * kMebibyte);
}

TEST_F(FakeSystem, InAContainerTheGroupsThatAreSeenCount) {
    write("/proc/self/cgroup", "3:cpu,memory:/docker/0123\n0::/docker/0123\n");
    write(std::string(kGroup1) + "/memory.limit_in_bytes", std::to_string(70 * kMebibyte));
    EXPECT_EQ(budget(), 70 * kMebibyte);
    write(std::string(kGroup2) + "/memory.max", std::to_string(60 * kMebibyte));
    EXPECT_EQ(budget(), 60 * kMebibyte);
}

TEST_F(FakeSystem, AGroupOfVersion1) {
    const std::string group = std::string(kGroup1) + "/job/";
    write("/proc/self/cgroup", "9:name=systemd:/\n4:memory:/job\n2:cpuacct:/\n");
    write(group + "memory.limit_in_bytes", "9223372036854771712\n");
    write(group + "memory.usage_in_bytes", std::to_string(90 * kMebibyte));
    EXPECT_EQ(budget(), 1024 * kMebibyte);
    write(group + "memory.limit_in_bytes", std::to_string(256 * kMebibyte));
    EXPECT_EQ(budget(), 166 * kMebibyte);
    write(group + "memory.stat", "inactive_file 1\ntotal_inactive_file " +
                                     std::to_string(10 * kMebibyte) + "\ntotal_active_file 0\n");
    EXPECT_EQ(budget(), 176 * kMebibyte);
}

TEST_F(FakeSystem, OtherControllersDoNotCount) {
    write("/proc/self/cgroup", "4:memory_old,cpu:/job\n5:cpuset:/job\n");
    write(std::string(kGroup1) + "/job/memory.limit_in_bytes", "1000\n");
    EXPECT_EQ(budget(), 1024 * kMebibyte);
}

TEST(Budget, OfThisProcessIsMoreThanItHolds) {
    EXPECT_GT(SysMem::budgetBytes(), kMebibyte);
}

} // namespace

#endif
