#pragma once

#include "eval/features.h"
#include "eval/pawns.h"

namespace Eval {

namespace Detail {

/// Calls `add` with the number of each side's pawns of one kind, negative for Black, and tells the
/// sink which they are; with the difference alone where it does not ask, which is faster.
template <class Sink, class Add>
void addPawns(Aspect aspect, const Bitboard (&pawns)[kColors], int white, int black, Sink& sink,
              Add add) {
    if constexpr (AsksWhere<Sink>) {
        tell(sink, aspect, White, pawns[White]);
        add(white);
        tell(sink, aspect, Black, pawns[Black]);
        add(-black);
    } else {
        add(white - black);
    }
}

/// Passed pawns of either side on one rank, as the side sees it.
inline void passedOnRank(const PawnSets& sets, int rank, Bitboard (&pawns)[kColors]) {
    pawns[White] = sets.passed[White] & rankBB(rank);
    pawns[Black] = sets.passed[Black] & rankBB(Rank8 - rank);
}

} // namespace Detail

/// Pawn structure, in centipawns, White's point of view: isolated and doubled pawns cost, pawns
/// side by side or defending each other gain, passed pawns gain by rank, candidates a little.
/// `sets` holds the pawns of which `f` has the counts.
template <class Sink>
void walkPawnStructure(const PawnFeatures& f, const PawnSets& sets, Sink& sink) {
    using Detail::addPawns;
    const auto use = [&]<Feature F>(int cell) {
        return [&sink, cell](int count) { sink.template use<Term::Pawns, F>(cell, count); };
    };
    addPawns(Aspect::Isolated, sets.isolated, f.isolated[White], f.isolated[Black], sink,
             use.template operator()<kIsolated>(0));
    addPawns(Aspect::Doubled, sets.doubled, f.doubled[White], f.doubled[Black], sink,
             use.template operator()<kDoubled>(0));
    addPawns(Aspect::Connected, sets.connected, f.connected[White], f.connected[Black], sink,
             use.template operator()<kConnected>(0));
    for (int rank = Rank1; rank <= Rank8; ++rank) {
        Bitboard passed[kColors];
        Detail::passedOnRank(sets, rank, passed);
        addPawns(Aspect::Passed, passed, f.passed[White][rank], f.passed[Black][rank], sink,
                 use.template operator()<kPassed>(rank));
    }
    addPawns(Aspect::Candidate, sets.candidate, f.candidate[White], f.candidate[Black], sink,
             [&sink](int count) {
                 sink.template addConstant<Term::Pawns>(EvalParams::kCandidateMg * count,
                                                        EvalParams::kCandidateEg * count);
             });
}

} // namespace Eval
