#include "base/output.h"
#include "eval/evaluate.h"
#include "selfcheck/checks.h"
#include "tools/tune.h"

#include <memory>
#include <string>

namespace {

// Opening, middle games, bare minor pieces, pawn endings, both sides to move and high half-move
// clocks: phase, scale and fading all take part.
constexpr std::string_view kPositions[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
    "8/8/3k4/2p5/2P5/3K4/8/8 w - - 0 1",
    "8/5k2/8/8/8/8/2K2B2/8 w - - 0 1",
    "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1",
    "8/8/4k3/8/2b5/8/4KB2/8 w - - 0 1",
    "r1bqk2r/pppp1ppp/2n2n2/2b1p3/2B1P3/2N2N2/PPPP1PPP/R1BQK2R w KQkq - 0 1",
    "6k1/5ppp/8/8/8/8/5PPP/3R2K1 b - - 0 1",
    "8/1p3k2/1P6/3P4/8/5K2/6p1/8 w - - 0 1",
    "3k4/p1p2ppp/8/2Pp4/8/1P6/P4PPP/3K4 w - - 0 1",
    "6k1/2p2ppp/8/8/8/8/PP3P1P/6K1 w - - 0 1",
    "2r3k1/1P3ppp/8/8/8/2B5/5PPP/6K1 w - - 0 1",
    "6k1/8/2n1P3/8/3p4/8/1q3PPP/3R2K1 b - - 0 1",
    "8/5k2/3P4/2K5/8/6b1/1p6/8 w - - 0 1",
    "1r4k1/8/1P6/8/4N3/8/5PPP/6K1 w - - 0 1",
    "6k1/5ppp/8/1P6/3B4/8/5PPP/6K1 w - - 0 1",
    "6k1/8/8/8/8/2p1n3/8/Q5K1 b - - 0 1",
    "6k1/5ppp/8/8/8/8/5PPP/R5K1 w - - 63 80",
    "r5k1/5ppp/8/8/8/8/5PPP/6K1 b - - 97 120",
};

} // namespace

int verifyReconstruction(std::span<const std::string_view> fens, const int* values) {
    const auto board = std::make_unique<Board>();
    int tests = 0;
    int wrong = 0;
    int refused = 0;
    for (const std::string_view fen : fens) {
        if (!board->setFen(fen)) {
            Output::write("[FAIL] tune: невалідний FEN: " + std::string(fen) + "\n");
            ++refused;
            continue;
        }
        Tune::Trace trace;
        Tune::extract(*board, trace);
        const int reconstructed = Tune::reconstruct(*board, trace, values);
        const int evaluated = evaluate(*board);
        if (reconstructed != evaluated) {
            Output::write("[FAIL] tune reconstruct " + std::to_string(reconstructed) +
                          " != evaluate " + std::to_string(evaluated) + "  (" + std::string(fen) +
                          ")\n");
            ++wrong;
        }
        ++tests;
    }
    const int failures = wrong + refused;
    Output::write(std::to_string(tests - failures) + "/" + std::to_string(tests) +
                  " tune reconstruct tests passed\n");
    return failures;
}

int runTuneVerify() {
    int values[Tune::NPARAMS];
    Tune::initValues(values);
    return verifyReconstruction(kPositions, values);
}
