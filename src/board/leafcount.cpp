#include "board/leafcount.h"

#include "board/legalwalk.h"
#include "board/makemove-inl.h"

#include <iterator>

namespace {

using LegalWalk::kSet;
using LegalWalk::Position;
using LegalWalk::Side;

/// Counts the moves that the walk finds.
struct CountSink {
    int count = 0;

    template <Piece P>
    void moves(Square, Bitboard targets) {
        count += popcount(targets);
    }
    template <int Step>
    void pawnMoves(Bitboard targets) {
        count += popcount(targets);
    }
    template <int Step>
    void promotions(Bitboard targets) {
        count += static_cast<int>(std::size(kPromotions)) * popcount(targets);
    }
    void castle(Move) { ++count; }
    void enPassant(Move) { ++count; }
};

// A function of its own, with everything that it calls within it: here the time goes.
template <Color Us>
[[gnu::flatten, gnu::noinline]] int countMoves(const Position& position) {
    CountSink sink;
    LegalWalk::walk<Us>(position, sink);
    return sink.count;
}

template <Color Us>
std::uint64_t countBelow(const Position& position, int depth);

/// Makes the moves that the walk finds, and counts what follows them. There is one child: each move
/// writes what it changes, and the pieces that moved are put back after it.
template <Color Us>
class MakeSink {
  public:
    /// `depth` is that of the child, 1 or more.
    MakeSink(const Position& parent, int depth)
        : parent_(parent), us_(parent.sides[Us]), depth_(depth), child_(parent) {
        child_.enPassant = 0;
    }

    std::uint64_t leaves() const { return leaves_; }

    template <Piece P>
    void moves(Square from, Bitboard targets) {
        while (targets) {
            const Square to = popLowest(targets);
            take(from, to);
            place<P>(from, bit(from) ^ bit(to));
            descend();
        }
        putBack();
    }

    template <int Step>
    void pawnMoves(Bitboard targets) {
        while (targets) {
            const Square to = popLowest(targets);
            const Square from = to - Step;
            take(from, to);
            place<Pawn>(from, bit(from) ^ bit(to));
            if constexpr (Step == 2 * forward(Us))
                child_.enPassant = bit(to - forward(Us));
            descend();
        }
        child_.enPassant = 0;
        putBack();
    }

    template <int Step>
    void promotions(Bitboard targets) {
        while (targets) {
            const Square to = popLowest(targets);
            take(to - Step, to);
            for (const Piece piece : kPromotions) {
                putBack();
                place<Pawn>(to - Step, bit(to - Step));
                promote(piece, to);
                descend();
            }
        }
        putBack();
    }

    void castle(Move m) {
        const MoveDetail::RookMove rook = MoveDetail::castlingRook(Us, m);
        take(fromSquare(m), toSquare(m));
        place<King>(fromSquare(m), bit(fromSquare(m)) ^ bit(toSquare(m)));
        place<Rook>(rook.from, bit(rook.from) ^ bit(rook.to));
        descend();
        putBack();
    }

    void enPassant(Move m) {
        take(fromSquare(m), toSquare(m));
        child_.sides[~Us].pawns ^= bit(enPassantVictim(m));
        place<Pawn>(fromSquare(m), bit(fromSquare(m)) ^ bit(toSquare(m)));
        descend();
        putBack();
    }

  private:
    /// Takes what stands on the target off the child's enemies, and the rights that are lost.
    void take(Square from, Square to) {
        const Side& before = parent_.sides[~Us];
        Side& them = child_.sides[~Us];
        const Bitboard kept = ~bit(to);
        them.pawns = before.pawns & kept;
        them.knights = before.knights & kept;
        them.diagonal = before.diagonal & kept;
        them.straight = before.straight & kept;
        child_.castling = parent_.castling & MoveDetail::kCastlingMask.mask[from] &
                          MoveDetail::kCastlingMask.mask[to];
    }

    /// Changes squares of the own pieces' set; a queen that stands on `from` is in another one,
    /// too.
    template <Piece P>
    void place(Square from, Bitboard change) {
        Side& us = child_.sides[Us];
        us.*kSet<P> = us_.*kSet<P> ^ change;
        if constexpr (P == Bishop || P == Rook) {
            constexpr Piece kOther = P == Bishop ? Rook : Bishop;
            const Bitboard other = us_.*kSet<kOther>;
            us.*kSet<kOther> = other & bit(from) ? other ^ change : other;
        }
    }

    void promote(Piece piece, Square to) {
        Side& us = child_.sides[Us];
        if (piece == Knight)
            us.knights ^= bit(to);
        if (piece == Bishop || piece == Queen)
            us.diagonal ^= bit(to);
        if (piece == Rook || piece == Queen)
            us.straight ^= bit(to);
    }

    void putBack() { child_.sides[Us] = us_; }

    void descend() {
        leaves_ += depth_ == 1 ? static_cast<std::uint64_t>(countMoves<~Us>(child_))
                               : countBelow<~Us>(child_, depth_);
    }

    const Position& parent_;
    const Side& us_;
    const int depth_;
    Position child_;
    std::uint64_t leaves_ = 0;
};

/// `depth` is 2 or more.
template <Color Us>
std::uint64_t countBelow(const Position& position, int depth) {
    MakeSink<Us> sink(position, depth - 1);
    LegalWalk::walk<Us>(position, sink);
    return sink.leaves();
}

template <Color Us>
std::uint64_t countOf(const Position& position, int depth) {
    return depth == 1 ? static_cast<std::uint64_t>(countMoves<Us>(position))
                      : countBelow<Us>(position, depth);
}

} // namespace

std::uint64_t countLeaves(const Board& board, int depth) {
    assert(depth >= 0);
    if (depth == 0)
        return 1;
    const Position position = LegalWalk::positionOf(board);
    return board.sideToMove == White ? countOf<White>(position, depth)
                                     : countOf<Black>(position, depth);
}
