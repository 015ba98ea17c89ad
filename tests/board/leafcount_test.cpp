#include "board/leafcount.h"

#include "board/perft.h"
#include "eval/sampling.h"
#include "support/board_checks.h"
#include "support/build.h"
#include "support/notation.h"
#include "support/positions.h"
#include "support/random_game.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Notation;

constexpr int kCountDepth = kOptimised ? 99 : 4;

std::uint64_t legalMoves(const Board& board) {
    MoveList list;
    generateLegalMoves(board, list);
    return static_cast<std::uint64_t>(list.count);
}

// --- known counts ---

TEST(LeafCount, OfDepth0IsOneWhateverThePosition) {
    for (const std::string_view fen :
         {kStartFen, std::string_view("R5k1/5ppp/8/8/8/8/8/6K1 b - - 0 1"),
          std::string_view("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1")})
        EXPECT_EQ(countLeaves(boardOf(fen), 0), 1u) << fen;
}

TEST(LeafCount, OfMateAndStalemateIsZero) {
    for (const char* fen : {"R5k1/5ppp/8/8/8/8/8/6K1 b - - 0 1", "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"})
        for (const int depth : {1, 2, 3, kMaxHistory})
            EXPECT_EQ(countLeaves(boardOf(fen), depth), 0u) << fen << " at depth " << depth;
}

TEST(LeafCount, KnowsTheWholeSuite) {
    for (const Positions::PerftCase& test : Positions::readPerftSuite()) {
        const Board board = boardOf(test.fen);
        for (const auto& [depth, leaves] : test.leaves)
            if (depth <= kCountDepth) {
                EXPECT_EQ(countLeaves(board, depth), leaves)
                    << test.name << " at depth " << depth << ": " << test.fen;
            }
        EXPECT_EQ(BoardChecks::differences(board, boardOf(test.fen)), "") << test.name;
    }
}

TEST(LeafCount, NeedsNoRoomInTheHistory) {
    const auto board = std::make_unique<Board>(boardOf(kStartFen));
    board->historyCount = kMaxHistory;
    EXPECT_EQ(countLeaves(*board, 3), 8902u);
}

// --- oddities: legal moves of positions where something special decides ---

struct Oddity {
    const char* what;
    const char* fen;
    std::uint64_t moves;
};

void expectOddity(const Oddity& test) {
    for (const std::string& fen : {std::string(test.fen), Sampling::mirrored(test.fen)}) {
        Board board = boardOf(fen);
        EXPECT_EQ(countLeaves(board, 1), test.moves) << test.what << ": " << fen;
        EXPECT_EQ(legalMoves(board), test.moves) << test.what << ": " << fen;
        for (const int depth : {2, 3})
            EXPECT_EQ(countLeaves(board, depth), perft(board, depth))
                << test.what << " at depth " << depth << ": " << fen;
    }
}

constexpr Oddity kCastling[] = {
    {"both ways open", "4k3/8/8/8/8/8/8/R3K2R w KQ - 0 1", 26},
    {"no rights", "4k3/8/8/8/8/8/8/R3K2R w - - 0 1", 24},
    {"rights without empty squares", "4k3/8/8/8/8/8/8/RN2KB1R w KQ - 0 1", 29},
    {"b1 not empty", "4k3/8/8/8/8/8/8/RN2K2R w KQ - 0 1", 25},
    {"rooks attacked", "r3k2r/8/8/8/8/8/8/R3K2R w KQ - 0 1", 26},
    {"b1 attacked", "1r2k3/8/8/8/8/8/8/R3K2R w KQ - 0 1", 26},
    {"through d1", "3rk3/8/8/8/8/8/8/R3K2R w KQ - 0 1", 23},
    {"to g1", "4k1r1/8/8/8/8/8/8/R3K2R w KQ - 0 1", 25},
    {"in check", "4r1k1/8/8/8/8/8/8/R3K2R w KQ - 0 1", 4},
    {"f1 attacked by a king", "8/8/8/8/8/8/6k1/4K2R w K - 0 1", 12},
    {"f1 attacked by a pawn", "4k3/8/8/8/8/8/6p1/R3K2R w KQ - 0 1", 24},
    {"castling gives check", "5k2/8/8/8/8/8/8/4K2R w K - 0 1", 15},
    {"castling gives check on the queen's side", "3k4/8/8/8/8/8/8/R3K3 w Q - 0 1", 16},
    {"rights claimed without rooks", "4k3/8/8/8/8/8/8/4K3 w KQ - 0 1", 5},
    {"rights claimed away from home", "4k3/8/8/8/8/8/4K3/R6R w KQ - 0 1", 34},
    {"a right lost by a captured rook", "4k3/8/8/8/8/8/6b1/R3K2R b KQ - 0 1", 14},
    {"a right lost by a promotion on its rook", "r3k2r/1P4P1/8/8/8/8/8/4K3 w kq - 0 1", 21},
};

TEST(LeafCount, KnowsCastling) {
    for (const Oddity& test : kCastling)
        expectOddity(test);
}

constexpr Oddity kEnPassant[] = {
    {"one pawn may take", "7k/8/8/3pP3/8/8/8/K7 w - d6 0 1", 5},
    {"two pawns may take", "7k/8/8/2PpP3/8/8/8/K7 w - d6 0 1", 7},
    {"two may take, one is pinned", "2r4k/8/8/2PpP3/8/8/8/2K5 w - d6 0 1", 8},
    {"no pawn can take", "7k/8/8/3p4/8/4P3/8/K7 w - d6 0 1", 4},
    {"nothing but a piece stands beside", "7k/8/8/3pN3/8/8/8/K7 w - d6 0 1", 11},
    {"across the edge of the board", "7k/8/7P/p7/8/8/8/K7 w - a6 0 1", 4},
    {"both pawns leave the rank", "7k/8/8/K2pP2r/8/8/8/8 w - d6 0 1", 6},
    {"both leave the rank to a queen", "7k/8/8/q2pP2K/8/8/8/8 w - d6 0 1", 6},
    {"a third pawn on the rank", "7k/8/8/K1PpP2r/8/8/8/8 w - d6 0 1", 9},
    {"the pawn taken opens a diagonal", "7k/1b6/8/3pP3/8/8/6K1/8 w - d6 0 1", 9},
    {"pinned on another diagonal", "7k/6b1/8/3pP3/8/2K5/8/8 w - d6 0 1", 7},
    {"pinned on the diagonal of the capture", "1b5k/8/8/3pP3/8/8/7K/8 w - d6 0 1", 6},
    {"pinned on the file", "4r2k/8/8/3pP3/8/8/8/4K3 w - d6 0 1", 6},
    {"takes the checking pawn", "7k/8/8/3pP3/4K3/8/8/8 w - d6 0 1", 8},
    {"the only move, from the pawn's check", "7k/8/1pp5/2ppP3/2K5/7r/8/8 w - d6 0 1", 1},
    {"takes the checking pawn and opens a file", "4r2k/8/8/3pP3/4K3/8/8/8 w - d6 0 1", 7},
    {"goes in the way of a rook", "7k/8/r6K/3pP3/8/8/8/8 w - d6 0 1", 4},
    {"goes in the way of a bishop", "5b1k/8/8/3pP3/1K6/8/8/8 w - d6 0 1", 6},
    {"check from elsewhere", "7k/8/8/3pP3/8/8/8/r3K3 w - d6 0 1", 3},
    {"check by a knight", "7k/8/8/3pP3/8/3n4/8/4K3 w - d6 0 1", 4},
    {"takes one checker of two", "7k/8/8/3pP3/r3K3/8/8/8 w - d6 0 1", 5},
    {"the pawn's way discovered a check", "7k/3r4/8/3pP3/8/8/8/3K4 w - d6 0 1", 6},
};

TEST(LeafCount, KnowsEnPassant) {
    for (const Oddity& test : kEnPassant)
        expectOddity(test);
}

constexpr Oddity kChecksAndPins[] = {
    {"double check by rook and knight", "4r2k/8/8/8/1B6/6n1/4K1R1/8 w - - 0 1", 5},
    {"double check by two rooks", "4r2k/8/8/8/8/3Q4/2N5/r3K3 w - - 0 1", 2},
    {"double check by two knights", "7k/8/8/3B4/8/3n1n2/8/4K1Q1 w - - 0 1", 3},
    {"double check by pawn and bishop", "7k/8/8/2N4b/8/3p4/4K3/5B2 w - - 0 1", 5},
    {"triple check", "4r2k/8/8/7b/8/2n5/2R1K3/8 w - - 0 1", 4},
    {"eight checks", "1n1k4/4q2q/8/8/q3K2q/8/8/1q2q2q w - - 0 1", 0},
    {"single check, three kinds of answer", "4r2k/8/8/1B6/1B6/8/4K3/6N1 w - - 0 1", 8},
    {"pinned pieces cannot answer", "4r2k/8/8/1b6/8/3N4/4K3/8 w - - 0 1", 5},
    {"pinned queens on eight lines", "r2r2rk/1Q1Q1Q2/8/rQ1K1Q1r/8/1Q1Q1Q2/b2r2b1/8 w - - 0 1", 39},
    {"pinned queens next to the king", "3r3k/b5b1/8/2QQQ3/r1QKQ2r/2QQQ3/1b3b2/3r4 w - - 0 1", 16},
    {"pinned rooks", "3r3k/b5b1/8/2RRR3/r1RKR2r/2RRR3/1b3b2/3r4 w - - 0 1", 10},
    {"pinned bishops", "3r3k/b5b1/8/2BBB3/r1BKB2r/2BBB3/1b3b2/3r4 w - - 0 1", 6},
    {"pinned knights", "3r3k/b5b1/8/2NNN3/r1NKN2r/2NNN3/1b3b2/3r4 w - - 0 1", 0},
    {"pinned pawns", "3r3k/b5b1/8/2PPP3/r1PKP2r/2PPP3/1b3b2/3r4 w - - 0 1", 1},
    {"pawns pinned at home", "7k/8/8/b3r3/7b/8/3PPP2/r2BKB1r w - - 0 1", 2},
    {"pinned pawns that take their pinners", "7k/8/8/8/8/2b3b1/3P1P2/4K3 w - - 0 1", 5},
    {"two pieces on a line", "4r2k/8/8/8/8/4N3/4N3/4K3 w - - 0 1", 18},
    {"an own and an enemy piece on a line", "4r2k/8/8/4n3/8/8/4N3/4K3 w - - 0 1", 10},
    {"sliders of the wrong kind", "4b2k/8/8/7r/8/5N2/4N3/4K3 w - - 0 1", 17},
    {"a king behind itself", "7k/8/8/8/r3K3/8/8/8 w - - 0 1", 6},
    {"guarded pieces around the king", "k7/8/8/8/3b4/2p5/1q6/K7 w - - 0 1", 0},
    {"kings at arm's length", "8/8/8/3k4/8/3K4/8/8 w - - 0 1", 5},
    {"kings at a knight's jump", "8/8/8/2k5/8/3K4/8/8 w - - 0 1", 6},
    {"kings in a corner", "8/8/8/8/8/2k5/8/K7 w - - 0 1", 2},
};

TEST(LeafCount, KnowsChecksAndPins) {
    for (const Oddity& test : kChecksAndPins)
        expectOddity(test);
}

constexpr Oddity kPromotionsAndCrowds[] = {
    {"ahead and to both sides", "n1n4k/1P6/8/8/8/8/8/K7 w - - 0 1", 15},
    {"blocked, one capture", "rb5k/1P6/8/8/8/8/8/K7 w - - 0 1", 6},
    {"every file", "8/PPPPPPPP/7k/8/8/8/8/K7 w - - 0 1", 35},
    {"pinned on the file", "1r5k/1P6/8/8/8/8/8/1K6 w - - 0 1", 5},
    {"pinned on the rank", "2n4k/rP1K4/8/8/8/8/8/8 w - - 0 1", 6},
    {"pinned on the diagonal, takes the pinner", "q6k/1P6/2K5/8/8/8/8/8 w - - 0 1", 11},
    {"pinned on the diagonal, may not push", "2q4k/1P6/K7/8/8/8/8/8 w - - 0 1", 8},
    {"promotes in the way of a check", "r3K2k/1P6/8/8/8/8/8/8 w - - 0 1", 11},
    {"takes the checker", "r3K2k/1P5p/8/8/8/8/8/8 w - - 0 1", 11},
    {"nine queens", "QQQQ4/QQQQQ3/8/8/8/8/8/k1K5 b - - 0 1", 0},
    {"nine queens to move", "7k/6p1/8/8/8/8/QQQQQQ2/K1QQQ3 w - - 0 1", 89},
    {"queens everywhere", "qqqqqqqq/qqqqqqqq/1q4q1/8/2P5/1PPP2p1/PPPPP1k1/K7 b - - 0 1", 90},
    {"218 moves", "R6R/3Q4/1Q4Q1/4Q3/2Q4Q/Q4Q2/pp1Q4/kBNN1KB1 w - - 0 1", 218},
    {"stalemate among many", "k7/8/1Q6/8/8/8/8/K7 b - - 0 1", 0},
};

TEST(LeafCount, KnowsPromotionsAndCrowds) {
    for (const Oddity& test : kPromotionsAndCrowds)
        expectOddity(test);
}

// --- random positions ---

/// Positions of random games from every position of the suite and the shared ones.
template <class Visit>
void visitRandomGames(std::uint64_t seed, int count, Visit&& visit) {
    constexpr int kPlies = 120;
    const std::vector<std::string> starts = Positions::readAll();
    int visited = 0;
    for (std::size_t game = 0; visited < count; ++game) {
        Board board = boardOf(starts[game % starts.size()]);
        RandomGame::play(board, seed + game, kPlies, [&](Board& reached) {
            ++visited;
            visit(reached);
        });
    }
}

TEST(LeafCount, CountsTheLegalMovesOfAMillionRandomPositions) {
    int wrong = 0;
    visitRandomGames(1, scaled(1000000, 20), [&](const Board& board) {
        if (countLeaves(board, 1) != legalMoves(board) && ++wrong < 10) {
            ADD_FAILURE() << board.fen();
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(LeafCount, AgreesWithPerftInRandomPositions) {
    visitRandomGames(1000000, scaled(10000, 20), [](Board& board) {
        ASSERT_EQ(countLeaves(board, 2), perft(board, 2)) << board.fen();
    });
    visitRandomGames(2000000, scaled(1000, 20), [](Board& board) {
        ASSERT_EQ(countLeaves(board, 3), perft(board, 3)) << board.fen();
    });
}

void expectAgreement(const std::string& fen) {
    Board board = boardOf(fen);
    ASSERT_EQ(countLeaves(board, 1), legalMoves(board)) << fen;
    ASSERT_EQ(countLeaves(board, 2), perft(board, 2)) << fen;
}

TEST(LeafCount, AgreesOnBoardsThatNoGameReaches) {
    Sampling::visitWild(3, scaled(3000, 20), [](const Board& board) {
        expectAgreement(board.fen());
        expectAgreement(Sampling::mirrored(board.fen()));
    });
}

/// Fills some squares that are free with any pieces but kings.
void sprinkle(std::string& letters, Sampling::Draws& draws) {
    constexpr std::string_view kLetters = "PNBRQpnbrq";
    for (int pieces = draws.below(10); pieces > 0; --pieces) {
        const auto square = static_cast<std::size_t>(8 + draws.below(48));
        if (letters[square] == ' ')
            letters[square] = kLetters[static_cast<std::size_t>(draws.below(10))];
    }
}

/// Tests positions that `place` begins and pieces thrown on the board complete, from both sides.
template <class Place>
void expectAgreementInSprinkled(std::uint64_t seed, Place&& place) {
    Sampling::Draws draws(seed);
    for (int count = scaled(20000, 20); count > 0;) {
        std::string letters(kSquares, ' ');
        const std::string state = place(letters, draws);
        sprinkle(letters, draws);
        std::string fen = Sampling::fenOf(letters, 'w');
        fen.replace(fen.find(" - -"), 4, state);
        Board board{};
        if (!board.setFen(fen))
            continue;
        expectAgreement(fen);
        expectAgreement(Sampling::mirrored(fen));
        --count;
    }
}

TEST(LeafCount, AgreesWhereCastlingIsInReach) {
    expectAgreementInSprinkled(4, [](std::string& letters, Sampling::Draws&) {
        letters[A1] = letters[H1] = 'R';
        letters[A8] = letters[H8] = 'r';
        letters[E1] = 'K';
        letters[E8] = 'k';
        return " KQkq -";
    });
}

TEST(LeafCount, AgreesWhereEnPassantIsInReach) {
    expectAgreementInSprinkled(5, [](std::string& letters, Sampling::Draws& draws) {
        const int file = draws.below(kFiles);
        letters[static_cast<std::size_t>(draws.below(kSquares))] = 'K';
        letters[static_cast<std::size_t>(draws.below(kSquares))] = 'k';
        letters[static_cast<std::size_t>(makeSquare(file, Rank5))] = 'p';
        for (const int beside : {file - 1, file + 1})
            if (beside >= FileA && beside <= FileH && draws.below(3))
                letters[static_cast<std::size_t>(makeSquare(beside, Rank5))] = 'P';
        return " - " + std::string(1, "abcdefgh"[file]) + '6';
    });
}

} // namespace
