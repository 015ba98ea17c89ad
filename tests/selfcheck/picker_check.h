#pragma once

#include "base/output.h"
#include "board/kinglines.h"
#include "board/movegen.h"
#include "search/ordering.h"
#include "search/thread.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

/// The check of the move picker, for any class with the picker's interface: a test hands in broken
/// ones and sees that they are caught.
template <class Picker>
class PickerCheck {
  public:
    /// Runs all trials and prints a summary. Returns true if anything differs.
    bool run() {
        for (const std::string_view fen : kFens)
            for (int trial = 0; trial < kTrials; ++trial)
                runTrial(fen, trial);
        printSummary();
        return orderMismatches_ != 0 || tailMismatches_ != 0;
    }

  private:
    using Moves = std::vector<Move>;

    static constexpr std::string_view kFens[] = {
        "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
        "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
        "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
        "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
        "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8",
        "8/PPPk4/8/8/8/8/4Kppp/8 w - - 0 1",
        "rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6 0 3",
        "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
    };
    static constexpr int kTrials = 64; // for each position
    static constexpr std::uint64_t kSeed = 20260901;
    static constexpr int kTableMoveScore = 1000000;
    static constexpr int kDetails = 3; // mismatches of each kind that are printed

    void runTrial(std::string_view fen, int trial) {
        if (!board().setFen(fen)) {
            ++orderMismatches_;
            return;
        }
        ++trials_;
        fillHistory();
        const Move tableMove = drawTableMove();
        if (tableMove != 0 && board().isPseudoLegal(tableMove))
            ++validTableMoves_;
        const Moves sorted = sortedMoves(tableMove);
        checkOrder(sorted, tableMove, trial);
        const std::size_t count = sorted.size();
        for (const std::size_t k : {std::size_t{0}, std::size_t{1}, count / 3, count / 2, count})
            if (k <= count)
                checkTail(sorted, tableMove, trial, k);
    }

    /// Most values small and positive, some beyond the cap, a quarter negative.
    void fillHistory() {
        for (auto& side : thread_->quietHistory)
            for (auto& from : side)
                for (std::int32_t& value : from)
                    value = drawHistory();
    }

    std::int32_t drawHistory() {
        if (random_() % 4 == 0)
            return -static_cast<std::int32_t>(random_() % 16385);
        const bool small = random_() % 8 != 0;
        return static_cast<std::int32_t>(random_() % (small ? 4000 : 900000));
    }

    /// None, a legal move, or any code.
    Move drawTableMove() {
        switch (random_() % 3) {
        case 0:
            return 0;
        case 1: {
            MoveList legal;
            generateLegalMoves(board(), legal);
            return legal.count == 0
                       ? 0
                       : legal.moves[random_() % static_cast<std::uint64_t>(legal.count)];
        }
        default:
            return static_cast<Move>(random_() & 0xFFFF);
        }
    }

    Moves sortedMoves(Move tableMove) {
        MoveList list;
        generateMoves(board(), list);
        Moves moves(list.begin(), list.end());
        std::stable_sort(moves.begin(), moves.end(),
                         [&](Move a, Move b) { return score(a, tableMove) > score(b, tableMove); });
        return moves;
    }

    int score(Move m, Move tableMove) {
        if (m == tableMove)
            return kTableMoveScore;
        if (!isCaptureOrPromotion(m))
            return std::min(thread_->quietHistory[board().sideToMove][fromSquare(m)][toSquare(m)],
                            Ordering::kHistoryCap);
        const bool loses = isCapture(m) && !isPromotion(m) &&
                           SEE::kValue[board().mailbox[fromSquare(m)]] >
                               SEE::kValue[Ordering::victimOf(board(), m)] &&
                           !seeGE(board(), m, 0);
        return captureScore(m) - (loses ? 2 * Ordering::kCaptureBand : 0);
    }

    int captureScore(Move m) {
        if (!isCapture(m))
            return Ordering::kQuietPromotion;
        const Piece attacker = board().mailbox[fromSquare(m)];
        const Piece victim = Ordering::victimOf(board(), m);
        return Ordering::kMVVLVA[attacker][victim] + Ordering::kCaptureBand +
               (isPromotion(m) ? Ordering::kCapturePromotion : 0);
    }

    static void drain(Picker& picker, Moves& moves) {
        while (const Move m = picker.next())
            moves.push_back(m);
    }

    void checkOrder(const Moves& sorted, Move tableMove, int trial) {
        Picker picker(*thread_, board(), tableMove);
        Moves picked;
        drain(picker, picked);
        if (picked == sorted || ++orderMismatches_ > kDetails)
            return;
        const auto common = std::min(picked.size(), sorted.size());
        std::size_t first = 0;
        while (first < common && picked[first] == sorted[first])
            ++first;
        Output::write("        розбіжність: fen=" + board().fen() + " trial=" +
                      std::to_string(trial) + " на позиції " + std::to_string(first) + "\n");
        Output::write("          picker:" + listed(picked) + "\n");
        Output::write("          sort  :" + listed(sorted) + "\n");
    }

    /// Late-move pruning: after `k` moves, quiet moves that neither castle nor check are dropped.
    void checkTail(const Moves& sorted, Move tableMove, int trial, std::size_t k) {
        Picker picker(*thread_, board(), tableMove);
        Moves picked;
        while (picked.size() < k) {
            const Move m = picker.next();
            if (m == 0)
                break;
            picked.push_back(m);
        }
        const CheckInfo checks(board());
        picker.keepQuietChecksOnly(checks);
        drain(picker, picked);

        Moves expected;
        for (std::size_t i = 0; i < sorted.size(); ++i)
            if (i < k || sorted[i] == tableMove || isCaptureOrPromotion(sorted[i]) ||
                isCastling(sorted[i]) || board().quietGivesCheck(sorted[i]))
                expected.push_back(sorted[i]);
        ++tailRuns_;
        if (picked == expected || ++tailMismatches_ > kDetails)
            return;
        Output::write("        LMP-хвіст: fen=" + board().fen() +
                      " trial=" + std::to_string(trial) + " k=" + std::to_string(k) + " picker " +
                      std::to_string(picked.size()) + " ходів, очікувано " +
                      std::to_string(expected.size()) + "\n");
    }

    static std::string listed(const Moves& moves) {
        std::string text;
        for (const Move m : moves) {
            text += ' ';
            text += moveToString(m);
        }
        return text;
    }

    static std::string verdict(int mismatches) { return mismatches == 0 ? "[PASS] " : "[FAIL] "; }

    void printSummary() const {
        Output::write(
            verdict(orderMismatches_) + "MovePicker == generateMoves+sortMoves (послідовно): " +
            std::to_string(trials_) + " прогонів (" + std::to_string(validTableMoves_) +
            " з валідним TT-ходом), " + std::to_string(orderMismatches_) + " розбіжностей\n");
        Output::write(verdict(tailMismatches_) +
                      "MovePicker + dropLmpQuiets == еталон без LMP-хвоста: " +
                      std::to_string(tailRuns_) + " прогонів (сигнал на 5 межах), " +
                      std::to_string(tailMismatches_) + " розбіжностей\n");
    }

    Board& board() { return thread_->board; }

    std::unique_ptr<Thread> thread_ = std::make_unique<Thread>(kToolThread);
    std::mt19937_64 random_{kSeed};
    int trials_ = 0;
    int validTableMoves_ = 0;
    int orderMismatches_ = 0;
    int tailRuns_ = 0;
    int tailMismatches_ = 0;
};
