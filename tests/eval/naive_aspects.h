#pragma once

#include "eval/features.h"
#include "naive_eval.h"

#include <algorithm>

/// What the second evaluation says about each aspect of the terms: looked for square by square, one
/// side after the other.
namespace Naive {

struct Share {
    Pair value;
    int count = 0;
    SquareSet squares{};

    /// One more of the aspect, on a square.
    void add(int side, int square, int mg, int eg) {
        value.add(sign(side), mg, eg);
        ++count;
        in(squares, square) = true;
    }

    void addSquares(const SquareSet& set) {
        for (int square = 0; square < 64; ++square)
            in(squares, square) |= in(set, square);
    }
};

/// By aspect and side; what belongs to both together is counted as White's.
class Aspects {
  public:
    explicit Aspects(const Position& position) : position_(position) {
        for (const int side : {kWhite, kBlack}) {
            addMaterial(side);
            addMobility(side);
            addShelter(side);
            addAttack(side);
            addRooks(side);
            addPawns(side);
        }
        addKings();
        addPassers();
    }

    const Share& of(Eval::Aspect aspect, int side) const {
        return shares_[static_cast<int>(aspect)][side];
    }

  private:
    /// `offset` is the piece's place in a row of aspects.
    Share& share(Eval::Aspect aspect, int side, int offset = 0) {
        return shares_[static_cast<int>(aspect) + offset][side];
    }

    void addMaterial(int side) {
        using namespace EvalParams;
        for (const char type : {'P', 'N', 'B', 'R', 'Q'})
            for (const int square : position_.squaresOf(side, type)) {
                const int piece = typeIndex(type);
                const int cell = cellOf(side, square);
                share(Eval::Aspect::Material, side, piece)
                    .add(side, square, kMgValue[piece], kEgValue[piece]);
                share(Eval::Aspect::Placement, side, piece)
                    .add(side, square, kPSTMG[piece][cell],
                         type == 'P' ? kPSTEGPawn[cell] : kPSTMG[piece][cell]);
            }
        const std::vector<int> bishops = position_.squaresOf(side, 'B');
        Share& pair = share(Eval::Aspect::BishopPair, side);
        if (bishops.size() < 2)
            return;
        pair.value.add(sign(side), kBishopPair, kBishopPair);
        pair.count = 1;
        for (const int square : bishops)
            in(pair.squares, square) = true;
    }

    void addKings() {
        for (const int side : {kWhite, kBlack}) {
            const int king = position_.king(side);
            const int cell = cellOf(side, king);
            share(Eval::Aspect::KingPlacement, side)
                .add(side, king, EvalParams::kPSTMG[5][cell], EvalParams::kKingEG[cell]);
        }
        Share& proximity = share(Eval::Aspect::KingProximity, kWhite);
        proximity.value.eg = mopUp(position_) + bishopAndKnight(position_);
        if (proximity.value.eg != 0)
            for (const int side : {kWhite, kBlack})
                in(proximity.squares, position_.king(side)) = true;
    }

    void addMobility(int side) {
        const SquareSet pawns = pawnAttacks(position_, other(side));
        for (const char type : {'N', 'B', 'R', 'Q'})
            for (const int square : position_.squaresOf(side, type)) {
                const int piece = typeIndex(type);
                const SquareSet reached = reachable(position_, side, square, type, pawns);
                const int count = sizeOf(reached);
                Share& mobility = share(Eval::Aspect::Mobility, side, piece - 1);
                mobility.value.add(sign(side), EvalParams::kMobilityMg[piece][count],
                                   EvalParams::kMobilityEg[piece][count]);
                mobility.count += count;
                mobility.addSquares(reached);
            }
    }

    void addShelter(int side) {
        const int king = position_.king(side);
        const int file = fileOfSquare(king);
        if (file >= 3 && file <= 5)
            return;
        const SquareSet shield = shieldOf(side, king);
        Share& shelter = share(Eval::Aspect::Shelter, side);
        Share& open = share(Eval::Aspect::OpenFiles, side);
        for (int near = std::max(file - 1, 0); near <= std::min(file + 1, 7); ++near) {
            bool covered = false;
            for (int rank = 0; rank < 8; ++rank)
                if (position_.pawnAt(side, near, rank) && in(shield, near + 8 * rank)) {
                    covered = true;
                    in(shelter.squares, near + 8 * rank) = true;
                }
            shelter.count += covered;
            if (position_.pawnsOnFile(side, near) > 0)
                continue;
            ++open.count;
            for (int rank = 0; rank < 8; ++rank)
                in(open.squares, near + 8 * rank) = true;
        }
        shelter.value.add(sign(side) * shelter.count, 10, 0);
        open.value.add(sign(side) * open.count, -EvalParams::kKsOpenFile, 0);
    }

    /// The attack of a side on the other's king.
    void addAttack(int side) {
        const Danger danger = dangerTo(position_, other(side));
        const SquareSet zone = zoneOf(other(side), position_.king(other(side)));
        SquareSet attacked{};
        for (const char type : {'N', 'B', 'R', 'Q'})
            for (const int square : position_.squaresOf(side, type)) {
                const SquareSet attacks = pieceAttacks(position_, square, type);
                for (int target = 0; target < 64; ++target)
                    in(attacked, target) |= in(attacks, target) && in(zone, target);
            }
        const int units = std::min(danger.units, 15);
        Share& byUnits = share(Eval::Aspect::AttackUnits, side);
        byUnits.value.add(sign(side), EvalParams::kKsSafetyTable[units], 0);
        byUnits.count = units;
        byUnits.squares = attacked;
        Share& byWeight = share(Eval::Aspect::AttackWeight, side);
        byWeight.value.add(sign(side), danger.weight / 5, 0);
        byWeight.count = danger.weight;
        byWeight.squares = attacked;
    }

    void addRooks(int side) {
        using namespace EvalParams;
        for (const int square : position_.squaresOf(side, 'R')) {
            const int file = fileOfSquare(square);
            if (position_.pawnsOnFile(side, file))
                continue;
            if (position_.pawnsOnFile(other(side), file))
                share(Eval::Aspect::RookSemiOpen, side).add(side, square, kRookSemiMg, kRookSemiEg);
            else
                share(Eval::Aspect::RookOpen, side).add(side, square, kRookOpenMg, kRookOpenEg);
        }
    }

    void addPawns(int side) {
        using namespace EvalParams;
        for (const int square : position_.squaresOf(side, 'P')) {
            const int file = fileOfSquare(square);
            if (!position_.pawnsOnFile(side, file - 1) && !position_.pawnsOnFile(side, file + 1))
                share(Eval::Aspect::Isolated, side).add(side, square, kIsolatedMg, kIsolatedEg);
            if (hasPawnBehind(side, square))
                share(Eval::Aspect::Doubled, side).add(side, square, kDoubledMg, kDoubledEg);
            if (isConnected(position_, side, square))
                share(Eval::Aspect::Connected, side).add(side, square, kConnectedMg, kConnectedEg);
            const int rank = ownRank(side, square);
            if (isPassed(position_, side, square))
                share(Eval::Aspect::Passed, side)
                    .add(side, square, kPassedMg[rank], kPassedEg[rank]);
            if (isCandidate(position_, side, square))
                share(Eval::Aspect::Candidate, side).add(side, square, 5, 15);
        }
    }

    bool hasPawnBehind(int side, int square) const {
        for (int s = square - 8 * ahead(side); s >= 0 && s < 64; s -= 8 * ahead(side))
            if (position_.has(s, side, 'P'))
                return true;
        return false;
    }

    void addPassers() {
        Share& both = share(Eval::Aspect::Passers, kWhite);
        both.value = passers(position_);
        for (const int side : {kWhite, kBlack})
            for (const int square : position_.squaresOf(side, 'P'))
                if (ownRank(side, square) >= 3 && isPassed(position_, side, square))
                    in(both.squares, square) = true;
    }

    const Position& position_;
    Share shares_[Eval::kAspectCount][2] = {};
};

} // namespace Naive
