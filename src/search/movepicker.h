#pragma once

#include "board/kinglines.h"
#include "search/ordering.h"

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

    /// From now on skips quiet moves that neither castle nor give check. `checks` must be the
    /// node's, and outlive the picker.
    void keepQuietChecksOnly(const CheckInfo& checks);
    void keepQuietChecksOnly(CheckInfo&&) = delete;

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

    void generateCaptures();
    void generateQuiets();
    Move nextGoodCapture();
    Move nextQuiet();
    Move nextBadCapture();
    void dropQuietsWithoutCheck();

    const CheckInfo* checks_ = nullptr; // set where only checks are left among the quiet moves
    const Thread* thread_;
    const Board* board_;
    Move ttMove_;
    Stage stage_ = Stage::TableMove;
    // Captures, and behind them, from a new group of keys on, quiet moves.
    Move moves_[Ordering::kKeyCapacity];
    alignas(sizeof(Ordering::Key) * Ordering::kLanes) Ordering::Key keys_[Ordering::kKeyCapacity];
    int captureKeysEnd_ = 0;
    int quietEnd_ = 0; // of the moves; their keys fill up the group
    int quietKeysEnd_ = 0;
};
