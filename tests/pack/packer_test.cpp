#include "pack/packer.h"

#include "built_in.h"
#include "pack/pieces.h"
#include "support/temp_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>

namespace {

using Pack::packAll;

/// The text that `giveText` gives, and how much of it at a time.
std::string gText;
std::size_t gGiven = 0;
std::size_t gAtOnce = 0;

std::optional<std::size_t> giveText(std::span<char> space) {
    const std::size_t count = std::min({space.size(), gAtOnce, gText.size() - gGiven});
    std::copy_n(gText.begin() + static_cast<std::ptrdiff_t>(gGiven), count, space.begin());
    gGiven += count;
    return count;
}

std::optional<std::size_t> giveNothing(std::span<char>) {
    return std::nullopt;
}

/// Lines of made-up games, so many bytes at least.
std::string linesOf(std::size_t bytes) {
    const char* const positions[] = {
        "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR", "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8",
        "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R", "6k1/5ppp/8/8/8/8/5PPP/R5K1"};
    std::string text;
    for (std::size_t i = 0; text.size() < bytes; ++i)
        text += std::string(positions[i * i % 7 % 4]) + (i % 2 ? " b" : " w") + " - - " +
                std::to_string(i % 50) + " " + std::to_string(i % 78 / 2 + 1) +
                (i / 78 % 3 ? " [1.0]" : " [0.5]") + " [" + std::to_string(i % 400) + "]\n";
    return text;
}

class PackPacker : public testing::Test {
  protected:
    /// Packs a text; returns what is wrong.
    std::string pack(const std::string& text, std::size_t threads = 2,
                     std::size_t atOnce = 1 << 16) {
        gText = text;
        gGiven = 0;
        gAtOnce = atOnce;
        std::filesystem::remove(out_);
        return packAll(giveText, out_, BuiltIn::reader(), threads, totals_);
    }

    void expectNoFile() { EXPECT_FALSE(std::filesystem::exists(out_)); }

    TempFiles::Folder folder_;
    std::string out_ = folder_.pathOf("out");
    Pack::Totals totals_;
};

TEST_F(PackPacker, TheBytesDependOnTheTextAlone) {
    const std::string text = linesOf(5 * Pack::Piece::kBytes);
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    ASSERT_EQ(pack(text, 1), "");
    EXPECT_EQ(totals_.rows, lines);
    EXPECT_EQ(totals_.games, (lines + 77) / 78);
    EXPECT_TRUE(totals_.scores);
    const std::string bytes = TempFiles::read(out_);
    EXPECT_EQ(totals_.bytes, bytes.size());
    for (const auto& [threads, atOnce] : {std::pair(2U, 1U << 30), {3U, 4097U}, {16U, 1U << 16}}) {
        ASSERT_EQ(pack(text, threads, atOnce), "");
        EXPECT_TRUE(TempFiles::read(out_) == bytes) << threads;
    }
}

TEST_F(PackPacker, TextsOfAllSizesAroundAPiece) {
    const std::string line = "4k3/8/8/8/8/8/4P3/4K3 w - - 0 5 [1.0]\n";
    const std::size_t lines = Pack::Piece::kBytes / line.size();
    for (std::size_t count = lines - 1; count <= lines + 2; ++count) {
        std::string text;
        for (std::size_t i = 0; i < count; ++i)
            text += line;
        ASSERT_EQ(pack(text), "");
        EXPECT_EQ(totals_.rows, count);
    }
    std::string text(Pack::Piece::kBytes - line.size(), '0'); // a last line that fills a piece
    text = "4k3/8/8/8/8/8/4P3/4K3 w - - " + text.substr(33) + "0 5 [1.0]\n" + line;
    EXPECT_TRUE(pack(text).starts_with("line 1 has no position"));
}

TEST_F(PackPacker, NamesTheFirstBadLine) {
    std::string text = linesOf(3 * Pack::Piece::kBytes);
    const auto number = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    text += "Морване\tno line\n" + linesOf(2 * Pack::Piece::kBytes) + "\n";
    for (const std::size_t threads : {1U, 2U, 5U}) {
        EXPECT_EQ(pack(text, threads), "line " + std::to_string(number) +
                                           " is not a line of morvane datagen: "
                                           "???????????????no line");
        expectNoFile();
    }
}

TEST_F(PackPacker, RefusesWhatIsNoData) {
    const std::string good = "4k3/8/8/8/8/8/4P3/4K3 w - - 0 5 [1.0]\n";
    EXPECT_EQ(pack(""), "no positions came in");
    EXPECT_EQ(pack("\n"), "line 1 is not a line of morvane datagen: ");
    EXPECT_EQ(pack(good + "\n" + good), "line 2 is not a line of morvane datagen: ");
    EXPECT_EQ(pack(good + good.substr(0, good.size() - 1)),
              "line 2 is not a line of morvane datagen: 4k3/8/8/8/8/8/4P3/4K3 w - - 0 5 [1.0]");
    EXPECT_EQ(pack(good + std::string(100, 'x')),
              "line 2 is not a line of morvane datagen: " + std::string(80, 'x'));
    EXPECT_EQ(pack(good + std::string(3 * Pack::Piece::kBytes, 'y') + "\n" + good),
              "line 2 is not a line of morvane datagen: " + std::string(80, 'y'));
    EXPECT_EQ(pack("4k3/8/8/8/8/8/4P3/4K2k w - - 0 5 [1.0]\n"),
              "line 1 has no position that can be played: 4k3/8/8/8/8/8/4P3/4K2k w - - 0 5 [1.0]");
    EXPECT_EQ(pack("4k3/8/8/8/8/8/4P3/4K3 w - - 0 5 [1.0] [40000]\n"),
              "line 1 has a number that does not fit into a row: "
              "4k3/8/8/8/8/8/4P3/4K3 w - - 0 5 [1.0] [40000]");
    expectNoFile();
}

TEST_F(PackPacker, TellsOtherWeightsThanTheEngines) {
    std::array<int, Tune::NPARAMS> values{};
    Tune::initValues(values.data());
    values[0] += 24;
    const auto reader = std::make_unique<Pack::EntryReader>(values);
    gText = "4k3/4p3/8/8/8/8/4P3/4K3 w - - 0 5 [1.0]\nrnbqkbnr/ppp1pppp/8/8/8/8/PPPPPPPP/RNBQKBNR w"
            " KQkq - 0 1 [0.5]\n";
    gGiven = 0;
    gAtOnce = 100;
    EXPECT_EQ(packAll(giveText, out_, *reader, 2, totals_),
              "line 2 has a row that gives another value than the evaluation, by these weights: "
              "rnbqkbnr/ppp1pppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1 [0.5]");
    expectNoFile();
}

TEST_F(PackPacker, AnInputThatFails) {
    EXPECT_EQ(packAll(giveNothing, out_, BuiltIn::reader(), 2, totals_),
              "standard input cannot be read");
    expectNoFile();
}

TEST_F(PackPacker, AFileThatExistsStays) {
    const std::string there = folder_.write("there", "mine");
    EXPECT_EQ(packAll(giveText, there, BuiltIn::reader(), 2, totals_),
              there + ": exists, or cannot be created");
    EXPECT_EQ(TempFiles::read(there), "mine");
}

TEST_F(PackPacker, AFullDisk) {
    const std::string text = linesOf(8 * Pack::Piece::kBytes);
    for (const std::size_t room : {0U, 15U, 1000U, 3000000U}) {
        const TempFiles::SizeLimit limit(room);
        std::signal(SIGXFSZ, SIG_IGN); // as Output::init has it
        const std::string fault = pack(text);
        EXPECT_TRUE(fault == out_ + ": cannot be written whole" ||
                    fault == out_ + ": exists, or cannot be created")
            << fault;
        expectNoFile();
    }
}

} // namespace
