#pragma once

#include "eval/features.h"
#include "eval/pawns.h"

namespace Eval {

namespace Detail {

template <Feature F, class Sink>
void usePawns(Aspect aspect, const Bitboard (&pawns)[kColors],
              const std::int32_t (&counts)[kColors], Sink& sink) {
    useBothSides<Term::Pawns, F>(sink, aspect, pawns, 0, counts[White], counts[Black]);
}

} // namespace Detail

/// Pawn structure, in centipawns, White's point of view: isolated and doubled pawns cost, pawns
/// side by side or defending each other gain, passed pawns gain by rank, candidates a little.
/// `sets` holds the pawns of which `f` has the counts.
template <class Sink>
void walkPawnStructure(const PawnFeatures& f, const PawnSets& sets, Sink& sink) {
    Detail::usePawns<kIsolated>(Aspect::Isolated, sets.isolated, f.isolated, sink);
    Detail::usePawns<kDoubled>(Aspect::Doubled, sets.doubled, f.doubled, sink);
    Detail::usePawns<kConnected>(Aspect::Connected, sets.connected, f.connected, sink);
    for (int rank = Rank1; rank <= Rank8; ++rank) { // as their side sees it
        const Bitboard passed[kColors] = {sets.passed[White] & rankBB(rank),
                                          sets.passed[Black] & rankBB(Rank8 - rank)};
        useBothSides<Term::Pawns, kPassed>(sink, Aspect::Passed, passed, rank,
                                           f.passed[White][rank], f.passed[Black][rank]);
    }
    addBothSides(sink, Aspect::Candidate, sets.candidate, f.candidate[White], f.candidate[Black],
                 [&](int count) {
                     sink.template addConstant<Term::Pawns>(EvalParams::kCandidateMg * count,
                                                            EvalParams::kCandidateEg * count);
                 });
}

} // namespace Eval
