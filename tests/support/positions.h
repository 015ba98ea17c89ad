#pragma once

#include <cstdint>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// Readers of the position files in tests/data and of the openings of matches. `MORVANE_TEST_DATA`
/// is the path of that folder. A file that cannot be read or holds nothing throws: a loop over no
/// positions would test nothing.
namespace Positions {

/// The lines of a data file that are neither empty nor comments.
inline std::vector<std::string> readLines(const std::string& name) {
    std::ifstream file(std::string(MORVANE_TEST_DATA) + '/' + name);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        if (!line.empty() && line[0] != '#')
            lines.push_back(line);
    if (lines.empty())
        throw std::runtime_error("no positions in " + name);
    return lines;
}

/// The openings of matches.
inline std::vector<std::string> readOpenings() {
    return readLines("../../scripts/openings.epd");
}

/// The positions that the tests share: games, end games and boards full of queens.
inline std::vector<std::string> readShared() {
    return readLines("positions.epd");
}

struct PerftCase {
    std::string fen;
    std::string name;
    std::vector<std::pair<int, std::uint64_t>> leaves; // by depth
};

inline PerftCase parsePerftCase(const std::string& line) {
    PerftCase result;
    std::istringstream text(line);
    std::getline(text, result.fen, ';');
    std::getline(text, result.name, ';');
    result.fen.erase(result.fen.find_last_not_of(' ') + 1);
    result.name.erase(result.name.find_last_not_of(' ') + 1);
    for (std::string field; std::getline(text, field, ';');) {
        std::istringstream words(field);
        char letter = 0;
        int depth = 0;
        std::uint64_t leaves = 0;
        if (!(words >> letter >> depth >> leaves) || letter != 'D')
            throw std::runtime_error("not a leaf count: " + line);
        result.leaves.emplace_back(depth, leaves);
    }
    if (result.leaves.empty())
        throw std::runtime_error("no leaf count: " + line);
    return result;
}

/// Positions with their numbers of legal move sequences; each is named for the bug that it catches.
inline std::vector<PerftCase> readPerftSuite() {
    std::vector<PerftCase> suite;
    for (const std::string& line : readLines("perft/suite.epd"))
        suite.push_back(parsePerftCase(line));
    return suite;
}

/// The shared positions and those of the perft suite together.
inline std::vector<std::string> readAll() {
    std::vector<std::string> fens = readShared();
    for (const PerftCase& perftCase : readPerftSuite())
        fens.push_back(perftCase.fen);
    return fens;
}

} // namespace Positions
