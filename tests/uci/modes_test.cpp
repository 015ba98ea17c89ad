#include "uci/modes.h"

#include "tools/bench.h"
#include "uci/build_info.h"
#include "uci/commandline.h"
#include "uci/uci.h"

#include "support/standard_stream.h"
#include "support/temp_files.h"

#include <gtest/gtest.h>

#include <fcntl.h>

#include <initializer_list>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

/// Runs `call` with `input` on standard input and what it prints caught.
template <class Call>
Outcome caught(const std::string& input, Call call) {
    const TempFiles::Folder folder;
    const Instead typed(STDIN_FILENO, open(folder.write("input", input).c_str(), O_RDONLY));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = call();
    return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

Outcome mode(std::initializer_list<std::string_view> arguments, const std::string& input = "") {
    const std::vector<std::string_view> list(arguments);
    return caught(input, [&] { return runCommandLine(list); });
}

TEST(Modes, StandInTheOrderInWhichTheyAreTried) {
    struct {
        std::string_view word;
        int arguments;
    } const expected[] = {
        {"perft", 2},   {"benchsearch", 0},   {"evaltrace", 1},  {"egscale", 0},
        {"datagen", 0}, {"featureexport", 2}, {"tuneparams", 0}, {"bench", 0},
    };
    ASSERT_EQ(modes().size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_EQ(modes()[i].word, expected[i].word);
        EXPECT_EQ(modes()[i].arguments, expected[i].arguments) << expected[i].word;
        EXPECT_NE(modes()[i].run, nullptr) << expected[i].word;
    }
}

TEST(Modes, NameTheArgumentsThatTheyNeed) {
    for (const Mode& m : modes()) {
        std::istringstream words{std::string(m.usage)};
        int needed = 0;
        for (std::string word; words >> word;)
            needed += word.find_first_of("[<") == std::string::npos;
        EXPECT_EQ(needed, m.arguments) << m.word;
        EXPECT_NE(m.meaning, "") << m.word;
    }
}

TEST(Modes, WithoutTheirArgumentsAreNotCalledFor) {
    for (const Mode& m : modes()) {
        std::vector<std::string_view> arguments = {m.word};
        for (int given = 0; given < m.arguments; ++given) {
            const Outcome run = caught("isready\n", [&] { return runCommandLine(arguments); });
            EXPECT_EQ(run.status, 0) << m.word;
            EXPECT_EQ(run.out, "readyok\n") << m.word << " with " << given << " arguments";
            arguments.push_back("x");
        }
    }
}

TEST(Modes, UnknownWordsAndNoneSpeakUci) {
    EXPECT_EQ(mode({}, "isready\n").out, "readyok\n");
    EXPECT_EQ(mode({"uci"}, "isready\n").out, "readyok\n");
    EXPECT_EQ(mode({"Perft", "x", "1"}, "isready\n").out, "readyok\n");
}

TEST(CommandLine, TellsOfWordsThatAreNoModeAndOfMissingArguments) {
    EXPECT_EQ(mode({"datagne"}).err, "morvane: невідомий режим \"datagne\" — запущено UCI\n");
    EXPECT_EQ(mode({"", "perft"}).err, "morvane: невідомий режим \"\" — запущено UCI\n");
    EXPECT_EQ(mode({"perft", "x"}).err,
              "morvane: режиму perft потрібні аргументи: FEN DEPTH — запущено UCI\n");
    EXPECT_EQ(mode({"evaltrace"}).err,
              "morvane: режиму evaltrace потрібні аргументи: FEN — запущено UCI\n");
}

TEST(CommandLine, SaysNothingWithoutArgumentsToWhoIsNoPerson) {
    EXPECT_EQ(mode({}).err, "");
}

TEST(CommandLine, HelpNamesEveryMode) {
    const std::string help = mode({"--help"}).err;
    for (const Mode& m : modes()) {
        const std::string line = "\n  morvane " + std::string(m.word) + " " + std::string(m.usage);
        EXPECT_NE(help.find(line), std::string::npos) << m.word;
        EXPECT_NE(help.find(" " + std::string(m.meaning) + "\n"), std::string::npos) << m.word;
    }
    EXPECT_EQ(mode({"-h", "x"}).err, help);
    EXPECT_EQ(mode({"help"}).err, help);
}

TEST(CommandLine, VersionDescribesTheBuild) {
    const std::string told = mode({"--version"}).err;
    EXPECT_TRUE(told.starts_with(BuildInfo::describe())) << told;
    EXPECT_TRUE(told.starts_with("Morvane " + std::string(BuildInfo::kVersion))) << told;
    EXPECT_EQ(mode({"-v"}).err, told);
}

TEST(Modes, PerftCountsByMove) {
    const Outcome run = mode({"perft", "8/8/8/8/8/5k2/6p1/6K1 w - - 0 1", "2", "ignored"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "g1h2: 10\n\nNodes searched: 10\n");
    EXPECT_EQ(run.err, "");
}

TEST(Modes, ReportErrorsOnStandardErrorWithStatus1) {
    const Outcome run = mode({"perft", "x", "0"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "perft: глибина має бути цілим числом >= 1\n");
    EXPECT_EQ(mode({"perft", "x", "1"}).err, "невалідний FEN\n");
    EXPECT_EQ(mode({"evaltrace", "x"}).err, "невалідний FEN\n");
    EXPECT_EQ(mode({"benchsearch", "x"}).err, "benchsearch: глибина має бути цілим числом >= 1\n");
}

TEST(Modes, EgScaleKeepsNothingFromLineToLine) {
    const Outcome run = mode({"egscale"}, "4k3/8/8/8/8/8/8/2NNK3 w - - 0 1;x\nx\n");
    EXPECT_EQ(run.out, "0\nerr\n");
}

TEST(UciLoop, CanRunAgainAndStartsFromTheStartPosition) {
    const auto loop = [] {
        uciLoop();
        return 0;
    };
    EXPECT_EQ(caught("position startpos moves e2e4\nquit\nisready\n", loop).out, "");
    EXPECT_EQ(caught("d\n", loop).out,
              "fen: rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1\n");
}

} // namespace
