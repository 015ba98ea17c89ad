#include "base/words.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

std::vector<std::string> wordsOf(std::string_view text) {
    Words words(text);
    std::vector<std::string> found;
    for (std::string_view word; words.next(word);)
        found.emplace_back(word);
    return found;
}

using List = std::vector<std::string>;

TEST(Words, AnyWhiteSpaceSeparatesThem) {
    EXPECT_EQ(wordsOf("one two"), (List{"one", "two"}));
    EXPECT_EQ(wordsOf(" \t\n\v\f\r one\ttwo\nthree\vfour\ffive\rsix \t\n\v\f\r"),
              (List{"one", "two", "three", "four", "five", "six"}));
    EXPECT_EQ(wordsOf(""), List{});
    EXPECT_EQ(wordsOf(" \t\n\v\f\r"), List{});
}

TEST(Words, HoldEveryOtherCharacter) {
    EXPECT_EQ(wordsOf("\0 a\0b \xa0\xff\x1c"s), (List{"\0"s, "a\0b"s, "\xa0\xff\x1c"}));
}

TEST(Words, WhatIsNotThereChangesNothing) {
    Words words(" \t");
    std::string_view word = "before";
    std::int32_t narrow = 1;
    std::int64_t wide = 2;
    EXPECT_FALSE(words.next(word));
    EXPECT_FALSE(words.next(narrow));
    EXPECT_FALSE(words.next(wide));
    EXPECT_EQ(word, "before");
    EXPECT_EQ(narrow, 1);
    EXPECT_EQ(wide, 2);
}

TEST(Words, ANumberEndsWithItsDigits) {
    Words words(" 12x +7\t-0030.5");
    std::int32_t number = 0;
    std::string_view word;
    EXPECT_TRUE(words.next(number));
    EXPECT_EQ(number, 12);
    EXPECT_TRUE(words.next(word));
    EXPECT_EQ(word, "x");
    EXPECT_TRUE(words.next(number));
    EXPECT_EQ(number, 7);
    EXPECT_TRUE(words.next(number));
    EXPECT_EQ(number, -30);
    EXPECT_TRUE(words.next(word));
    EXPECT_EQ(word, ".5");
}

template <class Integer>
void expectLast(std::string_view text, Integer expected) {
    Words words(text);
    Integer number = 99;
    std::string_view word;
    EXPECT_FALSE(words.next(number)) << text;
    EXPECT_EQ(number, expected) << text;
    EXPECT_FALSE(words.next(word)) << text << ": nothing follows, but " << word;
}

TEST(Words, WhatIsNoNumberIsZeroAndTheLast) {
    for (const char* text : {"x 1", "- 1", "+ 1", "+-1 1", "--1 1", "++1 1", ".5 1", "-"})
        expectLast<std::int32_t>(text, 0);
}

TEST(Words, ANumberBeyondItsTypeIsTheNearestAndTheLast) {
    using Narrow = std::numeric_limits<std::int32_t>;
    using Wide = std::numeric_limits<std::int64_t>;
    expectLast("2147483648 1", Narrow::max());
    expectLast("-2147483649 1", Narrow::min());
    expectLast("+99999999999999999999999 1", Narrow::max());
    expectLast("9223372036854775808 1", Wide::max());
    expectLast("-9223372036854775809x 1", Wide::min());
}

TEST(Words, TheLargestAndTheSmallestNumbersAreNumbers) {
    Words words("2147483647 -2147483648 9223372036854775807 -9223372036854775808");
    std::int32_t narrow = 0;
    std::int64_t wide = 0;
    EXPECT_TRUE(words.next(narrow));
    EXPECT_EQ(narrow, std::numeric_limits<std::int32_t>::max());
    EXPECT_TRUE(words.next(narrow));
    EXPECT_EQ(narrow, std::numeric_limits<std::int32_t>::min());
    EXPECT_TRUE(words.next(wide));
    EXPECT_EQ(wide, std::numeric_limits<std::int64_t>::max());
    EXPECT_TRUE(words.next(wide));
    EXPECT_EQ(wide, std::numeric_limits<std::int64_t>::min());
}

/// Reads from both the same kind of thing.
template <class Value>
void expectSame(Words& words, std::istream& stream, const std::string& text) {
    Value found{};
    std::conditional_t<std::is_same_v<Value, std::string_view>, std::string, Value> expected{};
    const bool isThere = words.next(found);
    ASSERT_EQ(isThere, static_cast<bool>(stream >> expected)) << testing::PrintToString(text);
    ASSERT_EQ(found, expected) << testing::PrintToString(text);
}

/// Clients may have come to rely on how the standard library's streams read.
TEST(Words, AreThoseThatAStreamReads) {
    const List pieces = {" ",
                         "\t",
                         "\n",
                         "\v",
                         "\f",
                         "\r",
                         "+",
                         "-",
                         "0",
                         "7",
                         "x",
                         "depth",
                         "\0"s,
                         ".",
                         "0x",
                         "2147483647",
                         "2147483648",
                         "999",
                         "9223372036854775807"};
    std::mt19937 random(1);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (std::size_t count = below(12); count > 0; --count)
            text += pieces[below(pieces.size())];
        Words words(text);
        std::istringstream stream(text);
        for (int reads = 0; reads < 6 && !HasFatalFailure(); ++reads)
            switch (below(3)) {
            case 0:
                expectSame<std::string_view>(words, stream, text);
                break;
            case 1:
                expectSame<std::int32_t>(words, stream, text);
                break;
            default:
                expectSame<std::int64_t>(words, stream, text);
            }
    }
}

} // namespace
