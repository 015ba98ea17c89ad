#include "search/thread.h"
#include "search/tt.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>

/// Nothing that one thread writes at every node lies near what another thread reads at every node:
/// the table's buckets are all that search threads share for writing.
namespace {

template <class T>
std::uintptr_t linesOf(const T& value) {
    return reinterpret_cast<std::uintptr_t>(&value) / kLineDistance;
}

template <class T>
bool hasOwnLines(const T& value) {
    return reinterpret_cast<std::uintptr_t>(&value) % kLineDistance == 0 &&
           sizeof value % kLineDistance == 0;
}

TEST(Layout, ThePoolsThreadsBeginAndEndOnLinesOfTheirOwn) {
    gThreads.set(5);
    for (std::size_t i = 0; i < gThreads.size(); ++i)
        EXPECT_TRUE(hasOwnLines(gThreads[i])) << i;
    gThreads.set(1);
}

TEST(Layout, CountersOfDifferentThreadsShareNoLines) {
    gThreads.set(5);
    std::set<std::uintptr_t> lines;
    for (std::size_t i = 0; i < gThreads.size(); ++i) {
        const Thread& thread = gThreads[i];
        const std::set<std::uintptr_t> own = {linesOf(thread.nodes), linesOf(thread.qnodes),
                                              linesOf(thread.seldepth)};
        for (const std::uintptr_t line : own)
            EXPECT_TRUE(lines.insert(line).second) << "thread " << i;
    }
    gThreads.set(1);
}

TEST(Layout, WhatAllThreadsReadAtEveryNodeHasLinesOfItsOwn) {
    EXPECT_TRUE(hasOwnLines(gStopSearch));
    EXPECT_TRUE(hasOwnLines(gTT));
}

TEST(Layout, ACopyOfTheBoardTakesAFewLinesBesidesItsHistory) {
    constexpr std::size_t kLine = 64;
    EXPECT_EQ(sizeof(UndoInfo), kLine);
    EXPECT_LE(sizeof(Board) - sizeof(Board::history), 8 * kLine);
}

} // namespace
