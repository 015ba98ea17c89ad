#include "board/makemove-inl.h"

void Board::makeMove(Move m) {
    makeMove(m, [](std::uint64_t) {});
}

void Board::unmakeMove(Move m) {
    if (sideToMove == Black)
        unmakeMoveOf<White>(m);
    else
        unmakeMoveOf<Black>(m);
}

void Board::makeNullMove() {
    pushRecord();
    if (epSquare != kNoSquare)
        key ^= Zobrist::enPassant[MoveDetail::epFile(epSquare)];
    epSquare = kNoSquare;
    key ^= Zobrist::sideToMove;
    if (sideToMove == Black)
        ++fullmoveNumber;
    sideToMove = ~sideToMove;
    ++halfmoveClock;
}

void Board::unmakeNullMove() {
    sideToMove = ~sideToMove;
    if (sideToMove == Black)
        --fullmoveNumber;
    static_cast<MoveState&>(*this) = popRecord();
}
