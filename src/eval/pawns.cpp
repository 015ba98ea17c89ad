#include "eval/pawns.h"

#include "eval/walk_pawns.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace {

Bitboard fillForward(Color c, Bitboard b) {
    b |= c == White ? b << 8 : b >> 8;
    b |= c == White ? b << 16 : b >> 16;
    b |= c == White ? b << 32 : b >> 32;
    return b;
}

/// Squares ahead of pawns on their own files.
Bitboard squaresAhead(Color c, Bitboard pawns) {
    return fillForward(c, shiftForward(c, pawns));
}

/// Squares from which a pawn of `c` has an enemy pawn ahead on its own file.
Bitboard opposedSquares(const Board& board, Color c) {
    return squaresAhead(~c, board.pieces[~c][Pawn]);
}

/// Squares from which a pawn of `c` has an enemy pawn ahead on a neighbouring file.
Bitboard guardedSquares(Bitboard opposed) {
    return shiftEast(opposed) | shiftWest(opposed);
}

Bitboard passedPawnsOf(const Board& board, Color c) {
    const Bitboard opposed = opposedSquares(board, c);
    return board.pieces[c][Pawn] & ~(opposed | guardedSquares(opposed));
}

/// All squares of a set of files given as one bit a file.
Bitboard filesBB(unsigned files) {
    return files * fileBB(FileA);
}

/// Squares strictly ahead of a pawn's rank.
Bitboard ranksAhead(Color c, Square sq) {
    const int rank = rankOf(sq);
    if (c == White)
        return rank == Rank8 ? 0 : ~Bitboard{0} << (kFiles * (rank + 1));
    return rank == Rank1 ? 0 : ~Bitboard{0} >> (kFiles * (kRanks - rank));
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
    return !(file > FileA && outnumbered(file - 1)) && !(file < FileH && outnumbered(file + 1));
}

template <Color c>
void findPawns(const Board& board, PawnSets& sets) {
    const Bitboard pawns = board.pieces[c][Pawn];
    const unsigned files = filesOf(pawns);
    const Bitboard lonelyFiles = filesBB(files & ~(files << 1 | files >> 1));
    const Bitboard supported = shiftEast(pawns) | shiftWest(pawns) | pawnAttackSet(c, pawns);
    sets.isolated[c] = pawns & lonelyFiles;
    sets.doubled[c] = pawns & squaresAhead(c, pawns);
    sets.connected[c] = pawns & supported;

    const Bitboard opposed = opposedSquares(board, c);
    const Bitboard guarded = guardedSquares(opposed);
    sets.passed[c] = passedPawnsOf(board, c);
    sets.candidate[c] = 0;
    for (Bitboard halfOpen = pawns & guarded & ~opposed; halfOpen;) {
        const Square sq = popLowest(halfOpen);
        if (isCandidate(board, c, sq))
            sets.candidate[c] |= bit(sq);
    }
}

void countPawns(const PawnSets& sets, Color c, PawnFeatures& features) {
    features.isolated[c] += popcount(sets.isolated[c]);
    features.doubled[c] += popcount(sets.doubled[c]);
    features.connected[c] += popcount(sets.connected[c]);
    for (Bitboard passed = sets.passed[c]; passed;)
        ++features.passed[c][relativeRank(c, popLowest(passed))];
    features.candidate[c] += popcount(sets.candidate[c]);
}

/// Worth of the advanced passers of one side, before division.
struct PasserWorth {
    int kings = 0; // how near the kings are to the stop square, the one in front of the pawn
    int path = 0;  // how free the way to promotion is
};

// The weight of an advanced passer grows linearly with its relative rank.
constexpr int kFirstPasserWeight = 2;
constexpr int kPasserWeightStep = 5;

constexpr int kKingDistanceCap = 5;
constexpr int kEnemyKingFactor = 5;
constexpr int kOwnKingFactor = 2;

constexpr int kFreePath = 20;    // no square on the way is occupied or attacked by the enemy
constexpr int kFreeStop = 8;     // the stop square is not, but another is
constexpr int kDefendedStop = 4; // added where the own side attacks the stop square

// What a point of worth counts in the two phases. The middle game does not look at the kings.
constexpr int kPathDivisorMg = 8;
constexpr int kPathDivisorEg = 4;
constexpr int kKingsDivisorEg = 4;

int passerWeight(int relativeRank) {
    return kFirstPasserWeight + kPasserWeightStep * (relativeRank - kFirstPasserRank);
}

PasserWorth passerWorth(const Board& board, Bitboard passed, const Bitboard (&attackedBy)[kColors],
                        Color c) {
    PasserWorth worth;
    for (Bitboard passers = advancedPassers(board, passed, c); passers;) {
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

PawnSets computePawnFeatures(const Board& board, PawnFeatures& features) {
    PawnSets sets;
    findPawns<White>(board, sets);
    findPawns<Black>(board, sets);
    countPawns(sets, White, features);
    countPawns(sets, Black, features);
    return sets;
}

[[gnu::noinline]] Bitboard passedPawns(const Board& board) {
    return passedPawnsOf(board, White) | passedPawnsOf(board, Black);
}

void passerTerms(const Board& board, Bitboard passed, const Bitboard (&attackedBy)[kColors],
                 int& mg, int& eg) {
    assert((passed & ~(board.pieces[White][Pawn] | board.pieces[Black][Pawn])) == 0);
    const PasserWorth white = passerWorth(board, passed, attackedBy, White);
    const PasserWorth black = passerWorth(board, passed, attackedBy, Black);
    const int path = white.path - black.path;
    mg = path / kPathDivisorMg;
    eg = (white.kings - black.kings) / kKingsDivisorEg + path / kPathDivisorEg;
}

namespace Eval {

[[gnu::noinline]] ScorePair evalPawnsRaw(const Board& board) {
    PawnFeatures features{};
    const PawnSets sets = computePawnFeatures(board, features);
    SumSink sink;
    walkPawnStructure(features, sets, sink);
    return sink.total();
}

PawnEntry PawnTable::compute(const Board& board) {
    const ScorePair score = evalPawnsRaw(board);
    assert(std::in_range<std::int16_t>(score.mg) && std::in_range<std::int16_t>(score.eg));
    return {board.pawnKey, static_cast<std::int16_t>(score.mg), static_cast<std::int16_t>(score.eg),
            passedPawns(board)};
}

} // namespace Eval
