#pragma once

#include "board/board.h"
#include "board/movegen.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

/// Squares, moves and boards written the way a person writes them, for the tests that need a board.
/// A misspelt square or position must not pass silently, so every helper stops at one.
namespace Notation {

/// "e4" as a square.
constexpr Square squareAt(std::string_view name) {
    if (name.size() != 2 || name[0] < 'a' || name[0] > 'h' || name[1] < '1' || name[1] > '8')
        throw std::invalid_argument("not a square");
    return makeSquare(name[0] - 'a', name[1] - '1');
}

/// "b3 c2" as a set of squares; "" is the empty set.
constexpr Bitboard squaresAt(std::string_view names) {
    Bitboard set = 0;
    for (std::size_t i = 0; i < names.size(); i += 3)
        set |= bit(squareAt(names.substr(i, 2)));
    return set;
}

/// "e2e4" and a flag as a move; promoted pieces are part of the flag.
constexpr Move moveOf(std::string_view squares, std::uint32_t flag = FlagQuiet) {
    return encodeMove(squareAt(squares.substr(0, 2)), squareAt(squares.substr(2)), flag);
}

/// "e2e4/1": the move and its flag, because castling and captures look like quiet moves otherwise.
inline std::string describe(Move m) {
    return moveToString(m) + '/' + std::to_string(moveFlag(m));
}

/// All moves of a list in their order, separated by spaces.
inline std::string describe(const MoveList& list) {
    std::string text;
    for (const Move m : list) {
        if (!text.empty())
            text += ' ';
        text += describe(m);
    }
    return text;
}

inline Board boardOf(std::string_view fen) {
    Board board{};
    if (!board.setFen(fen))
        throw std::invalid_argument("not a position: " + std::string(fen));
    return board;
}

using Generator = void (*)(const Board&, MoveList&);

inline MoveList movesOf(const Board& board, Generator generate = generateMoves) {
    MoveList list;
    generate(board, list);
    return list;
}

} // namespace Notation
