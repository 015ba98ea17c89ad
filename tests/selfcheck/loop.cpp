#include "selfcheck/loop.h"

#include "base/output.h"
#include "eval/evaluate.h"

#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

namespace {

/// The weights of a listing: a heading, then index, name and value a line. Empty if it is not one.
std::vector<int> readWeights(const std::string& path) {
    std::ifstream file(path);
    std::string heading;
    std::getline(file, heading);
    std::vector<int> weights;
    std::size_t index = 0;
    std::string name;
    int value = 0;
    while (file >> index >> name >> value && index == weights.size())
        weights.push_back(value);
    const bool whole =
        file.eof() && heading.ends_with("NPARAMS=" + std::to_string(weights.size()) + ")");
    return whole ? weights : std::vector<int>();
}

/// Puts the position of a line of a data file on the board. Returns false if it holds none.
bool setLine(Board& board, const std::string& line) {
    return board.setFen(line.substr(0, line.find('[')));
}

/// Value of a row for the side to move. Returns false if the row is none.
bool valueOfRow(const std::string& row, const std::vector<int>& weights, const Board& board,
                int& value) {
    std::istringstream in(row);
    std::string result;
    int phase = 0;
    int scale = 0;
    int mg = 0;
    int eg = 0;
    int used = 0;
    in >> result >> phase >> scale >> mg >> eg >> used;
    for (std::size_t index = 0; used > 0 && in; --used) {
        int mgCount = 0;
        int egCount = 0;
        in >> index >> mgCount >> egCount;
        if (index >= weights.size())
            return false;
        mg += mgCount * weights[index];
        eg += egCount * weights[index];
    }
    if (!in || in.peek() != std::istringstream::traits_type::eof())
        return false;
    const int tapered = (phase * mg + scale * eg / 64 * (24 - phase)) / 24;
    const int faded = tapered * (200 - board.halfmoveClock) / 200;
    value = board.sideToMove == White ? faded : -faded;
    return true;
}

} // namespace

bool runLoopCheck(const std::string& data, const std::string& rows, const std::string& params) {
    const std::vector<int> weights = readWeights(params);
    std::ifstream dataFile(data);
    std::ifstream rowFile(rows);
    const auto board = std::make_unique<Board>();
    std::string line;
    std::string row;
    long long positions = 0;
    long long differences = 0;
    while (std::getline(dataFile, line)) {
        ++positions;
        int value = 0;
        if (setLine(*board, line) && std::getline(rowFile, row) &&
            valueOfRow(row, weights, *board, value) && value == evaluate(*board))
            continue;
        if (++differences <= 3)
            Output::write("        розбіжність: " + line + "\n");
    }
    const bool whole = positions > 0 && !std::getline(rowFile, row);
    Output::write((differences == 0 && whole ? "[PASS] " : "[FAIL] ") +
                  std::string("рядки ознак і перелік ваг == evaluate: ") +
                  std::to_string(positions) + " позицій, " + std::to_string(differences) +
                  " розбіжностей\n");
    return differences != 0 || !whole;
}

bool runEvaluate(const std::string& data) {
    constexpr std::size_t kPiece = 1 << 16;
    std::ifstream file(data);
    const auto board = std::make_unique<Board>();
    std::string line;
    std::string values;
    while (std::getline(file, line)) {
        if (!setLine(*board, line))
            return true;
        values += std::to_string(evaluate(*board)) + "\n";
        if (values.size() >= kPiece) {
            Output::write(values);
            values.clear();
        }
    }
    Output::write(values);
    return !file.eof();
}
