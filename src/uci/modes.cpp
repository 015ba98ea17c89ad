#include "uci/modes.h"

#include "base/files.h"
#include "base/output.h"
#include "base/parse.h"
#include "eval/endgame.h"
#include "eval/evaluate.h"
#include "platform/console.h"
#include "tools/bench.h"
#include "tools/datagen.h"
#include "tools/tuneexport.h"
#include "uci/divide.h"
#include "uci/messages.h"

#include <string>

namespace {

using Arguments = std::span<const std::string_view>;

/// The position that the modes work on.
Board gBoard;

int fail(std::string_view message) {
    Output::writeError(std::string(message) + "\n");
    return 1;
}

int perftMode(Arguments arguments) {
    int depth = 0;
    gBoard.reset();
    if (!parseIntStrict(arguments[1], depth) || !canDivide(gBoard, depth))
        return fail(Messages::badDepth("perft"));
    if (!gBoard.setFen(arguments[0]))
        return fail(Messages::kBadFen);
    printDivide(gBoard, depth);
    return 0;
}

int benchSearchMode(Arguments arguments) {
    int depth = 0;
    if (!arguments.empty() && (!parseIntStrict(arguments[0], depth) || depth < 1))
        return fail(Messages::badDepth("benchsearch"));
    runBenchSearch(depth);
    return 0;
}

int evalTraceMode(Arguments arguments) {
    if (!gBoard.setFen(arguments[0]))
        return fail(Messages::kBadFen);
    setEvalTrace(true);
    evaluate(gBoard);
    setEvalTrace(false);
    return 0;
}

/// Filter: a FEN a line in, annotations after a semicolon ignored; its end-game scale out.
int egScaleMode(Arguments) {
    using Status = Files::LineReader::Status;
    Files::LineReader input(Console::read);
    std::string_view line;
    for (Status status; (status = input.next(line)) == Status::Line || status == Status::TooLong;) {
        if (status == Status::TooLong || !gBoard.setFen(line.substr(0, line.find(';')))) {
            Output::write(std::string(Messages::kEgScaleBadLine) + "\n");
            continue;
        }
        const int value = evaluate(gBoard);
        const int white = gBoard.sideToMove == White ? value : -value;
        Output::write(std::to_string(egScaleFactor(gBoard, white)) + "\n");
    }
    return 0;
}

int dataGenMode(Arguments arguments) {
    if (asksForDataGenHelp(arguments)) {
        printDataGenHelp();
        return 0;
    }
    DataGenConfig config;
    return parseDataGenArgs(arguments, config) ? runDataGen(config) : 1;
}

int featureExportMode(Arguments arguments) {
    return runFeatureExport(std::string(arguments[0]), std::string(arguments[1]));
}

int tuneParamsMode(Arguments) {
    return runTuneParams();
}

int benchMode(Arguments) {
    runBenchPerft();
    return 0;
}

constexpr Mode kModes[] = {
    {"perft", 2, "FEN DEPTH", "count move sequences, by first move", perftMode},
    {"benchsearch", 0, "[DEPTH]", "search ten positions and count nodes", benchSearchMode},
    {"evaltrace", 1, "FEN", "print an evaluation term by term", evalTraceMode},
    {"egscale", 0, "<FILE", "print the end-game scale of each FEN", egScaleMode},
    {"datagen", 0, "[OPTION=VALUE...]", "write positions of self-play games", dataGenMode},
    {"featureexport", 2, "DATA ROWS", "turn such positions into features", featureExportMode},
    {"tuneparams", 0, "", "list the weights of the evaluation", tuneParamsMode},
    {"bench", 0, "", "count move sequences of length 5", benchMode},
};

} // namespace

std::span<const Mode> modes() {
    return kModes;
}
