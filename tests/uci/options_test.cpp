#include "uci/options.h"

#include "search/thread.h"
#include "search/time.h"
#include "search/tt.h"
#include "uci/session.h"

#include <gtest/gtest.h>

#include <cctype>
#include <iterator>
#include <string>

namespace {

/// What a call prints on standard output; standard error must hold the same without the prefix.
template <class Call>
std::string said(Call call) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    call();
    const std::string out = testing::internal::GetCapturedStdout();
    std::string err = testing::internal::GetCapturedStderr();
    const std::string prefix = "info string ";
    EXPECT_EQ(out, err.empty() ? "" : prefix + err);
    return err;
}

std::string set(const std::string& name, const std::string& value) {
    return said([&] { setUciOption(name, value); });
}

class Options : public testing::Test {
  protected:
    void SetUp() override { initThreads(); }

    // Other tests find the options as the program starts with them.
    void TearDown() override {
        for (const UciOption& option : uciOptions())
            setUciOption(std::string(option.name), std::to_string(option.defaultValue));
    }
};

TEST_F(Options, AreAdvertisedInOrderWithTheirBounds) {
    struct {
        std::string_view name;
        int defaultValue, min, max;
    } const expected[] = {
        {"Hash", 64, 1, 65536}, {"Threads", 1, 1, 256}, {"Move Overhead", 10, 0, 5000}};
    ASSERT_EQ(uciOptions().size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        const UciOption& option = uciOptions()[i];
        EXPECT_EQ(option.name, expected[i].name);
        EXPECT_EQ(option.defaultValue, expected[i].defaultValue);
        EXPECT_EQ(option.min, expected[i].min);
        EXPECT_EQ(option.max, expected[i].max);
    }
}

TEST_F(Options, AreComparedInLowerCase) {
    for (const UciOption& option : uciOptions()) {
        std::string low;
        for (const char c : option.name)
            low += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        EXPECT_EQ(option.lowName, low);
    }
}

TEST_F(Options, StartAtTheAdvertisedDefaults) {
    EXPECT_EQ(gTT.bucketCount(), static_cast<unsigned>(uciOptions()[0].defaultValue) * 16384U);
    EXPECT_EQ(gMoveOverhead, uciOptions()[2].defaultValue);
}

TEST_F(Options, HashSizesTheTable) {
    constexpr std::uint64_t kBucketsPerMiB = 16384;
    EXPECT_EQ(set("Hash", "3"), "");
    EXPECT_EQ(gTT.bucketCount(), 3 * kBucketsPerMiB);
    EXPECT_EQ(set("HASH", "0"), "");
    EXPECT_EQ(gTT.bucketCount(), kBucketsPerMiB);
    EXPECT_EQ(set("hash", "-2147483648"), "");
    EXPECT_EQ(gTT.bucketCount(), kBucketsPerMiB);
    EXPECT_EQ(set("hash", " +5\t"), "");
    EXPECT_EQ(gTT.bucketCount(), 5 * kBucketsPerMiB);
}

TEST_F(Options, MoveOverheadIsCutToItsBounds) {
    EXPECT_EQ(set("Move Overhead", "123"), "");
    EXPECT_EQ(gMoveOverhead, 123);
    EXPECT_EQ(set("MOVE OVERHEAD", "-5"), "");
    EXPECT_EQ(gMoveOverhead, 0);
    EXPECT_EQ(set("move overhead", "5001"), "");
    EXPECT_EQ(gMoveOverhead, 5000);
}

TEST_F(Options, BadValuesChangeNothing) {
    setUciOption("Move Overhead", "77");
    setUciOption("Hash", "2");
    const std::uint64_t buckets = gTT.bucketCount();
    for (const std::string value : {"", "x", "1 2", "2147483648"}) {
        for (const UciOption& option : uciOptions())
            EXPECT_EQ(set(std::string(option.name), value),
                      "setoption " + std::string(option.lowName) + ": некоректне значення \"" +
                          value + "\" — опцію не змінено\n");
    }
    EXPECT_EQ(gMoveOverhead, 77);
    EXPECT_EQ(gTT.bucketCount(), buckets);
}

TEST_F(Options, UnknownNamesAreIgnored) {
    for (const std::string name : {"", "hash ", "MoveOverhead", "move  overhead", "threads2"})
        EXPECT_EQ(set(name, "x"), "") << name;
}

TEST(InfoString, GoesToBothStreams) {
    EXPECT_EQ(said([] { infoString("повідомлення"); }), "повідомлення\n");
}

} // namespace
