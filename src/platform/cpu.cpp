#include "platform/cpu.h"

#if defined(__x86_64__)
#include <cpuid.h>
#else
#include <sys/auxv.h>
#endif

namespace Instructions {

namespace {

// Registers that the system must save: those of AVX are SSE's and the upper halves (1, 2), those of
// AVX-512 also masks and the rest (5, 6, 7), those of APX are the second sixteen (19).
[[maybe_unused]] constexpr std::uint64_t kNoState = 0;
[[maybe_unused]] constexpr std::uint64_t kAvxState = 0x6;
[[maybe_unused]] constexpr std::uint64_t kAvx512State = 0xe6;
[[maybe_unused]] constexpr std::uint64_t kApxState = 0x80000;

struct Row {
    Word word;
    unsigned bit;
    std::uint64_t state;
};

#define MORVANE_ROW(name, macro, word, bit, state) {word, bit, state},
constexpr Row kRows[] = {MORVANE_INSTRUCTIONS(MORVANE_ROW)};
#undef MORVANE_ROW

#if defined(__x86_64__)

/// For processors that have the instruction, which bit 27 of Leaf1Ecx tells.
std::uint64_t readSavedState() {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    asm("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low | static_cast<std::uint64_t>(high) << 32;
}

#endif

bool has(const Report& report, const Row& row) {
    const bool processorHas = report.words[row.word] >> row.bit & 1;
#if defined(__x86_64__)
    return processorHas && (report.words[SavedState] & row.state) == row.state;
#else
    return processorHas;
#endif
}

} // namespace

#if defined(__x86_64__)

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

#else

Report readReport() {
    Report report;
    report.words[Capabilities] = getauxval(AT_HWCAP);
    report.words[Capabilities2] = getauxval(AT_HWCAP2);
    return report;
}

#endif

Set available(const Report& report) {
    Set found = 0;
    for (unsigned row = 0; row < kCount; ++row)
        if (has(report, kRows[row]))
            found |= Set{1} << row;
    return found;
}

} // namespace Instructions
