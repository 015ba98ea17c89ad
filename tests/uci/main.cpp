#include "uci/startup.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    initEngine();
    return RUN_ALL_TESTS();
}
