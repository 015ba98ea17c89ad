#include "platform/cpu.h"

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

bool has(const Report& report, const Row& row) {
    const bool processorHas = report.words[row.word] >> row.bit & 1;
    return processorHas && (report.words[SavedState] & row.state) == row.state;
}

} // namespace

Set available(const Report& report) {
    Set found = 0;
    for (unsigned row = 0; row < kCount; ++row)
        if (has(report, kRows[row]))
            found |= Set{1} << row;
    return found;
}

} // namespace Instructions
