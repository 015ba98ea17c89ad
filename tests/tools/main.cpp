#include "base/output.h"
#include "board/attacks.h"
#include "board/zobrist.h"
#include "eval/endgame.h"
#include "eval/masks.h"
#include "search/search.h"
#include "search/tt.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    Output::init();
    testing::InitGoogleTest(&argc, argv);
    Zobrist::init();
    Attacks::init();
    Eval::init();
    Endgame::init();
    Search::init();
    gTT.resize(1);
    return RUN_ALL_TESTS();
}
