#include "eval/pawns.h"

#include "eval/walk_pawns.h"

#include <algorithm>

namespace {

constexpr int kCacheSize = 16384;

/// One cache a thread. The whole key is compared, so what an earlier game left is harmless; and the
/// key 0 of a board without pawns finds a zeroed entry, which is right for it.
thread_local Eval::PawnEntry gPawnTable[kCacheSize];

Bitboard fillForward(Color c, Bitboard b) {
    b |= c == White ? b << 8 : b >> 8;
    b |= c == White ? b << 16 : b >> 16;
    b |= c == White ? b << 32 : b >> 32;
    return b;
}

/// Squares from which a pawn of `c` has an enemy pawn ahead on its own file.
Bitboard opposedSquares(const Board& board, Color c) {
    return fillForward(~c, shiftForward(~c, board.pieces[~c][Pawn]));
}

/// Squares from which a pawn of `c` has one ahead on a neighbouring file.
Bitboard guardedSquares(Bitboard opposed) {
    return shiftEast(opposed) | shiftWest(opposed);
}

Bitboard passedPawnsOf(const Board& board, Color c) {
    const Bitboard opposed = opposedSquares(board, c);
    return board.pieces[c][Pawn] & ~(opposed | guardedSquares(opposed));
}

/// All squares of a set of files given as one bit a file.
Bitboard filesBB(unsigned files) {
    return files * kFileA;
}

/// Squares strictly ahead of a pawn's rank.
Bitboard ranksAhead(Color c, Square sq) {
    const int rank = rankOf(sq);
    return c == White ? (rank == 7 ? 0 : ~Bitboard{0} << (8 * (rank + 1)))
                      : (rank == 0 ? 0 : ~Bitboard{0} >> (8 * (8 - rank)));
}

/// Whether a half-open pawn is not outnumbered on either neighbouring file.
bool isCandidate(const Board& board, Color c, Square sq) {
    const Bitboard own = board.pieces[c][Pawn];
    const Bitboard enemiesAhead = board.pieces[~c][Pawn] & ranksAhead(c, sq);
    const auto outnumbered = [&](int file) {
        const int enemies = popcount(enemiesAhead & fileBB(file));
        return enemies > 0 && popcount(own & fileBB(file)) < enemies;
    };
    const int file = fileOf(sq);
    return !(file > 0 && outnumbered(file - 1)) && !(file < 7 && outnumbered(file + 1));
}

void countPawns(const Board& board, Color c, PawnFeatures& features) {
    const Bitboard pawns = board.pieces[c][Pawn];
    const unsigned files = filesOf(pawns);
    const Bitboard lonelyFiles = filesBB(files & ~(files << 1 | files >> 1));
    const Bitboard supported = shiftEast(pawns) | shiftWest(pawns) | pawnAttackSet(c, pawns);
    features.isolated[c] += popcount(pawns & lonelyFiles);
    features.doubled[c] += popcount(pawns) - std::popcount(files);
    features.connected[c] += popcount(pawns & supported);

    const Bitboard opposed = opposedSquares(board, c);
    const Bitboard guarded = guardedSquares(opposed);
    for (Bitboard passed = passedPawnsOf(board, c); passed;)
        ++features.passed[c][relativeRank(c, popLowest(passed))];
    for (Bitboard halfOpen = pawns & guarded & ~opposed; halfOpen;)
        features.candidate[c] += isCandidate(board, c, popLowest(halfOpen));
}

/// Worth of the passers of one side, before division: closeness of the kings to the square in
/// front, and how free the way is.
struct PasserWorth {
    int kings = 0;
    int path = 0;
};

constexpr int kFirstPasserRank = 3; // relative; from here a passer's worth grows with each rank
constexpr int kLastPasserRank = 6;
constexpr int kKingDistanceCap = 5;
constexpr int kEnemyKingFactor = 5;
constexpr int kOwnKingFactor = 2;
constexpr int kFreePath = 20;
constexpr int kFreeStop = 8;
constexpr int kDefendedStop = 4;

int passerWeight(int relativeRank) {
    return 5 * relativeRank - 13;
}

PasserWorth passerWorth(const Board& board, Bitboard passed, const Bitboard (&attackedBy)[2],
                        Color c) {
    const Bitboard advanced = c == White ? rankBB(3) | rankBB(4) | rankBB(5) | rankBB(6)
                                         : rankBB(4) | rankBB(3) | rankBB(2) | rankBB(1);
    static_assert(kFirstPasserRank == 3 && kLastPasserRank == 6);

    PasserWorth worth;
    for (Bitboard passers = passed & board.colorBB[c] & advanced; passers;) {
        const Square sq = popLowest(passers);
        const Square stop = sq + forward(c);
        const int weight = passerWeight(relativeRank(c, sq));
        const int enemyKing = std::min(chebyshev(board.kingSquare(~c), stop), kKingDistanceCap);
        const int ownKing = std::min(chebyshev(board.kingSquare(c), stop), kKingDistanceCap);
        worth.kings += weight * (kEnemyKingFactor * enemyKing - kOwnKingFactor * ownKing);
        if (board.occupied & bit(stop))
            continue;
        const Bitboard path = fileBB(fileOf(sq)) & ranksAhead(c, sq);
        const Bitboard hindered = path & (attackedBy[~c] | board.occupied);
        int freedom = !hindered ? kFreePath : !(hindered & bit(stop)) ? kFreeStop : 0;
        if (attackedBy[c] & bit(stop))
            freedom += kDefendedStop;
        worth.path += weight * freedom;
    }
    return worth;
}

} // namespace

void computePawnFeatures(const Board& board, PawnFeatures& features) {
    countPawns(board, White, features);
    countPawns(board, Black, features);
}

[[gnu::noinline]] Bitboard passedPawns(const Board& board) {
    return passedPawnsOf(board, White) | passedPawnsOf(board, Black);
}

void passerTerms(const Board& board, Bitboard passed, const Bitboard (&attackedBy)[2], int& mg,
                 int& eg) {
    const PasserWorth white = passerWorth(board, passed, attackedBy, White);
    const PasserWorth black = passerWorth(board, passed, attackedBy, Black);
    const int path = white.path - black.path;
    mg = path / 8;
    eg = (white.kings - black.kings) / 4 + path / 4;
}

namespace Eval {

[[gnu::noinline]] ScorePair evalPawnsRaw(const Board& board) {
    PawnFeatures features{};
    computePawnFeatures(board, features);
    SumSink sink;
    walkPawnStructure(features, sink);
    return sink.total();
}

const PawnEntry& pawnEntry(const Board& board) {
    PawnEntry& entry = gPawnTable[board.pawnKey & (kCacheSize - 1)];
    if (entry.key != board.pawnKey) [[unlikely]] {
        const ScorePair score = evalPawnsRaw(board);
        entry = {board.pawnKey, static_cast<std::int16_t>(score.mg),
                 static_cast<std::int16_t>(score.eg), passedPawns(board)};
    }
    return entry;
}

} // namespace Eval
