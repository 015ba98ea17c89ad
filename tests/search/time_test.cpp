#include "search/time.h"

#include "helpers.h"

#include <limits>

namespace {

constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();

class TimeTest : public testing::Test {
  protected:
    void SetUp() override { gMoveOverhead = 10; }
    void TearDown() override { gMoveOverhead = overheadBefore; }

    void expectLimits(Color side, std::int64_t soft, std::int64_t hard) {
        time.start(limits, side);
        EXPECT_TRUE(time.managed());
        EXPECT_EQ(time.softLimit(), soft);
        EXPECT_EQ(time.hardLimit(), hard);
    }

    void expectNone(Color side) {
        time.start(limits, side);
        EXPECT_FALSE(time.managed());
        EXPECT_EQ(time.softLimit(), 0);
        EXPECT_EQ(time.hardLimit(), 0);
        EXPECT_TRUE(time.startNextIteration(0));
        EXPECT_TRUE(time.startNextIteration(1000000000));
        EXPECT_FALSE(time.hardLimitHit());
        EXPECT_FALSE(time.shouldStop(0));
        EXPECT_FALSE(time.shouldStop(2048));
    }

    const std::int32_t overheadBefore = gMoveOverhead;
    SearchLimits limits;
    TimeManager time;
};

TEST_F(TimeTest, LimitsSayNothingUntilTheyAreSet) {
    EXPECT_EQ(limits.depth, 100);
    EXPECT_EQ(limits.movetime, -1);
    EXPECT_EQ(limits.wtime, -1);
    EXPECT_EQ(limits.btime, -1);
    EXPECT_EQ(limits.winc, 0);
    EXPECT_EQ(limits.binc, 0);
    EXPECT_EQ(limits.movestogo, 0);
    EXPECT_FALSE(limits.infinite);
    EXPECT_EQ(limits.nodes, 0);
    expectNone(White);
}

TEST_F(TimeTest, AFixedTimeLessTheOverheadIsBothLimits) {
    limits.movetime = 1000;
    expectLimits(White, 990, 990);
    limits.movetime = 5;
    expectLimits(Black, 1, 1);
    limits.movetime = 1;
    expectLimits(White, 1, 1);
    limits.movetime = 11;
    expectLimits(White, 1, 1);
    limits.movetime = 12;
    expectLimits(White, 2, 2);
    limits.movetime = kMax;
    expectLimits(White, std::int64_t{kMax} - 10, std::int64_t{kMax} - 10);
}

TEST_F(TimeTest, AFixedTimeGoesBeforeTheClock) {
    limits.movetime = 500;
    limits.wtime = 60000;
    expectLimits(White, 490, 490);
    limits.movetime = 0;
    expectLimits(White, 1199, 4796);
}

TEST_F(TimeTest, AClockWithAnIncrement) {
    limits.wtime = 60000;
    limits.winc = 1000;
    limits.btime = 30000;
    limits.binc = 100;
    expectLimits(White, 1949, 7796);
    expectLimits(Black, 75 + 599, 4 * 674);
}

TEST_F(TimeTest, MovesToGoShareTheClock) {
    limits.wtime = 10000;
    limits.movestogo = 1;
    expectLimits(White, 4995, 8991);
    limits.movestogo = 2;
    expectLimits(White, 4995, 8991);
    limits.movestogo = 3;
    expectLimits(White, 3330, 8991);
    limits.movestogo = 40;
    expectLimits(White, 249, 996);
    limits.movestogo = -3;
    expectLimits(White, 199, 796);
    limits.movestogo = kMax;
    expectLimits(White, 0, 0);
}

TEST_F(TimeTest, AClockOfOneMillisecond) {
    limits.wtime = 1;
    expectLimits(White, 0, 0);
    limits.winc = 1000;
    expectLimits(White, 0, 0);
    EXPECT_FALSE(time.startNextIteration(0));
    EXPECT_TRUE(time.hardLimitHit());
    EXPECT_TRUE(time.shouldStop(2048));
    EXPECT_TRUE(time.shouldStop(0));
    EXPECT_FALSE(time.shouldStop(2047));
    EXPECT_FALSE(time.shouldStop(1));
}

TEST_F(TimeTest, TheOtherSidesClockManagesNothing) {
    limits.btime = 60000;
    expectNone(White);
    expectLimits(Black, 1199, 4796);
    limits.btime = 0;
    expectNone(Black);
    limits.btime = -5;
    limits.binc = 1000;
    expectNone(Black);
}

TEST_F(TimeTest, TheGreatestClocksAndIncrementsDoNotOverflow) {
    limits.wtime = kMax;
    limits.winc = kMax;
    expectLimits(White, 1073741818, 1932735273);
    limits.wtime = 60000;
    expectLimits(White, 29995, 53991);
    limits.wtime = kMax;
    limits.winc = 0;
    limits.movestogo = 1;
    expectLimits(White, 1073741818, 1932735273);
}

TEST_F(TimeTest, NegativeIncrementsShortenTheTime) {
    limits.wtime = 60000;
    limits.winc = -1000;
    expectLimits(White, 449, 1796);
    limits.winc = -1; // -750 / 1000 truncates to 0
    expectLimits(White, 1199, 4796);
    limits.winc = -10000;
    expectLimits(White, -6301, -25204);
    EXPECT_FALSE(time.startNextIteration(0));
    EXPECT_TRUE(time.hardLimitHit());
    limits.winc = kMin;
    expectLimits(White, -1610612736 + 1199, 4 * (std::int64_t{-1610612736} + 1199));
}

TEST_F(TimeTest, ANegativeOverheadIsNone) {
    gMoveOverhead = -500;
    limits.movetime = 1000;
    expectLimits(White, 1000, 1000);
    gMoveOverhead = 0;
    expectLimits(White, 1000, 1000);
}

TEST_F(TimeTest, AnOverheadBeyondTheClockLeavesOneMillisecond) {
    gMoveOverhead = 5000;
    limits.wtime = 3000;
    limits.winc = 400;
    expectLimits(White, 0, 0);
    limits.movetime = 4000;
    expectLimits(White, 1, 1);
}

TEST_F(TimeTest, WithAClockAnIterationBeginsWithinHalfOfTheSoftLimit) {
    limits.wtime = 60000;
    limits.winc = 1000;
    time.start(limits, White); // soft 1949
    EXPECT_TRUE(time.startNextIteration(0));
    EXPECT_TRUE(time.startNextIteration(974));
    EXPECT_FALSE(time.startNextIteration(975));
    limits.winc = 999;
    time.start(limits, White); // soft 1948
    EXPECT_TRUE(time.startNextIteration(973));
    EXPECT_FALSE(time.startNextIteration(974));
}

TEST_F(TimeTest, WithAFixedTimeAnIterationBeginsUntilItIsUp) {
    limits.movetime = 1000;
    time.start(limits, White);
    EXPECT_TRUE(time.startNextIteration(989));
    EXPECT_FALSE(time.startNextIteration(990));
}

TEST_F(TimeTest, AStartForgetsTheLimitsBefore) {
    limits.movetime = 5;
    time.start(limits, White);
    limits.movetime = -1;
    expectNone(White);
    limits.movetime = 5;
    time.start(limits, White);
    limits.movetime = -1;
    limits.wtime = 60000; // no fixed time any more: half of the soft limit counts
    time.start(limits, White);
    EXPECT_FALSE(time.startNextIteration(700));
}

TEST_F(TimeTest, TheHardLimitIsHitOnceTheTimeIsUp) {
    limits.movetime = 1;
    time.start(limits, White);
    while (time.elapsed() < 1) {
    }
    EXPECT_TRUE(time.hardLimitHit());
    EXPECT_TRUE(time.shouldStop(2048));
    EXPECT_TRUE(time.shouldStop(4096));
    EXPECT_FALSE(time.shouldStop(4095));
    limits.movetime = kMax;
    time.start(limits, White);
    EXPECT_FALSE(time.hardLimitHit());
    EXPECT_FALSE(time.shouldStop(2048));
}

TEST_F(TimeTest, AnyTimeCountsAsTime) {
    EXPECT_FALSE(limits.hasTime());
    limits.movetime = limits.wtime = limits.btime = 0;
    EXPECT_FALSE(limits.hasTime());
    limits.btime = 1;
    EXPECT_TRUE(limits.hasTime());
    limits.btime = 0;
    limits.wtime = 1;
    EXPECT_TRUE(limits.hasTime());
    limits.wtime = 0;
    limits.movetime = 1;
    EXPECT_TRUE(limits.hasTime());
}

} // namespace
