#include "params/weights.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <string_view>
#include <vector>

namespace {

using namespace EvalParams;

enum : int { P, N, B, R, Q, K };

using Row = std::vector<int>;

template <std::size_t Size>
Row rowOf(const int (&values)[Size]) {
    return {std::begin(values), std::end(values)};
}

/// A rank of a square table; rank 8 stands first in the table.
Row rankOf(const int (&table)[64], int rank) {
    const int* first = table + 8 * (8 - rank);
    return {first, first + 8};
}

/// The cell of a square by name, for example "e4".
int cell(const int (&table)[64], std::string_view square) {
    return table[(square[0] - 'a') + 8 * ('8' - square[1])];
}

int sum(const Row& row) {
    return std::accumulate(row.begin(), row.end(), 0);
}

int highest(const int (&table)[64]) {
    return *std::max_element(std::begin(table), std::end(table));
}

// --- placement cells ---

TEST(PlacementCells, AreInTheOrderOfAPrintedBoardAndMirroredForBlack) {
    EXPECT_EQ(placementCell(White, A8), 0);
    EXPECT_EQ(placementCell(White, H8), 7);
    EXPECT_EQ(placementCell(White, A1), 56);
    EXPECT_EQ(placementCell(White, H1), 63);
    EXPECT_EQ(placementCell(Black, A1), 0);
    EXPECT_EQ(placementCell(Black, H8), 63);
}

// --- material and phase ---

TEST(Material, HasTheStatedMiddleGameValues) {
    EXPECT_EQ(rowOf(kMgValue), (Row{93, 380, 374, 493, 1283, 0}));
}

TEST(Material, HasTheStatedEndGameValues) {
    EXPECT_EQ(rowOf(kEgValue), (Row{153, 323, 359, 635, 1015, 0}));
}

TEST(Material, NonPawnValuesAreTheMiddleGameValuesWithoutPawns) {
    EXPECT_EQ(rowOf(kNonPawnValue), (Row{0, 380, 374, 493, 1283, 0}));
}

TEST(Phase, HasTheStatedWeights) {
    EXPECT_EQ(rowOf(kPhaseWeight), (Row{0, 1, 1, 2, 4, 0}));
}

TEST(Phase, OfAllPiecesOfTheStartPositionIs24) {
    constexpr int kPiecesASide[6] = {8, 2, 2, 2, 1, 0};
    int phase = 0;
    for (int piece = P; piece <= K; ++piece)
        phase += 2 * kPiecesASide[piece] * kPhaseWeight[piece];
    EXPECT_EQ(phase, 24);
    EXPECT_EQ(kFullPhase, 24);
}

// --- mobility ---

/// The 28 cells of a row: `start` + `step` * count up to `maxCount`, 0 beyond.
Row mobilityRow(int maxCount, int start, int step) {
    Row row(28, 0);
    for (int count = 0; count <= maxCount; ++count)
        row[static_cast<std::size_t>(count)] = start + step * count;
    return row;
}

TEST(Mobility, OfKnightsIsMinus24Plus6PerSquareInTheMiddleGameAndNothingInTheEndGame) {
    EXPECT_EQ(rowOf(kMobilityMg[N]), mobilityRow(8, -24, 6));
    EXPECT_EQ(kMobilityMg[N][8], 24);
    EXPECT_EQ(rowOf(kMobilityEg[N]), Row(28, 0));
}

TEST(Mobility, OfBishopsIsMinus20Plus4AndMinus35Plus7PerSquare) {
    EXPECT_EQ(rowOf(kMobilityMg[B]), mobilityRow(13, -20, 4));
    EXPECT_EQ(kMobilityMg[B][13], 32);
    EXPECT_EQ(rowOf(kMobilityEg[B]), mobilityRow(13, -35, 7));
    EXPECT_EQ(kMobilityEg[B][13], 56);
}

TEST(Mobility, OfRooksIsMinus30Plus5AndMinus24Plus4PerSquare) {
    EXPECT_EQ(rowOf(kMobilityMg[R]), mobilityRow(14, -30, 5));
    EXPECT_EQ(kMobilityMg[R][14], 40);
    EXPECT_EQ(rowOf(kMobilityEg[R]), mobilityRow(14, -24, 4));
    EXPECT_EQ(kMobilityEg[R][14], 32);
}

TEST(Mobility, OfQueensIsNothingInTheMiddleGameAndMinus48Plus6PerSquareInTheEndGame) {
    EXPECT_EQ(rowOf(kMobilityMg[Q]), Row(28, 0));
    EXPECT_EQ(rowOf(kMobilityEg[Q]), mobilityRow(27, -48, 6));
    EXPECT_EQ(kMobilityEg[Q][27], 114);
}

TEST(Mobility, OfPawnsAndKingsIsNothing) {
    for (const int piece : {P, K}) {
        EXPECT_EQ(rowOf(kMobilityMg[piece]), Row(28, 0)) << piece;
        EXPECT_EQ(rowOf(kMobilityEg[piece]), Row(28, 0)) << piece;
    }
}

TEST(Mobility, OfKnightsIsZeroBeyondEightSquares) {
    for (int count = 9; count < 28; ++count)
        EXPECT_EQ(kMobilityMg[N][count], 0) << count;
}

// --- king danger ---

TEST(KingDanger, HasTheStatedTableWithItsTwoDips) {
    EXPECT_EQ(rowOf(kKsSafetyTable),
              (Row{0, -1, 4, 23, 41, 65, 142, 131, 258, 439, 723, 428, 480, 580, 690, 800}));
}

TEST(KingDanger, AttackWeightsAreStatedForTheRingAndEvenSoThatTheZoneCountsHalf) {
    EXPECT_EQ(rowOf(kKsAttackWeight), (Row{0, 40, 50, 80, 160, 0}));
    EXPECT_EQ(kKsRingUnits, 2);
    EXPECT_EQ(kKsZoneUnits, 1);
    EXPECT_EQ(kKsAttackWeight[N] / 2, 20);
    EXPECT_EQ(kKsAttackWeight[B] / 2, 25);
    EXPECT_EQ(kKsAttackWeight[R] / 2, 40);
    EXPECT_EQ(kKsAttackWeight[Q] / 2, 80);
}

// --- numbers that stand alone ---

TEST(SingleWeights, AreAsStated) {
    EXPECT_EQ(kBishopPair, 56);
    EXPECT_EQ(kRookOpenMg, 51);
    EXPECT_EQ(kRookOpenEg, -3);
    EXPECT_EQ(kRookSemiMg, 20);
    EXPECT_EQ(kRookSemiEg, 24);
    EXPECT_EQ(kIsolatedMg, -8);
    EXPECT_EQ(kIsolatedEg, -10);
    EXPECT_EQ(kDoubledMg, -10);
    EXPECT_EQ(kDoubledEg, -10);
    EXPECT_EQ(kConnectedMg, 7);
    EXPECT_EQ(kConnectedEg, 6);
    EXPECT_EQ(kKsOpenFile, 31);
}

TEST(PassedPawns, HaveTheStatedIrregularRows) {
    EXPECT_EQ(rowOf(kPassedMg), (Row{0, 2, -12, -12, 9, 40, 6, 0}));
    EXPECT_EQ(rowOf(kPassedEg), (Row{0, 13, 24, 51, 75, 105, 25, 0}));
}

TEST(EndGameNumbers, OfDrivingTheKingAreAsStated) {
    EXPECT_EQ(kMopUpLead, 100);
    EXPECT_EQ(kMopUpCloseness, 5);
    EXPECT_EQ(kMopUpEdge, 10);
    EXPECT_EQ(kKbnCorner, 30);
}

// --- placement: stated rows and cells ---

TEST(PawnPlacement, HasTheStatedMiddleGameRows) {
    EXPECT_EQ(rankOf(kPSTMG[P], 8), Row(8, -14));
    EXPECT_EQ(rankOf(kPSTMG[P], 7), (Row{112, 99, 82, 45, 50, 13, 68, 105}));
    EXPECT_EQ(rankOf(kPSTMG[P], 2), (Row{-33, -27, -35, -28, -30, 7, -4, -29}));
    EXPECT_EQ(rankOf(kPSTMG[P], 1), Row(8, -14));
}

TEST(PawnPlacement, HasTheStatedEndGameRows) {
    EXPECT_EQ(rankOf(kPSTEGPawn, 8), Row(8, -26));
    EXPECT_EQ(rankOf(kPSTEGPawn, 7), (Row{149, 150, 144, 151, 127, 168, 165, 138}));
    EXPECT_EQ(rankOf(kPSTEGPawn, 2), (Row{-22, -21, -9, -46, -44, -26, -32, -26}));
    EXPECT_EQ(rankOf(kPSTEGPawn, 1), Row(8, -26));
}

TEST(KnightPlacement, HasTheStatedCells) {
    EXPECT_EQ(cell(kPSTMG[N], "a8"), -137);
    EXPECT_EQ(cell(kPSTMG[N], "a1"), -68);
    EXPECT_EQ(cell(kPSTMG[N], "d5"), 39);
    EXPECT_EQ(cell(kPSTMG[N], "e5"), 33);
}

TEST(KingPlacement, HasTheStatedMiddleGameRows) {
    EXPECT_EQ(rankOf(kPSTMG[K], 1), (Row{22, 53, 27, -37, -14, -33, 38, 16}));
    EXPECT_EQ(rankOf(kPSTMG[K], 8), (Row{131, -39, -136, 40, -11, 352, 399, 217}));
}

TEST(KingPlacement, HasTheStatedEndGameCells) {
    EXPECT_EQ(cell(kKingEG, "a8"), -130);
    EXPECT_EQ(cell(kKingEG, "h8"), -85);
    EXPECT_EQ(rankOf(kKingEG, 1), (Row{-72, -85, -49, -36, -52, -46, -71, -99}));
    EXPECT_EQ(cell(kKingEG, "d6"), 67);
    EXPECT_EQ(cell(kKingEG, "e6"), 70);
    EXPECT_EQ(highest(kKingEG), 70);
}

// --- placement: the shapes that the remaining values must keep ---

TEST(PawnPlacement, RewardsTheSeventhRankMost) {
    for (int rank = 2; rank <= 6; ++rank) {
        EXPECT_GT(sum(rankOf(kPSTMG[P], 7)), sum(rankOf(kPSTMG[P], rank)) + 200) << rank;
        EXPECT_GT(sum(rankOf(kPSTEGPawn, 7)), sum(rankOf(kPSTEGPawn, rank)) + 300) << rank;
    }
}

TEST(PawnPlacement, GrowsFromTheThirdRankOnInBothPhases) {
    for (int rank = 3; rank < 7; ++rank) {
        EXPECT_LT(sum(rankOf(kPSTMG[P], rank)), sum(rankOf(kPSTMG[P], rank + 1))) << rank;
        EXPECT_LT(sum(rankOf(kPSTEGPawn, rank)), sum(rankOf(kPSTEGPawn, rank + 1))) << rank;
    }
}

TEST(KnightPlacement, PrefersTheCentreToTheEdgeOnEveryRankAndFile) {
    for (int rank = 1; rank <= 8; ++rank) {
        const Row row = rankOf(kPSTMG[N], rank);
        EXPECT_GT(row[3], row[0]) << rank;
        EXPECT_GT(row[4], row[7]) << rank;
    }
}

TEST(RookPlacement, PrefersTheSeventhRankToAllBelow) {
    for (int rank = 1; rank <= 6; ++rank)
        EXPECT_GT(sum(rankOf(kPSTMG[R], 7)), sum(rankOf(kPSTMG[R], rank))) << rank;
}

TEST(KingPlacement, KeepsTheKingHomeInTheMiddleGame) {
    for (int rank = 3; rank <= 6; ++rank)
        for (const int value : rankOf(kPSTMG[K], rank))
            EXPECT_LT(value, 0) << rank;
    EXPECT_GT(cell(kPSTMG[K], "b1"), cell(kPSTMG[K], "d1"));
    EXPECT_GT(cell(kPSTMG[K], "g1"), cell(kPSTMG[K], "e1"));
}

TEST(KingPlacement, BringsTheKingToTheCentreInTheEndGame) {
    for (int rank = 1; rank <= 8; ++rank) {
        const Row row = rankOf(kKingEG, rank);
        EXPECT_GT(row[3], row[0]) << rank;
        EXPECT_GT(row[4], row[7]) << rank;
    }
    for (const std::string_view centre : {"d4", "e4", "d5", "e5", "d6", "e6"})
        for (const std::string_view edge : {"a1", "h1", "a8", "h8", "a5", "h4", "d1", "e8"})
            EXPECT_GT(cell(kKingEG, centre), cell(kKingEG, edge)) << centre << ' ' << edge;
}

TEST(EndGamePlacement, AddsNothingToTheMiddleGamePlacementInTheBuiltInWeights) {
    for (const auto& row : kPstEgDelta)
        EXPECT_EQ(rowOf(row), Row(64, 0));
}

} // namespace
