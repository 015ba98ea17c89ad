#include "pack/entries.h"

#include "naive_rows.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <random>

namespace {

using Pack::EntryReader;
using Pack::EntryWriter;
using Tune::Trace;
using Weights = std::array<int, Tune::NPARAMS>;

using Entries = std::vector<std::uint8_t>;

Weights differentWeights() {
    Weights weights{};
    for (std::size_t k = 0; k < weights.size(); ++k)
        weights[k] = static_cast<int>(k * 7919 % 1009) - 500;
    return weights;
}

/// A trace with so many counts, of any weights in any sum.
std::unique_ptr<Trace> randomTrace(std::mt19937_64& random, int counts, int largest) {
    auto trace = std::make_unique<Trace>();
    const auto any = [&](int below) {
        return static_cast<int>(random() % static_cast<std::uint64_t>(below));
    };
    for (int i = 0; i < counts; ++i)
        (any(2) ? trace->mg : trace->eg)[any(Tune::NPARAMS)] = any(2 * largest + 1) - largest;
    return trace;
}

/// Writes a row as the packer does: what is left alone is what reading leaves.
Entries written(const EntryReader& reader, const Trace& trace) {
    Entries entries = {7}; // of a row before
    EntryWriter writer(entries);
    writer.useTogether(trace);
    auto rest = std::make_unique<Trace>(trace);
    std::size_t place = 0;
    ScorePair total;
    EXPECT_TRUE(reader.takeOff(std::span(entries).subspan(1), place, *rest, total));
    writer.useAlone(*rest);
    EXPECT_EQ(entries[0], 7);
    entries.erase(entries.begin());
    return entries;
}

void expectCounts(const Entries& entries, const Trace& trace) {
    Naive::Counts counts = Naive::countsOf(entries);
    for (int k = 0; k < Tune::NPARAMS; ++k)
        ASSERT_EQ(std::pair(counts.mg[k], counts.eg[k]), std::pair(trace.mg[k], trace.eg[k])) << k;
}

TEST(PackEntries, HoldAnyCounts) {
    const Weights weights = differentWeights();
    const auto reader = std::make_unique<EntryReader>(weights);
    std::mt19937_64 random(1);
    for (int i = 0; i < 500; ++i) {
        const auto trace = randomTrace(random, i, i % 3 == 0 ? 100 : 2);
        const Entries entries = written(*reader, *trace);
        expectCounts(entries, *trace);

        std::size_t place = 0;
        auto rest = std::make_unique<Trace>(*trace);
        ScorePair total{10, -20};
        ASSERT_TRUE(reader->takeOff(entries, place, *rest, total));
        EXPECT_TRUE(Pack::countsNothing(*rest));
        ScorePair expected{10, -20};
        for (std::size_t k = 0; k < weights.size(); ++k) {
            expected.mg += trace->mg[k] * weights[k];
            expected.eg += trace->eg[k] * weights[k];
        }
        EXPECT_EQ(total, expected);
    }
}

TEST(PackEntries, UseCellsInIncreasingOrder) {
    const auto reader = std::make_unique<EntryReader>(differentWeights());
    std::mt19937_64 random(2);
    for (int i = 0; i < 100; ++i) {
        const auto uses = Naive::usesOf(written(*reader, *randomTrace(random, 60, 3)));
        for (std::size_t k = 1; k < uses.size(); ++k) {
            EXPECT_LE(uses[k - 1].first, uses[k].first);
            if (uses[k - 1].first == uses[k].first) {
                EXPECT_EQ(uses[k - 1].second, uses[k].second);
            }
        }
    }
}

TEST(PackEntries, AreTheseBytes) {
    const auto reader = std::make_unique<EntryReader>(differentWeights());
    Trace trace;
    EXPECT_EQ(written(*reader, trace), Entries());
    trace.mg[0] = trace.eg[5] = 2; // pawns
    trace.mg[1] = trace.eg[6] = -1;
    EXPECT_EQ(written(*reader, trace), (Entries{0, 0, 127}));

    trace = {};
    trace.eg[Tune::NPARAMS - 1] = -3; // the last cell
    const std::size_t step = Pack::kCells.size() - 1;
    Entries expected(step / 126 / 4, 255);
    if (step / 126 % 4 != 0)
        expected.push_back(static_cast<std::uint8_t>(251 + step / 126 % 4));
    expected.push_back(static_cast<std::uint8_t>(126 + step % 126));
    expected.insert(expected.end(), 2, 126);
    EXPECT_EQ(written(*reader, trace), expected);
}

TEST(PackEntries, WhatIsCountedApartIsHeldApart) {
    const auto reader = std::make_unique<EntryReader>(differentWeights());
    Trace trace;
    trace.mg[0] = 3; // a pawn's values, not equally often
    trace.eg[5] = 1;
    const Entries entries = written(*reader, trace);
    expectCounts(entries, trace);
    EXPECT_GE(Naive::usesOf(entries).back().first, Pack::kFirstEgCell);
}

TEST(PackEntries, OfCellsThatDoNotExistAreRefused) {
    const auto reader = std::make_unique<EntryReader>(differentWeights());
    Trace trace;
    ScorePair total;
    std::size_t place = 0;
    EXPECT_FALSE(reader->takeOff(Entries(100, 125), place, trace, total));
    EXPECT_GE(place, Pack::kCells.size());
}

TEST(PackEntries, ATraceThatCountsAnythingCountsSomething) {
    Trace trace;
    EXPECT_TRUE(Pack::countsNothing(trace));
    for (int* const counts : {trace.mg, trace.eg})
        for (int k = 0; k < Tune::NPARAMS; ++k) {
            counts[k] = k % 2 ? 1 : -1;
            EXPECT_FALSE(Pack::countsNothing(trace));
            counts[k] = 0;
        }
}

} // namespace
