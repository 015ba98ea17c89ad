#pragma once

#include "board/board.h"

#include <cassert>

/// What the lines that run to the two kings say about moves before they are made. Needs
/// `gBetweenBB`.

/// Sliders of colour `by` that would attack the square on an empty board.
inline Bitboard snipers(const Board& board, Square sq, Color by) {
    using namespace Attacks;
    const Bitboard(&own)[kPieces] = board.pieces[by];
    return ((own[Bishop] | own[Queen]) & bishopLines[sq]) |
           ((own[Rook] | own[Queen]) & rookLines[sq]);
}

/// Pieces of either colour that are alone between a square and a slider of colour `by`.
inline Bitboard soleBlockers(const Board& board, Square sq, Color by) {
    Bitboard result = 0;
    for (Bitboard sliders = snipers(board, sq, by); sliders;) {
        const Bitboard blockers = gBetweenBB[sq][popLowest(sliders)] & board.occupied;
        if (!moreThanOne(blockers))
            result |= blockers;
    }
    return result;
}

/// Whether a piece on a line that ends at `end` stays on that line when it moves.
inline bool staysOnLine(Square end, Square from, Square to) {
    return ((gBetweenBB[end][to] & bit(from)) | (gBetweenBB[end][from] & bit(to))) != 0;
}

/// Tells which pseudo-legal moves of one position leave the own king out of check, without making
/// them: pins and checkers are looked up once for all moves.
class LegalityInfo {
  public:
    /// `inCheck` says whether the side to move is in check. The board must be in this position at
    /// each question. Left to itself, g++ inlines this or not by the size of the whole program.
    [[gnu::always_inline]] LegalityInfo(const Board& board, bool inCheck)
        : board_(board),
          king_(board.kingSquare(board.sideToMove)),
          pinned_(soleBlockers(board, king_, ~board.sideToMove)),
          targets_(inCheck ? evasionTargets() : ~Bitboard{0}) {
        assert(inCheck == board.inCheck(board.sideToMove));
    }

    bool isLegal(Move m) const {
        const Square from = fromSquare(m);
        const Square to = toSquare(m);
        assert(board_.kingSquare(board_.sideToMove) == king_);
        assert(board_.colorBB[board_.sideToMove] & bit(from));
        if (from == king_ || isEnPassant(m)) [[unlikely]]
            return isLegalKingMoveOrEnPassant(m);
        return (targets_ & bit(to)) && (!(pinned_ & bit(from)) || staysOnLine(king_, from, to));
    }

  private:
    Bitboard evasionTargets() const;
    bool isLegalKingMoveOrEnPassant(Move m) const;

    const Board& board_;
    const Square king_;
    const Bitboard pinned_;  // pieces of either colour; asked for own ones only
    const Bitboard targets_; // where other pieces than the king may go
};

/// Tells which pseudo-legal moves of one position give check, without making them.
class CheckInfo {
  public:
    /// The board must be in this position at each question.
    explicit CheckInfo(const Board& board)
        : board_(board),
          king_(board.kingSquare(~board.sideToMove)),
          discoverers_(soleBlockers(board, king_, board.sideToMove)),
          diagonal_(Attacks::bishopAttacks(king_, board.occupied)),
          straight_(Attacks::rookAttacks(king_, board.occupied)),
          squares_{Attacks::pawnAttacks[~board.sideToMove][king_],
                   Attacks::knightAttacks[king_],
                   diagonal_,
                   straight_,
                   diagonal_ | straight_,
                   Attacks::kingAttacks[king_]} {}

    bool givesCheck(Move m) const {
        assert(board_.kingSquare(~board_.sideToMove) == king_);
        assert(board_.colorBB[board_.sideToMove] & bit(fromSquare(m)));
        if (isPromotion(m) || isCastling(m) || isEnPassant(m)) [[unlikely]]
            return specialGivesCheck(m);
        const Square from = fromSquare(m);
        const Square to = toSquare(m);
        return (squares_[board_.mailbox[from]] & bit(to)) ||
               ((discoverers_ & bit(from)) && !staysOnLine(king_, from, to));
    }

    /// Squares from which some kind of piece attacks the enemy king.
    Bitboard targets() const {
        return squares_[Pawn] | squares_[Knight] | squares_[Queen] | squares_[King];
    }

    /// Pieces of either colour that uncover an attack on the enemy king when they leave its line.
    Bitboard discoverers() const { return discoverers_; }

  private:
    bool specialGivesCheck(Move m) const;

    const Board& board_;
    const Square king_;
    const Bitboard discoverers_; // pieces of either colour; asked for own ones only
    const Bitboard diagonal_;
    const Bitboard straight_;
    const Bitboard squares_[kPieces]; // from where a piece attacks the enemy king
};
