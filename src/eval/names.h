#pragma once

#include "eval/features.h"

#include <iterator>
#include <string_view>

/// What the terms and their aspects are called, for people and for programs. The names are part of
/// the interface of those who read them: they stay.
namespace Eval {

struct TermName {
    std::string_view name;
    std::string_view label; // in the printed breakdown
};

inline constexpr TermName kTermNames[] = {
    {"material", "material+psqt"},
    {"king", "king"},
    {"bishopPair", "bishop pair"},
    {"mobility", "mobility"},
    {"kingSafety", "king safety"},
    {"rookFiles", "rooks (files)"},
    {"pawns", "pawns"},
};
static_assert(std::size(kTermNames) == kTermCount);

struct AspectName {
    Term term;
    std::string_view name;
    bool bySide = true; // false: one amount for both sides together
};

/// In the order of `Aspect`; those of a term stand together, and the terms in their order.
inline constexpr AspectName kAspectNames[] = {
    {Term::Material, "pawn"},
    {Term::Material, "knight"},
    {Term::Material, "bishop"},
    {Term::Material, "rook"},
    {Term::Material, "queen"},
    {Term::Material, "pawnPlacement"},
    {Term::Material, "knightPlacement"},
    {Term::Material, "bishopPlacement"},
    {Term::Material, "rookPlacement"},
    {Term::Material, "queenPlacement"},
    {Term::King, "kingPlacement"},
    {Term::King, "kingProximity", false},
    {Term::BishopPair, "bishopPair"},
    {Term::Mobility, "knightMobility"},
    {Term::Mobility, "bishopMobility"},
    {Term::Mobility, "rookMobility"},
    {Term::Mobility, "queenMobility"},
    {Term::KingSafety, "shelter"},
    {Term::KingSafety, "openFiles"},
    {Term::KingSafety, "attackUnits"},
    {Term::KingSafety, "attackWeight"},
    {Term::RookFiles, "rookOpen"},
    {Term::RookFiles, "rookSemiOpen"},
    {Term::Pawns, "isolated"},
    {Term::Pawns, "doubled"},
    {Term::Pawns, "connected"},
    {Term::Pawns, "passed"},
    {Term::Pawns, "candidate"},
    {Term::Pawns, "passers", false},
};
static_assert(std::size(kAspectNames) == kAspectCount);

constexpr const AspectName& nameOf(Aspect aspect) {
    return kAspectNames[static_cast<int>(aspect)];
}

/// Whether each side's part of a term is known: of all its aspects.
constexpr bool isBySide(Term term) {
    for (const AspectName& aspect : kAspectNames)
        if (aspect.term == term && !aspect.bySide)
            return false;
    return true;
}

} // namespace Eval
