#pragma once

#include "base/chess.h"

#include <cassert>
#include <cstddef>
#include <cstdint>

/// Attack sets of every piece on every square, filled once at program start and constant from then
/// on. Sliding attacks come from magic bitboards: the relevant occupancy, multiplied and shifted,
/// is the index of the attack set. Where bit extraction is fast (BMI2), the extracted occupancy is
/// the index.
namespace Attacks {

/// One square's part of a sliding-attack table. The four fields share a cache line.
struct alignas(32) MagicEntry {
    Bitboard mask;           // squares whose occupancy matters: the rays without their last squares
    std::uint64_t magic;     // multiplier that maps every subset of the mask to an index
    const Bitboard* attacks; // first attack set of this square
    std::uint32_t shift;     // leaves as many bits as there are squares in the mask

    Bitboard operator()(Bitboard occupancy) const { return attacks[index(occupancy)]; }

    /// Index of an occupancy's attack set in the square's part of the table.
    std::size_t index(Bitboard occupancy) const {
#ifdef MORVANE_PEXT
        // The compiler counts its own function for this as a call and inlines the callers
        // otherwise: then a profile of one kind of build would not fit the other.
        std::size_t extracted;
        asm("pextq %2, %1, %0" : "=r"(extracted) : "r"(occupancy), "rm"(mask));
        return extracted;
#else
        return ((occupancy & mask) * magic) >> shift;
#endif
    }
};

extern Bitboard knightAttacks[kSquares];
extern Bitboard kingAttacks[kSquares];
extern Bitboard
    pawnAttacks[kColors][kSquares]; // filled on every rank: also looked up backwards from a target
extern Bitboard rankMask[kSquares]; // the lines through a square, without the square itself
extern Bitboard fileMask[kSquares];
extern Bitboard diagMask[kSquares];  // the direction a1-h8
extern Bitboard adiagMask[kSquares]; // the direction a8-h1
extern Bitboard rookLines[kSquares]; // both lines of each kind: attacks on an empty board
extern Bitboard bishopLines[kSquares];
extern MagicEntry rookMagic[kSquares];
extern MagicEntry bishopMagic[kSquares];

/// Fills every table here except `gBetweenBB`.
void init();

/// Fills `gBetweenBB`; needs the other tables.
void initBetween();

/// Rook or bishop attacks found by walking each ray square by square, first blocker included: what
/// the tables must return. Slow; for filling and checking them.
Bitboard slidingAttacksRef(Square sq, Bitboard occupancy, bool rook);

inline Bitboard rookAttacks(Square sq, Bitboard occupancy) {
    assert(isOnBoard(sq));
    return rookMagic[sq](occupancy);
}
inline Bitboard bishopAttacks(Square sq, Bitboard occupancy) {
    assert(isOnBoard(sq));
    return bishopMagic[sq](occupancy);
}
inline Bitboard queenAttacks(Square sq, Bitboard occupancy) {
    return rookAttacks(sq, occupancy) | bishopAttacks(sq, occupancy);
}

/// Attacks of a piece whose type is known beforehand; a pawn's need its colour as well.
template <Piece P>
Bitboard attacksOf(Square sq, Bitboard occupancy) {
    static_assert(P != Pawn && P != kNoPiece);
    assert(isOnBoard(sq));
    if constexpr (P == Knight)
        return knightAttacks[sq];
    else if constexpr (P == Bishop)
        return bishopAttacks(sq, occupancy);
    else if constexpr (P == Rook)
        return rookAttacks(sq, occupancy);
    else if constexpr (P == Queen)
        return queenAttacks(sq, occupancy);
    else
        return kingAttacks[sq];
}

} // namespace Attacks

/// Squares strictly between two squares of one rank, file or diagonal; empty for all other pairs.
extern Bitboard gBetweenBB[kSquares][kSquares];
