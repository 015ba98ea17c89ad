#pragma once

#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// The vocabulary of chess that every layer shares: colours, pieces, squares and sets of squares.

enum Color : std::int32_t { White = 0, Black = 1 };
inline constexpr int kColors = 2;

constexpr Color operator~(Color c) {
    return static_cast<Color>(c ^ 1);
}

/// Piece types without colour. `kNoPiece` marks an empty square or nothing captured.
enum Piece : std::int32_t { Pawn = 0, Knight, Bishop, Rook, Queen, King, kNoPiece };
inline constexpr int kPieces = 6;

/// Piece letters in the order of `Piece`.
inline constexpr std::string_view kPieceLetters = "pnbrqk";

/// Letter of a piece in a FEN: White's are upper case.
constexpr char pieceLetter(Color c, Piece p) {
    assert(p >= Pawn && p <= King);
    const char letter = kPieceLetters[static_cast<std::size_t>(p)];
    return c == White ? static_cast<char>(letter - 'a' + 'A') : letter;
}

// --- squares ---

/// Squares run from a1 = 0 along the ranks to h8 = 63; `kNoSquare` stands for none.
using Square = int;
inline constexpr int kSquares = 64;
inline constexpr Square kNoSquare = kSquares;

// clang-format off
enum SquareName : Square {
    A1, B1, C1, D1, E1, F1, G1, H1,
    A8 = 56, B8, C8, D8, E8, F8, G8, H8,
};
// clang-format on

enum File : int { FileA, FileB, FileC, FileD, FileE, FileF, FileG, FileH };
enum Rank : int { Rank1, Rank2, Rank3, Rank4, Rank5, Rank6, Rank7, Rank8 };
inline constexpr int kFiles = 8;
inline constexpr int kRanks = 8;

constexpr bool isOnBoard(Square sq) {
    return sq >= 0 && sq < kSquares;
}
constexpr int fileOf(Square sq) {
    return sq & 7;
}
constexpr int rankOf(Square sq) {
    return sq >> 3;
}
constexpr Square makeSquare(int file, int rank) {
    return file + kFiles * rank;
}

/// The square at the same place on the board turned upside down: a1 and a8, e2 and e7.
constexpr Square flipRank(Square sq) {
    return sq ^ A8;
}

/// The square at the same place in the mirror: a1 and h1, e2 and d2.
constexpr Square flipFile(Square sq) {
    return sq ^ H1;
}

/// A square or rank as the given side sees it: its own first rank is `Rank1`.
constexpr Square relativeSquare(Color c, Square sq) {
    return c == White ? sq : flipRank(sq);
}
constexpr int relativeRank(Color c, Square sq) {
    return c == White ? rankOf(sq) : Rank8 - rankOf(sq);
}

/// The square one rank ahead is `sq + forward(c)`.
constexpr int forward(Color c) {
    return c == White ? kFiles : -kFiles;
}

/// Steps that a king needs from one square to the other on an empty board.
constexpr int chebyshev(Square a, Square b) {
    const int files = fileOf(a) > fileOf(b) ? fileOf(a) - fileOf(b) : fileOf(b) - fileOf(a);
    const int ranks = rankOf(a) > rankOf(b) ? rankOf(a) - rankOf(b) : rankOf(b) - rankOf(a);
    return files > ranks ? files : ranks;
}

constexpr bool isLight(Square sq) {
    return ((fileOf(sq) + rankOf(sq)) & 1) != 0;
}

// --- sets of squares ---

/// A set of squares: bit n is square n.
using Bitboard = std::uint64_t;

constexpr Bitboard bit(Square sq) {
    assert(isOnBoard(sq));
    return Bitboard{1} << sq;
}
constexpr Bitboard fileBB(int file) {
    return Bitboard{0x0101010101010101} << file;
}
constexpr Bitboard rankBB(int rank) {
    return Bitboard{0xFF} << (kFiles * rank);
}

constexpr Bitboard shiftEast(Bitboard b) {
    return (b & ~fileBB(FileH)) << 1;
}
constexpr Bitboard shiftWest(Bitboard b) {
    return (b & ~fileBB(FileA)) >> 1;
}
constexpr Bitboard shiftForward(Color c, Bitboard b) {
    return c == White ? b << kFiles : b >> kFiles;
}

/// One bit, of eight, for each file that holds a square of the set.
constexpr unsigned filesOf(Bitboard b) {
    b |= b >> 32;
    b |= b >> 16;
    b |= b >> 8;
    return static_cast<unsigned>(b & rankBB(Rank1));
}

/// All squares that the pawns of one side attack, on one side of their files or on both.
constexpr Bitboard pawnAttackSetEast(Color c, Bitboard pawns) {
    return shiftEast(shiftForward(c, pawns));
}
constexpr Bitboard pawnAttackSetWest(Color c, Bitboard pawns) {
    return shiftWest(shiftForward(c, pawns));
}
constexpr Bitboard pawnAttackSet(Color c, Bitboard pawns) {
    return pawnAttackSetEast(c, pawns) | pawnAttackSetWest(c, pawns);
}

constexpr int popcount(Bitboard b) {
    return std::popcount(b);
}
constexpr bool moreThanOne(Bitboard b) {
    return (b & (b - 1)) != 0;
}

/// The lowest square of a set that is not empty.
constexpr Square lowestSquare(Bitboard b) {
    assert(b != 0);
    return std::countr_zero(b);
}

/// Removes the lowest square from a set that is not empty and returns it.
constexpr Square popLowest(Bitboard& b) {
    const Square sq = lowestSquare(b);
    b &= b - 1;
    return sq;
}
