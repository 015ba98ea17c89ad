#pragma once

#include "board/board.h"

/// The scale of an end game that is worth all of its score; every scale is out of this.
inline constexpr int kFullScale = 64;

namespace Endgame {

/// Wins of king and pawn against king, one bit for each position: strong king in bits 0-5 of the
/// index, weak king in bits 6-11, the weak side to move in bit 12, pawn file a to d in bits 13-14,
/// ranks from the pawn to the seventh, 0 to 5, in bits 15-17.
inline constexpr int kKPKPawnSquares = 24;
inline constexpr int kKPKPositions = kKPKPawnSquares * kColors * kSquares * kSquares;
inline constexpr int kKPKWordBits = 32;
extern std::uint32_t gKPK[kKPKPositions / kKPKWordBits];

/// Builds the table above. Only the first call does anything.
void init();

/// Whether the side with the pawn wins. The position must be legal.
bool kpkWin(Color strong, Square strongKing, Square pawn, Square weakKing, Color sideToMove);

/// Scale for king, rook and pawn against king and rook.
int krpkrScale(Color strong, Square strongKing, Square strongRook, Square pawn, Square weakKing,
               Square weakRook, Color sideToMove);

} // namespace Endgame

namespace Endgame::Detail {

/// Turns a position so that the strong side is White and its pawn stands on files a to d.
class Normalizer {
  public:
    Normalizer(Color strong, Square pawn) : flip_(strong == Black), mirror_(fileOf(pawn) > FileD) {}

    Square operator()(Square sq) const {
        const Square upright = flip_ ? flipRank(sq) : sq;
        return mirror_ ? flipFile(upright) : upright;
    }

  private:
    bool flip_;
    bool mirror_;
};

int rareScaleFactor(const Board& board, int egScore);
int proximityOfLead(const Board& board, int whiteMaterial, int blackMaterial);

} // namespace Endgame::Detail

/// What remains, out of `kFullScale`, of an end-game score from White's point of view: less where
/// the side that is ahead can hardly win.
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
