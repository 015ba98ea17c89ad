#include "platform/memory.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstring>

#include <windows.h>

#include <psapi.h> // needs the one before

namespace SysMem {

namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kPiece = std::size_t{64} << 20; // of what is given back at a time
constexpr std::size_t kStep = std::size_t{2} << 20; // of prefaulting, some tenths of a millisecond

std::size_t wholeSteps(std::size_t bytes) {
    return (bytes + kStep - 1) / kStep * kStep;
}

MEMORYSTATUSEX machine() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (!GlobalMemoryStatusEx(&status))
        status = {};
    return status;
}

/// What the process has been promised: Windows promises no more than it can keep.
std::uint64_t committedBytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    return K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)
               ? counters.PagefileUsage
               : 0;
}

/// What the job around the process allows it to hold. A job that bounds all its processes together
/// does not tell what the others hold.
std::uint64_t jobLimit() {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION job{};
    if (!QueryInformationJobObject(nullptr, JobObjectExtendedLimitInformation, &job, sizeof job,
                                   nullptr))
        return kUnlimited;
    const DWORD flags = job.BasicLimitInformation.LimitFlags;
    std::uint64_t limit = kUnlimited;
    if (flags & JOB_OBJECT_LIMIT_PROCESS_MEMORY)
        limit = std::min<std::uint64_t>(limit, job.ProcessMemoryLimit);
    if (flags & JOB_OBJECT_LIMIT_JOB_MEMORY)
        limit = std::min<std::uint64_t>(limit, job.JobMemoryLimit);
    return limit;
}

/// Whether this user has the right "Lock pages in memory", without which nobody gets large pages.
bool mayLockPages() {
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token))
        return false;
    TOKEN_PRIVILEGES wanted{};
    wanted.PrivilegeCount = 1;
    wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    const bool given =
        LookupPrivilegeValueW(nullptr, L"SeLockMemoryPrivilege", &wanted.Privileges[0].Luid) &&
        AdjustTokenPrivileges(token, FALSE, &wanted, 0, nullptr, nullptr) &&
        GetLastError() == ERROR_SUCCESS; // what could not be given shows here alone
    CloseHandle(token);
    return given;
}

/// Zeroed memory on large pages, all of which come at once; null where there are none.
void* takeOnLargePages(std::size_t size) {
    static const std::size_t page = mayLockPages() ? GetLargePageMinimum() : 0;
    if (page == 0 || kStep % page != 0)
        return nullptr;
    return VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT | MEM_LARGE_PAGES, PAGE_READWRITE);
}

/// Promises a part of a reservation again that was given back a moment ago. Another process may
/// have been promised it meanwhile: then there is nothing to do but to wait for it.
void recommit(std::byte* memory, std::size_t bytes) {
    while (!VirtualAlloc(memory, bytes, MEM_COMMIT, PAGE_READWRITE))
        Sleep(1);
}

} // namespace

std::uint64_t physicalBytes() {
    return machine().ullTotalPhys;
}

std::uint64_t budgetBytes() {
    const MEMORYSTATUSEX status = machine();
    if (status.ullTotalPhys == 0)
        return kUnlimited;
    const std::uint64_t left = std::min(status.ullAvailPhys, status.ullAvailPageFile);
    return std::min<std::uint64_t>(left + committedBytes(), jobLimit());
}

// Committed pages are zero and, if they are small, cost nothing until they are used, but count as
// taken.
void* allocateZeroed(std::size_t bytes, std::size_t headroom) {
    const std::size_t size = wholeSteps(bytes);
    if (size < bytes)
        return nullptr;
    void* memory = takeOnLargePages(size);
    if (!memory)
        memory = VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (!memory || headroom == 0)
        return memory;
    void* const beside = VirtualAlloc(nullptr, headroom, MEM_RESERVE, PAGE_READWRITE);
    if (beside) {
        VirtualFree(beside, 0, MEM_RELEASE);
        return memory;
    }
    VirtualFree(memory, 0, MEM_RELEASE);
    return nullptr;
}

// Piece by piece, so that little is anybody's at a time. Large pages cannot be given back in parts.
void zero(void* memory, std::size_t bytes) {
    assert(memory);
    auto* const begin = static_cast<std::byte*>(memory);
    const std::size_t size = wholeSteps(bytes);
    for (std::size_t done = 0; done < size; done += kPiece) {
        const std::size_t piece = std::min(kPiece, size - done);
        if (VirtualFree(begin + done, piece, MEM_DECOMMIT))
            recommit(begin + done, piece);
        else
            std::memset(begin + done, 0, piece);
    }
}

void release(void* memory, std::size_t) {
    if (memory)
        VirtualFree(memory, 0, MEM_RELEASE);
}

std::size_t prefaultSteps(std::size_t bytes) {
    return wholeSteps(bytes) / kStep;
}

// The system has no call for this, but a write that changes nothing does it.
bool prefault(void* memory, std::size_t step) {
    assert(memory);
    auto* const begin =
        static_cast<std::uint64_t*>(memory) + step * (kStep / sizeof(std::uint64_t));
    for (std::size_t at = 0; at < kStep; at += kPage)
        std::atomic_ref(begin[at / sizeof(std::uint64_t)]).fetch_or(0, std::memory_order_relaxed);
    return true;
}

} // namespace SysMem
