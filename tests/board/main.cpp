#include "support/start_board.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    startBoard();
    return RUN_ALL_TESTS();
}
