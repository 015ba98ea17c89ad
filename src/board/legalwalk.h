#pragma once

#include "board/rules.h"

/// The legal moves of a position, found as sets of squares and written once for whatever is done
/// with them: a sink counts them or makes them. The position is a placement of pieces without a
/// board's keys, sums and history. Needs the attack tables and `gBetweenBB`.
namespace LegalWalk {

/// The pieces of one side. A queen is in both sets of sliders: it moves as either, and nobody asks
/// for all moves of one queen at once.
struct Side {
    Bitboard pawns;
    Bitboard knights;
    Bitboard diagonal; // bishops and queens
    Bitboard straight; // rooks and queens
    Bitboard king;

    Bitboard all() const { return pawns | knights | diagonal | straight | king; }
};

/// The set of a side in which a piece moves; a queen moves as a bishop and as a rook.
template <Piece P>
inline constexpr Bitboard Side::*kSet = nullptr;
template <>
inline constexpr Bitboard Side::*kSet<Pawn> = &Side::pawns;
template <>
inline constexpr Bitboard Side::*kSet<Knight> = &Side::knights;
template <>
inline constexpr Bitboard Side::*kSet<Bishop> = &Side::diagonal;
template <>
inline constexpr Bitboard Side::*kSet<Rook> = &Side::straight;
template <>
inline constexpr Bitboard Side::*kSet<King> = &Side::king;

/// A position except for the side to move, which is known beforehand wherever one is used.
struct Position {
    Side sides[kColors];
    Bitboard enPassant;    // the square behind a pawn that just moved two ranks, or nothing
    std::uint8_t castling; // set of `CastlingRight`
};

inline Position positionOf(const Board& board) {
    Position position;
    for (const Color c : {White, Black}) {
        const Bitboard(&own)[kPieces] = board.pieces[c];
        position.sides[c] = {own[Pawn], own[Knight], own[Bishop] | own[Queen],
                             own[Rook] | own[Queen], own[King]};
    }
    const bool anySquare = board.epSquare != kNoSquare;
    position.enPassant = anySquare ? bit(static_cast<Square>(board.epSquare)) : 0;
    position.castling = board.castling;
    return position;
}

/// What the side to move must respect: where a check can be met, and which lines its pinned pieces
/// may not leave. A line of a pin holds the pinned piece, the pinning one, and the squares between
/// that one and the king.
template <Color Us>
struct Node {
    const Position& position;
    const Side& us;
    const Side& them;
    const Bitboard own;
    const Bitboard enemies;
    const Bitboard occupied;
    const Square king;
    Bitboard evasions; // where other pieces than the king may go: everywhere if there is no check
    Bitboard diagonalPins = 0; // squares of all lines of one kind
    Bitboard straightPins = 0;

    explicit Node(const Position& p)
        : position(p),
          us(p.sides[Us]),
          them(p.sides[~Us]),
          own(us.all()),
          enemies(them.all()),
          occupied(own | enemies),
          king(lowestSquare(us.king)),
          evasions(~Bitboard{0}) {
        if (const Bitboard checkers = leapersAttackingKing(them.pawns)) [[unlikely]]
            evasions = moreThanOne(checkers) ? 0 : checkers;
        // Enemies end a line to the king, own pieces do not: they may be pinned.
        lookAlongLines(Attacks::bishopAttacks(king, enemies) & them.diagonal, diagonalPins);
        lookAlongLines(Attacks::rookAttacks(king, enemies) & them.straight, straightPins);
    }

    Bitboard leapersAttackingKing(Bitboard pawns) const {
        return (Attacks::pawnAttacks[Us][king] & pawns) |
               (Attacks::knightAttacks[king] & them.knights);
    }

  private:
    /// Two checkers leave nothing of `evasions`: their lines have no square in common.
    void lookAlongLines(Bitboard sliders, Bitboard& pins) {
        while (sliders) {
            const Square slider = popLowest(sliders);
            const Bitboard line = gBetweenBB[king][slider] | bit(slider);
            const Bitboard blockers = line & own;
            if (!blockers)
                evasions &= line;
            else if (!moreThanOne(blockers))
                pins |= line;
        }
    }
};

/// All squares that a side attacks, those of its own pieces among them.
template <Color By>
Bitboard attackedSquares(const Side& side, Bitboard occupied) {
    Bitboard set = pawnAttackSet(By, side.pawns) | Attacks::kingAttacks[lowestSquare(side.king)];
    for (Bitboard knights = side.knights; knights;)
        set |= Attacks::knightAttacks[popLowest(knights)];
    for (Bitboard sliders = side.diagonal; sliders;)
        set |= Attacks::bishopAttacks(popLowest(sliders), occupied);
    for (Bitboard sliders = side.straight; sliders;)
        set |= Attacks::rookAttacks(popLowest(sliders), occupied);
    return set;
}

/// The king's own moves. What the enemy attacks is found only if the king has anywhere to go, and
/// with the king away: it cannot hide behind itself.
template <Color Us, class Sink>
void walkKing(const Node<Us>& node, Sink& sink) {
    constexpr const CastlingRule& KingSide = kKingSideCastling[Us];
    constexpr const CastlingRule& QueenSide = kQueenSideCastling[Us];
    const std::uint8_t rights = node.position.castling & (KingSide.right | QueenSide.right);
    const bool kingSide = rights && isOpen(KingSide, rights, node.occupied);
    const bool queenSide = rights && isOpen(QueenSide, rights, node.occupied);
    const Bitboard targets = Attacks::kingAttacks[node.king] & ~node.own;
    if (!targets && !kingSide && !queenSide)
        return;
    const Bitboard attacked = attackedSquares<~Us>(node.them, node.occupied ^ node.us.king);
    sink.template moves<King>(node.king, targets & ~attacked);
    if (kingSide && !(attacked & KingSide.safe))
        sink.castle(KingSide.move);
    if (queenSide && !(attacked & QueenSide.safe))
        sink.castle(QueenSide.move);
}

/// Moves of pawns that all promote or none of which does. A pinned pawn stays on its line when it
/// moves in the line's direction, so whole sets are told apart by the king's lines.
template <Color Us, bool Promoting, class Sink>
void walkPawns(const Node<Us>& node, Bitboard pawns, Sink& sink) {
    constexpr int kAhead = forward(Us);
    const Bitboard(&eastward)[kSquares] = Us == White ? Attacks::diagMask : Attacks::adiagMask;
    const Bitboard(&westward)[kSquares] = Us == White ? Attacks::adiagMask : Attacks::diagMask;
    const Square king = node.king;

    const Bitboard pushed =
        pawns & ~node.diagonalPins & ~(node.straightPins & ~Attacks::fileMask[king]);
    const PawnPushes pushes = pawnPushes(Us, pushed, ~node.occupied);
    const Bitboard capturing = pawns & ~node.straightPins;
    const Bitboard prey = node.enemies & node.evasions;
    const Bitboard east =
        pawnAttackSetEast(Us, capturing & ~(node.diagonalPins & ~eastward[king])) & prey;
    const Bitboard west =
        pawnAttackSetWest(Us, capturing & ~(node.diagonalPins & ~westward[king])) & prey;

    if constexpr (Promoting) {
        sink.template promotions<kAhead>(pushes.once & node.evasions);
        sink.template promotions<kAhead + 1>(east);
        sink.template promotions<kAhead - 1>(west);
    } else {
        sink.template pawnMoves<kAhead>(pushes.once & node.evasions);
        sink.template pawnMoves<2 * kAhead>(pushes.twice & node.evasions);
        sink.template pawnMoves<kAhead + 1>(east);
        sink.template pawnMoves<kAhead - 1>(west);
    }
}

/// Two pawns leave their places at once: the position after that is looked at. No such capture
/// meets two checks: its target lies a knight's jump from a king that the taken pawn attacks.
template <Color Us, class Sink>
void walkEnPassant(const Node<Us>& node, Sink& sink) {
    const Square to = lowestSquare(node.position.enPassant);
    for (Bitboard pawns = Attacks::pawnAttacks[~Us][to] & node.us.pawns; pawns;) {
        const Move m = encodeMove(popLowest(pawns), to, FlagEnPassant);
        const Bitboard after = occupiedAfterEnPassant(node.occupied, m);
        if (!node.leapersAttackingKing(node.them.pawns & after) &&
            !(Attacks::bishopAttacks(node.king, after) & node.them.diagonal) &&
            !(Attacks::rookAttacks(node.king, after) & node.them.straight))
            sink.enPassant(m);
    }
}

template <Color Us, class Sink>
void walkKnights(const Node<Us>& node, Bitboard targets, Sink& sink) {
    for (Bitboard free = node.us.knights & ~(node.diagonalPins | node.straightPins); free;) {
        const Square from = popLowest(free);
        sink.template moves<Knight>(from, Attacks::knightAttacks[from] & targets);
    }
}

/// `P` is Bishop or Rook. What is pinned on a line of its own kind stays on that line or has no
/// move of this kind that ends on any such line: they all meet in the king's square alone.
template <Piece P, Color Us, class Sink>
void walkSliders(const Node<Us>& node, Bitboard targets, Sink& sink) {
    const Bitboard pins = P == Bishop ? node.diagonalPins : node.straightPins;
    const Bitboard otherPins = P == Bishop ? node.straightPins : node.diagonalPins;
    const Bitboard sliders = node.us.*kSet<P> & ~otherPins;
    for (Bitboard free = sliders & ~pins; free;) {
        const Square from = popLowest(free);
        sink.template moves<P>(from, Attacks::attacksOf<P>(from, node.occupied) & targets);
    }
    for (Bitboard pinned = sliders & pins; pinned;) {
        const Square from = popLowest(pinned);
        sink.template moves<P>(from, Attacks::attacksOf<P>(from, node.occupied) & targets & pins);
    }
}

/// Hands each legal move of the side to move to the sink, once:
/// - `moves<P>(from, targets)`: moves of one piece, a queen as Bishop and as Rook;
/// - `pawnMoves<Step>(targets)`, `promotions<Step>(targets)`: from `target - Step` to each target,
///   promotions to each of `kPromotions`;
/// - `castle(move)` and `enPassant(move)`.
template <Color Us, class Sink>
void walk(const Position& position, Sink& sink) {
    const Node<Us> node(position);
    walkKing(node, sink);
    if (!node.evasions)
        return;
    const Bitboard promoting = node.us.pawns & kPromotionRank[Us];
    walkPawns<Us, false>(node, node.us.pawns & ~promoting, sink);
    if (promoting)
        walkPawns<Us, true>(node, promoting, sink);
    if (position.enPassant) [[unlikely]]
        walkEnPassant(node, sink);
    const Bitboard targets = node.evasions & ~node.own;
    walkKnights(node, targets, sink);
    walkSliders<Bishop>(node, targets, sink);
    walkSliders<Rook>(node, targets, sink);
}

} // namespace LegalWalk
