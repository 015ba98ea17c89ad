#include "tools/tuneexport.h"

#include "base/files.h"
#include "helpers.h"
#include "support/notation.h"
#include "support/positions.h"
#include "support/temp_files.h"
#include "tools/tune.h"

#include <filesystem>
#include <string>
#include <vector>

using TempFiles::Folder;

namespace {

using namespace std::string_literals;

const std::string kKnightFen = "4k3/8/8/8/8/8/N7/4K3 w - - 0 1";
// Material, placement in both phases, three squares to go to (of no worth in the end game), the
// difference in placement. The lead in material: kings seven steps apart, Black's three from a
// corner.
const std::string kKnightFeatures = "1 8 0 65 6 1 1 0 6 0 1 122 1 1 525 1 0 534 0 1 766 0 1\n";

std::string summary(int valid, int invalid) {
    return "featureexport: " + std::to_string(valid) + " позицій, " + std::to_string(invalid) +
           " невалідних, 1082 параметрів\n";
}

class FeatureExport : public testing::Test {
  protected:
    Outcome<int> run(const std::string& from, const std::string& to) const {
        return caught([&] { return runFeatureExport(from, to); });
    }

    void expectFailure(const std::string& from, const std::string& to,
                       const std::string& message) const {
        const Outcome<int> found = run(from, to);
        EXPECT_EQ(found.result, 1);
        EXPECT_EQ(found.out, "");
        EXPECT_EQ(found.err, "featureexport: " + message + "\n");
    }

    /// The rows of a data file, which must have so many good and bad lines.
    std::string rowsOf(const std::string& data, int valid, int invalid) const {
        const Outcome<int> found = run(folder.write("data.txt", data), out);
        EXPECT_EQ(found.result, 0);
        EXPECT_EQ(found.out, "");
        EXPECT_EQ(found.err, summary(valid, invalid));
        return TempFiles::read(out);
    }

    const Folder folder;
    const std::string in = folder.pathOf("data.txt");
    const std::string out = folder.pathOf("rows.txt");
};

TEST_F(FeatureExport, TheStartPositionUsesNothing) {
    EXPECT_EQ(rowsOf(std::string(kStartFen) + " [0.5] [-23]\n", 1, 0), "0.5 24 64 0 0 0\n");
}

TEST_F(FeatureExport, ARowIsResultPhaseScaleBasesAndUses) {
    EXPECT_EQ(rowsOf(kKnightFen + " [1.0] [300]\n", 1, 0), "1 " + kKnightFeatures);
    // A pawn of Black's: material, placement, passed on its sixth rank, isolated. His king is far
    // from the square before it, White's four steps; the path is free.
    EXPECT_EQ(rowsOf("4k3/8/8/8/8/p7/8/4K3 b - - 10 40 [0.0] [-900]\n", 1, 0),
              "0 0 64 -30 -90 8 0 -1 0 5 0 -1 26 -1 0 410 0 -1 1048 -1 0 1056 0 -1 1059 -1 0 "
              "1060 0 -1\n");
}

TEST_F(FeatureExport, ResultsAreShortAndScoresLeftOut) {
    const std::string data = kKnightFen + " [1.0]\n" + kKnightFen + " [0.5] [5]\n" + kKnightFen +
                             " [0.0] [-2147483648]\n";
    EXPECT_EQ(rowsOf(data, 3, 0),
              "1 " + kKnightFeatures + "0.5 " + kKnightFeatures + "0 " + kKnightFeatures);
}

TEST_F(FeatureExport, TheLastLineNeedsNoEnd) {
    EXPECT_EQ(rowsOf(kKnightFen + " [1.0]", 1, 0), "1 " + kKnightFeatures);
    EXPECT_EQ(rowsOf(kKnightFen + " [1.0]\r", 1, 0), "1 " + kKnightFeatures);
}

TEST_F(FeatureExport, EmptyLinesAreNotCounted) {
    EXPECT_EQ(rowsOf("", 0, 0), "");
    EXPECT_EQ(rowsOf("\n\n\n", 0, 0), "");
    EXPECT_EQ(rowsOf("\n" + kKnightFen + " [1.0]\n\n", 1, 0), "1 " + kKnightFeatures);
}

TEST_F(FeatureExport, LinesThatCannotBeReadAreCountedAndLeftOut) {
    const std::string good = kKnightFen + " [1.0]\n";
    std::string data = good;
    int invalid = 0;
    for (const std::string& line : {
             " "s,
             "\r"s,
             "\0"s,
             "rubbish"s,
             kKnightFen,
             "[1.0]"s,
             " [1.0] [5]"s,
             kKnightFen + " [1]",
             kKnightFen + " [1.0] [x]",
             kKnightFen + " [1.0] [2147483648]",
             kKnightFen + " [1.0] [5] [6]",
             kKnightFen + " [1.0",
             kKnightFen + " [1.0] .",
             "rubbish [1.0] [5]"s,
             "4k3/8/8/8/8/8/N7/8 w - - 0 1 [1.0]"s, // no white king
             "4k3/8/8/8/8/8/N7/4K3 x - - 0 1 [1.0]"s,
             "4k3/8/8/8/8/8/N7/4K2 w - - 0 1 [1.0]"s,
             "4k3/8/8/8/8/8/4R3/4K3 w - - 0 1 [1.0]"s, // Black is in check
             "4k3/8/8/8/8/8/N7/4K\0 w - - 0 1 [1.0]"s,
         }) {
        data += line + "\n" + good; // what is bad must not spoil what follows
        ++invalid;
    }
    std::string rows;
    for (int i = 0; i <= invalid; ++i)
        rows += "1 " + kKnightFeatures;
    EXPECT_EQ(rowsOf(data, invalid + 1, invalid), rows);
}

TEST_F(FeatureExport, LinesWithoutAnEndDoNotFillTheMemory) {
    const std::string start = kKnightFen + " [1.0]";
    const auto padded = [&](std::size_t size) {
        return start + std::string(size - start.size(), ' ') + "\n";
    };
    constexpr std::size_t kLongest = Files::LineReader::kLongestLine;
    EXPECT_EQ(rowsOf(padded(kLongest), 1, 0), "1 " + kKnightFeatures);
    EXPECT_EQ(rowsOf(padded(kLongest + 1) + start, 1, 1), "1 " + kKnightFeatures);
}

// --- many rows ---

std::string rowOf(const std::string& fen, const std::string& result) {
    const Board board = Notation::boardOf(fen);
    Tune::Trace trace;
    Tune::extract(board, trace);
    int used = 0;
    std::string uses;
    for (int k = 0; k < Tune::NPARAMS; ++k)
        if (trace.mg[k] != 0 || trace.eg[k] != 0) {
            ++used;
            uses += " " + std::to_string(k) + " " + std::to_string(trace.mg[k]) + " " +
                    std::to_string(trace.eg[k]);
        }
    return result + " " + std::to_string(trace.phase) + " " + std::to_string(trace.egScale) + " " +
           std::to_string(trace.mgBase) + " " + std::to_string(trace.egBase) + " " +
           std::to_string(used) + uses + "\n";
}

class ManyRows : public FeatureExport {
  protected:
    /// Adds lines and rows until there are so many bytes of rows.
    void fill(std::size_t bytes) {
        const std::vector<std::string> fens = Positions::readAll();
        while (rows.size() < bytes) {
            const std::string& fen = fens[static_cast<std::size_t>(lines++) % fens.size()];
            data += fen + (lines % 3 ? " [0.0]\n" : " [0.5] [12]\n");
            rows += rowOf(fen, lines % 3 ? "0" : "0.5");
        }
    }

    int lines = 0;
    std::string data;
    std::string rows;
};

constexpr std::size_t kAtOnce = 262144; // bytes after which rows are written
constexpr std::size_t kSeveral = 1200000;

TEST_F(ManyRows, AllAreWritten) {
    fill(kSeveral);
    EXPECT_TRUE(rowsOf(data, lines, 0) == rows);
}

TEST_F(ManyRows, ADiskThatFillsUpHoldsWholeRows) {
    fill(kSeveral);
    folder.write("data.txt", data);
    for (const std::size_t limit : {400000U, 700000U, 1100000U}) {
        {
            const TempFiles::SizeLimit full(limit);
            expectFailure(in, out, "помилка запису: " + out + " — збережено лише цілі рядки");
        }
        const std::string kept = TempFiles::read(out);
        EXPECT_LE(kept.size(), limit);
        EXPECT_GT(kept.size(), 200000U);
        EXPECT_TRUE(kept == rows.substr(0, kept.size()));
        EXPECT_EQ(kept.back(), '\n');
    }
}

TEST_F(ManyRows, AFullDiskIsToldThoughNoRowIsLeftAtTheEnd) {
    for (const std::size_t bytes : {kAtOnce, kSeveral}) {
        fill(bytes);
        expectFailure(folder.write("data.txt", data), "/dev/full",
                      "помилка запису: /dev/full — збережено лише цілі рядки");
    }
}

// --- files that will not do ---

TEST_F(FeatureExport, AFullDiskIsToldForTheLastRowsToo) {
    expectFailure(folder.write("data.txt", kKnightFen + " [1.0]\n"), "/dev/full",
                  "помилка запису: /dev/full — збережено лише цілі рядки");
}

TEST_F(FeatureExport, WithoutAnInputTheOutputIsLeftAlone) {
    folder.write("rows.txt", "precious");
    const std::string missing = folder.pathOf("missing");
    expectFailure(missing, out, "не відкрити вхід: " + missing);
    EXPECT_EQ(TempFiles::read(out), "precious");
    expectFailure(missing, folder.path(), "не відкрити вхід: " + missing);
}

TEST_F(FeatureExport, AnInputThatCannotBeReadIsToldApart) {
    expectFailure(folder.path(), out, "помилка читання: " + folder.path());
}

TEST_F(FeatureExport, AnOutputThatCannotBeOpenedIsTold) {
    folder.write("data.txt", kKnightFen + " [1.0]\n");
    for (const std::string& path : {folder.path(), folder.pathOf("missing/rows.txt"), ""s})
        expectFailure(in, path, "не відкрити вихід: " + path);
}

TEST_F(FeatureExport, InputAndOutputMustBeTwoFiles) {
    const std::string data = kKnightFen + " [1.0]\n";
    folder.write("data.txt", data);
    const std::string symbolic = folder.pathOf("symbolic");
    const std::string hard = folder.pathOf("hard");
    std::filesystem::create_symlink("data.txt", symbolic);
    std::filesystem::create_hard_link(in, hard);
    for (const std::string& path : {in, folder.path() + "/./data.txt", symbolic, hard}) {
        expectFailure(in, path, "вхід і вихід — той самий файл: " + path);
        EXPECT_EQ(TempFiles::read(in), data) << path;
    }
}

TEST_F(FeatureExport, DevicesMayBeBoth) {
    const Outcome<int> found = run("/dev/null", "/dev/null");
    EXPECT_EQ(found.result, 0);
    EXPECT_EQ(found.err, summary(0, 0));
}

} // namespace
