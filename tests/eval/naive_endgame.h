#pragma once

#include "naive_position.h"
#include "params/weights.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

/// End-game knowledge of the second evaluation: king and pawn against king position by position,
/// the scale rules and the kings' end-game amount.
namespace Naive {

/// King and pawn against king, one byte a position, worked out in passes over all positions.
class KingAndPawn {
  public:
    static constexpr int kPositions = 24 * 2 * 64 * 64;

    KingAndPawn() : values_(kPositions) {
        for (int i = 0; i < kPositions; ++i)
            values_[static_cast<std::size_t>(i)] = classify(placeOf(i));
        while (pass()) {
        }
    }

    bool isWin(int index) const { return values_[static_cast<std::size_t>(index)] == kWin; }

    /// Squares as they stand; `side` owns the pawn.
    bool isWin(int side, int king, int pawn, int weakKing, int mover) const {
        const auto turned = [&](int square) {
            const int upright = side == kWhite ? square : square ^ 56;
            return fileOfSquare(pawn) < 4 ? upright : upright ^ 7;
        };
        const Place place{turned(king), turned(weakKing), mover != side, turned(pawn)};
        return values_[static_cast<std::size_t>(indexOf(place))] == kWin;
    }

  private:
    // Numbers of which a set can be kept in one byte.
    static constexpr std::uint8_t kInvalid = 0;
    static constexpr std::uint8_t kUnknown = 1;
    static constexpr std::uint8_t kDraw = 2;
    static constexpr std::uint8_t kWin = 4;

    struct Place {
        int strong;
        int weak;
        bool weakToMove;
        int pawn;
    };

    static Place placeOf(int i) {
        return {i % 64, i / 64 % 64, i / 4096 % 2 == 1, 48 + i / 8192 % 4 - 8 * (i / 32768)};
    }

    static int indexOf(const Place& p) {
        return p.strong + 64 * p.weak + (p.weakToMove ? 4096 : 0) + 8192 * fileOfSquare(p.pawn) +
               32768 * (6 - rankOfSquare(p.pawn));
    }

    static std::vector<int> kingMoves(int square) {
        std::vector<int> moves;
        for (const Step step : kKingSteps)
            if (inside(fileOfSquare(square) + step.file, rankOfSquare(square) + step.rank))
                moves.push_back(square + step.file + 8 * step.rank);
        return moves;
    }

    static const std::vector<int>& movesFrom(int square) {
        static const std::vector<std::vector<int>> table = [] {
            std::vector<std::vector<int>> moves;
            for (int from = 0; from < 64; ++from)
                moves.push_back(kingMoves(from));
            return moves;
        }();
        return table[static_cast<std::size_t>(square)];
    }

    static bool pawnAttacks(int pawn, int square) {
        return rankOfSquare(square) == rankOfSquare(pawn) + 1 &&
               std::abs(fileOfSquare(square) - fileOfSquare(pawn)) == 1;
    }

    static bool weakCannotMove(const Place& p) {
        for (const int to : movesFrom(p.weak))
            if (kingSteps(to, p.strong) != 1 && !pawnAttacks(p.pawn, to))
                return false;
        return true;
    }

    static bool promotes(const Place& p) {
        const int queening = p.pawn + 8;
        return rankOfSquare(p.pawn) == 6 && p.strong != queening &&
               (kingSteps(p.weak, queening) > 1 || kingSteps(p.strong, queening) == 1);
    }

    static std::uint8_t classify(const Place& p) {
        if (p.strong == p.weak || p.strong == p.pawn || p.weak == p.pawn ||
            kingSteps(p.strong, p.weak) < 2)
            return kInvalid;
        if (p.weakToMove) {
            const bool takes = kingSteps(p.weak, p.pawn) == 1 && kingSteps(p.strong, p.pawn) != 1;
            return weakCannotMove(p) || takes ? kDraw : kUnknown;
        }
        if (pawnAttacks(p.pawn, p.weak))
            return kInvalid;
        return promotes(p) ? kWin : kUnknown;
    }

    int valueAt(const Place& p) const { return values_[static_cast<std::size_t>(indexOf(p))]; }

    std::uint8_t afterWeakMoves(const Place& p) const {
        int seen = 0;
        for (const int to : movesFrom(p.weak))
            if (kingSteps(to, p.strong) >= 2)
                seen |= valueAt({p.strong, to, false, p.pawn});
        return seen & kDraw ? kDraw : seen & kUnknown ? kUnknown : kWin;
    }

    std::uint8_t afterStrongMoves(const Place& p) const {
        int seen = 0;
        for (const int to : movesFrom(p.strong))
            if (to != p.pawn && kingSteps(to, p.weak) >= 2)
                seen |= valueAt({to, p.weak, true, p.pawn});
        const auto holdsKing = [&](int square) { return square == p.strong || square == p.weak; };
        const int stop = p.pawn + 8;
        if (rankOfSquare(p.pawn) < 6 && !holdsKing(stop)) {
            seen |= valueAt({p.strong, p.weak, true, stop});
            if (rankOfSquare(p.pawn) == 1 && !holdsKing(stop + 8))
                seen |= valueAt({p.strong, p.weak, true, stop + 8});
        }
        return seen & kWin ? kWin : seen & kUnknown ? kUnknown : kDraw;
    }

    bool pass() {
        bool changed = false;
        for (int i = 0; i < kPositions; ++i) {
            std::uint8_t& value = values_[static_cast<std::size_t>(i)];
            if (value != kUnknown)
                continue;
            const Place place = placeOf(i);
            value = place.weakToMove ? afterWeakMoves(place) : afterStrongMoves(place);
            changed |= value != kUnknown;
        }
        return changed;
    }

    std::vector<std::uint8_t> values_;
};

inline const KingAndPawn& kingAndPawn() {
    static const KingAndPawn table;
    return table;
}

inline int nonPawnMaterial(const Position& position, int side) {
    int sum = 0;
    for (const char type : {'N', 'B', 'R', 'Q'})
        sum += EvalParams::kMgValue[typeIndex(type)] * position.count(side, type);
    return sum;
}

/// King, rook and pawn against king and rook. `side` owns the pawn; of the rook only the file
/// matters.
inline int rookEndingScale(int side, int king, int rook, int pawn, int weakKing, int mover) {
    const auto file = [&](int square) {
        return fileOfSquare(pawn) < 4 ? fileOfSquare(square) : 7 - fileOfSquare(square);
    };
    const int pawnFile = file(pawn);
    const int weakFile = file(weakKing);
    if (ownRank(side, weakKing) > ownRank(side, pawn) && std::abs(weakFile - pawnFile) <= 1)
        return 12;
    if (ownRank(side, pawn) > 4)
        return 64;
    const int queening = fileOfSquare(pawn) + (side == kWhite ? 56 : 0);
    const int d =
        kingSteps(weakKing, queening) - kingSteps(king, queening) - (mover == side ? 0 : 1);
    if (d != -3)
        return d < -3 ? 12 : 64;
    for (int between = std::min(pawnFile, weakFile) + 1; between < std::max(pawnFile, weakFile);
         ++between)
        if (file(rook) == between)
            return 64;
    return 24;
}

/// A scale out of 64 and the number of the rule that gave it.
struct Scale {
    int value;
    int rule;
};

inline bool differentBishops(const Position& position) {
    return position.count(kWhite, 'B') == 1 && position.count(kBlack, 'B') == 1 &&
           isLightSquare(position.squaresOf(kWhite, 'B')[0]) !=
               isLightSquare(position.squaresOf(kBlack, 'B')[0]);
}

/// Bishop and rook pawns with the weak king at a queening corner that the bishop cannot cover.
inline bool wrongBishop(const Position& position, int strong) {
    const int pawns = position.count(strong, 'P');
    if (pawns == 0 || position.count(strong, 'B') != 1)
        return false;
    for (const int file : {0, 7}) {
        const int corner = file + (strong == kWhite ? 56 : 0);
        if (position.pawnsOnFile(strong, file) == pawns &&
            isLightSquare(position.squaresOf(strong, 'B')[0]) != isLightSquare(corner) &&
            kingSteps(position.king(other(strong)), corner) <= 1)
            return true;
    }
    return false;
}

inline bool onlyRookAgainstMinor(const Position& position, int strong) {
    const int weak = other(strong);
    const auto pieces = [&](int side) {
        int count = 0;
        for (int square = 0; square < 64; ++square)
            count += position.holds(square, side);
        return count - 1; // without the king
    };
    return pieces(strong) == 1 && position.count(strong, 'R') == 1 && pieces(weak) == 1 &&
           position.count(weak, 'N') + position.count(weak, 'B') == 1;
}

inline Scale scaleOf(const Position& position, int egScore) {
    const int strong = egScore < 0 ? kBlack : kWhite;
    const int weak = other(strong);
    const int strongMaterial = nonPawnMaterial(position, strong);
    const int weakMaterial = nonPawnMaterial(position, weak);
    const int strongPawns = position.count(strong, 'P');
    const int weakPawns = position.count(weak, 'P');
    const auto both = [&](int material) {
        return strongMaterial == material && weakMaterial == material;
    };
    const bool onePawn = strongPawns + weakPawns == 1;
    const int owner = strongPawns ? strong : weak;

    if (strongPawns && weakPawns && !both(374))
        return {64, 1};
    if (both(0) && onePawn) {
        const bool win =
            kingAndPawn().isWin(owner, position.king(owner), position.squaresOf(owner, 'P')[0],
                                position.king(other(owner)), position.mover);
        return {win ? 64 : 0, 2};
    }
    if (both(493) && onePawn && position.count(kWhite, 'R') == 1 &&
        position.count(kBlack, 'R') == 1)
        return {rookEndingScale(owner, position.king(owner), position.squaresOf(owner, 'R')[0],
                                position.squaresOf(owner, 'P')[0], position.king(other(owner)),
                                position.mover),
                3};
    if (both(374) && differentBishops(position))
        return {32, 4};
    if (strongMaterial == 760 && position.count(strong, 'N') == 2 && weakMaterial == 0 &&
        strongPawns == 0 && weakPawns == 0)
        return {0, 5};
    if (strongMaterial == 374 && weakMaterial == 0 && weakPawns == 0 &&
        wrongBishop(position, strong))
        return {0, 6};
    if (onlyRookAgainstMinor(position, strong))
        return {8, 7};
    return {strongMaterial - weakMaterial > 380 || strongPawns ? 64 : 8, 8};
}

inline int edgeSteps(int square) {
    return std::min(fileOfSquare(square), 7 - fileOfSquare(square)) +
           std::min(rankOfSquare(square), 7 - rankOfSquare(square));
}

inline int mopUp(const Position& position) {
    const int white = position.king(kWhite);
    const int black = position.king(kBlack);
    const int apart = std::abs(fileOfSquare(white) - fileOfSquare(black)) +
                      std::abs(rankOfSquare(white) - rankOfSquare(black));
    const int lead = nonPawnMaterial(position, kWhite) - nonPawnMaterial(position, kBlack);
    if (lead > 100)
        return (14 - apart) * 5 + (6 - edgeSteps(black)) * 10;
    if (lead < -100)
        return -(14 - apart) * 5 - (6 - edgeSteps(white)) * 10;
    return 0;
}

/// King, bishop and knight against the bare king: towards a corner of the bishop's colour.
inline int bishopAndKnight(const Position& position) {
    for (const int side : {kWhite, kBlack}) {
        bool exact = position.count(side, 'B') == 1 && position.count(side, 'N') == 1;
        for (const char type : {'P', 'R', 'Q'})
            exact = exact && position.count(side, type) == 0;
        for (const char type : {'P', 'N', 'B', 'R', 'Q'})
            exact = exact && position.count(other(side), type) == 0;
        if (!exact)
            continue;
        const bool light = isLightSquare(position.squaresOf(side, 'B')[0]);
        const int king = position.king(other(side));
        const int steps = light ? std::min(kingSteps(king, 7), kingSteps(king, 56))
                                : std::min(kingSteps(king, 0), kingSteps(king, 63));
        return sign(side) * 30 * (7 - steps);
    }
    return 0;
}

} // namespace Naive
