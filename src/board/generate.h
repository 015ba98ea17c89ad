#pragma once

#include "board/rules.h"

/// Move generation, written once for whatever collects the moves. The order of moves is part of
/// the contract (board/movegen.h).
namespace MoveGen {

enum class Kind { All, Captures, Quiets };

namespace Detail {

template <Color Us, class Sink>
void addPawnPushes(const Board& board, Bitboard pawns, Sink& sink) {
    constexpr int kStep = forward(Us);
    const PawnPushes pushes = pawnPushes(Us, pawns, ~board.occupied);
    for (Bitboard targets = pushes.once; targets;) {
        const Square to = popLowest(targets);
        sink.template add<Pawn>(to - kStep, to, FlagQuiet);
    }
    for (Bitboard targets = pushes.twice; targets;) {
        const Square to = popLowest(targets);
        sink.template add<Pawn>(to - 2 * kStep, to, FlagDoublePush);
    }
}

template <Color Us, class Sink>
void addPawnCaptures(const Board& board, Bitboard pawns, Sink& sink) {
    const Bitboard enemies = board.colorBB[~Us];
    // Skip pawns that have nothing to capture; the order by from square stays.
    pawns &= pawnAttackSet(~Us, enemies);
    while (pawns) {
        const Square from = popLowest(pawns);
        for (Bitboard targets = Attacks::pawnAttacks[Us][from] & enemies; targets;)
            sink.template add<Pawn>(from, popLowest(targets), FlagCapture);
    }
}

template <class Sink>
void addPromotions(Square from, Square to, std::uint32_t flag, Sink& sink) {
    for (const Piece piece : kPromotions)
        sink.template add<Pawn>(from, to, flag + static_cast<std::uint32_t>(piece - Knight));
}

template <Color Us, class Sink>
void addAllPromotions(const Board& board, Bitboard pawns, Sink& sink) {
    while (pawns) {
        const Square from = popLowest(pawns);
        const Square ahead = from + forward(Us);
        if (!(board.occupied & bit(ahead)))
            addPromotions(from, ahead, FlagPromotion, sink);
        for (Bitboard targets = Attacks::pawnAttacks[Us][from] & board.colorBB[~Us]; targets;)
            addPromotions(from, popLowest(targets), FlagCapturePromotion, sink);
    }
}

template <Color Us, class Sink>
void addEnPassant(const Board& board, Sink& sink) {
    if (board.epSquare == kNoSquare)
        return;
    const auto to = static_cast<Square>(board.epSquare);
    for (Bitboard pawns = Attacks::pawnAttacks[~Us][to] & board.pieces[Us][Pawn]; pawns;)
        sink.template add<Pawn>(popLowest(pawns), to, FlagEnPassant);
}

template <Color Us, Kind K, Piece P, class Sink>
void addPieceMoves(const Board& board, Sink& sink) {
    const Bitboard enemies = board.colorBB[~Us];
    for (Bitboard pieces = board.pieces[Us][P]; pieces;) {
        const Square from = popLowest(pieces);
        Bitboard targets = Attacks::attacksOf<P>(from, board.occupied);
        if constexpr (K == Kind::Captures)
            targets &= enemies;
        else if constexpr (K == Kind::Quiets)
            targets &= ~board.occupied;
        else
            targets &= ~board.colorBB[Us];
        while (targets) {
            const Square to = popLowest(targets);
            std::uint32_t flag = K == Kind::Captures ? FlagCapture : FlagQuiet;
            if constexpr (K == Kind::All)
                flag = static_cast<std::uint32_t>((enemies >> to) & 1) * FlagCapture;
            sink.template add<P>(from, to, flag);
        }
    }
}

template <class Sink>
void addKingMove(Move m, Sink& sink) {
    sink.template add<King>(fromSquare(m), toSquare(m), moveFlag(m));
}

template <Color Us, class Sink>
void addCastling(const Board& board, Sink& sink) {
    if (!board.castling)
        return;
    if (board.canCastleKS(Us))
        addKingMove(kKingSideCastling[Us].move, sink);
    if (board.canCastleQS(Us))
        addKingMove(kQueenSideCastling[Us].move, sink);
}

} // namespace Detail

/// Hands all moves of one kind to a sink, in the order of the generators, and returns the sink:
/// `add<P>(from, to, flag)` receives a move of a piece `P`. Everything is inlined, so a sink of
/// pointers lives in registers.
template <Color Us, Kind K, class Sink>
[[gnu::flatten]] Sink generate(const Board& board, Sink sink) {
    using namespace Detail;
    const Bitboard pawns = board.pieces[Us][Pawn];
    const Bitboard promoting = pawns & kPromotionRank[Us];
    if constexpr (K != Kind::Captures)
        addPawnPushes<Us>(board, pawns & ~promoting, sink);
    if constexpr (K != Kind::Quiets) {
        addPawnCaptures<Us>(board, pawns & ~promoting, sink);
        addAllPromotions<Us>(board, promoting, sink);
        addEnPassant<Us>(board, sink);
    }
    addPieceMoves<Us, K, Knight>(board, sink);
    addPieceMoves<Us, K, Bishop>(board, sink);
    addPieceMoves<Us, K, Rook>(board, sink);
    addPieceMoves<Us, K, Queen>(board, sink);
    addPieceMoves<Us, K, King>(board, sink);
    if constexpr (K != Kind::Captures)
        addCastling<Us>(board, sink);
    return sink;
}

/// The same for the side to move.
template <Kind K, class Sink>
Sink generate(const Board& board, Sink sink) {
    return board.sideToMove == White ? generate<White, K>(board, sink)
                                     : generate<Black, K>(board, sink);
}

} // namespace MoveGen
