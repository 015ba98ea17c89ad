#pragma once

#include "eval/features.h"
#include "eval/pawns.h"

namespace Eval {

/// Pawn structure, in centipawns, White's point of view: isolated and doubled pawns cost, pawns
/// side by side or defending each other gain, passed pawns gain by rank, candidates a little.
template <class Sink>
void walkPawnStructure(const PawnFeatures& f, Sink& sink) {
    const auto difference = [](const std::int32_t(&counts)[kColors]) {
        return counts[White] - counts[Black];
    };
    sink.template use<Term::Pawns, kIsolated>(0, difference(f.isolated));
    sink.template use<Term::Pawns, kDoubled>(0, difference(f.doubled));
    sink.template use<Term::Pawns, kConnected>(0, difference(f.connected));
    for (int rank = Rank1; rank <= Rank8; ++rank)
        sink.template use<Term::Pawns, kPassed>(rank,
                                                f.passed[White][rank] - f.passed[Black][rank]);
    const int candidates = difference(f.candidate);
    sink.template addConstant<Term::Pawns>(EvalParams::kCandidateMg * candidates,
                                           EvalParams::kCandidateEg * candidates);
}

} // namespace Eval
