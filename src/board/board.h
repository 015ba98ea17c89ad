#pragma once

#include "board/attacks.h"
#include "board/move.h"
#include "board/zobrist.h"
#include "params/psq.h"

#include <bit>
#include <cassert>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

/// Castling rights, one bit each.
enum CastlingRight : std::uint8_t {
    WhiteKingSide = 1,
    WhiteQueenSide = 2,
    BlackKingSide = 4,
    BlackQueenSide = 8,
};

/// What a move changes besides the placement of the pieces. Unmaking the move brings it back in one
/// copy.
struct MoveState {
    std::uint64_t key;
    std::uint64_t pawnKey;                 // of the pawns alone
    PackedPair psq;                        // sum of `kPsq`, White's point of view
    std::int32_t nonPawnMaterial[kColors]; // sums of `kNonPawnValue`
    std::int32_t phase;     // sum of `kPhaseWeight`, `kFullPhase` in the start position
    std::uint32_t epSquare; // square behind a pawn that just moved two ranks, `kNoSquare` if none
    std::uint16_t nonPawnHash[kColors]; // of the squares of each side's pieces without pawns
    std::uint8_t castling;              // set of `CastlingRight`
    std::uint8_t halfmoveClock;         // plies since the last capture or pawn move
};

/// The state before a move, on a cache line of its own, and what the move took. Repetition tests
/// read the keys.
struct alignas(64) UndoInfo : MoveState {
    Piece captured; // `kNoPiece` if none
};

/// Values of `nonPawnHash` lie below this.
inline constexpr int kNonPawnHashes = 1 << 14;

/// Moves that a board can remember.
inline constexpr int kMaxHistory = 1024;

/// A position with its history. A plain value without pointers: a copy is complete in itself, and
/// every thread works on a copy of its own. All redundant fields agree at all times.
struct Board : MoveState {
    Bitboard pieces[kColors][kPieces]; // by colour and piece
    Bitboard colorBB[kColors];
    Bitboard occupied;
    Piece mailbox[kSquares]; // without colour; `kNoPiece` when empty
    Color sideToMove;
    std::int32_t fullmoveNumber; // from 1, counts Black's moves
    UndoInfo history[kMaxHistory];
    std::int32_t historyCount;

    // --- setting up ---

    /// Empties the board. The key of an empty board is 0: only `setFen` makes a full key.
    void reset();

    void putPiece(Color c, Piece p, Square sq);               // the square must be empty
    void removePiece(Color c, Piece p, Square sq);            // the piece must be there
    void movePiece(Color c, Piece p, Square from, Square to); // to an empty square

    /// Replaces the position by the one that a FEN describes; the two counters at its end may be
    /// missing. Returns false for a FEN that describes no playable position; the board is then
    /// unchanged, or empty if the only fault is that the side not to move is in check.
    bool setFen(std::string_view fen);

    /// The position as a FEN of six fields.
    std::string fen() const;

    /// The pawn key as the pawns on the board give it: `pawnKey`, computed from scratch.
    std::uint64_t computePawnKey() const;

    // --- playing ---

    /// Plays a pseudo-legal move; it may leave the own king in check. The history must have room:
    /// see `makeRoomInHistory`.
    void makeMove(Move m);

    /// Takes back `m`, which must be the move played last.
    void unmakeMove(Move m);

    // In board/makemove-inl.h:

    /// Plays a move and calls `onKey` with the new key as soon as it is known: what depends on it
    /// can be fetched while the move is made.
    template <class OnKey>
    void makeMove(Move m, OnKey onKey);

    /// The same, and taking back, where the side that moves is known beforehand.
    template <Color Us, class OnKey>
    void makeMoveOf(Move m, OnKey onKey);
    template <Color Us>
    void unmakeMoveOf(Move m);

    void makeNullMove();
    void unmakeNullMove();

    /// Forgets the oldest moves when the history has little room left for a search, but none that a
    /// repetition test could still reach. Called after each move of a game, it lets games have any
    /// length.
    void makeRoomInHistory();

    // --- asking ---

    /// Both sides must have a king, here and where check is asked for.
    Square kingSquare(Color c) const { return lowestSquare(pieces[c][King]); }

    /// Whether a piece of colour `by` attacks the square.
    bool isAttacked(Square sq, Color by) const { return isAttacked(sq, by, occupied); }

    /// The same with another occupancy for sliders.
    bool isAttacked(Square sq, Color by, Bitboard occupancy) const;

    /// Whether the king of `c` is attacked.
    bool inCheck(Color c) const { return isAttacked(kingSquare(c), ~c); }

    /// Pieces of both colours that attack the square, with `occupancy` for sliders. Pieces that are
    /// missing from `occupancy` still count as attackers.
    Bitboard attackersTo(Square sq, Bitboard occupancy) const;

    /// Whether the position has occurred before since the last capture or pawn move, once at least.
    bool isRepetition() const;

    /// Whether a less valuable enemy piece attacks a knight, bishop, rook or queen of the side to
    /// move.
    bool pieceIsThreatened() const;

    /// Whether the side may castle now: right, empty squares, no attacked square on the king's way.
    bool canCastleKS(Color c) const;
    bool canCastleQS(Color c) const;

    /// Whether the generators would produce this code here, whatever code it is.
    bool isPseudoLegal(Move m) const;

    /// Whether a pseudo-legal move leaves the own king out of check. For all moves of a position
    /// `LegalityInfo` is faster (board/kinglines.h).
    bool isLegal(Move m) const;

    /// Whether a pseudo-legal quiet move or double push attacks the enemy king, directly or by
    /// discovery. For all moves of a position `CheckInfo` is faster.
    bool quietGivesCheck(Move m) const;

  private:
    template <Color Us, class OnKey>
    void makeSpecialMove(Move m, UndoInfo& record, OnKey onKey);
    template <Color Us>
    void unmakeSpecialMove(Move m, Piece captured);

    template <Color Us>
    bool isPseudoLegalPawnMove(Move m) const;

    bool holds(Color c, Piece p, Square sq) const;
    UndoInfo& pushRecord();
    const UndoInfo& popRecord();
    void togglePlacement(Color c, Piece p, Bitboard squares);
    void toggleHashes(Color c, Piece p, Bitboard squares, std::uint64_t change);
    void place(Color c, Piece p, Square sq);
    void lift(Color c, Piece p, Square sq);
    void shift(Color c, Piece p, Square from, Square to);
};

static_assert(std::is_trivially_copyable_v<Board>);

inline constexpr std::string_view kStartFen =
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

// --- hot bodies ---

inline void Board::togglePlacement(Color c, Piece p, Bitboard squares) {
    pieces[c][p] ^= squares;
    colorBB[c] ^= squares;
    occupied ^= squares;
}

inline bool Board::holds(Color c, Piece p, Square sq) const {
    return mailbox[sq] == p && (pieces[c][p] & bit(sq));
}

/// Spread the squares of each piece over `nonPawnHash`.
inline constexpr std::uint64_t kNonPawnMultiplier[kPieces] = {
    0, // pawns do not count
    0x9E3779B97F4A7C15,
    0xC2B2AE3D27D4EB4F,
    0x165667B19E3779F9,
    0xD6E8FEB86659FD93,
    0xFF51AFD7ED558CCD,
};

/// What a kind of piece on a set of squares contributes to `nonPawnHash`.
constexpr std::uint32_t nonPawnHashOf(Piece p, Bitboard squares) {
    static_assert(std::has_single_bit(unsigned{kNonPawnHashes}));
    constexpr int kShift = 64 - std::countr_zero(unsigned{kNonPawnHashes});
    return static_cast<std::uint32_t>(squares * kNonPawnMultiplier[p] >> kShift);
}

/// What depends on the placement of `p` besides the position key, for squares that are already
/// toggled: `change` is their part of the key.
[[gnu::always_inline]] inline void Board::toggleHashes(Color c, Piece p, Bitboard squares,
                                                       std::uint64_t change) {
    if (p == Pawn)
        pawnKey ^= change;
    else
        nonPawnHash[c] =
            static_cast<std::uint16_t>(nonPawnHash[c] ^ nonPawnHashOf(p, pieces[c][p]) ^
                                       nonPawnHashOf(p, pieces[c][p] ^ squares));
}

// The same as the functions that edit a board, without the position key.

inline void Board::place(Color c, Piece p, Square sq) {
    assert(isOnBoard(sq) && p != kNoPiece && mailbox[sq] == kNoPiece);
    togglePlacement(c, p, bit(sq));
    toggleHashes(c, p, bit(sq), Zobrist::pieceSquare[c][p][sq]);
    mailbox[sq] = p;
    psq += kPsq[c][p][sq];
    nonPawnMaterial[c] += kNonPawnValue[p];
    phase += EvalParams::kPhaseWeight[p];
}

[[gnu::always_inline]] inline void Board::lift(Color c, Piece p, Square sq) {
    assert(p != kNoPiece && holds(c, p, sq));
    togglePlacement(c, p, bit(sq));
    toggleHashes(c, p, bit(sq), Zobrist::pieceSquare[c][p][sq]);
    mailbox[sq] = kNoPiece;
    psq -= kPsq[c][p][sq];
    nonPawnMaterial[c] -= kNonPawnValue[p];
    phase -= EvalParams::kPhaseWeight[p];
}

[[gnu::always_inline]] inline void Board::shift(Color c, Piece p, Square from, Square to) {
    assert(p != kNoPiece && holds(c, p, from) && mailbox[to] == kNoPiece);
    togglePlacement(c, p, bit(from) | bit(to));
    toggleHashes(c, p, bit(from) | bit(to),
                 Zobrist::pieceSquare[c][p][from] ^ Zobrist::pieceSquare[c][p][to]);
    mailbox[from] = kNoPiece;
    mailbox[to] = p;
    psq += kPsq[c][p][to] - kPsq[c][p][from];
}

inline void Board::putPiece(Color c, Piece p, Square sq) {
    place(c, p, sq);
    key ^= Zobrist::pieceSquare[c][p][sq];
}

inline void Board::removePiece(Color c, Piece p, Square sq) {
    lift(c, p, sq);
    key ^= Zobrist::pieceSquare[c][p][sq];
}

inline void Board::movePiece(Color c, Piece p, Square from, Square to) {
    shift(c, p, from, to);
    key ^= Zobrist::pieceSquare[c][p][from] ^ Zobrist::pieceSquare[c][p][to];
}

// Every second record is of the same side to move.
inline bool Board::isRepetition() const {
    const int oldest = historyCount > halfmoveClock ? historyCount - halfmoveClock : 0;
    for (int i = historyCount - 2; i >= oldest; i -= 2)
        if (history[i].key == key)
            return true;
    return false;
}

inline bool Board::isAttacked(Square sq, Color by, Bitboard occupancy) const {
    const Bitboard(&attackers)[kPieces] = pieces[by];
    const Bitboard diagonal = attackers[Bishop] | attackers[Queen];
    const Bitboard straight = attackers[Rook] | attackers[Queen];
    return ((attackers[Pawn] & Attacks::pawnAttacks[~by][sq]) |
            (attackers[Knight] & Attacks::knightAttacks[sq]) |
            (attackers[King] & Attacks::kingAttacks[sq]) |
            (diagonal & Attacks::bishopAttacks(sq, occupancy)) |
            (straight & Attacks::rookAttacks(sq, occupancy))) != 0;
}

inline Bitboard Board::attackersTo(Square sq, Bitboard occupancy) const {
    using namespace Attacks;
    const Bitboard queens = pieces[White][Queen] | pieces[Black][Queen];
    const Bitboard diagonal = pieces[White][Bishop] | pieces[Black][Bishop] | queens;
    const Bitboard straight = pieces[White][Rook] | pieces[Black][Rook] | queens;
    return (pieces[White][Pawn] & pawnAttacks[Black][sq]) |
           (pieces[Black][Pawn] & pawnAttacks[White][sq]) |
           ((pieces[White][Knight] | pieces[Black][Knight]) & knightAttacks[sq]) |
           (diagonal & bishopAttacks(sq, occupancy)) | (straight & rookAttacks(sq, occupancy)) |
           ((pieces[White][King] | pieces[Black][King]) & kingAttacks[sq]);
}
