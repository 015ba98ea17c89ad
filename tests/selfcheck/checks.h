#pragma once

#include <span>
#include <string_view>

/// Checks of the engine against itself that print what they find.

/// Compares the move picker with generating, scoring and sorting all moves at once, on fixed
/// positions with random histories and table moves. Returns true if anything differs.
bool runMovePickerOrderTest();

/// Compares the evaluation with what features and weights give, on fixed positions. Returns the
/// number of failures.
int runTuneVerify();

/// The same for any positions and weights.
int verifyReconstruction(std::span<const std::string_view> fens, const int* values);

/// Compares what the board and the pawn cache keep with what the pieces give, at every position of
/// random games that are played and taken back again. Returns true if anything differs.
bool runEvalChecks();
