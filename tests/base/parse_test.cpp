#include "base/parse.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

TEST(ParseIntStrict, AcceptsOneNumberWithSignAndBlanks) {
    const std::pair<std::string_view, int> cases[] = {
        {"0", 0},
        {" 42 ", 42},
        {"+7", 7},
        {"-0", 0},
        {"\t\n\v\f\r-5\t\n\v\f\r", -5},
        {"000000000000000000000000000012", 12},
        {"2147483647", 2147483647},
        {"-2147483648", -2147483647 - 1},
    };
    for (const auto& [text, value] : cases) {
        int out = 99;
        EXPECT_TRUE(parseIntStrict(text, out)) << '"' << text << '"';
        EXPECT_EQ(out, value) << '"' << text << '"';
    }
}

TEST(ParseIntStrict, RefusesEverythingElseAndLeavesTheResultAlone) {
    using namespace std::string_view_literals;
    const std::string_view cases[] = {
        "",
        " ",
        "-",
        "+",
        "+-1",
        "- 1",
        "4 2",
        "0x10",
        "1e3",
        "1.0",
        "1x",
        "x1",
        "2147483648",
        "-2147483649",
        "1099511627777",
        "99999999999999999999999999",
        "1\0"sv,
        "\0"sv,
    };
    for (const std::string_view text : cases) {
        int out = 99;
        EXPECT_FALSE(parseIntStrict(text, out)) << '"' << text << '"';
        EXPECT_EQ(out, 99) << '"' << text << '"';
    }
}

} // namespace
