#include "eval/evaluate.h"
#include "eval/walk.h"
#include "naive_eval.h"
#include "sampling.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

using Notation::boardOf;

namespace {

void expectNaiveValue(const Board& board) {
    const std::string fen = board.fen();
    const Naive::Evaluation wanted = Naive::evaluateFen(fen);
    ASSERT_EQ(evaluate(board), wanted.value) << fen;
}

/// For visitors that cannot stop: after a failure the rest would only repeat it.
void expectNaiveValueUntilFailure(const Board& board) {
    if (!testing::Test::HasFatalFailure())
        expectNaiveValue(board);
}

} // namespace

// --- against the second evaluation ---

TEST(Evaluate, AgreesWithTheSecondEvaluationOnTheSharedPositions) {
    for (const std::string& fen : Positions::readShared())
        ASSERT_NO_FATAL_FAILURE(expectNaiveValue(boardOf(fen)));
}

TEST(Evaluate, AgreesWithTheSecondEvaluationInRandomGames) {
    Sampling::visitGames(20, scaled(40000), expectNaiveValueUntilFailure);
}

TEST(Evaluate, AgreesWithTheSecondEvaluationInEndings) {
    std::uint64_t seed = 200;
    for (const char* material :
         {"KPk", "Kkpp", "KRPkr", "KBPkb", "KBPkbp", "KNNk", "KBPk", "KBNk", "Kkbn", "KQk", "KRkn",
          "KRRPPkrrpp", "KQPPkrbp", "KRBPPPkrnppp", "KQQkqr", "KBBkn", "KNPPPkbppp"})
        Sampling::visitScattered(material, ++seed, std::max(scaled(500), 25),
                                 expectNaiveValueUntilFailure);
}

TEST(Evaluate, AgreesWithTheSecondEvaluationOnBoardsFullOfPieces) {
    Sampling::visitWild(40, scaled(3000), expectNaiveValueUntilFailure);
}

TEST(Evaluate, DozensOfQueensDoNotOverflow) {
    const std::string queens = "QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/";
    const Board white = boardOf(queens + "QQQK2Qk b - - 0 1");
    expectNaiveValue(white);
    EXPECT_LT(evaluate(white), -50 * 1000);
    const Board black = boardOf(Sampling::mirrored(queens + "QQQK2Qk b - - 0 1"));
    expectNaiveValue(black);
    EXPECT_EQ(evaluate(black), evaluate(white));
}

TEST(AttackMaps, AreWhatThePiecesAttackOneByOne) {
    Sampling::visitGames(50, scaled(5000), [](const Board& board) {
        const Naive::Position position = Naive::parse(board.fen());
        Bitboard attackedBy[2];
        Eval::computeAttackedBy(board, attackedBy);
        for (const Color c : {White, Black}) {
            const Naive::SquareSet attacks = Naive::allAttacks(position, c);
            for (Square sq = 0; sq < 64; ++sq)
                EXPECT_EQ((attackedBy[c] & bit(sq)) != 0, Naive::in(attacks, sq))
                    << board.fen() << ' ' << c << ' ' << sq;
        }
    });
}

TEST(AbsolutePins, AreThePiecesThatStandAloneBeforeTheirKing) {
    int pins = 0;
    const auto check = [&](const Board& board) {
        const Naive::Position position = Naive::parse(board.fen());
        for (const Color c : {White, Black}) {
            Bitboard pinned = ~Bitboard{0};
            Bitboard rays[64] = {};
            Eval::computeAbsolutePins(board, c, pinned, rays);
            for (Square sq = 0; sq < 64; ++sq) {
                if (!(board.colorBB[c] & bit(sq)) || board.mailbox[sq] == King) {
                    EXPECT_EQ(pinned & bit(sq), 0U) << board.fen() << ' ' << sq;
                    continue;
                }
                Naive::SquareSet ray{};
                const bool wanted = Naive::findPin(position, c, sq, ray);
                EXPECT_EQ((pinned & bit(sq)) != 0, wanted) << board.fen() << ' ' << sq;
                if (!wanted)
                    continue;
                ++pins;
                for (Square s = 0; s < 64; ++s)
                    EXPECT_EQ((rays[sq] & bit(s)) != 0, Naive::in(ray, s))
                        << board.fen() << ' ' << sq << ' ' << s;
            }
        }
    };
    Sampling::visitGames(51, scaled(5000), check);
    Sampling::visitWild(52, scaled(1000), check);
    EXPECT_GT(pins, 20);
}

TEST(AbsolutePins, RaysEndAtThePinner) {
    const Board board = boardOf("4r2k/8/8/7b/4R3/5N2/8/q1BKR3 w - - 0 1");
    Bitboard pinned = 0;
    Bitboard rays[64];
    Eval::computeAbsolutePins(board, White, pinned, rays);
    EXPECT_EQ(pinned, Notation::squaresAt("c1 f3"));
    EXPECT_EQ(rays[Notation::squareAt("c1")], Notation::squaresAt("a1 b1 c1"));
    EXPECT_EQ(rays[Notation::squareAt("f3")], Notation::squaresAt("e2 f3 g4 h5"));
    Eval::computeAbsolutePins(board, Black, pinned, rays);
    EXPECT_EQ(pinned, 0U);
}

// --- symmetry ---

TEST(Evaluate, TheStartPositionIsWorthNothingToEitherSide) {
    EXPECT_EQ(evaluate(boardOf(std::string(kStartFen))), 0);
    EXPECT_EQ(evaluate(boardOf("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq - 0 1")), 0);
}

TEST(Evaluate, APositionAndItsColourMirrorAreWorthTheSame) {
    int unequal = 0;
    const auto check = [&](const Board& board) {
        const std::string fen = board.fen();
        Board mirror = boardOf(Sampling::mirrored(fen));
        mirror.halfmoveClock = board.halfmoveClock; // which a FEN stops at 100
        EXPECT_EQ(evaluate(mirror), evaluate(board)) << fen;
        unequal += evaluate(board) != 0;
    };
    for (const std::string& fen : Positions::readShared())
        check(boardOf(fen));
    Sampling::visitGames(70, scaled(10000), check);
    Sampling::visitWild(71, scaled(500), check);
    EXPECT_GT(unequal, 100);
}

TEST(Evaluate, TheSideToMoveGetsNoBonus) {
    for (const char* placement : {"r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R",
                                  "8/5pk1/6p1/8/3R4/6P1/5PK1/2r5", "6k1/8/8/8/8/8/6PP/R5K1"}) {
        const std::string fields(placement);
        const int white = evaluate(boardOf(fields + " w - - 0 1"));
        EXPECT_EQ(evaluate(boardOf(fields + " b - - 0 1")), -white) << placement;
        EXPECT_NE(white, 0) << placement;
    }
}

TEST(Evaluate, CastlingRightsAndEnPassantSquaresDoNotMatter) {
    EXPECT_EQ(evaluate(boardOf("r3k2r/p7/8/2pP4/8/8/8/R3K2R w KQkq c6 0 1")),
              evaluate(boardOf("r3k2r/p7/8/2pP4/8/8/8/R3K2R w - - 0 1")));
}

// --- fifty-move clock ---

TEST(FiftyMoves, EveryPlyTakesOneTwoHundredthTruncatingAndBeyondTwoHundredTheSignFlips) {
    for (const char* fen :
         {"8/8/8/4k3/8/8/6P1/3R2K1 w - - 0 40", "8/8/8/4k3/8/8/6P1/3R2K1 b - - 0 40",
          "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQK2R w KQkq - 0 1",
          "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/1NBQKBNR b Kkq - 0 1"}) {
        Board board = boardOf(fen);
        const int full = evaluate(board);
        EXPECT_NE(full, 0);
        for (int clock = 0; clock < 256; ++clock) {
            board.halfmoveClock = static_cast<std::uint8_t>(clock);
            EXPECT_EQ(evaluate(board), full * (200 - clock) / 200) << fen << ' ' << clock;
        }
    }
}

TEST(FiftyMoves, AHundredHalvesAndTwoHundredLeavesNothing) {
    Board board = boardOf("8/8/8/4k3/8/8/6P1/3R2K1 w - - 0 40");
    const int full = evaluate(board);
    EXPECT_GT(full, 500);
    board.halfmoveClock = 100;
    EXPECT_EQ(evaluate(board), full / 2);
    board.sideToMove = Black;
    EXPECT_EQ(evaluate(board), -(full / 2));
    board.halfmoveClock = 200;
    EXPECT_EQ(evaluate(board), 0);
    board.halfmoveClock = 255;
    EXPECT_EQ(evaluate(board), full * 55 / 200);
}

// --- end-game scale and blend ---

TEST(Evaluate, ADrawnKingAndPawnEndingIsWorthNothingAndAWonOneIsNot) {
    EXPECT_EQ(evaluate(boardOf("8/4k3/8/4K3/4P3/8/8/8 w - - 0 1")), 0);
    EXPECT_EQ(evaluate(boardOf("8/4K3/8/8/4p3/4k3/8/8 b - - 0 1")),
              evaluate(boardOf("8/8/4K3/4P3/8/8/4k3/8 w - - 0 1")));
    EXPECT_LT(evaluate(boardOf("8/4k3/8/4K3/4P3/8/8/8 b - - 0 1")), 0);
}

TEST(Evaluate, MorePiecesThanAFullBoardCountAsAFullMiddleGame) {
    // The end-game half is left out altogether: it may be anything.
    Board board = boardOf("4k3/8/8/8/8/8/QQQQQQ2/4K3 b - - 0 1");
    const int value = evaluate(board);
    board.psq += packPair(0, 5000);
    EXPECT_EQ(evaluate(board), value);
    board.phase = 240;
    EXPECT_EQ(evaluate(board), value);
    board.phase = 12;
    EXPECT_NE(evaluate(board), value);
}

// --- concurrency ---

TEST(Evaluate, ThreadsAtOnceComputeTheSameValues) {
    std::vector<Board> boards;
    std::vector<int> wanted;
    for (const std::string& fen : Positions::readShared()) {
        boards.push_back(boardOf(fen));
        wanted.push_back(evaluate(boards.back()));
    }
    std::vector<int> found[3];
    std::vector<std::thread> threads;
    for (std::vector<int>& values : found)
        threads.emplace_back([&] {
            for (const Board& board : boards)
                values.push_back(evaluate(board));
        });
    for (std::thread& thread : threads)
        thread.join();
    for (const std::vector<int>& values : found)
        EXPECT_EQ(values, wanted);
}
