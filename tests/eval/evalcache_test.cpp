#include "eval/evalcache.h"

#include "eval/evaluate.h"
#include "print.h"
#include "sampling.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

using Eval::EvalCache;
using Notation::boardOf;

namespace {

constexpr int kPlaceBits = 14; // of a key, the lowest
constexpr std::uint64_t kPlaces = std::uint64_t{1} << kPlaceBits;
constexpr int kLeast = -4096; // value that an entry can hold
constexpr int kGreatest = 4095;

// Positions of different worth.
constexpr const char* kUpFen = "4k3/pppp4/8/8/8/8/PPPP4/Q3K3 w - - 0 1";
constexpr const char* kDownFen = "r3k3/pppp4/8/8/8/8/PPPP4/4K3 w - - 0 1";

Board withKey(Board board, std::uint64_t key) {
    board.key = key;
    return board;
}

/// The same position as the other side sees it, if that is a position.
bool otherSideToMove(const std::string& fen, Board& board) {
    std::string text = fen;
    char& side = text[text.find(' ') + 1];
    side = side == 'w' ? 'b' : 'w';
    return board.setFen(text);
}

/// A board of the given value before fading. The value of the pieces on their squares is one of the
/// sums that a board keeps.
Board boardWorth(int value) {
    Board board = boardOf(kStartFen);
    const int change = value - Eval::evaluateUnfaded(board);
    board.psq += packPair(change, change);
    return board;
}

/// Whether the cache answers for a key without looking at the board.
bool remembers(EvalCache& cache, std::uint64_t key, int value) {
    const int other = value == 0 ? 1000 : -value;
    return cache.evaluate(withKey(boardWorth(other), key)) == value;
}

class EvalCacheTest : public testing::Test {
  protected:
    const std::unique_ptr<EvalCache> cache_ = std::make_unique<EvalCache>();
    std::mt19937_64 random_{20};
};

} // namespace

// --- the same as without it ---

TEST_F(EvalCacheTest, GivesTheEvaluationTwiceInARow) {
    int otherSides = 0;
    for (const std::string& fen : Positions::readAll()) {
        Board board = boardOf(fen);
        EXPECT_EQ(cache_->evaluate(board), evaluate(board)) << fen;
        EXPECT_EQ(cache_->evaluate(board), evaluate(board)) << fen;
        if (!otherSideToMove(fen, board))
            continue;
        ++otherSides;
        EXPECT_EQ(cache_->evaluate(board), evaluate(board)) << fen << " the other side to move";
        EXPECT_EQ(cache_->evaluate(board), evaluate(board)) << fen << " the other side to move";
    }
    EXPECT_GT(otherSides, 300);
}

TEST_F(EvalCacheTest, GivesTheEvaluationThroughoutRandomGames) {
    Sampling::visitGames(3, scaled(20000), [&](const Board& board) {
        EXPECT_EQ(cache_->evaluate(board), evaluate(board)) << board.fen();
        EXPECT_EQ(cache_->evaluate(board), evaluate(board)) << board.fen();
    });
}

namespace {

/// Remembered at one clock and asked for at others: the value remembered is the one before fading.
void expectEvaluationAtAllClocks(EvalCache& cache, Board board, std::mt19937_64& random) {
    std::vector<int> clocks = {255};
    for (int clock = 0; clock <= 100; ++clock)
        clocks.push_back(clock);
    for (const int first : {0, 37, 100, 255}) {
        board.key = random();
        board.halfmoveClock = static_cast<std::uint8_t>(first);
        ASSERT_EQ(cache.evaluate(board), evaluate(board)) << board.fen();
        for (const int clock : clocks) {
            board.halfmoveClock = static_cast<std::uint8_t>(clock);
            ASSERT_EQ(cache.evaluate(board), evaluate(board)) << board.fen() << " from " << first;
        }
    }
}

} // namespace

TEST_F(EvalCacheTest, GivesTheEvaluationAtEveryClockWhateverTheClockWasBefore) {
    for (const std::string& fen : Positions::readAll()) {
        Board board = boardOf(fen);
        ASSERT_NO_FATAL_FAILURE(expectEvaluationAtAllClocks(*cache_, board, random_));
        if (otherSideToMove(fen, board)) {
            ASSERT_NO_FATAL_FAILURE(expectEvaluationAtAllClocks(*cache_, board, random_));
        }
    }
}

// --- what is remembered ---

TEST_F(EvalCacheTest, ServesAPositionThatItHasSeen) {
    for (int round = 0; round < 1000; ++round) {
        const std::uint64_t key = random_();
        const Board seen = withKey(boardOf(kUpFen), key);
        Board other = withKey(boardOf(kDownFen), key);
        const int value = evaluate(seen);
        ASSERT_NE(value, evaluate(other));
        ASSERT_EQ(cache_->evaluate(seen), value);
        // The same key means the same position: what is stored under it is not computed again.
        ASSERT_EQ(cache_->evaluate(other), value);
    }
}

TEST_F(EvalCacheTest, RemembersTheValueOfWhiteBeforeItFades) {
    Board seen = withKey(boardOf(kUpFen), random_());
    const int value = Eval::evaluateUnfaded(seen);
    seen.halfmoveClock = 90;
    cache_->evaluate(seen);

    Board other = withKey(boardOf(kDownFen), seen.key);
    EXPECT_EQ(cache_->evaluate(other), value);
    other.halfmoveClock = 50;
    EXPECT_EQ(cache_->evaluate(other), Eval::fade(value, 50));
    other.sideToMove = Black;
    EXPECT_EQ(cache_->evaluate(other), -Eval::fade(value, 50));
    other.halfmoveClock = 255;
    EXPECT_EQ(cache_->evaluate(other), -Eval::fade(value, 255));
}

TEST_F(EvalCacheTest, RemembersPositionsThatDifferInTheirPlaceSideBySide) {
    for (int differing = 0; differing < kPlaceBits; ++differing) {
        const std::uint64_t key = random_();
        cache_->evaluate(withKey(boardWorth(150), key));
        cache_->evaluate(withKey(boardWorth(-70), key ^ (std::uint64_t{1} << differing)));
        EXPECT_TRUE(remembers(*cache_, key, 150)) << differing;
    }
}

TEST_F(EvalCacheTest, RemembersTheLastTwoPositionsWithOnePlace) {
    for (int differing = kPlaceBits; differing + 1 < 64; ++differing) {
        const std::uint64_t key = random_();
        const std::uint64_t laterKey = key ^ (std::uint64_t{1} << differing);
        const std::uint64_t lastKey = key ^ (std::uint64_t{2} << differing);
        cache_->evaluate(withKey(boardWorth(150), key));
        cache_->evaluate(withKey(boardWorth(-70), laterKey));
        EXPECT_TRUE(remembers(*cache_, key, 150)) << differing;
        EXPECT_TRUE(remembers(*cache_, laterKey, -70)) << differing;
        cache_->evaluate(withKey(boardWorth(33), lastKey));
        EXPECT_TRUE(remembers(*cache_, laterKey, -70)) << differing;
        EXPECT_TRUE(remembers(*cache_, lastKey, 33)) << differing;
        EXPECT_FALSE(remembers(*cache_, key, 150)) << differing;
    }
}

// --- no answer for another position ---

namespace {

void expectNoMixUp(EvalCache& cache, std::uint64_t keyUp, std::uint64_t keyDown) {
    static const Board kUp = boardOf(kUpFen);
    static const Board kDown = boardOf(kDownFen);
    ASSERT_NE(evaluate(kUp), evaluate(kDown));
    const Board up = withKey(kUp, keyUp);
    const Board down = withKey(kDown, keyDown);
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(cache.evaluate(up), evaluate(up)) << keyUp << ' ' << keyDown;
        ASSERT_EQ(cache.evaluate(down), evaluate(down)) << keyUp << ' ' << keyDown;
    }
}

} // namespace

TEST_F(EvalCacheTest, TellsKeysApartThatDifferInOneBit) {
    for (int differing = 0; differing < 64; ++differing)
        for (const std::uint64_t key : {random_(), random_(), std::uint64_t{0}, ~std::uint64_t{0}})
            ASSERT_NO_FATAL_FAILURE(
                expectNoMixUp(*cache_, key, key ^ (std::uint64_t{1} << differing)));
}

TEST_F(EvalCacheTest, TellsKeysApartThatDifferInTwoBits) {
    for (int first = 0; first < 64; ++first)
        for (int second = 0; second < first; ++second) {
            const std::uint64_t key = random_();
            const std::uint64_t bits = std::uint64_t{1} << first | std::uint64_t{1} << second;
            ASSERT_NO_FATAL_FAILURE(expectNoMixUp(*cache_, key, key ^ bits));
        }
}

namespace {

/// A new cache in memory that held something else before.
class CacheInUsedMemory {
  public:
    explicit CacheInUsedMemory(std::uint64_t formerWord) : memory_(std::make_unique<Memory>()) {
        // Stores to memory that a constructor is about to take over count for nothing unless they
        // are volatile.
        for (volatile std::uint64_t& word : memory_->words)
            word = formerWord;
        cache_ = new (memory_->words) EvalCache;
    }

    EvalCache& operator*() const { return *cache_; }

  private:
    struct Memory {
        alignas(EvalCache) std::uint64_t words[sizeof(EvalCache) / sizeof(std::uint64_t)];
    };

    std::unique_ptr<Memory> memory_;
    EvalCache* cache_;
};

/// Asks for one key at every place.
void expectNothingKnown(EvalCache& cache, std::uint64_t aboveThePlace) {
    Board board = boardWorth(150); // neither 0 nor -1, which unset entries might hold
    const int value = evaluate(board);
    ASSERT_EQ(value, 150);
    for (std::uint64_t place = 0; place < kPlaces; ++place) {
        board.key = aboveThePlace << kPlaceBits | place;
        ASSERT_EQ(cache.evaluate(board), value) << board.key;
    }
}

} // namespace

TEST(NewEvalCache, KnowsNothingUnderAnyPlaceOfTheExtremeKeys) {
    for (const std::uint64_t formerWord : {std::uint64_t{0}, ~std::uint64_t{0}})
        for (const std::uint64_t aboveThePlace : {std::uint64_t{0}, ~std::uint64_t{0}})
            ASSERT_NO_FATAL_FAILURE(
                expectNothingKnown(*CacheInUsedMemory(formerWord), aboveThePlace));
}

TEST(NewEvalCache, KnowsNothingUnderKeyZero) {
    const auto cache = std::make_unique<EvalCache>();
    const Board board = withKey(boardWorth(150), 0);
    EXPECT_EQ(cache->evaluate(board), 150);
    EXPECT_EQ(cache->evaluate(board), 150);
}

// --- values at and beyond the limits of an entry ---

TEST_F(EvalCacheTest, RemembersEveryValueThatFits) {
    for (int value = kLeast; value <= kGreatest; ++value) {
        const std::uint64_t key = random_();
        const Board board = withKey(boardWorth(value), key);
        ASSERT_EQ(Eval::evaluateUnfaded(board), value);
        ASSERT_EQ(cache_->evaluate(board), value);
        ASSERT_EQ(cache_->evaluate(board), value);
        ASSERT_TRUE(remembers(*cache_, key, value)) << value;
    }
}

TEST_F(EvalCacheTest, ComputesLargerValuesAnewEachTime) {
    for (const int value : {kGreatest + 1, kLeast - 1, kGreatest + 2, kLeast - 2, 8191, -8191, 8192,
                            -8192, 8193, 12288, -12288, 32768, -32768, 65536, 200000, -200000}) {
        const std::uint64_t key = random_();
        const Board board = withKey(boardWorth(value), key);
        ASSERT_EQ(Eval::evaluateUnfaded(board), value);
        EXPECT_EQ(cache_->evaluate(board), value);
        EXPECT_EQ(cache_->evaluate(board), value);
        EXPECT_FALSE(remembers(*cache_, key, value)) << value;
    }
}

TEST_F(EvalCacheTest, AnswersForNoOtherPositionAfterALargeValue) {
    for (const int large : {kGreatest + 1, kLeast - 1, 8192, -8192, 70000, -70000}) {
        const std::uint64_t key = random_();
        const std::uint64_t otherKey = key ^ (std::uint64_t{1} << 40);
        cache_->evaluate(withKey(boardWorth(150), otherKey));
        EXPECT_EQ(cache_->evaluate(withKey(boardWorth(large), key)), large);
        EXPECT_EQ(cache_->evaluate(withKey(boardWorth(-70), otherKey ^ 1)), -70) << large;
        const Board other = withKey(boardWorth(150), otherKey);
        EXPECT_EQ(cache_->evaluate(other), 150) << large;
        EXPECT_EQ(cache_->evaluate(withKey(boardWorth(33), key)), 33) << large;
        EXPECT_TRUE(remembers(*cache_, key, 33)) << large;
    }
}

TEST_F(EvalCacheTest, EvaluatesBoardsFullOfQueensRightBothTimes) {
    const std::string sevenRanks = "/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/";
    const std::string fens[] = {
        "kQQQQQQQ" + sevenRanks + "QQQQQQQK b - - 0 1",
        "kQQQQQQQ" + sevenRanks + "QQQQQQQK b - - 60 1",
        Sampling::mirrored("kQQQQQQQ" + sevenRanks + "QQQQQQQK b - - 0 1"),
        Sampling::mirrored("kQQQQQQQ" + sevenRanks + "QQQQQQQK b - - 33 1"),
    };
    for (const std::string& fen : fens) {
        const Board board = boardOf(fen);
        ASSERT_GT(std::abs(Eval::evaluateUnfaded(board)), 32768) << fen;
        EXPECT_EQ(cache_->evaluate(board), evaluate(board)) << fen;
        EXPECT_EQ(cache_->evaluate(board), evaluate(board)) << fen;
    }
}
