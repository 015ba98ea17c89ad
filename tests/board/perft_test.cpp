#include "board/perft.h"

#include "support/board_checks.h"
#include "support/build.h"
#include "support/notation.h"
#include "support/positions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace {

using namespace Notation;

constexpr int kPerftDepth = kOptimised ? 99 : 3;

TEST(Perft, OfDepth0IsOneWhateverThePosition) {
    for (const char* fen :
         {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
          "R5k1/5ppp/8/8/8/8/8/6K1 b - - 0 1", "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"}) {
        Board board = boardOf(fen);
        EXPECT_EQ(perft(board, 0), 1u) << fen;
    }
}

TEST(Perft, OfMateAndStalemateIsZero) {
    for (const char* fen :
         {"R5k1/5ppp/8/8/8/8/8/6K1 b - - 0 1", "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"}) {
        Board board = boardOf(fen);
        EXPECT_EQ(perft(board, 1), 0u) << fen;
        EXPECT_EQ(perft(board, 2), 0u) << fen;
    }
}

/// Expects the counts of depth 1, 2, ...
void expectLeaves(std::string_view fen, const std::vector<std::uint64_t>& leaves) {
    Board board = boardOf(fen);
    for (int depth = 1; depth <= std::min(kPerftDepth, static_cast<int>(leaves.size())); ++depth)
        EXPECT_EQ(perft(board, depth), leaves[static_cast<std::size_t>(depth) - 1])
            << fen << " at depth " << depth;
}

TEST(Perft, CountsTheKnownPositions) {
    expectLeaves(kStartFen, {20, 400, 8902, 197281, 4865609});
    expectLeaves("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
                 {48, 2039, 97862});
    expectLeaves("r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
                 {6, 264, 9467});
}

TEST(Perft, CountsEveryPositionOfTheSuite) {
    for (const Positions::PerftCase& test : Positions::readPerftSuite()) {
        Board board = boardOf(test.fen);
        for (const auto& [depth, leaves] : test.leaves)
            if (depth <= kPerftDepth) {
                EXPECT_EQ(perft(board, depth), leaves)
                    << test.name << " at depth " << depth << ": " << test.fen;
            }
        EXPECT_EQ(BoardChecks::differences(board, boardOf(test.fen)), "") << test.name;
    }
}

} // namespace
