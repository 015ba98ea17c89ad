#pragma once

#include "eval/naive_eval.h"

#include <map>
#include <string>

/// The features of a position, counted a second time: piece by piece, under the names of the
/// weights, from the second evaluation of the tests.
namespace Naive {

struct Features {
    std::map<std::string, Pair> uses; // by name of the weight; may hold zeros
    Pair base;
    int phase = 0;
    int scale = 0;

    void useMg(const std::string& name, int count) { uses[name].mg += count; }
    void useEg(const std::string& name, int count) { uses[name].eg += count; }
    void useBoth(const std::string& name, int count) { uses[name].add(count, 1, 1); }
};

inline std::string numbered(const std::string& name, int number) {
    return name + std::to_string(number);
}

inline void countPlacement(const Position& position, int side, int square, Features& f) {
    const std::string letter(1, position.type(square));
    const int cell = cellOf(side, square);
    f.useMg(numbered("pstMg_" + letter + "_", cell), sign(side));
    if (letter == "K") {
        f.useEg(numbered("kingEg_", cell), sign(side));
        return;
    }
    f.useMg("matMg_" + letter, sign(side));
    f.useEg("matEg_" + letter, sign(side));
    if (letter == "P") {
        f.useEg(numbered("pawnEg_", cell), sign(side));
        return;
    }
    f.useEg(numbered("pstMg_" + letter + "_", cell), sign(side));
    f.useEg(numbered("pstEgDelta_" + letter + "_", cell), sign(side));
}

inline void countMobility(const Position& position, int side, int square, Features& f) {
    const char type = position.type(square);
    const int count =
        sizeOf(reachable(position, side, square, type, pawnAttacks(position, other(side))));
    f.useMg(numbered(std::string("mobMg_") + type + "_", count), sign(side));
    f.useEg(numbered(std::string("mobEg_") + type + "_", count), sign(side));
}

inline void countRookFile(const Position& position, int side, int square, Features& f) {
    const int file = fileOfSquare(square);
    if (position.pawnsOnFile(side, file) > 0)
        return;
    const std::string name = position.pawnsOnFile(other(side), file) > 0 ? "rookSemi" : "rookOpen";
    f.useMg(name + "Mg", sign(side));
    f.useEg(name + "Eg", sign(side));
}

inline void countPawnStructure(const Position& position, int side, Features& f) {
    const PawnCounts pawns = countPawns(position, side);
    const auto use = [&](const std::string& mg, const std::string& eg, int count) {
        f.useMg(mg, sign(side) * count);
        f.useEg(eg, sign(side) * count);
    };
    use("isolatedMg", "isolatedEg", pawns.isolated);
    use("doubledMg", "doubledEg", pawns.doubled);
    use("connectedMg", "connectedEg", pawns.connected);
    for (int rank = 0; rank < 8; ++rank)
        use(numbered("passedMg_", rank), numbered("passedEg_", rank), pawns.passed[rank]);
    f.base.add(sign(side) * pawns.candidate, 5, 15);
}

inline void countKingSafety(const Position& position, int side, Features& f) {
    const Danger danger = dangerTo(position, side);
    f.useMg(numbered("ksSafety_", std::min(danger.units, 15)), -sign(side));
    f.base.mg -= sign(side) * (danger.weight / 5);

    const int file = fileOfSquare(position.king(side));
    if (file == 3 || file == 4 || file == 5)
        return;
    const SquareSet shield = shieldOf(side, position.king(side));
    for (int near = std::max(file - 1, 0); near <= std::min(file + 1, 7); ++near) {
        bool sheltered = false;
        for (const int pawn : position.squaresOf(side, 'P'))
            sheltered |= fileOfSquare(pawn) == near && in(shield, pawn);
        f.base.mg += sheltered ? 10 * sign(side) : 0;
        f.useMg("ksOpenFile", position.pawnsOnFile(side, near) == 0 ? -sign(side) : 0);
    }
}

inline Features featuresOf(const Position& position) {
    Features f;
    for (int square = 0; square < 64; ++square) {
        if (position.empty(square))
            continue;
        const int side = position.holds(square, kWhite) ? kWhite : kBlack;
        countPlacement(position, side, square, f);
        if (position.type(square) != 'P' && position.type(square) != 'K')
            countMobility(position, side, square, f);
        if (position.type(square) == 'R')
            countRookFile(position, side, square, f);
    }
    for (const int side : {kWhite, kBlack}) {
        f.useBoth("bishopPair", position.count(side, 'B') >= 2 ? sign(side) : 0);
        countPawnStructure(position, side, f);
        countKingSafety(position, side, f);
    }
    const Pair far = passers(position);
    f.base.add(1, far.mg, far.eg);
    f.base.eg += mopUp(position) + bishopAndKnight(position);
    const Evaluation evaluation = evaluatePosition(position);
    f.phase = evaluation.phase;
    f.scale = evaluation.scale.value;
    return f;
}

} // namespace Naive
