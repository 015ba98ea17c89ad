#pragma once

#include "base/chess.h"
#include "params/layout.h"
#include "params/psq.h"

#include <array>
#include <cassert>
#include <cstdint>

/// The vocabulary in which the evaluation is written: its terms, its weights and the sink that
/// receives them. The walk over a position (walk.h) names weights and counts; a sink decides what
/// becomes of them: a score, a printed breakdown, a row of features.
namespace Eval {

/// Lines of the printed breakdown, in its order.
enum class Term { Material, King, BishopPair, Mobility, KingSafety, RookFiles, Pawns };
inline constexpr int kTermCount = static_cast<int>(Term::Pawns) + 1;

/// What the terms consist of: material and placement as the pieces stand in `Piece`, then the other
/// terms in their order.
enum class Aspect {
    Material,
    Placement = Material + King,
    KingPlacement = Placement + King,
    KingProximity,
    BishopPair,
    Mobility, // of knights, then of bishops, rooks and queens
    Shelter = Mobility + King - Knight,
    OpenFiles,
    AttackUnits,
    AttackWeight,
    RookOpen,
    RookSemiOpen,
    Isolated,
    Doubled,
    Connected,
    Passed,
    Candidate,
    Passers, // the advanced ones against the pieces
};
inline constexpr int kAspectCount = static_cast<int>(Aspect::Passers) + 1;

inline constexpr int kNoWeight = -1;

/// A weight, or a row of weights with one cell for each square or count, in both phases.
struct Feature {
    int mg; // index of the first cell in the flat list, `kNoWeight` where the phase has none
    int eg;
    int cells;
};

namespace Detail {

/// Positive for White's features, negative for Black's.
constexpr int signOf(Color c) {
    return c == White ? 1 : -1;
}

/// The aspect of a piece in a row that begins with the one of `first`.
constexpr Aspect aspectOf(Aspect start, Piece piece, Piece first = Pawn) {
    return static_cast<Aspect>(static_cast<int>(start) + piece - first);
}

/// Weights of a phase that a feature does not have.
inline constexpr WeightLayout::Cells kNone{kNoWeight, 0};

consteval Feature feature(WeightLayout::Cells mg, WeightLayout::Cells eg) {
    if (mg.count != eg.count && mg.count != 0 && eg.count != 0)
        throw "the two phases have different numbers of cells";
    return {mg.first, eg.first, mg.count != 0 ? mg.count : eg.count};
}

/// A feature with one row in a block for each phase; "" where a phase has none.
consteval Feature feature(std::string_view mg, std::string_view eg, int row = 0) {
    return feature(mg.empty() ? kNone : WeightLayout::cells(mg, row),
                   eg.empty() ? kNone : WeightLayout::cells(eg, row));
}

} // namespace Detail

inline constexpr Feature kNoFeature{kNoWeight, kNoWeight, 0};

// --- features by piece ---

inline constexpr Feature kMaterial[kPieces] = {
    Detail::feature("matMg_", "matEg_", Pawn),   Detail::feature("matMg_", "matEg_", Knight),
    Detail::feature("matMg_", "matEg_", Bishop), Detail::feature("matMg_", "matEg_", Rook),
    Detail::feature("matMg_", "matEg_", Queen),  kNoFeature,
};
/// Knights, bishops, rooks and queens have one table for both phases.
inline constexpr Feature kPlacement[kPieces] = {
    Detail::feature(WeightLayout::cells("pstMg_", Pawn), WeightLayout::cells("pawnEg_")),
    Detail::feature("pstMg_", "pstMg_", Knight),
    Detail::feature("pstMg_", "pstMg_", Bishop),
    Detail::feature("pstMg_", "pstMg_", Rook),
    Detail::feature("pstMg_", "pstMg_", Queen),
    Detail::feature(WeightLayout::cells("pstMg_", King), WeightLayout::cells("kingEg_")),
};
/// What their end-game placement adds to it.
inline constexpr Feature kPlacementDelta[kPieces] = {
    kNoFeature,
    Detail::feature("", "pstEgDelta_", Knight),
    Detail::feature("", "pstEgDelta_", Bishop),
    Detail::feature("", "pstEgDelta_", Rook),
    Detail::feature("", "pstEgDelta_", Queen),
    kNoFeature,
};
inline constexpr Feature kMobility[kPieces] = {
    kNoFeature,
    Detail::feature("mobMg_N_", "mobEg_N_"),
    Detail::feature("mobMg_B_", "mobEg_B_"),
    Detail::feature("mobMg_R_", "mobEg_R_"),
    Detail::feature("mobMg_Q_", "mobEg_Q_"),
    kNoFeature,
};

// --- other features ---

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

template <Feature F>
consteval auto packedCells() {
    std::array<PackedPair, F.cells> cells{};
    for (int cell = 0; cell < F.cells; ++cell)
        cells[static_cast<std::size_t>(cell)] =
            packPair(F.mg == kNoWeight ? 0 : kWeights[static_cast<std::size_t>(F.mg + cell)],
                     F.eg == kNoWeight ? 0 : kWeights[static_cast<std::size_t>(F.eg + cell)]);
    return cells;
}

/// The cells of a feature as constants of the build.
template <Feature F>
inline constexpr auto kCells = packedCells<F>();

} // namespace Detail

/// A sink that wants to know what each use and each amount is about: the aspect, whose it is, how
/// often and on which squares; without a side where an amount belongs to both together.
template <class Sink>
concept AsksWhere = requires(Sink& sink, Aspect aspect, Color side, Bitboard squares, int count) {
    sink.squares(aspect, side, squares, count);
    sink.squares(aspect, squares);
};

/// Tells such a sink, and only such a one, what the uses and amounts up to the next call are about.
template <class Sink>
void tell(Sink& sink, Aspect aspect, Color side, Bitboard squares, int count) {
    if constexpr (AsksWhere<Sink>)
        sink.squares(aspect, side, squares, count);
}

/// The same where the side has as many of the aspect as there are squares.
template <class Sink>
void tell(Sink& sink, Aspect aspect, Color side, Bitboard squares) {
    tell(sink, aspect, side, squares, popcount(squares));
}

/// The same for what belongs to both sides together.
template <class Sink>
void tell(Sink& sink, Aspect aspect, Bitboard squares) {
    if constexpr (AsksWhere<Sink>)
        sink.squares(aspect, squares);
}

/// Calls `add` with what each side has of an aspect, negative for Black, after telling about it;
/// with the difference alone where the sink does not ask, which is faster.
template <class Sink, class Add>
void addBothSides(Sink& sink, Aspect aspect, const Bitboard (&squares)[kColors], int white,
                  int black, Add add) {
    if constexpr (AsksWhere<Sink>) {
        tell(sink, aspect, White, squares[White], white);
        add(white);
        tell(sink, aspect, Black, squares[Black], black);
        add(-black);
    } else {
        add(white - black);
    }
}

/// The same for uses of one cell of a feature.
template <Term T, Feature F, class Sink>
void useBothSides(Sink& sink, Aspect aspect, const Bitboard (&squares)[kColors], int cell,
                  int white, int black) {
    addBothSides(sink, aspect, squares, white, black,
                 [&](int count) { sink.template use<T, F>(cell, count); });
}

/// Sink that adds everything up to one pair: the one of the search.
class SumSink {
  public:
    /// Counts `count` uses of one cell of a feature; positive for White.
    template <Term, Feature F>
    void use(int cell, int count) {
        assert(cell >= 0 && cell < F.cells);
        sum_ += Detail::kCells<F>[static_cast<std::size_t>(cell)] * count;
    }

    /// Adds an amount that is not a multiple of a weight, from White's point of view.
    template <Term>
    void addConstant(int mg, int eg) {
        sum_ += packPair(mg, eg);
    }

    /// The same for a pair that is packed already.
    template <Term>
    void addPacked(PackedPair pair) {
        sum_ += pair;
    }

    ScorePair total() const { return unpackPair(sum_); }

  private:
    PackedPair sum_ = 0;
};

} // namespace Eval
