#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

/// Squares run from a1 = 0 along the ranks to h8 = 63; `kNoSquare` stands for none.
using Square = int;

/// A set of squares: bit n is square n.
using Bitboard = std::uint64_t;

enum Color : std::int32_t { White = 0, Black = 1 };

/// Piece types without colour. `kNoPiece` marks an empty square or nothing captured.
enum Piece : std::int32_t { Pawn = 0, Knight, Bishop, Rook, Queen, King, kNoPiece };

inline constexpr Square kNoSquare = 64;

/// Piece letters in the order of `Piece`; upper case stands for White in a FEN.
inline constexpr std::string_view kPieceLetters = "pnbrqk";

constexpr Color operator~(Color c) {
    return static_cast<Color>(c ^ 1);
}

// clang-format off
enum SquareName : Square {
    A1, B1, C1, D1, E1, F1, G1, H1,
    A8 = 56, B8, C8, D8, E8, F8, G8, H8,
};
// clang-format on

constexpr int fileOf(Square sq) {
    return sq & 7;
}
constexpr int rankOf(Square sq) {
    return sq >> 3;
}
constexpr Square makeSquare(int file, int rank) {
    return file + 8 * rank;
}
constexpr Bitboard bit(Square sq) {
    return Bitboard{1} << sq;
}

/// A square or rank as the given side sees it: its own first rank is rank 0.
constexpr int relativeRank(Color c, Square sq) {
    return c == White ? rankOf(sq) : 7 - rankOf(sq);
}

/// The square one rank ahead is `sq + forward(c)`.
constexpr int forward(Color c) {
    return c == White ? 8 : -8;
}

inline constexpr Bitboard kFileA = 0x0101010101010101ULL;
inline constexpr Bitboard kFileH = kFileA << 7;
inline constexpr Bitboard kRank1 = 0xFF;

constexpr Bitboard fileBB(int file) {
    return kFileA << file;
}
constexpr Bitboard rankBB(int rank) {
    return kRank1 << (8 * rank);
}

constexpr Bitboard shiftEast(Bitboard b) {
    return (b & ~kFileH) << 1;
}
constexpr Bitboard shiftWest(Bitboard b) {
    return (b & ~kFileA) >> 1;
}
constexpr Bitboard shiftForward(Color c, Bitboard b) {
    return c == White ? b << 8 : b >> 8;
}

/// One bit, of eight, for each file that holds a square of the set.
constexpr unsigned filesOf(Bitboard b) {
    b |= b >> 32;
    b |= b >> 16;
    b |= b >> 8;
    return static_cast<unsigned>(b & 0xFF);
}

/// All squares that the pawns of one side attack.
constexpr Bitboard pawnAttackSet(Color c, Bitboard pawns) {
    const Bitboard ahead = shiftForward(c, pawns);
    return shiftEast(ahead) | shiftWest(ahead);
}

constexpr int popcount(Bitboard b) {
    return std::popcount(b);
}
constexpr Square lowestSquare(Bitboard b) {
    return std::countr_zero(b);
}
constexpr bool moreThanOne(Bitboard b) {
    return (b & (b - 1)) != 0;
}

/// Removes the lowest square from a non-empty set and returns it.
constexpr Square popLowest(Bitboard& b) {
    const Square sq = lowestSquare(b);
    b &= b - 1;
    return sq;
}

/// Steps that a king needs from one square to the other on an empty board.
constexpr int chebyshev(Square a, Square b) {
    const int files = fileOf(a) > fileOf(b) ? fileOf(a) - fileOf(b) : fileOf(b) - fileOf(a);
    const int ranks = rankOf(a) > rankOf(b) ? rankOf(a) - rankOf(b) : rankOf(b) - rankOf(a);
    return files > ranks ? files : ranks;
}

/// Whether two squares have the same colour is whether this agrees; true for light squares.
constexpr bool isLight(Square sq) {
    return ((fileOf(sq) + rankOf(sq)) & 1) != 0;
}

/// An encoded move: from square in bits 0-5, to square in bits 6-11, `MoveFlag` in bits 12-15.
/// Higher bits are zero. The value 0 is no move, or the null move.
using Move = std::uint32_t;

enum MoveFlag : std::uint32_t {
    FlagQuiet = 0,
    FlagDoublePush = 1,
    FlagCastleKing = 2,
    FlagCastleQueen = 3,
    FlagCapture = 4,
    FlagEnPassant = 5,
    FlagPromotion = 8,         // plus the promoted piece counted from the knight
    FlagCapturePromotion = 12, // likewise
};

inline constexpr Move kCaptureBit = 0x4000;
inline constexpr Move kPromotionBit = 0x8000;

constexpr Square fromSquare(Move m) {
    return static_cast<Square>(m & 63);
}
constexpr Square toSquare(Move m) {
    return static_cast<Square>((m >> 6) & 63);
}
constexpr std::uint32_t moveFlag(Move m) {
    return (m >> 12) & 15;
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
    return (m & 0xE000) == 0x2000;
}
constexpr bool isEnPassant(Move m) {
    return (m & 0xF000) == 0x5000;
}

/// Piece that a promotion turns the pawn into.
constexpr Piece promotedPiece(Move m) {
    return static_cast<Piece>(Knight + (moveFlag(m) & 3));
}

/// Square of the pawn that an en-passant capture takes.
constexpr Square enPassantVictim(Move m) {
    return (fromSquare(m) & 56) | (toSquare(m) & 7);
}

constexpr Move encodeMove(Square from, Square to, std::uint32_t flag = FlagQuiet) {
    return static_cast<Move>(from) | static_cast<Move>(to) << 6 | flag << 12;
}

/// Moves in the order in which they were generated. Generators append and never check: no
/// placement that a FEN can describe gives a side more than 512 pseudo-legal moves.
struct MoveList {
    static constexpr int kCapacity = 512;

    Move moves[kCapacity];
    std::int32_t count = 0;

    MoveList() {} // leaves the moves unset: a list is filled far more often than read in full

    void add(Move m) { moves[count++] = m; }
    const Move* begin() const { return moves; }
    const Move* end() const { return moves + count; }
};

/// Coordinate notation: "e2e4", "e7e8q", castling as the king's move, "0000" for no move.
std::string moveToString(Move m);

/// Reads a move in coordinate notation without looking at a board: only the squares and the
/// promoted piece are filled in. What follows the fifth character is ignored. Returns 0 on failure.
Move parseUCIMove(std::string_view text);
