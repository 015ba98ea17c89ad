#pragma once

#include "search/see.h"

#include <algorithm>
#include <limits>

/// Scores by which moves are ordered. The bands keep the kinds of moves apart: winning captures
/// above promotions above every quiet move above losing captures.
namespace Ordering {

struct MvvLvaTable {
    std::int32_t score[6][6];
};

constexpr MvvLvaTable buildMvvLva() {
    MvvLvaTable table{};
    for (int attacker = 0; attacker < 6; ++attacker)
        for (int victim = 0; victim < 6; ++victim)
            table.score[attacker][victim] = 100 * (victim + 1) + (5 - attacker);
    return table;
}

inline constexpr MvvLvaTable kMvvLvaTable = buildMvvLva();

/// Most valuable victim, then least valuable attacker: by attacker and victim.
inline constexpr const auto& kMVVLVA = kMvvLvaTable.score;

inline constexpr int kCaptureBand = 100000;
inline constexpr int kCapturePromotion = 900; // on top of the capture
inline constexpr int kQuietPromotion = 90000;
inline constexpr int kGoodCaptureBound = 81000;
inline constexpr int kHistoryCap = 77000;

/// A move with this score is never picked.
inline constexpr int kNever = std::numeric_limits<std::int32_t>::min();

/// What a capture takes.
inline Piece victimOf(const Board& board, Move m) {
    return isEnPassant(m) ? Pawn : board.mailbox[toSquare(m)];
}

/// Score of a capture or promotion before any exchange is played out.
inline int captureScore(const Board& board, Move m) {
    if (!isCapture(m))
        return kQuietPromotion;
    const int score = kMVVLVA[board.mailbox[fromSquare(m)]][victimOf(board, m)] + kCaptureBand;
    return isPromotion(m) ? score + kCapturePromotion : score;
}

inline int quietScore(const std::int32_t (&history)[64][64], Move m) {
    return std::min(history[fromSquare(m)][toSquare(m)], kHistoryCap);
}

/// Moves entry `from` of a list to the place `to` before it; the entries between keep their order.
inline void moveForward(Move* moves, std::int32_t* scores, int from, int to) {
    const Move move = moves[from];
    const std::int32_t score = scores[from];
    for (int i = from; i > to; --i) {
        moves[i] = moves[i - 1];
        scores[i] = scores[i - 1];
    }
    moves[to] = move;
    scores[to] = score;
}

/// Index of the highest score in [begin, end), the first of equals; `end` of an empty range is -1.
inline int indexOfBest(const std::int32_t* scores, int begin, int end) {
    int best = -1;
    int bestScore = kNever;
    for (int i = begin; i < end; ++i)
        if (scores[i] > bestScore) {
            best = i;
            bestScore = scores[i];
        }
    return best;
}

} // namespace Ordering
