#include "eval/masks.h"

#include "board/attacks.h"

#include <algorithm>

namespace Eval {

Bitboard gKingZone[2][64];
Bitboard gKingShield[2][64];
std::uint8_t gFileGroup[8];

namespace {

Bitboard shieldOf(Color c, Square king) {
    Bitboard shield = 0;
    for (const int distance : {1, 2}) {
        const int rank = rankOf(king) + (c == White ? distance : -distance);
        if (rank < 0 || rank > 7)
            continue;
        for (int file = std::max(fileOf(king) - 1, 0); file <= std::min(fileOf(king) + 1, 7);
             ++file)
            shield |= bit(makeSquare(file, rank));
    }
    return shield;
}

} // namespace

void init() {
    Attacks::initBetween();
    for (const Color c : {White, Black})
        for (Square sq = 0; sq < 64; ++sq) {
            gKingShield[c][sq] = shieldOf(c, sq);
            gKingZone[c][sq] = bit(sq) | Attacks::kingAttacks[sq] | gKingShield[c][sq];
        }
    for (int file = 0; file < 8; ++file) {
        const Bitboard square = bit(file);
        gFileGroup[file] =
            static_cast<std::uint8_t>(square | shiftEast(square) | shiftWest(square));
    }
}

} // namespace Eval
