#include "board/movegen.h"

#include "board/kinglines.h"
#include "board/rules.h"

namespace {

enum class Kind { All, Captures, Quiets };

template <Color Us>
void addPawnPushes(const Board& board, Bitboard pawns, MoveList& list) {
    constexpr int kStep = forward(Us);
    const PawnPushes pushes = pawnPushes(Us, pawns, ~board.occupied);
    for (Bitboard targets = pushes.once; targets;) {
        const Square to = popLowest(targets);
        list.add(encodeMove(to - kStep, to));
    }
    for (Bitboard targets = pushes.twice; targets;) {
        const Square to = popLowest(targets);
        list.add(encodeMove(to - 2 * kStep, to, FlagDoublePush));
    }
}

template <Color Us>
void addPawnCaptures(const Board& board, Bitboard pawns, MoveList& list) {
    const Bitboard enemies = board.colorBB[~Us];
    // Skip pawns that have nothing to capture; the order by from square stays.
    pawns &= pawnAttackSet(~Us, enemies);
    while (pawns) {
        const Square from = popLowest(pawns);
        for (Bitboard targets = Attacks::pawnAttacks[Us][from] & enemies; targets;)
            list.add(encodeMove(from, popLowest(targets), FlagCapture));
    }
}

void addPromotions(Square from, Square to, std::uint32_t flag, MoveList& list) {
    for (const Piece piece : kPromotions)
        list.add(encodeMove(from, to, flag + static_cast<std::uint32_t>(piece - Knight)));
}

template <Color Us>
void addAllPromotions(const Board& board, Bitboard pawns, MoveList& list) {
    while (pawns) {
        const Square from = popLowest(pawns);
        const Square ahead = from + forward(Us);
        if (!(board.occupied & bit(ahead)))
            addPromotions(from, ahead, FlagPromotion, list);
        for (Bitboard targets = Attacks::pawnAttacks[Us][from] & board.colorBB[~Us]; targets;)
            addPromotions(from, popLowest(targets), FlagCapturePromotion, list);
    }
}

template <Color Us>
void addEnPassant(const Board& board, MoveList& list) {
    if (board.epSquare == kNoSquare)
        return;
    const auto to = static_cast<Square>(board.epSquare);
    for (Bitboard pawns = Attacks::pawnAttacks[~Us][to] & board.pieces[Us][Pawn]; pawns;)
        list.add(encodeMove(popLowest(pawns), to, FlagEnPassant));
}

template <Color Us, Kind K, Piece P>
void addPieceMoves(const Board& board, MoveList& list) {
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
            list.add(encodeMove(from, to, flag));
        }
    }
}

template <Color Us>
void addCastling(const Board& board, MoveList& list) {
    if (!board.castling)
        return;
    if (board.canCastleKS(Us))
        list.add(kKingSideCastling[Us].move);
    if (board.canCastleQS(Us))
        list.add(kQueenSideCastling[Us].move);
}

template <Color Us, Kind K>
void generate(const Board& board, MoveList& list) {
    const Bitboard pawns = board.pieces[Us][Pawn];
    const Bitboard promoting = pawns & kPromotionRank[Us];
    if constexpr (K != Kind::Captures)
        addPawnPushes<Us>(board, pawns & ~promoting, list);
    if constexpr (K != Kind::Quiets) {
        addPawnCaptures<Us>(board, pawns & ~promoting, list);
        addAllPromotions<Us>(board, promoting, list);
        addEnPassant<Us>(board, list);
    }
    addPieceMoves<Us, K, Knight>(board, list);
    addPieceMoves<Us, K, Bishop>(board, list);
    addPieceMoves<Us, K, Rook>(board, list);
    addPieceMoves<Us, K, Queen>(board, list);
    addPieceMoves<Us, K, King>(board, list);
    if constexpr (K != Kind::Captures)
        addCastling<Us>(board, list);
}

template <Kind K>
void generateForSideToMove(const Board& board, MoveList& list) {
    if (board.sideToMove == White)
        generate<White, K>(board, list);
    else
        generate<Black, K>(board, list);
}

} // namespace

void generateMoves(const Board& board, MoveList& list) {
    generateForSideToMove<Kind::All>(board, list);
}

void generateCaptures(const Board& board, MoveList& list) {
    generateForSideToMove<Kind::Captures>(board, list);
}

void generateQuiets(const Board& board, MoveList& list) {
    generateForSideToMove<Kind::Quiets>(board, list);
}

void generateLegalMoves(const Board& board, MoveList& list) {
    MoveList all;
    generateMoves(board, all);
    const LegalityInfo legality(board, board.inCheck(board.sideToMove));
    for (const Move m : all)
        if (legality.isLegal(m))
            list.add(m);
}

Move firstLegalMove(const Board& board) {
    MoveList all;
    generateMoves(board, all);
    for (const Move m : all)
        if (board.isLegal(m))
            return m;
    return 0;
}

Move matchMove(const Board& board, Move parsed) {
    MoveList all;
    generateMoves(board, all);
    for (const Move m : all) {
        if ((m ^ parsed) & MoveCode::kFromToMask)
            continue;
        if (!isPromotion(parsed) || (isPromotion(m) && promotedPiece(m) == promotedPiece(parsed)))
            return m;
    }
    return 0;
}
