#pragma once

#include "board/board.h"

namespace MoveDetail {

/// Rights that survive a move from or to a square: all but those of the king or rook at home there.
struct CastlingMask {
    std::uint8_t mask[kSquares];
};

constexpr CastlingMask buildCastlingMask() {
    CastlingMask table{};
    for (auto& mask : table.mask)
        mask = WhiteKingSide | WhiteQueenSide | BlackKingSide | BlackQueenSide;
    table.mask[A1] = static_cast<std::uint8_t>(~WhiteQueenSide);
    table.mask[E1] = static_cast<std::uint8_t>(~(WhiteKingSide | WhiteQueenSide));
    table.mask[H1] = static_cast<std::uint8_t>(~WhiteKingSide);
    table.mask[A8] = static_cast<std::uint8_t>(~BlackQueenSide);
    table.mask[E8] = static_cast<std::uint8_t>(~(BlackKingSide | BlackQueenSide));
    table.mask[H8] = static_cast<std::uint8_t>(~BlackKingSide);
    return table;
}

inline constexpr CastlingMask kCastlingMask = buildCastlingMask();

/// Whether a move changes nothing but its two squares: neither a double push nor castling, a
/// promotion or en passant.
constexpr bool isPlain(Move m) {
    return (m & MoveCode::kFlagMask & ~kCaptureBit) == 0;
}

struct RookMove {
    Square from;
    Square to;
};

/// The rook's part of a castling move of `c`.
constexpr RookMove castlingRook(Color c, Move m) {
    return moveFlag(m) == FlagCastleKing ? RookMove{relativeSquare(c, H1), relativeSquare(c, F1)}
                                         : RookMove{relativeSquare(c, A1), relativeSquare(c, D1)};
}

constexpr int epFile(std::uint32_t epSquare) {
    return fileOf(static_cast<Square>(epSquare));
}

} // namespace MoveDetail

inline UndoInfo& Board::pushRecord() {
    assert(historyCount >= 0 && historyCount < kMaxHistory);
    UndoInfo& record = history[historyCount++];
    static_cast<MoveState&>(record) = *this;
    record.captured = kNoPiece;
    return record;
}

inline const UndoInfo& Board::popRecord() {
    assert(historyCount > 0);
    return history[--historyCount];
}

// Most moves change nothing but their two squares. The others are made elsewhere, so that these
// need few registers.

template <Color Us, class OnKey>
void Board::makeMoveOf(Move m, OnKey onKey) {
    using namespace MoveDetail;
    constexpr Color Them = ~Us;
    const auto& own = Zobrist::pieceSquare[Us];
    const Square from = fromSquare(m);
    const Square to = toSquare(m);
    const Piece moved = mailbox[from];
    assert(sideToMove == Us && moved != kNoPiece);

    UndoInfo& record = pushRecord();
    const std::uint64_t change = own[moved][from] ^ own[moved][to];
    key ^= Zobrist::sideToMove ^ change;
    if (castling != 0) {
        key ^= Zobrist::castling[castling];
        castling = castling & kCastlingMask.mask[from] & kCastlingMask.mask[to];
        key ^= Zobrist::castling[castling];
    }
    if (epSquare != kNoSquare) {
        key ^= Zobrist::enPassant[epFile(epSquare)];
        epSquare = kNoSquare;
    }
    if constexpr (Us == Black)
        ++fullmoveNumber;
    sideToMove = Them;
    ++halfmoveClock;
    if (!isPlain(m)) [[unlikely]]
        return makeSpecialMove<Us>(m, record, onKey);

    const Piece captured = mailbox[to];
    if (captured != kNoPiece)
        key ^= Zobrist::pieceSquare[Them][captured][to];
    onKey(key);
    if (captured != kNoPiece) {
        record.captured = captured;
        lift(Them, captured, to);
        halfmoveClock = 0;
    }
    if (moved == Pawn)
        halfmoveClock = 0;
    shift(Us, moved, from, to);
}

template <class OnKey>
[[gnu::always_inline]] inline void Board::makeMove(Move m, OnKey onKey) {
    if (sideToMove == White)
        makeMoveOf<White>(m, onKey);
    else
        makeMoveOf<Black>(m, onKey);
}

/// The rest of a promotion, an en-passant capture, castling or a double push. The key takes the
/// piece to be moved to the target.
template <Color Us, class OnKey>
[[gnu::noinline]] void Board::makeSpecialMove(Move m, UndoInfo& record, OnKey onKey) {
    using namespace MoveDetail;
    constexpr Color Them = ~Us;
    const auto& own = Zobrist::pieceSquare[Us];
    const Square from = fromSquare(m);
    const Square to = toSquare(m);
    if (isPromotion(m)) {
        if (isCapture(m)) {
            record.captured = mailbox[to];
            removePiece(Them, record.captured, to);
        }
        lift(Us, Pawn, from);
        place(Us, promotedPiece(m), to);
        key ^= own[Pawn][to] ^ own[promotedPiece(m)][to];
        halfmoveClock = 0;
    } else if (isEnPassant(m)) {
        // Of all captures and pawn moves, en passant alone does not reset the clock.
        record.captured = Pawn;
        removePiece(Them, Pawn, enPassantVictim(m));
        shift(Us, Pawn, from, to);
    } else if (isCastling(m)) {
        shift(Us, King, from, to);
        const RookMove rook = castlingRook(Us, m);
        movePiece(Us, Rook, rook.from, rook.to);
    } else {
        shift(Us, Pawn, from, to);
        halfmoveClock = 0;
        // Set whether or not a pawn could capture there; reading a FEN does the same.
        epSquare = static_cast<std::uint32_t>(from + forward(Us));
        key ^= Zobrist::enPassant[fileOf(from)];
    }
    onKey(key);
}

// Placement by hand, everything else from the record.
template <Color Us>
void Board::unmakeMoveOf(Move m) {
    using namespace MoveDetail;
    constexpr Color Them = ~Us;
    const Square from = fromSquare(m);
    const Square to = toSquare(m);
    const UndoInfo& record = popRecord();
    assert(sideToMove == Them && (colorBB[Us] & bit(to)) && mailbox[from] == kNoPiece);

    static_cast<MoveState&>(*this) = record;
    sideToMove = Us;
    if constexpr (Us == Black)
        --fullmoveNumber;
    if (!isPlain(m)) [[unlikely]]
        return unmakeSpecialMove<Us>(m, record.captured);

    const Piece moved = mailbox[to];
    togglePlacement(Us, moved, bit(from) | bit(to));
    mailbox[from] = moved;
    mailbox[to] = record.captured;
    if (record.captured != kNoPiece)
        togglePlacement(Them, record.captured, bit(to));
}

template <Color Us>
[[gnu::noinline]] void Board::unmakeSpecialMove(Move m, Piece captured) {
    using namespace MoveDetail;
    constexpr Color Them = ~Us;
    const Square from = fromSquare(m);
    const Square to = toSquare(m);
    const Piece placed = mailbox[to];
    const Piece moved = isPromotion(m) ? Pawn : placed;
    togglePlacement(Us, placed, bit(to));
    togglePlacement(Us, moved, bit(from));
    mailbox[from] = moved;
    mailbox[to] = kNoPiece;
    if (captured != kNoPiece) {
        const Square victim = isEnPassant(m) ? enPassantVictim(m) : to;
        togglePlacement(Them, captured, bit(victim));
        mailbox[victim] = captured;
    } else if (isCastling(m)) {
        const RookMove rook = castlingRook(Us, m);
        togglePlacement(Us, Rook, bit(rook.from) | bit(rook.to));
        mailbox[rook.to] = kNoPiece;
        mailbox[rook.from] = Rook;
    }
}
