#pragma once

#include "board/board.h"
#include "board/movegen.h"
#include "support/squares.h"

#include <stdexcept>
#include <string>
#include <string_view>

/// Moves and boards written the way a person writes them, for the tests that need a board. A
/// misspelt move or position throws: it must not pass silently.
namespace Notation {

/// "e2e4" and a flag as a move; promoted pieces are part of the flag.
constexpr Move moveOf(std::string_view squares, std::uint32_t flag = FlagQuiet) {
    return encodeMove(squareAt(squares.substr(0, 2)), squareAt(squares.substr(2)), flag);
}

/// White's castling moves.
constexpr Move kCastlesShort = moveOf("e1g1", FlagCastleKing);
constexpr Move kCastlesLong = moveOf("e1c1", FlagCastleQueen);

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

inline Board emptyBoard() {
    Board board{};
    board.reset();
    return board;
}

inline Board boardOf(std::string_view fen) {
    Board board{};
    if (!board.setFen(fen))
        throw std::invalid_argument("not a position: " + std::string(fen));
    return board;
}

/// The pseudo-legal move that a text in coordinate notation means here.
inline Move moveOf(const Board& board, std::string_view text) {
    const Move m = matchMove(board, parseUCIMove(text));
    if (m == 0)
        throw std::invalid_argument("no move here: " + std::string(text) + " in " + board.fen());
    return m;
}

using Generator = void (*)(const Board&, MoveList&);

inline MoveList movesOf(const Board& board, Generator generate = generateMoves) {
    MoveList list;
    generate(board, list);
    return list;
}

} // namespace Notation
