#include "platform/thread.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cassert>
#include <memory>
#include <new>
#include <utility>

#include <process.h>
#include <windows.h>

static_assert(sizeof(HANDLE) == sizeof(std::uintptr_t));

namespace {

using Work = std::function<void()>;

/// Processors come in groups of up to 64, and before Windows 11 a thread stays in that in which it
/// starts. So where there are more groups, the threads that are started are dealt out: as many to
/// each as it has processors.
void spreadOverGroups() {
    static std::atomic<std::size_t> started{0};
    const WORD groups = GetActiveProcessorGroupCount();
    if (groups < 2)
        return;
    std::size_t place = started.fetch_add(1, std::memory_order_relaxed) %
                        std::max<DWORD>(GetActiveProcessorCount(ALL_PROCESSOR_GROUPS), 1);
    GROUP_AFFINITY target{};
    DWORD size = GetActiveProcessorCount(target.Group);
    while (place >= size && target.Group + 1 < groups) {
        place -= size;
        size = GetActiveProcessorCount(++target.Group);
    }
    target.Mask = size >= 64 ? ~KAFFINITY{0} : (KAFFINITY{1} << size) - 1;
    SetThreadGroupAffinity(GetCurrentThread(), &target, nullptr); // if not, it stays where it is
}

unsigned __stdcall run(void* work) {
    spreadOverGroups();
    const std::unique_ptr<Work> owned(static_cast<Work*>(work));
    (*owned)();
    return 0;
}

std::size_t stackBytes() {
    ULONG_PTR low = 0;
    ULONG_PTR high = 0;
    GetCurrentThreadStackLimits(&low, &high);
    return high - low;
}

} // namespace

bool hasThreads() {
    return true;
}

// Nothing here throws: no work is left behind.
bool WorkerThread::start(std::function<void()> work) {
    assert(!running_);
    std::unique_ptr<Work> owned(new (std::nothrow) Work(std::move(work)));
    if (!owned)
        return false;
    handle_ = _beginthreadex(nullptr, static_cast<unsigned>(kStackBytes), run, owned.get(),
                             STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    running_ = handle_ != 0;
    if (running_)
        static_cast<void>(owned.release()); // it is the thread's now
    return running_;
}

void WorkerThread::join() {
    if (!running_)
        return;
    const auto thread = std::bit_cast<HANDLE>(handle_);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    running_ = false;
}

void callOnLargeStack(const std::function<void()>& work) {
    WorkerThread thread;
    if (stackBytes() >= WorkerThread::kStackBytes || !thread.start([&] { work(); }))
        work();
}

std::size_t usableCores() {
    DWORD_PTR ours = 0;
    DWORD_PTR all = 0;
    if (GetActiveProcessorGroupCount() > 1)
        return std::max<std::size_t>(GetActiveProcessorCount(ALL_PROCESSOR_GROUPS), 1);
    if (!GetProcessAffinityMask(GetCurrentProcess(), &ours, &all) || ours == 0)
        return 1;
    return static_cast<std::size_t>(std::popcount(static_cast<std::uint64_t>(ours)));
}

void nameThisThread(const char* name) {
    // Systems of before 2016 lack the call.
    using SetDescription = HRESULT(WINAPI*)(HANDLE, PCWSTR);
    const auto call = std::bit_cast<SetDescription>(
        GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetThreadDescription"));
    wchar_t wide[16] = {};
    for (int place = 0; place < 15 && name[place]; ++place)
        wide[place] = static_cast<wchar_t>(static_cast<unsigned char>(name[place]));
    if (call)
        call(GetCurrentThread(), wide);
}
