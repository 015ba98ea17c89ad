#pragma once

#include "params/weights.h"

#include <string>
#include <string_view>

/// The flat list of tunable weights: one table of blocks from which the indices, the names, the
/// values and the count all follow. A weight is added in `kBlocks` and nowhere else.
namespace WeightLayout {

enum class Naming {
    Plain,       // the block's name is the weight's name
    Number,      // name, then the column
    Piece,       // name, then the piece letter of the row
    PieceSquare, // name, then the piece letter of the row, "_" and the column
};

struct Block {
    std::string_view name;
    Naming naming;
    int rows;
    int columns;
    int (*value)(int row, int column);

    constexpr int size() const { return rows * columns; }
};

inline constexpr Block kBlocks[] = {
    {"matMg_", Naming::Piece, 5, 1, [](int p, int) { return EvalParams::kMgValue[p]; }},
    {"matEg_", Naming::Piece, 5, 1, [](int p, int) { return EvalParams::kEgValue[p]; }},
    {"pstMg_", Naming::PieceSquare, 6, 64, [](int p, int s) { return EvalParams::kPSTMG[p][s]; }},
    {"pawnEg_", Naming::Number, 1, 64, [](int, int s) { return EvalParams::kPSTEGPawn[s]; }},
    {"kingEg_", Naming::Number, 1, 64, [](int, int s) { return EvalParams::kKingEG[s]; }},
    {"mobMg_N_", Naming::Number, 1, 9, [](int, int n) { return EvalParams::kMobilityMg[1][n]; }},
    {"mobEg_N_", Naming::Number, 1, 9, [](int, int n) { return EvalParams::kMobilityEg[1][n]; }},
    {"mobMg_B_", Naming::Number, 1, 14, [](int, int n) { return EvalParams::kMobilityMg[2][n]; }},
    {"mobEg_B_", Naming::Number, 1, 14, [](int, int n) { return EvalParams::kMobilityEg[2][n]; }},
    {"mobMg_R_", Naming::Number, 1, 15, [](int, int n) { return EvalParams::kMobilityMg[3][n]; }},
    {"mobEg_R_", Naming::Number, 1, 15, [](int, int n) { return EvalParams::kMobilityEg[3][n]; }},
    {"mobMg_Q_", Naming::Number, 1, 28, [](int, int n) { return EvalParams::kMobilityMg[4][n]; }},
    {"mobEg_Q_", Naming::Number, 1, 28, [](int, int n) { return EvalParams::kMobilityEg[4][n]; }},
    {"pstEgDelta_", Naming::PieceSquare, 6, 64,
     [](int p, int s) { return EvalParams::kPstEgDelta[p][s]; }},
    {"bishopPair", Naming::Plain, 1, 1, [](int, int) { return EvalParams::kBishopPair; }},
    {"rookOpenMg", Naming::Plain, 1, 1, [](int, int) { return EvalParams::kRookOpenMg; }},
    {"rookOpenEg", Naming::Plain, 1, 1, [](int, int) { return EvalParams::kRookOpenEg; }},
    {"rookSemiMg", Naming::Plain, 1, 1, [](int, int) { return EvalParams::kRookSemiMg; }},
    {"rookSemiEg", Naming::Plain, 1, 1, [](int, int) { return EvalParams::kRookSemiEg; }},
    {"passedMg_", Naming::Number, 1, 8, [](int, int r) { return EvalParams::kPassedMg[r]; }},
    {"passedEg_", Naming::Number, 1, 8, [](int, int r) { return EvalParams::kPassedEg[r]; }},
    {"isolatedMg", Naming::Plain, 1, 1, [](int, int) { return EvalParams::kIsolatedMg; }},
    {"isolatedEg", Naming::Plain, 1, 1, [](int, int) { return EvalParams::kIsolatedEg; }},
    {"doubledMg", Naming::Plain, 1, 1, [](int, int) { return EvalParams::kDoubledMg; }},
    {"doubledEg", Naming::Plain, 1, 1, [](int, int) { return EvalParams::kDoubledEg; }},
    {"connectedMg", Naming::Plain, 1, 1, [](int, int) { return EvalParams::kConnectedMg; }},
    {"connectedEg", Naming::Plain, 1, 1, [](int, int) { return EvalParams::kConnectedEg; }},
    {"ksSafety_", Naming::Number, 1, 16, [](int, int u) { return EvalParams::kKsSafetyTable[u]; }},
    {"ksOpenFile", Naming::Plain, 1, 1, [](int, int) { return EvalParams::kKsOpenFile; }},
};

constexpr int countWeights() {
    int count = 0;
    for (const Block& block : kBlocks)
        count += block.size();
    return count;
}

/// Number of weights in the flat list.
inline constexpr int kCount = countWeights();

/// Index of the first weight of the block called `name`. A wrong name does not compile.
consteval int first(std::string_view name) {
    int index = 0;
    for (const Block& block : kBlocks) {
        if (block.name == name)
            return index;
        index += block.size();
    }
    throw "no block of weights has this name";
}

/// Writes the built-in values of all `kCount` weights in index order.
constexpr void fillValues(int* values) {
    for (const Block& block : kBlocks)
        for (int row = 0; row < block.rows; ++row)
            for (int column = 0; column < block.columns; ++column)
                *values++ = block.value(row, column);
}

/// Name of the weight at `index`, 0 to `kCount` - 1; empty outside of that range.
std::string name(int index);

} // namespace WeightLayout
