#include "base/output.h"
#include "support/start_eval.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    Output::init();
    testing::InitGoogleTest(&argc, argv);
    startEval();
    return RUN_ALL_TESTS();
}
