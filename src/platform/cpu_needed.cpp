#include "platform/cpu.h"

namespace Instructions {

namespace {

// A macro that the compiler has defined is a number here, any other still its name.
#define MORVANE_TEXT(word) #word
#define MORVANE_IS_USED(name, macro, word, bit, state) MORVANE_TEXT(macro)[0] != '_',
constexpr bool kUsed[] = {MORVANE_INSTRUCTIONS(MORVANE_IS_USED)};
#undef MORVANE_IS_USED
#undef MORVANE_TEXT

constexpr Set used() {
    Set set = 0;
    for (unsigned row = 0; row < kCount; ++row)
        if (kUsed[row])
            set |= Set{1} << row;
    return set;
}

} // namespace

constexpr Set kNeeded = used();

} // namespace Instructions
