#pragma once

#include "support/build.h"
#include "support/notation.h"
#include "support/positions.h"
#include "support/random_game.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

/// Positions for the tests of the evaluation: from games, from end games thrown on the board and
/// from boards that no game reaches. The same seed gives the same positions on every machine.
namespace Sampling {

class Draws {
  public:
    explicit Draws(std::uint64_t seed) : random_(seed) {}

    /// A number from 0 to `limit` - 1.
    int below(int limit) { return static_cast<int>(random_() % static_cast<std::uint64_t>(limit)); }

    std::uint64_t next() { return random_(); }

  private:
    std::mt19937_64 random_;
};

/// Calls `visit` with `count` boards on which random games, played on from the shared positions,
/// come by.
template <class Visit>
void visitGames(std::uint64_t seed, int count, Visit&& visit) {
    constexpr int kPlies = 160;
    const std::vector<std::string> roots = Positions::readShared();
    Draws draws(seed);
    int visited = 0;
    while (visited < count) {
        Board board = Notation::boardOf(
            roots[static_cast<std::size_t>(draws.below(static_cast<int>(roots.size())))]);
        RandomGame::play(board, draws.next(), kPlies, [&](Board& reached) {
            if (visited < count)
                visit(reached);
            ++visited;
        });
    }
}

/// A placement as a FEN with the given side to move; `letters` holds 64 characters, a1 first, with
/// a blank for an empty square.
inline std::string fenOf(const std::string& letters, char mover) {
    std::string text;
    for (int rank = 7; rank >= 0; --rank) {
        int empty = 0;
        for (const char letter : letters.substr(static_cast<std::size_t>(8 * rank), 8)) {
            if (letter == ' ') {
                ++empty;
                continue;
            }
            text += empty ? std::to_string(empty) : "";
            text += letter;
            empty = 0;
        }
        text += empty ? std::to_string(empty) : "";
        text += rank ? "/" : "";
    }
    return text + ' ' + mover + " - - 0 1";
}

/// Puts the pieces of `material`, for instance "KPkr", on random squares. Every other pawn goes to
/// a rook's file, because the end games with exceptions are those of rook pawns. The squares need
/// not make a position that a board accepts.
inline std::string scatter(std::string_view material, Draws& draws) {
    std::string letters(64, ' ');
    for (const char letter : material) {
        const bool pawn = letter == 'P' || letter == 'p';
        for (;;) {
            int square = pawn ? 8 + draws.below(48) : draws.below(64);
            if (pawn && draws.below(2))
                square = makeSquare(draws.below(2) ? FileH : FileA, rankOf(square));
            char& cell = letters[static_cast<std::size_t>(square)];
            if (cell != ' ')
                continue;
            cell = letter;
            break;
        }
    }
    return fenOf(letters, draws.below(2) ? 'w' : 'b');
}

/// Calls `visit` with `count` random positions of the given material.
template <class Visit>
void visitScattered(std::string_view material, std::uint64_t seed, int count, Visit&& visit) {
    Draws draws(seed);
    Board board{};
    while (count > 0) {
        if (!board.setFen(scatter(material, draws)))
            continue;
        visit(board);
        --count;
    }
}

/// Calls `visit` with `count` boards on which both sides own any number of any pieces.
template <class Visit>
void visitWild(std::uint64_t seed, int count, Visit&& visit) {
    constexpr std::string_view kLetters = "PNBRQQQpnbrqqq";
    Draws draws(seed);
    Board board{};
    while (count > 0) {
        std::string letters(64, ' ');
        const int density = 1 + draws.below(8);
        for (int square = 0; square < 64; ++square) {
            const char letter = kLetters[static_cast<std::size_t>(draws.below(14))];
            const bool pawn = letter == 'P' || letter == 'p';
            if (draws.below(8) < density && !(pawn && (square < 8 || square > 55)))
                letters[static_cast<std::size_t>(square)] = letter;
        }
        letters[static_cast<std::size_t>(draws.below(64))] = 'K';
        letters[static_cast<std::size_t>(draws.below(64))] = 'k';
        if (!board.setFen(fenOf(letters, 'w')) && !board.setFen(fenOf(letters, 'b')))
            continue;
        visit(board);
        --count;
    }
}

inline char swapCase(char letter) {
    const auto c = static_cast<unsigned char>(letter);
    return static_cast<char>(std::isupper(c) ? std::tolower(c) : std::toupper(c));
}

/// The same position with the colours changed over: ranks upside down, the other side to move.
inline std::string mirrored(const std::string& fen) {
    std::istringstream fields(fen);
    std::string placement, side, castling, enPassant, counters;
    fields >> placement >> side >> castling >> enPassant;
    std::getline(fields, counters);

    std::string turned;
    std::istringstream ranks(placement);
    for (std::string rank; std::getline(ranks, rank, '/');)
        turned = turned.empty() ? rank : rank + '/' + turned;
    for (std::string* text : {&turned, &castling})
        for (char& letter : *text)
            letter = swapCase(letter);
    if (enPassant != "-")
        enPassant[1] = enPassant[1] == '3' ? '6' : '3';
    return turned + (side == "w" ? " b " : " w ") + castling + ' ' + enPassant + counters;
}

} // namespace Sampling
