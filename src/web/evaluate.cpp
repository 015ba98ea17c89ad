#include "board/board.h"
#include "tools/explainjson.h"

#include <string>

/// Called by the worker's script once the tables are filled, from one thread at a time, whether a
/// search runs or not: the evaluation of a position as JSON, empty if the FEN is not valid. The
/// text stays until the next call.
extern "C" const char* morvaneEvaluate(const char* fen) {
    static Board board;
    static std::string text;
    board.reset();
    text = board.setFen(fen) ? explanationJson(board) : "";
    return text.c_str();
}
