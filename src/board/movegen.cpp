#include "board/movegen.h"

#include "board/generate.h"
#include "board/kinglines.h"

namespace {

using MoveGen::Kind;

/// Appends moves to a list.
struct ListSink {
    Move* end;

    template <Piece>
    void add(Square from, Square to, std::uint32_t flag) {
        *end++ = encodeMove(from, to, flag);
    }
};

template <Kind K>
void append(const Board& board, MoveList& list) {
    const ListSink sink = MoveGen::generate<K>(board, ListSink{list.moves + list.count});
    list.count = static_cast<std::int32_t>(sink.end - list.moves);
    assert(list.count <= MoveList::kCapacity);
}

} // namespace

void generateMoves(const Board& board, MoveList& list) {
    append<Kind::All>(board, list);
}

void generateCaptures(const Board& board, MoveList& list) {
    append<Kind::Captures>(board, list);
}

void generateQuiets(const Board& board, MoveList& list) {
    append<Kind::Quiets>(board, list);
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
