#pragma once

#include "eval/evaluate.h"
#include "params/psq.h"
#include "support/notation.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

/// Runs evaluations with the breakdown switched on and reads it.
namespace TraceReader {

/// The breakdown is off again whichever way a test ends.
class TraceOn {
  public:
    TraceOn() { setEvalTrace(true); }
    ~TraceOn() { setEvalTrace(false); }
    TraceOn(const TraceOn&) = delete;
    TraceOn& operator=(const TraceOn&) = delete;
};

struct Traced {
    int value;
    std::string text;
};

inline Traced traced(const Board& board) {
    const TraceOn on;
    testing::internal::CaptureStdout();
    const int value = evaluate(board);
    return {value, testing::internal::GetCapturedStdout()};
}

/// The two numbers of the line with this label.
inline ScorePair term(std::string_view text, std::string_view label) {
    const std::string start = "\n  " + std::string(label) + ' ';
    const std::size_t line = text.find(start);
    if (line == std::string_view::npos)
        throw std::runtime_error("no line " + std::string(label));
    const std::string rest(text.substr(line + start.size()));
    const std::size_t slash = rest.find('/');
    return {std::stoi(rest), std::stoi(rest.substr(slash + 1))};
}

inline ScorePair termOf(std::string_view fen, std::string_view label) {
    return term(traced(Notation::boardOf(fen)).text, label);
}

} // namespace TraceReader
