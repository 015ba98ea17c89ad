#pragma once

#include "search/see.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <limits>

/// Scores by which moves are ordered. The bands keep the kinds of moves apart: winning captures
/// above promotions above every quiet move above losing captures.
namespace Ordering {

struct MvvLvaTable {
    std::int32_t score[kPieces][kPieces];
};

constexpr MvvLvaTable buildMvvLva() {
    MvvLvaTable table{};
    for (int attacker = Pawn; attacker <= King; ++attacker)
        for (int victim = Pawn; victim <= King; ++victim)
            table.score[attacker][victim] = 100 * (victim + 1) + (King - attacker);
    return table;
}

inline constexpr MvvLvaTable kMvvLvaTable = buildMvvLva();

/// Most valuable victim first, then least valuable attacker: scores by attacker and victim.
inline constexpr const auto& kMVVLVA = kMvvLvaTable.score;

inline constexpr int kCaptureBand = 100000;     // added to winning captures, taken from losing ones
inline constexpr int kCapturePromotion = 900;   // on top of the capture
inline constexpr int kQuietPromotion = 90000;   // without a capture
inline constexpr int kGoodCaptureBound = 81000; // winning captures and promotions: from here on
inline constexpr int kHistoryCap = 77000;       // quiet moves stay below them

/// The piece that a capture takes.
inline Piece victimOf(const Board& board, Move m) {
    return isEnPassant(m) ? Pawn : board.mailbox[toSquare(m)];
}

/// Score of an en-passant capture or a promotion.
inline int specialPawnScore(const Board& board, Square to, std::uint32_t flag) {
    if (flag == FlagEnPassant)
        return kMVVLVA[Pawn][Pawn] + kCaptureBand;
    if (flag < FlagCapturePromotion)
        return kQuietPromotion;
    return kMVVLVA[Pawn][board.mailbox[to]] + kCaptureBand + kCapturePromotion;
}

/// Score of a quiet move by its history.
constexpr int quietScore(int history) {
    return std::min(history, kHistoryCap);
}

/// A move's score and its place in a list in one number: the greatest key is the best move, the
/// first of equals. So picking the best move is taking a maximum, without branches and with several
/// keys at once, and a picked move is removed without moving the others.
using Key = std::int32_t;

/// A removed or missing move: less than every other key.
inline constexpr Key kNoMoveKey = std::numeric_limits<Key>::min();

inline constexpr int kPlaceBits = 10;
inline constexpr int kPlaceMask = (1 << kPlaceBits) - 1;

/// Every score lies within this, up and down: the rest of a key's bits hold it.
inline constexpr int kScoreLimit = std::numeric_limits<Key>::max() >> kPlaceBits;

/// Keys are compared in groups of this many; what is missing in the last is `kNoMoveKey`.
inline constexpr int kLanes = 8;

constexpr int wholeGroups(int count) {
    return (count + kLanes - 1) & ~(kLanes - 1);
}

/// Room for the keys of any list of moves, in two parts that are filled up to whole groups each,
/// and for what is written behind the last.
inline constexpr int kKeyCapacity = MoveList::kCapacity + 3 * kLanes;
static_assert(kKeyCapacity <= kPlaceMask + 1);

constexpr Key makeKey(int score, int place) {
    assert(-kScoreLimit <= score && score <= kScoreLimit);
    assert(0 <= place && place <= kPlaceMask);
    return score * (kPlaceMask + 1) + (kPlaceMask - place);
}
constexpr int scoreOf(Key key) {
    return key >> kPlaceBits;
}
constexpr int placeOf(Key key) {
    return kPlaceMask - (key & kPlaceMask);
}

/// Fills up the last group of a list that ends at `end`; returns the end of the group. As many keys
/// as fill a group are written, whatever is missing.
inline int closeGroup(Key* keys, int end) {
    const int groupEnd = wholeGroups(end);
    assert(end + kLanes <= kKeyCapacity);
    std::fill_n(keys + end, kLanes, kNoMoveKey);
    return groupEnd;
}

struct CaptureKeyTable {
    Key key[kPieces][kPieces];
};

constexpr CaptureKeyTable buildCaptureKeys() {
    CaptureKeyTable table{};
    for (int attacker = Pawn; attacker <= King; ++attacker)
        for (int victim = Pawn; victim <= King; ++victim)
            table.key[attacker][victim] = makeKey(kMVVLVA[attacker][victim] + kCaptureBand, 0);
    return table;
}

/// Keys of plain captures at the first place, by attacker and victim.
inline constexpr CaptureKeyTable kCaptureKeys = buildCaptureKeys();

/// Key at the first place of a capture or promotion by `attacker`, before any exchange is played
/// out.
template <Piece attacker>
Key captureKey(const Board& board, Square to, std::uint32_t flag) {
    if (flag != FlagCapture)
        return makeKey(specialPawnScore(board, to, flag), 0);
    assert(board.mailbox[to] != kNoPiece);
    return kCaptureKeys.key[attacker][board.mailbox[to]];
}

/// Collects captures and promotions and their keys, both from the first place on.
struct CaptureSink {
    const Board& board;
    Move* moves;
    Key* keys;
    int count = 0;

    template <Piece P>
    void add(Square from, Square to, std::uint32_t flag) {
        moves[count] = encodeMove(from, to, flag);
        keys[count] = captureKey<P>(board, to, flag) - count;
        ++count;
    }
};

/// Collects quiet moves and, in place of their keys, their history: `makeQuietKeys` makes keys of
/// many at once.
struct QuietSink {
    const std::int32_t (*history)[kSquares]; // of the side to move, by from and to
    Move* move;
    Key* key;

    template <Piece>
    void add(Square from, Square to, std::uint32_t flag) {
        *move++ = encodeMove(from, to, flag);
        *key++ = history[from][to];
    }
};

/// Makes keys of the histories that stand in [begin, end) and fills up the last group; returns the
/// end of the group.
inline int makeQuietKeys(Key* keys, int begin, int end) {
    assert(begin % kLanes == 0);
    std::fill_n(keys + end, kLanes, 0); // whole groups are read
    for (int group = begin; group < end; group += kLanes)
        for (int place = group; place < group + kLanes; ++place) // at once
            keys[place] = makeKey(quietScore(keys[place]), place);
    return closeGroup(keys, end);
}

/// The greatest key of the groups in [begin, end), `kNoMoveKey` if there is none left. The keys
/// must be aligned to whole groups. Always inlined: whether the compiler would do it depends on the
/// processor's vectors, and a profile of one kind of build would not fit the others.
[[gnu::always_inline]] inline Key greatestKey(const Key* keys, int begin, int end) {
    assert(begin % kLanes == 0 && end % kLanes == 0);
    // Vectors are compared, and the greater keys chosen, lane by lane.
    using Group [[gnu::vector_size(kLanes * sizeof(Key)), gnu::may_alias]] = Key;
    using Half [[gnu::vector_size(kLanes / 2 * sizeof(Key))]] = Key;
    if (begin == end)
        return kNoMoveKey;
    const Group* group = reinterpret_cast<const Group*>(keys + begin);
    const Group* const groupsEnd = reinterpret_cast<const Group*>(keys + end);
    Group best = *group;
    while (++group != groupsEnd)
        best = best > *group ? best : *group;
    Half halves[2];
    std::memcpy(halves, &best, sizeof best);
    Half half = halves[0] > halves[1] ? halves[0] : halves[1];
    const Half pairsSwapped = __builtin_shufflevector(half, half, 2, 3, 0, 1);
    half = half > pairsSwapped ? half : pairsSwapped;
    return std::max(half[0], half[1]);
}

/// Removes the greatest key and returns it.
inline Key takeGreatestKey(Key* keys, int begin, int end) {
    const Key best = greatestKey(keys, begin, end);
    if (best != kNoMoveKey)
        keys[placeOf(best)] = kNoMoveKey;
    return best;
}

} // namespace Ordering
