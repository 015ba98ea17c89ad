#include "eval/masks.h"

#include "board/attacks.h"

namespace Eval {

Bitboard gKingZone[kColors][kSquares];
Bitboard gKingShield[kColors][kSquares];
std::uint8_t gFileGroup[kFiles];

namespace {

Bitboard shieldOf(Color c, Square king) {
    const Bitboard near = shiftForward(c, bit(king));
    const Bitboard ahead = near | shiftForward(c, near);
    return ahead | shiftEast(ahead) | shiftWest(ahead);
}

} // namespace

void init() {
    Attacks::initBetween();
    for (const Color c : {White, Black})
        for (Square sq = 0; sq < kSquares; ++sq) {
            gKingShield[c][sq] = shieldOf(c, sq);
            gKingZone[c][sq] = bit(sq) | Attacks::kingAttacks[sq] | gKingShield[c][sq];
        }
    for (int file = FileA; file <= FileH; ++file) {
        const Bitboard squares = fileBB(file);
        gFileGroup[file] =
            static_cast<std::uint8_t>(filesOf(squares | shiftEast(squares) | shiftWest(squares)));
    }
}

} // namespace Eval
