#include "search/see.h"

#include <cassert>

namespace {

constexpr int kSeeBound = 1800; // results are clamped to it, up and down

} // namespace

bool seeGE(const Board& board, Move move, int threshold) {
    if (isPromotion(move))
        return threshold <= 0;
    const Square from = fromSquare(move);
    const Square to = toSquare(move);
    assert(board.mailbox[from] != kNoPiece);

    // A capture takes its victim off the target, a quiet move puts a blocker there.
    Bitboard occupied = (board.occupied & ~bit(from)) ^ bit(to);
    int captured = board.mailbox[to] == kNoPiece ? 0 : SEE::kValue[board.mailbox[to]];
    if (isEnPassant(move)) {
        captured = SEE::kValue[Pawn];
        occupied &= ~bit(enPassantVictim(move));
    }
    int swap = captured - threshold;
    if (swap < 0)
        return false;
    swap = SEE::kValue[board.mailbox[from]] - swap;
    if (swap <= 0)
        return true;

    const auto of = [&](Piece p) { return board.pieces[White][p] | board.pieces[Black][p]; };
    const Bitboard diagonal = of(Bishop) | of(Queen);
    const Bitboard straight = of(Rook) | of(Queen);
    Bitboard attackers = board.attackersTo(to, occupied) & occupied;
    Color side = board.sideToMove;
    bool result = true;
    for (;;) {
        side = ~side;
        const Bitboard own = attackers & board.colorBB[side];
        if (!own)
            break;
        result = !result;

        Piece piece = Pawn;
        while (piece < King && !(own & board.pieces[side][piece]))
            piece = static_cast<Piece>(piece + 1);
        if (piece == King) // the king may not capture into an attack
            return (attackers & board.colorBB[~side]) ? !result : result;

        swap = SEE::kValue[piece] - swap;
        if (swap < static_cast<int>(result))
            break;
        occupied ^= bit(lowestSquare(own & board.pieces[side][piece]));
        if (piece == Pawn || piece == Bishop || piece == Queen)
            attackers |= Attacks::bishopAttacks(to, occupied) & diagonal;
        if (piece == Rook || piece == Queen)
            attackers |= Attacks::rookAttacks(to, occupied) & straight;
        attackers &= occupied;
    }
    return result;
}

int see(const Board& board, Move move) {
    const bool gains = seeGE(board, move, 0);
    int low = gains ? 0 : -kSeeBound;
    int high = gains ? kSeeBound : 0;
    while (low < high) {
        const int middle = (low + high + 1) / 2;
        if (seeGE(board, move, middle))
            low = middle;
        else
            high = middle - 1;
    }
    return low;
}
