#pragma once

#include "board/kinglines.h"
#include "eval/endgame.h"
#include "eval/features.h"
#include "eval/masks.h"
#include "eval/pawns.h"
#include "eval/walk_pawns.h"

#include <algorithm>
#include <cassert>

/// The evaluation, written once: a walk over a position that tells a sink which weights count how
/// often, all from White's point of view and in centipawns. Play, the printed breakdown and feature
/// extraction differ in the sink alone.
namespace Eval {

/// Pieces pinned to the king of colour `king`: the set, and for each square in it the ray that the
/// piece may not leave (`rays` is not set elsewhere).
inline void computeAbsolutePins(const Board& board, Color king, Bitboard& pinned,
                                Bitboard (&rays)[kSquares]) {
    const Square sq = board.kingSquare(king);
    pinned = 0;
    for (Bitboard pinners = snipers(board, sq, ~king); pinners;) {
        const Square pinner = popLowest(pinners);
        const Bitboard between = gBetweenBB[sq][pinner];
        const Bitboard blockers = between & board.occupied;
        if (blockers && !moreThanOne(blockers) && (blockers & board.colorBB[king])) {
            pinned |= blockers;
            rays[lowestSquare(blockers)] = between | bit(pinner);
        }
    }
}

/// Everything that the pieces of each side attack, own pieces and pinned attackers included.
void computeAttackedBy(const Board& board, Bitboard (&attackedBy)[kColors]);

namespace Detail {

/// Attack units against a king in the lower half, the weight of the attackers in the upper half:
/// each attack adds to both at once.
using KingDanger = std::uint32_t;

inline constexpr int kDangerWeightShift = 16;

/// One attack of a piece on the zone before the ring, which counts half as much as one on the ring.
template <Piece P>
inline constexpr KingDanger kZoneAttack =
    EvalParams::kKsZoneUnits | EvalParams::kKsAttackWeight[P] / 2 << kDangerWeightShift;

/// What the pieces contribute to terms that are counted after them.
struct PieceWalk {
    Bitboard attackedBy[kColors];
    KingDanger danger[kColors]; // to each king
};

/// What the walk over one side's pieces needs and gathers.
struct SideWalk {
    Bitboard attackedBy;
    Bitboard mobilityArea;
    Bitboard enemyRing; // the enemy king and the squares next to him
    Bitboard enemyZone;
    KingDanger danger; // to the enemy king
    Bitboard pinned;
};

template <Color Us>
SideWalk beginSide(const Board& board) {
    const Square king = board.kingSquare(Us);
    const Square enemyKing = board.kingSquare(~Us);
    const Bitboard enemyPawns = pawnAttackSet(~Us, board.pieces[~Us][Pawn]);
    return {pawnAttackSet(Us, board.pieces[Us][Pawn]) | Attacks::kingAttacks[king],
            ~(board.colorBB[Us] | enemyPawns),
            Attacks::kingAttacks[enemyKing] | bit(enemyKing),
            gKingZone[~Us][enemyKing],
            0,
            0};
}

/// Rook on a file without pawns of its own side: a bonus, for the middle game on an open file, for
/// both phases on a semi-open one.
template <Color Us, class Sink>
void addRookFile(const Board& board, Square sq, Sink& sink) {
    const Bitboard file = fileBB(fileOf(sq));
    if (board.pieces[Us][Pawn] & file)
        return;
    if (board.pieces[~Us][Pawn] & file) {
        tell(sink, Aspect::RookSemiOpen, Us, bit(sq));
        sink.template use<Term::RookFiles, kRookSemiOpen>(0, signOf(Us));
    } else {
        tell(sink, Aspect::RookOpen, Us, bit(sq));
        sink.template use<Term::RookFiles, kRookOpen>(0, signOf(Us));
    }
}

/// Mobility: reachable squares that no own piece occupies and no enemy pawn attacks; few cost, many
/// gain. The attacks on the enemy king are counted on the way, for king safety.
template <Piece P, Color Us, bool Pinned, class Sink>
void addPieces(const Board& board, SideWalk& walk, const Bitboard (&pinRays)[kSquares],
               Sink& sink) {
    static_assert(EvalParams::kKsRingUnits == 2 * EvalParams::kKsZoneUnits);
    for (Bitboard pieces = board.pieces[Us][P] & (Pinned ? walk.pinned : ~walk.pinned); pieces;) {
        const Square sq = popLowest(pieces);
        Bitboard attacks = Attacks::attacksOf<P>(sq, board.occupied);
        walk.attackedBy |= attacks;

        // The ring is part of the zone, so a piece that attacks the ring counts both halves.
        const KingDanger pressure =
            KingDanger{(attacks & walk.enemyRing) != 0} + ((attacks & walk.enemyZone) != 0);
        walk.danger += pressure * kZoneAttack<P>;
        tell(sink, Aspect::AttackUnits, Us, attacks & walk.enemyZone, 0);
        tell(sink, Aspect::AttackWeight, Us, attacks & walk.enemyZone, 0);

        if constexpr (Pinned)
            attacks &= pinRays[sq];
        const Bitboard reached = attacks & walk.mobilityArea;
        tell(sink, aspectOf(Aspect::Mobility, P, Knight), Us, reached);
        sink.template use<Term::Mobility, kMobility[P]>(popcount(reached), signOf(Us));
        if constexpr (P == Rook)
            addRookFile<Us>(board, sq, sink);
    }
}

template <Color Us, bool Pinned, class Sink>
void addAllPieces(const Board& board, SideWalk& walk, const Bitboard (&pinRays)[kSquares],
                  Sink& sink) {
    addPieces<Knight, Us, Pinned>(board, walk, pinRays, sink);
    addPieces<Bishop, Us, Pinned>(board, walk, pinRays, sink);
    addPieces<Rook, Us, Pinned>(board, walk, pinRays, sink);
    addPieces<Queen, Us, Pinned>(board, walk, pinRays, sink);
}

template <Color Us, class Sink>
void addSide(const Board& board, PieceWalk& walk, Sink& sink) {
    SideWalk side = beginSide<Us>(board);
    Bitboard pinRays[kSquares]; // set for pinned pieces only
    computeAbsolutePins(board, Us, side.pinned, pinRays);
    addAllPieces<Us, false>(board, side, pinRays, sink);
    if (side.pinned) [[unlikely]]
        addAllPieces<Us, true>(board, side, pinRays, sink);
    walk.attackedBy[Us] = side.attackedBy;
    walk.danger[~Us] = side.danger;
}

/// King placement: at home in the middle game, in the centre in the end game. The lone king of a
/// side that is behind is driven to the edge (end game only).
template <class Sink>
void addKings(const Board& board, Sink& sink) {
    using EvalParams::placementCell;
    for (const Color c : {White, Black}) {
        const Square king = board.kingSquare(c);
        tell(sink, Aspect::KingPlacement, c, bit(king));
        sink.template use<Term::King, kPlacement[King]>(placementCell(c, king), signOf(c));
    }
    const int proximity =
        kingProximityEg(board, board.nonPawnMaterial[White], board.nonPawnMaterial[Black]);
    tell(sink, Aspect::KingProximity,
         proximity ? board.pieces[White][King] | board.pieces[Black][King] : 0);
    sink.template addConstant<Term::King>(0, proximity);
}

template <class Sink>
void addBishopPair(const Board& board, Sink& sink) {
    const auto pairOf = [](Bitboard bishops) { return moreThanOne(bishops) ? bishops : 0; };
    const Bitboard pairs[kColors] = {pairOf(board.pieces[White][Bishop]),
                                     pairOf(board.pieces[Black][Bishop])};
    useBothSides<Term::BishopPair, kBishopPair>(sink, Aspect::BishopPair, pairs, 0,
                                                pairs[White] != 0, pairs[Black] != 0);
}

/// Shelter of a king away from the centre: files with an own pawn close in front of him gain, files
/// without an own pawn cost. Danger: the more the enemy attacks round him, the worse. Middle game
/// only.
template <Color Us, class Sink>
void addKingSafety(const Board& board, const PieceWalk& walk, Sink& sink) {
    constexpr unsigned kCentre = 1 << FileD | 1 << FileE | 1 << FileF; // no shelter to lose there
    const Square king = board.kingSquare(Us);
    const Bitboard pawns = board.pieces[Us][Pawn];
    const auto units = static_cast<int>(walk.danger[Us] & ((1 << kDangerWeightShift) - 1));
    const auto weight = static_cast<int>(walk.danger[Us] >> kDangerWeightShift);
    if (!(kCentre >> fileOf(king) & 1)) {
        const Bitboard shelter = pawns & gKingShield[Us][king];
        const int sheltered = std::popcount(filesOf(shelter));
        tell(sink, Aspect::Shelter, Us, shelter, sheltered);
        constexpr int Bonus = signOf(Us) * EvalParams::kKsShelter;
        sink.template addConstant<Term::KingSafety>(Bonus * sheltered, 0);
        const Bitboard open = gFileGroup[fileOf(king)] & ~Bitboard{filesOf(pawns)};
        tell(sink, Aspect::OpenFiles, Us, open * fileBB(FileA), popcount(open));
        sink.template use<Term::KingSafety, kKsOpenFile>(0, -signOf(Us) * popcount(open));
    }
    // The attack is the enemy's; its squares were told with the attackers.
    const int counted = std::min(units, EvalParams::kMaxAttackUnits);
    tell(sink, Aspect::AttackUnits, ~Us, 0, counted);
    sink.template use<Term::KingSafety, kKsSafety>(counted, -signOf(Us));
    tell(sink, Aspect::AttackWeight, ~Us, 0, weight);
    sink.template addConstant<Term::KingSafety>(
        -signOf(Us) * (weight / EvalParams::kKsWeightDivisor), 0);
}

/// Whether the maps that the walk has gathered are what each side attacks.
inline bool areAttackMaps(const Board& board, const Bitboard (&maps)[kColors]) {
    Bitboard attackedBy[kColors];
    computeAttackedBy(board, attackedBy);
    return maps[White] == attackedBy[White] && maps[Black] == attackedBy[Black];
}

/// Passed pawns against the pieces: a free path, a defended next step, kings near and far.
template <class Sink>
void addPassers(const Board& board, Bitboard passed, const PieceWalk& walk, Sink& sink) {
    if (!passed)
        return;
    int mg = 0;
    int eg = 0;
    assert(areAttackMaps(board, walk.attackedBy));
    passerTerms(board, passed, walk.attackedBy, mg, eg);
    tell(sink, Aspect::Passers,
         advancedPassers(board, passed, White) | advancedPassers(board, passed, Black));
    sink.template addConstant<Term::Pawns>(mg, eg);
}

} // namespace Detail

/// Material and placement of everything but the kings, counted from scratch: what the board keeps
/// as sums.
template <class Sink>
void walkMaterial(const Board& board, Sink& sink) {
    const auto addPiecesOfType = [&]<Piece P>() {
        for (const Color c : {White, Black})
            for (Bitboard pieces = board.pieces[c][P]; pieces;) {
                const Square sq = popLowest(pieces);
                const int cell = EvalParams::placementCell(c, sq);
                const int sign = Detail::signOf(c);
                tell(sink, Detail::aspectOf(Aspect::Material, P), c, bit(sq));
                sink.template use<Term::Material, kMaterial[P]>(0, sign);
                tell(sink, Detail::aspectOf(Aspect::Placement, P), c, bit(sq));
                sink.template use<Term::Material, kPlacement[P]>(cell, sign);
                if constexpr (P != Pawn)
                    sink.template use<Term::Material, kPlacementDelta[P]>(cell, sign);
            }
    };
    addPiecesOfType.template operator()<Pawn>();
    addPiecesOfType.template operator()<Knight>();
    addPiecesOfType.template operator()<Bishop>();
    addPiecesOfType.template operator()<Rook>();
    addPiecesOfType.template operator()<Queen>();
}

/// Every term but material and pawn structure; `passed` are the board's passed pawns.
template <class Sink>
void walkPieces(const Board& board, Bitboard passed, Sink& sink) {
    using namespace Detail;
    PieceWalk walk;
    addKings(board, sink);
    addBishopPair(board, sink);
    addSide<White>(board, walk, sink);
    addSide<Black>(board, walk, sink);
    addKingSafety<White>(board, walk, sink);
    addKingSafety<Black>(board, walk, sink);
    addPassers(board, passed, walk, sink);
}

/// The walk of the search: material comes from the board's sums and pawn structure from its entry;
/// everything else is counted.
template <class Sink>
void walkIncremental(const Board& board, const PawnEntry& pawns, Sink& sink) {
    sink.template addPacked<Term::Material>(board.psq);
    sink.template addConstant<Term::Pawns>(pawns.mg, pawns.eg);
    walkPieces(board, pawns.passed, sink);
}

/// The same walk without those shortcuts: each use of each weight is counted.
template <class Sink>
void walkFromScratch(const Board& board, Sink& sink) {
    walkMaterial(board, sink);
    PawnFeatures pawns{};
    const PawnSets sets = computePawnFeatures(board, pawns);
    walkPawnStructure(pawns, sets, sink);
    walkPieces(board, passedPawns(board), sink);
}

} // namespace Eval
