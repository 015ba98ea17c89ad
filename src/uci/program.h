#pragma once

/// The program from its first line to its last: modes or the UCI loop, as `main` gets its
/// arguments. Returns the exit status.
int runProgram(int argc, char** argv);
