#include "search/movepicker.h"

#include "board/generate.h"
#include "search/thread.h"

#include <cassert>

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
        generateCaptures();
        stage_ = Stage::GoodCaptures;
        [[fallthrough]];
    case Stage::GoodCaptures:
        if (const Move m = nextGoodCapture())
            return m;
        stage_ = Stage::GenerateQuiets;
        [[fallthrough]];
    case Stage::GenerateQuiets:
        generateQuiets();
        if (checks_)
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

void MovePicker::keepQuietChecksOnly(const CheckInfo& checks) {
    checks_ = &checks;
    if (stage_ == Stage::Quiets)
        dropQuietsWithoutCheck();
}

void MovePicker::generateCaptures() {
    const CaptureSink captures =
        MoveGen::generate<MoveGen::Kind::Captures>(*board_, CaptureSink{*board_, moves_, keys_});
    assert(captures.count <= MoveList::kCapacity);
    captureKeysEnd_ = closeGroup(keys_, captures.count);
}

void MovePicker::generateQuiets() {
    const int begin = captureKeysEnd_;
    const QuietSink quiets = MoveGen::generate<MoveGen::Kind::Quiets>(
        *board_,
        QuietSink{thread_->quietHistory[board_->sideToMove], moves_ + begin, keys_ + begin});
    quietEnd_ = static_cast<int>(quiets.key - keys_);
    assert(quietEnd_ <= MoveList::kCapacity + kLanes); // a group may be filled up before them
    quietKeysEnd_ = makeQuietKeys(keys_, begin, quietEnd_);
}

// The table move is among the captures or the quiet moves, too, and is passed over there.

Move MovePicker::nextGoodCapture() {
    for (;;) {
        const Key best = greatestKey(keys_, 0, captureKeysEnd_);
        if (scoreOf(best) < kGoodCaptureBound)
            return 0;
        const int place = placeOf(best);
        const Move m = moves_[place];
        if (m != ttMove_ && needsExchangeTest(*board_, m) && !seeGE(*board_, m, 0)) {
            keys_[place] = makeKey(scoreOf(best) - 2 * kCaptureBand, place);
            continue;
        }
        keys_[place] = kNoMoveKey;
        if (m != ttMove_)
            return m;
    }
}

Move MovePicker::nextQuiet() {
    for (;;) {
        const Key best = takeGreatestKey(keys_, captureKeysEnd_, quietKeysEnd_);
        if (best == kNoMoveKey)
            return 0;
        if (const Move m = moves_[placeOf(best)]; m != ttMove_)
            return m;
    }
}

Move MovePicker::nextBadCapture() {
    const Key best = takeGreatestKey(keys_, 0, captureKeysEnd_);
    return best == kNoMoveKey ? 0 : moves_[placeOf(best)];
}

// Most moves are told by their targets, before their piece is looked at, unless some piece may
// uncover a check.
void MovePicker::dropQuietsWithoutCheck() {
    const Color us = board_->sideToMove;
    Bitboard targets = checks_->targets();
    if (board_->castling)
        targets |=
            bit(toSquare(kKingSideCastling[us].move)) | bit(toSquare(kQueenSideCastling[us].move));
    if (checks_->discoverers() & board_->colorBB[us])
        targets = ~Bitboard{0};
    for (int place = captureKeysEnd_; place < quietEnd_; ++place) {
        const Move m = moves_[place];
        if (!(targets >> toSquare(m) & 1) || !(isCastling(m) || checks_->givesCheck(m)))
            keys_[place] = kNoMoveKey;
    }
}
