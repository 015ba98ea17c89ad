#include "helpers.h"

#include "search/history.h"

using Search::addHistory;
using Search::historyBonus;
using Search::historyOf;
using Search::QuietsTried;
using Search::rewardCutoff;

namespace {

constexpr Move kFirst = encodeMove(A1, B1);
constexpr Move kSecond = encodeMove(C1, D1);
constexpr Move kThird = encodeMove(E1, F1);

class History : public SearchTest {
  protected:
    int white(Move m) const { return historyOf(*thread, White, m); }
};

TEST_F(History, IsKeptForEachSideAndMove) {
    addHistory(*thread, White, kFirst, 100);
    EXPECT_EQ(historyOf(*thread, White, kFirst), 100);
    EXPECT_EQ(historyOf(*thread, Black, kFirst), 0);
    EXPECT_EQ(historyOf(*thread, White, kSecond), 0);
    EXPECT_EQ(historyOf(*thread, White, encodeMove(B1, A1)), 0);
}

TEST_F(History, GrowsAndFallsByLessTheNearerItIsToItsLimit) {
    int expected = 0;
    for (int i = 0; i < 2000; ++i) {
        const int bonus = i < 1000 ? 64 : -900;
        expected += bonus - expected * std::abs(bonus) / 16384;
        addHistory(*thread, White, kFirst, bonus);
        ASSERT_EQ(white(kFirst), expected) << i;
        ASSERT_LE(std::abs(white(kFirst)), 16384);
    }
}

TEST_F(History, ABonusAsLargeAsTheLimitReachesIt) {
    EXPECT_EQ(historyBonus(128), 16384);
    addHistory(*thread, White, kFirst, historyBonus(128));
    addHistory(*thread, White, kFirst, historyBonus(128));
    EXPECT_EQ(white(kFirst), 16384);
    addHistory(*thread, White, kFirst, -historyBonus(128));
    EXPECT_EQ(white(kFirst), -16384);
}

TEST_F(History, ACutoffRewardsItsMoveAndPunishesTheQuietMovesBeforeIt) {
    QuietsTried tried;
    for (const Move m : {kFirst, kSecond, kThird})
        tried.add(m);
    rewardCutoff(*thread, White, kThird, tried, 5);
    EXPECT_EQ(white(kFirst), -25);
    EXPECT_EQ(white(kSecond), -25);
    EXPECT_EQ(white(kThird), 25);
}

TEST_F(History, ACaptureGainsNoneAndAQuietPromotionSome) {
    const Move capture = encodeMove(A1, A1 + 8, FlagCapture);
    const Move promotion = encodeMove(A8 - 8, A8, FlagPromotion);
    QuietsTried tried;
    tried.add(kFirst);
    rewardCutoff(*thread, White, capture, tried, 3);
    EXPECT_EQ(white(capture), 0);
    EXPECT_EQ(white(kFirst), -9);
    rewardCutoff(*thread, White, promotion, QuietsTried(), 3);
    EXPECT_EQ(white(promotion), 9);
}

TEST_F(History, TheFirst64QuietMovesAreRemembered) {
    QuietsTried tried;
    for (Square to = 1; to < 64; ++to)
        tried.add(encodeMove(A1, to));
    tried.add(kSecond);
    tried.add(kThird); // the 65th
    rewardCutoff(*thread, White, encodeMove(A8, B8), tried, 2);
    for (Square to = 1; to < 64; ++to)
        EXPECT_EQ(white(encodeMove(A1, to)), -4);
    EXPECT_EQ(white(kSecond), -4);
    EXPECT_EQ(white(kThird), 0);
}

} // namespace
