#pragma once

#include "board/board.h"

#include <initializer_list>

/// Rules of the game that the move generator, the tests for legality and the count of leaves share.

// --- pawns ---

/// Where the pawns of a side stand that promote with their next move.
inline constexpr Bitboard kPromotionRank[kColors] = {rankBB(Rank7), rankBB(Rank2)};

/// What a pawn may become, in the order in which moves are generated.
inline constexpr Piece kPromotions[] = {Queen, Rook, Bishop, Knight};

/// Squares where pushed pawns arrive.
struct PawnPushes {
    Bitboard once;
    Bitboard twice;
};

constexpr PawnPushes pawnPushes(Color us, Bitboard pawns, Bitboard empty) {
    constexpr Bitboard kThirdRank[kColors] = {rankBB(Rank3), rankBB(Rank6)};
    const Bitboard once = shiftForward(us, pawns) & empty;
    return {once, shiftForward(us, once & kThirdRank[us]) & empty};
}

// --- castling ---

/// One of the four castling moves and what it needs besides a right.
struct CastlingRule {
    CastlingRight right;
    Move move;      // of the king
    Bitboard empty; // squares that must be empty
    Bitboard safe;  // squares that must not be attacked
};

namespace RulesDetail {

constexpr Bitboard squares(Color c, std::initializer_list<Square> list) {
    Bitboard set = 0;
    for (const Square sq : list)
        set |= bit(relativeSquare(c, sq));
    return set;
}

constexpr CastlingRule kingSideCastling(Color c) {
    return {c == White ? WhiteKingSide : BlackKingSide,
            encodeMove(relativeSquare(c, E1), relativeSquare(c, G1), FlagCastleKing),
            squares(c, {F1, G1}), squares(c, {E1, F1, G1})};
}

// The knight's square may be attacked: only the rook passes over it.
constexpr CastlingRule queenSideCastling(Color c) {
    return {c == White ? WhiteQueenSide : BlackQueenSide,
            encodeMove(relativeSquare(c, E1), relativeSquare(c, C1), FlagCastleQueen),
            squares(c, {B1, C1, D1}), squares(c, {C1, D1, E1})};
}

} // namespace RulesDetail

inline constexpr CastlingRule kKingSideCastling[kColors] = {RulesDetail::kingSideCastling(White),
                                                            RulesDetail::kingSideCastling(Black)};
inline constexpr CastlingRule kQueenSideCastling[kColors] = {RulesDetail::queenSideCastling(White),
                                                             RulesDetail::queenSideCastling(Black)};

/// Whether the right is there and nothing stands between king and rook; attacks are not looked at.
constexpr bool isOpen(const CastlingRule& rule, std::uint8_t castling, Bitboard occupied) {
    return (castling & rule.right) && !(occupied & rule.empty);
}
