#include "search/movepicker.h"

#include "board/movegen.h"
#include "search/ordering.h"
#include "search/thread.h"

using namespace Ordering;

namespace {

/// A capture by a more valuable piece wins only if the exchange does. The test is put off until the
/// move's turn comes: most nodes are done before.
bool needsExchangeTest(const Board& board, Move m) {
    return isCapture(m) && !isPromotion(m) &&
           SEE::kValue[board.mailbox[fromSquare(m)]] > SEE::kValue[victimOf(board, m)];
}

} // namespace

Move MovePicker::next() {
    switch (stage_) {
    case Stage::TableMove:
        stage_ = Stage::GenerateCaptures;
        if (ttMove_ != 0 && board_->isPseudoLegal(ttMove_))
            return ttMove_;
        [[fallthrough]];
    case Stage::GenerateCaptures:
        generateCaptures(*board_, moves_);
        captureEnd_ = moves_.count;
        scoreCaptures();
        stage_ = Stage::GoodCaptures;
        [[fallthrough]];
    case Stage::GoodCaptures:
        if (const Move m = nextGoodCapture())
            return m;
        stage_ = Stage::GenerateQuiets;
        [[fallthrough]];
    case Stage::GenerateQuiets:
        quietStart_ = quietCursor_ = moves_.count;
        generateQuiets(*board_, moves_);
        if (quietChecksOnly_)
            dropQuietsWithoutCheck();
        scoreQuiets();
        stage_ = Stage::Quiets;
        [[fallthrough]];
    case Stage::Quiets:
        if (const Move m = nextQuiet())
            return m;
        stage_ = Stage::BadCaptures;
        [[fallthrough]];
    case Stage::BadCaptures:
        if (const Move m = nextBadCapture())
            return m;
        stage_ = Stage::Done;
        [[fallthrough]];
    case Stage::Done:
        break;
    }
    return 0;
}

void MovePicker::keepQuietChecksOnly() {
    quietChecksOnly_ = true;
    if (stage_ == Stage::Quiets)
        dropQuietsWithoutCheck();
}

void MovePicker::scoreCaptures() {
    for (int i = 0; i < captureEnd_; ++i) {
        const Move m = moves_.moves[i];
        scores_[i] = m == ttMove_ ? kNever : captureScore(*board_, m);
    }
}

void MovePicker::scoreQuiets() {
    const auto& history = thread_->quietHistory[board_->sideToMove];
    for (int i = quietStart_; i < moves_.count; ++i) {
        const Move m = moves_.moves[i];
        scores_[i] = m == ttMove_ ? kNever : quietScore(history, m);
    }
}

Move MovePicker::nextGoodCapture() {
    for (;;) {
        const int best = indexOfBest(scores_, captureCursor_, captureEnd_);
        if (best < 0 || scores_[best] < kGoodCaptureBound)
            return 0;
        const Move m = moves_.moves[best];
        if (needsExchangeTest(*board_, m) && !seeGE(*board_, m, 0)) {
            scores_[best] -= 2 * kCaptureBand;
            continue;
        }
        moveForward(moves_.moves, scores_, best, captureCursor_++);
        return m;
    }
}

Move MovePicker::nextQuiet() {
    const int best = indexOfBest(scores_, quietCursor_, moves_.count);
    if (best < 0)
        return 0;
    moveForward(moves_.moves, scores_, best, quietCursor_);
    return moves_.moves[quietCursor_++];
}

Move MovePicker::nextBadCapture() {
    const int best = indexOfBest(scores_, captureCursor_, captureEnd_);
    if (best < 0)
        return 0;
    moveForward(moves_.moves, scores_, best, captureCursor_);
    return moves_.moves[captureCursor_++];
}

void MovePicker::dropQuietsWithoutCheck() {
    int kept = quietCursor_;
    for (int i = quietCursor_; i < moves_.count; ++i) {
        const Move m = moves_.moves[i];
        if (isCastling(m) || board_->quietGivesCheck(m)) {
            moves_.moves[kept] = m;
            scores_[kept++] = scores_[i];
        }
    }
    moves_.count = kept;
}
