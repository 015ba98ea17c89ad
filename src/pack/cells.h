#pragma once

#include "params/layout.h"

#include <array>
#include <cstdint>
#include <string>

/// What a packed row counts. Most weights never occur alone: a bishop counts a weight of the middle
/// game and one of the end game at once. A cell is a number for such weights together; a row tells
/// how often it uses which cells.
namespace Pack {

/// The weights that a use of a cell counts once each, `kNoWeight` where there is none.
struct Cell {
    std::int16_t mg;    // in the middle-game sum
    std::int16_t eg[2]; // in the end-game sum
};

inline constexpr std::int16_t kNoWeight = -1;

namespace Detail {

using WeightLayout::Cells;
using WeightLayout::cells;

inline constexpr Cells kNone{0, 0};

/// Rows of weights that the evaluation counts together, cell by cell.
struct Together {
    Cells mg;
    Cells eg;
    Cells egToo = kNone;

    constexpr int count() const { return mg.count != 0 ? mg.count : eg.count; }
};

/// By the names of their blocks; those come first that most positions use. This only saves room:
/// what is counted in another way than told here, or not told here at all, has cells of its own.
inline constexpr Together kTogether[] = {
    {cells("matMg_", Pawn), cells("matEg_", Pawn)},
    {cells("matMg_", Knight), cells("matEg_", Knight)},
    {cells("matMg_", Bishop), cells("matEg_", Bishop)},
    {cells("matMg_", Rook), cells("matEg_", Rook)},
    {cells("matMg_", Queen), cells("matEg_", Queen)},
    {cells("bishopPair"), cells("bishopPair")},
    {cells("isolatedMg"), cells("isolatedEg")},
    {cells("doubledMg"), cells("doubledEg")},
    {cells("connectedMg"), cells("connectedEg")},
    {cells("passedMg_"), cells("passedEg_")},
    {cells("rookOpenMg"), cells("rookOpenEg")},
    {cells("rookSemiMg"), cells("rookSemiEg")},
    {cells("ksOpenFile"), kNone},
    {cells("ksSafety_"), kNone},
    {cells("mobMg_N_"), cells("mobEg_N_")},
    {cells("mobMg_B_"), cells("mobEg_B_")},
    {cells("mobMg_R_"), cells("mobEg_R_")},
    {cells("mobMg_Q_"), cells("mobEg_Q_")},
    {cells("pstMg_", King), cells("kingEg_")},
    {cells("pstMg_", Pawn), cells("pawnEg_")},
    {cells("pstMg_", Knight), cells("pstMg_", Knight), cells("pstEgDelta_", Knight)},
    {cells("pstMg_", Bishop), cells("pstMg_", Bishop), cells("pstEgDelta_", Bishop)},
    {cells("pstMg_", Rook), cells("pstMg_", Rook), cells("pstEgDelta_", Rook)},
    {cells("pstMg_", Queen), cells("pstMg_", Queen), cells("pstEgDelta_", Queen)},
};

consteval int countTogether() {
    int count = 0;
    for (const Together& rows : kTogether) {
        for (const Cells& row : {rows.mg, rows.eg, rows.egToo})
            if (row.count != 0 && row.count != rows.count())
                throw "rows of different lengths";
        count += rows.count();
    }
    return count;
}

} // namespace Detail

/// Cells of weights that are counted together; behind them each weight has one for either sum.
inline constexpr int kTogetherCells = Detail::countTogether();
inline constexpr int kCellCount = kTogetherCells + 2 * WeightLayout::kCount;

namespace Detail {

consteval auto buildCells() {
    std::array<Cell, kCellCount> table{};
    std::size_t next = 0;
    const auto weight = [](const Cells& row, int column) {
        return row.count == 0 ? kNoWeight : static_cast<std::int16_t>(row.first + column);
    };
    for (const Together& rows : kTogether)
        for (int column = 0; column < rows.count(); ++column)
            table[next++] = {weight(rows.mg, column),
                             {weight(rows.eg, column), weight(rows.egToo, column)}};
    for (std::int16_t k = 0; k < WeightLayout::kCount; ++k)
        table[next++] = {k, {kNoWeight, kNoWeight}};
    for (std::int16_t k = 0; k < WeightLayout::kCount; ++k)
        table[next++] = {kNoWeight, {k, kNoWeight}};
    return table;
}

} // namespace Detail

inline constexpr auto kCells = Detail::buildCells();

/// The cells of the first weight alone in either sum.
inline constexpr int kFirstMgCell = kTogetherCells;
inline constexpr int kFirstEgCell = kFirstMgCell + WeightLayout::kCount;

/// The table as JSON: for each cell the weights of its two sums.
std::string cellsJson();

} // namespace Pack
