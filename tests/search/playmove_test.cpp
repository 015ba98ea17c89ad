#include "search/playmove.h"

#include "helpers.h"
#include "support/board_checks.h"

namespace {

using BoardChecks::differences;

TEST(PlayMove, PlaysEveryPseudoLegalMoveAsTheBoardDoes) {
    const auto thread = std::make_unique<Thread>(kToolThread);
    for (const std::string& fen : testPositions()) {
        const Board before = boardOf(fen);
        for (const Move m : Notation::movesOf(before)) {
            Board made = before;
            made.makeMove(m);
            Board played = before;
            Search::playMove(*thread, played, m);
            ASSERT_EQ(differences(played, made), "") << fen << ' ' << Notation::describe(m);
        }
    }
}

} // namespace
