#pragma once

#include <string>

/// Compares the evaluation of every position of a data file with what its row of features and the
/// listing of weights give, all read as text, as a program that fits weights would. Prints the
/// count; returns true if anything differs or cannot be read.
bool runLoopCheck(const std::string& data, const std::string& rows, const std::string& params);

/// Prints the evaluation of every position of a data file, one a line, in centipawns for the side
/// to move. Returns true if a line holds no position; nothing is printed from there on.
bool runEvaluate(const std::string& data);
