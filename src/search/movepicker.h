#pragma once

#include "search/ordering.h"

struct Thread;

/// Hands out the moves of one node one by one: the table move before anything is generated, then
/// winning captures and promotions, then quiet moves by history, then losing captures. Moves with
/// equal scores come in generation order. The board must be back in the node's position at each
/// call.
class MovePicker {
  public:
    MovePicker(const Thread& thread, const Board& board, Move ttMove)
        : thread_(&thread), board_(&board), ttMove_(ttMove) {}

    /// The next move, 0 when there are no more.
    Move next();

    /// From now on leaves out quiet moves that neither castle nor give check.
    void keepQuietChecksOnly();

  private:
    enum class Stage {
        TableMove,
        GenerateCaptures,
        GoodCaptures,
        GenerateQuiets,
        Quiets,
        BadCaptures,
        Done
    };

    void scoreCaptures();
    void scoreQuiets();
    Move nextGoodCapture();
    Move nextQuiet();
    Move nextBadCapture();
    void dropQuietsWithoutCheck();

    Move quietAt(int place) const { return moves_.moves[place - quietGap_]; }

    bool quietChecksOnly_ = false;
    const Thread* thread_;
    const Board* board_;
    Move ttMove_;
    Stage stage_ = Stage::TableMove;
    MoveList moves_; // captures, then quiet moves behind them
    // Their keys; those of the quiet moves begin with a group of their own.
    alignas(sizeof(Ordering::Key) * Ordering::kLanes) Ordering::Key keys_[Ordering::kKeyCapacity];
    int captureEnd_ = 0;
    int captureKeysEnd_ = 0;
    int quietGap_ = 0; // from a quiet move's place among the moves to that of its key
    int quietKeysEnd_ = 0;
};
