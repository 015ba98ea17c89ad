#include "board/zobrist.h"

#include "support/notation.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using namespace Notation;

constexpr std::uint64_t kMultiplier = 0x2545F4914F6CDD1DULL;

/// The generator's state, so that the stated states can be checked and not only the keys.
struct Stream {
    std::uint64_t state = 0x123456789ABCDEF0ULL;

    std::uint64_t draw() {
        state ^= state >> 12;
        state ^= state << 25;
        state ^= state >> 27;
        return state * kMultiplier;
    }
};

TEST(Zobrist, KeysAfterTheFirstTwoRowsComeFromTheStatedGeneratorStates) {
    EXPECT_EQ(Zobrist::pieceSquare[White][Pawn][63], 0xB23C387EDC4DB2EAULL * kMultiplier);
    EXPECT_EQ(Zobrist::pieceSquare[White][Knight][63], 0xA15648A1D2C0C2F8ULL * kMultiplier);
}

TEST(Zobrist, KeysAreDrawnInTheStatedOrder) {
    Stream stream;
    for (const Color c : {White, Black})
        for (int piece = Pawn; piece <= King; ++piece)
            for (Square sq = 0; sq < 64; ++sq)
                ASSERT_EQ(Zobrist::pieceSquare[c][piece][sq], stream.draw())
                    << c << ' ' << piece << ' ' << sq;
    EXPECT_EQ(Zobrist::sideToMove, stream.draw());
    for (const std::uint64_t key : Zobrist::castling)
        EXPECT_EQ(key, stream.draw());
    for (const std::uint64_t key : Zobrist::enPassant)
        EXPECT_EQ(key, stream.draw());
}

TEST(Zobrist, KeysAre793DifferentNumbersAndNoneIsZero) {
    std::set<std::uint64_t> keys{0, Zobrist::sideToMove};
    for (const auto& pieces : Zobrist::pieceSquare)
        for (const auto& squares : pieces)
            keys.insert(std::begin(squares), std::end(squares));
    keys.insert(std::begin(Zobrist::castling), std::end(Zobrist::castling));
    keys.insert(std::begin(Zobrist::enPassant), std::end(Zobrist::enPassant));
    EXPECT_EQ(keys.size(), 1u + 793u);
}

TEST(Zobrist, FillingTheTablesAgainChangesNothing) {
    const std::uint64_t first = Zobrist::pieceSquare[White][Pawn][0];
    const std::uint64_t last = Zobrist::enPassant[7];
    Zobrist::init();
    EXPECT_EQ(Zobrist::pieceSquare[White][Pawn][0], first);
    EXPECT_EQ(Zobrist::enPassant[7], last);
}

// --- keys of positions ---

TEST(PositionKey, IsTheSameInEveryRun) {
    EXPECT_EQ(boardOf(kStartFen).key, 0x5DA8D4FDBDF1A754ULL);
    EXPECT_EQ(boardOf(kStartFen).pawnKey, 0x56688DD75EB0E2AAULL);
    const Board afterE4 = boardOf("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1");
    EXPECT_EQ(afterE4.key, 0x2D857D36B7003A68ULL);
    EXPECT_EQ(afterE4.pawnKey, 0xE11E0EFDD5F862E1ULL);
}

TEST(PositionKey, OfTheSameFenIsTheSame) {
    EXPECT_EQ(boardOf("4k3/8/8/3pP3/8/8/8/4K2R w K d6 3 9").key,
              boardOf("4k3/8/8/3pP3/8/8/8/4K2R w K d6 3 9").key);
}

TEST(PositionKey, DoesNotHoldTheCounters) {
    EXPECT_EQ(boardOf("4k3/8/8/8/8/8/8/4K3 w - - 0 1").key,
              boardOf("4k3/8/8/8/8/8/8/4K3 w - - 37 60").key);
}

TEST(PositionKey, HoldsTheKeyOfNoCastlingRights) {
    const Board board = boardOf("4k3/8/8/8/8/8/8/4K3 w - - 0 1");
    const std::uint64_t kings =
        Zobrist::pieceSquare[White][King][E1] ^ Zobrist::pieceSquare[Black][King][E8];
    EXPECT_NE(board.key, kings);
    EXPECT_EQ(board.key, kings ^ Zobrist::castling[0]);
}

TEST(PositionKey, HoldsTheSideToMoveOnlyForBlack) {
    EXPECT_EQ(boardOf("4k3/8/8/8/8/8/8/4K3 w - - 0 1").key ^
                  boardOf("4k3/8/8/8/8/8/8/4K3 b - - 0 1").key,
              Zobrist::sideToMove);
}

TEST(PositionKey, HoldsTheWholeSetOfCastlingRights) {
    const std::uint64_t none = boardOf("r3k2r/8/8/8/8/8/8/R3K2R w - - 0 1").key;
    const auto with = [](const char* rights) {
        return boardOf(std::string("r3k2r/8/8/8/8/8/8/R3K2R w ") + rights + " - 0 1").key;
    };
    EXPECT_EQ(none ^ with("K"), Zobrist::castling[0] ^ Zobrist::castling[1]);
    EXPECT_EQ(none ^ with("Q"), Zobrist::castling[0] ^ Zobrist::castling[2]);
    EXPECT_EQ(none ^ with("k"), Zobrist::castling[0] ^ Zobrist::castling[4]);
    EXPECT_EQ(none ^ with("q"), Zobrist::castling[0] ^ Zobrist::castling[8]);
    EXPECT_EQ(none ^ with("KQkq"), Zobrist::castling[0] ^ Zobrist::castling[15]);
}

TEST(PositionKey, HoldsTheFileOfTheEnPassantSquare) {
    EXPECT_EQ(boardOf("4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1").key ^
                  boardOf("4k3/8/8/3pP3/8/8/8/4K3 w - - 0 1").key,
              Zobrist::enPassant[3]);
    EXPECT_EQ(boardOf("4k3/8/8/8/7P/8/8/4K3 b - h3 0 1").key ^
                  boardOf("4k3/8/8/8/7P/8/8/4K3 b - - 0 1").key,
              Zobrist::enPassant[7]);
}

TEST(PawnKey, OfAPositionWithoutPawnsIsZero) {
    const Board board = boardOf("r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 0 1");
    EXPECT_EQ(board.pawnKey, 0u);
    EXPECT_EQ(board.computePawnKey(), 0u);
}

TEST(PawnKey, HoldsThePawnsOfBothSidesAndNothingElse) {
    const std::uint64_t pawns = Zobrist::pieceSquare[White][Pawn][squareAt("a2")] ^
                                Zobrist::pieceSquare[Black][Pawn][squareAt("g5")];
    for (const char* fen : {"4k3/8/8/6p1/8/8/P7/4K3 w - - 0 1", "4k3/8/8/6p1/8/8/P7/4K3 w - g6 0 1",
                            "r3k3/8/8/6p1/8/5N2/P7/3K4 b q - 0 1"}) {
        EXPECT_EQ(boardOf(fen).pawnKey, pawns) << fen;
        EXPECT_EQ(boardOf(fen).computePawnKey(), pawns) << fen;
    }
}

} // namespace
