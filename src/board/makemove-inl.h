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

template <Color Us>
void Board::makeMoveOf(Move m) {
    using namespace MoveDetail;
    constexpr Color Them = ~Us;
    const Square from = fromSquare(m);
    const Square to = toSquare(m);
    const std::uint32_t flag = moveFlag(m);
    const Piece moved = mailbox[from];
    assert(sideToMove == Us && moved != kNoPiece);

    UndoInfo& record = pushRecord();
    key ^= Zobrist::castling[castling] ^ Zobrist::sideToMove;
    if (epSquare != kNoSquare)
        key ^= Zobrist::enPassant[epFile(epSquare)];
    ++halfmoveClock;
    epSquare = kNoSquare;

    if (flag == FlagQuiet || flag == FlagCapture || flag == FlagDoublePush) {
        if (flag == FlagCapture) {
            record.captured = mailbox[to];
            removePiece(Them, record.captured, to);
            halfmoveClock = 0;
        }
        movePiece(Us, moved, from, to);
        if (moved == Pawn)
            halfmoveClock = 0;
        if (flag == FlagDoublePush) {
            // Set whether or not a pawn could capture there; reading a FEN does the same.
            epSquare = static_cast<std::uint32_t>(from + forward(Us));
            key ^= Zobrist::enPassant[fileOf(from)];
        }
    } else if (flag >= FlagPromotion) {
        if (isCapture(m)) {
            record.captured = mailbox[to];
            removePiece(Them, record.captured, to);
        }
        removePiece(Us, Pawn, from);
        putPiece(Us, promotedPiece(m), to);
        halfmoveClock = 0;
    } else if (flag == FlagEnPassant) {
        // Of all captures and pawn moves, en passant alone does not reset the clock.
        record.captured = Pawn;
        removePiece(Them, Pawn, enPassantVictim(m));
        movePiece(Us, Pawn, from, to);
    } else {
        movePiece(Us, King, from, to);
        const RookMove rook = castlingRook(Us, m);
        movePiece(Us, Rook, rook.from, rook.to);
    }

    castling = castling & kCastlingMask.mask[from] & kCastlingMask.mask[to];
    key ^= Zobrist::castling[castling];
    if constexpr (Us == Black)
        ++fullmoveNumber;
    sideToMove = Them;
}

template <Color Us>
void Board::unmakeMoveOf(Move m) {
    using namespace MoveDetail;
    constexpr Color Them = ~Us;
    const Square from = fromSquare(m);
    const Square to = toSquare(m);
    const std::uint32_t flag = moveFlag(m);
    const UndoInfo& record = popRecord();
    assert(sideToMove == Them && (colorBB[Us] & bit(to)) && mailbox[from] == kNoPiece);

    sideToMove = Us;
    if constexpr (Us == Black)
        --fullmoveNumber;

    // Placement by hand, everything else from the record.
    const Piece onTarget = mailbox[to];
    if (flag >= FlagPromotion) {
        togglePlacement(Us, onTarget, bit(to));
        togglePlacement(Us, Pawn, bit(from));
        mailbox[from] = Pawn;
    } else {
        togglePlacement(Us, onTarget, bit(from) | bit(to));
        mailbox[from] = onTarget;
    }
    mailbox[to] = kNoPiece;
    if (record.captured != kNoPiece) {
        const Square victim = flag == FlagEnPassant ? enPassantVictim(m) : to;
        togglePlacement(Them, record.captured, bit(victim));
        mailbox[victim] = record.captured;
    } else if (isCastling(m)) {
        const RookMove rook = castlingRook(Us, m);
        togglePlacement(Us, Rook, bit(rook.from) | bit(rook.to));
        mailbox[rook.to] = kNoPiece;
        mailbox[rook.from] = Rook;
    }

    static_cast<MoveState&>(*this) = record;
}
