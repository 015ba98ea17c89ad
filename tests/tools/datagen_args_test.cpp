#include "helpers.h"
#include "tools/datagen.h"

#include <initializer_list>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

/// Every option with its value, so that no option changes unseen.
std::string describe(const DataGenConfig& c) {
    std::ostringstream text;
    text << "games=" << c.games << " out=" << c.out << " seed=" << c.seed << " nodes=" << c.nodes
         << " maxdepth=" << c.maxdepth << " randomplies=" << c.randomplies
         << " openingcap=" << c.openingcap << " openingtries=" << c.openingtries
         << " resign=" << c.resign << " resignplies=" << c.resignplies << " draw=" << c.draw
         << " drawplies=" << c.drawplies << " drawmin=" << c.drawmin << " maxplies=" << c.maxplies
         << " evalcap=" << c.evalcap << " skipcheck=" << c.skipcheck << " skipquiet=" << c.skipquiet
         << " score=" << c.score << " progress=" << c.progress;
    return text.str();
}

struct Parsed {
    bool accepted;
    DataGenConfig config;
    std::string message;
};

Parsed parse(const std::vector<std::string_view>& arguments) {
    DataGenConfig config;
    const auto run = caught([&] { return parseDataGenArgs(arguments, config); });
    EXPECT_EQ(run.out, "");
    return {run.result, config, run.err};
}

/// The options after arguments that must be accepted. Whatever is remarked on is no refusal.
DataGenConfig optionsFrom(const std::vector<std::string_view>& arguments) {
    const Parsed parsed = parse(arguments);
    EXPECT_TRUE(parsed.accepted) << parsed.message;
    return parsed.config;
}

TEST(DataGenArgs, WithoutAnyEveryOptionHasItsDefault) {
    EXPECT_EQ(describe(optionsFrom({})),
              "games=1000 out=data.txt seed=1 nodes=5000 maxdepth=12 randomplies=8 openingcap=200 "
              "openingtries=12 resign=1000 resignplies=6 draw=8 drawplies=12 drawmin=40 "
              "maxplies=400 evalcap=2000 skipcheck=1 skipquiet=1 score=1 progress=100");
}

TEST(DataGenArgs, EachKeySetsItsOwnOption) {
    EXPECT_EQ(
        describe(
            optionsFrom({"games=21", "out=x.txt", "seed=22", "nodes=23", "maxdepth=24",
                         "randomplies=25", "openingcap=26", "openingtries=27", "resign=28",
                         "resignplies=29", "draw=30", "drawplies=31", "drawmin=32", "maxplies=33",
                         "evalcap=34", "skipcheck=0", "skipquiet=0", "score=0", "progress=35"})),
        "games=21 out=x.txt seed=22 nodes=23 maxdepth=24 randomplies=25 openingcap=26 "
        "openingtries=27 resign=28 resignplies=29 draw=30 drawplies=31 drawmin=32 maxplies=33 "
        "evalcap=34 skipcheck=0 skipquiet=0 score=0 progress=35");
}

TEST(DataGenArgs, OneKeyLeavesTheOtherOptionsAlone) {
    const std::string defaults = describe(DataGenConfig());
    for (const std::string_view key :
         {"games", "out", "seed", "nodes", "maxdepth", "randomplies", "openingcap", "openingtries",
          "resign", "resignplies", "draw", "drawplies", "drawmin", "maxplies", "evalcap",
          "skipcheck", "skipquiet", "score", "progress"}) {
        const std::string argument = std::string(key) + "=0";
        std::string wanted = ' ' + defaults + ' ';
        const std::size_t at = wanted.find(' ' + std::string(key) + '=') + 1;
        wanted.replace(at, wanted.find(' ', at) - at, argument);
        EXPECT_EQ(' ' + describe(optionsFrom({argument})) + ' ', wanted);
    }
}

TEST(DataGenArgs, NumbersAreReadAsFarAsTheyAreNumbers) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    const std::pair<std::string, std::int64_t> cases[] = {
        {"12x", 12},
        {"abc", 0},
        {"", 0},
        {" \t\n+7 8", 7},
        {"-3", -3},
        {"- 3", 0},
        {"+-3", 0},
        {"010", 10},
        {"0x10", 0},
        {"1e3", 1},
        {"2.9", 2},
        {"=5", 0},
        {"5=6", 5},
        {"9223372036854775807", kMost},
        {"9223372036854775808", kMost},
        {"-9223372036854775808", kLeast},
        {"-99999999999999999999", kLeast},
    };
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(optionsFrom({"games=" + text}).games, value) << text;
        EXPECT_EQ(optionsFrom({"nodes=" + text}).nodes, value) << text;
        EXPECT_EQ(optionsFrom({"progress=" + text}).progress, value) << text;
    }
}

TEST(DataGenArgs, ASeedHasNoSign) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    const std::pair<std::string, std::uint64_t> cases[] = {
        {"18446744073709551615", kMost},
        {"18446744073709551616", kMost},
        {"-1", kMost},
        {"9223372036854775808", std::uint64_t{1} << 63},
        {" 7x", 7},
        {"abc", 0},
        {"", 0},
    };
    for (const auto& [text, value] : cases)
        EXPECT_EQ(optionsFrom({"seed=" + text}).seed, value) << text;
}

TEST(DataGenArgs, OptionsOf32BitsKeepTheLow32) {
    const std::pair<std::string, std::int32_t> cases[] = {
        {"2147483647", 2147483647},
        {"2147483648", -2147483647 - 1},
        {"4294967301", 5},
        {"-2147483649", 2147483647},
        {"-4294967297", -1},
        {" -12 ", -12},
        {"9223372036854775808", -1},
        {"010", 10},
        {"0x10", 0},
        {"x", 0},
    };
    for (const auto& [text, value] : cases) {
        const DataGenConfig c = optionsFrom(
            {"maxdepth=" + text, "randomplies=" + text, "openingcap=" + text,
             "openingtries=" + text, "resign=" + text, "resignplies=" + text, "draw=" + text,
             "drawplies=" + text, "drawmin=" + text, "maxplies=" + text, "evalcap=" + text});
        for (const std::int32_t found :
             {c.maxdepth, c.randomplies, c.openingcap, c.openingtries, c.resign, c.resignplies,
              c.draw, c.drawplies, c.drawmin, c.maxplies, c.evalcap})
            EXPECT_EQ(found, value) << text;
    }
}

TEST(DataGenArgs, SwitchesAreOnForEveryNumberButZero) {
    const std::pair<std::string, bool> cases[] = {
        {"1", true},    {"0", false},  {"2", true},          {"-1", true},
        {" +3x", true}, {"00", false}, {"", false},          {"true", false},
        {"0x1", false}, {"08", true},  {"4294967296", true},
    };
    for (const auto& [text, value] : cases) {
        const DataGenConfig c =
            optionsFrom({"skipcheck=" + text, "skipquiet=" + text, "score=" + text});
        EXPECT_EQ(c.skipcheck, value) << text;
        EXPECT_EQ(c.skipquiet, value) << text;
        EXPECT_EQ(c.score, value) << text;
    }
}

TEST(DataGenArgs, WhatStandsBehindANumberIsRemarkedOn) {
    const auto remark = [](const std::string& argument, const std::string& read) {
        return "datagen: " + argument + " — прочитано як " + read + "\n";
    };
    const std::pair<std::string, std::string> cases[] = {
        {"games=10k", "10"},   {"nodes=5e3", "5"},     {"score=1x", "1"},
        {"skipcheck=2x", "1"}, {"skipquiet=0x1", "0"}, {"seed=-1 x", "18446744073709551615"},
        {"maxdepth=1.5", "1"}, {"progress= 7 8", "7"}, {"draw=4294967301,", "5"},
        {"nodes=1=2", "1"},
    };
    for (const auto& [argument, read] : cases)
        EXPECT_EQ(parse({argument}).message, remark(argument, read));
    EXPECT_EQ(parse({"5x"}).message, remark("games=5x", "5"));
    EXPECT_EQ(parse({"5x", "6x", "nodes=7x"}).message,
              remark("games=5x", "5") + remark("nodes=7x", "7"))
        << "a path has no number";
}

TEST(DataGenArgs, ANumberAloneAndNoNumberAreNotRemarkedOn) {
    for (const std::string_view argument :
         {"games=10", "games= 10 ", "games=\t+10\n", "games=abc", "games=", "games=-", "seed=x",
          "seed=18446744073709551616", "games=99999999999999999999", "maxdepth=4294967296",
          "score=true", "score=yes", "out=5x", "10", "abc"})
        EXPECT_EQ(parse({argument}).message, "") << argument;
}

TEST(DataGenArgs, ARefusalIsToldAlone) {
    EXPECT_EQ(parse({"games=10k", "x=1"}).message, "datagen: невідомий параметр: x\n");
}

TEST(DataGenHelp, IsAskedForByAFlagAnywhereOrByTheFirstBareWord) {
    using Arguments = std::vector<std::string_view>;
    for (const Arguments& arguments : {Arguments{"--help"},
                                       {"-h"},
                                       {"help"},
                                       {"5", "--help"},
                                       {"5", "out.txt", "-h"},
                                       {"games=5", "help"},
                                       {"x=1", "-h"},
                                       {"--help", "y=1"}})
        EXPECT_TRUE(asksForDataGenHelp(arguments)) << arguments.front();
    for (const Arguments& arguments : {Arguments{},
                                       {"5", "help"},
                                       {"out=--help"},
                                       {"out=help"},
                                       {"Help"},
                                       {"-help"},
                                       {"--h"},
                                       {"games=-h"},
                                       {""}})
        EXPECT_FALSE(asksForDataGenHelp(arguments));
}

TEST(DataGenHelp, HasALineForEachOptionWithItsDefault) {
    const auto run = caught([] {
        printDataGenHelp();
        return 0;
    });
    EXPECT_EQ(run.out, "");
    std::istringstream lines(run.err);
    std::string line;
    std::string options;
    while (std::getline(lines, line)) {
        EXPECT_LE(line.size(), 80U) << line;
        if (!line.starts_with("  "))
            continue;
        const std::size_t end = line.find(' ', 2);
        ASSERT_NE(end, std::string::npos) << line;
        EXPECT_NE(line.find_first_not_of(' ', end), std::string::npos) << "says nothing: " << line;
        options += (options.empty() ? "" : " ") + line.substr(2, end - 2);
    }
    EXPECT_EQ(options, describe(DataGenConfig()));
}

TEST(DataGenArgs, ThePathIsTheTextAfterTheFirstEqualsSign) {
    EXPECT_EQ(optionsFrom({"out=a=b"}).out, "a=b");
    EXPECT_EQ(optionsFrom({"out==b"}).out, "=b");
    EXPECT_EQ(optionsFrom({"out= with blanks "}).out, " with blanks ");
    EXPECT_EQ(optionsFrom({"out="}).out, "");
}

TEST(DataGenArgs, BareArgumentsAreGamesAndPath) {
    EXPECT_EQ(optionsFrom({"10"}).games, 10);
    EXPECT_EQ(optionsFrom({"10"}).out, "data.txt");
    const DataGenConfig c = optionsFrom({"10", "out.txt"});
    EXPECT_EQ(c.games, 10);
    EXPECT_EQ(c.out, "out.txt");
    EXPECT_EQ(optionsFrom({"games"}).games, 0) << "a number without digits";
    EXPECT_EQ(optionsFrom({""}).games, 0);
    EXPECT_EQ(optionsFrom({"5", ""}).out, "");
}

TEST(DataGenArgs, OfTwoForOneOptionTheLastCounts) {
    EXPECT_EQ(optionsFrom({"seed=1", "seed=2"}).seed, 2U);
    EXPECT_EQ(optionsFrom({"games=5", "7"}).games, 7);
    EXPECT_EQ(optionsFrom({"7", "games=5"}).games, 5);
    const DataGenConfig c = optionsFrom({"seed=3", "7", "nodes=4", "x", "out=y"});
    EXPECT_EQ(c.games, 7);
    EXPECT_EQ(c.out, "y");
    EXPECT_EQ(c.seed, 3U);
    EXPECT_EQ(c.nodes, 4);
}

TEST(DataGenArgs, AnUnknownKeyIsRefused) {
    for (const std::string key : {"Games", "game", "games ", " games", "", "g", "gamess"}) {
        const Parsed parsed = parse({key + "=1"});
        EXPECT_FALSE(parsed.accepted) << key;
        EXPECT_EQ(parsed.message, "datagen: невідомий параметр: " + key + "\n");
    }
}

TEST(DataGenArgs, AThirdBareArgumentIsRefused) {
    const Parsed parsed = parse({"10", "out.txt", "more"});
    EXPECT_FALSE(parsed.accepted);
    EXPECT_EQ(parsed.message, "datagen: зайвий аргумент: more\n");
    EXPECT_FALSE(parse({"10", "seed=1", "out.txt", "nodes=1", ""}).accepted);
}

TEST(DataGenArgs, TheFirstErrorIsTheOneTold) {
    EXPECT_EQ(parse({"1", "2", "3", "x=1"}).message, "datagen: зайвий аргумент: 3\n");
    EXPECT_EQ(parse({"x=1", "y=1", "1", "2", "3"}).message, "datagen: невідомий параметр: x\n");
    EXPECT_EQ(parse({"seed=5", "x=1"}).message, "datagen: невідомий параметр: x\n");
}

} // namespace
