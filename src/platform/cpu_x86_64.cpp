#include "platform/cpu.h"

#include <cpuid.h>

namespace Instructions {

namespace {

/// For processors that have the instruction, which bit 27 of Leaf1Ecx tells.
std::uint64_t readSavedState() {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    asm("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low | static_cast<std::uint64_t>(high) << 32;
}

} // namespace

Report readReport() {
    constexpr std::uint32_t kSystemTellsState = 1U << 27;
    Report report;
    std::uint32_t a = 0;
    std::uint32_t b = 0;
    std::uint32_t c = 0;
    std::uint32_t d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d)) {
        report.words[Leaf1Ecx] = c;
        if (c & kSystemTellsState)
            report.words[SavedState] = readSavedState();
    }
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d)) {
        report.words[Leaf7Ebx] = b;
        report.words[Leaf7Ecx] = c;
        report.words[Leaf7Edx] = d;
        const std::uint32_t lastSubleaf = a;
        if (lastSubleaf >= 1 && __get_cpuid_count(7, 1, &a, &b, &c, &d)) {
            report.words[Leaf7Sub1Eax] = a;
            report.words[Leaf7Sub1Edx] = d;
        }
    }
    if (__get_cpuid(0x80000001, &a, &b, &c, &d))
        report.words[ExtendedEcx] = c;
    return report;
}

} // namespace Instructions
