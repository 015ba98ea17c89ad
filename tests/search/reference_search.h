#pragma once

#include "board/board.h"
#include "board/movegen.h"
#include "eval/evaluate.h"
#include "search/see.h"
#include "search/tt.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

/// The search once more, written for reading and not for speed: full scores, full sorts, vectors,
/// no prefetch, no stop. A search and its reference agree node for node. It shares the board, the
/// evaluation and the exchange test with the search, but no table, no move ordering and no
/// learning.
class ReferenceSearch {
  public:
    struct Frame {
        int ply = 0;
        Move excluded = 0;
        Move led = 0;
    };

    ReferenceSearch() {
        for (int d = 1; d < 64; ++d)
            for (int m = 1; m < 64; ++m)
                reductions_[d][m] = static_cast<int>(std::log(static_cast<double>(d)) *
                                                         std::log(static_cast<double>(m)) / 2.25 +
                                                     0.75);
    }

    int search(Board& board, int alpha, int beta, int depth, Frame& here, bool cutNode);
    int quiet(Board& board, int alpha, int beta, int ply);
    int aspirate(Board& board, int depth, int previous);

    TranspositionTable table;
    std::int32_t history[2][64][64] = {};
    std::int16_t pawnCorrection[2][16384] = {};
    std::int16_t pieceCorrection[2][2][16384] = {};
    std::uint64_t nodes = 0;
    std::uint64_t qnodes = 0;
    int seldepth = 0;
    Move rootMove = 0;
    int rootScore = 0;

  private:
    static constexpr int kWin = 30000;
    static constexpr int kBeyond = 32000;
    static constexpr int kNoPly = 128;

    static bool isMate(int score) { return std::abs(score) >= 29744; }
    static bool noisy(Move m) { return isCapture(m) || isPromotion(m); }

    struct Scored {
        Move move;
        int score;
    };
    using ScoredMoves = std::vector<Scored>;

    class Order;

    static bool attackedKing(const Board& board, Color c) {
        return board.isAttacked(lowestSquare(board.pieces[c][King]), ~c);
    }

    static int readScore(const TTData& entry, int ply) {
        if (entry.score >= 29744)
            return entry.score - ply;
        return entry.score <= -29744 ? entry.score + ply : entry.score;
    }

    static bool entryDecides(const TTData& entry, int score, int alpha, int beta) {
        switch (entry.flag) {
        case TTExact:
            return true;
        case TTLower:
            return score >= beta;
        default:
            return score <= alpha;
        }
    }

    static bool drawn(const Board& board) {
        if (board.halfmoveClock > 99)
            return true;
        for (int k = 1;; ++k) {
            const int index = board.historyCount - 2 * k;
            if (index < 0 || index < board.historyCount - board.halfmoveClock)
                return false;
            if (board.history[index].key == board.key)
                return true;
        }
    }

    /// Whether a cheaper piece attacks one of ours, looked at from the pieces attacked.
    static bool threatened(const Board& board) {
        const Color us = board.sideToMove;
        const Bitboard(&enemy)[6] = board.pieces[~us];
        for (Square sq = 0; sq < 64; ++sq) {
            const Piece p = board.mailbox[sq];
            if (!(board.colorBB[us] & bit(sq)) || p == Pawn || p == King)
                continue;
            if (Attacks::pawnAttacks[us][sq] & enemy[Pawn])
                return true;
            if (p >= Rook && ((Attacks::knightAttacks[sq] & enemy[Knight]) ||
                              (Attacks::bishopAttacks(sq, board.occupied) & enemy[Bishop])))
                return true;
            if (p == Queen && (Attacks::rookAttacks(sq, board.occupied) & enemy[Rook]))
                return true;
        }
        return false;
    }

    static unsigned pieceHash(const Board& board, Color c) {
        constexpr std::uint64_t kFactors[6] = {0,
                                               0x9E3779B97F4A7C15,
                                               0xC2B2AE3D27D4EB4F,
                                               0x165667B19E3779F9,
                                               0xD6E8FEB86659FD93,
                                               0xFF51AFD7ED558CCD};
        std::uint64_t hash = 0;
        for (int p = Knight; p <= King; ++p)
            hash ^= board.pieces[c][p] * kFactors[p];
        return static_cast<unsigned>(hash >> 50);
    }

    std::vector<std::int16_t*> corrections(const Board& board) {
        const Color us = board.sideToMove;
        return {&pawnCorrection[us][board.pawnKey & 16383],
                &pieceCorrection[us][White][pieceHash(board, White)],
                &pieceCorrection[us][Black][pieceHash(board, Black)]};
    }

    int correctedEval(const Board& board) {
        const auto cells = corrections(board);
        return evaluate(board) + (2 * *cells[0] + *cells[1] + *cells[2]) / 64;
    }

    void learn(const Board& board, int error, int depth) {
        const int c = std::max(-256, std::min(256, error * depth / 8));
        for (std::int16_t* x : corrections(board))
            *x = static_cast<std::int16_t>(*x + c - *x * std::abs(c) / 1024);
    }

    void reward(Color side, Move m, int depth) {
        std::int32_t& h = history[side][fromSquare(m)][toSquare(m)];
        const int b = depth * depth;
        h = h + b - h * b / 16384;
    }

    void punish(Color side, Move m, int depth) {
        std::int32_t& h = history[side][fromSquare(m)][toSquare(m)];
        const int b = depth * depth;
        h = h - b - h * b / 16384;
    }

    int captureScore(const Board& board, Move m) const {
        const int victim =
            moveFlag(m) == FlagEnPassant ? int{Pawn} : int{board.mailbox[toSquare(m)]};
        return 100 * (victim + 1) + 5 - board.mailbox[fromSquare(m)];
    }

    int quietScore(const Board& board, Move m) const {
        return std::min(history[board.sideToMove][fromSquare(m)][toSquare(m)], 77000);
    }

    static void sort(ScoredMoves& moves) {
        std::stable_sort(moves.begin(), moves.end(),
                         [](const Scored& a, const Scored& b) { return a.score > b.score; });
    }

    bool multiCut(Board& board, const TTData& entry, int entryScore, int beta, int depth,
                  Frame& here, bool pv, bool cutNode, int& extension, int& score);
    int reduction(bool pv, int newDepth, int searched, Color mover, Move m) const;

    int reductions_[64][64] = {};
};

/// The moves of a node in the order of their search, each kind sorted when its turn comes.
class ReferenceSearch::Order {
  public:
    Order(const ReferenceSearch& search, const Board& board, Move tableMove)
        : search_(search), board_(board), tableMove_(tableMove) {
        if (tableMove != 0 && board.isPseudoLegal(tableMove))
            queue_.push_back({tableMove, 0});
    }

    Move next() {
        while (at_ == queue_.size()) {
            if (kind_ == 3)
                return 0;
            queue_.clear();
            at_ = 0;
            fill(kind_++);
        }
        return queue_[at_++].move;
    }

    void dropTail() {
        checksOnly_ = true;
        if (kind_ == 2)
            queue_.erase(std::remove_if(queue_.begin() + static_cast<std::ptrdiff_t>(at_),
                                        queue_.end(),
                                        [&](const Scored& s) { return idle(s.move); }),
                         queue_.end());
    }

  private:
    bool idle(Move m) const { return !isCastling(m) && !board_.quietGivesCheck(m); }

    void fill(int kind) {
        MoveList list;
        if (kind == 1)
            generateQuiets(board_, list);
        else
            generateCaptures(board_, list);
        for (const Move m : list) {
            if (m == tableMove_)
                continue;
            if (kind == 1) {
                if (!checksOnly_ || !idle(m))
                    queue_.push_back({m, search_.quietScore(board_, m)});
            } else if (const int score = captureScore(m); (score >= 81000) == (kind == 0)) {
                queue_.push_back({m, score});
            }
        }
        sort(queue_);
    }

    int captureScore(Move m) const {
        if (!isCapture(m))
            return 90000;
        const int score = search_.captureScore(board_, m);
        if (isPromotion(m))
            return score + 100900;
        return seeGE(board_, m, 0) ? score + 100000 : score - 100000;
    }

    const ReferenceSearch& search_;
    const Board& board_;
    Move tableMove_;
    ScoredMoves queue_;
    std::size_t at_ = 0;
    int kind_ = 0; // to fill next: winning captures, quiets, losing captures
    bool checksOnly_ = false;
};

inline int ReferenceSearch::reduction(bool pv, int newDepth, int searched, Color mover,
                                      Move m) const {
    if (pv && searched < 5)
        return 0;
    return reductions_[std::min(newDepth, 63)][std::min(searched + 1, 63)] - (pv ? 1 : 0) -
           history[mover][fromSquare(m)][toSquare(m)] / 8000;
}

/// Searches without the table move; true if the node is done with `score`.
inline bool ReferenceSearch::multiCut(Board& board, const TTData& entry, int entryScore, int beta,
                                      int depth, Frame& here, bool pv, bool cutNode, int& extension,
                                      int& score) {
    const int bound = entryScore - 2 * depth;
    here.excluded = entry.move;
    score = search(board, bound - 1, bound, (depth - 1) / 2, here, cutNode);
    here.excluded = 0;
    if (score < bound)
        extension = 1;
    else if (cutNode)
        extension = -1;
    return score >= bound && !pv && score >= beta && !isMate(score);
}

inline int ReferenceSearch::search(Board& board, int alpha, int beta, int depth, Frame& here,
                                   bool cutNode) {
    const bool pv = beta - alpha > 1;
    const bool whole = here.excluded == 0;
    const Color us = board.sideToMove;
    if (here.ply >= kNoPly)
        return evaluate(board);
    alpha = std::max(alpha, here.ply - kWin);
    beta = std::min(beta, kWin - here.ply);
    if (alpha >= beta)
        return alpha;
    if (depth < 1)
        return quiet(board, alpha, beta, here.ply);
    ++nodes;
    if (here.ply > 0 && drawn(board))
        return 0;

    TTData entry = {};
    const bool known = table.probe(board.key, entry);
    const int entryScore = known ? readScore(entry, here.ply) : 0;
    if (known && !pv && whole && entry.depth >= depth &&
        entryDecides(entry, entryScore, alpha, beta))
        return entryScore;

    const bool checked = attackedKing(board, us);
    const int eval = checked ? 0 : correctedEval(board);
    if (!checked && !pv && whole) {
        const int slack = eval - 80 * depth - beta;
        if (depth < 7 && !isMate(beta) && (slack >= 80 || (slack >= 0 && !threatened(board))))
            return eval;
        const Bitboard officers =
            board.colorBB[us] & ~board.pieces[us][Pawn] & ~board.pieces[us][King];
        if (depth >= 3 && board.historyCount >= 1 && officers) {
            Frame child = {here.ply + 1, 0, 0};
            const int less = depth > 5 ? 4 : 3;
            board.makeNullMove();
            const int score = -search(board, -beta, 1 - beta, depth - less, child, !cutNode);
            board.unmakeNullMove();
            if (score >= beta)
                return beta;
        }
    }
    if (depth > 3 && entry.move == 0 && !checked && whole)
        --depth;

    Order order(*this, board, entry.move);
    std::vector<Move> tried;
    const bool prunes = !pv && !checked && depth <= 4;
    int searched = 0;
    int best = -kBeyond;
    Move bestMove = 0;
    bool raised = false;
    while (const Move m = order.next()) {
        if (m == here.excluded)
            continue;
        int extension = 0;
        if (m == entry.move && here.ply > 0 && known && whole && depth >= 8 &&
            entry.depth >= depth - 3 && entry.flag != TTUpper && !isMate(entryScore)) {
            int score = 0;
            if (multiCut(board, entry, entryScore, beta, depth, here, pv, cutNode, extension,
                         score))
                return score;
        }
        const bool late = prunes && searched >= depth * depth + 3;
        if (late && !noisy(m) && !isCastling(m) && !board.quietGivesCheck(m))
            continue;
        board.makeMove(m);
        const bool checks = attackedKing(board, ~us);
        if (attackedKing(board, us) || (late && isCastling(m) && !checks)) {
            board.unmakeMove(m);
            continue;
        }
        if (!noisy(m) && tried.size() < 64)
            tried.push_back(m);

        int left = depth - 1;
        if (extension >= 1 || checks)
            ++left;
        else if (extension < 0)
            --left;
        Frame child = {here.ply + 1, 0, m};
        int score = 0;
        bool narrow = !(pv && searched == 0);
        if (!checked && !noisy(m) && !checks && extension >= 0 && searched >= 3 && left >= 2) {
            const int r = std::min(left - 1, reduction(pv, left, searched, us, m));
            if (r > 0) {
                score = -search(board, -alpha - 1, -alpha, left - r, child, true);
                narrow = score > alpha;
            }
        }
        if (narrow)
            score = -search(board, -alpha - 1, -alpha, left, child, !cutNode);
        if (pv && (searched == 0 || (alpha < score && score < beta)))
            score = -search(board, -beta, -alpha, left, child, false);
        board.unmakeMove(m);
        if (prunes && searched + 1 == depth * depth + 3)
            order.dropTail();

        if (score > best) {
            best = score;
            bestMove = m;
            if (here.ply == 0) {
                rootMove = m;
                rootScore = score;
            }
        }
        if (best >= beta)
            break;
        if (best > alpha) {
            alpha = best;
            raised = true;
        }
        ++searched;
    }

    const bool cut = best >= beta;
    if (cut) {
        if (!isCapture(bestMove))
            reward(us, bestMove, depth);
        for (const Move q : tried)
            if (q != bestMove)
                punish(us, q, depth);
    } else if (searched == 0) {
        return checked ? here.ply - kWin : 0;
    } else if (whole && !raised && here.led != 0 && !noisy(here.led)) {
        reward(~us, here.led, depth);
    }
    if (!whole)
        return best;
    const bool outside =
        cut ? best > eval && best < 29744 : !isMate(best) && (raised || best < eval);
    if (!checked && !noisy(bestMove) && outside)
        learn(board, best - eval, depth);
    table.store(board.key, bestMove, best, depth,
                cut      ? TTLower
                : raised ? TTExact
                         : TTUpper,
                here.ply);
    return best;
}

inline int ReferenceSearch::quiet(Board& board, int alpha, int beta, int ply) {
    if (ply >= kNoPly)
        return evaluate(board);
    ++nodes;
    ++qnodes;
    seldepth = std::max(seldepth, ply);
    TTData entry = {};
    const bool known = table.probe(board.key, entry);
    if (known && beta - alpha == 1 && entry.depth >= -1) {
        const int score = readScore(entry, ply);
        if (entryDecides(entry, score, alpha, beta))
            return score;
    }
    const int eval = correctedEval(board);
    if (eval >= beta) {
        table.store(board.key, 0, eval, -1, TTLower, ply);
        return beta;
    }

    int best = std::max(eval, alpha);
    Move bestMove = 0;
    const Color us = board.sideToMove;
    const bool checked = attackedKing(board, us);
    MoveList list;
    generateCaptures(board, list);
    ScoredMoves moves;
    for (const Move m : list) {
        int score = 90000;
        if (known && m == entry.move)
            score = 1000000;
        else if (isCapture(m))
            score = captureScore(board, m) + (isPromotion(m) ? 100900 : 100000);
        moves.push_back({m, score});
    }
    sort(moves);
    for (const auto& [m, order] : moves) {
        if (!checked && !isPromotion(m)) {
            const Piece victim = moveFlag(m) == FlagEnPassant ? Pawn : board.mailbox[toSquare(m)];
            constexpr int kValue[7] = {100, 320, 330, 500, 900, 10000, 0};
            if (eval + 200 + kValue[victim] < best || !seeGE(board, m, 0))
                continue;
        }
        board.makeMove(m);
        if (attackedKing(board, us)) {
            board.unmakeMove(m);
            continue;
        }
        const int score = -quiet(board, -beta, -best, ply + 1);
        board.unmakeMove(m);
        if (score >= beta) {
            table.store(board.key, m, score, -1, TTLower, ply);
            return beta;
        }
        if (score > best) {
            best = score;
            bestMove = m;
        }
    }
    table.store(board.key, bestMove, best, -1, TTUpper, ply);
    return best;
}

inline int ReferenceSearch::aspirate(Board& board, int depth, int previous) {
    const auto run = [&](int a, int b) {
        Frame root;
        return search(board, a, b, depth, root, false);
    };
    if (depth < 5 || isMate(previous))
        return run(-kBeyond, kBeyond);
    int a = previous - 25;
    int b = previous + 25;
    int score = run(a, b);
    if (a < score && score < b)
        return score;
    if (isMate(score)) {
        a = -kBeyond;
        b = kBeyond;
    } else if (score >= b) {
        b = std::min(score, 31975) + 25;
    } else {
        a = std::max(score, -31975) - 25;
        b = previous;
    }
    score = run(a, b);
    if (isMate(score) && (score <= a || score >= b)) {
        a = -kBeyond;
        b = kBeyond;
    } else if (score <= a) {
        b = (a + b) / 2;
        a = std::max(score, -31961) - 39;
    } else if (score >= b) {
        b = std::min(score, 31961) + 39;
    } else {
        return score;
    }
    score = run(a, b);
    return a < score && score < b ? score : run(-kBeyond, kBeyond);
}
