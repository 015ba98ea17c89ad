#pragma once

#include "base/chess.h"
#include "params/square_tables.h"

#include <cassert>

/// The weights of the evaluation, in centipawns, as constants of the build. Names that end in Mg
/// count in the middle game, names that end in Eg in the end game; the game phase blends the two.
/// Positive values favour the side that has the feature.
namespace EvalParams {

inline constexpr int kMgValue[kPieces] = {93, 380, 374, 493, 1283, 0};
inline constexpr int kEgValue[kPieces] = {153, 323, 359, 635, 1015, 0};

/// What a piece adds to the game phase. The pieces of the start position give `kFullPhase`;
/// promotions may lead beyond it, which counts as much.
inline constexpr int kPhaseWeight[kPieces] = {0, 1, 1, 2, 4, 0};
inline constexpr int kFullPhase = 24;

/// Squares that a piece reaches at most; mobility is counted for knights to queens.
inline constexpr int kMaxMobility[kPieces] = {0, 8, 13, 14, 27, 0};

/// Numbers of reachable squares that any piece can have, none among them.
inline constexpr int kMobilityCounts = kMaxMobility[Queen] + 1;

/// A bonus by piece and number of reachable squares; 0 where a piece cannot reach so many.
class MobilityTable {
  public:
    struct Line {
        int start; // with no reachable square
        int step;  // added per reachable square
    };

    constexpr MobilityTable(Line knight, Line bishop, Line rook, Line queen) {
        fill(Knight, knight);
        fill(Bishop, bishop);
        fill(Rook, rook);
        fill(Queen, queen);
    }

    constexpr const int (&operator[](int piece) const)[kMobilityCounts] {
        assert(piece >= Pawn && piece <= King);
        return bonus_[piece];
    }

  private:
    constexpr void fill(Piece piece, Line line) {
        for (int count = 0; count <= kMaxMobility[piece]; ++count)
            bonus_[piece][count] = line.start + line.step * count;
    }

    int bonus_[kPieces][kMobilityCounts] = {};
};

/// Knights have no end-game term and queens no middle-game term.
inline constexpr MobilityTable kMobilityMg({-24, 6}, {-20, 4}, {-30, 5}, {0, 0});
inline constexpr MobilityTable kMobilityEg({0, 0}, {-35, 7}, {-24, 4}, {-48, 6});

inline constexpr int kBishopPair = 56;

/// Rook on a file without pawns of its own side: semi-open if there is an enemy pawn, else open.
inline constexpr int kRookOpenMg = 51;
inline constexpr int kRookOpenEg = -3;
inline constexpr int kRookSemiMg = 20;
inline constexpr int kRookSemiEg = 24;

/// Passed pawn by relative rank. The irregular steps are tuned values: most of the worth of a far
/// advanced passer lies in the placement tables and in its free path.
inline constexpr int kPassedMg[kRanks] = {0, 2, -12, -12, 9, 40, 6, 0};
inline constexpr int kPassedEg[kRanks] = {0, 13, 24, 51, 75, 105, 25, 0};

inline constexpr int kIsolatedMg = -8;
inline constexpr int kIsolatedEg = -10;
inline constexpr int kDoubledMg = -10;
inline constexpr int kDoubledEg = -10;
inline constexpr int kConnectedMg = 7;
inline constexpr int kConnectedEg = 6;

/// Danger to a king by attack units, the last entry for all higher counts. The dips are tuned
/// values.
inline constexpr int kMaxAttackUnits = 15;
inline constexpr int kKsSafetyTable[kMaxAttackUnits + 1] = {0,   -1,  4,   23,  41,  65,  142, 131,
                                                            258, 439, 723, 428, 480, 580, 690, 800};

/// Subtracted for the king's file and each neighbouring file that holds no pawn of his side.
inline constexpr int kKsOpenFile = 31;

// --- Numbers that are not tuned: they have no place in the flat list of weights. ---

/// Candidate: a pawn with no enemy pawn ahead on its file that may become a passer.
inline constexpr int kCandidateMg = 5;
inline constexpr int kCandidateEg = 15;

/// Added for each of these files that holds a pawn of his side on the two ranks in front of him.
inline constexpr int kKsShelter = 10;

/// A piece that attacks the ring round the enemy king adds its full weight and two attack units;
/// one that only attacks the wider zone adds half its weight and one unit. The sum of the weights
/// is divided at the end.
inline constexpr int kKsAttackWeight[kPieces] = {0, 40, 50, 80, 160, 0};
inline constexpr int kKsRingUnits = 2;
inline constexpr int kKsZoneUnits = 1;
inline constexpr int kKsWeightDivisor = 5;

/// Mop-up: a lead in non-pawn material of more than this drives the losing king to the edge.
inline constexpr int kMopUpLead = 100;
inline constexpr int kMopUpCloseness = 5; // per step that the kings are nearer than 14 apart
inline constexpr int kMopUpEdge = 10;     // per step of the losing king from the centre to a corner

/// King, bishop and knight against a lone king: per step towards a corner of the bishop's colour.
inline constexpr int kKbnCorner = 30;

/// The entry of a placement table that a piece of `c` on `sq` reads. The tables begin with the
/// eighth rank, squares with the first, so it is White whose squares are flipped.
constexpr int placementCell(Color c, Square sq) {
    assert(isOnBoard(sq));
    return relativeSquare(~c, sq);
}

} // namespace EvalParams

/// Middle-game value by piece with pawns and kings at 0: the unit of non-pawn material.
inline constexpr int kNonPawnValue[kPieces] = {0,
                                               EvalParams::kMgValue[Knight],
                                               EvalParams::kMgValue[Bishop],
                                               EvalParams::kMgValue[Rook],
                                               EvalParams::kMgValue[Queen],
                                               0};
