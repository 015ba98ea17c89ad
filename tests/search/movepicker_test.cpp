#include "search/movepicker.h"

#include "helpers.h"
#include "search/ordering.h"
#include "search/see.h"

#include <algorithm>

namespace {

using Moves = std::vector<Move>;

constexpr std::string_view kPromotionsFen = "8/PPPk4/8/8/8/8/4Kppp/8 w - - 0 1";
constexpr std::string_view kEnPassantFen =
    "rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 3";
constexpr std::string_view kPickedFens[] = {
    kStartFen,
    kTacticalFen,
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
    kRookEndgameFen,
    "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8",
    kPromotionsFen,
    kEnPassantFen,
    kMiddleGameFen,
};

/// A picker in memory that is full of other things, none of which may matter.
class PickerInUsedMemory {
  public:
    PickerInUsedMemory(const Thread& thread, const Board& board, Move tableMove) {
        for (volatile std::uint32_t& word : words_)
            word = 0x7FFF'5A5A;
        picker_ = new (words_) MovePicker(thread, board, tableMove);
    }

    MovePicker& operator*() { return *picker_; }

  private:
    alignas(MovePicker) std::uint32_t words_[sizeof(MovePicker) / sizeof(std::uint32_t)];
    MovePicker* picker_;
};

class PickerTest : public testing::Test {
  protected:
    /// Mostly small and positive, some beyond the cap, a quarter negative.
    void fillHistory(std::mt19937_64& random) {
        for (auto& side : thread->quietHistory)
            for (auto& from : side)
                for (std::int32_t& cell : from)
                    cell = drawHistory(random);
    }

    static std::int32_t drawHistory(std::mt19937_64& random) {
        if (random() % 4 == 0)
            return -static_cast<std::int32_t>(random() % 16385);
        const std::uint64_t range = random() % 8 != 0 ? 4000 : 900000;
        return static_cast<std::int32_t>(random() % range);
    }

    /// None, a legal move or any 16 bits.
    static Move drawTableMove(const Board& board, std::mt19937_64& random) {
        const std::uint64_t kind = random() % 3;
        if (kind == 0)
            return 0;
        if (kind == 2)
            return static_cast<Move>(random() & 0xFFFF);
        MoveList legal;
        generateLegalMoves(board, legal);
        if (legal.count == 0)
            return 0;
        return legal.moves[random() % static_cast<std::uint64_t>(legal.count)];
    }

    int captureScore(const Board& board, Move m) const {
        const Piece attacker = board.mailbox[fromSquare(m)];
        const Piece victim = moveFlag(m) == FlagEnPassant ? Pawn : board.mailbox[toSquare(m)];
        const int mvvLva = 100 * (victim + 1) + (5 - attacker);
        if (isPromotion(m))
            return mvvLva + 900 + 100000;
        constexpr int kValue[6] = {100, 320, 330, 500, 900, 10000};
        const bool good = kValue[victim] >= kValue[attacker] || seeGE(board, m, 0);
        return mvvLva + (good ? 100000 : -100000);
    }

    int scoreOf(const Board& board, Move m, Move tableMove) const {
        if (m == tableMove)
            return 1000000;
        if (isCapture(m))
            return captureScore(board, m);
        if (isPromotion(m))
            return 90000;
        const int history = thread->quietHistory[board.sideToMove][fromSquare(m)][toSquare(m)];
        return std::min(history, 77000);
    }

    /// All moves sorted once, with all scores known from the start.
    Moves expectedOrder(const Board& board, Move tableMove) const {
        MoveList list;
        generateMoves(board, list);
        Moves moves(list.begin(), list.end());
        std::stable_sort(moves.begin(), moves.end(), [&](Move a, Move b) {
            return scoreOf(board, a, tableMove) > scoreOf(board, b, tableMove);
        });
        return moves;
    }

    MovePicker pickerOf(const Board& board, Move tableMove = 0) const {
        return MovePicker(*thread, board, tableMove);
    }

    static Moves drain(MovePicker& picker) {
        Moves moves;
        while (const Move m = picker.next())
            moves.push_back(m);
        return moves;
    }

    Moves order(const Board& board, Move tableMove = 0) const {
        PickerInUsedMemory picker(*thread, board, tableMove);
        return drain(*picker);
    }

    static std::string text(const Moves& moves) {
        std::string result;
        for (const Move m : moves)
            result += moveToString(m) + ' ';
        return result;
    }

    static std::ptrdiff_t placeOf(const Moves& moves, Move m) {
        return std::find(moves.begin(), moves.end(), m) - moves.begin();
    }

    void setHistory(const Board& board, std::string_view move, std::int32_t value) {
        const Move m = moveOf(board, move);
        thread->quietHistory[board.sideToMove][fromSquare(m)][toSquare(m)] = value;
    }

    void expectTail(const Board& board, Move tableMove, const Moves& all, std::size_t taken) const;

    std::unique_ptr<Thread> thread = std::make_unique<Thread>(0);
};

TEST_F(PickerTest, OrdersLikeOneSortOfAllMoves) {
    std::mt19937_64 random(20260901);
    int validTableMoves = 0;
    for (const std::string_view fen : kPickedFens) {
        const Board board = boardOf(fen);
        for (int trial = 0; trial < 64; ++trial) {
            fillHistory(random);
            const Move tableMove = drawTableMove(board, random);
            validTableMoves += tableMove != 0 && board.isPseudoLegal(tableMove);
            ASSERT_EQ(text(order(board, tableMove)), text(expectedOrder(board, tableMove)))
                << fen << " table move " << tableMove;
        }
    }
    EXPECT_GT(validTableMoves, 100);
}

TEST_F(PickerTest, OrdersLikeOneSortOnEveryTestPosition) {
    std::mt19937_64 random(1);
    for (const std::string& fen : testPositions()) {
        const Board board = boardOf(fen);
        fillHistory(random);
        const Move tableMove = drawTableMove(board, random);
        ASSERT_EQ(text(order(board, tableMove)), text(expectedOrder(board, tableMove))) << fen;
    }
}

TEST_F(PickerTest, OrdersTheMostMovesThatABoardCanHave) {
    const std::string_view fens[] = {
        "knQQQQQQ/nnQ4Q/QQ5Q/Q6Q/Q6Q/Q6Q/Q6Q/QQQQQQQK w - - 0 1",
        "Q7/PPPPPPPP/8/8/8/8/PPPPPPPP/k1K5 w - - 0 1",
        "qqqqqqqk/q6q/q6q/q6q/q6q/qq5q/nnq4q/KNqqqqqq b - - 0 1",
    };
    std::mt19937_64 random(3);
    for (const std::string_view fen : fens) {
        const Board board = boardOf(fen);
        fillHistory(random);
        ASSERT_EQ(text(order(board)), text(expectedOrder(board, 0))) << fen;
    }
}

/// After `taken` moves the rest holds castling, checks, captures and promotions, in order.
void PickerTest::expectTail(const Board& board, Move tableMove, const Moves& all,
                            std::size_t taken) const {
    Moves expected;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Move m = all[i];
        if (i < taken || m == tableMove || isCaptureOrPromotion(m) || isCastling(m) ||
            board.quietGivesCheck(m))
            expected.push_back(m);
    }
    PickerInUsedMemory picker(*thread, board, tableMove);
    Moves picked;
    while (picked.size() < taken)
        picked.push_back((*picker).next());
    const CheckInfo checks(board);
    (*picker).keepQuietChecksOnly(checks);
    for (const Move m : drain(*picker))
        picked.push_back(m);
    ASSERT_EQ(text(picked), text(expected)) << board.fen() << " after " << taken;
}

TEST_F(PickerTest, ATailWithoutPlainQuietsKeepsTheOrderWhereverItBegins) {
    std::mt19937_64 random(7);
    const int trials = kOptimised ? 64 : 8;
    for (const std::string_view fen : kPickedFens) {
        const Board board = boardOf(fen);
        for (int trial = 0; trial < trials; ++trial) {
            fillHistory(random);
            const Move tableMove = drawTableMove(board, random);
            const Moves all = expectedOrder(board, tableMove);
            for (const std::size_t taken :
                 {std::size_t{0}, std::size_t{1}, all.size() / 3, all.size() / 2, all.size()})
                ASSERT_NO_FATAL_FAILURE(
                    expectTail(board, tableMove, all, std::min(taken, all.size())));
        }
    }
}

TEST_F(PickerTest, TheTailMayBeginAfterAnyMove) {
    std::mt19937_64 random(8);
    for (std::size_t i = 0; i < testPositions().size(); i += 10) {
        const Board board = boardOf(testPositions()[i]);
        fillHistory(random);
        const Moves all = expectedOrder(board, 0);
        for (std::size_t taken = 0; taken <= all.size(); ++taken)
            ASSERT_NO_FATAL_FAILURE(expectTail(board, 0, all, taken));
    }
}

TEST_F(PickerTest, AskingForChecksTwiceChangesNothing) {
    const Board board = boardOf(kMiddleGameFen);
    MovePicker once = pickerOf(board);
    MovePicker twice = pickerOf(board);
    for (int i = 0; i < 12; ++i) {
        once.next();
        twice.next();
    }
    const CheckInfo checks(board);
    once.keepQuietChecksOnly(checks);
    twice.keepQuietChecksOnly(checks);
    twice.keepQuietChecksOnly(checks);
    EXPECT_EQ(drain(once), drain(twice));
}

TEST_F(PickerTest, StaysExhausted) {
    const Board board = boardOf(kStartFen);
    MovePicker picker = pickerOf(board);
    EXPECT_EQ(drain(picker).size(), 20U);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(picker.next(), 0U);
}

TEST_F(PickerTest, TheTableMoveComesFirstAndOnlyOnce) {
    for (const std::string_view fen : kPickedFens) {
        const Board board = boardOf(fen);
        MoveList list;
        generateMoves(board, list);
        for (const Move tableMove : list) {
            const Moves moves = order(board, tableMove);
            ASSERT_EQ(moves.size(), static_cast<std::size_t>(list.count));
            ASSERT_EQ(moves.front(), tableMove);
            ASSERT_EQ(std::count(moves.begin(), moves.end(), tableMove), 1);
        }
    }
}

TEST_F(PickerTest, ATableMoveThatIsImpossibleHereIsIgnored) {
    const Board board = boardOf(kMiddleGameFen);
    const Moves without = order(board);
    for (const Move code : {encodeMove(A1, A8), encodeMove(A1, A1), encodeMove(0, 0, 15),
                            encodeMove(E1, G1, FlagCastleKing), Move{0xFFFF}})
        EXPECT_EQ(order(board, code), without) << code;
}

TEST_F(PickerTest, ALosingCaptureComesLastAndAWinningOneFirst) {
    // The rook may take a defended pawn (d5) and a free one (a2).
    const Board board = boardOf("3rk3/8/8/3p4/8/8/p2R4/4K3 w - - 0 1");
    const Moves moves = order(board);
    EXPECT_EQ(moves.front(), moveOf(board, "d2a2"));
    EXPECT_EQ(moves.back(), moveOf(board, "d2d5"));
}

TEST_F(PickerTest, LosingCapturesComeAfterQuietsOfTheWorstHistory) {
    const Board board = boardOf("3rk3/8/8/3p4/8/8/p2R4/4K3 w - - 0 1");
    for (auto& from : thread->quietHistory[White])
        for (std::int32_t& cell : from)
            cell = -16384;
    EXPECT_EQ(order(board).back(), moveOf(board, "d2d5"));
}

TEST_F(PickerTest, NegativeHistoryComesAfterNone) {
    const Board board = boardOf(kStartFen);
    setHistory(board, "a2a3", -1);
    setHistory(board, "b2b3", -2);
    setHistory(board, "g1h3", 1);
    const Moves moves = order(board);
    EXPECT_EQ(moves.front(), moveOf(board, "g1h3"));
    EXPECT_EQ(moves[18], moveOf(board, "a2a3"));
    EXPECT_EQ(moves[19], moveOf(board, "b2b3"));
}

TEST_F(PickerTest, HistoryBelongsToTheSideToMove) {
    Board board = boardOf(kStartFen);
    thread->quietHistory[Black][A1 + 8][A1 + 16] = 500; // a2a3
    thread->quietHistory[White][A8 - 8][A8 - 16] = 500; // a7a6
    thread->quietHistory[White][H1 + 8][H1 + 16] = 400; // h2h3
    thread->quietHistory[Black][H8 - 8][H8 - 16] = 300; // h7h6
    EXPECT_EQ(order(board).front(), moveOf(board, "h2h3"));
    board.makeNullMove();
    EXPECT_EQ(order(board).front(), moveOf(board, "h7h6"));
}

TEST_F(PickerTest, WithEqualScoresMovesComeAsTheyAreGenerated) {
    const Board board = boardOf(kStartFen);
    MoveList list;
    generateMoves(board, list);
    EXPECT_EQ(order(board), Moves(list.begin(), list.end()));
}

TEST_F(PickerTest, HistoryIsCappedSoCappedMovesAreEqual) {
    const Board board = boardOf(kStartFen);
    setHistory(board, "a2a3", 76999);
    setHistory(board, "b2b3", 77000);
    setHistory(board, "c2c3", 77001);
    setHistory(board, "h2h3", 900000);
    EXPECT_EQ(text(order(board)).substr(0, 20), "b2b3 c2c3 h2h3 a2a3 ");
}

TEST_F(PickerTest, EveryWinningCaptureAndPromotionPrecedesTheBestQuiet) {
    // Capturing and quiet promotions, a king's capture, a quiet move with the greatest history.
    const Board board = boardOf("1n2k3/P7/8/8/8/8/r6P/1K6 w - - 0 1");
    setHistory(board, "h2h4", 90000);
    const Moves moves = order(board);
    EXPECT_EQ(text({moves.begin(), moves.begin() + 10}),
              "a7b8q a7b8r a7b8b a7b8n b1a2 a7a8q a7a8r a7a8b a7a8n h2h4 ");
}

TEST_F(PickerTest, CapturesComeByVictimThenByAttacker) {
    // Everything takes on d5 or f5 with profit: queen before rook, pawn before knight.
    const Board board = boardOf("4k3/8/8/3q1r2/4P3/2N3N1/8/4K3 w - - 0 1");
    EXPECT_EQ(text(order(board)).substr(0, 20), "e4d5 c3d5 e4f5 g3f5 ");
    for (int attacker = 0; attacker < 6; ++attacker)
        for (int victim = 0; victim < 6; ++victim)
            EXPECT_EQ(Ordering::kMVVLVA[attacker][victim], 100 * (victim + 1) + 5 - attacker);
    EXPECT_EQ(Ordering::kMVVLVA[Pawn][Queen], 505);
    EXPECT_EQ(Ordering::kMVVLVA[Queen][Pawn], 101);
    EXPECT_EQ(Ordering::kMVVLVA[King][Pawn], 100);
}

TEST_F(PickerTest, EnPassantTakesAPawn) {
    // Taking en passant equals taking a pawn elsewhere: generation order decides.
    const Board board = boardOf("4k3/8/8/p2pP3/1P6/8/8/4K3 w - d6 0 1");
    EXPECT_EQ(text(order(board)).substr(0, 10), "b4a5 e5d6 ");
    const Board knight = boardOf("4k3/8/8/n2pP3/1P6/8/8/4K3 w - d6 0 1");
    EXPECT_EQ(text(order(knight)).substr(0, 10), "b4a5 e5d6 ");
    const Board queen = boardOf("4k3/8/8/3pP2p/8/8/8/4K2Q w - d6 0 1");
    EXPECT_EQ(order(queen).front(), moveOf(queen, "e5d6"));
}

TEST_F(PickerTest, UnderPromotionsInTakingAreWinningCapturesToo) {
    const Board board = boardOf(kPromotionsFen);
    const Moves moves = order(board);
    EXPECT_LT(placeOf(moves, moveOf(board, "a7a8n")), 13);
    EXPECT_EQ(text({moves.begin(), moves.begin() + 1}), "e2f2 ") << "a capture outranks them";
}

} // namespace
