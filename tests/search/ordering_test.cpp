#include "search/ordering.h"

#include "board/generate.h"
#include "board/movegen.h"
#include "helpers.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <random>
#include <vector>

using namespace Ordering;

namespace {

// Every score that orders a move: losing captures lie two bands below the winning ones, quiet moves
// go down to -16384, and the table's move stands above all others.
constexpr int kLowestScore = -2 * kCaptureBand - 16384;
constexpr int kTableMoveScore = 1000000;

constexpr int kLongestList = 520;
static_assert(kLongestList < kKeyCapacity);

struct KeyList {
    alignas(sizeof(Key) * kLanes) Key keys[kKeyCapacity];
};

/// What `greatestKey` must return, by looking at one key after the other.
Key greatestByLoop(const Key* keys, int begin, int end) {
    Key best = kNoMoveKey;
    for (int i = begin; i < end; ++i)
        if (keys[i] > best)
            best = keys[i];
    return best;
}

/// The place of the best score, the first of equals; -1 if all are struck off.
int bestPlaceByLoop(const std::vector<int>& scores, const std::vector<bool>& struck) {
    int best = -1;
    for (int place = 0; place < static_cast<int>(scores.size()); ++place) {
        const auto i = static_cast<std::size_t>(place);
        if (!struck[i] && (best < 0 || scores[i] > scores[static_cast<std::size_t>(best)]))
            best = place;
    }
    return best;
}

/// Score with which a capture or promotion is collected.
int collectedScore(const Board& board, Move m) {
    Move moves[kKeyCapacity];
    KeyList list;
    const CaptureSink captures =
        MoveGen::generate<MoveGen::Kind::Captures>(board, CaptureSink{board, moves, list.keys});
    const auto place = std::find(moves, moves + captures.count, m) - moves;
    EXPECT_LT(place, captures.count) << moveToString(m);
    EXPECT_EQ(placeOf(list.keys[place]), place);
    return scoreOf(list.keys[place]);
}

class OrderingTest : public testing::Test {
  protected:
    int below(int limit) { return static_cast<int>(random_() % static_cast<std::uint64_t>(limit)); }

    /// Either few different scores, so that many are equal, or any.
    std::vector<int> drawScores(int count) {
        const bool few = below(2) == 0;
        std::vector<int> scores(static_cast<std::size_t>(count));
        for (int& score : scores)
            score = few ? 1000 * (below(5) - 2) : kLowestScore + below(kTableMoveScore);
        return scores;
    }

    std::mt19937_64 random_{30};
};

} // namespace

// --- one key ---

TEST(OrderingKey, GivesScoreAndPlaceBack) {
    constexpr int kPlaces[] = {0, 1, 7, 8, 255, 256, 511, 512, 527};
    for (int score = kLowestScore; score <= kTableMoveScore; ++score)
        for (const int place : kPlaces) {
            const Key key = makeKey(score, place);
            if (scoreOf(key) != score || placeOf(key) != place)
                FAIL() << score << ' ' << place;
        }
}

TEST(OrderingKey, GivesEveryPlaceBackAtTheLimitsOfTheScores) {
    for (const int score : {kLowestScore, -kCaptureBand, -16384, -1, 0, 1, kHistoryCap,
                            kGoodCaptureBound, kQuietPromotion, kCaptureBand, kTableMoveScore})
        for (int place = 0; place < kKeyCapacity; ++place) {
            const Key key = makeKey(score, place);
            ASSERT_EQ(scoreOf(key), score) << place;
            ASSERT_EQ(placeOf(key), place) << score;
        }
}

TEST(OrderingKey, IsGreaterForTheGreaterScoreAndAmongEqualsForTheEarlierPlace) {
    for (int score = kLowestScore; score < kTableMoveScore; ++score)
        if (makeKey(score, 0) >= makeKey(score + 1, kKeyCapacity - 1))
            FAIL() << score;
    for (const int score : {kLowestScore, -1, 0, 1, kTableMoveScore})
        for (int place = 1; place < kKeyCapacity; ++place)
            ASSERT_GT(makeKey(score, place - 1), makeKey(score, place)) << score;
}

TEST(OrderingKey, OfNoMoveIsLessThanEveryOther) {
    EXPECT_LT(kNoMoveKey, makeKey(kLowestScore, kKeyCapacity - 1));
    EXPECT_LT(scoreOf(kNoMoveKey), kLowestScore);
}

// --- groups ---

TEST_F(OrderingTest, AListIsFilledUpToItsLastGroupAndNoFurtherThanAGroup) {
    constexpr Key kUntouched = 12345;
    KeyList list;
    for (int length = 0; length <= kLongestList; ++length) {
        std::fill(std::begin(list.keys), std::end(list.keys), kUntouched);
        int groupEnd = length;
        while (groupEnd % kLanes != 0)
            ++groupEnd;
        ASSERT_EQ(wholeGroups(length), groupEnd);
        ASSERT_EQ(closeGroup(list.keys, length), groupEnd);
        for (int i = 0; i < kKeyCapacity; ++i)
            ASSERT_EQ(list.keys[i], i < length || i >= length + kLanes ? kUntouched : kNoMoveKey)
                << length << ' ' << i;
    }
}

TEST_F(OrderingTest, TheGreatestKeyIsFoundAtEveryPlace) {
    KeyList list;
    for (int place = 0; place < kKeyCapacity; ++place)
        for (const Key others : {kNoMoveKey, makeKey(-5000, 0)}) {
            std::fill(std::begin(list.keys), std::end(list.keys), others);
            list.keys[place] = makeKey(-4999, place);
            ASSERT_EQ(placeOf(greatestKey(list.keys, 0, kKeyCapacity)), place);
        }
}

TEST_F(OrderingTest, TheGreatestKeyIsThatOfALoopInListsOfEveryLength) {
    KeyList list;
    for (int length = 0; length <= kLongestList; ++length) {
        const std::vector<int> scores = drawScores(length);
        const int struckOfEight = below(9);
        std::vector<bool> struck;
        for (const int score : scores) {
            const int place = static_cast<int>(struck.size());
            struck.push_back(below(8) < struckOfEight);
            list.keys[place] = struck.back() ? kNoMoveKey : makeKey(score, place);
        }
        const Key best = greatestKey(list.keys, 0, closeGroup(list.keys, length));
        ASSERT_EQ(best, greatestByLoop(list.keys, 0, length)) << length;
        const int place = bestPlaceByLoop(scores, struck);
        ASSERT_EQ(best == kNoMoveKey ? -1 : placeOf(best), place) << length;
    }
}

TEST_F(OrderingTest, TheGreatestKeyIsSoughtBetweenTheLimitsAlone) {
    KeyList list;
    for (int begin = 0; begin < kKeyCapacity; begin += kLanes)
        for (int end = begin; end <= kKeyCapacity; end += kLanes) {
            for (int place = 0; place < kKeyCapacity; ++place) {
                const bool inside = place >= begin && place < end;
                list.keys[place] = makeKey(inside ? -below(20) : kTableMoveScore, place);
            }
            ASSERT_EQ(greatestKey(list.keys, begin, end), greatestByLoop(list.keys, begin, end))
                << begin << ' ' << end;
        }
}

TEST_F(OrderingTest, NoKeyIsLeftWhenAllAreStruckOff) {
    KeyList list;
    std::fill(std::begin(list.keys), std::end(list.keys), kNoMoveKey);
    for (int end = 0; end <= kKeyCapacity; end += kLanes)
        ASSERT_EQ(greatestKey(list.keys, 0, end), kNoMoveKey);
}

// --- picking ---

namespace {

/// Places in the order in which they are picked, cut off behind one that is none.
std::vector<int> pickAll(KeyList& list, int end) {
    std::vector<int> places;
    while (static_cast<int>(places.size()) <= end) {
        const Key best = greatestKey(list.keys, 0, end);
        if (best == kNoMoveKey)
            break;
        const int place = placeOf(best);
        places.push_back(place);
        if (place < 0 || place >= end)
            break;
        list.keys[place] = kNoMoveKey;
    }
    return places;
}

std::vector<int> stablySorted(const std::vector<int>& scores) {
    std::vector<int> places;
    for (const int score [[maybe_unused]] : scores)
        places.push_back(static_cast<int>(places.size()));
    std::stable_sort(places.begin(), places.end(), [&](int a, int b) {
        return scores[static_cast<std::size_t>(a)] > scores[static_cast<std::size_t>(b)];
    });
    return places;
}

} // namespace

TEST_F(OrderingTest, SuccessivePicksComeInTheOrderOfAStableSort) {
    KeyList list;
    for (int length = 0; length <= kLongestList; length += kOptimised ? 1 : 13) {
        const std::vector<int> scores = drawScores(length);
        for (int place = 0; place < length; ++place)
            list.keys[place] = makeKey(scores[static_cast<std::size_t>(place)], place);
        ASSERT_EQ(pickAll(list, closeGroup(list.keys, length)), stablySorted(scores)) << length;
    }
}

// --- scores ---

TEST(OrderingScore, IsMostValuableVictimThenLeastValuableAttacker) {
    for (int attacker = Pawn; attacker <= King; ++attacker)
        for (int victim = Pawn; victim <= King; ++victim)
            for (int other = Pawn; other <= King; ++other) {
                if (attacker < other) {
                    EXPECT_GT(kMVVLVA[attacker][victim], kMVVLVA[other][victim]);
                }
                if (victim > other) {
                    EXPECT_GT(kMVVLVA[King][victim], kMVVLVA[Pawn][other]);
                }
            }
}

TEST(OrderingScore, OfACaptureNamesVictimAndAttacker) {
    const Board board = boardOf("3qk3/4P3/8/1r1pP3/P7/8/8/R3K3 w Q d6 0 1");
    const auto score = [&](std::string_view text) {
        return collectedScore(board, moveOf(board, text));
    };
    EXPECT_EQ(score("a4b5"), kCaptureBand + kMVVLVA[Pawn][Rook]);
    EXPECT_EQ(score("e5d6"), kCaptureBand + kMVVLVA[Pawn][Pawn]) << "en passant";
    EXPECT_EQ(score("e7d8q"), kCaptureBand + kMVVLVA[Pawn][Queen] + kCapturePromotion);
    EXPECT_EQ(score("e7d8n"), kCaptureBand + kMVVLVA[Pawn][Queen] + kCapturePromotion);
    const Board quiet = boardOf("k7/4P3/8/8/8/8/8/K7 w - - 0 1");
    EXPECT_EQ(collectedScore(quiet, moveOf(quiet, "e7e8q")), kQuietPromotion);
}

TEST(OrderingScore, OfAQuietMoveIsItsHistoryUpToTheCap) {
    for (const int value : {-16384, -1, 0, 5, kHistoryCap - 1, kHistoryCap})
        EXPECT_EQ(quietScore(value), value);
    EXPECT_EQ(quietScore(kHistoryCap + 1), kHistoryCap);
    EXPECT_EQ(quietScore(899999), kHistoryCap);
}

TEST_F(OrderingTest, CollectedQuietMovesHaveTheKeysOfTheirHistories) {
    static std::int32_t history[kSquares][kSquares];
    for (auto& row : history)
        for (std::int32_t& value : row)
            value = below(4) == 0 ? below(900000) : below(2 * kHistoryCap) - kHistoryCap;
    for (const std::string& fen : testPositions()) {
        const Board board = boardOf(fen);
        MoveList expected;
        generateQuiets(board, expected);
        for (const int begin : {0, kLanes, 5 * kLanes}) {
            Move moves[kKeyCapacity];
            KeyList list;
            std::fill(std::begin(list.keys), std::end(list.keys), kNoMoveKey); // of a list before
            const QuietSink quiets = MoveGen::generate<MoveGen::Kind::Quiets>(
                board, QuietSink{history, moves + begin, list.keys + begin});
            const int end = begin + expected.count;
            ASSERT_EQ(quiets.key - list.keys, end) << fen;
            ASSERT_EQ(makeQuietKeys(list.keys, begin, end), wholeGroups(end)) << fen;
            for (int place = begin; place < wholeGroups(end); ++place) {
                const Move m = place < end ? expected.moves[place - begin] : 0;
                const int score = std::min(history[fromSquare(m)][toSquare(m)], kHistoryCap);
                ASSERT_EQ(list.keys[place], place < end ? makeKey(score, place) : kNoMoveKey)
                    << fen << ' ' << place;
                ASSERT_TRUE(place >= end || moves[place] == m) << fen << ' ' << place;
            }
        }
    }
}

TEST(OrderingScore, KeepsTheKindsOfMovesInTheirBands) {
    int lowest = kMVVLVA[Pawn][Pawn];
    int highest = lowest;
    for (const auto& attacker : kMVVLVA)
        for (const int score : attacker) {
            lowest = std::min(lowest, score);
            highest = std::max(highest, score);
        }
    EXPECT_GT(kTableMoveScore, kCaptureBand + highest + kCapturePromotion);
    EXPECT_GT(kCaptureBand + lowest, kQuietPromotion);
    EXPECT_GT(kQuietPromotion, kGoodCaptureBound);
    EXPECT_GT(kGoodCaptureBound, kHistoryCap);
    EXPECT_LT(highest - kCaptureBand, -16384) << "losing captures below every quiet move";
    EXPECT_GE(lowest - kCaptureBand, kLowestScore);
}
