#include "base/output.h"
#include "board/movegen.h"
#include "selfcheck/checks.h"
#include "support/eval_checks.h"
#include "tools/bench.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::uint64_t kSeed = 20261120;
constexpr int kGamesPerPosition = 20;
constexpr int kLongestGame = 200;

/// How many positions were compared and how many differed.
struct Count {
    std::string_view check;
    int positions = 0;
    int differences = 0;

    void add(const Board& board, bool same) {
        ++positions;
        if (!same && differences++ < 3)
            Output::write("        розбіжність: fen=" + board.fen() + "\n");
    }

    void print() const {
        Output::write(std::string(differences == 0 ? "[PASS] " : "[FAIL] ") + std::string(check) +
                      ": " + std::to_string(positions) + " позицій, " +
                      std::to_string(differences) + " розбіжностей\n");
    }
};

class EvalChecks {
  public:
    bool run() {
        for (const std::string_view fen : kBenchPositions)
            for (int game = 0; game < kGamesPerPosition; ++game) {
                board_->setFen(fen);
                playAndTakeBack();
            }
        state_.print();
        pawns_.print();
        return state_.differences + pawns_.differences != 0;
    }

  private:
    void playAndTakeBack() {
        std::vector<Move> played;
        check();
        while (static_cast<int>(played.size()) < kLongestGame) {
            MoveList moves;
            generateLegalMoves(*board_, moves);
            if (moves.count == 0)
                break;
            played.push_back(moves.moves[random_() % static_cast<std::uint64_t>(moves.count)]);
            board_->makeMove(played.back());
            check();
        }
        for (; !played.empty(); played.pop_back()) {
            board_->unmakeMove(played.back());
            check();
        }
    }

    void check() {
        int stored[5];
        int fresh[5];
        evalStateCheck(*board_, stored[0], stored[1], stored[2], stored[3], stored[4], fresh[0],
                       fresh[1], fresh[2], fresh[3], fresh[4]);
        fresh[4] = std::min(fresh[4], EvalParams::kFullPhase); // as the stored one is
        state_.add(*board_, std::equal(std::begin(stored), std::end(stored), fresh));

        int cachedMg = 0;
        int cachedEg = 0;
        int mg = 0;
        int eg = 0;
        evalPawnsCheck(*board_, cachedMg, cachedEg, mg, eg);
        pawns_.add(*board_, cachedMg == mg && cachedEg == eg);
    }

    std::unique_ptr<Board> board_ = std::make_unique<Board>();
    std::mt19937_64 random_{kSeed};
    Count state_{"evalStateCheck"};
    Count pawns_{"evalPawnsCheck"};
};

} // namespace

bool runEvalChecks() {
    return EvalChecks().run();
}
