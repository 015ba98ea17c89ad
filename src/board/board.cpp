#include "board/board.h"

#include <algorithm>
#include <limits>

namespace {

// How far back a repetition test can look: the half-move clock is one byte.
constexpr int kReachableRecords = std::numeric_limits<std::uint8_t>::max();

// Room that a search needs on top of the game: its depth is bounded by 128 plies, and a line that
// is walked after the search by as many again.
constexpr int kSearchReserve = 300;

} // namespace

void Board::reset() {
    for (auto& side : pieces)
        std::fill(std::begin(side), std::end(side), Bitboard{0});
    colorBB[White] = colorBB[Black] = occupied = 0;
    std::fill(std::begin(mailbox), std::end(mailbox), kNoPiece);
    sideToMove = White;
    epSquare = kNoSquare;
    castling = 0;
    halfmoveClock = 0;
    fullmoveNumber = 1;
    key = pawnKey = 0;
    nonPawnHash[White] = nonPawnHash[Black] = 0;
    psq = 0;
    nonPawnMaterial[White] = nonPawnMaterial[Black] = 0;
    phase = 0;
    historyCount = 0;
}

std::uint64_t Board::computePawnKey() const {
    std::uint64_t result = 0;
    for (const Color c : {White, Black})
        for (Bitboard pawns = pieces[c][Pawn]; pawns;)
            result ^= Zobrist::pieceSquare[c][Pawn][popLowest(pawns)];
    return result;
}

bool Board::pieceIsThreatened() const {
    const Bitboard(&own)[kPieces] = pieces[sideToMove];
    const Bitboard(&enemy)[kPieces] = pieces[~sideToMove];
    const Bitboard majors = own[Rook] | own[Queen];
    if (pawnAttackSet(~sideToMove, enemy[Pawn]) & (majors | own[Knight] | own[Bishop]))
        return true;
    if (!majors)
        return false;
    Bitboard attacked = 0;
    for (Bitboard knights = enemy[Knight]; knights;)
        attacked |= Attacks::knightAttacks[popLowest(knights)];
    for (Bitboard bishops = enemy[Bishop]; bishops;)
        attacked |= Attacks::bishopAttacks(popLowest(bishops), occupied);
    if (attacked & majors)
        return true;
    if (!own[Queen])
        return false;
    attacked = 0;
    for (Bitboard rooks = enemy[Rook]; rooks;)
        attacked |= Attacks::rookAttacks(popLowest(rooks), occupied);
    return (attacked & own[Queen]) != 0;
}

void Board::makeRoomInHistory() {
    if (historyCount < kMaxHistory - kSearchReserve)
        return;
    std::copy(history + historyCount - kReachableRecords, history + historyCount, history);
    historyCount = kReachableRecords;
}
