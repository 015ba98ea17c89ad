#include "board/attacks.h"

#include "board/magics.h"

namespace Attacks {

Bitboard knightAttacks[kSquares];
Bitboard kingAttacks[kSquares];
Bitboard pawnAttacks[kColors][kSquares];
Bitboard rankMask[kSquares];
Bitboard fileMask[kSquares];
Bitboard diagMask[kSquares];
Bitboard adiagMask[kSquares];
Bitboard rookLines[kSquares];
Bitboard bishopLines[kSquares];
MagicEntry rookMagic[kSquares];
MagicEntry bishopMagic[kSquares];

namespace {

struct Step {
    int file;
    int rank;
};

constexpr Step kRookSteps[4] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}};
constexpr Step kBishopSteps[4] = {{1, 1}, {-1, 1}, {1, -1}, {-1, -1}};
constexpr Step kKnightSteps[8] = {{1, 2},   {2, 1},   {2, -1}, {1, -2},
                                  {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};
constexpr Step kKingSteps[8] = {{1, 0},  {1, 1},   {0, 1},  {-1, 1},
                                {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
constexpr Step kPawnSteps[kColors][2] = {{{-1, 1}, {1, 1}}, {{-1, -1}, {1, -1}}};

constexpr int kRookTableSize = 102400;
constexpr int kBishopTableSize = 5248;
Bitboard gRookTable[kRookTableSize];
Bitboard gBishopTable[kBishopTableSize];

/// The square one step away, or `kNoSquare` off the board.
Square stepFrom(Square sq, Step step) {
    const int file = fileOf(sq) + step.file;
    const int rank = rankOf(sq) + step.rank;
    const bool onBoard = file >= FileA && file <= FileH && rank >= Rank1 && rank <= Rank8;
    return onBoard ? makeSquare(file, rank) : kNoSquare;
}

template <std::size_t Count>
Bitboard leaperAttacks(Square sq, const Step (&steps)[Count]) {
    Bitboard attacks = 0;
    for (const Step step : steps)
        if (const Square to = stepFrom(sq, step); to != kNoSquare)
            attacks |= bit(to);
    return attacks;
}

Bitboard ray(Square sq, Step step, Bitboard occupancy) {
    Bitboard squares = 0;
    for (Square to = stepFrom(sq, step); to != kNoSquare; to = stepFrom(to, step)) {
        squares |= bit(to);
        if (occupancy & bit(to))
            break;
    }
    return squares;
}

Bitboard line(Square sq, Step step) {
    return ray(sq, step, 0) | ray(sq, {-step.file, -step.rank}, 0);
}

/// The squares of the four rays whose occupancy matters: all but the last of each.
Bitboard relevantOccupancy(Square sq, bool rook) {
    Bitboard mask = 0;
    for (const Step step : rook ? kRookSteps : kBishopSteps)
        for (Square to = stepFrom(sq, step); to != kNoSquare; to = stepFrom(to, step))
            if (stepFrom(to, step) != kNoSquare)
                mask |= bit(to);
    return mask;
}

void initLeapersAndLines() {
    for (Square sq = 0; sq < kSquares; ++sq) {
        knightAttacks[sq] = leaperAttacks(sq, kKnightSteps);
        kingAttacks[sq] = leaperAttacks(sq, kKingSteps);
        pawnAttacks[White][sq] = leaperAttacks(sq, kPawnSteps[White]);
        pawnAttacks[Black][sq] = leaperAttacks(sq, kPawnSteps[Black]);
        rankMask[sq] = line(sq, {1, 0});
        fileMask[sq] = line(sq, {0, 1});
        diagMask[sq] = line(sq, {1, 1});
        adiagMask[sq] = line(sq, {-1, 1});
        rookLines[sq] = rankMask[sq] | fileMask[sq];
        bishopLines[sq] = diagMask[sq] | adiagMask[sq];
    }
}

/// Gives every square its slice of `table`, in square order, and fills it.
void initSliders(MagicEntry (&entries)[kSquares], const std::uint64_t (&magics)[kSquares],
                 Bitboard* table, bool rook) {
    for (Square sq = 0; sq < kSquares; ++sq) {
        const Bitboard mask = relevantOccupancy(sq, rook);
        const int bits = popcount(mask);
        const auto shift = static_cast<std::uint32_t>(kSquares - bits);
        entries[sq] = {mask, magics[sq], table, shift};

        Bitboard subset = 0;
        do {
            table[entries[sq].index(subset)] = slidingAttacksRef(sq, subset, rook);
            subset = (subset - mask) & mask; // the next subset of the mask, 0 after the last
        } while (subset != 0);
        table += std::size_t{1} << bits;
    }
}

} // namespace

Bitboard slidingAttacksRef(Square sq, Bitboard occupancy, bool rook) {
    Bitboard attacks = 0;
    for (const Step step : rook ? kRookSteps : kBishopSteps)
        attacks |= ray(sq, step, occupancy);
    return attacks;
}

void init() {
    initLeapersAndLines();
    initSliders(rookMagic, kRookMagic, gRookTable, true);
    initSliders(bishopMagic, kBishopMagic, gBishopTable, false);
}

void initBetween() {
    for (Square a = 0; a < kSquares; ++a)
        for (Square b = 0; b < kSquares; ++b) {
            if (rookLines[a] & bit(b))
                gBetweenBB[a][b] = rookAttacks(a, bit(b)) & rookAttacks(b, bit(a));
            else if (bishopLines[a] & bit(b))
                gBetweenBB[a][b] = bishopAttacks(a, bit(b)) & bishopAttacks(b, bit(a));
        }
}

} // namespace Attacks

Bitboard gBetweenBB[kSquares][kSquares];
