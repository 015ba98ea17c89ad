#pragma once

#include "params/square_tables.h"

/// The weights of the evaluation, in centipawns, as constants of the build. Names that end in Mg
/// count in the middle game, names that end in Eg in the end game; the game phase blends the two.
/// Positive values favour the side that has the feature. Pieces are numbered pawn 0 to king 5.
namespace EvalParams {

inline constexpr int kMgValue[6] = {93, 380, 374, 493, 1283, 0};
inline constexpr int kEgValue[6] = {153, 323, 359, 635, 1015, 0};

/// What a piece adds to the game phase; all pieces on the board give `kFullPhase`.
inline constexpr int kPhaseWeight[6] = {0, 1, 1, 2, 4, 0};
inline constexpr int kFullPhase = 24;

/// Reachable squares by piece: the most that each can have.
inline constexpr int kMobilityCounts = 28;

namespace Detail {

struct MobilityTable {
    int value[6][kMobilityCounts];
};

struct MobilityLine {
    int piece;
    int maxCount;
    int start; // value with no reachable square
    int step;  // added per reachable square
};

constexpr MobilityTable mobilityTable(const MobilityLine (&lines)[4]) {
    MobilityTable table{};
    for (const MobilityLine& line : lines)
        for (int count = 0; count <= line.maxCount; ++count)
            table.value[line.piece][count] = line.start + line.step * count;
    return table;
}

} // namespace Detail

/// Mobility by piece and number of reachable squares. Knights have no end-game term and queens no
/// middle-game term.
inline constexpr Detail::MobilityTable kMobilityMgTable = Detail::mobilityTable({
    {1, 8, -24, 6},
    {2, 13, -20, 4},
    {3, 14, -30, 5},
    {4, 27, 0, 0},
});
inline constexpr Detail::MobilityTable kMobilityEgTable = Detail::mobilityTable({
    {1, 8, 0, 0},
    {2, 13, -35, 7},
    {3, 14, -24, 4},
    {4, 27, -48, 6},
});
inline constexpr const auto& kMobilityMg = kMobilityMgTable.value;
inline constexpr const auto& kMobilityEg = kMobilityEgTable.value;

inline constexpr int kBishopPair = 56;

/// Rook on a file without own pawns: open without, semi-open with an enemy pawn on it.
inline constexpr int kRookOpenMg = 51;
inline constexpr int kRookOpenEg = -3;
inline constexpr int kRookSemiMg = 20;
inline constexpr int kRookSemiEg = 24;

/// Passed pawn by relative rank. The irregular steps are fitted values: most of a far passer's
/// worth lies in the placement tables and in its free path.
inline constexpr int kPassedMg[8] = {0, 2, -12, -12, 9, 40, 6, 0};
inline constexpr int kPassedEg[8] = {0, 13, 24, 51, 75, 105, 25, 0};

inline constexpr int kIsolatedMg = -8;
inline constexpr int kIsolatedEg = -10;
inline constexpr int kDoubledMg = -10;
inline constexpr int kDoubledEg = -10;
inline constexpr int kConnectedMg = 7;
inline constexpr int kConnectedEg = 6;

/// Danger to a king by attack units, the last entry for 15 and more. The dips are fitted values.
inline constexpr int kKsSafetyTable[16] = {0,   -1,  4,   23,  41,  65,  142, 131,
                                           258, 439, 723, 428, 480, 580, 690, 800};

/// Subtracted for each file beside the king, his own included, without a pawn of his.
inline constexpr int kKsOpenFile = 31;

// --- Numbers that are not tuned: they have no place in the flat list of weights. ---

/// Half-open pawn that may become a passer.
inline constexpr int kCandidateMg = 5;
inline constexpr int kCandidateEg = 15;

/// Added for each file beside the king with a pawn of his in the two ranks before him.
inline constexpr int kKsShelter = 10;

/// A piece that attacks the ring round the enemy king adds its weight in full and two units, one
/// that attacks the wider zone only adds half and one unit. The summed weight counts a fifth.
inline constexpr int kKsAttackWeight[6] = {0, 40, 50, 80, 160, 0};
inline constexpr int kKsRingUnits = 2;
inline constexpr int kKsZoneUnits = 1;
inline constexpr int kKsWeightDivisor = 5;

/// Driving a king to the edge begins with a lead of more than this in non-pawn material.
inline constexpr int kMopUpLead = 100;
inline constexpr int kMopUpCloseness = 5; // per step that the kings are closer than a whole board
inline constexpr int kMopUpEdge = 10;     // per step that the losing king is nearer to the edge

/// King, bishop and knight against a lone king: per step towards a corner of the bishop's colour.
inline constexpr int kKbnCorner = 30;

} // namespace EvalParams

/// Middle-game value by piece with pawns and kings at 0: what non-pawn material is counted in.
inline constexpr int kNonPawnValue[6] = {0,
                                         EvalParams::kMgValue[1],
                                         EvalParams::kMgValue[2],
                                         EvalParams::kMgValue[3],
                                         EvalParams::kMgValue[4],
                                         0};
