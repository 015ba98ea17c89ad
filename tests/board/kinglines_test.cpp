#include "board/kinglines.h"

#include "support/board_checks.h"
#include "support/build.h"
#include "support/notation.h"
#include "support/positions.h"
#include "support/random_game.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Notation;
using BoardChecks::attackersByWalking;

constexpr int kSampleDivisor = kOptimised ? 1 : 4;

/// Enemies that attack the king of `c` through an occupancy, found without the attack tables.
Bitboard checkersByWalking(const Board& board, Color c, Bitboard occupancy) {
    return attackersByWalking(board, board.kingSquare(c), occupancy) & board.colorBB[~c];
}

Bitboard checkersByWalking(const Board& board, Color c) {
    return checkersByWalking(board, c, board.occupied);
}

// --- moves one by one ---

struct MoveCase {
    const char* what;
    const char* fen;
    Move move;
    bool legal;
    bool check;
};

constexpr Move enPassant(std::string_view squares) {
    return moveOf(squares, FlagEnPassant);
}

constexpr Move capture(std::string_view squares) {
    return moveOf(squares, FlagCapture);
}

constexpr Move promotion(std::string_view squares, Piece piece) {
    return moveOf(squares, FlagPromotion + static_cast<std::uint32_t>(piece - Knight));
}

constexpr Move capturePromotion(std::string_view squares, Piece piece) {
    return promotion(squares, piece) | kCaptureBit;
}

void expectCase(const MoveCase& test) {
    const Board board = boardOf(test.fen);
    const bool inCheck = checkersByWalking(board, board.sideToMove) != 0;
    ASSERT_TRUE(board.isPseudoLegal(test.move)) << test.what;
    EXPECT_EQ(LegalityInfo(board, inCheck).isLegal(test.move), test.legal) << test.what;
    EXPECT_EQ(CheckInfo(board).givesCheck(test.move), test.check) << test.what;
}

constexpr const char* kPinOnFile = "4r2k/8/8/8/8/3p4/4R3/4K3 w - - 0 1";
constexpr const char* kPinOnDiagonal = "7k/8/8/8/7b/8/5B2/4K3 w - - 0 1";
constexpr const char* kPinOnRank = "k7/8/8/8/8/8/8/K1Q4r w - - 0 1";

constexpr MoveCase kPinCases[] = {
    {"away from the king on the file", kPinOnFile, moveOf("e2e5"), true, false},
    {"takes the pinner and checks on the rank", kPinOnFile, capture("e2e8"), true, true},
    {"leaves the file", kPinOnFile, moveOf("e2d2"), false, false},
    {"leaves the file and checks", kPinOnFile, moveOf("e2h2"), false, true},
    {"away from the king on the diagonal", kPinOnDiagonal, moveOf("f2g3"), true, false},
    {"takes the pinner on the diagonal", kPinOnDiagonal, capture("f2h4"), true, false},
    {"leaves the diagonal for the other", kPinOnDiagonal, moveOf("f2e3"), false, false},
    {"leaves the diagonal and checks", kPinOnDiagonal, moveOf("f2d4"), false, true},
    {"towards the king on the rank", kPinOnRank, moveOf("c1b1"), true, false},
    {"leaves the rank and checks", kPinOnRank, moveOf("c1c8"), false, true},
    {"a pawn stays on the file", "4r2k/8/8/8/8/8/4P3/4K3 w - - 0 1", moveOf("e2e4", FlagDoublePush),
     true, false},
    {"a pawn leaves the file", "4r2k/8/8/8/8/3p4/4P3/4K3 w - - 0 1", capture("e2d3"), false, false},
    {"a pawn takes its pinner", "7k/8/8/8/8/6b1/5P2/4K3 w - - 0 1", capture("f2g3"), true, false},
    {"a pawn leaves the diagonal", "7k/8/8/8/7b/8/5P2/4K3 w - - 0 1", moveOf("f2f3"), false, false},
    {"two pieces on the line pin neither", "4r2k/8/8/8/8/4N3/4N3/4K3 w - - 0 1", moveOf("e3c4"),
     true, false},
    {"a slider of the wrong kind pins nothing", "4b2k/8/8/8/8/8/4N3/4K3 w - - 0 1", moveOf("e2c3"),
     true, false},
};

TEST(MoveTests, KnowPinnedPieces) {
    for (const MoveCase& test : kPinCases)
        expectCase(test);
}

constexpr const char* kRookAndKnight = "4r2k/8/8/8/1B6/6n1/4K1R1/8 w - - 0 1";
constexpr const char* kDoubleCheck = "3Rr2k/8/8/8/8/3n4/8/4K3 w - - 0 1";
constexpr const char* kTripleCheck = "4r2k/8/8/7b/8/2n5/2R1K3/8 w - - 0 1";

constexpr MoveCase kEvasionCases[] = {
    {"back along the line of the check", "7k/8/8/8/4r3/8/4K3/8 w - - 0 1", moveOf("e2e1"), false,
     false},
    {"back along the diagonal of the check", "k7/8/8/4b3/8/2K5/8/8 w - - 0 1", moveOf("c3b2"),
     false, false},
    {"towards the checker", "7k/8/8/8/4r3/8/4K3/8 w - - 0 1", moveOf("e2e3"), false, false},
    {"off the line", "7k/8/8/8/4r3/8/4K3/8 w - - 0 1", moveOf("e2d2"), true, false},
    {"the king takes the checker", "k7/8/8/8/8/4r3/4K3/8 w - - 0 1", capture("e2e3"), true, false},
    {"the king takes a guarded checker", "k3r3/8/8/8/8/4r3/4K3/8 w - - 0 1", capture("e2e3"), false,
     false},
    {"something put in the way of one check of two", kRookAndKnight, moveOf("b4e7"), false, false},
    {"one checker of two taken", kRookAndKnight, capture("g2g3"), false, false},
    {"something put in the way", "4r2k/8/8/8/1B6/8/4K3/8 w - - 0 1", moveOf("b4e7"), true, false},
    {"something put behind the king", "4r2k/8/8/8/1B6/8/4K3/8 w - - 0 1", moveOf("b4e1"), false,
     false},
    {"the checker taken", "4r2k/8/8/1B6/8/8/4K3/8 w - - 0 1", capture("b5e8"), true, false},
    {"a checking knight taken", "7k/8/8/8/8/6n1/4K1R1/8 w - - 0 1", capture("g2g3"), true, false},
    {"a checking knight left alone", "7k/8/8/8/8/6n1/4K1R1/8 w - - 0 1", moveOf("g2f2"), false,
     false},
    {"a checking pawn taken", "7k/8/8/8/8/3p4/4K3/5B2 w - - 0 1", capture("e2d3"), true, false},
    {"a pinned piece cannot go in the way", "4r2k/8/8/1b6/8/3N4/4K3/8 w - - 0 1", moveOf("d3e5"),
     false, false},
    {"the king leaves a double check", kDoubleCheck, moveOf("e1d1"), true, false},
    {"one of a double check taken", kDoubleCheck, capture("d8d3"), false, false},
    {"the other taken with check", kDoubleCheck, capture("d8e8"), false, true},
    {"the king leaves a triple check", kTripleCheck, moveOf("e2f1"), true, false},
    {"one of a triple check taken", kTripleCheck, capture("c2c3"), false, false},
};

TEST(MoveTests, KnowTheAnswersToACheck) {
    for (const MoveCase& test : kEvasionCases)
        expectCase(test);
}

constexpr MoveCase kEnPassantCases[] = {
    {"nothing special", "7k/8/8/3pP3/8/8/8/K7 w - d6 0 1", enPassant("e5d6"), true, false},
    {"opens the rank", "7k/8/8/K2pP2r/8/8/8/8 w - d6 0 1", enPassant("e5d6"), false, false},
    {"opens the rank, Black to move", "8/8/8/8/R2Pp2k/8/8/4K3 b - d3 0 1", enPassant("e4d3"), false,
     false},
    {"a third pawn keeps the rank shut", "7k/8/8/KP1pP2r/8/8/8/8 w - d6 0 1", enPassant("e5d6"),
     true, false},
    {"the pawn taken opens a diagonal", "7k/1b6/8/3pP3/8/8/6K1/8 w - d6 0 1", enPassant("e5d6"),
     false, false},
    {"the taking pawn opens a diagonal", "7k/6b1/8/3pP3/8/2K5/8/8 w - d6 0 1", enPassant("e5d6"),
     false, false},
    {"the taking pawn opens its file", "4r2k/8/8/3pP3/8/8/8/4K3 w - d6 0 1", enPassant("e5d6"),
     false, false},
    {"the other file stays shut", "3r3k/8/8/3pP3/8/8/8/3K4 w - d6 0 1", enPassant("e5d6"), true,
     false},
    {"stays on the diagonal of its pin", "1b5k/8/8/3pP3/8/8/7K/8 w - d6 0 1", enPassant("e5d6"),
     true, false},
    {"takes the checking pawn", "7k/8/8/3pP3/4K3/8/8/8 w - d6 0 1", enPassant("e5d6"), true, false},
    {"goes in the way of a rook's check", "7k/8/r6K/3pP3/8/8/8/8 w - d6 0 1", enPassant("e5d6"),
     true, false},
    {"goes in the way of a bishop's check", "5b1k/8/8/3pP3/1K6/8/8/8 w - d6 0 1", enPassant("e5d6"),
     true, false},
    {"leaves another check alone", "7k/8/8/3pP3/8/8/8/r3K3 w - d6 0 1", enPassant("e5d6"), false,
     false},
    {"takes one checker of two", "7k/8/8/3pP3/r3K3/8/8/8 w - d6 0 1", enPassant("e5d6"), false,
     false},
    {"checks by itself", "8/2k5/8/3pP3/8/8/8/K7 w - d6 0 1", enPassant("e5d6"), true, true},
    {"checks along the rank", "8/8/8/R2pP2k/8/8/8/K7 w - d6 0 1", enPassant("e5d6"), true, true},
    {"checks along the rank by a queen", "8/8/8/Q2pP2k/8/8/8/K7 w - d6 0 1", enPassant("e5d6"),
     true, true},
    {"checks along the diagonal by a queen", "7k/8/8/3pP3/8/8/8/Q3K3 w - d6 0 1", enPassant("e5d6"),
     true, true},
    {"a third pawn keeps the enemy's rank shut", "8/8/8/R2pPp1k/8/8/8/K7 w - d6 0 1",
     enPassant("e5d6"), true, false},
    {"checks where the pawn taken stood", "6k1/8/8/3pP3/8/8/B7/7K w - d6 0 1", enPassant("e5d6"),
     true, true},
    {"checks where the taking pawn stood", "7k/8/8/3pP3/8/8/8/B3K3 w - d6 0 1", enPassant("e5d6"),
     true, true},
    {"checks on the file that it leaves", "4k3/8/8/3pP3/8/8/8/K3R3 w - d6 0 1", enPassant("e5d6"),
     true, true},
    {"shuts the file again", "3k4/8/8/3pP3/8/8/8/K2R4 w - d6 0 1", enPassant("e5d6"), true, false},
    {"stays on its own bishop's diagonal", "1k6/8/8/3pP3/8/8/7B/K7 w - d6 0 1", enPassant("e5d6"),
     true, false},
    {"a rook on a diagonal checks nobody", "6k1/8/8/3pP3/8/8/R7/7K w - d6 0 1", enPassant("e5d6"),
     true, false},
    {"a bishop on the rank checks nobody", "8/8/8/B2pP2k/8/8/8/K7 w - d6 0 1", enPassant("e5d6"),
     true, false},
    {"illegal and with check", "4k3/8/8/K2pP2r/8/8/8/4R3 w - d6 0 1", enPassant("e5d6"), false,
     true},
};

TEST(MoveTests, KnowEnPassant) {
    for (const MoveCase& test : kEnPassantCases)
        expectCase(test);
}

constexpr const char* kThroughFile = "8/4P3/8/8/4k3/8/8/K7 w - - 0 1";
constexpr const char* kThroughDiagonal = "5r2/4P3/8/2k5/8/8/8/K7 w - - 0 1";
constexpr const char* kForkSquare = "8/4P1k1/8/8/8/8/8/K7 w - - 0 1";
constexpr const char* kOpenedRank = "8/R3P2k/8/8/8/8/8/K7 w - - 0 1";

constexpr MoveCase kPromotionCases[] = {
    {"a queen through the square left", kThroughFile, promotion("e7e8", Queen), true, true},
    {"a rook through the square left", kThroughFile, promotion("e7e8", Rook), true, true},
    {"no bishop on the file", kThroughFile, promotion("e7e8", Bishop), true, false},
    {"no knight on the file", kThroughFile, promotion("e7e8", Knight), true, false},
    {"a queen through the diagonal left", kThroughDiagonal, capturePromotion("e7f8", Queen), true,
     true},
    {"a bishop through the diagonal left", kThroughDiagonal, capturePromotion("e7f8", Bishop), true,
     true},
    {"no rook through the diagonal left", kThroughDiagonal, capturePromotion("e7f8", Rook), true,
     false},
    {"the diagonal shut when the pawn moves ahead", "8/4P3/8/2k5/8/8/8/K7 w - - 0 1",
     promotion("e7e8", Queen), true, false},
    {"a knight", kForkSquare, promotion("e7e8", Knight), true, true},
    {"no queen at a knight's distance", kForkSquare, promotion("e7e8", Queen), true, false},
    {"the rank opened by any piece", kOpenedRank, promotion("e7e8", Knight), true, true},
    {"the rank opened by a bishop", kOpenedRank, promotion("e7e8", Bishop), true, true},
    {"something else in the way", "8/4P3/4p3/8/4k3/8/8/K7 w - - 0 1", promotion("e7e8", Queen),
     true, false},
    {"pinned and with check", "7k/1K2P2r/8/8/8/8/8/8 w - - 0 1", promotion("e7e8", Queen), false,
     true},
    {"takes the pinner with check", "5b1k/4P3/3K4/8/8/8/8/8 w - - 0 1",
     capturePromotion("e7f8", Rook), true, true},
    {"Black through the square left", "k7/8/8/4K3/8/8/4p3/8 b - - 0 1", promotion("e2e1", Rook),
     true, true},
};

TEST(MoveTests, KnowPromotions) {
    for (const MoveCase& test : kPromotionCases)
        expectCase(test);
}

constexpr MoveCase kCastlingChecks[] = {
    {"short, nobody on the file", "k7/8/8/8/8/8/8/4K2R w K - 0 1", kCastlesShort, true, false},
    {"short, on the rook's new file", "5k2/8/8/8/8/8/8/4K2R w K - 0 1", kCastlesShort, true, true},
    {"short, on the king's new file", "6k1/8/8/8/8/8/8/4K2R w K - 0 1", kCastlesShort, true, false},
    {"short, the file shut", "5k2/5p2/8/8/8/8/8/4K2R w K - 0 1", kCastlesShort, true, false},
    {"short, along the rank that the king left", "8/8/8/8/8/8/8/2k1K2R w K - 0 1", kCastlesShort,
     true, true},
    {"short, the rank shut", "8/8/8/8/8/8/8/1kN1K2R w K - 0 1", kCastlesShort, true, false},
    {"long, on the rook's new file", "3k4/8/8/8/8/8/8/R3K3 w Q - 0 1", kCastlesLong, true, true},
    {"long, on the king's new file", "2k5/8/8/8/8/8/8/R3K3 w Q - 0 1", kCastlesLong, true, false},
    {"long, along the rank that the king left", "8/8/8/8/8/8/8/R3K1k1 w Q - 0 1", kCastlesLong,
     true, true},
    {"long, past an attacked knight's square", "1r2k3/8/8/8/8/8/8/R3K3 w Q - 0 1", kCastlesLong,
     true, false},
    {"Black, short", "4k2r/8/8/8/8/8/8/5K2 b k - 0 1", moveOf("e8g8", FlagCastleKing), true, true},
    {"Black, long", "r3k3/8/8/8/8/8/8/3K4 b q - 0 1", moveOf("e8c8", FlagCastleQueen), true, true},
};

TEST(MoveTests, KnowCastling) {
    for (const MoveCase& test : kCastlingChecks)
        expectCase(test);
}

constexpr MoveCase kCheckCases[] = {
    {"a knight", "4k3/8/8/8/4N3/8/8/K7 w - - 0 1", moveOf("e4d6"), true, true},
    {"a bishop takes", "4k3/8/2p5/8/4B3/8/8/K7 w - - 0 1", capture("e4c6"), true, true},
    {"a rook behind a piece", "4k3/4p3/8/8/8/8/8/K4R2 w - - 0 1", moveOf("f1e1"), true, false},
    {"a queen on the diagonal", "4k3/8/8/8/8/8/8/K4Q2 w - - 0 1", moveOf("f1b5"), true, true},
    {"a queen on the file", "4k3/8/8/8/8/8/8/K4Q2 w - - 0 1", moveOf("f1e1"), true, true},
    {"a pawn", "4k3/8/3P4/8/8/8/8/K7 w - - 0 1", moveOf("d6d7"), true, true},
    {"a pawn takes", "4k3/3p4/4P3/8/8/8/8/K7 w - - 0 1", capture("e6d7"), true, true},
    {"a pawn in front of the king", "4k3/8/4P3/8/8/8/8/K7 w - - 0 1", moveOf("e6e7"), true, false},
    {"a double push", "8/8/8/3k4/8/8/4P3/K7 w - - 0 1", moveOf("e2e4", FlagDoublePush), true, true},
    {"a capture opens the file", "4k3/8/8/3p4/4P3/8/8/K3R3 w - - 0 1", capture("e4d5"), true, true},
    {"a push stays on the file", "4k3/8/8/8/4P3/8/8/K3R3 w - - 0 1", moveOf("e4e5"), true, false},
    {"the king opens the file", "4k3/8/8/8/4K3/8/8/4R3 w - - 0 1", moveOf("e4d4"), true, true},
    {"the king stays on the file", "4k3/8/8/8/4K3/8/8/4R3 w - - 0 1", moveOf("e4e5"), true, false},
    {"the king opens the diagonal", "7k/8/8/8/3K4/8/1B6/8 w - - 0 1", moveOf("d4d5"), true, true},
    {"an enemy between opens nothing", "4k3/4p3/8/8/4N3/8/8/K3R3 w - - 0 1", moveOf("e4c3"), true,
     false},
    {"the king attacks the king", "8/8/4k3/8/4K3/8/8/8 w - - 0 1", moveOf("e4e5"), false, true},
    {"a knight opens a line and checks", "4k3/8/8/8/4N3/8/8/K3R3 w - - 0 1", moveOf("e4f6"), true,
     true},
};

TEST(MoveTests, KnowDirectAndDiscoveredChecks) {
    for (const MoveCase& test : kCheckCases)
        expectCase(test);
}

// --- every move of many positions ---

enum Kind {
    PinnedAlongTheLine,
    PinnedOffTheLine,
    CheckerTaken,
    CheckBlocked,
    CheckLeftAlone,
    DoubleCheckLeftAlone,
    TripleCheckLeftAlone,
    KingAlongTheCheck,
    EnPassantLegal,
    EnPassantTakesChecker,
    EnPassantBlocks,
    EnPassantLeavesCheck,
    EnPassantOpensRank,
    EnPassantOpensFile,
    EnPassantOpensDiagonal,
    EnPassantChecksDirectly,
    EnPassantDiscovers,
    PromotionChecksDirectly,
    PromotionChecksThroughOrigin,
    PromotionDiscovers,
    CastlingChecks,
    CastlingWithoutCheck,
    CheckDirect,
    CheckDiscovered,
    CheckByBoth,
    CheckDiscoveredByKing,
    CheckByKing,
    IllegalCheck,
    KindCount
};

constexpr const char* kKindNames[] = {"pinned, along the line",
                                      "pinned, off the line",
                                      "checker taken",
                                      "check blocked",
                                      "check left alone",
                                      "double check left alone",
                                      "triple check left alone",
                                      "king along the line of the check",
                                      "en passant, legal",
                                      "en passant takes the checker",
                                      "en passant blocks a check",
                                      "en passant leaves a check",
                                      "en passant opens a rank",
                                      "en passant opens a file",
                                      "en passant opens a diagonal",
                                      "en passant checks directly",
                                      "en passant discovers a check",
                                      "promotion checks directly",
                                      "promotion checks through its origin",
                                      "promotion discovers a check",
                                      "castling checks",
                                      "castling without check",
                                      "direct check",
                                      "discovered check",
                                      "direct and discovered check",
                                      "check discovered by the king",
                                      "check by the king",
                                      "illegal move with check"};
static_assert(std::size(kKindNames) == KindCount);

/// What walking the rays tells of one move. The squares of the checkers are those after the move.
struct Walked {
    Bitboard ownCheckersBefore;
    Bitboard ownCheckers;
    Bitboard enemyCheckers;

    bool legal() const { return ownCheckers == 0; }
    bool check() const { return enemyCheckers != 0; }
};

/// Asks both tests about every move, compares them with making it, and counts the kinds of moves:
/// agreement about moves that never came by would mean nothing.
class Comparison {
  public:
    void visit(Board& board) {
        const Bitboard checkers = checkersByWalking(board, board.sideToMove);
        const LegalityInfo legality(board, checkers != 0);
        const CheckInfo checks(board);
        for (const Move m : movesOf(board)) {
            const Walked walked = walk(board, m, checkers);
            count(board, m, walked);
            ASSERT_EQ(legality.isLegal(m), walked.legal()) << board.fen() << ' ' << describe(m);
            ASSERT_EQ(checks.givesCheck(m), walked.check()) << board.fen() << ' ' << describe(m);
        }
    }

    void expectSeen(Kind kind, int least) const {
        EXPECT_GE(seen_[kind], least) << "too few to mean anything: " << kKindNames[kind];
    }

  private:
    static Walked walk(Board& board, Move m, Bitboard checkersBefore) {
        const Color us = board.sideToMove;
        board.makeMove(m);
        const Walked walked{checkersBefore, checkersByWalking(board, us),
                            checkersByWalking(board, ~us)};
        board.unmakeMove(m);
        return walked;
    }

    void count(const Board& board, Move m, const Walked& walked) {
        if (board.mailbox[fromSquare(m)] == King)
            countKing(board, m, walked);
        else if (isEnPassant(m))
            countEnPassant(board, m, walked);
        else if (walked.ownCheckersBefore)
            countEvasion(m, walked);
        else
            countPinned(board, m, walked);
        countChecks(board, m, walked);
        if (isPromotion(m) && walked.check())
            countPromotionCheck(board, m, walked);
    }

    void countKing(const Board& board, Move m, const Walked& walked) {
        if (isCastling(m)) {
            ++seen_[walked.check() ? CastlingChecks : CastlingWithoutCheck];
            return;
        }
        const Color them = ~board.sideToMove;
        const Bitboard attackers = attackersByWalking(board, toSquare(m), board.occupied);
        if (!walked.legal() && !(attackers & board.colorBB[them]))
            ++seen_[KingAlongTheCheck];
        const bool near = chebyshev(toSquare(m), board.kingSquare(them)) == 1;
        seen_[CheckByKing] += near;
        seen_[CheckDiscoveredByKing] += walked.check() && !near;
    }

    void countEvasion(Move m, const Walked& walked) {
        const int checkers = popcount(walked.ownCheckersBefore);
        if (walked.legal())
            ++seen_[walked.ownCheckersBefore & bit(toSquare(m)) ? CheckerTaken : CheckBlocked];
        else if (checkers == 1)
            ++seen_[CheckLeftAlone];
        else
            ++seen_[checkers == 2 ? DoubleCheckLeftAlone : TripleCheckLeftAlone];
    }

    void countPinned(const Board& board, Move m, const Walked& walked) {
        const Bitboard without = board.occupied ^ bit(fromSquare(m));
        if (checkersByWalking(board, board.sideToMove, without))
            ++seen_[walked.legal() ? PinnedAlongTheLine : PinnedOffTheLine];
    }

    void countEnPassant(const Board& board, Move m, const Walked& walked) {
        const Square king = board.kingSquare(board.sideToMove);
        if (walked.legal() && !walked.ownCheckersBefore)
            ++seen_[EnPassantLegal];
        else if (walked.legal())
            ++seen_[walked.ownCheckersBefore & bit(enPassantVictim(m)) ? EnPassantTakesChecker
                                                                       : EnPassantBlocks];
        else if (walked.ownCheckersBefore)
            ++seen_[EnPassantLeavesCheck];
        else if (rankOf(lowestSquare(walked.ownCheckers)) == rankOf(king))
            ++seen_[EnPassantOpensRank];
        else
            ++seen_[fileOf(lowestSquare(walked.ownCheckers)) == fileOf(king)
                        ? EnPassantOpensFile
                        : EnPassantOpensDiagonal];
        const bool direct = (walked.enemyCheckers & bit(toSquare(m))) != 0;
        seen_[EnPassantChecksDirectly] += direct;
        seen_[EnPassantDiscovers] += walked.check() && !direct;
    }

    void countChecks(const Board& board, Move m, const Walked& walked) {
        if (!walked.check())
            return;
        seen_[IllegalCheck] += !walked.legal();
        if (board.mailbox[fromSquare(m)] == King)
            return;
        const bool direct = (walked.enemyCheckers & bit(toSquare(m))) != 0;
        if (moreThanOne(walked.enemyCheckers))
            ++seen_[CheckByBoth];
        else
            ++seen_[direct ? CheckDirect : CheckDiscovered];
    }

    void countPromotionCheck(const Board& board, Move m, const Walked& walked) {
        const Color us = board.sideToMove;
        const Square to = toSquare(m);
        if (!(walked.enemyCheckers & bit(to)))
            ++seen_[PromotionDiscovers];
        else
            ++seen_[BoardChecks::attacksByWalking(us, promotedPiece(m), to, board.kingSquare(~us),
                                                  board.occupied)
                        ? PromotionChecksDirectly
                        : PromotionChecksThroughOrigin];
    }

    int seen_[KindCount] = {};
};

TEST(MoveTests, AgreeWithMakingTheMoveInTheTestPositions) {
    Comparison comparison;
    for (const std::string& fen : Positions::readAll()) {
        Board board = boardOf(fen);
        ASSERT_NO_FATAL_FAILURE(comparison.visit(board));
    }
    comparison.expectSeen(PinnedAlongTheLine, 50);
    comparison.expectSeen(PinnedOffTheLine, 100);
    comparison.expectSeen(CheckBlocked, 20);
    comparison.expectSeen(CheckDirect, 500);
    comparison.expectSeen(CheckDiscovered, 30);
}

TEST(MoveTests, AgreeWithMakingTheMoveInRandomGames) {
    Comparison comparison;
    const std::vector<std::string> fens = Positions::readAll();
    for (std::size_t i = 0; i < fens.size(); i += kSampleDivisor) {
        Board board = boardOf(fens[i]);
        RandomGame::play(board, i, 60, [&](Board& reached) {
            if (!testing::Test::HasFatalFailure())
                comparison.visit(reached);
        });
        ASSERT_FALSE(testing::Test::HasFatalFailure());
    }
    for (const Kind kind :
         {PinnedAlongTheLine, PinnedOffTheLine, CheckerTaken, CheckBlocked, CheckLeftAlone,
          KingAlongTheCheck, EnPassantLegal, PromotionChecksDirectly, CheckDirect, CheckDiscovered,
          CheckDiscoveredByKing, CheckByKing, IllegalCheck})
        comparison.expectSeen(kind, 50 / kSampleDivisor);
}

/// Boards that no game reaches but a FEN may describe: any pieces anywhere in any number, often
/// with a king and rooks at home, often with a pawn that may just have been pushed two squares.
class WildBoards {
  public:
    explicit WildBoards(std::uint64_t seed) : random_(seed) {}

    /// The next board that is accepted.
    void next(Board& board) {
        while (!board.setFen(draw()))
            ;
    }

  private:
    std::size_t below(std::size_t limit) { return random_() % limit; }

    char& at(Square sq) { return letters_[static_cast<std::size_t>(sq)]; }

    void moveKing(bool white, Square to) {
        const char king = white ? 'K' : 'k';
        letters_[letters_.find(king)] = '1';
        at(to) = king;
    }

    std::string draw() {
        scatter();
        const bool white = below(2) == 0;
        if (below(3) == 0)
            putHome(white);
        const std::string ep = below(3) != 0 ? putEnPassant(white) : "-";
        return placement() + (white ? " w KQkq " : " b KQkq ") + ep;
    }

    /// Mostly thinly set boards: on full ones hardly a line is open. Kings come last, so that no
    /// piece takes their place.
    void scatter() {
        constexpr std::string_view kMixtures[] = {"PPNBRQppnbrq", "PPPPPQppnbrq", "QQQQQQqqqqqq"};
        const std::string_view pieces = kMixtures[below(std::size(kMixtures))];
        const std::size_t density = 1 + below(below(8) + 1);
        for (Square sq = 0; sq < 64; ++sq) {
            const char letter = pieces[below(pieces.size())];
            const bool misplaced = (letter == 'P' || letter == 'p') && (sq < 8 || sq > 55);
            at(sq) = below(8) < density && !misplaced ? letter : '1';
        }
        const auto king = static_cast<Square>(below(64));
        at(king) = 'K';
        at((king + 1 + static_cast<Square>(below(63))) & 63) = 'k';
    }

    /// King and rooks of one side on their squares and nothing between them, unless the other king.
    void putHome(bool white) {
        moveKing(white, white ? E1 : E8);
        const std::string_view rank = white ? "R111K11R" : "r111k11r";
        for (std::size_t file = 0; file < 8; ++file)
            if (char& letter = at(static_cast<Square>(file) + (white ? A1 : A8));
                letter != (white ? 'k' : 'K'))
                letter = rank[file];
    }

    /// A pawn of the side that waits, beside one of the side to move, and empty squares behind it;
    /// now and then the king on their rank. A pawn may land on a king: such a board is refused.
    std::string putEnPassant(bool white) {
        if (below(4) == 0)
            moveKing(white, makeSquare(static_cast<int>(below(8)), white ? 4 : 3));
        const int file = static_cast<int>(below(8));
        const int beside = file == 0 || (file != 7 && below(2) == 0) ? file + 1 : file - 1;
        at(makeSquare(file, white ? 4 : 3)) = white ? 'p' : 'P';
        at(makeSquare(beside, white ? 4 : 3)) = white ? 'P' : 'p';
        at(makeSquare(file, white ? 5 : 2)) = '1';
        at(makeSquare(file, white ? 6 : 1)) = '1';
        return {static_cast<char>('a' + file), white ? '6' : '3'};
    }

    std::string placement() const {
        std::string text;
        for (std::size_t rank = 8; rank-- > 0;)
            text += letters_.substr(8 * rank, 8) + (rank ? "/" : "");
        return text;
    }

    std::mt19937_64 random_;
    std::string letters_ = std::string(64, '1');
};

TEST(MoveTests, AgreeWithMakingTheMoveOnBoardsThatNoGameReaches) {
    Comparison comparison;
    WildBoards boards(1);
    Board board{};
    for (int i = 0; i < 40000 / kSampleDivisor; ++i) {
        boards.next(board);
        ASSERT_NO_FATAL_FAILURE(comparison.visit(board));
    }
    for (int kind = 0; kind < KindCount; ++kind)
        comparison.expectSeen(static_cast<Kind>(kind), 40 / kSampleDivisor);
}

// --- lines and blockers ---

/// A piece is a sole blocker if without it one more slider attacks the square.
Bitboard soleBlockersByWalking(const Board& board, Square sq, Color by) {
    const Bitboard before = attackersByWalking(board, sq, board.occupied);
    Bitboard blockers = 0;
    for (Bitboard pieces = board.occupied & ~bit(sq); pieces;) {
        const Bitboard piece = bit(popLowest(pieces));
        const Bitboard after = attackersByWalking(board, sq, board.occupied ^ piece);
        if (after & ~before & board.colorBB[by])
            blockers |= piece;
    }
    return blockers;
}

void expectSoleBlockers(const Board& board, int& found) {
    for (Square sq = 0; sq < 64; ++sq)
        for (const Color by : {White, Black}) {
            const Bitboard blockers = soleBlockersByWalking(board, sq, by);
            ASSERT_EQ(soleBlockers(board, sq, by), blockers) << board.fen() << ' ' << sq;
            found += popcount(blockers);
        }
}

TEST(SoleBlockers, ArePiecesWithoutWhichASliderAttacksTheSquare) {
    int found = 0;
    const std::vector<std::string> fens = Positions::readAll();
    for (std::size_t i = 0; i < fens.size(); i += kSampleDivisor)
        ASSERT_NO_FATAL_FAILURE(expectSoleBlockers(boardOf(fens[i]), found));
    WildBoards boards(2);
    Board board{};
    for (int i = 0; i < 100 / kSampleDivisor; ++i) {
        boards.next(board);
        ASSERT_NO_FATAL_FAILURE(expectSoleBlockers(board, found));
    }
    EXPECT_GT(found, 1000);
}

/// Steps of -1, 0 or 1 that lead from one square towards the other; both 0 if they share no line.
struct Direction {
    int files = 0;
    int ranks = 0;

    bool operator==(const Direction&) const = default;
};

Direction directionOf(Square from, Square to) {
    const int files = fileOf(to) - fileOf(from);
    const int ranks = rankOf(to) - rankOf(from);
    if (files != 0 && ranks != 0 && std::abs(files) != std::abs(ranks))
        return {};
    return {(files > 0) - (files < 0), (ranks > 0) - (ranks < 0)};
}

TEST(StaysOnLine, IsWhetherBothSquaresLieInTheSameDirection) {
    for (Square end = 0; end < 64; ++end)
        for (Square from = 0; from < 64; ++from)
            for (Square to = 0; to < 64; ++to) {
                const Direction direction = directionOf(end, from);
                const bool same = direction != Direction{} && direction == directionOf(end, to);
                if (from == to)
                    continue;
                ASSERT_EQ(staysOnLine(end, from, to), same) << end << ' ' << from << ' ' << to;
            }
}

} // namespace
