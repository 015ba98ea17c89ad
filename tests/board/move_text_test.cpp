#include "board/movegen.h"

#include "support/notation.h"
#include "support/positions.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace Notation;

// --- writing ---

TEST(MoveToString, OfNoMoveIsFourZeros) {
    EXPECT_EQ(moveToString(0), "0000");
}

TEST(MoveToString, IsFromAndToSquare) {
    EXPECT_EQ(moveToString(encodeMove(12, 28, FlagDoublePush)), "e2e4");
    EXPECT_EQ(moveToString(encodeMove(0, 63)), "a1h8");
    EXPECT_EQ(moveToString(encodeMove(63, 0, FlagCapture)), "h8a1");
}

TEST(MoveToString, OfCastlingIsTheKingsMove) {
    EXPECT_EQ(moveToString(encodeMove(E1, C1, FlagCastleQueen)), "e1c1");
    EXPECT_EQ(moveToString(encodeMove(E1, G1, FlagCastleKing)), "e1g1");
    EXPECT_EQ(moveToString(encodeMove(E8, C8, FlagCastleQueen)), "e8c8");
    EXPECT_EQ(moveToString(encodeMove(E8, G8, FlagCastleKing)), "e8g8");
}

TEST(MoveToString, OfEnPassantIsThePawnsMove) {
    EXPECT_EQ(moveToString(moveOf("e5d6", FlagEnPassant)), "e5d6");
}

TEST(MoveToString, AppendsTheLetterOfAPromotion) {
    EXPECT_EQ(moveToString(moveOf("b7a8", 12)), "b7a8n");
    EXPECT_EQ(moveToString(moveOf("b7b8", 8)), "b7b8n");
    EXPECT_EQ(moveToString(moveOf("b7b8", 9)), "b7b8b");
    EXPECT_EQ(moveToString(moveOf("b7b8", 10)), "b7b8r");
    EXPECT_EQ(moveToString(moveOf("b7b8", 11)), "b7b8q");
    EXPECT_EQ(moveToString(moveOf("b7c8", 15)), "b7c8q");
}

// --- reading ---

TEST(ParseUciMove, ReadsFourCharactersAsAMoveWithoutFlag) {
    EXPECT_EQ(parseUCIMove("e2e4"), encodeMove(12, 28, FlagQuiet));
    EXPECT_EQ(parseUCIMove("a1h8"), encodeMove(0, 63));
    EXPECT_EQ(parseUCIMove("h8a1"), encodeMove(63, 0));
    EXPECT_EQ(parseUCIMove("e1g1"), encodeMove(E1, G1, FlagQuiet));
}

TEST(ParseUciMove, ReadsThePromotionLetterAsAQuietPromotion) {
    EXPECT_EQ(parseUCIMove("e7e8n"), moveOf("e7e8", 8));
    EXPECT_EQ(parseUCIMove("e7e8b"), moveOf("e7e8", 9));
    EXPECT_EQ(parseUCIMove("e7e8r"), moveOf("e7e8", 10));
    EXPECT_EQ(parseUCIMove("e7e8q"), moveOf("e7e8", 11));
    EXPECT_EQ(parseUCIMove("e7d8q"), moveOf("e7d8", 11));
}

TEST(ParseUciMove, IgnoresWhatFollowsTheFifthCharacter) {
    EXPECT_EQ(parseUCIMove("e7e8qx"), moveOf("e7e8", 11));
    EXPECT_EQ(parseUCIMove("e2e4n#!?"), moveOf("e2e4", 8));
}

TEST(ParseUciMove, RefusesWhatIsNoMove) {
    for (const std::string_view text :
         {"",      "e",    "e2",    "e2e",   "i2i4",  "e2i4",  "a0a1",
          "a1a0",  "a9a1", "a1a9",  "E2e4",  "e2E4",  "2e4e",  " e2e4",
          "e2-e4", "0000", "e7e8Q", "e7e8k", "e7e8p", "e7e8 ", "e7e8="})
        EXPECT_EQ(parseUCIMove(text), 0u) << text;
}

TEST(ParseUciMove, ReadsBackEveryWrittenMove) {
    for (const std::string& fen : Positions::readShared())
        for (const Move m : movesOf(boardOf(fen))) {
            const Move parsed = parseUCIMove(moveToString(m));
            EXPECT_EQ((parsed ^ m) & 0xFFF, 0u) << fen << ' ' << describe(m);
            EXPECT_EQ(isPromotion(parsed), isPromotion(m)) << fen << ' ' << describe(m);
            if (isPromotion(m)) {
                EXPECT_EQ(promotedPiece(parsed), promotedPiece(m)) << fen << ' ' << describe(m);
            }
        }
}

// --- matching with a position ---

std::string matched(std::string_view fen, std::string_view text) {
    return describe(matchMove(boardOf(fen), parseUCIMove(text)));
}

constexpr std::string_view kPromotions = "3r3k/4P3/8/8/8/8/8/4K3 w - - 0 1";

TEST(MatchMove, FindsTheFlagsThatTheTextLacks) {
    EXPECT_EQ(matched(kStartFen, "e2e4"), "e2e4/1");
    EXPECT_EQ(matched(kStartFen, "e2e3"), "e2e3/0");
    EXPECT_EQ(matched("4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6"), "e5d6/5");
    EXPECT_EQ(matched("4k3/8/3p4/4P3/8/8/8/4K3 w - - 0 1", "e5d6"), "e5d6/4");
    EXPECT_EQ(matched("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", "e1g1"), "e1g1/2");
    EXPECT_EQ(matched("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", "e1c1"), "e1c1/3");
    EXPECT_EQ(matched("r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 0 1", "e8c8"), "e8c8/3");
}

TEST(MatchMove, WithoutAPromotionLetterPromotesToAQueen) {
    EXPECT_EQ(matched(kPromotions, "e7e8"), "e7e8q/11");
    EXPECT_EQ(matched(kPromotions, "e7d8"), "e7d8q/15");
}

TEST(MatchMove, WithAPromotionLetterPromotesToThatPiece) {
    EXPECT_EQ(matched(kPromotions, "e7e8n"), "e7e8n/8");
    EXPECT_EQ(matched(kPromotions, "e7e8b"), "e7e8b/9");
    EXPECT_EQ(matched(kPromotions, "e7e8r"), "e7e8r/10");
    EXPECT_EQ(matched(kPromotions, "e7e8q"), "e7e8q/11");
    EXPECT_EQ(matched(kPromotions, "e7d8r"), "e7d8r/14");
    EXPECT_EQ(matched(kPromotions, "e7d8n"), "e7d8n/12");
}

TEST(MatchMove, RefusesAPromotionLetterOnAnotherMove) {
    EXPECT_EQ(matched(kStartFen, "e2e4q"), "0000/0");
    EXPECT_EQ(matched(kStartFen, "g1f3n"), "0000/0");
}

TEST(MatchMove, RefusesWhatThePositionDoesNotOffer) {
    EXPECT_EQ(matched(kStartFen, "e2e5"), "0000/0");
    EXPECT_EQ(matched(kStartFen, "e7e5"), "0000/0");
    EXPECT_EQ(matched(kStartFen, "e1g1"), "0000/0");
    EXPECT_EQ(matched(kStartFen, "nonsense"), "0000/0");
}

TEST(MatchMove, FindsPseudoLegalMovesToo) {
    // The knight is pinned: whether a matched move is legal is the caller's question.
    EXPECT_EQ(matched("4r2k/8/8/8/8/8/4N3/4K3 w - - 0 1", "e2c3"), "e2c3/0");
}

TEST(MatchMove, FindsEveryGeneratedMoveFromItsText) {
    for (const std::string& fen : Positions::readAll()) {
        const Board board = boardOf(fen);
        for (const Move m : movesOf(board))
            ASSERT_EQ(matchMove(board, parseUCIMove(moveToString(m))), m)
                << fen << ' ' << describe(m);
    }
}

} // namespace
