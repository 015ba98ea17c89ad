#pragma once

/// Scores of the search: centipawns from the side to move's point of view. A mate in n plies from
/// the root is `kMate` - n for the side that mates, the negative of it for the other.
namespace Search {

inline constexpr int kMate = 30000;
inline constexpr int kInfinite = 32000;

/// Scores of this size and beyond are mates.
inline constexpr int kMateBound = kMate - 256;

/// No line is searched further than this many plies.
inline constexpr int kMaxPly = 128;

constexpr bool isMateScore(int score) {
    return score >= kMateBound || score <= -kMateBound;
}

constexpr int matedIn(int ply) {
    return ply - kMate;
}

} // namespace Search
