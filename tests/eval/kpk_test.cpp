#include "eval/endgame.h"
#include "naive_endgame.h"
#include "support/notation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

using Notation::squareAt;

namespace {

enum Result { Drawn, Won };

struct Ending {
    std::string_view king;
    std::string_view pawn;
    std::string_view weakKing;
    Result whiteToMove;
    Result blackToMove;
    const char* why;
};

constexpr Ending kEndings[] = {
    {"e6", "e5", "e8", Won, Won, "king on the sixth rank before his pawn"},
    {"e5", "e4", "e7", Drawn, Won, "opposition"},
    {"d5", "e4", "d7", Drawn, Won, "opposition beside the pawn's file"},
    {"e6", "e4", "e8", Won, Won, "king on a key square"},
    {"e4", "e5", "e7", Drawn, Drawn, "king behind his pawn"},
    {"d6", "e6", "e8", Won, Drawn, "pawn to the seventh rank without check"},
    {"g6", "g5", "g8", Won, Won, "knight's pawn, king on the sixth rank"},
    {"b6", "a5", "a8", Drawn, Drawn, "rook's pawn, weak king in the corner"},
    {"g6", "h5", "g8", Drawn, Drawn, "rook's pawn, weak king reaches the corner"},
    {"b7", "a5", "d7", Won, Won, "rook's pawn, corner taken by the strong king"},
    {"g7", "h4", "e7", Won, Won, "the same on the other wing"},
    {"a8", "a7", "c8", Drawn, Drawn, "strong king locked in before his pawn"},
    {"a8", "a7", "c7", Drawn, Drawn, "the same, stalemate if it is his move"},
    {"b6", "b7", "b8", Won, Drawn, "stalemate, but the strong king steps aside and back"},
    {"c6", "c7", "c8", Won, Drawn, "stalemate on a bishop's file"},
    {"e6", "e7", "e8", Won, Drawn, "stalemate on a centre file"},
    {"a6", "a7", "a8", Drawn, Drawn, "stalemate on a rook's file: no side to step to"},
    {"h1", "a5", "e5", Won, Drawn, "square of the pawn: the mover decides"},
    {"h1", "a5", "d5", Drawn, Drawn, "inside the square"},
    {"h1", "a5", "f5", Won, Won, "outside the square"},
    {"h1", "a2", "g4", Won, Drawn, "the double push counts for the square"},
    {"h1", "a2", "f4", Drawn, Drawn, "inside the square of the double push"},
    {"h1", "e4", "e5", Drawn, Drawn, "pawn lost or stopped for good"},
    {"h1", "d7", "d8", Drawn, Drawn, "pawn on the seventh rank falls"},
    {"c7", "d7", "h8", Won, Won, "pawn promotes under the king's guard"},
    {"d8", "d7", "f7", Won, Won, "king steps off the queening square"},
};

/// Rules out places that no game knows: shared squares, kings side by side, the weak king left in
/// check by the pawn.
bool isLegalPlace(Square king, Square pawn, Square weakKing, Color mover) {
    const bool attacked =
        rankOf(weakKing) == rankOf(pawn) + 1 &&
        (fileOf(weakKing) - fileOf(pawn) == 1 || fileOf(weakKing) - fileOf(pawn) == -1);
    return king != pawn && weakKing != pawn && chebyshev(king, weakKing) > 1 &&
           !(mover == White && attacked);
}

template <class Visit>
void visitPlaces(Visit&& visit) {
    for (Square pawn = 8; pawn < 56; ++pawn)
        for (Square king = 0; king < 64; ++king)
            for (Square weakKing = 0; weakKing < 64; ++weakKing)
                for (const Color mover : {White, Black})
                    if (isLegalPlace(king, pawn, weakKing, mover))
                        visit(king, pawn, weakKing, mover);
}

} // namespace

TEST(KingAndPawn, KnownWinsAndDraws) {
    for (const Ending& e : kEndings) {
        const Square king = squareAt(e.king);
        const Square pawn = squareAt(e.pawn);
        const Square weakKing = squareAt(e.weakKing);
        EXPECT_EQ(Endgame::kpkWin(White, king, pawn, weakKing, White), e.whiteToMove == Won)
            << e.why << ", White to move";
        EXPECT_EQ(Endgame::kpkWin(White, king, pawn, weakKing, Black), e.blackToMove == Won)
            << e.why << ", Black to move";
    }
}

TEST(KingAndPawn, EveryBitIsWhatPassesOverAllPositionsGive) {
    static_assert(std::size(Endgame::gKPK) == 6144);
    const Naive::KingAndPawn& table = Naive::kingAndPawn();
    int wins = 0;
    for (int i = 0; i < Naive::KingAndPawn::kPositions; ++i) {
        const bool bitSet = (Endgame::gKPK[i / 32] >> (i % 32) & 1) != 0;
        ASSERT_EQ(bitSet, table.isWin(i)) << "index " << i;
        wins += bitSet;
    }
    EXPECT_GT(wins, 0);
}

TEST(KingAndPawn, ReadsTheBitOfThePositionWhereverItStands) {
    int wins = 0;
    visitPlaces([&](Square king, Square pawn, Square weakKing, Color mover) {
        const bool win = Endgame::kpkWin(White, king, pawn, weakKing, mover);
        wins += win;
        if (win != Naive::kingAndPawn().isWin(Naive::kWhite, king, pawn, weakKing, mover))
            ADD_FAILURE() << king << ' ' << pawn << ' ' << weakKing << ' ' << mover;
    });
    EXPECT_GT(wins, 100000);
}

TEST(KingAndPawn, BlackAsTheStrongSideIsTheMirroredWhite) {
    int differences = 0;
    visitPlaces([&](Square king, Square pawn, Square weakKing, Color mover) {
        differences += Endgame::kpkWin(White, king, pawn, weakKing, mover) !=
                       Endgame::kpkWin(Black, king ^ 56, pawn ^ 56, weakKing ^ 56, ~mover);
    });
    EXPECT_EQ(differences, 0);
}

TEST(KingAndPawn, LeftAndRightAreAlike) {
    int differences = 0;
    visitPlaces([&](Square king, Square pawn, Square weakKing, Color mover) {
        differences += Endgame::kpkWin(White, king, pawn, weakKing, mover) !=
                       Endgame::kpkWin(White, king ^ 7, pawn ^ 7, weakKing ^ 7, mover);
    });
    EXPECT_EQ(differences, 0);
}

TEST(KingAndPawn, ARookPawnNeverWinsAgainstTheKingOnItsQueeningSquare) {
    int seen = 0;
    visitPlaces([&](Square king, Square pawn, Square weakKing, Color mover) {
        if (weakKing != (fileOf(pawn) | 56) || (fileOf(pawn) != 0 && fileOf(pawn) != 7))
            return;
        ++seen;
        EXPECT_FALSE(Endgame::kpkWin(White, king, pawn, weakKing, mover))
            << king << ' ' << pawn << ' ' << mover;
    });
    EXPECT_GT(seen, 1000);
}

TEST(KingAndPawn, BuildingTheTableAgainDoesNothingAtAll) {
    const auto word = std::find_if(std::begin(Endgame::gKPK), std::end(Endgame::gKPK),
                                   [](std::uint32_t bits) { return bits != 0; });
    ASSERT_NE(word, std::end(Endgame::gKPK));
    const std::uint32_t kept = *word;
    *word = 0;
    Endgame::init();
    EXPECT_EQ(*word, 0U);
    *word = kept;
}
