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
    if (__get_cpuid(0, &a, &b, &c, &d))
        report.words[Leaf0Ebx] = b;
    if (__get_cpuid(1, &a, &b, &c, &d)) {
        report.words[Leaf1Eax] = a;
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

bool extractsBitsFast(const Report& report) {
    constexpr std::uint64_t kAmd = 0x68747541;   // "Auth", of "AuthenticAMD"
    constexpr std::uint64_t kHygon = 0x6f677948; // "Hygo", whose processors are early Zen ones
    constexpr std::uint64_t kZen3Family = 0x19;
    const std::uint64_t maker = report.words[Leaf0Ebx];
    const std::uint64_t version = report.words[Leaf1Eax];
    const std::uint64_t baseFamily = version >> 8 & 0xf;
    const std::uint64_t family = baseFamily + (baseFamily == 0xf ? version >> 20 & 0xff : 0);
    return (maker != kAmd && maker != kHygon) || family >= kZen3Family;
}

} // namespace Instructions
