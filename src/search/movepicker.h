#pragma once

#include "search/ordering.h"

#include <cassert>

struct Thread;

/// Hands out the moves of one node in stages: the table move before anything is generated, then
/// winning captures and promotions, then quiet moves by history, then losing captures. Moves with
/// equal scores come in generation order. At each call the board must be in the node's position.
class MovePicker {
  public:
    MovePicker(const Thread& thread, const Board& board, Move ttMove)
        : thread_(&thread), board_(&board), ttMove_(ttMove) {}

    /// The next move, pseudo-legal; 0 when there are no more.
    Move next();

    /// From now on skips quiet moves that neither castle nor give check.
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

    Move quietAt(int place) const {
        assert(captureEnd_ <= place - quietGap_ && place - quietGap_ < moves_.count);
        return moves_.moves[place - quietGap_];
    }

    bool quietChecksOnly_ = false;
    const Thread* thread_;
    const Board* board_;
    Move ttMove_;
    Stage stage_ = Stage::TableMove;
    MoveList moves_; // captures, then quiet moves behind them
    // Their keys; those of the quiet moves begin with a new group.
    alignas(sizeof(Ordering::Key) * Ordering::kLanes) Ordering::Key keys_[Ordering::kKeyCapacity];
    int captureEnd_ = 0;
    int captureKeysEnd_ = 0;
    int quietGap_ = 0; // how much farther back a quiet move's key stands than the move
    int quietKeysEnd_ = 0;
};
