#include "base/output.h"
#include "support/start_search.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    Output::init();
    testing::InitGoogleTest(&argc, argv);
    startSearch(1);
    return RUN_ALL_TESTS();
}
