#include "search/movepicker.h"

#include "board/kinglines.h"
#include "board/movegen.h"
#include "search/thread.h"

using namespace Ordering;

namespace {

/// A capture by a more valuable piece wins only if the exchange does. The exchange is evaluated
/// when the move's turn comes: most nodes fail high before.
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
        scoreCaptures();
        stage_ = Stage::GoodCaptures;
        [[fallthrough]];
    case Stage::GoodCaptures:
        if (const Move m = nextGoodCapture())
            return m;
        stage_ = Stage::GenerateQuiets;
        [[fallthrough]];
    case Stage::GenerateQuiets:
        generateQuiets(*board_, moves_);
        scoreQuiets();
        if (quietChecksOnly_)
            dropQuietsWithoutCheck();
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
    captureEnd_ = moves_.count;
    for (int i = 0; i < captureEnd_; ++i) {
        const Move m = moves_.moves[i];
        keys_[i] = m == ttMove_ ? kNoMoveKey : makeKey(captureScore(*board_, m), i);
    }
    captureKeysEnd_ = closeGroup(keys_, captureEnd_);
}

void MovePicker::scoreQuiets() {
    const auto& history = thread_->quietHistory[board_->sideToMove];
    quietGap_ = captureKeysEnd_ - captureEnd_;
    for (int i = captureEnd_; i < moves_.count; ++i) {
        const Move m = moves_.moves[i];
        const int place = i + quietGap_;
        keys_[place] = m == ttMove_ ? kNoMoveKey : makeKey(quietScore(history, m), place);
    }
    quietKeysEnd_ = closeGroup(keys_, moves_.count + quietGap_);
}

Move MovePicker::nextGoodCapture() {
    for (;;) {
        const Key best = greatestKey(keys_, 0, captureKeysEnd_);
        if (scoreOf(best) < kGoodCaptureBound)
            return 0;
        const int place = placeOf(best);
        const Move m = moves_.moves[place];
        if (needsExchangeTest(*board_, m) && !seeGE(*board_, m, 0)) {
            keys_[place] = makeKey(scoreOf(best) - 2 * kCaptureBand, place);
            continue;
        }
        keys_[place] = kNoMoveKey;
        return m;
    }
}

Move MovePicker::nextQuiet() {
    const Key best = takeGreatestKey(keys_, captureKeysEnd_, quietKeysEnd_);
    return best == kNoMoveKey ? 0 : quietAt(placeOf(best));
}

Move MovePicker::nextBadCapture() {
    const Key best = takeGreatestKey(keys_, 0, captureKeysEnd_);
    return best == kNoMoveKey ? 0 : moves_.moves[placeOf(best)];
}

void MovePicker::dropQuietsWithoutCheck() {
    const CheckInfo checks(*board_);
    for (int place = captureKeysEnd_; place < quietKeysEnd_; ++place) {
        if (keys_[place] == kNoMoveKey)
            continue;
        const Move m = quietAt(place);
        if (!isCastling(m) && !checks.givesCheck(m))
            keys_[place] = kNoMoveKey;
    }
}
