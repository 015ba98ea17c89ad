#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// Options of a run of data generation. Each field is the key of its option.
struct DataGenConfig {
    std::int64_t games = 1000; // to attempt
    std::string out = "data.txt";
    std::uint64_t seed = 1;         // of game 0; game i has seed + i
    std::int64_t nodes = 5000;      // after which no further iteration starts; below 1: no bound
    std::int32_t maxdepth = 12;     // plies, 1 to 128
    std::int32_t randomplies = 8;   // at the start of each game
    std::int32_t openingcap = 200;  // centipawns: an opening with a greater score is not played
    std::int32_t openingtries = 12; // to find one, per game
    std::int32_t resign = 1000;     // centipawns: a score of this size, `resignplies` plies long
    std::int32_t resignplies = 6;   // for the same side, ends the game
    std::int32_t draw = 8;          // centipawns: a score of at most this, `drawplies` plies long,
    std::int32_t drawplies = 12;    // ends it as a draw,
    std::int32_t drawmin = 40;      // but not before this ply
    std::int32_t maxplies = 400;    // a game of this length is a draw
    std::int32_t evalcap = 2000;    // centipawns: positions with this score or more are left out
    bool skipcheck = true;          // leave out positions in check
    bool skipquiet = true; // leave out positions whose move is a capture or promotion: the name is
                           // kept, though it says the opposite
    bool score = true;     // write the score behind the result
    std::int64_t progress = 100; // games between two reports; below 1: none
};

/// Reads "key=value" arguments, and up to two bare ones as `games` and `out`, into `config`.
/// Numbers are read as far as they are numbers and are not checked; where more stands behind one,
/// that is remarked on. Returns false, with a message, at the first unknown key or surplus
/// argument.
bool parseDataGenArgs(std::span<const std::string_view> arguments, DataGenConfig& config);

/// Whether the arguments ask for help: "--help" or "-h" anywhere, or "help" as the first bare one.
bool asksForDataGenHelp(std::span<const std::string_view> arguments);

/// Prints the options with their defaults on standard error.
void printDataGenHelp();

/// Plays games of the engine against itself and writes their positions with the results. The same
/// options make the same file, and so do the files of several runs that share its games out, one
/// after another. A file that exists is replaced with the first game; a run without one leaves it.
/// Returns the exit status: 1, with a message, if the file cannot be written.
int runDataGen(const DataGenConfig& config);
