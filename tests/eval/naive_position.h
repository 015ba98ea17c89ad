#pragma once

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// A second evaluation, to compare the engine's with. It reads a position from its FEN, looks at
/// one square after the other and shares nothing with the engine but the weights. It may be slow,
/// but each function should be plainly right.
namespace Naive {

inline constexpr int kWhite = 0;
inline constexpr int kBlack = 1;

constexpr int other(int side) {
    return 1 - side;
}

/// +1 or -1: the view from White's side.
constexpr int sign(int side) {
    return side == kWhite ? 1 : -1;
}

/// The step in ranks towards the enemy.
constexpr int ahead(int side) {
    return side == kWhite ? 1 : -1;
}

constexpr int fileOfSquare(int square) {
    return square % 8;
}
constexpr int rankOfSquare(int square) {
    return square / 8;
}
constexpr bool inside(int file, int rank) {
    return file >= 0 && file < 8 && rank >= 0 && rank < 8;
}

/// 0 on the side's own back rank, 7 on the enemy's.
constexpr int ownRank(int side, int square) {
    return side == kWhite ? rankOfSquare(square) : 7 - rankOfSquare(square);
}

inline int kingSteps(int a, int b) {
    return std::max(std::abs(fileOfSquare(a) - fileOfSquare(b)),
                    std::abs(rankOfSquare(a) - rankOfSquare(b)));
}

constexpr bool isLightSquare(int square) {
    return (fileOfSquare(square) + rankOfSquare(square)) % 2 == 1;
}

constexpr std::string_view kTypes = "PNBRQK";

inline int typeIndex(char type) {
    const std::size_t index = kTypes.find(type);
    if (index == kTypes.npos)
        std::abort(); // a mistake of the test itself
    return static_cast<int>(index);
}

using SquareSet = std::array<bool, 64>;

inline bool& in(SquareSet& set, int square) {
    return set[static_cast<std::size_t>(square)];
}
inline bool in(const SquareSet& set, int square) {
    return set[static_cast<std::size_t>(square)];
}

inline bool meet(const SquareSet& a, const SquareSet& b) {
    for (int square = 0; square < 64; ++square)
        if (in(a, square) && in(b, square))
            return true;
    return false;
}

inline int sizeOf(const SquareSet& set) {
    return static_cast<int>(std::count(set.begin(), set.end(), true));
}

/// A middle-game and an end-game amount from White's point of view.
struct Pair {
    int mg = 0;
    int eg = 0;

    void add(int factor, int middle, int end) {
        mg += factor * middle;
        eg += factor * end;
    }
};

struct Position {
    char at[64]; // FEN letters, a1 first; a dot for an empty square
    int mover;
    int clock;

    /// The letter on a square, '#' beyond the edge.
    char on(int file, int rank) const { return inside(file, rank) ? at[file + 8 * rank] : '#'; }

    bool empty(int square) const { return at[square] == '.'; }

    bool holds(int square, int side) const {
        const auto letter = static_cast<unsigned char>(at[square]);
        return side == kWhite ? std::isupper(letter) != 0 : std::islower(letter) != 0;
    }

    /// The piece's letter in upper case, whatever its colour.
    char type(int square) const {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(at[square])));
    }

    bool has(int square, int side, char wanted) const {
        return holds(square, side) && type(square) == wanted;
    }

    std::vector<int> squaresOf(int side, char wanted) const {
        std::vector<int> squares;
        for (int square = 0; square < 64; ++square)
            if (has(square, side, wanted))
                squares.push_back(square);
        return squares;
    }

    int count(int side, char wanted) const {
        return static_cast<int>(squaresOf(side, wanted).size());
    }

    int king(int side) const { return squaresOf(side, 'K').at(0); }

    bool pawnAt(int side, int file, int rank) const {
        return on(file, rank) == (side == kWhite ? 'P' : 'p');
    }

    int pawnsOnFile(int side, int file) const {
        int count = 0;
        for (int rank = 0; rank < 8; ++rank)
            count += pawnAt(side, file, rank);
        return count;
    }
};

inline Position parse(const std::string& fen) {
    std::istringstream fields(fen);
    std::string placement, side, castling, enPassant;
    Position position{};
    fields >> placement >> side >> castling >> enPassant >> position.clock;
    position.mover = side == "w" ? kWhite : kBlack;
    std::fill(std::begin(position.at), std::end(position.at), '.');
    int file = 0;
    int rank = 7;
    for (const char letter : placement) {
        if (letter == '/') {
            file = 0;
            --rank;
        } else if (letter >= '1' && letter <= '8') {
            file += letter - '0';
        } else {
            position.at[file + 8 * rank] = letter;
            ++file;
        }
    }
    if (rank != 0 || file != 8)
        throw std::runtime_error("not a placement: " + fen);
    return position;
}

struct Step {
    int file;
    int rank;
};

inline constexpr Step kKingSteps[8] = {{1, 0},  {1, 1},   {0, 1},  {-1, 1},
                                       {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
inline constexpr Step kKnightSteps[8] = {{1, 2},   {2, 1},   {2, -1}, {1, -2},
                                         {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};

constexpr bool isDiagonal(Step step) {
    return step.file != 0 && step.rank != 0;
}

/// Whether a piece of this type slides in this direction.
constexpr bool slides(char type, Step step) {
    return type == 'Q' || type == (isDiagonal(step) ? 'B' : 'R');
}

inline void addJumps(int square, const Step (&steps)[8], SquareSet& set) {
    for (const Step step : steps) {
        const int file = fileOfSquare(square) + step.file;
        const int rank = rankOfSquare(square) + step.rank;
        if (inside(file, rank))
            in(set, file + 8 * rank) = true;
    }
}

inline void addRay(const Position& position, int square, Step step, SquareSet& set) {
    int file = fileOfSquare(square) + step.file;
    int rank = rankOfSquare(square) + step.rank;
    while (inside(file, rank)) {
        in(set, file + 8 * rank) = true;
        if (position.on(file, rank) != '.')
            return;
        file += step.file;
        rank += step.rank;
    }
}

/// Squares that a knight, bishop, rook, queen or king on `square` attacks.
inline SquareSet pieceAttacks(const Position& position, int square, char type) {
    SquareSet set{};
    if (type == 'N')
        addJumps(square, kKnightSteps, set);
    else if (type == 'K')
        addJumps(square, kKingSteps, set);
    else
        for (const Step step : kKingSteps)
            if (slides(type, step))
                addRay(position, square, step, set);
    return set;
}

inline SquareSet pawnAttacks(const Position& position, int side) {
    SquareSet set{};
    for (const int square : position.squaresOf(side, 'P'))
        for (const int direction : {-1, 1}) {
            const int file = fileOfSquare(square) + direction;
            const int rank = rankOfSquare(square) + ahead(side);
            if (inside(file, rank))
                in(set, file + 8 * rank) = true;
        }
    return set;
}

/// Everything that a side attacks.
inline SquareSet allAttacks(const Position& position, int side) {
    SquareSet set = pawnAttacks(position, side);
    for (int square = 0; square < 64; ++square)
        if (position.holds(square, side) && position.type(square) != 'P') {
            const SquareSet attacks = pieceAttacks(position, square, position.type(square));
            for (int target = 0; target < 64; ++target)
                in(set, target) |= in(attacks, target);
        }
    return set;
}

} // namespace Naive
