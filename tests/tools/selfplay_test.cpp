#include "tools/selfplay.h"

#include "helpers.h"
#include "reference_datagen.h"
#include "search/iterate.h"
#include "support/temp_files.h"
#include "tools/datagen.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

using TempFiles::Folder;

namespace {

using namespace std::string_literals;

constexpr int kMost = std::numeric_limits<int>::max();

// --- the search of one position ---

class SearchForDataGen : public testing::Test {
  protected:
    struct Found {
        Move move;
        int score;
        std::uint64_t nodes;
        int depth;
    };

    void standAt(std::string_view fen) {
        thread->clearForSearch();
        gTT.clear();
        ASSERT_TRUE(thread->board.setFen(fen));
    }

    Found search(int maxDepth, std::int64_t nodeLimit) {
        const std::uint64_t before = thread->nodes;
        int score = 12345;
        const Move move = searchForDataGen(*thread, maxDepth, nodeLimit, score);
        return {move, score, thread->nodes - before, thread->completedDepth};
    }

    /// Nodes of each depth from 1 on, searched one after another without the tool.
    std::vector<std::uint64_t> nodesByDepth(int depth, int& score) {
        std::vector<std::uint64_t> nodes;
        score = 0;
        for (int d = 1; d <= depth; ++d) {
            Search::RootStack stack;
            const std::uint64_t before = thread->nodes;
            score = Search::aspirationSearch(*thread, thread->board, d, score, stack.records);
            nodes.push_back(thread->nodes - before);
        }
        return nodes;
    }

    static constexpr std::string_view kFen =
        "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10";

    const std::unique_ptr<Thread> thread = std::make_unique<Thread>(kToolThread);
};

TEST_F(SearchForDataGen, DeepensToTheGivenDepth) {
    for (const int depth : {1, 2, 6}) {
        standAt(kFen);
        int score = 0;
        std::uint64_t nodes = 0;
        for (const std::uint64_t ofDepth : nodesByDepth(depth, score))
            nodes += ofDepth;
        const Move move = thread->rootBestMove;
        for (const std::int64_t nodeLimit : {0, -5}) {
            standAt(kFen);
            const Found found = search(depth, nodeLimit);
            EXPECT_EQ(found.move, move) << depth;
            EXPECT_EQ(found.score, score) << depth;
            EXPECT_EQ(found.nodes, nodes) << depth;
            EXPECT_EQ(found.depth, depth);
        }
    }
}

TEST_F(SearchForDataGen, ADepthBelowOneIsOneAndNoneIsGreaterThan128) {
    for (const int depth : {0, -7, -kMost}) {
        standAt(kFen);
        EXPECT_EQ(search(depth, 0).depth, 1);
    }
    // Without a move every depth is done at once.
    for (const int depth : {128, 129, kMost}) {
        standAt("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1");
        EXPECT_EQ(search(depth, 0).depth, 128);
    }
}

TEST_F(SearchForDataGen, BeginsNoDepthWithAllNodesSpentButFinishesEachThatItBegan) {
    standAt(kFen);
    int score = 0;
    std::int64_t sum = 0;
    int depth = 0;
    for (const std::uint64_t nodes : nodesByDepth(5, score)) {
        sum += static_cast<std::int64_t>(nodes);
        ++depth;
        standAt(kFen);
        EXPECT_EQ(search(20, sum).depth, depth);
        standAt(kFen);
        EXPECT_EQ(search(20, sum + 1).depth, depth + 1);
    }
    standAt(kFen);
    EXPECT_EQ(search(20, 1).depth, 1);
}

TEST_F(SearchForDataGen, CountsOnlyItsOwnNodes) {
    standAt(kFen);
    const Found first = search(4, 0);
    gTT.clear();
    thread->countNode();
    EXPECT_GT(search(20, static_cast<std::int64_t>(first.nodes)).depth, 2);
}

TEST_F(SearchForDataGen, SearchesThoughTheLastSearchWasStopped) {
    standAt(kFen);
    const Found first = search(4, 0);
    standAt(kFen);
    gStopSearch = true;
    const Found second = search(4, 0);
    EXPECT_FALSE(gStopSearch);
    EXPECT_EQ(second.move, first.move);
    EXPECT_EQ(second.nodes, first.nodes);
}

TEST_F(SearchForDataGen, WithoutALegalMoveThereIsNone) {
    standAt(kFen);
    EXPECT_NE(search(3, 0).move, 0U);
    ASSERT_TRUE(thread->board.setFen("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"));
    Found found = search(3, 0);
    EXPECT_EQ(found.move, 0U) << "nor that of the position before";
    EXPECT_EQ(found.score, 0);
    ASSERT_TRUE(thread->board.setFen("7k/6Q1/6K1/8/8/8/8/8 b - - 0 1"));
    found = search(3, 0);
    EXPECT_EQ(found.move, 0U);
    EXPECT_EQ(found.score, -30000);
}

// --- endings ---

/// Games that only the rules of chess or their length end, and of which everything is kept. The
/// opening is as many random moves as wanted: so a game can begin with any kind of position.
DataGenConfig playedOut(int randomplies, int maxplies) {
    DataGenConfig c;
    c.nodes = 0;
    c.maxdepth = 1;
    c.randomplies = randomplies;
    c.openingcap = kMost;
    c.openingtries = 1;
    c.resign = kMost;
    c.drawplies = kMost;
    c.maxplies = maxplies;
    c.evalcap = kMost;
    c.skipcheck = false;
    c.skipquiet = false;
    return c;
}

/// An opening: its seed, its length and the position that it leads to.
struct Opening {
    std::uint64_t seed;
    int plies;
    std::string fen;
};

struct Played {
    GameResult result;
    std::vector<Sample> samples;
};

Played play(const Opening& opening, const DataGenConfig& config) {
    Board board{};
    std::mt19937_64 random(opening.seed);
    EXPECT_TRUE(Reference::playRandomMoves(board, random, opening.plies));
    EXPECT_EQ(board.fen(), opening.fen);
    SelfPlay selfPlay(config);
    EXPECT_TRUE(selfPlay.findOpening(opening.seed)) << opening.fen;
    Played played{};
    played.result = selfPlay.playGame(played.samples);
    return played;
}

Played play(const Opening& opening, int maxplies) {
    return play(opening, playedOut(opening.plies, maxplies));
}

/// Expects a game that is over before its first move.
void expectDrawAtOnce(const Opening& opening) {
    const Played played = play(opening, 1);
    EXPECT_EQ(played.result, GameResult::Draw) << opening.fen;
    EXPECT_TRUE(played.samples.empty()) << opening.fen;
}

void expectPlay(const Opening& opening) {
    const Played played = play(opening, 1);
    ASSERT_EQ(played.samples.size(), 1U) << opening.fen;
    EXPECT_EQ(played.samples[0].fen, opening.fen);
}

TEST(SelfPlayEnds, WhereNeitherSideCanMate) {
    for (const Opening& opening : std::initializer_list<Opening>{
             {0, 263, "8/8/4k3/8/1K6/8/8/8 b - - 0 132"},
             {3, 529, "1N6/8/8/6k1/1K6/8/8/8 b - - 0 265"},
             {0, 208, "8/4k3/2n5/8/8/8/5K2/8 w - - 0 105"},
             {4, 494, "8/8/8/8/2K5/8/5B2/k7 w - - 0 248"},
             {2, 429, "8/8/2K5/7b/2k5/8/8/8 b - - 0 215"},
             {87, 291, "4k3/6K1/8/B7/8/4b3/8/8 b - - 0 146"},
             {202, 309, "b3K3/6k1/8/8/8/3B4/8/8 b - - 0 155"},
             {4, 314, "8/8/8/2K4k/8/6B1/5B2/8 w - - 0 158"},
             {260, 442, "B7/3B4/8/k7/8/8/7K/8 w - - 0 222"},
             {279, 398, "8/1k6/5b2/8/8/2b2K2/8/8 w - - 0 200"},
         })
        expectDrawAtOnce(opening);
}

TEST(SelfPlayEnds, NotWhereAMateCanBeThoughtOf) {
    for (const Opening& opening : std::initializer_list<Opening>{
             {18, 283, "N6N/8/3k4/6K1/8/8/8/8 b - - 0 142"},
             {29, 213, "8/8/8/8/2K1N3/8/8/5nk1 b - - 0 107"},
             {17, 279, "8/2N5/8/8/8/7b/2k5/K7 b - - 0 140"},
             {16, 259, "8/8/1B6/3k1K2/8/8/8/4N3 b - - 0 130"},
             {24, 212, "2B5/8/8/8/8/8/1k2K3/2b5 w - - 0 107"},
             {9, 294, "6b1/8/8/8/8/2b5/5k2/3K4 w - - 0 148"},
             {4, 312, "8/8/8/2K3k1/5N2/6B1/5B2/8 w - - 0 157"},
             {583, 379, "B5b1/8/8/6k1/8/1B6/8/1K6 b - - 0 190"},
             {5, 331, "8/8/8/8/8/4k3/K5p1/8 b - - 0 166"},
             {11, 291, "2r5/7k/3K4/8/8/8/8/8 b - - 0 146"},
             {1, 401, "8/1K6/8/8/8/7q/8/3k4 b - - 0 201"},
         })
        expectPlay(opening);
}

TEST(SelfPlayEnds, AfterFiftyMovesOfEachSideAndNotBefore) {
    expectPlay({170, 407, "8/1k5p/7P/7R/8/8/6K1/8 b - - 99 204"});
    expectDrawAtOnce({170, 408, "8/2k4p/7P/7R/8/8/6K1/8 w - - 100 205"});
    expectPlay({184, 234, "r7/8/k5pb/3N4/8/1B6/5RK1/3r4 w - - 99 118"});
    expectDrawAtOnce({184, 235, "r7/8/k5pb/3N4/2B5/8/5RK1/3r4 b - - 100 118"});
}

TEST(SelfPlayEnds, WithMateEvenAfterFiftyMoves) {
    // All quiet moves are worth the same here: to the search a game of fifty moves is drawn. That
    // it takes the one that mates is luck; another order of moves may need another opening.
    const Played played = play({141214, 378, "8/6n1/5R2/7k/5p2/5PQ1/4N3/6NK w - - 99 190"}, 10);
    EXPECT_EQ(played.result, GameResult::WhiteWon);
    EXPECT_EQ(played.samples.size(), 1U);
}

TEST(SelfPlayEnds, AtItsLongestLengthWhateverStandsOnTheBoard) {
    const Opening opening = {11, 291, "2r5/7k/3K4/8/8/8/8/8 b - - 0 146"};
    for (const int length : {0, -1, -kMost}) {
        const Played played = play(opening, length);
        EXPECT_EQ(played.result, GameResult::Draw);
        EXPECT_TRUE(played.samples.empty());
    }
    for (const int length : {1, 2, 5}) {
        const Played played = play(opening, length);
        EXPECT_EQ(played.result, GameResult::Draw);
        EXPECT_EQ(played.samples.size(), static_cast<std::size_t>(length));
    }
}

// --- adjudication ---

/// A game from a rook ending that may be given up or agreed drawn after any ply.
class SelfPlayAdjudication : public testing::Test {
  protected:
    SelfPlayAdjudication() {
        const Played played = play(opening, config);
        score = std::abs(played.samples.at(0).score);
        EXPECT_GT(score, 0);
        config.resignplies = 1;
        config.drawplies = 1;
        config.drawmin = 0;
        config.draw = -1;
    }

    const Opening opening = {11, 291, "2r5/7k/3K4/8/8/8/8/8 b - - 0 146"};
    DataGenConfig config = playedOut(opening.plies, 3);
    int score = 0; // of the first position, whose side to move, Black, is ahead
};

TEST_F(SelfPlayAdjudication, AScoreOfTheResignationThresholdEndsTheGame) {
    config.resign = score;
    const Played played = play(opening, config);
    EXPECT_EQ(played.result, GameResult::BlackWon);
    EXPECT_EQ(played.samples.size(), 1U) << "the position that ends the game is kept";
    config.resign = score + 1;
    EXPECT_GT(play(opening, config).samples.size(), 1U);
}

TEST_F(SelfPlayAdjudication, AScoreOfTheDrawThresholdEndsTheGame) {
    config.draw = score;
    const Played played = play(opening, config);
    EXPECT_EQ(played.result, GameResult::Draw);
    EXPECT_EQ(played.samples.size(), 1U);
    config.draw = score - 1;
    EXPECT_GT(play(opening, config).samples.size(), 1U);
}

TEST_F(SelfPlayAdjudication, ResignationComesBeforeADraw) {
    config.resign = score;
    config.draw = score;
    EXPECT_EQ(play(opening, config).result, GameResult::BlackWon);
}

// --- openings ---

bool hasOpening(const DataGenConfig& config, std::uint64_t seed) {
    return SelfPlay(config).findOpening(seed);
}

TEST(SelfPlayOpening, IsPlayedIfItsScoreIsAtMostTheCap) {
    const Opening opening = {170, 407, "8/1k5p/7P/7R/8/8/6K1/8 b - - 99 204"};
    const Played played = play(opening, 1);
    ASSERT_EQ(played.samples.size(), 1U);
    const int score = std::abs(played.samples[0].score);
    ASSERT_GT(score, 0);
    DataGenConfig config = playedOut(opening.plies, 1);
    for (const int cap : {score - 1, score, score + 1}) {
        config.openingcap = cap;
        EXPECT_EQ(hasOpening(config, opening.seed), cap >= score) << cap;
    }
}

TEST(SelfPlayOpening, MustLeaveAMoveToPlay) {
    // After these many random moves comes mate, or stalemate.
    for (const auto& [seed, plies] : {std::pair{6, 77}, {10, 217}, {15, 196}, {31, 164}}) {
        const auto hasOne = [s = static_cast<std::uint64_t>(seed)](int randomplies) {
            return hasOpening(playedOut(randomplies, 1), s);
        };
        EXPECT_TRUE(hasOne(plies - 1));
        EXPECT_FALSE(hasOne(plies));
        EXPECT_FALSE(hasOne(plies + 1));
    }
}

TEST(SelfPlayOpening, IsLookedForAsOftenAsWanted) {
    DataGenConfig config = playedOut(77, 1);
    for (const int tries : {-1, 0, 1, 2}) {
        config.openingtries = tries;
        EXPECT_EQ(hasOpening(config, 6), tries >= 2) << tries;
    }
}

TEST(SelfPlayOpening, MayBeLongerThanABoardRemembers) {
    ASSERT_GT(1100, kMaxHistory);
    const Opening opening = {1410, 1100, "4K2R/8/8/3k4/8/8/8/8 w - - 1 551"};
    const DataGenConfig config = playedOut(opening.plies, 400);
    const Played played = play(opening, config);

    Reference::Player player(config);
    ASSERT_TRUE(player.findOpening(opening.seed));
    const Reference::Game game = player.playGame();
    ASSERT_EQ(played.samples.size(), game.samples.size());
    ASSERT_GT(played.samples.size(), 10U);
    for (std::size_t i = 0; i < game.samples.size(); ++i)
        EXPECT_EQ(played.samples[i].fen, game.samples[i].fen);
}

// --- runs ---

class RunDataGen : public testing::Test {
  protected:
    Outcome<int> run() const {
        return caught([this] { return runDataGen(config); });
    }

    /// Expects file and messages of the second data generation. There is no file before, since it
    /// would stay if no game is played.
    void expectReferenceRun() {
        std::filesystem::remove(config.out);
        const Reference::Run wanted = Reference::run(config);
        const Outcome<int> found = run();
        EXPECT_EQ(found.result, 0);
        EXPECT_EQ(found.out, "");
        EXPECT_EQ(withoutTimes(found.err), wanted.messages);
        EXPECT_EQ(TempFiles::read(config.out), wanted.file) << wanted.messages;
        for (const auto& [end, games] : wanted.ends)
            ends[end] += games;
    }

    /// Expects that games ended in each of these ways.
    void expectEnds(std::initializer_list<const char*> wanted) {
        for (const char* end : wanted)
            EXPECT_GT(ends[end], 0) << end;
    }

    int pick(std::initializer_list<int> values) {
        return *(values.begin() + random() % values.size());
    }

    /// Standard error without the numbers that time decides.
    static std::string withoutTimes(const std::string& text) {
        static const std::regex timed(", [0-9.e+-]+ (партій/)?с\n");
        return std::regex_replace(text, timed, ", # $1с\n");
    }

    const Folder folder;
    DataGenConfig config;
    std::mt19937_64 random{20};
    std::map<std::string, int> ends; // games by their ends

  private:
    void SetUp() override { config.out = folder.pathOf("data.txt"); }
};

TEST_F(RunDataGen, WritesWhatTheSecondOneWritesWithTheDefaults) {
    config.games = 2;
    config.nodes = 1000;
    config.progress = 1;
    expectReferenceRun();
}

TEST_F(RunDataGen, WritesWhatTheSecondOneWritesOfGamesPlayedOut) {
    const std::string path = config.out;
    for (int i = 0; i < 60; ++i) {
        config = playedOut(pick({0, 4, 8, 30, 80, 150, 250}), 2000);
        config.out = path;
        config.games = 4;
        config.seed = random();
        config.maxdepth = pick({1, 1, 2});
        config.skipcheck = pick({0, 1}) == 1;
        config.skipquiet = pick({0, 1}) == 1;
        ASSERT_NO_FATAL_FAILURE(expectReferenceRun());
    }
    expectEnds({"mate 0", "mate 1", "stalemate", "fifty moves", "repetition", "dead"});
}

TEST_F(RunDataGen, WritesWhatTheSecondOneWritesOfGamesEndedEarly) {
    for (int i = 0; i < 250; ++i) {
        config.games = pick({1, 3, 5});
        config.seed = random();
        config.nodes = pick({-1, 0, 1, 50, 200});
        config.maxdepth = pick({0, 1, 1, 1, 2, 3});
        config.randomplies = pick({-1, 0, 1, 4, 8, 30, 100, 200, 300});
        config.openingcap = pick({-1, 0, 50, 200, 1000, 40000, 40000});
        config.openingtries = pick({0, 1, 2, 5});
        config.resign = pick({-1, 0, 50, 300, 1000, 40000});
        config.resignplies = pick({-1, 0, 1, 2, 3, 6});
        config.draw = pick({-1, 0, 8, 50, 40000});
        config.drawplies = pick({-1, 0, 1, 2, 5, 12});
        config.drawmin = pick({-1, 0, 1, 2, 10, 40, 1000});
        config.maxplies = pick({-1, 0, 1, 2, 7, 80, 400});
        config.evalcap = pick({-1, 0, 50, 2000, 40000});
        config.skipcheck = pick({0, 1}) == 1;
        config.skipquiet = pick({0, 1}) == 1;
        config.score = pick({0, 1}) == 1;
        config.progress = pick({-1, 0, 1, 2, 3, 100});
        ASSERT_NO_FATAL_FAILURE(expectReferenceRun());
    }
    expectEnds({"no opening", "resignation 0", "resignation 1", "draw", "length"});
}

TEST_F(RunDataGen, SeedsGoRoundAfterTheLast) {
    config.nodes = 0;
    config.maxdepth = 1;
    config.maxplies = 10;
    config.games = 3;
    config.seed = std::numeric_limits<std::uint64_t>::max();
    expectReferenceRun();
    const std::string all = TempFiles::read(config.out);

    std::string parts;
    for (const std::uint64_t seed :
         {std::numeric_limits<std::uint64_t>::max(), std::uint64_t{0}, std::uint64_t{1}}) {
        config.games = 1;
        config.seed = seed;
        ASSERT_EQ(run().result, 0);
        parts += TempFiles::read(config.out);
    }
    EXPECT_EQ(parts, all);
    EXPECT_GT(all.size(), 500U);
}

TEST_F(RunDataGen, WithoutGamesANewFileIsEmptyAndAnOldOneStays) {
    for (const int games : {0, -3}) {
        config.games = games;
        expectReferenceRun();
        EXPECT_EQ(TempFiles::read(config.out), "");
        folder.write("data.txt", "what was there before");
        ASSERT_EQ(run().result, 0);
        EXPECT_EQ(TempFiles::read(config.out), "what was there before");
    }
}

TEST_F(RunDataGen, WhereEveryGameIsDiscardedAnOldFileStays) {
    folder.write("data.txt", "what was there before");
    config.games = 3;
    config.openingtries = 0;
    ASSERT_EQ(run().result, 0);
    EXPECT_EQ(TempFiles::read(config.out), "what was there before");
}

TEST_F(RunDataGen, TellsTimesAsStreamsDo) {
    config.games = 3;
    config.nodes = 0;
    config.maxdepth = 1;
    config.progress = 1;
    const std::string messages = run().err;
    static const std::regex timed(", ([0-9.e+-]+) (партій/)?с\n");
    std::vector<std::string> numbers;
    for (std::sregex_iterator i(messages.begin(), messages.end(), timed), end; i != end; ++i)
        numbers.push_back((*i)[1]);
    ASSERT_EQ(numbers.size(), 4U) << messages;
    for (const std::string& number : numbers) {
        const double value = std::stod(number);
        EXPECT_GE(value, 0);
        std::ostringstream stream;
        stream << value;
        EXPECT_EQ(number, stream.str());
    }
    const double seconds = std::stod(numbers.back());
    EXPECT_NEAR(seconds * 1000, std::round(seconds * 1000), 1e-6) << "whole milliseconds";
}

TEST_F(RunDataGen, WithoutAFileToWritePlaysNothing) {
    for (const std::string& path : {folder.path(), folder.pathOf("missing/data.txt"), ""s}) {
        config.out = path;
        const Outcome<int> found = run();
        EXPECT_EQ(found.result, 1);
        EXPECT_EQ(found.out, "");
        EXPECT_EQ(found.err, "datagen: не вдалося відкрити для запису: " + path + "\n");
    }
}

TEST_F(RunDataGen, TellsAFullDiskAtOnce) {
    config.out = "/dev/full";
    config.games = 100;
    config.nodes = 0;
    config.maxdepth = 1;
    config.progress = 1;
    const Outcome<int> found = run();
    EXPECT_EQ(found.result, 1);
    EXPECT_EQ(found.err, "datagen: games=100 out=/dev/full seed=1 nodes=0 maxdepth=1 "
                         "randomplies=8 score=1\n"
                         "datagen: помилка запису: /dev/full — збережено лише цілі партії\n");
}

TEST_F(RunDataGen, AFullDiskIsToldThoughTheLastGameHasNothingToWrite) {
    config = playedOut(240, 5); // a game of moves, then one that begins with a dead position
    config.out = folder.pathOf("data.txt");
    config.seed = 23;
    config.games = 1;
    ASSERT_EQ(run().result, 0);
    const std::string first = TempFiles::read(config.out);
    EXPECT_NE(first, "");
    config.games = 2;
    ASSERT_EQ(run().result, 0);
    EXPECT_EQ(TempFiles::read(config.out), first);
    config.out = "/dev/full";
    EXPECT_EQ(run().result, 1);
}

TEST_F(RunDataGen, ADiskThatFillsUpHoldsWholeGames) {
    config.games = 4;
    config.nodes = 0;
    config.maxdepth = 1;
    config.maxplies = 30;
    std::vector<std::string> games; // the file after so many games, longer than any message
    for (int i = 0; i <= 4; ++i) {
        config.games = i;
        ASSERT_EQ(run().result, 0);
        games.push_back(TempFiles::read(config.out));
    }
    for (std::size_t whole = 1; whole < 4; ++whole)
        for (const std::size_t limit :
             {games[whole].size(), games[whole].size() + 1, games[whole + 1].size() - 1}) {
            const TempFiles::SizeLimit full(limit);
            const Outcome<int> found = run();
            EXPECT_EQ(found.result, 1);
            EXPECT_EQ(TempFiles::read(config.out), games[whole]) << limit;
            EXPECT_NE(found.err.find("\ndatagen: помилка запису: " + config.out + " — "),
                      std::string::npos)
                << found.err;
            EXPECT_EQ(found.err.find("готово"), std::string::npos);
        }
    const TempFiles::SizeLimit enough(games[4].size());
    EXPECT_EQ(run().result, 0);
}

} // namespace
