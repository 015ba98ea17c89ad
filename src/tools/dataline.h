#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// One line of a data file: a position, the result of its game and, if wanted, the score of its
/// search. For example "8/8/4k3/8/8/3QK3/8/8 w - - 3 71 [1.0] [1034]".
struct DataGenSample {
    std::string fen;
    double result = 0.5;    // 1, 0.5 or 0, White's point of view
    std::int32_t score = 0; // centipawns, White's point of view
    bool hasScore = false;
};

/// Reads a line. Returns false if it has no result field, a field that is none, or no text before
/// the fields; the text itself is not looked at.
bool parseDataGenLine(std::string_view line, DataGenSample& sample);

/// The same backwards: appends the line of a sample, its end included.
void appendDataGenLine(std::string& text, const DataGenSample& sample);
