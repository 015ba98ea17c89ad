#pragma once

#include "board/board.h"
#include "params/layout.h"

#include <cstdint>
#include <string>

/// The evaluation as a linear model, for programs that fit its weights: every weight has an index
/// and a name, and a position becomes a count of uses of each weight, from which any set of weights
/// gives its value.
namespace Tune {

inline constexpr int NPARAMS = WeightLayout::kCount;

/// The features of one position, White's count minus Black's.
struct Trace {
    double result = 0.5;
    std::int32_t phase = 0;    // 0 to 24, 24 = all pieces on the board
    std::int32_t egScale = 64; // of the end-game half, out of 64
    std::int32_t mgBase = 0;   // centipawns that are no multiple of a weight, White's point of view
    std::int32_t egBase = 0;
    std::int32_t mg[NPARAMS] = {}; // uses of each weight
    std::int32_t eg[NPARAMS] = {};
};

/// Writes the `NPARAMS` weights of the evaluation.
void initValues(int* values);

/// Name of the weight at an index; empty if there is none.
std::string paramName(int index);

/// Fills a fresh trace with the features of a position.
void extract(const Board& board, Trace& trace);

/// Value of a position in centipawns, the side to move's point of view, under a set of weights.
/// With those of `initValues` it is exactly the evaluation's. Weights small enough to be centipawns
/// cannot overflow.
int reconstruct(const Board& board, const Trace& trace, const int* values);

} // namespace Tune
