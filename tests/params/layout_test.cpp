#include "params/layout.h"

#include <gtest/gtest.h>

#include <array>
#include <iterator>
#include <set>
#include <string>

namespace {

using namespace EvalParams;
using WeightLayout::cells;
using WeightLayout::fillValues;
using WeightLayout::kBlocks;
using WeightLayout::kCount;
using WeightLayout::name;

using Values = std::array<int, 1082>;

Values builtInValues() {
    Values values{};
    fillValues(values.data());
    return values;
}

/// First and last weight of a block with their names, as the tuning tools know them.
struct Range {
    int first;
    int last;
    const char* firstName;
    const char* lastName;
};

constexpr Range kRanges[] = {
    {0, 4, "matMg_P", "matMg_Q"},
    {5, 9, "matEg_P", "matEg_Q"},
    {10, 393, "pstMg_P_0", "pstMg_K_63"},
    {394, 457, "pawnEg_0", "pawnEg_63"},
    {458, 521, "kingEg_0", "kingEg_63"},
    {522, 530, "mobMg_N_0", "mobMg_N_8"},
    {531, 539, "mobEg_N_0", "mobEg_N_8"},
    {540, 553, "mobMg_B_0", "mobMg_B_13"},
    {554, 567, "mobEg_B_0", "mobEg_B_13"},
    {568, 582, "mobMg_R_0", "mobMg_R_14"},
    {583, 597, "mobEg_R_0", "mobEg_R_14"},
    {598, 625, "mobMg_Q_0", "mobMg_Q_27"},
    {626, 653, "mobEg_Q_0", "mobEg_Q_27"},
    {654, 1037, "pstEgDelta_P_0", "pstEgDelta_K_63"},
    {1038, 1038, "bishopPair", "bishopPair"},
    {1039, 1039, "rookOpenMg", "rookOpenMg"},
    {1040, 1040, "rookOpenEg", "rookOpenEg"},
    {1041, 1041, "rookSemiMg", "rookSemiMg"},
    {1042, 1042, "rookSemiEg", "rookSemiEg"},
    {1043, 1050, "passedMg_0", "passedMg_7"},
    {1051, 1058, "passedEg_0", "passedEg_7"},
    {1059, 1059, "isolatedMg", "isolatedMg"},
    {1060, 1060, "isolatedEg", "isolatedEg"},
    {1061, 1061, "doubledMg", "doubledMg"},
    {1062, 1062, "doubledEg", "doubledEg"},
    {1063, 1063, "connectedMg", "connectedMg"},
    {1064, 1064, "connectedEg", "connectedEg"},
    {1065, 1080, "ksSafety_0", "ksSafety_15"},
    {1081, 1081, "ksOpenFile", "ksOpenFile"},
};

TEST(WeightLayout, Has1082Weights) {
    EXPECT_EQ(kCount, 1082);
}

TEST(WeightLayout, NamesTheFirstAndTheLastWeightOfEachBlockAtItsIndex) {
    for (const Range& range : kRanges) {
        EXPECT_EQ(name(range.first), range.firstName);
        EXPECT_EQ(name(range.last), range.lastName);
    }
}

TEST(WeightLayout, BlocksFollowEachOtherAsTabulated) {
    std::size_t block = 0;
    for (const Range& range : kRanges) {
        ASSERT_LT(block, std::size(kBlocks));
        EXPECT_EQ(kBlocks[block].size(), range.last - range.first + 1) << range.firstName;
        ++block;
    }
    EXPECT_EQ(block, std::size(kBlocks));
}

TEST(WeightLayout, HandlesAreTheTabulatedIndices) {
    EXPECT_EQ(cells("matMg_").first, 0);
    EXPECT_EQ(cells("matEg_").first, 5);
    EXPECT_EQ(cells("pstMg_").first, 10);
    EXPECT_EQ(cells("pawnEg_").first, 394);
    EXPECT_EQ(cells("kingEg_").first, 458);
    EXPECT_EQ(cells("mobMg_N_").first, 522);
    EXPECT_EQ(cells("mobEg_N_").first, 531);
    EXPECT_EQ(cells("mobMg_B_").first, 540);
    EXPECT_EQ(cells("mobEg_B_").first, 554);
    EXPECT_EQ(cells("mobMg_R_").first, 568);
    EXPECT_EQ(cells("mobEg_R_").first, 583);
    EXPECT_EQ(cells("mobMg_Q_").first, 598);
    EXPECT_EQ(cells("mobEg_Q_").first, 626);
    EXPECT_EQ(cells("pstEgDelta_").first, 654);
    EXPECT_EQ(cells("bishopPair").first, 1038);
    EXPECT_EQ(cells("rookOpenMg").first, 1039);
    EXPECT_EQ(cells("rookOpenEg").first, 1040);
    EXPECT_EQ(cells("rookSemiMg").first, 1041);
    EXPECT_EQ(cells("rookSemiEg").first, 1042);
    EXPECT_EQ(cells("passedMg_").first, 1043);
    EXPECT_EQ(cells("passedEg_").first, 1051);
    EXPECT_EQ(cells("isolatedMg").first, 1059);
    EXPECT_EQ(cells("isolatedEg").first, 1060);
    EXPECT_EQ(cells("doubledMg").first, 1061);
    EXPECT_EQ(cells("doubledEg").first, 1062);
    EXPECT_EQ(cells("connectedMg").first, 1063);
    EXPECT_EQ(cells("connectedEg").first, 1064);
    EXPECT_EQ(cells("ksSafety_").first, 1065);
    EXPECT_EQ(cells("ksOpenFile").first, 1081);
}

TEST(WeightLayout, RowsOfABlockFollowEachOther) {
    EXPECT_EQ(cells("pstMg_", 5).first, 10 + 5 * 64);
    EXPECT_EQ(cells("pstMg_", 5).count, 64);
    EXPECT_EQ(cells("matEg_", 4).first, 9);
    EXPECT_EQ(cells("matEg_", 4).count, 1);
    EXPECT_EQ(cells("mobMg_Q_").count, 28);
}

TEST(WeightLayout, NamesWithinABlockCarryPieceLetterAndSquare) {
    EXPECT_EQ(name(1), "matMg_N");
    EXPECT_EQ(name(2), "matMg_B");
    EXPECT_EQ(name(8), "matEg_R");
    EXPECT_EQ(name(10 + 63), "pstMg_P_63");
    EXPECT_EQ(name(10 + 64), "pstMg_N_0");
    EXPECT_EQ(name(10 + 5 * 64 + 7), "pstMg_K_7");
    EXPECT_EQ(name(654 + 4 * 64 + 40), "pstEgDelta_Q_40");
    EXPECT_EQ(name(394 + 9), "pawnEg_9");
    EXPECT_EQ(name(1043 + 5), "passedMg_5");
    EXPECT_EQ(name(1065 + 10), "ksSafety_10");
}

TEST(WeightLayout, EveryWeightHasANameOfItsOwn) {
    std::set<std::string> names;
    for (int index = 0; index < kCount; ++index) {
        EXPECT_FALSE(name(index).empty()) << index;
        EXPECT_TRUE(names.insert(name(index)).second) << name(index);
    }
}

TEST(WeightLayout, HasNoNameOutsideOfTheList) {
    EXPECT_EQ(name(-1), "");
    EXPECT_EQ(name(1082), "");
}

// --- values ---

TEST(WeightLayout, ValuesOfMaterialAreTheMaterialTables) {
    const Values values = builtInValues();
    for (int piece = 0; piece < 5; ++piece) {
        EXPECT_EQ(values.at(static_cast<std::size_t>(piece)), kMgValue[piece]);
        EXPECT_EQ(values.at(static_cast<std::size_t>(5 + piece)), kEgValue[piece]);
    }
}

/// Expects the weights from index `first` on to be the cells of a table.
template <std::size_t Size>
void expectCells(std::size_t first, const int (&cells)[Size], std::size_t used = Size) {
    const Values values = builtInValues();
    for (std::size_t i = 0; i < used; ++i)
        EXPECT_EQ(values.at(first + i), cells[i]) << first + i;
}

TEST(WeightLayout, ValuesOfPlacementAreTheSquareTablesPieceByPiece) {
    for (std::size_t piece = 0; piece < 6; ++piece) {
        expectCells(10 + 64 * piece, kPSTMG[piece]);
        expectCells(654 + 64 * piece, kPstEgDelta[piece]);
    }
    expectCells(394, kPSTEGPawn);
    expectCells(458, kKingEG);
}

TEST(WeightLayout, ValuesOfMobilityAreTheUsedCellsOfEachPiece) {
    expectCells(522, kMobilityMg[1], 9);
    expectCells(531, kMobilityEg[1], 9);
    expectCells(540, kMobilityMg[2], 14);
    expectCells(554, kMobilityEg[2], 14);
    expectCells(568, kMobilityMg[3], 15);
    expectCells(583, kMobilityEg[3], 15);
    expectCells(598, kMobilityMg[4], 28);
    expectCells(626, kMobilityEg[4], 28);
}

TEST(WeightLayout, ValuesOfTheSmallBlocksAreAsTabulated) {
    const Values values = builtInValues();
    constexpr int kTail[] = {
        56,                                                                           // bishopPair
        51, -3,  20,  24,                                                             // rooks
        0,  2,   -12, -12, 9,  40,  6,   0,                                           // passedMg
        0,  13,  24,  51,  75, 105, 25,  0,                                           // passedEg
        -8, -10, -10, -10, 7,  6,                                                     // structure
        0,  -1,  4,   23,  41, 65,  142, 131, 258, 439, 723, 428, 480, 580, 690, 800, // ksSafety
        31,                                                                           // ksOpenFile
    };
    static_assert(std::size(kTail) == 1082 - 1038);
    for (std::size_t i = 0; i < std::size(kTail); ++i)
        EXPECT_EQ(values.at(1038 + i), kTail[i]) << name(static_cast<int>(1038 + i));
}

TEST(WeightLayout, WritesExactlyItsCountOfValues) {
    constexpr int kUntouched = 123456;
    std::array<int, 1083> values{};
    values.fill(kUntouched);
    fillValues(values.data());
    EXPECT_EQ(values.back(), kUntouched);
    for (std::size_t i = 0; i < 1082; ++i)
        EXPECT_NE(values.at(i), kUntouched) << i;
}

} // namespace
