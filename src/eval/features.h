#pragma once

#include "params/layout.h"
#include "params/psq.h"

#include <array>
#include <cstdint>

/// The vocabulary in which the evaluation is written: its terms, the weights it uses and the sink
/// that takes them up. The walk over a position (walk.h) names weights and counts; a sink decides
/// what becomes of them: a score, a printed breakdown, a row of features.
namespace Eval {

/// Lines of the printed breakdown, in its order.
enum class Term { Material, King, BishopPair, Mobility, KingSafety, RookFiles, Pawns };
inline constexpr int kTermCount = 7;

inline constexpr int kNoWeight = -1;

/// A weight, or a row of weights with one cell for each square or count, by phase: the index of its
/// first cell in the flat list, `kNoWeight` where the phase has none.
struct Feature {
    int mg;
    int eg;
    int cells;
};

namespace Detail {

consteval int cellsOf(std::string_view name) {
    for (const auto& block : WeightLayout::kBlocks)
        if (block.name == name)
            return block.columns;
    throw "no block of weights has this name";
}

consteval int indexOf(std::string_view name, int row) {
    return name.empty() ? kNoWeight : WeightLayout::first(name) + row * cellsOf(name);
}

consteval Feature feature(std::string_view mg, std::string_view eg, int row = 0) {
    return {indexOf(mg, row), indexOf(eg, row), cellsOf(mg.empty() ? eg : mg)};
}

/// A placement table that serves both phases.
consteval Feature placement(int piece) {
    return feature("pstMg_", "pstMg_", piece);
}

} // namespace Detail

inline constexpr Feature kMaterial[5] = {
    Detail::feature("matMg_", "matEg_", 0), Detail::feature("matMg_", "matEg_", 1),
    Detail::feature("matMg_", "matEg_", 2), Detail::feature("matMg_", "matEg_", 3),
    Detail::feature("matMg_", "matEg_", 4),
};
inline constexpr Feature kPlacement[6] = {
    {Detail::indexOf("pstMg_", 0), Detail::indexOf("pawnEg_", 0), 64},
    Detail::placement(1),
    Detail::placement(2),
    Detail::placement(3),
    Detail::placement(4),
    {Detail::indexOf("pstMg_", 5), Detail::indexOf("kingEg_", 0), 64},
};
/// What the end-game placement of knights, bishops, rooks and queens adds.
inline constexpr Feature kPlacementDelta[5] = {
    {kNoWeight, kNoWeight, 64},
    Detail::feature("", "pstEgDelta_", 1),
    Detail::feature("", "pstEgDelta_", 2),
    Detail::feature("", "pstEgDelta_", 3),
    Detail::feature("", "pstEgDelta_", 4),
};
inline constexpr Feature kMobility[5] = {
    {kNoWeight, kNoWeight, 1},
    Detail::feature("mobMg_N_", "mobEg_N_"),
    Detail::feature("mobMg_B_", "mobEg_B_"),
    Detail::feature("mobMg_R_", "mobEg_R_"),
    Detail::feature("mobMg_Q_", "mobEg_Q_"),
};
inline constexpr Feature kBishopPair = Detail::feature("bishopPair", "bishopPair");
inline constexpr Feature kRookOpen = Detail::feature("rookOpenMg", "rookOpenEg");
inline constexpr Feature kRookSemiOpen = Detail::feature("rookSemiMg", "rookSemiEg");
inline constexpr Feature kPassed = Detail::feature("passedMg_", "passedEg_");
inline constexpr Feature kIsolated = Detail::feature("isolatedMg", "isolatedEg");
inline constexpr Feature kDoubled = Detail::feature("doubledMg", "doubledEg");
inline constexpr Feature kConnected = Detail::feature("connectedMg", "connectedEg");
inline constexpr Feature kKsSafety = Detail::feature("ksSafety_", "");
inline constexpr Feature kKsOpenFile = Detail::feature("ksOpenFile", "");

namespace Detail {

consteval auto builtInWeights() {
    std::array<int, WeightLayout::kCount> values{};
    WeightLayout::fillValues(values.data());
    return values;
}

inline constexpr auto kWeights = builtInWeights();

/// A pair in one 64-bit number, end game above middle game: sums and multiples of such numbers are
/// sums and multiples of the pairs, at the price of one addition.
using PackedPair = std::int64_t;

constexpr PackedPair pack(int mg, int eg) {
    return static_cast<PackedPair>(static_cast<std::uint64_t>(static_cast<std::int64_t>(eg))
                                   << 32) +
           mg;
}

constexpr ScorePair unpack(PackedPair packed) {
    // A negative middle-game half has borrowed one from the end-game half; rounding gives it back.
    constexpr PackedPair kHalf = PackedPair{1} << 31;
    return {static_cast<std::int32_t>(packed), static_cast<std::int32_t>((packed + kHalf) >> 32)};
}

template <Feature F>
consteval auto packedCells() {
    std::array<PackedPair, F.cells> cells{};
    for (int cell = 0; cell < F.cells; ++cell)
        cells[static_cast<std::size_t>(cell)] =
            pack(F.mg == kNoWeight ? 0 : kWeights[static_cast<std::size_t>(F.mg + cell)],
                 F.eg == kNoWeight ? 0 : kWeights[static_cast<std::size_t>(F.eg + cell)]);
    return cells;
}

/// The cells of a feature as constants of the build.
template <Feature F>
inline constexpr auto kCells = packedCells<F>();

} // namespace Detail

/// Sink that adds everything up to one pair: what the search pays for.
class SumSink {
  public:
    /// Counts `count` uses of one cell of a feature; positive for White.
    template <Term, Feature F>
    void use(int cell, int count) {
        sum_ += Detail::kCells<F>[static_cast<std::size_t>(cell)] * count;
    }

    /// Adds an amount that is no multiple of a weight, White's point of view.
    template <Term>
    void addConstant(int mg, int eg) {
        sum_ += Detail::pack(mg, eg);
    }

    ScorePair total() const { return Detail::unpack(sum_); }

  private:
    Detail::PackedPair sum_ = 0;
};

} // namespace Eval
