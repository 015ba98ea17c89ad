#include "search/see.h"

#include "helpers.h"

#include <algorithm>

namespace {

constexpr int kPieceValue[6] = {100, 320, 330, 500, 900, 10000};

/// Exchanges played out plainly: every attacker looked up afresh, the value of each recapture
/// worked out in full.
class SlowExchange {
  public:
    explicit SlowExchange(const Board& board) : board_(board) {}

    int value(Move m) const {
        const Square from = fromSquare(m);
        const Square to = toSquare(m);
        Bitboard occupied = board_.occupied & ~bit(from);
        int gain = 0;
        if (moveFlag(m) == FlagEnPassant) {
            gain = kPieceValue[Pawn];
            occupied &= ~bit(board_.sideToMove == White ? to - 8 : to + 8);
        } else if (board_.mailbox[to] != kNoPiece) {
            gain = kPieceValue[board_.mailbox[to]];
        }
        occupied |= bit(to);
        return gain - recapture(to, occupied, ~board_.sideToMove, board_.mailbox[from]);
    }

  private:
    /// What `side` gains by taking the piece on the target or by leaving it.
    int recapture(Square to, Bitboard occupied, Color side, Piece onTarget) const {
        const Bitboard others = occupied & ~bit(to);
        const Bitboard own = attackers(to, occupied, side) & others;
        for (const Piece p : {Pawn, Knight, Bishop, Rook, Queen}) {
            if (!(own & board_.pieces[side][p]))
                continue;
            const Bitboard left = occupied & ~bit(lowestSquare(own & board_.pieces[side][p]));
            return std::max(0, kPieceValue[onTarget] - recapture(to, left, ~side, p));
        }
        const bool kingMayTake = own != 0 && !(attackers(to, occupied, ~side) & others);
        return kingMayTake ? kPieceValue[onTarget] : 0;
    }

    Bitboard attackers(Square to, Bitboard occupied, Color side) const {
        return board_.attackersTo(to, occupied) & board_.colorBB[side];
    }

    const Board& board_;
};

int expectedSee(const Board& board, Move m) {
    return isPromotion(m) ? 0 : std::clamp(SlowExchange(board).value(m), -1800, 1800);
}

void expectAgreement(const Board& board, Move m) {
    const int value = isPromotion(m) ? 0 : SlowExchange(board).value(m);
    for (const int threshold : {value - 1, value, value + 1, -101, -100, -1, 0, 1, 100, 101})
        ASSERT_EQ(seeGE(board, m, threshold), threshold <= value)
            << board.fen() << ' ' << moveToString(m) << " threshold " << threshold;
    ASSERT_EQ(see(board, m), expectedSee(board, m)) << board.fen() << ' ' << moveToString(m);
}

void expectAgreementOnAllMoves(const Board& board) {
    MoveList moves;
    generateMoves(board, moves);
    for (const Move m : moves)
        ASSERT_NO_FATAL_FAILURE(expectAgreement(board, m));
}

int seeOf(std::string_view fen, std::string_view move) {
    const Board board = boardOf(fen);
    const Move m = moveOf(board, move);
    const int value = see(board, m);
    EXPECT_TRUE(seeGE(board, m, value));
    EXPECT_FALSE(seeGE(board, m, value + 1));
    return value;
}

TEST(Exchange, PromotionsPassZeroAndFailOneWhateverHappensToThem) {
    const Board board = boardOf("3r2k1/4P3/8/8/8/8/8/4K3 w - - 0 1");
    for (const std::string_view move : {"e7e8q", "e7e8n", "e7d8q", "e7d8r"}) {
        const Move m = moveOf(board, move);
        EXPECT_TRUE(seeGE(board, m, 0)) << move;
        EXPECT_TRUE(seeGE(board, m, -900)) << move;
        EXPECT_FALSE(seeGE(board, m, 1)) << move;
        EXPECT_EQ(see(board, m), 0) << move;
    }
}

TEST(Exchange, PawnTakesDefendedKnight) {
    EXPECT_EQ(seeOf("4k3/8/4p3/3n4/4P3/8/8/4K3 w - - 0 1", "e4d5"), 220);
}

TEST(Exchange, KnightTakesPawnDefendedByPawn) {
    EXPECT_EQ(seeOf("4k3/8/4p3/3p4/8/4N3/8/4K3 w - - 0 1", "e3d5"), -220);
}

TEST(Exchange, TheRookBehindTheRookCounts) {
    EXPECT_EQ(seeOf("3r2k1/8/8/3p4/8/8/3R4/3R2K1 w - - 0 1", "d2d5"), 100);
    EXPECT_EQ(seeOf("3r2k1/8/8/3p4/8/8/3R4/6K1 w - - 0 1", "d2d5"), -400);
}

TEST(Exchange, TheBishopBehindThePawnAndTheQueenBehindTheBishopCount) {
    EXPECT_EQ(seeOf("7k/8/4pn2/3p4/4P3/5B2/6Q1/7K w - - 0 1", "e4d5"), 100 - 100 + 100 - 330 + 320);
    // Without the queen the bishop does not recapture.
    EXPECT_EQ(seeOf("7k/8/4pn2/3p4/4P3/5B2/8/7K w - - 0 1", "e4d5"), 100 - 100);
}

TEST(Exchange, TheKingMayNotRecaptureIntoAnAttack) {
    EXPECT_EQ(seeOf("8/8/4k3/3p4/8/8/3R4/3R2K1 w - - 0 1", "d2d5"), 100);
    EXPECT_EQ(seeOf("8/8/4k3/3p4/8/8/3R4/6K1 w - - 0 1", "d2d5"), -400);
}

TEST(Exchange, TheKingRecapturesWhenNobodyCanAnswer) {
    // The knight takes back, and the king would take the second rook: White stops before.
    EXPECT_EQ(seeOf("8/8/1n2k3/3q4/8/8/3R4/3R2K1 w - - 0 1", "d2d5"), 900 - 500);
    // A third rook keeps the king away.
    EXPECT_EQ(seeOf("8/8/1n2k3/3q4/8/3R4/3R4/3R2K1 w - - 0 1", "d3d5"), 900 - 500 + 320);
}

TEST(Exchange, TakingEnPassantWinsAPawnAndOpensItsFile) {
    // The taken pawn hid the rook on d1 from d6: the c7 pawn may recapture, but loses itself.
    EXPECT_EQ(seeOf("4k3/2p5/8/3pP3/8/8/8/3RK3 w - d6 0 1", "e5d6"), 100);
    EXPECT_EQ(seeOf("4k3/2p5/8/3pP3/8/8/8/4K3 w - d6 0 1", "e5d6"), 0);
    EXPECT_EQ(seeOf("3rk3/8/8/8/3Pp3/8/2P5/4K3 b - d3 0 1", "e4d3"), 100);
}

TEST(Exchange, ValuesOfPlainMoves) {
    EXPECT_EQ(seeOf("4k3/8/8/3q4/4P3/8/8/4K3 w - - 0 1", "e4d5"), 900);
    EXPECT_EQ(seeOf("4k3/8/8/8/4P3/8/8/4K3 w - - 0 1", "e4e5"), 0);
    EXPECT_EQ(seeOf("4k3/8/3p4/8/4P3/8/8/4K3 w - - 0 1", "e4e5"), -100);
    EXPECT_EQ(seeOf("4k3/8/3p4/8/3PP3/8/8/4K3 w - - 0 1", "e4e5"), 0) << "a fair exchange";
    EXPECT_EQ(seeOf("4k3/8/3p4/8/8/8/8/4K2Q w - - 0 1", "h1h2"), 0);
    EXPECT_EQ(seeOf("4k3/8/3p4/8/8/8/8/Q3K3 w - - 0 1", "a1e5"), -900);
    EXPECT_EQ(seeOf("4k3/8/8/8/8/8/8/R3K2R w KQ - 0 1", "e1g1"), 0);
}

TEST(Exchange, AThresholdThatTheVictimDoesNotReachFailsAtOnce) {
    const Board board = boardOf("4k3/8/8/3q4/4P3/8/8/4K3 w - - 0 1");
    EXPECT_TRUE(seeGE(board, moveOf(board, "e4d5"), 900));
    EXPECT_FALSE(seeGE(board, moveOf(board, "e4d5"), 901));
}

TEST(Exchange, ValuesAreClampedTo1800BothWays) {
    const Board suicidal = boardOf("4k3/8/8/8/8/8/r7/4K3 w - - 0 1");
    EXPECT_EQ(see(suicidal, moveOf(suicidal, "e1e2")), -1800) << "the king would be lost";
    Board winning = boardOf("3rk3/8/8/8/8/8/8/4K3 w - - 0 1");
    winning.makeMove(moveOf(winning, "e1d1")); // illegal: Black may take the king
    EXPECT_EQ(see(winning, moveOf(winning, "d8d1")), 1800);
}

TEST(Exchange, AgreesWithTheSlowExchangeOnEveryTestPosition) {
    for (std::size_t i = 0; i < testPositions().size(); i += kOptimised ? 1 : 8)
        ASSERT_NO_FATAL_FAILURE(expectAgreementOnAllMoves(boardOf(testPositions()[i])));
}

TEST(Exchange, AgreesWithTheSlowExchangeInRandomGames) {
    std::mt19937_64 random(5);
    for (int game = 0; game < (kOptimised ? 40 : 4); ++game) {
        Board board = boardOf(kStartFen);
        for (int ply = 0; ply < 100 && playRandomMove(board, random); ++ply)
            ASSERT_NO_FATAL_FAILURE(expectAgreementOnAllMoves(board));
    }
}

} // namespace
