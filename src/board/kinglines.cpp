#include "board/kinglines.h"

#include "board/makemove-inl.h"

/// A single checker must be captured or its line blocked; in double check only the king may move.
Bitboard LegalityInfo::evasionTargets() const {
    const Bitboard checkers =
        board_.attackersTo(king_, board_.occupied) & board_.colorBB[~board_.sideToMove];
    return moreThanOne(checkers) ? 0 : checkers | gBetweenBB[king_][lowestSquare(checkers)];
}

/// King moves and en passant.
bool LegalityInfo::isLegalKingMoveOrEnPassant(Move m) const {
    const Color them = ~board_.sideToMove;
    const Square from = fromSquare(m);
    const Square to = toSquare(m);
    if (from == king_) // castling is only generated where no square on the king's way is attacked
        return isCastling(m) || !board_.isAttacked(to, them, board_.occupied ^ bit(from));
    const Bitboard after = occupiedAfterEnPassant(board_.occupied, m);
    return !(board_.attackersTo(king_, after) & board_.colorBB[them] & after);
}

/// Moves that change more than two squares or the kind of a piece.
bool CheckInfo::specialGivesCheck(Move m) const {
    const Color us = board_.sideToMove;
    const Square from = fromSquare(m);
    const Square to = toSquare(m);
    if (isCastling(m)) {
        const MoveDetail::RookMove rook = MoveDetail::castlingRook(us, m);
        const Bitboard after = board_.occupied ^ bit(from) ^ bit(to) ^ bit(rook.from);
        return (Attacks::rookAttacks(rook.to, after) & bit(king_)) != 0;
    }
    const Bitboard(&own)[kPieces] = board_.pieces[us];
    Bitboard after = (board_.occupied ^ bit(from)) | bit(to);
    Bitboard direct = squares_[Pawn];
    if (isEnPassant(m)) {
        after = occupiedAfterEnPassant(board_.occupied, m);
    } else {
        const Bitboard attacks[] = {Attacks::knightAttacks[to], Attacks::bishopAttacks(to, after),
                                    Attacks::rookAttacks(to, after),
                                    Attacks::queenAttacks(to, after)};
        direct = attacks[promotedPiece(m) - Knight] & bit(king_) ? bit(to) : 0;
    }
    return (direct & bit(to)) ||
           ((own[Bishop] | own[Queen]) & Attacks::bishopAttacks(king_, after)) ||
           ((own[Rook] | own[Queen]) & Attacks::rookAttacks(king_, after));
}
