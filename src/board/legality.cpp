#include "board/kinglines.h"

namespace {

constexpr Bitboard squares(std::initializer_list<Square> list) {
    Bitboard set = 0;
    for (const Square sq : list)
        set |= bit(sq);
    return set;
}

// Squares that must not be attacked, and squares that must be empty, by colour. On the queen's side
// the knight's square may be attacked: only the rook passes over it.
constexpr Bitboard kCastleKingSafe[kColors] = {squares({E1, F1, G1}), squares({E8, F8, G8})};
constexpr Bitboard kCastleQueenSafe[kColors] = {squares({C1, D1, E1}), squares({C8, D8, E8})};
constexpr Bitboard kCastleKingOcc[kColors] = {squares({F1, G1}), squares({F8, G8})};
constexpr Bitboard kCastleQueenOcc[kColors] = {squares({B1, C1, D1}), squares({B8, C8, D8})};

constexpr std::uint8_t kKingSideRight[kColors] = {WhiteKingSide, BlackKingSide};
constexpr std::uint8_t kQueenSideRight[kColors] = {WhiteQueenSide, BlackQueenSide};

bool noneAttacked(const Board& board, Bitboard set, Color by) {
    while (set)
        if (board.isAttacked(popLowest(set), by))
            return false;
    return true;
}

constexpr bool isUnused(std::uint32_t flag) {
    return flag > FlagEnPassant && flag < FlagPromotion;
}

bool isPseudoLegalCastling(const Board& board, Move m) {
    const Color us = board.sideToMove;
    const Square home = relativeSquare(us, E1);
    if (fromSquare(m) != home || !(board.pieces[us][King] & bit(home)))
        return false;
    if (moveFlag(m) == FlagCastleKing)
        return toSquare(m) == relativeSquare(us, G1) && board.canCastleKS(us);
    return toSquare(m) == relativeSquare(us, C1) && board.canCastleQS(us);
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
    return (castling & kKingSideRight[c]) && !(occupied & kCastleKingOcc[c]) &&
           noneAttacked(*this, kCastleKingSafe[c], ~c);
}

bool Board::canCastleQS(Color c) const {
    return (castling & kQueenSideRight[c]) && !(occupied & kCastleQueenOcc[c]) &&
           noneAttacked(*this, kCastleQueenSafe[c], ~c);
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
