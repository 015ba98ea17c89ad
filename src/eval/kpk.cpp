#include "eval/endgame.h"

#include <cassert>

/// King and pawn against king by retrograde analysis. The strong side is White and its pawn stands
/// on files a to d. Positions are handled 64 at a time: a bitboard holds one bit for each square of
/// the weak king, so a king move of all of them is a shift.
///
/// A position counts as won only if the win is proved: the wins are the least set closed under the
/// two rules below, so the order in which positions are visited does not matter.

namespace Endgame {

std::uint32_t gKPK[kKPKPositions / kKPKWordBits];

namespace {

// A pawn's slot: its file, and its rank counted down from the seventh.
constexpr int kSlotFiles = FileD + 1;
constexpr int kPawnSquares = kKPKPawnSquares;

// Positions of the parts of an index above the strong king's square.
constexpr int kWeakKingShift = 6;
constexpr int kSideShift = 12;
constexpr int kSlotShift = 13;

static_assert(kPawnSquares == kSlotFiles * (Rank7 - Rank2 + 1));
static_assert(kKPKPositions == kPawnSquares << kSlotShift);

/// Sets of weak-king squares by pawn and strong king.
using WeakKings = Bitboard[kPawnSquares][kSquares];

struct Workspace {
    WeakKings strongToMove; // proved wins, the strong side to move
    WeakKings weakToMove;   // proved wins, the weak side to move
    WeakKings legalStrong;  // positions that exist with the strong side to move
    WeakKings openWeak;     // with the weak side to move, neither impossible nor drawn at once
};

Square pawnSquare(int slot) {
    return makeSquare(slot % kSlotFiles, Rank7 - slot / kSlotFiles);
}
int slotOf(Square pawn) {
    assert(fileOf(pawn) <= FileD && rankOf(pawn) >= Rank2 && rankOf(pawn) <= Rank7);
    return fileOf(pawn) + kSlotFiles * (Rank7 - rankOf(pawn));
}
bool isOnSeventh(int slot) {
    return slot < kSlotFiles;
}

/// Squares that a king reaches in one move from any square of the set.
Bitboard reachedBy(Bitboard kings) {
    const Bitboard row = shiftEast(kings) | shiftWest(kings);
    const Bitboard column = kings | row;
    return row | shiftForward(White, column) | shiftForward(Black, column);
}

/// Weak kings for which the pawn on the seventh rank promotes and survives.
Bitboard promotionWins(Square pawn, Square strongKing) {
    const Square queening = pawn + forward(White);
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

    // Drawn at once: stalemate, or the pawn is lost.
    const Bitboard refuge = ~(strongReach | pawnAttacks);
    Bitboard drawn = ~reachedBy(refuge);
    if (!(strongReach & bit(pawn)))
        drawn |= reachedBy(bit(pawn));
    w.openWeak[slot][strongKing] = apart & ~drawn;
    w.weakToMove[slot][strongKing] = 0;
}

/// The strong side wins if one of its moves does: a king move, a push, a double push. On the
/// seventh rank only promotion at once counts, which `classify` covers.
Bitboard strongWins(int slot, Square strongKing, const Workspace& w) {
    const Square pawn = pawnSquare(slot);
    Bitboard wins = 0;
    for (Bitboard moves = reachedBy(bit(strongKing)) & ~bit(pawn); moves;)
        wins |= w.weakToMove[slot][popLowest(moves)];
    const Square once = pawn + forward(White);
    if (!isOnSeventh(slot) && strongKing != once) {
        const Square twice = once + forward(White);
        wins |= w.weakToMove[slotOf(once)][strongKing];
        if (rankOf(pawn) == Rank2 && strongKing != twice)
            wins |= w.weakToMove[slotOf(twice)][strongKing] & ~bit(once);
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
        for (Square king = 0; king < kSquares; ++king) {
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
    assert(isOnBoard(strongKing) && isOnBoard(weakKing));
    return strongKing | weakKing << kWeakKingShift | sideToMove << kSideShift | slot << kSlotShift;
}

void record(int slot, Color sideToMove, Square strongKing, Bitboard weakKings) {
    while (weakKings) {
        const int i = index(slot, sideToMove, strongKing, popLowest(weakKings));
        gKPK[i / kKPKWordBits] |= 1U << (i % kKPKWordBits);
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
        for (Square king = 0; king < kSquares; ++king)
            classify(slot, king, workspace);
    while (improve(workspace)) {
    }
    for (int slot = 0; slot < kPawnSquares; ++slot)
        for (Square king = 0; king < kSquares; ++king) {
            record(slot, White, king, workspace.strongToMove[slot][king]);
            record(slot, Black, king, workspace.weakToMove[slot][king]);
        }
}

bool kpkWin(Color strong, Square strongKing, Square pawn, Square weakKing, Color sideToMove) {
    const Detail::Normalizer normal(strong, pawn);
    const Color mover = sideToMove == strong ? White : Black;
    const int i = index(slotOf(normal(pawn)), mover, normal(strongKing), normal(weakKing));
    return (gKPK[i / kKPKWordBits] >> (i % kKPKWordBits)) & 1;
}

} // namespace Endgame
