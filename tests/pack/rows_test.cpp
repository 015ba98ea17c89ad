#include "pack/rows.h"

#include "built_in.h"
#include "eval/evaluate.h"
#include "eval/sampling.h"
#include "naive_rows.h"
#include "support/positions.h"
#include "support/random_game.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>

namespace {

using Pack::Fault;

/// Packs lines one after another, as from one file.
class PackRows : public testing::Test {
  protected:
    Fault add(const std::string& line) { return packer_.add(line, last_, rows_); }

    Pack::Rows rows_;
    Pack::Place last_;
    Pack::RowPacker packer_{BuiltIn::reader()};
};

/// Compares the last row with what the engine says of its position.
void expectRow(const Pack::Rows& rows, const Board& board) {
    auto trace = std::make_unique<Tune::Trace>();
    Tune::extract(board, *trace);
    const int value = evaluate(board);
    ASSERT_EQ(rows.value.back(), board.sideToMove == White ? value : -value) << board.fen();
    ASSERT_EQ(rows.baseMg.back(), trace->mgBase);
    ASSERT_EQ(rows.baseEg.back(), trace->egBase);
    ASSERT_EQ(rows.phase.back(), trace->phase);
    ASSERT_EQ(rows.scale.back(), trace->egScale);
    ASSERT_EQ(rows.clock.back(), board.halfmoveClock);
    ASSERT_EQ((rows.flags.back() & Pack::kWhiteToMove) != 0, board.sideToMove == White);
    const Naive::Counts counts = Naive::countsOf(std::span(rows.entries).last(rows.length.back()));
    for (const auto& [weight, count] : counts.mg)
        trace->mg[weight] -= count;
    for (const auto& [weight, count] : counts.eg)
        trace->eg[weight] -= count;
    ASSERT_EQ(std::ranges::count(trace->mg, 0), Tune::NPARAMS) << board.fen();
    ASSERT_EQ(std::ranges::count(trace->eg, 0), Tune::NPARAMS) << board.fen();
}

TEST_F(PackRows, GiveWhatTheEngineSays) {
    std::size_t rows = 0;
    const auto check = [&](const Board& board) {
        if (std::abs(evaluate(board)) > 30000)
            return;
        ASSERT_EQ(add(board.fen() + " [0.5]"), Fault::None) << board.fen();
        ASSERT_EQ(rows_.size(), ++rows);
        expectRow(rows_, board);
    };
    auto board = std::make_unique<Board>();
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        ASSERT_TRUE(board->setFen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"));
        RandomGame::play(*board, seed, 200, check);
    }
    for (const std::string& fen : Positions::readAll()) {
        ASSERT_TRUE(board->setFen(fen));
        check(*board);
    }
    Sampling::visitWild(3, 2000, check);
    EXPECT_GT(rows, 4000U);
    EXPECT_EQ(rows_.flags.size(), rows);
    EXPECT_EQ(rows_.length.size(), rows);
}

/// What the walk counts together is told in the table of cells.
TEST_F(PackRows, NeedNoCellsOfSingleWeights) {
    auto board = std::make_unique<Board>();
    ASSERT_TRUE(board->setFen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"));
    RandomGame::play(*board, 7, 300, [&](const Board& b) { add(b.fen() + " [1.0]"); });
    ASSERT_GT(rows_.size(), 200U);
    std::size_t first = 0;
    for (const std::uint16_t length : rows_.length) {
        for (const auto& use : Naive::usesOf(std::span(rows_.entries).subspan(first, length)))
            EXPECT_LT(use.first, Pack::kTogetherCells);
        first += length;
    }
}

TEST_F(PackRows, ResultsAndScores) {
    ASSERT_EQ(add("4k3/8/8/8/8/8/4P3/4K3 w - - 0 5 [1.0] [-32767]"), Fault::None);
    ASSERT_EQ(add("4k3/8/8/8/8/8/4P3/4K3 b - - 7 5 [0.5] [32767]"), Fault::None);
    ASSERT_EQ(add("4k3/8/8/8/8/8/4P3/4K3 w - - 200 5 [0.0]"), Fault::None);
    EXPECT_EQ(rows_.score, (std::vector<std::int16_t>{-32767, 32767, Pack::kNoScore}));
    EXPECT_EQ(rows_.clock, (std::vector<std::uint8_t>{0, 7, 100}));
    EXPECT_EQ(rows_.flags, (std::vector<std::uint8_t>{8 | 4 | 2, 8 | 1, 8 | 4 | 0}));
}

TEST_F(PackRows, GamesBeginWhereTheResultChangesOrThePliesDoNotGoOn) {
    const auto line = [](const char* mover, int number, const char* result) {
        return std::string("4k3/8/8/8/8/8/4P3/4K3 ") + mover + " - - 0 " + std::to_string(number) +
               " [" + result + "]";
    };
    const std::pair<std::string, bool> lines[] = {
        {line("w", 5, "1.0"), true},   {line("b", 5, "1.0"), false}, {line("b", 9, "1.0"), false},
        {line("b", 9, "1.0"), true},   {line("w", 9, "1.0"), true},  {line("w", 10, "0.0"), true},
        {line("b", 10, "0.0"), false}, {line("w", 10, "0.0"), true}, {line("w", 0, "0.0"), true},
        {line("b", 0, "0.0"), false}};
    for (const auto& [text, isFirst] : lines) {
        ASSERT_EQ(add(text), Fault::None);
        EXPECT_EQ((rows_.flags.back() & Pack::kFirstOfGame) != 0, isFirst) << text;
    }
}

TEST_F(PackRows, LinesWithoutARow) {
    EXPECT_EQ(add("4k3/8/8/8/8/8/4P3/4K3 w - - 0 5"), Fault::NoLine);
    EXPECT_EQ(add(""), Fault::NoLine);
    EXPECT_EQ(add("4k3/8/8/8/8/8/4P3/4K3 w - - 0 5 [1.0] [3000000000]"), Fault::NoLine);
    EXPECT_EQ(add("4k3/8/8/8/8/8/4P3/8 w - - 0 5 [1.0]"), Fault::NoPosition);
    EXPECT_EQ(add("4k3/4R3/8/8/8/8/8/4K3 w - - 0 5 [1.0]"), Fault::NoPosition);
    EXPECT_EQ(add("4k3/8/8/8/8/8/4P3/4K3 w - - 0 1234567890 [1.0]"), Fault::NoPosition);
    EXPECT_EQ(add("4k3/8/8/8/8/8/4P3/4K3 w - - 0 5 [1.0] [32768]"), Fault::NoFit);
    EXPECT_EQ(add("4k3/8/8/8/8/8/4P3/4K3 w - - 0 5 [1.0] [-32768]"), Fault::NoFit);
    EXPECT_EQ(add("QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQK2Qk b - - 0 5"
                  " [1.0]"),
              Fault::NoFit);
    // A packer goes on as if nothing had been.
    EXPECT_EQ(add("4k3/8/8/8/8/8/4P3/4K3 w - - 0 5 [1.0]"), Fault::None);
}

TEST(PackRowsOfOtherWeights, AreFoundOut) {
    std::array<int, Tune::NPARAMS> weights = BuiltIn::weights();
    weights[1052] += 8; // in the end game; there a pawn passed on its second rank
    const auto reader = std::make_unique<Pack::EntryReader>(weights);
    Pack::RowPacker packer(*reader);
    Pack::Rows rows;
    Pack::Place last;
    EXPECT_EQ(packer.add("4k3/4p3/8/8/8/8/4P3/4K3 w - - 0 5 [1.0]", last, rows), Fault::None);
    EXPECT_EQ(packer.add("4k3/8/8/8/8/8/4P3/4K3 w - - 0 5 [1.0]", last, rows), Fault::OtherValue);
}

} // namespace
