#include "board/kinglines.h"
#include "board/rules.h"

namespace {

bool noneAttacked(const Board& board, Bitboard set, Color by) {
    while (set)
        if (board.isAttacked(popLowest(set), by))
            return false;
    return true;
}

constexpr bool isUnused(std::uint32_t flag) {
    return flag > FlagEnPassant && flag < FlagPromotion;
}

bool haveSameSquares(Move a, Move b) {
    return ((a ^ b) & MoveCode::kFromToMask) == 0;
}

bool isPseudoLegalCastling(const Board& board, Move m) {
    const Color us = board.sideToMove;
    if (!(board.pieces[us][King] & bit(fromSquare(m))))
        return false;
    if (moveFlag(m) == FlagCastleKing)
        return haveSameSquares(m, kKingSideCastling[us].move) && board.canCastleKS(us);
    return haveSameSquares(m, kQueenSideCastling[us].move) && board.canCastleQS(us);
}

/// Attacks of a piece other than a pawn on the current occupancy.
Bitboard pieceAttacks(const Board& board, Piece piece, Square sq) {
    switch (piece) {
    case Knight:
        return Attacks::knightAttacks[sq];
    case Bishop:
        return Attacks::bishopAttacks(sq, board.occupied);
    case Rook:
        return Attacks::rookAttacks(sq, board.occupied);
    case Queen:
        return Attacks::queenAttacks(sq, board.occupied);
    default:
        return Attacks::kingAttacks[sq];
    }
}

} // namespace

bool Board::canCastleKS(Color c) const {
    return isOpen(kKingSideCastling[c], castling, occupied) &&
           noneAttacked(*this, kKingSideCastling[c].safe, ~c);
}

bool Board::canCastleQS(Color c) const {
    return isOpen(kQueenSideCastling[c], castling, occupied) &&
           noneAttacked(*this, kQueenSideCastling[c].safe, ~c);
}

template <Color Us>
bool Board::isPseudoLegalPawnMove(Move m) const {
    constexpr Color Them = ~Us;
    const Square from = fromSquare(m);
    const Square to = toSquare(m);
    const std::uint32_t flag = moveFlag(m);

    if (isPromotion(m) != (relativeRank(Us, from) == Rank7))
        return false;
    if (flag == FlagEnPassant)
        return static_cast<std::uint32_t>(to) == epSquare &&
               (Attacks::pawnAttacks[Them][to] & bit(from));
    if (isCapture(m))
        return (Attacks::pawnAttacks[Us][from] & bit(to)) && (colorBB[Them] & bit(to));
    if (occupied & bit(to))
        return false;
    if (flag == FlagDoublePush)
        return relativeRank(Us, from) == Rank2 && to == from + 2 * forward(Us) &&
               !(occupied & bit(from + forward(Us)));
    return to == from + forward(Us);
}

bool Board::isPseudoLegal(Move m) const {
    const Color us = sideToMove;
    const Square from = fromSquare(m);
    const Square to = toSquare(m);
    const std::uint32_t flag = moveFlag(m);

    if (m == 0 || from == to || isUnused(flag) || !(colorBB[us] & bit(from)))
        return false;
    if (isCastling(m))
        return isPseudoLegalCastling(*this, m);
    if (colorBB[us] & bit(to))
        return false;
    const Piece piece = mailbox[from];
    if (piece == Pawn)
        return us == White ? isPseudoLegalPawnMove<White>(m) : isPseudoLegalPawnMove<Black>(m);
    if (flag != FlagQuiet && flag != FlagCapture)
        return false;
    if (isCapture(m) != ((colorBB[~us] & bit(to)) != 0))
        return false;
    return (pieceAttacks(*this, piece, from) & bit(to)) != 0;
}

bool Board::isLegal(Move m) const {
    return LegalityInfo(*this, inCheck(sideToMove)).isLegal(m);
}

bool Board::quietGivesCheck(Move m) const {
    return CheckInfo(*this).givesCheck(m);
}
