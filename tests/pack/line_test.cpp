#include "pack/line.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::int64_t moveNumberOf(const std::string& line) {
    std::int64_t number = -1;
    EXPECT_TRUE(Pack::isLineOfDataGen(line, number)) << line;
    return number;
}

TEST(PackLine, Good) {
    EXPECT_EQ(moveNumberOf("8/8/4k3/8/8/3QK3/8/8 w - - 3 71 [1.0] [1034]"), 71);
    EXPECT_EQ(moveNumberOf("8/8/4k3/8/8/3QK3/8/8 b KQkq e3 0 1 [0.5] [-7]"), 1);
    EXPECT_EQ(moveNumberOf("x w y z 12345 999999999 [0.0]"), 999999999);
    EXPECT_EQ(moveNumberOf("x w y z 0 0 [0.0] [-0]"), 0);
}

TEST(PackLine, Bad) {
    const std::string fen = "8/8/4k3/8/8/3QK3/8/8 w - - 3 71";
    for (const std::string& line : {std::string(),
                                    std::string(" "),
                                    fen,
                                    fen + " ",
                                    fen + " [1.0",
                                    fen + " [1.0] ",
                                    fen + " [1]",
                                    fen + " [1.0] [",
                                    fen + " [1.0] []",
                                    fen + " [1.0] [-]",
                                    fen + " [1.0] [+5]",
                                    fen + " [1.0] [1.5]",
                                    fen + " [1.0] [nan]",
                                    fen + " [nan] [1]",
                                    fen + " [1.0] [5]\r",
                                    fen + " [1.0]  [5]",
                                    fen + "  [1.0]",
                                    fen + " [1.0] [5] ",
                                    fen + " [1.0] [ 5]",
                                    fen + "[1.0]",
                                    fen + " [1.0][5]",
                                    " " + fen + " [1.0]",
                                    fen + " [0.50]",
                                    std::string("8/8/4k3/8/8/3QK3/8/8 W - - 3 71 [1.0]"),
                                    std::string("8/8/4k3/8/8/3QK3/8/8 w - - -3 71 [1.0]"),
                                    std::string("8/8/4k3/8/8/3QK3/8/8 w - - 3 [1.0]"),
                                    std::string("8/8/4k3/8/8/3QK3/8/8 w -  3 71 [1.0]"),
                                    std::string("8/8/4k3/8/8/3QK3/8/8 w - - 3x 71 [1.0]"),
                                    std::string("8/8/4k3/8/8/3QK3/8/8\tw - - 3 71 [1.0]"),
                                    std::string("8/8/4k3\t/8/8/3QK3/8/8 w - - 3 71 [1.0]"),
                                    "1 24 64 0 0 1 5 1 0" + fen,
                                    std::string("1 24 64 0 0 0"),
                                    std::string("8/8 w - - 3 71 [1.0]\0", 21)}) {
        std::int64_t number = 0;
        EXPECT_FALSE(Pack::isLineOfDataGen(line, number)) << line;
    }
}

} // namespace
