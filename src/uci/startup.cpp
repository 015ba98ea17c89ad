#include "uci/startup.h"

#include "board/attacks.h"
#include "board/zobrist.h"
#include "eval/endgame.h"
#include "eval/masks.h"
#include "search/search.h"
#include "search/tt.h"
#include "uci/options.h"

void initTables() {
    Zobrist::init();
    Attacks::init();
    Eval::init();
    Endgame::init();
}

void initEngine() {
    initTables();
    Search::init();
    std::uint64_t mb = kDefaultHashMb; // less where the system does not give so much
    while (!gTT.resize(mb) && mb > 1)
        mb /= 2;
}
