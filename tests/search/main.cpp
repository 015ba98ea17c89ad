#include "support/start_search.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    startSearch(16);
    return RUN_ALL_TESTS();
}
