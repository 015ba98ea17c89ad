#include "search/tt.h"

#include "search/score.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <type_traits>

namespace {

constexpr std::uint64_t kKeyA = 0x0123456789ABCDEFULL;
constexpr std::uint64_t kKeyB = 0xFEDCBA9876543210ULL;
constexpr std::uint64_t kKeyC = 0x8000000000000001ULL;
constexpr std::uint64_t kKeyD = 0x7777777711111111ULL;
constexpr std::uint64_t kKeyE = 0x5555AAAA5555AAAAULL;
constexpr std::uint64_t kBucketKeys[4] = {kKeyA, kKeyB, kKeyC, kKeyD};

/// The two words of an entry as they stand in memory.
struct RawEntry {
    std::uint64_t keyXorData;
    std::uint64_t data;
};

/// The table's memory: its address is the table's first member.
RawEntry* rawEntries(TranspositionTable& table) {
    static_assert(std::is_standard_layout_v<TranspositionTable>);
    RawEntry* entries = nullptr;
    std::memcpy(&entries, static_cast<void*>(&table), sizeof entries);
    return entries;
}

void advance(TranspositionTable& table, int generations) {
    for (int i = 0; i < generations; ++i)
        table.newGeneration();
}

/// A table with a single bucket, so that all keys meet there.
class OneBucket : public testing::Test {
  protected:
    using Move = std::uint32_t;

    void SetUp() override { ASSERT_TRUE(table.resize(0)); }

    void store(std::uint64_t key, int depth, Move move = 1) {
        table.store(key, move, 0, depth, TTExact, 0);
    }
    void fill(int depthA, int depthB, int depthC, int depthD) {
        const int depths[4] = {depthA, depthB, depthC, depthD};
        for (int i = 0; i < 4; ++i)
            store(kBucketKeys[i], depths[i]);
    }
    bool holds(std::uint64_t key) const {
        TTData data;
        return table.probe(key, data);
    }
    int depthOf(std::uint64_t key) const {
        TTData data{};
        EXPECT_TRUE(table.probe(key, data));
        return data.depth;
    }
    /// Which of the four filled keys is gone; -1 if none, -2 if more than one.
    int displaced() const {
        int gone = -1;
        for (int i = 0; i < 4; ++i)
            if (!holds(kBucketKeys[i]))
                gone = gone == -1 ? i : -2;
        return gone;
    }

    TranspositionTable table;
};

/// Stores results of random positions.
void storeAtRandom(TranspositionTable& table, std::mt19937_64& random, int stores) {
    for (int i = 0; i < stores; ++i)
        table.store(random(), static_cast<std::uint32_t>(random()), 0,
                    static_cast<int>(random() % 20) - 1, TTExact, 0);
}

/// The number of words in the table that are not zero.
std::ptrdiff_t wordsInUse(TranspositionTable& table) {
    const RawEntry* entries = rawEntries(table);
    return std::accumulate(entries, entries + 4 * table.bucketCount(), std::ptrdiff_t{0},
                           [](std::ptrdiff_t sum, const RawEntry& e) {
                               return sum + (e.keyXorData != 0) + (e.data != 0);
                           });
}

// --- size and place ---

TEST(TranspositionTable, HasOneBucketFor64BytesAndNeverNone) {
    TranspositionTable table;
    ASSERT_TRUE(table.resize(0));
    EXPECT_EQ(table.bucketCount(), 1U);
    ASSERT_TRUE(table.resize(1));
    EXPECT_EQ(table.bucketCount(), 16384U);
    ASSERT_TRUE(table.resize(3));
    EXPECT_EQ(table.bucketCount(), 49152U);
    ASSERT_TRUE(table.resize(64));
    EXPECT_EQ(table.bucketCount(), 1048576U);
}

TEST(TranspositionTable, BucketsLieOnCacheLines) {
    TranspositionTable table;
    for (const unsigned mb : {0U, 1U, 3U}) {
        ASSERT_TRUE(table.resize(mb));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(rawEntries(table)) % 64, 0U);
    }
}

/// Where in the table's memory a key is stored.
std::uint64_t bucketOf(TranspositionTable& table, std::uint64_t key) {
    table.clear();
    table.store(key, 1, 0, 1, TTExact, 0);
    const RawEntry* entries = rawEntries(table);
    for (std::uint64_t i = 0; i < 4 * table.bucketCount(); ++i)
        if ((entries[i].keyXorData | entries[i].data) != 0)
            return i / 4;
    return ~std::uint64_t{0};
}

TEST(TranspositionTable, PlacesKeysByTheirLowBitsWhenTheCountIsAPowerOfTwo) {
    TranspositionTable table;
    ASSERT_TRUE(table.resize(1));
    for (const std::uint64_t key : {kKeyA, kKeyB, kKeyC, kKeyD, kKeyE})
        EXPECT_EQ(bucketOf(table, key), key & 16383);
}

TEST(TranspositionTable, PlacesKeysByTheRemainderOfTheWholeKeyOtherwise) {
    TranspositionTable table;
    ASSERT_TRUE(table.resize(3));
    for (const std::uint64_t key : {kKeyA, kKeyB, kKeyC, kKeyD, kKeyE, ~std::uint64_t{0}})
        EXPECT_EQ(bucketOf(table, key), key % 49152);
}

TEST(TranspositionTable, NeverSizedFindsNothingAndDropsStores) {
    TranspositionTable table;
    EXPECT_EQ(table.bucketCount(), 0U);
    table.store(kKeyA, 1, 2, 3, TTExact, 0);
    TTData data;
    EXPECT_FALSE(table.probe(kKeyA, data));
    table.prefetch(kKeyA);
    table.clear();
    EXPECT_FALSE(table.probe(kKeyA, data));
    ASSERT_TRUE(table.resize(0)) << "and can still be sized";
    table.store(kKeyA, 1, 2, 3, TTExact, 0);
    EXPECT_TRUE(table.probe(kKeyA, data));
}

TEST(TranspositionTable, ResizingEmptiesIt) {
    TranspositionTable table;
    ASSERT_TRUE(table.resize(1));
    table.store(kKeyA, 1, 2, 3, TTExact, 0);
    ASSERT_TRUE(table.resize(1));
    TTData data;
    EXPECT_FALSE(table.probe(kKeyA, data));
}

// More than any address space holds, and still a byte count of 64 bits.
constexpr std::uint64_t kAbsurdMb = std::uint64_t{1} << 42;

TEST_F(OneBucket, AFailedResizeKeepsTheTableAndItsAge) {
    advance(table, 5);
    fill(4, 5, 6, 7);
    RawEntry before[4];
    std::memcpy(before, rawEntries(table), sizeof before);
    ASSERT_FALSE(table.resize(kAbsurdMb));
    EXPECT_EQ(table.bucketCount(), 1U);
    EXPECT_EQ(std::memcmp(before, rawEntries(table), sizeof before), 0);
    store(kKeyE, 3); // of the same age as the rest, so too shallow
    EXPECT_EQ(displaced(), -1);
}

TEST(TranspositionTable, AFailedFirstResizeLeavesItUnsized) {
    TranspositionTable table;
    ASSERT_FALSE(table.resize(kAbsurdMb));
    EXPECT_EQ(table.bucketCount(), 0U);
    table.store(kKeyA, 1, 2, 3, TTExact, 0);
    TTData data;
    EXPECT_FALSE(table.probe(kKeyA, data));
}

// --- what an entry holds ---

TEST_F(OneBucket, GivesBackWhatWasStored) {
    table.store(kKeyA, 0xFEDCBA98U, -1234, 17, TTUpper, 3);
    TTData data{};
    ASSERT_TRUE(table.probe(kKeyA, data));
    EXPECT_EQ(data.move, 0xFEDCBA98U);
    EXPECT_EQ(data.score, -1234);
    EXPECT_EQ(data.depth, 17);
    EXPECT_EQ(data.flag, TTUpper);
    EXPECT_FALSE(table.probe(kKeyA ^ 1, data));
    EXPECT_FALSE(table.probe(kKeyA ^ (std::uint64_t{1} << 63), data));
}

TEST_F(OneBucket, KeepsAllFlags) {
    for (const TTFlag flag : {TTExact, TTLower, TTUpper}) {
        table.store(kKeyA, 1, 0, 1, flag, 0);
        TTData data{};
        ASSERT_TRUE(table.probe(kKeyA, data));
        EXPECT_EQ(data.flag, flag);
    }
    EXPECT_EQ(TTExact, 0U);
    EXPECT_EQ(TTLower, 1U);
    EXPECT_EQ(TTUpper, 2U);
}

TEST_F(OneBucket, TruncatesScoresTo16AndDepthsTo8Bits) {
    table.store(kKeyA, 1, 40000, 1, TTExact, 0);
    table.store(kKeyB, 1, 70000, 1, TTExact, 100); // a mate: 70100 is 4564 in 16 bits
    table.store(kKeyC, 1, 0, 200, TTExact, 0);
    table.store(kKeyD, 1, 0, 256 + 7, TTExact, 0);
    TTData data{};
    ASSERT_TRUE(table.probe(kKeyA, data));
    EXPECT_EQ(data.score, 40000 - 65536);
    ASSERT_TRUE(table.probe(kKeyB, data));
    EXPECT_EQ(data.score, 4564);
    ASSERT_TRUE(table.probe(kKeyC, data));
    EXPECT_EQ(data.depth, 200 - 256);
    ASSERT_TRUE(table.probe(kKeyD, data));
    EXPECT_EQ(data.depth, 7);
}

TEST_F(OneBucket, PacksMoveScoreDepthFlagAndAgeFromTheLowBitsUp) {
    advance(table, 37);
    table.store(kKeyA, 0x89ABCDEFU, -2, -1, TTUpper, 0);
    const RawEntry& entry = rawEntries(table)[0];
    const std::uint64_t data = std::uint64_t{37} << 58 | std::uint64_t{2} << 56 |
                               std::uint64_t{0xFF} << 48 | std::uint64_t{0xFFFE} << 32 |
                               0x89ABCDEFU;
    EXPECT_EQ(entry.data, data);
    EXPECT_EQ(entry.keyXorData, kKeyA ^ data);
}

TEST_F(OneBucket, AHalfWrittenEntryMatchesNoKey) {
    store(kKeyA, 5);
    rawEntries(table)[0].data ^= std::uint64_t{1} << 40;
    EXPECT_FALSE(holds(kKeyA));
}

TEST_F(OneBucket, AnEmptyPlaceHoldsNothingForAnyKey) {
    for (const std::uint64_t key : {std::uint64_t{0}, kKeyA, ~std::uint64_t{0}})
        EXPECT_FALSE(holds(key));
}

// --- what gives way to what ---

TEST_F(OneBucket, FillsEmptyPlacesInOrder) {
    fill(9, 1, 7, 3);
    const RawEntry* entries = rawEntries(table);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(entries[i].keyXorData ^ entries[i].data, kBucketKeys[i]);
}

TEST_F(OneBucket, AStoreShallowerThanEveryEntryIsDropped) {
    fill(5, 3, 3, 9);
    store(kKeyE, 2);
    EXPECT_EQ(displaced(), -1);
    EXPECT_FALSE(holds(kKeyE));
}

TEST_F(OneBucket, TheFirstOfTheShallowestGivesWayToAnEquallyDeepStore) {
    fill(5, 3, 3, 9);
    store(kKeyE, 3);
    EXPECT_EQ(displaced(), 1);
    EXPECT_EQ(depthOf(kKeyE), 3);
}

TEST_F(OneBucket, OnAllEqualTheFirstPlaceGivesWay) {
    fill(4, 4, 4, 4);
    store(kKeyE, 4);
    EXPECT_EQ(displaced(), 0);
}

TEST_F(OneBucket, TheLastPlaceGivesWayWhenItIsTheShallowest) {
    fill(4, 4, 4, 3);
    store(kKeyE, 20);
    EXPECT_EQ(displaced(), 3);
}

TEST_F(OneBucket, AnEntryOfAnEarlierSearchCountsEightPliesLess) {
    store(kKeyA, 3);
    store(kKeyB, 10);
    advance(table, 1);
    store(kKeyA, 3); // now current: worth 3, the old one 2
    store(kKeyC, 9);
    store(kKeyD, 9);
    store(kKeyE, 1);
    EXPECT_EQ(displaced(), -1) << "worth 2 is more than 1";
    store(kKeyE, 2);
    EXPECT_EQ(displaced(), 1);
}

TEST_F(OneBucket, AgesBeyondOneCountNoMore) {
    store(kKeyA, 10);
    advance(table, 20);
    store(kKeyB, 3);
    store(kKeyC, 3);
    store(kKeyD, 3);
    store(kKeyE, 1);
    EXPECT_EQ(displaced(), -1);
    store(kKeyE, 2);
    EXPECT_EQ(displaced(), 0);
}

TEST_F(OneBucket, AFoundEntryStaysAsOldAsItIs) {
    fill(10, 10, 10, 10);
    advance(table, 1);
    EXPECT_TRUE(holds(kKeyA));
    store(kKeyE, 2);
    EXPECT_EQ(displaced(), 0);
}

TEST_F(OneBucket, AgesWrapAfter64Searches) {
    fill(10, 10, 10, 10);
    advance(table, 64);
    store(kKeyE, 9);
    EXPECT_EQ(displaced(), -1) << "as old as the current search";
    advance(table, 192);
    store(kKeyE, 9);
    EXPECT_EQ(displaced(), -1) << "also after the counter itself has wrapped";
    advance(table, 63);
    store(kKeyE, 2);
    EXPECT_EQ(displaced(), 0);
}

TEST_F(OneBucket, ClearingEmptiesItAndResetsItsAge) {
    advance(table, 9);
    fill(1, 2, 3, 4);
    table.clear();
    EXPECT_EQ(rawEntries(table)[3].keyXorData, 0U);
    for (const std::uint64_t key : kBucketKeys)
        EXPECT_FALSE(holds(key));
    store(kKeyA, 1);
    EXPECT_EQ(rawEntries(table)[0].data >> 58, 0U);
}

TEST(TranspositionTable, ClearsWhollyWithARecordOfWrites) {
    std::mt19937_64 random(20261120);
    for (const std::uint64_t mb : {1ULL, 3ULL}) {
        TranspositionTable table;
        ASSERT_TRUE(table.resize(mb));
        storeAtRandom(table, random, 1000);
        EXPECT_GT(wordsInUse(table), 1000);
        table.recordWrites(true); // the record begins with the next clearing
        const int share = static_cast<int>(table.bucketCount()) / 8;
        for (const int stores : {0, 10, share - 1, share, share + 1, 10 * share, 1, 3}) {
            storeAtRandom(table, random, stores);
            table.clear();
            EXPECT_EQ(wordsInUse(table), 0) << stores << " stores, " << mb << " MiB";
        }
        storeAtRandom(table, random, 100);
        table.recordWrites(false);
        storeAtRandom(table, random, 100);
        table.clear();
        EXPECT_EQ(wordsInUse(table), 0);
    }
}

TEST(TranspositionTable, FetchingPagesChangesNothing) {
    TranspositionTable table;
    table.prefaultPages(); // of no table
    ASSERT_TRUE(table.resize(8));
    table.prefaultPages();
    std::mt19937_64 random(5);
    storeAtRandom(table, random, 1000);
    const auto words = wordsInUse(table);
    table.waitForPrefault();
    table.prefaultPages();
    table.waitForPrefault();
    EXPECT_EQ(wordsInUse(table), words);

    table.prefaultPages();
    table.clear();
    EXPECT_EQ(wordsInUse(table), 0);
    table.prefaultPages();
    ASSERT_TRUE(table.resize(1));
    EXPECT_EQ(wordsInUse(table), 0);
}

TEST(TranspositionTable, StoresTheSameWithARecordOfWrites) {
    TranspositionTable plain;
    TranspositionTable recording;
    ASSERT_TRUE(plain.resize(1));
    ASSERT_TRUE(recording.resize(1));
    recording.recordWrites(true);
    for (const int stores : {500, 5000, 200000, 2000}) {
        for (TranspositionTable* table : {&plain, &recording}) {
            std::mt19937_64 random(static_cast<std::uint64_t>(stores));
            table->clear();
            table->newGeneration();
            storeAtRandom(*table, random, stores);
        }
        EXPECT_EQ(std::memcmp(rawEntries(plain), rawEntries(recording), 1 << 20), 0) << stores;
    }
}

TEST(TranspositionTable, ResizingEndsTheRecordOfWrites) {
    TranspositionTable table;
    ASSERT_TRUE(table.resize(1));
    table.recordWrites(true);
    table.clear();
    ASSERT_TRUE(table.resize(2));
    std::mt19937_64 random(1);
    storeAtRandom(table, random, 1000);
    table.clear();
    EXPECT_EQ(wordsInUse(table), 0);
}

TEST_F(OneBucket, ResizingResetsItsAge) {
    advance(table, 9);
    ASSERT_TRUE(table.resize(0));
    store(kKeyA, 1);
    EXPECT_EQ(rawEntries(table)[0].data >> 58, 0U);
}

// --- the same position again ---

TEST_F(OneBucket, AShallowerSearchOfTheSamePositionReplacesTheDeeper) {
    fill(20, 5, 5, 5);
    store(kKeyA, 0, 99);
    EXPECT_EQ(displaced(), -1);
    EXPECT_EQ(depthOf(kKeyA), 0);
}

TEST_F(OneBucket, QuiescenceNeverReplacesASearchOfTheSamePosition) {
    for (const int depth : {0, 1, 30}) {
        table.clear();
        store(kKeyA, depth, 7);
        store(kKeyA, -1, 8);
        TTData data{};
        ASSERT_TRUE(table.probe(kKeyA, data));
        EXPECT_EQ(data.move, 7U);
        EXPECT_EQ(data.depth, depth);
    }
}

TEST_F(OneBucket, QuiescenceReplacesQuiescenceOfTheSamePosition) {
    store(kKeyA, -1, 7);
    store(kKeyA, -1, 8);
    TTData data{};
    ASSERT_TRUE(table.probe(kKeyA, data));
    EXPECT_EQ(data.move, 8U);
}

TEST_F(OneBucket, ADroppedQuiescenceStoreReplacesNothingElse) {
    store(kKeyB, -1);
    store(kKeyA, 4);
    store(kKeyC, -1);
    store(kKeyD, -1);
    store(kKeyA, -1, 9);
    EXPECT_EQ(displaced(), -1);
    EXPECT_EQ(depthOf(kKeyA), 4);
}

TEST_F(OneBucket, QuiescenceReplacesAnotherPositionOnlyFromQuiescenceOrLongAgo) {
    fill(0, 0, 0, 0);
    store(kKeyE, -1);
    EXPECT_EQ(displaced(), -1);
    advance(table, 1);
    store(kKeyE, -1);
    EXPECT_EQ(displaced(), 0);
}

// --- all of it against a plain model ---

/// The rules of one bucket once more.
struct ModelBucket {
    RawEntry entries[4] = {};
    std::uint32_t generation = 0;

    static int depthOf(const RawEntry& e) { return static_cast<std::int8_t>(e.data >> 48 & 255); }

    void store(std::uint64_t key, std::uint32_t move, int score, int depth, TTFlag flag) {
        const auto low = [](int value, int bits) {
            return static_cast<std::uint64_t>(value) & ((std::uint64_t{1} << bits) - 1);
        };
        const std::uint64_t data = move | low(score, 16) << 32 | low(depth, 8) << 48 |
                                   std::uint64_t{flag} << 56 | std::uint64_t{generation % 64} << 58;
        const RawEntry fresh = {key ^ data, data};
        int worth[4];
        for (int i = 0; i < 4; ++i) {
            RawEntry& e = entries[i];
            const bool empty = e.keyXorData == 0 && e.data == 0;
            if (empty || (e.keyXorData ^ e.data) == key) {
                if (empty || depth >= 0 || depthOf(e) < 0)
                    e = fresh;
                return;
            }
            worth[i] = depthOf(e) - (e.data >> 58 == generation % 64 ? 0 : 8);
        }
        const auto victim = std::min_element(worth, worth + 4) - worth; // the first of equals
        if (worth[victim] <= depth)
            entries[victim] = fresh;
    }
};

TEST_F(OneBucket, AgreesWithAPlainModelOverRandomStores) {
    std::mt19937_64 random(20260714);
    ModelBucket model;
    for (int step = 0; step < 200000; ++step) {
        if (random() % 40 == 0) {
            table.newGeneration();
            ++model.generation;
        }
        if (random() % 5000 == 0) {
            table.clear();
            model = {};
        }
        const std::uint64_t key = (random() % 7) * 0x9E3779B97F4A7C15ULL;
        const auto move = static_cast<std::uint32_t>(random());
        const int score = static_cast<int>(random() % 50001) - 25000;
        const int depth = static_cast<int>(random() % 12) - 1;
        const auto flag = static_cast<TTFlag>(random() % 3);
        table.store(key, move, score, depth, flag, 0);
        model.store(key, move, score, depth, flag);
        ASSERT_EQ(std::memcmp(model.entries, rawEntries(table), sizeof model.entries), 0) << step;
    }
}

// --- mate scores ---

TEST(TableScores, CountMatesFromThePositionAndOthersNotAtAll) {
    using T = TranspositionTable;
    EXPECT_EQ(T::scoreToTT(29744, 5), 29749);
    EXPECT_EQ(T::scoreToTT(29743, 5), 29743);
    EXPECT_EQ(T::scoreToTT(-29744, 5), -29749);
    EXPECT_EQ(T::scoreToTT(-29743, 5), -29743);
    EXPECT_EQ(T::scoreToTT(0, 5), 0);
    EXPECT_EQ(T::scoreFromTT(29744, 5), 29739);
    EXPECT_EQ(T::scoreFromTT(29743, 5), 29743);
    EXPECT_EQ(T::scoreFromTT(-29744, 5), -29739);
    EXPECT_EQ(T::scoreFromTT(-29743, 5), -29743);
}

TEST(TableScores, RoundTripAtTheSamePly) {
    for (int ply = 0; ply <= 128; ++ply)
        for (const int score : {29990, -29990, 29872, -29872, 29743, -29743, 31, 0})
            EXPECT_EQ(
                TranspositionTable::scoreFromTT(TranspositionTable::scoreToTT(score, ply), ply),
                score);
}

TEST_F(OneBucket, AMateReadAtAnotherPlyIsAsFarFromThePosition) {
    table.store(kKeyA, 1, 29990, 5, TTExact, 3); // mate 10 plies from the root, 7 from here
    TTData data{};
    ASSERT_TRUE(table.probe(kKeyA, data));
    EXPECT_EQ(data.score, 29993) << "a probe gives the table's form";
    EXPECT_EQ(TranspositionTable::scoreFromTT(data.score, 10), 29983);
    table.store(kKeyA, 1, -29990, 5, TTExact, 3);
    ASSERT_TRUE(table.probe(kKeyA, data));
    EXPECT_EQ(TranspositionTable::scoreFromTT(data.score, 10), -29983);
}

// --- what a probe is good for ---

TEST(TTData, SettlesAWindowByAnExactScoreOrByABoundOutsideOfIt) {
    const auto settles = [](TTFlag flag, int score) {
        return TTData{0, 0, 0, flag}.settles(score, 10, 20);
    };
    for (const int score : {-5, 10, 15, 20, 25}) {
        EXPECT_TRUE(settles(TTExact, score)) << score;
        EXPECT_EQ(settles(TTLower, score), score >= 20) << score;
        EXPECT_EQ(settles(TTUpper, score), score <= 10) << score;
    }
}

} // namespace
