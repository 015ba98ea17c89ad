#pragma once

#include "support/board_checks.h"

#include <array>
#include <cctype>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

/// FENs read and written a second time, square by square and without a board.
namespace NaiveFen {

enum class Verdict { Malformed, Check, Accepted };

/// A position as a FEN says it. Index 0 is a8, as in the text; a blank is an empty square.
struct Position {
    std::array<char, 64> squares;
    bool whiteToMove;
    std::string castling; // "" for none
    std::string ep;       // "" for none
    int clock = 0;
    int number = 1;

    char at(char file, char rank) const {
        return squares[static_cast<std::size_t>(('8' - rank) * 8 + (file - 'a'))];
    }
};

inline bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The first `limit` words of a text.
inline std::vector<std::string_view> wordsOf(std::string_view text, std::size_t limit) {
    std::vector<std::string_view> words;
    std::size_t at = 0;
    while (words.size() < limit) {
        while (at < text.size() && isBlank(text[at]))
            ++at;
        const std::size_t begin = at;
        while (at < text.size() && !isBlank(text[at]))
            ++at;
        if (begin == at)
            break;
        words.push_back(text.substr(begin, at - begin));
    }
    return words;
}

inline bool readRank(std::string_view text, std::size_t rank, Position& out) {
    std::string row;
    for (const char c : text) {
        if (c >= '1' && c <= '8')
            row.append(static_cast<std::size_t>(c - '0'), ' ');
        else if (std::string_view("pnbrqkPNBRQK").find(c) != std::string_view::npos)
            row += c;
        else
            return false;
    }
    if (row.size() != 8)
        return false;
    row.copy(out.squares.data() + 8 * rank, 8);
    return true;
}

inline bool readPlacement(std::string_view text, Position& out) {
    for (std::size_t rank = 0; rank < 7; ++rank) {
        const std::size_t slash = text.find('/');
        if (slash == std::string_view::npos || !readRank(text.substr(0, slash), rank, out))
            return false;
        text.remove_prefix(slash + 1);
    }
    return readRank(text, 7, out);
}

inline bool readCastling(std::string_view text, Position& out) {
    if (text == "-")
        return true;
    if (text.size() > 4)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (std::string_view("KQkq").find(text[i]) == std::string_view::npos ||
            text.find(text[i], i + 1) != std::string_view::npos)
            return false;
    out.castling = text;
    return true;
}

inline bool readEnPassant(std::string_view text, Position& out) {
    if (text == "-")
        return true;
    out.ep = text;
    return text.size() == 2 && text[0] >= 'a' && text[0] <= 'h' && text[1] >= '1' && text[1] <= '8';
}

inline bool readCounter(std::string_view text, int& out) {
    if (text.size() > 9 || text.find_first_not_of("0123456789") != std::string_view::npos)
        return false;
    out = std::atoi(std::string(text).c_str());
    return true;
}

inline bool hasPlayablePieces(const Position& p) {
    for (std::size_t i = 0; i < 8; ++i)
        for (const char c : {p.squares[i], p.squares[56 + i]})
            if (c == 'p' || c == 'P')
                return false;
    return std::count(p.squares.begin(), p.squares.end(), 'K') == 1 &&
           std::count(p.squares.begin(), p.squares.end(), 'k') == 1;
}

/// Drops the rights whose king or rook is not at home and brings the others in order.
inline void tidyCastling(Position& p) {
    std::string kept;
    const auto keep = [&](char letter, char file, char rank, char king, char rook) {
        if (p.castling.find(letter) != std::string::npos && p.at('e', rank) == king &&
            p.at(file, rank) == rook)
            kept += letter;
    };
    keep('K', 'h', '1', 'K', 'R');
    keep('Q', 'a', '1', 'K', 'R');
    keep('k', 'h', '8', 'k', 'r');
    keep('q', 'a', '8', 'k', 'r');
    p.castling = kept;
}

/// Drops a square that no pawn can just have passed over.
inline void tidyEnPassant(Position& p) {
    if (p.ep.empty())
        return;
    const char file = p.ep[0];
    const bool possible = p.whiteToMove ? p.ep[1] == '6' && p.at(file, '6') == ' ' &&
                                              p.at(file, '7') == ' ' && p.at(file, '5') == 'p'
                                        : p.ep[1] == '3' && p.at(file, '3') == ' ' &&
                                              p.at(file, '2') == ' ' && p.at(file, '4') == 'P';
    if (!possible)
        p.ep.clear();
}

/// Whether the side to move attacks the other side's king.
inline bool canTakeKing(const Position& p) {
    const auto squareOf = [](std::size_t i) { return flipRank(static_cast<Square>(i)); };
    Bitboard occupied = 0;
    Square king = 0;
    for (std::size_t i = 0; i < 64; ++i) {
        occupied |= p.squares[i] == ' ' ? 0 : bit(squareOf(i));
        if (p.squares[i] == (p.whiteToMove ? 'k' : 'K'))
            king = squareOf(i);
    }
    const Color us = p.whiteToMove ? White : Black;
    for (std::size_t i = 0; i < 64; ++i) {
        const char c = p.squares[i];
        if (c == ' ' || (std::isupper(c) != 0) != p.whiteToMove)
            continue;
        const auto piece =
            static_cast<Piece>(std::string_view("pnbrqk").find(static_cast<char>(std::tolower(c))));
        if (BoardChecks::attacksByWalking(us, piece, squareOf(i), king, occupied))
            return true;
    }
    return false;
}

/// What is to become of a FEN; `out` is the position if it is accepted.
inline Verdict read(std::string_view text, Position& out) {
    const std::vector<std::string_view> words = wordsOf(text, 6);
    if (words.size() < 4 || !readPlacement(words[0], out))
        return Verdict::Malformed;
    out.whiteToMove = words[1] == "w" || words[1] == "W";
    if (!out.whiteToMove && words[1] != "b" && words[1] != "B")
        return Verdict::Malformed;
    if (!readCastling(words[2], out) || !readEnPassant(words[3], out) ||
        (words.size() > 4 && !readCounter(words[4], out.clock)) ||
        (words.size() > 5 && !readCounter(words[5], out.number)) || !hasPlayablePieces(out))
        return Verdict::Malformed;
    out.clock = std::min(out.clock, 100);
    out.number = std::max(out.number, 1);
    tidyCastling(out);
    tidyEnPassant(out);
    return canTakeKing(out) ? Verdict::Check : Verdict::Accepted;
}

inline std::string write(const Position& p) {
    std::string text;
    for (std::size_t i = 0; i < 64; ++i) {
        if (i % 8 == 0 && i != 0)
            text += '/';
        const bool joins = i % 8 != 0 && !text.empty() && std::isdigit(text.back());
        if (p.squares[i] != ' ')
            text += p.squares[i];
        else if (joins)
            ++text.back();
        else
            text += '1';
    }
    const auto orDash = [](const std::string& field) { return field.empty() ? "-" : field; };
    return text + (p.whiteToMove ? " w " : " b ") + orDash(p.castling) + ' ' + orDash(p.ep) + ' ' +
           std::to_string(p.clock) + ' ' + std::to_string(p.number);
}

} // namespace NaiveFen
