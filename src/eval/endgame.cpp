#include "eval/endgame.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>

namespace {

// Non-pawn material of the sides that the rules name.
constexpr int kKnightMaterial = kNonPawnValue[Knight];
constexpr int kBishopMaterial = kNonPawnValue[Bishop];
constexpr int kRookMaterial = kNonPawnValue[Rook];
constexpr int kTwoKnights = 2 * kKnightMaterial;
constexpr int kBishopAndKnight = kBishopMaterial + kKnightMaterial;

constexpr int kDrawn = 0;
constexpr int kNearlyDrawn = 8;
constexpr int kKrpkrHard = 12;
constexpr int kKrpkrUnclear = 24;
constexpr int kOppositeBishops = 32;

// Rook and pawn against rook: the lead of the strong king on the way to the queening square, in
// steps, at which the ending is unclear.
constexpr int kKrpkrLead = -3;

// A lead in non-pawn material that wins without pawns.
constexpr int kWinningLead = kKnightMaterial;

/// The side that an end-game score favours and its opponent.
struct Sides {
    const Board& board;
    Color strong;
    Color weak;

    int material(Color c) const { return board.nonPawnMaterial[c]; }
    Bitboard pawns(Color c) const { return board.pieces[c][Pawn]; }
    bool both(int amount) const { return material(strong) == amount && material(weak) == amount; }
};

bool hasExactlyOne(const Board& board, Color c, Piece p) {
    return popcount(board.pieces[c][p]) == 1;
}

int kingAndPawnScale(const Board& board, Color owner) {
    const Square pawn = lowestSquare(board.pieces[owner][Pawn]);
    const bool win = Endgame::kpkWin(owner, board.kingSquare(owner), pawn, board.kingSquare(~owner),
                                     board.sideToMove);
    return win ? kFullScale : kDrawn;
}

int rookAndPawnScale(const Board& board, Color owner) {
    return Endgame::krpkrScale(owner, board.kingSquare(owner),
                               lowestSquare(board.pieces[owner][Rook]),
                               lowestSquare(board.pieces[owner][Pawn]), board.kingSquare(~owner),
                               lowestSquare(board.pieces[~owner][Rook]), board.sideToMove);
}

bool bishopsOnDifferentColours(const Board& board) {
    return hasExactlyOne(board, White, Bishop) && hasExactlyOne(board, Black, Bishop) &&
           isLight(lowestSquare(board.pieces[White][Bishop])) !=
               isLight(lowestSquare(board.pieces[Black][Bishop]));
}

/// Bishop and rook pawns whose queening corner the bishop cannot cover, with the weak king beside
/// it.
bool isWrongBishop(const Sides& s) {
    if (s.material(s.strong) != kBishopMaterial || !hasExactlyOne(s.board, s.strong, Bishop) ||
        s.material(s.weak) != 0 || s.pawns(s.weak) || !s.pawns(s.strong))
        return false;
    const bool onA = !(s.pawns(s.strong) & ~fileBB(FileA));
    const bool onH = !(s.pawns(s.strong) & ~fileBB(FileH));
    if (!onA && !onH)
        return false;
    const Square corner = relativeSquare(s.strong, onA ? A8 : H8);
    return isLight(lowestSquare(s.board.pieces[s.strong][Bishop])) != isLight(corner) &&
           chebyshev(s.board.kingSquare(s.weak), corner) <= 1;
}

bool isRookAgainstMinor(const Sides& s) {
    const int weak = s.material(s.weak);
    return !s.pawns(White) && !s.pawns(Black) && s.material(s.strong) == kRookMaterial &&
           hasExactlyOne(s.board, s.strong, Rook) &&
           (weak == kKnightMaterial || weak == kBishopMaterial);
}

/// Files and ranks to the nearest corner.
int cornerDistance(Square sq) {
    return std::min(fileOf(sq), FileH - fileOf(sq)) + std::min(rankOf(sq), Rank8 - rankOf(sq));
}

int manhattan(Square a, Square b) {
    return std::abs(fileOf(a) - fileOf(b)) + std::abs(rankOf(a) - rankOf(b));
}

int mopUp(const Board& board, Color winner) {
    constexpr int kFromCornerToCorner = 14;
    constexpr int kCentreToCorner = 6;
    const Square loser = board.kingSquare(~winner);
    return (kFromCornerToCorner - manhattan(board.kingSquare(winner), loser)) *
               EvalParams::kMopUpCloseness +
           (kCentreToCorner - cornerDistance(loser)) * EvalParams::kMopUpEdge;
}

bool isBishopAndKnightAgainstKing(const Board& board, Color strong) {
    return hasExactlyOne(board, strong, Bishop) && hasExactlyOne(board, strong, Knight) &&
           !(board.pieces[strong][Pawn] | board.pieces[strong][Rook] |
             board.pieces[strong][Queen]) &&
           board.colorBB[~strong] == board.pieces[~strong][King];
}

int rightCorner(const Board& board, Color strong) {
    constexpr int kFarthestCorner = 7;
    constexpr Square kLight[2] = {H1, A8};
    constexpr Square kDark[2] = {A1, H8};
    const Square king = board.kingSquare(~strong);
    const auto& corners = isLight(lowestSquare(board.pieces[strong][Bishop])) ? kLight : kDark;
    const int distance = std::min(chebyshev(king, corners[0]), chebyshev(king, corners[1]));
    return EvalParams::kKbnCorner * (kFarthestCorner - distance);
}

} // namespace

int Endgame::krpkrScale(Color strong, Square strongKing, Square strongRook, Square pawn,
                        Square weakKing, Square /*weakRook*/, Color sideToMove) {
    const Detail::Normalizer normal(strong, pawn);
    pawn = normal(pawn);
    weakKing = normal(weakKing);
    strongKing = normal(strongKing);
    assert(rankOf(pawn) >= Rank2 && rankOf(pawn) <= Rank7);
    const int pawnFile = fileOf(pawn);
    const int weakFile = fileOf(weakKing);

    if (rankOf(weakKing) > rankOf(pawn) && std::abs(weakFile - pawnFile) <= 1)
        return kKrpkrHard;
    if (rankOf(pawn) > Rank5)
        return kFullScale;

    const Square queening = makeSquare(pawnFile, Rank8);
    const int lead = chebyshev(weakKing, queening) - chebyshev(strongKing, queening) -
                     (sideToMove == strong ? 0 : 1);
    if (lead < kKrpkrLead)
        return kKrpkrHard;
    if (lead > kKrpkrLead)
        return kFullScale;
    const int rookFile = fileOf(normal(strongRook));
    const bool cutOff =
        rookFile > std::min(pawnFile, weakFile) && rookFile < std::max(pawnFile, weakFile);
    return cutOff ? kFullScale : kKrpkrUnclear;
}

/// The rules where not both sides have pawns, and where each has just a bishop.
[[gnu::noinline]] int Endgame::Detail::rareScaleFactor(const Board& board, int egScore) {
    const Color strong = egScore < 0 ? Black : White;
    const Sides s{board, strong, ~strong};
    const Bitboard whitePawns = s.pawns(White);
    const Bitboard blackPawns = s.pawns(Black);

    if (popcount(whitePawns | blackPawns) == 1) {
        const Color owner = whitePawns ? White : Black;
        if (s.both(0))
            return kingAndPawnScale(board, owner);
        if (s.both(kRookMaterial) && hasExactlyOne(board, White, Rook) &&
            hasExactlyOne(board, Black, Rook))
            return rookAndPawnScale(board, owner);
    }
    if (s.both(kBishopMaterial) && bishopsOnDifferentColours(board))
        return kOppositeBishops;
    if (s.material(strong) == kTwoKnights && popcount(board.pieces[strong][Knight]) == 2 &&
        s.material(s.weak) == 0 && !s.pawns(strong) && !s.pawns(s.weak))
        return kDrawn;
    if (isWrongBishop(s))
        return kDrawn;
    if (isRookAgainstMinor(s))
        return kNearlyDrawn;
    const bool canWin =
        s.material(strong) - s.material(s.weak) > kWinningLead || s.pawns(strong) != 0;
    return canWin ? kFullScale : kNearlyDrawn;
}

/// Called where one side leads far enough to drive the other king.
[[gnu::noinline]] int Endgame::Detail::proximityOfLead(const Board& board, int whiteMaterial,
                                                       int blackMaterial) {
    int amount = whiteMaterial > blackMaterial ? mopUp(board, White) : -mopUp(board, Black);
    if (whiteMaterial == kBishopAndKnight && blackMaterial == 0 &&
        isBishopAndKnightAgainstKing(board, White))
        amount += rightCorner(board, White);
    else if (blackMaterial == kBishopAndKnight && whiteMaterial == 0 &&
             isBishopAndKnightAgainstKing(board, Black))
        amount -= rightCorner(board, Black);
    return amount;
}
