#include "board/zobrist.h"

namespace Zobrist {

std::uint64_t pieceSquare[kColors][kPieces][kSquares];
std::uint64_t sideToMove;
std::uint64_t castling[16];
std::uint64_t enPassant[kFiles];

namespace {

/// xorshift64* (Vigna, "An experimental exploration of Marsaglia's xorshift generators,
/// scrambled").
struct Generator {
    std::uint64_t state = 0x123456789ABCDEF0ULL;

    std::uint64_t next() {
        state ^= state >> 12;
        state ^= state << 25;
        state ^= state >> 27;
        return state * 0x2545F4914F6CDD1DULL;
    }
};

} // namespace

void init() {
    Generator generator;
    for (auto& pieces : pieceSquare)
        for (auto& squares : pieces)
            for (auto& key : squares)
                key = generator.next();
    sideToMove = generator.next();
    for (auto& key : castling)
        key = generator.next();
    for (auto& key : enPassant)
        key = generator.next();
}

} // namespace Zobrist
