#pragma once

#include "naive_position.h"
#include "params/weights.h"

#include <algorithm>

/// Pawn structure and passed pawns of the second evaluation, pawn by pawn.
namespace Naive {

/// Counts of one side's pawns.
struct PawnCounts {
    int isolated = 0;
    int doubled = 0;
    int connected = 0;
    int passed[8] = {}; // by the side's own rank
    int candidate = 0;
};

inline int enemyPawnsAhead(const Position& position, int side, int square, int file) {
    int count = 0;
    for (int rank = rankOfSquare(square) + ahead(side); inside(0, rank); rank += ahead(side))
        count += position.pawnAt(other(side), file, rank);
    return count;
}

inline bool isPassed(const Position& position, int side, int square) {
    const int file = fileOfSquare(square);
    for (int near = file - 1; near <= file + 1; ++near)
        if (enemyPawnsAhead(position, side, square, near) > 0)
            return false;
    return true;
}

inline bool isCandidate(const Position& position, int side, int square) {
    const int file = fileOfSquare(square);
    if (isPassed(position, side, square) || enemyPawnsAhead(position, side, square, file) > 0)
        return false;
    for (const int near : {file - 1, file + 1}) {
        const int enemies = enemyPawnsAhead(position, side, square, near);
        if (enemies > 0 && position.pawnsOnFile(side, near) < enemies)
            return false;
    }
    return true;
}

inline bool isConnected(const Position& position, int side, int square) {
    const int file = fileOfSquare(square);
    const int rank = rankOfSquare(square);
    for (const int near : {file - 1, file + 1})
        if (position.pawnAt(side, near, rank) || position.pawnAt(side, near, rank - ahead(side)))
            return true;
    return false;
}

inline PawnCounts countPawns(const Position& position, int side) {
    PawnCounts counts;
    for (int file = 0; file < 8; ++file)
        counts.doubled += std::max(position.pawnsOnFile(side, file) - 1, 0);
    for (const int square : position.squaresOf(side, 'P')) {
        const int file = fileOfSquare(square);
        counts.isolated +=
            !position.pawnsOnFile(side, file - 1) && !position.pawnsOnFile(side, file + 1);
        counts.connected += isConnected(position, side, square);
        counts.passed[ownRank(side, square)] += isPassed(position, side, square);
        counts.candidate += isCandidate(position, side, square);
    }
    return counts;
}

inline Pair pawnStructure(const Position& position) {
    using namespace EvalParams;
    Pair score;
    for (const int side : {kWhite, kBlack}) {
        const PawnCounts counts = countPawns(position, side);
        score.add(sign(side) * counts.isolated, kIsolatedMg, kIsolatedEg);
        score.add(sign(side) * counts.doubled, kDoubledMg, kDoubledEg);
        score.add(sign(side) * counts.connected, kConnectedMg, kConnectedEg);
        for (int rank = 0; rank < 8; ++rank)
            score.add(sign(side) * counts.passed[rank], kPassedMg[rank], kPassedEg[rank]);
        score.add(sign(side) * counts.candidate, 5, 15);
    }
    return score;
}

/// Freedom of the way of a passed pawn whose next square is empty.
inline int pathWorth(const Position& position, int side, int square, const SquareSet& own,
                     const SquareSet& enemy) {
    const int stop = square + 8 * ahead(side);
    bool free = true;
    for (int s = stop; s >= 0 && s < 64; s += 8 * ahead(side))
        free = free && position.empty(s) && !in(enemy, s);
    const int base = free ? 20 : in(enemy, stop) ? 0 : 8;
    return base + (in(own, stop) ? 4 : 0);
}

/// Worth of the far passed pawns against kings and pieces.
inline Pair passers(const Position& position) {
    const SquareSet attacks[2] = {allAttacks(position, kWhite), allAttacks(position, kBlack)};
    int kings = 0;
    int paths = 0;
    for (const int side : {kWhite, kBlack})
        for (const int square : position.squaresOf(side, 'P')) {
            const int rank = ownRank(side, square);
            if (rank < 3 || !isPassed(position, side, square))
                continue;
            const int stop = square + 8 * ahead(side);
            const int weight = sign(side) * (5 * rank - 13);
            kings += weight * (5 * std::min(kingSteps(position.king(other(side)), stop), 5) -
                               2 * std::min(kingSteps(position.king(side), stop), 5));
            if (position.empty(stop))
                paths +=
                    weight * pathWorth(position, side, square, attacks[side], attacks[other(side)]);
        }
    return {paths / 8, kings / 4 + paths / 4};
}

} // namespace Naive
