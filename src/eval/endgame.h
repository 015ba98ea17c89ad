#pragma once

#include "board/board.h"

/// A full end-game scale: the factors below are parts of it.
inline constexpr int kFullScale = 64;

namespace Endgame {

/// Wins of king and pawn against king, one bit a position: strong king in bits 0-5 of the index,
/// weak king in bits 6-11, the weak side to move in bit 12, pawn file a to d in bits 13-14, six
/// minus the pawn's rank (1 to 6) in bits 15-17.
inline constexpr int kKPKPositions = 24 * 2 * 64 * 64;
extern std::uint32_t gKPK[kKPKPositions / 32];

/// Builds the table above. Only the first call does anything.
void init();

/// Whether the side with the pawn wins. The position must be legal.
bool kpkWin(Color strong, Square strongKing, Square pawn, Square weakKing, Color sideToMove);

/// Scale out of 64 for king, rook and pawn against king and rook.
int krpkrScale(Color strong, Square strongKing, Square strongRook, Square pawn, Square weakKing,
               Square weakRook, Color sideToMove);

} // namespace Endgame

namespace Endgame::Detail {

int rareScaleFactor(const Board& board, int egScore);
int proximityOfLead(const Board& board, int whiteMaterial, int blackMaterial);

} // namespace Endgame::Detail

/// What remains, out of 64, of an end-game score from White's point of view: less than 64 where the
/// side that it favours cannot make good on it.
inline int egScaleFactor(const Board& board, int egScore) {
    const bool bishopEach = board.nonPawnMaterial[White] == kNonPawnValue[Bishop] &&
                            board.nonPawnMaterial[Black] == kNonPawnValue[Bishop];
    if (board.pieces[White][Pawn] && board.pieces[Black][Pawn] && !bishopEach) [[likely]]
        return kFullScale;
    return Endgame::Detail::rareScaleFactor(board, egScore);
}

/// Drives the losing king to the edge and, with bishop and knight, to the right corner: an end-game
/// amount in centipawns from White's point of view. The materials are without pawns.
inline int kingProximityEg(const Board& board, int whiteMaterial, int blackMaterial) {
    const int lead = whiteMaterial - blackMaterial;
    if (lead <= EvalParams::kMopUpLead && lead >= -EvalParams::kMopUpLead)
        return 0;
    return Endgame::Detail::proximityOfLead(board, whiteMaterial, blackMaterial);
}
