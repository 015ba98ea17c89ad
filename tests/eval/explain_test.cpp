#include "eval/explain.h"

#include "eval/evaluate.h"
#include "eval/names.h"
#include "naive_aspects.h"
#include "print.h"
#include "sampling.h"
#include "trace_reader.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

using Eval::Aspect;
using Eval::AspectShare;
using Eval::explain;
using Eval::Explanation;
using Eval::SideShare;
using Notation::boardOf;
using Notation::squaresAt;

namespace {

ScorePair sum(ScorePair a, ScorePair b) {
    return {a.mg + b.mg, a.eg + b.eg};
}

ScorePair negative(ScorePair pair) {
    return {-pair.mg, -pair.eg};
}

Bitboard setOf(const Naive::SquareSet& squares) {
    Bitboard set = 0;
    for (Square sq = 0; sq < kSquares; ++sq)
        set |= Naive::in(squares, sq) ? bit(sq) : 0;
    return set;
}

ScorePair pairOf(const Naive::Pair& pair) {
    return {pair.mg, pair.eg};
}

/// The set on the board turned upside down.
Bitboard turned(Bitboard squares) {
    Bitboard set = 0;
    while (squares)
        set |= bit(flipRank(popLowest(squares)));
    return set;
}

const AspectShare& shareOf(const Explanation& e, Aspect aspect) {
    return e.aspects[static_cast<int>(aspect)];
}

/// Aspects add up to terms, terms to the total, and what the sides have to both.
void expectExactSums(const Explanation& e) {
    Eval::TermShare terms[Eval::kTermCount] = {};
    for (int i = 0; i < Eval::kAspectCount; ++i) {
        const AspectShare& share = e.aspects[i];
        const SideShare& white = share.sides[White];
        const SideShare& black = share.sides[Black];
        if (Eval::kAspectNames[i].bySide) {
            ASSERT_EQ(share.value, sum(white.value, black.value)) << Eval::kAspectNames[i].name;
            ASSERT_EQ(share.squares, white.squares | black.squares) << Eval::kAspectNames[i].name;
        } else {
            ASSERT_EQ(sum(white.value, black.value), ScorePair{}) << Eval::kAspectNames[i].name;
            ASSERT_EQ(white.count + black.count, 0) << Eval::kAspectNames[i].name;
            ASSERT_EQ(white.squares | black.squares, 0U) << Eval::kAspectNames[i].name;
        }
        Eval::TermShare& term = terms[static_cast<int>(Eval::kAspectNames[i].term)];
        term.value = sum(term.value, share.value);
        for (const Color c : {White, Black})
            term.sides[c] = sum(term.sides[c], share.sides[c].value);
    }
    ScorePair total;
    for (int i = 0; i < Eval::kTermCount; ++i) {
        ASSERT_EQ(e.terms[i].value, terms[i].value) << Eval::kTermNames[i].name;
        for (const Color c : {White, Black})
            ASSERT_EQ(e.terms[i].sides[c], terms[i].sides[c]) << Eval::kTermNames[i].name;
        if (Eval::isBySide(static_cast<Eval::Term>(i))) {
            ASSERT_EQ(e.terms[i].value, sum(terms[i].sides[White], terms[i].sides[Black]));
        }
        total = sum(total, terms[i].value);
    }
    ASSERT_EQ(e.total, total);
}

void expectNaiveAspects(const Explanation& e, const Naive::Position& position) {
    const Naive::Aspects wanted(position);
    for (int i = 0; i < Eval::kAspectCount; ++i) {
        SCOPED_TRACE(Eval::kAspectNames[i].name);
        const auto aspect = static_cast<Aspect>(i);
        if (!Eval::kAspectNames[i].bySide) {
            ASSERT_EQ(e.aspects[i].value, pairOf(wanted.of(aspect, White).value));
            ASSERT_EQ(e.aspects[i].squares, setOf(wanted.of(aspect, White).squares));
            continue;
        }
        for (const Color c : {White, Black}) {
            ASSERT_EQ(e.aspects[i].sides[c].value, pairOf(wanted.of(aspect, c).value));
            ASSERT_EQ(e.aspects[i].sides[c].count, wanted.of(aspect, c).count);
            ASSERT_EQ(e.aspects[i].sides[c].squares, setOf(wanted.of(aspect, c).squares));
        }
    }
}

void expectNaiveValues(const Explanation& e, const Naive::Position& position) {
    const Naive::Evaluation wanted = Naive::evaluatePosition(position);
    ASSERT_EQ(e.total, pairOf(wanted.total));
    ASSERT_EQ(e.phase, wanted.phase);
    ASSERT_EQ(e.scale, wanted.scale.value);
    ASSERT_EQ(e.white, wanted.white);
    ASSERT_EQ(e.value, wanted.value);
    for (const Color c : {White, Black}) {
        Bitboard pinned = 0;
        Naive::SquareSet ray{};
        for (Square sq = 0; sq < kSquares; ++sq)
            if (position.holds(sq, c) && Naive::findPin(position, c, sq, ray))
                pinned |= bit(sq);
        ASSERT_EQ(e.pinned[c], pinned);
    }
}

void expectRight(const Board& board) {
    const std::string fen = board.fen();
    SCOPED_TRACE(fen);
    const Explanation e = explain(board);
    ASSERT_EQ(e.value, evaluate(board));
    ASSERT_EQ(e.blended, Eval::evaluateUnfaded(board));
    ASSERT_NO_FATAL_FAILURE(expectExactSums(e));
    const Naive::Position position = Naive::parse(fen);
    ASSERT_NO_FATAL_FAILURE(expectNaiveValues(e, position));
    ASSERT_NO_FATAL_FAILURE(expectNaiveAspects(e, position));
}

void expectMirrored(const std::string& fen) {
    SCOPED_TRACE(fen);
    const Explanation e = explain(boardOf(fen));
    const Explanation m = explain(boardOf(Sampling::mirrored(fen)));
    ASSERT_EQ(m.value, e.value);
    ASSERT_EQ(m.white, -e.white);
    ASSERT_EQ(m.blended, -e.blended);
    ASSERT_EQ(m.total, negative(e.total));
    ASSERT_EQ(m.phase, e.phase);
    ASSERT_EQ(m.scale, e.scale);
    for (const Color c : {White, Black})
        ASSERT_EQ(m.pinned[c], turned(e.pinned[~c]));
    for (int i = 0; i < Eval::kTermCount; ++i) {
        ASSERT_EQ(m.terms[i].value, negative(e.terms[i].value)) << Eval::kTermNames[i].name;
        for (const Color c : {White, Black})
            ASSERT_EQ(m.terms[i].sides[c], negative(e.terms[i].sides[~c]));
    }
    for (int i = 0; i < Eval::kAspectCount; ++i) {
        SCOPED_TRACE(Eval::kAspectNames[i].name);
        ASSERT_EQ(m.aspects[i].value, negative(e.aspects[i].value));
        ASSERT_EQ(m.aspects[i].squares, turned(e.aspects[i].squares));
        for (const Color c : {White, Black}) {
            ASSERT_EQ(m.aspects[i].sides[c].value, negative(e.aspects[i].sides[~c].value));
            ASSERT_EQ(m.aspects[i].sides[c].count, e.aspects[i].sides[~c].count);
            ASSERT_EQ(m.aspects[i].sides[c].squares, turned(e.aspects[i].sides[~c].squares));
        }
    }
}

void expectRightUnlessFailed(const Board& board) {
    if (!testing::Test::HasFatalFailure())
        expectRight(board);
}

} // namespace

TEST(Explain, AgreesWithTheSecondEvaluationOnTheSharedPositions) {
    for (const std::string& fen : Positions::readShared())
        ASSERT_NO_FATAL_FAILURE(expectRight(boardOf(fen)));
}

TEST(Explain, AgreesWithTheSecondEvaluationInRandomGames) {
    Sampling::visitGames(31, scaled(4000), expectRightUnlessFailed);
}

TEST(Explain, AgreesWithTheSecondEvaluationOnWildBoards) {
    Sampling::visitWild(32, scaled(1000), expectRightUnlessFailed);
}

TEST(Explain, AgreesWithTheSecondEvaluationInEndings) {
    for (const char* material : {"KBNk", "KRPkr", "KQkpp", "KBBkn", "KPPPkppp", "KRRkbb"})
        Sampling::visitScattered(material, 33, scaled(300), expectRightUnlessFailed);
}

TEST(Explain, HasTheTermsOfThePrintedBreakdown) {
    for (const std::string& fen : Positions::readShared()) {
        const Board board = boardOf(fen);
        const Explanation e = explain(board);
        const TraceReader::Traced printed = TraceReader::traced(board);
        ASSERT_EQ(e.value, printed.value) << fen;
        for (int i = 0; i < Eval::kTermCount; ++i)
            ASSERT_EQ(e.terms[i].value, TraceReader::term(printed.text, Eval::kTermNames[i].label))
                << fen;
        ASSERT_EQ(e.total, TraceReader::term(printed.text, "total")) << fen;
    }
}

TEST(Explain, TurnsWithTheColours) {
    for (const std::string& fen : Positions::readShared())
        ASSERT_NO_FATAL_FAILURE(expectMirrored(fen));
    Sampling::visitGames(34, scaled(2000), [](const Board& board) {
        if (!testing::Test::HasFatalFailure())
            expectMirrored(board.fen());
    });
}

TEST(Explain, PutsAnAttackDownToTheSideThatAttacks) {
    // On the ring: two units and the rook's full weight.
    const Explanation e = explain(boardOf("4k3/8/8/8/8/8/3K4/4R3 b - - 0 1"));
    const AspectShare& units = shareOf(e, Aspect::AttackUnits);
    EXPECT_EQ(units.sides[White].value, (ScorePair{4, 0}));
    EXPECT_EQ(units.sides[White].count, 2);
    EXPECT_EQ(units.sides[White].squares, squaresAt("e6 e7 e8"));
    EXPECT_EQ(units.sides[Black].count, 0);
    const AspectShare& weight = shareOf(e, Aspect::AttackWeight);
    EXPECT_EQ(weight.sides[White].value, (ScorePair{16, 0}));
    EXPECT_EQ(weight.sides[White].count, 80);
    EXPECT_EQ(weight.squares, units.squares);
}

TEST(Explain, TellsShelterAndOpenFilesOfEachKing) {
    const Explanation e = explain(boardOf("1k6/8/p7/8/8/6P1/5PP1/6K1 w - - 0 1"));
    const AspectShare& shelter = shareOf(e, Aspect::Shelter);
    EXPECT_EQ(shelter.sides[White].value, (ScorePair{20, 0}));
    EXPECT_EQ(shelter.sides[White].count, 2) << "two pawns of one file count once";
    EXPECT_EQ(shelter.sides[White].squares, squaresAt("f2 g2 g3"));
    EXPECT_EQ(shelter.sides[Black].value, (ScorePair{-10, 0}));
    const AspectShare& open = shareOf(e, Aspect::OpenFiles);
    EXPECT_EQ(open.sides[White].value, (ScorePair{-31, 0}));
    EXPECT_EQ(open.sides[White].squares, fileBB(FileH));
    EXPECT_EQ(open.sides[Black].value, (ScorePair{62, 0}));
    EXPECT_EQ(open.sides[Black].squares, fileBB(FileB) | fileBB(FileC));
}

TEST(Explain, GivesOneNumberWhereADifferenceIsDivided) {
    const Explanation e = explain(boardOf("8/P7/8/8/3K4/4p3/7p/7k w - - 0 1"));
    const AspectShare& passers = shareOf(e, Aspect::Passers);
    EXPECT_EQ(passers.squares, squaresAt("a7 e3 h2"));
    // Free paths of a7 (weight 17) and e3 (12); the king stands in front of h2.
    EXPECT_EQ(passers.value.mg, (17 * 20 - 12 * 20) / 8);
    EXPECT_EQ(passers.sides[White].count, 0);
}

TEST(Explain, TellsKingsOnlyWhereOneIsDriven) {
    EXPECT_EQ(shareOf(explain(boardOf(kStartFen)), Aspect::KingProximity).squares, 0U);
    const Explanation e = explain(boardOf("8/8/8/4k3/8/8/8/R5K1 w - - 0 1"));
    EXPECT_EQ(shareOf(e, Aspect::KingProximity).squares, squaresAt("e5 g1"));
    EXPECT_EQ(shareOf(e, Aspect::KingProximity).value, (ScorePair{0, (14 - 6) * 5}));
}

TEST(Explain, TellsPinnedPiecesOfBothSides) {
    const Explanation e = explain(boardOf("3rk3/4n3/8/4R3/8/3P4/3K4/8 w - - 0 1"));
    EXPECT_EQ(e.pinned[White], squaresAt("d3"));
    EXPECT_EQ(e.pinned[Black], squaresAt("e7"));
}

TEST(Explain, FadesWithTheClock) {
    const Explanation e = explain(boardOf("8/8/8/4k3/8/8/6P1/3R2K1 b - - 20 40"));
    EXPECT_EQ(e.white, e.blended * 180 / 200);
    EXPECT_EQ(e.value, -e.white);
    EXPECT_GT(e.blended, e.white);
}

TEST(Names, AreDifferentAndStandInTheOrderOfTheTerms) {
    std::set<std::string_view> terms;
    for (const Eval::TermName& term : Eval::kTermNames)
        EXPECT_TRUE(terms.insert(term.name).second) << term.name;
    std::set<std::string_view> aspects;
    auto term = Eval::Term::Material;
    for (const Eval::AspectName& aspect : Eval::kAspectNames) {
        EXPECT_TRUE(aspects.insert(aspect.name).second) << aspect.name;
        EXPECT_TRUE(aspect.term >= term) << aspect.name;
        term = aspect.term;
    }
}
