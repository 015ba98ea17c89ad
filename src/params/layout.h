#pragma once

#include "params/weights.h"

#include <iterator>
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

/// One kind of block for each shape of a table; its size is that of the table.
namespace Detail {

template <const int& Value>
consteval Block single(std::string_view name) {
    return {name, Naming::Plain, 1, 1, [](int, int) { return Value; }};
}

template <const auto& Table>
consteval Block row(std::string_view name) {
    return {name, Naming::Number, 1, std::size(Table), [](int, int cell) { return Table[cell]; }};
}

/// The king has no material value.
template <const int (&Table)[kPieces]>
consteval Block material(std::string_view name) {
    return {name, Naming::Piece, King, 1, [](int piece, int) { return Table[piece]; }};
}

template <const int (&Table)[kPieces][kSquares]>
consteval Block placement(std::string_view name) {
    return {name, Naming::PieceSquare, kPieces, kSquares,
            [](int piece, int cell) { return Table[piece][cell]; }};
}

template <const EvalParams::MobilityTable& Table, Piece P>
consteval Block mobility(std::string_view name) {
    return {name, Naming::Number, 1, EvalParams::kMaxMobility[P] + 1,
            [](int, int count) { return Table[P][count]; }};
}

} // namespace Detail

inline constexpr Block kBlocks[] = {
    Detail::material<EvalParams::kMgValue>("matMg_"),
    Detail::material<EvalParams::kEgValue>("matEg_"),
    Detail::placement<EvalParams::kPSTMG>("pstMg_"),
    Detail::row<EvalParams::kPSTEGPawn>("pawnEg_"),
    Detail::row<EvalParams::kKingEG>("kingEg_"),
    Detail::mobility<EvalParams::kMobilityMg, Knight>("mobMg_N_"),
    Detail::mobility<EvalParams::kMobilityEg, Knight>("mobEg_N_"),
    Detail::mobility<EvalParams::kMobilityMg, Bishop>("mobMg_B_"),
    Detail::mobility<EvalParams::kMobilityEg, Bishop>("mobEg_B_"),
    Detail::mobility<EvalParams::kMobilityMg, Rook>("mobMg_R_"),
    Detail::mobility<EvalParams::kMobilityEg, Rook>("mobEg_R_"),
    Detail::mobility<EvalParams::kMobilityMg, Queen>("mobMg_Q_"),
    Detail::mobility<EvalParams::kMobilityEg, Queen>("mobEg_Q_"),
    Detail::placement<EvalParams::kPstEgDelta>("pstEgDelta_"),
    Detail::single<EvalParams::kBishopPair>("bishopPair"),
    Detail::single<EvalParams::kRookOpenMg>("rookOpenMg"),
    Detail::single<EvalParams::kRookOpenEg>("rookOpenEg"),
    Detail::single<EvalParams::kRookSemiMg>("rookSemiMg"),
    Detail::single<EvalParams::kRookSemiEg>("rookSemiEg"),
    Detail::row<EvalParams::kPassedMg>("passedMg_"),
    Detail::row<EvalParams::kPassedEg>("passedEg_"),
    Detail::single<EvalParams::kIsolatedMg>("isolatedMg"),
    Detail::single<EvalParams::kIsolatedEg>("isolatedEg"),
    Detail::single<EvalParams::kDoubledMg>("doubledMg"),
    Detail::single<EvalParams::kDoubledEg>("doubledEg"),
    Detail::single<EvalParams::kConnectedMg>("connectedMg"),
    Detail::single<EvalParams::kConnectedEg>("connectedEg"),
    Detail::row<EvalParams::kKsSafetyTable>("ksSafety_"),
    Detail::single<EvalParams::kKsOpenFile>("ksOpenFile"),
};

/// Number of weights in the flat list.
inline constexpr int kCount = [] {
    int count = 0;
    for (const Block& block : kBlocks)
        count += block.size();
    return count;
}();

// Listings, exported features and the tuning programs all number the weights from 0 to 1081.
static_assert(kCount == 1082);

/// A row of weights in the flat list, one for each square, count or rank.
struct Cells {
    int first;
    int count;
};

/// The weights in one row of the block called `name`. A wrong name or row does not compile.
consteval Cells cells(std::string_view name, int row = 0) {
    int index = 0;
    for (const Block& block : kBlocks) {
        if (block.name == name) {
            if (row < 0 || row >= block.rows)
                throw "the block has no such row";
            return {index + row * block.columns, block.columns};
        }
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
