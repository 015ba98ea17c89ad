#include "pack/cells.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <span>
#include <string>
#include <tuple>

namespace {

using Pack::kCells;

TEST(PackCells, EachWeightHasACellOfItsOwnForEitherSum) {
    ASSERT_EQ(kCells.size(), Pack::kTogetherCells + 2 * WeightLayout::kCount);
    for (int k = 0; k < WeightLayout::kCount; ++k) {
        const Pack::Cell& mg = kCells[static_cast<std::size_t>(Pack::kFirstMgCell + k)];
        EXPECT_EQ(std::tuple(mg.mg, mg.eg[0], mg.eg[1]), std::tuple(k, -1, -1));
        const Pack::Cell& eg = kCells[static_cast<std::size_t>(Pack::kFirstEgCell + k)];
        EXPECT_EQ(std::tuple(eg.mg, eg.eg[0], eg.eg[1]), std::tuple(-1, k, -1));
    }
}

TEST(PackCells, NoWeightIsToldTwice) {
    std::set<int> mg;
    std::set<int> eg;
    for (const Pack::Cell& cell : std::span(kCells).first(Pack::kTogetherCells)) {
        EXPECT_TRUE(cell.mg < 0 || mg.insert(cell.mg).second) << cell.mg;
        for (const int weight : cell.eg)
            EXPECT_TRUE(weight < 0 || eg.insert(weight).second) << weight;
    }
    EXPECT_GT(mg.size(), 400U);
    EXPECT_GT(eg.size(), 600U);
}

TEST(PackCells, AKnightsPlaceCountsThreeWeights) {
    const int mg = WeightLayout::cells("pstMg_", Knight).first + 27;
    const int delta = WeightLayout::cells("pstEgDelta_", Knight).first + 27;
    const auto found = std::find_if(kCells.begin(), kCells.end(),
                                    [&](const Pack::Cell& cell) { return cell.mg == mg; });
    ASSERT_NE(found, kCells.end());
    EXPECT_EQ(std::tuple(found->eg[0], found->eg[1]), std::tuple(mg, delta));
}

TEST(PackCells, AsText) {
    const std::string text = Pack::cellsJson();
    EXPECT_TRUE(text.starts_with("[[[0], [5]], [[1], [6]], ")) << text.substr(0, 50);
    EXPECT_TRUE(text.ends_with(", [[], [1081]]]")) << text.substr(text.size() - 50);
    const int mg = WeightLayout::cells("pstMg_", Knight).first;
    const int delta = WeightLayout::cells("pstEgDelta_", Knight).first;
    const std::string expected = "[[" + std::to_string(mg) + "], [" + std::to_string(mg) + ", " +
                                 std::to_string(delta) + "]]";
    EXPECT_NE(text.find(expected), std::string::npos) << expected;
    EXPECT_EQ(std::count(text.begin(), text.end(), '['), 1 + 3 * Pack::kCellCount);
}

} // namespace
