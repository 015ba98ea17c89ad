#pragma once

#include "naive_endgame.h"
#include "naive_pawns.h"
#include "naive_position.h"
#include "params/weights.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

/// The second evaluation itself: every term on its own, then the blend.
namespace Naive {

struct Evaluation {
    Pair material;
    Pair king;
    Pair bishopPair;
    Pair mobility;
    Pair kingSafety;
    Pair rookFiles;
    Pair pawns;
    Pair total;
    int phase;
    Scale scale;
    int white; // value from White's point of view
    int value; // and from the mover's
};

/// Cell of a square in the tables that are printed from the eighth rank down, seen by `side`.
inline int cellOf(int side, int square) {
    return 8 * (7 - ownRank(side, square)) + fileOfSquare(square);
}

inline Pair material(const Position& position) {
    using namespace EvalParams;
    Pair score;
    for (int square = 0; square < 64; ++square)
        for (const int side : {kWhite, kBlack}) {
            if (!position.holds(square, side) || position.type(square) == 'K')
                continue;
            const int piece = typeIndex(position.type(square));
            const int cell = cellOf(side, square);
            score.add(sign(side), kMgValue[piece] + kPSTMG[piece][cell],
                      kEgValue[piece] + (piece == 0 ? kPSTEGPawn[cell] : kPSTMG[piece][cell]));
        }
    return score;
}

inline Pair kings(const Position& position) {
    Pair score;
    for (const int side : {kWhite, kBlack}) {
        const int cell = cellOf(side, position.king(side));
        score.add(sign(side), EvalParams::kPSTMG[5][cell], EvalParams::kKingEG[cell]);
    }
    score.eg += mopUp(position) + bishopAndKnight(position);
    return score;
}

inline Pair bishopPairs(const Position& position) {
    Pair score;
    for (const int side : {kWhite, kBlack})
        if (position.count(side, 'B') >= 2)
            score.add(sign(side), EvalParams::kBishopPair, EvalParams::kBishopPair);
    return score;
}

/// Adds the squares one and two ranks before the king on his and the neighbouring files.
inline SquareSet shieldOf(int side, int king) {
    SquareSet set{};
    for (int file = fileOfSquare(king) - 1; file <= fileOfSquare(king) + 1; ++file)
        for (const int distance : {1, 2}) {
            const int rank = rankOfSquare(king) + distance * ahead(side);
            if (inside(file, rank))
                in(set, file + 8 * rank) = true;
        }
    return set;
}

inline SquareSet ringOf(int king) {
    SquareSet set{};
    addJumps(king, kKingSteps, set);
    in(set, king) = true;
    return set;
}

inline SquareSet zoneOf(int side, int king) {
    SquareSet zone = ringOf(king);
    const SquareSet shield = shieldOf(side, king);
    for (int square = 0; square < 64; ++square)
        in(zone, square) |= in(shield, square);
    return zone;
}

/// If the piece on `square` is pinned to its king: true, and `ray` holds the squares between king
/// and pinner and the pinner's.
inline bool findPin(const Position& position, int side, int square, SquareSet& ray) {
    const int king = position.king(side);
    for (const Step step : kKingSteps) {
        ray = {};
        int met = 0;
        bool pinned = false;
        int file = fileOfSquare(king) + step.file;
        int rank = rankOfSquare(king) + step.rank;
        for (; inside(file, rank); file += step.file, rank += step.rank) {
            const int s = file + 8 * rank;
            in(ray, s) = true;
            if (position.empty(s))
                continue;
            ++met;
            if (met == 1)
                pinned = s == square;
            else if (pinned && position.holds(s, other(side)) && slides(position.type(s), step))
                return true;
            else
                break;
        }
    }
    ray = {};
    return false;
}

/// Attackers of one king.
struct Danger {
    int units = 0;
    int weight = 0;
};

inline int attackWeight(char type) {
    return type == 'N' ? 40 : type == 'B' ? 50 : type == 'R' ? 80 : 160;
}

inline Danger dangerTo(const Position& position, int side) {
    const SquareSet ring = ringOf(position.king(side));
    const SquareSet zone = zoneOf(side, position.king(side));
    Danger danger;
    for (const char type : {'N', 'B', 'R', 'Q'})
        for (const int square : position.squaresOf(other(side), type)) {
            const SquareSet attacks = pieceAttacks(position, square, type);
            if (meet(attacks, ring)) {
                danger.units += 2;
                danger.weight += attackWeight(type);
            } else if (meet(attacks, zone)) {
                danger.units += 1;
                danger.weight += attackWeight(type) / 2;
            }
        }
    return danger;
}

/// Squares that count for a piece's mobility.
inline SquareSet reachable(const Position& position, int side, int square, char type,
                           const SquareSet& enemyPawnAttacks) {
    SquareSet set = pieceAttacks(position, square, type);
    SquareSet ray{};
    const bool pinned = findPin(position, side, square, ray);
    for (int target = 0; target < 64; ++target)
        if ((pinned && !in(ray, target)) || position.holds(target, side) ||
            in(enemyPawnAttacks, target))
            in(set, target) = false;
    return set;
}

inline Pair mobility(const Position& position) {
    Pair score;
    for (const int side : {kWhite, kBlack}) {
        const SquareSet pawns = pawnAttacks(position, other(side));
        for (const char type : {'N', 'B', 'R', 'Q'})
            for (const int square : position.squaresOf(side, type)) {
                const int piece = typeIndex(type);
                const int count = sizeOf(reachable(position, side, square, type, pawns));
                score.add(sign(side), EvalParams::kMobilityMg[piece][count],
                          EvalParams::kMobilityEg[piece][count]);
            }
    }
    return score;
}

inline Pair rookFiles(const Position& position) {
    using namespace EvalParams;
    Pair score;
    for (const int side : {kWhite, kBlack})
        for (const int square : position.squaresOf(side, 'R')) {
            const int file = fileOfSquare(square);
            if (position.pawnsOnFile(side, file))
                continue;
            if (position.pawnsOnFile(other(side), file))
                score.add(sign(side), kRookSemiMg, kRookSemiEg);
            else
                score.add(sign(side), kRookOpenMg, kRookOpenEg);
        }
    return score;
}

inline int shelterOf(const Position& position, int side) {
    const int king = position.king(side);
    const int file = fileOfSquare(king);
    if (file == 3 || file == 4 || file == 5)
        return 0;
    const SquareSet shield = shieldOf(side, king);
    int sheltered = 0;
    int open = 0;
    for (int near = std::max(file - 1, 0); near <= std::min(file + 1, 7); ++near) {
        bool covered = false;
        for (const int pawn : position.squaresOf(side, 'P'))
            covered |= fileOfSquare(pawn) == near && in(shield, pawn);
        sheltered += covered;
        open += position.pawnsOnFile(side, near) == 0;
    }
    return 10 * sheltered - EvalParams::kKsOpenFile * open;
}

inline Pair kingSafety(const Position& position) {
    Pair score;
    for (const int side : {kWhite, kBlack}) {
        const Danger danger = dangerTo(position, side);
        const int safety = shelterOf(position, side) -
                           EvalParams::kKsSafetyTable[std::min(danger.units, 15)] -
                           danger.weight / 5;
        score.add(sign(side), safety, 0);
    }
    return score;
}

inline int phaseOf(const Position& position) {
    int phase = 0;
    for (const int side : {kWhite, kBlack})
        phase += position.count(side, 'N') + position.count(side, 'B') +
                 2 * position.count(side, 'R') + 4 * position.count(side, 'Q');
    return std::min(phase, 24);
}

/// Wide numbers, so that an overflow of narrow ones would show as a difference.
inline int blend(const Evaluation& e, int clock) {
    const std::int64_t end = std::int64_t{e.scale.value} * e.total.eg / 64;
    const std::int64_t value = (std::int64_t{e.phase} * e.total.mg + end * (24 - e.phase)) / 24;
    return static_cast<int>(value * (200 - clock) / 200);
}

inline Evaluation evaluatePosition(const Position& position) {
    Evaluation e{};
    e.material = material(position);
    e.king = kings(position);
    e.bishopPair = bishopPairs(position);
    e.mobility = mobility(position);
    e.kingSafety = kingSafety(position);
    e.rookFiles = rookFiles(position);
    e.pawns = pawnStructure(position);
    const Pair far = passers(position);
    e.pawns.add(1, far.mg, far.eg);
    for (const Pair& term :
         {e.material, e.king, e.bishopPair, e.mobility, e.kingSafety, e.rookFiles, e.pawns})
        e.total.add(1, term.mg, term.eg);
    e.phase = phaseOf(position);
    e.scale = scaleOf(position, e.total.eg);
    e.white = blend(e, position.clock);
    e.value = sign(position.mover) * e.white;
    return e;
}

inline Evaluation evaluateFen(const std::string& fen) {
    return evaluatePosition(parse(fen));
}

inline std::string traceNumber(int value) {
    return (value < 0 ? "" : " ") + std::to_string(value);
}

inline std::string traceLine(std::string label, const Pair& pair) {
    while (label.size() < 16)
        label += ' ';
    return "  " + label + traceNumber(pair.mg) + " / " + traceNumber(pair.eg) + "\n";
}

/// The printed breakdown of an evaluation.
inline std::string traceText(const Evaluation& e, int mover) {
    std::string text = "eval trace (з точки зору білих, mg / eg):\n";
    text += traceLine("material+psqt", e.material) + traceLine("king", e.king) +
            traceLine("bishop pair", e.bishopPair) + traceLine("mobility", e.mobility) +
            traceLine("king safety", e.kingSafety) + traceLine("rooks (files)", e.rookFiles) +
            traceLine("pawns", e.pawns);
    text += "  ----------------\n" + traceLine("total", e.total);
    text += "  phase           " + std::to_string(e.phase) + " / 24\n";
    text += "  eg scale        " + std::to_string(e.scale.value) + " / 64\n";
    text += "  final (white)   " + std::to_string(e.white) + "\n";
    text += std::string("  final (stm=") + (mover == kWhite ? "w" : "b") + ")      " +
            std::to_string(e.value) + "\n";
    return text;
}

} // namespace Naive
