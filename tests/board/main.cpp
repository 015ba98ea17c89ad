#include "board/attacks.h"
#include "board/zobrist.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    Zobrist::init();
    Attacks::init();
    Attacks::initBetween();
    return RUN_ALL_TESTS();
}
