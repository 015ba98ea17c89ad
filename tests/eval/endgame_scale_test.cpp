#include "eval/endgame.h"
#include "naive_endgame.h"
#include "sampling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

using Notation::boardOf;
using Notation::squareAt;

namespace {

struct ScaleCase {
    const char* fen;
    int egScore; // its sign names the strong side
    int scale;
    const char* why;
};

/// The case as it stands and with the colours changed over. A score of 0 means White in both, so it
/// is not mirrored.
void expectScales(const ScaleCase& c) {
    EXPECT_EQ(egScaleFactor(boardOf(c.fen), c.egScore), c.scale) << c.fen << "  " << c.why;
    if (c.egScore == 0)
        return;
    EXPECT_EQ(egScaleFactor(boardOf(Sampling::mirrored(c.fen)), -c.egScore), c.scale)
        << "mirrored " << c.fen << "  " << c.why;
}

template <std::size_t N>
void expectScales(const ScaleCase (&cases)[N]) {
    for (const ScaleCase& c : cases)
        expectScales(c);
}

} // namespace

TEST(EgScale, Rule1PawnsOnBothSidesAreAFullScaleExceptBishopAgainstBishop) {
    expectScales({
        {"4k3/4p3/8/8/8/8/4P3/4K3 w - - 0 1", 1, 64, "pawn ending"},
        {"4k3/4p3/8/8/8/8/4P3/4K3 w - - 0 1", -1, 64, "pawn ending"},
        {"r3k3/4p3/8/8/8/8/4P3/R3K3 w - - 0 1", 1, 64, "rook ending"},
        {"2b1k3/4p3/8/8/8/8/4P3/N3K3 w - - 0 1", -1, 64, "knight against bishop"},
        {"2b1k3/4p3/8/8/8/8/4P3/2B1K3 w - - 0 1", 1, 32, "bishop against bishop goes on"},
        {"2b1k1n1/4p3/8/8/8/8/4P3/2B1K1N1 w - - 0 1", 1, 64, "with knights"},
        {"2b1k3/4p3/8/8/8/8/4P3/2B1K1N1 w - - 0 1", 1, 64, "one side has more than a bishop"},
        {"4k3/7p/8/8/8/8/P7/2B1K3 w - - 0 1", 1, 64, "one bishop"},
    });
}

TEST(EgScale, Rule2KingAndPawnAgainstKingIsAllOrNothing) {
    for (const int egScore : {-300, 0, 300}) {
        expectScales({"4k3/8/4K3/4P3/8/8/8/8 w - - 0 1", egScore, 64, "won"});
        expectScales({"8/4k3/8/4K3/4P3/8/8/8 w - - 0 1", egScore, 0, "opposition"});
        expectScales({"8/4k3/8/4K3/4P3/8/8/8 b - - 0 1", egScore, 64, "opposition lost"});
        expectScales({"k7/8/1K6/P7/8/8/8/8 b - - 0 1", egScore, 0, "rook's pawn"});
    }
    expectScales({
        {"k7/8/1K6/P7/P7/8/8/8 w - - 0 1", 1, 64, "two pawns are not looked up"},
        {"k7/8/1K6/P7/P7/8/8/8 w - - 0 1", -1, 8, "nor for the other side"},
        {"k7/8/1K6/P7/8/8/8/2N5 w - - 0 1", 1, 64, "with a piece"},
        {"k7/n7/1K6/P7/8/8/8/8 w - - 0 1", 1, 64, "against a piece"},
    });
}

TEST(EgScale, Rule3RookAndPawnAgainstRookTakesItsOwnScale) {
    for (const int egScore : {-300, 0, 300}) {
        expectScales({"3k4/8/7r/1P6/8/8/1K6/6R1 w - - 0 1", egScore, 12, "weak king near"});
        expectScales({"3k4/8/7r/1P6/8/1K6/8/6R1 w - - 0 1", egScore, 24, "unclear"});
        expectScales({"3k4/8/7r/1P6/8/1K6/8/6R1 b - - 0 1", egScore, 12, "and to move"});
        expectScales({"3k4/8/7r/1P6/8/1K6/8/2R5 w - - 0 1", egScore, 64, "cut off by the rook"});
        expectScales({"3k4/8/7r/1P6/1K6/8/8/6R1 w - - 0 1", egScore, 64, "strong king near"});
    }
    expectScales({
        {"3k4/8/7r/1P6/8/8/1K5P/6R1 w - - 0 1", 1, 64, "two pawns"},
        {"3k4/8/7r/1P6/8/8/1K5P/6R1 w - - 0 1", -1, 8, "two pawns, the side without"},
        {"3k4/8/7r/8/8/8/1K6/6R1 w - - 0 1", 1, 8, "no pawn"},
        {"3k4/8/7n/1P6/8/8/1K6/6R1 w - - 0 1", 1, 64, "rook against knight"},
        {"3k4/8/7r/1P6/8/8/1K6/5RR1 w - - 0 1", 1, 64, "two rooks"},
    });
}

TEST(EgScale, Rule4OppositeBishopsHalveWithOrWithoutPawns) {
    for (const int egScore : {-300, 0, 300}) {
        expectScales({"2b1k3/4p3/8/8/8/8/4P3/2B1K3 w - - 0 1", egScore, 32, "pawns on both"});
        expectScales({"2b1k3/8/8/8/8/8/4P3/2B1K3 w - - 0 1", egScore, 32, "one pawn"});
        expectScales({"2b1k3/8/8/8/8/8/8/2B1K3 w - - 0 1", egScore, 32, "no pawns"});
        expectScales({"5bk1/4p3/8/8/8/8/4P3/2B1K3 w - - 0 1", egScore, 64,
                      "bishops on one colour, pawns on both"});
    }
    expectScales({
        {"5bk1/8/8/8/8/8/4P3/2B1K3 w - - 0 1", 1, 64, "one colour, the side with the pawn"},
        {"5bk1/8/8/8/8/8/4P3/2B1K3 w - - 0 1", -1, 8, "one colour, the side without"},
        {"5bk1/8/8/8/8/8/8/2B1K3 w - - 0 1", 1, 8, "one colour, no pawns"},
        {"2b1k3/8/8/8/8/8/4P3/1NB1K3 w - - 0 1", 1, 64, "a knight more"},
        {"2n1k3/4p3/8/8/8/8/4P3/2B1K3 w - - 0 1", 1, 64, "bishop against knight"},
    });
}

TEST(EgScale, Rule5TwoKnightsAgainstTheBareKingAreADraw) {
    expectScales({
        {"4k3/8/8/8/8/8/8/1N2K1N1 w - - 0 1", 1, 0, "two knights"},
        {"4k3/8/8/8/8/8/8/1N2K1N1 w - - 0 1", 0, 0, "White is strong at 0"},
        {"4k3/8/8/8/8/8/8/1N2K1N1 w - - 0 1", -1, 8, "the bare king favoured"},
        {"4k3/4p3/8/8/8/8/8/1N2K1N1 w - - 0 1", 1, 64, "a weak pawn"},
        {"4k3/8/8/8/8/8/4P3/1N2K1N1 w - - 0 1", 1, 64, "a strong pawn"},
        {"4k3/8/8/8/8/8/8/1NN1K1N1 w - - 0 1", 1, 64, "three knights"},
        {"4k3/8/8/8/8/8/8/1B2K1N1 w - - 0 1", 1, 64, "bishop and knight"},
        {"4k1n1/8/8/8/8/8/8/1N2K1N1 w - - 0 1", 1, 8, "against a knight"},
        {"4k1b1/8/8/8/8/8/8/1N2K1N1 w - - 0 1", 1, 64, "against a bishop: 386 more"},
    });
}

TEST(EgScale, Rule6WrongBishopWithRookPawnsIsADrawWhileTheKingHoldsTheCorner) {
    for (const char* fen : {"k7/8/8/P7/8/8/8/2B1K3 w - - 0 1", "1k6/8/8/P7/8/8/8/2B1K3 w - - 0 1",
                            "8/k7/8/P7/8/8/8/2B1K3 w - - 0 1", "8/1k6/8/P7/8/8/8/2B1K3 w - - 0 1",
                            "k7/8/8/P7/P7/8/8/2B1K3 w - - 0 1", "7k/8/8/7P/8/8/8/4KB2 w - - 0 1",
                            "6k1/8/8/7P/7P/8/7P/4KB2 w - - 0 1"})
        expectScales({fen, 1, 0, "held"});
    expectScales({
        {"k7/8/8/P7/8/8/8/4KB2 w - - 0 1", 1, 64, "the right bishop on the a file"},
        {"7k/8/8/7P/8/8/8/2B1K3 w - - 0 1", 1, 64, "the right bishop on the h file"},
        {"2k5/8/8/P7/8/8/8/2B1K3 w - - 0 1", 1, 64, "king two files from the corner"},
        {"8/8/k7/P7/8/8/8/2B1K3 w - - 0 1", 1, 64, "king two ranks from the corner"},
        {"7k/8/8/P7/8/8/8/2B1K3 w - - 0 1", 1, 64, "king at the other corner"},
        {"8/8/8/P7/8/8/1k6/2B1K3 b - - 0 1", 1, 64, "king at the wrong end"},
        {"k7/8/8/1P6/8/8/8/2B1K3 w - - 0 1", 1, 64, "knight's pawn"},
        {"k7/8/8/PP6/8/8/8/2B1K3 w - - 0 1", 1, 64, "a knight's pawn as well"},
        {"k7/8/8/P6P/8/8/8/2B1K3 w - - 0 1", 1, 64, "rook pawns on both wings"},
        {"k7/8/8/P7/8/8/8/B1B1K3 w - - 0 1", 1, 64, "two bishops"},
        {"k7/8/8/P7/8/8/8/1NB1K3 w - - 0 1", 1, 64, "a knight as well"},
        {"k7/8/8/P7/8/8/8/2N1K3 w - - 0 1", 1, 64, "knight instead of bishop"},
        {"k7/7p/8/P7/8/8/8/2B1K3 w - - 0 1", 1, 64, "a weak pawn"},
        {"k7/7n/8/P7/8/8/8/2B1K3 w - - 0 1", 1, 64, "a weak piece"},
        {"k7/8/8/P7/8/8/8/2B1K3 w - - 0 1", -1, 8, "the bare king favoured"},
        {"k7/8/8/8/8/8/8/2B1K3 w - - 0 1", 1, 8, "no pawn: bishop against king"},
        {"7k/8/8/8/8/8/8/4KB2 w - - 0 1", 1, 8, "no pawn on the other wing"},
    });
}

TEST(EgScale, Rule7RookAgainstMinorPieceWithoutPawnsIsNearlyDrawn) {
    expectScales({
        {"2b1k3/8/8/8/8/8/8/R3K3 w - - 0 1", 1, 8, "rook against bishop"},
        {"2n1k3/8/8/8/8/8/8/R3K3 w - - 0 1", 1, 8, "rook against knight"},
        {"2n1k3/8/8/8/8/8/8/R3K3 w - - 0 1", -1, 8, "the minor piece favoured"},
        {"2n1k3/8/8/8/8/8/4P3/R3K3 w - - 0 1", 1, 64, "with a pawn"},
        {"2n1k3/8/8/8/8/8/8/RR2K3 w - - 0 1", 1, 64, "two rooks"},
        {"1nn1k3/8/8/8/8/8/8/R3K3 w - - 0 1", 1, 8, "against two knights"},
        {"4k3/8/8/8/8/8/8/R3K3 w - - 0 1", 1, 64, "against the bare king"},
    });
}

TEST(EgScale, Rule8WithoutPawnsALeadOfMoreThanAKnightIsNeeded) {
    expectScales({
        {"4k3/8/8/8/8/8/8/N3K3 w - - 0 1", 1, 8, "a lead of exactly 380"},
        {"4k3/8/8/8/8/8/8/2B1K3 w - - 0 1", 1, 8, "a bishop"},
        {"4k3/8/8/8/8/8/8/2B1KB2 w - - 0 1", 1, 64, "two bishops"},
        {"4k3/8/8/8/8/8/8/NB2K3 w - - 0 1", 1, 64, "bishop and knight"},
        {"4k3/8/8/8/8/8/8/Q3K3 w - - 0 1", 1, 64, "a queen"},
        {"r3k3/8/8/8/8/8/8/Q3K3 w - - 0 1", 1, 64, "queen against rook"},
        {"rr2k3/8/8/8/8/8/8/Q3K3 w - - 0 1", 1, 8, "queen against two rooks"},
        {"4k3/8/8/8/8/8/8/4K3 w - - 0 1", 1, 8, "bare kings"},
        {"r3k3/8/8/8/8/8/8/R3K3 w - - 0 1", 1, 8, "rook against rook"},
        {"r3k3/8/8/8/8/8/8/RN2K3 w - - 0 1", 1, 8, "rook and knight against rook"},
        {"n3k3/8/8/8/8/8/4P3/4K3 w - - 0 1", 1, 64, "a pawn is enough, whatever it is up against"},
        {"n3k3/8/8/8/8/8/4P3/4K3 w - - 0 1", -1, 8, "380 more, but no pawn"},
        {"r3k3/8/8/8/8/8/4P3/4K3 w - - 0 1", -1, 64, "493 more"},
    });
}

TEST(EgScale, TheSignOfTheScoreNamesTheStrongSideAndWhiteAtZero) {
    const Board board = boardOf("4k3/8/8/8/8/8/8/R3K3 w - - 0 1");
    EXPECT_EQ(egScaleFactor(board, 5000), 64);
    EXPECT_EQ(egScaleFactor(board, 0), 64);
    EXPECT_EQ(egScaleFactor(board, -1), 8);
    const Board mirror = boardOf("r3k3/8/8/8/8/8/8/4K3 w - - 0 1");
    EXPECT_EQ(egScaleFactor(mirror, 0), 8);
    EXPECT_EQ(egScaleFactor(mirror, -1), 64);
}

// --- rook and pawn against rook ---

namespace {

struct RookEnding {
    std::string_view king;
    std::string_view rook;
    std::string_view pawn;
    std::string_view weakKing;
    int scale;       // strong side to move
    int scaleOnMove; // weak side to move
    const char* why;
};

constexpr RookEnding kRookEndings[] = {
    // In front of the pawn, on its file or next to it: whatever else holds.
    {"c3", "a1", "c4", "c6", 12, 12, "before the pawn"},
    {"c3", "a1", "c4", "b5", 12, 12, "before it on the left"},
    {"c3", "a1", "c4", "d8", 12, 12, "before it on the right"},
    {"c6", "a1", "c7", "c8", 12, 12, "before a pawn on the seventh rank"},
    {"b7", "h1", "a6", "b8", 12, 12, "before a rook's pawn"},
    // Not before it and the pawn on the sixth or seventh rank.
    {"c1", "h1", "c6", "e8", 64, 64, "two files away"},
    {"c1", "h1", "c6", "d6", 64, 64, "beside the pawn"},
    {"c1", "h1", "c6", "a1", 64, 64, "behind the pawn"},
    {"a1", "h1", "c7", "e8", 64, 64, "seventh rank"},
    // The race to the queening square. Here it is b8; the weak king on d8 needs two steps.
    {"b2", "g1", "b5", "d8", 12, 12, "six steps against two: four behind"},
    {"b3", "g1", "b5", "d8", 24, 12, "three behind, the rook outside"},
    {"b3", "c1", "b5", "d8", 64, 12, "three behind, the rook between the files"},
    {"b3", "b1", "b5", "d8", 24, 12, "the rook on the pawn's file"},
    {"b3", "d1", "b5", "d8", 24, 12, "the rook on the weak king's file"},
    {"b3", "a1", "b5", "d8", 24, 12, "the rook beyond the pawn's file"},
    {"b4", "g1", "b5", "d8", 64, 24, "two behind, three if the weak side moves"},
    {"b4", "c1", "b5", "d8", 64, 64, "the same with the rook between"},
    {"b6", "g1", "b5", "d8", 64, 64, "strong king ahead"},
    {"b3", "c1", "b5", "d1", 64, 64, "weak king far behind"},
    // Pawn on d5: the weak king on its left.
    {"d2", "b1", "d5", "a8", 64, 12, "three behind, the rook between on the left"},
    {"d2", "c1", "d5", "a8", 64, 12, "the other file between"},
    {"d2", "a1", "d5", "a8", 24, 12, "the rook on the weak king's file"},
    {"d2", "d1", "d5", "a8", 24, 12, "the rook on the pawn's file"},
    {"d2", "e1", "d5", "a8", 24, 12, "the rook on the other side"},
    // The fifth rank is the last on which the race counts.
    {"b1", "g1", "b5", "d8", 12, 12, "fifth rank"},
    {"b1", "g1", "b6", "d8", 64, 64, "sixth rank"},
};

int rookEndingScale(const RookEnding& e, Color strong, int mirror, Color mover) {
    const auto at = [&](std::string_view name) { return squareAt(name) ^ mirror; };
    return Endgame::krpkrScale(strong, at(e.king), at(e.rook), at(e.pawn), at(e.weakKing), H1,
                               mover);
}

} // namespace

TEST(RookEndingScale, EveryBranchInAllFourMirrorImages) {
    for (const RookEnding& e : kRookEndings)
        for (const Color strong : {White, Black})
            for (const int wing : {0, 7}) {
                const int mirror = (strong == White ? 0 : 56) ^ wing;
                EXPECT_EQ(rookEndingScale(e, strong, mirror, strong), e.scale)
                    << e.why << ", strong to move, mirrored by " << mirror;
                EXPECT_EQ(rookEndingScale(e, strong, mirror, ~strong), e.scaleOnMove)
                    << e.why << ", weak to move, mirrored by " << mirror;
            }
}

TEST(RookEndingScale, AgreesWithTheRulesOnAllKingsPawnsAndRookFiles) {
    int seen[65] = {};
    for (Square pawn = 8; pawn < 56; ++pawn)
        for (Square king = 0; king < 64; ++king)
            for (Square weakKing = 0; weakKing < 64; ++weakKing)
                for (Square rook = 0; rook < 8; ++rook)
                    for (const Color mover : {White, Black}) {
                        const Color strong = (king ^ weakKing) & 1 ? White : Black;
                        const int found =
                            Endgame::krpkrScale(strong, king, rook, pawn, weakKing, H1, mover);
                        const int wanted =
                            Naive::rookEndingScale(strong, king, rook, pawn, weakKing, mover);
                        ASSERT_EQ(found, wanted) << strong << ' ' << king << ' ' << rook << ' '
                                                 << pawn << ' ' << weakKing << ' ' << mover;
                        ++seen[found];
                    }
    for (const int scale : {12, 24, 64})
        EXPECT_GT(seen[scale], 0) << scale;
}

// --- all rules on random positions ---

TEST(EgScale, AgreesWithTheRulesReadOneByOneOnRandomEndings) {
    constexpr const char* kMaterials[] = {
        "Kk",    "KPk",   "Kkp",   "KPPk",   "KPkp",   "KRPkr", "KRkrp",   "KRPPkr", "KRPkrp",
        "KRkr",  "KBkb",  "KBPkb", "KBPkbp", "KBPPkb", "KBNkb", "KBNPkbp", "KNNk",   "KNNkp",
        "KNNPk", "Kknn",  "KNNkn", "KNNkb",  "KBPk",   "Kkbp",  "KBPPk",   "Kkbpp",  "KBPkp",
        "KBPkn", "KBBPk", "KNPk",  "KRkn",   "KRkb",   "KNkr",  "KBkr",    "KRPkn",  "KRkbp",
        "KRRkn", "KNk",   "KBk",   "KRk",    "KQk",    "KQkr",  "KQkrr",   "KRNkr",  "KBNk",
        "Kkbn",  "KNNNk", "KBBk",  "KRRk",   "KQkq",   "KQPkq", "KNPkn",   "KRkq",   "KPkn",
    };
    int met[9] = {};
    std::uint64_t seed = 4;
    for (const char* material : kMaterials)
        Sampling::visitScattered(
            material, ++seed, std::max(scaled(1000), 50), [&](const Board& board) {
                const Naive::Position position = Naive::parse(board.fen());
                for (const int egScore : {-1, 0, 1}) {
                    const Naive::Scale scale = Naive::scaleOf(position, egScore);
                    ++met[scale.rule];
                    EXPECT_EQ(egScaleFactor(board, egScore), scale.value)
                        << board.fen() << " with " << egScore << " by rule " << scale.rule;
                }
            });
    for (int rule = 1; rule <= 8; ++rule)
        EXPECT_GT(met[rule], 0) << "rule " << rule << " was never met";
}
