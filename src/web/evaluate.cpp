#include "web/evaluate.h"

#include "board/board.h"
#include "tools/explainjson.h"

#include <atomic>
#include <string>

namespace {

std::atomic<bool> gAllowed{false};

} // namespace

void allowEvaluations() {
    gAllowed = true;
}

/// Called by the worker's script: the evaluation of a position as JSON, empty if the FEN is not
/// valid, null before evaluations are allowed. The text stays until the next call.
extern "C" const char* morvaneEvaluate(const char* fen) {
    static Board board;
    static std::string text;
    if (!gAllowed)
        return nullptr;
    text.clear();
    board.reset();
    if (board.setFen(fen))
        text = explanationJson(board);
    return text.c_str();
}
