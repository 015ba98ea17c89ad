#pragma once

#include "base/chess.h"

#include <cstddef>
#include <stdexcept>
#include <string_view>

/// Squares written the way a person writes them. A misspelt one throws.
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

} // namespace Notation
