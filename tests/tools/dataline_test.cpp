#include "eval/sampling.h"
#include "tools/dataline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace std::string_literals;

/// A sample in one line of text; a line that is refused gives "refused".
std::string describe(const std::optional<DataGenSample>& sample) {
    if (!sample)
        return "refused";
    return '<' + sample->fen + "> " + std::to_string(sample->result) + " " +
           (sample->hasScore ? "score " : "none ") + std::to_string(sample->score);
}

std::string read(const std::string& line) {
    // Whatever a sample held before is gone after reading.
    DataGenSample sample{"before", 0.25, 77, line.size() % 2 == 0};
    return describe(parseDataGenLine(line, sample) ? std::optional(sample) : std::nullopt);
}

std::string written(const DataGenSample& sample) {
    std::string text;
    appendDataGenLine(text, sample);
    return text;
}

// --- a second reader ---

/// Reads a line by taking characters off its end.
class NaiveReader {
  public:
    explicit NaiveReader(std::string line) : rest_(std::move(line)) {}

    std::optional<DataGenSample> read() {
        DataGenSample sample;
        dropEnd();
        std::optional<std::string> result = field();
        if (!result)
            return {};
        if (!rest_.empty() && rest_.back() == ']') {
            const std::optional<int> score = number(*result);
            result = field();
            if (!result || !score)
                return {};
            sample.score = *score;
            sample.hasScore = true;
        }
        if (*result == "1.0")
            sample.result = 1;
        else if (*result == "0.0")
            sample.result = 0;
        else if (*result != "0.5")
            return {};
        sample.fen = rest_;
        if (rest_.empty())
            return {};
        return sample;
    }

  private:
    static bool isOneOf(char c, const char* set) {
        for (; *set; ++set)
            if (*set == c)
                return true;
        return false;
    }

    void dropEnd() {
        while (!rest_.empty() && isOneOf(rest_.back(), " \t\r\n"))
            rest_.pop_back();
    }

    std::optional<std::string> field() {
        if (rest_.empty() || rest_.back() != ']')
            return {};
        rest_.pop_back();
        std::string text;
        while (!rest_.empty() && rest_.back() != '[') {
            text.insert(text.begin(), rest_.back());
            rest_.pop_back();
        }
        if (rest_.empty())
            return {};
        rest_.pop_back();
        dropEnd();
        return text;
    }

    static std::optional<int> number(std::string text) {
        const auto isSpace = [](char c) { return isOneOf(c, " \t\n\v\f\r"); };
        while (!text.empty() && isSpace(text.back()))
            text.pop_back();
        while (!text.empty() && isSpace(text.front()))
            text.erase(0, 1);
        const bool negative = !text.empty() && text[0] == '-';
        if (!text.empty() && isOneOf(text[0], "+-"))
            text.erase(0, 1);
        if (text.empty() ||
            !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }))
            return {};
        text.erase(0, std::min(text.find_first_not_of('0'), text.size() - 1));
        if (text.size() > 10)
            return {};
        const long long value = negative ? -std::stoll(text) : std::stoll(text);
        if (value > std::numeric_limits<int>::max() || value < std::numeric_limits<int>::min())
            return {};
        return static_cast<int>(value);
    }

    std::string rest_;
};

std::string naive(const std::string& line) {
    return describe(NaiveReader(line).read());
}

// --- writing ---

TEST(DataLine, IsPositionResultAndScore) {
    EXPECT_EQ(written({"8/8/4k3/8/8/3QK3/8/8 w - - 3 71", 1.0, 1034, true}),
              "8/8/4k3/8/8/3QK3/8/8 w - - 3 71 [1.0] [1034]\n");
    EXPECT_EQ(written({"fen", 0.5, -23, true}), "fen [0.5] [-23]\n");
    EXPECT_EQ(written({"fen", 0.0, 0, true}), "fen [0.0] [0]\n");
    EXPECT_EQ(written({"fen", 0.0, -23, false}), "fen [0.0]\n");
}

TEST(DataLine, IsAppendedToWhatTheTextHolds) {
    std::string text = "before\n";
    appendDataGenLine(text, {"one", 1.0, 5, true});
    appendDataGenLine(text, {"two", 0.0, 0, false});
    EXPECT_EQ(text, "before\none [1.0] [5]\ntwo [0.0]\n");
}

TEST(DataLine, ReadsBackWhatWasWritten) {
    constexpr std::int32_t kScores[] = {0,
                                        1,
                                        -1,
                                        2000,
                                        -31999,
                                        std::numeric_limits<std::int32_t>::max(),
                                        std::numeric_limits<std::int32_t>::min()};
    for (const std::string& fen : Positions::readAll())
        for (const double result : {0.0, 0.5, 1.0}) {
            EXPECT_EQ(read(written({fen, result, 0, false})),
                      describe(DataGenSample{fen, result, 0, false}));
            for (const std::int32_t score : kScores) {
                const DataGenSample sample{fen, result, score, true};
                EXPECT_EQ(read(written(sample)), describe(sample));
            }
        }
}

// --- reading ---

TEST(DataLine, MayLackTheScore) {
    EXPECT_EQ(read("fen [1.0]"), "<fen> 1.000000 none 0");
    EXPECT_EQ(read("fen [0.5]"), "<fen> 0.500000 none 0");
    EXPECT_EQ(read("fen [0.0]"), "<fen> 0.000000 none 0");
    EXPECT_EQ(read("fen [0.5] [-23]"), "<fen> 0.500000 score -23");
}

TEST(DataLine, BlanksBeforeFieldsAndAtTheEndDoNotMatter) {
    for (const char* line :
         {"a b [0.5] [7]", "a b [0.5] [7] \t\r\n", "a b[0.5][7]", "a b \t [0.5] \r\n [7]\n\n",
          "a b [0.5] [ +7 ]", "a b [0.5] [\v007\f]"})
        EXPECT_EQ(read(line), "<a b> 0.500000 score 7") << line;
    EXPECT_EQ(read(" \ta b [0.5]"), "< \ta b> 0.500000 none 0") << "blanks in front are text";
    EXPECT_EQ(read("a\v [0.5]"), "<a\v> 0.500000 none 0");
}

TEST(DataLine, TheTextBeforeTheFieldsIsNotLookedAt) {
    EXPECT_EQ(read("] x [ y [1.0] [5]"), "<] x [ y> 1.000000 score 5");
    EXPECT_EQ(read("[ [1.0]"), "<[> 1.000000 none 0");
    EXPECT_EQ(read("x [9] [1.0] [5]"), "<x [9]> 1.000000 score 5");
    EXPECT_EQ(read("a\0b [0.5]"s), "<a\0b> 0.500000 none 0"s);
}

TEST(DataLine, WithoutAFieldAtItsEndIsRefused) {
    for (const char* line :
         {"", " ", "\n", "fen", "fen 1.0", "fen [1.0", "fen 1.0]", "]", "[", "fen [1.0] x",
          "fen [1.0] [5] .", "[1.0] fen", "fen [1.0]\v", "fen ]["})
        EXPECT_EQ(read(line), "refused") << line;
    EXPECT_EQ(read("fen [1.0]\0"s), "refused");
}

TEST(DataLine, WithoutTextBeforeTheFieldsIsRefused) {
    for (const char* line : {"[1.0]", " [1.0]", "[1.0] [5]", " \t [0.5] [5]\r\n"})
        EXPECT_EQ(read(line), "refused") << line;
}

TEST(DataLine, AnyOtherResultIsRefused) {
    for (const std::string result :
         {"1", "0", "1.00", "0.50", "0,5", ".5", "0.5 ", " 0.5", "+1.0", "-0.0", "1.0.", "2.0", "",
          "w", "1/2", "]", "0.5]", "01.0", "1.O"}) {
        EXPECT_EQ(read("fen [" + result + "]"), "refused") << result;
        EXPECT_EQ(read("fen [" + result + "] [5]"), "refused") << result;
    }
    EXPECT_EQ(read("fen [0.5\0]"s), "refused");
}

TEST(DataLine, AScoreThatIsNoNumberOf32BitsIsRefused) {
    EXPECT_EQ(read("fen [0.5] [2147483647]"), "<fen> 0.500000 score 2147483647");
    EXPECT_EQ(read("fen [0.5] [-2147483648]"), "<fen> 0.500000 score -2147483648");
    EXPECT_EQ(read("fen [0.5] [-0]"), "<fen> 0.500000 score 0");
    for (const std::string score :
         {"2147483648", "-2147483649", "4294967296", "99999999999999999999", "x", "", " ", "-", "+",
          "5x", "5 6", "- 5", "+-5", "0x10", "1e3", "1.0", "5]", "--5"})
        EXPECT_EQ(read("fen [0.5] [" + score + "]"), "refused") << score;
    EXPECT_EQ(read("fen 0.5] [5]"), "refused") << "a field without a beginning";
    EXPECT_EQ(read("fen [5] [0.5]"), "refused") << "score and result changed over";
}

TEST(DataLine, AgreesWithTheSecondReaderOnDamagedLines) {
    constexpr std::string_view kStock("[] \t\r\n\v\f\0.0159+-x[]10", 22);
    const std::vector<std::string> stems = {"8/8/4k3/8/8/3QK3/8/8 w - - 3 71 [1.0] [1034]\n",
                                            "k [0.5] [-2147483648]",
                                            "x [0.0]",
                                            "x  [0.5]\t[ +12 ] \r\n",
                                            "[1.0] [0.5] [7]",
                                            "y[1.0][2147483647]"};
    std::mt19937_64 random(5);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    int accepted = 0;
    const int lines = scaled(100000);
    for (int i = 0; i < lines; ++i) {
        std::string line = stems[below(stems.size())];
        for (std::size_t change = below(5); change > 0 && !line.empty(); --change) {
            const std::size_t at = below(line.size());
            const char letter = kStock[below(kStock.size())];
            switch (below(4)) {
            case 0:
                line[at] = letter;
                break;
            case 1:
                line.insert(at, 1, letter);
                break;
            case 2:
                line.erase(at, 1 + below(3));
                break;
            default:
                line += letter;
            }
        }
        ASSERT_EQ(read(line), naive(line)) << line;
        accepted += read(line) != "refused";
    }
    EXPECT_GT(accepted, lines / 10);
    EXPECT_GT(lines - accepted, lines / 10);
}

} // namespace
