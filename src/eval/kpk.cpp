#include "eval/endgame.h"

/// King and pawn against king by retrograde analysis. The strong side is White and its pawn stands
/// on files a to d. Positions are handled 64 at a time: a bitboard holds one bit for each square of
/// the weak king, so a king move of all of them is a shift.
///
/// A position counts as won only if the win is proved: the wins are the least set closed under the
/// two rules below, so the order in which positions are visited does not matter.

namespace Endgame {

std::uint32_t gKPK[kKPKPositions / 32];

namespace {

constexpr int kPawnSquares = 24;

/// Sets of weak-king squares by pawn and strong king.
using WeakKings = Bitboard[kPawnSquares][64];

struct Workspace {
    WeakKings strongToMove; // proved wins, the strong side to move
    WeakKings weakToMove;   // proved wins, the weak side to move
    WeakKings legalStrong;  // positions that exist with the strong side to move
    WeakKings openWeak;     // with the weak side to move, neither impossible nor drawn at once
};

Square pawnSquare(int slot) {
    return 48 + (slot & 3) - 8 * (slot >> 2);
}
bool isOnSeventh(int slot) {
    return slot < 4;
}

/// Squares that a king reaches in one move from any square of the set.
Bitboard reachedBy(Bitboard kings) {
    const Bitboard row = shiftEast(kings) | shiftWest(kings);
    const Bitboard column = kings | row;
    return row | column << 8 | column >> 8;
}

/// Weak kings for which the pawn on the seventh rank promotes and survives.
Bitboard promotionWins(Square pawn, Square strongKing) {
    const Square queening = pawn + 8;
    if (strongKing == queening)
        return 0;
    const bool guarded = chebyshev(strongKing, queening) == 1;
    return guarded ? ~Bitboard{0} : ~(bit(queening) | reachedBy(bit(queening)));
}

void classify(int slot, Square strongKing, Workspace& w) {
    const Square pawn = pawnSquare(slot);
    const Bitboard strongReach = reachedBy(bit(strongKing));
    const Bitboard pawnAttacks = pawnAttackSet(White, bit(pawn));
    Bitboard apart = ~(strongReach | bit(strongKing) | bit(pawn));
    if (strongKing == pawn)
        apart = 0;

    w.legalStrong[slot][strongKing] = apart & ~pawnAttacks;
    w.strongToMove[slot][strongKing] =
        isOnSeventh(slot) ? apart & ~pawnAttacks & promotionWins(pawn, strongKing) : 0;

    // Drawn at once: stalemate, or the pawn falls.
    const Bitboard refuge = ~(strongReach | pawnAttacks);
    Bitboard drawn = ~reachedBy(refuge);
    if (!(strongReach & bit(pawn)))
        drawn |= reachedBy(bit(pawn));
    w.openWeak[slot][strongKing] = apart & ~drawn;
    w.weakToMove[slot][strongKing] = 0;
}

/// The strong side wins if one of its moves does: a king move, a push, a double push. On the
/// seventh rank only promotion at once counts, which `classify` has seen to.
Bitboard strongWins(int slot, Square strongKing, const Workspace& w) {
    const Square pawn = pawnSquare(slot);
    Bitboard wins = 0;
    for (Bitboard moves = reachedBy(bit(strongKing)) & ~bit(pawn); moves;)
        wins |= w.weakToMove[slot][popLowest(moves)];
    if (!isOnSeventh(slot) && strongKing != pawn + 8) {
        wins |= w.weakToMove[slot - 4][strongKing];
        if (rankOf(pawn) == 1 && strongKing != pawn + 16)
            wins |= w.weakToMove[slot - 8][strongKing] & ~bit(pawn + 8);
    }
    return wins & w.legalStrong[slot][strongKing];
}

/// The weak side loses if every position that it can move to is won.
Bitboard weakLosses(int slot, Square strongKing, const Workspace& w) {
    const Bitboard escapes = w.legalStrong[slot][strongKing] & ~w.strongToMove[slot][strongKing];
    return w.openWeak[slot][strongKing] & ~reachedBy(escapes);
}

bool improve(Workspace& w) {
    bool changed = false;
    for (int slot = 0; slot < kPawnSquares; ++slot)
        for (Square king = 0; king < 64; ++king) {
            const Bitboard wins = w.strongToMove[slot][king] | strongWins(slot, king, w);
            changed |= wins != w.strongToMove[slot][king];
            w.strongToMove[slot][king] = wins;
            const Bitboard losses = w.weakToMove[slot][king] | weakLosses(slot, king, w);
            changed |= losses != w.weakToMove[slot][king];
            w.weakToMove[slot][king] = losses;
        }
    return changed;
}

int index(int slot, Color sideToMove, Square strongKing, Square weakKing) {
    return strongKing | weakKing << 6 | sideToMove << 12 | slot << 13;
}

void record(int slot, Color sideToMove, Square strongKing, Bitboard weakKings) {
    while (weakKings) {
        const int i = index(slot, sideToMove, strongKing, popLowest(weakKings));
        gKPK[i / 32] |= 1U << (i % 32);
    }
}

} // namespace

void init() {
    static bool built = false;
    if (built)
        return;
    built = true;

    static Workspace workspace;
    for (int slot = 0; slot < kPawnSquares; ++slot)
        for (Square king = 0; king < 64; ++king)
            classify(slot, king, workspace);
    while (improve(workspace)) {
    }
    for (int slot = 0; slot < kPawnSquares; ++slot)
        for (Square king = 0; king < 64; ++king) {
            record(slot, White, king, workspace.strongToMove[slot][king]);
            record(slot, Black, king, workspace.weakToMove[slot][king]);
        }
}

bool kpkWin(Color strong, Square strongKing, Square pawn, Square weakKing, Color sideToMove) {
    const int mirror = (strong == White ? 0 : 56) ^ (fileOf(pawn) > 3 ? 7 : 0);
    const Square p = pawn ^ mirror;
    const int slot = fileOf(p) | (6 - rankOf(p)) << 2;
    const Color mover = sideToMove == strong ? White : Black;
    const int i = index(slot, mover, strongKing ^ mirror, weakKing ^ mirror);
    return (gKPK[i / 32] >> (i % 32)) & 1;
}

} // namespace Endgame
