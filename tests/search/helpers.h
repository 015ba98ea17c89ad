#pragma once

#include "board/board.h"
#include "board/movegen.h"
#include "search/iterate.h"
#include "search/quiesce.h"
#include "search/thread.h"
#include "search/tt.h"
#include "support/build.h"
#include "support/notation.h"
#include "support/positions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

using Notation::boardOf;
using Notation::moveOf;

inline constexpr std::string_view kMiddleGameFen =
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10";
inline constexpr std::string_view kTacticalFen =
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1";
inline constexpr std::string_view kRookEndgameFen = "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1";
inline constexpr std::string_view kPawnEndgameFen = "8/pp3k2/2p2p2/3p4/3P4/2P2P2/PP3K2/8 w - - 0 1";
inline constexpr std::string_view kMatedFen =
    "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3";
inline constexpr std::string_view kStalematedFen = "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1";

/// Plays moves in coordinate notation.
inline void play(Board& board, std::initializer_list<std::string_view> texts) {
    for (const std::string_view text : texts)
        board.makeMove(moveOf(board, text));
}

/// Every FEN of the shared list of positions.
inline const std::vector<std::string>& testPositions() {
    static const std::vector<std::string> fens = Positions::readShared();
    return fens;
}

/// Those of them that can be searched: quiescence does not come to an end where a dozen queens
/// stand face to face.
inline const std::vector<std::string>& searchablePositions() {
    static const std::vector<std::string> fens = [] {
        std::vector<std::string> few;
        for (const std::string& fen : testPositions())
            if (std::count_if(fen.begin(), fen.end(), [](char c) { return c == 'q' || c == 'Q'; }) <
                8)
                few.push_back(fen);
        return few;
    }();
    return fens;
}

/// Plays one legal move drawn at random; returns it, 0 if there is none.
inline Move playRandomMove(Board& board, std::mt19937_64& random) {
    MoveList legal;
    generateLegalMoves(board, legal);
    if (legal.count == 0)
        return 0;
    const Move m = legal.moves[random() % static_cast<std::uint64_t>(legal.count)];
    board.makeMove(m);
    return m;
}

/// A search as tools do it, without pool and clock: the table is empty, the stop flag down, nothing
/// limits it.
class SearchTest : public testing::Test {
  protected:
    void SetUp() override { reset(); }

    void reset() {
        gTT.clear();
        gStopSearch = false;
        thread->clearForSearch();
    }

    int alphaBeta(Board& board, int alpha, int beta, int depth, Search::SearchStack stack = {},
                  bool cutNode = false) {
        return Search::alphaBeta(*thread, board, alpha, beta, depth, &stack, cutNode);
    }

    /// A search with a null window, whose lower bound is `beta` - 1.
    int nullWindow(Board& board, int beta, int depth, Search::SearchStack stack = {}) {
        return alphaBeta(board, beta - 1, beta, depth, stack);
    }

    int fullWindow(Board& board, int depth, Search::SearchStack stack = {}) {
        return alphaBeta(board, -Search::kInfinite, Search::kInfinite, depth, stack);
    }

    int quiesce(Board& board, int alpha, int beta, int ply = 0) {
        return Search::quiesce(*thread, board, alpha, beta, ply, 0);
    }

    /// Stores what a child position is worth to the side that moves there.
    void storeAfter(Board& board, Move m, int score, int depth, TTFlag flag = TTExact) {
        board.makeMove(m);
        gTT.store(board.key, 0, score, depth, flag, 0);
        board.unmakeMove(m);
    }

    std::uint64_t nodes() const { return thread->nodes; }
    std::uint64_t qnodes() const { return thread->qnodes; }

    std::unique_ptr<Thread> thread = std::make_unique<Thread>(kToolThread);
};
