#pragma once

#include "base/chess.h"

#include <cassert>
#include <cstdint>
#include <string>
#include <string_view>

/// An encoded move: from square in bits 0-5, to square in bits 6-11, `MoveFlag` in bits 12-15.
/// Higher bits are zero. The value 0 is no move, or the null move.
using Move = std::uint32_t;

enum MoveFlag : std::uint32_t {
    FlagQuiet = 0,
    FlagDoublePush = 1,
    FlagCastleKing = 2,
    FlagCastleQueen = 3,
    FlagCapture = 4,
    FlagEnPassant = 5,         // the two flags behind it are unused
    FlagPromotion = 8,         // plus the promoted piece counted from the knight
    FlagCapturePromotion = 12, // likewise
};

/// Where the parts of a move lie in its code.
namespace MoveCode {

inline constexpr int kToShift = 6;
inline constexpr int kFlagShift = 12;
inline constexpr Move kSquareMask = kSquares - 1;
inline constexpr Move kFromToMask = (Move{1} << kFlagShift) - 1;
inline constexpr Move kFlagMask = Move{15} << kFlagShift;

constexpr Move flagBits(std::uint32_t flag) {
    return flag << kFlagShift;
}

// The two flags of castling differ in one bit.
inline constexpr Move kCastlingMask = kFlagMask & ~flagBits(FlagCastleKing ^ FlagCastleQueen);

} // namespace MoveCode

// One bit of the flag says capture and one promotion, whatever the others are.
inline constexpr Move kCaptureBit = MoveCode::flagBits(FlagCapture);
inline constexpr Move kPromotionBit = MoveCode::flagBits(FlagPromotion);

constexpr Square fromSquare(Move m) {
    return static_cast<Square>(m & MoveCode::kSquareMask);
}
constexpr Square toSquare(Move m) {
    return static_cast<Square>((m >> MoveCode::kToShift) & MoveCode::kSquareMask);
}
constexpr std::uint32_t moveFlag(Move m) {
    return (m & MoveCode::kFlagMask) >> MoveCode::kFlagShift;
}
constexpr bool isCapture(Move m) {
    return (m & kCaptureBit) != 0;
}
constexpr bool isPromotion(Move m) {
    return (m & kPromotionBit) != 0;
}
constexpr bool isCaptureOrPromotion(Move m) {
    return (m & (kCaptureBit | kPromotionBit)) != 0;
}
constexpr bool isCastling(Move m) {
    return (m & MoveCode::kCastlingMask) == MoveCode::flagBits(FlagCastleKing);
}
constexpr bool isEnPassant(Move m) {
    return (m & MoveCode::kFlagMask) == MoveCode::flagBits(FlagEnPassant);
}

/// Piece that a promotion turns the pawn into.
constexpr Piece promotedPiece(Move m) {
    constexpr std::uint32_t kPieceMask = 3; // of a promotion's flag
    return static_cast<Piece>(Knight + (moveFlag(m) & kPieceMask));
}

/// Square of the pawn that an en-passant capture takes: beside the capturing pawn, on the file
/// where it goes.
constexpr Square enPassantVictim(Move m) {
    return makeSquare(fileOf(toSquare(m)), rankOf(fromSquare(m)));
}

/// Squares that are occupied after an en-passant capture.
constexpr Bitboard occupiedAfterEnPassant(Bitboard occupied, Move m) {
    return (occupied ^ bit(fromSquare(m)) ^ bit(enPassantVictim(m))) | bit(toSquare(m));
}

constexpr Move encodeMove(Square from, Square to, std::uint32_t flag = FlagQuiet) {
    assert(isOnBoard(from) && isOnBoard(to) && MoveCode::flagBits(flag) <= MoveCode::kFlagMask);
    return static_cast<Move>(from) | static_cast<Move>(to) << MoveCode::kToShift |
           MoveCode::flagBits(flag);
}

/// Moves in the order in which they were generated. No placement that a FEN can describe gives a
/// side more than 512 pseudo-legal moves, so generators append without asking for room.
struct MoveList {
    static constexpr int kCapacity = 512;

    Move moves[kCapacity];
    std::int32_t count = 0;

    MoveList() {} // leaves the moves unset: a list is filled far more often than read in full

    void add(Move m) {
        assert(count < kCapacity);
        moves[count++] = m;
    }
    const Move* begin() const { return moves; }
    const Move* end() const { return moves + count; }
};

/// Adds the name of a square, as "e4".
void appendSquare(std::string& text, Square sq);

/// Coordinate notation: "e2e4", "e7e8q", castling as the king's move, "0000" for no move.
std::string moveToString(Move m);

/// Reads a move in coordinate notation without looking at a board: only the squares and the
/// promoted piece are filled in. What follows the fifth character is ignored. Returns 0 on failure.
Move parseUCIMove(std::string_view text);
