#pragma once

#include "naive_fen.h"
#include "support.h"

#include <string>
#include <utility>

/// Changes of a FEN that leave it a FEN: changes of its bytes seldom do, and then nothing behind
/// the reader is reached.
namespace FenMutator {

inline void changePlacement(NaiveFen::Position& p, Fuzz::Random& random) {
    for (std::size_t change = 1 + random.below(3); change > 0; --change) {
        char& square = p.squares[random.below(64)];
        char& other = p.squares[random.below(64)];
        if (random.oneIn(2))
            std::swap(square, other);
        else if (square != 'k' && square != 'K')
            square = random.from("PNBRQpnbrq          ");
    }
}

inline void changeState(NaiveFen::Position& p, Fuzz::Random& random) {
    if (random.oneIn(2))
        p.whiteToMove = !p.whiteToMove;
    if (random.oneIn(2))
        p.castling = random.oneIn(2) ? "KQkq" : "Kq";
    if (random.oneIn(2))
        p.ep = std::string{random.from("abcdefgh"), random.from("36")};
    if (random.oneIn(4))
        p.clock = static_cast<int>(random.below(120));
}

/// A FEN near the one given; of a text that is none, the text itself.
inline std::string change(std::string_view fen, Fuzz::Random& random) {
    NaiveFen::Position position;
    if (NaiveFen::read(fen, position) == NaiveFen::Verdict::Malformed)
        return std::string(fen);
    if (!random.oneIn(4))
        changePlacement(position, random);
    if (random.oneIn(3))
        changeState(position, random);
    return NaiveFen::write(position);
}

} // namespace FenMutator
