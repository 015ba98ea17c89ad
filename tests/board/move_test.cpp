#include "board/move.h"

#include "support/notation.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace Notation;

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
