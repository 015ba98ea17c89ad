#include "base/staticroom.h"
#include "search/search.h"
#include "search/thread.h"
#include "search/tt.h"

#include <cmath>
#include <cstdlib>

namespace {

StaticRoom<TranspositionTable> gTableRoom;
StaticRoom<ThreadPool> gPoolRoom;

void endGlobals() {
    gPoolRoom.end(); // its threads search in the table
    gTableRoom.end();
}

} // namespace

// Casts, for a call would be made by code that runs before `main`.
TranspositionTable& gTT = reinterpret_cast<TranspositionTable&>(gTableRoom.bytes);
ThreadPool& gThreads = reinterpret_cast<ThreadPool&>(gPoolRoom.bytes);

namespace Search {

namespace {

constexpr double kReductionDivisor = 2.25;
constexpr double kReductionBase = 0.75;

} // namespace

void init() {
    gTableRoom.begin();
    gPoolRoom.begin();
    std::atexit(endGlobals);
    for (int depth = 1; depth < kReductionSize; ++depth)
        for (int move = 1; move < kReductionSize; ++move)
            kLMR[depth][move] = static_cast<std::int32_t>(
                std::log(depth) * std::log(move) / kReductionDivisor + kReductionBase);
}

} // namespace Search
