#include "eval/evalcache.h"
#include "eval/evaluate.h"
#include "eval/pawns.h"
#include "eval/walk.h"
#include "naive_pawns.h"
#include "print.h"
#include "sampling.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>

using Notation::boardOf;

namespace {

PawnFeatures featuresOf(const Board& board) {
    PawnFeatures features{};
    computePawnFeatures(board, features);
    return features;
}

/// For a placement alone: pawns do not care who moves.
PawnFeatures featuresOf(const std::string& placement) {
    return featuresOf(boardOf(placement + " w - - 0 1"));
}

void expectCounts(const PawnFeatures& found, const Naive::Position& position) {
    for (const int side : {Naive::kWhite, Naive::kBlack}) {
        const Naive::PawnCounts counts = Naive::countPawns(position, side);
        ASSERT_EQ(found.isolated[side], counts.isolated);
        ASSERT_EQ(found.doubled[side], counts.doubled);
        ASSERT_EQ(found.connected[side], counts.connected);
        for (int rank = 0; rank < 8; ++rank)
            ASSERT_EQ(found.passed[side][rank], counts.passed[rank]) << "rank " << rank;
        ASSERT_EQ(found.candidate[side], counts.candidate);
    }
}

void expectPawnsAsCountedOneByOne(const Board& board) {
    const std::string fen = board.fen();
    SCOPED_TRACE(fen);
    const Naive::Position position = Naive::parse(fen);
    ASSERT_NO_FATAL_FAILURE(expectCounts(featuresOf(board), position));

    const Naive::Pair structure = Naive::pawnStructure(position);
    ASSERT_EQ(Eval::evalPawnsRaw(board), (ScorePair{structure.mg, structure.eg}));

    const Naive::Pair passers = Naive::passers(position);
    Bitboard attackedBy[2];
    Eval::computeAttackedBy(board, attackedBy);
    ScorePair found;
    passerTerms(board, passedPawns(board), attackedBy, found.mg, found.eg);
    ASSERT_EQ(found, (ScorePair{passers.mg, passers.eg}));
}

ScorePair passersOf(const std::string& fen) {
    const Board board = boardOf(fen);
    Bitboard attackedBy[2];
    Eval::computeAttackedBy(board, attackedBy);
    ScorePair found{-1, -1};
    passerTerms(board, passedPawns(board), attackedBy, found.mg, found.eg);
    return found;
}

} // namespace

// --- counts ---

TEST(PawnFeatures, AreAllZeroWithoutPawns) {
    const PawnFeatures features = featuresOf("7k/8/8/8/8/8/8/7K");
    expectCounts(features, Naive::parse("7k/8/8/8/8/8/8/7K w - - 0 1"));
    EXPECT_EQ(features.isolated[White] + features.doubled[White] + features.candidate[Black], 0);
    EXPECT_EQ(Eval::evalPawnsRaw(boardOf("7k/8/8/8/8/8/8/7K w - - 0 1")), (ScorePair{0, 0}));
}

TEST(PawnFeatures, ThreePawnsOnOneFileAreTwoDoubledAndThreeIsolated) {
    const PawnFeatures features = featuresOf("7k/8/8/4P3/4P3/4P3/8/7K");
    EXPECT_EQ(features.doubled[White], 2);
    EXPECT_EQ(features.isolated[White], 3);
    EXPECT_EQ(features.connected[White], 0);
    EXPECT_EQ(featuresOf("7k/8/8/4P3/4P3/4P3/5P2/7K").isolated[White], 0);
}

TEST(PawnFeatures, PawnsOnTheAAndHFilesAreNoNeighbours) {
    for (const char* placement :
         {"7k/8/8/8/P6P/8/8/7K", "7k/8/8/P7/7P/8/8/7K", "7k/8/8/7P/P7/8/8/7K",
          "7k/8/P7/7P/8/8/8/7K", "7k/8/7P/P7/8/8/8/7K"}) {
        const PawnFeatures features = featuresOf(placement);
        EXPECT_EQ(features.isolated[White], 2) << placement;
        EXPECT_EQ(features.connected[White], 0) << placement;
    }
}

TEST(PawnFeatures, AreAddedToWhatTheRecordHolds) {
    const Board board = boardOf("7k/8/8/4P3/4P3/8/8/7K w - - 0 1");
    PawnFeatures features{};
    computePawnFeatures(board, features);
    computePawnFeatures(board, features);
    EXPECT_EQ(features.isolated[White], 4);
    EXPECT_EQ(features.doubled[White], 2);
    EXPECT_EQ(features.passed[White][4], 2);
}

TEST(PawnFeatures, DoubledPawnsAreThoseInFrontAsTheirSideSeesThem) {
    PawnFeatures features{};
    const PawnSets sets =
        computePawnFeatures(boardOf("7k/3p4/8/3p4/4P3/4P3/8/7K w - - 0 1"), features);
    EXPECT_EQ(sets.doubled[White], Notation::squaresAt("e4"));
    EXPECT_EQ(sets.doubled[Black], Notation::squaresAt("d5"));
}

TEST(PawnFeatures, ADefendedPawnIsConnectedAndItsDefenderIsNot) {
    EXPECT_EQ(featuresOf("7k/8/8/8/3P4/2P5/8/7K").connected[White], 1);
    EXPECT_EQ(featuresOf("7k/8/2p5/3p4/8/8/8/7K").connected[Black], 1);
    EXPECT_EQ(featuresOf("7k/8/8/8/2P5/8/3P4/7K").connected[White], 0);
}

TEST(PawnFeatures, PawnsSideBySideAreBothConnected) {
    EXPECT_EQ(featuresOf("7k/8/8/8/3PP3/8/8/7K").connected[White], 2);
    EXPECT_EQ(featuresOf("7k/8/8/8/3PP3/2P5/8/7K").connected[White], 2);
    EXPECT_EQ(featuresOf("7k/8/8/8/3Pp3/8/8/7K").connected[White], 0);
}

TEST(PawnFeatures, APawnIsPassedWhenNoEnemyIsAheadOnThreeFiles) {
    EXPECT_EQ(featuresOf("7k/8/8/4P3/8/8/8/7K").passed[White][4], 1);
    EXPECT_EQ(featuresOf("7k/8/8/3pPp2/4p3/8/8/7K").passed[White][4], 1) << "beside and behind";
    EXPECT_EQ(featuresOf("7k/8/2p3p1/4P3/8/8/8/7K").passed[White][4], 1) << "two files away";
    for (const char* placement :
         {"7k/8/4p3/4P3/8/8/8/7K", "7k/8/3p4/4P3/8/8/8/7K", "7k/8/5p2/4P3/8/8/8/7K",
          "7k/4p3/8/4P3/8/8/8/7K", "7k/3p4/8/4P3/8/8/8/7K", "7k/5p2/8/4P3/8/8/8/7K"})
        EXPECT_EQ(featuresOf(placement).passed[White][4], 0) << placement;
}

TEST(PawnFeatures, AnEnemyOnTheOppositeEdgeFileDoesNotStopAPasser) {
    EXPECT_EQ(featuresOf("6k1/7p/8/P7/8/8/8/7K").passed[White][4], 1);
    EXPECT_EQ(featuresOf("6k1/p7/8/7P/8/8/8/7K").passed[White][4], 1);
}

TEST(PawnFeatures, PassersAreCountedByTheRankThatTheirSideSees) {
    const PawnFeatures features = featuresOf("6k1/P7/8/8/8/7p/2p5/6K1");
    EXPECT_EQ(features.passed[White][6], 1);
    EXPECT_EQ(features.passed[Black][6], 1);
    EXPECT_EQ(features.passed[Black][5], 1);
}

TEST(PawnFeatures, AHalfOpenPawnIsCandidateUnlessANeighbourFileIsOutnumbered) {
    const auto candidates = [](const char* placement) {
        return featuresOf(placement).candidate[White];
    };
    EXPECT_EQ(candidates("7k/8/4p3/8/3P4/4P3/8/7K"), 1) << "one against one";
    EXPECT_EQ(candidates("7k/8/4p3/8/3P4/8/8/7K"), 0) << "none against one";
    EXPECT_EQ(candidates("7k/4p3/4p3/8/3P4/4P3/8/7K"), 0) << "one against two";
    EXPECT_EQ(candidates("7k/4P3/4p3/8/3P4/8/8/7K"), 1) << "own pawns count wherever they stand";
    EXPECT_EQ(candidates("7k/8/2p1p3/8/3P4/4P3/8/7K"), 0) << "outnumbered on the left";
    EXPECT_EQ(candidates("7k/8/2p1p3/8/3P4/2P5/8/7K"), 0) << "outnumbered on the right";
    EXPECT_EQ(candidates("7k/8/2p1p3/8/3P4/2P1P3/8/7K"), 1) << "held on both";
    EXPECT_EQ(candidates("7k/8/3pp3/8/3P4/4P3/8/7K"), 0) << "not half open";
    EXPECT_EQ(candidates("7k/8/8/8/3P4/8/8/7K"), 0) << "passed already";
    EXPECT_EQ(candidates("7k/8/4p3/4p3/3P4/4P3/8/7K"), 0) << "two ahead";
    EXPECT_EQ(candidates("7k/8/4p3/8/3Pp3/4P3/8/7K"), 1) << "an enemy beside is not ahead";
}

TEST(PawnFeatures, CandidatesOnTheEdgeHaveOneNeighbourFile) {
    EXPECT_EQ(featuresOf("7k/8/1p6/8/P7/1P6/8/7K").candidate[White], 1);
    EXPECT_EQ(featuresOf("7k/8/1p6/8/P7/8/8/7K").candidate[White], 0);
    EXPECT_EQ(featuresOf("7k/8/6p1/8/7P/6P1/8/7K").candidate[White], 1);
    EXPECT_EQ(featuresOf("7k/8/6p1/8/7P/8/8/7K").candidate[White], 0);
    EXPECT_EQ(featuresOf("7k/8/6p1/7p/8/6P1/8/7K").candidate[Black], 1);
    EXPECT_EQ(featuresOf("7k/8/8/7p/8/6P1/8/7K").candidate[Black], 0);
}

TEST(PawnScore, AddsTheWeightsOfTheCounts) {
    const auto score = [](const char* placement) {
        return Eval::evalPawnsRaw(boardOf(std::string(placement) + " w - - 0 1"));
    };
    // Isolated, passed on the second, third, ... rank as White sees it.
    EXPECT_EQ(score("7k/8/8/8/8/8/4P3/7K"), (ScorePair{-8 + 2, -10 + 13}));
    EXPECT_EQ(score("7k/8/8/8/8/4P3/8/7K"), (ScorePair{-8 - 12, -10 + 24}));
    EXPECT_EQ(score("7k/8/8/8/4P3/8/8/7K"), (ScorePair{-8 - 12, -10 + 51}));
    EXPECT_EQ(score("7k/8/8/4P3/8/8/8/7K"), (ScorePair{-8 + 9, -10 + 75}));
    EXPECT_EQ(score("7k/8/4P3/8/8/8/8/7K"), (ScorePair{-8 + 40, -10 + 105}));
    EXPECT_EQ(score("7k/4P3/8/8/8/8/8/7K"), (ScorePair{-8 + 6, -10 + 25}));
    EXPECT_EQ(score("7k/8/8/4p3/8/8/8/7K"), (ScorePair{8 + 12, 10 - 51}));
    // Doubled, isolated twice, passed on the third and fourth rank.
    EXPECT_EQ(score("7k/8/8/8/4P3/4P3/8/7K"), (ScorePair{-16 - 10 - 24, -20 - 10 + 75}));
    // Side by side: connected twice, passed twice on the fourth rank.
    EXPECT_EQ(score("7k/8/8/8/3PP3/8/8/7K"), (ScorePair{14 - 24, 12 + 102}));
    // White: d4 candidate and defended; Black: e6 isolated.
    EXPECT_EQ(score("7k/8/4p3/8/3P4/4P3/8/7K"), (ScorePair{7 + 5 + 8, 6 + 15 + 10}));
}

TEST(PawnFeatures, AgreeWithPawnByPawnCountsOnTheSharedPositions) {
    for (const std::string& fen : Positions::readShared())
        ASSERT_NO_FATAL_FAILURE(expectPawnsAsCountedOneByOne(boardOf(fen)));
}

TEST(PawnFeatures, AgreeWithPawnByPawnCountsInRandomGames) {
    Sampling::visitGames(1, scaled(20000), [](const Board& board) {
        if (!testing::Test::HasFatalFailure())
            expectPawnsAsCountedOneByOne(board);
    });
}

TEST(PawnFeatures, AgreeWithPawnByPawnCountsInPawnEndings) {
    for (const char* material :
         {"KPPPPPPPPkpppppppp", "KPPPPkpppp", "KPPkpp", "KPPPkp", "KNPPkbpp"})
        Sampling::visitScattered(material, 2, scaled(2000), [](const Board& board) {
            if (!testing::Test::HasFatalFailure())
                expectPawnsAsCountedOneByOne(board);
        });
}

// --- passed pawns against the pieces ---

TEST(PasserTerms, AFreeSeventhRankPasserCountsItsPathAndTheDefendedQueeningSquare) {
    // Weight 17. Kings: 17 * (5 * 5 - 2 * 1) = 391; path: 17 * (20 + 4) = 408.
    EXPECT_EQ(passersOf("8/PK6/8/8/8/8/8/7k w - - 0 1"), (ScorePair{51, 97 + 102}));
    // Undefended: 17 * (25 - 2 * 4) = 289; 17 * 20 = 340.
    EXPECT_EQ(passersOf("8/P7/8/8/3K4/8/8/7k w - - 0 1"), (ScorePair{42, 72 + 85}));
}

TEST(PasserTerms, TruncateTowardsZeroForBlackAsForWhite) {
    EXPECT_EQ(passersOf("7K/8/8/3k4/8/8/p7/8 b - - 0 1"), (ScorePair{-42, -72 - 85}));
}

TEST(PasserTerms, AnEmptySquareInFrontCountsEightWhenThePathIsHinderedFurtherOn) {
    // Weight 7. Black's king on d8 attacks d7: 7 * 8; kings: 7 * (5 * 2 - 2 * 5) = 0.
    EXPECT_EQ(passersOf("3k4/8/8/3P4/8/8/8/K7 w - - 0 1"), (ScorePair{7, 14}));
    // An own piece on the path hinders it too: a knight on d8. Kings: 7 * (5 * 4 - 2 * 5) = 70.
    EXPECT_EQ(passersOf("3N4/8/8/3P4/8/8/7k/K7 w - - 0 1"), (ScorePair{7, 17 + 14}));
}

TEST(PasserTerms, AnAttackedSquareInFrontCountsOnlyItsDefence) {
    // Kings: 7 * (5 * 1 - 2 * 5) = -35.
    EXPECT_EQ(passersOf("8/3k4/8/3P4/8/8/8/K7 w - - 0 1"), (ScorePair{0, -8}));
    // Two passers that defend each other's next square, both attacked: 7 * 4 twice. Kings:
    // 7 * (5 * 1 - 2 * 5) twice = -70.
    EXPECT_EQ(passersOf("8/3k4/8/2PP4/8/8/8/K7 w - - 0 1"), (ScorePair{7, -17 + 14}));
    // The king on c5 defends d6. Kings: 7 * (5 * 1 - 2 * 1) = 21.
    EXPECT_EQ(passersOf("8/3k4/8/2KP4/8/8/8/8 w - - 0 1"), (ScorePair{3, 5 + 7}));
}

TEST(PasserTerms, ABlockedPasserCountsOnlyTheKingsEvenIfTheBlockerIsAttacked) {
    EXPECT_EQ(passersOf("7k/8/3n4/1N1P4/8/8/8/K7 w - - 0 1"), (ScorePair{0, 17}));
}

TEST(PasserTerms, StartOnTheFourthRankOfTheOwnSide) {
    EXPECT_EQ(passersOf("7k/8/8/8/8/4P3/8/K7 w - - 0 1"), (ScorePair{0, 0}));
    EXPECT_EQ(passersOf("7k/8/4p3/8/8/8/8/K7 w - - 0 1"), (ScorePair{0, 0}));
    // Weight 2: kings 2 * (5 * 3 - 2 * 4) = 14, path 2 * 20 = 40.
    EXPECT_EQ(passersOf("7k/8/8/8/4P3/8/8/K7 w - - 0 1"), (ScorePair{5, 3 + 10}));
    EXPECT_EQ(passersOf("k7/8/8/4p3/8/8/8/7K w - - 0 1"), (ScorePair{-5, -3 - 10}));
}

TEST(PasserTerms, APasserOnTheThirdRankStillScoresInTheStructure) {
    const ScorePair score = Eval::evalPawnsRaw(boardOf("7k/8/8/8/8/4P3/8/K7 w - - 0 1"));
    EXPECT_EQ(score, (ScorePair{-12 - 8, 24 - 10}));
}

TEST(PasserTerms, UseTheAttackMapsThatTheyAreGiven) {
    const Board board = boardOf("8/P7/8/8/3K4/8/8/7k w - - 0 1");
    ScorePair score;
    const Bitboard attackedByBlack[2] = {0, Notation::squaresAt("a8")};
    passerTerms(board, passedPawns(board), attackedByBlack, score.mg, score.eg);
    EXPECT_EQ(score, (ScorePair{0, 72}));
    const Bitboard attackedByBoth[2] = {Notation::squaresAt("a8"), Notation::squaresAt("a8")};
    passerTerms(board, passedPawns(board), attackedByBoth, score.mg, score.eg);
    EXPECT_EQ(score, (ScorePair{17 * 4 / 8, 72 + 17}));
}

// --- the cache ---

namespace {

// Structures of different worth.
const char* const kOnePawn = "7k/8/8/8/8/8/4P3/7K w - - 0 1";
const char* const kOnePawnMore = "7k/8/8/8/3P4/8/4P3/7K w - - 0 1"; // besides the same
const char* const kTwoPawns = "7k/8/8/8/3PP3/8/8/7K w - - 0 1";

Board boardWithPawnKey(const char* fen, std::uint64_t key) {
    Board board = boardOf(fen);
    board.pawnKey = key;
    return board;
}

/// Score through a cache.
ScorePair scoreOf(Eval::PawnTable& cache, const Board& board) {
    const Eval::PawnEntry& entry = cache.entryOf(board);
    return {entry.mg, entry.eg};
}

class PawnCache : public testing::Test {
  protected:
    ScorePair evalPawns(const Board& board) { return scoreOf(*cache_, board); }

  private:
    std::unique_ptr<Eval::PawnTable> cache_ = std::make_unique<Eval::PawnTable>();
};

std::uint64_t freshKey() {
    static std::mt19937_64 random(77);
    return random();
}

} // namespace

TEST_F(PawnCache, ServesAStructureThatItHasSeen) {
    const std::uint64_t key = freshKey();
    const Board one = boardWithPawnKey(kOnePawn, key);
    const Board two = boardWithPawnKey(kTwoPawns, key);
    const ScorePair score = Eval::evalPawnsRaw(one);
    ASSERT_NE(score, Eval::evalPawnsRaw(two));
    EXPECT_EQ(evalPawns(one), score);
    // The same key means the same pawns: what is stored under it is not computed again.
    EXPECT_EQ(evalPawns(two), score);
}

TEST_F(PawnCache, RecomputesAStructureWhoseKeyCollidesInTheLowFourteenBits) {
    for (const int differing : {14, 15, 31, 32, 63}) {
        const std::uint64_t key = freshKey();
        const Board one = boardWithPawnKey(kOnePawn, key);
        const Board two = boardWithPawnKey(kTwoPawns, key ^ (1ULL << differing));
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(evalPawns(one), Eval::evalPawnsRaw(one)) << differing;
            EXPECT_EQ(evalPawns(two), Eval::evalPawnsRaw(two)) << differing;
        }
    }
}

TEST_F(PawnCache, ReplacesTheEntryOfACollidingKey) {
    const std::uint64_t key = freshKey();
    const Board one = boardWithPawnKey(kOnePawn, key);
    const Board two = boardWithPawnKey(kTwoPawns, key ^ (1ULL << 40));
    evalPawns(one);
    evalPawns(two);
    const Board other = boardWithPawnKey(kTwoPawns, key);
    EXPECT_EQ(evalPawns(other), Eval::evalPawnsRaw(other)) << "no longer served from before";
}

TEST_F(PawnCache, KeepsKeysThatDifferInTheLowFourteenBitsApart) {
    for (int differing = 0; differing < 14; ++differing) {
        const std::uint64_t key = freshKey();
        const Board one = boardWithPawnKey(kOnePawn, key);
        evalPawns(one);
        evalPawns(boardWithPawnKey(kTwoPawns, key ^ (1ULL << differing)));
        EXPECT_EQ(evalPawns(boardWithPawnKey(kTwoPawns, key)), Eval::evalPawnsRaw(one))
            << differing;
    }
}

TEST_F(PawnCache, KeyZeroFindsTheZeroedEntryOfANewCache) {
    const Board none = boardOf("7k/8/8/8/8/8/8/7K w - - 0 1");
    ASSERT_EQ(none.pawnKey, 0U);
    EXPECT_EQ(evalPawns(none), (ScorePair{0, 0}));
    EXPECT_EQ(evalPawns(boardWithPawnKey(kOnePawn, 0)), (ScorePair{0, 0}));
}

TEST_F(PawnCache, OfASearchIsItsOwn) {
    const std::uint64_t key = freshKey();
    const Board one = boardWithPawnKey(kOnePawn, key);
    const Board two = boardWithPawnKey(kOnePawnMore, key);
    const auto search = std::make_unique<Eval::EvalCache>();
    const auto other = std::make_unique<Eval::EvalCache>();
    search->evaluate(one);
    EXPECT_EQ(other->evaluate(two), evaluate(two));
    EXPECT_NE(search->evaluate(two), evaluate(two)) << "served from what it has met";
}

TEST_F(PawnCache, KeepsNegativeScores) {
    const Board board = boardOf("7k/8/8/8/4P3/4P3/8/7K w - - 0 1");
    ASSERT_LT(Eval::evalPawnsRaw(board).mg, 0);
    EXPECT_EQ(evalPawns(board), Eval::evalPawnsRaw(board));
    EXPECT_EQ(evalPawns(board), Eval::evalPawnsRaw(board));
    const Board black = boardOf("7k/8/8/4p3/8/8/8/7K w - - 0 1");
    ASSERT_LT(Eval::evalPawnsRaw(black).eg, 0);
    EXPECT_EQ(evalPawns(black), Eval::evalPawnsRaw(black));
    EXPECT_EQ(evalPawns(black), Eval::evalPawnsRaw(black));
}
