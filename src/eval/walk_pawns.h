#pragma once

#include "eval/features.h"
#include "eval/pawns.h"

namespace Eval {

namespace Detail {

template <Feature F, class Sink>
void usePawns(Aspect aspect, Color c, Bitboard pawns, Sink& sink) {
    tell(sink, aspect, c, pawns);
    sink.template use<Term::Pawns, F>(0, signOf(c) * popcount(pawns));
}

template <class Sink>
void addPawnsOf(const PawnFeatures& f, Color c, Sink& sink) {
    usePawns<kIsolated>(Aspect::Isolated, c, f.isolated[c], sink);
    usePawns<kDoubled>(Aspect::Doubled, c, f.doubled[c], sink);
    usePawns<kConnected>(Aspect::Connected, c, f.connected[c], sink);
    for (Bitboard passed = f.passed[c]; passed;) {
        const Square sq = popLowest(passed);
        tell(sink, Aspect::Passed, c, bit(sq));
        sink.template use<Term::Pawns, kPassed>(relativeRank(c, sq), signOf(c));
    }
    const int candidates = signOf(c) * popcount(f.candidate[c]);
    tell(sink, Aspect::Candidate, c, f.candidate[c]);
    sink.template addConstant<Term::Pawns>(EvalParams::kCandidateMg * candidates,
                                           EvalParams::kCandidateEg * candidates);
}

} // namespace Detail

/// Pawn structure, in centipawns, White's point of view: isolated and doubled pawns cost, pawns
/// side by side or defending each other gain, passed pawns gain by rank, candidates a little.
template <class Sink>
void walkPawnStructure(const PawnFeatures& f, Sink& sink) {
    Detail::addPawnsOf(f, White, sink);
    Detail::addPawnsOf(f, Black, sink);
}

} // namespace Eval
