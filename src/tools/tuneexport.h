#pragma once

#include <string>

/// Turns a data file into rows of features, a line for each position that can be read: result,
/// phase, end-game scale, both base amounts, the number of weights in use, then index and both
/// counts of each. Lines that cannot be read are counted and left out. Returns the exit status: 1,
/// with a message, if a file cannot be opened, read or written.
int runFeatureExport(const std::string& in, const std::string& out);

/// Prints index, name and value of every weight. Returns the exit status: 1, with a message, if
/// standard output fails.
int runTuneParams();
