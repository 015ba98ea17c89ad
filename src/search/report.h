#pragma once

#include "board/board.h"

#include <cstdint>
#include <string>

struct Thread;

namespace Search {

/// "cp 34", "mate 2", "mate -1".
std::string formatScore(int score);

/// The principal variation as the table holds it, beginning with `firstMove`: moves in coordinate
/// notation with blanks between them, at most 128, ended by a missing or illegal move or by a
/// position that the line has already reached. Walks a copy of the board.
std::string buildPV(Board board, Move firstMove);

/// Prints the lines of a search and remembers when it last did. Belongs to the main thread.
class Reporter {
  public:
    /// Begins a search: no line has been printed yet.
    void start();

    /// Prints the line of a thread's last completed iteration, `elapsed` milliseconds into the
    /// search.
    void reportIteration(const Thread& thread, std::int64_t elapsed);

    /// Prints how far the iteration in progress has come, unless the last line is too recent.
    void reportProgress(const Thread& thread);

    /// Prints the line of the thread whose move is the answer, unless the last line printed begins
    /// with that move: clients show the last line as the reason for the move.
    void reportResult(const Thread& best, const Thread& main);

    /// Prints the line of a root position without moves.
    static void reportNoMoves(const Board& board);

  private:
    std::int64_t lastInfoMs_ = 0;  // milliseconds from the search's start to the last line
    bool progressWasLast_ = false; // and whether that line told of progress
};

} // namespace Search
