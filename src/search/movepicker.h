#pragma once

#include "board/board.h"

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

    bool quietChecksOnly_ = false;
    const Thread* thread_;
    const Board* board_;
    Move ttMove_;
    Stage stage_ = Stage::TableMove;
    MoveList moves_; // captures, then quiet moves behind them
    std::int32_t scores_[MoveList::kCapacity];
    int captureEnd_ = 0;
    int captureCursor_ = 0;
    int quietStart_ = 0;
    int quietCursor_ = 0;
};
