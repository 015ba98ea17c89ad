#include "board/move.h"

#include "support/notation.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace Notation;

TEST(Squares, RunFromA1AlongTheRanksToH8) {
    EXPECT_EQ(squareAt("a1"), 0);
    EXPECT_EQ(squareAt("b1"), 1);
    EXPECT_EQ(squareAt("h1"), 7);
    EXPECT_EQ(squareAt("a2"), 8);
    EXPECT_EQ(squareAt("h8"), 63);
    EXPECT_EQ(A1, 0);
    EXPECT_EQ(E1, 4);
    EXPECT_EQ(H1, 7);
    EXPECT_EQ(A8, 56);
    EXPECT_EQ(E8, 60);
    EXPECT_EQ(H8, 63);
    EXPECT_EQ(kNoSquare, 64);
}

TEST(Squares, HaveFileAndRankFromZero) {
    for (int file = 0; file < 8; ++file)
        for (int rank = 0; rank < 8; ++rank) {
            const Square sq = makeSquare(file, rank);
            EXPECT_EQ(sq, file + 8 * rank);
            EXPECT_EQ(fileOf(sq), file);
            EXPECT_EQ(rankOf(sq), rank);
        }
}

TEST(Squares, LieOneRankForwardAtPlus8ForWhiteAndMinus8ForBlack) {
    EXPECT_EQ(squareAt("e4") + forward(White), squareAt("e5"));
    EXPECT_EQ(squareAt("e4") + forward(Black), squareAt("e3"));
}

TEST(Squares, HaveARankAsEachSideSeesIt) {
    EXPECT_EQ(relativeRank(White, squareAt("c2")), 1);
    EXPECT_EQ(relativeRank(Black, squareAt("c2")), 6);
}

TEST(Squares, OfOneColourAgreeInIsLight) {
    EXPECT_FALSE(isLight(squareAt("a1")));
    EXPECT_FALSE(isLight(squareAt("h8")));
    EXPECT_TRUE(isLight(squareAt("h1")));
    EXPECT_TRUE(isLight(squareAt("e4")));
}

TEST(Squares, AreAKingsStepsApartInTheLargerOfFilesAndRanks) {
    EXPECT_EQ(chebyshev(squareAt("a1"), squareAt("h8")), 7);
    EXPECT_EQ(chebyshev(squareAt("b7"), squareAt("c2")), 5);
    EXPECT_EQ(chebyshev(squareAt("g3"), squareAt("b4")), 5);
    EXPECT_EQ(chebyshev(squareAt("e4"), squareAt("e4")), 0);
}

TEST(Colors, AreWhite0AndBlack1AndEachOthersOpponent) {
    EXPECT_EQ(White, 0);
    EXPECT_EQ(Black, 1);
    EXPECT_EQ(~White, Black);
    EXPECT_EQ(~Black, White);
}

TEST(Pieces, RunFromPawn0ToKing5WithNoneAt6AndLettersInThatOrder) {
    EXPECT_EQ(Pawn, 0);
    EXPECT_EQ(Knight, 1);
    EXPECT_EQ(Bishop, 2);
    EXPECT_EQ(Rook, 3);
    EXPECT_EQ(Queen, 4);
    EXPECT_EQ(King, 5);
    EXPECT_EQ(kNoPiece, 6);
    EXPECT_EQ(kPieceLetters, "pnbrqk");
}

TEST(Bitboards, AreWalkedLowestSquareFirst) {
    Bitboard set = squaresAt("h8 a1 e4 d5");
    std::vector<Square> walked;
    while (set)
        walked.push_back(popLowest(set));
    EXPECT_EQ(walked, (std::vector<Square>{squareAt("a1"), squareAt("e4"), squareAt("d5"),
                                           squareAt("h8")}));
}

TEST(Bitboards, TellHowManySquaresTheyHold) {
    EXPECT_EQ(popcount(0), 0);
    EXPECT_EQ(popcount(squaresAt("a1 h8 e4")), 3);
    EXPECT_EQ(popcount(~Bitboard{0}), 64);
    EXPECT_FALSE(moreThanOne(0));
    EXPECT_FALSE(moreThanOne(squaresAt("h8")));
    EXPECT_TRUE(moreThanOne(squaresAt("a1 h8")));
}

TEST(Bitboards, ShiftWithoutWrappingRoundTheEdge) {
    EXPECT_EQ(shiftEast(squaresAt("a2 h2")), squaresAt("b2"));
    EXPECT_EQ(shiftWest(squaresAt("a2 h2")), squaresAt("g2"));
    EXPECT_EQ(shiftForward(White, squaresAt("a2 h8")), squaresAt("a3"));
    EXPECT_EQ(shiftForward(Black, squaresAt("a1 h8")), squaresAt("h7"));
}

TEST(Bitboards, OfFilesAndRanksHoldTheirEightSquares) {
    EXPECT_EQ(fileBB(0), squaresAt("a1 a2 a3 a4 a5 a6 a7 a8"));
    EXPECT_EQ(fileBB(7), squaresAt("h1 h2 h3 h4 h5 h6 h7 h8"));
    EXPECT_EQ(rankBB(0), squaresAt("a1 b1 c1 d1 e1 f1 g1 h1"));
    EXPECT_EQ(rankBB(6), squaresAt("a7 b7 c7 d7 e7 f7 g7 h7"));
}

TEST(Bitboards, OfPawnAttacksDoNotWrapRoundTheEdge) {
    EXPECT_EQ(pawnAttackSet(White, squaresAt("a2 e4 h5")), squaresAt("b3 d5 f5 g6"));
    EXPECT_EQ(pawnAttackSet(Black, squaresAt("a7 e4 h5")), squaresAt("b6 d3 f3 g4"));
    EXPECT_EQ(pawnAttackSet(White, squaresAt("c8")), 0u);
    EXPECT_EQ(pawnAttackSet(Black, squaresAt("c1")), 0u);
}

// --- encoded moves ---

TEST(Moves, HoldFromInBits0To5ToInBits6To11AndTheFlagInBits12To15) {
    for (std::uint32_t code = 0; code <= 0xFFFF; code += 7) {
        EXPECT_EQ(fromSquare(code), static_cast<Square>(code & 0x3F));
        EXPECT_EQ(toSquare(code), static_cast<Square>(code >> 6 & 0x3F));
        EXPECT_EQ(moveFlag(code), code >> 12);
        EXPECT_EQ(encodeMove(fromSquare(code), toSquare(code), moveFlag(code)), code);
    }
}

TEST(Moves, HaveTheStatedFlagValues) {
    EXPECT_EQ(encodeMove(0, 0, FlagQuiet), 0x0000u);
    EXPECT_EQ(encodeMove(0, 0, FlagDoublePush), 0x1000u);
    EXPECT_EQ(encodeMove(0, 0, FlagCastleKing), 0x2000u);
    EXPECT_EQ(encodeMove(0, 0, FlagCastleQueen), 0x3000u);
    EXPECT_EQ(encodeMove(0, 0, FlagCapture), 0x4000u);
    EXPECT_EQ(encodeMove(0, 0, FlagEnPassant), 0x5000u);
    EXPECT_EQ(encodeMove(0, 0, FlagPromotion), 0x8000u);
    EXPECT_EQ(encodeMove(0, 0, FlagCapturePromotion), 0xC000u);
}

TEST(Moves, AreOfTheKindThatTheirFlagSays) {
    for (std::uint32_t flag = 0; flag < 16; ++flag) {
        const Move m = encodeMove(12, 28, flag);
        EXPECT_EQ(isCastling(m), flag == 2 || flag == 3) << flag;
        EXPECT_EQ(isEnPassant(m), flag == 5) << flag;
        EXPECT_EQ(isCapture(m), (flag >= 4 && flag <= 7) || flag >= 12) << flag;
        EXPECT_EQ(isPromotion(m), flag >= 8) << flag;
        EXPECT_EQ(isCaptureOrPromotion(m), flag >= 4) << flag;
    }
}

TEST(Moves, PromoteToKnightBishopRookAndQueenInFlagOrder) {
    constexpr Piece kPromoted[4] = {Knight, Bishop, Rook, Queen};
    for (std::uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(promotedPiece(encodeMove(52, 60, 8 + i)), kPromoted[i]);
        EXPECT_EQ(promotedPiece(encodeMove(52, 61, 12 + i)), kPromoted[i]);
    }
}

TEST(Moves, EnPassantTakesOnTheRankOfTheOriginAndTheFileOfTheTarget) {
    EXPECT_EQ(enPassantVictim(moveOf("e5d6", FlagEnPassant)), squareAt("d5"));
    EXPECT_EQ(enPassantVictim(moveOf("a4b3", FlagEnPassant)), squareAt("b4"));
}

TEST(MoveLists, StartEmptyAndKeepMovesInTheOrderOfAdding) {
    MoveList list;
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(list.begin(), list.end());
    list.add(3);
    list.add(1);
    list.add(2);
    EXPECT_EQ(std::vector<Move>(list.begin(), list.end()), (std::vector<Move>{3, 1, 2}));
}

} // namespace
